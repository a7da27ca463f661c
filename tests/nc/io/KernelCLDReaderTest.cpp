// KernelCLDReader: the events of every statement, the movement and feedrate state, arcs, parameter
// types and runs, comments, line ends, errors with their lines, stopping, aborting and isValid.
#include "nc/nc/io/KernelCLDReader.h"

#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "tests/support/ReaderTesting.h"
#include "tests/support/RecordingNCStream.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <random>
#include <fstream>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

std::string const header = KernelCLDReader::getHeader() + "\n";

bool readInto(std::string const& text, NCStream& target, bool comments = true)
{
    MemoryInputStream in(text);
    KernelCLDReader reader;
    reader.setNCStream(&target);
    reader.setPassOnComments(comments);
    return reader.import(&in);
}

// The events of the lines after the header, without onOpen and onClose.
std::vector<std::wstring> events(std::string const& lines, bool comments = true)
{
    RecordingNCStream recorder;
    EXPECT_TRUE(readInto(header + lines, recorder, comments));
    std::vector<std::wstring> result = recorder.events;
    EXPECT_EQ(result.front(), L"onOpen");
    EXPECT_EQ(result.back(), L"onClose");
    return {result.begin() + 1, result.end() - 1};
}

struct ParseError {
    unsigned int line = 0;
    std::wstring message;
    std::wstring text;
    bool operator==(ParseError const&) const = default;
    friend std::ostream& operator<<(std::ostream& out, ParseError const& e)
    {
        return out << e.line << ": " << Unicode::toUTF8(e.message) << " [" << Unicode::toUTF8(e.text) << "]";
    }
};

ParseError parseError(std::string const& text)
{
    RecordingNCStream recorder;
    try {
        readInto(text, recorder);
    } catch (NCParseException const& e) {
        return {e.getLine().value_or(0), e.getMessage(), e.getDetail()};
    }
    return {0, L"no exception", L""};
}

std::wstring name(std::string const& text) { return Unicode::fromUTF8(text); }

} // namespace

