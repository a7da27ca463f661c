// NCCycleDefinition: the moves of every expandable cycle, pecks and their limits, refused holes,
// parameter names and URIs, and stopping at every event of a hole.
#include "nc/nc/NCCycleDefinition.h"

#include "nc/nc/NCStream.h"
#include "tests/support/AssertionCapture.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using Lines = std::vector<std::wstring>;
using Def = NCCycleDefinition;

namespace {

std::string const A(NCStream::NamespaceBaseA);
std::string const B(NCStream::NamespaceBaseB);
double const NaN = std::numeric_limits<double>::quiet_NaN();
double const Inf = std::numeric_limits<double>::infinity();

using Changes = std::vector<std::pair<Def::Value, double>>;

// C at 50, R at 12, pecks 4 then 3, peck clearance 1, dwell 0.5, feedrate 100, shift 2.
Def makeDefinition(NCCycle::Cycle cycle, Changes const& changes = {})
{
    Def definition(cycle);
    double const numbers[Def::VALUE_COUNT] = {50, 12, 10, 4, 3, 1, 0.5, 100, 2};
    for (unsigned int value = 0; value < Def::VALUE_COUNT; ++value)
        definition.setValue(static_cast<Def::Value>(value), numbers[value]);
    for (auto const& [value, number] : changes)
        definition.setValue(value, number);
    return definition;
}

Vector3D const Top {10, 20, 10};
Vector3D const Bottom {10, 20, 0};

// Moves of a vertical hole in short: "R50" a rapid to z 50, "F8" a feed to z 8, "D" a dwell.
std::string heights(Lines const& events)
{
    std::string result;
    for (auto const& line : events) {
        std::wstring const name = line.substr(0, line.find(L' '));
        std::size_t const last = line.find(L')');
        std::size_t const z = line.rfind(L' ', last) + 1;
        std::wstring const text
            = name == L"onDwell" ? L"D" : (name == L"onRapid" ? L"R" : L"F") + line.substr(z, last - z);
        result += (result.empty() ? "" : " ") + std::string(text.begin(), text.end());
    }
    return result;
}

} // namespace

