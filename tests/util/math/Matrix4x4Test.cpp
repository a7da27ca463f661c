// Matrix4x4: identity and parts, products with translations, scale, affine inverse and text form.
#include "util/utility/math/Matrix4x4.h"

#include "tests/util/math/MathTesting.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Quarn;

namespace {
constexpr Matrix3x3 RotZ90({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
} // namespace

TEST(Matrix4x4, DefaultIsIdentityAndPartsAreSeparate)
{
    Matrix4x4 m;
    EXPECT_EQ(m, Matrix4x4::getIdentity());
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(m(r, c), r == c ? 1.0 : 0.0);

    Matrix4x4 rotation(RotZ90);
    EXPECT_EQ(rotation.getRotation(), RotZ90);
    EXPECT_EQ(rotation.getTranslation(), Vector3D());
    EXPECT_EQ(rotation(0, 1), -1.0);
    EXPECT_EQ(rotation(3, 3), 1.0);
    rotation.setTranslation({5, 6, 7});
    EXPECT_EQ(rotation.getRotation(), RotZ90);
    EXPECT_EQ(rotation(2, 3), 7.0);
    EXPECT_EQ(rotation.getAsString(), L"[(0, -1, 0, 5), (1, 0, 0, 6), (0, 0, 1, 7), (0, 0, 0, 1)]");
}

TEST(Matrix4x4, ProductsWithTranslationApplyTheRightFactorFirst)
{
    Matrix4x4 const translate = Matrix4x4::makeTranslation({1, 2, 3});
    Matrix4x4 const rotate(RotZ90);

    Matrix4x4 rotateThenTranslate = translate * rotate;
    EXPECT_EQ(rotateThenTranslate.getRotation(), RotZ90);
    EXPECT_EQ(rotateThenTranslate.getTranslation(), Vector3D(1, 2, 3));
    EXPECT_EQ(rotateThenTranslate.transformPoint({1, 0, 0}), Vector3D(1, 3, 3));

    Matrix4x4 translateThenRotate = rotate * translate;
    EXPECT_EQ(translateThenRotate.getTranslation(), Vector3D(-2, 1, 3));
    EXPECT_EQ(translateThenRotate.transformPoint({1, 0, 0}), Vector3D(-2, 2, 3));

    // Directions ignore the translation.
    EXPECT_EQ(rotateThenTranslate.transformDirection({1, 0, 0}), Vector3D(0, 1, 0));
    EXPECT_EQ(translate.transformDirection({4, 5, 6}), Vector3D(4, 5, 6));
    EXPECT_EQ(translate * Matrix4x4::makeTranslation({-1, -2, -3}), Matrix4x4());
}

TEST(Matrix4x4, UniformScale)
{
    constexpr Matrix4x4 scale = Matrix4x4::makeUniformScale(2.0);
    static_assert(scale.transformPoint({1, -2, 3}) == Vector3D(2, -4, 6));
    EXPECT_EQ(scale.getRotation().getDeterminant(), 8.0);
    EXPECT_EQ(scale.getInverse(), Matrix4x4::makeUniformScale(0.5));
    Matrix4x4 scaledPlacement = Matrix4x4::makeTranslation({10, 0, 0}) * scale;
    EXPECT_EQ(scaledPlacement.transformPoint({1, 1, 1}), Vector3D(12, 2, 2));
    EXPECT_EQ(scaledPlacement.getInverse().transformPoint({12, 2, 2}), Vector3D(1, 1, 1));
}

TEST(Matrix4x4, InverseOfRandomRigidPlacementsRoundTrips)
{
    std::mt19937 random(2024);
    for (int i = 0; i < 200; ++i) {
        Matrix4x4 m(TestSupport::randomRotation(random));
        m.setTranslation(TestSupport::randomVector(random, 100.0));
        Matrix4x4 inverse = m.getInverse();
        EXPECT_LE(TestSupport::maxDifference(m * inverse, Matrix4x4()), 1e-12) << m.getAsString();
        EXPECT_LE(TestSupport::maxDifference(inverse * m, Matrix4x4()), 1e-12) << m.getAsString();
        EXPECT_EQ(inverse(3, 0), 0.0);
        EXPECT_EQ(inverse(3, 3), 1.0);
        Vector3D p = TestSupport::randomVector(random, 100.0);
        EXPECT_LE((inverse.transformPoint(m.transformPoint(p)) - p).getModulus(), 1e-12);
    }
}

TEST(Matrix4x4, InverseOfSingularMatrixIsNaN)
{
    Matrix4x4 flat = Matrix4x4::makeUniformScale(0.0);
    flat.setTranslation({1, 2, 3});
    Matrix4x4 inverse = flat.getInverse();
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_TRUE(std::isnan(inverse(r, c))) << r << ", " << c;
    EXPECT_TRUE(inverse.transformPoint({}).isNaN());
}
