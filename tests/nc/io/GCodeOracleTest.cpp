// GCodeWriter checked by LinuxCNC's interpreter: the G-code of the bundled examples and of a generated
// program, run by `rs274 -g`, must reach the source's end points, arcs, feeds, dwells, tools and holes.
#include "nc/nc/io/GCodeWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycle.h"
#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CutterLocationDataReader.h"
#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/io/MastercamNCIReader.h"
#include "nc/nc/kernelstream/KernelNCReader.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/RS274Canon.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace Quarn;
using namespace Quarn::TestSupport;
namespace fs = std::filesystem;

constexpr double Pi = std::numbers::pi;
// The oracle has the writer write 4 decimals, so that positions, feeds and times may be within
// 1e-4 of the source's, and rs274 prints them rounded to 4 decimals again. An arc's centre is the
// written start plus the written offset, and a point inside the arc moves with the centre and the
// radius: twice that.
constexpr unsigned int Decimals = 4;
constexpr double Tolerance = 1e-4 + 0.5e-4 + 1e-9;
constexpr double ArcTolerance = 2e-4 + 0.5e-4 + 1e-9;

std::string text(double value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.6f", value);
    return buffer;
}

std::string text(Vector3D const& v) { return "(" + text(v.x) + ", " + text(v.y) + ", " + text(v.z) + ")"; }

bool near(double a, double b, double tolerance = Tolerance) { return std::abs(a - b) <= tolerance; }

bool near(Vector3D const& a, Vector3D const& b, double tolerance = Tolerance)
{
    return near(a.x, b.x, tolerance) && near(a.y, b.y, tolerance) && near(a.z, b.z, tolerance);
}

// --- What the source program asks for, in the G-code's terms: positions in the work coordinate
// system and the section's unit, arcs by their plane, rotation and centre.

struct Expected {
    enum Kind { Rapid, Linear, Arc, Dwell, Tool, Hole } kind;
    std::string source; // the event, for messages
    bool inches = false;
    Vector3D end {};
    double feed = 0.0; // 0: the source gives none
    // Arcs: start, centre and unit normal; sweep signed about the normal (counter-clockwise
    // positive); turns is ARC_FEED's |rotation|.
    Vector3D start {}, centre {}, normal {};
    double sweep = 0.0;
    int turns = 1;
    double time = 0.0; // dwells and the dwell of a hole
    unsigned int tool = 0;
    // The rotary axes A, B, C after the move, in degrees, where the source says them.
    std::array<std::optional<double>, 3> abc {0.0, 0.0, 0.0};
    // Holes: the points of the axis at the clearance and reference heights, and the bottom.
    Vector3D clearance {}, reference {}, bottom {};
    double shift = 0.0; // fine boring's move off the axis
    NCCycle::Cycle cycle = NCCycle::CYCLE_NONE;
};

// The angle from a to b about the unit normal n, counter-clockwise, in (0, 2 pi]; a and b are
// taken in the plane across n.
double angleAbout(Vector3D const& n, Vector3D a, Vector3D b)
{
    a -= n * a.dot(n);
    b -= n * b.dot(n);
    double angle = std::atan2(n.dot(a.cross(b)), a.dot(b));
    if (angle <= 1e-12)
        angle += 2.0 * Pi;
    return angle;
}

// v turned about the unit axis n by angle (counter-clockwise about n).
Vector3D rotate(Vector3D const& v, Vector3D const& n, double angle)
{
    return v * std::cos(angle) + n.cross(v) * std::sin(angle) + n * (n.dot(v) * (1.0 - std::cos(angle)));
}

// The point at the fraction t of the sweep of an arc or helix about the unit normal n, from start to
// end: the radius and the height along n change evenly from the start's to the end's, as the
// interpreter moves.
Vector3D pointOnArc(
    Vector3D const& start, Vector3D const& centre, Vector3D const& n, double sweep, Vector3D const& end, double t)
{
    Vector3D const level = centre + n * (start - centre).dot(n);
    Vector3D const from = start - level;
    Vector3D to = end - level;
    to -= n * to.dot(n);
    double const radius = from.getModulus(), endRadius = to.getModulus();
    if (radius == 0.0)
        return start + (end - start) * t;
    Vector3D const turned = rotate(from / radius, n, sweep * t);
    return level + turned * (radius + (endRadius - radius) * t) + n * ((end - start).dot(n) * t);
}

// Records the expected machine behaviour of the events it receives. Positions are mapped from the
// work frame of the last context to its WCS (the writer's output frame), in the context's unit.
class ExpectationRecorder final : public NCStreamDefaultImpl {
public:
    std::vector<Expected> expected;
    std::set<unsigned int> toolNumbers;
    std::vector<std::string> unsupported; // events the oracle cannot check

    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onParameter;
    using NCStreamDefaultImpl::onRapid5D;

