// GCodeReader checked by LinuxCNC's interpreter: the sample programs LinuxCNC ships, run by
// `rs274 -g` and read by the reader, must make the same moves.
#include "nc/nc/io/GCodeReader.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/RS274Canon.h"
#include "util/utility/RuntimeException.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <numbers>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Quarn;
using namespace Quarn::TestSupport;
namespace fs = std::filesystem;

// The share of the programs rs274 runs that the reader must read to the same moves. Raise it as
// the reader learns more; never lower it.
constexpr double RequiredAgreement = 0.80;

// rs274 prints 4 decimals.
constexpr double Tolerance = 1e-4 + 1e-9;
constexpr double Pi = std::numbers::pi;

fs::path const Samples = "/usr/share/linuxcnc/ncfiles";

std::string text(double value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.4f", value);
    return buffer;
}

std::string text(Vector3D const& v) { return "(" + text(v.x) + ", " + text(v.y) + ", " + text(v.z) + ")"; }

bool near(Vector3D const& a, Vector3D const& b)
{
    return std::abs(a.x - b.x) <= Tolerance && std::abs(a.y - b.y) <= Tolerance && std::abs(a.z - b.z) <= Tolerance;
}

// A move of either side in the control's coordinates and the unit it was made in. Moves that go
// nowhere (a traverse or feed to where the tool is, with the rotary axes unchanged) and dwells of
// no time change nothing on the machine and are left out on both sides; so is the tool change.
struct Move {
    enum Kind { Traverse, Feed, Arc, Dwell, Other } kind;
    std::string what; // the event or call, for messages
    bool inches = false;
    Vector3D end {};
    // Arcs: the centre (only its coordinates in the plane count), the plane's axis (0 X, 1 Y,
    // 2 Z) and rs274's rotation: counter-clockwise about the axis positive, |rotation| turns.
    Vector3D centre {};
    int axis = 2;
    int rotation = 0;
    double time = 0.0;
    std::array<double, 3> abc {}; // A, B, C after the move, in degrees
};

char const* kindName(Move::Kind kind)
{
    static char const* const names[] = {"traverse", "feed", "arc", "dwell", "other motion"};
    return names[kind];
}

// The moves of rs274's motions.
std::vector<Move> theirMoves(std::vector<Motion> const& motions)
{
    std::vector<Move> moves;
    std::optional<Motion> last;
    for (Motion const& m : motions) {
        std::string call = m.call.substr(std::min(m.call.find(" N"), m.call.size()));
        call.erase(0, call.find_first_not_of(' '));
        switch (m.kind) {
        case Motion::Traverse:
        case Motion::Feed: {
            // The replay does not convert the position at a change of units: compare in one.
            Vector3D from = last ? last->end : Vector3D();
            if (last && last->inches != m.inches)
                from = m.inches ? from / 25.4 : from * 25.4;
            bool const still = last ? last->abc == m.abc : m.abc == std::array<double, 3> {};
            if (!(still && near(from, m.end)))
                moves.push_back({.kind = m.kind == Motion::Traverse ? Move::Traverse : Move::Feed,
                    .what = call,
                    .inches = m.inches,
                    .end = m.end,
                    .abc = m.abc});
            last = m;
            break;
        }
        case Motion::Arc:
            moves.push_back({.kind = Move::Arc,
                .what = call,
                .inches = m.inches,
                .end = m.end,
                .centre = m.centre,
                .axis = m.axis,
                .rotation = m.rotation,
                .abc = m.abc});
            last = m;
            break;
        case Motion::Dwell:
            if (m.time > 0.0)
                moves.push_back({.kind = Move::Dwell, .what = call, .inches = m.inches, .time = m.time});
            break;
        case Motion::Other:
            moves.push_back({.kind = Move::Other, .what = call, .inches = m.inches, .end = m.end});
            break;
        case Motion::Tool:
            break;
        }
    }
    return moves;
}

// Records the reader's moves in the control's coordinates: a point p of the stream lies at
// origin + plane p of its context. The rotary axes are those of the last machine-axis values, which
// come before their move; the reader passes the file's line of every block on, for messages.
class MoveRecorder final : public NCStreamDefaultImpl {
public:
    explicit MoveRecorder(std::vector<std::string> const& program) : program(program) { }

    std::vector<Move> moves;

    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onRapid5D;

