// Tests of the runs of descriptive parameters that come back as a context or a tool, and of the
// runs that break off and come back as the parameters they were.
#include "nc/nc/io/CutterLocationDataDescription.h"

#include "tests/support/RecordingNCStream.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace Quarn {
namespace {

using TestSupport::RecordingNCStream;
using Step = std::function<bool(CutterLocationDataDescription&, NCStream&)>;

Step text(char const* name, char const* value)
{
    return [=](CutterLocationDataDescription& d, NCStream& s) { return d.onText(s, name, value); };
}
Step number(char const* name, double value)
{
    return [=](CutterLocationDataDescription& d, NCStream& s) { return d.onFloat(s, name, value); };
}
Step vector(char const* name, Vector3D value)
{
    return [=](CutterLocationDataDescription& d, NCStream& s) { return d.onVector(s, name, value); };
}
Step matrix(char const* name, Matrix3x3 value)
{
    return [=](CutterLocationDataDescription& d, NCStream& s) { return d.onMatrix(s, name, value); };
}
Step flush()
{
    return [](CutterLocationDataDescription& d, NCStream& s) { return d.flush(s); };
}

Matrix3x3 const turned({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});

std::vector<Step> contextRun()
{
    return {text("cld:unit", "inches"), text("cld:compensation", "center"), vector("cld:origin", {1, 2, 3}),
        matrix("cld:plane", turned)};
}

std::vector<Step> toolRun()
{
    return {text("cld:tool-unit", "millimeters"), number("cld:cutter-diameter", 6), number("cld:corner-radius", 0.5),
        number("cld:taper-angle", 2), number("cld:flute-length", 20)};
}

RecordingNCStream play(std::vector<Step> const& steps)
{
    RecordingNCStream sink;
    CutterLocationDataDescription description;
    for (Step const& step : steps)
        EXPECT_TRUE(step(description, sink));
    EXPECT_TRUE(description.flush(sink));
    EXPECT_FALSE(description.isHolding());
    return sink;
}

TEST(CutterLocationDataDescriptionTest, CompleteRunsBecomeAContextAndATool)
{
    std::vector<Step> steps = contextRun();
    for (Step const& step : toolRun())
        steps.push_back(step);
    RecordingNCStream const sink = play(steps);
    ASSERT_EQ(sink.names(), (std::vector<std::wstring> {L"onContext", L"onTool"}));

    NCContext const& context = sink.contexts.at(0);
    EXPECT_EQ(context.getUnit(), NCUnit::INCHES);
    EXPECT_EQ(context.getCompensation(), NCContext::COMPENSATION_CENTER);
    EXPECT_EQ(context.getOrigin(), Vector3D(1, 2, 3));
    EXPECT_EQ(context.getPlane(), turned);
    NCContext expected;
    expected.setUnit(NCUnit::INCHES);
    expected.setCompensation(NCContext::COMPENSATION_CENTER);
    expected.setOrigin({1, 2, 3});
    expected.setPlane(turned);
    EXPECT_EQ(context, expected) << "every field the run does not carry keeps its default";

    NCTool const& tool = sink.tools.at(0);
    EXPECT_EQ(tool.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(tool.getDiameter(), 6);
    EXPECT_EQ(tool.getCornerRadius(), 0.5);
    EXPECT_EQ(tool.getTaperAngle(), 2);
    EXPECT_EQ(tool.getFluteLength(), 20);
}

// A run that breaks off at any point comes back as exactly the parameters it was, in order,
// followed by what broke it.
TEST(CutterLocationDataDescriptionTest, BrokenRunsComeBackAsTheirParameters)
{
    struct Case {
        char const* what;
        std::vector<Step> steps;
        std::vector<std::wstring> names;
    };
    std::vector<Step> const context = contextRun();
    std::vector<Step> const tool = toolRun();
    Case const cases[] = {
        {"unit alone at the end", {context[0]}, {L"onParameter"}},
        {"unknown unit text", {text("cld:unit", "feet"), context[1], context[2], context[3]},
            {L"onParameter", L"onParameter", L"onParameter", L"onParameter"}},
        {"unknown compensation", {context[0], text("cld:compensation", "side"), context[2]},
            {L"onParameter", L"onParameter", L"onParameter"}},
        {"out of order", {context[0], context[2], context[1], context[3]},
            {L"onParameter", L"onParameter", L"onParameter", L"onParameter"}},
        {"another parameter inside", {context[0], context[1], text("other", "x"), context[2], context[3]},
            {L"onParameter", L"onParameter", L"onParameter", L"onParameter", L"onParameter"}},
        {"flushed by another record", {context[0], context[1], context[2], flush(), context[3]},
            {L"onParameter", L"onParameter", L"onParameter", L"onParameter"}},
        {"a new run after a broken one", {context[0], context[0], context[1], context[2], context[3]},
            {L"onParameter", L"onContext"}},
        {"tool cut short", {tool[0], tool[1], tool[2], tool[3]},
            {L"onParameter", L"onParameter", L"onParameter", L"onParameter"}},
        {"tool number out of place", {tool[0], tool[2], tool[1]}, {L"onParameter", L"onParameter", L"onParameter"}},
        {"lone vector and matrix", {vector("v", {1, 2, 3}), matrix("m", turned)}, {L"onParameter", L"onParameter"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(play(c.steps).names(), c.names) << c.what;
}

TEST(CutterLocationDataDescriptionTest, HeldValuesKeepTheirTypesAndTexts)
{
    std::vector<Step> const context = contextRun();
    std::vector<Step> const tool = toolRun();
    RecordingNCStream const sink = play({context[0], context[1], context[2], tool[0], tool[1], tool[2], tool[3],
        matrix("m", Matrix3x3({1, 0.1, 0}, {0, 1, 0}, {-0.5, 0, 1}))});
    RecordingNCStream expected;
    expected.onParameter("cld:unit", "inches");
    expected.onParameter("cld:compensation", "center");
    expected.onParameter("cld:origin", Point3D(1, 2, 3));
    expected.onParameter("cld:tool-unit", "millimeters");
    expected.onParameter("cld:cutter-diameter", 6.0);
    expected.onParameter("cld:corner-radius", 0.5);
    expected.onParameter("cld:taper-angle", 2.0);
    // The matrix's columns are (1, 0.1, 0), (0, 1, 0) and (-0.5, 0, 1): row after row.
    expected.onParameter("m", "1 0 -0.5 0.1 1 0 0 0 1");
    EXPECT_EQ(sink.text(), expected.text());
}

TEST(CutterLocationDataDescriptionTest, StopsAtTheFirstFalse)
{
    std::vector<Step> const context = contextRun();
    RecordingNCStream sink;
    sink.stopAt(L"onParameter", 2);
    CutterLocationDataDescription description;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(context[static_cast<std::size_t>(i)](description, sink));
    EXPECT_FALSE(description.flush(sink));
    EXPECT_EQ(sink.names().size(), 2u) << "nothing is sent after the refused parameter";

    RecordingNCStream refusing;
    refusing.stopAt(L"onContext");
    CutterLocationDataDescription again;
    bool answer = true;
    for (Step const& step : context)
        answer = step(again, refusing);
    EXPECT_FALSE(answer);
}

} // namespace
} // namespace Quarn
