#include "nc/nc/NCCompare.h"

#include "examples/ExampleProgram.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycle.h"
#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/GCodeWriter.h"
#include "nc/nc/io/MastercamNCIReader.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace Quarn {
namespace {

using Result = NCCompare::Result;
constexpr double Pi = std::numbers::pi;

// A move of a test program: a rapid, a feed line, or an arc about centre in the XY plane.
struct Move {
    enum Kind { Rapid, Line, CW, CCW, Line5D } kind;
    Vector3D end;
    Vector3D centre {};
    double feed = 500.0;
    Vector3D axis {0.0, 0.0, 1.0};
};
using Moves = std::vector<Move>;

struct Program {
    std::vector<Moves> sections;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    unsigned int tool = 1;
    double spindle = 8000.0;
};

// Sends the program, each move after onLineNumber(its line: 1 for the first move, counting on
// through every section).
bool send(NCStream& stream, Program const& program)
{
    NCContext context;
    context.setUnit(program.unit);
    NCTool tool;
    tool.setNumber(program.tool);
    tool.setSpindleRPM(program.spindle);
    unsigned int line = 0;
    if (!stream.onOpen())
        return false;
    for (Moves const& moves : program.sections) {
        if (!stream.onContext(context) || !stream.onTool(tool) || !stream.onSection())
            return false;
        for (Move const& move : moves) {
            unsigned int const flags = NCStream::getMovementFlags(
                move.kind == Move::Rapid ? NCStream::MOVEMENT_RAPID : NCStream::MOVEMENT_CUTTING);
            Vector3D const up(0.0, 0.0, 1.0);
            bool const sent = stream.onLineNumber(++line) && [&] {
                switch (move.kind) {
                case Move::Rapid:
                    return stream.onRapid(move.end, flags);
                case Move::Line:
                    return stream.onLinear(move.end, move.feed, flags);
                case Move::CW:
                    return stream.onCWArc(move.centre, move.end, up, move.feed, flags);
                case Move::CCW:
                    return stream.onCCWArc(move.centre, move.end, up, move.feed, flags);
                case Move::Line5D:
                    return stream.onLinear5D(move.end, move.axis, move.feed, flags | NCStream::FLAG_ABSOLUTE_DIRECTION);
                }
                return false;
            }();
            if (!sent)
                return false;
        }
        if (!stream.onSectionEnd())
            return false;
    }
    return stream.onClose();
}

NCCompare::Source source(Program const& program)
{
    return [program](NCStream& stream) { return send(stream, program); };
}

Result compare(Program const& a, Program const& b, NCCompare::Options const& options = {})
{
    return NCCompare(options).compare(source(a), source(b));
}

NCCompare::Options tolerance(double millimetres)
{
    NCCompare::Options options;
    options.tolerance = millimetres;
    return options;
}

// A zigzag of n feed moves after a rapid to its start: peaks at y = 5, valleys at y = 0, 1 mm apart.
Moves zigzag(int n, double x0 = 0.0, double z = -1.0)
{
    Moves moves {{Move::Rapid, {x0, 0.0, z}}};
    for (int i = 1; i <= n; ++i)
        moves.push_back({Move::Line, {x0 + i, (i % 2) * 5.0, z}});
    return moves;
}

// The program written by the G-code writer, and the source that reads the text back, sending the
// file's line of each block.
std::string toGCode(NCCompare::Source const& program)
{
    MemoryOutputStream out;
    GCodeWriter writer(&out);
    EXPECT_TRUE(program(writer));
    return out.getData();
}

NCCompare::Source fromGCode(std::string text)
{
    return [text = std::move(text)](NCStream& stream) {
        GCodeReader reader;
        reader.setPassThroughLineNumbers(true);
        reader.setNCStream(&stream);
        MemoryInputStream in(text);
        return reader.import(&in);
    };
}

// The line (from 1) of the text where needle starts, and the text with it replaced.
std::pair<unsigned int, std::string> edit(std::string text, std::string const& needle, std::string const& replacement)
{
    std::size_t const at = text.find(needle);
    if (at == std::string::npos) {
        ADD_FAILURE() << "no " << needle;
        return {0, text};
    }
    // A needle that starts with a line feed names the line after it.
    std::size_t const start = at + (needle.front() == '\n' ? 1 : 0);
    auto const line = static_cast<unsigned int>(std::count(text.begin(), text.begin() + start, '\n') + 1);
    text.replace(at, needle.size(), replacement);
    return {line, text};
}

TEST(NCCompareTest, AProgramAgreesWithItselfExactly)
{
    Result const result = NCCompare().compare(Examples::sendExampleProgram, Examples::sendExampleProgram);
    EXPECT_TRUE(result.agree());
    ASSERT_TRUE(result.path.largest);
    EXPECT_EQ(result.path.largest->deviation, 0.0);
    ASSERT_TRUE(result.axis.largest);
    EXPECT_EQ(result.axis.largest->deviation, 0.0);
    EXPECT_GT(result.movesA, 40u);
    EXPECT_EQ(result.movesA, result.movesB);
    EXPECT_EQ(result.verticesA, result.verticesB);
    EXPECT_FALSE(result.stoppedA || result.stoppedB);
}

TEST(NCCompareTest, AProgramAgreesWithItsGCodeWithinTheWritersRounding)
{
    std::string const gcode = toGCode(Examples::sendThreeAxisPart);
    Result const result = NCCompare(tolerance(0.001)).compare(Examples::sendThreeAxisPart, fromGCode(gcode));
    EXPECT_TRUE(result.agree()) << (result.path.firstParting ? result.path.firstParting->deviation : 0.0) << "\n"
                                << gcode;
    ASSERT_TRUE(result.path.largest);
    // Three decimals: each coordinate within half a thousandth.
    EXPECT_LE(result.path.largest->deviation, 0.0005 * std::sqrt(3.0));
    EXPECT_GT(result.movesB, 20u);
}

TEST(NCCompareTest, AnArcAgreesWithItsLinesOnlyAboveTheirChordalError)
{
    // A quarter circle of radius 10 and the same as 8 chords: they part by r (1 - cos(pi / 32)).
    double const r = 10.0;
    int const chords = 8;
    double const chordal = r * (1.0 - std::cos(Pi / 4.0 / chords));
    Program arc {{{{Move::Rapid, {r, 0.0, 0.0}}, {Move::CCW, {0.0, r, 0.0}, {0.0, 0.0, 0.0}}}}};
    Program lines {{{{Move::Rapid, {r, 0.0, 0.0}}}}};
    for (int i = 1; i <= chords; ++i) {
        double const angle = Pi / 2.0 * i / chords;
        lines.sections[0].push_back({Move::Line, {r * std::cos(angle), r * std::sin(angle), 0.0}});
    }
    for (double const factor : {0.5, 0.9, 1.1, 2.0}) {
        SCOPED_TRACE(factor);
        double const tol = chordal * factor;
        for (bool const arcFirst : {true, false}) {
            Result const result = arcFirst ? compare(arc, lines, tolerance(tol)) : compare(lines, arc, tolerance(tol));
            EXPECT_EQ(result.agree(), factor > 1.0);
            ASSERT_TRUE(result.path.largest);
            // Measured within a tenth of the tolerance, never above the true deviation.
            EXPECT_LE(result.path.largest->deviation, chordal + 1e-12);
            EXPECT_GE(result.path.largest->deviation, chordal - tol / 10.0);
            EXPECT_EQ(result.path.partings, factor > 1.0 ? 0u : static_cast<unsigned int>(chords));
        }
    }
    // The same circle split elsewhere is the same path.
    Program halves {{{{Move::Rapid, {r, 0.0, 0.0}}, {Move::CCW, {r * std::cos(0.3), r * std::sin(0.3), 0.0}, {}},
        {Move::CCW, {0.0, r, 0.0}, {}}}}};
    Result const same = compare(arc, halves, tolerance(1e-6));
    EXPECT_TRUE(same.agree());
    EXPECT_LE(same.path.largest->deviation, 1e-9);
    // The other way round the circle is not, nor the other half of a circle between the same ends.
    Program clockwise {{{{Move::Rapid, {r, 0.0, 0.0}}, {Move::CW, {0.0, r, 0.0}, {}}}}};
    Result const reversed = compare(arc, clockwise);
    EXPECT_FALSE(reversed.agree());
    EXPECT_GT(reversed.path.largest->deviation, r);
    Program upper {{{{Move::Rapid, {r, 0.0, 0.0}}, {Move::CCW, {-r, 0.0, 0.0}, {}}}}};
    Program lower {{{{Move::Rapid, {r, 0.0, 0.0}}, {Move::CW, {-r, 0.0, 0.0}, {}}}}};
    Result const otherHalf = compare(upper, lower);
    EXPECT_FALSE(otherHalf.agree());
    EXPECT_GT(otherHalf.path.largest->deviation, r);
}

TEST(NCCompareTest, AHoleCycleIsTheMovesItMakes)
{
    // The NCI toolpath's peck drilling read as a cycle group against the same read with the holes
    // expanded.
    std::filesystem::path const path = std::filesystem::path(QUARN_SOURCE_DIR) / "examples" / "synthetic-mill.nci";
    auto nci = [&path](bool expand) {
        return [&path, expand](NCStream& stream) {
            MastercamNCIReader reader;
            reader.setExpandCycles(expand);
            reader.setNCStream(&stream);
            return reader.import(path.wstring());
        };
    };
    Result const result = NCCompare(tolerance(1e-6)).compare(nci(false), nci(true));
    EXPECT_TRUE(result.agree());
    EXPECT_EQ(result.path.largest->deviation, 0.0);
    EXPECT_EQ(result.movesA, result.movesB);

    // A cycle group against moves made by hand, and against a deeper hole.
    auto holes = [](NCCycle::Cycle kind, double depth, bool expanded) {
        return [kind, depth, expanded](NCStream& stream) {
            NCCycleDefinition cycle(kind);
            cycle.setValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, 10.0);
            cycle.setValue(NCCycleDefinition::VALUE_REFERENCE_HEIGHT, 2.0);
            cycle.setValue(NCCycleDefinition::VALUE_DEPTH, depth);
            cycle.setValue(NCCycleDefinition::VALUE_FIRST_PECK, 3.0);
            cycle.setValue(NCCycleDefinition::VALUE_SUBSEQUENT_PECK, 2.0);
            cycle.setValue(NCCycleDefinition::VALUE_PECK_CLEARANCE, 0.5);
            cycle.setValue(NCCycleDefinition::VALUE_FEEDRATE, 120.0);
            if (!stream.onOpen() || !stream.onContext(NCContext()) || !stream.onSection()
                || !stream.onRapid({0.0, 0.0, 10.0}, 0))
                return false;
            for (Vector3D const top : {Vector3D(5.0, 5.0, 0.0), Vector3D(15.0, 5.0, 0.0)}) {
                if (expanded) {
                    if (!cycle.expandHole(stream, top, top - Vector3D(0.0, 0.0, depth)))
                        return false;
                    continue;
                }
                if (top.x == 5.0
                    && (!stream.onGroup(NCCycleDefinition::getUri(kind).c_str()) || !cycle.sendParameters(stream)))
                    return false;
                if (!stream.onRapid(top, 0))
                    return false;
            }
            return (expanded || stream.onGroupEnd()) && stream.onSectionEnd() && stream.onClose();
        };
    };
    Result const pecks
        = NCCompare(tolerance(1e-6))
              .compare(holes(NCCycle::CYCLE_DEEP_DRILLING, 7.0, false), holes(NCCycle::CYCLE_DEEP_DRILLING, 7.0, true));
    EXPECT_TRUE(pecks.agree());
    EXPECT_GT(pecks.movesA, 20u);
    EXPECT_EQ(pecks.movesA, pecks.movesB);
    Result const deeper
        = NCCompare().compare(holes(NCCycle::CYCLE_DRILLING, 7.0, false), holes(NCCycle::CYCLE_DRILLING, 7.5, true));
    EXPECT_FALSE(deeper.agree());
    EXPECT_NEAR(deeper.path.largest->deviation, 0.5, 1e-9);
}

