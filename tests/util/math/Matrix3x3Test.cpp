// Matrix3x3: columns as axes, determinant, transpose, products, inverse and text form.
#include "util/utility/math/Matrix3x3.h"

#include "tests/util/math/MathTesting.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Quarn;

namespace {
// Quarter turns about x and z.
constexpr Matrix3x3 RotX90({1, 0, 0}, {0, 0, 1}, {0, -1, 0});
constexpr Matrix3x3 RotZ90({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
constexpr Matrix3x3 General({2, 0, 1}, {-1, 3, 0}, {0.5, 1, 4});
} // namespace

TEST(Matrix3x3, ColumnsAreRightUpForward)
{
    static_assert(General(0, 0) == 2 && General(1, 0) == 0 && General(2, 0) == 1);
    static_assert(General(0, 1) == -1 && General(0, 2) == 0.5 && General(2, 2) == 4);
    EXPECT_EQ(General.getRight(), Vector3D(2, 0, 1));
    EXPECT_EQ(General.getUp(), Vector3D(-1, 3, 0));
    EXPECT_EQ(General.getForward(), Vector3D(0.5, 1, 4));
    Matrix3x3 m;
    EXPECT_EQ(m, Matrix3x3::getIdentity());
    m.setUp({7, 8, 9});
    EXPECT_EQ(m, Matrix3x3({1, 0, 0}, {7, 8, 9}, {0, 0, 1}));
    EXPECT_EQ(m.getAsString(), L"[(1, 0, 0), (7, 8, 9), (0, 0, 1)]");
}

TEST(Matrix3x3, DeterminantAndTranspose)
{
    struct Case {
        Matrix3x3 m;
        double determinant;
    };
    Case const cases[] = {
        {Matrix3x3::getIdentity(), 1},
        {Matrix3x3({1, 0, 0}, {0, 1, 0}, {0, 0, -1}), -1}, // mirror in the xy plane
        {Matrix3x3({0, 1, 0}, {1, 0, 0}, {0, 0, 1}), -1},  // swapped axes
        {RotX90, 1},
        {General, 21.5},
        {Matrix3x3::getZero(), 0},
        {Matrix3x3({1, 2, 3}, {2, 4, 6}, {0, 0, 1}), 0},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(c.m.getDeterminant(), c.determinant) << c.m.getAsString();
        EXPECT_EQ(c.m.getTranspose().getDeterminant(), c.determinant) << c.m.getAsString();
        EXPECT_EQ(c.m.getTranspose().getTranspose(), c.m);
    }
    Matrix3x3 t = General.getTranspose();
    EXPECT_EQ(t.getRight(), Vector3D(2, -1, 0.5));
    EXPECT_EQ(t.getForward(), Vector3D(1, 0, 4));
}

TEST(Matrix3x3, ProductsApplyTheRightFactorFirst)
{
    EXPECT_EQ(RotZ90 * Vector3D(1, 2, 3), Vector3D(-2, 1, 3));
    EXPECT_EQ(General * Vector3D(1, 1, 1), Vector3D(1.5, 4, 5));
    Vector3D v{1, 2, 3};
    EXPECT_EQ((RotZ90 * RotX90) * v, RotZ90 * (RotX90 * v));
    EXPECT_EQ(RotZ90 * RotX90, Matrix3x3({0, 1, 0}, {0, 0, 1}, {1, 0, 0}));
    EXPECT_EQ(RotX90 * RotZ90, Matrix3x3({0, 0, 1}, {-1, 0, 0}, {0, -1, 0}));
    EXPECT_EQ(General * Matrix3x3::getIdentity(), General);
    EXPECT_EQ(General - General, Matrix3x3::getZero());
}

TEST(Matrix3x3, InverseRoundTripsAndSingularGivesNaN)
{
    EXPECT_EQ(RotX90.getInverse(), RotX90.getTranspose());
    EXPECT_LE((General * General.getInverse() - Matrix3x3::getIdentity()).getSquareNorm(), 1e-30);
    std::mt19937 random(7);
    for (int i = 0; i < 100; ++i) {
        Matrix3x3 r = TestSupport::randomRotation(random);
        EXPECT_LE((r.getInverse() - r.getTranspose()).getSquareNorm(), 1e-28);
        EXPECT_NEAR(r.getDeterminant(), 1.0, 1e-14);
    }
    Matrix3x3 singular = Matrix3x3({1, 2, 3}, {2, 4, 6}, {0, 0, 1}).getInverse();
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_TRUE(std::isnan(singular(r, c)));
    EXPECT_FALSE(singular.isFinite());
}