TEST(NCCycleDefinition, VerticalHoleMovesOfEveryExpandableCycle)
{
    Lines const drill = {L"onRapid (10, 20, 50) 0", L"onRapid (10, 20, 12) 0", L"onLinear (10, 20, 0) 100 131072"};
    Lines const dwellUp = {L"onDwell 0.5 0", L"onRapid (10, 20, 50) 0"};
    Lines const tapping = {
        drill[0], drill[1], drill[2], L"onDwell 0.5 0", L"onLinear (10, 20, 12) 100 131072", L"onRapid (10, 20, 50) 0"};
    auto join = [](Lines a, Lines const& b) { return a.insert(a.end(), b.begin(), b.end()), a; };
    struct Case {
        NCCycle::Cycle cycle;
        Changes changes;
        Lines lines;
    } const cases[] = {
        {NCCycle::CYCLE_DRILLING, {}, join(drill, {L"onRapid (10, 20, 50) 0"})},
        {NCCycle::CYCLE_COUNTER_BORING, {}, join(drill, dwellUp)},
        {NCCycle::CYCLE_STOP_BORING, {}, join(drill, dwellUp)},
        {NCCycle::CYCLE_RIGHT_TAPPING, {}, tapping},
        {NCCycle::CYCLE_LEFT_TAPPING, {}, tapping},
        {NCCycle::CYCLE_BORING, {}, tapping},
        {NCCycle::CYCLE_FINE_BORING, {},
            join(drill,
                {L"onDwell 0.5 0", L"onRapid (12, 20, 0) 0", L"onRapid (12, 20, 50) 0", L"onRapid (10, 20, 50) 0"})},
        // Moves that would not move are left out; a dwell of zero or less is not sent.
        {NCCycle::CYCLE_COUNTER_BORING, {{Def::VALUE_REFERENCE_HEIGHT, 50}, {Def::VALUE_DWELL, 0}},
            {L"onRapid (10, 20, 50) 0", L"onLinear (10, 20, 0) 100 131072", L"onRapid (10, 20, 50) 0"}},
        {NCCycle::CYCLE_BORING, {{Def::VALUE_REFERENCE_HEIGHT, 0}, {Def::VALUE_DWELL, -1}},
            {L"onRapid (10, 20, 50) 0", L"onRapid (10, 20, 0) 0", L"onRapid (10, 20, 50) 0"}},
        {NCCycle::CYCLE_FINE_BORING, {{Def::VALUE_SHIFT, 0}}, join(drill, dwellUp)},
        {NCCycle::CYCLE_FINE_BORING, {{Def::VALUE_SHIFT, -3}},
            join(drill,
                {L"onDwell 0.5 0", L"onRapid (7, 20, 0) 0", L"onRapid (7, 20, 50) 0", L"onRapid (10, 20, 50) 0"})},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        EXPECT_TRUE(makeDefinition(c.cycle, c.changes).expandHole(recorder, Top, Bottom));
        EXPECT_EQ(recorder.events, c.lines) << Def::getUri(c.cycle);
    }

    // Deep drilling and chip breaking, written out once in full.
    RecordingNCStream deep;
    EXPECT_TRUE(makeDefinition(NCCycle::CYCLE_DEEP_DRILLING).expandHole(deep, Top, Bottom));
    EXPECT_EQ(deep.events,
        (Lines {L"onRapid (10, 20, 50) 0", L"onRapid (10, 20, 12) 0", L"onLinear (10, 20, 8) 100 131072",
            L"onRapid (10, 20, 12) 0", L"onRapid (10, 20, 9) 0", L"onLinear (10, 20, 5) 100 131072",
            L"onRapid (10, 20, 12) 0", L"onRapid (10, 20, 6) 0", L"onLinear (10, 20, 2) 100 131072",
            L"onRapid (10, 20, 12) 0", L"onRapid (10, 20, 3) 0", L"onLinear (10, 20, 0) 100 131072", L"onDwell 0.5 0",
            L"onRapid (10, 20, 50) 0"}));
    RecordingNCStream chips;
    EXPECT_TRUE(makeDefinition(NCCycle::CYCLE_CHIP_BREAKING).expandHole(chips, Top, Bottom));
    EXPECT_EQ(heights(chips.events), "R50 R12 F8 R9 F5 R6 F2 R3 F0 D R50");
}

