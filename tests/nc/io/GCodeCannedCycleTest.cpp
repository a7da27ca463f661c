// GCodeCannedCycle: the moves of every cycle as the control makes them, pecks, the three planes,
// preliminary and in-between moves, refused blocks, the group's values and stopping at every event.
// The expected moves were taken once from LinuxCNC's `rs274 -g` for the same programs (noted with
// each case) and are written at its four decimals; the tests do not need it.
#include "nc/nc/io/GCodeCannedCycle.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/io/GCodeExpression.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <limits>
#include <string>
#include <vector>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using Block = GCodeCannedCycle::Block;
using Lines = std::vector<std::string>;

namespace {

double const NaN = std::numeric_limits<double>::quiet_NaN();
double const Inf = std::numeric_limits<double>::infinity();

// G21 G17 F100, R2, bottom -7, Q4, P0.5; G98 from z 10 clears to 10.
Block makeBlock(int word)
{
    Block block;
    block.word = word;
    block.reference = 2;
    block.bottom = -7;
    block.clear = 10;
    block.peck = 4;
    block.dwell = 0.5;
    block.feedrate = 100;
    return block;
}

std::string fixed(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.4f", value);
    return text;
}

// The events in rs274's words: "T x y z" a traverse (rapid), "F x y z" a feed at 100, "dwell t"
// and the commands by name; anything else (other flags, another feedrate) as its raw line.
Lines calls(RecordingNCStream const& sink)
{
    Lines result;
    for (std::wstring const& line : sink.events) {
        std::string const raw(line.begin(), line.end());
        std::wstring const name = line.substr(0, line.find(L' '));
        if (name == L"onRapid" || name == L"onLinear") {
            wchar_t* at = const_cast<wchar_t*>(line.c_str()) + line.find(L'(') + 1;
            double xyz[3];
            for (double& value : xyz) {
                value = std::wcstod(at, &at);
                at += 1; // ',' or ')'
            }
            std::wstring const rest = at;
            bool const rapid = name == L"onRapid";
            if (rest != (rapid ? L" 0" : L" 100 131072")) {
                result.push_back(raw);
                continue;
            }
            result.push_back(
                std::string(rapid ? "T " : "F ") + fixed(xyz[0]) + " " + fixed(xyz[1]) + " " + fixed(xyz[2]));
        } else if (name == L"onDwell" && line.ends_with(L" 0")) {
            result.push_back("dwell " + fixed(std::wcstod(line.c_str() + 8, nullptr)));
        } else if (name == L"onCommand") {
            int const command = std::stoi(line.substr(10));
            result.push_back(command == NCStream::COMMAND_STOP_SPINDLE      ? "stop-spindle"
                    : command == NCStream::COMMAND_SPINDLE_CLOCKWISE        ? "cw"
                    : command == NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE ? "ccw"
                    : command == NCStream::COMMAND_ORIENTATE_SPINDLE        ? "orient"
                    : command == NCStream::COMMAND_STOP                     ? "program-stop"
                                                                            : raw);
        } else {
            result.push_back(raw);
        }
    }
    return result;
}

// The preliminary move and one hole from start.
Lines run(Block const& block, Vector3D start, Vector3D const& hole, Vector3D* end = nullptr)
{
    RecordingNCStream sink;
    EXPECT_TRUE(GCodeCannedCycle::sendPreliminary(sink, block, start));
    EXPECT_TRUE(GCodeCannedCycle::sendHole(sink, block, hole, start));
    if (end != nullptr)
        *end = start;
    return calls(sink);
}

Lines const In = {"T 4.0000 5.0000 10.0000", "T 4.0000 5.0000 2.0000"};
Lines with(Lines lines, Lines const& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

} // namespace

// G98 Gnn X4 Y5 Z-7 R2 (Q4, P0.5, G87 I1 J2 K-3) from (0, 0, 10), spindle M3 (M4 for G74).
TEST(GCodeCannedCycle, EveryCycleMovesAsTheControl)
{
    struct Case {
        int word;
        Lines moves;
    };
    Case const cases[] = {
        {810, with(In, {"F 4.0000 5.0000 -7.0000", "T 4.0000 5.0000 10.0000"})},
        {820, with(In, {"F 4.0000 5.0000 -7.0000", "dwell 0.5000", "T 4.0000 5.0000 10.0000"})},
        {830,
            with(In,
                {"F 4.0000 5.0000 -2.0000", "T 4.0000 5.0000 2.0000", "T 4.0000 5.0000 -1.7460",
                    "F 4.0000 5.0000 -6.0000", "T 4.0000 5.0000 2.0000", "T 4.0000 5.0000 -5.7460",
                    "F 4.0000 5.0000 -7.0000", "T 4.0000 5.0000 10.0000"})},
        {730,
            with(In,
                {"F 4.0000 5.0000 -2.0000", "T 4.0000 5.0000 -1.7460", "F 4.0000 5.0000 -6.0000",
                    "T 4.0000 5.0000 -5.7460", "F 4.0000 5.0000 -7.0000", "T 4.0000 5.0000 10.0000"})},
        {840,
            with(In,
                {"F 4.0000 5.0000 -7.0000", "stop-spindle", "ccw", "dwell 0.5000", "F 4.0000 5.0000 10.0000",
                    "stop-spindle", "cw"})},
        {740,
            with(In,
                {"F 4.0000 5.0000 -7.0000", "stop-spindle", "cw", "dwell 0.5000", "F 4.0000 5.0000 10.0000",
                    "stop-spindle", "ccw"})},
        {850, with(In, {"F 4.0000 5.0000 -7.0000", "F 4.0000 5.0000 2.0000", "T 4.0000 5.0000 10.0000"})},
        {860, with(In, {"F 4.0000 5.0000 -7.0000", "dwell 0.5000", "stop-spindle", "T 4.0000 5.0000 10.0000", "cw"})},
        {870,
            with(In,
                {"T 5.0000 7.0000 2.0000", "stop-spindle", "orient", "T 5.0000 7.0000 -7.0000",
                    "T 4.0000 5.0000 -7.0000", "cw", "F 4.0000 5.0000 -3.0000", "F 4.0000 5.0000 -7.0000",
                    "stop-spindle", "orient", "T 5.0000 7.0000 -7.0000", "T 5.0000 7.0000 10.0000",
                    "T 4.0000 5.0000 10.0000", "cw"})},
        // The operator takes the tool out: the next move starts at the clear level.
        {880, with(In, {"F 4.0000 5.0000 -7.0000", "dwell 0.5000", "stop-spindle", "program-stop", "cw"})},
        {890, with(In, {"F 4.0000 5.0000 -7.0000", "dwell 0.5000", "F 4.0000 5.0000 10.0000"})},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.word);
        Block block = makeBlock(c.word);
        block.backBoringOffset = {1, 2, -3};
        Vector3D end;
        EXPECT_EQ(run(block, {0, 0, 10}, {4, 5, -7}, &end), c.moves);
        EXPECT_EQ(end, Vector3D(4, 5, 10));
    }
}

