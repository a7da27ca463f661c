// Mapping of the moves of FrameMapNCStream.
#include "nc/nc/FrameMapNCStream.h"

#include "util/utility/math/Point3D.h"

namespace Quarn {

FrameMapNCStream::~FrameMapNCStream() = default;

Matrix3x3 FrameMapNCStream::getRightHandedFrame(Matrix3x3 const& m) noexcept
{
    Vector3D const right = m.getRight(), forward = m.getForward();
    return {right, forward.cross(right), forward};
}

void FrameMapNCStream::setLocalMap(
    Matrix3x3 const& outgoingPlane, Matrix3x3 const& transformedPlane, bool mirror) noexcept
{
    directionMap = outgoingPlane.getTranspose() * transformedPlane;
    pointMap = Matrix4x4(directionMap);
    mirrored = mirror;
}

bool FrameMapNCStream::onParameter(char const* name, Point3D const& value)
{
    return next->onParameter(name, Point3D(mapPosition(value.toVector())));
}

bool FrameMapNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    return next->onRapid(mapPosition(end), flags);
}

bool FrameMapNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    Vector3D const axis = mapDirection(z);
    return next->onRapid5D(mapToolEnd(end, axis), axis, mapDirection(x), mapDirection(n), flags);
}

bool FrameMapNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    Vector3D const axis = mapDirection(direction);
    return next->onRapid5D(mapToolEnd(end, axis), axis, flags);
}

bool FrameMapNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    return next->onLinear(mapPosition(end), feedrate, flags);
}

bool FrameMapNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    Vector3D const axis = mapDirection(z);
    return next->onLinear5D(mapToolEnd(end, axis), axis, mapDirection(x), mapDirection(n), feedrate, flags);
}

bool FrameMapNCStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    Vector3D const axis = mapDirection(direction);
    return next->onLinear5D(mapToolEnd(end, axis), axis, feedrate, flags);
}

// A mirror image reverses the sense of rotation about the mapped normal, so the arc goes on as
// its opposite with the same arguments.
bool FrameMapNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    Vector3D const c = mapPosition(center), e = mapPosition(end), n = mapDirection(normal);
    return mirrored ? next->onCCWArc(c, e, n, feedrate, flags) : next->onCWArc(c, e, n, feedrate, flags);
}

bool FrameMapNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    Vector3D const c = mapPosition(center), e = mapPosition(end), n = mapDirection(normal);
    return mirrored ? next->onCWArc(c, e, n, feedrate, flags) : next->onCCWArc(c, e, n, feedrate, flags);
}

// The signed sweep cannot swap its sense by a change of event; the negated normal keeps it.
bool FrameMapNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    Vector3D const n = mapDirection(normal);
    return next->onCircular(mapPosition(center), mapPosition(end), mirrored ? -n : n, sweep, feedrate, flags);
}

// Additive moves are positions like any other: they move with the frame, and their arcs
// change sense under a mirror as milling arcs do.
bool FrameMapNCStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    return next->onLinearExtrude(mapPosition(end), feedrate, extrusion);
}

bool FrameMapNCStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    Vector3D const c = mapPosition(center), e = mapPosition(end), n = mapDirection(normal);
    return mirrored ? next->onCCWArcExtrude(c, e, n, feedrate, extrusion, flags)
                    : next->onCWArcExtrude(c, e, n, feedrate, extrusion, flags);
}

bool FrameMapNCStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    Vector3D const c = mapPosition(center), e = mapPosition(end), n = mapDirection(normal);
    return mirrored ? next->onCWArcExtrude(c, e, n, feedrate, extrusion, flags)
                    : next->onCCWArcExtrude(c, e, n, feedrate, extrusion, flags);
}

bool FrameMapNCStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    Vector3D const n = mapDirection(normal);
    return next->onCircularExtrude(
        mapPosition(center), mapPosition(end), mirrored ? -n : n, sweep, feedrate, extrusion, flags);
}

bool FrameMapNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    Vector3D const c = mapPosition(center), e = mapPosition(end), n = mapDirection(normal);
    return mirrored ? next->onCCWCircle(c, e, n, feedrate, flags) : next->onCWCircle(c, e, n, feedrate, flags);
}

bool FrameMapNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    Vector3D const c = mapPosition(center), e = mapPosition(end), n = mapDirection(normal);
    return mirrored ? next->onCWCircle(c, e, n, feedrate, flags) : next->onCCWCircle(c, e, n, feedrate, flags);
}

bool FrameMapNCStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return next->onSpline(mapPosition(control1), mapPosition(control2), mapPosition(end), feedrate, flags);
}

bool FrameMapNCStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return next->onBezier(mapPosition(control1), mapPosition(control2), mapPosition(end), feedrate, flags);
}

bool FrameMapNCStream::onNURBS(Vector3D const* points, unsigned int count, double const* knots, unsigned int knotCount,
    double feedrate, unsigned int flags)
{
    if (controlPoints.size() < count)
        controlPoints.resize(count);
    for (unsigned int i = 0; i < count; ++i)
        controlPoints[i] = mapPosition(points[i]);
    return next->onNURBS(controlPoints.data(), count, knots, knotCount, feedrate, flags);
}

} // namespace Quarn
