// GCodeWriter: the golden program of every event kind, modal words, numbers, planes and senses of
// arcs, helices and turns, linearised arcs, line numbers, comments, canned cycles and their moves,
// five-axis moves, dwells, what it leaves out, and refusals and output failures.
#include "nc/nc/io/GCodeWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/WriterOutput.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/EventSamples.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/TaggedFrame.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <numbers>
#include <sstream>
#include <vector>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using Send = std::function<void(GCodeWriter&)>;
using Configure = std::function<void(GCodeWriter&)>;

constexpr unsigned int CUT = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
constexpr unsigned int ABSOLUTE = NCStream::FLAG_ABSOLUTE_DIRECTION;
constexpr double Pi = std::numbers::pi;
Vector3D const X(1, 0, 0), Y(0, 1, 0), Z(0, 0, 1);

std::string const Start = "%\nG21 G90 G17 G94 G40 G49 G80 G91.1\nG54\n";
std::string const End = "M30\n%\n";

std::string written(Send const& send, Configure const& configure = {})
{
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    if (configure)
        configure(writer);
    writer.onOpen();
    send(writer);
    writer.onClose();
    return out.getData();
}

// What a program writes between the safe start of a default context and the program end.
std::string body(Send const& send, Configure const& configure = {})
{
    std::string const text = written(
        [&](GCodeWriter& w) {
            w.onContext(NCContext());
            send(w);
        },
        configure);
    EXPECT_EQ(text.substr(0, Start.size()), Start);
    EXPECT_EQ(text.substr(text.size() - End.size()), End);
    return text.substr(Start.size(), text.size() - Start.size() - End.size());
}

std::string golden(char const* name)
{
    std::ifstream in(std::filesystem::path(QUARN_SOURCE_DIR) / "tests/nc/golden" / name, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

NCCycleDefinition holes(NCCycle::Cycle cycle)
{
    NCCycleDefinition d(cycle);
    d.setValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, 20);
    d.setValue(NCCycleDefinition::VALUE_REFERENCE_HEIGHT, 2);
    d.setValue(NCCycleDefinition::VALUE_DEPTH, 10);
    d.setValue(NCCycleDefinition::VALUE_FEEDRATE, 150);
    return d;
}

// A group of the cycle with its values and a rapid to each top, as the NCI reader sends it.
void sendHoles(NCStream& s, NCCycleDefinition const& d, std::vector<Vector3D> const& tops)
{
    s.onGroup(NCCycleDefinition::getUri(d.getCycle()).c_str());
    d.sendParameters(s);
    for (Vector3D const& top : tops)
        s.onRapid(top, 0);
    s.onGroupEnd();
}

// A milling program with one event of every kind and arcs whose geometry agrees.
void sendMillingProgram(GCodeWriter& w)
{
    NCContext context;
    context.setWorkOffset(2);
    NCTool tool;
    tool.setNumber(5);
    tool.setLengthOffset(15);
    tool.setSpindleRPM(8000);
    tool.setCoolant(NCTool::COOLANT_FLOOD);
    double const tilt = std::sqrt(0.5);
    AxisOrdering const ordering {AxisInfo("table", "A"), AxisInfo("head", "X"), AxisInfo("table", "C")};
    NCCycleDefinition drilling = holes(NCCycle::CYCLE_DRILLING);
    Vector3D const points[] = {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}};
    double const knots[] = {0, 0, 0, 1, 1, 1};

    w.onOpen();
    w.onComment("Pocket (roughing)");
    w.onContext(context);
    w.onTool(tool);
    w.onSection();
    w.onStock({-50, -50, -20}, {50, 50, 0});
    w.onParameter("operation", "pocket");
    w.onRapid({0, 0, 50}, 0);
    w.onRapid({10, 0, 5}, 0);
    w.onLinear({10, 0, -2}, 300, CUT | NCStream::FLAG_START_CUTTING);
    w.onCCWArc({0, 0, -2}, {0, 10, -2}, Z, 600, CUT);
    w.onCCWArc({0, 0, -2}, {10, 0, -2}, -Z, 600, CUT);
    w.onCCWCircle({0, 0, -2}, {10, 0, -2}, Z, 600, CUT);
    w.onCircular({0, 0, -2}, {10, 0, -5}, Z, -4 * Pi, 600, CUT);
    w.onLinear({10, 0, 5}, 2000, CUT);
    w.onCCWArc({10, 0, 0}, {15, 0, 0}, Y, 600, CUT);
    w.onCWArc({15, 0, -5}, {15, 5, -5}, X, 600, CUT);
    w.onCCWArc({10, 5, -5}, {10, 5 + 5 * tilt, -5 - 5 * tilt}, {0, tilt, tilt}, 600, CUT);
    w.onLinearExtrude({20, 0, 0}, 600, 0.5);
    w.onSpline({20, 1, 0}, {20, 2, 0}, {20, 3, 0}, 600, CUT);
    w.onBezier({20, 1, 0}, {20, 2, 0}, {20, 3, 0}, 600, CUT);
    w.onNURBS(points, 3, knots, 6, 600, CUT);
    w.onDwell(0.5, 0);
    w.onDwell(4, NCStream::FLAG_DWELL_REVOLUTIONS);
    w.onSpindleSpeed(6000);
    w.onCommand(NCStream::COMMAND_COOLANT_OFF);
    w.onCoolant(NCTool::COOLANT_MIST, NCStream::COOLANT_LEVEL_HIGH);
    w.onCommand(NCStream::COMMAND_OPEN_DOOR);
    w.onRapid({20, 0, 20}, 0);
    sendHoles(w, drilling, {{30, 10, 0}, {40, 10, 0}});
    w.onGroup(NCCycleDefinition::getExpandedUri(NCCycle::CYCLE_DRILLING).c_str());
    drilling.sendParameters(w);
    drilling.expandHole(w, {50, 10, 0}, {50, 10, -10});
    w.onGroupEnd();
    w.onGroup("roughing");
    w.onGroupEnd();
    w.onMachineAxisOrdering(ordering);
    w.onMachineAxisValues(AxisValues {AxisValue(-45.0), AxisValue(0.0), AxisValue(90.0)});
    w.onLinear5D({60, 0, 10}, {0, tilt, tilt}, 500, ABSOLUTE);
    w.onLinear5D({60, 5, 10}, {0, tilt, tilt}, 500, ABSOLUTE);
    w.onRapid5D({60, 5, 30}, {0, 0, 10}, 0);
    w.onToolChange();
    w.onTurnGroup("turn");
    w.onTurnGroupEnd();
    w.onSkip();
    w.onLineNumber(12);
    w.onFrame(TaggedFrame("fixture", "world", Frame({1, 2, 3}, {0, 1, 0}, {0, 0, 1})));
    w.onMachineCommand(7);
    w.onRadiusCompensationMode(true);
    w.onToolpathEntityIndex({1, 2});
    w.passThrough("G64 P0.01");
    w.onCommand(NCStream::COMMAND_STOP_SPINDLE);
    w.onSectionEnd();
    w.onClose();
}

