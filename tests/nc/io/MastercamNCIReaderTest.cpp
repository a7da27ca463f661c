// MastercamNCIReader: tool changes and their sections, moves, arcs, five-axis moves, drill cycles,
// comments and text records, unknown codes, line ends, errors with their lines, stopping and isValid.
// Every NCI text here is synthetic: written for these tests after the record layouts the reader
// documents, with numbers spelled as the CAM system spells them; no file of the system is used.
#include "nc/nc/io/MastercamNCIReader.h"

#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCParseException.h"
#include "tests/support/ReaderTesting.h"
#include "tests/support/RecordingNCStream.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <numbers>
#include <optional>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

// Synthetic header and first tool change (tool 1, 2500 rpm clockwise, feed 10., flood): lines 1-4.
std::string const header = R"nci(1050
9. 0. 6. 21. 2024. 10. 30. 15. C:\JOBS\BRACKET 2\BRACKET.NCI
)nci";
std::string const firstToolValues = "0 100 2 1 21 1 0 2500 10. 1 0. 0. 1. 0. 0. 10. 0 0.";
std::string const firstTool = "1001\n" + firstToolValues + "\n";
std::string const end = "1003\n0. 0. 0.\n";

constexpr unsigned int cut = 131072; // MOVEMENT_CUTTING in the flags
constexpr unsigned int absolute = NCStream::FLAG_ABSOLUTE_DIRECTION;

struct Options {
    bool comments = true;
    bool expand = false;
};

bool readInto(std::string const& text, NCStream& target, Options options = {}, MastercamNCIReader* used = nullptr)
{
    MemoryInputStream in(text);
    MastercamNCIReader own;
    MastercamNCIReader& reader = used != nullptr ? *used : own;
    reader.setNCStream(&target);
    reader.setPassOnComments(options.comments);
    reader.setExpandCycles(options.expand);
    return reader.import(&in);
}

std::wstring wide(std::string const& text) { return Unicode::fromUTF8(text); }
std::wstring number(double value) { return NumberFormat::toWString(value); }
// The event of a parameter of the reader's namespace, up to its value.
std::wstring parameter(std::string_view shortName)
{
    return L"onParameter " + wide(MastercamNCIReader::getParameterName(shortName)) + L" ";
}
bool startsWith(std::wstring const& text, std::wstring const& start) { return text.starts_with(start); }

// The events between the first tool change's text parameter and the end of its section, without
// the end record's text.
std::vector<std::wstring> body(std::vector<std::wstring> all)
{
    std::erase_if(all, [](auto const& e) { return startsWith(e, parameter("end-of-file")); });
    auto const from = std::find_if(all.begin(), all.end(), [](auto const& e) {
        return startsWith(e, parameter("first-tool-change"));
    });
    if (from == all.end()) {
        ADD_FAILURE() << "no first tool change";
        return {};
    }
    auto to = all.end();
    while (to > from + 1 && (to[-1] == L"onClose" || to[-1] == L"onSectionEnd"))
        --to;
    return {from + 1, to};
}

std::vector<std::wstring> events(std::string const& records, Options options = {}, std::string const& tool = firstTool)
{
    RecordingNCStream recorder;
    EXPECT_TRUE(readInto(header + tool + records + end, recorder, options));
    return body(recorder.events);
}

std::vector<std::wstring> without(std::vector<std::wstring> list, std::vector<std::wstring> const& starts)
{
    std::erase_if(list, [&](auto const& e) {
        return std::any_of(starts.begin(), starts.end(), [&](auto const& s) { return startsWith(e, s); });
    });
    return list;
}

struct ParseError {
    unsigned int line = 0;
    std::wstring message;
    std::optional<std::wstring> detail; // compared only when given
    bool operator==(ParseError const& other) const
    {
        return line == other.line && message == other.message
            && (!detail || !other.detail || *detail == *other.detail);
    }
    friend std::ostream& operator<<(std::ostream& out, ParseError const& e)
    {
        return out << e.line << ": " << Unicode::toUTF8(e.message) << " [" << Unicode::toUTF8(e.detail.value_or(L"-"))
                   << "]";
    }
};

ParseError parseError(std::string const& text, RecordingNCStream& recorder, Options options = {})
{
    try {
        readInto(text, recorder, options);
    } catch (NCParseException const& e) {
        return {e.getLine().value_or(0), e.getMessage(), e.getDetail()};
    }
    return {0, L"no exception", L""};
}

std::string crlf(std::string text)
{
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.insert(at, "\r");
    return text;
}

// A synthetic program that makes the reader send every kind of event it sends.
std::string const everything = header + R"nci(1005
PROGRAM START
77
1 2 3
1014
1. 0. 0. 0. 1. 0. 0. 0. 1.
)nci" + firstTool + R"nci(0
0 1. 0. .5 -1. 0
1
10041 1. 0. 0. 5. 1000
2
0 0 0. -1. 0. 0. 0. -1. 0
3
0 0 1. 0. 0. 0. 0. -1. 0
2
0 0 1. 0. 0. 0. 0. -1. 0 1
3
0 0 1. 0. 0. 0. 0. -1. 0 1
3
0 0 1. 0. 0. 0. -.1 -1. 0 1
1004

11
1. 2. 3. 1. 2. 5. 20. 7 0 0. 0. 1.
11
1. 2. 4. 1. 2. 5. -2. 7 0
4
1.5 1200.
81
0 1. 2. -.5 0. 5. 0. 0. 0. 0. 1. .1 0. 0. 1. 2. 0. 0 0
100
0 3. 2. -.75 1. .1 0. 5. 3. 2. 0. 0 0
80
0
1002
0 200 2 2 22 2 0 -1800 6. 2 1. 2. 1. 0. 0. 10. 0 0.
1
0 1. 2. .5 -1. 0
)nci" + end;

// A drill cycle line: the cycle type and dwell as given; the hole (1, 2, -.5) to (1, 2, 0), feed
// 5., pecks .2 and .15, peck clearance .05, clearance height 1., reference height .1, shift .02.
std::string cycleValues(unsigned int type, std::string const& dwell, bool reverse = false)
{
    std::string const bottom = reverse ? "1. 2. 0. " : "1. 2. -.5 ";
    std::string const top = reverse ? "1. 2. -.5 " : "1. 2. 0. ";
    return std::to_string(type) + " " + bottom + dwell + " 5. .2 .15 .05 0. 1. .1 0. .02 " + top + "0 "
        + (reverse ? "1" : "0");
}
std::string cycle(unsigned int type, std::string const& dwell, bool reverse = false)
{
    return "81\n" + cycleValues(type, dwell, reverse) + "\n";
}
// A further hole (3, 2, -.5) to (3, 2, 0) of the same cycle.
std::string holeValues(std::string const& dwell) { return "0 3. 2. -.5 1. .1 " + dwell + " 5. 3. 2. 0. 0 0"; }
std::string hole(std::string const& dwell) { return "100\n" + holeValues(dwell) + "\n"; }

