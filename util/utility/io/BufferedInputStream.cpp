// Slow paths of BufferedInputStream: refills, values across block boundaries, the end of data.
#include "util/utility/io/BufferedInputStream.h"

#include "util/utility/IOException.h"

#include <algorithm>

namespace Quarn {

BufferedInputStream::BufferedInputStream(InputStream* source, std::size_t bufferSize)
    : source(source), capacity(std::max<std::size_t>(bufferSize, 1)),
      buffer(std::make_unique_for_overwrite<unsigned char[]>(capacity)), current(buffer.get()),
      end(buffer.get()), origin(this->source->getPosition())
{
    QUARN_EXPECTS(bufferSize > 0);
}

BufferedInputStream::~BufferedInputStream() = default;

std::optional<std::uint64_t> BufferedInputStream::getRemaining() const
{
    std::optional<std::uint64_t> size = source->getSize();
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
        if (size >= capacity) {
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

std::optional<std::uint64_t> BufferedInputStream::getSize() const
{
    return source->getSize();
}

void BufferedInputStream::close()
{
    discardBuffer();
    source->close();
}

void BufferedInputStream::readSlow(void* out, std::size_t size)
{
    std::uint64_t start = getPosition();
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
        if (size >= capacity) {
            // Too large to be worth a copy through the buffer.
            discardBuffer();
            count = source->read(to, size);
            origin += count;
            to += count;
            size -= count;
            if (count == 0)
                throw IOException(L"Unexpected end of stream.", start);
        } else if (!refill()) {
            throw IOException(L"Unexpected end of stream.", start);
        }
    }
}

void BufferedInputStream::skipSlow(std::uint64_t count)
{
    std::uint64_t start = getPosition();
    while (count > available()) {
        count -= available();
        current = end;
        if (!refill())
            throw IOException(L"Unexpected end of stream.", start);
    }
    current += count;
}

bool BufferedInputStream::refill()
{
    discardBuffer();
    std::size_t count = source->read(buffer.get(), capacity);
    end = buffer.get() + count;
    return count != 0;
}

void BufferedInputStream::discardBuffer() noexcept
{
    origin += static_cast<std::uint64_t>(end - buffer.get());
    current = end = buffer.get();
}

} // namespace Quarn
