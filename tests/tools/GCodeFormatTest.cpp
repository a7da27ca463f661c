// End-to-end tests of quarnnc on G-code input: recognition by content, the commands that read it,
// its reader options, normalising a program onto itself, conversion to the other formats, and
// LinuxCNC's interpreter on the bundled G-code examples where it is installed.
#include "tests/tools/ToolTesting.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Quarn::ToolTesting::readFile;
using Quarn::ToolTesting::Result;

// The moves among the event counts that `quarnnc info` prints.
std::uint64_t movesInInfo(std::string const& info)
{
    static constexpr std::string_view moves[] = {"onRapid", "onRapid5D", "onLinear", "onLinear5D", "onCWArc",
        "onCCWArc", "onCircular", "onCWCircle", "onCCWCircle"};
    std::string_view const heading = "events:\n";
    std::size_t const events = info.find(heading);
    std::istringstream lines(events == std::string::npos ? "" : info.substr(events + heading.size()));
    std::string name;
    std::uint64_t count = 0, total = 0;
    while (lines >> name >> count)
        if (std::find(std::begin(moves), std::end(moves), name) != std::end(moves))
            total += count;
    return total;
}

// The line of `info` that starts with the prefix, without its end; "" when there is none.
std::string infoLine(std::string const& info, std::string_view prefix)
{
    std::istringstream lines(info);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(prefix))
            return line;
    return {};
}

// The lines of a text that start with one of the prefixes.
std::size_t linesStartingWith(std::string const& text, std::initializer_list<std::string_view> prefixes)
{
    std::istringstream lines(text);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);)
        for (std::string_view prefix : prefixes)
            count += line.starts_with(prefix) ? 1 : 0;
    return count;
}

// The holes of the bundled bolt circle in a log: feeds down to its bottom at the cycle's feedrate.
std::size_t boltHoles(std::string const& log)
{
    std::size_t holes = 0;
    for (std::size_t at = log.find(", -22) feedrate:150 "); at != std::string::npos;
         at = log.find(", -22) feedrate:150 ", at + 1))
        ++holes;
    return holes;
}

class GCodeFormat : public Quarn::ToolTesting::ToolTest {
protected:
    GCodeFormat() : ToolTest("quarnnc-gcode-test") { }


    fs::path scratchFile(std::string const& name, std::string const& bytes) const
    {
        fs::path const path = scratch / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    fs::path copyOfExample(char const* example, std::string const& name) const
    {
        return scratchFile(name, readFile(source / "examples" / example));
    }

    // The files of the scratch directory, but the tool's captured output.
    std::vector<std::string> scratchNames() const
    {
        std::vector<std::string> names;
        for (auto const& entry : fs::directory_iterator(scratch))
            if (std::string name = entry.path().filename().string(); name != "stdout" && name != "stderr")
                names.push_back(std::move(name));
        std::sort(names.begin(), names.end());
        return names;
    }

    // Whether LinuxCNC's interpreter runs the program to its end without an error; its messages
    // go to `messages`.
    bool interpreterRuns(fs::path const& program, std::string& messages) const
    {
        fs::path const canon = scratch / "canon.txt", log = scratch / "rs274.txt";
        std::string const command = "/usr/bin/rs274 -g '" + program.string() + "' '" + canon.string()
            + "' </dev/null >'" + log.string() + "' 2>&1";
        int const raw = std::system(command.c_str());
        messages = readFile(log);
        return WIFEXITED(raw) && WEXITSTATUS(raw) == 0 && readFile(canon).find("PROGRAM_END()") != std::string::npos;
    }
};

// A small program that says neither G20 nor G21, with a block for block delete.
constexpr std::string_view UnitlessProgram = "G0 X1 Y2 Z3\n/G1 X5 F100\nG1 Y4 F100\nM2\n";

} // namespace

