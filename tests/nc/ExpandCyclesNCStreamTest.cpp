// ExpandCyclesNCStream: holes of drilling and deep-drilling groups as moves, tilted holes, values that
// change between holes, what is not a hole, groups that pass unchanged, refused holes, stopping, and
// the expanded output of the readers.
#include "nc/nc/ExpandCyclesNCStream.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/MastercamNCIReader.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/io/MemoryInputStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using Lines = std::vector<std::wstring>;
using Def = NCCycleDefinition;
using Sender = std::function<bool(NCStream&)>;

namespace {

constexpr unsigned int Rapid = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
constexpr unsigned int Absolute = NCStream::FLAG_ABSOLUTE_DIRECTION;
double const NaN = std::numeric_limits<double>::quiet_NaN();

std::string uri(NCCycle::Cycle cycle) { return Def::getUri(cycle); }
std::wstring wide(std::string const& text) { return {text.begin(), text.end()}; }
std::string expandedUri(NCCycle::Cycle cycle) { return Def::getExpandedUri(cycle); }
char const* name(Def::Value value) { return Def::getParameterName(value).c_str(); }

// C at 10, R at 2, depth 5, pecks 2 and 2, peck clearance 0.5, no dwell, feedrate 100, shift 0.
Def makeDefinition(NCCycle::Cycle cycle)
{
    Def definition(cycle);
    double const numbers[Def::VALUE_COUNT] = {10, 2, 5, 2, 2, 0.5, 0, 100, 0};
    for (unsigned int value = 0; value < Def::VALUE_COUNT; ++value)
        definition.setValue(static_cast<Def::Value>(value), numbers[value]);
    return definition;
}

// What the filter sends on for events a sender makes, and the filter's answer.
struct Filtered {
    Lines events;
    bool answer = false;
    std::uint64_t notExpanded = 0;
    std::optional<std::wstring> refusal;
};

Filtered run(Sender const& send)
{
    RecordingNCStream recorder;
    ExpandCyclesNCStream filter(&recorder);
    Filtered result;
    result.answer = send(filter);
    result.events = recorder.events;
    result.notExpanded = filter.getHolesNotExpanded();
    result.refusal = filter.getFirstRefusal();
    return result;
}

Lines record(Sender const& send)
{
    RecordingNCStream recorder;
    EXPECT_TRUE(send(recorder));
    return recorder.events;
}

// Moves along Z in short: "R10" a rapid to z 10, "F-5" a feed to z -5, "D" a dwell; other events
// by name.
std::string heights(Lines const& events)
{
    std::string result;
    for (auto const& line : events) {
        std::wstring const event = line.substr(0, line.find(L' '));
        std::wstring text = event;
        if (event == L"onRapid" || event == L"onLinear") {
            std::size_t const last = line.find(L')');
            std::size_t const z = line.rfind(L' ', last) + 1;
            text = (event == L"onRapid" ? L"R" : L"F") + line.substr(z, last - z);
        } else if (event == L"onDwell") {
            text = L"D";
        }
        result += (result.empty() ? "" : " ") + std::string(text.begin(), text.end());
    }
    return result;
}

} // namespace

TEST(ExpandCyclesNCStream, HolesBecomeTheMovesOfTheirCycle)
{
    struct Case {
        NCCycle::Cycle cycle;
        std::string moves; // of the hole at z 0: bottom -5
    } const cases[] = {
        {NCCycle::CYCLE_DRILLING, "R10 R2 F-5 R10"},
        // Pecks 2 below R: to 0, -2, -4, then the bottom; out to R and back to 0.5 above each.
        {NCCycle::CYCLE_DEEP_DRILLING, "R10 R2 F0 R2 R0.5 F-2 R2 R-1.5 F-4 R2 R-3.5 F-5 R10"},
        {NCCycle::CYCLE_CHIP_BREAKING, "R10 R2 F0 R0.5 F-2 R-1.5 F-4 R-3.5 F-5 R10"},
    };
    for (Case const& c : cases) {
        Def const definition = makeDefinition(c.cycle);
        Filtered const result = run([&](NCStream& s) {
            return s.onGroup(uri(c.cycle).c_str()) && definition.sendParameters(s) && s.onRapid({1, 2, 0}, Rapid)
                && s.onRapid({3, 2, 0}, Rapid) && s.onGroupEnd();
        });
        EXPECT_TRUE(result.answer);
        Lines const expected = record([&](NCStream& s) {
            return s.onGroup(expandedUri(c.cycle).c_str()) && definition.sendParameters(s)
                && definition.expandHole(s, {1, 2, 0}, {1, 2, -5}) && definition.expandHole(s, {3, 2, 0}, {3, 2, -5})
                && s.onGroupEnd();
        });
        EXPECT_EQ(result.events, expected);
        std::size_t const moves = (expected.size() - 11) / 2;
        ASSERT_GT(result.events.size(), 10 + moves);
        EXPECT_EQ(heights(Lines(result.events.begin() + 10, result.events.begin() + 10 + moves)), c.moves);
        EXPECT_EQ(result.notExpanded, 0u);
        EXPECT_FALSE(result.refusal);
    }
}

