// The default receiver answers every event with its result flag, except the two free-form
// curves, which it always accepts.
#include "nc/nc/NCStreamDefaultImpl.h"

#include "tests/support/EventSamples.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(NCStreamDefaultImpl, AcceptsAWholeProgram)
{
    NCStreamDefaultImpl receiver;
    EXPECT_TRUE(TestSupport::sendEveryEvent(receiver));
}

TEST(NCStreamDefaultImpl, RefusesEveryEventButBezierAndNURBSWhenSetToFalse)
{
    NCStreamDefaultImpl receiver(false);
    std::size_t operations = 0;
    TestSupport::callEveryOperation(receiver, [&](NCEvent event, bool answer) {
        ++operations;
        bool const alwaysAccepted = event == NCEvent::onBezier || event == NCEvent::onNURBS;
        EXPECT_EQ(answer, alwaysAccepted) << getEventName(event);
    });
    EXPECT_EQ(operations, 53u); // every overload, the kinded parameter and four-vector moves included

    receiver.setResult(true);
    EXPECT_TRUE(receiver.onRapid({1, 2, 3}, 0));
}
