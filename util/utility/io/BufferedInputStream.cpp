// Slow paths of BufferedInputStream: refills, values across block boundaries, the end of data.
#include "util/utility/io/BufferedInputStream.h"

#include "util/utility/IOException.h"
#include "util/utility/io/BlockPrefetcher.h"

#include <algorithm>
#include <system_error>

namespace Quarn {

BufferedInputStream::BufferedInputStream(InputStream* source, std::size_t bufferSize, ReadAhead readAhead)
    : source(source), capacity(std::max<std::size_t>(bufferSize, 1)), origin(this->source->getPosition())
{
    QUARN_EXPECTS(bufferSize > 0);
    if (readAhead == ReadAhead::Background) {
        sizeAtStart = this->source->getSize();
        try {
            prefetcher = std::make_unique<BlockPrefetcher>(*this->source, capacity, ReadAheadBlocks);
        } catch (std::system_error const&) {
            // No thread to be had: read inline.
        }
    }
    if (!prefetcher)
        buffer = std::make_unique_for_overwrite<unsigned char[]>(capacity);
    start = current = end = buffer.get();
}

BufferedInputStream::~BufferedInputStream() = default;

std::optional<std::uint64_t> BufferedInputStream::sourceSize() const
{
    return prefetcher ? sizeAtStart : source->getSize();
}

BufferedInputStream::ReadAhead BufferedInputStream::readAheadFor(InputStream const& source)
{
    constexpr std::uint64_t ReadAheadFrom = 4 * DefaultBufferSize;
    std::optional<std::uint64_t> size = source.getSize();
    bool const large = !size || *size < source.getPosition() || *size - source.getPosition() > ReadAheadFrom;
    return large ? ReadAhead::Background : ReadAhead::Inline;
}

std::optional<std::uint64_t> BufferedInputStream::getRemaining() const
{
    std::optional<std::uint64_t> size = sourceSize();
    if (!size)
        return std::nullopt;
    std::uint64_t position = getPosition();
    return *size > position ? *size - position : 0;
}

std::size_t BufferedInputStream::read(void* out, std::size_t size)
{
    if (size == 0)
        return 0;
    if (current == end) {
        if (size >= capacity && !prefetcher) {
            discardBuffer();
            std::size_t count = source->read(out, size);
            origin += count;
            return count;
        }
        if (!refill())
            return 0;
    }
    std::size_t count = std::min(size, available());
    std::memcpy(out, current, count);
    current += count;
    return count;
}

std::optional<std::uint64_t> BufferedInputStream::getSize() const { return sourceSize(); }

void BufferedInputStream::close()
{
    discardBuffer();
    if (prefetcher) {
        // Later reads go to the closed source, as when reading inline.
        prefetcher.reset();
        buffer = std::make_unique_for_overwrite<unsigned char[]>(capacity);
        start = current = end = buffer.get();
    }
    source->close();
}

void BufferedInputStream::readSlow(void* out, std::size_t size)
{
    std::uint64_t begin = getPosition();
    auto* to = static_cast<unsigned char*>(out);
    for (;;) {
        std::size_t count = std::min(size, available());
        if (count != 0)
            std::memcpy(to, current, count);
        current += count;
        to += count;
        size -= count;
        if (size == 0)
            return;
        if (size >= capacity && !prefetcher) {
            // Too large to be worth a copy through the buffer.
            discardBuffer();
            count = source->read(to, size);
            origin += count;
            to += count;
            size -= count;
            if (count == 0)
                throw IOException(L"Unexpected end of stream.", begin);
        } else if (!refill()) {
            throw IOException(L"Unexpected end of stream.", begin);
        }
    }
}

void BufferedInputStream::skipSlow(std::uint64_t count)
{
    std::uint64_t begin = getPosition();
    while (count > available()) {
        count -= available();
        current = end;
        if (!refill())
            throw IOException(L"Unexpected end of stream.", begin);
    }
    current += count;
}

bool BufferedInputStream::refill()
{
    discardBuffer();
    if (prefetcher) {
        BlockPrefetcher::Block block = prefetcher->next();
        start = current = block.data;
        end = block.data + block.size;
        return block.size != 0;
    }
    std::size_t count = source->read(buffer.get(), capacity);
    end = buffer.get() + count;
    return count != 0;
}

void BufferedInputStream::discardBuffer() noexcept
{
    origin += static_cast<std::uint64_t>(end - start);
    current = end = start;
}

} // namespace Quarn
