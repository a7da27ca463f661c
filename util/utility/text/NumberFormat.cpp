// Number text through std::to_chars: exact, locale-independent and allocation-free.
#include "util/utility/text/NumberFormat.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace Quarn {

std::size_t NumberFormat::formatShortest(double value, char* buffer) noexcept
{
    if (std::isnan(value)) {
        std::memcpy(buffer, "nan", 3);
        return 3;
    }
    // Whole numbers of up to five digits (feeds, speeds, unit vectors) skip the shortest-digits
    // search: their plain digits are what it gives, fixed notation being no longer than
    // scientific below 100000. -0 keeps its sign through the general path.
    if (value > -100000.0 && value < 100000.0) {
        auto whole = static_cast<std::int32_t>(value);
        if (static_cast<double>(whole) == value && (whole != 0 || !std::signbit(value)))
            return static_cast<std::size_t>(std::to_chars(buffer, buffer + MaxDoubleLength, whole).ptr - buffer);
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
