// Range: the default [0, 0], widening by extend(), inclusive contains() and setters.
#include "util/utility/math/Range.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Quarn;

TEST(Range, ExtendWidensJustEnough)
{
    struct Case {
        Range<double> start;
        double value;
        Range<double> expected;
    };
    Case const cases[] = {
        {{}, 5, {0, 5}},
        {{}, -5, {-5, 0}},
        {{}, 0, {0, 0}},
        {{-1, 1}, 0.5, {-1, 1}},
        {{-1, 1}, 1, {-1, 1}},
        {{-1, 1}, 1.5, {-1, 1.5}},
        {{-1, 1}, -1e300, {-1e300, 1}},
        {{-1, 1}, std::numeric_limits<double>::quiet_NaN(), {-1, 1}},
    };
    for (Case const& c : cases) {
        Range<double> range = c.start;
        range.extend(c.value);
        EXPECT_EQ(range.getMin(), c.expected.getMin()) << c.value;
        EXPECT_EQ(range.getMax(), c.expected.getMax()) << c.value;
        EXPECT_EQ(range.contains(c.value), c.value == c.value) << c.value; // NaN stays outside
    }
}

TEST(Range, ContainsIsInclusive)
{
    constexpr Range<int> range(-2, 3);
    static_assert(range.contains(-2) && range.contains(0) && range.contains(3));
    static_assert(!range.contains(-3) && !range.contains(4));
    static_assert(Range<int>().contains(0) && !Range<int>().contains(1));
    EXPECT_FALSE(Range<double>(0, 1).contains(1.0000000000000002));
    EXPECT_FALSE(Range<double>(0, 1).contains(-0.0 - 1e-300));
    EXPECT_TRUE(Range<double>(0, 1).contains(-0.0));
}

TEST(Range, SettersAndComparison)
{
    Range<double> range;
    EXPECT_EQ(range, Range<double>(0, 0));
    range.setMax(4);
    range.setMin(-4);
    EXPECT_EQ(range, Range<double>(-4, 4));
    range.set(1, 2);
    EXPECT_EQ(range.getMin(), 1.0);
    EXPECT_EQ(range.getMax(), 2.0);
    EXPECT_NE(range, Range<double>(1, 3));
}
