// SequentialLineReader: line ends, empty and unterminated lines, numbering, positions, and the
// bound on the length of a line.
#include "util/utility/io/SequentialLineReader.h"

#include "util/utility/io/MemoryInputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

using namespace Quarn;
using namespace Quarn::TestSupport;
using Lines = std::vector<std::string>;

namespace {
// The lines read until the end or an exception, checking the line numbers on the way.
Lines readAll(LineReader& reader)
{
    Lines lines;
    std::string line = "stale";
    while (reader.readLine(line)) {
        lines.push_back(line);
        EXPECT_EQ(reader.getLineNumber(), lines.size());
    }
    EXPECT_EQ(line, "");
    return lines;
}
} // namespace

TEST(SequentialLineReader, SplitsAtLineFeedsAndDropsCarriageReturnsBeforeThem)
{
    struct Case {
        std::string text;
        Lines lines;
    } const cases[] = {
        {"", {}},
        {"a\nbc\n", {"a", "bc"}},
        {"a\r\nbc\r\n", {"a", "bc"}},
        {"last line without end", {"last line without end"}},
        {"\n\r\n\n", {"", "", ""}},
        {"a\rb\n\rc\r", {"a\rb", "\rc\r"}},
        {std::string("nul\0inside\n", 11), {std::string("nul\0inside", 10)}},
    };
    for (Case const& c : cases) {
        for (std::size_t chunk : {1, 1000}) {
            SCOPED_TRACE(testing::Message() << '"' << c.text << "\", chunk " << chunk);
            TrickleInputStream source(c.text, chunk);
            SequentialLineReader reader(&source);
            EXPECT_EQ(readAll(reader), c.lines);
            EXPECT_EQ(reader.getPosition(), c.text.size());
        }
    }
}

TEST(SequentialLineReader, LinesLongerThanTheMaximumThrowWithTheirOffset)
{
    struct Case {
        std::string text;
        Lines before;
        std::uint64_t offset;
    } const cases[] = {
        {"abcd\r\nabcd\nabcde\n", {"abcd", "abcd"}, 11},
        {"abcd\nabcd\r\r\n", {"abcd"}, 5},
        {"ab\nabcdefgh", {"ab"}, 3},
        {"abcd\r", {}, 0},
    };
    for (Case const& c : cases) {
        for (std::size_t chunk : {1, 1000}) {
            SCOPED_TRACE(testing::Message() << '"' << c.text << "\", chunk " << chunk);
            TrickleInputStream source(c.text, chunk);
            SequentialLineReader reader(&source, 4);
            Lines lines;
            std::string line;
            auto readUntilError = [&] {
                while (reader.readLine(line))
                    lines.push_back(line);
            };
            EXPECT_EQ(ioError(readUntilError), (IOError{L"Line too long.", c.offset}));
            EXPECT_EQ(lines, c.before);
            EXPECT_EQ(reader.getLineNumber(), c.before.size());
        }
    }
}

TEST(SequentialLineReader, StopsReadingSoonAfterTheMaximum)
{
    MemoryInputStream source(std::string(8 << 20, 'x'));
    SequentialLineReader reader(&source, 1000);
    std::string line;
    EXPECT_EQ(ioError([&] { reader.readLine(line); }), (IOError{L"Line too long.", 0}));
    EXPECT_LT(source.getPosition(), 1u << 20);
    EXPECT_LT(line.capacity(), 1u << 20);
}
