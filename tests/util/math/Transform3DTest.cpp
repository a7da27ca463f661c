// Transform3D: agreement with Matrix4x4, order of composition and the inverse placement.
#include "util/utility/math/Transform3D.h"

#include "tests/util/math/MathTesting.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Quarn;

namespace {
constexpr Matrix3x3 RotZ90({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});

Transform3D randomPlacement(std::mt19937& random)
{
    Matrix3x3 rotation = TestSupport::randomRotation(random);
    return Transform3D(rotation, TestSupport::randomVector(random, 100.0));
}
} // namespace

TEST(Transform3D, DefaultIsIdentityAndMatrixFormRoundTrips)
{
    EXPECT_EQ(Transform3D().toMatrix4x4(), Matrix4x4());
    Transform3D t(RotZ90, {1, 2, 3});
    Matrix4x4 m = t.toMatrix4x4();
    EXPECT_EQ(m.getAsString(), L"[(0, -1, 0, 1), (1, 0, 0, 2), (0, 0, 1, 3), (0, 0, 0, 1)]");
    EXPECT_EQ(Transform3D(m), t);
    EXPECT_EQ(t.transformPoint({1, 0, 0}), Vector3D(1, 3, 3));
    EXPECT_EQ(t.transformDirection({1, 0, 0}), Vector3D(0, 1, 0));
    t.setTranslation({});
    EXPECT_EQ(t, Transform3D(RotZ90));
}

TEST(Transform3D, CompositionMatchesTheMatrixProduct)
{
    Transform3D rotate(RotZ90), translate(Matrix3x3(), {1, 0, 0});
    EXPECT_EQ((rotate * translate).transformPoint({}), Vector3D(0, 1, 0));
    EXPECT_EQ((translate * rotate).transformPoint({}), Vector3D(1, 0, 0));

    std::mt19937 random(99);
    for (int i = 0; i < 100; ++i) {
        Transform3D a = randomPlacement(random), b = randomPlacement(random);
        EXPECT_LE(TestSupport::maxDifference((a * b).toMatrix4x4(), a.toMatrix4x4() * b.toMatrix4x4()), 1e-12);
        Vector3D p = TestSupport::randomVector(random, 100.0);
        EXPECT_LE(((a * b).transformPoint(p) - a.transformPoint(b.transformPoint(p))).getModulus(), 1e-12);
    }
}

TEST(Transform3D, InverseUndoesThePlacement)
{
    std::mt19937 random(5);
    for (int i = 0; i < 100; ++i) {
        Transform3D t = randomPlacement(random);
        EXPECT_LE(TestSupport::maxDifference((t * t.getInverse()).toMatrix4x4(), Matrix4x4()), 1e-12);
        EXPECT_LE(TestSupport::maxDifference(t.getInverse().toMatrix4x4(), t.toMatrix4x4().getInverse()), 1e-12);
    }
    Transform3D scaled(Matrix3x3({2, 0, 0}, {0, 4, 0}, {0, 0, 0.5}), {2, 4, 1});
    EXPECT_EQ(scaled.getInverse().transformPoint({2, 4, 1}), Vector3D());
    EXPECT_EQ(scaled.getInverse().transformPoint({4, 8, 2}), Vector3D(1, 1, 2));
    EXPECT_TRUE(Transform3D(Matrix3x3::getZero()).getInverse().transformPoint({}).isNaN());
}
