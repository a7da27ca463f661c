// GCodeWriter and GCodeReader together: every bundled example written as G-code and read back
// makes the same moves, within the writer's rounding.
#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/GCodeWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycle.h"
#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CutterLocationDataReader.h"
#include "nc/nc/io/GCodeCannedCycle.h"
#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/io/MastercamNCIReader.h"
#include "nc/nc/kernelstream/KernelNCReader.h"
#include "util/utility/IOException.h"
#include "util/utility/ParseException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace Quarn;
namespace fs = std::filesystem;

constexpr double Pi = std::numbers::pi;
// The writer writes 4 decimals here: an end, feed or time read back is within half the last digit
// of the source's. An arc's centre is the written start plus the written offset: twice that.
constexpr unsigned int Decimals = 4;
constexpr double Tolerance = 0.5e-4 + 1e-9;
constexpr double CentreTolerance = 1e-4 + 1e-9;

std::string text(double value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.5f", value);
    return buffer;
}

std::string text(Vector3D const& v) { return "(" + text(v.x) + ", " + text(v.y) + ", " + text(v.z) + ")"; }

bool near(Vector3D const& a, Vector3D const& b, double tolerance = Tolerance)
{
    return std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance && std::abs(a.z - b.z) <= tolerance;
}

// A move in the WCS and the unit of its context. Arcs by the plane's axis (0 X, 1 Y, 2 Z, -1 for a
// normal along none), their rotation counter-clockwise about that axis positive, |rotation| turns.
struct Move {
    enum Kind { Traverse, Feed, Arc, Dwell } kind;
    std::string what;
    bool inches = false;
    Vector3D end {};
    Vector3D centre {};
    int axis = 2;
    int rotation = 0;
    double feed = 0.0;
    double time = 0.0;
    // Source: the hole group the move belongs to, and whether the control pecks that group another
    // way. Read back: the "/expanded" group it came in. -1 outside groups.
    int group = -1;
    bool ownPecks = false;
    bool holeStart = false; // the first move of a hole of the source
};

char const* kindName(Move::Kind kind)
{
    static char const* const names[] = {"traverse", "feed", "arc", "dwell"};
    return names[kind];
}

// Records moves in the WCS of their context, as the writer writes them (the read-back contexts
// have the WCS as work system, so the mapping changes nothing there). Moves that go nowhere are
// left out: the writer writes no line for them. With expandHoles, the rapids of a cycle group
// after the cycle's values are holes and record the moves of NCCycleDefinition::expandHole.
class MoveRecorder final : public NCStreamDefaultImpl {
public:
    explicit MoveRecorder(bool expandHoles) : expandHoles(expandHoles) { }

    std::vector<Move> moves;

    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onParameter;
    using NCStreamDefaultImpl::onRapid5D;

