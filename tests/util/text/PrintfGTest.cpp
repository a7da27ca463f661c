// PrintfG: exactly the text of snprintf("%g") for edge values and millions of random ones.
#include "util/utility/text/PrintfG.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <limits>
#include <random>
#include <string>

using namespace Quarn;

namespace {

std::string formatted(double value)
{
    char text[PrintfG::MaxLength];
    return std::string(text, PrintfG::format(value, text));
}

std::string printed(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

} // namespace

TEST(PrintfG, EdgeValues)
{
    using Limits = std::numeric_limits<double>;
    struct Case {
        double value;
        char const* text;
    } const cases[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {1e-9, "1e-09"},
        {1e6, "1e+06"},
        {0.0001, "0.0001"},
        {123456.7, "123457"},
        {-123456.5, "-123456"}, // an exact tie goes to the even digit
        {999999.5, "1e+06"}, // rounding moves the exponent
        {999999.4999, "999999"},
        {9.9999995, "10"},
        {9.9999949, "9.99999"},
        {0.00009999995, "0.0001"}, // rounds up into fixed notation
        {0.0000999994, "9.99994e-05"},
        {2.5e-5, "2.5e-05"},
        {100000.0, "100000"},
        {1234567.0, "1.23457e+06"},
        {Limits::denorm_min(), "4.94066e-324"},
        {Limits::min(), "2.22507e-308"},
        {-Limits::max(), "-1.79769e+308"}, // the longest text
        {Limits::infinity(), "inf"},
        {-Limits::infinity(), "-inf"},
        {Limits::quiet_NaN(), "nan"},
        {-Limits::quiet_NaN(), "-nan"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(printed(c.value), c.text) << "the table, for " << c.text;
        EXPECT_EQ(formatted(c.value), c.text);
    }
}

TEST(PrintfG, MatchesPrintfOnMillionsOfValues)
{
    std::mt19937_64 random(20240611);
    std::uniform_real_distribution<double> coordinates(-2000.0, 2000.0);
    std::uniform_int_distribution<int> exponents(-8, 8);
    std::uniform_int_distribution<std::int64_t> sixDigits(100000, 999999);
    int mismatches = 0;
    auto check = [&](double value) {
        std::string expected = printed(value);
        if (formatted(value) != expected && ++mismatches <= 10)
            ADD_FAILURE() << std::setprecision(17) << value << ": got " << formatted(value) << ", printf " << expected;
    };
    for (int i = 0; i < 400'000; ++i) {
        check(std::bit_cast<double>(random())); // every kind of double, subnormals and NaNs included
        check(coordinates(random)); // full-precision coordinates
        check(std::round(coordinates(random) * 1000.0) / 1000.0); // short decimals
        // Halfway between two six-digit texts, and its neighbours: the rounding boundaries.
        double scale = std::pow(10.0, exponents(random));
        double half = (static_cast<double>(sixDigits(random)) + 0.5) * scale;
        check(half);
        check(std::nextafter(half, 0.0));
        check(std::nextafter(half, 1e300));
    }
    EXPECT_EQ(mismatches, 0);
}
