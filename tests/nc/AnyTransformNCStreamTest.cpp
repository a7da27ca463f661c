// AnyTransformNCStream: inverses, identity, mirrored arcs, axial offset, nominals, desired orientation.
#include "nc/nc/AnyTransformNCStream.h"

#include "tests/nc/TransformTesting.h"
#include "tests/support/AssertionCapture.h"
#include "tests/support/EventSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using Lines = std::vector<std::wstring>;

namespace {
Matrix3x3 const mirrorX({-1, 0, 0}, {0, 1, 0}, {0, 0, 1});
}

TEST(AnyTransformNCStream, InverseOfARandomRigidTransformRestoresTheProgram)
{
    std::mt19937 random(7);
    for (unsigned int trial = 0; trial < 300; ++trial) {
        // Every other transformation is a mirror image.
        Matrix4x4 transform(TestSupport::randomRotation(random) * (trial % 2 == 1 ? mirrorX : Matrix3x3()));
        transform.setTranslation(TestSupport::randomVector(random, 100.0));
        RecordingNCStream direct, back;
        AnyTransformNCStream inverse(&back);
        inverse.setTransform(transform.getInverse());
        AnyTransformNCStream forward(&inverse);
        forward.setTransform(transform);
        ASSERT_TRUE(TestSupport::sendRandomProgram(direct, trial));
        ASSERT_TRUE(TestSupport::sendRandomProgram(forward, trial));
        TestSupport::expectSameProgram(back, direct);
    }
}

TEST(AnyTransformNCStream, IdentityPassesEveryEventUnchanged)
{
    RecordingNCStream direct, recorder;
    AnyTransformNCStream filter(&recorder);
    ASSERT_TRUE(TestSupport::sendEveryEvent(direct));
    ASSERT_TRUE(TestSupport::sendEveryEvent(filter));
    EXPECT_EQ(recorder.events, direct.events);
    EXPECT_EQ(recorder.contexts, direct.contexts);
}

TEST(AnyTransformNCStream, MirrorInXSwapsArcsAndNegatesTheCircularNormal)
{
    RecordingNCStream recorder;
    AnyTransformNCStream filter(&recorder);
    filter.setTransform(Matrix4x4(mirrorX));
    NCContext context;
    context.setOrigin({1, 2, 3});
    Vector3D const n(0.48, 0.6, 0.64);
    ASSERT_TRUE(filter.onContext(context) && filter.onCWArc({1, 2, 0}, {3, 4, 0}, n, 100, 0)
        && filter.onCCWArc({1, 2, 0}, {3, 4, 0}, n, 100, 0) && filter.onCWCircle({1, 2, 0}, {1, 2, 0}, n, 100, 0)
        && filter.onCCWCircle({1, 2, 0}, {1, 2, 0}, n, 100, 0)
        && filter.onCircular({1, 2, 0}, {3, 4, 0}, n, -1.5, 100, 0));
    // The mirrored plane goes on right-handed (up reversed), so local y is negated.
    EXPECT_EQ(recorder.events,
        (Lines {L"onContext unit=1 origin=(-1, 2, 3) plane=[(-1, 0, 0), (0, -1, 0), (0, 0, 1)]",
            L"onCCWArc (1, -2, 0) (3, -4, 0) (0.48, -0.6, 0.64) 100 0",
            L"onCWArc (1, -2, 0) (3, -4, 0) (0.48, -0.6, 0.64) 100 0",
            L"onCCWCircle (1, -2, 0) (1, -2, 0) (0.48, -0.6, 0.64) 100 0",
            L"onCWCircle (1, -2, 0) (1, -2, 0) (0.48, -0.6, 0.64) 100 0",
            L"onCircular (1, -2, 0) (3, -4, 0) (-0.48, 0.6, -0.64) -1.5 100 0"}));
}