TEST(GCodeCannedCycle, SpindleComesBackOnInItsDirection)
{
    // M4: G86, G87 and G88 turn it back on counter-clockwise.
    for (int word : {860, 870, 880}) {
        SCOPED_TRACE(word);
        Block block = makeBlock(word);
        block.backBoringOffset = {1, 2, -3};
        block.counterClockwise = true;
        Lines const moves = run(block, {0, 0, 10}, {4, 5, -7});
        EXPECT_EQ(std::count(moves.begin(), moves.end(), "ccw"), word == 870 ? 2 : 1);
        EXPECT_EQ(std::count(moves.begin(), moves.end(), "cw"), 0);
    }
}

TEST(GCodeCannedCycle, PecksAsTheControlCountsThem)
{
    // G20 G99 G83 X4 Y5 Z-0.5 R0 Q0.3 from z 1: the inch clearance, a last peck shorter than Q.
    Block inches = makeBlock(830);
    inches.inches = true;
    inches.reference = 0;
    inches.bottom = -0.5;
    inches.clear = 0;
    inches.peck = 0.3;
    EXPECT_EQ(run(inches, {0, 0, 1}, {4, 5, 0}),
        (Lines {"T 4.0000 5.0000 1.0000", "T 4.0000 5.0000 0.0000", "F 4.0000 5.0000 -0.3000", "T 4.0000 5.0000 0.0000",
            "T 4.0000 5.0000 -0.2900", "F 4.0000 5.0000 -0.5000", "T 4.0000 5.0000 0.0000"}));

    // G98 G83 X4 Y5 Z-7 R2 Q3 from z 10: a depth Q divides takes no peck at the bottom itself.
    Block even = makeBlock(830);
    even.peck = 3;
    EXPECT_EQ(run(even, {0, 0, 10}, {4, 5, -7}),
        with(In,
            {"F 4.0000 5.0000 -1.0000", "T 4.0000 5.0000 2.0000", "T 4.0000 5.0000 -0.7460", "F 4.0000 5.0000 -4.0000",
                "T 4.0000 5.0000 2.0000", "T 4.0000 5.0000 -3.7460", "F 4.0000 5.0000 -7.0000",
                "T 4.0000 5.0000 10.0000"}));

    // G98 G83 X4 Y5 Z-1 R0 Q0.1 from z 10: ten subtractions of 0.1 stop just short of -1, so the
    // control feeds once more to -1 exactly; a Q below the clearance sends the first rapid back
    // above R.
    Block fine = makeBlock(830);
    fine.reference = 0;
    fine.bottom = -1;
    fine.peck = 0.1;
    RecordingNCStream sink;
    Vector3D position {0, 0, 10};
    ASSERT_TRUE(GCodeCannedCycle::sendHole(sink, fine, {4, 5, 0}, position));
    Lines const moves = calls(sink);
    ASSERT_EQ(moves.size(), 2u + 10 * 3 + 2);
    EXPECT_EQ(moves[4], "T 4.0000 5.0000 0.1540");
    EXPECT_EQ(Lines(moves.end() - 5, moves.end()),
        (Lines {"F 4.0000 5.0000 -1.0000", "T 4.0000 5.0000 0.0000", "T 4.0000 5.0000 -0.7460",
            "F 4.0000 5.0000 -1.0000", "T 4.0000 5.0000 10.0000"}));
    EXPECT_NE(sink.events[sink.events.size() - 5], sink.events[sink.events.size() - 2]);

    // G98 G73 X4 Y5 Z-1 R0 Q0.4 from z 10: chip breaks only, the last peck shorter.
    Block chips = fine;
    chips.word = 730;
    chips.peck = 0.4;
    EXPECT_EQ(run(chips, {0, 0, 10}, {4, 5, 0}),
        (Lines {"T 4.0000 5.0000 10.0000", "T 4.0000 5.0000 0.0000", "F 4.0000 5.0000 -0.4000",
            "T 4.0000 5.0000 -0.1460", "F 4.0000 5.0000 -0.8000", "T 4.0000 5.0000 -0.5460", "F 4.0000 5.0000 -1.0000",
            "T 4.0000 5.0000 10.0000"}));
}

