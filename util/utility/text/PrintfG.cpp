// %g text: short decimals by integer arithmetic, everything else by std::to_chars.
#include "util/utility/text/PrintfG.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Quarn {

namespace {

// Powers of ten that decide the decimal exponent of a magnitude in [1e-4, 1e6).
constexpr double Thresholds[] = {1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5};
// 10^(5 - exponent) for exponents -4 to 5: scales a magnitude to six digits before the point.
// All are exact doubles, so the scaling rounds once.
constexpr double Scales[] = {1e9, 1e8, 1e7, 1e6, 1e5, 1e4, 1e3, 1e2, 1e1, 1e0};

constexpr char DigitPairs[] = "00010203040506070809"
                              "10111213141516171819"
                              "20212223242526272829"
                              "30313233343536373839"
                              "40414243444546474849"
                              "50515253545556575859"
                              "60616263646566676869"
                              "70717273747576777879"
                              "80818283848586878889"
                              "90919293949596979899";

// The product of a magnitude and its scale is below 1e6 and off by at most half an ulp
// there (about 6e-11); a fraction this close to one half may round either way.
constexpr double TieMargin = 1e-9;

// Fixed notation of a magnitude whose six-digit rounding is unambiguous; 0 when it is not.
std::size_t formatShortDecimal(double magnitude, char* out) noexcept
{
    int exponent = -4;
    for (double threshold : Thresholds)
        exponent += magnitude >= threshold;
    // At least 1e5: the thresholds are exact or, below 1, just above the powers they stand for.
    double scaled = magnitude * Scales[exponent + 4];
    auto whole = static_cast<std::uint32_t>(scaled);
    double fraction = scaled - whole;
    if (std::fabs(fraction - 0.5) < TieMargin)
        return 0;
    std::uint32_t digits = whole + (fraction > 0.5 ? 1u : 0u);
    // Rounding up to 1000000 moves the exponent (999999.5, 9.9999995): left to the exact path.
    if (digits >= 1000000)
        return 0;

    char text[6];
    std::memcpy(text, DigitPairs + 2 * (digits / 10000), 2);
    std::memcpy(text + 2, DigitPairs + 2 * (digits / 100 % 100), 2);
    std::memcpy(text + 4, DigitPairs + 2 * (digits % 100), 2);
    int significant = 6;
    while (significant > 1 && text[significant - 1] == '0')
        --significant;

    char* p = out;
    if (exponent >= 0) {
        int integral = exponent + 1;
        std::memcpy(p, text, static_cast<std::size_t>(integral));
        p += integral;
        if (significant > integral) {
            *p++ = '.';
            std::memcpy(p, text + integral, static_cast<std::size_t>(significant - integral));
            p += significant - integral;
        }
    } else {
        *p++ = '0';
        *p++ = '.';
        for (int zeros = -exponent - 1; zeros > 0; --zeros)
            *p++ = '0';
        std::memcpy(p, text, static_cast<std::size_t>(significant));
        p += significant;
    }
    return static_cast<std::size_t>(p - out);
}

} // namespace

std::size_t PrintfG::format(double value, char* buffer) noexcept
{
    char* p = buffer;
    if (value == 0.0) {
        if (std::signbit(value))
            *p++ = '-';
        *p++ = '0';
        return static_cast<std::size_t>(p - buffer);
    }
    double magnitude = std::fabs(value);
    // NaN fails both comparisons and takes the exact path.
    if (magnitude >= 1e-4 && magnitude < 1e6) {
        if (value < 0.0)
            *p++ = '-';
        if (std::size_t length = formatShortDecimal(magnitude, p))
            return static_cast<std::size_t>(p - buffer) + length;
        p = buffer;
    }
    // Correctly rounded: the C++ standard defines it as the text printf gives for the same precision.
    auto result = std::to_chars(buffer, buffer + MaxLength, value, std::chars_format::general, 6);
    return static_cast<std::size_t>(result.ptr - buffer);
}

} // namespace Quarn
