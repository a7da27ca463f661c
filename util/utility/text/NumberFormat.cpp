// Number text as std::to_chars writes it, locale-free and allocation-free, with a fast path for short decimals.
#include "util/utility/text/NumberFormat.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace Quarn {

namespace {

constexpr char DigitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                              "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                              "8081828384858687888990919293949596979899";

unsigned countDigits(std::uint32_t value) noexcept
{
    unsigned count = 1;
    for (; value >= 100; value /= 100)
        count += 2;
    return value >= 10 ? count + 1 : count;
}

// Writes the count lowest decimal digits of value, leading zeros included; returns the end.
char* writeDigits(char* out, std::uint32_t value, unsigned count) noexcept
{
    char* const end = out + count;
    char* p = end;
    for (; count >= 2; count -= 2) {
        p -= 2;
        std::memcpy(p, DigitPairs + 2 * (value % 100), 2);
        value /= 100;
    }
    if (count != 0)
        p[-1] = static_cast<char>('0' + value % 10);
    return end;
}

// Zeros at the end of the two digits of a pair (0 for 00: it is handled apart).
constexpr unsigned char PairTrailingZeros[100] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0};

// Writes the six digits of value (not 0, below 10^6), leading zeros included; returns how many
// are left without the zeros at the end.
unsigned writeSixDigits(char* out, std::uint32_t value) noexcept
{
    std::uint32_t const high = value / 10000, middle = value / 100 % 100, low = value % 100;
    std::memcpy(out, DigitPairs + 2 * high, 2);
    std::memcpy(out + 2, DigitPairs + 2 * middle, 2);
    std::memcpy(out + 4, DigitPairs + 2 * low, 2);
    if (low != 0)
        return 6 - PairTrailingZeros[low];
    if (middle != 0)
        return 4 - PairTrailingZeros[middle];
    return 2 - PairTrailingZeros[high];
}

// Writes the count digits of significand in exponent form, "1.25e+07" or "5e-04"; the exponent
// has one digit here.
char* writeExponentForm(char* out, std::uint32_t significand, unsigned count, char sign, unsigned exponent) noexcept
{
    writeDigits(out + 1, significand, count);
    out[0] = out[1];
    char* p = out + 1;
    if (count > 1) {
        out[1] = '.';
        p = out + count + 1;
    }
    p[0] = 'e';
    p[1] = sign;
    p[2] = '0';
    p[3] = static_cast<char>('0' + exponent);
    return p + 4;
}

// Numbers of millionths below this are decimals with a unique shortest form (see formatMillionths).
constexpr double MillionthsLimit = 0x1p51 / 1e6;

// The text to_chars gives for the double nearest to millionths / 10^6 (below MillionthsLimit
// and known to be exact). The digits are the shortest because the interval of the reals that
// round to such a double is narrower than 10^-6, so no other multiple of 10^-6 and no decimal
// of fewer digits lies in it; left is to_chars' choice of the form: fixed or exponent,
// whichever is shorter, fixed on a tie. May write up to five characters past the text.
std::size_t formatMillionths(std::uint64_t millionths, char* out) noexcept
{
    auto whole = static_cast<std::uint32_t>(millionths / 1000000);
    auto const fraction = static_cast<std::uint32_t>(millionths % 1000000);
    if (fraction != 0) {
        if (whole != 0) {
            char* p = writeDigits(out, whole, countDigits(whole));
            *p = '.';
            return static_cast<std::size_t>(p + 1 + writeSixDigits(p + 1, fraction) - out);
        }
        unsigned const decimals = writeSixDigits(out + 2, fraction);
        unsigned const zeros = 6 - countDigits(fraction); // between the point and the first digit
        unsigned const kept = decimals - zeros;
        // "0.00012" against "1.2e-04".
        if (zeros + 2 <= (kept > 1 ? 1 : 0) + 4) {
            out[0] = '0';
            out[1] = '.';
            return 2 + decimals;
        }
        constexpr std::uint32_t Powers[] = {1, 10, 100, 1000, 10000, 100000};
        return static_cast<std::size_t>(
            writeExponentForm(out, fraction / Powers[6 - decimals], kept, '-', zeros + 1) - out);
    }
    unsigned const digits = countDigits(whole);
    if (digits <= 5)
        return static_cast<std::size_t>(writeDigits(out, whole, digits) - out);
    unsigned zeros = 0;
    while (whole % 10 == 0) {
        whole /= 10;
        ++zeros;
    }
    unsigned const kept = digits - zeros;
    // "1.23e+08" against "123000000".
    if (digits <= kept + (kept > 1 ? 1 : 0) + 4) {
        char* p = writeDigits(out, whole, kept);
        std::memset(p, '0', zeros);
        return static_cast<std::size_t>(p + zeros - out);
    }
    return static_cast<std::size_t>(writeExponentForm(out, whole, kept, '+', digits - 1) - out);
}

} // namespace

std::size_t NumberFormat::formatShortest(double value, char* buffer) noexcept
{
    // Coordinates, feeds and the like mostly have a few decimals: n millionths, n whole, with
    // n / 10^6 == value. IEEE division rounds correctly, so that test proves that the decimal
    // reads back as the value. Below the limit, value * 10^6 + 0.5 truncates to that n whenever
    // there is one, since the product is off from n by less than a half.
    double const magnitude = std::fabs(value);
    if (magnitude < MillionthsLimit) {
        auto const millionths = static_cast<std::int64_t>(magnitude * 1e6 + 0.5);
        if (static_cast<double>(millionths) / 1e6 == magnitude) {
            std::size_t const sign = std::signbit(value) ? 1 : 0;
            buffer[0] = '-';
            return sign + formatMillionths(static_cast<std::uint64_t>(millionths), buffer + sign);
        }
    }
    if (std::isnan(value)) {
        std::memcpy(buffer, "nan", 3);
        return 3;
    }
    auto result = std::to_chars(buffer, buffer + MaxDoubleLength, value);
    return static_cast<std::size_t>(result.ptr - buffer);
}

std::string NumberFormat::toString(double value)
{
    char buffer[MaxDoubleLength];
    return std::string(buffer, formatShortest(value, buffer));
}

std::wstring NumberFormat::toWString(double value)
{
    char buffer[MaxDoubleLength];
    std::size_t length = formatShortest(value, buffer);
    return std::wstring(buffer, buffer + length);
}

std::wstring NumberFormat::toWString(std::int64_t value)
{
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::wstring(buffer, result.ptr);
}

std::wstring NumberFormat::toWString(std::uint64_t value)
{
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::wstring(buffer, result.ptr);
}

} // namespace Quarn