TEST(AnyTransformNCStream, AxialOffsetFollowsTheToolAxisAndZeroSwitchesItOff)
{
    RecordingNCStream recorder;
    AnyTransformNCStream filter(&recorder);
    auto send = [&](double offset) {
        filter.setAxialOffset(offset);
        recorder.events.clear();
        filter.onLinear({1, 2, 3}, 100, 0);
        filter.onParameter("p", Point3D(1, 2, 3));
        filter.onRapid5D({1, 2, 3}, {0, 0, 1}, 0);
        filter.onLinear5D({1, 2, 3}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, 100, 0);
        return recorder.events;
    };
    EXPECT_EQ(send(5),
        (Lines {L"onLinear (1, 2, 8) 100 0", L"onParameter p (1, 2, 8)", L"onRapid5D (1, 2, 8) (0, 0, 1) 0",
            L"onLinear5D (6, 2, 3) (1, 0, 0) (0, 1, 0) (0, 0, 1) 100 0"}));
    EXPECT_EQ(send(0),
        (Lines {L"onLinear (1, 2, 3) 100 0", L"onParameter p (1, 2, 3)", L"onRapid5D (1, 2, 3) (0, 0, 1) 0",
            L"onLinear5D (1, 2, 3) (1, 0, 0) (0, 1, 0) (0, 0, 1) 100 0"}));

    // In this desired orientation local (x, y, z) goes on as (x, z, -y); the offset is added after.
    filter.setDesiredOrientation(Matrix3x3({1, 0, 0}, {0, 0, 1}, {0, -1, 0}));
    filter.onContext(NCContext());
    EXPECT_EQ(send(5),
        (Lines {L"onLinear (1, 3, 3) 100 0", L"onParameter p (1, 3, 3)", L"onRapid5D (1, 8, -2) (0, 1, 0) 0",
            L"onLinear5D (6, 3, -2) (1, 0, 0) (0, 0, -1) (0, 1, 0) 100 0"}));
}

TEST(AnyTransformNCStream, NominalsGoOnTogetherAsOneMappedDirectionInAnyArrivalOrder)
{
    std::map<std::string, double> const value {{"nominalI", 0.48}, {"nominalJ", 0.6}, {"nominalK", 0.64}};
    std::string order[] = {"nominalI", "nominalJ", "nominalK"};
    do {
        RecordingNCStream recorder;
        AnyTransformNCStream filter(&recorder);
        filter.setTransform(Matrix4x4(mirrorX));
        filter.setTransformNominals(true);
        filter.onContext(NCContext());
        recorder.events.clear();
        EXPECT_TRUE(filter.onParameter(order[0].c_str(), value.at(order[0])) && filter.onParameter("depth", 2.0)
            && filter.onParameter(order[1].c_str(), value.at(order[1]))
            && filter.onParameter(order[2].c_str(), value.at(order[2])) && filter.onParameter("nominalI", 1.0));
        EXPECT_EQ(recorder.events,
            (Lines {L"onParameter depth 2", L"onParameter nominalI 0.48", L"onParameter nominalJ -0.6",
                L"onParameter nominalK 0.64"}));
    } while (std::next_permutation(std::begin(order), std::end(order)));

    RecordingNCStream recorder;
    AnyTransformNCStream filter(&recorder);
    filter.onParameter("nominalJ", 0.6);
    EXPECT_EQ(recorder.events, Lines {L"onParameter nominalJ 0.6"}) << "passed on when off";
}

TEST(AnyTransformNCStream, RefusedNominalStopsAtOnceAndTheDirectionGoesOnWithTheNextParameter)
{
    for (int refused = 1; refused <= 3; ++refused) {
        RecordingNCStream recorder;
        AnyTransformNCStream filter(&recorder);
        filter.setTransformNominals(true);
        recorder.stopAt(L"onParameter", refused);
        EXPECT_TRUE(filter.onParameter("nominalK", 3.0) && filter.onParameter("nominalI", 1.0));
        EXPECT_FALSE(filter.onParameter("nominalJ", 2.0));
        EXPECT_EQ(recorder.events.size(), static_cast<std::size_t>(refused));
        recorder.events.clear();
        EXPECT_TRUE(filter.onParameter("depth", 4.0));
        EXPECT_EQ(recorder.events,
            (Lines {L"onParameter nominalI 1", L"onParameter nominalJ 2", L"onParameter nominalK 3",
                L"onParameter depth 4"}));
    }
}

TEST(AnyTransformNCStream, DesiredOrientationMustBeAProperRotation)
{
    TestSupport::AssertionCapture capture;
    AnyTransformNCStream filter;
    filter.setDesiredOrientation(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    filter.setDesiredOrientation(mirrorX);
    ASSERT_EQ(capture.reports().size(), 1u);
    EXPECT_EQ(capture.reports()[0].text, "EXPECTS:orientation.getDeterminant() > 0");
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/AnyTransformNCStream");
}
