// TransformNCStream: the context frame moves while moves stay, and the right-handed check.
#include "nc/nc/TransformNCStream.h"

#include "tests/support/AssertionCapture.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(TransformNCStream, MovesTheContextFrameAndLeavesTheMovesAlone)
{
    RecordingNCStream recorder;
    TransformNCStream filter(&recorder);
    Matrix4x4 transform(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    transform.setTranslation({10, 0, 0});
    filter.setTransform(transform);
    NCContext context;
    context.setOrigin({1, 2, 3});
    EXPECT_TRUE(filter.onContext(context) && filter.onCWArc({1, 2, 3}, {4, 5, 6}, {0, 0, 1}, 100, 0));
    EXPECT_EQ(recorder.events,
        (std::vector<std::wstring> {L"onContext unit=1 origin=(8, 1, 3) plane=[(0, 1, 0), (-1, 0, 0), (0, 0, 1)]",
            L"onCWArc (1, 2, 3) (4, 5, 6) (0, 0, 1) 100 0"}));
}

TEST(TransformNCStream, RightHandedCheckOfTheRotationPart)
{
    double const e = 1e-9, half = 0.5e-9;
    struct Case {
        char const* what;
        Matrix3x3 rotation;
        bool rightHanded;
    } const cases[] = {
        {"rotation", Matrix3x3({0, 0, 1}, {1, 0, 0}, {0, 1, 0}), true},
        {"uniform scale 2", Matrix3x3({2, 0, 0}, {0, 2, 0}, {0, 0, 2}), false},
        {"mirror", Matrix3x3({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}), false},
        // Lengths off while right x up stays forward.
        {"lengths off by 1e-9", Matrix3x3({1 + e, 0, 0}, {0, 1 / (1 + e), 0}, {0, 0, 1}), false},
        {"lengths off by 0.5e-9", Matrix3x3({1 + half, 0, 0}, {0, 1 / (1 + half), 0}, {0, 0, 1}), true},
    };
    for (auto const& c : cases) {
        TestSupport::AssertionCapture capture;
        RecordingNCStream recorder;
        TransformNCStream filter(&recorder);
        filter.setTransform(Matrix4x4(c.rotation));
        EXPECT_EQ(filter.isRightHanded(), c.rightHanded) << c.what;
        EXPECT_EQ(capture.reports().size(), c.rightHanded ? 0u : 1u) << c.what;
        for (auto const& report : capture.reports())
            EXPECT_EQ(report.file + ":" + report.text, "nc/nc/TransformNCStream:newRightHanded");
        // Applied whatever the check says.
        filter.onContext(NCContext());
        EXPECT_EQ(recorder.contexts.at(0).getPlane(), c.rotation) << c.what;
    }
}
