// End-to-end tests of the quarnnc tool: the built binary run on the bundled examples and on
// missing, truncated and foreign files, checked by exit status, messages and golden output.
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "tests/support/RapidJSON.h"
#include "util/utility/io/FileOutputStream.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Quarn::NCContext;
using Quarn::NCStream;

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string readFile(fs::path const& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class Quarnnc : public testing::Test {
protected:
    fs::path const source = QUARN_SOURCE_DIR;
    fs::path const scratch = fs::temp_directory_path() / ("quarnnc-test-" + std::to_string(::getpid()));

    Quarnnc() { fs::create_directories(scratch); }
    ~Quarnnc() override { fs::remove_all(scratch); }

    // Runs the tool in the source directory, so example paths print the same everywhere.
    Result run(std::string const& arguments) const
    {
        fs::path const out = scratch / "stdout", err = scratch / "stderr";
        std::string const command = "cd '" + source.string() + "' && '" QUARNNC_PATH "' " + arguments + " >'"
            + out.string() + "' 2>'" + err.string() + "'";
        int const raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
    }

    std::string golden(char const* name) const { return readFile(source / "tests/tools/golden" / name); }

    // A compact NCI file of the program that `send` writes.
    fs::path compactProgram(char const* name, std::function<bool(NCStream&)> const& send) const
    {
        fs::path const path = scratch / name;
        Quarn::FileOutputStream file(path.wstring());
        Quarn::CompactNCIWriter writer(&file);
        EXPECT_TRUE(send(writer)) << name;
        file.close();
        return path;
    }

    // A copy of an example cut after `length` bytes.
    fs::path truncatedExample(std::size_t length) const
    {
        std::string bytes = readFile(source / "examples/part-3axis.nci");
        bytes.resize(length);
        fs::path const path = scratch / "truncated.nci";
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
};

// The moves of a program in the terms both a compact NCI file and a kernel stream hold: the end,
// the tool axis, the arc centre and a normal about which the arc runs counter-clockwise, the
// movement and the feed (rapids have none).
class MoveList final : public Quarn::NCStreamDefaultImpl {
public:
    struct Move {
        char kind; // 'r'apid, 'l'inear, 'a'rc
        Quarn::Vector3D end, axis, center, normal;
        unsigned int movement;
        double feed;
        bool operator==(Move const&) const = default;
    };
    std::vector<Move> moves;

    bool onRapid(Quarn::Vector3D const& end, unsigned int flags) override
    {
        return add({'r', end, {}, {}, {}, NCStream::getMovement(flags), 0});
    }
    bool onLinear(Quarn::Vector3D const& end, double feed, unsigned int flags) override
    {
        return add({'l', end, {}, {}, {}, NCStream::getMovement(flags), feed});
    }
    bool onRapid5D(Quarn::Vector3D const& end, Quarn::Vector3D const& axis, unsigned int flags) override
    {
        return add({'r', end, axis, {}, {}, NCStream::getMovement(flags), 0});
    }
    bool onLinear5D(Quarn::Vector3D const& end, Quarn::Vector3D const& axis, double feed, unsigned int flags) override
    {
        return add({'l', end, axis, {}, {}, NCStream::getMovement(flags), feed});
    }
    bool onCCWArc(Quarn::Vector3D const& center, Quarn::Vector3D const& end, Quarn::Vector3D const& normal,
        double feed, unsigned int flags) override
    {
        return add({'a', end, {}, center, normal, NCStream::getMovement(flags), feed});
    }
    bool onCWArc(Quarn::Vector3D const& center, Quarn::Vector3D const& end, Quarn::Vector3D const& normal,
        double feed, unsigned int flags) override
    {
        return add({'a', end, {}, center, -normal, NCStream::getMovement(flags), feed});
    }
    bool onCircular(Quarn::Vector3D const& center, Quarn::Vector3D const& end, Quarn::Vector3D const& normal,
        double sweep, double feed, unsigned int flags) override
    {
        return add({'a', end, {}, center, sweep < 0 ? -normal : normal, NCStream::getMovement(flags), feed});
    }
    bool onCCWCircle(Quarn::Vector3D const& center, Quarn::Vector3D const& end, Quarn::Vector3D const& normal,
        double feed, unsigned int flags) override
    {
        return onCCWArc(center, end, normal, feed, flags);
    }
    bool onCWCircle(Quarn::Vector3D const& center, Quarn::Vector3D const& end, Quarn::Vector3D const& normal,
        double feed, unsigned int flags) override
    {
        return onCWArc(center, end, normal, feed, flags);
    }
    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onRapid5D;

    static std::vector<Move> of(fs::path const& compactFile)
    {
        MoveList list;
        Quarn::CompactNCIReader reader;
        reader.setNCStream(&list);
        EXPECT_TRUE(reader.import(compactFile.wstring())) << compactFile;
        return list.moves;
    }

private:
    bool add(Move const& move)
    {
        moves.push_back(move);
        return true;
    }
};

// Each line of the text is one JSON object, as a real parser reads it.
void expectJSONLines(std::string const& text)
{
    ASSERT_FALSE(text.empty());
    ASSERT_EQ(text.back(), '\n');
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        rapidjson::Document document;
        document.Parse(line.c_str());
        EXPECT_FALSE(document.HasParseError()) << line;
        EXPECT_TRUE(document.IsObject()) << line;
    }
}

} // namespace

