// Degree: conversion to radians with the fixed factor, and ordering.
#include "util/utility/math/Degree.h"

#include <gtest/gtest.h>

#include <numbers>

using namespace Quarn;

TEST(Degree, ConvertsToRadians)
{
    struct Case {
        double degrees, radians;
    };
    Case const cases[] = {
        {0, 0},
        {45, std::numbers::pi / 4},
        {90, std::numbers::pi / 2},
        {180, std::numbers::pi},
        {360, 2 * std::numbers::pi},
        {-90, -std::numbers::pi / 2},
        {1, 0.017453292519943295},
    };
    for (Case const& c : cases)
        EXPECT_EQ(Degree(c.degrees).toRadian().value(), c.radians) << c.degrees;
    static_assert(Degree(180).toRadian() == Radian(std::numbers::pi));
}

TEST(Degree, ComparesByValue)
{
    static_assert(Degree() == Degree(0));
    static_assert(Degree(-1) < Degree(0) && Degree(10) > Degree(9.5));
    static_assert(Degree(30) <= Degree(30) && Degree(30) != Degree(30.000001));
}
