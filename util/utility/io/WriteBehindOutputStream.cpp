// The writing thread and its hand-over of blocks.
#include "util/utility/io/WriteBehindOutputStream.h"

#include "util/utility/IOException.h"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace Quarn {

WriteBehindOutputStream::WriteBehindOutputStream(OutputStream* sink, std::size_t blockSize, std::size_t blockCount)
    : sink(sink), blockSize(std::max<std::size_t>(blockSize, 1)), sizes(std::max<std::size_t>(blockCount, 2), 0)
{
    QUARN_EXPECTS(sink != nullptr);
    QUARN_EXPECTS(blockSize > 0 && blockCount > 1);
    blocks.reserve(sizes.size());
    for (std::size_t i = 0; i < sizes.size(); ++i)
        blocks.push_back(std::make_unique_for_overwrite<unsigned char[]>(this->blockSize));
}

WriteBehindOutputStream::~WriteBehindOutputStream()
{
    if (open) {
        try {
            drain();
        } catch (...) {
            // A destructor must not throw; the caller had flush() and close() to learn of errors.
        }
    }
    stop();
}

void WriteBehindOutputStream::write(void const* data, std::size_t size)
{
    if (!open)
        throw IOException(L"Stream is closed.");
    rethrowFailure();
    auto const* from = static_cast<unsigned char const*>(data);
    while (size != 0) {
        std::size_t const count = std::min(size, blockSize - fill);
        std::memcpy(currentBlock() + fill, from, count);
        fill += count;
        from += count;
        size -= count;
        if (fill == blockSize)
            submit();
    }
}

void WriteBehindOutputStream::flush()
{
    if (!open)
        throw IOException(L"Stream is closed.");
    drain();
    sink->flush();
}

void WriteBehindOutputStream::close()
{
    if (!open)
        return;
    open = false;
    std::exception_ptr error;
    try {
        drain();
    } catch (...) {
        error = std::current_exception();
    }
    stop();
    sink->close();
    if (error)
        std::rethrow_exception(error);
}

void WriteBehindOutputStream::submit()
{
    if (!thread.joinable() && !threadless) {
        try {
            thread = std::thread([this] { run(); });
        } catch (std::system_error const&) {
            threadless = true;
        }
    }
    if (threadless) {
        fill = 0;
        sink->write(currentBlock(), blockSize);
        return;
    }
    handOver();
}

void WriteBehindOutputStream::handOver()
{
    {
        std::unique_lock lock(mutex);
        sizes[submitted % blocks.size()] = fill;
        ++submitted;
        changed.notify_all();
        changed.wait(lock, [this] { return submitted - written < blocks.size(); });
    }
    fill = 0;
    rethrowFailure();
}

void WriteBehindOutputStream::drain()
{
    if (!thread.joinable()) {
        // Less than a block so far, or no thread to be had.
        std::size_t const size = fill;
        fill = 0;
        if (size != 0)
            sink->write(currentBlock(), size);
        return;
    }
    if (fill != 0)
        handOver();
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return written == submitted; });
    }
    rethrowFailure();
}

void WriteBehindOutputStream::stop() noexcept
{
    if (!thread.joinable())
        return;
    {
        std::lock_guard lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    thread.join();
}

void WriteBehindOutputStream::rethrowFailure()
{
    if (!failed.load(std::memory_order_acquire))
        return;
    std::lock_guard lock(mutex);
    std::rethrow_exception(failure);
}

void WriteBehindOutputStream::run() noexcept
{
    for (;;) {
        std::size_t slot;
        bool dropping;
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return stopping || submitted > written; });
            if (submitted == written)
                return;
            slot = static_cast<std::size_t>(written % blocks.size());
            dropping = failure != nullptr;
        }
        // The block is the producer's again only once counted as written: write without the lock.
        std::exception_ptr error;
        if (!dropping) {
            try {
                sink->write(blocks[slot].get(), sizes[slot]);
            } catch (...) {
                error = std::current_exception();
            }
        }
        {
            std::lock_guard lock(mutex);
            if (error) {
                failure = error;
                failed.store(true, std::memory_order_release);
            }
            ++written;
        }
        changed.notify_all();
    }
}

} // namespace Quarn
