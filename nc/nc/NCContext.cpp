// Derived values of NCContext: transformations, comparison, views and axis substitution.
#include "nc/nc/NCContext.h"

#include "util/utility/Debug.h"

#include <cmath>

namespace Quarn {

namespace {

// Columns (0,1,0), (0,0,1), (1,0,0).
constexpr Matrix3x3 ZX2XY{Vector3D{0.0, 1.0, 0.0}, Vector3D{0.0, 0.0, 1.0}, Vector3D{1.0, 0.0, 0.0}};

// Origins and planes closer than this (squared) are the same.
constexpr double SAME_SQUARE_TOLERANCE = 1e-18;

bool isNear(Vector3D const& a, Vector3D const& b) noexcept
{
    return (a - b).getSquareModulus() < SAME_SQUARE_TOLERANCE;
}

bool isNear(Matrix3x3 const& a, Matrix3x3 const& b) noexcept
{
    return (a - b).getSquareNorm() < SAME_SQUARE_TOLERANCE;
}

double snap(double value, double tolerance) noexcept
{
    for (double nice : {0.0, 1.0, -1.0})
        if (std::abs(value - nice) <= tolerance)
            return nice;
    return value;
}

// Gram-Schmidt in the order forward, right, up; up is made orthogonal rather than
// recomputed by a cross product so that a mirrored plane stays mirrored.
void makeNice(Matrix3x3& plane, double tolerance) noexcept
{
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            plane(row, column) = snap(plane(row, column), tolerance);
    Vector3D forward = plane.getForward().getNormalized();
    Vector3D right = plane.getRight();
    right = (right - right.dot(forward) * forward).getNormalized();
    Vector3D up = plane.getUp();
    up = (up - up.dot(forward) * forward - up.dot(right) * right).getNormalized();
    plane = Matrix3x3(right, up, forward);
}

} // namespace

void NCContext::setAxisSubstitutionRadius(double radius) noexcept
{
    inverseAxisSubstitutionRadius = radius > 0.0 ? 1.0 / radius : -1.0;
}

Vector3D NCContext::getToolAxisVector() const noexcept
{
    Vector3D axis;
    axis[getToolAxisIndex()] = 1.0;
    return axis;
}

double NCContext::getAxis(Vector3D const& v) const noexcept
{
    return v[getToolAxisIndex()];
}

Matrix4x4 NCContext::scaledToMillimeters(Matrix4x4 const& system) const
{
    double factor = NCUnit::getUnitConversionFactor(unit, NCUnit::MILLIMETERS);
    // Exactly 1 for millimetres: skipping the product keeps the system bit for bit.
    if (factor == 1.0)
        return system;
    return Matrix4x4::makeUniformScale(factor) * system;
}

Matrix4x4 NCContext::getTransformation() const
{
    return scaledToMillimeters(getWork());
}

Matrix4x4 NCContext::getWCSTransformation() const
{
    return scaledToMillimeters(getWCS());
}

Matrix4x4 NCContext::getGlobalTransformation() const
{
    return getWCSTransformation() * getWork();
}

Matrix3x3 const& NCContext::getZX2XYTransform() noexcept
{
    return ZX2XY;
}

void NCContext::convertWorkViewToWCS() noexcept
{
    origin = wcsPlane.getTranspose() * getOriginInWCS();
    plane = getPlaneInWCS();
}

void NCContext::makeNiceViews(double tolerance) noexcept
{
    for (Matrix3x3* view : {&plane, &wcsPlane, &dynamicWcsPlane, &fcsPlane, &modelPlane})
        makeNice(*view, tolerance);
}

Vector3D NCContext::rectangularToCylindrical(Vector3D const& point) const noexcept
{
    int k = getToolAxisIndex();
    double i = point[(k + 1) % 3];
    double j = point[(k + 2) % 3];
    return {std::hypot(i, j), std::atan2(j, i), point[k]};
}

Vector3D NCContext::cylindricalToRectangular(Vector3D const& cylindrical) const noexcept
{
    int k = getToolAxisIndex();
    Vector3D point;
    point[(k + 1) % 3] = cylindrical.x * std::cos(cylindrical.y);
    point[(k + 2) % 3] = cylindrical.x * std::sin(cylindrical.y);
    point[k] = cylindrical.z;
    return point;
}

Vector3D NCContext::getReplacedAxis(Vector3D const& point, double radius) const
{
    QUARN_EXPECTS(radius > 0);
    int k = getToolAxisIndex();
    return cylindricalToRectangular({point[(k + 1) % 3], point[(k + 2) % 3] / radius, point[k]});
}

bool NCContext::isSame(NCContext const& other) const noexcept
{
    return unknownSystem == other.unknownSystem && turningToolOrientation == other.turningToolOrientation
        && unit == other.unit && toolAxis == other.toolAxis && compensation == other.compensation
        && isNear(origin, other.origin) && isNear(wcsOrigin, other.wcsOrigin) && isNear(plane, other.plane)
        && isNear(wcsPlane, other.wcsPlane) && isNear(dynamicWcsPlane, other.dynamicWcsPlane)
        && isNear(fcsPlane, other.fcsPlane) && axisSubstitution == other.axisSubstitution
        && inverseAxisSubstitutionRadius == other.inverseAxisSubstitutionRadius && workOffset == other.workOffset
        && dynamicWorkOffset == other.dynamicWorkOffset && disjoint == other.disjoint && quality == other.quality
        && tailstock == other.tailstock && partCatcher == other.partCatcher && spindle == other.spindle
        && feedMode == other.feedMode && internalId == other.internalId && internalGroupId == other.internalGroupId
        && patternId == other.patternId && optional == other.optional && multiAxisMode == other.multiAxisMode
        && forceToolChange == other.forceToolChange && channel == other.channel;
}

} // namespace Quarn
