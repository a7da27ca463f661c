// The default receiver answers every event with its result flag, except the two free-form
// curves, which it always accepts.
#include "nc/nc/NCStreamDefaultImpl.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/EventSamples.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(NCStreamDefaultImpl, AcceptsAWholeProgram)
{
    NCStreamDefaultImpl receiver;
    EXPECT_TRUE(TestSupport::sendEveryEvent(receiver));
}

TEST(NCStreamDefaultImpl, RefusesEveryEventButBezierAndNURBSWhenSetToFalse)
{
    NCStreamDefaultImpl r(false);
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    NCTool tool;
    tool.setDiameter(0.5);
    AxisOrdering ordering {AxisInfo('t', 'A')};
    Vector3D const v(1, 2, 3);
    double const knots[] = {0, 1};

    bool const answers[] = {r.passThrough(L"w"), r.passThrough("n"), r.onComment(L"w"), r.onComment("n"),
        r.onCommand(NCStream::COMMAND_STOP), r.onToolpathEntityIndex({}), r.onMachineCommand(1),
        r.onCoolant(1, NCStream::COOLANT_LEVEL_LOW), r.onSpindleSpeed(1), r.onRadiusCompensationMode(true),
        r.onRadiusCompensation(NCStream::COMPENSATION_RIGHT), r.onOpen(), r.onParameter("p", Point3D()),
        r.onParameter("p", 1.0, NCStream::PARAMETER_KIND_TIME), r.onParameter("p", 1.0), r.onParameter("p", 1),
        r.onParameter("p", L"w"), r.onParameter("p", "n"), r.onStock(v, v), r.onContext(context), r.onTool(tool),
        r.onToolChange(), r.onSection(), r.onGroup("g"), r.onTurnGroup("t"), r.onGroupEnd(), r.onTurnGroupEnd(),
        r.onSectionEnd(), r.onDwell(1, 0), r.onRapid(v, 0), r.onRapid5D(v, v, v, v, 0), r.onRapid5D(v, v, 0),
        r.onLinear(v, 1, 0), r.onLinear5D(v, v, v, v, 1, 0), r.onLinear5D(v, v, 1, 0), r.onLinearExtrude(v, 1, 1),
        r.onCWArc(v, v, v, 1, 0), r.onCCWArc(v, v, v, 1, 0), r.onCircular(v, v, v, 1, 1, 0),
        r.onCWArcExtrude(v, v, v, 1, 1, 0), r.onCCWArcExtrude(v, v, v, 1, 1, 0),
        r.onCircularExtrude(v, v, v, 1, 1, 1, 0), r.onCWCircle(v, v, v, 1, 0), r.onCCWCircle(v, v, v, 1, 0),
        r.onSpline(v, v, v, 1, 0), r.onSkip(), r.onLineNumber(1), r.onMachineAxisOrdering(ordering),
        r.onMachineAxisValues(AxisValues(1)), r.onFrame(TaggedFrame()), r.onClose()};
    for (std::size_t i = 0; i < std::size(answers); ++i)
        EXPECT_FALSE(answers[i]) << i;
    EXPECT_TRUE(r.onBezier(v, v, v, 1, 0));
    EXPECT_TRUE(r.onNURBS(&v, 1, knots, 2, 1, 0));

    r.setResult(true);
    EXPECT_TRUE(r.onRapid(v, 0));
}
