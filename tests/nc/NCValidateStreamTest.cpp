// NCValidateStream: the messages and results of event sequences, the order of the checks, the
// log and its limit, the tolerances, and an application's validator that collects its findings.
#include "nc/nc/NCValidateStream.h"

#include "tests/support/AssertionCapture.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using namespace Quarn;
using TestSupport::RecordingNCStream;

namespace {

using Events = std::function<bool(NCStream&)>;
using V = Vector3D;

constexpr unsigned int Start = NCStream::FLAG_START_CUTTING;
constexpr unsigned int End = NCStream::FLAG_END_CUTTING;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Inf = std::numeric_limits<double>::infinity();
Vector3D const Z(0, 0, 1), X(1, 0, 0), N(0, 1, 0);
std::string const ContentSpiral = std::string(NCStream::NamespaceBaseA) + "/namespace/nc/parameter/content-spiral";
std::string const Drilling = std::string(NCStream::NamespaceBaseA) + "/namespace/nc/cycle/drilling";

NCTool toolOfType(ToolGeometry::Type type)
{
    NCTool tool;
    tool.setType(type);
    tool.setDiameter(10);
    return tool;
}

// Program prefixes that leave the log empty.
bool nothing(NCStream&) { return true; }
bool opened(NCStream& s) { return s.onOpen(); }
bool section(NCStream& s)
{
    return s.onContext({}) && s.onTool(toolOfType(ToolGeometry::FLAT_END_MILL)) && s.onSection();
}
bool inSection(NCStream& s) { return s.onOpen() && section(s); }
bool atPoint(NCStream& s) { return inSection(s) && s.onRapid({10, 0, 0}, 0); }
bool cutting(NCStream& s) { return atPoint(s) && s.onLinear({10, 0, -1}, 100, Start); }
// A second section after one that moved the tool to (10, 0, 0) and allowed spirals.
bool inNextSection(NCStream& s)
{
    return atPoint(s) && s.onParameter(ContentSpiral.c_str(), 1) && s.onSectionEnd() && section(s);
}
bool inSectionAfterGroup(NCStream& s)
{
    return inSection(s) && s.onGroup("tool-call") && s.onGroupEnd() && s.onSectionEnd() && section(s);
}
bool inGroup(NCStream& s) { return inSection(s) && s.onGroup("pattern"); }
bool afterFiveAxis(NCStream& s) { return inSection(s) && s.onLinear5D({1, 0, 0}, Z, 100, 0); }
Events atPointInMode(unsigned int mode)
{
    NCContext context;
    context.setMultiAxisMode(static_cast<NCContext::MultiAxisMode>(mode));
    return [context](NCStream& s) {
        return s.onOpen() && s.onContext(context) && s.onTool(toolOfType(ToolGeometry::FLAT_END_MILL)) && s.onSection()
            && s.onRapid({10, 0, 0}, 0);
    };
}

std::vector<std::wstring> logLines(std::wstring const& log)
{
    std::vector<std::wstring> lines;
    for (std::size_t begin = 0; begin < log.size();) {
        std::size_t end = std::min(log.find(L'\n', begin), log.size());
        lines.push_back(log.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

struct Case {
    char const* name;
    Events setup;
    Events event;
    std::vector<std::wstring> messages; // the log lines of the event, going on after errors
    double spiralAllowance = 0.0;
};

// Runs each event after its setup twice: going on after errors, where every message is logged
// and the event is forwarded; and stopping at errors, where the log ends with the first error
// and the event is refused without being forwarded.
void expectCases(std::vector<Case> const& cases)
{
    for (Case const& c : cases) {
        for (bool continueOnError : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (continueOnError ? " going on" : " stopping"));
            RecordingNCStream recorder;
            NCValidateStream validator(&recorder);
            validator.setUseLog(true);
            validator.setContinueOnError(continueOnError);
            validator.setMaximumSpiralRadiiAllowance(c.spiralAllowance);
            ASSERT_TRUE(c.setup(validator));
            ASSERT_EQ(validator.getLog(), L"");
            std::size_t const forwarded = recorder.events.size();
            TestSupport::AssertionCapture capture;
            bool const result = c.event(validator);
            // Missing names and texts are passed on, and the recording sink reports them.
            for (auto const& text : capture.texts())
                EXPECT_EQ(text, "EXPECTS:text != nullptr");

            auto expected = c.messages;
            auto firstError = std::find_if(
                expected.begin(), expected.end(), [](auto const& line) { return line.starts_with(L"Error"); });
            bool const anyError = firstError != expected.end();
            bool const refused = !continueOnError && anyError;
            if (refused)
                expected.erase(firstError + 1, expected.end());
            EXPECT_EQ(logLines(validator.getLog()), expected);
            EXPECT_EQ(result, !refused);
            EXPECT_EQ(recorder.events.size() > forwarded, !refused);
            EXPECT_EQ(validator.hasError(), anyError);
        }
    }
}

// An application's validator: keeps every finding for its own message list and may refuse on
// warnings too.
class CollectingValidator : public NCValidateStream {
public:
    using NCValidateStream::NCValidateStream;
    std::vector<std::wstring> findings; // "index: text"
    bool refuseWarnings = false;

protected:
    bool onError(unsigned int index, std::wstring const& message) override
    {
        findings.push_back(std::to_wstring(index) + L": " + message);
        return NCValidateStream::onError(index, message);
    }
    bool onWarning(unsigned int index, std::wstring const& message) override
    {
        findings.push_back(std::to_wstring(index) + L": " + message);
        return !refuseWarnings;
    }
};

} // namespace

TEST(NCValidateStream, StructureChecksInOrder)
{
    expectCases({
        {"section before open", nothing, [](NCStream& s) { return s.onSection(); },
            {L"Warning: Context has not been set for section.", L"Error: Stream is not open."}},
        {"section in section", inSection, [](NCStream& s) { return s.onSection(); },
            {L"Warning: Context has not been set for section.", L"Error: Section opened within section."}},
        {"close in section", inSection, [](NCStream& s) { return s.onClose(); },
            {L"Error: Section has not been closed."}},
        {"context in section", inSection, [](NCStream& s) { return s.onContext({}); },
            {L"Error: Context change within section."}},
        {"tool in section", inSection, [](NCStream& s) { return s.onTool(toolOfType(ToolGeometry::DRILL)); },
            {L"Error: Tool change within section."}},
        {"section end outside section", opened, [](NCStream& s) { return s.onSectionEnd(); },
            {L"Warning: Tool has not been set for section but we got toolpath.", L"Error: Section not open.",
                L"Warning: Empty section."}},
        {"section end while cutting", cutting, [](NCStream& s) { return s.onSectionEnd(); },
            {L"Warning: Cutting move not ended before end of section."}},
        {"group without uri", inSection, [](NCStream& s) { return s.onGroup(nullptr); },
            {L"Error: Invalid uri for group."}},
        {"cycle before any move", inSection, [](NCStream& s) { return s.onGroup(Drilling.c_str()); },
            {L"Error: Unknown start position for cycle."}},
        {"tool call before any move", inSection, [](NCStream& s) { return s.onGroup("tool-call"); }, {}},
        {"group in group", inGroup, [](NCStream& s) { return s.onGroup("pattern"); }, {L"Error: Group already open."}},
        {"group end outside section", opened, [](NCStream& s) { return s.onGroupEnd(); },
            {L"Error: Group not open.", L"Error: Section not open."}},
        {"spindle speed", nothing, [](NCStream& s) { return s.onSpindleSpeed(-1); },
            {L"Warning: Invalid spindle speed '-1'.", L"Error: Section not open."}},
        {"dwell", nothing, [](NCStream& s) { return s.onDwell(-0.5, 0); }, {L"Error: Negative dwelling time '-0.5'."}},
        {"parameter without name", nothing, [](NCStream& s) { return s.onParameter(nullptr, "v"); },
            {L"Error: Invalid parameter name.", L"Error: Stream is not open."}},
        {"kinded parameter", opened,
            [](NCStream& s) { return s.onParameter("depth", Inf, NCStream::PARAMETER_KIND_LENGTH); },
            {L"Warning: Non-number value 'inf' for parameter 'depth'."}},
        {"point parameter", opened, [](NCStream& s) { return s.onParameter("corner", Point3D(1, NaN, 0)); },
            {L"Warning: Invalid Point3D value '(1, nan, 0)' for parameter 'corner'."}},
    });
}

TEST(NCValidateStream, MoveChecksInOrder)
{
    Vector3D const points[] = {{0, 0, 0}, {NaN, 1, 0}, {2, 0, 0}};
    double const knots[] = {0, 0, 0, Inf, 1, 1};
    expectCases({
        {"line", inSection, [](NCStream& s) { return s.onLinear(V(1, 2, NaN), NaN, 0); },
            {L"Error: Invalid end point '(1, 2, nan)'.", L"Error: Invalid feedrate 'nan'."}},
        {"negative feedrate", inSection, [](NCStream& s) { return s.onLinear(V(1, 0, 0), -1, 0); },
            {L"Warning: Invalid feedrate '-1'."}},
        {"line outside section", opened, [](NCStream& s) { return s.onLinear(V(1, 0, 0), -1, End); },
            {L"Error: Section not open.", L"Warning: End of cutting move when not cutting.",
                L"Warning: Invalid feedrate '-1'."}},
        {"start while cutting", cutting, [](NCStream& s) { return s.onLinear(V(1, 0, 0), 100, Start); },
            {L"Warning: Start of cutting move when already cutting."}},
        {"start and end at once", inSection, [](NCStream& s) { return s.onLinear(V(1, 0, 0), 100, Start | End); }, {}},
        {"line after five-axis", afterFiveAxis, [](NCStream& s) { return s.onLinear(V(2, 0, 0), 100, 0); },
            {L"Warning: Mixed multi-axis and 3-axis motion."}},
        {"five-axis frame", inSection, [](NCStream& s) { return s.onLinear5D(V(1, 0, 0), Z, V(Inf, 0, 0), N, -1, 0); },
            {L"Error: Invalid X axis '(inf, 0, 0)'.", L"Warning: Invalid feedrate '-1'.",
                L"Warning: X axis not normalized '(inf, 0, 0)'."}},
        {"extrusion", inSection, [](NCStream& s) { return s.onLinearExtrude(V(1, 0, 0), -1, NaN); },
            {L"Error: Invalid extrusion 'nan'.", L"Warning: Invalid feedrate '-1'."}},
        // The two rapid forms treat the cutting flags differently.
        {"rapid while cutting", cutting, [](NCStream& s) { return s.onRapid(V(0, 0, 5), Start); },
            {L"Warning: Change of cutting/non-cutting state for rapid move.",
                L"Warning: Cutting move not ended before rapid move."}},
        {"five-axis rapid while cutting", cutting, [](NCStream& s) { return s.onRapid5D(V(0, 0, 5), Z, End); },
            {L"Warning: Change of cutting/non-cutting state for rapid move.",
                L"Warning: Cutting move not ended before rapid move."}},
        {"framed rapid ending a cut", inSection, [](NCStream& s) { return s.onRapid5D(V(0, 0, 5), Z, X, N, End); },
            {L"Warning: End of cutting move when not cutting."}},
        {"framed rapid while cutting", cutting, [](NCStream& s) { return s.onRapid5D(V(0, 0, 5), Z, X, N, Start); },
            {L"Warning: Start of cutting move when already cutting."}},
        {"arc as first move", inSection, [](NCStream& s) { return s.onCWArc(V(0, 5, 0), V(0, 10, 0), Z, 100, 0); },
            {L"Error: Unknown start position for circular move."}},
        {"arc normal", atPoint, [](NCStream& s) { return s.onCCWArc(V(0, 0, 0), V(0, 10, 0), V(0, 0, 2), 100, 0); },
            {L"Error: Circular move normal not normalized."}},
        {"arc starting at its center", atPoint,
            [](NCStream& s) { return s.onCWArc(V(10, 0, 0), V(0, 10, 0), Z, 100, 0); },
            {L"Error: Invalid start and center for circle at '(0, 10, 0)'."}},
        {"arc sweep", atPoint, [](NCStream& s) { return s.onCircular(V(0, 0, 0), V(0, 10, 0), Z, NaN, -1, 0); },
            {L"Warning: Invalid feedrate '-1'.", L"Error: Invalid sweep 'nan'."}},
        {"arc extrusion", atPoint,
            [](NCStream& s) { return s.onCircularExtrude(V(0, 0, 0), V(0, 10, 0), Z, 1.5, 100, Inf, End); },
            {L"Error: Invalid extrusion 'inf'.", L"Warning: End of cutting move when not cutting."}},
        {"circle center", atPoint, [](NCStream& s) { return s.onCWCircle(V(NaN, 0, 0), V(10, 0, 0), Z, 100, 0); },
            {L"Error: Invalid center '(nan, 0, 0)'.", L"Error: Invalid start and center for circle at '(10, 0, 0)'.",
                L"Error: Invalid end and center for circle at '(10, 0, 0)'."}},
        {"bezier", inSection, [](NCStream& s) { return s.onBezier(V(0, 1, 0), V(1, 1, 0), V(Inf, 0, 0), NaN, 0); },
            {L"Error: Invalid end point '(inf, 0, 0)' for bezier.",
                L"Error: Invalid feedrate 'nan' for bezier at '(inf, 0, 0)'."}},
        {"spline outside section", opened, [](NCStream& s) { return s.onSpline(X, N, Z, -1, End); },
            {L"Error: Section not open.", L"Warning: End of cutting move when not cutting.",
                L"Warning: Invalid feedrate '-1'."}},
        {"nurbs without arrays", inSection, [](NCStream& s) { return s.onNURBS(nullptr, 0, nullptr, 0, 100, 0); },
            {L"Error: Invalid control points for NURBS.", L"Error: Invalid number of control points for NURBS.",
                L"Error: Invalid knots for NURBS."}},
        {"nurbs values", inSection, [&](NCStream& s) { return s.onNURBS(points, 3, knots, 6, NaN, 0); },
            {L"Error: Invalid control point.", L"Error: Invalid knot.", L"Error: Invalid feedrate 'nan'."}},
    });
}

TEST(NCValidateStream, ToleranceAndRecordChecks)
{
    // Squared lengths 1 + 8e-7 (within the default 1e-6) and 1 + 1.2e-6.
    Vector3D const nearUnit(0, 0, 1.0000004), offUnit(0, 0, 1.0000006), zero;
    auto line5D = [](Vector3D direction) { return [=](NCStream& s) { return s.onLinear5D(X, direction, 100, 0); }; };
    auto rapid5D = [](Vector3D direction) { return [=](NCStream& s) { return s.onRapid5D(X, direction, 0); }; };
    auto framed = [](Vector3D z) { return [=](NCStream& s) { return s.onLinear5D(X, z, X, Vector3D(), 100, 0); }; };
    auto arc = [](NCStream& s) { return s.onCCWArc(V(0, 0, 0), V(0, 10.02, 0), Z, 100, 0); };
    auto spiralAllowed = [&](NCStream& s) { return atPoint(s) && s.onParameter(ContentSpiral.c_str(), 1); };
    auto contextEvent = [](NCContext context) { return [=](NCStream& s) { return s.onContext(context); }; };
    auto tilted = [](double angle) { return Matrix3x3({1, 0, 0}, {std::sin(angle), std::cos(angle), 0}, {0, 0, 1}); };
    NCContext tiltedWork, tiltedWCS, slightlyTilted, badOrigin, noRadius, radius;
    tiltedWork.setPlane(tilted(0.001));
    tiltedWCS.setWCSPlane(tilted(0.001));
    slightlyTilted.setPlane(tilted(1e-7));
    badOrigin.setOrigin({NaN, 0, 0});
    noRadius.setAxisSubstitution(true);
    radius.setAxisSubstitution(true);
    radius.setAxisSubstitutionRadius(20);

    expectCases({
        {"unit mode, near unit", atPointInMode(0), line5D(nearUnit), {}},
        {"unit mode, off unit", atPointInMode(0), line5D(offUnit),
            {L"Warning: Tool axis not normalized '(0, 0, 1.0000006)'."}},
        {"unit mode, rapid", atPointInMode(0), rapid5D(offUnit),
            {L"Warning: Tool axis not normalized '(0, 0, 1.0000006)'."}},
        {"unit mode, frame", atPointInMode(0), framed(offUnit),
            {L"Warning: Z axis not normalized '(0, 0, 1.0000006)'.",
                L"Warning: Contact normal not normalized '(0, 0, 0)'."}},
        {"proper mode, off unit", atPointInMode(1), line5D(offUnit), {}},
        {"proper mode, zero", atPointInMode(1), rapid5D(zero), {L"Warning: Invalid tool axis '(0, 0, 0)'."}},
        {"proper mode, frame", atPointInMode(1), framed(zero), {L"Warning: Invalid Z axis '(0, 0, 0)'."}},
        {"unchecked mode", atPointInMode(2), line5D(offUnit), {}},
        {"unknown mode", atPointInMode(3), rapid5D(Z), {L"Error: Unsupported multi-axis mode."}},
        // Start radius 10, end radius 10.02.
        {"spiral, test off", atPoint, arc, {}},
        {"spiral", atPoint, arc, {L"Error: Spiral motion for circle at '(0, 10.02, 0)'."}, 0.01},
        {"spiral, allowed", spiralAllowed, arc, {}, 0.01},
        {"spiral, allowed in an earlier section", inNextSection, arc,
            {L"Error: Spiral motion for circle at '(0, 10.02, 0)'."}, 0.01},
        {"work plane", opened, contextEvent(tiltedWork), {L"Error: Invalid context work plane."}},
        {"WCS plane", opened, contextEvent(tiltedWCS), {L"Error: Invalid context WCS plane."}},
        {"plane within tolerance", opened, contextEvent(slightlyTilted), {}},
        {"work origin", opened, contextEvent(badOrigin), {L"Error: Invalid context work origin '(nan, 0, 0)'."}},
        {"substitution without radius", opened, contextEvent(noRadius), {L"Error: Invalid context axis substitution."}},
        {"substitution radius", opened, contextEvent(radius), {}},
    });
}

TEST(NCValidateStream, ToolChecks)
{
    auto toolEvent = [](NCTool tool) { return [=](NCStream& s) { return s.onTool(tool); }; };
    NCTool undefinedWithDiameter;
    NCTool const turning = toolOfType(ToolGeometry::TURNING_GENERAL);
    NCTool shapedTurning = turning;
    NCTool jet = toolOfType(ToolGeometry::WATERJET);
    NCTool depositing = toolOfType(ToolGeometry::DEPOSITING_WIRE);
    NCTool mill = toolOfType(ToolGeometry::FLAT_END_MILL);
    undefinedWithDiameter.setDiameter(6);
    shapedTurning.setTurningRegion({{-1, 0}, {0, 2}});
    jet.setJetDiameter(-1);
    jet.setPressure(-2);
    jet.setAbrasiveFlowRate(-0.25);
    depositing.setLayerThickness(-0.5);
    depositing.setJetDiameter(-1); // not a jet cutter: not checked
    mill.setDiameter(-10);
    mill.setBodyLength(-1);

    expectCases({
        {"undefined", opened, toolEvent(NCTool()), {L"Warning: Tool is undefined."}},
        {"undefined with diameter", opened, toolEvent(undefinedWithDiameter),
            {L"Warning: Tool is undefined but has diameter defined."}},
        {"turning without region", opened, toolEvent(turning), {L"Warning: Turning tool region is null."}},
        {"turning", opened, toolEvent(shapedTurning), {}},
        {"jet", opened, toolEvent(jet),
            {L"Warning: Jet diameter is invalid '-1'.", L"Warning: Pressure is invalid '-2'.",
                L"Warning: Abrasive flow rate is invalid '-0.25'."}},
        {"depositing", opened, toolEvent(depositing), {L"Warning: Layer thickness is invalid '-0.5'."}},
        {"mill", opened, toolEvent(mill),
            {L"Warning: Tool diameter is invalid '-10'.", L"Warning: Tool body length is invalid '-1'."}},
    });
}

TEST(NCValidateStream, KnownPositionSurvivesSectionsAndEmptySectionsCountOnlyBeforeAnyMove)
{
    auto arc = [](NCStream& s) { return s.onCWArc(V(0, 0, 0), V(0, -10, 0), Z, 100, 0); };
    auto sectionEnd = [](NCStream& s) { return s.onSectionEnd(); };
    expectCases({
        {"arc in a later section", inNextSection, arc, {}},
        {"empty first section", inSection, sectionEnd, {L"Warning: Empty section."}},
        {"empty later section", inNextSection, sectionEnd, {}},
        {"empty section after a group", inSectionAfterGroup, sectionEnd, {}},
    });
}

TEST(NCValidateStream, LogLinesAndHookIndicesFollowTheLineNumber)
{
    RecordingNCStream recorder;
    CollectingValidator validator(&recorder);
    EXPECT_TRUE(validator.onDwell(-1, 0));
    EXPECT_EQ(validator.getLog(), L"") << "the log is off by default";
    validator.setUseLog(true);
    EXPECT_TRUE(validator.onDwell(-2, 0));
    EXPECT_TRUE(validator.onOpen());
    EXPECT_TRUE(validator.onSection());
    EXPECT_TRUE(validator.onLineNumber(12));
    EXPECT_TRUE(validator.onRapid({NaN, 0, 0}, 0));
    EXPECT_EQ(validator.getLog(),
        L"Error: Negative dwelling time '-2'.\n"
        L"Warning: Context has not been set for section.\n"
        L"Error [12]: Invalid end point '(nan, 0, 0)'.");
    // Before any line number the index is the number of events forwarded so far.
    EXPECT_EQ(validator.findings,
        (std::vector<std::wstring> {L"0: Negative dwelling time '-1'.", L"1: Negative dwelling time '-2'.",
            L"3: Context has not been set for section.", L"12: Invalid end point '(nan, 0, 0)'."}));
}

TEST(NCValidateStream, TheFortyFirstMessageIsCountedButNotLogged)
{
    RecordingNCStream recorder;
    CollectingValidator validator(&recorder);
    validator.setUseLog(true);
    validator.onOpen();
    validator.onSection();
    for (int i = 1; i < 40; ++i)
        validator.onLinear({0, 0, 0}, -1, 0);
    EXPECT_EQ(logLines(validator.getLog()).size(), 40u);
    EXPECT_FALSE(validator.hasError());

    EXPECT_TRUE(validator.onRapid({Inf, 0, 0}, 0));
    EXPECT_TRUE(validator.hasError());
    EXPECT_EQ(validator.findings.size(), 41u);
    EXPECT_EQ(validator.findings.back(), L"41: Invalid end point '(inf, 0, 0)'.");
    auto const lines = logLines(validator.getLog());
    EXPECT_EQ(lines.size(), 40u);
    EXPECT_EQ(lines.back(), L"Warning: Invalid feedrate '-1'.");
}

TEST(NCValidateStream, ApplicationHooksDecideAndStoppingSkipsTheErrorHook)
{
    RecordingNCStream recorder;
    CollectingValidator validator(&recorder);
    ASSERT_TRUE(inSection(validator));
    std::size_t const forwarded = recorder.events.size();

    validator.refuseWarnings = true;
    EXPECT_FALSE(validator.onLinear({1, 0, 0}, -1, 0));
    EXPECT_EQ(recorder.events.size(), forwarded);
    EXPECT_FALSE(validator.hasError());

    // With continueOnError off an error refuses before the hook is asked.
    validator.setContinueOnError(false);
    EXPECT_FALSE(validator.onLinear({1, 0, 0}, NaN, 0));
    EXPECT_EQ(validator.findings, (std::vector<std::wstring> {L"4: Invalid feedrate '-1'."}));
    EXPECT_TRUE(validator.hasError());
    EXPECT_EQ(recorder.events.size(), forwarded);
}
