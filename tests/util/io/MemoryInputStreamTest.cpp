// MemoryInputStream: owned and borrowed bytes, short reads at the end, size and position.
#include "util/utility/io/MemoryInputStream.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Quarn;

TEST(MemoryInputStream, ReadsOwnedAndBorrowedBytesUpToTheEnd)
{
    char const borrowed[] = {'x', 'y', 'z'};
    MemoryInputStream owning(std::string("abcde"));
    MemoryInputStream borrowing(borrowed, sizeof borrowed);
    MemoryInputStream empty(nullptr, 0);
    struct Case {
        MemoryInputStream* stream;
        std::string expected;
    };
    for (Case c : {Case{&owning, "abcde"}, Case{&borrowing, "xyz"}, Case{&empty, ""}}) {
        char buffer[8] = {};
        std::size_t first = std::min<std::size_t>(2, c.expected.size());
        EXPECT_EQ(c.stream->getSize(), c.expected.size());
        EXPECT_EQ(c.stream->read(buffer, 2), first);
        EXPECT_EQ(c.stream->read(buffer + first, 8), c.expected.size() - first);
        EXPECT_EQ(std::string(buffer), c.expected);
        EXPECT_EQ(c.stream->read(buffer, 8), 0u);
        EXPECT_EQ(c.stream->getPosition(), c.expected.size());
    }
}
