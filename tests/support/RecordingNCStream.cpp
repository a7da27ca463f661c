// Recording test sink.
#include "tests/support/RecordingNCStream.h"

#include "util/utility/math/Point3D.h"
#include "util/utility/text/NumberFormat.h"

namespace Quarn::TestSupport {

void RecordingNCStream::stopAt(std::wstring eventName, int occurrence)
{
    stopEvent = std::move(eventName);
    stopOccurrence = occurrence;
    seenOfStopEvent = 0;
}

std::vector<std::wstring> RecordingNCStream::names() const
{
    std::vector<std::wstring> result;
    for (auto const& line : events)
        result.push_back(line.substr(0, line.find(L' ')));
    return result;
}

std::wstring RecordingNCStream::text() const
{
    std::wstring result;
    for (auto const& line : events)
        result += line + L"\n";
    return result;
}

bool RecordingNCStream::record(wchar_t const* event, std::initializer_list<Variant> arguments)
{
    std::wstring line = event;
    for (auto const& argument : arguments) {
        line += L' ';
        argument.appendAsString(line);
    }
    events.push_back(std::move(line));
    return !(event == stopEvent && ++seenOfStopEvent == stopOccurrence);
}

std::wstring RecordingNCStream::contextText(NCContext const& context)
{
    return L"unit=" + std::to_wstring(context.getUnit()) + L" origin=" + context.getOrigin().getAsString() + L" plane="
        + context.getPlane().getAsString();
}

std::wstring RecordingNCStream::toolText(NCTool const& tool)
{
    return L"number=" + std::to_wstring(tool.getNumber()) + L" type=" + std::to_wstring(tool.getType()) + L" diameter="
        + NumberFormat::toWString(tool.getDiameter());
}

std::wstring RecordingNCStream::orderingText(AxisOrdering const& ordering)
{
    std::wstring text = L"[";
    for (int i = 0; i < ordering.size(); ++i) {
        if (i > 0)
            text += L' ';
        text += Variant(ordering.machinePartId(i).id()).getAsString() + L":"
            + Variant(ordering.axisName(i).getName()).getAsString();
    }
    return text + L"]";
}

std::wstring RecordingNCStream::valuesText(AxisValues const& values)
{
    std::wstring text = L"[";
    for (int i = 0; i < values.size(); ++i) {
        if (i > 0)
            text += L' ';
        text += NumberFormat::toWString(values.value(i).value());
    }
    return text + L"]";
}

std::wstring RecordingNCStream::frameText(TaggedFrame const& frame)
{
    return Variant(frame.tag()).getAsString() + L"<" + Variant(frame.baseFrameTag()).getAsString() + L"> "
        + frame.frame().getOrigin().getAsString() + L" " + frame.frame().getXAxis().getAsString() + L" "
        + frame.frame().getZAxis().getAsString();
}

std::wstring RecordingNCStream::pointsText(Vector3D const* points, unsigned int count)
{
    std::wstring text = L"[";
    for (unsigned int i = 0; points != nullptr && i < count; ++i)
        text += (i > 0 ? L" " : L"") + points[i].getAsString();
    return text + L"]";
}

std::wstring RecordingNCStream::knotsText(double const* knots, unsigned int count)
{
    std::wstring text = L"[";
    for (unsigned int i = 0; knots != nullptr && i < count; ++i)
        text += (i > 0 ? L" " : L"") + NumberFormat::toWString(knots[i]);
    return text + L"]";
}

bool RecordingNCStream::passThrough(wchar_t const* text) { return record(L"passThrough", {text}); }

bool RecordingNCStream::passThrough(char const* text) { return record(L"passThrough", {text}); }

bool RecordingNCStream::onComment(wchar_t const* comment) { return record(L"onComment", {comment}); }

bool RecordingNCStream::onComment(char const* comment) { return record(L"onComment", {comment}); }

bool RecordingNCStream::onCommand(Command command)
{
    return record(L"onCommand", {static_cast<unsigned int>(command)});
}

bool RecordingNCStream::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    return record(L"onToolpathEntityIndex", {index.toolpath, index.entity});
}

bool RecordingNCStream::onMachineCommand(unsigned int machineCommand)
{
    return record(L"onMachineCommand", {machineCommand});
}

bool RecordingNCStream::onCoolant(unsigned int coolant, CoolantLevel level)
{
    return record(L"onCoolant", {coolant, static_cast<unsigned int>(level)});
}

bool RecordingNCStream::onSpindleSpeed(double speed) { return record(L"onSpindleSpeed", {speed}); }

bool RecordingNCStream::onRadiusCompensationMode(bool enable) { return record(L"onRadiusCompensationMode", {enable}); }

bool RecordingNCStream::onRadiusCompensation(Compensation compensation)
{
    return record(L"onRadiusCompensation", {static_cast<unsigned int>(compensation)});
}

