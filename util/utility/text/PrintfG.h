// The text printf("%g") gives for a double, without printf: a fast path and an exact fallback.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>

namespace Quarn {

// Six significant digits; fixed notation for decimal exponents -4 to 5, else "1e-09", "1e+06";
// trailing zeros dropped; "-0", "inf", "-inf", "nan" and "-nan" (NaN with the sign bit) as the
// C library writes them. Rounding is to nearest with ties to even on the exact binary value,
// as printf does in the default rounding mode.
class QUARN_NC_EXPORT PrintfG {
public:
    // Enough for the longest result, "-1.79769e+308".
    static constexpr std::size_t MaxLength = 16;

    // Writes the text of value to buffer (no terminator) and returns its length.
    static std::size_t format(double value, char* buffer) noexcept;
};

} // namespace Quarn