NCCycleDefinition definition(NCCycle::Cycle which, double dwell)
{
    NCCycleDefinition result(which);
    double const values[] = {1, .1, .5, .2, .15, .05, dwell, 5, .02};
    for (unsigned int v = 0; v < NCCycleDefinition::VALUE_COUNT; ++v)
        result.setValue(static_cast<NCCycleDefinition::Value>(v), values[v]);
    return result;
}

std::vector<std::wstring> const drillTexts = {parameter("drill-cycle"), parameter("drill-hole")};

} // namespace

TEST(MastercamNCIReader, NamesAndToolTypes)
{
    MastercamNCIReader reader;
    EXPECT_EQ(reader.getUri(), L"http://www.quarn.dev/namespace/nc/format/mastercam-ascii-nci");
    EXPECT_EQ(MastercamNCIReader::getParameterName("stock"),
        "http://www.quarn.dev/namespace/nc/parameter/mastercam-nci/stock");
    EXPECT_TRUE(reader.isIntermediateFormat());
    EXPECT_TRUE(reader.getPassOnComments());
    EXPECT_FALSE(reader.getExpandCycles());
    EXPECT_EQ(reader.getUnit(), NCUnit::INCHES);

    using T = ToolGeometry;
    T::Type const expected[] = {T::UNDEFINED, T::CENTER_DRILL, T::SPOT_DRILL, T::DRILL, T::RIGHT_HAND_TAP,
        T::LEFT_HAND_TAP, T::REAMER, T::BORING_BAR, T::COUNTER_BORE, T::COUNTER_SINK, T::FLAT_END_MILL,
        T::BALL_END_MILL, T::BULLNOSE_END_MILL, T::CHAMFER_MILL, T::FACE_MILL, T::SLOT_MILL, T::RADIUS_MILL,
        T::DOVETAIL_MILL, T::TAPERED_MILL, T::LOLLIPOP_MILL, T::ENGRAVING_TOOL, T::DRILL, T::DRILL, T::UNDEFINED};
    for (unsigned int type = 0; type < std::size(expected); ++type)
        EXPECT_EQ(MastercamNCIReader::getToolTypeFromMastercamToolType(type), expected[type]) << type;
    for (unsigned int type : {24u, 100u, 1000000u, UINT_MAX})
        EXPECT_EQ(MastercamNCIReader::getToolTypeFromMastercamToolType(type), T::UNDEFINED) << type;
}

TEST(MastercamNCIReader, IsValidWhenTheFirstLineIsTheHeaderCode)
{
    struct Case {
        std::string bytes;
        bool valid;
    } const cases[] = {
        {"1050\n9. 0.\n", true}, {"1050\r\n9. 0.\r\n", true}, {" 1050 \n", true}, {"1050", true},
        {"1051\n9. 0.\n", false}, {"10500\n", false}, {"NCI FILE\n1050\n", false}, {"\n1050\n", false},
        {"", false}, {"M48\n", false}, {"%\n", false},
    };
    MastercamNCIReader reader;
    for (Case const& c : cases) {
        TemporaryFile file;
        std::ofstream(file.path, std::ios::binary) << c.bytes;
        EXPECT_EQ(reader.isValid(file.name()), c.valid) << c.bytes;
    }
    TemporaryFile missing;
    EXPECT_FALSE(reader.isValid(missing.name()));
    EXPECT_FALSE(reader.isValid(std::filesystem::temp_directory_path().wstring())) << "a directory";
}

