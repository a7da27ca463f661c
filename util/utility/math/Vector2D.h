// Two-component vector of doubles: points and directions in a plane (turning profiles).
#pragma once

#include "util/utility/Export.h"

#include <cmath>
#include <string>

namespace Quarn {

class QUARN_NC_EXPORT Vector2D {
public:
    double x = 0.0;
    double y = 0.0;

    constexpr Vector2D() noexcept = default;
    constexpr Vector2D(double x, double y) noexcept : x(x), y(y) {}

    bool isNaN() const noexcept { return std::isnan(x) || std::isnan(y); }
    bool isFinite() const noexcept { return std::isfinite(x) && std::isfinite(y); }
    constexpr double dot(Vector2D const& v) const noexcept { return x * v.x + y * v.y; }
    // The z component of the cross product of the two vectors lifted into 3D.
    constexpr double cross(Vector2D const& v) const noexcept { return x * v.y - y * v.x; }
    constexpr double getSquareModulus() const noexcept { return dot(*this); }
    double getModulus() const noexcept { return std::sqrt(getSquareModulus()); }

    // Text form "(x, y)" with shortest round-trip numbers.
    std::wstring getAsString() const;

    constexpr Vector2D operator-() const noexcept { return {-x, -y}; }
    friend constexpr Vector2D operator+(Vector2D const& a, Vector2D const& b) noexcept { return {a.x + b.x, a.y + b.y}; }
    friend constexpr Vector2D operator-(Vector2D const& a, Vector2D const& b) noexcept { return {a.x - b.x, a.y - b.y}; }
    friend constexpr Vector2D operator*(Vector2D const& a, double s) noexcept { return {a.x * s, a.y * s}; }
    friend constexpr Vector2D operator*(double s, Vector2D const& a) noexcept { return {a.x * s, a.y * s}; }
    friend constexpr bool operator==(Vector2D const& a, Vector2D const& b) noexcept { return a.x == b.x && a.y == b.y; }
};

} // namespace Quarn