TEST(KernelCLDReader, EveryStatementSendsItsEvents)
{
    std::wstring const toolAxis = name(KernelParameterNames::getToolAxisName());
    std::wstring const normal = name(KernelParameterNames::getContactNormalName());
    std::wstring const insert = name(KernelCLDReader::getTurnFarmTestInsertName());
    std::wstring const contour = name(KernelCLDReader::getTurnFarmTestContourName());
    struct Case {
        std::string lines;
        std::vector<std::wstring> events;
    } const cases[] = {
        {"OPEN\nCLOSE\n", {L"onSection", L"onSectionEnd"}},
        {"GOTO, 1, 2, 3\n", {L"onLinear (1, 2, 3) 0 131072"}},
        {"FEEDRATE, 250.5\nGOTO,1,2,3,0,0.6,0.8\n", {L"onLinear5D (1, 2, 3) (0, 0.6, 0.8) 250.5 131104"}},
        {"RAPID\nGOTO, -1.5, +2e1, .5\n", {L"onRapid (-1.5, 20, 0.5) 0"}},
        {"RAPID\nGOTO, 1, 2, 3, 0, 0, 1\n", {L"onRapid5D (1, 2, 3) (0, 0, 1) 32"}},
        {"TOOLAXIS, 0, 0.6, 0.8\n", {L"onParameter " + toolAxis + L" (0, 0.6, 0.8)"}},
        {"CONTACTNORMAL, 1, 0, 0\n", {L"onParameter " + normal + L" (1, 0, 0)"}},
        {"DWELL, 1.5\nDWELL, 3, \"revolutions\"\n", {L"onDwell 1.5 0", L"onDwell 3 64"}},
        {"COMMAND, 10\nCOMMAND, 4294967295\n", {L"onCommand 10", L"onCommand 4294967295"}},
        {"GROUP, \"urn:a\\\"b\\\\c\\x41\\t\"\nGROUP_END\n", {L"onGroup urn:a\"b\\cA\t", L"onGroupEnd"}},
        {"GROUP, \"gr\xC3\xBC\xC3\x9F\x65\"\n", {L"onGroup gr\u00fc\u00dfe"}},
        // The values as written, from the first to the end of the last.
        {"turnFarmTestInsert,  1, 2.5 ,\"R0.8, #\"  # note\n", {L"onParameter " + insert + L" 1, 2.5 ,\"R0.8, #\""}},
        {"turnFarmTestContour\n", {L"onParameter " + contour + L" "}},
        // Blank lines, blanks and comments.
        {"\n \t\n\tOPEN \t# a dropped comment\n# first\n#  second\n  #\n",
            {L"onSection", L"onComment first", L"onComment  second", L"onComment "}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(events(c.lines), c.events) << c.lines;
    EXPECT_EQ(events("# not passed\nOPEN\n", false), (std::vector<std::wstring> {L"onSection"}));
}

TEST(KernelCLDReader, MovementKeywordsSetTheFlagsOfTheMovesThatFollow)
{
    for (std::uint32_t m = 0; m < NCStream::MOVEMENT_COUNT; ++m) {
        auto const movement = static_cast<NCStream::Movement>(m);
        std::string_view const keyword = KernelCLDReader::getMovementKeyword(movement);
        EXPECT_EQ(KernelCLDReader::findMovement(keyword), movement) << keyword;
        std::wstring const flags = std::to_wstring(NCStream::getMovementFlags(movement));
        std::wstring const expected
            = m == NCStream::MOVEMENT_RAPID ? L"onRapid (1, 2, 3) " + flags : L"onLinear (1, 2, 3) 0 " + flags;
        EXPECT_EQ(events(std::string(keyword) + "\nGOTO, 1, 2, 3\n"), std::vector<std::wstring> {expected}) << keyword;
    }
    EXPECT_EQ(KernelCLDReader::getMovementKeyword(NCStream::MOVEMENT_REDUCED), "HIGH_ENGAGEMENT");
    EXPECT_EQ(KernelCLDReader::getMovementKeyword(NCStream::MOVEMENT_CONNECTION), "LINK_CONNECTION");
    EXPECT_EQ(KernelCLDReader::getMovementKeyword(static_cast<NCStream::Movement>(22)), "");
    EXPECT_EQ(KernelCLDReader::findMovement("rapid"), std::nullopt);
}

TEST(KernelCLDReader, MovementAndFeedrateLastAcrossSections)
{
    EXPECT_EQ(events("OPEN\nFEEDRATE, 100\nLEAD_IN\nCLOSE\nOPEN\nGOTO, 1, 0, 0\nRAPID\nGOTO, 2, 0, 0\n"
                     "CUTTING\nGOTO, 3, 0, 0\n"),
        (std::vector<std::wstring> {L"onSection", L"onSectionEnd", L"onSection", L"onLinear (1, 0, 0) 100 65536",
            L"onRapid (2, 0, 0) 0", L"onLinear (3, 0, 0) 100 131072"}));
}

TEST(KernelCLDReader, ArcsGoCounterClockwiseAboutANormalOnThePositiveSide)
{
    struct Case {
        std::string lines;
        std::wstring event;
    } const cases[] = {
        {"ARC, 3, 1, 0, 2, 1, 0, 0, 0, 1", L"onCCWArc (2, 1, 0) (3, 1, 0) (0, 0, 1) 50 131072"},
        {"ARC, 3, 1, 0, 2, 1, 0, 0, 0, -1", L"onCWArc (2, 1, 0) (3, 1, 0) (0, 0, 1) 50 131072"},
        {"ARC, 3, 0, 1, 2, 0, 1, 0, 1, 0", L"onCCWArc (2, 0, 1) (3, 0, 1) (0, 1, 0) 50 131072"},
        {"ARC, 3, 0, 1, 2, 0, 1, 0, -1, 0", L"onCWArc (2, 0, 1) (3, 0, 1) (0, 1, 0) 50 131072"},
        {"ARC, 2, 1, 1, 2, 1, 0, 1, 0, 0", L"onCCWArc (2, 1, 0) (2, 1, 1) (1, 0, 0) 50 131072"},
        {"ARC, 2, 1, 1, 2, 1, 0, -1, 0, 0", L"onCWArc (2, 1, 0) (2, 1, 1) (1, 0, 0) 50 131072"},
        // An oblique normal goes by its z.
        {"ARC, 2, 2, 0, 2, 1, 0, 0.6, 0, -0.8", L"onCWArc (2, 1, 0) (2, 2, 0) (-0.6, 0, 0.8) 50 131072"},
        // Ending where the last move ended: a circle.
        {"ARC, 9, 0, 0, 8, 0, 0, 0, 0, 1", L"onCCWCircle (8, 0, 0) (9, 0, 0) (0, 0, 1) 50 131072"},
        {"ARC, 9, 0, 0, 8, 0, 0, 0, 0, -1", L"onCWCircle (8, 0, 0) (9, 0, 0) (0, 0, 1) 50 131072"},
        // A sweep keeps the normal as written.
        {"ARC, 3, 1, 0, 2, 1, 0, 0, 0, -1, -1.5", L"onCircular (2, 1, 0) (3, 1, 0) (0, 0, -1) -1.5 50 131072"},
        // Rapid: the movement in the flags and no feedrate.
        {"RAPID\nARC, 3, 1, 0, 2, 1, 0, 0, 0, 1", L"onCCWArc (2, 1, 0) (3, 1, 0) (0, 0, 1) 0 0"},
    };
    for (Case const& c : cases) {
        auto const all = events("FEEDRATE, 50\nRAPID\nGOTO, 9, 0, 0\nCUTTING\n" + c.lines + "\n");
        EXPECT_EQ(all.back(), c.event) << c.lines;
    }
    // An arc sets the last position too.
    EXPECT_EQ(events("ARC, 1, 0, 0, 0, 0, 0, 0, 0, 1\nARC, 1, 0, 0, 0, 0, 0, 0, 0, 1\n").back(),
        L"onCCWCircle (0, 0, 0) (1, 0, 0) (0, 0, 1) 0 131072");
}

TEST(KernelCLDReader, EveryLayoutOfAMoveGivesTheSameEvents)
{
    // The writer's layout is read the short way, every other the general way: the same events.
    std::string const program = "GOTO, 1, -2.5, 3e1\nGOTO, 1, 2, 3, 0, 0.6, 0.8\nARC, 1, 0, 0, 0, 0, 0, 0, 0, -1\n"
                                "ARC, 1, 0, 0, 0, 0, 0, 0, 0, 1, 2.5\n";
    std::string const other = "\tGOTO ,1,-2.5 ,+3e1\nGOTO,1,2,3,0,.6,0.80 # five axes\n"
                              "ARC, 1,0,0, 0,0,0, 0,0,-1 \t\nARC , 1, 0, 0, 0, 0, 0, 0, 0, 1, 2.5\n";
    EXPECT_EQ(events(other), events(program));
}

TEST(KernelCLDReader, ParameterValuesHaveTheirTypesAndRunsBecomeContextsAndTools)
{
    struct Case {
        std::string lines;
        std::vector<std::wstring> events;
    } const cases[] = {
        {"PARAMETER, \"s\", \"a\\nb\"", {L"onParameter s a\nb"}},
        {"PARAMETER, \"i\", -12", {L"onParameter i -12"}},
        {"PARAMETER, \"i\", +7", {L"onParameter i 7"}},
        // Beyond an int, with a point or an exponent: a double.
        {"PARAMETER, \"d\", 3000000000", {L"onParameter d 3e+09"}},
        {"PARAMETER, \"d\", 2.0\nPARAMETER, \"e\", 1e2", {L"onParameter d 2", L"onParameter e 100"}},
        {"PARAMETER, \"v\", 1, 2, 3", {L"onParameter v (1, 2, 3)"}},
        {"PARAMETER, \"m\", 1, 2, 3, 4, 5, 6, 7, 8, 9", {L"onParameter m 1 2 3 4 5 6 7 8 9"}},
        {"PARAMETER, \"cld:unit\", \"inches\"\nPARAMETER, \"cld:compensation\", \"center\"\n"
         "PARAMETER, \"cld:origin\", 1, 2, 3\nPARAMETER, \"cld:plane\", 0, -1, 0, 1, 0, 0, 0, 0, 1",
            {L"onContext unit=0 origin=(1, 2, 3) plane=[(0, 1, 0), (-1, 0, 0), (0, 0, 1)]"}},
        {"PARAMETER, \"cld:tool-unit\", \"millimeters\"\nPARAMETER, \"cld:cutter-diameter\", 6.0\n"
         "PARAMETER, \"cld:corner-radius\", 0.5\nPARAMETER, \"cld:taper-angle\", 0.0\n"
         "PARAMETER, \"cld:flute-length\", 20.0",
            {L"onTool number=0 type=0 diameter=6"}},
        // Broken off by an int, a statement or a comment: the parameters as they were, in order.
        {"PARAMETER, \"cld:tool-unit\", \"inches\"\nPARAMETER, \"cld:cutter-diameter\", 6",
            {L"onParameter cld:tool-unit inches", L"onParameter cld:cutter-diameter 6"}},
        {"PARAMETER, \"cld:unit\", \"inches\"\nOPEN", {L"onParameter cld:unit inches", L"onSection"}},
        {"PARAMETER, \"cld:unit\", \"inches\"\n# note\nPARAMETER, \"cld:compensation\", \"tip\"",
            {L"onParameter cld:unit inches", L"onComment note", L"onParameter cld:compensation tip"}},
        // Held to the end of the file.
        {"PARAMETER, \"cld:unit\", \"millimeters\"", {L"onParameter cld:unit millimeters"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(events(c.lines + "\n"), c.events) << c.lines;

    RecordingNCStream recorder;
    readInto(header + cases[8].lines, recorder);
    ASSERT_EQ(recorder.tools.size(), 1u);
    NCTool const& tool = recorder.tools[0];
    EXPECT_EQ(tool.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(std::vector<double>({tool.getCornerRadius(), tool.getTaperAngle(), tool.getFluteLength()}),
        std::vector<double>({0.5, 0.0, 20.0}));
}

TEST(KernelCLDReader, NumbersReadAsTheNearestDoubles)
{
    // Every digit count, point position and exponent, at the start, inside and at the end of a
    // line: each value must be the double from_chars makes of the same text.
    struct LastMove : NCStreamDefaultImpl {
        Vector3D end;
        bool onLinear(Vector3D const& at, double, unsigned int) override { return end = at, true; }
    };
    std::mt19937_64 random(7);
    auto const text = [&random] {
        std::string digits(1 + random() % 24, '0');
        for (char& digit : digits)
            digit = static_cast<char>('0' + random() % 10);
        std::size_t const point = random() % (digits.size() + 2);
        if (point <= digits.size())
            digits.insert(point, ".");
        std::string const sign = random() % 3 == 0 ? "-" : "";
        std::string const exponent = random() % 4 == 0 ? "e" + std::to_string(static_cast<int>(random() % 60) - 30) : "";
        return sign + digits + exponent;
    };
    // Midpoints of two doubles and mantissas about 2^53 and 2^63, where a rounding may go astray.
    std::vector<std::string> fixed = {"9007199254740993", "9007199254740995", "18014398509481986",
        "0.9007199254740993e16", "9223372036854775807", "9223372036854775808", "-1e22", "12345678901234567e-22"};
    for (int k = 54; k < 63; ++k)
        fixed.push_back(std::to_string((std::uint64_t {1} << k) + (std::uint64_t {1} << (k - 53))));
    std::vector<std::array<std::string, 3>> lines;
    for (std::string const& number : fixed)
        lines.push_back({number, "0", number});
    for (int i = 0; i < 3000; ++i)
        lines.push_back({text(), text(), text()});
    for (auto const& numbers : lines) {
        LastMove last;
        ASSERT_TRUE(readInto(header + "GOTO," + numbers[0] + ",\t" + numbers[1] + " , " + numbers[2] + "\n", last));
        double const values[] = {last.end.x, last.end.y, last.end.z};
        for (int k = 0; k < 3; ++k) {
            double expected = 0;
            std::from_chars(numbers[k].data(), numbers[k].data() + numbers[k].size(), expected);
            EXPECT_EQ(std::bit_cast<std::uint64_t>(values[k]), std::bit_cast<std::uint64_t>(expected)) << numbers[k];
        }
    }
}

TEST(KernelCLDReader, MalformedLinesThrowWithTheirNumberAndText)
{
    struct Case {
        std::string text;
        ParseError error;
    } const cases[] = {
        {"", {1, L"Missing header.", L""}},
        {"# http://schema.quarn.dev/namespace/camkernel/format/cl\nOPEN\n", {1, L"Missing header.", name(header.substr(0, header.size() - 2))}},
        {header + "OPEN\n\nFOO, 1\n", {4, L"Unknown statement 'FOO'.", L"FOO, 1"}},
        {header + "goto, 1, 2, 3", {2, L"Unknown statement 'goto'.", L"goto, 1, 2, 3"}},
        {header + ", 1", {2, L"Expected a keyword.", L", 1"}},
        {header + "GOTO 1, 2, 3", {2, L"Missing comma.", L"GOTO 1, 2, 3"}},
        {header + "GOTO, 1 2, 3", {2, L"Missing comma.", L"GOTO, 1 2, 3"}},
        {header + "GROUP, \"a\"b", {2, L"Missing comma.", L"GROUP, \"a\"b"}},
        {header + "GOTO, 1,, 3", {2, L"Missing value.", L"GOTO, 1,, 3"}},
        {header + "GOTO, 1, 2, # x", {2, L"Missing value.", L"GOTO, 1, 2, # x"}},
        {header + "GOTO, 1, 2, 3, 4", {2, L"GOTO takes 3 or 6 values, not 4.", L"GOTO, 1, 2, 3, 4"}},
        {header + "OPEN, 1", {2, L"OPEN takes no values, not 1.", L"OPEN, 1"}},
        {header + "FEEDRATE", {2, L"FEEDRATE takes 1 value, not 0.", L"FEEDRATE"}},
        {header + "ARC, 1, 2, 3", {2, L"ARC takes 9 or 10 values, not 3.", L"ARC, 1, 2, 3"}},
        {header + "TOOLAXIS, 1, 2", {2, L"TOOLAXIS takes 3 values, not 2.", L"TOOLAXIS, 1, 2"}},
        {header + "DWELL, 1, 2, 3", {2, L"DWELL takes 1 or 2 values, not 3.", L"DWELL, 1, 2, 3"}},
        {header + "PARAMETER, \"a\", 1, 2", {2, L"PARAMETER takes 2, 4 or 10 values, not 3.", L"PARAMETER, \"a\", 1, 2"}},
        {header + "GOTO, 1, abc, 3", {2, L"Invalid number 'abc'.", L"GOTO, 1, abc, 3"}},
        {header + "FEEDRATE, inf", {2, L"Invalid number 'inf'.", L"FEEDRATE, inf"}},
        {header + "FEEDRATE, -nan", {2, L"Invalid number '-nan'.", L"FEEDRATE, -nan"}},
        {header + "FEEDRATE, +-1", {2, L"Invalid number '+-1'.", L"FEEDRATE, +-1"}},
        {header + "FEEDRATE, 0x10", {2, L"Invalid number '0x10'.", L"FEEDRATE, 0x10"}},
        {header + "FEEDRATE, 1e", {2, L"Invalid number '1e'.", L"FEEDRATE, 1e"}},
        {header + "FEEDRATE, 1e999", {2, L"Number out of range '1e999'.", L"FEEDRATE, 1e999"}},
        {header + "FEEDRATE, 1e-400", {2, L"Number out of range '1e-400'.", L"FEEDRATE, 1e-400"}},
        {header + "FEEDRATE, " + std::string(50, '7') + "x",
            {2, L"Invalid number '" + std::wstring(40, L'7') + L"...'.", name("FEEDRATE, " + std::string(50, '7') + "x")}},
        {header + "GROUP, \"abc", {2, L"Unterminated string.", L"GROUP, \"abc"}},
        {header + "GROUP, \"abc\\", {2, L"Unterminated string.", L"GROUP, \"abc\\"}},
        {header + "GROUP, \"a\\qb\"", {2, L"Invalid escape '\\q'.", L"GROUP, \"a\\qb\""}},
        {header + "GROUP, \"a\\x4g\"", {2, L"Invalid escape '\\x4g'.", L"GROUP, \"a\\x4g\""}},
        {header + "GROUP, \"a\\x00\"", {2, L"Invalid escape '\\x00'.", L"GROUP, \"a\\x00\""}},
        {header + "GROUP, 5", {2, L"Expected a string.", L"GROUP, 5"}},
        {header + "PARAMETER, 5, 6", {2, L"Expected a string.", L"PARAMETER, 5, 6"}},
        {header + "GOTO, 1, \"2\", 3", {2, L"Expected a number.", L"GOTO, 1, \"2\", 3"}},
        {header + "DWELL, 1, \"seconds\"", {2, L"Expected \"revolutions\".", L"DWELL, 1, \"seconds\""}},
        {header + "COMMAND, 1.5", {2, L"Invalid command '1.5'.", L"COMMAND, 1.5"}},
        {header + "COMMAND, -1", {2, L"Invalid command '-1'.", L"COMMAND, -1"}},
        {header + "COMMAND, 4294967296", {2, L"Invalid command '4294967296'.", L"COMMAND, 4294967296"}},
        {header + std::string("# a\0b", 5), {2, L"NUL byte in line.", std::wstring(L"# a\0b", 5)}},
        // A lone carriage return is not a line end.
        {header + "OPEN\rCLOSE\n", {2, L"Missing comma.", L"OPEN\rCLOSE"}},
        {header + "GROUP, \"\xFF\", 1", {2, L"GROUP takes 1 value, not 2.", L"GROUP, \"\uFFFD\", 1"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(parseError(c.text), c.error) << c.text;
}

TEST(KernelCLDReader, LinesLongerThanTheLimitAreRefusedWithTheirNumber)
{
    std::size_t const limit = KernelCLDReader::MaximumLineLength;
    std::string const longest = "#" + std::string(limit - 1, 'c');
    // At the limit, with either end or none: read; one byte more: refused, in every import form.
    for (std::string const end : {"\n", "\r\n", ""}) {
        RecordingNCStream recorder;
        EXPECT_TRUE(readInto(header + "OPEN\n" + longest + end, recorder)) << end.size();
        EXPECT_EQ(recorder.events[2].size(), std::string("onComment ").size() + limit - 1);
        EXPECT_EQ(parseError(header + "OPEN\n" + longest + "c" + end), (ParseError {3, L"Line too long.", L""}));
    }
    // Read in short pieces, the line straddles many blocks.
    TrickleInputStream source(header + longest + "c\n", 4093);
    KernelCLDReader reader;
    RecordingNCStream recorder;
    reader.setNCStream(&recorder);
    try {
        reader.import(&source);
        ADD_FAILURE() << "no exception";
    } catch (NCParseException const& e) {
        EXPECT_EQ(e.getLine(), 2u);
    }
    MemoryInputStream in(header + longest + "c\n");
    SequentialLineReader lines(&in, 2 * limit);
    try {
        reader.import(lines);
        ADD_FAILURE() << "no exception";
    } catch (NCParseException const& e) {
        EXPECT_EQ(e.getLine(), 2u);
        EXPECT_EQ(e.getMessage(), L"Line too long.");
    }
}

TEST(KernelCLDReader, AllImportFormsAndLineEndsGiveTheSameEvents)
{
    std::string const program = "OPEN\nFEEDRATE, 10\nGOTO, 1, 2, 3\n# note\nGROUP, \"g\\r\"\nGROUP_END\nCLOSE";
    RecordingNCStream expected;
    ASSERT_TRUE(readInto(header + program, expected));

    std::string crlf = header + program + "\n";
    for (std::size_t at = 0; (at = crlf.find('\n', at)) != std::string::npos; at += 2)
        crlf.insert(at, "\r");
    for (std::size_t chunk : {std::size_t {1}, std::size_t {7}, crlf.size()}) {
        TrickleInputStream source(crlf, chunk);
        KernelCLDReader reader;
        RecordingNCStream recorder;
        reader.setNCStream(&recorder);
        EXPECT_TRUE(reader.import(&source));
        EXPECT_EQ(recorder.events, expected.events) << chunk;
    }
    MemoryInputStream in(header + program);
    SequentialLineReader lines(&in);
    KernelCLDReader reader;
    RecordingNCStream recorder;
    reader.setNCStream(&recorder);
    EXPECT_TRUE(reader.import(lines));
    EXPECT_EQ(recorder.events, expected.events);
}

TEST(KernelCLDReader, RefusalOfAnyEventStopsTheReplay)
{
    std::string const program = header
        + "# c\nOPEN\nPARAMETER, \"cld:unit\", \"inches\"\nPARAMETER, \"cld:compensation\", \"tip\"\n"
          "PARAMETER, \"cld:origin\", 0, 0, 0\nPARAMETER, \"cld:plane\", 1, 0, 0, 0, 1, 0, 0, 0, 1\n"
          "PARAMETER, \"cld:tool-unit\", \"inches\"\nPARAMETER, \"cld:cutter-diameter\", 1.0\n"
          "PARAMETER, \"cld:corner-radius\", 0.0\nPARAMETER, \"cld:taper-angle\", 0.0\n"
          "PARAMETER, \"cld:flute-length\", 2.0\nPARAMETER, \"i\", 1\nPARAMETER, \"t\", \"x\"\n"
          "PARAMETER, \"d\", 1.5\nPARAMETER, \"v\", 1, 2, 3\nTOOLAXIS, 0, 0, 1\nturnFarmTestInsert, 1\n"
          "GROUP, \"g\"\nDWELL, 1\nCOMMAND, 1\nRAPID\nGOTO, 1, 2, 3\nGOTO, 1, 2, 3, 0, 0, 1\nCUTTING\n"
          "GOTO, 1, 2, 4\nGOTO, 1, 2, 5, 0, 0, 1\nARC, 1, 2, 6, 0, 0, 0, 0, 0, 1\n"
          "ARC, 1, 2, 7, 0, 0, 0, 0, 0, -1\nARC, 1, 2, 7, 0, 0, 0, 0, 0, 1\nARC, 1, 2, 7, 0, 0, 0, 0, 0, -1\n"
          "ARC, 1, 2, 8, 0, 0, 0, 0, 0, 1, 1\nGROUP_END\nCLOSE\n";
    RecordingNCStream all;
    ASSERT_TRUE(readInto(program, all));
    auto const names = all.names();
    for (wchar_t const* kind : {L"onContext", L"onTool", L"onCCWCircle", L"onCWCircle", L"onCircular", L"onRapid5D"})
        EXPECT_NE(std::find(names.begin(), names.end(), kind), names.end()) << kind;
    for (std::size_t i = 0; i < names.size(); ++i) {
        int const occurrence = static_cast<int>(std::count(names.begin(), names.begin() + i + 1, names[i]));
        RecordingNCStream recorder;
        recorder.stopAt(names[i], occurrence);
        EXPECT_FALSE(readInto(program, recorder)) << i;
        EXPECT_EQ(recorder.events.size(), i + 1) << "the reader goes on after a refused " << i;
    }
}

TEST(KernelCLDReader, AbortStopsBeforeTheNextLine)
{
    EXPECT_EQ(namesWhenAbortedAt<KernelCLDReader>(L"onSection", header + "OPEN\nCLOSE\n"),
        (std::vector<std::wstring> {L"onOpen", L"onSection"}));
    AbortableImpl aborted;
    aborted.abort();
    KernelCLDReader reader;
    RecordingNCStream recorder;
    reader.setAbortable(&aborted);
    reader.setNCStream(&recorder);
    MemoryInputStream in(header);
    EXPECT_FALSE(reader.import(&in)) << "aborted before the header";
    EXPECT_TRUE(recorder.events.empty());
}

TEST(KernelCLDReader, IsValidWhenTheFirstLineIsTheHeader)
{
    std::string const bare = KernelCLDReader::getHeader();
    struct Case {
        std::string bytes;
        bool valid;
    } const cases[] = {
        {bare + "\nOPEN\n", true}, {bare + "\r\nOPEN\n", true}, {bare, true}, {bare + "\r", false},
        {bare + " \n", false}, {bare.substr(0, 20), false}, {"", false}, {"\xEF\xBB\xBF" + bare + "\n", false},
    };
    KernelCLDReader reader;
    for (Case const& c : cases) {
        TemporaryFile file;
        std::ofstream(file.path, std::ios::binary) << c.bytes;
        EXPECT_EQ(reader.isValid(file.name()), c.valid) << c.bytes;
    }
    EXPECT_FALSE(reader.isValid(L"/nonexistent/file.cld"));
    EXPECT_EQ(reader.getUri(), L"http://www.quarn.dev/namespace/nc/format/simplified-cld");
    EXPECT_TRUE(reader.isIntermediateFormat());
    EXPECT_TRUE(reader.getPassOnComments());
}