    bool onContext(NCContext const& context) override
    {
        inches = context.getUnit() == NCUnit::INCHES;
        origin = context.getOrigin();
        plane = context.getPlane();
        return true;
    }
    bool onLineNumber(unsigned int number) override
    {
        line = number;
        return true;
    }
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override
    {
        rotary = {-1, -1, -1};
        for (int i = 0; i < ordering.size(); ++i) {
            std::string const name = ordering.axisName(i).getName();
            if (name.size() == 1 && name[0] >= 'A' && name[0] <= 'C')
                rotary[static_cast<std::size_t>(name[0] - 'A')] = i;
        }
        return true;
    }
    bool onMachineAxisValues(AxisValues const& values) override
    {
        for (std::size_t k = 0; k < 3; ++k)
            if (rotary[k] >= 0 && rotary[k] < values.size())
                abc[k] = values[rotary[k]].value();
        return true;
    }
    bool onRapid(Vector3D const& end, unsigned int) override { return straight(Move::Traverse, "onRapid", end); }
    bool onRapid5D(Vector3D const& end, Vector3D const&, unsigned int) override
    {
        return straight(Move::Traverse, "onRapid5D", end);
    }
    bool onLinear(Vector3D const& end, double, unsigned int) override { return straight(Move::Feed, "onLinear", end); }
    bool onLinear5D(Vector3D const& end, Vector3D const&, double, unsigned int) override
    {
        return straight(Move::Feed, "onLinear5D", end);
    }
    bool onCWArc(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double, unsigned int) override
    {
        return arc("onCWArc", centre, end, normal, -1, 1);
    }
    bool onCCWArc(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double, unsigned int) override
    {
        return arc("onCCWArc", centre, end, normal, 1, 1);
    }
    bool onCWCircle(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double, unsigned int) override
    {
        return arc("onCWCircle", centre, end, normal, -1, 1);
    }
    bool onCCWCircle(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double, unsigned int) override
    {
        return arc("onCCWCircle", centre, end, normal, 1, 1);
    }
    bool onCircular(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double sweep, double,
        unsigned int) override
    {
        int const turns = std::max(1, static_cast<int>(std::ceil(std::abs(sweep) / (2.0 * Pi) - 1e-9)));
        return arc("onCircular " + text(sweep), centre, end, normal, sweep < 0.0 ? -1 : 1, turns);
    }
    bool onDwell(double time, unsigned int) override
    {
        if (time > 0.0)
            moves.push_back(
                {.kind = Move::Dwell, .what = "onDwell " + text(time) + where(), .inches = inches, .time = time});
        return true;
    }
    // Moves rs274 would print as something else than traverses, feeds and arcs.
    bool onLinearExtrude(Vector3D const& end, double, double) override { return other("onLinearExtrude", end); }
    bool onCWArcExtrude(Vector3D const&, Vector3D const& end, Vector3D const&, double, double, unsigned int) override
    {
        return other("onCWArcExtrude", end);
    }
    bool onCCWArcExtrude(Vector3D const&, Vector3D const& end, Vector3D const&, double, double, unsigned int) override
    {
        return other("onCCWArcExtrude", end);
    }
    bool onCircularExtrude(
        Vector3D const&, Vector3D const& end, Vector3D const&, double, double, double, unsigned int) override
    {
        return other("onCircularExtrude", end);
    }
    bool onSpline(Vector3D const&, Vector3D const&, Vector3D const& end, double, unsigned int) override
    {
        return other("onSpline", end);
    }
    bool onBezier(Vector3D const&, Vector3D const&, Vector3D const& end, double, unsigned int) override
    {
        return other("onBezier", end);
    }
    bool onNURBS(Vector3D const* points, unsigned int count, double const*, unsigned int, double, unsigned int) override
    {
        return other("onNURBS", count > 0 && points ? points[count - 1] : position);
    }

private:
    Vector3D map(Vector3D const& p) const { return origin + plane * p; }
    std::string where() const
    {
        if (!line)
            return {};
        std::string const source = *line >= 1 && *line <= program.size() ? program[*line - 1] : std::string();
        return " (line " + std::to_string(*line) + ": " + source.substr(0, 100) + ")";
    }

    bool straight(Move::Kind kind, char const* name, Vector3D const& end)
    {
        Vector3D const to = map(end);
        if (!near(to, position) || abc != lastAbc)
            moves.push_back(
                {.kind = kind, .what = name + (" " + text(to)) + where(), .inches = inches, .end = to, .abc = abc});
        position = to;
        lastAbc = abc;
        return true;
    }
    bool arc(std::string const& name, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
        int direction, int turns)
    {
        Vector3D const n = plane * normal;
        int axis = -1;
        for (int a = 0; a < 3; ++a)
            if (std::abs(std::abs(n[a]) - 1.0) < 1e-9)
                axis = a;
        int const sign = axis >= 0 && n[axis] < 0.0 ? -direction : direction;
        position = map(end);
        moves.push_back({.kind = Move::Arc,
            .what = name + " centre " + text(map(centre)) + " end " + text(position) + " normal " + text(n) + where(),
            .inches = inches,
            .end = position,
            .centre = map(centre),
            .axis = axis,
            .rotation = sign * turns,
            .abc = abc});
        lastAbc = abc;
        return true;
    }
    bool other(char const* name, Vector3D const& end)
    {
        position = map(end);
        moves.push_back(
            {.kind = Move::Other, .what = name + (" " + text(position)) + where(), .inches = inches, .end = position});
        return true;
    }