// The numbers of a word line's letters, for checking written points.
std::vector<Vector3D> writtenPoints(std::string const& text)
{
    std::vector<Vector3D> points;
    Vector3D current;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        bool moved = false;
        for (std::size_t i = 0; i < line.size(); ++i) {
            int const axis = line[i] == 'X' ? 0 : line[i] == 'Y' ? 1 : line[i] == 'Z' ? 2 : -1;
            if (axis < 0 || (i > 0 && line[i - 1] != ' '))
                continue;
            double value = 0;
            std::from_chars(line.data() + i + 1, line.data() + line.size(), value);
            current[axis] = value;
            moved = true;
        }
        if (moved)
            points.push_back(current);
    }
    return points;
}

} // namespace

TEST(GCodeWriter, MillingProgramMatchesTheGoldenProgram)
{
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    writer.setArcTolerance(0.05);
    sendMillingProgram(writer);
    EXPECT_EQ(out.getData(), golden("GCodeWriter.ngc"));
    EXPECT_EQ(writer.getLinearisedArcs(), 1u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Extrusion), 1u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Flags), 1u);
    EXPECT_EQ(writer.getLeftOut(NCEvent::onCommand), 1u);
    // The expanded group and the plain one, each with its end.
    EXPECT_EQ(writer.getLeftOut(NCEvent::onGroup), 2u);
    EXPECT_EQ(writer.getLeftOut(NCEvent::onGroupEnd), 2u);
    // The text parameter; the cycle values inside both cycle groups are the cycles'.
    EXPECT_EQ(writer.getLeftOut(NCEvent::onParameter), 1u);
}

TEST(GCodeWriter, CountsWhatItLeavesOut)
{
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    callEveryOperation(writer, [](NCEvent, bool) { });
    // Sample arguments: coolant 3 (through the tool) has no word; the kinded parameter arrives as
    // two parameters.
    std::vector<std::pair<std::string_view, std::uint64_t>> const counted {{"onToolpathEntityIndex", 1},
        {"onMachineCommand", 1}, {"onCoolant", 1}, {"onRadiusCompensationMode", 1}, {"onParameter", 7},
        {"onStock", 1}, {"onToolChange", 1}, {"onGroup", 1}, {"onTurnGroup", 1}, {"onGroupEnd", 1},
        {"onTurnGroupEnd", 1}, {"onSpline", 1}, {"onBezier", 1}, {"onNURBS", 1}, {"onSkip", 1},
        {"onLineNumber", 1}, {"onMachineAxisValues", 1}, {"onFrame", 1}};
    for (std::size_t i = 0; i < NCEventCount; ++i) {
        NCEvent const kind = static_cast<NCEvent>(i);
        auto const entry = std::find_if(
            counted.begin(), counted.end(), [&](auto const& c) { return c.first == getEventName(kind); });
        EXPECT_EQ(writer.getLeftOut(kind), entry != counted.end() ? entry->second : 0u) << getEventName(kind);
    }
    // Flags 3 (cutting start and end) on the dwell, the three rapids, the three lines and the eight
    // arcs (the four-vector forms through their two-vector forms); those forms lose x and n,
    // extrusions theirs.
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Flags), 15u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::FiveAxisFrame), 2u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Extrusion), 4u);
}

TEST(GCodeWriter, WritesModalWordsAndAxesOnlyWhenTheirTextChanges)
{
    EXPECT_EQ(body([](GCodeWriter& w) {
        w.onRapid({1, 2, 3}, 0);
        w.onRapid({1, 2, 3}, 0); // nothing changes: no line
        w.onRapid({1.0001, 2, 4}, 0); // X rounds to the same text
        w.onLinear({1, 5, 4}, 100, CUT);
        w.onLinear({2, 5, 4}, 100, CUT);
        w.onLinear({2, 5, 4}, 200, CUT); // a new feed alone moves nothing
        w.onLinear({3, 5, 4}, 0, CUT); // no feed: the one before stays
        w.onRapid({3, 5, 9}, 0);
        w.onLinear({3, 6, 9}, 200, CUT);
        w.onCCWArc({3, 5, 9}, {3, 4, 9}, Z, 200, CUT);
        w.onCCWArc({3, 5, 9}, {3, 6, 9}, Z, 200, CUT);
        w.onLinear({3, 6, 8}, 200, CUT);
    }),
        "G0 X1 Y2 Z3\n"
        "Z4\n"
        "G1 Y5 F100\n"
        "X2\n"
        "X3\n"
        "G0 Z9\n"
        "G1 Y6 F200\n"
        "G3 Y4 I0 J-1\n"
        "Y6 I0 J1\n"
        "G1 Z8\n");

    // A later context forgets the written axes and feed (not the plane or motion); only what
    // changed of unit, feed mode and work offset is written.
    EXPECT_EQ(body([](GCodeWriter& w) {
        w.onLinear({1, 2, 3}, 100, CUT);
        NCContext inches;
        inches.setUnit(NCUnit::INCHES);
        inches.setWorkOffset(3);
        w.onContext(inches);
        w.onLinear({1, 2, 3}, 100, CUT);
        w.onContext(inches);
        w.onLinear({1, 2, 3}, 100, CUT);
        NCContext inverse(inches);
        inverse.setFeedMode(NCContext::FEED_INVERSE_TIME);
        w.onContext(inverse);
        w.onLinear({1, 2, 4}, 10, CUT);
        w.onLinear({1, 2, 5}, 10, CUT);
    }),
        "G1 X1 Y2 Z3 F100\n"
        "G20 G56\n"
        "X1 Y2 Z3 F100\n"
        "X1 Y2 Z3 F100\n"
        "G93\n"
        "X1 Y2 Z4 F10\n"
        "Z5 F10\n");
}