TEST(ExpandCyclesNCStream, ValuesAreTakenWhereTheyComeAndHolesUseThemAsTheyStand)
{
    std::string const legacyDepth = std::string(NCStream::NamespaceBaseB)
        + std::string(name(Def::VALUE_DEPTH)).substr(NCStream::NamespaceBaseA.size());
    Filtered const result = run([&](NCStream& s) {
        return s.onGroup(uri(NCCycle::CYCLE_DRILLING).c_str()) && s.onRapid({0, 0, 20}, Rapid)
            && s.onParameter(name(Def::VALUE_CLEARANCE_HEIGHT), 10.0) && s.onParameter("note", 1.0)
            && s.onParameter(name(Def::VALUE_DEPTH), 3.0) && s.onParameter(name(Def::VALUE_FEEDRATE), 50.0)
            && s.onRapid({1, 0, 0}, Rapid) && s.onParameter(legacyDepth.c_str(), 4.0)
            && s.onParameter(name(Def::VALUE_REFERENCE_HEIGHT), 1.0, NCStream::PARAMETER_KIND_LENGTH)
            && s.onRapid({2, 0, 0}, Rapid) && s.onGroupEnd() && s.onRapid({3, 0, 0}, Rapid);
    });
    EXPECT_TRUE(result.answer);
    Lines const expected = record([&](NCStream& s) {
        // A rapid before the first value is a move; values other than the cycle's and the kind of
        // a kinded one pass as they came; the legacy name goes on as the default one.
        return s.onGroup(expandedUri(NCCycle::CYCLE_DRILLING).c_str()) && s.onRapid({0, 0, 20}, Rapid)
            && s.onParameter(name(Def::VALUE_CLEARANCE_HEIGHT), 10.0) && s.onParameter("note", 1.0)
            && s.onParameter(name(Def::VALUE_DEPTH), 3.0) && s.onParameter(name(Def::VALUE_FEEDRATE), 50.0)
            && s.onRapid({1, 0, 10}, Rapid) && s.onRapid({1, 0, 0}, Rapid) && s.onLinear({1, 0, -3}, 50, 131072)
            && s.onRapid({1, 0, 10}, Rapid) && s.onParameter(name(Def::VALUE_DEPTH), 4.0)
            && s.onParameter("kind", static_cast<int>(NCStream::PARAMETER_KIND_LENGTH))
            && s.onParameter(name(Def::VALUE_REFERENCE_HEIGHT), 1.0) && s.onRapid({2, 0, 10}, Rapid)
            && s.onRapid({2, 0, 1}, Rapid) && s.onLinear({2, 0, -4}, 50, 131072) && s.onRapid({2, 0, 10}, Rapid)
            && s.onGroupEnd() && s.onRapid({3, 0, 0}, Rapid);
    });
    EXPECT_EQ(result.events, expected);
}

