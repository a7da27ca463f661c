// SequentialLineReader: finds line ends with memchr in blocks read from the source.
#include "util/utility/io/SequentialLineReader.h"

#include "util/utility/IOException.h"

#include <cstdint>
#include <cstring>

namespace Quarn {

namespace {
constexpr std::size_t BlockSize = 64 * 1024;
}

SequentialLineReader::SequentialLineReader(InputStream* source, std::size_t maximumLineLength)
    : source(source), maximumLineLength(maximumLineLength), block(std::make_unique_for_overwrite<char[]>(BlockSize)),
      current(block.get()), end(block.get()), origin(this->source->getPosition())
{
}

SequentialLineReader::~SequentialLineReader() = default;

bool SequentialLineReader::readLine(std::string& line)
{
    line.clear();
    std::uint64_t start = getPosition();
    // The line may hold one byte more than the maximum while it is read: a '\r' that turns out
    // to belong to its "\r\n" end.
    std::size_t const bound = maximumLineLength + (maximumLineLength < SIZE_MAX ? 1 : 0);
    for (;;) {
        if (current == end && !refill()) {
            if (line.empty())
                return false;
            break;
        }
        auto const* feed = static_cast<char const*>(std::memchr(current, '\n', static_cast<std::size_t>(end - current)));
        auto count = static_cast<std::size_t>((feed != nullptr ? feed : end) - current);
        if (count > bound - line.size())
            throw IOException(L"Line too long.", start);
        line.append(current, count);
        current += count;
        if (feed != nullptr) {
            ++current;
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            break;
        }
    }
    if (line.size() > maximumLineLength)
        throw IOException(L"Line too long.", start);
    ++lineNumber;
    return true;
}

bool SequentialLineReader::refill()
{
    origin += static_cast<std::uint64_t>(end - block.get());
    std::size_t count = source->read(block.get(), BlockSize);
    current = block.get();
    end = block.get() + count;
    return count != 0;
}

} // namespace Quarn
