// LogNCStream: the golden log of the example program, exact lines of single events, and
// forwarding that the log never changes.
#include "nc/nc/LogNCStream.h"

#include "examples/ExampleProgram.h"
#include "nc/nc/FilterNCStreamByRemovingNamedParams.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/RemoveDuplicateRapidsNCStream.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using namespace Quarn;
using TestSupport::RecordingNCStream;

namespace {

class LogNCStreamTest : public testing::Test {
protected:
    std::filesystem::path const path = std::filesystem::temp_directory_path()
        / ("quarn-log-" + std::to_string(::getpid()) + "-"
            + testing::UnitTest::GetInstance()->current_test_info()->name() + ".log");
    ~LogNCStreamTest() override { std::filesystem::remove(path); }

    std::string logText()
    {
        std::ifstream in(path);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
};

std::string fileText(std::filesystem::path const& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

TEST_F(LogNCStreamTest, ExampleProgramMatchesTheGoldenLog)
{
    // The chain of examples/ExampleChain.cpp.
    NCStreamDefaultImpl sink;
    LogNCStream log(&sink);
    ASSERT_TRUE(log.open(path.wstring()));
    RemoveDuplicateRapidsNCStream rapids(&log);
    FilterNCStreamByRemovingNamedParams params(
        &rapids, {NCStream::DEFAULT_PARAMETER_NAMESPACE.getNarrow() + "/operation"});
    ASSERT_TRUE(Examples::sendExampleProgram(params));
    EXPECT_EQ(logText(), fileText(std::filesystem::path(QUARN_SOURCE_DIR) / "tests/nc/golden/ExampleProgram.log"));
}

TEST_F(LogNCStreamTest, SingleEventLines)
{
    RecordingNCStream recorder;
    LogNCStream log(&recorder);
    ASSERT_TRUE(log.open(path.wstring()));
    log.onCommand(NCStream::COMMAND_LIVE_ALIGNMENT);
    log.onCommand(static_cast<NCStream::Command>(42));
    log.onCircular({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, 1.5, 100, 3);
    log.onComment(L"caf\u00e9 \U0001F600");
    log.passThrough("G0 X1");
    log.onParameter("depth", 2.5, NCStream::PARAMETER_KIND_ANGLE);
    log.onRapid5D({1, 2, 3}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}, 7);
    log.onGroup("g");
    log.onClose();
    std::string const sep(80, '='), dash(80, '-');
    EXPECT_EQ(logText(),
        "LogNCStream::onCommand(): command:LIVE_ALIGNMENT id:47\n"
        "LogNCStream::onCommand(): command: id:42\n"
        "LogNCStream::onCWArc(): center:(1, 0, 0) end:(0, 1, 0) normal:(0, 0, 1) sweep:1.5 feedrate:100 flags:3\n"
        "LogNCStream::onComment(): comment:L'caf\xC3\xA9 \xF0\x9F\x98\x80'\n"
        "LogNCStream::passThrough(): comment:'G0 X1'\n"
        "LogNCStream::onParameter(): name:'kind' value:'2'\n"
        "LogNCStream::onParameter(): name:'depth' value:'2.5'\n"
        "LogNCStream::onRapid5D(): end:(1, 2, 3) z:(0, 0, 1) x:(1, 0, 0) n:(0, 1, 0) flags:7\n"
            + dash + "\nLogNCStream::onGroup(): uri:'g'\n" + sep + "\nLogNCStream::onClose():\n");
    // Every event also reached the next stream.
    EXPECT_EQ(recorder.events.size(), 10u);
}

TEST_F(LogNCStreamTest, ForwardsEverythingAndKeepsTheNextResult)
{
    RecordingNCStream direct;
    TestSupport::sendEveryEvent(direct);
    RecordingNCStream recorder;
    LogNCStream log(&recorder);
    EXPECT_TRUE(TestSupport::sendEveryEvent(log)); // no file open: logging is skipped, never fatal
    EXPECT_EQ(recorder.events, direct.events);

    for (auto const* event : {L"onOpen", L"onContext", L"onGroup", L"onCWArc", L"onClose"}) {
        RecordingNCStream refusing;
        refusing.stopAt(event);
        LogNCStream stopping(&refusing);
        EXPECT_FALSE(TestSupport::sendEveryEvent(stopping)) << event;
    }
}