TEST(ExpandCyclesNCStream, FiveAxisRapidsAreHolesAlongTheirToolAxis)
{
    Def const definition = makeDefinition(NCCycle::CYCLE_DRILLING);
    Vector3D const top {0, 6, 8};
    Vector3D const axis {0, 0.6, 0.8};
    Lines const tilted = record([&](NCStream& s) { return definition.expandHole(s, top, top - axis * 5.0); });
    ASSERT_EQ(tilted.size(), 4u);
    EXPECT_TRUE(tilted[2].starts_with(L"onLinear5D")) << "expanded as tool-axis moves";

    NCContext unchecked;
    unchecked.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED);
    NCContext proper;
    proper.setMultiAxisMode(NCContext::MULTI_AXIS_PROPER_VECTOR);
    struct Case {
        char const* what;
        NCContext const* context; // nullptr: none, MULTI_AXIS_UNIT_VECTOR
        Vector3D direction;
        unsigned int flags;
        bool fourVectors;
        bool hole;
    } const cases[] = {
        {"a tool axis, normalised", nullptr, {0, 3, 4}, Absolute, false, true},
        {"a tool axis whose square overflows", nullptr, {0, 3e300, 4e300}, Absolute, false, true},
        {"a unit direction", nullptr, axis, Rapid, false, true},
        {"the four-vector form's z", nullptr, axis, Rapid, true, true},
        {"axis values: not of unit length", nullptr, {0, 3, 4}, Rapid, false, false},
        {"axis values: an unchecked context", &unchecked, axis, Rapid, false, false},
        {"FLAG_ABSOLUTE_DIRECTION in an unchecked context", &unchecked, axis, Absolute, false, true},
        {"a proper vector", &proper, {0, 3, 4}, Rapid, false, true},
    };
    for (Case const& c : cases) {
        Sender const rapid = [&](NCStream& s) {
            return c.fourVectors ? s.onRapid5D(top, c.direction, {1, 0, 0}, {0, 0, 1}, c.flags)
                                 : s.onRapid5D(top, c.direction, c.flags);
        };
        Filtered const result = run([&](NCStream& s) {
            return (c.context == nullptr || s.onContext(*c.context)) && s.onGroup(uri(NCCycle::CYCLE_DRILLING).c_str())
                && definition.sendParameters(s) && rapid(s) && s.onGroupEnd();
        });
        EXPECT_TRUE(result.answer) << c.what;
        Lines const hole = c.hole ? tilted : record(rapid);
        std::size_t const from = c.context == nullptr ? 10 : 11;
        ASSERT_EQ(result.events.size(), from + hole.size() + 1) << c.what;
        EXPECT_EQ(Lines(result.events.begin() + from, result.events.end() - 1), hole) << c.what;
        EXPECT_EQ(result.notExpanded, 0u) << c.what;
    }
}

TEST(ExpandCyclesNCStream, OtherGroupsPassUnchangedWithAllTheyCarry)
{
    Def const definition = makeDefinition(NCCycle::CYCLE_DRILLING);
    std::string const expanded = expandedUri(NCCycle::CYCLE_DRILLING);
    std::string const probing = uri(NCCycle::CYCLE_PROBING_Z);
    std::string const milling = uri(NCCycle::CYCLE_CIRCULAR_POCKET_MILLING);
    std::string const backBoring = uri(NCCycle::CYCLE_BACK_BORING);
    for (std::string const& group : {expanded, probing, milling, backBoring}) {
        auto const send = [&](NCStream& s) {
            // A drilling group inside is not a cycle group of its own.
            return s.onGroup(group.c_str()) && definition.sendParameters(s) && s.onRapid({1, 2, 0}, Rapid)
                && s.onGroup(uri(NCCycle::CYCLE_DRILLING).c_str()) && s.onRapid({3, 2, 0}, Rapid) && s.onGroupEnd()
                && s.onGroupEnd();
        };
        Filtered const result = run(send);
        EXPECT_TRUE(result.answer) << group;
        EXPECT_EQ(result.events, record(send)) << group;
    }
    // Outside groups, one event of every kind.
    EXPECT_EQ(run(TestSupport::sendEveryEvent).events, record(TestSupport::sendEveryEvent));
}

TEST(ExpandCyclesNCStream, NestedGroupsPassAndHoldHolesOfTheCycleGroup)
{
    Def const definition = makeDefinition(NCCycle::CYCLE_DRILLING);
    std::string const drilling = uri(NCCycle::CYCLE_DRILLING);
    Filtered const result = run([&](NCStream& s) {
        return s.onGroupEnd() && s.onGroup(drilling.c_str()) && s.onGroup("pattern")
            && definition.sendParameter(s, Def::VALUE_CLEARANCE_HEIGHT) && s.onRapid({1, 0, 0}, Rapid)
            && s.onGroup(drilling.c_str()) && s.onRapid({2, 0, 0}, Rapid) && s.onGroupEnd() && s.onGroupEnd()
            && s.onRapid({3, 0, 0}, Rapid) && s.onGroupEnd() && s.onRapid({4, 0, 0}, Rapid);
    });
    EXPECT_TRUE(result.answer);
    // The values but the clearance height are 0: every hole is a rapid to z 10, a rapid to z 0 and a
    // rapid back; its feed to the bottom does not move.
    EXPECT_EQ(heights(result.events),
        "onGroupEnd onGroup onGroup onParameter R10 R0 R10 onGroup R10 R0 R10 "
        "onGroupEnd onGroupEnd R10 R0 R10 onGroupEnd R0");
    EXPECT_EQ(result.events[1], L"onGroup " + wide(expandedUri(NCCycle::CYCLE_DRILLING)));
    EXPECT_EQ(result.events[2], L"onGroup pattern");
    EXPECT_EQ(result.events[7], L"onGroup " + wide(drilling)) << "not renamed";

    // A new program forgets an open group and the context's mode.
    NCContext unchecked;
    unchecked.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED);
    Filtered const reopened = run([&](NCStream& s) {
        return s.onOpen() && s.onContext(unchecked) && s.onGroup(drilling.c_str()) && definition.sendParameters(s)
            && s.onOpen() && s.onRapid({1, 0, 0}, Rapid) && s.onGroup(drilling.c_str()) && definition.sendParameters(s)
            && s.onRapid5D({0, 0, 0}, {0, 0, 1}, Rapid);
    });
    EXPECT_EQ(heights(Lines(reopened.events.begin() + 12, reopened.events.begin() + 14)), "onOpen R0");
    EXPECT_EQ(heights(Lines(reopened.events.end() - 4, reopened.events.end())), "R10 R2 F-5 R10");
}

