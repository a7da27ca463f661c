// A position in space: three doubles, kept apart from Vector3D so positions and directions do not mix.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT Point3D {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    constexpr Point3D() noexcept = default;
    constexpr Point3D(double x, double y, double z) noexcept : x(x), y(y), z(z) {}
    // The point at the tip of v placed at the origin.
    constexpr explicit Point3D(Vector3D const& v) noexcept : x(v.x), y(v.y), z(v.z) {}

    // The vector from the origin to this point; both names give the same value.
    constexpr Vector3D toVector() const noexcept { return {x, y, z}; }
    // Text form "(x, y, z)" with shortest round-trip numbers, as Vector3D.
    std::wstring getAsString() const;

    friend constexpr Point3D operator+(Point3D const& p, Vector3D const& v) noexcept
    {
        return {p.x + v.x, p.y + v.y, p.z + v.z};
    }
    friend constexpr Point3D operator-(Point3D const& p, Vector3D const& v) noexcept
    {
        return {p.x - v.x, p.y - v.y, p.z - v.z};
    }
    // The vector from b to a.
    friend constexpr Vector3D operator-(Point3D const& a, Point3D const& b) noexcept
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    // Exact component-wise comparison, no tolerance.
    friend constexpr bool operator==(Point3D const& a, Point3D const& b) noexcept = default;
};

} // namespace Quarn