    bool onContext(NCContext const& context) override
    {
        inches = context.getUnit() == NCUnit::INCHES;
        // A work point p lies at origin + plane p in the parent, and at wcsPlane^T (that - wcsOrigin)
        // in the WCS.
        rotation = context.getWCSPlane().getTranspose() * context.getPlane();
        translation = context.getWCSPlane().getTranspose() * (context.getOrigin() - context.getWCSOrigin());
        return true;
    }
    // Tool 0 has no number and changes nothing on the machine.
    bool onTool(NCTool const& tool) override
    {
        rpm = tool.getSpindleRPM();
        if (tool.getNumber() == 0)
            return true;
        toolNumbers.insert(tool.getNumber());
        if (tool.getLengthOffset() != 0)
            toolNumbers.insert(tool.getLengthOffset());
        if (currentTool != tool.getNumber())
            add({.kind = Expected::Tool,
                .source = "onTool " + std::to_string(tool.getNumber()),
                .tool = tool.getNumber()});
        currentTool = tool.getNumber();
        return true;
    }
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override
    {
        axisIndex.clear();
        for (int i = 0; i < ordering.size(); ++i) {
            std::string const name = ordering.axisName(i).getName();
            std::size_t const at = std::string_view("XYZABC").find(name);
            axisIndex.push_back(name.size() == 1 && at != std::string_view::npos ? static_cast<int>(at) : -1);
        }
        return true;
    }
    // Values right after a five-axis move whose X, Y and Z they repeat (in millimetres) are that
    // move's, as the example programs send them; any others are the next move's.
    bool onMachineAxisValues(AxisValues const& values) override
    {
        std::array<std::optional<double>, 3> rotary;
        bool repeatsLast = lastMove.has_value();
        double const millimetres = inches ? 25.4 : 1.0;
        for (int i = 0; i < values.size() && i < static_cast<int>(axisIndex.size()); ++i) {
            int const axis = axisIndex[static_cast<std::size_t>(i)];
            if (axis >= 3)
                rotary[static_cast<std::size_t>(axis - 3)] = values[i].value();
            else if (axis >= 0 && repeatsLast)
                repeatsLast = std::abs(values[i].value() - expected[*lastMove].end[axis] * millimetres) <= 1e-4;
        }
        for (std::size_t i = 0; i < 3; ++i) {
            if (!rotary[i])
                continue;
            if (repeatsLast)
                expected[*lastMove].abc[i] = abc[i] = rotary[i];
            else
                pending[i] = rotary[i];
        }
        lastMove.reset();
        return true;
    }
    // Machine-axis values belong to a move only when no other event comes between them.
    // Takes back the last expectation of a move of that event, which the writer refused late.
    void retract(std::string_view eventName)
    {
        for (auto last = expected.end(); last != expected.begin();) {
            --last;
            if (std::string_view(last->source).starts_with(eventName)) {
                expected.erase(last);
                lastMove.reset();
                return;
            }
        }
    }
    void beginEvent(std::string_view name)
    {
        if (name != "onMachineAxisValues")
            lastMove.reset();
    }
    bool onGroup(char const* uri) override
    {
        NCCycle::Cycle const cycle = NCCycle::getWellKnownCycle(uri);
        definition = NCCycleDefinition(cycle);
        cycleGroup = NCCycleDefinition::isExpandable(cycle);
        cycleValues = false;
        return true;
    }
    bool onGroupEnd() override
    {
        cycleGroup = false;
        return true;
    }
    bool onParameter(char const* name, double value) override
    {
        if (cycleGroup && definition.setFromParameter(name, value))
            cycleValues = true;
        return true;
    }
    bool onSpindleSpeed(double speed) override
    {
        rpm = speed;
        return true;
    }
    // Revolutions last as long as the spindle takes to turn them at the last speed.
    bool onDwell(double time, unsigned int flags) override
    {
        bool const revolutions = (flags & FLAG_DWELL_REVOLUTIONS) != 0;
        add({.kind = Expected::Dwell,
            .source = "onDwell " + text(time) + (revolutions ? " revolutions" : " s"),
            .end = position,
            .time = revolutions ? time * 60.0 / rpm : time});
        return true;
    }
    bool onRapid(Vector3D const& end, unsigned int) override { return rapid("onRapid", end, {0.0, 0.0, 1.0}); }
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        axisValuesOf(direction, flags);
        return rapid("onRapid5D", end, direction.getNormalized());
    }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int) override
    {
        return linear("onLinear", end, feedrate);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        axisValuesOf(direction, flags);
        return linear("onLinear5D", end, feedrate);
    }
    bool onCWArc(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCWArc", center, end, normal, feedrate, -1, std::nullopt);
    }
    bool onCCWArc(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCCWArc", center, end, normal, feedrate, 1, std::nullopt);
    }
    bool onCWCircle(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCWCircle", center, end, normal, feedrate, -1, -2.0 * Pi);
    }
    bool onCCWCircle(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCCWCircle", center, end, normal, feedrate, 1, 2.0 * Pi);
    }
    bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int) override
    {
        return arc("onCircular", center, end, normal, feedrate, sweep < 0.0 ? -1 : 1, sweep);
    }
    bool onLinearExtrude(Vector3D const&, double, double) override { return unsupportedEvent("onLinearExtrude"); }
    bool onSpline(Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int) override
    {
        return unsupportedEvent("onSpline");
    }