TEST(GCodeCannedCycle, OtherPlanesWorkAlongTheirAxis)
{
    // G18 G98 G83 X4 Z5 Y-7 R2 Q4 from (0, 10, 0).
    Block y = makeBlock(830);
    y.axis = 1;
    EXPECT_EQ(run(y, {0, 10, 0}, {4, 0, 5}),
        (Lines {"T 4.0000 10.0000 5.0000", "T 4.0000 2.0000 5.0000", "F 4.0000 -2.0000 5.0000",
            "T 4.0000 2.0000 5.0000", "T 4.0000 -1.7460 5.0000", "F 4.0000 -6.0000 5.0000", "T 4.0000 2.0000 5.0000",
            "T 4.0000 -5.7460 5.0000", "F 4.0000 -7.0000 5.0000", "T 4.0000 10.0000 5.0000"}));

    // G18 G98 G87 X4 Z5 Y-7 R2 I1 J-3 K2 from (0, 10, 0): J is the level, I and K the offset.
    Block backY = makeBlock(870);
    backY.axis = 1;
    backY.backBoringOffset = {1, -3, 2};
    EXPECT_EQ(run(backY, {0, 10, 0}, {4, 0, 5}),
        (Lines {"T 4.0000 10.0000 5.0000", "T 4.0000 2.0000 5.0000", "T 5.0000 2.0000 7.0000", "stop-spindle", "orient",
            "T 5.0000 -7.0000 7.0000", "T 4.0000 -7.0000 5.0000", "cw", "F 4.0000 -3.0000 5.0000",
            "F 4.0000 -7.0000 5.0000", "stop-spindle", "orient", "T 5.0000 -7.0000 7.0000", "T 5.0000 10.0000 7.0000",
            "T 4.0000 10.0000 5.0000", "cw"}));

    // G19 G98 G81 Y4 Z5 X-7 R2 from (0, 1, 1): below R, so the preliminary rapid up X first.
    Block x = makeBlock(810);
    x.axis = 0;
    x.clear = 2;
    EXPECT_EQ(run(x, {0, 1, 1}, {0, 4, 5}),
        (Lines {
            "T 2.0000 1.0000 1.0000", "T 2.0000 4.0000 5.0000", "F -7.0000 4.0000 5.0000", "T 2.0000 4.0000 5.0000"}));

    // G19 G98 G87 Y4 Z5 X-7 R2 I-3 J1 K2 from (10, 0, 0): I is the level, J and K the offset.
    Block backX = makeBlock(870);
    backX.axis = 0;
    backX.backBoringOffset = {-3, 1, 2};
    Lines const moves = run(backX, {10, 0, 0}, {0, 4, 5});
    ASSERT_EQ(moves.size(), 16u);
    EXPECT_EQ(moves[2], "T 2.0000 5.0000 7.0000");
    EXPECT_EQ(moves[8], "F -3.0000 4.0000 5.0000");
}

