// The example part program: four sections of a 100 x 60 mm aluminium block.
#include "examples/ExampleProgram.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"

#include <cmath>
#include <numbers>
#include <string>

namespace Quarn::Examples {

namespace {

unsigned int const Cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
unsigned int const LeadIn = NCStream::getMovementFlags(NCStream::MOVEMENT_LEAD_IN);
unsigned int const Plunge = NCStream::getMovementFlags(NCStream::MOVEMENT_PLUNGE);
Vector3D const Up(0, 0, 1);

std::string parameter(char const* name) { return NCStream::DEFAULT_PARAMETER_NAMESPACE.getNarrow() + "/" + name; }

std::string cycle(char const* name) { return NCStream::DEFAULT_CYCLE_NAMESPACE.getNarrow() + "/" + name; }

NCTool makeTool(unsigned int number, ToolGeometry::Type type, double diameter, double rpm, wchar_t const* name)
{
    NCTool tool;
    tool.setType(type);
    tool.setNumber(number);
    tool.setDiameter(diameter);
    tool.setFluteLength(3 * diameter);
    tool.setBodyLength(5 * diameter);
    tool.setDiameterOffset(number);
    tool.setLengthOffset(number);
    tool.setSpindleRPM(rpm);
    tool.setDescription(name);
    return tool;
}

bool beginSection(NCStream& s, NCContext const& context, NCTool const& tool, char const* operation)
{
    return s.onContext(context) && s.onTool(tool) && s.onSection()
        && s.onParameter(parameter("operation").c_str(), operation) && s.onSpindleSpeed(tool.getSpindleRPM())
        && s.onCommand(NCStream::COMMAND_START_SPINDLE) && s.onCommand(NCStream::COMMAND_COOLANT_ON);
}

bool endSection(NCStream& s)
{
    return s.onCommand(NCStream::COMMAND_COOLANT_OFF) && s.onCommand(NCStream::COMMAND_STOP_SPINDLE)
        && s.onSectionEnd();
}

// Zigzag facing of the top at z = 0 with a 50 mm face mill.
bool facing(NCStream& s, NCContext const& context)
{
    NCTool mill = makeTool(1, ToolGeometry::FACE_MILL, 50, 3000, L"face mill D50");
    if (!beginSection(s, context, mill, "facing") || !s.onRapid({-30, 0, 20}, 0) || !s.onRapid({-30, 0, 2}, 0)
        || !s.onLinear({-30, 0, 0}, 400, Plunge))
        return false;
    double y = 0;
    for (int pass = 0; pass < 3; ++pass, y += 30) {
        double const x = pass % 2 == 0 ? 130 : -30;
        if (!s.onLinear({x, y, 0}, 1200, Cut) || (pass < 2 && !s.onLinear({x, y + 30, 0}, 1200, Cut)))
            return false;
    }
    return s.onRapid({130, 60, 20}, 0) && endSection(s);
}

// A 40 x 20 pocket with 5 mm corner radii, 4 mm deep, with a 10 mm end mill.
bool pocket(NCStream& s, NCContext const& context)
{
    NCTool mill = makeTool(2, ToolGeometry::FLAT_END_MILL, 10, 8000, L"end mill D10");
    mill.setCornerRadius(0.5);
    unsigned int const left = NCStream::getRadiusCompensationFlags(NCStream::COMPENSATION_LEFT);
    return beginSection(s, context, mill, "pocket") && s.onRapid({50, 30, 10}, 0)
        && s.onLinear({50, 30, -4}, 300, Plunge | NCStream::FLAG_START_CUTTING)
        && s.onRadiusCompensation(NCStream::COMPENSATION_LEFT) && s.onLinear({50, 20, -4}, 800, LeadIn | left)
        && s.onLinear({65, 20, -4}, 800, Cut | left) && s.onCCWArc({65, 25, -4}, {70, 25, -4}, Up, 800, Cut | left)
        && s.onLinear({70, 35, -4}, 800, Cut | left) && s.onCCWArc({65, 35, -4}, {65, 40, -4}, Up, 800, Cut | left)
        && s.onLinear({35, 40, -4}, 800, Cut | left) && s.onCCWArc({35, 35, -4}, {30, 35, -4}, Up, 800, Cut | left)
        && s.onLinear({30, 25, -4}, 800, Cut | left)
        && s.onCircular({35, 25, -4}, {35, 20, -4}, Up, std::numbers::pi / 2, 800, Cut | left)
        && s.onLinear({50, 20, -4}, 800, Cut | left | NCStream::FLAG_END_CUTTING)
        && s.onRadiusCompensation(NCStream::COMPENSATION_OFF) && s.onRapid({50, 20, 10}, 0)
        && s.onRapid({50, 20, 10}, 0) && endSection(s); // clearance and safe height coincide
}

// Four holes, each a drilling cycle group with its parameters and the moves it stands for.
bool drilling(NCStream& s, NCContext const& context)
{
    NCTool drill = makeTool(3, ToolGeometry::DRILL, 6.8, 4500, L"drill D6.8");
    drill.setTipAngle(118);
    if (!beginSection(s, context, drill, "drilling") || !s.onRapid({10, 10, 10}, 0))
        return false;
    std::string const uri = cycle("drilling");
    std::string const depth = parameter("depth"), clearance = parameter("clearance");
    Vector3D const holes[] = {{10, 10, 0}, {90, 10, 0}, {90, 50, 0}, {10, 50, 0}};
    for (auto const& hole : holes) {
        if (!s.onGroup(uri.c_str()) || !s.onParameter(depth.c_str(), 12.0, NCStream::PARAMETER_KIND_LENGTH)
            || !s.onParameter(clearance.c_str(), 2.0) || !s.onRapid(hole + Vector3D(0, 0, 2), 0)
            || !s.onLinear(hole - Vector3D(0, 0, 12), 250, Cut) || !s.onDwell(0.5, 0)
            || !s.onRapid(hole + Vector3D(0, 0, 2), 0) || !s.onGroupEnd())
            return false;
    }
    return s.onRapid({10, 50, 10}, 0) && endSection(s);
}

// Swarf cut along the chamfered back edge, the tool tilted 30 degrees, with A and C values.
bool fiveAxis(NCStream& s, NCContext context)
{
    context.setMultiAxisMode(NCContext::MULTI_AXIS_UNIT_VECTOR);
    NCTool mill = makeTool(4, ToolGeometry::BALL_END_MILL, 8, 12000, L"ball mill D8");
    AxisOrdering const axes {AxisInfo("head", "X"), AxisInfo("head", "Y"), AxisInfo("head", "Z"),
        AxisInfo("table", "A"), AxisInfo("table", "C")};
    if (!beginSection(s, context, mill, "swarf") || !s.onMachineAxisOrdering(axes) || !s.onRapid5D({0, 70, 20}, Up, 0))
        return false;
    double const tilt = std::numbers::pi / 6;
    Vector3D const axis(0, std::sin(tilt), std::cos(tilt));
    for (int step = 0; step <= 4; ++step) {
        Vector3D const end(25.0 * step, 62, -4);
        AxisValues const values {AxisValue(end.x), AxisValue(end.y), AxisValue(end.z), AxisValue(30.0), AxisValue(0.0)};
        if (!s.onLinear5D(end, axis, 600, Cut) || !s.onMachineAxisValues(values))
            return false;
    }
    return s.onRapid5D({100, 70, 20}, Up, 0) && endSection(s);
}

NCContext blockContext()
{
    NCContext context;
    context.setWorkName(L"G54 block top");
    context.setInternalId(100);
    return context;
}

bool openBlock(NCStream& s)
{
    return s.onOpen() && s.onComment("100 x 60 x 30 aluminium block, origin at the top front left corner")
        && s.onStock({0, 0, -30}, {100, 60, 0});
}

} // namespace

bool sendExampleProgram(NCStream& s)
{
    NCContext const context = blockContext();
    return openBlock(s) && facing(s, context) && pocket(s, context) && drilling(s, context) && fiveAxis(s, context)
        && s.onClose();
}

bool sendThreeAxisPart(NCStream& s)
{
    NCContext const context = blockContext();
    return openBlock(s) && facing(s, context) && pocket(s, context) && drilling(s, context) && s.onClose();
}

bool sendSwarfPart(NCStream& s) { return openBlock(s) && fiveAxis(s, blockContext()) && s.onClose(); }

bool sendInchPart(NCStream& s)
{
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    context.setWorkName(L"plate 4 x 3 in");
    NCTool mill = makeTool(5, ToolGeometry::FLAT_END_MILL, 0.375, 6000, L"end mill 3/8 in");
    mill.setUnit(NCUnit::INCHES);
    NCTool drill = makeTool(6, ToolGeometry::DRILL, 0.25, 3500, L"drill 1/4 in");
    drill.setUnit(NCUnit::INCHES);
    drill.setTipAngle(118);
    std::string const uri = cycle("drilling"), depth = parameter("depth");
    double const r = 0.1875; // cutter radius: the profile runs around the plate on its centre line
    return s.onOpen() && s.onStock({0, 0, -0.5}, {4, 3, 0}) && beginSection(s, context, mill, "profile")
        && s.onRapid({-r, -0.5, 0.25}, 0) && s.onLinear({-r, -0.5, -0.5}, 10, Plunge)
        && s.onLinear({-r, 3, -0.5}, 25, Cut) && s.onCWArc({0, 3, -0.5}, {0, 3 + r, -0.5}, Up, 25, Cut)
        && s.onLinear({4, 3 + r, -0.5}, 25, Cut) && s.onCWArc({4, 3, -0.5}, {4 + r, 3, -0.5}, Up, 25, Cut)
        && s.onLinear({4 + r, 0, -0.5}, 25, Cut) && s.onCWArc({4, 0, -0.5}, {4, -r, -0.5}, Up, 25, Cut)
        && s.onLinear({0, -r, -0.5}, 25, Cut) && s.onCWArc({0, 0, -0.5}, {-r, 0, -0.5}, Up, 25, Cut)
        && s.onRapid({-r, 0, 0.25}, 0) && endSection(s) && beginSection(s, context, drill, "holes")
        && s.onGroup(uri.c_str()) && s.onParameter(depth.c_str(), 0.6, NCStream::PARAMETER_KIND_LENGTH)
        && s.onRapid({1, 1.5, 0.1}, 0) && s.onLinear({1, 1.5, -0.6}, 8, Cut) && s.onRapid({1, 1.5, 0.1}, 0)
        && s.onGroupEnd() && s.onGroup(uri.c_str())
        && s.onParameter(depth.c_str(), 0.6, NCStream::PARAMETER_KIND_LENGTH) && s.onRapid({3, 1.5, 0.1}, 0)
        && s.onLinear({3, 1.5, -0.6}, 8, Cut) && s.onRapid({3, 1.5, 0.1}, 0) && s.onGroupEnd() && endSection(s)
        && s.onClose();
}

bool sendGeneratedProgram(NCStream& s, unsigned long long moves)
{
    NCContext context = blockContext();
    context.setMultiAxisMode(NCContext::MULTI_AXIS_UNIT_VECTOR);
    NCTool const mill = makeTool(7, ToolGeometry::BALL_END_MILL, 6, 15000, L"ball mill D6");
    Vector3D const tilted = Vector3D(0.1, 0.2, 1).getNormalized();
    if (!s.onOpen())
        return false;
    unsigned long long move = 0;
    for (unsigned long long section = 0; move < moves; ++section) {
        // Every fourth section is a five-axis finishing pass; the others are three-axis.
        bool const fiveAxis = section % 4 == 3;
        if (!s.onContext(context) || !s.onTool(mill) || !s.onSection())
            return false;
        for (int i = 0; i < 1000 && move < moves; ++i, ++move) {
            double const x = static_cast<double>(move % 100000) * 0.001, y = static_cast<double>(i) * 0.01;
            bool ok = true;
            if (fiveAxis) {
                ok = i % 8 == 0 ? s.onRapid5D({x, y, 5}, Up, 0) : s.onLinear5D({x, y + 0.5, -1}, tilted, 900, Cut);
            } else {
                switch (i % 8) {
                case 0: ok = s.onRapid({x, y, 5}, 0); break;
                case 1: ok = s.onLinear({x, y, -1}, 300, Plunge); break;
                case 5: ok = s.onCCWArc({x + 0.5, y + 0.25, -1}, {x + 0.5, y + 0.5, -1}, Up, 1200, Cut); break;
                case 6: ok = s.onCWArc({x + 0.5, y + 0.75, -1}, {x + 0.5, y + 1, -1}, Up, 1200, Cut); break;
                default: ok = s.onLinear({x + 0.5, y, -1}, 1500, Cut); break;
                }
            }
            if (!ok)
                return false;
        }
        if (!s.onSectionEnd())
            return false;
    }
    return s.onClose();
}

} // namespace Quarn::Examples