TEST(ExpandCyclesNCStream, RefusedHolesPassUnchangedAndAreCounted)
{
    Def const definition = makeDefinition(NCCycle::CYCLE_DEEP_DRILLING);
    struct Case {
        std::wstring refusal;
        std::optional<std::pair<Def::Value, double>> change; // sent before the hole
        Vector3D top;
        std::optional<Vector3D> direction; // of an onRapid5D with FLAG_ABSOLUTE_DIRECTION
    } const cases[] = {
        {L"Cycle value 'first-peck' is not a number.", {{Def::VALUE_FIRST_PECK, NaN}}, {1, 0, 0}, {}},
        {L"Hole top is not a number.", {}, {NaN, 0, 0}, {}},
        {L"Hole bottom is not a number.", {{Def::VALUE_DEPTH, 1e308}}, {1, 0, -1e308}, {}},
        {L"Too many pecks.", {{Def::VALUE_DEPTH, 1e9}}, {1, 0, 0}, {}},
        {L"Hole axis is zero or not a number.", {}, {1, 0, 0}, Vector3D()},
        {L"Hole axis is zero or not a number.", {}, {1, 0, 0}, Vector3D(0, NaN, 1)},
    };
    for (Case const& c : cases) {
        // The flags of a refused rapid go on with it.
        Sender const hole = [&](NCStream& s) {
            return (!c.change || s.onParameter(name(c.change->first), c.change->second))
                && (c.direction ? s.onRapid5D(c.top, *c.direction, Absolute | 0x1) : s.onRapid(c.top, Rapid | 0x1));
        };
        // The values again after the refused hole, and a hole that is made.
        Filtered const result = run([&](NCStream& s) {
            return s.onGroup(uri(NCCycle::CYCLE_DEEP_DRILLING).c_str()) && definition.sendParameters(s) && hole(s)
                && definition.sendParameters(s) && s.onRapid({1, 0, 0}, Rapid) && s.onGroupEnd();
        });
        ASSERT_TRUE(result.answer);
        Lines const refused = record(hole);
        ASSERT_GE(result.events.size(), 10 + refused.size());
        EXPECT_EQ(Lines(result.events.begin() + 10, result.events.begin() + 10 + refused.size()), refused)
            << "the refused rapid and what came with it";
        EXPECT_EQ(result.notExpanded, 1u);
        EXPECT_EQ(result.refusal, c.refusal);
        EXPECT_EQ(heights(Lines(result.events.begin() + 10 + refused.size() + 9, result.events.end())),
            "R10 R2 F0 R2 R0.5 F-2 R2 R-1.5 F-4 R2 R-3.5 F-5 R10 onGroupEnd");
    }
    Filtered const two = run([&](NCStream& s) {
        return s.onGroup(uri(NCCycle::CYCLE_DRILLING).c_str()) && definition.sendParameters(s)
            && s.onRapid({NaN, 0, 0}, Rapid) && s.onRapid5D({1, 0, 0}, {}, Absolute);
    });
    EXPECT_EQ(two.notExpanded, 2u);
    EXPECT_EQ(two.refusal, L"Hole top is not a number.") << "the first refusal is kept";
}

