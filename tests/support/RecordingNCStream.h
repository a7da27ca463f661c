// Test sink that records every event as a line of text (and keeps copies of the records), and
// can refuse a chosen event to test how senders stop.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/Variant.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace Quarn::TestSupport {

// Lines are the event's name and its arguments in Variant text, separated by blanks:
// "onRapid (1, 2, 3) 0". The kinded parameter arrives as its "kind" and value parameters, as a
// sink sees it.
class RecordingNCStream : public NCStream {
public:
    std::vector<std::wstring> events;
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::vector<AxisOrdering> orderings;
    std::vector<AxisValues> axisValues;
    std::vector<TaggedFrame> frames;

    // Refuse (answer false) the occurrence-th event of this name, counting from 1; every
    // event after it is still recorded and answered true.
    void stopAt(std::wstring eventName, int occurrence = 1);
    // The names of the recorded events, without arguments.
    std::vector<std::wstring> names() const;
    // All lines joined with line feeds: handy for golden comparisons.
    std::wstring text() const;

    using NCStream::onParameter;
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
    bool record(wchar_t const* event, std::initializer_list<Variant> arguments);
    static std::wstring contextText(NCContext const& context);
    static std::wstring toolText(NCTool const& tool);
    static std::wstring orderingText(AxisOrdering const& ordering);
    static std::wstring valuesText(AxisValues const& values);
    static std::wstring frameText(TaggedFrame const& frame);
    static std::wstring pointsText(Vector3D const* points, unsigned int count);
    static std::wstring knotsText(double const* knots, unsigned int count);

    std::wstring stopEvent;
    int stopOccurrence = 0;
    int seenOfStopEvent = 0;
};

} // namespace Quarn::TestSupport