TEST(NCCycleDefinition, PecksAreClippedToTheBottomAndBackOffsFollowThePeckClearance)
{
    struct Case {
        NCCycle::Cycle cycle;
        Changes changes;
        char const* moves;
    } const cases[] = {
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_FIRST_PECK, 0}}, "R50 R12 F0 D R50"},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_FIRST_PECK, -2}}, "R50 R12 F0 D R50"},
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_FIRST_PECK, 20}}, "R50 R12 F0 D R50"},
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_FIRST_PECK, 12}}, "R50 R12 F0 D R50"},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_REFERENCE_HEIGHT, -2}}, "R50 R-2 F0 D R50"},
        // A subsequent peck of zero or less repeats the first; 12 is three pecks of 4 exactly.
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_SUBSEQUENT_PECK, 0}}, "R50 R12 F8 R12 R9 F4 R12 R5 F0 D R50"},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_SUBSEQUENT_PECK, -1}}, "R50 R12 F8 R9 F4 R5 F0 D R50"},
        // No back-off without a peck clearance; deep drilling still goes out to R.
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_PECK_CLEARANCE, 0}}, "R50 R12 F8 R12 F5 R12 F2 R12 F0 D R50"},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_PECK_CLEARANCE, -1}}, "R50 R12 F8 F5 F2 F0 D R50"},
        // Deep drilling leaves out a return above R (clearance 5 after depth 4) or at R (4 after 4).
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_PECK_CLEARANCE, 5}},
            "R50 R12 F8 R12 F5 R12 R10 F2 R12 R7 F0 D R50"},
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_PECK_CLEARANCE, 4}}, "R50 R12 F8 R12 F5 R12 R9 F2 R12 R6 F0 D R50"},
        // Chip breaking backs off by the clearance wherever that leads.
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_PECK_CLEARANCE, 5}}, "R50 R12 F8 R13 F5 R10 F2 R7 F0 D R50"},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_DWELL, 0}, {Def::VALUE_CLEARANCE_HEIGHT, 12}},
            "R12 F8 R9 F5 R6 F2 R3 F0 R12"},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        EXPECT_TRUE(makeDefinition(c.cycle, c.changes).expandHole(recorder, Top, Bottom));
        EXPECT_EQ(heights(recorder.events), c.moves) << Def::getUri(c.cycle) << " " << c.changes.front().second;
    }

    // (0.4 - 0.3) / 0.1 rounds to just above 1, so the computed count is one too many: the peck
    // that reaches the bottom is still the last.
    Def const tenths = makeDefinition(NCCycle::CYCLE_DEEP_DRILLING,
        {{Def::VALUE_REFERENCE_HEIGHT, 0.4}, {Def::VALUE_FIRST_PECK, 0.3}, {Def::VALUE_SUBSEQUENT_PECK, 0.1},
            {Def::VALUE_PECK_CLEARANCE, 0}});
    RecordingNCStream rounded;
    EXPECT_TRUE(tenths.expandHole(rounded, Top, Bottom));
    EXPECT_EQ(rounded.names(),
        (Lines {L"onRapid", L"onRapid", L"onLinear", L"onRapid", L"onLinear", L"onDwell", L"onRapid"}));
}

TEST(NCCycleDefinition, TiltedHolesUseTheToolAxisFormsWithTheNormalisedAxis)
{
    Vector3D const bottom {7, 0, 0};
    Vector3D const top {7, 3, 4};
    Changes const low = {{Def::VALUE_REFERENCE_HEIGHT, 10}};
    struct Case {
        NCCycle::Cycle cycle;
        Changes changes;
        Vector3D top;
        Vector3D bottom;
        Lines lines;
    } const cases[] = {
        {NCCycle::CYCLE_DRILLING, low, top, bottom,
            {L"onRapid5D (7, 30, 40) (0, 0.6, 0.8) 32", L"onRapid5D (7, 6, 8) (0, 0.6, 0.8) 32",
                L"onLinear5D (7, 0, 0) (0, 0.6, 0.8) 100 131104", L"onRapid5D (7, 30, 40) (0, 0.6, 0.8) 32"}},
        // Across the axis is the part of +X.
        {NCCycle::CYCLE_FINE_BORING, low, top, bottom,
            {L"onRapid5D (7, 30, 40) (0, 0.6, 0.8) 32", L"onRapid5D (7, 6, 8) (0, 0.6, 0.8) 32",
                L"onLinear5D (7, 0, 0) (0, 0.6, 0.8) 100 131104", L"onDwell 0.5 0",
                L"onRapid5D (9, 0, 0) (0, 0.6, 0.8) 32", L"onRapid5D (9, 30, 40) (0, 0.6, 0.8) 32",
                L"onRapid5D (7, 30, 40) (0, 0.6, 0.8) 32"}},
        {NCCycle::CYCLE_CHIP_BREAKING,
            {{Def::VALUE_REFERENCE_HEIGHT, 10}, {Def::VALUE_FIRST_PECK, 5}, {Def::VALUE_SUBSEQUENT_PECK, 0},
                {Def::VALUE_PECK_CLEARANCE, 1.25}},
            top, bottom,
            {L"onRapid5D (7, 30, 40) (0, 0.6, 0.8) 32", L"onRapid5D (7, 6, 8) (0, 0.6, 0.8) 32",
                L"onLinear5D (7, 3, 4) (0, 0.6, 0.8) 100 131104", L"onRapid5D (7, 3.75, 5) (0, 0.6, 0.8) 32",
                L"onLinear5D (7, 0, 0) (0, 0.6, 0.8) 100 131104", L"onDwell 0.5 0",
                L"onRapid5D (7, 30, 40) (0, 0.6, 0.8) 32"}},
        // Along X the shift goes along +Y; heights count along the axis.
        {NCCycle::CYCLE_FINE_BORING, low, {5, 0, 0}, {0, 0, 0},
            {L"onRapid5D (50, 0, 0) (1, 0, 0) 32", L"onRapid5D (10, 0, 0) (1, 0, 0) 32",
                L"onLinear5D (0, 0, 0) (1, 0, 0) 100 131104", L"onDwell 0.5 0", L"onRapid5D (0, 2, 0) (1, 0, 0) 32",
                L"onRapid5D (50, 2, 0) (1, 0, 0) 32", L"onRapid5D (50, 0, 0) (1, 0, 0) 32"}},
        // Upside down: -Z is not +Z.
        {NCCycle::CYCLE_DRILLING, low, {0, 0, 0}, {0, 0, 10},
            {L"onRapid5D (0, 0, -50) (0, 0, -1) 32", L"onRapid5D (0, 0, -10) (0, 0, -1) 32",
                L"onLinear5D (0, 0, 10) (0, 0, -1) 100 131104", L"onRapid5D (0, 0, -50) (0, 0, -1) 32"}},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        EXPECT_TRUE(makeDefinition(c.cycle, c.changes).expandHole(recorder, c.top, c.bottom));
        EXPECT_EQ(recorder.events, c.lines) << Def::getUri(c.cycle);
    }

    // An axis off X by rounding only still shifts along Y, not along the noise.
    RecordingNCStream nearlyX;
    EXPECT_TRUE(makeDefinition(NCCycle::CYCLE_FINE_BORING).expandHole(nearlyX, {1, 1e-20, 0}, {0, 0, 0}));
    ASSERT_EQ(nearlyX.events.size(), 7u);
    EXPECT_EQ(nearlyX.events[4], L"onRapid5D (-2e-20, 2, 0) (1, 1e-20, 0) 32");
}

