// Vector3D: products, the proper and NaN predicates, normalization and the exact text form.
#include "util/utility/math/Vector3D.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Quarn;

namespace {
constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
} // namespace

TEST(Vector3D, CrossProductsFollowTheRightHandRule)
{
    struct Case {
        Vector3D a, b, expected;
    };
    Vector3D const x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    Case const cases[] = {
        {x, y, z},
        {y, z, x},
        {z, x, y},
        {y, x, -z},
        {x, x, {}},
        {{1, 2, 3}, {4, 5, 6}, {-3, 6, -3}},
        {{1, 2, 3}, {2, 4, 6}, {}}, // parallel
    };
    for (Case const& c : cases) {
        EXPECT_EQ(c.a.cross(c.b), c.expected) << c.a.getAsString() << L" x " << c.b.getAsString();
        EXPECT_EQ(c.b.cross(c.a), -c.expected);
    }
    static_assert(Vector3D(1, 2, 3).dot({4, -5, 6}) == 12.0);
    EXPECT_EQ(Vector3D(1, 2, 3).dot(Vector3D(1, 2, 3).cross({-7, 0.5, 2})), 0.0);
}

TEST(Vector3D, PredicatesOfProperNaNAndFinite)
{
    struct Case {
        Vector3D v;
        bool proper, nan, finite;
    };
    Case const cases[] = {
        {{1, 0, 0}, true, false, true},
        {{}, false, false, true},
        {{Vector3D::ProperLength, 0, 0}, false, false, true}, // exactly the limit is not proper
        {{0, 0, 2 * Vector3D::ProperLength}, true, false, true},
        {{0, Inf, 0}, false, false, false},
        {{0, 0, -Inf}, false, false, false},
        {{1, 1, NaN}, false, true, false},
        {{NaN, 0, 0}, false, true, false},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(c.v.isProper(), c.proper) << c.v.getAsString();
        EXPECT_EQ(c.v.isNaN(), c.nan) << c.v.getAsString();
        EXPECT_EQ(c.v.isFinite(), c.finite) << c.v.getAsString();
    }
    Vector3D nan = Vector3D::getNaN();
    EXPECT_TRUE(std::isnan(nan.x) && std::isnan(nan.y) && std::isnan(nan.z));
    EXPECT_FALSE(nan == nan);
}

TEST(Vector3D, NormalizationAndModulus)
{
    EXPECT_EQ(Vector3D(3, 4, 0).getModulus(), 5.0);
    EXPECT_EQ(Vector3D(0, -3, 4).getNormalized(), Vector3D(0, -0.6, 0.8));
    EXPECT_EQ(Vector3D().getNormalized(), Vector3D());
}

TEST(Vector3D, TextUsesShortestRoundTripNumbers)
{
    EXPECT_EQ(Vector3D(0.1, -0.0, 1e-9).getAsString(), L"(0.1, -0, 1e-09)");
    EXPECT_EQ(Vector3D(1, -2.5, 123456789012).getAsString(), L"(1, -2.5, 123456789012)");
    EXPECT_EQ(Vector3D(NaN, Inf, -Inf).getAsString(), L"(nan, inf, -inf)");
    EXPECT_EQ(Vector3D(0.1 + 0.2, 0, 0).getAsString(), L"(0.30000000000000004, 0, 0)");
}
