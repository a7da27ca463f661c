// Decimal numbers read as the nearest double, fast for the short numbers NC programs are made of.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

namespace Quarn {

// The grammar: ["+" | "-"] (digits ["." [digits]] | "." digits) [("e" | "E") ["+" | "-"] digits].
// "inf", "nan" and hexadecimal are not numbers. Out of range: beyond the doubles, or so small that
// it would read as zero.
enum class NumberStatus : std::uint8_t { Read, Invalid, OutOfRange };

namespace DecimalDetail {

constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// The powers of ten that doubles hold exactly.
constexpr double ExactPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13,
    1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Factors of the shortcut by the power of ten plus 22: a multiplier for positive powers, a divisor
// for negative ones, and 1 beside it, so that one of the two operations is exact.
constexpr std::array<double, 45> Multipliers = [] {
    std::array<double, 45> table {};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = i >= 22 ? ExactPowersOfTen[i - 22] : 1.0;
    return table;
}();
constexpr std::array<double, 45> Divisors = [] {
    std::array<double, 45> table {};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = i < 22 ? ExactPowersOfTen[22 - i] : 1.0;
    return table;
}();

// A number of the grammar, first to last, that the shortcut below does not take.
[[gnu::noinline]] inline NumberStatus parseLongNumber(char const* first, char const* last, double& value) noexcept
{
    // from_chars takes no plus sign.
    auto const [end, error] = std::from_chars(*first == '+' ? first + 1 : first, last, value);
    if (error == std::errc::result_out_of_range)
        return NumberStatus::OutOfRange;
    return error == std::errc() && end == last ? NumberStatus::Read : NumberStatus::Invalid;
}

// Mantissas from 2^53 to 2^63 (16 to 19 digits, as tool axes and normals have them) through the
// 64-bit mantissa of the x87 extended double, where the mantissa and the power of ten are exact:
// the result is rounded twice, first to 64 bits, then to the double's 53. That gives the nearest
// double unless the first rounding lands on a midpoint of two doubles (the 11 bits below the
// double's are 10000000000), which is left to from_chars. False where long double is not that type.
inline bool extendedShortcut(std::uint64_t mantissa, int power, double& magnitude) noexcept
{
    if constexpr (std::numeric_limits<long double>::digits == 64 && std::endian::native == std::endian::little) {
        if (mantissa >= (std::uint64_t {1} << 63))
            return false;
        static constexpr long double Powers[] = {1e0L, 1e1L, 1e2L, 1e3L, 1e4L, 1e5L, 1e6L, 1e7L, 1e8L, 1e9L, 1e10L,
            1e11L, 1e12L, 1e13L, 1e14L, 1e15L, 1e16L, 1e17L, 1e18L, 1e19L, 1e20L, 1e21L, 1e22L};
        auto const exact = static_cast<long double>(static_cast<std::int64_t>(mantissa));
        long double const rounded = power >= 0 ? exact * Powers[power] : exact / Powers[-power];
        std::uint64_t bits = 0; // the explicit 64-bit mantissa comes first
        std::memcpy(&bits, &rounded, sizeof bits);
        if ((bits & 0x7FF) == 0x400)
            return false;
        magnitude = static_cast<double>(rounded);
        return true;
    } else {
        return false;
    }
}

// Appends the decimal digits from p on to mantissa (which wraps past 19 digits) and returns where
// they end.
inline char const* gatherDigits(char const* p, char const* last, std::uint64_t& mantissa) noexcept
{
    for (; p != last && isDigit(*p); ++p)
        mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
    return p;
}

} // namespace DecimalDetail

// Reads a number of the grammar above from first as the nearest double, up to where the grammar ends
// (stop). Most numbers of a program have few digits: a mantissa of at most 19 digits and below
// 2^53, times or divided by an exact power of ten, is one correctly rounded operation on exact
// values, so it gives the nearest double as from_chars does, several times faster. Every other
// number goes to from_chars.
inline NumberStatus parseDecimal(char const* first, char const* last, char const*& stop, double& value) noexcept
{
    using namespace DecimalDetail;
    char const* p = first;
    bool const negative = p != last && *p == '-';
    if (p != last && (*p == '+' || *p == '-'))
        ++p;
    // Digits are gathered unchecked: past 19 of them the mantissa may wrap, and the shortcut is
    // not taken.
    std::uint64_t mantissa = 0;
    char const* const digits = p;
    p = gatherDigits(p, last, mantissa);
    auto count = static_cast<std::size_t>(p - digits);
    int scale = 0; // the power of ten the mantissa is multiplied by
    if (p != last && *p == '.') {
        char const* const fraction = ++p;
        p = gatherDigits(p, last, mantissa);
        auto const fractionCount = static_cast<std::size_t>(p - fraction);
        count += fractionCount;
        scale = -static_cast<int>(std::min<std::size_t>(fractionCount, 100'000));
    }
    bool const anyDigit = count != 0;
    stop = p;
    if (!anyDigit)
        return NumberStatus::Invalid;
    int exponent = 0;
    if (p != last && (*p == 'e' || *p == 'E')) {
        ++p;
        bool const negativeExponent = p != last && *p == '-';
        if (p != last && (*p == '+' || *p == '-'))
            ++p;
        stop = p;
        if (p == last || !isDigit(*p))
            return NumberStatus::Invalid;
        for (; p != last && isDigit(*p); ++p)
            exponent = std::min(exponent * 10 + (*p - '0'), 100'000);
        exponent = negativeExponent ? -exponent : exponent;
        stop = p;
    }
    int const power = scale + exponent;
    if (count <= 19 && mantissa <= (std::uint64_t {1} << 53) && power >= -22 && power <= 22) {
        auto const exact = static_cast<double>(mantissa);
        auto const at = static_cast<std::size_t>(power + 22);
        double const magnitude = exact * Multipliers[at] / Divisors[at];
        value = negative ? -magnitude : magnitude;
        return NumberStatus::Read;
    }
    double magnitude = 0.0;
    if (count <= 19 && power >= -22 && power <= 22 && extendedShortcut(mantissa, power, magnitude)) {
        value = negative ? -magnitude : magnitude;
        return NumberStatus::Read;
    }
    return parseLongNumber(first, p, value);
}


} // namespace Quarn