TEST_F(Quarnnc, BundledExamplesAreWhatTheGeneratorWrites)
{
    std::string const command = "'" GENERATOR_PATH "' '" + scratch.string() + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    for (char const* name : {"part-3axis.nci", "swarf-5axis.nci", "inch-part.nci", "pocket.kts", "pocket.jsonl",
             "swarf-5axis.cld", "pocket.cldt"})
        EXPECT_EQ(readFile(scratch / name), readFile(source / "examples" / name))
            << name << " is out of date: build the regenerate-examples target";
}

TEST_F(Quarnnc, VersionHelpAndUsageErrors)
{
    Result version = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "quarnnc " QUARN_VERSION "\n");

    Result help = run("--help");
    EXPECT_EQ(help.status, 0);
    for (char const* command : {"info", "validate", "convert", "transform", "ranges", "log"})
        EXPECT_NE(help.out.find(command), std::string::npos) << command;
    EXPECT_EQ(run("convert --help").status, 0);

    struct Case {
        char const* arguments;
        char const* message;
    } const cases[] = {
        {"", "A subcommand is required"},
        {"frobnicate x", "A subcommand is required"},
        {"info", "FILE is required"},
        {"validate --format yaml examples/part-3axis.nci", "--format"},
        {"convert examples/part-3axis.nci out.unknown", "Cannot tell the output format"},
        {"convert examples/part-3axis.nci out.xml --map-to-wcs", "--map-to-wcs is not supported for xml output"},
        {"transform examples/part-3axis.nci out.nci --translate 1,2", "--translate takes 3"},
        {"transform examples/part-3axis.nci out.nci --rotate w,90", "--rotate takes an axis"},
    };
    for (auto const& c : cases) {
        Result usage = run(c.arguments);
        EXPECT_EQ(usage.status, 64) << c.arguments;
        EXPECT_NE(usage.err.find(c.message), std::string::npos) << c.arguments << ": " << usage.err;
    }
}

TEST_F(Quarnnc, InfoOfTheExamplesMatchesItsGoldenOutput)
{
    for (char const* name : {"part-3axis", "swarf-5axis", "inch-part"}) {
        Result result = run(std::string("info examples/") + name + ".nci");
        EXPECT_EQ(result.status, 0) << name << ": " << result.err;
        EXPECT_EQ(result.out, golden((std::string("info-") + name + ".txt").c_str())) << name;
        EXPECT_EQ(result.err, "") << name;
    }
}

