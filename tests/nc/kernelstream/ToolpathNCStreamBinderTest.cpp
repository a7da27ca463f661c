// ToolpathNCStreamBinder: the NC events of every kernel entity, the sense of arcs, feedrates,
// stopping and aborting (what it counts instead of sending: KernelNCReaderTest).
#include "nc/nc/kernelstream/ToolpathNCStreamBinder.h"

#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/AbortableImpl.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using Call = std::function<bool(KernelStream&)>;

struct Step {
    Call call;
    std::vector<std::wstring> lines; // what the NC stream records for it
};

std::wstring kernelName(char const* shortName)
{
    return Unicode::fromUTF8(KernelParameterNames::getNamespace()) + Unicode::fromUTF8(shortName);
}

std::wstring const feedrateName = Unicode::fromUTF8(KernelParameterNames::getFeedrateName());

constexpr auto RAPID = NCStream::MOVEMENT_RAPID;
constexpr auto CUTTING = NCStream::MOVEMENT_CUTTING;

// A stream with one entity of every kind the binder sends, in a plausible order.
std::vector<Step> const& script()
{
    static std::vector<Step> const steps = {
        {[](KernelStream& k) { return k.onHeader(L"header"); }, {L"onOpen"}},
        {[](KernelStream& k) { return k.onToolpathOpen(0, 0); }, {L"onSection"}},
        {[](KernelStream& k) { return k.onLinearMove({1, 2, 3}, RAPID); }, {L"onRapid (1, 2, 3) 0"}},
        // No feedrate yet: 0.
        {[](KernelStream& k) { return k.onLinearMove({4, 5, 6}, CUTTING); }, {L"onLinear (4, 5, 6) 0 131072"}},
        {[](KernelStream& k) { return k.onParameter(feedrateName.c_str(), L"250.5"); }, {}},
        // Movement 16 sets flag bit 0x4.
        {[](KernelStream& k) { return k.onLinearMove({7, 8, 9}, NCStream::MOVEMENT_DEPOSITING); },
            {L"onLinear (7, 8, 9) 250.5 4"}},
        {[](KernelStream& k) { return k.onLinear5DMove({1, 0, 0}, {0, 0, 1}, RAPID); },
            {L"onRapid5D (1, 0, 0) (0, 0, 1) 32"}},
        {[](KernelStream& k) { return k.onLinear5DMove({2, 0, 0}, {0, 1, 0}, NCStream::MOVEMENT_LEAD_IN); },
            {L"onLinear5D (2, 0, 0) (0, 1, 0) 250.5 65568"}},
        // Arcs in the three main planes, both senses: the positive normal comes back as it went.
        {[](KernelStream& k) { return k.onCircularMove({3, 1, 0}, {2, 1, 0}, {0, 0, 1}, CUTTING); },
            {L"onCCWArc (2, 1, 0) (3, 1, 0) (0, 0, 1) 250.5 131072"}},
        {[](KernelStream& k) { return k.onCircularMove({2, 0, 0}, {2, 1, 0}, {0, 0, -1}, CUTTING); },
            {L"onCWArc (2, 1, 0) (2, 0, 0) (0, 0, 1) 250.5 131072"}},
        {[](KernelStream& k) { return k.onCircularMove({3, 0, 1}, {2, 0, 1}, {0, 1, 0}, CUTTING); },
            {L"onCCWArc (2, 0, 1) (3, 0, 1) (0, 1, 0) 250.5 131072"}},
        {[](KernelStream& k) { return k.onCircularMove({2, 0, 0}, {2, 0, 1}, {0, -1, 0}, CUTTING); },
            {L"onCWArc (2, 0, 1) (2, 0, 0) (0, 1, 0) 250.5 131072"}},
        {[](KernelStream& k) { return k.onCircularMove({2, 1, 1}, {2, 1, 0}, {1, 0, 0}, CUTTING); },
            {L"onCCWArc (2, 1, 0) (2, 1, 1) (1, 0, 0) 250.5 131072"}},
        {[](KernelStream& k) { return k.onCircularMove({2, 0, 0}, {2, 1, 0}, {-1, 0, 0}, CUTTING); },
            {L"onCWArc (2, 1, 0) (2, 0, 0) (1, 0, 0) 250.5 131072"}},
        // An oblique normal goes by its z.
        {[](KernelStream& k) { return k.onCircularMove({2, 2, 0}, {2, 1, 0}, {0.6, 0, -0.8}, CUTTING); },
            {L"onCWArc (2, 1, 0) (2, 2, 0) (-0.6, 0, 0.8) 250.5 131072"}},
        // Ending where the last move ended: a circle; a rapid arc keeps its movement in the flags.
        {[](KernelStream& k) { return k.onCircularMove({2, 2, 0}, {2, 1, 0}, {0, 0, 1}, CUTTING); },
            {L"onCCWCircle (2, 1, 0) (2, 2, 0) (0, 0, 1) 250.5 131072"}},
        {[](KernelStream& k) { return k.onCircularMove({2, 2, 0}, {2, 1, 0}, {0, 0, -1}, RAPID); },
            {L"onCWCircle (2, 1, 0) (2, 2, 0) (0, 0, 1) 250.5 0"}},
        {[](KernelStream& k) { return k.onCircularMove({3, 1, 0}, {2, 1, 0}, {0, 0, 1}, RAPID); },
            {L"onCCWArc (2, 1, 0) (3, 1, 0) (0, 0, 1) 250.5 0"}},
        {[](KernelStream& k) { return k.onDwell(1.5); }, {L"onDwell 1.5 0"}},
        {[](KernelStream& k) { return k.onCommand(NCStream::COMMAND_COOLANT_ON); }, {L"onCommand 10"}},
        {[](KernelStream& k) { return k.onGroup(L"urn:gr\u00fc\u00dfe"); }, {L"onGroup urn:gr\u00fc\u00dfe"}},
        {[](KernelStream& k) { return k.onGroupEnd(); }, {L"onGroupEnd"}},
        {[](KernelStream& k) { return k.onTurnGroup(NCStream::TURN_GROUP_TNR); }, {L"onTurnGroup tnr"}},
        {[](KernelStream& k) { return k.onTurnGroupEnd(); }, {L"onTurnGroupEnd"}},
        {[](KernelStream& k) { return k.onTurnGroup(NCStream::TURN_GROUP_CANNED_ROUGH); },
            {L"onTurnGroup canned-rough"}},
        {[](KernelStream& k) { return k.onTurnGroup(static_cast<NCStream::TurnGroupType>(7)); }, {L"onTurnGroup "}},
        {[](KernelStream& k) { return k.onMachineAxisOrdering(AxisOrdering {AxisInfo("table", "C")}); },
            {L"onMachineAxisOrdering [table:C]"}},
        {[](KernelStream& k) { return k.onMachineAxisValues(AxisValues {AxisValue(-20.5)}); },
            {L"onMachineAxisValues [-20.5]"}},
        // The kernel's own entities, as parameters.
        {[](KernelStream& k) { return k.onToolAxis({0, 0.6, 0.8}); },
            {L"onParameter " + kernelName("tool-axis") + L" (0, 0.6, 0.8)"}},
        {[](KernelStream& k) { return k.onContactNormal({1, 0, 0}); },
            {L"onParameter " + kernelName("contact-normal") + L" (1, 0, 0)"}},
        {[](KernelStream& k) { return k.onProgress(0.25); }, {L"onParameter " + kernelName("progress") + L" 0.25"}},
        {[](KernelStream& k) { return k.onToolpathBreak(); }, {L"onParameter " + kernelName("toolpath-break") + L" 1"}},
        {[](KernelStream& k) { return k.onBeginFragment(); }, {L"onParameter " + kernelName("begin-fragment") + L" 1"}},
        {[](KernelStream& k) { return k.onEndFragment(); }, {L"onParameter " + kernelName("end-fragment") + L" 1"}},
        {[](KernelStream& k) { return k.onExpandOpen(); }, {L"onParameter " + kernelName("expand-open") + L" 1"}},
        {[](KernelStream& k) { return k.onExpandClose(); }, {L"onParameter " + kernelName("expand-close") + L" 1"}},
        {[](KernelStream& k) { return k.onInformation(L"info"); },
            {L"onParameter " + kernelName("information") + L" info"}},
        {[](KernelStream& k) { return k.onWarning(L"warn"); }, {L"onParameter " + kernelName("warning") + L" warn"}},
        {[](KernelStream& k) { return k.onError(L"bad"); }, {L"onParameter " + kernelName("error") + L" bad"}},
        {[](KernelStream& k) { return k.onDebug(L"trace"); }, {L"onParameter " + kernelName("debug") + L" trace"}},
        {[](KernelStream& k) { return k.onTaskId(L"task 9"); },
            {L"onParameter " + kernelName("task-id") + L" task 9"}},
        {[](KernelStream& k) { return k.onError(5u); }, {L"onParameter " + kernelName("error-code") + L" 5"}},
        {[](KernelStream& k) { return k.onParameter(L"depth\u00e9", L"5 mm"); }, {L"onParameter depth\u00e9 5 mm"}},
        // A feedrate that is not a number is an ordinary parameter, and the feedrate stays.
        {[](KernelStream& k) { return k.onParameter(feedrateName.c_str(), L"12abc"); },
            {L"onParameter " + feedrateName + L" 12abc"}},
        {[](KernelStream& k) { return k.onLinearMove({0, 0, 0}, CUTTING); }, {L"onLinear (0, 0, 0) 250.5 131072"}},
        {[](KernelStream& k) { return k.onToolpathClose(); }, {L"onSectionEnd"}},
        {[](KernelStream& k) { return k.onEnd(); }, {L"onClose"}},
    };
    return steps;
}

} // namespace

