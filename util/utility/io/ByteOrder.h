// The one encoder/decoder of binary formats: fixed-width values to and from bytes in a given byte order.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Quarn {

// Formats are little-endian on disk (LittleEndian); formats that keep the byte order of the
// machine that wrote them are read through either, a reader templated on the order decoding
// without a test per field.
template <std::endian Order> class ByteOrder {
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
    static constexpr bool swaps = Order != std::endian::native;

    // One expression of shifted bytes, which g++ and clang turn into a single bswap instruction (a
    // loop over the bytes they leave as shifts).
    template <class T, std::size_t... Byte> static constexpr T swapped(T value, std::index_sequence<Byte...>) noexcept
    {
        return static_cast<T>(((((value >> (8 * Byte)) & T {0xFF}) << (8 * (sizeof(T) - 1 - Byte))) | ...));
    }
    template <class T> static constexpr T swapped(T value) noexcept
    {
        return swapped(value, std::make_index_sequence<sizeof(T)> {});
    }

    template <class T> static T load(unsigned char const* p) noexcept
    {
        T value;
        std::memcpy(&value, p, sizeof value);
        if constexpr (swaps)
            value = swapped(value);
        return value;
    }

    template <class T> static void store(unsigned char* p, T value) noexcept
    {
        if constexpr (swaps)
            value = swapped(value);
        std::memcpy(p, &value, sizeof value);
    }
};

using LittleEndian = ByteOrder<std::endian::little>;
using BigEndian = ByteOrder<std::endian::big>;

} // namespace Quarn
