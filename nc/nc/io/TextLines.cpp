// Splitting text input into lines in place, with the length limit of the text readers.
#include "nc/nc/io/TextLines.h"

#include "nc/nc/NCParseException.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/LineReader.h"

#include <cstring>

namespace Quarn {

namespace {

constexpr std::size_t BlockSize = 64 * 1024;

[[noreturn, gnu::cold]] void throwTooLong(unsigned int line) { throw NCParseException(line, L"Line too long.", L""); }

} // namespace

BlockLines::BlockLines(InputStream& source, std::size_t maximumLineLength)
    : source(source), maximumLineLength(maximumLineLength), block(std::make_unique_for_overwrite<char[]>(BlockSize)),
      current(block.get()), end(block.get())
{
}

BlockLines::~BlockLines() = default;

bool BlockLines::next(std::string_view& line)
{
    carry.clear();
    for (;;) {
        if (current == end && !refill()) {
            if (carry.empty())
                return false;
            line = carry;
            return finish(line, false);
        }
        auto const* feed = static_cast<char const*>(std::memchr(current, '\n', static_cast<std::size_t>(end - current)));
        auto const count = static_cast<std::size_t>((feed != nullptr ? feed : end) - current);
        if (feed != nullptr && carry.empty()) {
            line = std::string_view(current, count);
            current = feed + 1;
            return finish(line, true);
        }
        // One byte more than the limit may be the '\r' of the line's end.
        if (count > maximumLineLength + 1 - carry.size())
            throwTooLong(lineNumber + 1);
        carry.append(current, count);
        current += count;
        if (feed != nullptr) {
            ++current;
            line = carry;
            return finish(line, true);
        }
    }
}

// Counts the line and drops the '\r' of a "\r\n" end.
bool BlockLines::finish(std::string_view& line, bool ended)
{
    ++lineNumber;
    if (ended && !line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    if (line.size() > maximumLineLength)
        throwTooLong(lineNumber);
    return true;
}

bool BlockLines::refill()
{
    if (exhausted)
        return false;
    std::size_t const count = source.read(block.get(), BlockSize);
    current = block.get();
    end = block.get() + count;
    exhausted = count == 0;
    return count != 0;
}

bool ReaderLines::next(std::string_view& line)
{
    if (!reader.readLine(buffer))
        return false;
    if (buffer.size() > maximumLineLength)
        throwTooLong(reader.getLineNumber());
    line = buffer;
    return true;
}

unsigned int ReaderLines::getLineNumber() const { return reader.getLineNumber(); }

std::string readFileStart(std::wstring const& fileName, std::size_t count)
{
    FileInputStream file(fileName);
    std::string start(count, '\0');
    std::size_t size = 0;
    while (size < count) {
        std::size_t const read = file.read(start.data() + size, count - size);
        if (read == 0)
            break;
        size += read;
    }
    start.resize(size);
    return start;
}

} // namespace Quarn
