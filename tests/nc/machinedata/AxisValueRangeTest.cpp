// Axis ranges: validating construction, intersection, inclusive containment, cyclic remapping.
#include "nc/nc/machinedata/AxisValueRange.h"

#include "tests/nc/machinedata/PersistRoundTrip.h"
#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

using namespace Quarn;

namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(AxisValueRange, MakeAcceptsOnlyValidLimits)
{
    struct Case {
        std::optional<AxisValue> min, max;
        std::optional<AxisValueRange> expected;
    };
    Case const cases[] = {
        {0.0, 10.0, AxisValueRange(0, 10)},
        {5.0, 5.0, AxisValueRange(5, 5)},
        {-Inf, Inf, AxisValueRange()},
        {std::nullopt, std::nullopt, AxisValueRange()},
        {1.0, 0.0, std::nullopt},
        {0.0, Inf, std::nullopt},
        {-Inf, 0.0, std::nullopt},
        {NaN, 1.0, std::nullopt},
        {5.0, std::nullopt, std::nullopt},
        {std::nullopt, 5.0, std::nullopt},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.min ? c.min->value() : -1.0) << ", " << (c.max ? c.max->value() : -1.0));
        EXPECT_EQ(AxisValueRange::make(c.min, c.max), c.expected);
    }
    EXPECT_TRUE(AxisValueRange().isInfinite());
    EXPECT_FALSE(AxisValueRange(0, 1e300).isInfinite());
}

TEST(AxisValueRange, IntersectionKeepsTheCommonPart)
{
    struct Case {
        AxisValueRange a, b;
        std::optional<AxisValueRange> expected;
    };
    Case const cases[] = {
        {{0, 10}, {10, 20}, AxisValueRange(10, 10)},
        {{0, 10}, {11, 20}, std::nullopt},
        {{0, 10}, {}, AxisValueRange(0, 10)},
        {{}, {0, 10}, AxisValueRange(0, 10)},
        {{0, 10}, {2, 3}, AxisValueRange(2, 3)},
        {{-5, 5}, {0, 10}, AxisValueRange(0, 5)},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << "[" << c.a.min().value() << ", " << c.a.max().value() << "] & ["
                                        << c.b.min().value() << ", " << c.b.max().value() << "]");
        EXPECT_EQ(c.a.intersect(c.b), c.expected);
    }
}

TEST(AxisValueRange, ContainsIsInclusiveAndNeverHoldsNaN)
{
    AxisValueRange const range(0, 10);
    EXPECT_TRUE(range.contains(0.0) && range.contains(10.0));
    EXPECT_FALSE(range.contains(-1e-12) || range.contains(10.000001));
    EXPECT_FALSE(range.contains(NaN) || AxisValueRange().contains(NaN));
    EXPECT_TRUE(range.contains(range) && range.contains(AxisValueRange(10, 10)));
    EXPECT_FALSE(range.contains(AxisValueRange(-1, 5)) || range.contains(AxisValueRange()));
}

TEST(AxisValueRange, RemapCyclicLandsBelowInTopTurnAndAboveInBottomTurn)
{
    struct Case {
        double min, max, value, expected;
    };
    Case const cases[] = {
        {0, 360, -90, 270},
        {0, 360, -360, 360},
        {0, 360, -450, 270},
        {0, 360, 450, 90},
        {0, 360, 720, 0},
        {0, 360, 1080, 0},
        {0, 360, 200, 200},
        {0, 360, 360, 360},
        {-180, 180, 190, -170},
        {-100, 400, -200, 160},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.value << " into [" << c.min << ", " << c.max << "]");
        EXPECT_DOUBLE_EQ(AxisValueRange(c.min, c.max).remapCyclic(c.value).value(), c.expected);
    }
}

TEST(AxisValueRange, BadLimitsAreStoredAndReported)
{
    TestSupport::AssertionCapture capture;
    AxisValueRange const reversed(AxisValue(1.0), AxisValue(0.0));
    EXPECT_EQ(AxisValueRange(0.0, Inf).max().value(), Inf);
    EXPECT_EQ(reversed.min().value(), 1.0);
    AxisValueRange(0, 359).remapCyclic(400);

    EXPECT_EQ(capture.texts(), (std::vector<std::string> {"EXPECTS:areValidLimits(min, max)",
                                   "EXPECTS:areValidLimits(min, max)", "EXPECTS:difference() >= 360"}));
    for (auto const& report : capture.reports())
        EXPECT_EQ(report.file, "nc/nc/machinedata/AxisValueRange");
}

TEST(AxisValueRange, StoredAsMinThenMaxAndReadBack)
{
    AxisValueRange range(-30, 30);
    persist::Node const& root = persist::NodeStore::write("range", range).getRoot();
    EXPECT_EQ(TestSupport::childNames(root), (std::vector<std::string> {"m_min", "m_max"}));
    EXPECT_EQ(TestSupport::child(TestSupport::child(root, "m_min"), "m_value").getValue(), persist::Node::Value(-30.0));

    EXPECT_EQ(TestSupport::persistRoundTrip(range), range);
    EXPECT_EQ(TestSupport::persistRoundTrip(AxisValueRange()), AxisValueRange());
}
