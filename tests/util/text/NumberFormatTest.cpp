// NumberFormat: exact texts, the same text as std::to_chars on and off the fast path, and shortest round-trip form.
#include "util/utility/text/NumberFormat.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string_view>
#include <vector>

using namespace Quarn;

TEST(NumberFormat, Texts)
{
    using Limits = std::numeric_limits<double>;
    struct Case {
        double value;
        char const* text;
    } const cases[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {0.1, "0.1"},
        {1e-9, "1e-09"},
        {-2.2250738585072014e-308, "-2.2250738585072014e-308"}, // the longest text
        {Limits::denorm_min(), "5e-324"},
        {Limits::max(), "1.7976931348623157e+308"},
        {Limits::quiet_NaN(), "nan"},
        {-Limits::quiet_NaN(), "nan"},
        {Limits::infinity(), "inf"},
        {-Limits::infinity(), "-inf"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(NumberFormat::toString(c.value), c.text);
        std::string const text = c.text;
        EXPECT_EQ(NumberFormat::toWString(c.value), std::wstring(text.begin(), text.end()));
    }
    EXPECT_EQ(NumberFormat::toWString(std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808");
    EXPECT_EQ(NumberFormat::toWString(std::numeric_limits<std::uint64_t>::max()), L"18446744073709551615");
}

TEST(NumberFormat, WholeNumbersGiveTheTextOfTheGeneralForm)
{
    // Whole numbers take the shortcut of short decimals; its text must be std::to_chars's, up to
    // and across the point where the scientific form becomes shorter ("1e+05").
    for (int i = -100001; i <= 100001; ++i) {
        for (double value : {static_cast<double>(i), std::nextafter(static_cast<double>(i), 0.0)}) {
            char expected[NumberFormat::MaxDoubleLength];
            char actual[NumberFormat::MaxDoubleLength];
            auto end = std::to_chars(expected, expected + sizeof expected, value).ptr;
            ASSERT_EQ(
                std::string_view(actual, NumberFormat::formatShortest(value, actual)), std::string_view(expected, end));
        }
    }
    EXPECT_EQ(NumberFormat::toString(100000.0), "1e+05");
    EXPECT_EQ(NumberFormat::toString(-99999.0), "-99999");
}

namespace {
std::string toChars(double value)
{
    char text[NumberFormat::MaxDoubleLength];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}
} // namespace

TEST(NumberFormat, ShortDecimalsGiveTheTextOfTheGeneralForm)
{
    // Values of up to six decimals below 2^51 / 10^6 take a shortcut; everything around it (a
    // seventh decimal, round-off a unit away, the ends of its range, the choice between fixed
    // and exponent form) must give std::to_chars's text.
    std::vector<double> values = {0.0, -0.0, 0.5, 1e-6, -1e-6, 5e-7, 4.99e-7, 1.5e-6, 1e-7, 0.0001, 0.00012, 0.001,
        0.0012, 0.000123, 0.000100, 0.00999, 0.01, 0.1, 0.3, 0.7, 1.000001, 9.999999, 10.000001, 99999.999999,
        123456.5, 999999.999999, 1e9, 1.23e9, 2147483647.5, 2251799813.685247, 2251799813.685248, 2251799813.685249,
        0x1p31, 0x1p51 / 1e6, 1e10, 0.25, 0.125, 0.0625, 0.03125, std::numeric_limits<double>::denorm_min(),
        std::numeric_limits<double>::min(), std::numeric_limits<double>::max()};
    // Decimals of 0 to 7 places with up to 12 digits, of both signs.
    std::mt19937_64 random(1234);
    std::uniform_int_distribution<std::int64_t> digits(0, 999999999999);
    double const powers[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7};
    for (int i = 0; i < 400000; ++i) {
        std::int64_t const n = digits(random) >> (random() % 40);
        double const value = static_cast<double>(n) / powers[i % 8];
        values.push_back(i % 2 == 0 ? value : -value);
    }
    // Whole numbers with zeros at the end ("1.23e+08" or "123000000"), and their neighbours.
    for (double d = 1; d < 1000; ++d) {
        for (double scale = 1; scale < 1e16; scale *= 10) {
            values.push_back(d * scale);
            values.push_back(std::nextafter(d * scale, 0.0));
            values.push_back(std::nextafter(d * scale, 1e300));
        }
    }
    // Computed coordinates: sums of short decimals that are off by a unit, and random doubles
    // from 10^-9 to 10^12.
    for (int step = 0; step < 20000; ++step) {
        values.push_back(-0.5 - 0.001 * step);
        values.push_back(0.1 * step);
        values.push_back(step * 0.3 + 1e-6 * step);
    }
    std::uniform_real_distribution<double> exponent(-9.0, 12.0);
    for (int i = 0; i < 200000; ++i)
        values.push_back(std::pow(10.0, exponent(random)));
    for (double value : values) {
        for (double v : {value, std::nextafter(value, 0.0)}) {
            char actual[NumberFormat::MaxDoubleLength];
            ASSERT_EQ(std::string_view(actual, NumberFormat::formatShortest(v, actual)), toChars(v));
        }
    }
}

namespace {
// Significant digits of a decimal text: the mantissa digits without leading and trailing zeros.
std::size_t significantDigits(std::string_view text)
{
    std::string digits;
    for (char c : text.substr(0, text.find('e')))
        if (c >= '0' && c <= '9')
            digits.push_back(c);
    auto first = digits.find_first_not_of('0');
    return first == std::string::npos ? 0 : digits.find_last_not_of('0') - first + 1;
}

double parse(std::string const& text)
{
    double value = 0.0;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    EXPECT_EQ(result.ec, std::errc()) << text;
    EXPECT_EQ(result.ptr, text.data() + text.size()) << text;
    return value;
}
} // namespace

TEST(NumberFormat, EveryFiniteDoubleReadsBackBitForBit)
{
    std::mt19937_64 random(20240611);
    for (int i = 0; i < 200000; ++i) {
        auto const value = std::bit_cast<double>(random());
        if (!std::isfinite(value))
            continue;
        std::string const text = NumberFormat::toString(value);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(parse(text)), std::bit_cast<std::uint64_t>(value)) << text;
    }
}

TEST(NumberFormat, TextIsNoLongerThanTheDecimalItCameFrom)
{
    // A double read from a short decimal must come out with no more digits than that decimal.
    std::mt19937_64 random(7);
    std::uniform_int_distribution<int> mantissa(1, 9999999);
    std::uniform_int_distribution<int> exponent(-320, 300);
    for (int i = 0; i < 100000; ++i) {
        std::string const source = std::to_string(mantissa(random)) + "e" + std::to_string(exponent(random));
        double const value = parse(source);
        if (value == 0.0)
            continue;
        std::string const text = NumberFormat::toString(value);
        ASSERT_LE(significantDigits(text), significantDigits(source)) << source << " -> " << text;
        ASSERT_EQ(parse(text), value) << source << " -> " << text;
    }
}
