// Sink that summarises a program for `quarnnc info`: event counts, sections, tools, units,
// the bounding box of the moves and the machine axes.
#pragma once

#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCUnit.h"
#include "nc/nc/machinedata/AxisOrdering.h"

#include <array>
#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <string>

namespace Quarn::Tool {

class ProgramSummary final : public NCStreamDefaultImpl {
public:
    // Prints the summary as aligned "label: value" lines, events in the order of the vocabulary.
    void print(std::ostream& out) const;

    using NCStreamDefaultImpl::onParameter;
    bool passThrough(wchar_t const* text) override;
    bool passThrough(char const* text) override;
    bool onComment(wchar_t const* comment) override;
    bool onComment(char const* comment) override;
    bool onCommand(Command command) override;
    bool onToolpathEntityIndex(ToolpathEntityIndex const& index) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onOpen() override;
    bool onParameter(char const* name, Point3D const& value) override;
    bool onParameter(char const* name, double value) override;
    bool onParameter(char const* name, int value) override;
    bool onParameter(char const* name, wchar_t const* value) override;
    bool onParameter(char const* name, char const* value) override;
    bool onStock(Vector3D const& lower, Vector3D const& upper) override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onToolChange() override;
    bool onSection() override;
    bool onGroup(char const* uri) override;
    bool onTurnGroup(char const* name) override;
    bool onGroupEnd() override;
    bool onTurnGroupEnd() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override;
    bool onLinearExtrude(Vector3D const& end, double feedrate, double extrusion) override;
    bool onCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int flags) override;
    bool onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags) override;
    bool onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags) override;
    bool onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        double feedrate, double extrusion, unsigned int flags) override;
    bool onCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onSpline(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags) override;
    bool onBezier(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags) override;
    bool onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots, unsigned int knotCount,
        double feedrate, unsigned int flags) override;
    bool onSkip() override;
    bool onLineNumber(unsigned int line) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
    bool onFrame(TaggedFrame const& frame) override;
    bool onClose() override;

private:
    static constexpr std::size_t EventKinds = 44;
    bool count(std::size_t event)
    {
        ++counts[event];
        return true;
    }
    void include(Vector3D const& point);
    void noteTool(NCTool const& tool);

    std::array<std::uint64_t, EventKinds> counts {};
    std::uint64_t sections = 0;
    std::set<NCUnit::Unit> units;
    std::map<unsigned int, std::string> tools; // by tool number
    Vector3D lower = Vector3D::getNaN();
    Vector3D upper = Vector3D::getNaN();
    AxisOrdering axes;
};

} // namespace Quarn::Tool