    bool inches = false;
    Vector3D origin {};
    Matrix3x3 plane;
    Vector3D position {}; // the control starts at its origin, as rs274 does
    std::array<int, 3> rotary {-1, -1, -1}; // the entries of A, B, C in the machine-axis values
    std::array<double, 3> abc {}, lastAbc {};
    std::optional<unsigned int> line;
    std::vector<std::string> const& program;
};

// Why move a (ours) is not move b (rs274's); empty when it is.
std::string difference(Move const& a, Move const& b)
{
    if (a.kind != b.kind)
        return std::string("a ") + kindName(a.kind) + ", not a " + kindName(b.kind);
    if (a.inches != b.inches)
        return std::string("in ") + (a.inches ? "inches" : "millimetres") + ", rs274 in "
            + (b.inches ? "inches" : "millimetres");
    if (a.kind == Move::Dwell)
        return std::abs(a.time - b.time) <= Tolerance ? std::string() : "dwell " + text(a.time) + " s";
    if (!near(a.end, b.end))
        return "end " + text(a.end) + ", rs274 " + text(b.end);
    for (std::size_t k = 0; k < 3; ++k)
        if (std::abs(a.abc[k] - b.abc[k]) > Tolerance)
            return std::string(1, "ABC"[k]) + " " + text(a.abc[k]) + ", rs274 " + text(b.abc[k]);
    if (a.kind != Move::Arc)
        return {};
    char const* const planes[] = {"YZ", "XZ", "XY"};
    if (a.axis < 0)
        return "an arc about a normal along no axis";
    if (a.axis != b.axis)
        return std::string("an arc in the ") + planes[a.axis] + " plane, rs274 in " + planes[b.axis];
    if (a.rotation != b.rotation)
        return "rotation " + std::to_string(a.rotation) + ", rs274 " + std::to_string(b.rotation);
    for (int k = 0; k < 3; ++k)
        if (k != a.axis && std::abs(a.centre[k] - b.centre[k]) > Tolerance)
            return "centre " + text(a.centre) + ", rs274 " + text(b.centre);
    return {};
}

// The first disagreement of the two lists of moves, or nothing when they agree.
std::optional<std::string> firstDisagreement(std::vector<Move> const& ours, std::vector<Move> const& theirs)
{
    std::size_t const common = std::min(ours.size(), theirs.size());
    for (std::size_t i = 0; i < common; ++i)
        if (std::string const why = difference(ours[i], theirs[i]); !why.empty())
            return "move " + std::to_string(i + 1) + ": " + why + "\n      ours:  " + ours[i].what
                + "\n      rs274: " + theirs[i].what;
    std::string const counts = std::to_string(ours.size()) + " moves, rs274 " + std::to_string(theirs.size())
        + "; the first extra (move " + std::to_string(common + 1) + ") ";
    if (ours.size() > common)
        return counts + "is ours: " + ours[common].what;
    if (theirs.size() > common)
        return counts + "is rs274's: " + theirs[common].what;
    return std::nullopt;
}

// What the reader makes of a program: its moves, or why it stopped.
struct Reading {
    std::vector<Move> moves;
    std::optional<std::string> error;
};

Reading readWithReader(fs::path const& program)
{
    Reading result;
    std::vector<std::string> lines;
    std::istringstream source(readWholeFile(program));
    for (std::string line; std::getline(source, line);)
        lines.push_back(line.substr(0, line.find_last_not_of(" \t\r") + 1));
    MoveRecorder recorder(lines);
    GCodeReader reader;
    reader.setNCStream(&recorder);
    reader.setPassThroughLineNumbers(true);
    try {
        if (!reader.import(program.wstring()))
            result.error = "the reader returned false";
    } catch (ParseException const& e) {
        std::string const detail = Unicode::toUTF8(e.getDetail());
        result.error = (e.getLine() ? "line " + std::to_string(*e.getLine()) + ": " : std::string()) + e.what()
            + (detail.empty() ? std::string() : " [" + detail + "]");
    } catch (std::exception const& e) {
        result.error = std::string("exception: ") + e.what();
    }
    result.moves = std::move(recorder.moves);
    return result;
}

class GCodeReaderOracle : public testing::Test {
protected:
    fs::path const scratch = fs::temp_directory_path() / ("gcode-reader-oracle-" + std::to_string(::getpid()));
    fs::path interpreter;

