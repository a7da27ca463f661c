// TextOutputStream: exact text of strings, wide text, characters and numbers, and buffering.
#include "util/utility/io/TextOutputStream.h"

#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Quarn;

TEST(TextOutputStream, WritesTextAndShortestNumbers)
{
    MemoryOutputStream sink;
    TextOutputStream out(&sink, 4);
    out.write("G1 X");
    out.write(0.1);
    out.write(' ');
    out.write(std::string_view("Y", 1));
    out.write(-1e-9);
    out.writeLine();
    out.writeLine(L"Gr\u00FC\u00DFe \u20AC\U0001F600");
    out.writeLine(std::int64_t{-42}, ',', std::numeric_limits<std::uint64_t>::max(), ',',
                  std::numeric_limits<std::int64_t>::min());
    out.writeLine(7, ' ', 8u, ' ', 9LL, ' ', static_cast<unsigned char>(200), ' ', 2.5f);
    out.writeLine(std::numeric_limits<double>::infinity(), ' ', std::numeric_limits<double>::quiet_NaN(),
                  ' ', -0.0, ' ', 1e21);
    out.flush();
    EXPECT_EQ(sink.getData(), "G1 X0.1 Y-1e-09\n"
                              "Gr\xC3\xBC\xC3\x9F"
                              "e \xE2\x82\xAC\xF0\x9F\x98\x80\n"
                              "-42,18446744073709551615,-9223372036854775808\n"
                              "7 8 9 200 2.5\n"
                              "inf nan -0 1e+21\n");
}

TEST(TextOutputStream, HoldsTextUntilFlushOrDestruction)
{
    MemoryOutputStream sink;
    {
        TextOutputStream out(&sink);
        out.writeLine("held");
        EXPECT_EQ(sink.getData(), "");
        out.flush();
        EXPECT_EQ(sink.getData(), "held\n");
        out.write("tail");
    }
    EXPECT_EQ(sink.getData(), "held\ntail");
}
