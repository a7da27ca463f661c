// WriteBehindOutputStream: bytes in order through any write size, small outputs without a thread,
// failures of the sink reported by later calls, closing and destruction.
#include "util/utility/io/WriteBehindOutputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 256);
    return bytes;
}

} // namespace

TEST(WriteBehindOutputStream, BytesArriveInOrderThroughAnyWriteSize)
{
    std::string const bytes = pattern(10'000);
    RecordingOutputStream sink;
    WriteBehindOutputStream out(&sink, 64, 3);
    std::size_t const pieces[] = {1, 7, 64, 200, 3, 130};
    for (std::size_t at = 0, i = 0; at < bytes.size(); ++i) {
        std::size_t const size = std::min(pieces[i % 6], bytes.size() - at);
        out.write(bytes.data() + at, size);
        at += size;
    }
    EXPECT_TRUE(out.isWritingBehind());
    out.close();
    EXPECT_FALSE(out.isOpen());
    EXPECT_EQ(sink.bytes, bytes);
    // Whole blocks, the rest, then the close.
    ASSERT_EQ(sink.calls.size(), 10'000 / 64 + 2);
    EXPECT_EQ(sink.calls.front(), "w64");
    EXPECT_EQ(sink.calls[sink.calls.size() - 2], "w16");
    EXPECT_EQ(sink.calls.back(), "c");
    EXPECT_EQ(ioError([&] { out.write("x", 1); }), (IOError {L"Stream is closed.", std::nullopt}));
    out.close();
    EXPECT_EQ(sink.calls.back(), "c");
    EXPECT_EQ(sink.calls.size(), 10'000 / 64 + 2) << "closing twice closes the sink once";
}

TEST(WriteBehindOutputStream, SmallOutputsAreWrittenWithoutAThread)
{
    RecordingOutputStream sink;
    WriteBehindOutputStream out(&sink, 64, 2);
    out.write("0123456789", 10);
    out.flush();
    out.write("ab", 2);
    out.flush();
    EXPECT_FALSE(out.isWritingBehind());
    EXPECT_EQ(sink.calls, (std::vector<std::string> {"w10", "f", "w2", "f"}));
}

TEST(WriteBehindOutputStream, AFailureOfTheSinkComesBackFromEveryLaterCall)
{
    std::string const bytes = pattern(1000);
    RecordingOutputStream sink;
    sink.failing = true;
    WriteBehindOutputStream out(&sink, 64, 2);
    // The thread fails on the first block; the producer learns of it at the latest when flushing.
    EXPECT_EQ(ioError([&] {
        out.write(bytes.data(), bytes.size());
        out.flush();
    }),
        (IOError {L"Disk full.", std::nullopt}));
    EXPECT_EQ(ioError([&] { out.write("x", 1); }), (IOError {L"Disk full.", std::nullopt}));
    EXPECT_EQ(ioError([&] { out.close(); }), (IOError {L"Disk full.", std::nullopt}));
    EXPECT_EQ(sink.calls, (std::vector<std::string> {"w64", "c"})) << "nothing written after the failed block";
}

TEST(WriteBehindOutputStream, DestructionWritesTheRestWithoutClosing)
{
    std::string const bytes = pattern(1000);
    RecordingOutputStream sink;
    {
        WriteBehindOutputStream out(&sink, 64, 4);
        out.write(bytes.data(), bytes.size());
    }
    EXPECT_EQ(sink.bytes, bytes);
    EXPECT_NE(sink.calls.back(), "c");
}