TEST_F(GCodeFormat, GCodeIsRecognisedByItsContentWhateverItsName)
{
    std::string const program = readFile(source / "examples/bolt-circle.ngc");
    for (char const* name : {"flange.ngc", "flange.NC", "flange.tap", "flange.gcode", "flange.txt", "flange"}) {
        fs::path const file = scratchFile(name, program);
        Result info = run("info '" + file.string() + "'");
        EXPECT_EQ(info.status, 0) << name << ": " << info.err;
        EXPECT_EQ(infoLine(info.out, "format:"), "format:       gcode") << name;
    }

    // A program without "%" lines and with CR LF line ends.
    std::string crlf;
    for (char c : std::string(UnitlessProgram))
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    Result bare = run("info '" + scratchFile("bare.nc", crlf).string() + "'");
    EXPECT_EQ(bare.status, 0) << bare.err;
    EXPECT_EQ(infoLine(bare.out, "format:"), "format:       gcode");

    // Other formats under G-code's names are read as what they are; text that is no G-code is refused.
    fs::path const compact = copyOfExample("part-3axis.nci", "compact.ngc");
    EXPECT_EQ(infoLine(run("info '" + compact.string() + "'").out, "format:"), "format:       compact-nci 2.4.0");
    struct Case {
        char const* name;
        std::string bytes;
    } const foreign[] = {
        {"prose.ngc", "This is a letter, not a program.\nKind regards\n"},
        {"binary.nc", std::string("G0\x00\x01\x02 X1\n", 9)},
        {"empty.tap", ""},
    };
    for (auto const& c : foreign) {
        fs::path const file = scratchFile(c.name, c.bytes);
        Result info = run("info '" + file.string() + "'");
        EXPECT_EQ(info.status, 65) << c.name;
        EXPECT_EQ(info.err, "quarnnc: " + file.string() + ": Not an NC program in a format this tool reads.\n")
            << c.name;
    }
}

TEST_F(GCodeFormat, InfoLogAndValidateReadTheBundledProgram)
{
    Result info = run("info examples/bolt-circle.ngc");
    ASSERT_EQ(info.status, 0) << info.err;
    EXPECT_EQ(info.err, "");
    EXPECT_EQ(info.out.rfind("file:         examples/bolt-circle.ngc\nformat:       gcode\n", 0), 0u) << info.out;
    EXPECT_EQ(infoLine(info.out, "units:"), "units:        millimeters");
    EXPECT_EQ(infoLine(info.out, "tools:"), "tools:        2");
    // The arcs of the profile reach 60 every way (the box is exact, not that of the move ends); the
    // holes go through to -22 from the clearance at 25.
    std::string const box = infoLine(info.out, "bounding box:");
    EXPECT_EQ(box.rfind("bounding box: x -60 .. 60, y -60 .. 60", 0), 0u) << box;
    EXPECT_TRUE(box.ends_with(", z -22 .. 25")) << box;
    EXPECT_NE(info.out.find("  onGroup                 "), std::string::npos) << info.out;

    // G-code names its tools by number alone, which validate may remark on; nothing is an error.
    Result validate = run("validate examples/bolt-circle.ngc");
    EXPECT_EQ(validate.status, 0) << validate.out << validate.err;
    EXPECT_NE(validate.out.find("examples/bolt-circle.ngc: 0 errors, "), std::string::npos) << validate.out;

    // The comments, and six holes fed down to the bottom, one each time round the loop.
    Result log = run("log examples/bolt-circle.ngc");
    ASSERT_EQ(log.status, 0) << log.err;
    EXPECT_NE(log.out.find("SYNTHETIC EXAMPLE WRITTEN BY QUARN-GENERATE-EXAMPLES"), std::string::npos);
    EXPECT_EQ(boltHoles(log.out), 6u) << log.out;

    // The bundled G-code of the three-axis part is read like its compact NCI twin: same units,
    // tools by number and extent.
    Result part = run("info examples/part-3axis.ngc");
    Result twin = run("info examples/part-3axis.nci");
    ASSERT_EQ(part.status, 0) << part.err;
    for (char const* prefix : {"units:", "bounding box:", "sections:"})
        EXPECT_EQ(infoLine(part.out, prefix), infoLine(twin.out, prefix)) << prefix;
}

