// A right-handed coordinate frame: origin plus unit x and z axes; y follows as z cross x.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Matrix4x4.h"
#include "util/utility/math/Vector3D.h"

#include <cmath>
#include <optional>

namespace Quarn {

class QUARN_NC_EXPORT Frame {
public:
    // Allowed deviation of the squared axis lengths from 1 and of their dot product from 0.
    static constexpr double Tolerance = 1e-9;

    // The world frame: origin zero, x (1, 0, 0), z (0, 0, 1).
    constexpr Frame() noexcept = default;
    // Takes the axes as given; isValid() tells whether they form a frame. make() checks.
    constexpr Frame(Vector3D const& origin, Vector3D const& xAxis, Vector3D const& zAxis) noexcept
        : origin(origin), xAxis(xAxis), zAxis(zAxis)
    {
    }

    // The frame of origin, x and z, or nothing when they do not form a valid frame.
    static std::optional<Frame> make(Vector3D const& origin, Vector3D const& xAxis, Vector3D const& zAxis)
    {
        Frame frame(origin, xAxis, zAxis);
        return frame.isValid() ? std::optional<Frame>(frame) : std::nullopt;
    }

    constexpr Vector3D const& getOrigin() const noexcept { return origin; }
    constexpr Vector3D const& getXAxis() const noexcept { return xAxis; }
    constexpr Vector3D const& getZAxis() const noexcept { return zAxis; }
    constexpr Vector3D getYAxis() const noexcept { return zAxis.cross(xAxis); }

    // All finite, both axes of unit length and orthogonal, each within Tolerance.
    bool isValid() const noexcept
    {
        return origin.isFinite() && xAxis.isFinite() && zAxis.isFinite()
            && std::abs(xAxis.getSquareModulus() - 1.0) <= Tolerance
            && std::abs(zAxis.getSquareModulus() - 1.0) <= Tolerance
            && std::abs(xAxis.dot(zAxis)) <= Tolerance;
    }

    // The placement of the frame: columns x, y, z and the origin as translation.
    constexpr Matrix4x4 getMatrix() const noexcept
    {
        Matrix4x4 matrix(Matrix3x3(xAxis, getYAxis(), zAxis));
        matrix.setTranslation(origin);
        return matrix;
    }

    // Exact comparison of origin and axes.
    friend constexpr bool operator==(Frame const& a, Frame const& b) noexcept = default;

private:
    Vector3D origin;
    Vector3D xAxis{1.0, 0.0, 0.0};
    Vector3D zAxis{0.0, 0.0, 1.0};
};

} // namespace Quarn
