// The prefetching thread and its hand-over of blocks.
#include "util/utility/io/BlockPrefetcher.h"

#include "util/utility/Debug.h"

namespace Quarn {

BlockPrefetcher::BlockPrefetcher(InputStream& source, std::size_t blockSize, std::size_t blockCount)
    : source(source), blockSize(blockSize), sizes(blockCount, 0)
{
    QUARN_EXPECTS(blockSize > 0 && blockCount > 1);
    blocks.reserve(blockCount);
    for (std::size_t i = 0; i < blockCount; ++i)
        blocks.push_back(std::make_unique_for_overwrite<unsigned char[]>(blockSize));
    thread = std::thread([this] { run(); });
}

BlockPrefetcher::~BlockPrefetcher()
{
    {
        std::lock_guard lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    thread.join();
}

BlockPrefetcher::Block BlockPrefetcher::next()
{
    std::unique_lock lock(mutex);
    if (released < taken) {
        released = taken;
        changed.notify_all();
    }
    changed.wait(lock, [this] { return filled > taken || finished; });
    if (filled == taken) {
        if (failure)
            std::rethrow_exception(failure);
        return {};
    }
    std::size_t const slot = static_cast<std::size_t>(taken % blocks.size());
    ++taken;
    return {blocks[slot].get(), sizes[slot]};
}

void BlockPrefetcher::run() noexcept
{
    for (;;) {
        std::size_t slot;
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return stopping || filled - released < blocks.size(); });
            if (stopping)
                return;
            slot = static_cast<std::size_t>(filled % blocks.size());
        }
        // The slot is neither held by the consumer nor waiting for it: read without the lock.
        std::size_t count = 0;
        std::exception_ptr error;
        try {
            count = source.read(blocks[slot].get(), blockSize);
        } catch (...) {
            error = std::current_exception();
        }
        {
            std::lock_guard lock(mutex);
            if (error) {
                failure = error;
                finished = true;
            } else if (count == 0) {
                finished = true;
            } else {
                sizes[slot] = count;
                ++filled;
            }
        }
        changed.notify_all();
        if (error || count == 0)
            return;
    }
}

} // namespace Quarn