TEST(MastercamNCIReader, ToolChangesOpenSectionsWithTheirContextAndTool)
{
    // A synthetic inch mill program with two tools and a null tool change, each preceded by the
    // records that precede an operation.
    std::string const program = header + R"nci(1020
0. 0. 0. 4. 3. 1. 0. 0. 0. 0. 0. 0. 1 ALUMINUM inch - 6061
1008
FACE TOP
20001
1/2 FLAT ENDMILL
20004
1 10 0 0 .49 .01 0. 0. 1 1 12.5 6.25 50. 2500 1 4
10001
0.25
10002

10003
ROUGH FACE PASS 1
1013
0 .5 .02 0 0 0. 0. 0. 0 C:\TOOLS\INCH LIB\MILL_INCH.TOOLDB
1011
0. 0. 0. 0. 0. 0. 0. 0. 0. 0.
1012
0 0 0 0 0 0 0 0 0 0
1016
0 0 0 0 0. 0. 0. 0 0 0 0 0 0. 0 0 0 0
1014
0. 1. 0. -1. 0. 0. 0. 0. 1.
1017
1. 0. 0. 0. 1. 0. 0. 0. 1.
1027
1. 0. 0. 0. 1. 0. 0. 0. 1. 5. 6. 7.
1001
0 100 2 1 21 1 0 2500 12.5 1 0. 0. 1. 0. 0. 10. 0 0.
0
0 -1. 0. .1 -1. 0
1
0 -1. 0. -.05 5. 1000
1
41 3. 0. -.05 -1. 2000
1
140 3. 1. -.05 -1. 100
0
0 3. 1. 1. -1. 0
1008
DRILL HOLES
20001
3/8 DRILL
20004
2 3 0 0 .375 0. 118. 0. 2 2 6. 3. 20. 1800 2 2
1013
0 .375 0. 0 0 0. 0. 0. 0 C:\TOOLS\INCH LIB\DRILL_INCH.TOOLDB
1014
1. 0. 0. 0. 1. 0. 0. 0. 1.
1027
0. -1. 0. 1. 0. 0. 0. 0. 1. -2. 0. .5
1002
0 200 2 2 22 2 0 -1800 6. 2 1. 2. 1. 0. 0. 10. 0 0.
1
0 1. 2. .5 -1. 0
1000
0 300 2 2 22 2 0 -1800 4. 0 1. 2. 1. 0. 0. 10. 0 0.
1
0 1. 2. .25 -1. 0
1003
0. 0. 0.
)nci";
    RecordingNCStream recorder;
    ASSERT_TRUE(readInto(program, recorder));
    std::wstring const firstContext = L"onContext unit=0 origin=(0, 0, 0) plane=[(0, 1, 0), (-1, 0, 0), (0, 0, 1)]";
    std::wstring const context = L"onContext unit=0 origin=(0, 0, 0) plane=[(1, 0, 0), (0, 1, 0), (0, 0, 1)]";
    std::vector<std::wstring> const expected = {
        L"onOpen",
        parameter("version") + L"9. 0. 6. 21. 2024. 10. 30. 15. C:\\JOBS\\BRACKET 2\\BRACKET.NCI",
        parameter("stock") + L"0. 0. 0. 4. 3. 1. 0. 0. 0. 0. 0. 0. 1 ALUMINUM inch - 6061",
        L"onComment FACE TOP",
        parameter("20001") + L"1/2 FLAT ENDMILL",
        parameter("20004") + L"1 10 0 0 .49 .01 0. 0. 1 1 12.5 6.25 50. 2500 1 4",
        parameter("10001") + L"0.25",
        parameter("10002"),
        parameter("10003") + L"ROUGH FACE PASS 1",
        parameter("tool-parameters") + L"0 .5 .02 0 0 0. 0. 0. 0 C:\\TOOLS\\INCH LIB\\MILL_INCH.TOOLDB",
        parameter("misc-reals") + L"0. 0. 0. 0. 0. 0. 0. 0. 0. 0.",
        parameter("misc-integers") + L"0 0 0 0 0 0 0 0 0 0",
        parameter("misc-parameters") + L"0 0 0 0 0. 0. 0. 0 0 0 0 0 0. 0 0 0 0",
        parameter("tool-plane") + L"0. 1. 0. -1. 0. 0. 0. 0. 1.",
        parameter("construction-plane") + L"1. 0. 0. 0. 1. 0. 0. 0. 1.",
        parameter("work-coordinate-system") + L"1. 0. 0. 0. 1. 0. 0. 0. 1. 5. 6. 7.",
        firstContext,
        L"onTool number=1 type=5 diameter=0.5",
        L"onSection",
        parameter("first-tool-change") + L"0 100 2 1 21 1 0 2500 12.5 1 0. 0. 1. 0. 0. 10. 0 0.",
        L"onRapid (-1, 0, 0.1) 0",
        parameter("contour-flags") + L"1000",
        L"onLinear (-1, 0, -0.05) 5 131072",
        parameter("contour-flags") + L"2000",
        L"onLinear (3, 0, -0.05) 5 131200",
        parameter("contour-flags") + L"100",
        L"onLinear (3, 1, -0.05) 5 131072",
        parameter("contour-flags") + L"0",
        L"onRapid (3, 1, 1) 0",
        // What describes the next operation ends the section before it.
        L"onSectionEnd",
        L"onComment DRILL HOLES",
        parameter("20001") + L"3/8 DRILL",
        parameter("20004") + L"2 3 0 0 .375 0. 118. 0. 2 2 6. 3. 20. 1800 2 2",
        parameter("tool-parameters") + L"0 .375 0. 0 0 0. 0. 0. 0 C:\\TOOLS\\INCH LIB\\DRILL_INCH.TOOLDB",
        parameter("tool-plane") + L"1. 0. 0. 0. 1. 0. 0. 0. 1.",
        parameter("work-coordinate-system") + L"0. -1. 0. 1. 0. 0. 0. 0. 1. -2. 0. .5",
        context,
        L"onTool number=2 type=1 diameter=0.375",
        L"onSection",
        parameter("tool-change") + L"0 200 2 2 22 2 0 -1800 6. 2 1. 2. 1. 0. 0. 10. 0 0.",
        L"onLinear (1, 2, 0.5) 6 131072",
        L"onSectionEnd",
        context,
        L"onTool number=2 type=1 diameter=0.375",
        L"onSection",
        parameter("null-tool-change") + L"0 300 2 2 22 2 0 -1800 4. 0 1. 2. 1. 0. 0. 10. 0 0.",
        L"onLinear (1, 2, 0.25) 4 131072",
        parameter("end-of-file") + L"0. 0. 0.",
        L"onSectionEnd",
        L"onClose",
    };
    EXPECT_EQ(recorder.events, expected);

    ASSERT_EQ(recorder.contexts.size(), 3u);
    Matrix3x3 const wcs2({0, -1, 0}, {1, 0, 0}, {0, 0, 1});
    for (std::size_t i = 0; i < 3; ++i) {
        NCContext const& c = recorder.contexts[i];
        EXPECT_EQ(c.getUnit(), NCUnit::INCHES) << i;
        // The 1014 rows are the plane's axes: its first three values are the x axis.
        EXPECT_EQ(c.getPlane(), i == 0 ? Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}) : Matrix3x3()) << i;
        EXPECT_EQ(c.getWCSPlane(), i == 0 ? Matrix3x3() : wcs2) << i;
        EXPECT_EQ(c.getWCSOrigin(), i == 0 ? Vector3D(5, 6, 7) : Vector3D(-2, 0, .5)) << i;
    }
    struct ToolCase {
        unsigned int number, diameterOffset, lengthOffset;
        double diameter, cornerRadius, rpm;
        bool clockwise;
        NCTool::Coolant coolant;
        std::wstring description;
        ToolGeometry::Type type;
    } const tools[] = {
        {1, 21, 1, .5, .02, 2500, true, NCTool::COOLANT_FLOOD, L"1/2 FLAT ENDMILL", ToolGeometry::FLAT_END_MILL},
        {2, 22, 2, .375, 0, 1800, false, NCTool::COOLANT_MIST, L"3/8 DRILL", ToolGeometry::DRILL},
        {2, 22, 2, .375, 0, 1800, false, NCTool::COOLANT_NONE, L"3/8 DRILL", ToolGeometry::DRILL},
    };
    ASSERT_EQ(recorder.tools.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        NCTool const& tool = recorder.tools[i];
        ToolCase const& want = tools[i];
        EXPECT_EQ(tool.getNumber(), want.number) << i;
        EXPECT_EQ(tool.getDiameterOffset(), want.diameterOffset) << i;
        EXPECT_EQ(tool.getLengthOffset(), want.lengthOffset) << i;
        EXPECT_EQ(tool.getDiameter(), want.diameter) << i;
        EXPECT_EQ(tool.getCornerRadius(), want.cornerRadius) << i;
        EXPECT_EQ(tool.getSpindleRPM(), want.rpm) << i;
        EXPECT_EQ(tool.getSpindleDirection(), want.clockwise) << i;
        EXPECT_EQ(tool.getCoolant(), want.coolant) << i;
        EXPECT_EQ(tool.getDescription(), want.description) << i;
        EXPECT_EQ(tool.getType(), want.type) << i;
        EXPECT_EQ(tool.getUnit(), NCUnit::INCHES) << i;
    }
}

