// FileInputStream: bytes, size and position of a file, open errors, reading after close.
#include "util/utility/io/FileInputStream.h"

#include "util/utility/io/FileOutputStream.h"

#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

using namespace Quarn;
using namespace Quarn::TestSupport;

TEST(FileInputStream, ReadsTheFileAndKnowsItsSize)
{
    TemporaryFile file;
    std::string bytes(70000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7);
    FileOutputStream(file.name()).write(bytes.data(), bytes.size());

    FileInputStream in(file.name());
    EXPECT_EQ(in.getSize(), 70000u);
    std::string read(bytes.size(), '\0');
    EXPECT_EQ(in.read(read.data(), 3), 3u);
    for (std::size_t at = 3, count = 0; at < read.size(); at += count) {
        count = in.read(read.data() + at, read.size() - at);
        ASSERT_GT(count, 0u) << "data ends early at " << at;
    }
    EXPECT_EQ(read, bytes);
    EXPECT_EQ(in.getPosition(), 70000u);
    EXPECT_EQ(in.read(read.data(), 1), 0u);

    in.close();
    in.close();
    EXPECT_EQ(ioError([&] { in.read(read.data(), 1); }), (IOError{L"Stream is closed.", 70000}));
}

TEST(FileInputStream, OpenErrorsNameTheFile)
{
    TemporaryFile missing;
    std::wstring folder = std::filesystem::temp_directory_path().wstring();
    for (std::wstring const& path : {missing.name(), folder, std::wstring()})
        EXPECT_EQ(ioError([&] { FileInputStream in(path); }), (IOError{L"Cannot open file '" + path + L"' for reading.", {}}));
}
