// Counting and printing of ProgramSummary.
#include "tools/quarnnc/ProgramSummary.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <cmath>

namespace Quarn::Tool {

namespace {

constexpr char const* EventNames[] = {"passThrough", "onComment", "onCommand", "onToolpathEntityIndex",
    "onMachineCommand", "onCoolant", "onSpindleSpeed", "onRadiusCompensationMode", "onRadiusCompensation", "onOpen",
    "onParameter", "onStock", "onContext", "onTool", "onToolChange", "onSection", "onGroup", "onTurnGroup",
    "onGroupEnd", "onTurnGroupEnd", "onSectionEnd", "onDwell", "onRapid", "onRapid5D", "onLinear", "onLinear5D",
    "onLinearExtrude", "onCWArc", "onCCWArc", "onCircular", "onCWArcExtrude", "onCCWArcExtrude", "onCircularExtrude",
    "onCWCircle", "onCCWCircle", "onSpline", "onBezier", "onNURBS", "onSkip", "onLineNumber", "onMachineAxisOrdering",
    "onMachineAxisValues", "onFrame", "onClose"};

std::string number(double value) { return NumberFormat::toString(value); }

} // namespace

void ProgramSummary::include(Vector3D const& point)
{
    if (!point.isFinite())
        return;
    if (lower.isNaN()) {
        lower = upper = point;
        return;
    }
    for (int i = 0; i < 3; ++i) {
        lower[i] = std::min(lower[i], point[i]);
        upper[i] = std::max(upper[i], point[i]);
    }
}

void ProgramSummary::noteTool(NCTool const& tool)
{
    std::string text = Unicode::toUTF8(ToolGeometry::getTypeAsString(tool.getType()));
    text += " D" + number(tool.getDiameter());
    tools[tool.getNumber()] = text;
}

void ProgramSummary::print(std::ostream& out) const
{
    out << "sections:     " << sections << "\n";
    out << "tools:        " << tools.size() << "\n";
    for (auto const& [toolNumber, text] : tools)
        out << "  T" << toolNumber << " " << text << "\n";
    out << "units:       ";
    for (auto unit : units)
        out << " " << Unicode::toUTF8(NCUnit::getUnitAsString(unit));
    out << (units.empty() ? " none\n" : "\n");
    out << "bounding box:";
    if (lower.isNaN())
        out << " none\n";
    else
        out << " x " << number(lower.x) << " .. " << number(upper.x) << ", y " << number(lower.y) << " .. "
            << number(upper.y) << ", z " << number(lower.z) << " .. " << number(upper.z) << "\n";
    out << "machine axes:";
    for (int i = 0; i < axes.size(); ++i)
        out << " " << axes.axisName(i).getName();
    out << (axes.size() == 0 ? " none\n" : "\n");
    out << "events:\n";
    for (std::size_t i = 0; i < EventKinds; ++i)
        if (counts[i] > 0)
            out << "  " << EventNames[i]
                << std::string(std::max<std::size_t>(1, 24 - std::char_traits<char>::length(EventNames[i])), ' ')
                << counts[i] << "\n";
}

bool ProgramSummary::passThrough(wchar_t const*) { return count(0); }

bool ProgramSummary::passThrough(char const*) { return count(0); }

bool ProgramSummary::onComment(wchar_t const*) { return count(1); }

bool ProgramSummary::onComment(char const*) { return count(1); }

bool ProgramSummary::onCommand(Command) { return count(2); }

bool ProgramSummary::onToolpathEntityIndex(ToolpathEntityIndex const&) { return count(3); }

bool ProgramSummary::onMachineCommand(unsigned int) { return count(4); }

bool ProgramSummary::onCoolant(unsigned int, CoolantLevel) { return count(5); }

bool ProgramSummary::onSpindleSpeed(double) { return count(6); }

bool ProgramSummary::onRadiusCompensationMode(bool) { return count(7); }

bool ProgramSummary::onRadiusCompensation(Compensation) { return count(8); }

bool ProgramSummary::onOpen() { return count(9); }

bool ProgramSummary::onParameter(char const*, Point3D const&) { return count(10); }

bool ProgramSummary::onParameter(char const*, double) { return count(10); }

bool ProgramSummary::onParameter(char const*, int) { return count(10); }

bool ProgramSummary::onParameter(char const*, wchar_t const*) { return count(10); }

bool ProgramSummary::onParameter(char const*, char const*) { return count(10); }

bool ProgramSummary::onStock(Vector3D const&, Vector3D const&) { return count(11); }

bool ProgramSummary::onContext(NCContext const& context)
{
    units.insert(context.getUnit());
    return count(12);
}

bool ProgramSummary::onTool(NCTool const& tool)
{
    noteTool(tool);
    return count(13);
}

bool ProgramSummary::onToolChange() { return count(14); }

bool ProgramSummary::onSection()
{
    ++sections;
    return count(15);
}

bool ProgramSummary::onGroup(char const*) { return count(16); }

bool ProgramSummary::onTurnGroup(char const*) { return count(17); }

bool ProgramSummary::onGroupEnd() { return count(18); }

bool ProgramSummary::onTurnGroupEnd() { return count(19); }

bool ProgramSummary::onSectionEnd() { return count(20); }

bool ProgramSummary::onDwell(double, unsigned int) { return count(21); }

bool ProgramSummary::onRapid(Vector3D const& end, unsigned int)
{
    include(end);
    return count(22);
}

bool ProgramSummary::onRapid5D(Vector3D const& end, Vector3D const&, Vector3D const&, Vector3D const&, unsigned int)
{
    include(end);
    return count(23);
}

bool ProgramSummary::onRapid5D(Vector3D const& end, Vector3D const&, unsigned int)
{
    include(end);
    return count(23);
}

bool ProgramSummary::onLinear(Vector3D const& end, double, unsigned int)
{
    include(end);
    return count(24);
}

bool ProgramSummary::onLinear5D(
    Vector3D const& end, Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int)
{
    include(end);
    return count(25);
}

bool ProgramSummary::onLinear5D(Vector3D const& end, Vector3D const&, double, unsigned int)
{
    include(end);
    return count(25);
}

bool ProgramSummary::onLinearExtrude(Vector3D const& end, double, double)
{
    include(end);
    return count(26);
}

bool ProgramSummary::onCWArc(Vector3D const&, Vector3D const& end, Vector3D const&, double, unsigned int)
{
    include(end);
    return count(27);
}

bool ProgramSummary::onCCWArc(Vector3D const&, Vector3D const& end, Vector3D const&, double, unsigned int)
{
    include(end);
    return count(28);
}

bool ProgramSummary::onCircular(Vector3D const&, Vector3D const& end, Vector3D const&, double, double, unsigned int)
{
    include(end);
    return count(29);
}

bool ProgramSummary::onCWArcExtrude(Vector3D const&, Vector3D const& end, Vector3D const&, double, double, unsigned int)
{
    include(end);
    return count(30);
}

bool ProgramSummary::onCCWArcExtrude(
    Vector3D const&, Vector3D const& end, Vector3D const&, double, double, unsigned int)
{
    include(end);
    return count(31);
}

bool ProgramSummary::onCircularExtrude(
    Vector3D const&, Vector3D const& end, Vector3D const&, double, double, double, unsigned int)
{
    include(end);
    return count(32);
}

bool ProgramSummary::onCWCircle(Vector3D const&, Vector3D const& end, Vector3D const&, double, unsigned int)
{
    include(end);
    return count(33);
}

bool ProgramSummary::onCCWCircle(Vector3D const&, Vector3D const& end, Vector3D const&, double, unsigned int)
{
    include(end);
    return count(34);
}

bool ProgramSummary::onSpline(Vector3D const&, Vector3D const&, Vector3D const& end, double, unsigned int)
{
    include(end);
    return count(35);
}

bool ProgramSummary::onBezier(Vector3D const&, Vector3D const&, Vector3D const& end, double, unsigned int)
{
    include(end);
    return count(36);
}

bool ProgramSummary::onNURBS(
    Vector3D const* controlPoints, unsigned int count, double const*, unsigned int, double, unsigned int)
{
    for (unsigned int i = 0; controlPoints != nullptr && i < count; ++i)
        include(controlPoints[i]);
    return this->count(37);
}

bool ProgramSummary::onSkip() { return count(38); }

bool ProgramSummary::onLineNumber(unsigned int) { return count(39); }

bool ProgramSummary::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    axes = ordering;
    return count(40);
}

bool ProgramSummary::onMachineAxisValues(AxisValues const&) { return count(41); }

bool ProgramSummary::onFrame(TaggedFrame const&) { return count(42); }

bool ProgramSummary::onClose() { return count(43); }

} // namespace Quarn::Tool