TEST(GCodeWriter, FormatsNumbersInFixedNotation)
{
    struct Case {
        double value;
        unsigned int decimals; // 0: the unit's default
        NCUnit::Unit unit;
        char const* text;
    } const cases[] = {
        {10, 0, NCUnit::MILLIMETERS, "X10"},
        {10.5, 0, NCUnit::MILLIMETERS, "X10.5"},
        {-0.125, 0, NCUnit::MILLIMETERS, "X-0.125"},
        {0.1 + 0.2, 0, NCUnit::MILLIMETERS, "X0.3"},
        {123456.78949, 0, NCUnit::MILLIMETERS, "X123456.789"},
        {1e-7, 0, NCUnit::MILLIMETERS, "X0"},
        {-0.0004, 0, NCUnit::MILLIMETERS, "X0"}, // never -0
        {-0.0, 0, NCUnit::MILLIMETERS, "X0"},
        {-0.0005, 0, NCUnit::MILLIMETERS, "X-0.001"}, // the double is just below -0.0005
        {1.0005, 0, NCUnit::MILLIMETERS, "X1"}, // just below 1.0005
        {2.0005, 0, NCUnit::MILLIMETERS, "X2.001"}, // just above 2.0005
        {1.23456, 0, NCUnit::INCHES, "X1.2346"},
        {1.23456, 2, NCUnit::INCHES, "X1.23"},
        {2.5, 1, NCUnit::MILLIMETERS, "X2.5"},
        {1.123456789, 9, NCUnit::MILLIMETERS, "X1.123456789"},
        {123456789.123456789, 9, NCUnit::MILLIMETERS, "X123456789.123456791"}, // the double's digits
        {0.5, 12, NCUnit::MILLIMETERS, "X0.5"}, // more than 9 decimals is 9
        {999999999.4, 0, NCUnit::INCHES, "X999999999.4"},
        {1e20, 0, NCUnit::MILLIMETERS, nullptr},
        {-1e9, 0, NCUnit::MILLIMETERS, nullptr},
    };
    for (Case const& c : cases) {
        MemoryOutputStream out;
        GCodeWriter writer(&out);
        writer.setDecimals(c.decimals);
        writer.onOpen();
        NCContext context;
        context.setUnit(c.unit);
        writer.onContext(context);
        if (c.text == nullptr) {
            EXPECT_EQ(ioError([&] { writer.onRapid({c.value, 0, 0}, 0); }).message,
                L"Cannot write line 4: Number out of range.")
                << c.value;
            continue;
        }
        writer.onRapid({c.value, 0, 0}, 0);
        writer.onClose();
        std::string const& text = out.getData();
        std::string const line = text.substr(text.find("\nG0 ") + 4);
        EXPECT_EQ(line.substr(0, line.find(' ')), c.text) << c.value;
    }
    // Exact ties round to even, as std::to_chars does.
    EXPECT_EQ(body([](GCodeWriter& w) { w.onRapid({0.25, 0.75, -0.25}, 0); }, [](GCodeWriter& w) { w.setDecimals(1); }),
        "G0 X0.2 Y0.8 Z-0.2\n");
}

TEST(GCodeWriter, ChoosesThePlaneAndTheSenseOfArcsByTheirNormal)
{
    // A quarter from 10 along the plane's first axis to 10 along its second, about +axis
    // counter-clockwise; about -axis the same turn is clockwise (three quarters).
    struct Case {
        Vector3D normal;
        bool counterClockwise;
        char const* arc;
    } const cases[] = {
        {Z, true, "G3 X0 Y10 I-10 J0"},
        {-Z, true, "G2 X0 Y10 I-10 J0"},
        {Z, false, "G2 X0 Y10 I-10 J0"},
        {-Z, false, "G3 X0 Y10 I-10 J0"},
        {Y, true, "G18 G3 X10 Z0 I0 K-10"},
        {-Y, true, "G18 G2 X10 Z0 I0 K-10"},
        {Y, false, "G18 G2 X10 Z0 I0 K-10"},
        {X, true, "G19 G3 Y0 Z10 J-10 K0"},
        {-X, true, "G19 G2 Y0 Z10 J-10 K0"},
        {-X, false, "G19 G3 Y0 Z10 J-10 K0"},
    };
    for (Case const& c : cases) {
        int const k = c.normal.x != 0 ? 0 : c.normal.y != 0 ? 1 : 2;
        Vector3D start, end;
        start[(k + 1) % 3] = 10;
        end[(k + 2) % 3] = 10;
        std::string const text = body([&](GCodeWriter& w) {
            w.onRapid(start, 0);
            w.onLinear(start, 100, CUT);
            if (c.counterClockwise)
                w.onCCWArc({}, end, c.normal, 100, CUT);
            else
                w.onCWArc({}, end, c.normal, 100, CUT);
        });
        std::string const lastLine = text.substr(text.rfind('\n', text.size() - 2) + 1);
        EXPECT_EQ(lastLine, std::string(c.arc) + " F100\n") << c.arc;
    }
}

