// Affine 4x4 matrix in row-major order: a 3x3 linear part plus a translation column.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT Matrix4x4 {
public:
    // The identity.
    constexpr Matrix4x4() noexcept = default;
    // The linear part of linear, no translation.
    constexpr explicit Matrix4x4(Matrix3x3 const& linear) noexcept
    {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                m[r][c] = linear(r, c);
    }

    static constexpr Matrix4x4 getIdentity() noexcept { return {}; }
    static constexpr Matrix4x4 makeTranslation(Vector3D const& translation) noexcept
    {
        Matrix4x4 t;
        t.setTranslation(translation);
        return t;
    }
    static constexpr Matrix4x4 makeUniformScale(double factor) noexcept
    {
        Matrix4x4 s;
        s.m[0][0] = s.m[1][1] = s.m[2][2] = factor;
        return s;
    }

    // Element at row, column (0-based).
    constexpr double operator()(int row, int column) const noexcept { return m[row][column]; }
    constexpr double& operator()(int row, int column) noexcept { return m[row][column]; }

    // The upper-left 3x3 part: rotation, possibly with scale.
    constexpr Matrix3x3 getRotation() const noexcept
    {
        Matrix3x3 linear;
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                linear(r, c) = m[r][c];
        return linear;
    }
    constexpr Vector3D getTranslation() const noexcept { return {m[0][3], m[1][3], m[2][3]}; }
    constexpr void setTranslation(Vector3D const& t) noexcept { m[0][3] = t.x, m[1][3] = t.y, m[2][3] = t.z; }

    // The point p (w = 1): linear part, then translation.
    constexpr Vector3D transformPoint(Vector3D const& p) const noexcept { return getRotation() * p + getTranslation(); }
    // The direction d (w = 0): linear part only.
    constexpr Vector3D transformDirection(Vector3D const& d) const noexcept { return getRotation() * d; }

    // The inverse of an affine matrix (bottom row 0 0 0 1, which it keeps). A singular linear
    // part gives NaN in the upper three rows, so the failure shows up in every transformed value.
    constexpr Matrix4x4 getInverse() const noexcept
    {
        Matrix3x3 inverse = getRotation().getInverse();
        Matrix4x4 result(inverse);
        result.setTranslation(-(inverse * getTranslation()));
        return result;
    }

    // Text form of the rows, "[(1, 0, 0, 5), (0, 1, 0, 6), (0, 0, 1, 7), (0, 0, 0, 1)]".
    std::wstring getAsString() const;

    friend constexpr Matrix4x4 operator*(Matrix4x4 const& a, Matrix4x4 const& b) noexcept
    {
        Matrix4x4 p;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                double sum = 0.0;
                for (int k = 0; k < 4; ++k)
                    sum += a.m[r][k] * b.m[k][c];
                p.m[r][c] = sum;
            }
        return p;
    }
    // Exact element-wise comparison.
    friend constexpr bool operator==(Matrix4x4 const& a, Matrix4x4 const& b) noexcept = default;

private:
    double m[4][4] = {{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}};
};

} // namespace Quarn