TEST_F(GCodeFormat, ReaderOptionsSetTheUnitAndBlockDelete)
{
    fs::path const file = scratchFile("unitless.ngc", std::string(UnitlessProgram));
    struct Case {
        char const* options;
        char const* units;
        std::uint64_t moves;
    } const cases[] = {
        {"", "units:        millimeters", 3},
        {"--gcode-unit mm ", "units:        millimeters", 3},
        {"--gcode-unit inch ", "units:        inches", 3},
        {"--block-delete ", "units:        millimeters", 2},
        {"--gcode-unit inch --block-delete ", "units:        inches", 2},
    };
    for (auto const& c : cases) {
        Result info = run(std::string("info ") + c.options + "'" + file.string() + "'");
        ASSERT_EQ(info.status, 0) << c.options << info.err;
        EXPECT_EQ(infoLine(info.out, "units:"), c.units) << c.options;
        EXPECT_EQ(movesInInfo(info.out), c.moves) << c.options;
    }

    // The options reach the reader of every command that reads.
    std::string const nci = (scratch / "unitless.nci").string();
    ASSERT_EQ(run("convert --gcode-unit inch --block-delete '" + file.string() + "' '" + nci + "'").status, 0);
    Result converted = run("info '" + nci + "'");
    EXPECT_EQ(infoLine(converted.out, "units:"), "units:        inches");
    EXPECT_EQ(movesInInfo(converted.out), 2u);
    ASSERT_EQ(run("transform --gcode-unit inch '" + file.string() + "' '" + nci + "' --translate 1,0,0").status, 0);
    EXPECT_EQ(infoLine(run("info '" + nci + "'").out, "units:"), "units:        inches");
    EXPECT_NE(run("log --block-delete '" + file.string() + "'").out.find("onLinear"), std::string::npos);

    // A program that says its unit keeps it whatever the option says.
    Result metric = run("info --gcode-unit inch examples/bolt-circle.ngc");
    EXPECT_EQ(infoLine(metric.out, "units:"), "units:        millimeters");

    Result refused = run("info --gcode-unit cm '" + file.string() + "'");
    EXPECT_EQ(refused.status, 64);
    EXPECT_NE(refused.err.find("--gcode-unit: cm not in {inch,mm}"), std::string::npos) << refused.err;
    for (char const* command : {"info", "validate", "convert", "transform", "ranges", "log"}) {
        std::string const help = run(std::string(command) + " --help").out;
        EXPECT_NE(help.find("--gcode-unit"), std::string::npos) << command;
        EXPECT_NE(help.find("--block-delete"), std::string::npos) << command;
    }
}

