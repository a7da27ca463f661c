// Debug assertions: evaluated only in test mode, reported with text, repository source and line.
#include "util/utility/Debug.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

using namespace Quarn;

namespace {
int evaluated = 0;
bool countedFalse()
{
    ++evaluated;
    return false;
}
void expectsPositive(int value) { QUARN_EXPECTS(value > 0); }
} // namespace

TEST(Debug, AssertionsReportConditionTextSourceAndLine)
{
    TestSupport::AssertionCapture capture;
    QUARN_ASSERT(1 + 1 == 3);
    expectsPositive(-1);
    expectsPositive(1);
    ASSERT_EQ(capture.reports().size(), 2u);
    EXPECT_EQ(capture.reports()[0].text, "1 + 1 == 3");
    EXPECT_EQ(capture.reports()[0].file, "tests/util/DebugTest");
    EXPECT_EQ(capture.reports()[1].text, "EXPECTS:value > 0");
}

TEST(Debug, ConditionsAreNotEvaluatedOutsideTestMode)
{
    evaluated = 0;
    Debug::setTesting(false);
    QUARN_ASSERT(countedFalse());
    Debug::setTesting(true);
    EXPECT_EQ(evaluated, 0);
    TestSupport::AssertionCapture capture;
    QUARN_ASSERT(countedFalse());
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(capture.reports().size(), 1u);
}

TEST(Debug, SourceNamesAreRepositoryPathsWithoutExtension)
{
    EXPECT_EQ(Debug::sourceName("nc/nc/machinedata/AxisOrdering.cpp"), "nc/nc/machinedata/AxisOrdering");
    EXPECT_EQ(Debug::sourceName("/usr/include/QuarnNC10/util/utility/SafePointer.h"), "util/utility/SafePointer");
    EXPECT_EQ(Debug::sourceName("dir.v2/Name"), "dir.v2/Name");
    EXPECT_EQ(Debug::sourceName(nullptr), "");
}

TEST(Debug, CapturesNestAndRestoreTheOuterHandler)
{
    TestSupport::AssertionCapture outer;
    {
        TestSupport::AssertionCapture inner;
        QUARN_ASSERT(false);
        EXPECT_EQ(inner.reports().size(), 1u);
    }
    QUARN_ASSERT(false);
    EXPECT_EQ(outer.reports().size(), 1u);
}

TEST(Debug, BreakpointWithoutDebuggerDoesNothing)
{
    Debug::breakpoint();
    SUCCEED();
}
