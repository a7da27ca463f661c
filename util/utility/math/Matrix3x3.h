// 3x3 matrix whose columns are the right (x), up (y) and forward (z) axes of a frame.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT Matrix3x3 {
public:
    // The identity.
    constexpr Matrix3x3() noexcept = default;
    // Columns right, up, forward.
    constexpr Matrix3x3(Vector3D const& right, Vector3D const& up, Vector3D const& forward) noexcept
        : m{{right.x, up.x, forward.x}, {right.y, up.y, forward.y}, {right.z, up.z, forward.z}}
    {
    }

    static constexpr Matrix3x3 getIdentity() noexcept { return {}; }
    static constexpr Matrix3x3 getZero() noexcept { return {Vector3D{}, Vector3D{}, Vector3D{}}; }

    // Element at row, column (0-based).
    constexpr double operator()(int row, int column) const noexcept { return m[row][column]; }
    constexpr double& operator()(int row, int column) noexcept { return m[row][column]; }

    constexpr Vector3D getColumn(int column) const noexcept { return {m[0][column], m[1][column], m[2][column]}; }
    constexpr void setColumn(int column, Vector3D const& v) noexcept
    {
        m[0][column] = v.x, m[1][column] = v.y, m[2][column] = v.z;
    }
    constexpr Vector3D getRight() const noexcept { return getColumn(0); }
    constexpr Vector3D getUp() const noexcept { return getColumn(1); }
    constexpr Vector3D getForward() const noexcept { return getColumn(2); }
    constexpr void setRight(Vector3D const& v) noexcept { setColumn(0, v); }
    constexpr void setUp(Vector3D const& v) noexcept { setColumn(1, v); }
    constexpr void setForward(Vector3D const& v) noexcept { setColumn(2, v); }

    constexpr double getDeterminant() const noexcept { return getRight().dot(getUp().cross(getForward())); }
    constexpr Matrix3x3 getTranspose() const noexcept
    {
        Matrix3x3 t;
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                t.m[r][c] = m[c][r];
        return t;
    }
    // The inverse through the adjugate; a singular matrix (determinant zero) gives all
    // elements NaN, so the failure shows up in every result computed from it.
    constexpr Matrix3x3 getInverse() const noexcept
    {
        Vector3D a = getRight(), b = getUp(), c = getForward();
        double determinant = a.dot(b.cross(c));
        if (determinant == 0.0) {
            Vector3D nan = Vector3D::getNaN();
            return {nan, nan, nan};
        }
        // The rows of the inverse are the pairwise cross products of the columns.
        return Matrix3x3(b.cross(c) / determinant, c.cross(a) / determinant, a.cross(b) / determinant).getTranspose();
    }
    // Sum of the squares of all nine elements.
    constexpr double getSquareNorm() const noexcept
    {
        double sum = 0.0;
        for (auto const& row : m)
            for (double e : row)
                sum += e * e;
        return sum;
    }
    bool isFinite() const noexcept { return getRight().isFinite() && getUp().isFinite() && getForward().isFinite(); }

    // Text form "[(right), (up), (forward)]".
    std::wstring getAsString() const;

    friend constexpr Matrix3x3 operator*(Matrix3x3 const& a, Matrix3x3 const& b) noexcept
    {
        Matrix3x3 p = getZero();
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                for (int k = 0; k < 3; ++k)
                    p.m[r][c] += a.m[r][k] * b.m[k][c];
        return p;
    }
    friend constexpr Vector3D operator*(Matrix3x3 const& a, Vector3D const& v) noexcept
    {
        return {a.m[0][0] * v.x + a.m[0][1] * v.y + a.m[0][2] * v.z,
                a.m[1][0] * v.x + a.m[1][1] * v.y + a.m[1][2] * v.z,
                a.m[2][0] * v.x + a.m[2][1] * v.y + a.m[2][2] * v.z};
    }
    friend constexpr Matrix3x3 operator-(Matrix3x3 const& a, Matrix3x3 const& b) noexcept
    {
        Matrix3x3 d;
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                d.m[r][c] = a.m[r][c] - b.m[r][c];
        return d;
    }
    // Exact element-wise comparison.
    friend constexpr bool operator==(Matrix3x3 const& a, Matrix3x3 const& b) noexcept
    {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                if (a.m[r][c] != b.m[r][c])
                    return false;
        return true;
    }

private:
    double m[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
};

} // namespace Quarn
