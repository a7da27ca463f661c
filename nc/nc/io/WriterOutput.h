// What the file writers share about their output: its buffer, the limit on strings, and how a
// failure of the output is reported.
#pragma once

#include "util/utility/IOException.h"
#include "util/utility/io/BufferedOutputStream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

// A failure of the output is thrown again as IOException "<what could not be written>: <the
// output's message>" at the offset where that starts, so that the tool can say which record or
// line of which file was lost.
class WriterOutput {
public:
    // Larger than the stream's default: the cost per byte of the system's writes drops with their size.
    static constexpr std::size_t BufferSize = std::size_t(1) << 20;

    [[noreturn, gnu::cold]] static void fail(std::wstring what, std::uint64_t offset, IOException const& cause);
    // "Cannot write record <code>: <cause>".
    [[noreturn, gnu::cold]] static void failRecord(std::uint32_t code, std::uint64_t offset, IOException const& cause);

    // Runs write, which writes one record to out; a failure of out names the record and its offset.
    template <class Write> static void writeRecord(BufferedOutputStream& out, std::uint32_t code, Write const& write)
    {
        std::uint64_t const start = out.getPosition();
        try {
            write();
        } catch (IOException const& e) {
            failRecord(code, start, e);
        }
    }

    // The length of a string in units (bytes, or UTF-16 units of a wide one); above limit an
    // IOException "String too long." at offset, before any byte of the record is written.
    static std::uint32_t checkedLength(std::string_view text, std::size_t limit, std::uint64_t offset);
    static std::uint32_t checkedLength(std::wstring_view text, std::size_t limit, std::uint64_t offset);
};

} // namespace Quarn
