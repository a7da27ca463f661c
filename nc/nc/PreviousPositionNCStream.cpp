// Position tracking of PreviousPositionNCStream.
#include "nc/nc/PreviousPositionNCStream.h"

namespace Quarn {

PreviousPositionNCStream::~PreviousPositionNCStream() = default;

bool PreviousPositionNCStream::onSection()
{
    setPrevious(Vector3D::getNaN(), Vector3D());
    return next->onSection();
}

bool PreviousPositionNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onRapid(end, flags);
}

bool PreviousPositionNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    setPrevious(end, z);
    return next->onRapid5D(end, z, x, n, flags);
}

bool PreviousPositionNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    setPrevious(end, direction);
    return next->onRapid5D(end, direction, flags);
}

bool PreviousPositionNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onLinear(end, feedrate, flags);
}

bool PreviousPositionNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    setPrevious(end, z);
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool PreviousPositionNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    setPrevious(end, direction);
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool PreviousPositionNCStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    setPrevious(end, Vector3D());
    return next->onLinearExtrude(end, feedrate, extrusion);
}

bool PreviousPositionNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool PreviousPositionNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool PreviousPositionNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool PreviousPositionNCStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool PreviousPositionNCStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool PreviousPositionNCStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

bool PreviousPositionNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool PreviousPositionNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool PreviousPositionNCStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool PreviousPositionNCStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    setPrevious(end, Vector3D());
    return next->onBezier(control1, control2, end, feedrate, flags);
}

} // namespace Quarn
