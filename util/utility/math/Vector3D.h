// Three-component vector of doubles: positions, directions and normals of NC moves.
#pragma once

#include "util/utility/Export.h"

#include <cmath>
#include <limits>
#include <string>

namespace Quarn {

class QUARN_NC_EXPORT Vector3D {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    constexpr Vector3D() noexcept = default;
    constexpr Vector3D(double x, double y, double z) noexcept : x(x), y(y), z(z) {}

    // All components not-a-number: marks an unknown position.
    static constexpr Vector3D getNaN() noexcept
    {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        return {nan, nan, nan};
    }
    // The unit z vector: the default tool axis.
    static constexpr Vector3D getForward() noexcept { return {0.0, 0.0, 1.0}; }

    constexpr double operator[](int index) const noexcept { return index == 0 ? x : (index == 1 ? y : z); }
    constexpr double& operator[](int index) noexcept { return index == 0 ? x : (index == 1 ? y : z); }

    // True when any component is not-a-number.
    bool isNaN() const noexcept { return std::isnan(x) || std::isnan(y) || std::isnan(z); }
    bool isFinite() const noexcept { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }
    // Finite and not negligibly short (longer than ProperLength).
    bool isProper() const noexcept { return isFinite() && getSquareModulus() > ProperLength * ProperLength; }

    constexpr double dot(Vector3D const& v) const noexcept { return x * v.x + y * v.y + z * v.z; }
    constexpr Vector3D cross(Vector3D const& v) const noexcept
    {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    constexpr double getSquareModulus() const noexcept { return dot(*this); }
    double getModulus() const noexcept { return std::sqrt(getSquareModulus()); }
    // The unit vector of the same direction; a zero vector stays zero.
    Vector3D getNormalized() const noexcept
    {
        double length = getModulus();
        return length > 0.0 ? Vector3D{x / length, y / length, z / length} : *this;
    }

    // Text form "(x, y, z)" with shortest round-trip numbers.
    std::wstring getAsString() const;

    constexpr Vector3D operator-() const noexcept { return {-x, -y, -z}; }
    constexpr Vector3D& operator+=(Vector3D const& v) noexcept { x += v.x, y += v.y, z += v.z; return *this; }
    constexpr Vector3D& operator-=(Vector3D const& v) noexcept { x -= v.x, y -= v.y, z -= v.z; return *this; }
    constexpr Vector3D& operator*=(double s) noexcept { x *= s, y *= s, z *= s; return *this; }
    constexpr Vector3D& operator/=(double s) noexcept { x /= s, y /= s, z /= s; return *this; }

    friend constexpr Vector3D operator+(Vector3D a, Vector3D const& b) noexcept { return a += b; }
    friend constexpr Vector3D operator-(Vector3D a, Vector3D const& b) noexcept { return a -= b; }
    friend constexpr Vector3D operator*(Vector3D a, double s) noexcept { return a *= s; }
    friend constexpr Vector3D operator*(double s, Vector3D a) noexcept { return a *= s; }
    friend constexpr Vector3D operator/(Vector3D a, double s) noexcept { return a /= s; }
    // Exact component-wise comparison, no tolerance.
    friend constexpr bool operator==(Vector3D const& a, Vector3D const& b) noexcept
    {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }

    // Length below which a vector is not proper.
    static constexpr double ProperLength = 1e-12;
};

} // namespace Quarn