    bool onContext(NCContext const& context) override
    {
        inches = context.getUnit() == NCUnit::INCHES;
        rotation = context.getWCSPlane().getTranspose() * context.getPlane();
        translation = context.getWCSPlane().getTranspose() * (context.getOrigin() - context.getWCSOrigin());
        return true;
    }
    bool onTool(NCTool const& tool) override
    {
        rpm = tool.getSpindleRPM();
        return true;
    }
    bool onSpindleSpeed(double speed) override
    {
        rpm = speed;
        return true;
    }
    bool onGroup(char const* uri) override
    {
        ++groups;
        if (!expandHoles) {
            inGroup = std::string_view(uri).ends_with("/expanded");
            return true;
        }
        NCCycle::Cycle const cycle = NCCycle::getWellKnownCycle(uri);
        definition = NCCycleDefinition(cycle);
        cycleGroup = NCCycleDefinition::isExpandable(cycle);
        cycleValues = false;
        return true;
    }
    bool onGroupEnd() override
    {
        cycleGroup = inGroup = false;
        return true;
    }
    bool onParameter(char const* name, double value) override
    {
        if (cycleGroup && definition.setFromParameter(name, value))
            cycleValues = true;
        return true;
    }
    bool onDwell(double time, unsigned int flags) override
    {
        double const seconds = (flags & FLAG_DWELL_REVOLUTIONS) != 0 ? time * 60.0 / rpm : time;
        if (seconds > 0.0)
            add({.kind = Move::Dwell, .what = "onDwell " + text(time), .time = seconds});
        return true;
    }
    bool onRapid(Vector3D const& end, unsigned int) override { return rapid("onRapid", end, {0.0, 0.0, 1.0}); }
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        bool const axis = (flags & FLAG_ABSOLUTE_DIRECTION) != 0;
        return rapid("onRapid5D", end, axis ? direction.getNormalized() : Vector3D(0.0, 0.0, 1.0));
    }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int) override
    {
        return straight(Move::Feed, "onLinear", end, feedrate);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const&, double feedrate, unsigned int) override
    {
        return straight(Move::Feed, "onLinear5D", end, feedrate);
    }
    bool onCWArc(
        Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCWArc", centre, end, normal, feedrate, -1, 1);
    }
    bool onCCWArc(
        Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCCWArc", centre, end, normal, feedrate, 1, 1);
    }
    bool onCWCircle(
        Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCWCircle", centre, end, normal, feedrate, -1, 1);
    }
    bool onCCWCircle(
        Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int) override
    {
        return arc("onCCWCircle", centre, end, normal, feedrate, 1, 1);
    }
    bool onCircular(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int) override
    {
        int const turns = std::max(1, static_cast<int>(std::ceil(std::abs(sweep) / (2.0 * Pi) - 1e-6)));
        return arc("onCircular", centre, end, normal, feedrate, sweep < 0.0 ? -1 : 1, turns);
    }

    // Takes back the last move of the event, which the writer refused late.
    void retract(std::string_view eventName)
    {
        for (auto last = moves.end(); last != moves.begin();) {
            --last;
            if (std::string_view(last->what).starts_with(eventName)) {
                moves.erase(last);
                return;
            }
        }
    }

private:
    Vector3D map(Vector3D const& p) const { return rotation * p + translation; }
    // A point as the writer writes it: a move whose written point is the last one's writes no line.
    static std::array<double, 3> written(Vector3D const& p)
    {
        double const scale = std::pow(10.0, Decimals);
        return {std::round(p.x * scale), std::round(p.y * scale), std::round(p.z * scale)};
    }

    void add(Move move)
    {
        move.inches = inches;
        move.group = expanding ? groups : inGroup ? groups : -1;
        move.ownPecks = expanding && ownPecks;
        move.holeStart = std::exchange(holeStart, false);
        move.what += " (event " + std::to_string(++count) + ")";
        moves.push_back(std::move(move));
    }
    bool rapid(char const* name, Vector3D const& end, Vector3D const& axis)
    {
        if (cycleGroup && cycleValues && !expanding)
            return hole(end, axis);
        return straight(Move::Traverse, name, end, 0.0);
    }
    bool straight(Move::Kind kind, char const* name, Vector3D const& end, double feedrate)
    {
        Vector3D const to = map(end);
        if (position && written(*position) == written(to))
            return true;
        position = to;
        add({.kind = kind, .what = std::string(name) + " " + text(to), .end = to, .feed = feed(feedrate)});
        return true;
    }
    // A feedrate of 0 or less keeps the one before, as the writer writes it.
    double feed(double feedrate)
    {
        if (feedrate > 0.0)
            lastFeed = feedrate;
        return lastFeed;
    }
    bool arc(char const* name, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate,
        int direction, int turns)
    {
        Vector3D const n = rotation * normal;
        int axis = -1;
        for (int a = 0; a < 3; ++a)
            if (std::abs(std::abs(n[a]) - 1.0) < 1e-9)
                axis = a;
        int const sign = axis >= 0 && n[axis] < 0.0 ? -direction : direction;
        position = map(end);
        add({.kind = Move::Arc,
            .what = std::string(name) + " centre " + text(map(centre)) + " end " + text(*position),
            .end = *position,
            .centre = map(centre),
            .axis = axis,
            .rotation = sign * turns,
            .feed = feed(feedrate)});
        return true;
    }
    // The moves of a hole whose top the rapid goes to, along the axis, as expandHole makes them.
    // The control pecks G83 and G73 holes with its own clearance (GCodeCannedCycle), not the
    // cycle's: those holes take another path where the writer writes them as canned cycles.
    bool hole(Vector3D const& top, Vector3D const& axis)
    {
        Vector3D const bottom = top - axis * definition.getValue(NCCycleDefinition::VALUE_DEPTH);
        NCCycle::Cycle const cycle = definition.getCycle();
        double const controlClearance
            = inches ? GCodeCannedCycle::PeckClearanceInches : GCodeCannedCycle::PeckClearanceMillimetres;
        ownPecks = (cycle == NCCycle::CYCLE_DEEP_DRILLING || cycle == NCCycle::CYCLE_CHIP_BREAKING)
            && std::abs(definition.getValue(NCCycleDefinition::VALUE_PECK_CLEARANCE) - controlClearance) > 1e-9;
        expanding = holeStart = true;
        bool const sent = definition.expandHole(*this, top, bottom);
        expanding = false;
        return sent;
    }

    bool const expandHoles;
    bool inches = false;
    Matrix3x3 rotation;
    Vector3D translation;
    std::optional<Vector3D> position;
    double rpm = 0.0, lastFeed = 0.0;
    NCCycleDefinition definition;
    bool cycleGroup = false, cycleValues = false, expanding = false, ownPecks = false, holeStart = false;
    bool inGroup = false;
    int groups = 0;
    unsigned int count = 0;
};