TEST(NCCycleDefinition, HoleAxisIsAUnitVectorForAnyFiniteHole)
{
    struct Case {
        Vector3D top;
        Vector3D bottom;
        Vector3D axis;
    } const cases[] = {
        {{1, 2, 3}, {1, 2, 3}, {0, 0, 1}},
        {{1, 2, 9}, {1, 2, 3}, {0, 0, 1}},
        {{1, 2, -9}, {1, 2, 3}, {0, 0, -1}},
        {{0, 3, 4}, {0, 0, 0}, {0, 0.6, 0.8}},
        {{3e-310, 4e-310, 0}, {0, 0, 0}, {0.6, 0.8, 0}},
        {{1e308, 0, 0}, {-1e308, 0, 0}, {1, 0, 0}},
        {{0, 1.5e308, 1.7e308}, {0, -1.5e308, -1.7e308}, Vector3D(0, 1.5, 1.7).getNormalized()},
    };
    for (auto const& c : cases) {
        Vector3D const axis = Def::getHoleAxis(c.top, c.bottom);
        EXPECT_NEAR((axis - c.axis).getModulus(), 0.0, 1e-15) << c.top.getAsString() << c.bottom.getAsString();
        EXPECT_NEAR(axis.getModulus(), 1.0, 1e-15);
    }
    EXPECT_EQ(Def::getHoleAxis({1, 2, 3}, {1, 2, 3}), Vector3D::getForward());
}