TEST(NCCompareTest, AHandEditIsFoundAtItsLineWithItsDeviation)
{
    Program const program {{zigzag(4000)}};
    std::string const gcode = toGCode(source(program));
    // The peak at x = 2001: "X2001 Y5" becomes Y5.01.
    auto const [line, edited] = edit(gcode, "\nX2001 Y5\n", "\nX2001 Y5.01\n");
    Result const result = NCCompare(tolerance(0.005)).compare(source(program), fromGCode(edited));
    EXPECT_EQ(result.path.partings, 1u);
    ASSERT_TRUE(result.path.firstParting);
    NCCompare::Place const& parting = *result.path.firstParting;
    EXPECT_EQ(parting.b.line, line);
    // The original's move to that peak is its 2002nd (the rapid first), after onLineNumber 2002.
    EXPECT_EQ(parting.a.line, 2002u);
    EXPECT_NEAR(parting.deviation, 0.01, 1e-9);
    EXPECT_NEAR(parting.pointB.y, 5.01, 1e-9);
    EXPECT_NEAR(result.path.largest->deviation, 0.01, 1e-9);
    // Everything else agrees: feeds, spindle, tools.
    EXPECT_EQ(result.feeds.count + result.spindle.count + result.tools.count, 0u);
}

TEST(NCCompareTest, AMissingOrExtraMoveShowsAsItsDetourAndTheWalkGoesOn)
{
    Program const full {{zigzag(300)}};
    Program missing = full;
    // Without the move to the peak at x = 101 the path runs straight along the valley there.
    missing.sections[0].erase(missing.sections[0].begin() + 101);
    for (bool const fullFirst : {true, false}) {
        SCOPED_TRACE(fullFirst);
        Result const result = fullFirst ? compare(full, missing) : compare(missing, full);
        EXPECT_EQ(result.path.partings, 1u);
        ASSERT_TRUE(result.path.largest);
        EXPECT_NEAR(result.path.largest->deviation, 5.0, 1e-9);
        NCCompare::Location const& detour = fullFirst ? result.path.largest->a : result.path.largest->b;
        EXPECT_EQ(detour.line, 102u);
    }
    // A long detour (a retract and a return) the other program lacks: found, and the rest agrees.
    Program retract = full;
    Moves& moves = retract.sections[0];
    moves.insert(moves.begin() + 150, {{Move::Rapid, {149.0, 5.0, 50.0}}, {Move::Rapid, {149.0, 5.0, -1.0}}});
    Result const result = compare(full, retract);
    EXPECT_EQ(result.path.partings, 1u);
    EXPECT_NEAR(result.path.largest->deviation, 51.0, 1e-9);
    EXPECT_EQ(result.path.largest->b.line, 151u);
    EXPECT_EQ(result.feeds.count, 0u);
}

