// Point3D: conversion to and from Vector3D, point-vector arithmetic and the text form.
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(Point3D, ConvertsToAndFromVectorExactly)
{
    constexpr Vector3D v{0.1, -2, 1e300};
    constexpr Point3D p(v);
    static_assert(p.x == 0.1 && p.y == -2 && p.z == 1e300);
    static_assert(p.toVector() == v);
    static_assert(Point3D() == Point3D(0, 0, 0));
    EXPECT_NE(Point3D(1, 2, 3), Point3D(1, 2, 3.0000000000000004));
    EXPECT_EQ(Point3D(0.1, -0.0, 1e-9).getAsString(), L"(0.1, -0, 1e-09)");
}

TEST(Point3D, DifferencesAreVectorsAndOffsetsArePoints)
{
    constexpr Point3D a{1, 2, 3}, b{4, 6, 3};
    static_assert(b - a == Vector3D(3, 4, 0));
    static_assert(a + (b - a) == b);
    static_assert(b - Vector3D(3, 4, 0) == a);
}
