// FilterNCStream: every event reaches the next stream unchanged, a refusal comes back
// unchanged, and an empty next stream is reported and thrown.
#include "nc/nc/FilterNCStream.h"

#include "tests/support/AssertionCapture.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(FilterNCStream, ForwardsEveryEventUnchanged)
{
    RecordingNCStream direct;
    ASSERT_TRUE(TestSupport::sendEveryEvent(direct));

    RecordingNCStream recorder;
    FilterNCStream first(&recorder);
    FilterNCStream second(&first);
    ASSERT_TRUE(TestSupport::sendEveryEvent(second));
    EXPECT_EQ(recorder.events, direct.events);

    // Every overload of the event list, not only those of a valid program.
    RecordingNCStream everyDirect;
    TestSupport::callEveryOperation(everyDirect, [](NCEvent, bool) { });
    RecordingNCStream everyForwarded;
    FilterNCStream filter(&everyForwarded);
    TestSupport::callEveryOperation(
        filter, [](NCEvent event, bool answer) { EXPECT_TRUE(answer) << getEventName(event); });
    EXPECT_EQ(everyForwarded.events, everyDirect.events);
}

TEST(FilterNCStream, RefusalOfAnyEventTravelsBackAndStopsTheSender)
{
    auto const names = TestSupport::everyEventName();
    for (std::size_t i = 0; i < names.size(); ++i) {
        // The n-th occurrence of this name in the program.
        int occurrence = static_cast<int>(std::count(names.begin(), names.begin() + i + 1, names[i]));
        RecordingNCStream recorder;
        recorder.stopAt(names[i], occurrence);
        FilterNCStream filter(&recorder);
        FilterNCStream outer(&filter);
        EXPECT_FALSE(TestSupport::sendEveryEvent(outer)) << i;
        EXPECT_EQ(recorder.events.size(), i + 1) << "the sender goes on after a refused " << names[i].size();
    }
}

TEST(FilterNCStream, CopiesForwardToTheSameStream)
{
    RecordingNCStream recorder;
    FilterNCStream filter(&recorder);
    FilterNCStream copy(filter);
    EXPECT_TRUE(copy.onSkip());
    EXPECT_EQ(recorder.events.size(), 1u);
    EXPECT_EQ(copy.getNCStream().get(), &recorder);
}

TEST(FilterNCStream, ForwardingToNothingReportsObjectAndThrows)
{
    TestSupport::AssertionCapture capture;
    FilterNCStream filter;
    EXPECT_THROW(filter.onOpen(), NullPointerException);
    EXPECT_THROW(filter.onRapid({1, 2, 3}, 0), NullPointerException);
    ASSERT_EQ(capture.reports().size(), 2u);
    EXPECT_EQ(capture.reports()[0].text, "object");
    EXPECT_EQ(capture.reports()[0].file, "util/utility/SafePointer");
}
