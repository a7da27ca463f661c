// Block-buffered writing of little-endian fields, with inline fast paths for the writers' hot loops.
#pragma once

#include "util/utility/SafePointer.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/OutputStream.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>

namespace Quarn {

// Collects bytes in a buffer of bufferSize bytes and hands them to the sink in blocks; writes of
// at least a buffer's size go to the sink directly. A copy writes into the same sink through a
// buffer of its own, so flush before copying to keep the bytes in order.
//
// A failure of the sink (an exception from its write or flush) is thrown to the caller, and again
// by every later write, flush and close: the output has a hole, so nothing more is written into
// the sink; close still closes it. The bytes of a failed block count as written (getPosition).
class QUARN_NC_EXPORT BufferedOutputStream : public OutputStream {
public:
    static constexpr std::size_t DefaultBufferSize = 256 * 1024;

    // The sink is not owned. A buffer size of 0 is taken as 1.
    explicit BufferedOutputStream(OutputStream* sink, std::size_t bufferSize = DefaultBufferSize);
    BufferedOutputStream(BufferedOutputStream const& other);
    // Writes this stream's buffer into its sink before taking over the other's sink and position.
    BufferedOutputStream& operator=(BufferedOutputStream const& other);
    // Flushes, ignoring errors, unless the sink failed; call flush() or close() first to see them.
    ~BufferedOutputStream() override;

    void writeUInt8(std::uint8_t value)
    {
        put<1>([value](unsigned char* p) { *p = value; });
    }
    void writeUInt16(std::uint16_t value)
    {
        put<2>([value](unsigned char* p) { LittleEndian::writeUInt16(p, value); });
    }
    void writeUInt32(std::uint32_t value)
    {
        put<4>([value](unsigned char* p) { LittleEndian::writeUInt32(p, value); });
    }
    void writeInt32(std::int32_t value)
    {
        put<4>([value](unsigned char* p) { LittleEndian::writeInt32(p, value); });
    }
    void writeUInt64(std::uint64_t value)
    {
        put<8>([value](unsigned char* p) { LittleEndian::writeUInt64(p, value); });
    }
    void writeFloat(float value)
    {
        put<4>([value](unsigned char* p) { LittleEndian::writeFloat(p, value); });
    }
    void writeDouble(double value)
    {
        put<8>([value](unsigned char* p) { LittleEndian::writeDouble(p, value); });
    }

    void writeBytes(void const* data, std::size_t size)
    {
        if (size <= room()) [[likely]] {
            if (size != 0)
                std::memcpy(current, data, size);
            current += size;
            return;
        }
        writeSlow(data, size);
    }

    // Room for size bytes at the write position, for encoders that write a record in place, or
    // null when the buffer has less room left (write the record with writeBytes then); advance
    // passes over the bytes encoded there (at most size, unchecked, for the hot loops).
    unsigned char* claim(std::size_t size) noexcept { return size <= room() ? current : nullptr; }
    void advance(std::size_t size) noexcept { current += size; }

    void write(void const* data, std::size_t size) override { writeBytes(data, size); }
    // Writes the buffer into the sink and flushes the sink.
    void flush() override;
    // Writes the buffer into the sink and closes the sink, even when the buffer cannot be written;
    // later writes throw IOException "Stream is closed.". Idempotent.
    void close() override;
    bool isOpen() const override;
    // True once the sink failed.
    bool hasFailed() const noexcept { return failure != nullptr; }

    // Bytes written by the caller.
    std::uint64_t getPosition() const noexcept
    {
        return written + static_cast<std::uint64_t>(current - buffer.get());
    }

private:
    std::size_t room() const noexcept { return static_cast<std::size_t>(limit - current); }

    template <std::size_t N, class Encode>
    void put(Encode encode)
    {
        if (N <= room()) [[likely]] {
            encode(current);
            current += N;
            return;
        }
        unsigned char bytes[N];
        encode(bytes);
        writeSlow(bytes, N);
    }

    void writeSlow(void const* data, std::size_t size);
    // Hands the buffered bytes to the sink and empties the buffer.
    void writeBuffer();
    // Writes into the sink; a failure is kept, so that it is thrown again, and thrown.
    void toSink(void const* data, std::size_t size);
    // Throws the kept failure, if any.
    void rethrowFailure() const;

    SafePointer<OutputStream> sink;
    std::size_t capacity;
    std::unique_ptr<unsigned char[]> buffer;
    unsigned char* current;
    // The buffer's end, or its start once closed or failed so that writes go the slow way.
    unsigned char* limit;
    std::uint64_t written; // bytes handed to the sink
    bool open = true;
    std::exception_ptr failure;
};

} // namespace Quarn
