// BufferedInputStream, reading inline and ahead on a thread: every width across block boundaries,
// the end of data inside a value, skipping, what is left, reads that bypass the buffer, failures
// of the source, and stopping early.
#include "util/utility/io/BufferedInputStream.h"

#include "util/utility/io/MemoryInputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using ReadAhead = BufferedInputStream::ReadAhead;
constexpr ReadAhead BothModes[] = {ReadAhead::Inline, ReadAhead::Background};

// Counts its bytes 0, 1, 2, ... (mod 256) in reads of up to chunk bytes, size of them; there it
// ends, or throws "Disk error." when failing.
class CountingInputStream final : public InputStream {
public:
    static constexpr std::uint64_t Endless = std::numeric_limits<std::uint64_t>::max();

    CountingInputStream(std::size_t chunk, std::uint64_t size, bool failing = false)
        : chunk(chunk), size(size), failing(failing)
    {
    }

    std::size_t read(void* buffer, std::size_t count) override
    {
        if (failing && position == size)
            throw IOException(L"Disk error.", position);
        count = static_cast<std::size_t>(std::min<std::uint64_t>({count, chunk, size - position}));
        auto* bytes = static_cast<unsigned char*>(buffer);
        for (std::size_t i = 0; i < count; ++i)
            bytes[i] = static_cast<unsigned char>(position + i);
        position += count;
        return count;
    }
    std::uint64_t getPosition() const override { return position; }

private:
    std::size_t chunk;
    std::uint64_t size;
    bool failing;
    std::uint64_t position = 0;
};

} // namespace

TEST(BufferedInputStream, ReadsEveryWidthAcrossBlockBoundaries)
{
    for (std::size_t bufferSize : {1, 3, 7, 64}) {
        for (std::size_t chunk : {1, 5, 1000}) {
            for (ReadAhead mode : BothModes) {
            SCOPED_TRACE(testing::Message() << "buffer " << bufferSize << ", chunk " << chunk << ", mode "
                                            << static_cast<int>(mode));
            TrickleInputStream source(mixedFields + "xyz\x01", chunk);
            BufferedInputStream in(&source, bufferSize, mode);
            EXPECT_EQ(in.readUInt8(), 0xABu);
            EXPECT_EQ(in.readUInt16(), 0x1234u);
            EXPECT_EQ(in.readUInt32(), 0x89ABCDEFu);
            EXPECT_EQ(in.readInt32(), -7);
            EXPECT_EQ(in.readUInt64(), 0x0102030405060708ull);
            EXPECT_EQ(in.readFloat(), 1.5f);
            EXPECT_EQ(in.readDouble(), -0.25);
            char text[5];
            in.readBytes(text, 5);
            EXPECT_EQ(std::string(text, 5), "hello");
            EXPECT_EQ(in.getPosition(), 36u);
            in.skip(3);
            EXPECT_FALSE(in.isAtEnd());
            EXPECT_EQ(in.readUInt8(), 1u);
            EXPECT_TRUE(in.isAtEnd());
            EXPECT_EQ(in.getPosition(), 40u);
            }
        }
    }
}

TEST(BufferedInputStream, EndInsideAValueThrowsWithTheOffsetOfItsFirstByte)
{
    char bytes[6];
    std::pair<std::size_t, std::function<void(BufferedInputStream&)>> const reads[] = {
        {1, [](BufferedInputStream& in) { in.readUInt8(); }},
        {2, [](BufferedInputStream& in) { in.readUInt16(); }},
        {4, [](BufferedInputStream& in) { in.readUInt32(); }},
        {4, [](BufferedInputStream& in) { in.readInt32(); }},
        {8, [](BufferedInputStream& in) { in.readUInt64(); }},
        {4, [](BufferedInputStream& in) { in.readFloat(); }},
        {8, [](BufferedInputStream& in) { in.readDouble(); }},
        {6, [&](BufferedInputStream& in) { in.readBytes(bytes, 6); }},
        {6, [](BufferedInputStream& in) { in.skip(6); }},
    };
    for (auto const& [width, read] : reads) {
        for (std::size_t bufferSize : {1, 3, 64}) {
            for (ReadAhead mode : BothModes) {
                SCOPED_TRACE(testing::Message()
                    << "width " << width << ", buffer " << bufferSize << ", mode " << static_cast<int>(mode));
                // Two bytes read first, then one byte fewer than the value needs.
                TrickleInputStream source(std::string(2 + width - 1, '\x55'), 1);
                BufferedInputStream in(&source, bufferSize, mode);
                in.readUInt16();
                EXPECT_EQ(ioError([&, &read = read] { read(in); }), (IOError {L"Unexpected end of stream.", 2}));
                EXPECT_TRUE(in.isAtEnd());
            }
        }
    }
}