private:
    // A five-axis direction without FLAG_ABSOLUTE_DIRECTION may be a tool axis or the values of
    // A, B and C: without machine-axis values before the move, the rotary axes are not known.
    void axisValuesOf(Vector3D const&, unsigned int flags)
    {
        if ((flags & FLAG_ABSOLUTE_DIRECTION) == 0 && !pending[0] && !pending[1] && !pending[2])
            abc = {};
    }
    Vector3D map(Vector3D const& p) const { return rotation * p + translation; }
    Vector3D mapDirection(Vector3D const& d) const { return rotation * d; }
    std::string where() const { return " (event " + std::to_string(count) + ")"; }

    // Machine-axis values may follow a five-axis move (fiveAxis) to say its rotary axes.
    void add(Expected e, bool fiveAxis = false)
    {
        e.inches = inches;
        e.source += where();
        bool const move = e.kind != Expected::Tool && e.kind != Expected::Dwell;
        if (move)
            for (std::size_t i = 0; i < 3; ++i)
                if (pending[i])
                    abc[i] = std::exchange(pending[i], std::nullopt);
        e.abc = abc;
        expected.push_back(std::move(e));
        if (fiveAxis)
            lastMove = expected.size() - 1;
    }
    bool unsupportedEvent(char const* name)
    {
        unsupported.push_back(name);
        return true;
    }

    bool rapid(char const* name, Vector3D const& end, Vector3D const& axis)
    {
        ++count;
        if (cycleGroup && cycleValues)
            return hole(end, axis);
        position = map(end);
        add({.kind = Expected::Rapid, .source = std::string(name) + " " + text(end), .end = position},
            std::string_view(name).ends_with("5D"));
        return true;
    }
    bool linear(char const* name, Vector3D const& end, double feedrate)
    {
        ++count;
        position = map(end);
        add({.kind = Expected::Linear,
                .source = std::string(name) + " " + text(end) + " F" + text(feedrate),
                .end = position,
                .feed = feedrate},
            std::string_view(name).ends_with("5D"));
        return true;
    }
    // A hole of a cycle group: the rapid goes to its top; the cycle's values say the rest.
    bool hole(Vector3D const& top, Vector3D const& axis)
    {
        double const depth = definition.getValue(NCCycleDefinition::VALUE_DEPTH);
        Vector3D const bottom = top - axis * depth;
        auto const at = [&](NCCycleDefinition::Value height) {
            return map(NCCycleDefinition::getPointAtHeight(top, bottom, definition.getValue(height)));
        };
        Expected e {.kind = Expected::Hole,
            .source
            = std::string(NCCycle::getName(definition.getCycle())) + " hole at " + text(top) + " depth " + text(depth),
            .feed = definition.getValue(NCCycleDefinition::VALUE_FEEDRATE),
            .time = definition.getValue(NCCycleDefinition::VALUE_DWELL),
            .clearance = at(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT),
            .reference = at(NCCycleDefinition::VALUE_REFERENCE_HEIGHT),
            .bottom = map(bottom),
            .shift = definition.getCycle() == NCCycle::CYCLE_FINE_BORING
                ? definition.getValue(NCCycleDefinition::VALUE_SHIFT)
                : 0.0,
            .cycle = definition.getCycle()};
        e.normal = mapDirection(axis);
        e.end = e.clearance;
        position = e.clearance;
        add(std::move(e));
        return true;
    }
    bool arc(char const* name, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        int direction, std::optional<double> sweep)
    {
        ++count;
        Expected e {.kind = Expected::Arc,
            .source = std::string(name) + " centre " + text(center) + " end " + text(end) + " normal " + text(normal),
            .end = map(end),
            .feed = feedrate,
            .start = position,
            .centre = map(center),
            .normal = mapDirection(normal).getNormalized()};
        if (sweep) {
            e.sweep = *sweep;
            e.turns = std::max(1, static_cast<int>(std::ceil(std::abs(*sweep) / (2.0 * Pi) - 1e-6)));
        } else {
            double const ccw = angleAbout(e.normal, e.start - e.centre, e.end - e.centre);
            e.sweep = direction > 0 ? ccw : ccw - 2.0 * Pi;
            if (e.sweep == 0.0)
                e.sweep = -2.0 * Pi;
        }
        position = e.end;
        add(std::move(e));
        return true;
    }

    bool inches = false;
    Matrix3x3 rotation;
    Vector3D translation;
    std::vector<int> axisIndex; // per axis of the ordering: 0 to 5 for X Y Z A B C, -1 another
    std::array<std::optional<double>, 3> pending; // A, B, C for the next move
    std::array<std::optional<double>, 3> abc {0.0, 0.0, 0.0}; // where the machine holds them, if known
    std::optional<std::size_t> lastMove; // the expectation of the move just before
    double rpm = 0.0;
    Vector3D position = Vector3D::getNaN();
    std::optional<unsigned int> currentTool;
    NCCycleDefinition definition;
    bool cycleGroup = false;
    bool cycleValues = false;
    unsigned int count = 0;
};

// --- The comparison: walks the expectations and the motions together and reports where they
// disagree.
class Comparison {
public:
    Comparison(std::vector<Expected> const& expected, std::vector<Motion> const& motions, double arcTolerance)
        : expected(expected), motions(motions), arcTolerance(arcTolerance)
    {
    }

    // Empty when every expectation is met by the motions in order and no motion is left over; else
    // the disagreements, one a paragraph. After one whose motion is of the expected kind (a
    // traverse, feed, arc, dwell or tool change that went elsewhere) the walk goes on with the
    // next pair, so that one run shows several; any other ends it.
    std::string run()
    {
        std::string report;
        int count = 0;
        for (Expected const& e : expected) {
            std::string const problem = match(e);
            if (problem.empty())
                continue;
            report += "expected " + e.source + ": " + problem + "\n  rs274: " + callAt(next) + "\n";
            if (++count == MaximumReported || !resume(e))
                return report;
        }
        skipIdle();
        if (next < motions.size())
            report += std::to_string(motions.size() - next)
                + " motions after the end of the program, the first: " + motions[next].call + "\n";
        return report;
    }

    std::size_t getLinearisedArcs() const { return linearisedArcs; }
    std::size_t getHoles() const { return holes; }

private:
    static constexpr int MaximumReported = 8;

    // Steps over the motion that failed an expectation when it is of the expected kind.
    bool resume(Expected const& e)
    {
        static constexpr Motion::Kind kinds[]
            = {Motion::Traverse, Motion::Feed, Motion::Arc, Motion::Dwell, Motion::Tool, Motion::Other};
        if (e.kind == Expected::Hole || next >= motions.size() || motions[next].kind != kinds[e.kind])
            return false;
        position = motions[next].end;
        if (motions[next].kind == Motion::Tool)
            tool = motions[next].tool;
        ++next;
        return true;
    }

    std::string callAt(std::size_t index) const
    {
        return index < motions.size() ? motions[index].call : std::string("(no more motions)");
    }
    bool idle(Motion const& m) const
    {
        return (m.kind == Motion::Traverse || m.kind == Motion::Feed) && near(m.start, m.end);
    }
    // Moves that go nowhere, and repeated changes to the tool in the spindle, change nothing.
    void skipIdle()
    {
        while (next < motions.size()
            && (idle(motions[next]) || (motions[next].kind == Motion::Tool && tool == motions[next].tool)))
            ++next;
    }
    std::string unit(Expected const& e, Motion const& m) const
    {
        if (e.inches == m.inches)
            return {};
        return std::string("in ") + (m.inches ? "inches" : "millimetres") + ", the source in "
            + (e.inches ? "inches" : "millimetres");
    }
    std::string rotaryAxes(Expected const& e, Motion const& m) const
    {
        for (std::size_t i = 0; i < 3; ++i)
            if (e.abc[i] && !near(m.abc[i], *e.abc[i]))
                return std::string(1, "ABC"[i]) + " " + text(m.abc[i]) + ", the source " + text(*e.abc[i]);
        return {};
    }
    std::string feedOf(Expected const& e, Motion const& m) const
    {
        if (e.feed > 0.0 && !near(m.feed, e.feed))
            return "feed " + text(m.feed) + ", the source " + text(e.feed);
        return {};
    }

    std::string match(Expected const& e)
    {
        switch (e.kind) {
        case Expected::Tool:
            return matchTool(e);
        case Expected::Dwell:
            return matchDwell(e);
        case Expected::Rapid:
        case Expected::Linear:
            return matchMove(e);
        case Expected::Arc:
            return matchArc(e);
        case Expected::Hole:
            return matchHole(e);
        }
        return "unknown expectation";
    }

