// GCodeReader: events of the modal groups and words, parameters, O words, errors with their lines, stopping.
#include "nc/nc/io/GCodeReader.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCTool.h"
#include "tests/support/ReaderTesting.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

constexpr double Pi = std::numbers::pi;
constexpr unsigned int Rapid = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
constexpr unsigned int Cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
constexpr unsigned int Left = NCStream::FLAG_COMPENSATION_LEFT;
constexpr unsigned int Right = NCStream::FLAG_COMPENSATION_RIGHT;

// Computed geometry carries rounding in its last bits; lines compare as text once it is gone.
double tidy(double value)
{
    double const rounded = std::round(value * 1e9) / 1e9;
    return rounded == 0.0 ? 0.0 : rounded;
}
Vector3D tidy(Vector3D const& v) { return {tidy(v.x), tidy(v.y), tidy(v.z)}; }

// Records moves with tidied numbers.
class Recorder final : public RecordingNCStream {
public:
    using RecordingNCStream::onCCWArc;
    using RecordingNCStream::onCCWCircle;
    using RecordingNCStream::onCircular;
    using RecordingNCStream::onCWArc;
    using RecordingNCStream::onCWCircle;
    using RecordingNCStream::onLinear;
    using RecordingNCStream::onRapid;

    bool onRapid(Vector3D const& end, unsigned int flags) override { return RecordingNCStream::onRapid(tidy(end), flags); }
    bool onLinear(Vector3D const& end, double feed, unsigned int flags) override
    {
        return RecordingNCStream::onLinear(tidy(end), feed, flags);
    }
    bool onCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double feed, unsigned int flags) override
    {
        return RecordingNCStream::onCWArc(tidy(c), tidy(e), n, feed, flags);
    }
    bool onCCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double feed, unsigned int flags) override
    {
        return RecordingNCStream::onCCWArc(tidy(c), tidy(e), n, feed, flags);
    }
    bool onCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double feed, unsigned int flags) override
    {
        return RecordingNCStream::onCWCircle(tidy(c), tidy(e), n, feed, flags);
    }
    bool onCCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double feed, unsigned int flags) override
    {
        return RecordingNCStream::onCCWCircle(tidy(c), tidy(e), n, feed, flags);
    }
    bool onCircular(Vector3D const& c, Vector3D const& e, Vector3D const& n, double sweep, double feed,
        unsigned int flags) override
    {
        return RecordingNCStream::onCircular(tidy(c), tidy(e), n, tidy(sweep), feed, flags);
    }
};

// The expected line of an event, as the recorder writes it.
std::wstring text(double value) { return NumberFormat::toWString(tidy(value)); }
std::wstring text(unsigned int value) { return std::to_wstring(value); }
std::wstring text(Vector3D const& value) { return tidy(value).getAsString(); }
std::wstring text(char const* value) { return Unicode::fromUTF8(value); }
template <class... Arguments> std::wstring event(std::wstring name, Arguments const&... arguments)
{
    ((name += L' ' + text(arguments)), ...);
    return name;
}
std::wstring rapid(double x, double y, double z, unsigned int flags = Rapid)
{
    return event(L"onRapid", Vector3D(x, y, z), flags);
}
std::wstring linear(double x, double y, double z, double feed = 100.0, unsigned int flags = Cut)
{
    return event(L"onLinear", Vector3D(x, y, z), feed, flags);
}
Vector3D const PlusX(1, 0, 0), PlusY(0, 1, 0), PlusZ(0, 0, 1);
std::wstring arc(char const* name, Vector3D centre, Vector3D end, Vector3D normal = PlusZ)
{
    return event(Unicode::fromUTF8(name), centre, end, normal, 100.0, Cut);
}
std::wstring circular(Vector3D centre, Vector3D end, Vector3D normal, double sweep)
{
    return event(L"onCircular", centre, end, normal, sweep, 100.0, Cut);
}
std::wstring parameter(char const* shortName, char const* value)
{
    return L"onParameter " + Unicode::fromUTF8(GCodeReader::getParameterName(shortName)) + L" " + text(value);
}

struct Options {
    bool comments = true;
    bool blockDelete = false;
    bool lineNumbers = false;
    std::uint64_t loops = GCodeReader::DefaultMaximumLoopIterations;
};

bool read(std::string const& program, Recorder& recorder, Options options = {})
{
    GCodeReader reader;
    reader.setNCStream(&recorder);
    reader.setPassOnComments(options.comments);
    reader.setBlockDelete(options.blockDelete);
    reader.setPassThroughLineNumbers(options.lineNumbers);
    reader.setMaximumLoopIterations(options.loops);
    MemoryInputStream in(program);
    return reader.import(&in);
}

// The events of a program that reads to its end.
std::vector<std::wstring> eventsOf(std::string const& program, Options options = {}, Recorder* kept = nullptr)
{
    Recorder own;
    Recorder& recorder = kept != nullptr ? *kept : own;
    try {
        EXPECT_TRUE(read(program, recorder, options)) << program;
    } catch (NCParseException const& e) {
        ADD_FAILURE() << "line " << e.getLine().value_or(0) << ": " << Unicode::toUTF8(e.getMessage()) << "\n"
                      << program;
    }
    return recorder.events;
}

bool isMove(std::wstring const& line)
{
    std::wstring const name = line.substr(0, line.find(L' '));
    for (wchar_t const* move : {L"onRapid", L"onLinear", L"onCWArc", L"onCCWArc", L"onCWCircle", L"onCCWCircle",
             L"onCircular", L"onDwell"})
        if (name == move)
            return true;
    return false;
}

// The moves of a program body (millimetres, G17, G90, feed 100), ended by M2.
std::vector<std::wstring> movesOf(std::string const& body)
{
    std::vector<std::wstring> moves = eventsOf("G21 G17 G90 F100\n" + body + "\nM2\n");
    std::erase_if(moves, [](std::wstring const& line) { return !isMove(line); });
    return moves;
}

std::vector<std::wstring> namesOf(std::vector<std::wstring> const& events)
{
    std::vector<std::wstring> names;
    for (auto const& line : events)
        names.push_back(line.substr(0, line.find(L' ')));
    return names;
}

struct Failure {
    unsigned int line = 0;
    std::string message;
    std::vector<std::wstring> events;
};

Failure failureOf(std::string const& program, Options options = {})
{
    Recorder recorder;
    try {
        read(program, recorder, options);
    } catch (NCParseException const& e) {
        return {e.getLine().value_or(0), Unicode::toUTF8(e.getMessage()), recorder.events};
    } catch (std::exception const& e) {
        return {0, std::string("not an NCParseException: ") + e.what(), recorder.events};
    }
    return {0, "no error", recorder.events};
}