TEST(ExpandCyclesNCStream, StopsAtEachEventItSends)
{
    Def const definition = makeDefinition(NCCycle::CYCLE_DEEP_DRILLING);
    Sender const send = [&](NCStream& s) {
        return s.onGroup(uri(NCCycle::CYCLE_DEEP_DRILLING).c_str()) && definition.sendParameters(s)
            && s.onRapid({1, 2, 0}, Rapid) && s.onRapid5D({3, 2, 0}, {1, 0, 0}, Absolute) && s.onGroupEnd();
    };
    Lines const all = run(send).events;
    // The hole along +X reaches from x 3 to x -2: one peck, to x 0, before its bottom.
    ASSERT_EQ(all.size(), 1u + 9u + 13u + 7u + 1u);
    for (std::size_t i = 0; i < all.size(); ++i) {
        std::wstring const event = all[i].substr(0, all[i].find(L' '));
        int const occurrence
            = static_cast<int>(std::count_if(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                [&](std::wstring const& line) { return line.starts_with(event + L" ") || line == event; }));
        RecordingNCStream recorder;
        recorder.stopAt(event, occurrence);
        ExpandCyclesNCStream filter(&recorder);
        EXPECT_FALSE(send(filter)) << i;
        EXPECT_EQ(recorder.events, Lines(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1)) << i;
    }
}

TEST(ExpandCyclesNCStream, MatchesTheExpandedOutputOfTheReaders)
{
    // NCI: a deep-drilling cycle with pecks .2 and .15, a second hole of another depth, a drilling
    // cycle with a dwell (counter-boring) whose hole is upside down (its axis -Z: a five-axis rapid),
    // and a custom cycle, which is never expanded; read expanded, and read as cycle groups through
    // the filter.
    std::string const nci = R"nci(1050
9. 0. 6. 21. 2024. 10. 30. 15. C:\JOBS\PLATE.NCI
1001
0 100 2 1 21 1 0 2500 10. 1 0. 0. 1. 0. 0. 10. 0 0.
81
1 1. 2. -.5 0. 5. .2 .15 .05 0. 1. .1 0. .02 1. 2. 0. 0 0
100
0 3. 2. -.75 1. .1 0. 5. 3. 2. 0. 0 0
80
0
81
0 1. 2. 0. .25 5. .2 .15 .05 0. 1. .1 0. .02 1. 2. -.5 0 0
80
0
81
8 1. 2. -.5 0. 5. .2 .15 .05 0. 1. .1 0. .02 1. 2. 0. 0 0
80
0
1003
0. 0. 0.
)nci";
    auto const readNCI = [&](bool expand, bool filtered) {
        RecordingNCStream recorder;
        ExpandCyclesNCStream filter(&recorder);
        MastercamNCIReader reader;
        reader.setExpandCycles(expand);
        reader.setNCStream(filtered ? static_cast<NCStream*>(&filter) : &recorder);
        MemoryInputStream in(nci);
        EXPECT_TRUE(reader.import(&in));
        EXPECT_EQ(filter.getHolesNotExpanded(), 0u);
        return recorder.events;
    };
    Lines const expanded = readNCI(true, false);
    Lines const groups = readNCI(false, false);
    EXPECT_TRUE(
        std::any_of(groups.begin(), groups.end(), [](auto const& line) { return line.starts_with(L"onRapid5D"); }));
    EXPECT_EQ(readNCI(false, true), expanded);
    EXPECT_EQ(readNCI(true, true), expanded) << "expanded groups pass unchanged";
    EXPECT_EQ(std::count_if(expanded.begin(), expanded.end(),
                  [](std::wstring const& line) { return line.ends_with(L"/expanded"); }),
        2);

    // G-code: the reader sends its canned cycles expanded already; the filter passes them on.
    std::string const gcode = "G21 G17 G90 G94\nT1 M6\nS1000 M3\nG0 X0 Y0 Z10\nG81 X1 Y2 Z-5 R2 F100\nX3\n"
                              "G83 X5 Y2 Z-6 R2 Q1.5\nG80\nM30\n";
    auto const readGCode = [&](bool filtered) {
        RecordingNCStream recorder;
        ExpandCyclesNCStream filter(&recorder);
        GCodeReader reader;
        reader.setNCStream(filtered ? static_cast<NCStream*>(&filter) : &recorder);
        MemoryInputStream in(gcode);
        EXPECT_TRUE(reader.import(&in));
        return recorder.events;
    };
    Lines const direct = readGCode(false);
    EXPECT_EQ(std::count_if(
                  direct.begin(), direct.end(), [](std::wstring const& line) { return line.ends_with(L"/expanded"); }),
        2);
    EXPECT_EQ(readGCode(true), direct);
}
