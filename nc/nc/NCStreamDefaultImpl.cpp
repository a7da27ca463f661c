// Default answers of NCStreamDefaultImpl.
#include "nc/nc/NCStreamDefaultImpl.h"

namespace Quarn {

NCStreamDefaultImpl::~NCStreamDefaultImpl() = default;

bool NCStreamDefaultImpl::passThrough(wchar_t const*) { return result; }
bool NCStreamDefaultImpl::passThrough(char const*) { return result; }
bool NCStreamDefaultImpl::onComment(wchar_t const*) { return result; }
bool NCStreamDefaultImpl::onComment(char const*) { return result; }
bool NCStreamDefaultImpl::onCommand(Command) { return result; }
bool NCStreamDefaultImpl::onToolpathEntityIndex(ToolpathEntityIndex const&) { return result; }
bool NCStreamDefaultImpl::onMachineCommand(unsigned int) { return result; }
bool NCStreamDefaultImpl::onCoolant(unsigned int, CoolantLevel) { return result; }
bool NCStreamDefaultImpl::onSpindleSpeed(double) { return result; }
bool NCStreamDefaultImpl::onRadiusCompensationMode(bool) { return result; }
bool NCStreamDefaultImpl::onRadiusCompensation(Compensation) { return result; }
bool NCStreamDefaultImpl::onOpen() { return result; }
bool NCStreamDefaultImpl::onParameter(char const*, Point3D const&) { return result; }
bool NCStreamDefaultImpl::onParameter(char const*, double) { return result; }
bool NCStreamDefaultImpl::onParameter(char const*, int) { return result; }
bool NCStreamDefaultImpl::onParameter(char const*, wchar_t const*) { return result; }
bool NCStreamDefaultImpl::onParameter(char const*, char const*) { return result; }
bool NCStreamDefaultImpl::onStock(Vector3D const&, Vector3D const&) { return result; }
bool NCStreamDefaultImpl::onContext(NCContext const&) { return result; }
bool NCStreamDefaultImpl::onTool(NCTool const&) { return result; }
bool NCStreamDefaultImpl::onToolChange() { return result; }
bool NCStreamDefaultImpl::onSection() { return result; }
bool NCStreamDefaultImpl::onGroup(char const*) { return result; }
bool NCStreamDefaultImpl::onTurnGroup(char const*) { return result; }
bool NCStreamDefaultImpl::onGroupEnd() { return result; }
bool NCStreamDefaultImpl::onTurnGroupEnd() { return result; }
bool NCStreamDefaultImpl::onSectionEnd() { return result; }
bool NCStreamDefaultImpl::onDwell(double, unsigned int) { return result; }
bool NCStreamDefaultImpl::onRapid(Vector3D const&, unsigned int) { return result; }
bool NCStreamDefaultImpl::onRapid5D(Vector3D const&, Vector3D const&, unsigned int) { return result; }
bool NCStreamDefaultImpl::onLinear(Vector3D const&, double, unsigned int) { return result; }
bool NCStreamDefaultImpl::onLinear5D(Vector3D const&, Vector3D const&, double, unsigned int) { return result; }
bool NCStreamDefaultImpl::onLinearExtrude(Vector3D const&, double, double) { return result; }
bool NCStreamDefaultImpl::onCWArc(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCCWArc(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCircular(Vector3D const&, Vector3D const&, Vector3D const&, double, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCWArcExtrude(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCCWArcExtrude(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCircularExtrude(
    Vector3D const&, Vector3D const&, Vector3D const&, double, double, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCWCircle(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onCCWCircle(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onSpline(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return result;
}
bool NCStreamDefaultImpl::onBezier(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    return true;
}
bool NCStreamDefaultImpl::onNURBS(Vector3D const*, unsigned int, double const*, unsigned int, double, unsigned int)
{
    return true;
}
bool NCStreamDefaultImpl::onSkip() { return result; }
bool NCStreamDefaultImpl::onLineNumber(unsigned int) { return result; }
bool NCStreamDefaultImpl::onMachineAxisOrdering(AxisOrdering const&) { return result; }
bool NCStreamDefaultImpl::onMachineAxisValues(AxisValues const&) { return result; }
bool NCStreamDefaultImpl::onFrame(TaggedFrame const&) { return result; }
bool NCStreamDefaultImpl::onClose() { return result; }

} // namespace Quarn