TEST(GCodeWriter, WritesHelicesFullCirclesAndTurns)
{
    struct Case {
        char const* what;
        Send arc;
        char const* line;
    } const cases[] = {
        {"helix", [](GCodeWriter& w) { w.onCCWArc({0, 0, 5}, {0, 10, -3}, Z, 100, CUT); }, "G3 X0 Y10 Z-3 I-10 J0"},
        {"circle", [](GCodeWriter& w) { w.onCWCircle({0, 0, 0}, {10, 0, 0}, Z, 100, CUT); }, "G2 I-10 J0"},
        {"circle as an arc back to its start",
            [](GCodeWriter& w) { w.onCCWArc({5, 0, 0}, {10, 0, 0}, Z, 100, CUT); }, "G3 I-5 J0"},
        {"circle about -Z", [](GCodeWriter& w) { w.onCCWCircle({0, 0, 0}, {10, 0, 0}, -Z, 100, CUT); },
            "G2 I-10 J0"},
        {"helical circle", [](GCodeWriter& w) { w.onCCWCircle({0, 0, 0}, {10, 0, -1}, Z, 100, CUT); },
            "G3 Z-1 I-10 J0"},
        {"one turn and a quarter",
            [](GCodeWriter& w) { w.onCircular({0, 0, 0}, {0, 10, -2}, Z, 2.5 * Pi, 100, CUT); },
            "G3 X0 Y10 Z-2 I-10 J0 P2"},
        {"three full turns", [](GCodeWriter& w) { w.onCircular({0, 0, 0}, {10, 0, -6}, Z, -6 * Pi, 100, CUT); },
            "G2 Z-6 I-10 J0 P3"},
        {"three full turns about -Z",
            [](GCodeWriter& w) { w.onCircular({0, 0, 0}, {10, 0, -6}, -Z, -6 * Pi, 100, CUT); },
            "G3 Z-6 I-10 J0 P3"},
        {"less than a turn", [](GCodeWriter& w) { w.onCircular({0, 0, 0}, {-10, 0, 0}, Z, -Pi, 100, CUT); },
            "G2 X-10 I-10 J0"},
        // The end rounds to the start but the arc turns by a hair: a line, not a circle.
        {"tiny arc", [](GCodeWriter& w) { w.onCCWArc({0, 0, 0}, {10, 1e-5, -1}, Z, 100, CUT); }, "Z-1"},
        // The centre is moved onto the bisector of the written start and end.
        {"centre off the bisector", [](GCodeWriter& w) { w.onCCWArc({0, 0.0004, 0}, {0, 10, 0}, Z, 100, CUT); },
            "G3 X0 Y10 I-10 J0"},
    };
    for (Case const& c : cases) {
        std::string const text = body([&](GCodeWriter& w) {
            w.onLinear({10, 0, 0}, 100, CUT);
            c.arc(w);
        });
        EXPECT_EQ(text, std::string("G1 X10 Y0 Z0 F100\n") + c.line + "\n") << c.what;
    }
    // A plane turned about X turns arcs about Z into arcs about -Y, written with XZ coordinates.
    NCContext turned;
    turned.setPlane(Matrix3x3(X, Z, -Y));
    turned.setOrigin({100, 0, 0});
    std::string const text = written([&](GCodeWriter& w) {
        w.onContext(turned);
        w.onLinear({10, 0, 0}, 100, CUT);
        w.onCCWArc({0, 0, 0}, {0, 10, 0}, Z, 100, CUT);
    });
    EXPECT_EQ(text.substr(Start.size()), "G1 X110 Y0 Z0 F100\nG18 G2 X100 Z10 I-10 K0\n" + End);
}

TEST(GCodeWriter, WritesArcsOfOtherNormalsAsLinesWithinTheTolerance)
{
    double const tilt = 0.3;
    Vector3D const normal(0, -std::sin(tilt), std::cos(tilt));
    Vector3D const u(1, 0, 0), v = normal.cross(u);
    Vector3D const center(5, 5, 5);
    double const radius = 20;
    for (double tolerance : {0.001, 0.01, 0.5}) {
        for (double sweep : {0.3, -2.0, 2 * Pi, 5.0}) {
            Vector3D const start = center + u * radius;
            Vector3D const end = center + (u * std::cos(sweep) + v * std::sin(sweep)) * radius;
            MemoryOutputStream out;
            GCodeWriter writer(&out);
            writer.setDecimals(6);
            writer.setArcTolerance(tolerance);
            writer.onOpen();
            writer.onRapid(start, 0);
            writer.onCircular(center, end, normal, sweep, 100, CUT);
            writer.onClose();
            std::vector<Vector3D> const points = writtenPoints(out.getData());
            EXPECT_EQ(writer.getLinearisedArcs(), 1u);
            ASSERT_GE(points.size(), 2u);
            EXPECT_LT((points.back() - end).getModulus(), 1e-6);
            double previous = 0;
            for (std::size_t i = 1; i < points.size(); ++i) {
                Vector3D const p = points[i] - center;
                // On the circle: in its plane at its radius, within the rounding.
                EXPECT_NEAR(p.dot(normal), 0, 2e-6);
                EXPECT_NEAR(p.getModulus(), radius, 2e-6);
                // Turning monotonically, each chord within the tolerance of the arc.
                double const angle = std::atan2(p.dot(v), p.dot(u));
                double step = angle - previous;
                step -= 2 * Pi * std::round(step / (2 * Pi));
                EXPECT_GT(step * sweep, 0);
                EXPECT_LE(radius * (1 - std::cos(step / 2)), tolerance * 1.001);
                previous = angle;
            }
            // Not more lines than the tolerance asks for (one more for rounding up).
            double const most = std::fabs(sweep) / (2 * std::acos(1 - tolerance / radius)) + 1;
            EXPECT_LE(static_cast<double>(points.size() - 1), most);
        }
    }
}

TEST(GCodeWriter, NumbersLines)
{
    std::string const text = written(
        [](GCodeWriter& w) {
            w.onComment("first");
            w.onContext(NCContext());
            w.passThrough("G64");
            w.onRapid({1, 0, 0}, 0);
            sendHoles(w, holes(NCCycle::CYCLE_DRILLING), {{5, 5, 0}});
        },
        [](GCodeWriter& w) { w.setLineNumbers(100, 5); });
    EXPECT_EQ(text,
        "%\n"
        "N100 (first)\n"
        "N105 G21 G90 G17 G94 G40 G49 G80 G91.1\n"
        "N110 G54\n"
        "G64\n"
        "N115 G0 X1 Y0 Z0\n"
        "N120 Z20\n"
        "N125 G98 G81 X5 Y5 Z-10 R2 F150\n"
        "N130 G80\n"
        "N135 M30\n"
        "%\n");
}