TEST(NCCompareTest, SwappedSectionsPartAtTheFirst)
{
    Program const inOrder {{zigzag(50, 0.0), zigzag(50, 100.0)}};
    Program const swapped {{inOrder.sections[1], inOrder.sections[0]}};
    Result const result = compare(inOrder, swapped);
    EXPECT_FALSE(result.agree());
    ASSERT_TRUE(result.path.firstParting);
    EXPECT_EQ(result.path.firstParting->a.section, 1u);
    EXPECT_EQ(result.path.firstParting->b.section, 1u);
    EXPECT_NEAR(result.path.firstParting->deviation, 100.0, 1e-9);
}

TEST(NCCompareTest, ToolAxesAreComparedInDegrees)
{
    auto tilted = [](double degrees) {
        Moves moves {{Move::Rapid, {0.0, 0.0, 5.0}}};
        for (int i = 1; i <= 20; ++i) {
            double const angle = (i == 10 ? degrees : 0.0) * Pi / 180.0;
            moves.push_back(
                {Move::Line5D, {static_cast<double>(i), 0.0, 0.0}, {}, 300.0, {std::sin(angle), 0.0, std::cos(angle)}});
        }
        return Program {{moves}};
    };
    NCCompare::Options options;
    options.axisTolerance = 0.1;
    Result const result = compare(tilted(0.0), tilted(0.5), options);
    EXPECT_EQ(result.path.partings, 0u);
    EXPECT_EQ(result.axis.partings, 1u);
    ASSERT_TRUE(result.axis.largest);
    EXPECT_NEAR(result.axis.largest->deviation, 0.5, 1e-9);
    EXPECT_EQ(result.axis.largest->a.line, 11u);
    options.axisTolerance = 1.0;
    EXPECT_TRUE(compare(tilted(0.0), tilted(0.5), options).agree());
}

