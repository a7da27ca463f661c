// Section state: the first section's start, re-expression between work frames, and contexts
// and tools that take effect only at the next section.
#include "nc/nc/StateFilterNCStream.h"

#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

namespace {

void expectNear(Vector3D const& actual, Vector3D const& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-12);
    EXPECT_NEAR(actual.y, expected.y, 1e-12);
    EXPECT_NEAR(actual.z, expected.z, 1e-12);
}

NCContext contextAt(Vector3D const& origin, Matrix3x3 const& plane)
{
    NCContext context;
    context.setOrigin(origin);
    context.setPlane(plane);
    return context;
}

} // namespace

TEST(StateFilterNCStream, FirstSectionStartsAtTheOriginAlongZ)
{
    RecordingNCStream recorder;
    StateFilterNCStream filter(&recorder);
    filter.setCurrentPosition({5, 5, 5});
    filter.setCurrentDirection({1, 0, 0});
    EXPECT_TRUE(filter.onOpen());
    EXPECT_TRUE(filter.onContext(contextAt({10, 0, 0}, {})));
    EXPECT_FALSE(filter.isInsideSection());
    EXPECT_TRUE(filter.onSection());
    EXPECT_TRUE(filter.isInsideSection());
    EXPECT_EQ(filter.getCurrentPosition(), Vector3D());
    EXPECT_EQ(filter.getCurrentDirection(), Vector3D::getForward());
    EXPECT_TRUE(filter.onSectionEnd());
    EXPECT_FALSE(filter.isInsideSection());
}

TEST(StateFilterNCStream, PositionAndDirectionKeepDenotingTheSamePhysicalPlace)
{
    RecordingNCStream recorder;
    StateFilterNCStream filter(&recorder);
    filter.onOpen();
    filter.onContext(contextAt({10, 0, 0}, {}));
    filter.onSection();
    filter.onLinear5D({1, 2, 3}, {0, 0, 1}, 100, 0);
    filter.onSectionEnd();

    // New frame: origin (0, 5, 0), rotated 90 degrees about z (local x is global y).
    Matrix3x3 const rotated({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
    filter.onContext(contextAt({0, 5, 0}, rotated));
    // The context is not in force before the section starts.
    EXPECT_EQ(filter.getCurrentPosition(), Vector3D(1, 2, 3));
    filter.onSection();
    // Global point (11, 2, 3) relative to (0, 5, 0) is (11, -3, 3); in local axes (-3, -11, 3).
    expectNear(filter.getCurrentPosition(), {-3, -11, 3});
    expectNear(filter.getCurrentDirection(), {0, 0, 1});
    EXPECT_EQ(filter.getSectionContext().getOrigin(), Vector3D(0, 5, 0));

    filter.onSectionEnd();
    filter.onContext(contextAt({0, 0, 0}, Matrix3x3({1, 0, 0}, {0, 0, 1}, {0, -1, 0})));
    filter.onSection();
    // Global (11, 2, 3); the new frame's axes are x, z and -y.
    expectNear(filter.getCurrentPosition(), {11, 3, -2});
    expectNear(filter.getCurrentDirection(), {0, 1, 0});
}

TEST(StateFilterNCStream, ToolTakesEffectAtTheNextSectionAndStateIsKeptWhenRefused)
{
    RecordingNCStream recorder;
    StateFilterNCStream filter(&recorder);
    NCTool tool;
    tool.setNumber(5);
    recorder.stopAt(L"onTool");
    EXPECT_FALSE(filter.onTool(tool));
    EXPECT_EQ(filter.getTool().getNumber(), 0u);
    recorder.stopAt(L"onSection");
    EXPECT_FALSE(filter.onSection());
    EXPECT_EQ(filter.getTool().getNumber(), 5u);
    EXPECT_TRUE(filter.isInsideSection());
    recorder.stopAt(L"onRapid");
    EXPECT_FALSE(filter.onRapid({7, 8, 9}, 0));
    EXPECT_EQ(filter.getCurrentPosition(), Vector3D(7, 8, 9));
}
