// Section state of StateFilterNCStream.
#include "nc/nc/StateFilterNCStream.h"

namespace Quarn {

StateFilterNCStream::~StateFilterNCStream() = default;

bool StateFilterNCStream::onOpen()
{
    insideSection = false;
    firstSection = true;
    return next->onOpen();
}

bool StateFilterNCStream::onContext(NCContext const& context)
{
    currentContext = context;
    return next->onContext(context);
}

bool StateFilterNCStream::onTool(NCTool const& newTool)
{
    receivedTool = newTool;
    return next->onTool(newTool);
}

bool StateFilterNCStream::onSection()
{
    if (firstSection) {
        currentPosition = Vector3D();
        currentDirection = Vector3D::getForward();
    } else {
        // Into the parent frame with the old section's frame, out of it with the new one.
        Matrix3x3 const oldPlane = sectionContext.getPlane();
        Matrix3x3 const newPlaneInverse = currentContext.getPlane().getTranspose();
        Vector3D const global = oldPlane * currentPosition + sectionContext.getOrigin() - currentContext.getOrigin();
        currentPosition = newPlaneInverse * global;
        currentDirection = newPlaneInverse * (oldPlane * currentDirection);
    }
    sectionContext = currentContext;
    tool = receivedTool;
    firstSection = false;
    insideSection = true;
    return next->onSection();
}

bool StateFilterNCStream::onSectionEnd()
{
    insideSection = false;
    return next->onSectionEnd();
}

bool StateFilterNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    currentPosition = end;
    return next->onRapid(end, flags);
}

bool StateFilterNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    currentPosition = end;
    currentDirection = z;
    return next->onRapid5D(end, z, x, n, flags);
}

bool StateFilterNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    currentPosition = end;
    currentDirection = direction;
    return next->onRapid5D(end, direction, flags);
}

bool StateFilterNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onLinear(end, feedrate, flags);
}

bool StateFilterNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    currentPosition = end;
    currentDirection = z;
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool StateFilterNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    currentPosition = end;
    currentDirection = direction;
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool StateFilterNCStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    currentPosition = end;
    return next->onLinearExtrude(end, feedrate, extrusion);
}

bool StateFilterNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool StateFilterNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool StateFilterNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool StateFilterNCStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    currentPosition = end;
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool StateFilterNCStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    currentPosition = end;
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool StateFilterNCStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    currentPosition = end;
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

bool StateFilterNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool StateFilterNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool StateFilterNCStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool StateFilterNCStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    currentPosition = end;
    return next->onBezier(control1, control2, end, feedrate, flags);
}

bool StateFilterNCStream::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    if (controlPoints != nullptr && count > 0)
        currentPosition = controlPoints[count - 1];
    return next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

} // namespace Quarn
