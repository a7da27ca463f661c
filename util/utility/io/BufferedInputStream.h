// Block-buffered reading of little-endian fields, with inline fast paths for the readers' hot loops.
#pragma once

#include "util/utility/SafePointer.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/ByteOrder.h"

#include <cstring>
#include <memory>
#include <optional>

namespace Quarn {

class BlockPrefetcher;

// Reads the source in blocks of bufferSize bytes. Every read of a value either returns all of
// its bytes or throws IOException "Unexpected end of stream." with the offset of the value's first
// byte; after that exception the stream is at its end. Positions count from the source's
// position when the buffer was made, so they are offsets in the file.
//
// With ReadAhead::Background the source is read on a thread of its own, a few blocks ahead (see
// BlockPrefetcher): nothing else may use the source until this stream is closed or destroyed, and
// its size is asked once, here. Where no thread can be started, the stream reads inline.
class QUARN_NC_EXPORT BufferedInputStream final : public InputStream {
public:
    static constexpr std::size_t DefaultBufferSize = 256 * 1024;
    // Blocks of bufferSize bytes in flight when reading ahead.
    static constexpr std::size_t ReadAheadBlocks = 4;

    enum class ReadAhead { Inline, Background };
    // The end offset of a source that cannot tell its size (a pipe): the largest offset.
    static constexpr std::uint64_t UnknownEnd = ~std::uint64_t {0};

    // Background for a source of more than a few blocks or of unknown size, where reading on a
    // thread of its own pays; Inline for the rest.
    static ReadAhead readAheadFor(InputStream const& source);

    // The source is not owned. A buffer size of 0 is taken as 1.
    explicit BufferedInputStream(
        InputStream* source, std::size_t bufferSize = DefaultBufferSize, ReadAhead readAhead = ReadAhead::Inline);
    ~BufferedInputStream() override;
    BufferedInputStream(BufferedInputStream const&) = delete;
    BufferedInputStream& operator=(BufferedInputStream const&) = delete;

    std::uint8_t readUInt8() { return take<1>()[0]; }
    std::uint16_t readUInt16() { return LittleEndian::readUInt16(take<2>()); }
    std::uint32_t readUInt32() { return LittleEndian::readUInt32(take<4>()); }
    std::int32_t readInt32() { return LittleEndian::readInt32(take<4>()); }
    std::uint64_t readUInt64() { return LittleEndian::readUInt64(take<8>()); }
    float readFloat() { return LittleEndian::readFloat(take<4>()); }
    double readDouble() { return LittleEndian::readDouble(take<8>()); }

    // Reads exactly size bytes; large reads go straight from the source into buffer.
    void readBytes(void* buffer, std::size_t size)
    {
        if (size <= available()) [[likely]] {
            if (size != 0)
                std::memcpy(buffer, current, size);
            current += size;
            return;
        }
        readSlow(buffer, size);
    }

    // Passes over count bytes; throws like a read when fewer are left.
    void skip(std::uint64_t count)
    {
        if (count <= available()) [[likely]] {
            current += count;
            return;
        }
        skipSlow(count);
    }

    // True when no byte is left; reads the next block from the source to find out.
    bool isAtEnd() { return current == end && !refill(); }

    // The buffered bytes not consumed yet, for decoders that parse records in place; consume(n)
    // passes over n of them (n at most available(): unchecked, for the hot loops). A window of
    // fewer bytes than a record needs is no sign of the end: the record straddles two blocks and
    // is read with the value reads above.
    unsigned char const* window() const noexcept { return current; }
    std::size_t available() const noexcept { return static_cast<std::size_t>(end - current); }
    void consume(std::size_t count) noexcept { current += count; }

    bool isReadingAhead() const noexcept { return prefetcher != nullptr; }

    // Bytes left before the source's known size, so that a length read from a file can be
    // checked before anything is allocated for it; empty when the source's size is unknown.
    std::optional<std::uint64_t> getRemaining() const;
    // The offset at which the source ends; UnknownEnd when it cannot tell.
    std::uint64_t getEnd() const
    {
        std::optional<std::uint64_t> remaining = getRemaining();
        return remaining ? getPosition() + *remaining : UnknownEnd;
    }

    // Bytes consumed by the caller (plus the source's position when the buffer was made).
    std::uint64_t getPosition() const override
    {
        return origin + static_cast<std::uint64_t>(current - start);
    }

    std::size_t read(void* buffer, std::size_t size) override;
    std::optional<std::uint64_t> getSize() const override;
    // Drops the buffered bytes and closes the source.
    void close() override;

private:
    // The next N bytes: in the buffer when they are all there, else gathered in straddle.
    template <std::size_t N>
    unsigned char const* take()
    {
        if (N <= available()) [[likely]] {
            unsigned char const* bytes = current;
            current += N;
            return bytes;
        }
        readSlow(straddle, N);
        return straddle;
    }

    void readSlow(void* buffer, std::size_t size);
    void skipSlow(std::uint64_t count);
    // Moves past the buffered block and reads the next one; false at the end of the source.
    bool refill();
    // Moves past the buffered block without reading a new one.
    void discardBuffer() noexcept;
    std::optional<std::uint64_t> sourceSize() const;

    SafePointer<InputStream> source;
    std::size_t capacity;
    std::unique_ptr<unsigned char[]> buffer; // when reading inline
    std::unique_ptr<BlockPrefetcher> prefetcher; // when reading ahead
    std::optional<std::uint64_t> sizeAtStart; // the source's size, asked before reading ahead
    unsigned char const* start; // of the buffered block
    unsigned char const* current;
    unsigned char const* end;
    std::uint64_t origin; // stream position of start[0]
    unsigned char straddle[8];
};

} // namespace Quarn
