// Plain forwarding of every event of FilterNCStream.
#include "nc/nc/FilterNCStream.h"

namespace Quarn {

FilterNCStream::~FilterNCStream() = default;

bool FilterNCStream::passThrough(wchar_t const* text) { return next->passThrough(text); }

bool FilterNCStream::passThrough(char const* text) { return next->passThrough(text); }

bool FilterNCStream::onComment(wchar_t const* comment) { return next->onComment(comment); }

bool FilterNCStream::onComment(char const* comment) { return next->onComment(comment); }

bool FilterNCStream::onCommand(Command command) { return next->onCommand(command); }

bool FilterNCStream::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    return next->onToolpathEntityIndex(index);
}

bool FilterNCStream::onMachineCommand(unsigned int machineCommand) { return next->onMachineCommand(machineCommand); }

bool FilterNCStream::onCoolant(unsigned int coolant, CoolantLevel level) { return next->onCoolant(coolant, level); }

bool FilterNCStream::onSpindleSpeed(double speed) { return next->onSpindleSpeed(speed); }

bool FilterNCStream::onRadiusCompensationMode(bool enable) { return next->onRadiusCompensationMode(enable); }

bool FilterNCStream::onRadiusCompensation(Compensation compensation)
{
    return next->onRadiusCompensation(compensation);
}

bool FilterNCStream::onOpen() { return next->onOpen(); }

bool FilterNCStream::onParameter(char const* name, Point3D const& value) { return next->onParameter(name, value); }

bool FilterNCStream::onParameter(char const* name, double value) { return next->onParameter(name, value); }

bool FilterNCStream::onParameter(char const* name, int value) { return next->onParameter(name, value); }

bool FilterNCStream::onParameter(char const* name, wchar_t const* value) { return next->onParameter(name, value); }

bool FilterNCStream::onParameter(char const* name, char const* value) { return next->onParameter(name, value); }

bool FilterNCStream::onStock(Vector3D const& lower, Vector3D const& upper) { return next->onStock(lower, upper); }

bool FilterNCStream::onContext(NCContext const& context) { return next->onContext(context); }

bool FilterNCStream::onTool(NCTool const& tool) { return next->onTool(tool); }

bool FilterNCStream::onToolChange() { return next->onToolChange(); }

bool FilterNCStream::onSection() { return next->onSection(); }

bool FilterNCStream::onGroup(char const* uri) { return next->onGroup(uri); }

bool FilterNCStream::onTurnGroup(char const* name) { return next->onTurnGroup(name); }

bool FilterNCStream::onGroupEnd() { return next->onGroupEnd(); }

bool FilterNCStream::onTurnGroupEnd() { return next->onTurnGroupEnd(); }

bool FilterNCStream::onSectionEnd() { return next->onSectionEnd(); }

bool FilterNCStream::onDwell(double time, unsigned int flags) { return next->onDwell(time, flags); }

bool FilterNCStream::onRapid(Vector3D const& end, unsigned int flags) { return next->onRapid(end, flags); }

bool FilterNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    return next->onRapid5D(end, z, x, n, flags);
}

bool FilterNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return next->onRapid5D(end, direction, flags);
}

bool FilterNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    return next->onLinear(end, feedrate, flags);
}

bool FilterNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool FilterNCStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool FilterNCStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    return next->onLinearExtrude(end, feedrate, extrusion);
}

bool FilterNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool FilterNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool FilterNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool FilterNCStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool FilterNCStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool FilterNCStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

bool FilterNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool FilterNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool FilterNCStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool FilterNCStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return next->onBezier(control1, control2, end, feedrate, flags);
}

bool FilterNCStream::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    return next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

bool FilterNCStream::onSkip() { return next->onSkip(); }

bool FilterNCStream::onLineNumber(unsigned int line) { return next->onLineNumber(line); }

bool FilterNCStream::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    return next->onMachineAxisOrdering(ordering);
}

bool FilterNCStream::onMachineAxisValues(AxisValues const& values) { return next->onMachineAxisValues(values); }

bool FilterNCStream::onFrame(TaggedFrame const& frame) { return next->onFrame(frame); }

bool FilterNCStream::onClose() { return next->onClose(); }

} // namespace Quarn