    std::string matchTool(Expected const& e)
    {
        skipIdle();
        if (next >= motions.size() || motions[next].kind != Motion::Tool)
            return "a change to tool " + std::to_string(e.tool);
        if (motions[next].tool != e.tool)
            return "tool " + std::to_string(motions[next].tool) + " instead of " + std::to_string(e.tool);
        tool = motions[next++].tool;
        return {};
    }

    std::string matchDwell(Expected const& e)
    {
        skipIdle();
        if (next >= motions.size() || motions[next].kind != Motion::Dwell)
            return "a dwell of " + text(e.time) + " s";
        if (!near(motions[next].time, e.time))
            return "a dwell of " + text(motions[next].time) + " s";
        ++next;
        return {};
    }

    std::string matchMove(Expected const& e)
    {
        skipIdle();
        Motion::Kind const kind = e.kind == Expected::Rapid ? Motion::Traverse : Motion::Feed;
        bool const found = next < motions.size() && motions[next].kind == kind && near(motions[next].end, e.end);
        if (!found) {
            // A move to where the tool is may be left out.
            if (next < motions.size() && near(motions[next].start, e.end))
                return {};
            if (next >= motions.size() && position && near(*position, e.end))
                return {};
            return std::string(kind == Motion::Traverse ? "a traverse" : "a feed") + " to " + text(e.end);
        }
        Motion const& m = motions[next];
        for (std::string const& problem :
            {unit(e, m), kind == Motion::Feed ? feedOf(e, m) : std::string(), rotaryAxes(e, m)})
            if (!problem.empty())
                return problem;
        position = m.end;
        ++next;
        return {};
    }

    // The plane's axis of a normal along X, Y or Z, or nothing for any other normal.
    static std::optional<int> principalAxis(Vector3D const& normal)
    {
        for (int axis = 0; axis < 3; ++axis)
            if (std::abs(std::abs(normal[axis]) - 1.0) < 1e-9)
                return axis;
        return std::nullopt;
    }

    std::string matchArc(Expected const& e)
    {
        skipIdle();
        if (next >= motions.size())
            return "an arc to " + text(e.end);
        Motion const& m = motions[next];
        if (m.kind == Motion::Feed)
            return matchLinearisedArc(e);
        if (m.kind != Motion::Arc)
            return "an arc to " + text(e.end);
        std::optional<int> const axis = principalAxis(e.normal);
        if (!axis)
            return "a line segment of an arc about " + text(e.normal) + ", not an arc in a principal plane";
        int const sign = (e.sweep > 0.0) == (e.normal[*axis] > 0.0) ? 1 : -1;
        char const* const planes[] = {"YZ", "XZ", "XY"};
        if (m.axis != *axis)
            return std::string("an arc in the ") + planes[*axis] + " plane, not in " + planes[m.axis];
        if (m.rotation != sign * e.turns)
            return "rotation " + std::to_string(sign * e.turns) + " (sweep " + text(e.sweep) + " rad), not "
                + std::to_string(m.rotation);
        if (!near(m.end, e.end))
            return "end " + text(e.end) + ", rs274 reached " + text(m.end);
        // The paths, point by point: a centre alone may move along the chord of a short arc without
        // moving the path, and its height along the axis is free in the source.
        Vector3D n;
        n[*axis] = 1.0;
        double const ccw = angleAbout(n, m.start - m.centre, m.end - m.centre);
        double const part = m.rotation > 0 || ccw >= 2.0 * Pi ? ccw : 2.0 * Pi - ccw;
        double const sweep = (m.rotation > 0 ? 1.0 : -1.0) * (part + 2.0 * Pi * (std::abs(m.rotation) - 1));
        int const samples = 16 * e.turns;
        for (int k = 1; k < samples; ++k) {
            double const t = static_cast<double>(k) / samples;
            Vector3D const want = pointOnArc(e.start, e.centre, e.normal, e.sweep, e.end, t),
                           got = pointOnArc(m.start, m.centre, n, sweep, m.end, t);
            if (!near(got, want, ArcTolerance))
                return "the arc through " + text(want) + " at " + std::to_string(k) + "/" + std::to_string(samples)
                    + " of its sweep (centre " + text(e.centre) + "); rs274's arc about " + text(m.centre) + " passes "
                    + text(got);
        }
        for (std::string const& problem : {unit(e, m), feedOf(e, m), rotaryAxes(e, m)})
            if (!problem.empty())
                return problem;
        position = m.end;
        ++next;
        return {};
    }

    // An arc the writer made into line segments: each end lies on the arc's cylinder within the arc
    // tolerance, the segments turn the source's way by its sweep, and the last reaches its end.
    std::string matchLinearisedArc(Expected const& e)
    {
        Vector3D const n = e.normal;
        auto const radial = [&](Vector3D const& p) {
            Vector3D d = p - e.centre;
            d -= n * d.dot(n);
            return d;
        };
        double const radius = radial(e.start).getModulus();
        // The rounded start and end of a small arc are off by an angle of about their rounding
        // over the radius.
        double const angleTolerance = 1e-3 + 4.0 * Tolerance / std::max(radius, Tolerance);
        double turned = 0.0;
        for (std::size_t i = next; i < motions.size() && motions[i].kind == Motion::Feed; ++i) {
            Motion const& m = motions[i];
            if (!near(radial(m.end).getModulus(), radius, arcTolerance + 2.0 * Tolerance))
                return "line segment " + std::to_string(i - next + 1) + " of the arc ends " + text(m.end)
                    + ", off the arc of radius " + text(radius);
            Vector3D const from = radial(m.start), to = radial(m.end);
            if (from.getModulus() > Tolerance && to.getModulus() > Tolerance)
                turned += std::atan2(n.dot(from.cross(to)), from.dot(to));
            if (!feedOf(e, m).empty())
                return "line segment " + std::to_string(i - next + 1) + " of the arc: " + feedOf(e, m);
            if (near(m.end, e.end) && std::abs(turned - e.sweep) < angleTolerance) {
                ++linearisedArcs;
                position = m.end;
                next = i + 1;
                return unit(e, m) + rotaryAxes(e, m);
            }
        }
        return "line segments along the arc to " + text(e.end) + " (sweep " + text(e.sweep) + " rad), turned "
            + text(turned) + " rad";
    }