TEST(ToolpathNCStreamBinder, SendsEveryEntityAsItsNCEvents)
{
    RecordingNCStream recorder;
    ToolpathNCStreamBinder binder(&recorder);
    for (std::size_t i = 0; i < script().size(); ++i) {
        std::size_t const before = recorder.events.size();
        EXPECT_TRUE(script()[i].call(binder)) << "step " << i;
        EXPECT_EQ(std::vector(recorder.events.begin() + static_cast<std::ptrdiff_t>(before), recorder.events.end()),
            script()[i].lines)
            << "step " << i;
    }
    EXPECT_EQ(binder.getNotCarriedTotal(), 0u);
}

TEST(ToolpathNCStreamBinder, StopsWhenTheNCStreamRefusesAnyEvent)
{
    std::map<std::wstring, int> seen;
    for (std::size_t stop = 0; stop < script().size(); ++stop) {
        if (script()[stop].lines.empty())
            continue;
        std::wstring const line = script()[stop].lines.front();
        std::wstring const name = line.substr(0, line.find(L' '));
        RecordingNCStream recorder;
        recorder.stopAt(name, ++seen[name]);
        ToolpathNCStreamBinder binder(&recorder);
        for (std::size_t i = 0; i < stop; ++i)
            ASSERT_TRUE(script()[i].call(binder)) << "step " << i << " before " << stop;
        EXPECT_FALSE(script()[stop].call(binder)) << "step " << stop;
    }
}

