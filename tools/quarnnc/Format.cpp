// Number text of Format.
#include "tools/quarnnc/Format.h"

#include "util/utility/text/NumberFormat.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace Quarn::Tool {

std::string Format::coordinateText(double value) const
{
    // A float widened to double narrows back without loss, and to_chars on the float gives the
    // shortest text that reads back to it. A value that is no float keeps its double text.
    if (!floatCoordinates || !(std::abs(value) <= std::numeric_limits<float>::max()))
        return NumberFormat::toString(value);
    float const narrow = static_cast<float>(value);
    if (static_cast<double>(narrow) != value)
        return NumberFormat::toString(value);
    char buffer[NumberFormat::MaxDoubleLength];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, narrow);
    return std::string(buffer, result.ptr);
}

} // namespace Quarn::Tool