// Sends every event to the writer and then, unless the writer refused it with an IOException, to
// the recorder; keeps the refusals as "<event>: <reason>".
class RefusalTee final : public NCStream {
public:
    RefusalTee(NCStream& writer, MoveRecorder& recorder) : writer(writer), recorder(recorder) { }

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
        return event(recorder);
    }

    NCStream& writer;
    MoveRecorder& recorder;
};

// A reader for each example the library can read, as GCodeOracleTest picks them.
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

// Why move a (the source's) is not move b (read back); empty when it is.
std::string difference(Move const& a, Move const& b)
{
    if (a.kind != b.kind)
        return std::string("a ") + kindName(a.kind) + " read back as a " + kindName(b.kind);
    if (a.inches != b.inches)
        return "read back in another unit";
    if (a.kind == Move::Dwell)
        return std::abs(a.time - b.time) <= Tolerance ? std::string() : "dwell read back as " + text(b.time) + " s";
    if (!near(a.end, b.end))
        return "end read back as " + text(b.end);
    if (a.kind != Move::Traverse && std::abs(a.feed - b.feed) > Tolerance)
        return "feed " + text(a.feed) + " read back as " + text(b.feed);
    if (a.kind != Move::Arc)
        return {};
    if (a.axis != b.axis)
        return "plane axis " + std::to_string(a.axis) + " read back as " + std::to_string(b.axis);
    if (a.rotation != b.rotation)
        return "rotation " + std::to_string(a.rotation) + " read back as " + std::to_string(b.rotation);
    for (int k = 0; k < 3; ++k)
        if (k != a.axis && std::abs(a.centre[k] - b.centre[k]) > CentreTolerance)
            return "centre read back as " + text(b.centre);
    return {};
}

// What a comparison found: the disagreements (empty when none), the arcs found as lines, and
// the holes left out because the control pecks them its own way.
struct Comparison {
    std::string disagreements;
    std::size_t linearisedArcs = 0;
    std::size_t skippedMoves = 0;
};

