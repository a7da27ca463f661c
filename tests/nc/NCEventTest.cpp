// The event list: its kinds match NCStream's operations, and the sample program of the tests
// sends every kind, so "every event" tests grow with the list.
#include "nc/nc/NCEvent.h"

#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <set>

using namespace Quarn;

TEST(NCEvent, NamesCategoriesAndLookupAgree)
{
    EXPECT_EQ(NCEventCount, 44u);
    EXPECT_EQ(getEventName(NCEvent::passThrough), "passThrough");
    EXPECT_EQ(getEventName(NCEvent::onClose), "onClose");
    EXPECT_EQ(getEventCategory(NCEvent::onCircular), NCEventCategory::Arcs);
    EXPECT_EQ(getEventCategory(NCEvent::onNURBS), NCEventCategory::FreeForm);
    EXPECT_EQ(getEventCategory(NCEvent::onFrame), NCEventCategory::MachineAxes);
    for (std::size_t i = 0; i < NCEventCount; ++i)
        EXPECT_EQ(findEvent(NCEventNames[i]), static_cast<NCEvent>(i)) << NCEventNames[i];
    EXPECT_TRUE(isMotionEvent(NCEvent::onNURBS));
    EXPECT_TRUE(isMotionEvent(NCEvent::onCircularExtrude));
    EXPECT_FALSE(isMotionEvent(NCEvent::onDwell)); // the tool stands still
    EXPECT_FALSE(isMotionEvent(NCEvent::onParameter));
    EXPECT_FALSE(findEvent("onTeleport"));
    EXPECT_FALSE(findEvent(""));
}

TEST(NCEvent, EveryOperationIsCalledInListOrderUnderItsKind)
{
    TestSupport::RecordingNCStream recorder;
    std::vector<NCEvent> kinds;
    TestSupport::callEveryOperation(recorder, [&](NCEvent event, bool answer) {
        EXPECT_TRUE(answer);
        kinds.push_back(event);
    });
    ASSERT_EQ(kinds.size(), 53u);
    EXPECT_TRUE(std::is_sorted(kinds.begin(), kinds.end()));
    EXPECT_EQ(std::set<NCEvent>(kinds.begin(), kinds.end()).size(), NCEventCount);

    // The recorder names each operation as the list does; the kinded parameter arrives as its
    // "kind" and value parameters.
    auto const names = recorder.names();
    ASSERT_EQ(names.size(), 54u);
    EXPECT_EQ(names.front(), L"passThrough");
    EXPECT_EQ(names.back(), L"onClose");
}

TEST(NCEvent, TheSampleProgramSendsEveryKind)
{
    std::set<std::wstring> sent;
    for (auto const& name : TestSupport::everyEventName())
        sent.insert(name);
    for (auto name : NCEventNames)
        EXPECT_TRUE(sent.contains(std::wstring(name.begin(), name.end()))) << name;
}