TEST(GCodeWriter, NeutralisesCommentsTheControlWouldRun)
{
    struct Case {
        char const* text;
        char const* line;
    } const cases[] = {
        {"Roughing", "(Roughing)"},
        {"tool (6 mm)", "(tool [6 mm])"},
        {"two\nlines\r\tand\x01", "(two lines  and )"},
        {"MSG, hello", "(_MSG, hello)"},
        {"  msg,hello", "(_  msg,hello)"},
        {"\tDebug, #1", "(_ Debug, #1)"},
        {"PRINT,x", "(_PRINT,x)"},
        {"LOGOPEN,/tmp/log", "(_LOGOPEN,/tmp/log)"},
        {"logclose", "(_logclose)"},
        {"PROBEOPEN probe.txt", "(_PROBEOPEN probe.txt)"},
        {"abort, stop", "(_abort, stop)"},
        {"py,import os", "(_py,import os)"},
        {"AXIS,stop", "(_AXIS,stop)"},
        {"o=0,ph=1", "(_o=0,ph=1)"},
        {"MSG without comma", "(MSG without comma)"},
        {"Logo engraving", "(Logo engraving)"},
        {"", "()"},
        {"Grüße", "(Grüße)"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(body([&](GCodeWriter& w) { w.onComment(c.text); }), std::string(c.line) + "\n") << c.text;
    EXPECT_EQ(body([](GCodeWriter& w) { w.onComment(L"Grüße (ä)"); }), "(Grüße [ä])\n");
    EXPECT_EQ(body([](GCodeWriter& w) { w.onComment(static_cast<char const*>(nullptr)); }), "()\n");
}

TEST(GCodeWriter, WritesHoleCyclesAsCannedCycles)
{
    auto with = [](NCCycle::Cycle cycle, std::initializer_list<std::pair<NCCycleDefinition::Value, double>> values) {
        NCCycleDefinition d = holes(cycle);
        for (auto const& [value, number] : values)
            d.setValue(value, number);
        return d;
    };
    using V = NCCycleDefinition;
    struct Case {
        char const* what;
        NCCycleDefinition cycle;
        char const* first;
    } const cases[] = {
        {"drilling", holes(NCCycle::CYCLE_DRILLING), "G98 G81 X1 Y2 Z-10 R2 F150"},
        {"drilling ignores the dwell", with(NCCycle::CYCLE_DRILLING, {{V::VALUE_DWELL, 1}}),
            "G98 G81 X1 Y2 Z-10 R2 F150"},
        {"counter-boring", with(NCCycle::CYCLE_COUNTER_BORING, {{V::VALUE_DWELL, 0.5}}),
            "G98 G82 X1 Y2 Z-10 R2 P0.5 F150"},
        {"counter-boring without a dwell", holes(NCCycle::CYCLE_COUNTER_BORING), "G98 G82 X1 Y2 Z-10 R2 P0 F150"},
        {"deep-drilling", with(NCCycle::CYCLE_DEEP_DRILLING, {{V::VALUE_FIRST_PECK, 2.5}}),
            "G98 G83 X1 Y2 Z-10 R2 Q2.5 F150"},
        {"deep-drilling with equal pecks",
            with(NCCycle::CYCLE_DEEP_DRILLING, {{V::VALUE_FIRST_PECK, 2}, {V::VALUE_SUBSEQUENT_PECK, 2}}),
            "G98 G83 X1 Y2 Z-10 R2 Q2 F150"},
        {"chip-breaking", with(NCCycle::CYCLE_CHIP_BREAKING, {{V::VALUE_FIRST_PECK, 1}}),
            "G98 G73 X1 Y2 Z-10 R2 Q1 F150"},
        {"right-tapping", holes(NCCycle::CYCLE_RIGHT_TAPPING), "G98 G84 X1 Y2 Z-10 R2 F150"},
        {"right-tapping with a dwell", with(NCCycle::CYCLE_RIGHT_TAPPING, {{V::VALUE_DWELL, 0.2}}),
            "G98 G84 X1 Y2 Z-10 R2 P0.2 F150"},
        {"boring", holes(NCCycle::CYCLE_BORING), "G98 G85 X1 Y2 Z-10 R2 F150"},
        {"boring with a dwell", with(NCCycle::CYCLE_BORING, {{V::VALUE_DWELL, 1}}), "G98 G89 X1 Y2 Z-10 R2 P1 F150"},
        {"stop-boring", holes(NCCycle::CYCLE_STOP_BORING), "G98 G86 X1 Y2 Z-10 R2 P0 F150"},
    };
    for (Case const& c : cases) {
        // Two holes, the depth changed before the second, and the same hole again.
        std::string const text = body([&](GCodeWriter& w) {
            w.onRapid({0, 0, 50}, 0);
            w.onGroup(NCCycleDefinition::getUri(c.cycle.getCycle()).c_str());
            c.cycle.sendParameters(w);
            w.onRapid({1, 2, 0}, 0);
            w.onParameter(NCCycleDefinition::getParameterName(V::VALUE_DEPTH).c_str(), 12.0);
            w.onRapid({4, 2, 0}, 0);
            w.onRapid({4, 2, 0}, 0);
            w.onGroupEnd();
            w.onRapid({0, 0, 50}, 0);
        });
        EXPECT_EQ(text,
            std::string("G0 X0 Y0 Z50\nZ20\n") + c.first + "\nX4 Z-12\nX4\nG80\nG0 X0 Y0 Z50\n")
            << c.what;
    }

    // Already at the clearance height: no move there. Moves inside the group end the cycle first;
    // the next hole starts it again.
    EXPECT_EQ(body([](GCodeWriter& w) {
        w.onRapid({0, 0, 20}, 0);
        NCCycleDefinition d = holes(NCCycle::CYCLE_DRILLING);
        d.setValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, 20);
        w.onGroup(NCCycleDefinition::getUri(NCCycle::CYCLE_DRILLING).c_str());
        d.sendParameters(w);
        w.onParameter("drill-cycle", "81 1 2");
        w.onRapid({1, 2, -5}, 0);
        w.onLinear({1, 2, 30}, 100, CUT);
        w.onRapid({3, 2, 0}, 0);
        w.onGroupEnd();
    }),
        "G0 X0 Y0 Z20\n"
        "G98 G81 X1 Y2 Z-15 R2 F150\n"
        "G80\n"
        "G1 Z30 F100\n"
        "G0 Z20\n"
        "G98 G81 X3 Y2 Z-10 R2 F150\n"
        "G80\n");
}

TEST(GCodeWriter, WritesHolesTheDialectCannotCanAsTheirMoves)
{
    using V = NCCycleDefinition;
    auto expanded = [](NCCycleDefinition const& d, Vector3D const& top) {
        // The moves written as moves, after the same rapid to the start.
        return body([&](GCodeWriter& w) {
            w.onRapid({0, 0, 50}, 0);
            d.expandHole(w, top, top - Z * d.getValue(V::VALUE_DEPTH));
        });
    };
    NCCycleDefinition deep = holes(NCCycle::CYCLE_DEEP_DRILLING);
    deep.setValue(V::VALUE_FIRST_PECK, 3);
    NCCycleDefinition unequalPecks = deep;
    unequalPecks.setValue(V::VALUE_SUBSEQUENT_PECK, 2);
    NCCycleDefinition dwellingPecks = deep;
    dwellingPecks.setValue(V::VALUE_DWELL, 1);
    NCCycleDefinition noPeck = holes(NCCycle::CYCLE_CHIP_BREAKING);
    NCCycleDefinition fine = holes(NCCycle::CYCLE_FINE_BORING);
    fine.setValue(V::VALUE_SHIFT, 0.5);
    struct Case {
        char const* what;
        NCCycleDefinition cycle;
    } const cases[] = {
        {"left-tapping", holes(NCCycle::CYCLE_LEFT_TAPPING)},
        {"fine-boring", fine},
        {"subsequent pecks of another depth", unequalPecks},
        {"a dwell after pecks", dwellingPecks},
        {"no peck", noPeck},
    };
    for (Case const& c : cases) {
        std::string const text = body([&](GCodeWriter& w) {
            w.onRapid({0, 0, 50}, 0);
            sendHoles(w, c.cycle, {{1, 2, 0}});
        });
        std::string const moves = expanded(c.cycle, {1, 2, 0});
        EXPECT_EQ(text, moves) << c.what;
        EXPECT_NE(moves.find("G1 Z-10"), std::string::npos) << c.what;
    }

    // After a canned hole, the moves of a hole that cannot be canned end the cycle first.
    NCCycleDefinition const drilling = holes(NCCycle::CYCLE_DRILLING);
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    writer.onOpen();
    writer.onContext(NCContext());
    writer.onGroup(NCCycleDefinition::getUri(NCCycle::CYCLE_DRILLING).c_str());
    drilling.sendParameters(writer);
    writer.onRapid({1, 2, 0}, 0);
    // A tilted hole needs its rotary axes: from values sent with its rapid, then kept for its moves.
    Vector3D const tilted = Vector3D(0, 1, 1).getNormalized();
    EXPECT_EQ(ioError([&] { writer.onRapid5D({5, 5, 0}, tilted, ABSOLUTE); }).message,
        L"Cannot write line 6: onRapid5D has a tool axis but no machine axis values.");
    writer.onMachineAxisOrdering(AxisOrdering {AxisInfo("table", "A")});
    writer.onMachineAxisValues(AxisValues {AxisValue(-45.0)});
    writer.onRapid5D({5, 5, 0}, tilted, ABSOLUTE);
    writer.onGroupEnd();
    writer.onClose();
    std::string const text = out.getData();
    EXPECT_EQ(text.substr(Start.size()),
        "G0 Z20\n"
        "G98 G81 X1 Y2 Z-10 R2 F150\n"
        "G80\n"
        "G0 X5 Y16.642 Z11.642 A-45\n"
        "Y3.914 Z-1.086\n"
        "G1 Y-2.071 Z-7.071\n"
        "G0 Y16.642 Z11.642\n"
            + End);
}

TEST(GCodeWriter, WritesFiveAxisMovesFromTheirAxisValues)
{
    double const h = std::sqrt(0.5);
    AxisOrdering const ordering {AxisInfo("head", "X"), AxisInfo("head", "Y"), AxisInfo("head", "Z"),
        AxisInfo("head", "B"), AxisInfo("table", "C"), AxisInfo("", "U"), AxisInfo("", "C2")};
    auto values = [](double x, double b, double c) { return AxisValues {x, 0.0, 50.0, b, c, 25.4, 7.0}; };
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    writer.onOpen();
    writer.onContext(NCContext());
    writer.onRapid({0, 0, 50}, 0);
    // A tool axis of +Z is that of a three-axis machine at the start.
    writer.onLinear5D({1, 0, 50}, Z, 100, ABSOLUTE);
    writer.onMachineAxisOrdering(ordering);
    // Values sent before a move.
    writer.onMachineAxisValues(values(2, 30, -90));
    writer.onLinear5D({2, 0, 50}, {h, 0, h}, 100, ABSOLUTE);
    // The same tool axis again: the rotary axes stay. The values that follow are another move's:
    // their X is not this move's end.
    writer.onLinear5D({3, 0, 50}, {h, 0, h}, 100, ABSOLUTE);
    writer.onMachineAxisValues(values(4, 30, -45));
    writer.onRapid5D({4, 0, 50}, {0, h, h}, ABSOLUTE);
    // Values sent after their move, as its end says.
    writer.onLinear5D({5, 0, 50}, {0, -h, h}, 100, ABSOLUTE);
    writer.onMachineAxisValues(values(5, 10, 0));
    // Without FLAG_ABSOLUTE_DIRECTION a direction that is not a unit vector holds A, B and C in
    // degrees; under a context whose directions are unchecked, any direction does.
    writer.onRapid5D({6, 0, 50}, {10, 20, -30}, 0);
    writer.onRapid({7, 0, 50}, 0);
    NCContext unchecked;
    unchecked.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED);
    writer.onContext(unchecked);
    writer.onRapid5D({8, 0, 50}, {1, 0, 0}, 0);
    writer.onClose();
    EXPECT_EQ(out.getData(),
        Start
            + "G0 X0 Y0 Z50\n"
              "G1 X1 F100\n"
              "X2 B30 C-90 U25.4\n"
              "X3\n"
              "G0 X4 C-45\n"
              "G1 X5 B10 C0\n"
              "G0 X6 A10 B20 C-30\n"
              "X7\n"
              "X8 Y0 Z50 A1 B0 C0\n"
            + End);
    // The C2 entry of each values event.
    EXPECT_EQ(writer.getLeftOut(NCEvent::onMachineAxisValues), 3u);

    // In inches the further linear axes are converted from millimetres.
    AxisOrdering const extra {AxisInfo("head", "B"), AxisInfo("table", "C"), AxisInfo("", "U"), AxisInfo("", "C2")};
    NCContext inches;
    inches.setUnit(NCUnit::INCHES);
    std::string const text = written([&](GCodeWriter& w) {
        w.onContext(inches);
        w.onMachineAxisOrdering(extra);
        w.onMachineAxisValues(AxisValues {0.0, 0.0, 25.4});
        w.onRapid({1, 0, 0}, 0);
    });
    EXPECT_NE(text.find("G0 X1 Y0 Z0 B0 C0 U1\n"), std::string::npos) << text;

    // A tool axis with neither values nor a known axis cannot be written: it needs the machine.
    MemoryOutputStream refusedOut;
    GCodeWriter refusing(&refusedOut);
    refusing.onOpen();
    refusing.onRapid({0, 0, 50}, 0);
    std::size_t const before = Start.size() + std::string("G0 X0 Y0 Z50\n").size();
    EXPECT_EQ(ioError([&] { refusing.onLinear5D({1, 0, 50}, {h, 0, h}, 100, ABSOLUTE); }),
        (IOError {L"Cannot write line 5: onLinear5D has a tool axis but no machine axis values.", before}));
    // Rotary values without a tool axis make the tool axis unknown, even +Z. Once the stream names
    // machine axes, a move waits for values that may follow it: without them it is refused once the
    // next event is written.
    refusing.onMachineAxisOrdering(AxisOrdering {AxisInfo("table", "A")});
    refusing.onMachineAxisValues(AxisValues {10.0});
    refusing.onRapid({2, 0, 50}, 0);
    refusing.onRapid5D({3, 0, 50}, Z, ABSOLUTE);
    EXPECT_EQ(ioError([&] { refusing.onComment("kept"); }).message,
        L"Cannot write line 6: onRapid5D has a tool axis but no machine axis values.");
    // Values that name axes the dialect lacks, or that no move takes, are left out.
    EXPECT_EQ(refusing.getLeftOut(NCEvent::onMachineAxisValues), 0u);
    refusing.onMachineAxisOrdering(extra);
    refusing.onMachineAxisValues(AxisValues {1.0, 2.0, 3.0, 4.0});
    EXPECT_EQ(refusing.getLeftOut(NCEvent::onMachineAxisValues), 1u);
    refusing.onClose();
    EXPECT_EQ(refusing.getLeftOut(NCEvent::onMachineAxisValues), 2u);
    EXPECT_EQ(refusedOut.getData().substr(before), "X2 A10\n(kept)\n" + End);
}

