// Helpers of the math tests: reproducible random rotations and offsets, matrix differences.
#pragma once

#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Matrix4x4.h"
#include "util/utility/math/Vector3D.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace Quarn::TestSupport {

inline Vector3D randomVector(std::mt19937& random, double extent)
{
    std::uniform_real_distribution<double> coordinate(-extent, extent);
    double x = coordinate(random), y = coordinate(random), z = coordinate(random);
    return {x, y, z};
}

// A rotation from a uniformly random unit quaternion (w, x, y, z).
inline Matrix3x3 randomRotation(std::mt19937& random)
{
    std::normal_distribution<double> normal;
    double w = normal(random), x = normal(random), y = normal(random), z = normal(random);
    double scale = 1.0 / std::sqrt(w * w + x * x + y * y + z * z);
    w *= scale, x *= scale, y *= scale, z *= scale;
    return Matrix3x3({1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
                     {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
                     {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)});
}

// The largest absolute difference of corresponding elements.
inline double maxDifference(Matrix4x4 const& a, Matrix4x4 const& b)
{
    double difference = 0.0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            difference = std::max(difference, std::abs(a(r, c) - b(r, c)));
    return difference;
}

} // namespace Quarn::TestSupport