TEST_F(GCodeFormat, AProgramConvertedOntoItselfIsNormalisedAndKeepsItsMoves)
{
    fs::path const program = copyOfExample("bolt-circle.ngc", "flange.ngc");
    ::chmod(program.c_str(), 0640);
    Result normalised = run("convert '" + program.string() + "' '" + program.string() + "'");
    ASSERT_EQ(normalised.status, 0) << normalised.err;
    std::string const text = readFile(program);
    EXPECT_EQ(text.rfind("%\n", 0), 0u) << text;
    EXPECT_NE(text.find("\nG21 G90 G17 G94 G40 G49 G80 G91.1\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("#<"), std::string::npos) << "the language is run, not copied";
    EXPECT_EQ(scratchNames(), std::vector<std::string> {"flange.ngc"}) << "nothing left beside it";
    EXPECT_EQ(fs::status(program).permissions() & fs::perms::all,
        fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);

    // The same holes in the same extent, to the writer's 3 decimals; normalising again changes nothing.
    Result again = run("info '" + program.string() + "'");
    EXPECT_EQ(infoLine(again.out, "bounding box:"), "bounding box: x -60 .. 60, y -60 .. 60, z -22 .. 25")
        << again.out << again.err;
    EXPECT_EQ(boltHoles(run("log '" + program.string() + "'").out), 6u);
    ASSERT_EQ(run("convert '" + program.string() + "' '" + program.string() + "'").status, 0);
    EXPECT_EQ(readFile(program), text);

    // Through a symbolic link the file is replaced and the link stays a link.
    fs::path const link = scratch / "link.ngc";
    fs::create_symlink(program, link);
    fs::path const fresh = copyOfExample("bolt-circle.ngc", "flange.ngc");
    ASSERT_EQ(run("convert '" + link.string() + "' '" + link.string() + "'").status, 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readFile(fresh), text);
}

TEST_F(GCodeFormat, AFailedConversionOntoItselfLeavesTheInputAsItWas)
{
    std::string const broken = "%\nG21 G90 G17\nG0 X0 Y0 Z5\nG1 X[1/0] F100\nM2\n%\n";
    fs::path const file = scratchFile("broken.ngc", broken);
    Result converted = run("convert '" + file.string() + "' '" + file.string() + "'");
    EXPECT_EQ(converted.status, 65);
    // The error names the input and the line of the fault.
    EXPECT_EQ(converted.err.rfind("quarnnc: " + file.string() + ":4: ", 0), 0u) << converted.err;
    EXPECT_EQ(readFile(file), broken);
    EXPECT_EQ(scratchNames(), std::vector<std::string> {"broken.ngc"});

    // The output's failures name the output, not the file written aside.
    if (::geteuid() != 0) {
        fs::path const locked = scratch / "locked";
        fs::create_directory(locked);
        fs::path const program = locked / "flange.ngc";
        fs::copy_file(source / "examples/bolt-circle.ngc", program);
        fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
        Result refused = run("convert '" + program.string() + "' '" + program.string() + "'");
        fs::permissions(locked, fs::perms::owner_all);
        EXPECT_EQ(refused.status, 73);
        EXPECT_EQ(refused.err, "quarnnc: " + program.string() + ": Cannot create the file.\n");
        EXPECT_EQ(readFile(program), readFile(source / "examples/bolt-circle.ngc"));
    }
}

TEST_F(GCodeFormat, GCodeConvertsToEveryFormatWithAllItsMoves)
{
    Result original = run("info examples/bolt-circle.ngc");
    ASSERT_EQ(original.status, 0) << original.err;
    std::uint64_t const moves = movesInInfo(original.out);
    ASSERT_GT(moves, 30u);

    // Readable outputs are counted by info, the others by their move lines.
    struct Case {
        char const* file;
        std::function<std::uint64_t(Result const& info, std::string const& text)> moves;
    } const cases[] = {
        {"flange.nci", [](Result const& info, std::string const&) { return movesInInfo(info.out); }},
        {"flange.cldt", [](Result const& info, std::string const&) { return movesInInfo(info.out); }},
        {"flange.xml",
            [](Result const&, std::string const& text) {
                return linesStartingWith(text, {"<rapid", "<linear", "<arc-", "<circular"});
            }},
    };
    for (auto const& c : cases) {
        std::string const output = (scratch / c.file).string();
        Result converted = run("convert examples/bolt-circle.ngc '" + output + "'");
        ASSERT_EQ(converted.status, 0) << c.file << ": " << converted.err;
        EXPECT_EQ(converted.out, "") << c.file;
        EXPECT_EQ(c.moves(run("info '" + output + "'"), readFile(output)), moves) << c.file;
    }

    // transform moves the program: its G-code is written where the control is to go.
    std::string const moved = (scratch / "moved.ngc").string();
    Result transformed = run("transform examples/bolt-circle.ngc '" + moved + "' --translate 10,0,0");
    ASSERT_EQ(transformed.status, 0) << transformed.err;
    Result info = run("info '" + moved + "'");
    EXPECT_EQ(infoLine(info.out, "bounding box:").rfind("bounding box: x -50 .. 70, y -60 .. 60", 0), 0u) << info.out;
}

// LinuxCNC's interpreter, where it is installed, runs the bundled G-code and what the tool makes
// of it to their ends.
TEST_F(GCodeFormat, TheInterpreterOfLinuxCNCRunsTheBundledAndTheNormalisedGCode)
{
    if (!fs::exists("/usr/bin/rs274"))
        GTEST_SKIP() << "rs274 is not installed";
    std::string messages;
    for (char const* name : {"part-3axis.ngc", "bolt-circle.ngc"})
        EXPECT_TRUE(interpreterRuns(source / "examples" / name, messages)) << name << ": " << messages;
    fs::path const program = copyOfExample("bolt-circle.ngc", "flange.ngc");
    ASSERT_EQ(run("convert '" + program.string() + "' '" + program.string() + "'").status, 0);
    EXPECT_TRUE(interpreterRuns(program, messages)) << messages << readFile(program);
}