TEST(GCodeWriter, WritesToolsSpindleCoolantAndCommands)
{
    NCTool tool;
    tool.setNumber(12);
    tool.setSpindleRPM(1500.5);
    tool.setSpindleDirection(false);
    tool.setCoolant(NCTool::COOLANT_FLOOD_MIST);
    NCTool probe;
    probe.setNumber(3);
    probe.setLengthOffset(23);
    probe.setCoolant(NCTool::COOLANT_THROUGH_TOOL);
    NCTool unnumbered;
    EXPECT_EQ(body([&](GCodeWriter& w) {
        w.onTool(tool);
        // What already runs that way writes nothing: S, M4 and coolant are modal.
        w.onSpindleSpeed(1500.5);
        w.onCommand(NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE);
        w.onCommand(NCStream::COMMAND_START_SPINDLE);
        w.onCommand(NCStream::COMMAND_COOLANT_ON);
        w.onCommand(NCStream::COMMAND_STOP_SPINDLE);
        w.onCommand(NCStream::COMMAND_START_SPINDLE);
        w.onTool(probe);
        w.onTool(unnumbered);
        w.onCoolant(NCTool::COOLANT_NONE, NCStream::COOLANT_LEVEL_DEFAULT);
        w.onRadiusCompensation(NCStream::COMPENSATION_RIGHT);
        w.onRadiusCompensation(NCStream::COMPENSATION_OFF);
    }),
        "T12 M6\nG43 H12\nS1500.5 M4\nM7\nM8\n"
        "M5\nM4\n"
        "T3 M6\nG43 H23\nM5\n" // no word for coolant through the tool: flood and mist stay
        "M9\nM9\n"
        "G42\nG40\n");
}

