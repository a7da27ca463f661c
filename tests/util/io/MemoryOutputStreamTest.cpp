// MemoryOutputStream: collects bytes, including NULs, and forgets them on clear.
#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(MemoryOutputStream, CollectsEveryByteUntilCleared)
{
    MemoryOutputStream out;
    out.write("ab\0c", 4);
    out.write("", 0);
    out.write("d", 1);
    EXPECT_EQ(out.getData(), std::string("ab\0cd", 5));
    out.clear();
    out.write("e", 1);
    EXPECT_EQ(out.getData(), "e");
}
