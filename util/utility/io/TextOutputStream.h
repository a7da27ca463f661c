// Buffered text output: UTF-8 strings, characters and locale-free numbers into a byte stream.
#pragma once

#include "util/utility/io/BufferedOutputStream.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

// Failures of the sink are BufferedOutputStream's: thrown, and thrown again by every later write.
class QUARN_NC_EXPORT TextOutputStream final {
public:
    static constexpr std::size_t DefaultBufferSize = 64 * 1024;

    // The sink is not owned.
    explicit TextOutputStream(OutputStream* sink, std::size_t bufferSize = DefaultBufferSize);

    void write(std::string_view text) { out.writeBytes(text.data(), text.size()); }
    // Written as UTF-8.
    void write(std::wstring_view text);
    void write(char c) { out.writeUInt8(static_cast<std::uint8_t>(c)); }
    // Shortest text that reads back as the same double ("0.1", "1e+20", "nan", "-inf").
    void write(double value);
    void write(std::int64_t value);
    void write(std::uint64_t value);
    // Any other integer type (int, unsigned, long long, ...) as a number; bool and the wide
    // character types are left out so that they do not turn into numbers by surprise.
    template <std::integral T>
        requires(!std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
                 !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>)
    void write(T value)
    {
        if constexpr (std::is_signed_v<T>)
            write(static_cast<std::int64_t>(value));
        else
            write(static_cast<std::uint64_t>(value));
    }

    // Writes each value as write() does, then '\n'.
    template <class... Values>
    void writeLine(Values const&... values)
    {
        (write(values), ...);
        write('\n');
    }

    // Writes the buffer into the sink and flushes the sink.
    void flush() { out.flush(); }

    // Bytes written by the caller.
    std::uint64_t getPosition() const noexcept { return out.getPosition(); }

private:
    BufferedOutputStream out;
    std::string utf8; // reused for conversions so that wide text costs no allocation per call
};

} // namespace Quarn
