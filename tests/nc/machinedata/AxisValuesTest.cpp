// Axis positions: unit conversions, exact and tolerant comparison, checked indices, stored layout.
#include "nc/nc/machinedata/AxisValues.h"

#include "tests/nc/machinedata/PersistRoundTrip.h"
#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using namespace Quarn;

TEST(AxisValue, StoresDegreesAndComparesExactly)
{
    EXPECT_DOUBLE_EQ(AxisValue(Radian(std::numbers::pi)).value(), 180.0);
    EXPECT_DOUBLE_EQ(AxisValue(Degree(90)).radians().value(), std::numbers::pi / 2);
    EXPECT_EQ(AxisValue(Degree(-45.5)).value(), -45.5);

    AxisValue const nan(std::numeric_limits<double>::quiet_NaN());
    EXPECT_NE(AxisValue(1.0), AxisValue(1.0 + 1e-15));
    EXPECT_TRUE(nan != nan);
    EXPECT_FALSE(nan == nan || nan < AxisValue(1.0) || AxisValue(1.0) < nan || nan <= nan);
}

TEST(AxisValues, CompareWithinTolerance)
{
    struct Case {
        AxisValues a, b;
        double tolerance;
        bool equal;
    };
    Case const cases[] = {
        {{1.0}, {1.5}, 0.5, true},
        {{1.0}, {1.5}, 0.49, false},
        {{1.5}, {1.0}, 0.5, true},
        {{}, {}, 0.0, true},
        {{1.0, 2.0, 3.0}, {1.1, 2.0, 2.9}, 0.2, true},
        {{1.0, 2.0}, {1.0, 2.1}, 0.05, false},
        {{1.0}, {1.0, 2.0}, 1e9, false},
        {{}, {0.0}, 1e9, false},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << "sizes " << c.a.size() << "/" << c.b.size() << ", tolerance " << c.tolerance);
        EXPECT_EQ(compareAxisValues(c.a, c.b, c.tolerance), c.equal);
        EXPECT_EQ(c.a == c.b, c.equal && c.tolerance == 0.0);
    }
}

TEST(AxisValues, IndexOutOfRangeIsReportedAndHarmless)
{
    TestSupport::AssertionCapture capture;
    AxisValues values(2);
    values.setValue(1, Degree(30));
    EXPECT_TRUE(std::isnan(values.value(2).value()));
    EXPECT_TRUE(std::isnan(values[-1].value()));
    values.setValue(2, 7.0);
    values.setValue(-1, 7.0);
    EXPECT_EQ(values, AxisValues({0.0, 30.0}));

    ASSERT_EQ(capture.reports().size(), 4u);
    for (auto const& report : capture.reports()) {
        EXPECT_EQ(report.text, "0 <= index && index < size()");
        EXPECT_EQ(report.file, "nc/nc/machinedata/AxisValues");
    }
}

TEST(AxisValues, StoredAsVectorOfValuesAndReadBack)
{
    AxisValues values({1.5, -90.0});
    persist::Node const& root = persist::NodeStore::write("values", values).getRoot();
    EXPECT_EQ(TestSupport::childNames(root), std::vector<std::string> {"m_values"});
    persist::Node const& second = TestSupport::child(TestSupport::child(root, "m_values"), "m_array").getChildren().at(1);
    EXPECT_EQ(second.getType(), "AxisValue");
    EXPECT_EQ(TestSupport::child(second, "m_value").getValue(), persist::Node::Value(-90.0));

    EXPECT_EQ(TestSupport::persistRoundTrip(values), values);
    EXPECT_EQ(TestSupport::persistRoundTrip(AxisValues()), AxisValues());
}
