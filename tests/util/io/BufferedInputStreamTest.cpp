// BufferedInputStream: every width across block boundaries, the end of data inside a value,
// skipping, what is left, and reads that bypass the buffer.
#include "util/utility/io/BufferedInputStream.h"

#include "util/utility/io/MemoryInputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Quarn;
using namespace Quarn::TestSupport;

TEST(BufferedInputStream, ReadsEveryWidthAcrossBlockBoundaries)
{
    for (std::size_t bufferSize : {1, 3, 7, 64}) {
        for (std::size_t chunk : {1, 5, 1000}) {
            SCOPED_TRACE(testing::Message() << "buffer " << bufferSize << ", chunk " << chunk);
            TrickleInputStream source(mixedFields + "xyz\x01", chunk);
            BufferedInputStream in(&source, bufferSize);
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
            SCOPED_TRACE(testing::Message() << "width " << width << ", buffer " << bufferSize);
            // Two bytes read first, then one byte fewer than the value needs.
            TrickleInputStream source(std::string(2 + width - 1, '\x55'), 1);
            BufferedInputStream in(&source, bufferSize);
            in.readUInt16();
            EXPECT_EQ(ioError([&] { read(in); }), (IOError{L"Unexpected end of stream.", 2}));
            EXPECT_TRUE(in.isAtEnd());
        }
    }
}

TEST(BufferedInputStream, PositionAndRemainingCountFromTheSource)
{
    MemoryInputStream source(std::string(10, 'x'));
    char skipped[2];
    source.readFully(skipped, 2);
    BufferedInputStream in(&source, 4);
    EXPECT_EQ(in.getPosition(), 2u);
    EXPECT_EQ(in.getRemaining(), 8u);
    in.readUInt32();
    EXPECT_EQ(in.getRemaining(), 4u);
    in.skip(4);
    EXPECT_EQ(in.getRemaining(), 0u);

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