TEST(NCCycleDefinition, RefusedHolesAreNamedAndNeverExpanded)
{
    Vector3D const nan {NaN, 0, 0};
    struct Case {
        NCCycle::Cycle cycle;
        Changes changes;
        Vector3D top;
        Vector3D bottom;
        char const* text; // nullptr: accepted
    } const cases[] = {
        {NCCycle::CYCLE_DRILLING, {{Def::VALUE_DEPTH, NaN}}, Top, Bottom, "Cycle value 'depth' is not a number."},
        {NCCycle::CYCLE_DRILLING, {{Def::VALUE_FEEDRATE, Inf}}, Top, Bottom, "Cycle value 'feedrate' is not a number."},
        {NCCycle::CYCLE_BORING, {{Def::VALUE_SHIFT, NaN}, {Def::VALUE_CLEARANCE_HEIGHT, -Inf}}, nan, Bottom,
            "Cycle value 'clearance-height' is not a number."},
        {NCCycle::CYCLE_FINE_BORING, {{Def::VALUE_SHIFT, NaN}}, Top, Bottom, "Cycle value 'shift' is not a number."},
        {NCCycle::CYCLE_DRILLING, {}, nan, {0, 0, Inf}, "Hole top is not a number."},
        {NCCycle::CYCLE_DRILLING, {}, Top, {0, 0, -Inf}, "Hole bottom is not a number."},
        // Far apart but every move finite: heights are measured from the origin, not the bottom.
        {NCCycle::CYCLE_DRILLING, {{Def::VALUE_REFERENCE_HEIGHT, 1e308}}, {0, 0, 0}, {0, 0, -1e308}, nullptr},
        // Finite numbers whose moves are not.
        {NCCycle::CYCLE_FINE_BORING, {{Def::VALUE_SHIFT, 1e308}}, {1e308, 0, 10}, {1e308, 0, 0},
            "Hole moves are out of range."},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_REFERENCE_HEIGHT, 1.7e308}, {Def::VALUE_PECK_CLEARANCE, 1.7e308}},
            Top, Bottom, "Hole moves are out of range."},
        // Pecks count only in the peck cycles; the largest count is MaximumPecks = 12500 / 0.125.
        {NCCycle::CYCLE_DEEP_DRILLING, {{Def::VALUE_FIRST_PECK, 1e-4}, {Def::VALUE_SUBSEQUENT_PECK, 0}}, Top, Bottom,
            "Too many pecks."},
        {NCCycle::CYCLE_CHIP_BREAKING, {{Def::VALUE_SUBSEQUENT_PECK, 1e-300}}, Top, Bottom, "Too many pecks."},
        {NCCycle::CYCLE_DRILLING, {{Def::VALUE_FIRST_PECK, 1e-300}}, Top, Bottom, nullptr},
        {NCCycle::CYCLE_CHIP_BREAKING,
            {{Def::VALUE_REFERENCE_HEIGHT, 12500.125}, {Def::VALUE_FIRST_PECK, 0.125},
                {Def::VALUE_SUBSEQUENT_PECK, 0.125}},
            Top, Bottom, "Too many pecks."},
        {NCCycle::CYCLE_CHIP_BREAKING,
            {{Def::VALUE_REFERENCE_HEIGHT, 12500}, {Def::VALUE_FIRST_PECK, 0.125}, {Def::VALUE_SUBSEQUENT_PECK, 0.125},
                {Def::VALUE_PECK_CLEARANCE, 0}},
            Top, Bottom, nullptr},
    };
    static_assert(Def::MaximumPecks == 100000);
    for (auto const& c : cases) {
        Def const definition = makeDefinition(c.cycle, c.changes);
        std::optional<std::wstring> const text = definition.checkHole(c.top, c.bottom);
        RecordingNCStream recorder;
        TestSupport::AssertionCapture capture;
        if (c.text == nullptr) {
            EXPECT_EQ(text, std::nullopt);
            EXPECT_TRUE(definition.expandHole(recorder, c.top, c.bottom));
            EXPECT_TRUE(capture.reports().empty());
            continue;
        }
        std::string const expected(c.text);
        EXPECT_EQ(text, std::wstring(expected.begin(), expected.end()));
        EXPECT_FALSE(definition.expandHole(recorder, c.top, c.bottom)) << c.text;
        EXPECT_TRUE(recorder.events.empty()) << c.text;
        EXPECT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:check.problem == Problem::None"}) << c.text;
    }

    // The largest accepted count makes exactly that many feeds.
    Def const most = makeDefinition(NCCycle::CYCLE_CHIP_BREAKING,
        {{Def::VALUE_REFERENCE_HEIGHT, 12500}, {Def::VALUE_CLEARANCE_HEIGHT, 12500}, {Def::VALUE_FIRST_PECK, 0.125},
            {Def::VALUE_SUBSEQUENT_PECK, 0.125}, {Def::VALUE_PECK_CLEARANCE, 0}});
    RecordingNCStream recorder;
    ASSERT_TRUE(most.expandHole(recorder, Top, Bottom));
    auto const names = recorder.names();
    EXPECT_EQ(std::count(names.begin(), names.end(), L"onLinear"), std::ptrdiff_t(Def::MaximumPecks));
    EXPECT_EQ(recorder.events[recorder.events.size() - 3], L"onLinear (10, 20, 0) 100 131072");
}