std::string crlf(std::string text)
{
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.insert(at, "\r");
    return text;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Motion.

TEST(GCodeReaderTest, StraightMovesFollowTheDistanceModesAndCoordinateWords)
{
    struct Case {
        char const* body;
        std::vector<std::wstring> moves;
    };
    Case const cases[] = {
        {"G0 X1 Y2 Z3\nG1 X4", {rapid(1, 2, 3), linear(4, 2, 3)}},
        // The motion mode stays: axis words alone move, a feed alone does not.
        {"G1 X1\nY2\nF50\nF200 Z3", {linear(1, 0, 0), linear(1, 2, 0), linear(1, 2, 3, 200)}},
        // A motion code alone moves to where the tool is.
        {"G0 X1\nG1\nG0", {rapid(1, 0, 0), linear(1, 0, 0), rapid(1, 0, 0)}},
        {"G0 X1 Y1\nG91 G0 X1\nG1 Y-2 Z0.5\nG90 X0", {rapid(1, 1, 0), rapid(2, 1, 0), linear(2, -1, 0.5), linear(0, -1, 0.5)}},
        // Polar: absolute about the origin; incremental adds to the radius and the angle.
        {"G0 X10 Y0\nG0 @5 ^90\nG91 G0 @5 ^90", {rapid(10, 0, 0), rapid(0, 5, 0), rapid(-10, 0, 0)}},
        // Polar words give X and Y whatever the plane.
        {"G0 X1\nG19 G0 @2 ^90", {rapid(1, 0, 0), rapid(0, 2, 0)}},
        {"G7 G0 X10\nG8 G0 X10", {rapid(5, 0, 0), rapid(10, 0, 0)}},
        // Another work system: the tool stays where it is on the machine, its coordinates change.
        {"G10 L2 P2 X10 Y20 Z30\nG0 X1\nG55 G0 X1", {rapid(1, 0, 0), rapid(1, -20, -30)}},
        // G53 in machine coordinates; the move is sent in the work system's.
        {"G10 L2 P1 X10 Y20\nG0 X1 Y2\nG53 G0 X3\nG53 G1 Y0\nG0 X0", {rapid(1, 2, 0), rapid(-7, 2, 0), linear(-7, -20, 0), rapid(0, -20, 0)}},
        // G28/G30 through the point of their axis words to the stored position of those axes;
        // without axis words, straight there.
        {"G0 X1 Y2 Z3\nG28.1\nG0 X4 Y5 Z6\nG28 Z7\nG0 X9\nG28",
            {rapid(1, 2, 3), rapid(4, 5, 6), rapid(4, 5, 7), rapid(4, 5, 3), rapid(9, 5, 3), rapid(1, 2, 3)}},
        {"G0 X1 Y2 Z3\nG30.1\nG0 X4\nG30 Y0", {rapid(1, 2, 3), rapid(4, 2, 3), rapid(4, 0, 3), rapid(4, 2, 3)}},
        {"G0 X1\nG4 P1.5\nG0 X2", {rapid(1, 0, 0), event(L"onDwell", 1.5, 0u), rapid(2, 0, 0)}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(movesOf(c.body), c.moves) << c.body;
}

TEST(GCodeReaderTest, ArcsHelicesAndCirclesInEachPlane)
{
    struct Case {
        char const* body; // from (0, 0, 0)
        std::wstring move; // the last one
    };
    Case const cases[] = {
        // G17: clockwise about +Z; a positive R the short way round, a negative R the long way.
        {"G2 X10 Y10 R10", arc("onCWArc", {10, 0, 0}, {10, 10, 0})},
        {"G2 X10 Y10 R-10", arc("onCWArc", {0, 10, 0}, {10, 10, 0})},
        {"G3 X10 Y10 R10", arc("onCCWArc", {0, 10, 0}, {10, 10, 0})},
        {"G3 X10 Y10 R-10", arc("onCCWArc", {10, 0, 0}, {10, 10, 0})},
        {"G2 X10 Y0 I5", arc("onCWArc", {5, 0, 0}, {10, 0, 0})},
        {"G0 X1 Y1\nG91 G2 X10 I5", arc("onCWArc", {6, 1, 0}, {11, 1, 0})},
        // A helix: the centre stays at the start's level.
        {"G3 X10 Y0 Z-2 I5 J0", arc("onCCWArc", {5, 0, 0}, {10, 0, -2})},
        // Arc centres absolute (G90.1) and back to incremental (G91.1).
        {"G0 X2 Y2\nG90.1 G2 X12 Y2 I7 J2", arc("onCWArc", {7, 2, 0}, {12, 2, 0})},
        {"G90.1\nG0 X2 Y2\nG91.1 G2 X12 Y2 I5 J0", arc("onCWArc", {7, 2, 0}, {12, 2, 0})},
        // Full circles; a motion code alone with its centre makes one.
        {"G2 I5", arc("onCWCircle", {5, 0, 0}, {0, 0, 0})},
        {"G3 X0 Y0 I5", arc("onCCWCircle", {5, 0, 0}, {0, 0, 0})},
        {"G2 X10 Y0 I5\nG2 I-5", arc("onCWCircle", {5, 0, 0}, {10, 0, 0})},
        // A full turn of a helix and P turns: onCircular with the signed sweep.
        {"G2 I5 Z-1", circular({5, 0, 0}, {0, 0, -1}, PlusZ, -2 * Pi)},
        {"G3 X10 Y0 I5 P3", circular({5, 0, 0}, {10, 0, 0}, PlusZ, 5 * Pi)},
        {"G2 X10 Y0 I5 P2", circular({5, 0, 0}, {10, 0, 0}, PlusZ, -3 * Pi)},
        {"G2 I5 P2", circular({5, 0, 0}, {0, 0, 0}, PlusZ, -4 * Pi)},
        // G18: about +Y, from Z towards X counter-clockwise.
        {"G18 G2 X10 Z10 R10", arc("onCWArc", {0, 0, 10}, {10, 0, 10}, PlusY)},
        {"G18 G2 X10 Z10 R-10", arc("onCWArc", {10, 0, 0}, {10, 0, 10}, PlusY)},
        {"G18 G3 X10 Z10 R10", arc("onCCWArc", {10, 0, 0}, {10, 0, 10}, PlusY)},
        {"G18 G2 X10 Z10 I0 K10", arc("onCWArc", {0, 0, 10}, {10, 0, 10}, PlusY)},
        {"G18 G2 X10 Y3 Z10 K10", arc("onCWArc", {0, 0, 10}, {10, 3, 10}, PlusY)},
        // G19: about +X, from Y towards Z counter-clockwise.
        {"G19 G2 Y10 Z10 R10", arc("onCWArc", {0, 10, 0}, {0, 10, 10}, PlusX)},
        {"G19 G3 Y10 Z10 R10", arc("onCCWArc", {0, 0, 10}, {0, 10, 10}, PlusX)},
        {"G19 G3 Y10 Z10 R-10", arc("onCCWArc", {0, 10, 0}, {0, 10, 10}, PlusX)},
        {"G19 G2 Y10 Z10 J10 K0", arc("onCWArc", {0, 10, 0}, {0, 10, 10}, PlusX)},
        {"G19 G3 X2 J5", circular({0, 5, 0}, {2, 0, 0}, PlusX, 2 * Pi)},
    };
    for (Case const& c : cases) {
        std::vector<std::wstring> const moves = movesOf(std::string("G0 X0 Y0 Z0\n") + c.body);
        ASSERT_FALSE(moves.empty()) << c.body;
        EXPECT_EQ(moves.back(), c.move) << c.body;
    }
}

TEST(GCodeReaderTest, CannedCycleRetractsToTheInitialLevelOrToR)
{
    Recorder recorder;
    eventsOf("G21 G90 F100\nG0 X0 Y0 Z10\nG98 G81 X1 Y1 Z-2 R2\nG99 X2\nG80\nG0 X0\nM2\n", {}, &recorder);
    std::vector<std::wstring> const names = namesOf(recorder.events);
    auto const group = std::find(names.begin(), names.end(), L"onGroup");
    auto const end = std::find(names.begin(), names.end(), L"onGroupEnd");
    ASSERT_NE(group, names.end());
    ASSERT_NE(end, names.end());
    std::vector<std::wstring> moves;
    for (auto i = group; i != end; ++i)
        if (isMove(recorder.events[static_cast<std::size_t>(i - names.begin())]))
            moves.push_back(recorder.events[static_cast<std::size_t>(i - names.begin())]);
    EXPECT_EQ(moves, (std::vector<std::wstring> {rapid(1, 1, 10), rapid(1, 1, 2), linear(1, 1, -2), rapid(1, 1, 10),
                         rapid(2, 1, 10), rapid(2, 1, 2), linear(2, 1, -2), rapid(2, 1, 2)}));
    EXPECT_EQ(recorder.events.back(), L"onClose");
    EXPECT_EQ(recorder.events[static_cast<std::size_t>(end - names.begin()) + 1], rapid(0, 1, 2)) << "G80 ends the group";
}

TEST(GCodeReaderTest, SpindleSynchronisedMovesFeedByThePitchBetweenTheirCommands)
{
    std::vector<std::wstring> events = eventsOf("G21 G90\nG0 X1 Z2\nS200 M3\nG33 Z-3 K0.5\nG33.1 Z-5 K1\nG0 X0\nM2\n");
    std::erase_if(events, [](std::wstring const& line) {
        return !isMove(line) && !line.starts_with(L"onCommand");
    });
    auto const command = [](NCStream::Command c) { return L"onCommand " + std::to_wstring(c); };
    std::wstring const on = command(NCStream::COMMAND_ACTIVATE_SPEED_FEED_SYNCHRONIZATION);
    std::wstring const off = command(NCStream::COMMAND_DEACTIVATE_SPEED_FEED_SYNCHRONIZATION);
    std::vector<std::wstring> const after(std::find(events.begin(), events.end(), rapid(1, 0, 2)) + 1, events.end());
    EXPECT_EQ(after,
        (std::vector<std::wstring> {command(NCStream::COMMAND_SPINDLE_CLOCKWISE), on, linear(1, 0, -3, 100.0), off, on,
            linear(1, 0, -5, 200.0), linear(1, 0, -3, 200.0), off, rapid(0, 0, -3), command(NCStream::COMMAND_END)}))
        << "G33 feeds at K times the speed; G33.1 goes back to its start";
}

// ---------------------------------------------------------------------------------------------
// Sections, contexts and tools.

TEST(GCodeReaderTest, UnitChangeOpensASectionInTheNewUnitWithThePositionConverted)
{
    Recorder recorder;
    std::vector<std::wstring> const events
        = eventsOf("G21 G90 F100\nG10 L2 P1 X25.4\nG0 X25.4 Y50.8\nG20\nG1 X2\nG21\nG1 X0\nM2\n", {}, &recorder);
    EXPECT_EQ(namesOf(events),
        (std::vector<std::wstring> {L"onOpen", L"onContext", L"onTool", L"onSection", L"onRapid", L"onSectionEnd",
            L"onContext", L"onTool", L"onSection", L"onLinear", L"onSectionEnd", L"onContext", L"onTool", L"onSection",
            L"onLinear", L"onCommand", L"onSectionEnd", L"onClose"}));
    ASSERT_EQ(recorder.contexts.size(), 3u);
    ASSERT_EQ(recorder.tools.size(), 3u);
    NCUnit::Unit const units[] = {NCUnit::MILLIMETERS, NCUnit::INCHES, NCUnit::MILLIMETERS};
    double const origins[] = {25.4, 1.0, 25.4};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(recorder.contexts[i].getUnit(), units[i]) << i;
        EXPECT_EQ(recorder.tools[i].getUnit(), units[i]) << i;
        EXPECT_EQ(text(recorder.contexts[i].getOrigin()), text(Vector3D(origins[i], 0, 0))) << "offsets are converted too";
    }
    std::erase_if(recorder.events, [](std::wstring const& line) { return !isMove(line); });
    EXPECT_EQ(recorder.events, (std::vector<std::wstring> {rapid(25.4, 50.8, 0), linear(2, 2, 0), linear(0, 50.8, 0)}));
}

TEST(GCodeReaderTest, ContextHoldsWorkOffsetFeedModeAndOrigin)
{
    struct Case {
        char const* code;
        unsigned int workOffset;
    };
    for (Case const c : {Case {"G54", 1}, Case {"G55", 2}, Case {"G56", 3}, Case {"G57", 4}, Case {"G58", 5},
             Case {"G59", 6}, Case {"G59.1", 7}, Case {"G59.2", 8}, Case {"G59.3", 9}}) {
        Recorder recorder;
        eventsOf(std::string(c.code) + "\nG0 X1\nM2\n", {}, &recorder);
        ASSERT_EQ(recorder.contexts.size(), 1u) << c.code;
        EXPECT_EQ(recorder.contexts[0].getWorkOffset(), c.workOffset) << c.code;
    }
    struct FeedCase {
        char const* block;
        NCContext::FeedMode mode;
    };
    for (FeedCase const c : {FeedCase {"G93 G1 X1 F2", NCContext::FEED_INVERSE_TIME},
             FeedCase {"G94 G1 X1 F2", NCContext::FEED_PER_MINUTE}, FeedCase {"G95 G1 X1 F2", NCContext::FEED_PER_REVOLUTION}}) {
        Recorder recorder;
        eventsOf(std::string(c.block) + "\nM2\n", {}, &recorder);
        ASSERT_EQ(recorder.contexts.size(), 1u) << c.block;
        EXPECT_EQ(recorder.contexts[0].getFeedMode(), c.mode) << c.block;
        EXPECT_EQ(recorder.events[4], linear(1, 0, 0, 2)) << c.block;
    }

    // Each change of the work system between moves is a new section; moves stay in the work
    // system's coordinates, the origin says where it is.
    struct Step {
        char const* blocks;
        Vector3D origin;
        std::wstring move;
    };
    Step const steps[] = {
        {"G10 L2 P2 X10 Y20 Z30\nG0 X1", {0, 0, 0}, rapid(1, 0, 0)},
        {"G55 G0 X1", {10, 20, 30}, rapid(1, -20, -30)},
        {"G10 L20 P2 X0\nG0 X0", {11, 20, 30}, rapid(0, -20, -30)},
        {"G92 X5\nG0 X6", {6, 20, 30}, rapid(6, -20, -30)},
        {"G92.2\nG0 X1", {11, 20, 30}, rapid(1, -20, -30)},
        {"G92.3\nG0 X1", {6, 20, 30}, rapid(1, -20, -30)},
        {"G92.1\nG92.3\nG0 X1", {11, 20, 30}, rapid(1, -20, -30)},
        {"G52 X2 Y-1\nG0 X1", {13, 19, 30}, rapid(1, -19, -30)},
        {"G54 G52 X0 Y0\nG0 X1", {0, 0, 0}, rapid(1, 0, 0)},
    };
    std::string program = "G21 G90\n";
    for (Step const& step : steps)
        program += std::string(step.blocks) + "\n";
    Recorder recorder;
    eventsOf(program + "M2\n", {}, &recorder);
    ASSERT_EQ(recorder.contexts.size(), std::size(steps));
    std::vector<std::wstring> moves = recorder.events;
    std::erase_if(moves, [](std::wstring const& line) { return !isMove(line); });
    ASSERT_EQ(moves.size(), std::size(steps));
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        EXPECT_EQ(text(recorder.contexts[i].getOrigin()), text(steps[i].origin)) << steps[i].blocks;
        EXPECT_EQ(moves[i], steps[i].move) << steps[i].blocks;
    }
    EXPECT_EQ(text(recorder.contexts[2].getWCSOrigin()), text(Vector3D(11, 20, 30))) << "the WCS leaves G92 out";
    EXPECT_EQ(text(recorder.contexts[3].getWCSOrigin()), text(Vector3D(11, 20, 30)));

    // A rotated system: the plane turns the work system's X onto the machine's Y; the machine's
    // origin, where the tool is, reads as (-20, 10) in it.
    Recorder rotated;
    eventsOf("G10 L2 P1 X10 Y20 R90\nG0 X1\nM2\n", {}, &rotated);
    ASSERT_EQ(rotated.contexts.size(), 1u);
    EXPECT_EQ(text(rotated.contexts[0].getPlane() * Vector3D(1, 0, 0)), text(Vector3D(0, 1, 0)));
    EXPECT_EQ(text(rotated.contexts[0].getOrigin()), text(Vector3D(10, 20, 0)));
    EXPECT_EQ(rotated.events[4], rapid(1, 10, 0));
}

TEST(GCodeReaderTest, ToolChangesLengthOffsetsAndSpindleOpenSections)
{
    Recorder recorder;
    std::vector<std::wstring> const events = eventsOf("S1000 M3\nT3 M6\nG0 X1\nT4\nG0 X2\nM6\nS2000\nG0 X3\nS2500\nS2500\n"
                                                      "M61 Q7\nG43 H5\nG0 X4\nG49\nG0 X5\nG43\nG0 X6\n"
                                                      "T8 M6\nT9 M6\nG0 X7\nM2\n",
        {}, &recorder);
    std::vector<unsigned int> numbers, offsets;
    for (NCTool const& tool : recorder.tools) {
        numbers.push_back(tool.getNumber());
        offsets.push_back(tool.getLengthOffset());
    }
    // T alone selects; M6 and M61 change; G43 without H takes the offset of the tool in the
    // spindle then, and keeps it over later changes.
    EXPECT_EQ(numbers, (std::vector<unsigned int> {3, 4, 7, 7, 7, 8, 9}));
    EXPECT_EQ(offsets, (std::vector<unsigned int> {0, 0, 5, 0, 7, 7, 7}));
    ASSERT_EQ(recorder.tools.size(), 7u);
    EXPECT_EQ(recorder.tools[0].getSpindleRPM(), 1000.0) << "a speed before the section travels in its tool";
    EXPECT_TRUE(recorder.tools[0].getSpindleDirection());
    EXPECT_EQ(recorder.tools[1].getSpindleRPM(), 2000.0);
    EXPECT_EQ(recorder.tools[2].getSpindleRPM(), 2500.0);
    EXPECT_EQ(std::count(events.begin(), events.end(), L"onSpindleSpeed 2500"), 1) << "within a section, once per change";
    std::vector<std::wstring> const names = namesOf(events);
    // The tool changed to and from without a move still gets its (empty) section.
    auto const eighth = std::find(events.begin(), events.end(), L"onTool number=8 type=0 diameter=0");
    ASSERT_LT(eighth + 2, events.end());
    EXPECT_EQ(eighth[1], L"onSection");
    EXPECT_EQ(eighth[2], L"onSectionEnd");
    EXPECT_EQ(std::count(names.begin(), names.end(), L"onSection"), 7);
    EXPECT_EQ(std::count(names.begin(), names.end(), L"onSectionEnd"), 7);
}

TEST(GCodeReaderTest, SpindleCoolantCompensationAndMachineCommands)
{
    std::vector<std::wstring> const events = eventsOf(
        "G21 F100\nM7\nG41 D1\nG0 X1\nG1 X2\nG42\nG1 X3\nG40\nG1 X4\nM8\nM9\nM8\n"
        "M3\nM4\nM5\nM19 R90\nM0\nM1\nM60\n"
        "M48\nM49\nM50 P0\nM51 P1\nM52 P1\nM53 P1\nM62 P1\nM63 P1\nM64 P1\nM65 P1\nM66 P0 L0\nM67 E0 Q1\nM68 E0 Q1\n"
        "G61\nG61.1\nG64 P0.1 Q0.05\nG96 D2500 S150\nG97\nM30\n");
    auto const from = std::find(events.begin(), events.end(), L"onSection");
    ASSERT_NE(from, events.end());
    auto const command = [](NCStream::Command c) { return event(L"onCommand", static_cast<unsigned int>(c)); };
    auto const coolant = [](NCTool::Coolant c) {
        return event(L"onCoolant", static_cast<unsigned int>(c), static_cast<unsigned int>(NCStream::COOLANT_LEVEL_DEFAULT));
    };
    std::vector<std::wstring> expected {
        L"onRadiusCompensation 1",
        rapid(1, 0, 0, Rapid | Left),
        linear(2, 0, 0, 100, Cut | Left),
        L"onRadiusCompensation 2",
        linear(3, 0, 0, 100, Cut | Right),
        L"onRadiusCompensation 0",
        linear(4, 0, 0),
        coolant(NCTool::COOLANT_FLOOD_MIST),
        coolant(NCTool::COOLANT_NONE),
        coolant(NCTool::COOLANT_FLOOD),
        command(NCStream::COMMAND_SPINDLE_CLOCKWISE),
        command(NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE),
        command(NCStream::COMMAND_STOP_SPINDLE),
        command(NCStream::COMMAND_ORIENTATE_SPINDLE),
        command(NCStream::COMMAND_STOP),
        command(NCStream::COMMAND_OPTIONAL_STOP),
        command(NCStream::COMMAND_CHANGE_PALLET),
    };
    for (unsigned int m : {48u, 49u, 50u, 51u, 52u, 53u, 62u, 63u, 64u, 65u, 66u, 67u, 68u})
        expected.push_back(event(L"onMachineCommand", m));
    auto const split = static_cast<std::ptrdiff_t>(expected.size());
    // Path control and spindle mode as the program writes them; the mode before the speed it
    // gives the meaning of.
    for (auto const& [name, value] : {std::pair {"path-control", "G61"}, {"path-control", "G61.1"},
             {"path-control", "G64 P0.1 Q0.05"}, {"spindle-mode", "G96 D2500"}})
        expected.push_back(parameter(name, value));
    expected.push_back(L"onSpindleSpeed 150");
    expected.push_back(parameter("spindle-mode", "G97"));
    expected.push_back(command(NCStream::COMMAND_END));
    expected.push_back(L"onSectionEnd");
    expected.push_back(L"onClose");
    std::vector<std::wstring> const sent(from + 1, events.end());
    ASSERT_GE(sent.size(), expected.size());
    EXPECT_EQ(std::vector<std::wstring>(sent.begin(), sent.begin() + split),
        std::vector<std::wstring>(expected.begin(), expected.begin() + split));
    EXPECT_EQ(std::vector<std::wstring>(sent.begin() + split, sent.end()),
        std::vector<std::wstring>(expected.begin() + split, expected.end()));
}

// ---------------------------------------------------------------------------------------------
// Text of the program: comments, line numbers, block delete, delimiters, line ends.

TEST(GCodeReaderTest, CommentsLineNumbersBlockDeleteAndDelimiters)
{
    std::string const program = "%\n(first)\nN10 G0 X1 (second) ; third\n/G0 X2\n; fourth\n\nN20 G0 X3\n%\nG0 X9\n";
    std::vector<std::wstring> all = eventsOf(program);
    std::erase_if(all, [](std::wstring const& line) { return line.starts_with(L"onContext") || line.starts_with(L"onTool"); });
    EXPECT_EQ(all,
        (std::vector<std::wstring> {L"onOpen", L"onComment first", L"onLineNumber 10", L"onComment second",
            L"onComment  third", L"onSection", rapid(1, 0, 0), rapid(2, 0, 0), L"onComment  fourth",
            L"onLineNumber 20", rapid(3, 0, 0), L"onSectionEnd", L"onClose"}))
        << "the closing '%' ends the program: nothing after it is read";

    // Comments not passed on; block delete on; every block's line in the file instead of N.
    Options options;
    options.comments = false;
    options.blockDelete = true;
    options.lineNumbers = true;
    std::vector<std::wstring> events = eventsOf(program, options);
    std::erase_if(events, [](std::wstring const& line) { return line.starts_with(L"onCo") || line.starts_with(L"onT"); });
    EXPECT_EQ(events,
        (std::vector<std::wstring> {L"onOpen", L"onLineNumber 2", L"onLineNumber 3", L"onSection", rapid(1, 0, 0),
            L"onLineNumber 5", L"onLineNumber 7", rapid(3, 0, 0), L"onSectionEnd", L"onClose"}));

    // CR LF reads as LF, and so do both mixed.
    EXPECT_EQ(eventsOf(crlf(program)), eventsOf(program));
    std::string mixed = crlf(program);
    mixed.erase(mixed.find('\r'), 1);
    EXPECT_EQ(eventsOf(mixed), eventsOf(program));

    // M2 and M30 end the program as the closing '%' does.
    for (char const* end : {"M2", "M30", "%"}) {
        std::vector<std::wstring> const ended = eventsOf(std::string(end[0] == '%' ? "%\n" : "") + "G0 X1\n" + end + "\nG0 X2\n");
        std::vector<std::wstring> const tail(ended.end() - 3, ended.end());
        EXPECT_EQ(tail[0], end[0] == '%' ? rapid(1, 0, 0) : L"onCommand 3") << end;
        EXPECT_EQ(tail[2], L"onClose") << end;
        EXPECT_EQ(std::count(ended.begin(), ended.end(), rapid(2, 0, 0)), 0) << end;
    }
}

// ---------------------------------------------------------------------------------------------
// Parameters, expressions and the language.

TEST(GCodeReaderTest, ParameterSettingsTakeEffectAtTheEndOfTheBlock)
{
    struct Case {
        char const* body;
        std::vector<std::wstring> moves;
    };
    Case const cases[] = {
        {"#1=5\n#1=7 #2=#1\nG0 X#1 Y#2", {rapid(7, 5, 0)}},
        {"#1=5\n#1=7 G0 X#1", {rapid(5, 0, 0)}},
        {"#<a>=2\nG0 X[#<a>*3] Y[ATAN[1]/[1]] Z-#<a>", {rapid(6, 45, -2)}},
        // Named parameters of a subroutine are its own, those starting with "_" are global; #1 to
        // #30 are the call's arguments and come back after it.
        {"#<_g>=1\n#<l>=2\n#2=9\no1 sub\n#<l>=10\n#<_g>=20\n#2=7\no1 return [#1*2]\no1 endsub\no1 call [3] [4]\n"
         "G0 X#<l> Y#<_g> Z#<_value>\nG0 X#2",
            {rapid(2, 20, 6), rapid(9, 20, 6)}},
        // M70 saves the modal state, M72 restores it, M73 restores it at the return.
        {"G91\nM70\nG90\nM72\nG0 X1\nG0 X1", {rapid(1, 0, 0), rapid(2, 0, 0)}},
        {"o1 sub\nM73\nG91\nG0 X1\no1 endsub\no1 call\nG0 X1\nG0 X1", {rapid(1, 0, 0), rapid(1, 0, 0), rapid(1, 0, 0)}},
        // In the main program M73 has nothing to restore at: the program goes on.
        {"M73\nG91\nG0 X1\nG0 X1", {rapid(1, 0, 0), rapid(2, 0, 0)}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(movesOf(c.body), c.moves) << c.body;
}

TEST(GCodeReaderTest, OWordsCallLoopAndBranch)
{
    struct Case {
        char const* name;
        char const* body;
        std::vector<std::wstring> moves;
    };
    Case const cases[] = {
        {"nested calls", "o2 sub\nG0 X#1\no2 endsub\no1 sub\no2 call [#1+1]\nG0 Y#1\no1 endsub\no1 call [5]",
            {rapid(6, 0, 0), rapid(6, 5, 0)}},
        {"recursion", "o3 sub\no31 if [#1 gt 0]\nG0 X#1\no3 call [#1-1]\no31 endif\no3 endsub\no3 call [3]",
            {rapid(3, 0, 0), rapid(2, 0, 0), rapid(1, 0, 0)}},
        {"return leaves a loop and the sub", "o<up> sub\n#2=0\no9 while [1]\n#2=[#2+1]\no10 if [#2 ge #1]\n"
            "o<up> return [#2*10]\no10 endif\no9 endwhile\no<up> endsub\no<up> call [3]\nG0 X#<_value>",
            {rapid(30, 0, 0)}},
        {"if elseif else", "o4 sub\no41 if [#1 eq 1]\nG0 X1\no41 elseif [#1 eq 2]\nG0 X2\no41 else\nG0 X3\n"
            "o41 endif\no4 endsub\no4 call [1]\no4 call [2]\no4 call [7]",
            {rapid(1, 0, 0), rapid(2, 0, 0), rapid(3, 0, 0)}},
        {"if without else", "o5 if [0]\nG0 X1\no5 endif\nG0 X2", {rapid(2, 0, 0)}},
        {"while with continue", "#1=0\no6 while [#1 lt 3]\n#1=[#1+1]\no61 if [#1 eq 2]\no6 continue\no61 endif\n"
            "G0 X#1\no6 endwhile",
            {rapid(1, 0, 0), rapid(3, 0, 0)}},
        {"while with break", "#1=0\no6 while [1]\n#1=[#1+1]\no61 if [#1 eq 3]\no6 break\no61 endif\nG0 X#1\no6 endwhile\nG0 Y1",
            {rapid(1, 0, 0), rapid(2, 0, 0), rapid(2, 1, 0)}},
        {"while false at once", "o6 while [0]\nG0 X1\no6 endwhile\nG0 Y1", {rapid(0, 1, 0)}},
        {"do with break", "#1=3\no7 do\n#1=[#1-1]\no71 if [#1 eq 1]\no7 break\no71 endif\nG0 Y#1\no7 while [#1 gt 0]",
            {rapid(0, 2, 0)}},
        {"do with continue", "#1=0\no7 do\n#1=[#1+1]\no71 if [#1 eq 2]\no7 continue\no71 endif\nG0 X#1\no7 while [#1 lt 3]",
            {rapid(1, 0, 0), rapid(3, 0, 0)}},
        {"do runs once", "o7 do\nG0 X1\no7 while [0]", {rapid(1, 0, 0)}},
        {"repeat", "#1=1\no8 repeat [3]\nG0 Z#1\n#1=[#1+1]\no8 endrepeat", {rapid(0, 0, 1), rapid(0, 0, 2), rapid(0, 0, 3)}},
        {"repeat none", "o8 repeat [0]\nG0 X1\no8 endrepeat\nG0 X2", {rapid(2, 0, 0)}},
        {"loops inside a sub", "o1 sub\no11 repeat [2]\nG91 G0 X1\no11 endrepeat\nG90\no1 endsub\no1 call\no1 call",
            {rapid(1, 0, 0), rapid(2, 0, 0), rapid(3, 0, 0), rapid(4, 0, 0)}},
        {"a sub called in a loop", "o1 sub\nG0 X#1\no1 endsub\n#2=0\no12 while [#2 lt 2]\n#2=[#2+1]\no1 call [#2*5]\no12 endwhile",
            {rapid(5, 0, 0), rapid(10, 0, 0)}},
        {"nested loops", "#1=0\no13 repeat [2]\n#1=[#1+1]\n#2=0\no14 while [#2 lt 2]\n#2=[#2+1]\nG0 X#1 Y#2\no14 endwhile\no13 endrepeat",
            {rapid(1, 1, 0), rapid(1, 2, 0), rapid(2, 1, 0), rapid(2, 2, 0)}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(movesOf(c.body), c.moves) << c.name;
}

TEST(GCodeReaderTest, EndlessLoopsAndDeepCallsEndWithTheirErrors)
{
    Options options;
    options.loops = 5;
    Failure const endless = failureOf("G0 X0\no1 while [1]\nG91 G0 X1\no1 endwhile\nM2\n", options);
    EXPECT_EQ(endless.line, 2u);
    EXPECT_EQ(endless.message, "Loops ran more than 5 times; the program is taken to loop for ever.");
    EXPECT_EQ(std::count(endless.events.begin(), endless.events.end(), rapid(6, 0, 0)), 1) << "the iterations run";
    EXPECT_EQ(std::count(endless.events.begin(), endless.events.end(), rapid(7, 0, 0)), 0);

    // The repeats of a canned cycle are loops too: a million holes from one line are refused.
    Failure const repeats = failureOf("G0 Z5\nG81 X1 Z-1 R1 L7 F10\nM2\n", options);
    EXPECT_EQ(repeats.line, 2u);
    EXPECT_EQ(repeats.message, "Loops ran more than 5 times; the program is taken to loop for ever.");

    Failure const deep = failureOf("o1 sub\nG0 X#1\no1 call [#1+1]\no1 endsub\no1 call [1]\nM2\n");
    EXPECT_EQ(deep.line, 3u);
    EXPECT_EQ(deep.message, "Subroutine calls nest deeper than 100.");
    EXPECT_EQ(deep.events.back(), rapid(100, 0, 0));
}

// ---------------------------------------------------------------------------------------------
// Errors: an NCParseException with the line and why; the events before it have been sent.

TEST(GCodeReaderTest, ErrorsNameTheirLineAfterTheEventsBeforeThem)
{
    struct Case {
        char const* blocks; // run after "G0 X1" (line 2)
        char const* message;
        unsigned int line = 0; // of the blocks, from 1; 0 for their last
    };
    std::string const tooLong = "G0 X" + std::string(400, '9');
    std::string const manyArguments = "o1 sub\no1 endsub\no1 call" + [] {
        std::string arguments;
        for (int i = 0; i < 31; ++i)
            arguments += " [1]";
        return arguments;
    }();
    Case const cases[] = {
        // The block.
        {"G0 X2 (open", "Comment without its closing ')'."},
        {"G0 (a (b) c)", "Comment inside a comment."},
        {"N G0 X1", "Bad line number."},
        {"G0 N10 X1", "Line number 'N' not at the start of the block."},
        {"G0 o1 call", "O word not at the start of the block."},
        {"G0 X1 X2", "Two 'X' words in one block."},
        {"G0 @1 @2", "Two '@' words in one block."},
        {"#1", "Parameter without '=' and a value to set."},
        {"G0 X1 $", "Unexpected character '$'."},
        {"G0 X1 \x01", "Unexpected character 0x01."},
        {"G0 Xfoo", "Unknown word or function at 'foo'."},
        {"G0 X.", "Bad number format."},
        {tooLong.c_str(), "Number out of range."},
        {"G0.05 X1", "Bad G code number."},
        {"M1.23", "Bad M code number."},
        {"G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17 G17", "Too many G codes in one block."},
        {"o<abc call", "O word name without its closing '>'."},
        {"o1.5 call", "O word number is not a whole number."},
        {"o call", "O word without a number or name."},
        {"o100", "O word o100 without a keyword (numbered programs are not read)."},
        {"o100 jump", "Unknown O word keyword 'jump'."},
        // Codes and words.
        {"G12 X1", "Unknown G code G12."},
        {"G5 X1", "G5 is not supported: splines are not read."},
        {"G33 Z-1 K1", "Spindle not turning in G33."},
        {"S100 M3 G33.1 Z-1", "K word missing with G33.1."},
        {"S100 M3 G33 Z-1 K0", "Distance per revolution K of G33 is not above zero."},
        {"G38.2 Z-1", "G38.2 is not supported: probing moves depend on what the probe touches."},
        {"G76 P1 Z-1", "G76 is not supported: lathe threading and turning cycles are not read."},
        {"G17.1", "G17.1 is not supported: arcs in the UVW planes are not read."},
        {"G0 G1 X1", "Two G codes of one modal group in one block: G0 and G1."},
        {"M20", "Unknown M code M20."},
        {"M100", "M100 is not supported: it runs a program of the machine."},
        {"M3 M4", "Two M codes of one modal group in one block: M3 and M4."},
        {"M7 M8", "Two M codes of one modal group in one block: M7 and M8."},
        {"M0 M6 M3 M7 M48", "More than four M codes in one block."},
        {"G1 G10 L2 P1 X1", "Two G codes that both use the axis words: G1 and G10."},
        {"G80 X1", "G80 with axis words."},
        {"G80\nX2", "Axis words in G80 mode, with no motion to use them."},
        {"G0 X2 I2", "Word I is not used by any code of the block."},
        {"G10 L2 P1 @1", "Word @ is not used by any code of the block."},
        {"F-1", "Negative feed rate F."},
        {"S-1", "Negative spindle speed S."},
        {"T1.5", "Tool number T is not a whole number from 0."},
        {"M61", "M61 without the tool number Q."},
        {"M61 Q-1", "Tool number Q of M61 is not a whole number from 0."},
        {"M72", "M72 without a state saved by M70."},
        {"M70\nM71\nM72", "M72 without a state saved by M70."},
        {"G4", "G4 without the dwell time P."},
        {"G4 P-1", "Negative dwell time P."},
        {"G43 H1.5", "Length offset H is not a whole number from 0."},
        {"(ABORT, broken tool)", "Program aborted: broken tool"},
        {"G0 X2 (abort,stop here)", "Program aborted:stop here"},
        // Coordinate systems.
        {"G10 P1 X1", "G10 without L."},
        {"G10 L3 P1", "G10 L3 is not supported."},
        {"G10 L2 X1", "G10 L2 without the coordinate system P."},
        {"G10 L20 P10 X1", "Coordinate system P of G10 is not 0 to 9."},
        {"G92", "G92 without axis words."},
        {"G52", "G52 without axis words."},
        {"G53", "G53 without axis words."},
        {"G53 G2 X3 I1", "G53 with another motion than G0 or G1."},
        {"G91 G53 G0 X1", "G53 in incremental distance mode (G91)."},
        {"G41\nG53 G0 X1", "G53 with cutter compensation on."},
        {"G0 @1 X1", "Polar coordinates with X or Y in one block."},
        // Feeds and arcs.
        {"G93 G1 X2", "Inverse time feed (G93) without F in a G1 block."},
        {"G93 G1 X2 F0", "Zero inverse time feed F in a G1 block."},
        {"F0 G1 X2", "G1 with a feed rate F of zero."},
        {"F0 G3 X3 I1", "G3 with a feed rate F of zero."},
        {"G2 X3 I1 K1", "Arc centre offset K along the axis of the plane."},
        {"G2 X3 R1 I1", "Arc with both a radius R and centre offsets."},
        {"G2 X1 R1", "Arc given by a radius R ends where it starts."},
        {"G2 X5 R1", "Arc radius R too small to reach the end point."},
        {"G2 X3", "Arc without a radius R or centre offsets."},
        {"G2 X3 I0 J0", "Arc of zero radius: its centre is its start."},
        {"G2 X3 I2", "Arc end is not on its circle: radius to the start 2.000000, to the end 0.000000."},
        {"G2 X3 I1 P0", "Arc turns P is not a whole number from 1."},
        // Canned cycles.
        {"G81 X1 Z-1", "Canned cycle G81 without the reference level R."},
        {"G81 X1 R1", "Canned cycle G81 without the bottom Z."},
        {"G83 X1 Z-1 R1", "Canned cycle G83 without the peck Q."},
        {"G73 X1 Z-1 R1 Q0", "Peck Q of G73 is not above zero."},
        {"G82 X1 Z-1 R1 P-1", "Negative dwell time P."},
        {"G81 X1 Z-1 R1 L1.5", "Repeat count L is not a whole number from 0 to 1000000."},
        {"G81 X1 Z2 R1", "Bottom of the hole above its reference level R."},
        {"F0 G81 X1 Z-1 R1", "G81 with a feed rate F of zero."},
        // O words.
        {"o1 if", "o1 needs a condition in brackets."},
        {"o1 while 1", "o1 needs a condition in brackets."},
        {"o1 if [1] 2", "Unexpected text after the condition of o1."},
        {"o1 sub\no1 return [1] [2]\no1 endsub\no1 call", "Unexpected text after the value of o1.", 2},
        {"o1 do 5", "Unexpected text after o1."},
        {"o1 break", "o1 break is not inside a loop o1."},
        {"o2 while [1]\no1 continue", "o1 continue is not inside a loop o1."},
        {"o1 return", "o1 return outside a subroutine."},
        {"o1 endsub", "o1 endsub outside a subroutine."},
        {"o1 call", "Subroutine o1 is not defined before its call (subroutines in other files are not read)."},
        {"o1 sub\no1 endsub\no1 call 5", "Arguments of o1 call must be in brackets."},
        {manyArguments.c_str(), "More than 30 arguments in o1 call."},
        {"o1 if [0]\no1 elseif 1", "o1 elseif needs a condition in brackets."},
        {"o1 else", "o1 else without its o1 if."},
        {"o1 elseif [1]", "o1 elseif without its o1 if."},
        {"o1 endif", "o1 endif without its o1 if."},
        {"o2 if [1]\no1 endif", "o1 endif without its o1 if."},
        {"o1 endwhile", "o1 endwhile without its o1 while."},
        {"o1 repeat 3", "o1 repeat needs a count in brackets."},
        {"o1 repeat [1.5]", "o1 repeat count is not a whole number."},
        {"o1 endrepeat", "o1 endrepeat without its o1 repeat."},
        // Break and continue belong to while and do loops.
        {"o1 repeat [2]\no1 break\no1 endrepeat", "o1 break is not inside a loop o1.", 2},
        {"o1 repeat [2]\no1 continue\no1 endrepeat", "o1 continue is not inside a loop o1.", 2},
        {"o2 while [1]\no1 sub", "Subroutine o1 is defined inside another block structure."},
        {"o1 sub\no2 sub", "Subroutine o2 is defined inside subroutine o1."},
        {"o1 sub\no2 if [0]\no1 endsub\no1 call", "Subroutine o1 ends without its endsub.", 3},
    };
    for (Case const& c : cases) {
        std::string const blocks = c.blocks;
        Failure const failure = failureOf("G21 G90 F100\nG0 X1\n" + blocks + "\nM2\n");
        auto const line = 2 + (c.line != 0 ? c.line : static_cast<unsigned int>(1 + std::count(blocks.begin(), blocks.end(), '\n')));
        EXPECT_EQ(failure.message, c.message) << blocks;
        if (failure.line == 0)
            continue;
        EXPECT_EQ(failure.line, line) << blocks;
        EXPECT_EQ(std::count(failure.events.begin(), failure.events.end(), rapid(1, 0, 0)), 1) << blocks;
        EXPECT_EQ(std::count(failure.events.begin(), failure.events.end(), L"onClose"), 0) << blocks;
    }
}

TEST(GCodeReaderTest, ErrorsOfTheWholeProgram)
{
    struct Case {
        char const* program;
        unsigned int line;
        char const* message;
    };
    Case const cases[] = {
        {"G0 X1\nG0 X2\n", 2, "File ends without M2, M30 or a closing '%'."},
        {"%\nG0 X1\n", 2, "File ends without its closing '%'."},
        {"G21\nX1\nM2\n", 2, "Axis words without a motion mode (G0, G1, ...)."},
        {"G0 X1\no1 if [0]\nG0 X2\nM2\n", 4, "File ends inside o1 if."},
        {"G0 X1\no1 while [0]\nG0 X2\nM2\n", 4, "File ends inside o1 while."},
        {"G0 X1\no1 repeat [0]\nG0 X2\nM2\n", 4, "File ends inside o1 repeat."},
        {"G0 X1\no1 sub\nG0 X2\nM2\n", 4, "File ends inside subroutine o1."},
    };
    for (Case const& c : cases) {
        Failure const failure = failureOf(c.program);
        EXPECT_EQ(failure.message, c.message) << c.program;
        EXPECT_EQ(failure.line, c.line) << c.program;
        EXPECT_EQ(std::count(failure.events.begin(), failure.events.end(), L"onClose"), 0) << c.program;
    }

    // The exception holds the line as the file has it.
    try {
        Recorder recorder;
        read("G0 X1\n  G0 X1 Q2\r\nM2\n", recorder);
        ADD_FAILURE() << "no error";
    } catch (NCParseException const& e) {
        EXPECT_EQ(e.getLine(), 2u);
        EXPECT_EQ(e.getDetail(), L"  G0 X1 Q2");
        EXPECT_EQ(e.getMessage(), L"Word Q is not used by any code of the block.");
    }

    // Program text held for loops is bounded.
    std::string const comment = "(" + std::string(60000, 'x') + ")\n";
    std::string program = "o1 while [1]\n";
    for (std::size_t size = 0; size <= GCodeReader::MaximumHeldText; size += comment.size())
        program += comment;
    Failure const held = failureOf(program + "o1 endwhile\nM2\n");
    EXPECT_EQ(held.message, "Loops and subroutines hold more program text than the reader keeps (64 MiB).");
    EXPECT_GT(held.line, 1000u);
    Failure const sub = failureOf("o1 sub\n" + program.substr(program.find('\n') + 1) + "o1 endsub\nM2\n");
    EXPECT_EQ(sub.message, "Subroutine o1 is longer than the reader keeps (64 MiB).");
}

// ---------------------------------------------------------------------------------------------
// Stopping: a refused event or an abort ends the run at once.

TEST(GCodeReaderTest, StopsAtARefusedEventOrAnAbort)
{
    std::string const program = "(start)\nN5 S1000 M3\nT1 M6\nG0 X1 Y1 Z5\nM8\nG1 Z0 F100\nG2 X3 I1\nG2 I1 P2\n"
                                "G4 P1\nG81 X5 Z-1 R1\nG80\nG41\nT2 M6\nG43 H2\nG0 A90\nG64 P0.1\nM48\nM30\n";
    std::vector<std::wstring> const all = eventsOf(program);
    std::vector<std::wstring> const names = namesOf(all);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (std::find(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i), names[i]) != names.begin() + static_cast<std::ptrdiff_t>(i))
            continue;
        Recorder recorder;
        recorder.stopAt(names[i]);
        EXPECT_FALSE(read(program, recorder)) << Unicode::toUTF8(names[i]);
        EXPECT_EQ(recorder.events, std::vector<std::wstring>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1))
            << "nothing after the refused " << Unicode::toUTF8(names[i]);
    }

    // Aborted at a block's event, the run stops before the next block; a cycle stops between holes
    // and an endless loop ends too.
    EXPECT_EQ(namesWhenAbortedAt<GCodeReader>(L"onRapid", "G0 X1\nG0 X2\nM2\n"),
        (std::vector<std::wstring> {L"onOpen", L"onContext", L"onTool", L"onSection", L"onRapid"}));
    std::vector<std::wstring> const cycle
        = namesWhenAbortedAt<GCodeReader>(L"onLinear", "G0 Z5\nG91 G81 X1 Z-2 R-4 L1000 F100\nM2\n");
    EXPECT_LT(std::count(cycle.begin(), cycle.end(), L"onLinear"), 3);
    std::vector<std::wstring> const loop
        = namesWhenAbortedAt<GCodeReader>(L"onRapid", "o1 while [1]\nG0 X1\no1 endwhile\nM2\n");
    EXPECT_EQ(std::count(loop.begin(), loop.end(), L"onRapid"), 1);
}

