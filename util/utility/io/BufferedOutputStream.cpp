// Slow paths of BufferedOutputStream: full buffers, large writes, copies and closing.
#include "util/utility/io/BufferedOutputStream.h"

#include "util/utility/IOException.h"

#include <algorithm>

namespace Quarn {

BufferedOutputStream::BufferedOutputStream(OutputStream* sink, std::size_t bufferSize)
    : sink(sink), capacity(std::max<std::size_t>(bufferSize, 1)),
      buffer(std::make_unique_for_overwrite<unsigned char[]>(capacity)), current(buffer.get()),
      limit(buffer.get() + capacity), written(0)
{
    QUARN_EXPECTS(sink != nullptr);
    QUARN_EXPECTS(bufferSize > 0);
}

BufferedOutputStream::BufferedOutputStream(BufferedOutputStream const& other)
    : OutputStream(other), sink(other.sink), capacity(other.capacity),
      buffer(std::make_unique_for_overwrite<unsigned char[]>(capacity)), current(buffer.get()),
      limit(buffer.get() + (other.open && !other.failure ? capacity : 0)), written(other.getPosition()),
      open(other.open), failure(other.failure)
{
}

BufferedOutputStream& BufferedOutputStream::operator=(BufferedOutputStream const& other)
{
    if (this == &other)
        return *this;
    if (open && !failure)
        writeBuffer();
    if (capacity != other.capacity) {
        buffer = std::make_unique_for_overwrite<unsigned char[]>(other.capacity);
        capacity = other.capacity;
    }
    sink = other.sink;
    current = buffer.get();
    limit = buffer.get() + (other.open && !other.failure ? capacity : 0);
    written = other.getPosition();
    open = other.open;
    failure = other.failure;
    return *this;
}

BufferedOutputStream::~BufferedOutputStream()
{
    if (!open || failure)
        return;
    try {
        flush();
    } catch (...) {
        // A destructor must not throw; the caller had flush() and close() to learn of errors.
    }
}

void BufferedOutputStream::flush()
{
    if (!open)
        throw IOException(L"Stream is closed.", getPosition());
    rethrowFailure();
    writeBuffer();
    try {
        sink->flush();
    } catch (...) {
        failure = std::current_exception();
        limit = buffer.get();
        throw;
    }
}

void BufferedOutputStream::close()
{
    if (!open)
        return;
    open = false;
    try {
        rethrowFailure();
        writeBuffer();
    } catch (...) {
        limit = current = buffer.get();
        try {
            sink->close();
        } catch (...) {
            // The first failure is the one to report.
        }
        throw;
    }
    limit = buffer.get();
    sink->close();
}

bool BufferedOutputStream::isOpen() const
{
    return open && sink->isOpen();
}

void BufferedOutputStream::writeSlow(void const* data, std::size_t size)
{
    if (!open)
        throw IOException(L"Stream is closed.", getPosition());
    rethrowFailure();
    auto const* from = static_cast<unsigned char const*>(data);
    if (size >= capacity) {
        writeBuffer();
        written += size;
        toSink(from, size);
        return;
    }
    // Top up the buffer so the sink gets whole blocks; the rest fits into the emptied buffer.
    std::size_t first = room();
    std::memcpy(current, from, first);
    current += first;
    writeBuffer();
    std::memcpy(current, from + first, size - first);
    current += size - first;
}

void BufferedOutputStream::writeBuffer()
{
    auto size = static_cast<std::size_t>(current - buffer.get());
    if (size == 0)
        return;
    // Counted as written even if the sink fails, so that a failing sink is not fed the same
    // bytes again by a later flush.
    current = buffer.get();
    written += size;
    toSink(buffer.get(), size);
}

void BufferedOutputStream::toSink(void const* data, std::size_t size)
{
    try {
        sink->write(data, size);
    } catch (...) {
        failure = std::current_exception();
        limit = buffer.get();
        throw;
    }
}

void BufferedOutputStream::rethrowFailure() const
{
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace Quarn