// Directions that hold rotary axis values (a context of unchecked directions) and coordinates
// that a float holds only nearly: 99.999 is 99.9990005493164 as a double.
TEST_F(Quarnnc, RangesAndInfoPrintTheNumbersTheFileHolds)
{
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    NCContext context;
    context.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED);
    fs::path const program = compactProgram("axis-values.nci", [&](NCStream& s) {
        return s.onOpen() && s.onContext(context) && s.onSection() && s.onRapid5D({0, 0, 10}, {0, 0, 0}, 0)
            && s.onLinear5D({99.999, 0.1, -0.6}, {12.3, -45.6, 0}, 500, cut) && s.onSectionEnd() && s.onSection()
            && s.onLinear5D({1, 2, 3}, {-7.7, 0, 90}, 500, cut) && s.onSectionEnd() && s.onClose();
    });

    Result ranges = run("ranges '" + program.string() + "'");
    EXPECT_EQ(ranges.status, 0) << ranges.err;
    EXPECT_EQ(ranges.out,
        "section 1  A [0, 12.3]  B [-45.6, 0]  C [0, 0]\n"
        "section 2  A [-7.7, -7.7]  B [0, 0]  C [90, 90]\n"
        "total  A [-7.7, 12.3]  B [-45.6, 0]  C [0, 90]\n");

    Result info = run("info '" + program.string() + "'");
    EXPECT_EQ(info.status, 0) << info.err;
    EXPECT_NE(info.out.find("bounding box: x 0 .. 99.999, y 0 .. 2, z -0.6 .. 10\n"), std::string::npos) << info.out;
}

TEST_F(Quarnnc, RangesRefusesDirectionsThatAreToolAxes)
{
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    NCContext unchecked;
    unchecked.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED);
    std::string const flagged = compactProgram("flagged.nci", [&](NCStream& s) {
        return s.onOpen() && s.onContext(unchecked) && s.onSection()
            && s.onLinear5D({1, 2, 3}, {0, 0, 1}, 500, cut | NCStream::FLAG_ABSOLUTE_DIRECTION) && s.onSectionEnd()
            && s.onClose();
    }).string();
    std::string const withoutContext = compactProgram("no-context.nci", [&](NCStream& s) {
        return s.onOpen() && s.onSection() && s.onLinear5D({1, 2, 3}, {0, 30, 1}, 500, cut) && s.onSectionEnd()
            && s.onClose();
    }).string();
    std::string const refused = ": The five-axis moves carry tool axes, not A, B and C values.\n";
    struct Case {
        std::string file;
        int status;
        std::string out, err;
    } const cases[] = {
        // The context declares unit vectors: the swarf cut tilts the tool by 30 degrees.
        {"examples/swarf-5axis.nci", 65, "", "quarnnc: examples/swarf-5axis.nci" + refused},
        {flagged, 65, "", "quarnnc: " + flagged + refused},
        // Without a context only the flag tells.
        {withoutContext, 0, "section 1  A [0, 0]  B [30, 30]  C [1, 1]\ntotal  A [0, 0]  B [30, 30]  C [1, 1]\n", ""},
    };
    for (auto const& c : cases) {
        Result result = run("ranges '" + c.file + "'");
        EXPECT_EQ(result.status, c.status) << c.file;
        EXPECT_EQ(result.out, c.out) << c.file;
        EXPECT_EQ(result.err, c.err) << c.file;
    }
}

TEST_F(Quarnnc, MissingTruncatedAndForeignInputs)
{
    Result missing = run("info examples/no-such-file.nci");
    EXPECT_EQ(missing.status, 66);
    EXPECT_EQ(missing.err, "quarnnc: examples/no-such-file.nci: No such file.\n");

    Result directory = run("log examples");
    EXPECT_EQ(directory.status, 66);

    Result foreign = run("info README.md");
    EXPECT_EQ(foreign.status, 65);
    EXPECT_EQ(foreign.err, "quarnnc: README.md: Not an NC program in a format this tool reads.\n");

    // Cut inside the first record after the header: the header is still recognised, the record
    // is not complete.
    std::size_t const size = fs::file_size(source / "examples/part-3axis.nci");
    fs::path const cut = truncatedExample(size - 3);
    Result truncated = run("convert '" + cut.string() + "' '" + (scratch / "out.nci").string() + "'");
    EXPECT_EQ(truncated.status, 65);
    EXPECT_EQ(truncated.err.rfind("quarnnc: " + cut.string() + ":", 0), 0u) << truncated.err;
    EXPECT_EQ(truncated.out, "");
}

