// Running the command-line tool in tests: its status and output, in a scratch directory of the test.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Quarn::ToolTesting {

namespace fs = std::filesystem;

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string readFile(fs::path const& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// A test with a scratch directory of its own (removed afterwards) that runs quarnnc in the source
// directory, so example paths print the same everywhere.
class ToolTest : public testing::Test {
protected:
    fs::path const source = QUARN_SOURCE_DIR;
    fs::path const scratch;

    explicit ToolTest(std::string const& name)
        : scratch(fs::temp_directory_path() / (name + "-" + std::to_string(::getpid())))
    {
        fs::create_directories(scratch);
    }
    ~ToolTest() override
    {
        std::error_code ignored;
        fs::remove_all(scratch, ignored);
    }

    Result run(std::string const& arguments) const
    {
        fs::path const out = scratch / "stdout", err = scratch / "stderr";
        std::string const command = "cd '" + source.string() + "' && '" QUARNNC_PATH "' " + arguments + " >'"
            + out.string() + "' 2>'" + err.string() + "'";
        int const raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
    }
};

} // namespace Quarn::ToolTesting
