// FileOutputStream: create and append, UTF-8 file names, open and write errors, closing.
#include "util/utility/io/FileOutputStream.h"

#include "util/utility/text/Unicode.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

using namespace Quarn;
using namespace Quarn::TestSupport;

TEST(FileOutputStream, CreateTruncatesAndAppendAddsAtTheEnd)
{
    TemporaryFile file;
    FileOutputStream(file.name()).write("first", 5);
    EXPECT_EQ(file.contents(), "first");
    FileOutputStream out(file.name(), FileOutputStream::Append);
    out.write("+more", 5);
    EXPECT_EQ(out.getPosition(), 5u);
    out.close();
    out.close();
    EXPECT_FALSE(out.isOpen());
    EXPECT_EQ(file.contents(), "first+more");
    FileOutputStream(file.name()).write("new", 3);
    EXPECT_EQ(file.contents(), "new");
}

TEST(FileOutputStream, FileNamesAreUTF8)
{
    TemporaryFile file;
    // Narrow paths go to the system as they are: this is the name the file must get.
    file.path += "-\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    FileOutputStream(Unicode::fromUTF8(file.path.string())).write("x", 1);
    EXPECT_EQ(file.contents(), "x");
}

TEST(FileOutputStream, ErrorsNameTheFile)
{
    TemporaryFile file;
    std::wstring inMissingFolder = file.name() + L"/x.bin";
    std::wstring withNul(L"a\0b", 3);
    for (std::wstring const& path : {inMissingFolder, withNul})
        EXPECT_EQ(ioError([&] { FileOutputStream out(path); }), (IOError{L"Cannot open file '" + path + L"' for writing.", {}}));

    FileOutputStream closed(file.name());
    closed.write("ab", 2);
    closed.close();
    EXPECT_EQ(ioError([&] { closed.write("x", 1); }), (IOError{L"Stream is closed.", 2}));
    EXPECT_EQ(ioError([&] { closed.flush(); }), (IOError{L"Stream is closed.", 2}));

    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full";
    FileOutputStream full(L"/dev/full");
    full.write("abc", 3); // still in the C runtime's buffer
    EXPECT_EQ(ioError([&] { full.flush(); }), (IOError{L"Cannot write to file '/dev/full'.", 3}));
}