TEST_F(Quarnnc, ValidateReportsAndSetsTheExitStatus)
{
    Result clean = run("validate examples/part-3axis.nci");
    EXPECT_EQ(clean.status, 0) << clean.out;
    EXPECT_NE(clean.out.find("0 errors"), std::string::npos) << clean.out;

    Result json = run("validate --format json examples/part-3axis.nci");
    EXPECT_EQ(json.status, 0);
    EXPECT_NE(json.out.find("{\"errors\":0,"), std::string::npos) << json.out;
}

TEST_F(Quarnnc, ConvertRoundTripsAndWritesEveryFormat)
{
    std::string const copy = (scratch / "copy.nci").string();
    ASSERT_EQ(run("convert examples/part-3axis.nci '" + copy + "'").status, 0);
    EXPECT_EQ(readFile(copy), readFile(source / "examples/part-3axis.nci"));

    std::string const xml = (scratch / "part.xml").string();
    Result toXml = run("convert examples/part-3axis.nci '" + xml + "'");
    EXPECT_EQ(toXml.status, 0) << toXml.err;
    EXPECT_EQ(readFile(xml).rfind("<?xml", 0), 0u);

    std::string const log = (scratch / "part.txt").string();
    EXPECT_EQ(run("convert --to log examples/part-3axis.nci '" + log + "'").status, 0);
    Result stdoutLog = run("log examples/part-3axis.nci");
    EXPECT_EQ(stdoutLog.status, 0);
    EXPECT_EQ(stdoutLog.out, readFile(log));

    EXPECT_EQ(run("convert examples/part-3axis.nci examples/part-3axis.nci").status, 64);
}

TEST_F(Quarnnc, TransformMovesTheProgram)
{
    std::string const moved = (scratch / "moved.nci").string();
    Result transform = run("transform examples/part-3axis.nci '" + moved + "' --translate 10,20,30");
    ASSERT_EQ(transform.status, 0) << transform.err;
    // Moves are local to the work frame: the frame moves, the moves do not.
    Result info = run("info '" + moved + "'");
    Result original = run("info examples/part-3axis.nci");
    auto const box = [](std::string const& text) { return text.substr(text.find("bounding box:")); };
    EXPECT_EQ(box(info.out), box(original.out));
    Result log = run("log '" + moved + "'");
    EXPECT_NE(log.out.find("work:(10, 20, 30)"), std::string::npos);

    Result mirrored = run("transform examples/part-3axis.nci '" + moved + "' --mirror yz");
    ASSERT_EQ(mirrored.status, 0) << mirrored.err;
    Result mirroredLog = run("log '" + moved + "'");
    EXPECT_NE(mirroredLog.out.find("onCWArc"), std::string::npos);
}