    // A hole of a cycle group, written as a canned cycle or as its moves. The interpreter's own
    // pecking retracts (to R in G83, by a fixed 0.010 inch in both G83 and G73) differ from the
    // pecks of NCCycleDefinition::expandHole, so a hole is checked for what both agree on: at most
    // two traverses bring the tool over the hole; then every motion stays on the hole's axis (fine
    // boring: within its shift) between the bottom and the clearance height, a traverse reaches
    // the reference height, feeds at the cycle's feedrate reach the bottom, the cycle's dwell
    // (when it has one) is made, and the hole ends at the clearance height.
    std::string matchHole(Expected const& e)
    {
        skipIdle();
        Vector3D const u = e.normal;
        auto const onAxis = [&](Vector3D const& p) {
            Vector3D d = p - e.bottom;
            d -= u * d.dot(u);
            return d.getModulus() <= e.shift + 2.0 * Tolerance;
        };
        auto const height = [&](Vector3D const& p) { return (p - e.bottom).dot(u); };
        double const top = height(e.clearance);
        for (int approach = 0; approach < 2 && next < motions.size() && motions[next].kind == Motion::Traverse
             && !onAxis(motions[next].end);
             ++approach)
            ++next;
        std::size_t const first = next;
        bool atReference = false, atBottom = false, dwelt = false;
        for (; next < motions.size(); ++next) {
            Motion const& m = motions[next];
            if (m.kind == Motion::Dwell) {
                if (!near(m.time, e.time))
                    return "a dwell of " + text(e.time) + " s in the hole, not " + text(m.time);
                dwelt = true;
                continue;
            }
            if ((m.kind != Motion::Traverse && m.kind != Motion::Feed) || !onAxis(m.end))
                break;
            double const h = height(m.end);
            if (h < -Tolerance || h > top + Tolerance)
                return "a move to " + text(m.end) + ", outside the hole from " + text(e.bottom) + " to "
                    + text(e.clearance);
            if (m.kind == Motion::Feed) {
                if (!feedOf(e, m).empty())
                    return feedOf(e, m);
                atBottom = atBottom || h <= Tolerance;
            } else if (!atBottom && near(m.end, e.reference)) {
                atReference = true;
            }
            if (std::string problem = unit(e, motions[next]); !problem.empty())
                return problem;
            if (atBottom && near(m.end, e.clearance)) {
                ++next;
                break;
            }
        }
        if (next == first)
            return "the tool over the hole";
        if (!atReference)
            return "a traverse to the reference height at " + text(e.reference);
        if (!atBottom)
            return "a feed to the bottom at " + text(e.bottom);
        if (!near(motions[next - 1].end, e.clearance))
            return "the hole to end at the clearance height at " + text(e.clearance) + ", not at "
                + text(motions[next - 1].end);
        bool const dwells = e.cycle != NCCycle::CYCLE_DRILLING && e.time > 0.0;
        if (dwells && !dwelt)
            return "a dwell of " + text(e.time) + " s in the hole";
        position = motions[next - 1].end;
        ++holes;
        return {};
    }

    std::vector<Expected> const& expected;
    std::vector<Motion> const& motions;
    double const arcTolerance;
    std::size_t next = 0;
    std::optional<Vector3D> position;
    long long tool = -1;
    std::size_t linearisedArcs = 0;
    std::size_t holes = 0;
};

// --- The generated program: several thousand mixed moves from a fixed seed.

