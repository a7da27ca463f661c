// DebugNCStream: renders the last event for a debugger and forwards everything unchanged.
#include "nc/nc/DebugNCStream.h"

#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(DebugNCStream, RendersTheLastEventAndForwardsUnchanged)
{
    RecordingNCStream direct;
    TestSupport::sendEveryEvent(direct);
    RecordingNCStream recorder;
    DebugNCStream debug(&recorder);
    EXPECT_TRUE(TestSupport::sendEveryEvent(debug));
    EXPECT_EQ(recorder.events, direct.events);
    EXPECT_EQ(debug.getLastEvent(), L"onClose");

    recorder.stopAt(L"onLinear");
    EXPECT_FALSE(debug.onLinear({1, 2, 3}, 250.5, 0x20000));
    EXPECT_EQ(debug.getLastEvent(), L"onLinear (1, 2, 3) 250.5 131072");
}