TEST(GCodeCannedCycle, MovesThatWouldNotMoveAreLeftOut)
{
    // G98 G81 X4 Y5 Z-7 R2 from (4, 5, 2): already over the hole at R.
    Block block = makeBlock(810);
    block.clear = 2;
    EXPECT_EQ(run(block, {4, 5, 2}, {4, 5, -7}), (Lines {"F 4.0000 5.0000 -7.0000", "T 4.0000 5.0000 2.0000"}));

    // G98 G81 X4 Y5 Z-7 R2 from (0, 0, 0): the preliminary rapid up to R, then across at R.
    EXPECT_EQ(run(block, {0, 0, 0}, {4, 5, -7}),
        (Lines {
            "T 0.0000 0.0000 2.0000", "T 4.0000 5.0000 2.0000", "F 4.0000 5.0000 -7.0000", "T 4.0000 5.0000 2.0000"}));

    // A repeat in the same place (G90 L2) starts at the clear level with the rapid to R; R equal
    // to the bottom leaves the feed out.
    RecordingNCStream sink;
    Block same = makeBlock(810);
    same.bottom = 2;
    Vector3D position {4, 5, 10};
    ASSERT_TRUE(GCodeCannedCycle::sendPreliminary(sink, same, position));
    ASSERT_TRUE(GCodeCannedCycle::sendHole(sink, same, {4, 5, 2}, position));
    EXPECT_EQ(calls(sink), (Lines {"T 4.0000 5.0000 2.0000", "T 4.0000 5.0000 10.0000"}));
}

TEST(GCodeCannedCycle, RefusesHostileBlocksBeforeAnyEvent)
{
    struct Case {
        char const* what;
        Block block;
        Vector3D position;
        Vector3D hole;
        char const* message;
    };
    auto const edit = [](int word, auto change) {
        Block block = makeBlock(word);
        change(block);
        return block;
    };
    Vector3D const start {0, 0, 10};
    Vector3D const hole {4, 5, -7};
    Case const cases[] = {
        {"Q 0", edit(830, [](Block& b) { b.peck = 0; }), start, hole, "Negative or zero Q value used."},
        {"Q negative", edit(730, [](Block& b) { b.peck = -0.5; }), start, hole, "Negative or zero Q value used."},
        {"billions of pecks", edit(830, [](Block& b) { b.bottom = -1e9, b.peck = 1e-3; }), start, hole,
            "Too many pecks."},
        {"one peck too many", edit(730, [](Block& b) { b.reference = 100000, b.bottom = -1, b.peck = 1; }), start, hole,
            "Too many pecks."},
        // Subtracting Q from 1e17 changes nothing: the quotient alone would let it spin forever.
        {"pecks that do not descend", edit(830, [](Block& b) { b.reference = 1e17, b.bottom = 1e17 - 1024; }), start,
            hole, "Too many pecks."},
        {"R not a number", edit(810, [](Block& b) { b.reference = NaN; }), start, hole,
            "Canned cycle value is not finite."},
        {"infinite feedrate", edit(820, [](Block& b) { b.feedrate = Inf; }), start, hole,
            "Canned cycle value is not finite."},
        {"infinite hole", makeBlock(810), start, {Inf, 0, 0}, "Canned cycle value is not finite."},
        {"position not a number", makeBlock(810), {NaN, 0, 0}, hole, "Canned cycle value is not finite."},
        {"offset beyond every number",
            edit(870,
                [](Block& b) {
                    b.backBoringOffset = {1.7e308, 0, 0};
                }),
            start, {1.7e308, 0, 0}, "Canned cycle move is out of range."},
        {"G80", makeBlock(800), start, hole, "Not a canned cycle: G80."},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingNCStream sink;
        Vector3D position = c.position;
        try {
            GCodeCannedCycle::sendHole(sink, c.block, c.hole, position);
            ADD_FAILURE() << "no error";
        } catch (GCodeError const& error) {
            EXPECT_EQ(error.getMessage(), c.message);
        }
        EXPECT_TRUE(sink.events.empty());
        if (c.position.isFinite()) {
            EXPECT_EQ(position, c.position);
        }
    }
    // The preliminary move checks the block's values and the position too.
    RecordingNCStream sink;
    Vector3D position {0, 0, NaN};
    EXPECT_THROW(GCodeCannedCycle::sendPreliminary(sink, makeBlock(810), position), GCodeError);
    EXPECT_TRUE(sink.events.empty());
}