class Random {
public:
    explicit Random(std::uint64_t seed) : engine(seed) { }
    // Uniform in [a, b); std::mt19937_64's numbers are the same everywhere, unlike the
    // distributions of the standard library.
    double uniform(double a, double b) { return a + (b - a) * static_cast<double>(engine() >> 11) * 0x1.0p-53; }
    int below(int n) { return static_cast<int>(engine() % static_cast<std::uint64_t>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    // A value with three decimals, as a CAM system writes feeds and times.
    double rounded(double a, double b) { return std::round(uniform(a, b) * 1000.0) / 1000.0; }

private:
    std::mt19937_64 engine;
};

class GeneratedProgram {
public:
    static constexpr std::uint64_t Seed = 20261124;

    bool send(NCStream& s)
    {
        random = Random(Seed);
        NCContext shifted = context(NCUnit::MILLIMETERS);
        // A work frame turned a quarter about Z and moved: positions change, arcs stay in their
        // planes.
        shifted.setOrigin({12.5, -7.25, 3.0});
        shifted.setPlane(Matrix3x3({0.0, 1.0, 0.0}, {-1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}));
        // A work frame whose z is the WCS's -y: arcs change planes, and holes are no longer along +Z.
        NCContext tilted = context(NCUnit::MILLIMETERS);
        tilted.setOrigin({-20.0, 40.0, 10.0});
        tilted.setPlane(Matrix3x3({1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, -1.0, 0.0}));
        return s.onOpen() && section(s, context(NCUnit::MILLIMETERS), tool(1, 8000), [&] { return moves(s, 800, 1.0); })
            && section(s, shifted, tool(2, 12000), [&] { return moves(s, 600, 1.0); })
            && section(s, tilted, tool(2, 12000), [&] { return moves(s, 400, 1.0) && cycles(s, 1); })
            && section(s, context(NCUnit::INCHES), tool(3, 6000), [&] { return moves(s, 700, 1.0 / 25.4); })
            && section(s, context(NCUnit::MILLIMETERS), tool(5, 2500), [&] { return cycles(s, 3); })
            && section(s, context(NCUnit::MILLIMETERS), tool(6, 10000), [&] { return fiveAxis(s, 300); })
            && section(s, context(NCUnit::MILLIMETERS), tool(1, 8000), [&] { return moves(s, 500, 1.0); })
            && s.onClose();
    }

    // The holes of the cycle groups sent.
    std::size_t getHoles() const noexcept { return holes; }

private:
    static NCContext context(NCUnit::Unit unit)
    {
        NCContext c;
        c.setUnit(unit);
        return c;
    }
    static NCTool tool(unsigned int number, double rpm)
    {
        NCTool t;
        t.setNumber(number);
        t.setLengthOffset(number + 20);
        t.setSpindleRPM(rpm);
        t.setSpindleDirection(true);
        return t;
    }
    bool section(NCStream& s, NCContext const& c, NCTool const& t, std::function<bool()> const& body)
    {
        return s.onContext(c) && s.onTool(t) && s.onSection() && body() && s.onSectionEnd();
    }

    Vector3D point(double scale)
    {
        return Vector3D(random.uniform(-60, 60), random.uniform(-40, 40), random.uniform(-15, 25)) * scale;
    }
    double feed(double scale) { return random.rounded(40.0, 2500.0) * (scale < 1.0 ? 0.04 : 1.0); }

    // Lines, rapids, arcs in the three planes about either sense of their normal, helices, full
    // circles, multi-turn helices and dwells, in the scale's unit.
    bool moves(NCStream& s, int count, double scale)
    {
        unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
        position = point(scale);
        if (!s.onRapid(position, 0))
            return false;
        for (int i = 0; i < count; ++i) {
            int const kind = random.below(100);
            bool ok = true;
            if (kind < 10) {
                position = point(scale);
                ok = s.onRapid(position, 0);
            } else if (kind < 40) {
                position = point(scale);
                ok = s.onLinear(position, feed(scale), cut);
            } else if (kind < 95) {
                ok = arc(s, kind, scale);
            } else if (kind < 98) {
                ok = s.onDwell(random.rounded(0.05, 2.5), 0);
            } else {
                ok = s.onDwell(random.rounded(2.0, 50.0), NCStream::FLAG_DWELL_REVOLUTIONS);
            }
            if (!ok)
                return false;
        }
        return true;
    }

    bool arc(NCStream& s, int kind, double scale)
    {
        unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
        // Mostly in the three planes; now and then about a tilted normal, which G-code has no arc for.
        Vector3D n;
        if (random.chance(4)) {
            n = Vector3D(random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(0.2, 1)).getNormalized();
        } else {
            n[random.below(3)] = random.chance(50) ? 1.0 : -1.0;
        }
        Vector3D const u = n.cross(std::abs(n.x) < 0.9 ? Vector3D(1, 0, 0) : Vector3D(0, 1, 0)).getNormalized();
        Vector3D const v = n.cross(u);
        double const radius = random.uniform(0.5, 25.0) * scale;
        double const at = random.uniform(0.0, 2.0 * Pi);
        Vector3D center = position + (u * std::cos(at) + v * std::sin(at)) * radius;
        // The centre's height along the normal is free; most programs put it at the start's.
        if (random.chance(20))
            center += n * random.uniform(-5.0, 5.0) * scale;
        Vector3D const radial = position - center - n * (position - center).dot(n);
        double const rise = random.chance(35) ? random.uniform(-4.0, 4.0) * scale : 0.0;
        Vector3D const level = position - radial; // the centre at the start's height
        double const f = feed(scale);
        if (kind < 75) {
            double const sweep = random.uniform(0.05, 2.0 * Pi - 0.05);
            bool const ccw = random.chance(50);
            position = level + rotate(radial, n, ccw ? sweep : -sweep) + n * rise;
            return ccw ? s.onCCWArc(center, position, n, f, cut) : s.onCWArc(center, position, n, f, cut);
        }
        if (kind < 82) {
            bool const ccw = random.chance(50);
            return ccw ? s.onCCWCircle(center, position, n, f, cut) : s.onCWCircle(center, position, n, f, cut);
        }
        // A helix of one to three turns and a part turn, sometimes none.
        double const part = random.chance(30) ? 0.0 : random.uniform(0.05, 2.0 * Pi - 0.05);
        double sweep = 2.0 * Pi * (1 + random.below(3)) + part;
        if (random.chance(50))
            sweep = -sweep;
        position = level + rotate(radial, n, sweep) + n * (rise == 0.0 ? 2.0 * scale : rise);
        return s.onCircular(center, position, n, sweep, f, cut);
    }

    // Drill cycles as the NCI reader sends them: a group of the cycle with its values, then a
    // rapid to the top of each hole, the depth again before a hole whose depth differs. Every
    // cycle NCCycleDefinition can expand, with values the canned words can carry and values they
    // cannot (another subsequent peck, a dwell where the word has none).
    bool cycles(NCStream& s, int rounds)
    {
        static constexpr NCCycle::Cycle kinds[] = {NCCycle::CYCLE_DRILLING, NCCycle::CYCLE_COUNTER_BORING,
            NCCycle::CYCLE_DEEP_DRILLING, NCCycle::CYCLE_CHIP_BREAKING, NCCycle::CYCLE_RIGHT_TAPPING,
            NCCycle::CYCLE_LEFT_TAPPING, NCCycle::CYCLE_BORING, NCCycle::CYCLE_STOP_BORING, NCCycle::CYCLE_FINE_BORING};
        unsigned int const rapid = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
        for (int round = 0; round < rounds; ++round) {
            for (NCCycle::Cycle const cycle : kinds) {
                NCCycleDefinition d(cycle);
                double const top = random.rounded(-5.0, 5.0);
                d.setValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, top + random.rounded(8.0, 15.0));
                d.setValue(NCCycleDefinition::VALUE_REFERENCE_HEIGHT, top + random.rounded(1.0, 4.0));
                d.setValue(NCCycleDefinition::VALUE_DEPTH, random.rounded(3.0, 20.0));
                double const peck = random.rounded(1.0, 4.0);
                d.setValue(NCCycleDefinition::VALUE_FIRST_PECK, peck);
                d.setValue(NCCycleDefinition::VALUE_SUBSEQUENT_PECK, random.chance(70) ? peck : peck * 0.5);
                d.setValue(NCCycleDefinition::VALUE_PECK_CLEARANCE, 0.5);
                d.setValue(NCCycleDefinition::VALUE_DWELL, random.chance(50) ? random.rounded(0.2, 1.5) : 0.0);
                d.setValue(NCCycleDefinition::VALUE_FEEDRATE, random.rounded(60.0, 400.0));
                d.setValue(NCCycleDefinition::VALUE_SHIFT, random.rounded(0.2, 1.0));
                double const clearance = d.getValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT);
                double x = random.rounded(-50.0, 0.0), y = random.rounded(-30.0, 30.0);
                // Most groups come to the clearance height first, as CAM systems do; the others
                // start from higher up.
                if (!s.onRapid({x, y, random.chance(60) ? clearance : clearance + 30.0}, rapid)
                    || !s.onGroup(NCCycleDefinition::getUri(cycle).c_str()) || !d.sendParameters(s))
                    return false;
                int const row = 2 + random.below(4);
                for (int h = 0; h < row; ++h) {
                    if (h > 0 && random.chance(40)) {
                        d.setValue(NCCycleDefinition::VALUE_DEPTH, random.rounded(3.0, 20.0));
                        if (!d.sendParameter(s, NCCycleDefinition::VALUE_DEPTH))
                            return false;
                    }
                    if (!s.onRapid({x, y, top}, rapid))
                        return false;
                    ++holes;
                    x += random.rounded(5.0, 15.0);
                    y += random.rounded(-10.0, 10.0);
                }
                if (!s.onGroupEnd() || !s.onRapid({x, y, clearance + 20.0}, rapid))
                    return false;
            }
        }
        return true;
    }

