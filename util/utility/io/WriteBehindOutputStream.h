// Writes into its sink on a thread of its own, a few blocks behind its producer, so that producing
// the next block overlaps the operating system's copying of the last.
#pragma once

#include "util/utility/SafePointer.h"
#include "util/utility/io/OutputStream.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Quarn {

// write() copies the bytes into the current block; a full block goes to the thread, which writes
// it into the sink in one call, while the producer fills the next. The thread starts with the
// first full block: an output smaller than a block is written on the caller's thread by flush or
// close. From then until close (or destruction) nothing else may use the sink.
//
// A failure of the sink is thrown again by every later write, flush and close, which is how the
// producer learns of it; the bytes after the failed block are not written.
class QUARN_NC_EXPORT WriteBehindOutputStream final : public OutputStream {
public:
    static constexpr std::size_t DefaultBlockSize = 1 << 20;
    static constexpr std::size_t DefaultBlockCount = 4;

    // The sink is not owned.
    explicit WriteBehindOutputStream(
        OutputStream* sink, std::size_t blockSize = DefaultBlockSize, std::size_t blockCount = DefaultBlockCount);
    // Writes what is left and stops the thread, ignoring errors (flush or close report them);
    // does not close the sink.
    ~WriteBehindOutputStream() override;
    WriteBehindOutputStream(WriteBehindOutputStream const&) = delete;
    WriteBehindOutputStream& operator=(WriteBehindOutputStream const&) = delete;

    void write(void const* data, std::size_t size) override;
    // Waits until every byte is in the sink, then flushes the sink.
    void flush() override;
    // Writes every byte, stops the thread and closes the sink; later writes throw IOException
    // "Stream is closed.". Idempotent.
    void close() override;
    bool isOpen() const override { return open; }

    bool isWritingBehind() const noexcept { return thread.joinable(); }

private:
    unsigned char* currentBlock() const noexcept { return blocks[submitted % blocks.size()].get(); }
    // Hands the full current block to the thread, starting it the first time, and waits for a free
    // block to fill next.
    void submit();
    void handOver();
    // Writes the current block and waits until the thread has written every block handed to it.
    void drain();
    void stop() noexcept;
    void rethrowFailure();
    void run() noexcept;

    SafePointer<OutputStream> sink;
    std::size_t const blockSize;
    std::vector<std::unique_ptr<unsigned char[]>> blocks;
    std::vector<std::size_t> sizes;
    std::size_t fill = 0; // bytes in the current block
    bool open = true;
    bool threadless = false; // no thread could be started: blocks are written inline

    std::mutex mutex;
    std::condition_variable changed;
    // Blocks handed to the thread and blocks it has written (or dropped after a failure).
    std::uint64_t submitted = 0;
    std::uint64_t written = 0;
    bool stopping = false;
    std::exception_ptr failure;
    std::atomic<bool> failed {false}; // failure is set: tested without the lock

    std::thread thread;
};

} // namespace Quarn