TEST(GCodeCannedCycle, MostPecksAreMade)
{
    // R 100000 to 0 by 1: 99999 pecks short of the bottom and the last.
    Block block = makeBlock(730);
    block.reference = 100000;
    block.bottom = 0;
    block.peck = 1;
    RecordingNCStream sink;
    Vector3D position {4, 5, 100000};
    ASSERT_TRUE(GCodeCannedCycle::sendHole(sink, block, {4, 5, 0}, position));
    EXPECT_EQ(std::count(sink.events.begin(), sink.events.end(), L"onLinear (4, 5, 0) 100 131072"), 1);
    EXPECT_EQ(sink.events.size(), 99999u * 2 + 2);
}

TEST(GCodeCannedCycle, StopsAtEveryEvent)
{
    Block block = makeBlock(870);
    block.backBoringOffset = {1, 2, -3};
    RecordingNCStream all;
    Vector3D position {0, 0, 10};
    ASSERT_TRUE(GCodeCannedCycle::sendHole(all, block, {4, 5, -7}, position));
    std::vector<std::wstring> const names = all.names();
    for (std::size_t stop = 0; stop < names.size(); ++stop) {
        SCOPED_TRACE(stop);
        RecordingNCStream sink;
        sink.stopAt(names[stop], static_cast<int>(std::count(names.begin(), names.begin() + stop + 1, names[stop])));
        Vector3D at {0, 0, 10};
        EXPECT_FALSE(GCodeCannedCycle::sendHole(sink, block, {4, 5, -7}, at));
        EXPECT_EQ(sink.events.size(), stop + 1);
    }
    // And every pecking move: a G83 hole refused at its second rapid.
    RecordingNCStream sink;
    sink.stopAt(L"onRapid", 4);
    Vector3D at {0, 0, 10};
    EXPECT_FALSE(GCodeCannedCycle::sendHole(sink, makeBlock(830), {4, 5, -7}, at));
    EXPECT_EQ(sink.events.size(), 5u);
    EXPECT_EQ(at, Vector3D(4, 5, -2 + GCodeCannedCycle::PeckClearanceMillimetres));
}

TEST(GCodeCannedCycle, GroupOfTheBlock)
{
    EXPECT_EQ(GCodeCannedCycle::getCycle(880), NCCycle::CYCLE_STOP_BORING);
    EXPECT_EQ(GCodeCannedCycle::getCycle(800), NCCycle::CYCLE_NONE);
    EXPECT_EQ(GCodeCannedCycle::getGroupUri(830), NCCycleDefinition::getExpandedUri(NCCycle::CYCLE_DEEP_DRILLING));
    EXPECT_EQ(GCodeCannedCycle::getGroupUri(870), NCCycleDefinition::getUri(NCCycle::CYCLE_BACK_BORING) + "/expanded");
    EXPECT_EQ(GCodeCannedCycle::getGroupUri(800), "");

    Block inches = makeBlock(730);
    inches.inches = true;
    NCCycleDefinition const pecking = GCodeCannedCycle::getDefinition(inches);
    EXPECT_EQ(pecking.getCycle(), NCCycle::CYCLE_CHIP_BREAKING);
    double const values[] = {10, 2, 9, 4, 4, 0.010, 0, 100, 0};
    for (unsigned int value = 0; value < NCCycleDefinition::VALUE_COUNT; ++value)
        EXPECT_EQ(pecking.getValue(static_cast<NCCycleDefinition::Value>(value)), values[value]) << value;

    // Q and P left over from earlier cycles belong to no drilling.
    NCCycleDefinition const drilling = GCodeCannedCycle::getDefinition(makeBlock(810));
    EXPECT_EQ(drilling.getValue(NCCycleDefinition::VALUE_FIRST_PECK), 0);
    EXPECT_EQ(drilling.getValue(NCCycleDefinition::VALUE_PECK_CLEARANCE), 0);
    EXPECT_EQ(drilling.getValue(NCCycleDefinition::VALUE_DWELL), 0);
    EXPECT_EQ(GCodeCannedCycle::getDefinition(makeBlock(890)).getValue(NCCycleDefinition::VALUE_DWELL), 0.5);
}
