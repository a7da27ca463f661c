// Motion removal of FilterNCStreamByRemovingMotion.
#include "nc/nc/FilterNCStreamByRemovingMotion.h"

namespace Quarn {

FilterNCStreamByRemovingMotion::~FilterNCStreamByRemovingMotion() = default;

bool FilterNCStreamByRemovingMotion::onRapid(Vector3D const&, unsigned int) { return true; }
bool FilterNCStreamByRemovingMotion::onRapid5D(
    Vector3D const&, Vector3D const&, Vector3D const&, Vector3D const&, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onRapid5D(Vector3D const&, Vector3D const&, unsigned int) { return true; }
bool FilterNCStreamByRemovingMotion::onLinear(Vector3D const&, double, unsigned int) { return true; }
bool FilterNCStreamByRemovingMotion::onLinear5D(
    Vector3D const&, Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onLinear5D(Vector3D const&, Vector3D const&, double, unsigned int) { return true; }
bool FilterNCStreamByRemovingMotion::onLinearExtrude(Vector3D const&, double, double) { return true; }
bool FilterNCStreamByRemovingMotion::onCWArc(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCCWArc(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCircular(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCWArcExtrude(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCCWArcExtrude(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCircularExtrude(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCWCircle(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onCCWCircle(
    Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onSpline(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onBezier(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool FilterNCStreamByRemovingMotion::onNURBS(
    Vector3D const*, unsigned int, double const*, unsigned int, double, unsigned int)
{
    return true;
}

} // namespace Quarn
