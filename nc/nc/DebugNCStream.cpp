// Event rendering of DebugNCStream.
#include "nc/nc/DebugNCStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"

namespace Quarn {

DebugNCStream::~DebugNCStream() = default;

void DebugNCStream::render(wchar_t const* event, std::initializer_list<Variant> arguments)
{
    lastEvent = event;
    for (auto const& argument : arguments) {
        lastEvent += L' ';
        argument.appendAsString(lastEvent);
    }
}

bool DebugNCStream::passThrough(wchar_t const* text)
{
    render(L"passThrough", {text});
    return next->passThrough(text);
}

bool DebugNCStream::passThrough(char const* text)
{
    render(L"passThrough", {text});
    return next->passThrough(text);
}

bool DebugNCStream::onComment(wchar_t const* comment)
{
    render(L"onComment", {comment});
    return next->onComment(comment);
}

bool DebugNCStream::onComment(char const* comment)
{
    render(L"onComment", {comment});
    return next->onComment(comment);
}

bool DebugNCStream::onCommand(Command command)
{
    render(L"onCommand", {static_cast<unsigned int>(command)});
    return next->onCommand(command);
}

bool DebugNCStream::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    render(L"onToolpathEntityIndex", {index.entity});
    return next->onToolpathEntityIndex(index);
}

bool DebugNCStream::onMachineCommand(unsigned int machineCommand)
{
    render(L"onMachineCommand", {machineCommand});
    return next->onMachineCommand(machineCommand);
}

bool DebugNCStream::onCoolant(unsigned int coolant, CoolantLevel level)
{
    render(L"onCoolant", {coolant, static_cast<unsigned int>(level)});
    return next->onCoolant(coolant, level);
}

bool DebugNCStream::onSpindleSpeed(double speed)
{
    render(L"onSpindleSpeed", {speed});
    return next->onSpindleSpeed(speed);
}

bool DebugNCStream::onRadiusCompensationMode(bool enable)
{
    render(L"onRadiusCompensationMode", {enable});
    return next->onRadiusCompensationMode(enable);
}

bool DebugNCStream::onRadiusCompensation(Compensation compensation)
{
    render(L"onRadiusCompensation", {static_cast<unsigned int>(compensation)});
    return next->onRadiusCompensation(compensation);
}

bool DebugNCStream::onOpen()
{
    render(L"onOpen", {});
    return next->onOpen();
}

bool DebugNCStream::onParameter(char const* name, Point3D const& value)
{
    render(L"onParameter", {name, value.getAsString()});
    return next->onParameter(name, value);
}

bool DebugNCStream::onParameter(char const* name, double value)
{
    render(L"onParameter", {name, value});
    return next->onParameter(name, value);
}

bool DebugNCStream::onParameter(char const* name, int value)
{
    render(L"onParameter", {name, value});
    return next->onParameter(name, value);
}

bool DebugNCStream::onParameter(char const* name, wchar_t const* value)
{
    render(L"onParameter", {name, value});
    return next->onParameter(name, value);
}

bool DebugNCStream::onParameter(char const* name, char const* value)
{
    render(L"onParameter", {name, value});
    return next->onParameter(name, value);
}

bool DebugNCStream::onStock(Vector3D const& lower, Vector3D const& upper)
{
    render(L"onStock", {lower, upper});
    return next->onStock(lower, upper);
}

bool DebugNCStream::onContext(NCContext const& context)
{
    render(L"onContext", {std::wstring(L"context")});
    return next->onContext(context);
}

bool DebugNCStream::onTool(NCTool const& tool)
{
    render(L"onTool", {std::wstring(L"tool")});
    return next->onTool(tool);
}

bool DebugNCStream::onToolChange()
{
    render(L"onToolChange", {});
    return next->onToolChange();
}

bool DebugNCStream::onSection()
{
    render(L"onSection", {});
    return next->onSection();
}

