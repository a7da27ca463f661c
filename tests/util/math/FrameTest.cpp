// Frame: the world default, validity limits of axis length and orthogonality, make() and the matrix.
#include "util/utility/math/Frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Quarn;

namespace {
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Inf = std::numeric_limits<double>::infinity();
} // namespace

TEST(Frame, DefaultIsTheWorldFrame)
{
    constexpr Frame world;
    static_assert(world.getOrigin() == Vector3D());
    static_assert(world.getXAxis() == Vector3D(1, 0, 0));
    static_assert(world.getYAxis() == Vector3D(0, 1, 0));
    static_assert(world.getZAxis() == Vector3D(0, 0, 1));
    EXPECT_TRUE(world.isValid());
    EXPECT_EQ(world.getMatrix(), Matrix4x4());
    EXPECT_EQ(world, Frame({}, {1, 0, 0}, {0, 0, 1}));
    EXPECT_NE(world, Frame({0, 0, 1e-300}, {1, 0, 0}, {0, 0, 1}));
}

TEST(Frame, ValidityAndMake)
{
    double const s = std::sqrt(0.5);
    struct Case {
        char const* name;
        Vector3D origin, x, z;
        bool valid;
    };
    Case const cases[] = {
        {"world", {}, {1, 0, 0}, {0, 0, 1}, true},
        {"tilted", {10, -20, 30}, {s, 0, -s}, {s, 0, s}, true},
        {"x length error 1e-10", {}, {1 + 1e-10, 0, 0}, {0, 0, 1}, true},
        {"z length error 1e-10", {}, {1, 0, 0}, {0, 0, 1 - 1e-10}, true},
        {"x length error 1e-8", {}, {1 + 1e-8, 0, 0}, {0, 0, 1}, false},
        {"z length error 1e-8", {}, {1, 0, 0}, {0, 0, 1 - 1e-8}, false},
        {"dot 1e-10", {}, {1, 0, 0}, {1e-10, 0, 1}, true},
        {"dot 1e-8", {}, {1, 0, 0}, {1e-8, 0, 1}, false},
        {"parallel axes", {}, {0, 0, 1}, {0, 0, 1}, false},
        {"zero x", {}, {}, {0, 0, 1}, false},
        {"z pointing down", {}, {1, 0, 0}, {0, 0, -1}, true},
        {"NaN origin", {NaN, 0, 0}, {1, 0, 0}, {0, 0, 1}, false},
        {"NaN x", {}, {1, NaN, 0}, {0, 0, 1}, false},
        {"infinite origin", {0, 0, Inf}, {1, 0, 0}, {0, 0, 1}, false},
    };
    for (Case const& c : cases) {
        Frame frame(c.origin, c.x, c.z);
        EXPECT_EQ(frame.isValid(), c.valid) << c.name;
        std::optional<Frame> made = Frame::make(c.origin, c.x, c.z);
        EXPECT_EQ(made.has_value(), c.valid) << c.name;
        if (made) {
            EXPECT_EQ(*made, frame) << c.name;
        }
    }
}

TEST(Frame, MatrixHasTheAxesAsColumnsAndTheOriginAsTranslation)
{
    Frame frame({5, 6, 7}, {0, 1, 0}, {0, 0, 1});
    EXPECT_EQ(frame.getYAxis(), Vector3D(-1, 0, 0));
    Matrix4x4 m = frame.getMatrix();
    EXPECT_EQ(m.getAsString(), L"[(0, -1, 0, 5), (1, 0, 0, 6), (0, 0, 1, 7), (0, 0, 0, 1)]");
    EXPECT_EQ(m.transformPoint({1, 2, 3}), Vector3D(5 - 2, 6 + 1, 7 + 3));
    EXPECT_EQ(m.getRotation().getDeterminant(), 1.0);
    // A z axis pointing down keeps the frame right-handed by turning y.
    EXPECT_EQ(Frame({}, {1, 0, 0}, {0, 0, -1}).getYAxis(), Vector3D(0, -1, 0));
}
