// TextNCStream: machine-axis text, and false once the output has failed.
#include "nc/nc/TextNCStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Quarn;

TEST(TextNCStream, PrintsOrderingsAndValues)
{
    std::ostringstream out;
    TextNCStream text(&out);
    EXPECT_TRUE(text.onMachineAxisOrdering(AxisOrdering()));
    EXPECT_TRUE(text.onMachineAxisOrdering(AxisOrdering {AxisInfo("head", "X"), AxisInfo("table", "C")}));
    EXPECT_TRUE(text.onMachineAxisValues(AxisValues {AxisValue(1.5), AxisValue(-90.0)}));
    EXPECT_TRUE(text.onRapid({}, 0));
    EXPECT_EQ(out.str(), "onMachineAxisOrdering\nonMachineAxisOrdering \"X\" \"C\"\nonMachineAxisValues 1.5 -90\n");
}

TEST(TextNCStream, FailedOutputAnswersFalseAndOtherEventsKeepTheDefault)
{
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    TextNCStream text(&out);
    EXPECT_FALSE(text.onMachineAxisValues(AxisValues(2)));
    text.setResult(false);
    EXPECT_FALSE(text.onSection());
    EXPECT_TRUE(text.onBezier({}, {}, {}, 1, 0));
}

TEST(TextNCStream, NullStreamIsAPrecondition)
{
    TestSupport::AssertionCapture capture;
    TextNCStream text(nullptr);
    EXPECT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:stream"});
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/TextNCStream");
    EXPECT_FALSE(text.onMachineAxisOrdering(AxisOrdering(1)));
}
