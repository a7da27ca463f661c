// Position tracking and duplicate-rapid removal.
#include "nc/nc/PreviousPositionNCStream.h"
#include "nc/nc/RemoveDuplicateRapidsNCStream.h"

#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(PreviousPositionNCStream, MovesSetPositionAndDirectionSectionsForgetThem)
{
    RecordingNCStream recorder;
    PreviousPositionNCStream filter(&recorder);
    EXPECT_TRUE(filter.getPosition().isNaN());

    Vector3D const z(0, 0.6, 0.8);
    filter.onLinear5D({1, 2, 3}, z, 100, 0);
    EXPECT_EQ(filter.getPosition(), Vector3D(1, 2, 3));
    EXPECT_EQ(filter.getDirection(), z);
    filter.onCCWArc({0, 0, 0}, {4, 5, 6}, {0, 0, 1}, 100, 0);
    EXPECT_EQ(filter.getPosition(), Vector3D(4, 5, 6));
    EXPECT_EQ(filter.getDirection(), Vector3D());
    filter.onRapid5D({7, 8, 9}, z, {1, 0, 0}, {0, 1, 0}, 0);
    EXPECT_EQ(filter.getDirection(), z);
    filter.onSpline({0, 0, 0}, {1, 1, 1}, {2, 3, 4}, 100, 0);
    EXPECT_EQ(filter.getPosition(), Vector3D(2, 3, 4));

    recorder.stopAt(L"onSection");
    EXPECT_FALSE(filter.onSection());
    // Updated although the next stream refused.
    EXPECT_TRUE(filter.getPosition().isNaN());
    EXPECT_EQ(filter.getDirection(), Vector3D());
}

TEST(RemoveDuplicateRapidsNCStream, DropsOnlyExactRepeats)
{
    RecordingNCStream recorder;
    RemoveDuplicateRapidsNCStream filter(&recorder);
    Vector3D const p(1, 2, 3), z(0, 0, 1);

    EXPECT_TRUE(filter.onRapid(p, 0));
    EXPECT_TRUE(filter.onRapid(p, 0)); // dropped
    EXPECT_TRUE(filter.onRapid({1, 2, 3.0000001}, 0)); // passed: no tolerance
    EXPECT_TRUE(filter.onRapid5D({1, 2, 3.0000001}, z, 0)); // passed: direction differs
    EXPECT_TRUE(filter.onRapid5D({1, 2, 3.0000001}, z, 0)); // dropped
    EXPECT_TRUE(filter.onRapid5D({1, 2, 3.0000001}, z, {1, 0, 0}, {0, 1, 0}, 0)); // dropped
    EXPECT_TRUE(filter.onRapid({1, 2, 3.0000001}, 0)); // passed: five-axis direction was not zero
    EXPECT_EQ(recorder.events.size(), 4u);
}

TEST(RemoveDuplicateRapidsNCStream, FirstRapidOfEverySectionPasses)
{
    RecordingNCStream recorder;
    RemoveDuplicateRapidsNCStream filter(&recorder);
    EXPECT_TRUE(filter.onSection());
    EXPECT_TRUE(filter.onRapid({0, 0, 0}, 0));
    EXPECT_TRUE(filter.onSectionEnd());
    EXPECT_TRUE(filter.onSection());
    EXPECT_TRUE(filter.onRapid({0, 0, 0}, 0));
    EXPECT_EQ(recorder.names(),
        (std::vector<std::wstring> {L"onSection", L"onRapid", L"onSectionEnd", L"onSection", L"onRapid"}));
}
