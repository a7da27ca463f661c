// Motion removal: every motion event is dropped, everything else passes.
#include "nc/nc/FilterNCStreamByRemovingMotion.h"

#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(FilterNCStreamByRemovingMotion, PassesExactlyTheNonMotionEvents)
{
    RecordingNCStream recorder;
    recorder.stopAt(L"onRapid"); // never reached: refusals of dropped events cannot happen
    FilterNCStreamByRemovingMotion filter(&recorder);
    EXPECT_TRUE(TestSupport::sendEveryEvent(filter));
    std::vector<std::wstring> expected;
    for (auto const& name : TestSupport::everyEventName())
        if (!TestSupport::isMotionEventName(name))
            expected.push_back(name);
    EXPECT_EQ(recorder.names(), expected);
}