TEST(NCCycleDefinition, ParameterNamesRoundTripUnderBothNamespaces)
{
    struct Case {
        Def::Value value;
        char const* name;
    } const cases[] = {
        {Def::VALUE_CLEARANCE_HEIGHT, "clearance-height"},
        {Def::VALUE_REFERENCE_HEIGHT, "reference-height"},
        {Def::VALUE_DEPTH, "depth"},
        {Def::VALUE_FIRST_PECK, "first-peck"},
        {Def::VALUE_SUBSEQUENT_PECK, "subsequent-peck"},
        {Def::VALUE_PECK_CLEARANCE, "peck-clearance"},
        {Def::VALUE_DWELL, "dwell"},
        {Def::VALUE_FEEDRATE, "feedrate"},
        {Def::VALUE_SHIFT, "shift"},
    };
    Def const sent = makeDefinition(NCCycle::CYCLE_DRILLING);
    RecordingNCStream recorder;
    EXPECT_TRUE(sent.sendParameters(recorder));
    ASSERT_EQ(recorder.events.size(), Def::VALUE_COUNT);
    Def taken;
    Def legacy;
    for (auto const& c : cases) {
        std::string const full = A + "/namespace/nc/parameter/cycle/" + c.name;
        std::string const old = B + "/namespace/nc/parameter/cycle/" + c.name;
        EXPECT_EQ(Def::getParameterName(c.value), full);
        EXPECT_EQ(Def::findValue(full.c_str()), c.value);
        EXPECT_EQ(Def::findValue(old.c_str()), c.value);
        std::wstring const number = Variant(sent.getValue(c.value)).getAsString();
        EXPECT_EQ(recorder.events[c.value], L"onParameter " + std::wstring(full.begin(), full.end()) + L" " + number);
        EXPECT_TRUE(taken.setFromParameter(full.c_str(), sent.getValue(c.value)));
        EXPECT_TRUE(legacy.setFromParameter(old.c_str(), sent.getValue(c.value)));
    }
    for (unsigned int value = 0; value < Def::VALUE_COUNT; ++value) {
        EXPECT_EQ(taken.getValue(Def::Value(value)), sent.getValue(Def::Value(value)));
        EXPECT_EQ(legacy.getValue(Def::Value(value)), sent.getValue(Def::Value(value)));
    }

    // Only the two parameter namespaces count: the cycle and plain ones that stripNamespace also
    // knows do not, nor bare or near names.
    std::string const rejected[] = {"cycle/depth", "depth", A + "/namespace/nc/cycle/depth",
        A + "/namespace/nc/cycle/cycle/depth", A + "/namespace/nc/cycle-depth", A + "/namespace/nc/parameter/depth",
        A + "/namespace/nc/parameter/cycle/Depth", A + "/namespace/nc/parameter/cycle/depth/",
        A + "/namespace/nc/parameter/cycle/", A + "/namespace/nc/parameter/cycle",
        A + "/namespace/nc/parameterX/cycle/depth", "http://elsewhere/namespace/nc/parameter/cycle/depth", ""};
    for (auto const& name : rejected) {
        EXPECT_EQ(Def::findValue(name.c_str()), std::nullopt) << name;
        EXPECT_FALSE(taken.setFromParameter(name.c_str(), 99)) << name;
    }
    EXPECT_EQ(Def::findValue(nullptr), std::nullopt);
    EXPECT_EQ(taken.getValue(Def::VALUE_DEPTH), 10);
}

