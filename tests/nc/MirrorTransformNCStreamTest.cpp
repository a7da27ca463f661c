// MirrorTransformNCStream: the same as the reflection as a transform; a second mirror restores all.
#include "nc/nc/MirrorTransformNCStream.h"

#include "nc/nc/AnyTransformNCStream.h"
#include "tests/nc/TransformTesting.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(MirrorTransformNCStream, MirrorsLikeTheReflectionAndTwiceRestoresTheProgram)
{
    std::mt19937 random(11);
    for (unsigned int trial = 0; trial < 300; ++trial) {
        Vector3D const point = TestSupport::randomVector(random, 100.0);
        Vector3D const normal = TestSupport::randomVector(random, 1.0).getNormalized();
        auto const reflect = [&](Vector3D const& v) { return v - 2.0 * normal.dot(v) * normal; };
        Matrix4x4 reflection(Matrix3x3(reflect({1, 0, 0}), reflect({0, 1, 0}), reflect({0, 0, 1})));
        reflection.setTranslation(2.0 * point.dot(normal) * normal);

        RecordingNCStream direct, mirrored, reflected, twice;
        MirrorTransformNCStream mirror(&mirrored), second(&twice), first(&second);
        for (auto* stream : {&mirror, &second, &first})
            stream->setPlane(point, normal);
        AnyTransformNCStream transform(&reflected);
        transform.setTransform(reflection);
        ASSERT_TRUE(TestSupport::sendRandomProgram(direct, trial) && TestSupport::sendRandomProgram(mirror, trial)
            && TestSupport::sendRandomProgram(transform, trial) && TestSupport::sendRandomProgram(first, trial));
        TestSupport::expectSameProgram(mirrored, reflected);
        TestSupport::expectSameProgram(twice, direct);
    }
}

TEST(MirrorTransformNCStream, ALeftHandedPlaneIsMirroredLikeTheReflectionMatrix)
{
    std::mt19937 random(12);
    for (unsigned int trial = 0; trial < 100; ++trial) {
        Vector3D const normal = TestSupport::randomVector(random, 1.0).getNormalized();
        auto const reflect = [&](Vector3D const& v) { return v - 2.0 * normal.dot(v) * normal; };
        RecordingNCStream direct, mirrored, reflected;
        MirrorTransformNCStream mirror(&mirrored);
        mirror.setPlane({0, 0, 0}, normal);
        AnyTransformNCStream transform(&reflected);
        transform.setTransform(Matrix4x4(Matrix3x3(reflect({1, 0, 0}), reflect({0, 1, 0}), reflect({0, 0, 1}))));
        ASSERT_TRUE(TestSupport::sendRandomProgram(direct, trial, true)
            && TestSupport::sendRandomProgram(mirror, trial, true)
            && TestSupport::sendRandomProgram(transform, trial, true));
        TestSupport::expectSameProgram(mirrored, reflected);
        // The reflected plane is right-handed: local coordinates and arc senses pass unchanged.
        EXPECT_EQ(mirrored.names(), direct.names());
    }
}

TEST(MirrorTransformNCStream, SwapsArcSensesBeforeTheFirstContext)
{
    RecordingNCStream recorder;
    MirrorTransformNCStream mirror(&recorder);
    mirror.setPlane({0, 0, 0}, {1, 0, 0});
    Vector3D const c(1, 0, 0), e(0, 1, 0), n(0, 0, 1);
    ASSERT_TRUE(mirror.onCWArc(c, e, n, 100, 0) && mirror.onCCWArc(c, e, n, 100, 0)
        && mirror.onCWCircle(c, e, n, 100, 0) && mirror.onCCWCircle(c, e, n, 100, 0)
        && mirror.onCWArcExtrude(c, e, n, 100, 0.5, 0) && mirror.onCCWArcExtrude(c, e, n, 100, 0.5, 0)
        && mirror.onCircular(c, e, n, 1.5, 100, 0) && mirror.onCircularExtrude(c, e, n, 1.5, 100, 0.5, 0));
    // No context yet: positions pass as they are, only the senses turn.
    EXPECT_EQ(recorder.names(),
        (std::vector<std::wstring> {L"onCCWArc", L"onCWArc", L"onCCWCircle", L"onCWCircle", L"onCCWArcExtrude",
            L"onCWArcExtrude", L"onCircular", L"onCircularExtrude"}));
    EXPECT_EQ(recorder.events[6], L"onCircular (1, 0, 0) (0, 1, 0) (-0, -0, -1) 1.5 100 0");
    EXPECT_EQ(recorder.events[7], L"onCircularExtrude (1, 0, 0) (0, 1, 0) (-0, -0, -1) 1.5 100 0.5 0");

    MirrorTransformNCStream copy(mirror);
    ASSERT_TRUE(copy.onCWArc(c, e, n, 100, 0));
    EXPECT_EQ(recorder.names().back(), L"onCCWArc");
}

TEST(MirrorTransformNCStream, AdditiveMovesAreMirroredToo)
{
    RecordingNCStream recorder;
    MirrorTransformNCStream mirror(&recorder);
    mirror.setPlane({0, 0, 0}, {1, 0, 0});
    ASSERT_TRUE(mirror.onContext(NCContext()));
    ASSERT_TRUE(mirror.onCWArcExtrude({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, 100, 0.5, 0));
    ASSERT_TRUE(mirror.onLinearExtrude({1, 2, 3}, 100, 0.5));
    ASSERT_EQ(recorder.events.size(), 3u);
    // The mirrored frame keeps x and z and flips y, so local y changes sign.
    EXPECT_EQ(recorder.events[1], L"onCCWArcExtrude (1, 0, 0) (0, -1, 0) (0, 0, 1) 100 0.5 0");
    EXPECT_EQ(recorder.events[2], L"onLinearExtrude (1, -2, 3) 100 0.5");
}
