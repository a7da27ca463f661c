// Category selection: what passes inside and outside groups, and the group flag.
#include "nc/nc/FilterNCStreamByCategories.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

namespace {

// A section with parameters, moves, a command and a tool change outside and inside a group.
bool sendGroupedProgram(NCStream& s)
{
    return s.onOpen() && s.onContext(NCContext()) && s.onTool(NCTool()) && s.onSection() && s.onParameter("outside", 1)
        && s.onRapid({0, 0, 5}, 0) && s.onCommand(NCStream::COMMAND_STOP) && s.onGroup("drilling")
        && s.onParameter("depth", 2.0) && s.onLinear({0, 0, -2}, 100, 0) && s.onCommand(NCStream::COMMAND_STOP)
        && s.onToolChange() && s.onGroupEnd() && s.onLinear({1, 0, 0}, 100, 0) && s.onSectionEnd() && s.onClose();
}

std::vector<std::wstring> namesThrough(bool parameters, bool context, bool groups, bool motion)
{
    RecordingNCStream recorder;
    FilterNCStreamByCategories filter(&recorder, parameters, context, groups, motion);
    EXPECT_TRUE(sendGroupedProgram(filter));
    return recorder.names();
}

} // namespace

TEST(FilterNCStreamByCategories, GroupsCarryTheirParametersAndMotion)
{
    EXPECT_EQ(namesThrough(false, false, true, false),
        (std::vector<std::wstring> {L"onOpen", L"onGroup", L"onParameter", L"onLinear", L"onGroupEnd", L"onClose"}));
}

TEST(FilterNCStreamByCategories, EachSwitchSelectsItsCategory)
{
    EXPECT_EQ(namesThrough(false, false, false, false), (std::vector<std::wstring> {L"onOpen", L"onClose"}));
    EXPECT_EQ(namesThrough(true, false, false, false),
        (std::vector<std::wstring> {L"onOpen", L"onParameter", L"onParameter", L"onClose"}));
    EXPECT_EQ(
        namesThrough(false, true, false, false), (std::vector<std::wstring> {L"onOpen", L"onContext", L"onClose"}));
    EXPECT_EQ(namesThrough(false, false, false, true),
        (std::vector<std::wstring> {L"onOpen", L"onRapid", L"onLinear", L"onLinear", L"onClose"}));
}

TEST(FilterNCStreamByCategories, EveryMotionEventCountsAsMotion)
{
    RecordingNCStream motion;
    FilterNCStreamByCategories filter(&motion, false, false, false, true);
    EXPECT_TRUE(TestSupport::sendEveryEvent(filter));
    std::vector<std::wstring> expected;
    for (auto const& name : TestSupport::everyEventName())
        if (TestSupport::isMotionEventName(name) || name == L"onOpen" || name == L"onClose")
            expected.push_back(name);
    EXPECT_EQ(motion.names(), expected);
}

TEST(FilterNCStreamByCategories, GroupEndClearsTheGroupEvenWhenGroupsAreOff)
{
    RecordingNCStream recorder;
    FilterNCStreamByCategories filter(&recorder, false, false, false, false);
    EXPECT_TRUE(filter.onGroup("g"));
    EXPECT_TRUE(filter.isInGroup());
    EXPECT_TRUE(filter.onTurnGroupEnd());
    EXPECT_FALSE(filter.isInGroup());
    EXPECT_TRUE(filter.onTurnGroup("t"));
    EXPECT_TRUE(filter.isInGroup());
    EXPECT_TRUE(filter.onGroupEnd());
    EXPECT_FALSE(filter.isInGroup());
    EXPECT_TRUE(recorder.events.empty());
}

TEST(FilterNCStreamByCategories, DroppedEventsAnswerTrueAndPassedOnesTheNextResult)
{
    RecordingNCStream recorder;
    recorder.stopAt(L"onGroup");
    FilterNCStreamByCategories filter(&recorder, false, false, true, false);
    EXPECT_TRUE(filter.onCommand(NCStream::COMMAND_STOP));
    EXPECT_TRUE(filter.onRapid({}, 0));
    EXPECT_FALSE(filter.onGroup("g"));
    // The group state was updated although the group was refused.
    EXPECT_TRUE(filter.isInGroup());
    EXPECT_TRUE(filter.onRapid({}, 0));
    EXPECT_EQ(recorder.names(), (std::vector<std::wstring> {L"onGroup", L"onRapid"}));
}