// Walks the source's moves and those read back together. Three differences of form are allowed:
// an arc the writer made lines of (feeds along it to its end), a traverse up to the clearance
// height that the writer adds before a canned cycle's first hole, and the holes of a pecking group
// the control pecks with its own clearance (the read-back group is left out with them).
Comparison compare(std::vector<Move> const& source, std::vector<Move> const& back)
{
    Comparison result;
    std::size_t j = 0;
    auto const report = [&](std::size_t i, std::string const& why) {
        result.disagreements += "move " + std::to_string(i + 1) + ", " + source[i].what + ": " + why
            + "\n  read back: " + (j < back.size() ? back[j].what : std::string("(nothing)")) + "\n";
    };
    for (std::size_t i = 0; i < source.size();) {
        Move const& a = source[i];
        if (a.ownPecks && j < back.size() && back[j].group >= 0) {
            int const group = a.group, backGroup = back[j].group;
            for (; i < source.size() && source[i].group == group; ++i)
                ++result.skippedMoves;
            while (j < back.size() && back[j].group == backGroup)
                ++j;
            continue;
        }
        if (j >= back.size()) {
            report(i, "not read back");
            return result;
        }
        std::string why = difference(a, back[j]);
        if (!why.empty() && a.holeStart && back[j].kind == Move::Traverse && j + 1 < back.size()
            && difference(a, back[j + 1]).empty()) {
            ++j;
            why.clear();
        }
        if (!why.empty() && a.kind == Move::Arc && back[j].kind == Move::Feed) {
            std::size_t k = j;
            while (k < back.size() && back[k].kind == Move::Feed && !near(back[k].end, a.end))
                ++k;
            if (k < back.size() && back[k].kind == Move::Feed) {
                ++result.linearisedArcs;
                j = k + 1;
                ++i;
                continue;
            }
        }
        if (!why.empty()) {
            report(i, why);
            return result;
        }
        ++i;
        ++j;
    }
    if (j < back.size())
        result.disagreements += std::to_string(back.size() - j)
            + " moves read back after the source's last, the first: " + back[j].what + "\n";
    return result;
}

// Every example the library reads, written by GCodeWriter with 4 decimals and read back by
// GCodeReader. What the writer refuses (feed moves without a feedrate, five-axis moves without
// machine-axis values: the refusals GCodeOracle.BundledExamples lists) is not written and not
// expected; the rest must come back. Five-axis moves come back as moves of X, Y, Z, which are
// compared (their rotary axes are GCodeOracle's to check).
TEST(GCodeRoundTrip, BundledExamplesReadBackAsTheyWereWritten)
{
    fs::path const examples = fs::path(QUARN_SOURCE_DIR) / "examples";
    std::vector<fs::path> paths;
    for (auto const& entry : fs::directory_iterator(examples))
        if (readerFor(entry.path()))
            paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    ASSERT_FALSE(paths.empty());
    for (fs::path const& path : paths) {
        std::string const name = path.filename().string();
        SCOPED_TRACE(name);
        MoveRecorder source(true);
        MemoryOutputStream out;
        GCodeWriter writer(&out);
        writer.setDecimals(Decimals);
        RefusalTee tee(writer, source);
        std::unique_ptr<NCReader> const reader = readerFor(path);
        reader->setNCStream(&tee);
        ASSERT_TRUE(reader->import(path.wstring()));

        MoveRecorder back(false);
        GCodeReader gcode;
        gcode.setNCStream(&back);
        MemoryInputStream in(out.getData());
        try {
            EXPECT_TRUE(gcode.import(&in));
        } catch (ParseException const& e) {
            ADD_FAILURE() << "the reader refuses the written G-code at line " << e.getLine().value_or(0) << ": "
                          << e.what() << "\n"
                          << out.getData();
            continue;
        }
        Comparison const comparison = compare(source.moves, back.moves);
        EXPECT_EQ(comparison.disagreements, "")
            << source.moves.size() << " moves written, " << back.moves.size() << " read back\n"
            << out.getData();
        EXPECT_EQ(comparison.linearisedArcs, writer.getLinearisedArcs());
        std::printf("%s: %zu moves compared, %zu refused by the writer, %zu left out in holes the control pecks "
                    "its own way\n",
            name.c_str(), source.moves.size() - comparison.skippedMoves, tee.refusals.size(), comparison.skippedMoves);
    }
}

} // namespace