TEST(BufferedInputStream, PositionAndRemainingCountFromTheSource)
{
    for (ReadAhead mode : BothModes) {
        MemoryInputStream source(std::string(10, 'x'));
        char skipped[2];
        ASSERT_EQ(source.read(skipped, 2), 2u);
        BufferedInputStream in(&source, 4, mode);
        EXPECT_EQ(in.getPosition(), 2u);
        EXPECT_EQ(in.getRemaining(), 8u);
        EXPECT_EQ(in.getSize(), 10u);
        in.readUInt32();
        EXPECT_EQ(in.getRemaining(), 4u);
        in.skip(4);
        EXPECT_EQ(in.getRemaining(), 0u);
    }

    TrickleInputStream unknown("abc");
    EXPECT_EQ(BufferedInputStream(&unknown).getRemaining(), std::nullopt);
}

TEST(BufferedInputStream, LargeReadsGoStraightFromTheSource)
{
    TrickleInputStream source(std::string(100, 'x'), 1000);
    BufferedInputStream in(&source, 8);
    in.readUInt8();
    char buffer[100];
    in.readBytes(buffer, 50);          // 7 from the buffer, 43 read directly
    EXPECT_EQ(in.read(buffer, 5), 5u);  // one block of 8 through the buffer
    EXPECT_EQ(in.read(buffer, 10), 3u); // only what is buffered
    EXPECT_EQ(in.read(buffer, 100), 41u);
    EXPECT_EQ(in.read(buffer, 100), 0u);
    EXPECT_EQ(source.requests, (std::vector<std::size_t>{8, 43, 8, 100, 100}));
    EXPECT_EQ(in.getPosition(), 100u);
}

TEST(BufferedInputStream, ReadingAheadDeliversEveryByteInOrder)
{
    // Blocks of 61 bytes, most of them short reads of 29; values and large reads straddle them.
    CountingInputStream source(29, 100'000);
    BufferedInputStream in(&source, 61, ReadAhead::Background);
    ASSERT_TRUE(in.isReadingAhead());
    std::vector<unsigned char> bytes(1000);
    std::uint64_t expected = 0;
    while (expected + 1000 + 4 <= 100'000) {
        EXPECT_EQ(in.readUInt32(), static_cast<std::uint32_t>((expected & 0xFF) | ((expected + 1) & 0xFF) << 8
                                       | ((expected + 2) & 0xFF) << 16 | ((expected + 3) & 0xFF) << 24));
        in.readBytes(bytes.data(), bytes.size());
        for (std::size_t i = 0; i < bytes.size(); ++i)
            ASSERT_EQ(bytes[i], static_cast<unsigned char>(expected + 4 + i)) << expected;
        expected += 1004;
        ASSERT_EQ(in.getPosition(), expected);
    }
    in.skip(100'000 - expected - 1);
    EXPECT_EQ(in.readUInt8(), static_cast<unsigned char>(99'999));
    EXPECT_TRUE(in.isAtEnd());
    EXPECT_EQ(in.read(bytes.data(), 10), 0u);
}

TEST(BufferedInputStream, ReadingAheadRethrowsAFailureOfTheSourceWhereItHappened)
{
    CountingInputStream source(1 << 20, 1000, true);
    BufferedInputStream in(&source, 64, ReadAhead::Background);
    std::vector<unsigned char> bytes(1000);
    in.readBytes(bytes.data(), bytes.size());
    EXPECT_EQ(bytes[999], static_cast<unsigned char>(999));
    EXPECT_EQ(ioError([&] { in.readUInt8(); }), (IOError {L"Disk error.", 1000}));
    EXPECT_EQ(ioError([&] { in.isAtEnd(); }), (IOError {L"Disk error.", 1000}));
    EXPECT_EQ(in.getPosition(), 1000u);
}

TEST(BufferedInputStream, StoppingEarlyEndsTheReadingThread)
{
    // An endless source: the thread must stop when the stream goes, or the test hangs.
    for (int i = 0; i < 20; ++i) {
        CountingInputStream source(100, CountingInputStream::Endless);
        BufferedInputStream in(&source, 64, ReadAhead::Background);
        for (int j = 0; j < i * 10; ++j)
            in.readUInt32();
    }
    // Closing stops it too; later reads go to the closed source, which here goes on counting.
    CountingInputStream source(100, CountingInputStream::Endless);
    BufferedInputStream in(&source, 64, ReadAhead::Background);
    in.readUInt8();
    in.close();
    EXPECT_FALSE(in.isReadingAhead());
    EXPECT_FALSE(in.isAtEnd());
}