TEST(GCodeWriter, DwellsInSecondsOrRevolutions)
{
    NCTool tool;
    tool.setNumber(1);
    tool.setSpindleRPM(600);
    EXPECT_EQ(body([&](GCodeWriter& w) {
        w.onDwell(2.25, 0);
        w.onTool(tool);
        w.onDwell(5, NCStream::FLAG_DWELL_REVOLUTIONS);
        w.onSpindleSpeed(3000);
        w.onDwell(5, NCStream::FLAG_DWELL_REVOLUTIONS);
    }),
        "G4 P2.25\nT1 M6\nG43 H1\nS600 M3\nG4 P0.5\nS3000\nG4 P0.1\n");

    MemoryOutputStream out;
    GCodeWriter writer(&out);
    writer.onOpen();
    writer.onContext(NCContext());
    EXPECT_EQ(ioError([&] { writer.onDwell(3, NCStream::FLAG_DWELL_REVOLUTIONS); }),
        (IOError {L"Cannot write line 4: A dwell in revolutions needs a spindle speed.", Start.size()}));
    EXPECT_EQ(ioError([&] { writer.onDwell(-1, 0); }).message, L"Cannot write line 4: Negative dwell.");
    writer.onClose();
    EXPECT_EQ(out.getData(), Start + End);
}

