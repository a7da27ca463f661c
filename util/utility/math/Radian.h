// An angle in radians: a double that cannot be mistaken for degrees.
#pragma once

#include "util/utility/Export.h"

#include <compare>

namespace Quarn {

class Degree;

class QUARN_NC_EXPORT Radian {
public:
    constexpr Radian() noexcept = default;
    constexpr explicit Radian(double value) noexcept : radians(value) {}

    constexpr double value() const noexcept { return radians; }
    constexpr Degree toDegree() const noexcept;

    friend constexpr auto operator<=>(Radian const&, Radian const&) noexcept = default;

private:
    double radians = 0.0;
};

} // namespace Quarn

// Degree.h includes this header back; by the time either definition below is reached, both
// classes are complete, whichever header was included first.
#include "util/utility/math/Degree.h"

namespace Quarn {

constexpr Degree Radian::toDegree() const noexcept
{
    return Degree(radians * 57.29577951308232);
}

} // namespace Quarn
