// TaggedFrame: tag, optional base frame tag and comparison of all three parts.
#include "util/utility/math/TaggedFrame.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(TaggedFrame, TagsAndBaseFrame)
{
    Frame const shifted({0, 0, 50}, {1, 0, 0}, {0, 0, 1});
    TaggedFrame fixture("G54", "", shifted);
    EXPECT_EQ(fixture.tag(), "G54");
    EXPECT_FALSE(fixture.hasBaseFrame());
    EXPECT_EQ(fixture.frame(), shifted);

    TaggedFrame part("part", "G54", Frame());
    EXPECT_TRUE(part.hasBaseFrame());
    EXPECT_EQ(part.baseFrameTag(), "G54");

    EXPECT_EQ(TaggedFrame(), TaggedFrame("", "", Frame()));
    EXPECT_EQ(fixture, TaggedFrame("G54", "", shifted));
    EXPECT_NE(fixture, TaggedFrame("G55", "", shifted));
    EXPECT_NE(fixture, TaggedFrame("G54", "world", shifted));
    EXPECT_NE(fixture, TaggedFrame("G54", "", Frame()));
}
