// NumberFormat: exact texts, and shortest round-trip form over many random doubles.
#include "util/utility/text/NumberFormat.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string_view>

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
    // Whole numbers below 100000 take a shortcut; its text must be std::to_chars's, up to and
    // across the point where the scientific form becomes shorter ("1e+05").
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
