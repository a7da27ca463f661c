// Category selection of FilterNCStreamByCategories.
#include "nc/nc/FilterNCStreamByCategories.h"

namespace Quarn {

FilterNCStreamByCategories::~FilterNCStreamByCategories() = default;

bool FilterNCStreamByCategories::passThrough(wchar_t const*) { return true; }

bool FilterNCStreamByCategories::passThrough(char const*) { return true; }

bool FilterNCStreamByCategories::onComment(wchar_t const*) { return true; }

bool FilterNCStreamByCategories::onComment(char const*) { return true; }

bool FilterNCStreamByCategories::onCommand(Command) { return true; }

bool FilterNCStreamByCategories::onToolpathEntityIndex(ToolpathEntityIndex const&) { return true; }

bool FilterNCStreamByCategories::onMachineCommand(unsigned int) { return true; }

bool FilterNCStreamByCategories::onCoolant(unsigned int, CoolantLevel) { return true; }

bool FilterNCStreamByCategories::onSpindleSpeed(double) { return true; }

bool FilterNCStreamByCategories::onRadiusCompensationMode(bool) { return true; }

bool FilterNCStreamByCategories::onRadiusCompensation(Compensation) { return true; }

bool FilterNCStreamByCategories::onParameter(char const* name, Point3D const& value)
{
    return passesParameters() ? next->onParameter(name, value) : true;
}

bool FilterNCStreamByCategories::onParameter(char const* name, double value)
{
    return passesParameters() ? next->onParameter(name, value) : true;
}

bool FilterNCStreamByCategories::onParameter(char const* name, int value)
{
    return passesParameters() ? next->onParameter(name, value) : true;
}

bool FilterNCStreamByCategories::onParameter(char const* name, wchar_t const* value)
{
    return passesParameters() ? next->onParameter(name, value) : true;
}

bool FilterNCStreamByCategories::onParameter(char const* name, char const* value)
{
    return passesParameters() ? next->onParameter(name, value) : true;
}

bool FilterNCStreamByCategories::onStock(Vector3D const&, Vector3D const&) { return true; }

bool FilterNCStreamByCategories::onContext(NCContext const& context)
{
    return !contexts || next->onContext(context);
}

bool FilterNCStreamByCategories::onTool(NCTool const&) { return true; }

bool FilterNCStreamByCategories::onToolChange() { return true; }

bool FilterNCStreamByCategories::onSection() { return true; }

bool FilterNCStreamByCategories::onGroup(char const* uri)
{
    inGroup = true;
    return groups ? next->onGroup(uri) : true;
}

bool FilterNCStreamByCategories::onTurnGroup(char const* name)
{
    inGroup = true;
    return groups ? next->onTurnGroup(name) : true;
}

bool FilterNCStreamByCategories::onGroupEnd()
{
    inGroup = false;
    return groups ? next->onGroupEnd() : true;
}

bool FilterNCStreamByCategories::onTurnGroupEnd()
{
    inGroup = false;
    return groups ? next->onTurnGroupEnd() : true;
}

bool FilterNCStreamByCategories::onSectionEnd() { return true; }

bool FilterNCStreamByCategories::onDwell(double, unsigned int) { return true; }

bool FilterNCStreamByCategories::onRapid(Vector3D const& end, unsigned int flags)
{
    return passesMotion() ? next->onRapid(end, flags) : true;
}

bool FilterNCStreamByCategories::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    return passesMotion() ? next->onRapid5D(end, z, x, n, flags) : true;
}

bool FilterNCStreamByCategories::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return passesMotion() ? next->onRapid5D(end, direction, flags) : true;
}

bool FilterNCStreamByCategories::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onLinear(end, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onLinear5D(end, z, x, n, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onLinear5D(
    Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onLinear5D(end, direction, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    return passesMotion() ? next->onLinearExtrude(end, feedrate, extrusion) : true;
}

bool FilterNCStreamByCategories::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onCWArc(center, end, normal, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onCCWArc(center, end, normal, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onCircular(center, end, normal, sweep, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return passesMotion() ? next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags) : true;
}

bool FilterNCStreamByCategories::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return passesMotion() ? next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags) : true;
}

bool FilterNCStreamByCategories::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    return passesMotion() ? next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags) : true;
}

bool FilterNCStreamByCategories::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onCWCircle(center, end, normal, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onCCWCircle(center, end, normal, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onSpline(control1, control2, end, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onBezier(control1, control2, end, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    return passesMotion() ? next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags) : true;
}

bool FilterNCStreamByCategories::onSkip() { return true; }

bool FilterNCStreamByCategories::onLineNumber(unsigned int) { return true; }

bool FilterNCStreamByCategories::onMachineAxisOrdering(AxisOrdering const&) { return true; }

bool FilterNCStreamByCategories::onMachineAxisValues(AxisValues const&) { return true; }

bool FilterNCStreamByCategories::onFrame(TaggedFrame const&) { return true; }

} // namespace Quarn