TEST(GCodeWriter, MapsWorkOffsetsToTheirWords)
{
    struct Case {
        unsigned int offset;
        char const* word;
    } const cases[] = {{0, "G54"}, {1, "G54"}, {6, "G59"}, {7, "G59.1"}, {9, "G59.3"}, {54, "G54"}, {59, "G59"}};
    for (Case const& c : cases) {
        NCContext context;
        context.setWorkOffset(c.offset);
        std::string const text = written([&](GCodeWriter& w) { w.onContext(context); });
        EXPECT_EQ(text, "%\nG21 G90 G17 G94 G40 G49 G80 G91.1\n" + std::string(c.word) + "\n" + End) << c.offset;
    }
    for (unsigned int offset : {10u, 53u, 60u, 4294967295u}) {
        MemoryOutputStream out;
        GCodeWriter writer(&out);
        writer.onOpen();
        NCContext context;
        context.setWorkOffset(offset);
        EXPECT_EQ(ioError([&] { writer.onContext(context); }),
            (IOError {L"Cannot write line 2: Work offset " + std::to_wstring(offset) + L" has no word in this dialect.",
                2u}));
    }
}

TEST(GCodeWriter, RefusesWhatItCannotWriteAndGoesOn)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    writer.onOpen();
    struct Refused {
        char const* what;
        Send send;
        wchar_t const* cause;
    } const refused[] = {
        {"an arc first", [](GCodeWriter& w) { w.onCWArc({0, 0, 0}, {1, 0, 0}, Z, 10, CUT); },
            L"An arc needs a start: no move before it."},
        {"a feed without one before", [](GCodeWriter& w) { w.onLinear({1, 0, 0}, 0, CUT); },
            L"A feed move needs a feedrate."},
        {"a coordinate", [&](GCodeWriter& w) { w.onRapid({nan, 0, 0}, 0); }, L"Not a finite number."},
        {"a large coordinate", [&](GCodeWriter& w) { w.onRapid({0, 2e9, 0}, 0); }, L"Number out of range."},
        {"a feed", [&](GCodeWriter& w) { w.onLinear({0, 0, 0}, inf, CUT); }, L"Not a finite number."},
        {"a spindle speed", [](GCodeWriter& w) { w.onSpindleSpeed(-5); }, L"Negative spindle speed."},
        {"a context", [&](GCodeWriter& w) {
             NCContext context;
             context.setOrigin({0, nan, 0});
             w.onContext(context);
         },
            L"Not a finite number."},
    };
    for (Refused const& r : refused)
        EXPECT_EQ(ioError([&] { r.send(writer); }), (IOError {std::wstring(L"Cannot write line 2: ") + r.cause, 2u}))
            << r.what;
    writer.onRapid({0, 0, 0}, 0);
    struct RefusedArc {
        char const* what;
        Send send;
        wchar_t const* cause;
    } const arcs[] = {
        {"a zero normal", [](GCodeWriter& w) { w.onCWArc({1, 0, 0}, {2, 0, 0}, {}, 10, CUT); },
            L"Arc normal of zero length."},
        {"an infinite centre", [&](GCodeWriter& w) { w.onCWArc({inf, 0, 0}, {2, 0, 0}, Z, 10, CUT); },
            L"Not a finite number."},
        {"too many lines",
            [](GCodeWriter& w) { w.onCCWCircle({0, 4e8, 0}, {0, 0, 0}, Vector3D(1, 0, 1).getNormalized(), 10, CUT); },
            L"The arc needs more than 1000000 lines within the tolerance."},
    };
    for (RefusedArc const& r : arcs)
        EXPECT_EQ(ioError([&] { r.send(writer); }).message, std::wstring(L"Cannot write line 5: ") + r.cause)
            << r.what;
    // A hole the cycle cannot make.
    NCCycleDefinition d = holes(NCCycle::CYCLE_DRILLING);
    d.setValue(NCCycleDefinition::VALUE_DEPTH, nan);
    writer.onGroup(NCCycleDefinition::getUri(NCCycle::CYCLE_DRILLING).c_str());
    d.sendParameters(writer);
    EXPECT_EQ(ioError([&] { writer.onRapid({1, 2, 0}, 0); }).message,
        L"Cannot write line 5: Cycle value 'depth' is not a number.");
    writer.onGroupEnd();
    writer.onClose();
    EXPECT_EQ(out.getData(), Start + "G0 X0 Y0 Z0\n" + End);
}

TEST(GCodeWriter, FailuresOfTheOutputNameTheLine)
{
    // The buffer takes 1 MiB: the line that does not fit meets the full device, at its offset.
    // The same program in memory tells which line that is.
    auto send = [](GCodeWriter& w, int i) { w.onRapid(Vector3D(i, 0, 0), 0); };
    std::string const program = written([&](GCodeWriter& w) {
        w.onContext(NCContext());
        for (int i = 0; i < 200000; ++i)
            send(w, i);
    });
    ASSERT_GT(program.size(), WriterOutput::BufferSize);
    std::uint64_t line = 1;
    std::size_t start = 0;
    for (std::size_t end = program.find('\n'); end + 1 <= WriterOutput::BufferSize; end = program.find('\n', start)) {
        start = end + 1;
        ++line;
    }
    ASSERT_GT(line, 4u);

    FullOutputStream full(10);
    GCodeWriter writer(&full);
    writer.onOpen();
    writer.onContext(NCContext());
    int const failing = static_cast<int>(line) - 4; // after "%" and the safe start
    for (int i = 0; i < failing; ++i)
        send(writer, i);
    EXPECT_EQ(ioError([&] { send(writer, failing); }),
        (IOError {L"Cannot write line " + std::to_wstring(line) + L": Disk full.", start}));
    // From then on every line fails, the closing ones too; a line that failed is not counted.
    EXPECT_EQ(ioError([&] { writer.onComment("next"); }).message,
        L"Cannot write line " + std::to_wstring(line) + L": Disk full.");
    EXPECT_EQ(ioError([&] { writer.onClose(); }).message, L"Cannot write line " + std::to_wstring(line) + L": Disk full.");
    EXPECT_EQ(full.callsAfterFailure, 0u);

    // Everything fits the buffer: the flush of onClose fails.
    FullOutputStream small(Start.size());
    GCodeWriter atClose(&small);
    atClose.onOpen();
    atClose.onContext(NCContext());
    EXPECT_EQ(ioError([&] { atClose.onClose(); }),
        (IOError {L"Cannot flush the output: Disk full.", Start.size() + End.size()}));
}
