// TextOutputStream: text reaches the sink as written, through the buffer, with its position.
#include "util/utility/io/TextOutputStream.h"

#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(TextOutputStream, WritesTextAcrossItsBufferAndCountsIt)
{
    MemoryOutputStream sink;
    TextOutputStream out(&sink, 4);
    out.write("G1 X0.1");
    out.write(std::string_view("Y-1\0Z", 5)); // a NUL byte is text like any other
    out.write("Gr\xC3\xBC\xC3\x9F" "e\n");
    EXPECT_EQ(out.getPosition(), 20u);
    out.flush();
    EXPECT_EQ(sink.getData(), std::string("G1 X0.1Y-1\0ZGr\xC3\xBC\xC3\x9F" "e\n", 20));
}

TEST(TextOutputStream, HoldsTextUntilFlushOrDestruction)
{
    MemoryOutputStream sink;
    {
        TextOutputStream out(&sink);
        out.write("held\n");
        EXPECT_EQ(sink.getData(), "");
        out.flush();
        EXPECT_EQ(sink.getData(), "held\n");
        out.write("tail");
    }
    EXPECT_EQ(sink.getData(), "held\ntail");
}