TEST(MastercamNCIReader, ContextsAndToolsWithoutTheirRecords)
{
    // Without 1013 the 20004 gives the diameter and corner radius; without 1014 the 1017 gives
    // the plane; the unit is the reader's.
    std::string const program = header + R"nci(20004
7 12 0 0 .25 .03 0. 0. 7 7 12.5 6.25 50. 2500 1 4
1017
0. 0. 1. 1. 0. 0. 0. 1. 0.
)nci" + firstTool + end;
    RecordingNCStream recorder;
    MastercamNCIReader reader;
    reader.setUnit(NCUnit::MILLIMETERS);
    ASSERT_TRUE(readInto(program, recorder, {}, &reader));
    ASSERT_EQ(recorder.tools.size(), 1u);
    EXPECT_EQ(recorder.tools[0].getDiameter(), .25);
    EXPECT_EQ(recorder.tools[0].getCornerRadius(), .03);
    EXPECT_EQ(recorder.tools[0].getType(), ToolGeometry::BULLNOSE_END_MILL);
    EXPECT_EQ(recorder.tools[0].getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(recorder.tools[0].getDescription(), L"");
    ASSERT_EQ(recorder.contexts.size(), 1u);
    EXPECT_EQ(recorder.contexts[0].getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(recorder.contexts[0].getPlane(), Matrix3x3({0, 0, 1}, {1, 0, 0}, {0, 1, 0}));

    // A move before the first operation opens a section with a tool without a number.
    RecordingNCStream early;
    ASSERT_TRUE(readInto(header + "0\n0 1. 2. 3. -1. 0\n" + end, early));
    EXPECT_EQ(early.names(), (std::vector<std::wstring> {L"onOpen", L"onParameter", L"onContext", L"onTool",
                                 L"onSection", L"onRapid", L"onParameter", L"onSectionEnd", L"onClose"}));
    ASSERT_EQ(early.tools.size(), 1u);
    EXPECT_EQ(early.tools[0].getNumber(), 0u);

    // Operation records after moves end the section; moves without a tool change after them go on
    // with the last tool in a section of their own.
    RecordingNCStream resumed;
    ASSERT_TRUE(readInto(header + firstTool + "0\n0 1. 2. 3. -1. 0\n10001\nX\n0\n0 1. 2. 4. -1. 0\n" + end, resumed));
    EXPECT_EQ(without(resumed.names(), {L"onParameter"}),
        (std::vector<std::wstring> {L"onOpen", L"onContext", L"onTool", L"onSection", L"onRapid", L"onSectionEnd",
            L"onContext", L"onTool", L"onSection", L"onRapid", L"onSectionEnd", L"onClose"}));
    ASSERT_EQ(resumed.tools.size(), 2u);
    EXPECT_EQ(resumed.tools[1].getNumber(), 1u);
}

TEST(MastercamNCIReader, LinearMovesFeedratesCompensationAndMoveParameters)
{
    std::wstring const contour = parameter("contour-flags"), canned = parameter("canned-text-number");
    struct Case {
        std::string records;
        std::vector<std::wstring> events;
    } const cases[] = {
        {"0\n0 1. 2. 3. -1. 0\n", {L"onRapid (1, 2, 3) 0"}},
        {"1\n0 1. 2. 3. 25. 0\n", {L"onLinear (1, 2, 3) 25 131072"}},
        // -1 keeps the tool change's feedrate, then the last one given; -2 is a rapid.
        {"1\n0 1. 2. 3. -1. 0\n", {L"onLinear (1, 2, 3) 10 131072"}},
        {"1\n0 1. 0. 0. 25. 0\n1\n0 2. 0. 0. -1. 0\n1\n0 3. 0. 0. -2. 0\n1\n0 4. 0. 0. -1. 0\n",
            {L"onLinear (1, 0, 0) 25 131072", L"onLinear (2, 0, 0) 25 131072", L"onRapid (3, 0, 0) 0",
                L"onLinear (4, 0, 0) 25 131072"}},
        // Numbers as the system writes them; an integer may be written as a real without fraction.
        {"1\n0 1069 -3.876529 -0. .5 0\n", {L"onLinear (1069, -3.876529, -0) 0.5 131072"}},
        {"1\n0 -3.876529e-2 1. 0. 5. 0\n", {L"onLinear (-0.03876529, 1, 0) 5 131072"}},
        {"1\n41. 1. 2. 3. 5. 1000.\n", {contour + L"1000", L"onLinear (1, 2, 3) 5 131200"}},
        {" 1 \n  0 1. 2.  3. 5. 0 \n", {L"onLinear (1, 2, 3) 5 131072"}},
        // Compensation: 0 keeps the side, 40 and 140 cancel.
        {"1\n41 1. 0. 0. 5. 0\n1\n0 2. 0. 0. -1. 0\n1\n40 3. 0. 0. -1. 0\n1\n42 4. 0. 0. -1. 0\n"
         "1\n0 5. 0. 0. -1. 0\n1\n140 6. 0. 0. -1. 0\n1\n0 7. 0. 0. -1. 0\n0\n42 8. 0. 0. -1. 0\n",
            {L"onLinear (1, 0, 0) 5 131200", L"onLinear (2, 0, 0) 5 131200", L"onLinear (3, 0, 0) 5 131072",
                L"onLinear (4, 0, 0) 5 131328", L"onLinear (5, 0, 0) 5 131328", L"onLinear (6, 0, 0) 5 131072",
                L"onLinear (7, 0, 0) 5 131072", L"onRapid (8, 0, 0) 256"}},
        {"1\n42 1. 0. 0. 5. 0\n1004\n\n1\n0 2. 0. 0. -1. 0\n",
            {L"onLinear (1, 0, 0) 5 131328", L"onRadiusCompensation 0", L"onLinear (2, 0, 0) 5 131072"}},
        // Canned text rides on the compensation as value x 1000; parameters only when they change.
        {"1\n10041 1. 0. 0. 5. 0\n1\n41 2. 0. 0. -1. 0\n1\n20000 3. 0. 0. -1. 0\n1\n20042 4. 0. 0. -1. 0\n",
            {canned + L"10", L"onLinear (1, 0, 0) 5 131200", canned + L"0", L"onLinear (2, 0, 0) 5 131200",
                canned + L"20", L"onLinear (3, 0, 0) 5 131200", L"onLinear (4, 0, 0) 5 131328"}},
        {"1\n0 1. 0. 0. 5. 1000\n1\n0 2. 0. 0. -1. 1000\n1\n0 3. 0. 0. -1. 100\n0\n0 4. 0. 0. -1. 0\n",
            {contour + L"1000", L"onLinear (1, 0, 0) 5 131072", L"onLinear (2, 0, 0) 5 131072", contour + L"100",
                L"onLinear (3, 0, 0) 5 131072", contour + L"0", L"onRapid (4, 0, 0) 0"}},
        // Values beyond the template travel as text before the move.
        {"1\n0 1. 2. 3. 5. 0 7 x.y\n", {parameter("extra-values") + L"7 x.y", L"onLinear (1, 2, 3) 5 131072"}},
        {"4\n1.5 1200.\n4\n2. 1200.\n4\n.5 0.\n",
            {parameter("dwell-spindle-speed") + L"1200", L"onDwell 1.5 0", L"onDwell 2 0",
                parameter("dwell-spindle-speed") + L"0", L"onDwell 0.5 0"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(events(c.records), c.events) << c.records;
}

TEST(MastercamNCIReader, ArcsInEveryPlaneWithAbsoluteCentresAtTheStartHeight)
{
    // From (1, 0, .5) in XY; from (.5, 1, 0) in YZ; from (1, .5, 0) in XZ.
    std::string const xy = "1\n0 1. 0. .5 5. 0\n", yz = "1\n0 .5 1. 0. 5. 0\n", xz = "1\n0 1. .5 0. 5. 0\n";
    std::wstring const turn = number(2 * std::numbers::pi);
    struct Case {
        std::string records;
        std::wstring event;
    } const cases[] = {
        {xy + "2\n0 0 0. -1. 0. 0. .5 -1. 0\n", L"onCWArc (0, 0, 0.5) (0, -1, 0.5) (0, 0, 1) 5 131072"},
        {xy + "3\n0 0 0. 1. 0. 0. .5 -1. 0\n", L"onCCWArc (0, 0, 0.5) (0, 1, 0.5) (0, 0, 1) 5 131072"},
        {yz + "2\n1 0 0. -1. 0. 0. .5 -1. 0\n", L"onCWArc (0.5, 0, 0) (0.5, 0, -1) (1, 0, 0) 5 131072"},
        {yz + "3\n1 0 0. 1. 0. 0. .5 -1. 0\n", L"onCCWArc (0.5, 0, 0) (0.5, 0, 1) (1, 0, 0) 5 131072"},
        {xz + "2\n2 0 0. 1. 0. 0. .5 -1. 0\n", L"onCWArc (0, 0.5, 0) (0, 0.5, 1) (0, 1, 0) 5 131072"},
        {xz + "3\n2 0 0. -1. 0. 0. .5 -1. 0\n", L"onCCWArc (0, 0.5, 0) (0, 0.5, -1) (0, 1, 0) 5 131072"},
        // A helix: the centre stays at the start's height; the feedrate and compensation as given.
        {xy + "2\n0 41 0. -1. 0. 0. -.5 7.5 0\n", L"onCWArc (0, 0, 0.5) (0, -1, -0.5) (0, 0, 1) 7.5 131200"},
        {yz + "3\n1 42 0. 1. 0. 0. 1.5 -1. 0\n", L"onCCWArc (0.5, 0, 0) (1.5, 0, 1) (1, 0, 0) 5 131328"},
        // Full circles: by the full-circle value, or without it by an end equal to the start.
        {xy + "2\n0 0 1. 0. 0. 0. .5 -1. 0 1\n", L"onCWCircle (0, 0, 0.5) (1, 0, 0.5) (0, 0, 1) 5 131072"},
        {xy + "3\n0 0 1. 0. 0. 0. .5 -1. 0\n", L"onCCWCircle (0, 0, 0.5) (1, 0, 0.5) (0, 0, 1) 5 131072"},
        {xz + "3\n2 0 1. 0. 0. 0. .5 -1. 0 1\n", L"onCCWCircle (0, 0.5, 0) (1, 0.5, 0) (0, 1, 0) 5 131072"},
        {xy + "2\n0 0 0. -1. 0. 0. .5 -1. 0 0\n", L"onCWArc (0, 0, 0.5) (0, -1, 0.5) (0, 0, 1) 5 131072"},
        // A full helix turn.
        {xy + "3\n0 0 1. 0. 0. 0. -.5 -1. 0 1\n",
            L"onCircular (0, 0, 0.5) (1, 0, -0.5) (0, 0, 1) " + turn + L" 5 131072"},
        {xy + "3\n0 0 1. 0. 0. 0. -.5 -1. 0\n",
            L"onCircular (0, 0, 0.5) (1, 0, -0.5) (0, 0, 1) " + turn + L" 5 131072"},
        {xy + "2\n0 0 1. 0. 0. 0. 1.5 -1. 0 1\n",
            L"onCircular (0, 0, 0.5) (1, 0, 1.5) (0, 0, 1) -" + turn + L" 5 131072"},
    };
    for (Case const& c : cases) {
        auto const all = events(c.records);
        ASSERT_EQ(all.size(), 2u) << c.records;
        EXPECT_EQ(all.back(), c.event) << c.records;
    }
    // The end of an arc is the start of the next one.
    EXPECT_EQ(events(xy + "2\n0 0 0. -1. 0. 0. 0. -1. 0\n3\n0 0 -1. -2. 0. -2. -1. -1. 0\n").back(),
        L"onCCWArc (0, -2, 0) (-1, -2, -1) (0, 0, 1) 5 131072");
}

TEST(MastercamNCIReader, FiveAxisMovesCarryTheUnitToolAxis)
{
    struct Recorder5D : RecordingNCStream {
        std::vector<Vector3D> axes;
        bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
        {
            axes.push_back(direction);
            return RecordingNCStream::onLinear5D(end, direction, feedrate, flags);
        }
        bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
        {
            axes.push_back(direction);
            return RecordingNCStream::onRapid5D(end, direction, flags);
        }
    } recorder;
    ASSERT_TRUE(readInto(header + firstTool + R"nci(11
1. 2. 3. 1. 2. 5. 20. 0 0
11
1. 2. 3. 1. 5. 7. -1. 7 1000 0. .6 .8
11
1. 2. 3. 4. 2. 7. -2. 7 0
11
1. 2. 3. 1. 2. 3.5 -1. 0 0
)nci" + end,
        recorder));
    auto const moves = body(recorder.events);
    std::vector<std::wstring> const expected = {
        L"onLinear5D (1, 2, 3) (0, 0, 1) 20 " + std::to_wstring(cut | absolute),
        parameter("contour-flags") + L"1000",
        parameter("five-axis-value") + L"7",
        parameter("surface-normal") + L"(0, 0.6, 0.8)",
        L"onLinear5D (1, 2, 3) " + recorder.axes.at(1).getAsString() + L" 20 " + std::to_wstring(cut | absolute),
        parameter("contour-flags") + L"0",
        L"onRapid5D (1, 2, 3) " + recorder.axes.at(2).getAsString() + L" " + std::to_wstring(absolute),
        parameter("five-axis-value") + L"0",
        L"onLinear5D (1, 2, 3) (0, 0, 1) 20 " + std::to_wstring(cut | absolute),
    };
    EXPECT_EQ(moves, expected);
    ASSERT_EQ(recorder.axes.size(), 4u);
    Vector3D const unit[] = {{0, 0, 1}, {0, .6, .8}, {.6, 0, .8}, {0, 0, 1}};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_LT((recorder.axes[i] - unit[i]).getModulus(), 1e-15) << i;
}

TEST(MastercamNCIReader, DrillCyclesAreGroupsWithOneRapidPerHole)
{
    std::string const tapping = "1001\n0 100 2 1 21 1 0 -2500 10. 1 0. 0. 1. 0. 0. 10. 0 0.\n";
    struct Case {
        unsigned int type;
        std::string dwell;
        NCCycle::Cycle cycle;
        bool counterClockwise = false;
    } const cases[] = {
        {0, "0.", NCCycle::CYCLE_DRILLING}, {0, ".25", NCCycle::CYCLE_COUNTER_BORING},
        {1, "0.", NCCycle::CYCLE_DEEP_DRILLING}, {2, ".25", NCCycle::CYCLE_CHIP_BREAKING},
        {3, "0.", NCCycle::CYCLE_RIGHT_TAPPING}, {7, ".25", NCCycle::CYCLE_RIGHT_TAPPING},
        {3, "0.", NCCycle::CYCLE_LEFT_TAPPING, true}, {7, "0.", NCCycle::CYCLE_LEFT_TAPPING, true},
        {4, ".25", NCCycle::CYCLE_BORING}, {5, ".25", NCCycle::CYCLE_STOP_BORING},
        {6, ".25", NCCycle::CYCLE_FINE_BORING}, {8, ".25", NCCycle::CYCLE_CUSTOM},
        {19, ".25", NCCycle::CYCLE_CUSTOM},
    };
    for (Case const& c : cases) {
        std::string const records = cycle(c.type, c.dwell) + hole(c.dwell) + "80\n0\n";
        RecordingNCStream expected;
        expected.onGroup(NCCycleDefinition::getUri(c.cycle).c_str());
        definition(c.cycle, std::stod(c.dwell)).sendParameters(expected);
        expected.onRapid({1, 2, 0}, 0);
        expected.onRapid({3, 2, 0}, 0);
        expected.onGroupEnd();
        std::string const& tool = c.counterClockwise ? tapping : firstTool;
        auto const all = events(records, {}, tool);
        EXPECT_EQ(without(all, drillTexts), expected.events) << records;
        std::vector<std::wstring> const texts
            = {parameter("drill-cycle") + wide(cycleValues(c.type, c.dwell)), parameter("drill-hole") + wide(holeValues(c.dwell))};
        std::vector<std::wstring> sent;
        std::copy_if(all.begin(), all.end(), std::back_inserter(sent), [](auto const& e) {
            return startsWith(e, parameter("drill-cycle")) || startsWith(e, parameter("drill-hole"));
        });
        EXPECT_EQ(sent, texts) << records;
        // Custom cycles are never expanded.
        if (c.cycle == NCCycle::CYCLE_CUSTOM) {
            EXPECT_EQ(without(events(records, {true, true}, tool), drillTexts), expected.events) << records;
        }
    }

    // The depth again before a hole whose depth differs; reverse swaps top and bottom.
    std::wstring const depth = L"onParameter "
        + wide(NCCycleDefinition::getParameterName(NCCycleDefinition::VALUE_DEPTH)) + L" ";
    auto const holes = without(events(cycle(0, "0.", true) + hole("0.")
                                   + "100\n0 5. 2. -.75 1. .1 0. 5. 5. 2. 0. 0 0\n"
                                     "100\n0 7. 2. 0. 1. .1 0. 5. 7. 2. -.5 0 1\n"),
        drillTexts);
    ASSERT_GE(holes.size(), 10u);
    EXPECT_EQ(std::vector(holes.begin() + 10, holes.end()),
        (std::vector<std::wstring> {L"onRapid (1, 2, 0) 0", L"onRapid (3, 2, 0) 0", depth + L"0.75",
            L"onRapid (5, 2, 0) 0", depth + L"0.5", L"onRapid (7, 2, 0) 0", L"onGroupEnd"}));
}

TEST(MastercamNCIReader, ExpandedDrillCyclesSendTheMovesOfEachHole)
{
    struct Case {
        unsigned int type;
        double dwell;
        NCCycle::Cycle cycle;
    } const cases[] = {
        {0, 0, NCCycle::CYCLE_DRILLING}, {0, .25, NCCycle::CYCLE_COUNTER_BORING},
        {1, .25, NCCycle::CYCLE_DEEP_DRILLING}, {2, .25, NCCycle::CYCLE_CHIP_BREAKING},
        {3, .25, NCCycle::CYCLE_RIGHT_TAPPING}, {7, 0, NCCycle::CYCLE_RIGHT_TAPPING},
        {4, .25, NCCycle::CYCLE_BORING}, {5, .25, NCCycle::CYCLE_STOP_BORING},
        {6, .25, NCCycle::CYCLE_FINE_BORING},
    };
    for (Case const& c : cases) {
        std::string const dwell = NumberFormat::toString(c.dwell);
        NCCycleDefinition const cycleDefinition = definition(c.cycle, c.dwell);
        RecordingNCStream expected;
        expected.onGroup(NCCycleDefinition::getExpandedUri(c.cycle).c_str());
        cycleDefinition.sendParameters(expected);
        cycleDefinition.expandHole(expected, {1, 2, 0}, {1, 2, -.5});
        cycleDefinition.expandHole(expected, {3, 2, 0}, {3, 2, -.5});
        expected.onGroupEnd();
        for (bool reverse : {false, true}) {
            std::string const records = cycle(c.type, dwell, reverse) + hole(dwell) + "80\n0\n";
            EXPECT_EQ(without(events(records, {true, true}), drillTexts), expected.events) << records;
        }
    }
    // Plain drilling by hand: rapid to the clearance and reference heights, feed to the bottom,
    // rapid out. The points are compared to the last bits the height arithmetic may round.
    struct Ends : RecordingNCStream {
        std::vector<Vector3D> ends;
        bool onRapid(Vector3D const& end, unsigned int flags) override
        {
            ends.push_back(end);
            return RecordingNCStream::onRapid(end, flags);
        }
        bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override
        {
            ends.push_back(end);
            return RecordingNCStream::onLinear(end, feedrate, flags);
        }
    } drilled;
    ASSERT_TRUE(readInto(header + firstTool + cycle(0, "0.") + "80\n0\n" + end, drilled, {true, true}));
    auto const moves = without(body(drilled.events), drillTexts);
    ASSERT_EQ(moves.size(), 15u);
    EXPECT_EQ(moves[0], L"onGroup " + wide(NCCycleDefinition::getExpandedUri(NCCycle::CYCLE_DRILLING)));
    EXPECT_TRUE(moves[0].ends_with(L"/cycle/drilling/expanded"));
    std::vector<std::wstring> withoutPoints;
    for (auto const& e : std::vector(moves.begin() + 10, moves.end() - 1))
        withoutPoints.push_back(e.substr(0, e.find(L' ')) + e.substr(e.find(L')') + 1));
    EXPECT_EQ(withoutPoints, (std::vector<std::wstring> {L"onRapid 0", L"onRapid 0", L"onLinear 5 131072", L"onRapid 0"}));
    EXPECT_EQ(moves.back(), L"onGroupEnd");
    Vector3D const points[] = {{1, 2, 1}, {1, 2, .1}, {1, 2, -.5}, {1, 2, 1}};
    ASSERT_EQ(drilled.ends.size(), 4u);
    // Heights of a hole along +Z come out exactly as written.
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(drilled.ends[i], points[i]) << i;
}

TEST(MastercamNCIReader, CommentsTextRecordsAndUnknownCodes)
{
    std::string const comments = "1005\nMANUAL ENTRY AS COMMENT\n1006\nG4 P1.\n1007\n(WITH THE NEXT MOVE)\n"
                                 "1008\nOPERATION 2 - CONTOUR\n1026\nM8\n1008\n\n";
    EXPECT_EQ(events(comments),
        (std::vector<std::wstring> {L"onComment MANUAL ENTRY AS COMMENT", L"onComment G4 P1.",
            L"onComment (WITH THE NEXT MOVE)", L"onComment OPERATION 2 - CONTOUR", L"onComment M8", L"onComment "}));
    EXPECT_EQ(events(comments, {false}), std::vector<std::wstring> {});

    struct Case {
        std::string code, line, name;
    } const cases[] = {
        {"1011", "0. 0. 0. 0. 0. 0. 0. 0. 0. 1.5", "misc-reals"},
        {"1012", "0 0 0 0 0 0 0 0 0 3", "misc-integers"},
        {"1013", "42 .25 0. 0 0 0. 0. 0. 0 D:\\LIB\\MY TOOLS.TOOLDB", "tool-parameters"},
        {"1014", "1. 0. 0. 0. 1. 0. 0. 0. 1.", "tool-plane"},
        {"1016", "0 0 0 0 0. 0. 0. 0 0 0 0 0 0. 0 0 0 0", "misc-parameters"},
        {"1017", "1. 0. 0. 0. 0. 1. 0. -1. 0.", "construction-plane"},
        {"1018", "100", "subprogram-start"}, {"1019", "100", "subprogram-end"},
        {"1020", "0. 0. 0. 4. 3. 1. 0. 0. 0. 0. 0. 0. 1 STEEL 4140 HT", "stock"},
        {"1025", "0 0 0 0 0 0 0 0 0 0", "canned-text"},
        {"1027", "1. 0. 0. 0. 1. 0. 0. 0. 1. 0. 0. -.5", "work-coordinate-system"},
        {"1051", "GENERIC 3X MILL", "machine-name"}, {"1052", "Machine Group-1", "group-comment"},
        {"1053", "Toolpath Group-1", "group-name"}, {"1054", "", "file-descriptor"},
        {"950", "0 0 1", "axis-combination"}, {"1031", "3 0", "1031"}, {"1032", "", "1032"},
        {"10000", "", "10000"}, {"19999", "A VALUE WITH BLANKS", "19999"}, {"20000", "-1.", "20000"},
        {"29999", "X", "29999"},
    };
    for (Case const& c : cases) {
        MastercamNCIReader reader;
        RecordingNCStream recorder;
        ASSERT_TRUE(readInto(header + firstTool + c.code + "\n" + c.line + "\n" + end, recorder, {}, &reader));
        EXPECT_EQ(std::count(recorder.events.begin(), recorder.events.end(), parameter(c.name) + wide(c.line)), 1)
            << c.code;
        EXPECT_EQ(reader.getUnknownRecordCount(), 0u) << c.code;
    }

    // Unknown codes are text parameters, counted, and the program goes on.
    MastercamNCIReader reader;
    RecordingNCStream recorder;
    std::string const unknown = header + firstTool + "77\n1 2 3\n5000\n\n1\n0 1. 2. 3. 5. 0\n" + end;
    ASSERT_TRUE(readInto(unknown, recorder, {}, &reader));
    EXPECT_EQ(reader.getUnknownRecordCount(), 2u);
    ASSERT_TRUE(readInto(unknown, recorder, {}, &reader));
    EXPECT_EQ(reader.getUnknownRecordCount(), 2u) << "counted per import";
    auto const all = events("77\n1 2 3\n5000\n\n1\n0 1. 2. 3. 5. 0\n");
    EXPECT_EQ(all, (std::vector<std::wstring> {parameter("unknown-77") + L"1 2 3", parameter("unknown-5000"),
                       L"onLinear (1, 2, 3) 5 131072"}));
}

TEST(MastercamNCIReader, MalformedInputThrowsWithTheLineAndTheEventsBeforeAreDelivered)
{
    std::string const start = header + firstTool; // records from line 5
    std::string const longNumber = std::string(50, '7') + "x";
    struct Case {
        std::string text;
        ParseError error;
    } const cases[] = {
        {"M48\r\n;DRILL FILE\r\nMETRIC,TZ\r\n", {1, L"Not an NCI file: a circuit-board drill file.", L"M48"}},
        {"%\nT1C0.8\n", {1, L"Not an NCI file: it starts with '%' as G-code programs and drill files do.", L"%"}},
        {std::string("\x01\x02\xFE\xFF\x10\x80\n", 7), {1, L"Not an NCI file: binary data.", std::nullopt}},
        {"hello world\n1050\n", {1, L"Not an NCI file: the first record is not 1050.", L"hello world"}},
        {"1051\n9. 0.\n", {1, L"Not an NCI file: the first record is not 1050.", L"1051"}},
        {"1\n0 1. 2. 3. 5. 0\n", {1, L"Not an NCI file: the first record is not 1050.", L"1"}},
        {start + "abc\n0\n", {5, L"Invalid record code 'abc'.", L"abc"}},
        {start + "1.5\n0\n", {5, L"Invalid record code '1.5'.", L"1.5"}},
        {start + "-1\n0\n", {5, L"Invalid record code '-1'.", L"-1"}},
        {start + std::string(50, 'c') + "\n0\n",
            {5, L"Invalid record code '" + std::wstring(40, L'c') + L"...'.", wide(std::string(50, 'c'))}},
        {start + "1\n", {5, L"Record 1 has no value line.", std::nullopt}},
        {start + "1\n0 1. 2. 3.\n", {6, L"Record 1 needs 5 values, not 4.", L"0 1. 2. 3."}},
        {start + "1\n\n", {6, L"Record 1 needs 5 values, not 0.", L""}},
        {start + "1\n0 1. x 3. 5. 0\n", {6, L"Invalid number 'x' in value 3 (y) of record 1.", L"0 1. x 3. 5. 0"}},
        {start + "1\n0 1. " + longNumber + " 3. 5. 0\n",
            {6, L"Invalid number '" + std::wstring(40, L'7') + L"...' in value 3 (y) of record 1.", std::nullopt}},
        {start + "1\n0 1. 1e999 3. 5. 0\n", {6, L"Number out of range '1e999' in value 3 (y) of record 1.", std::nullopt}},
        {start + "1\n1.5 1. 2. 3. 5. 0\n",
            {6, L"Invalid integer '1.5' in value 1 (cutter compensation) of record 1.", std::nullopt}},
        {start + "1\n43 1. 2. 3. 5. 0\n", {6, L"Unknown cutter compensation 43 in record 1.", std::nullopt}},
        {start + "2\n3 0 1. 2. 0. 0. 0. 5. 0\n", {6, L"Unknown arc plane 3 in record 2.", std::nullopt}},
        {start + "11\n1. 2. 3. 1. 2. 3. 5. 0 0\n", {6, L"Tool axis of zero length in record 11.", std::nullopt}},
        {start + "81\n20 1. 2. -.5 0. 5. 0. 0. 0. 0. 1. .1 0. 0. 1. 2. 0. 0 0\n",
            {6, L"Unknown drill cycle type 20 in record 81.", std::nullopt}},
        {start + "100\n0 3. 2. -.5 1. .1 0. 5. 3. 2. 0. 0 0\n",
            {6, L"Drill hole without a drill cycle in record 100.", std::nullopt}},
        // Finite top and bottom whose distance is not: its square overflows long before.
        {start + "81\n0 -1.5e308 2. -.5 0. 5. 0. 0. 0. 0. 1. .1 0. 0. 1.5e308 2. 0. 0 0\n",
            {6, L"Hole depth out of range in record 81.", std::nullopt}},
        {start + "1005\nab" + std::string(1, '\0') + "c\n", {6, L"NUL byte in line.", std::nullopt}},
        {start + "1\n0 1. 2. 3. 5. 0\n", {6, L"File ends without its end record 1003.", std::nullopt}},
    };
    for (Case const& c : cases) {
        RecordingNCStream recorder;
        EXPECT_EQ(parseError(c.text, recorder), c.error) << c.text;
        if (c.error.line > 4) {
            ASSERT_GE(recorder.events.size(), 6u) << c.text;
            EXPECT_EQ(recorder.events[5], parameter("first-tool-change") + wide(firstToolValues)) << c.text;
        }
    }
    // The events up to the faulty record are delivered, and nothing after them.
    RecordingNCStream recorder;
    EXPECT_EQ(parseError(start + "1\n0 1. 2. 3. 5. 0\n1\n0 4. 5.\n1\n0 7. 8. 9. 5. 0\n" + end, recorder),
        (ParseError {8, L"Record 1 needs 5 values, not 3.", L"0 4. 5."}));
    EXPECT_EQ(recorder.events.back(), L"onLinear (1, 2, 3) 5 131072");

    // An expanded hole that the cycle cannot make.
    RecordingNCStream pecks;
    EXPECT_EQ(parseError(start + "81\n1 1. 2. -5. 0. 5. .00001 .00001 0. 0. 1. .1 0. 0. 1. 2. 0. 0 0\n" + end, pecks,
                  {true, true}),
        (ParseError {6, L"Too many pecks.", std::nullopt}));
}

TEST(MastercamNCIReader, LinesUpToTheLimitAreReadAndLongerOnesRefused)
{
    std::size_t const limit = MastercamNCIReader::MaximumLineLength;
    std::string const longest(limit, 'c');
    std::string const start = header + firstTool;
    for (std::string const lineEnd : {"\n", "\r\n"}) {
        RecordingNCStream recorder;
        EXPECT_TRUE(readInto(start + "1005" + lineEnd + longest + lineEnd + end, recorder));
        EXPECT_EQ(std::count(recorder.events.begin(), recorder.events.end(), L"onComment " + wide(longest)), 1);
        RecordingNCStream refused;
        EXPECT_EQ(parseError(start + "1005" + lineEnd + longest + "c" + lineEnd + end, refused),
            (ParseError {6, L"Line too long.", std::nullopt}));
    }
    // Read in short pieces, and behind a line reader with a longer limit of its own.
    TrickleInputStream source(start + "1005\n" + longest + "c\n" + end, 4093);
    MastercamNCIReader reader;
    RecordingNCStream recorder;
    reader.setNCStream(&recorder);
    try {
        reader.import(&source);
        ADD_FAILURE() << "no exception";
    } catch (NCParseException const& e) {
        EXPECT_EQ(e.getLine(), 6u);
        EXPECT_EQ(e.getMessage(), L"Line too long.");
    }
    MemoryInputStream in(start + "1005\n" + longest + "c\n" + end);
    SequentialLineReader lines(&in, 2 * limit);
    try {
        reader.import(lines);
        ADD_FAILURE() << "no exception";
    } catch (NCParseException const& e) {
        EXPECT_EQ(e.getLine(), 6u);
        EXPECT_EQ(e.getMessage(), L"Line too long.");
    }
}

TEST(MastercamNCIReader, AllImportFormsAndLineEndsGiveTheSameEvents)
{
    for (bool expand : {false, true}) {
        RecordingNCStream expected;
        ASSERT_TRUE(readInto(everything, expected, {true, expand}));
        for (std::string const& text : {everything, crlf(everything)}) {
            for (std::size_t chunk : {std::size_t {1}, std::size_t {7}, text.size()}) {
                TrickleInputStream source(text, chunk);
                MastercamNCIReader reader;
                reader.setExpandCycles(expand);
                RecordingNCStream recorder;
                reader.setNCStream(&recorder);
                EXPECT_TRUE(reader.import(&source));
                EXPECT_EQ(recorder.events, expected.events) << chunk;
            }
            MastercamNCIReader reader;
            reader.setExpandCycles(expand);
            {
                MemoryInputStream in(text);
                SequentialLineReader lines(&in);
                RecordingNCStream recorder;
                reader.setNCStream(&recorder);
                EXPECT_TRUE(reader.import(lines));
                EXPECT_EQ(recorder.events, expected.events);
            }
            {
                MemoryInputStream in(text);
                SequentialLineReader lines(&in);
                RecordingNCStream recorder;
                reader.setNCStream(&recorder);
                EXPECT_TRUE(reader.import(static_cast<LineReader*>(&lines)));
                EXPECT_EQ(recorder.events, expected.events);
            }
            TemporaryFile file;
            std::ofstream(file.path, std::ios::binary) << text;
            RecordingNCStream recorder;
            reader.setNCStream(&recorder);
            EXPECT_TRUE(reader.import(file.name()));
            EXPECT_EQ(recorder.events, expected.events);
            EXPECT_EQ(recorder.contexts, expected.contexts);
            EXPECT_EQ(recorder.tools, expected.tools);
        }
    }
    // Nothing after the end record is read.
    RecordingNCStream expected, recorder;
    ASSERT_TRUE(readInto(everything, expected));
    ASSERT_TRUE(readInto(everything + "1\nnot a record\n\xFF\xFE", recorder));
    EXPECT_EQ(recorder.events, expected.events);
}

TEST(MastercamNCIReader, RefusalOfAnyEventStopsTheImport)
{
    for (bool expand : {false, true}) {
        RecordingNCStream all;
        ASSERT_TRUE(readInto(everything, all, {true, expand}));
        auto const names = all.names();
        for (wchar_t const* kind : {L"onContext", L"onTool", L"onSection", L"onRapid", L"onLinear", L"onCWArc",
                 L"onCCWArc", L"onCWCircle", L"onCCWCircle", L"onCircular", L"onLinear5D", L"onRapid5D", L"onDwell",
                 L"onGroup", L"onGroupEnd", L"onRadiusCompensation", L"onComment", L"onSectionEnd", L"onClose"})
            EXPECT_NE(std::find(names.begin(), names.end(), kind), names.end()) << kind;
        for (std::size_t i = 0; i < names.size(); ++i) {
            int const occurrence = static_cast<int>(std::count(names.begin(), names.begin() + i + 1, names[i]));
            RecordingNCStream recorder;
            recorder.stopAt(names[i], occurrence);
            EXPECT_FALSE(readInto(everything, recorder, {true, expand})) << i;
            EXPECT_EQ(recorder.events.size(), i + 1) << "the reader goes on after a refused " << i;
        }
    }
}

TEST(MastercamNCIReader, LineNumbersOfTheRecordsWhenPassedThrough)
{
    MemoryInputStream in(header + firstTool + "1\n0 1. 2. 3. 5. 0\n" + end);
    MastercamNCIReader reader;
    RecordingNCStream recorder;
    reader.setNCStream(&recorder);
    reader.setPassThroughLineNumbers(true);
    ASSERT_TRUE(reader.import(&in));
    std::vector<std::wstring> numbers;
    std::copy_if(recorder.events.begin(), recorder.events.end(), std::back_inserter(numbers),
        [](auto const& e) { return e.starts_with(L"onLineNumber"); });
    EXPECT_EQ(numbers, (std::vector<std::wstring> {L"onLineNumber 1", L"onLineNumber 3", L"onLineNumber 5",
                           L"onLineNumber 7"}));
    EXPECT_EQ(recorder.events[recorder.events.size() - 4], L"onLineNumber 7");
}

TEST(MastercamNCIReader, AbortStopsBeforeTheNextRecord)
{
    std::vector<std::wstring> const names = namesWhenAbortedAt<MastercamNCIReader>(L"onSection", everything);
    EXPECT_EQ(names.back(), L"onParameter") << "the text of the tool change, then nothing";
    EXPECT_EQ(std::count(names.begin(), names.end(), L"onSection"), 1);
}