TEST(NCCycleDefinition, UrisAndExpandabilityOfEveryCycle)
{
    std::vector<unsigned int> const expandable = {1, 2, 3, 4, 8, 9, 14, 15, 16};
    for (unsigned int value = 0; value <= 80; ++value) {
        auto const cycle = static_cast<NCCycle::Cycle>(value);
        bool const expands = std::find(expandable.begin(), expandable.end(), value) != expandable.end();
        EXPECT_EQ(Def::isExpandable(cycle), expands) << value;
        std::string const uri = Def::getUri(cycle);
        if (value == 0 || value > 71) {
            EXPECT_EQ(uri, "") << value;
            EXPECT_EQ(Def::getExpandedUri(cycle), "") << value;
            continue;
        }
        EXPECT_EQ(uri, A + "/namespace/nc/cycle/" + NCCycle::getName(cycle));
        EXPECT_EQ(NCCycle::getWellKnownCycle(uri.c_str()), cycle) << uri;
        EXPECT_EQ(Def::getExpandedUri(cycle), expands ? uri + "/expanded" : "") << uri;
    }
    EXPECT_EQ(Def::getExpandedUri(NCCycle::CYCLE_DRILLING), A + "/namespace/nc/cycle/drilling/expanded");
    EXPECT_EQ(Def::getUri(NCCycle::CYCLE_FINE_BORING), A + "/namespace/nc/cycle/fine-boring");

    // A cycle that cannot be expanded sends nothing.
    TestSupport::AssertionCapture capture;
    RecordingNCStream recorder;
    EXPECT_FALSE(makeDefinition(NCCycle::CYCLE_CUSTOM).expandHole(recorder, Top, Bottom));
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:isExpandable(cycle)"});
}

TEST(NCCycleDefinition, StopsAtTheFirstRefusedEvent)
{
    // Every event of every expandable cycle, vertical and tilted, refused in turn.
    NCCycle::Cycle const cycles[] = {NCCycle::CYCLE_DRILLING, NCCycle::CYCLE_COUNTER_BORING,
        NCCycle::CYCLE_DEEP_DRILLING, NCCycle::CYCLE_CHIP_BREAKING, NCCycle::CYCLE_RIGHT_TAPPING,
        NCCycle::CYCLE_LEFT_TAPPING, NCCycle::CYCLE_BORING, NCCycle::CYCLE_STOP_BORING, NCCycle::CYCLE_FINE_BORING};
    std::pair<Vector3D, Vector3D> const holes[] = {{Top, Bottom}, {{7, 3, 4}, {7, 0, 0}}};
    for (auto cycle : cycles) {
        for (auto const& [top, bottom] : holes) {
            Def const definition = makeDefinition(cycle);
            RecordingNCStream full;
            ASSERT_TRUE(definition.expandHole(full, top, bottom));
            auto const names = full.names();
            for (std::size_t i = 0; i < names.size(); ++i) {
                int const occurrence = static_cast<int>(std::count(names.begin(), names.begin() + i + 1, names[i]));
                RecordingNCStream stopping;
                stopping.stopAt(names[i], occurrence);
                EXPECT_FALSE(definition.expandHole(stopping, top, bottom)) << Def::getUri(cycle) << " " << i;
                EXPECT_EQ(stopping.events, Lines(full.events.begin(), full.events.begin() + i + 1));
            }
        }
    }

    Def const definition = makeDefinition(NCCycle::CYCLE_DRILLING);
    for (int occurrence = 1; occurrence <= int(Def::VALUE_COUNT); ++occurrence) {
        RecordingNCStream stopping;
        stopping.stopAt(L"onParameter", occurrence);
        EXPECT_FALSE(definition.sendParameters(stopping));
        EXPECT_EQ(stopping.events.size(), std::size_t(occurrence));
    }
}
