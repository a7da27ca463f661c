// The one little-endian encoder/decoder of binary formats: fixed-width values to and from bytes.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace Quarn {

class LittleEndian {
public:
    static std::uint16_t readUInt16(unsigned char const* p) noexcept { return load<std::uint16_t>(p); }
    static std::uint32_t readUInt32(unsigned char const* p) noexcept { return load<std::uint32_t>(p); }
    static std::uint64_t readUInt64(unsigned char const* p) noexcept { return load<std::uint64_t>(p); }
    static std::int32_t readInt32(unsigned char const* p) noexcept
    {
        return static_cast<std::int32_t>(load<std::uint32_t>(p));
    }
    static float readFloat(unsigned char const* p) noexcept { return std::bit_cast<float>(load<std::uint32_t>(p)); }
    static double readDouble(unsigned char const* p) noexcept { return std::bit_cast<double>(load<std::uint64_t>(p)); }

    static void writeUInt16(unsigned char* p, std::uint16_t value) noexcept { store(p, value); }
    static void writeUInt32(unsigned char* p, std::uint32_t value) noexcept { store(p, value); }
    static void writeUInt64(unsigned char* p, std::uint64_t value) noexcept { store(p, value); }
    static void writeInt32(unsigned char* p, std::int32_t value) noexcept { store(p, static_cast<std::uint32_t>(value)); }
    static void writeFloat(unsigned char* p, float value) noexcept { store(p, std::bit_cast<std::uint32_t>(value)); }
    static void writeDouble(unsigned char* p, double value) noexcept { store(p, std::bit_cast<std::uint64_t>(value)); }

private:
    static_assert(std::endian::native == std::endian::little || std::endian::native == std::endian::big,
                  "mixed-endian machines are not supported");

    // Compilers turn this into a single bswap instruction; it is only used on big-endian machines.
    template <class T>
    static constexpr T swapped(T value) noexcept
    {
        T result = 0;
        for (unsigned i = 0; i < sizeof(T); ++i) {
            result = static_cast<T>((result << 8) | (value & 0xFF));
            value = static_cast<T>(value >> 8);
        }
        return result;
    }

    template <class T>
    static T load(unsigned char const* p) noexcept
    {
        T value;
        std::memcpy(&value, p, sizeof value);
        if constexpr (std::endian::native == std::endian::big)
            value = swapped(value);
        return value;
    }

    template <class T>
    static void store(unsigned char* p, T value) noexcept
    {
        if constexpr (std::endian::native == std::endian::big)
            value = swapped(value);
        std::memcpy(p, &value, sizeof value);
    }
};

} // namespace Quarn