    // Five-axis moves with the values of a table-tilting machine's A and C axes.
    bool fiveAxis(NCStream& s, int count)
    {
        unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
        AxisOrdering const ordering {AxisInfo("head", "X"), AxisInfo("head", "Y"), AxisInfo("head", "Z"),
            AxisInfo("table", "A"), AxisInfo("table", "C")};
        if (!s.onMachineAxisOrdering(ordering))
            return false;
        for (int i = 0; i < count; ++i) {
            position = point(1.0);
            double const a = random.rounded(-90.0, 30.0), c = random.rounded(-360.0, 360.0);
            double const ar = a * Pi / 180.0, cr = c * Pi / 180.0;
            Vector3D const axis(std::sin(ar) * std::sin(cr), -std::sin(ar) * std::cos(cr), std::cos(ar));
            unsigned int const flags = NCStream::FLAG_ABSOLUTE_DIRECTION | (i % 10 == 0 ? 0 : cut);
            AxisValues const values {position.x, position.y, position.z, a, c};
            // The values come before the move, or after it repeating its X, Y and Z.
            bool const before = random.chance(50);
            if ((before && !s.onMachineAxisValues(values))
                || !(i % 10 == 0 ? s.onRapid5D(position, axis, flags) : s.onLinear5D(position, axis, feed(1.0), flags))
                || (!before && !s.onMachineAxisValues(values)))
                return false;
        }
        return true;
    }

    Random random {Seed};
    Vector3D position;
    std::size_t holes = 0;
};

// Sends every event to the writer and then, unless the writer refused it with an IOException
// (after which it goes on as if the event had not come), to the recorder; keeps the refusals.
class RefusalTee final : public NCStream {
public:
    RefusalTee(NCStream& writer, ExpectationRecorder& recorder) : writer(writer), recorder(recorder) { }

    // The refusals: the event and the text without its "Cannot write line <n>: ".
    std::vector<std::string> refusals;

    using NCStream::onParameter;
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool name parameters override                                                                                      \
    {                                                                                                                  \
        return both(#name, [&](NCStream& stream) { return stream.name arguments; });                                   \
    }
#include "nc/nc/NCEvents.def"

private:
    template <class Event> bool both(char const* name, Event const& event)
    {
        try {
            if (!event(writer))
                return false;
        } catch (IOException const& refusal) {
            std::string const text = refusal.what();
            std::size_t const colon = text.find(": ");
            std::string const reason = colon == std::string::npos ? text : text.substr(colon + 2);
            // A five-axis move that waited for machine-axis values is refused once the next event
            // is written: that event stands, the move it names is taken back.
            std::string const moved = reason.substr(0, reason.find(' '));
            if (moved == name || !moved.starts_with("on")) {
                refusals.push_back(std::string(name) + ": " + reason);
                return true;
            }
            refusals.push_back(moved + ": " + reason);
            recorder.retract(moved);
        }
        recorder.beginEvent(name);
        return event(recorder);
    }

    NCStream& writer;
    ExpectationRecorder& recorder;
};

// --- The fixture: finds rs274, writes a program as G-code, runs it and compares.

class GCodeOracle : public testing::Test {
protected:
    fs::path const source = QUARN_SOURCE_DIR;
    fs::path const scratch = fs::temp_directory_path() / ("gcode-oracle-" + std::to_string(::getpid()));
    fs::path interpreter;

    void SetUp() override
    {
        std::optional<fs::path> found = findInterpreter();
        if (!found)
            GTEST_SKIP() << "LinuxCNC's rs274 is not installed (scripts/install-deps.sh installs linuxcnc-uspace)";
        interpreter = *found;
        fs::create_directories(scratch);
    }
    // The G-code and rs274's output stay for a look when the test failed.
    void TearDown() override
    {
        std::error_code ignored;
        if (HasFailure())
            std::printf("The G-code and rs274's output are kept in %s\n", scratch.c_str());
        else
            fs::remove_all(scratch, ignored);
    }

    // The program `send` sends, written by a GCodeWriter with 4 decimals that `configure` may set
    // up further, run by rs274 and compared with what the events the writer took ask for. Returns
    // the writer's refusals.
    std::vector<std::string> check(std::string const& name, std::function<bool(NCStream&)> const& send,
        std::function<void(GCodeWriter&)> const& configure = {})
    {
        SCOPED_TRACE(name);
        ExpectationRecorder recorder;
        MemoryOutputStream out;
        GCodeWriter writer(&out);
        writer.setDecimals(Decimals);
        if (configure)
            configure(writer);
        RefusalTee tee(writer, recorder);
        EXPECT_TRUE(send(tee));
        EXPECT_TRUE(recorder.unsupported.empty()) << "the oracle cannot check " << recorder.unsupported.front();
        run(name, out.getData(), recorder, writer);
        return tee.refusals;
    }

