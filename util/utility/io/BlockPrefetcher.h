// Reads a source on a thread of its own, a few blocks ahead of its consumer, so that copying the
// bytes out of the operating system's cache overlaps the consumer's decoding of earlier blocks.
#pragma once

#include "util/utility/io/InputStream.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Quarn {

// The source is read only by the prefetching thread, one read of up to a block's size at a time,
// from construction until the end of the source, a failure, or destruction; nothing else may use
// it meanwhile. The consumer holds one block at a time: next() hands the previous one back.
class BlockPrefetcher {
public:
    struct Block {
        unsigned char const* data = nullptr;
        std::size_t size = 0;
    };

    // Starts the thread; throws std::system_error when none can be started.
    BlockPrefetcher(InputStream& source, std::size_t blockSize, std::size_t blockCount);
    // Stops the thread, after the read in progress, if any, returns.
    ~BlockPrefetcher();
    BlockPrefetcher(BlockPrefetcher const&) = delete;
    BlockPrefetcher& operator=(BlockPrefetcher const&) = delete;

    // The next block of the source, waiting for it when it is not read yet. An empty block marks
    // the end of the source. The exception a read of the source threw is rethrown here once the
    // blocks read before it are consumed, and again on every later call.
    Block next();

private:
    void run() noexcept;

    InputStream& source;
    std::size_t const blockSize;
    std::vector<std::unique_ptr<unsigned char[]>> blocks;
    std::vector<std::size_t> sizes;

    std::mutex mutex;
    std::condition_variable changed;
    // Blocks filled by the thread, taken by the consumer, and handed back by it; all only grow.
    std::uint64_t filled = 0;
    std::uint64_t taken = 0;
    std::uint64_t released = 0;
    bool finished = false; // the thread has read its last block (the end or a failure)
    bool stopping = false;
    std::exception_ptr failure;

    std::thread thread; // last: started once everything it uses is ready
};

} // namespace Quarn
