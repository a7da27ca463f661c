// FileLog: create and append, copies sharing one file, a caller's stream, failures remembered
// instead of thrown.
#include "util/utility/FileLog.h"

#include "tests/support/AssertionCapture.h"
#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

using namespace Quarn;
using namespace Quarn::TestSupport;

TEST(FileLog, CreateTruncatesAndAppendContinues)
{
    TemporaryFile file;
    FileLog log;
    ASSERT_TRUE(log.open(file.name(), FileLog::Create));
    log.writeLine(L"first \u00E9");
    log.writeLine(L"");
    log.close();
    EXPECT_FALSE(log.isOpen());
    log.writeLine(L"ignored while closed");
    EXPECT_EQ(file.contents(), "first \xC3\xA9\n\n");

    ASSERT_TRUE(log.open(file.name(), FileLog::Append));
    log.writeLine(L"second");
    log.flush();
    EXPECT_EQ(file.contents(), "first \xC3\xA9\n\nsecond\n");
    ASSERT_TRUE(log.open(file.name(), FileLog::Create));
    log.close();
    EXPECT_EQ(file.contents(), "");
    EXPECT_FALSE(log.hasFailed());
}

TEST(FileLog, CopiesWriteIntoTheSameFileInOrder)
{
    TemporaryFile file;
    FileLog log;
    ASSERT_TRUE(log.open(file.name(), FileLog::Create));
    FileLog copy = log;
    log.writeLine(L"1");
    copy.writeLine(L"2");
    log.writeLine(L"3");
    {
        FileLog last = copy;
        log = FileLog();
        copy = FileLog();
        last.writeLine(L"4");
    }
    EXPECT_EQ(file.contents(), "1\n2\n3\n4\n"); // closed with the last copy

    ASSERT_TRUE(log.open(file.name(), FileLog::Create));
    copy = log;
    copy.close();
    EXPECT_FALSE(log.isOpen());
}

TEST(FileLog, FailuresAreReturnedOrRememberedNeverThrown)
{
    TemporaryFile missing;
    FileLog log;
    EXPECT_FALSE(log.open(missing.name() + L"/x.log", FileLog::Create));
    EXPECT_FALSE(log.isOpen());
    {
        AssertionCapture capture;
        EXPECT_FALSE(log.open(missing.name(), 2));
        EXPECT_EQ(capture.texts(), std::vector<std::string>{"EXPECTS:mode == Create || mode == Append"});
    }
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full";
    ASSERT_TRUE(log.open(L"/dev/full", FileLog::Append));
    log.writeLine(L"lost");
    EXPECT_FALSE(log.hasFailed());
    log.flush();
    EXPECT_TRUE(log.hasFailed());
}

TEST(FileLog, WritesThroughACallersStreamAndLeavesItOpen)
{
    RecordingOutputStream stream;
    FileLog log;
    log.open(&stream);
    ASSERT_TRUE(log.isOpen());
    log.writeLine(L"wide \u00E9 \U0001F600");
    log.writeUTF8Line("narrow \xC3\xA9");
    EXPECT_TRUE(stream.calls.empty()); // buffered until flushed
    log.flush();
    EXPECT_EQ(stream.bytes, "wide \xC3\xA9 \xF0\x9F\x98\x80\nnarrow \xC3\xA9\n");
    EXPECT_EQ(stream.calls, (std::vector<std::string> {"w23", "f"}));

    // A long log reaches the stream in large blocks before any flush.
    std::string const line(999, 'x');
    for (int i = 0; i < 100; ++i)
        log.writeUTF8Line(line);
    EXPECT_EQ(stream.calls.size(), 3u);
    EXPECT_EQ(stream.bytes.size(), 23u + 66 * 1000);
    FileLog copy = log;
    copy.close();
    EXPECT_FALSE(log.isOpen());
    EXPECT_EQ(stream.bytes.size(), 23u + 100 * 1000);
    EXPECT_EQ(stream.calls.back(), "f"); // flushed, never closed: the stream is the caller's

    stream.failing = true;
    log.open(&stream);
    log.writeLine(L"lost");
    log.flush();
    EXPECT_TRUE(log.hasFailed());

    AssertionCapture capture;
    log.open(static_cast<OutputStream*>(nullptr));
    EXPECT_FALSE(log.isOpen());
    EXPECT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:stream"});
}