    void run(std::string const& name, std::string const& gcode, ExpectationRecorder const& recorder,
        GCodeWriter const& writer)
    {
        fs::path const program = scratch / (name + ".ngc");
        std::ofstream(program, std::ios::binary) << gcode;

        // Every tool of the program with zero length and diameter, so that G43 and any cutter
        // compensation leave the positions as programmed.
        fs::path const tools = scratch / "tools.tbl";
        writeToolTable(tools, {recorder.toolNumbers.begin(), recorder.toolNumbers.end()});

        RS274Run const result = runInterpreter(
            interpreter, program, tools, scratch, scratch / (name + ".canon"), scratch / (name + ".errors"));
        std::string const& canon = result.canon;
        std::string const& problems = result.errors;
        ASSERT_NE(result.status, 124) << "rs274 did not finish within 60 s on " << program;
        // Anything on the error stream besides "executing" is an interpreter error (RS274Run).
        ASSERT_EQ(result.status, 0) << "rs274 reports an error:\n" << problems << "\nafter\n" << tail(canon);
        EXPECT_EQ(problems.find_first_not_of("executing\n"), std::string::npos) << problems;
        EXPECT_NE(canon.find("PROGRAM_END()"), std::string::npos) << "the program does not end\n" << tail(canon);

        std::vector<Motion> const motions = replay(canon);
        Comparison comparison(recorder.expected, motions, arcTolerance);
        std::string const disagreements = comparison.run();
        ASSERT_TRUE(disagreements.empty())
            << "rs274 and the source disagree in " << name << ".ngc (" << recorder.expected.size() << " expectations, "
            << motions.size() << " motions):\n"
            << annotate(gcode, disagreements);
        // Every arc the writer says it wrote as lines was found as lines, and no other.
        EXPECT_EQ(comparison.getLinearisedArcs(), writer.getLinearisedArcs());
        holesFound = comparison.getHoles();
    }

    // The last lines of rs274's output, to show where it stopped.
    static std::string tail(std::string const& text)
    {
        std::size_t start = text.size();
        for (int lines = 0; lines < 12 && start > 0; ++lines)
            start = text.rfind('\n', start - 1) == std::string::npos ? 0 : text.rfind('\n', start - 1);
        return text.substr(start);
    }

    // The disagreements with the G-code line of each canonical call, when the writer numbered its
    // lines (rs274 prints "N123" instead of "N....." then).
    static std::string annotate(std::string const& gcode, std::string const& disagreements)
    {
        std::istringstream report(disagreements);
        std::string result;
        for (std::string line; std::getline(report, line);) {
            result += line + "\n";
            std::size_t const at = line.find(" N", line.find("rs274: "));
            if (!line.starts_with("  rs274: ") || at == std::string::npos || line.compare(at + 2, 1, ".") == 0)
                continue;
            std::string const number = line.substr(at + 1, line.find(' ', at + 1) - at - 1);
            std::istringstream lines(gcode);
            for (std::string written; std::getline(lines, written);)
                if (written.starts_with(number + " ")) {
                    result += "  G-code: " + written + "\n";
                    break;
                }
        }
        return result;
    }

    // The writer's default chordal tolerance of arcs it writes as lines, in millimetres.
    double arcTolerance = 0.001;
    std::size_t holesFound = 0; // by the last comparison that found no disagreement
};

// A reader for each example the library can read: the two kinds of .nci files told apart by
// their readers. pocket.jsonl holds the same toolpath as pocket.kts and has no reader.
std::unique_ptr<NCReader> readerFor(fs::path const& path)
{
    std::string const extension = path.extension().string();
    std::wstring const file = path.wstring();
    if (extension == ".nci") {
        if (CompactNCIReader().isValid(file))
            return std::make_unique<CompactNCIReader>();
        if (MastercamNCIReader().isValid(file))
            return std::make_unique<MastercamNCIReader>();
    }
    if (extension == ".kts")
        return std::make_unique<KernelNCReader>();
    if (extension == ".cld")
        return std::make_unique<CutterLocationDataReader>();
    if (extension == ".cldt")
        return std::make_unique<KernelCLDReader>();
    return nullptr;
}

// The refusals counted by event and text, sorted: "2 onRapid5D: <text>".
std::vector<std::string> summary(std::vector<std::string> const& refusals)
{
    std::map<std::string, int> counts;
    for (std::string const& refusal : refusals)
        ++counts[refusal];
    std::vector<std::string> result;
    for (auto const& [refusal, count] : counts)
        result.push_back(std::to_string(count) + " " + refusal);
    return result;
}

// Every example the library reads, and what the writer refuses of it (and so what rs274 does not
// see): the kernel toolpaths and the cutter location data carry no feedrates; the five-axis moves
// of the NCI toolpath and the cutter location data have tool axes but no machine-axis values, and
// so has the last rapid of the compact five-axis part, back to +Z after its tilted moves.
TEST_F(GCodeOracle, BundledExamples)
{
    std::string const feed = "A feed move needs a feedrate.";
    std::string const noValues = " has a tool axis but no machine axis values.";
    std::map<std::string, std::vector<std::string>> const refused {
        {"inch-part.nci", {}},
        {"part-3axis.nci", {}},
        {"pocket.cldt", {"8 onCWArc: " + feed, "12 onLinear: " + feed}},
        {"pocket.kts", {"8 onCWArc: " + feed, "12 onLinear: " + feed}},
        {"swarf-5axis.cld", {"2 onLinear5D: " + feed, "5 onLinear5D: onLinear5D" + noValues}},
        {"swarf-5axis.nci", {"1 onRapid5D: onRapid5D" + noValues}},
        {"synthetic-mill.nci", {"3 onLinear5D: onLinear5D" + noValues, "2 onRapid5D: onRapid5D" + noValues}},
    };
    std::set<std::string> examples;
    for (auto const& entry : fs::directory_iterator(source / "examples"))
        if (readerFor(entry.path()))
            examples.insert(entry.path().filename().string());
    std::set<std::string> listed;
    for (auto const& [name, refusals] : refused)
        listed.insert(name);
    ASSERT_EQ(examples, listed) << "an example to list here, or one gone";
    for (auto const& [name, refusals] : refused) {
        fs::path const example = source / "examples" / name;
        std::vector<std::string> const got = check(name, [&](NCStream& target) {
            std::unique_ptr<NCReader> const reader = readerFor(example);
            reader->setNCStream(&target);
            return reader->import(example.wstring());
        });
        EXPECT_EQ(summary(got), refusals) << name;
    }
}

TEST_F(GCodeOracle, GeneratedProgram)
{
    GeneratedProgram program;
    std::vector<std::string> const refusals = check(
        "generated", [&](NCStream& target) { return program.send(target); },
        [](GCodeWriter& writer) { writer.setLineNumbers(1, 1); });
    EXPECT_EQ(refusals, std::vector<std::string>());
    // The oracle saw every hole as one.
    if (!HasFailure()) {
        EXPECT_EQ(holesFound, program.getHoles());
    }
}

} // namespace
