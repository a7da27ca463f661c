// A rigid or affine placement: a 3x3 linear part (rotation, maybe scale) followed by a translation.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Matrix4x4.h"
#include "util/utility/math/Vector3D.h"

namespace Quarn {

class QUARN_NC_EXPORT Transform3D {
public:
    // The identity.
    constexpr Transform3D() noexcept = default;
    constexpr explicit Transform3D(Matrix3x3 const& rotation, Vector3D const& translation = {}) noexcept
        : rotation(rotation), translation(translation)
    {
    }
    // The affine part of matrix; its bottom row is taken to be 0 0 0 1.
    constexpr explicit Transform3D(Matrix4x4 const& matrix) noexcept
        : rotation(matrix.getRotation()), translation(matrix.getTranslation())
    {
    }

    constexpr Matrix3x3 const& getRotation() const noexcept { return rotation; }
    constexpr Vector3D const& getTranslation() const noexcept { return translation; }
    constexpr void setRotation(Matrix3x3 const& r) noexcept { rotation = r; }
    constexpr void setTranslation(Vector3D const& t) noexcept { translation = t; }

    constexpr Vector3D transformPoint(Vector3D const& p) const noexcept { return rotation * p + translation; }
    constexpr Vector3D transformDirection(Vector3D const& d) const noexcept { return rotation * d; }

    // The inverse placement; a singular rotation part gives NaN everywhere (see Matrix3x3::getInverse).
    constexpr Transform3D getInverse() const noexcept
    {
        Matrix3x3 inverse = rotation.getInverse();
        return Transform3D(inverse, -(inverse * translation));
    }

    constexpr Matrix4x4 toMatrix4x4() const noexcept
    {
        Matrix4x4 matrix(rotation);
        matrix.setTranslation(translation);
        return matrix;
    }

    // Composition: (a * b) applies b first, then a, as the matrix product.
    friend constexpr Transform3D operator*(Transform3D const& a, Transform3D const& b) noexcept
    {
        return Transform3D(a.rotation * b.rotation, a.rotation * b.translation + a.translation);
    }
    // Exact comparison of both parts.
    friend constexpr bool operator==(Transform3D const& a, Transform3D const& b) noexcept = default;

private:
    Matrix3x3 rotation;
    Vector3D translation;
};

} // namespace Quarn