bool DebugNCStream::onGroup(char const* uri)
{
    render(L"onGroup", {uri});
    return next->onGroup(uri);
}

bool DebugNCStream::onTurnGroup(char const* name)
{
    render(L"onTurnGroup", {name});
    return next->onTurnGroup(name);
}

bool DebugNCStream::onGroupEnd()
{
    render(L"onGroupEnd", {});
    return next->onGroupEnd();
}

bool DebugNCStream::onTurnGroupEnd()
{
    render(L"onTurnGroupEnd", {});
    return next->onTurnGroupEnd();
}

bool DebugNCStream::onSectionEnd()
{
    render(L"onSectionEnd", {});
    return next->onSectionEnd();
}

bool DebugNCStream::onDwell(double time, unsigned int flags)
{
    render(L"onDwell", {time, flags});
    return next->onDwell(time, flags);
}

bool DebugNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    render(L"onRapid", {end, flags});
    return next->onRapid(end, flags);
}

bool DebugNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    render(L"onRapid5D", {end, z, x, n, flags});
    return next->onRapid5D(end, z, x, n, flags);
}

bool DebugNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    render(L"onRapid5D", {end, direction, flags});
    return next->onRapid5D(end, direction, flags);
}

bool DebugNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    render(L"onLinear", {end, feedrate, flags});
    return next->onLinear(end, feedrate, flags);
}

bool DebugNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    render(L"onLinear5D", {end, z, x, n, feedrate, flags});
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool DebugNCStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    render(L"onLinear5D", {end, direction, feedrate, flags});
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool DebugNCStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    render(L"onLinearExtrude", {end, feedrate, extrusion});
    return next->onLinearExtrude(end, feedrate, extrusion);
}

bool DebugNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    render(L"onCWArc", {center, end, normal, feedrate, flags});
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool DebugNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    render(L"onCCWArc", {center, end, normal, feedrate, flags});
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool DebugNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    render(L"onCircular", {center, end, normal, sweep, feedrate, flags});
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool DebugNCStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
    double extrusion, unsigned int flags)
{
    render(L"onCWArcExtrude", {center, end, normal, feedrate, extrusion, flags});
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool DebugNCStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    render(L"onCCWArcExtrude", {center, end, normal, feedrate, extrusion, flags});
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool DebugNCStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, double extrusion, unsigned int flags)
{
    render(L"onCircularExtrude", {center, end, normal, sweep, feedrate, extrusion, flags});
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

bool DebugNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    render(L"onCWCircle", {center, end, normal, feedrate, flags});
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool DebugNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    render(L"onCCWCircle", {center, end, normal, feedrate, flags});
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool DebugNCStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    render(L"onSpline", {control1, control2, end, feedrate, flags});
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool DebugNCStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    render(L"onBezier", {control1, control2, end, feedrate, flags});
    return next->onBezier(control1, control2, end, feedrate, flags);
}

bool DebugNCStream::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    render(L"onNURBS", {count, knotCount, feedrate, flags});
    return next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

bool DebugNCStream::onSkip()
{
    render(L"onSkip", {});
    return next->onSkip();
}

bool DebugNCStream::onLineNumber(unsigned int line)
{
    render(L"onLineNumber", {line});
    return next->onLineNumber(line);
}

bool DebugNCStream::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    render(L"onMachineAxisOrdering", {ordering.size()});
    return next->onMachineAxisOrdering(ordering);
}

bool DebugNCStream::onMachineAxisValues(AxisValues const& values)
{
    render(L"onMachineAxisValues", {values.size()});
    return next->onMachineAxisValues(values);
}

bool DebugNCStream::onFrame(TaggedFrame const& frame)
{
    render(L"onFrame", {std::string(frame.tag())});
    return next->onFrame(frame);
}

bool DebugNCStream::onClose()
{
    render(L"onClose", {});
    return next->onClose();
}

} // namespace Quarn
