// Helpers of the byte-stream tests: a stingy source, a recording sink, a sink that fills up, a
// temporary file, the IOException an action throws, and a block of fields in little-endian bytes.
#pragma once

#include "util/utility/IOException.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/OutputStream.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace Quarn::TestSupport {

// Returns at most chunk bytes per read and records the sizes asked for.
class TrickleInputStream final : public InputStream {
public:
    explicit TrickleInputStream(std::string bytes, std::size_t chunk = 1) : bytes(std::move(bytes)), chunk(chunk) {}

    std::size_t read(void* buffer, std::size_t size) override
    {
        requests.push_back(size);
        std::size_t count = std::min({size, chunk, bytes.size() - position});
        std::memcpy(buffer, bytes.data() + position, count);
        position += count;
        return count;
    }
    std::uint64_t getPosition() const override { return position; }

    std::vector<std::size_t> requests;

private:
    std::string bytes;
    std::size_t chunk;
    std::size_t position = 0;
};

// Records writes ("w<size>"), flushes ("f") and closes ("c"); can be made to fail every write.
class RecordingOutputStream final : public OutputStream {
public:
    void write(void const* data, std::size_t size) override
    {
        calls.push_back("w" + std::to_string(size));
        if (failing)
            throw IOException(L"Disk full.");
        bytes.append(static_cast<char const*>(data), size);
    }
    void flush() override { calls.push_back("f"); }
    void close() override { calls.push_back("c"); }

    std::vector<std::string> calls;
    std::string bytes;
    bool failing = false;
};

// A device that holds capacity bytes: the write that goes past them keeps what fits and throws
// IOException "Disk full." at the output's length, as does every later write and flush. Counts
// the writes and flushes that still reach it after the first failure: a writer must make none.
class FullOutputStream final : public OutputStream {
public:
    explicit FullOutputStream(std::size_t capacity) : capacity(capacity) { }

    void write(void const* data, std::size_t size) override
    {
        if (full)
            callAfterFailure();
        std::size_t const fits = std::min(size, capacity - bytes.size());
        bytes.append(static_cast<char const*>(data), fits);
        if (fits < size)
            fail();
    }
    void flush() override
    {
        if (full)
            callAfterFailure();
    }
    void close() override { closed = true; }

    std::string bytes;
    std::size_t callsAfterFailure = 0;
    bool full = false;
    bool closed = false;

private:
    [[noreturn]] void callAfterFailure()
    {
        ++callsAfterFailure;
        fail();
    }
    [[noreturn]] void fail()
    {
        full = true;
        throw IOException(L"Disk full.", bytes.size());
    }

    std::size_t capacity;
};

// A unique path in the temporary directory; the file is removed when the object goes.
struct TemporaryFile {
    TemporaryFile()
    {
        static std::atomic<unsigned> counter{0};
        path = std::filesystem::temp_directory_path() /
               ("quarn-test-" + std::to_string(std::random_device()()) + "-" + std::to_string(counter++));
    }
    ~TemporaryFile() { std::filesystem::remove(path, ignored); }

    std::wstring name() const { return path.wstring(); }
    std::string contents() const
    {
        std::string result;
        if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
            for (int c; (c = std::fgetc(file)) != EOF;)
                result.push_back(static_cast<char>(c));
            std::fclose(file);
        }
        return result;
    }

    std::filesystem::path path;
    std::error_code ignored;
};

// The message and offset of the IOException an action throws.
struct IOError {
    std::wstring message;
    std::optional<std::uint64_t> offset;
    bool operator==(IOError const&) const = default;
    friend std::ostream& operator<<(std::ostream& out, IOError const& e)
    {
        return out << '"' << IOException(e.message).what() << "\" at " << (e.offset ? std::to_string(*e.offset) : "-");
    }
};

template <class Action>
IOError ioError(Action&& action)
{
    try {
        action();
    } catch (IOException const& e) {
        return {e.getMessage(), e.getOffset()};
    }
    return {L"no exception", std::nullopt};
}

// u8 AB, u16 1234, u32 89ABCDEF, i32 -7, u64 0102030405060708, float 1.5, double -0.25, "hello".
inline std::string const mixedFields("\xAB"
                                     "\x34\x12"
                                     "\xEF\xCD\xAB\x89"
                                     "\xF9\xFF\xFF\xFF"
                                     "\x08\x07\x06\x05\x04\x03\x02\x01"
                                     "\x00\x00\xC0\x3F"
                                     "\x00\x00\x00\x00\x00\x00\xD0\xBF"
                                     "hello",
                                     36);

} // namespace Quarn::TestSupport