    void SetUp() override
    {
        std::optional<fs::path> found = findInterpreter();
        if (!found)
            GTEST_SKIP() << "LinuxCNC's rs274 is not installed (scripts/install-deps.sh installs linuxcnc-uspace)";
        if (!fs::is_directory(Samples))
            GTEST_SKIP() << "LinuxCNC's sample programs are not in " << Samples;
        interpreter = *found;
        fs::create_directories(scratch);
    }
    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(scratch, ignored);
    }
};

// Every sample program rs274 runs without an error: the reader must make the same traverses,
// feeds, arcs (end, centre, plane, direction and turns), dwells and other motions (probes, splines,
// rigid taps, which this reader does not make: they count against it), in order, for the share
// RequiredAgreement of them. Both sides start at the control's origin in millimetres; every tool
// 0 to 99 has zero length and diameter, so that compensation and length offsets leave positions as
// programmed. rs274 runs in a scratch directory, where subroutines of other files are not found.
TEST_F(GCodeReaderOracle, SampleProgramsMakeTheSameMoves)
{
    std::vector<fs::path> programs;
    for (auto const& entry : fs::recursive_directory_iterator(Samples))
        if (entry.is_regular_file() && entry.path().extension() == ".ngc")
            programs.push_back(entry.path());
    std::sort(programs.begin(), programs.end());
    ASSERT_FALSE(programs.empty()) << "no *.ngc under " << Samples;

    fs::path const tools = scratch / "tools.tbl";
    std::vector<unsigned int> numbers(100);
    for (unsigned int i = 0; i < numbers.size(); ++i)
        numbers[i] = i;
    writeToolTable(tools, numbers);

    // rs274 takes most of the time, starting up: a few runs at once, each in a directory of its own.
    std::vector<RS274Run> runs(programs.size());
    std::atomic<std::size_t> nextProgram {0};
    unsigned int const workers = std::clamp(std::thread::hardware_concurrency(), 1u, 4u);
    std::vector<std::thread> threads;
    for (unsigned int w = 0; w < workers; ++w)
        threads.emplace_back([&, w] {
            fs::path const directory = scratch / ("run-" + std::to_string(w));
            for (std::size_t i; (i = nextProgram++) < programs.size();)
                runs[i] = runInterpreter(
                    interpreter, programs[i], tools, directory, directory / "canon", directory / "errors", 60);
        });
    for (std::thread& thread : threads)
        thread.join();

    std::size_t counted = 0, agreed = 0, still = 0; // still: programs that make no move
    std::string disagreements;
    std::map<std::string, std::vector<std::string>> notCounted; // by rs274's problem
    for (std::size_t i = 0; i < programs.size(); ++i) {
        std::string const name = programs[i].lexically_relative(Samples).string();
        RS274Run const& run = runs[i];
        if (!run.succeeded()) {
            std::string problem = run.timedOut() ? "did not finish within 60 s" : run.problem();
            problem = problem.substr(0, problem.find(" | "));
            notCounted["status " + std::to_string(run.status) + (problem.empty() ? "" : ", " + problem)].push_back(
                name);
            continue;
        }
        ++counted;
        Reading const ours = readWithReader(programs[i]);
        std::vector<Move> const theirs = theirMoves(replay(run.canon));
        if (ours.error) {
            disagreements += "  " + name + ": " + *ours.error + " (after " + std::to_string(ours.moves.size()) + " of "
                + std::to_string(theirs.size()) + " moves)\n";
            continue;
        }
        if (std::optional<std::string> const why = firstDisagreement(ours.moves, theirs)) {
            disagreements += "  " + name + ": " + *why + "\n";
            continue;
        }
        ++agreed;
        still += theirs.empty() ? 1 : 0;
    }
    std::string skipped;
    for (auto const& [problem, names] : notCounted) {
        skipped += "  rs274 " + problem + ":";
        for (std::string const& name : names)
            skipped += " " + name;
        skipped += "\n";
    }
    ASSERT_GT(counted, 0u) << "rs274 runs none of the sample programs:\n" << skipped;
    double const share = static_cast<double>(agreed) / static_cast<double>(counted);
    std::printf("G-code reader agrees with rs274 on %zu of %zu programs (%.1f%%)\n", agreed, counted, 100.0 * share);
    // Many samples only define subroutines and end: they agree by making no move.
    std::printf("  of those that move: %zu of %zu (%.1f%%)\n", agreed - still, counted - still,
        100.0 * static_cast<double>(agreed - still) / static_cast<double>(std::max<std::size_t>(counted - still, 1)));
    if (!disagreements.empty())
        std::printf("The others:\n%s", disagreements.c_str());
    std::printf("Not counted, %zu programs rs274 refuses:\n%s", programs.size() - counted, skipped.c_str());
    EXPECT_GE(share, RequiredAgreement) << "the reader agrees with rs274 on fewer programs than it must";
}

} // namespace
