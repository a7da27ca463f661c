// An angle in degrees: a double that cannot be mistaken for radians.
#pragma once

#include "util/utility/Export.h"

#include <compare>

namespace Quarn {

class Radian;

class QUARN_NC_EXPORT Degree {
public:
    constexpr Degree() noexcept = default;
    constexpr explicit Degree(double value) noexcept : degrees(value) {}

    constexpr double value() const noexcept { return degrees; }
    constexpr Radian toRadian() const noexcept;

    friend constexpr auto operator<=>(Degree const&, Degree const&) noexcept = default;

private:
    double degrees = 0.0;
};

} // namespace Quarn

// Radian.h includes this header back; by the time either definition below is reached, both
// classes are complete, whichever header was included first.
#include "util/utility/math/Radian.h"

namespace Quarn {

constexpr Radian Degree::toRadian() const noexcept
{
    return Radian(degrees * 0.017453292519943295);
}

} // namespace Quarn