TEST_F(Quarnnc, AnOutputThatCannotBeWrittenEndsWithItsNameAndStatus)
{
    if (!fs::exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full";
    std::string const missingDirectory = (scratch / "no-such-directory" / "out.nci").string();
    struct Case {
        std::string arguments;
        int status;
        std::string err;
    } const cases[] = {
        {"convert --to compact-nci examples/part-3axis.nci /dev/full", 74,
            "quarnnc: /dev/full: Cannot write the file.\n"},
        {"convert --to xml examples/part-3axis.nci /dev/full", 74, "quarnnc: /dev/full: Cannot write the file.\n"},
        {"convert --to kernel examples/part-3axis.nci /dev/full", 74, "quarnnc: /dev/full: Cannot write the file.\n"},
        {"convert --to jsonl examples/part-3axis.nci /dev/full", 74, "quarnnc: /dev/full: Cannot write the file.\n"},
        {"convert --to log examples/part-3axis.nci /dev/full", 74, "quarnnc: /dev/full: Cannot write the file.\n"},
        {"transform --to compact-nci examples/part-3axis.nci /dev/full --translate 1,2,3", 74,
            "quarnnc: /dev/full: Cannot write the file.\n"},
        {"convert examples/part-3axis.nci '" + missingDirectory + "'", 73,
            "quarnnc: " + missingDirectory + ": Cannot create the file.\n"},
    };
    for (auto const& c : cases) {
        Result result = run(c.arguments);
        EXPECT_EQ(result.status, c.status) << c.arguments;
        EXPECT_EQ(result.err, c.err) << c.arguments;
    }
}

TEST_F(Quarnnc, LargeFilesCopyByteForByteThroughTheReadingAndWritingThreads)
{
    // Over a megabyte in and out: read ahead and written behind on threads of their own.
    std::string const large = (scratch / "large.nci").string();
    std::string const command = "'" GENERATOR_PATH "' --moves 100000 '" + large + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    ASSERT_GT(fs::file_size(large), 2u << 20);
    std::string const copy = (scratch / "copy.nci").string();
    Result converted = run("convert '" + large + "' '" + copy + "'");
    ASSERT_EQ(converted.status, 0) << converted.err;
    EXPECT_EQ(readFile(copy), readFile(large));
}

TEST_F(Quarnnc, AProgramThroughTheKernelStreamKeepsEveryMoveAndSaysWhatItLeftOut)
{
    for (char const* name : {"part-3axis", "swarf-5axis", "inch-part"}) {
        std::string const kernel = (scratch / "part.kts").string(), back = (scratch / "back.nci").string();
        Result there = run("convert examples/" + std::string(name) + ".nci '" + kernel + "'");
        ASSERT_EQ(there.status, 0) << name << ": " << there.err;
        EXPECT_EQ(there.err.rfind("quarnnc: " + kernel + ": ", 0), 0u) << there.err;
        EXPECT_NE(there.err.find(" context"), std::string::npos) << there.err;
        EXPECT_NE(there.err.find(" tool"), std::string::npos) << there.err;
        EXPECT_NE(there.err.find(" have no place in this format and were left out\n"), std::string::npos) << there.err;

        Result backAgain = run("convert '" + kernel + "' '" + back + "'");
        ASSERT_EQ(backAgain.status, 0) << name << ": " << backAgain.err;
        EXPECT_EQ(backAgain.err, "") << name;
        auto const original = MoveList::of(source / "examples" / (std::string(name) + ".nci"));
        ASSERT_FALSE(original.empty());
        EXPECT_EQ(MoveList::of(back), original) << name;
    }
}

TEST_F(Quarnnc, KernelStreamsAreReadByEveryCommandAndWrittenAsJSONLines)
{
    Result info = run("info examples/pocket.kts");
    EXPECT_EQ(info.status, 0) << info.err;
    EXPECT_NE(info.out.find("format:       kernel 3.1.1.3\n"), std::string::npos) << info.out;
    for (char const* command : {"validate", "log"}) {
        Result result = run(std::string(command) + " examples/pocket.kts");
        EXPECT_NE(result.status, 65) << command << ": " << result.err;
        EXPECT_FALSE(result.out.empty()) << command;
    }

    // The kernel's messages travel as named parameters; only the figures of its process have no
    // place in an NC program.
    std::string const jsonl = (scratch / "pocket.jsonl").string();
    Result converted = run("convert examples/pocket.kts '" + jsonl + "'");
    ASSERT_EQ(converted.status, 0) << converted.err;
    EXPECT_EQ(converted.err,
        "quarnnc: examples/pocket.kts: 1 kernel process report has no place in an NC program and was left out\n");
    expectJSONLines(readFile(jsonl));

    std::string const fromProgram = (scratch / "part.jsonl").string();
    Result program = run("convert examples/part-3axis.nci '" + fromProgram + "'");
    ASSERT_EQ(program.status, 0) << program.err;
    EXPECT_NE(program.err.find("have no place in this format and were left out"), std::string::npos);
    expectJSONLines(readFile(fromProgram));
}

TEST_F(Quarnnc, CutterLocationDataKeepsThePathAndSaysWhatItLeftOut)
{
    // The path alone: every end, tool axis, centre and normal as the float the file holds.
    auto const path = [](std::vector<MoveList::Move> moves) {
        for (MoveList::Move& move : moves) {
            move.kind = move.kind == 'a' ? 'a' : 'l';
            move.movement = 0;
            move.feed = 0;
        }
        return moves;
    };
    for (char const* name : {"part-3axis", "swarf-5axis", "inch-part"}) {
        std::string const cld = (scratch / "part.cld").string(), back = (scratch / "back.nci").string();
        Result there = run("convert examples/" + std::string(name) + ".nci '" + cld + "'");
        ASSERT_EQ(there.status, 0) << name << ": " << there.err;
        EXPECT_NE(there.err.find(" have no place in this format and were left out\n"), std::string::npos) << there.err;
        EXPECT_NE(there.err.find("quarnnc: " + cld + ": the feeds of "), std::string::npos) << there.err;
        EXPECT_NE(there.err.find(" moves were left out\n"), std::string::npos) << there.err;

        Result backAgain = run("convert '" + cld + "' '" + back + "'");
        ASSERT_EQ(backAgain.status, 0) << name << ": " << backAgain.err;
        EXPECT_EQ(backAgain.err, "") << name;
        auto const original = MoveList::of(source / "examples" / (std::string(name) + ".nci"));
        ASSERT_FALSE(original.empty());
        EXPECT_EQ(path(MoveList::of(back)), path(original)) << name;
    }

    Result info = run("info examples/swarf-5axis.cld");
    EXPECT_EQ(info.status, 0) << info.err;
    EXPECT_NE(info.out.find("format:       cld 1.0.0\n"), std::string::npos) << info.out;
    // Tools without numbers are told apart by their dimensions, printed as the floats the file holds.
    std::string const part = (scratch / "part.cld").string();
    ASSERT_EQ(run("convert examples/part-3axis.nci '" + part + "'").status, 0);
    Result tools = run("info '" + part + "'");
    EXPECT_NE(tools.out.find("tools:        3\n  T0 undefined D50\n  T0 undefined D10\n  T0 undefined D6.8\n"),
        std::string::npos)
        << tools.out;
    for (char const* command : {"validate", "log"}) {
        Result result = run(std::string(command) + " examples/swarf-5axis.cld");
        EXPECT_NE(result.status, 65) << command << ": " << result.err;
        EXPECT_FALSE(result.out.empty()) << command;
    }
}

TEST_F(Quarnnc, TextCutterLocationDataRoundTripsAndIsReadByEveryCommand)
{
    Result info = run("info examples/pocket.cldt");
    EXPECT_EQ(info.status, 0) << info.err;
    EXPECT_NE(info.out.find("format:       cld-text\n"), std::string::npos) << info.out;
    for (char const* command : {"validate", "log"}) {
        Result result = run(std::string(command) + " examples/pocket.cldt");
        EXPECT_NE(result.status, 65) << command << ": " << result.err;
        EXPECT_FALSE(result.out.empty()) << command;
    }

    // The kernel's toolpath becomes the bundled text, which copies itself byte for byte.
    std::string const fromKernel = (scratch / "pocket.cldt").string(), copy = (scratch / "copy.cldt").string();
    Result converted = run("convert examples/pocket.kts '" + fromKernel + "'");
    ASSERT_EQ(converted.status, 0) << converted.err;
    EXPECT_EQ(readFile(fromKernel), readFile(source / "examples/pocket.cldt"));
    Result copied = run("convert --to cld-text examples/pocket.cldt '" + copy + "'");
    ASSERT_EQ(copied.status, 0) << copied.err;
    EXPECT_EQ(copied.err, "");
    EXPECT_EQ(readFile(copy), readFile(source / "examples/pocket.cldt"));

    // What the statements cannot hold is named with counts.
    std::string const fromProgram = (scratch / "part.cldt").string();
    Result program = run("convert examples/part-3axis.nci '" + fromProgram + "'");
    ASSERT_EQ(program.status, 0) << program.err;
    EXPECT_NE(program.err.find("have no place in this format and were left out"), std::string::npos) << program.err;
}