TEST(ToolpathNCStreamBinder, AnAbortStopsEveryEntityBeforeItIsSent)
{
    RecordingNCStream recorder;
    ToolpathNCStreamBinder binder(&recorder);
    AbortableImpl abort;
    binder.setAbortable(&abort);
    ASSERT_TRUE(script()[0].call(binder));
    abort.abort();
    for (std::size_t i = 0; i < script().size(); ++i)
        EXPECT_FALSE(script()[i].call(binder)) << "step " << i;
    EXPECT_FALSE(binder.onModule(L"m", 1, 2));
    EXPECT_EQ(recorder.names(), std::vector<std::wstring> {L"onOpen"});
}

TEST(ToolpathNCStreamBinder, FeedrateParametersSetTheFeedrateOfLaterMoves)
{
    struct Case {
        wchar_t const* value;
        double feedrate; // after the parameter
        bool sent; // as an ordinary parameter
    };
    for (Case const& c : {Case {L"250.5", 250.5, false}, Case {L"1e3", 1000, false}, Case {L"-0.125", -0.125, false},
             Case {L"12abc", 0, true}, Case {L"", 0, true}, Case {L" 5", 0, true}, Case {L"5\u00b2", 0, true}}) {
        RecordingNCStream recorder;
        ToolpathNCStreamBinder binder(&recorder);
        EXPECT_TRUE(binder.onParameter(feedrateName.c_str(), c.value));
        EXPECT_EQ(binder.getFeedrate(), c.feedrate) << c.value;
        EXPECT_EQ(recorder.events.size(), c.sent ? 1u : 0u) << c.value;
    }

    // Every stream starts again from 0.
    RecordingNCStream recorder;
    ToolpathNCStreamBinder binder(&recorder);
    binder.onParameter(feedrateName.c_str(), L"80");
    binder.onHeader(L"second stream");
    binder.onCircularMove({1, 0, 0}, {0, 0, 0}, {0, 0, 1}, CUTTING);
    EXPECT_EQ(recorder.events.back(), L"onCCWArc (0, 0, 0) (1, 0, 0) (0, 0, 1) 0 131072");
}

TEST(ToolpathNCStreamBinder, OnlyAnExactReturnToTheLastPositionMakesACircle)
{
    RecordingNCStream recorder;
    ToolpathNCStreamBinder binder(&recorder);
    // Nothing is known before the first move.
    binder.onCircularMove({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, CUTTING);
    binder.onCircularMove({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, CUTTING);
    binder.onLinear5DMove({5, 0, 0}, {0, 0, 1}, CUTTING);
    binder.onCircularMove({5, 0, 1e-12}, {4, 0, 0}, {0, 0, 1}, CUTTING);
    binder.onLinearMove({6, 0, 0}, RAPID);
    binder.onCircularMove({6, 0, 0}, {4, 0, 0}, {0, 0, 1}, CUTTING);
    EXPECT_EQ(recorder.names(),
        (std::vector<std::wstring> {L"onCCWArc", L"onCCWCircle", L"onLinear5D", L"onCCWArc", L"onRapid",
            L"onCCWCircle"}));
}
