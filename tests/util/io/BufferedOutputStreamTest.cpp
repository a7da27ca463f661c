// BufferedOutputStream: exact bytes of every width through small buffers, how blocks reach the
// sink, copies, closing, and a failing sink.
#include "util/utility/io/BufferedOutputStream.h"

#include "util/utility/io/MemoryOutputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Quarn;
using namespace Quarn::TestSupport;
using Calls = std::vector<std::string>;

TEST(BufferedOutputStream, WritesLittleEndianFieldsThroughAnyBufferSize)
{
    for (std::size_t bufferSize : {1, 3, 7, 64}) {
        SCOPED_TRACE(bufferSize);
        MemoryOutputStream sink;
        BufferedOutputStream out(&sink, bufferSize);
        out.writeUInt8(0xAB);
        out.writeUInt16(0x1234);
        out.writeUInt32(0x89ABCDEF);
        out.writeInt32(-7);
        out.writeUInt64(0x0102030405060708ull);
        out.writeFloat(1.5f);
        out.writeDouble(-0.25);
        out.writeBytes("hello", 5);
        EXPECT_EQ(out.getPosition(), 36u);
        out.flush();
        EXPECT_EQ(sink.getData(), mixedFields);
    }
}

TEST(BufferedOutputStream, SinkGetsWholeBlocksAndLargeWritesDirectly)
{
    RecordingOutputStream sink;
    BufferedOutputStream out(&sink, 8);
    out.writeBytes("abc", 3);
    out.writeBytes("0123456789", 10); // at least a buffer: the buffer first, then this directly
    out.writeUInt32(1);
    out.writeUInt16(2);
    out.writeUInt8(3);
    out.writeUInt32(4); // one byte tops the buffer up, three stay
    EXPECT_EQ(sink.calls, (Calls{"w3", "w10", "w8"}));
    out.flush();
    EXPECT_EQ(sink.calls, (Calls{"w3", "w10", "w8", "w3", "f"}));
    EXPECT_EQ(sink.bytes, std::string("abc0123456789\x01\0\0\0\x02\0\x03\x04\0\0\0", 24));
    EXPECT_EQ(out.getPosition(), 24u);
}

TEST(BufferedOutputStream, CopyHasItsOwnBufferAndTheSameSink)
{
    RecordingOutputStream sink;
    BufferedOutputStream out(&sink, 8);
    out.writeBytes("ab", 2);
    out.flush();
    BufferedOutputStream copy(out);
    copy.writeBytes("cd", 2);
    out.writeBytes("ef", 2);
    EXPECT_EQ(copy.getPosition(), 4u);
    copy.flush();
    out.flush();
    EXPECT_EQ(sink.bytes, "abcdef");

    RecordingOutputStream other;
    BufferedOutputStream assigned(&other, 4);
    assigned.writeBytes("x", 1);
    assigned = out; // "x" goes to the old sink first
    assigned.writeBytes("g", 1);
    assigned.flush();
    EXPECT_EQ(other.bytes, "x");
    EXPECT_EQ(sink.bytes, "abcdefg");
    EXPECT_EQ(assigned.getPosition(), 5u);
}

TEST(BufferedOutputStream, CloseWritesTheBufferClosesTheSinkAndStopsWrites)
{
    RecordingOutputStream sink;
    BufferedOutputStream out(&sink, 8);
    out.writeUInt16(7);
    out.close();
    out.close();
    EXPECT_FALSE(out.isOpen());
    EXPECT_FALSE(BufferedOutputStream(out).isOpen());
    EXPECT_EQ(sink.calls, (Calls{"w2", "c"}));
    IOError const closed{L"Stream is closed.", 2};
    EXPECT_EQ(ioError([&] { out.writeUInt8(1); }), closed);
    EXPECT_EQ(ioError([&] { out.writeBytes("abc", 3); }), closed);
    EXPECT_EQ(ioError([&] { out.flush(); }), closed);
}

TEST(BufferedOutputStream, DestructorFlushesAndSwallowsSinkErrors)
{
    RecordingOutputStream sink;
    {
        BufferedOutputStream out(&sink, 8);
        out.writeBytes("abc", 3);
    }
    EXPECT_EQ(sink.bytes, "abc");
    EXPECT_EQ(sink.calls, (Calls {"w3", "f"}));
    sink.failing = true;
    {
        BufferedOutputStream out(&sink, 8);
        out.writeBytes("abc", 3);
        EXPECT_EQ(ioError([&] { out.flush(); }), (IOError {L"Disk full.", {}}));
        EXPECT_EQ(out.getPosition(), 3u);
    }
    EXPECT_EQ(sink.calls, (Calls {"w3", "f", "w3"})) << "a failed stream does not flush on destruction";
}

TEST(BufferedOutputStream, AFailureOfTheSinkComesBackFromEveryLaterCall)
{
    IOError const full {L"Disk full.", {}};
    struct Case {
        char const* what;
        std::function<void(BufferedOutputStream&)> fail;
        Calls calls; // of the sink up to the failure
    } const cases[] = {
        {"topping up the buffer", [](auto& out) { out.writeBytes("abcde", 5), out.writeBytes("fghi", 4); }, {"w8"}},
        {"a field across the buffer's end", [](auto& out) { out.writeBytes("abcdefg", 7), out.writeUInt16(1); },
            {"w8"}},
        {"a large write", [](auto& out) { out.writeBytes("abcdefghijklmnop", 16); }, {"w16"}},
        {"the buffer before a large write",
            [](auto& out) { out.writeUInt8(1), out.writeBytes("abcdefghijklmnop", 16); }, {"w1"}},
        {"flushing", [](auto& out) { out.writeUInt8(1), out.flush(); }, {"w1"}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingOutputStream sink;
        sink.failing = true;
        {
            BufferedOutputStream out(&sink, 8);
            EXPECT_EQ(ioError([&] { c.fail(out); }), full);
            EXPECT_TRUE(out.hasFailed());
            // The output has a hole now: nothing more may reach the sink, however small.
            EXPECT_EQ(ioError([&] { out.writeUInt8(1); }), full);
            EXPECT_EQ(ioError([&] { out.writeBytes("abcdefghijklmnop", 16); }), full);
            EXPECT_EQ(out.claim(1), nullptr);
            EXPECT_EQ(ioError([&] { out.flush(); }), full);
            BufferedOutputStream copy(out);
            EXPECT_EQ(ioError([&] { copy.writeUInt8(1); }), full) << "a copy has failed as well";
            EXPECT_EQ(sink.calls, c.calls);
            // Closing still closes the sink, and says why the output is incomplete.
            EXPECT_EQ(ioError([&] { out.close(); }), full);
            out.close();
        }
        Calls closed = c.calls;
        closed.push_back("c");
        EXPECT_EQ(sink.calls, closed);
    }
}
