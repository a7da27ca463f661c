// Radian: conversion to degrees with the fixed factor, round trips, and ordering.
#include "util/utility/math/Radian.h"

#include <gtest/gtest.h>

#include <numbers>

using namespace Quarn;

TEST(Radian, ConvertsToDegrees)
{
    struct Case {
        double radians, degrees;
    };
    Case const cases[] = {
        {0, 0},
        {std::numbers::pi, 180},
        {std::numbers::pi / 2, 90},
        {-std::numbers::pi / 4, -45},
        {1, 57.29577951308232},
    };
    for (Case const& c : cases)
        EXPECT_EQ(Radian(c.radians).toDegree().value(), c.degrees) << c.radians;
    for (double degrees : {0.0, 1.0, 30.0, 45.0, 90.0, 180.0, -270.0, 359.0})
        EXPECT_NEAR(Degree(degrees).toRadian().toDegree().value(), degrees, 1e-12 * (1 + std::abs(degrees)));
}

TEST(Radian, ComparesByValue)
{
    static_assert(Radian() == Radian(0));
    static_assert(Radian(-0.5) < Radian(0.5) && Radian(2) >= Radian(2));
    static_assert(Radian(std::numbers::pi).toDegree() == Degree(180));
}