TEST(NCCompareTest, FeedsSpindleAndToolsAreComparedEachOnItsOwn)
{
    Program const program {{zigzag(20)}};
    Program rapid = program;
    rapid.sections[0][5].kind = Move::Rapid;
    Result const result = compare(program, rapid);
    EXPECT_EQ(result.path.partings, 0u);
    EXPECT_EQ(result.feeds.count, 1u);
    ASSERT_TRUE(result.feeds.first);
    EXPECT_EQ(result.feeds.first->a.line, 6u);
    EXPECT_EQ(result.feeds.first->valueA, 500.0);
    EXPECT_TRUE(std::isnan(result.feeds.first->valueB));

    Program other = program;
    other.spindle = 9000.0;
    other.tool = 2;
    other.sections[0][7].feed = 501.0;
    Result const values = compare(program, other);
    EXPECT_EQ(values.feeds.count, 1u);
    EXPECT_EQ(values.spindle.count, 1u);
    EXPECT_EQ(values.tools.count, 1u);
    EXPECT_EQ(values.tools.first->valueB, 2.0);
    NCCompare::Options ignore;
    ignore.compareFeeds = ignore.compareSpindle = ignore.compareTools = false;
    Result const ignored = compare(program, other, ignore);
    EXPECT_TRUE(ignored.agree());
    EXPECT_EQ(ignored.feeds.count + ignored.spindle.count + ignored.tools.count, 0u);
}

