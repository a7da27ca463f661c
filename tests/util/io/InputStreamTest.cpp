// InputStream::readFully: loops over short reads, and where it reports the end of the data.
#include "util/utility/io/InputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

using namespace Quarn;
using namespace Quarn::TestSupport;

TEST(InputStream, ReadFullyCollectsShortReadsAndReportsWhereAnUnfinishedReadStarted)
{
    TrickleInputStream source("abcdef", 1);
    char buffer[8];
    source.readFully(buffer, 3);
    EXPECT_EQ(std::string(buffer, 3), "abc");
    EXPECT_EQ(source.getPosition(), 3u);
    EXPECT_EQ(ioError([&] { source.readFully(buffer, 4); }), (IOError{L"Unexpected end of stream.", 3}));
}
