// End-to-end tests of the quarnnc tool: the built binary run on the bundled examples and on
// missing, truncated, patched and foreign files, checked by exit status, messages and golden output.
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "tests/support/RapidJSON.h"
#include "tests/tools/ToolTesting.h"
#include "util/utility/io/FileOutputStream.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
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
using Quarn::NCContext;
using Quarn::NCStream;

using Quarn::ToolTesting::readFile;
using Quarn::ToolTesting::Result;

class Quarnnc : public Quarn::ToolTesting::ToolTest {
protected:
    Quarnnc() : ToolTest("quarnnc-test") { }


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

    // A file of the given bytes in the scratch directory.
    fs::path scratchFile(std::string const& name, std::string const& bytes) const
    {
        fs::path const path = scratch / name;
        std::ofstream(path, std::ios::binary) << bytes;
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

// The lines of a text that start with one of the prefixes.
std::size_t linesStartingWith(std::string const& text, std::initializer_list<std::string_view> prefixes)
{
    std::istringstream lines(text);
    std::string line;
    std::size_t count = 0;
    while (std::getline(lines, line))
        for (std::string_view prefix : prefixes)
            count += line.starts_with(prefix) ? 1 : 0;
    return count;
}

// The number of the first line of an NCI text that is `line` (never the first line of the file).
long lineOf(std::string const& text, std::string const& line)
{
    std::size_t const position = text.find("\n" + line + "\r\n");
    EXPECT_NE(position, std::string::npos) << line;
    std::string_view const before(text.data(), position);
    // The lines ended before the end of the line in front, that line, and the line sought.
    return std::count(before.begin(), before.end(), '\n') + 2;
}

} // namespace

TEST_F(Quarnnc, BundledExamplesAreWhatTheGeneratorWrites)
{
    std::string const command = "'" GENERATOR_PATH "' '" + scratch.string() + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    for (char const* name : {"part-3axis.nci", "swarf-5axis.nci", "inch-part.nci", "pocket.kts", "pocket.jsonl",
             "swarf-5axis.cld", "pocket.cldt", "synthetic-mill.nci", "part-3axis.ngc", "bolt-circle.ngc",
             "part-3axis-edited.ngc", "part-3axis.svg", "bolt-circle.svg"})
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
    for (char const* command : {"info", "validate", "convert", "transform", "ranges", "log", "plot", "diff"})
        EXPECT_NE(help.out.find(command), std::string::npos) << command;
    EXPECT_EQ(run("convert --help").status, 0);
    for (char const* command : {"info", "validate", "convert", "transform", "ranges", "log", "plot", "diff"})
        EXPECT_NE(run(std::string(command) + " --help").out.find("NCI files do not say their unit"), std::string::npos)
            << command;

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
        {"info --nci-unit cm examples/synthetic-mill.nci", "--nci-unit: cm not in {inch,mm}"},
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
        // The five-axis records of NCI files carry tool axes.
        {"examples/synthetic-mill.nci", 65, "", "quarnnc: examples/synthetic-mill.nci" + refused},
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
    for (char const* name : {"part-3axis.nci", "synthetic-mill.nci"}) {
        Result clean = run(std::string("validate examples/") + name);
        EXPECT_EQ(clean.status, 0) << clean.out;
        EXPECT_EQ(clean.out, std::string("examples/") + name + ": 0 errors, 0 warnings\n");
    }

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

    // An output that is the input replaces it once complete: a copy converts onto itself unchanged.
    std::string const same = (scratch / "same.nci").string();
    fs::copy_file(source / "examples/part-3axis.nci", same);
    Result inPlace = run("convert '" + same + "' '" + same + "'");
    EXPECT_EQ(inPlace.status, 0) << inPlace.err;
    EXPECT_EQ(readFile(same), readFile(source / "examples/part-3axis.nci"));
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

TEST_F(Quarnnc, InfoDescribesAnNCIFileInTheUnitItIsGiven)
{
    // NCI files do not say their unit: inches unless --nci-unit says otherwise; numbers stay as written.
    struct Case {
        char const* option;
        char const* unit;
    } const cases[] = {{"", "inches"}, {"--nci-unit inch ", "inches"}, {"--nci-unit mm ", "millimeters"}};
    for (auto const& c : cases) {
        Result info = run(std::string("info ") + c.option + "examples/synthetic-mill.nci");
        EXPECT_EQ(info.status, 0) << c.option << info.err;
        EXPECT_EQ(info.err, "") << c.option;
        EXPECT_EQ(info.out.substr(0, info.out.find("events:\n")),
            std::string("file:         examples/synthetic-mill.nci\n"
                        "format:       mastercam-nci\n"
                        "sections:     3\n"
                        "tools:        2\n"
                        "  T2 flat-end-mill D0.5\n"
                        "  T3 drill D0.25\n"
                        "units:        ")
                + c.unit
                + "\n"
                  "bounding box: x -0.75 .. 4, y -0.1 .. 3, z -0.25 .. 10\n"
                  "machine axes: none\n")
            << c.option;
        // The helix turn and the full circle of the bore, the drill cycle, the five-axis chamfer.
        for (char const* events :
            {"  onGroup                 1\n  onGroupEnd              1\n", "  onDwell                 1\n",
                "  onLinear5D              3\n", "  onCircular              1\n  onCCWCircle             1\n"})
            EXPECT_NE(info.out.find(events), std::string::npos) << events << info.out;
    }

    Result log = run("log examples/synthetic-mill.nci");
    EXPECT_EQ(log.status, 0) << log.err;
    EXPECT_NE(log.out.find("onComment(): comment:'SYNTHETIC EXAMPLE WRITTEN BY QUARN-GENERATE-EXAMPLES, NOT OUTPUT OF"),
        std::string::npos);
}

TEST_F(Quarnnc, NCIConvertsToEveryFormatWithAllItsMoves)
{
    Result original = run("info examples/synthetic-mill.nci");
    ASSERT_EQ(original.status, 0) << original.err;
    std::uint64_t const moves = movesInInfo(original.out);
    ASSERT_EQ(moves, 36u);

    // Readable outputs are counted by info, the others by their move lines.
    struct Case {
        char const* file;
        std::function<std::uint64_t(Result const& info, std::string const& text)> moves;
    } const cases[] = {
        {"mill.nci", [](Result const& info, std::string const&) { return movesInInfo(info.out); }},
        {"mill.cldt", [](Result const& info, std::string const&) { return movesInInfo(info.out); }},
        {"mill.xml",
            [](Result const&, std::string const& text) {
                return linesStartingWith(text, {"<rapid", "<linear", "<arc-", "<circular"});
            }},
        {"mill.jsonl",
            [](Result const&, std::string const& text) {
                expectJSONLines(text);
                return linesStartingWith(text, {"{\"l\":", "{\"a\":", "{\"m\":"});
            }},
    };
    for (auto const& c : cases) {
        std::string const output = (scratch / c.file).string();
        Result converted = run("convert examples/synthetic-mill.nci '" + output + "'");
        ASSERT_EQ(converted.status, 0) << c.file << ": " << converted.err;
        EXPECT_EQ(converted.out, "") << c.file;
        EXPECT_EQ(c.moves(run("info '" + output + "'"), readFile(output)), moves) << c.file;
    }

    // Compact NCI keeps everything: its description is the NCI file's but for the name and format.
    Result copy = run("info '" + (scratch / "mill.nci").string() + "'");
    auto const body = [](std::string const& info) { return info.substr(info.find("sections:")); };
    EXPECT_EQ(body(copy.out), body(original.out));
}

TEST_F(Quarnnc, ExpandedCyclesSendTheMovesOfEachHole)
{
    // Each of the three holes is a rapid to its top as a cycle, and its pecks when expanded.
    std::string const plain = (scratch / "plain.nci").string(), expanded = (scratch / "expanded.nci").string();
    ASSERT_EQ(run("convert examples/synthetic-mill.nci '" + plain + "'").status, 0);
    struct Case {
        std::string arguments;
    } const cases[] = {
        {"convert --expand-cycles examples/synthetic-mill.nci '" + expanded + "'"},
        {"transform --expand-cycles examples/synthetic-mill.nci '" + expanded + "' --translate 1,2,3"},
    };
    std::uint64_t const before = movesInInfo(run("info '" + plain + "'").out);
    for (auto const& c : cases) {
        Result result = run(c.arguments);
        ASSERT_EQ(result.status, 0) << c.arguments << ": " << result.err;
        Result info = run("info '" + expanded + "'");
        EXPECT_GT(movesInInfo(info.out), before + 3 * 4) << c.arguments;
        EXPECT_NE(info.out.find("  onGroup                 1\n"), std::string::npos) << info.out;
    }

    Result cycle = run("log examples/synthetic-mill.nci");
    Result moves = run("log --expand-cycles examples/synthetic-mill.nci");
    EXPECT_NE(
        cycle.out.find("onGroup(): uri:'http://www.quarn.dev/namespace/nc/cycle/deep-drilling'\n"), std::string::npos);
    EXPECT_NE(moves.out.find("onGroup(): uri:'http://www.quarn.dev/namespace/nc/cycle/deep-drilling/expanded'\n"),
        std::string::npos);

    // The reader options reach transform's reader too.
    std::string const metric = (scratch / "metric.nci").string();
    ASSERT_EQ(run("transform --nci-unit mm examples/synthetic-mill.nci '" + metric + "' --translate 1,2,3").status, 0);
    EXPECT_NE(run("info '" + metric + "'").out.find("units:        millimeters\n"), std::string::npos);
}

TEST_F(Quarnnc, AMalformedNCIFileEndsWithTheLineOfTheFault)
{
    std::string const example = readFile(source / "examples/synthetic-mill.nci");
    // The example with its first line `from` replaced by `to`.
    auto const replaced = [&example](std::string const& from, std::string const& to) {
        std::string text = example;
        std::size_t const position = text.find("\n" + from + "\r\n");
        EXPECT_NE(position, std::string::npos) << from;
        return text.replace(position + 1, from.size(), to);
    };
    std::string const withoutLastLine = example.substr(0, example.size() - std::string_view("0. 0. 0.\r\n").size());
    std::string const withoutEnd = example.substr(0, example.rfind("1003\r\n"));
    struct Case {
        std::string text;
        std::string line; // the line named, from the top of the file
        std::string message;
    } const cases[] = {
        {replaced("0 -0.75 1. 0.1 -2. 0", "0 -0.75 1.2.3 0.1 -2. 0"), "0 -0.75 1.2.3 0.1 -2. 0",
            "Invalid number '1.2.3' in value 3 (y) of record 0."},
        {replaced("41 -0.25 1. -0.25 20. 3000", "43 -0.25 1. -0.25 20. 3000"), "43 -0.25 1. -0.25 20. 3000",
            "Unknown cutter compensation 43 in record 1."},
        // The cycle's record becomes one of an unknown code: its holes have no cycle.
        {replaced("81", "82"), "0 3.25 0.75 -0.35 1. 0.1 0. 6. 3.25 0.75 0. 0 0",
            "Drill hole without a drill cycle in record 100."},
        {withoutLastLine, "1003", "Record 1003 has no value line."},
        {withoutEnd, "0 0. 0. 10. -2. 0", "File ends without its end record 1003."},
    };
    for (auto const& c : cases) {
        fs::path const file = scratchFile("broken.nci", c.text);
        Result info = run("info '" + file.string() + "'");
        EXPECT_EQ(info.status, 65) << c.message;
        EXPECT_EQ(info.out, "") << c.message;
        EXPECT_EQ(info.err,
            "quarnnc: " + file.string() + ":" + std::to_string(lineOf(c.text, c.line)) + ": " + c.message + "\n");
    }
}

TEST_F(Quarnnc, FilesNamedNCIThatAreNoNCIFilesAreRefused)
{
    std::string const drill = "M48\r\nINCH,LZ\r\nT1C0.0350\r\n%\r\nT1\r\nX0100Y0100\r\nM30\r\n";
    std::string const drillFile = "A circuit-board drill file, not an NC program.";
    std::string const unknown = "Not an NC program in a format this tool reads.";
    struct Case {
        char const* name;
        std::string bytes;
        std::string message;
    } const cases[] = {
        {"board.nci", drill, drillFile},
        {"BOARD.NCI", drill, drillFile},
        {"header.nci", "%\r\nM48\r\nM30\r\n", drillFile},
        // Only the name tells a drill file from a program that starts with "%".
        {"board.drl", drill, unknown},
        {"binary.nci", std::string("\x7f\x01\x02\x03\x00\x00\x10\x50", 8), unknown},
        {"version.nci", "1051\r\nNOT THE HEADER\r\n1003\r\n0. 0. 0.\r\n", unknown},
    };
    for (auto const& c : cases) {
        fs::path const file = scratchFile(c.name, c.bytes);
        Result info = run("info '" + file.string() + "'");
        EXPECT_EQ(info.status, 65) << c.name;
        EXPECT_EQ(info.err, "quarnnc: " + file.string() + ": " + c.message + "\n") << c.name;
    }
}

TEST_F(Quarnnc, UnknownNCIRecordsAreCountedOnStandardError)
{
    std::string const example = readFile(source / "examples/synthetic-mill.nci");
    std::size_t const end = example.rfind("1003\r\n");
    struct Case {
        std::string records;
        std::string sentence;
    } const cases[] = {
        {"", ""},
        {"999\r\n1 2 3\r\n", "1 record of an unknown code was passed on as a parameter"},
        {"999\r\n1 2 3\r\n30001\r\nSPARE TEXT\r\n4242\r\n\r\n",
            "3 records of unknown codes were passed on as parameters"},
    };
    for (auto const& c : cases) {
        fs::path const file = scratchFile("unknown.nci", std::string(example).insert(end, c.records));
        std::string const xml = (scratch / "unknown.xml").string();
        Result converted = run("convert '" + file.string() + "' '" + xml + "'");
        EXPECT_EQ(converted.status, 0) << c.sentence << converted.err;
        EXPECT_EQ(converted.err, c.sentence.empty() ? "" : "quarnnc: " + file.string() + ": " + c.sentence + "\n");
        // The records travel on as parameters named by their codes.
        EXPECT_EQ(
            readFile(xml).find("mastercam-nci/unknown-999' value='1 2 3'") != std::string::npos, !c.records.empty())
            << c.records;
    }
}

namespace {

// The lines of a text, without their ends.
std::vector<std::string> linesOf(std::string const& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The first line of a text that starts with the prefix, or "".
std::string lineStartingWith(std::string const& text, std::string_view prefix)
{
    for (std::string const& line : linesOf(text))
        if (line.starts_with(prefix))
            return line;
    return {};
}

} // namespace

TEST_F(Quarnnc, ConvertWritesGCodeAndSaysWhatItLeftOut)
{
    std::string const ngc = (scratch / "part.ngc").string();
    Result converted = run("convert examples/part-3axis.nci '" + ngc + "'");
    ASSERT_EQ(converted.status, 0) << converted.err;
    EXPECT_EQ(converted.out, "");
    EXPECT_EQ(converted.err,
        "quarnnc: " + ngc
            + ": 15 parameters, 1 stock box, 4 groups and 4 group ends have no place in this format and were left out\n"
              "quarnnc: "
            + ngc + ": the flags of 11 moves were left out\n");
    std::string const text = readFile(ngc);
    std::vector<std::string> const lines = linesOf(text);
    ASSERT_GT(lines.size(), 10u);
    // The program's comment, the safe start, the work offset and the first tool.
    std::vector<std::string> const head = {"%", "(100 x 60 x 30 aluminium block, origin at the top front left corner)",
        "G21 G90 G17 G94 G40 G49 G80 G91.1", "G54", "T1 M6", "G43 H1", "S3000 M3"};
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 7), head);
    EXPECT_EQ(lines[lines.size() - 2], "M30");
    EXPECT_EQ(lines.back(), "%");
    EXPECT_EQ(text.back(), '\n');
}

TEST_F(Quarnnc, EveryGCodeExtensionAndTheNameChooseGCode)
{
    Result help = run("convert --help");
    EXPECT_NE(help.out.find(".ngc .nc .tap .gcode gcode"), std::string::npos) << help.out;
    EXPECT_NE(help.out.find("|gcode|"), std::string::npos) << help.out;

    // Extensions match in any letter case; --to overrides the extension.
    struct Case {
        std::string arguments, output;
    } const cases[] = {
        {"", "part.ngc"},
        {"", "part.nc"},
        {"", "part.tap"},
        {"", "part.gcode"},
        {"", "PART.NGC"},
        {"", "part.Tap"},
        {"--to gcode ", "part.txt"},
        {"--to gcode ", "part.xml"},
    };
    for (auto const& c : cases) {
        std::string const output = (scratch / c.output).string();
        Result converted = run("convert " + c.arguments + "examples/part-3axis.nci '" + output + "'");
        EXPECT_EQ(converted.status, 0) << c.output << ": " << converted.err;
        std::string const text = readFile(output);
        EXPECT_EQ(text.rfind("%\n", 0), 0u) << c.output;
        EXPECT_NE(text.find("\nG21 G90 G17 G94 "), std::string::npos) << c.output;
        fs::remove(output);
    }
    // Other formats keep theirs, in any case too.
    std::string const nci = (scratch / "COPY.NCI").string();
    ASSERT_EQ(run("convert examples/part-3axis.nci '" + nci + "'").status, 0);
    EXPECT_EQ(readFile(nci), readFile(source / "examples/part-3axis.nci"));
}

TEST_F(Quarnnc, DecimalsAndLineNumbersShapeTheGCode)
{
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    // Numbers a float holds exactly: 1 + 15/64 and -2^-15.
    auto const program = [&](char const* name, Quarn::NCUnit::Unit unit) {
        NCContext context;
        context.setUnit(unit);
        return compactProgram(name, [&](NCStream& s) {
            return s.onOpen() && s.onContext(context) && s.onSection() && s.onRapid({1.234375, -2.5, 10}, 0)
                && s.onLinear({1.234375, -2.5, -0.000030517578125}, 250, cut) && s.onSectionEnd() && s.onClose();
        }).string();
    };
    std::string const metric = program("metric.nci", Quarn::NCUnit::MILLIMETERS);
    std::string const inch = program("inch.nci", Quarn::NCUnit::INCHES);
    std::string const ngc = (scratch / "out.ngc").string();
    // Rounded to nearest, trailing zeros trimmed, a number that rounds to zero is 0; 0 decimals
    // choose by the unit.
    struct Case {
        std::string input, options, rapid, linear;
    } const cases[] = {
        {metric, "", "G0 X1.234 Y-2.5 Z10", "G1 Z0 F250"},
        {metric, "--decimals 0", "G0 X1.234 Y-2.5 Z10", "G1 Z0 F250"},
        {metric, "--decimals 6", "G0 X1.234375 Y-2.5 Z10", "G1 Z-0.000031 F250"},
        {metric, "--decimals 1", "G0 X1.2 Y-2.5 Z10", "G1 Z0 F250"},
        {inch, "", "G0 X1.2344 Y-2.5 Z10", "G1 Z0 F250"},
        {inch, "--decimals 9", "G0 X1.234375 Y-2.5 Z10", "G1 Z-0.000030518 F250"},
    };
    for (auto const& c : cases) {
        Result converted = run("convert " + c.options + " '" + c.input + "' '" + ngc + "'");
        ASSERT_EQ(converted.status, 0) << c.options << ": " << converted.err;
        std::string const text = readFile(ngc);
        EXPECT_EQ(lineStartingWith(text, "G0 "), c.rapid) << c.options << "\n" << text;
        EXPECT_EQ(lineStartingWith(text, "G1 "), c.linear) << c.options << "\n" << text;
    }

    // Every line but the "%" lines carries an N word, from START in steps of STEP.
    struct Numbering {
        std::string option;
        unsigned int start, step;
    } const numberings[] = {{"--line-numbers", 10, 10}, {"--line-numbers=100,5", 100, 5}, {"--line-numbers=0,1", 0, 1}};
    for (auto const& n : numberings) {
        Result converted = run("convert " + n.option + " examples/part-3axis.nci '" + ngc + "'");
        ASSERT_EQ(converted.status, 0) << n.option << ": " << converted.err;
        std::vector<std::string> const lines = linesOf(readFile(ngc));
        ASSERT_GT(lines.size(), 3u);
        EXPECT_EQ(lines.front(), "%");
        EXPECT_EQ(lines.back(), "%");
        unsigned int expected = n.start;
        for (std::size_t i = 1; i + 1 < lines.size(); ++i, expected += n.step)
            ASSERT_EQ(lines[i].rfind("N" + std::to_string(expected) + " ", 0), 0u) << n.option << ": " << lines[i];
    }

    // transform writes through the same options.
    Result moved = run("transform --decimals 4 --line-numbers '" + metric + "' '" + ngc + "' --translate 1,0,0");
    ASSERT_EQ(moved.status, 0) << moved.err;
    EXPECT_NE(readFile(ngc).find(" G0 X2.2344 Y-2.5 Z10\n"), std::string::npos) << readFile(ngc);
}

TEST_F(Quarnnc, GCodeOptionsOutOfRangeOrForAnotherFormatAreRefused)
{
    std::string const ngc = (scratch / "out.ngc").string();
    struct Case {
        std::string arguments;
        std::string message;
    } const cases[] = {
        {"--decimals 10", "--decimals: Value 10 not in range 0 to 9"},
        {"--decimals -1", "--decimals"},
        {"--decimals two", "--decimals"},
        {"--line-numbers=10", "--line-numbers: takes START,STEP"},
        {"--line-numbers=10,0", "--line-numbers: takes START,STEP"},
        {"--line-numbers=10,5,1", "--line-numbers: takes START,STEP"},
        {"--line-numbers=-10,5", "--line-numbers: takes START,STEP"},
        {"--arc-tolerance 0", "--arc-tolerance: takes a positive number of millimetres, not '0'"},
        {"--arc-tolerance -0.01", "--arc-tolerance"},
        {"--arc-tolerance inf", "--arc-tolerance: takes a positive number of millimetres, not 'inf'"},
        {"--arc-tolerance 1mm", "--arc-tolerance: takes a positive number of millimetres, not '1mm'"},
        {"--to xml --decimals 4", "--decimals is not supported for xml output."},
        {"--to compact-nci --line-numbers", "--line-numbers is not supported for compact-nci output."},
        {"--to cld-text --arc-tolerance 0.01", "--arc-tolerance is not supported for cld-text output."},
        {"--map-to-wcs", "--map-to-wcs is not supported for gcode output."},
    };
    for (auto const& c : cases) {
        Result refused = run("convert " + c.arguments + " examples/part-3axis.nci '" + ngc + "'");
        EXPECT_EQ(refused.status, 64) << c.arguments;
        EXPECT_NE(refused.err.find(c.message), std::string::npos) << c.arguments << ": " << refused.err;
        EXPECT_FALSE(fs::exists(ngc)) << c.arguments;
    }
    Result transform = run(
        "transform --line-numbers examples/part-3axis.nci '" + (scratch / "out.xml").string() + "' --translate 1,2,3");
    EXPECT_EQ(transform.status, 64);
    EXPECT_EQ(transform.err, "quarnnc: --line-numbers is not supported for xml output.\n");
}

TEST_F(Quarnnc, ArcsOffTheAxisPlanesBecomeLinesWithinTheArcTolerance)
{
    // A quarter circle of radius 10 about a normal between Y and Z: no G17, G18 or G19 plane holds it.
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    Quarn::Vector3D const normal = Quarn::Vector3D(0, 1, 1).getNormalized();
    Quarn::Vector3D const start(10, 0, 0), across = normal.cross(start);
    std::string const tilted = compactProgram("tilted.nci", [&](NCStream& s) {
        return s.onOpen() && s.onContext(NCContext()) && s.onSection() && s.onRapid(start, 0)
            && s.onCCWArc({0, 0, 0}, across, normal, 500, cut) && s.onCCWArc({0, 0, 0}, start * -1.0, normal, 500, cut)
            && s.onSectionEnd() && s.onClose();
    }).string();
    std::string const ngc = (scratch / "tilted.ngc").string();
    std::size_t previous = 0;
    for (char const* tolerance : {"1", "0.01", ""}) {
        std::string const option = *tolerance == '\0' ? "" : std::string("--arc-tolerance ") + tolerance + " ";
        Result converted = run("convert " + option + "'" + tilted + "' '" + ngc + "'");
        ASSERT_EQ(converted.status, 0) << option << converted.err;
        EXPECT_EQ(converted.err, "quarnnc: " + ngc + ": 2 arcs were written as lines within the arc tolerance\n");
        std::string const text = readFile(ngc);
        EXPECT_EQ(linesStartingWith(text, {"G2 ", "G3 "}), 0u) << text;
        // The lines of each arc end at its end.
        EXPECT_NE(text.find("\nX0 Y7.071 Z-7.071\n"), std::string::npos) << option << text;
        EXPECT_NE(text.find("\nX-10 Y0 Z0\nM30\n"), std::string::npos) << option << text;
        // The tighter the tolerance, the more lines.
        std::size_t const lines = linesStartingWith(text, {"G1 ", "X", "Y", "Z"});
        EXPECT_GT(lines, previous) << option;
        previous = lines;
    }
}

// LinuxCNC's interpreter, where it is installed, runs a converted example to its end.
TEST_F(Quarnnc, TheInterpreterOfLinuxCNCRunsAConvertedExample)
{
    if (!fs::exists("/usr/bin/rs274"))
        GTEST_SKIP() << "rs274 is not installed";
    std::string const ngc = (scratch / "part.ngc").string();
    ASSERT_EQ(run("convert examples/part-3axis.nci '" + ngc + "'").status, 0);
    fs::path const canon = scratch / "canon.txt", messages = scratch / "rs274.txt";
    std::string const command
        = "/usr/bin/rs274 -g '" + ngc + "' '" + canon.string() + "' </dev/null >'" + messages.string() + "' 2>&1";
    int const raw = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(raw));
    EXPECT_EQ(WEXITSTATUS(raw), 0) << readFile(messages);
    EXPECT_NE(readFile(canon).find("PROGRAM_END()"), std::string::npos);
}