TEST(NCCompareTest, InchesAreConverted)
{
    Program metric {{{{Move::Rapid, {0.0, 0.0, 0.0}}, {Move::Line, {25.4, 50.8, 0.0}, {}, 254.0},
        {Move::CW, {50.8, 50.8, 0.0}, {38.1, 50.8, 0.0}, 254.0}}}};
    Program imperial {{{{Move::Rapid, {0.0, 0.0, 0.0}}, {Move::Line, {1.0, 2.0, 0.0}, {}, 10.0},
        {Move::CW, {2.0, 2.0, 0.0}, {1.5, 2.0, 0.0}, 10.0}}}};
    imperial.unit = NCUnit::INCHES;
    Result const result = compare(metric, imperial, tolerance(1e-6));
    EXPECT_TRUE(result.agree());
}

TEST(NCCompareTest, ErrorsOfASourceComeBackAndStopTheOther)
{
    Program const program {{zigzag(100000)}};
    NCCompare::Source const failing = [](NCStream& stream) -> bool {
        stream.onOpen();
        stream.onRapid({0.0, 0.0, 0.0}, 0);
        throw std::runtime_error("cut short");
    };
    EXPECT_THROW(
        {
            try {
                NCCompare().compare(source(program), failing);
            } catch (std::runtime_error const& e) {
                EXPECT_STREQ(e.what(), "cut short");
                throw;
            }
        },
        std::runtime_error);
    NCCompare::Source const stopping = [](NCStream& stream) { return stream.onOpen() && false; };
    Result const stopped = NCCompare().compare(stopping, stopping);
    EXPECT_TRUE(stopped.stoppedA && stopped.stoppedB);
    // A program without a path against one with a path: they do not agree.
    Result const empty = NCCompare().compare(stopping, source(program));
    EXPECT_FALSE(empty.agree());
    EXPECT_EQ(empty.movesA, 0u);

    NCCompare::Options bad;
    bad.tolerance = 0.0;
    EXPECT_THROW(NCCompare {bad}, std::invalid_argument);
    bad.tolerance = std::nan("");
    EXPECT_THROW(NCCompare {bad}, std::invalid_argument);
    bad = {};
    bad.axisTolerance = -1.0;
    EXPECT_THROW(NCCompare {bad}, std::invalid_argument);
}

TEST(NCCompareTest, LongProgramsAgreeThroughManyChunks)
{
    auto generated = [](NCStream& stream) { return Examples::sendGeneratedProgram(stream, 200000); };
    Result const result = NCCompare().compare(generated, generated);
    EXPECT_TRUE(result.agree());
    EXPECT_EQ(result.movesA, 200000u);
    EXPECT_EQ(result.path.largest->deviation, 0.0);
}

} // namespace
} // namespace Quarn
