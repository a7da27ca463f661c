// Lines of a text file for the text readers, each held to a length limit.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Quarn {

class InputStream;
class LineReader;

// Lines of an input stream: found in the blocks read and given in place; only a line that
// straddles two blocks is copied. A line is ended by "\n" or "\r\n" (both dropped) or by the end
// of the input. A line longer than the limit throws NCParseException(its number, "Line too long.",
// "") before more than the limit and one block are held.
class BlockLines {
public:
    BlockLines(InputStream& source, std::size_t maximumLineLength);
    ~BlockLines();
    BlockLines(BlockLines const&) = delete;
    BlockLines& operator=(BlockLines const&) = delete;

    // The next line without its end, valid until the next call; false at the end of the input.
    bool next(std::string_view& line);
    unsigned int getLineNumber() const noexcept { return lineNumber; }

private:
    bool finish(std::string_view& line, bool ended);
    bool refill();

    InputStream& source;
    std::size_t maximumLineLength;
    std::unique_ptr<char[]> block;
    char const* current;
    char const* end;
    std::string carry;
    unsigned int lineNumber = 0;
    bool exhausted = false;
};

// Lines of a line reader, held to the same limit with the same error.
class ReaderLines {
public:
    ReaderLines(LineReader& reader, std::size_t maximumLineLength) : reader(reader), maximumLineLength(maximumLineLength)
    {
    }

    bool next(std::string_view& line);
    unsigned int getLineNumber() const;

private:
    LineReader& reader;
    std::size_t maximumLineLength;
    std::string buffer;
};

// The first bytes of a file, at most count of them (fewer when the file is shorter), for the
// readers' isValid; throws IOException when the file cannot be read.
std::string readFileStart(std::wstring const& fileName, std::size_t count);

} // namespace Quarn