bool RecordingNCStream::onOpen() { return record(L"onOpen", {}); }

bool RecordingNCStream::onParameter(char const* name, Point3D const& value)
{
    return record(L"onParameter", {name, value.getAsString()});
}

bool RecordingNCStream::onParameter(char const* name, double value) { return record(L"onParameter", {name, value}); }

bool RecordingNCStream::onParameter(char const* name, int value) { return record(L"onParameter", {name, value}); }

bool RecordingNCStream::onParameter(char const* name, wchar_t const* value)
{
    return record(L"onParameter", {name, value});
}

bool RecordingNCStream::onParameter(char const* name, char const* value)
{
    return record(L"onParameter", {name, value});
}

bool RecordingNCStream::onStock(Vector3D const& lower, Vector3D const& upper)
{
    return record(L"onStock", {lower, upper});
}

bool RecordingNCStream::onContext(NCContext const& context)
{
    contexts.push_back(context);
    return record(L"onContext", {contextText(context)});
}

bool RecordingNCStream::onTool(NCTool const& tool)
{
    tools.push_back(tool);
    return record(L"onTool", {toolText(tool)});
}

bool RecordingNCStream::onToolChange() { return record(L"onToolChange", {}); }

bool RecordingNCStream::onSection() { return record(L"onSection", {}); }

bool RecordingNCStream::onGroup(char const* uri) { return record(L"onGroup", {uri}); }

bool RecordingNCStream::onTurnGroup(char const* name) { return record(L"onTurnGroup", {name}); }

bool RecordingNCStream::onGroupEnd() { return record(L"onGroupEnd", {}); }

bool RecordingNCStream::onTurnGroupEnd() { return record(L"onTurnGroupEnd", {}); }

bool RecordingNCStream::onSectionEnd() { return record(L"onSectionEnd", {}); }

bool RecordingNCStream::onDwell(double time, unsigned int flags) { return record(L"onDwell", {time, flags}); }

bool RecordingNCStream::onRapid(Vector3D const& end, unsigned int flags) { return record(L"onRapid", {end, flags}); }

bool RecordingNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    return record(L"onRapid5D", {end, z, x, n, flags});
}

bool RecordingNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return record(L"onRapid5D", {end, direction, flags});
}

bool RecordingNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    return record(L"onLinear", {end, feedrate, flags});
}

bool RecordingNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    return record(L"onLinear5D", {end, z, x, n, feedrate, flags});
}

bool RecordingNCStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    return record(L"onLinear5D", {end, direction, feedrate, flags});
}

bool RecordingNCStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    return record(L"onLinearExtrude", {end, feedrate, extrusion});
}

bool RecordingNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return record(L"onCWArc", {center, end, normal, feedrate, flags});
}

bool RecordingNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return record(L"onCCWArc", {center, end, normal, feedrate, flags});
}

bool RecordingNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    return record(L"onCircular", {center, end, normal, sweep, feedrate, flags});
}

bool RecordingNCStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return record(L"onCWArcExtrude", {center, end, normal, feedrate, extrusion, flags});
}

bool RecordingNCStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return record(L"onCCWArcExtrude", {center, end, normal, feedrate, extrusion, flags});
}

bool RecordingNCStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    return record(L"onCircularExtrude", {center, end, normal, sweep, feedrate, extrusion, flags});
}

bool RecordingNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return record(L"onCWCircle", {center, end, normal, feedrate, flags});
}

bool RecordingNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return record(L"onCCWCircle", {center, end, normal, feedrate, flags});
}

bool RecordingNCStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return record(L"onSpline", {control1, control2, end, feedrate, flags});
}

bool RecordingNCStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return record(L"onBezier", {control1, control2, end, feedrate, flags});
}

bool RecordingNCStream::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    return record(
        L"onNURBS", {pointsText(controlPoints, count), count, knotsText(knots, knotCount), knotCount, feedrate, flags});
}

bool RecordingNCStream::onSkip() { return record(L"onSkip", {}); }

bool RecordingNCStream::onLineNumber(unsigned int line) { return record(L"onLineNumber", {line}); }

bool RecordingNCStream::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    orderings.push_back(ordering);
    return record(L"onMachineAxisOrdering", {orderingText(ordering)});
}

bool RecordingNCStream::onMachineAxisValues(AxisValues const& values)
{
    axisValues.push_back(values);
    return record(L"onMachineAxisValues", {valuesText(values)});
}

bool RecordingNCStream::onFrame(TaggedFrame const& frame)
{
    frames.push_back(frame);
    return record(L"onFrame", {frameText(frame)});
}

bool RecordingNCStream::onClose() { return record(L"onClose", {}); }

} // namespace Quarn::TestSupport
