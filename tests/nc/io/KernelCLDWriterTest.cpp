// KernelCLDWriter: the text of every event, movement and feedrate lines, numbers and strings, what
// it leaves out, round trips through KernelCLDReader and output failures.
#include "nc/nc/io/KernelCLDWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using Send = std::function<void(KernelCLDWriter&)>;

std::string const header = KernelCLDReader::getHeader() + "\n";

std::string written(Send const& send)
{
    MemoryOutputStream out;
    KernelCLDWriter writer(&out);
    writer.onOpen();
    send(writer);
    writer.onClose();
    return out.getData();
}

// What the writer writes after the header.
std::string body(Send const& send) { return written(send).substr(header.size()); }

RecordingNCStream reread(std::string const& text)
{
    RecordingNCStream recorder;
    MemoryInputStream in(text);
    KernelCLDReader reader;
    reader.setNCStream(&recorder);
    EXPECT_TRUE(reader.import(&in));
    return recorder;
}

constexpr unsigned int CUT = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
constexpr unsigned int RAPID = 0;
constexpr unsigned int ABSOLUTE = NCStream::FLAG_ABSOLUTE_DIRECTION;
Vector3D const Z(0, 0, 1);

// Events the format carries whole: read back, they are these events again.
void sendCarried(NCStream& s)
{
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    context.setCompensation(NCContext::COMPENSATION_CENTER);
    context.setOrigin({1, -2, 0.125});
    context.setPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    NCTool tool;
    tool.setDiameter(6);
    tool.setCornerRadius(0.5);
    tool.setTaperAngle(1e-7);
    tool.setFluteLength(20);
    unsigned int const leadIn = NCStream::getMovementFlags(NCStream::MOVEMENT_LEAD_IN);
    s.onOpen(), s.onContext(context), s.onTool(tool), s.onSection(), s.onComment("a note");
    s.onParameter("text", "a \"quoted\" \\ line\nbreak \x01\x7F\xC3\xA9"), s.onParameter("int", -7);
    s.onParameter("double", 2.0), s.onParameter("point", Point3D(1, 2, 3));
    s.onParameter(KernelParameterNames::getToolAxisName().c_str(), Point3D(0, 0.6, 0.8));
    s.onParameter(KernelParameterNames::getContactNormalName().c_str(), Point3D(1, 0, 0));
    s.onParameter(KernelCLDReader::getTurnFarmTestInsertName().c_str(), "1.5, \"R0.8\"");
    s.onParameter(KernelCLDReader::getTurnFarmTestContourName().c_str(), "");
    s.onGroup("urn:g"), s.onDwell(2, 0), s.onDwell(3, NCStream::FLAG_DWELL_REVOLUTIONS);
    s.onCommand(NCStream::COMMAND_END), s.onCommand(static_cast<NCStream::Command>(99));
    s.onRapid({0, 0, 10}, RAPID), s.onRapid5D({0, 0, 9}, Z, RAPID | ABSOLUTE);
    s.onLinear({1, 0, 0}, 100, leadIn), s.onLinear({2, 0, 0}, 100, leadIn), s.onLinear({3, 0, 0}, -0.0, CUT);
    s.onLinear5D({4, 0, 0}, {0, 0.6, 0.8}, 120, CUT | ABSOLUTE);
    s.onCCWArc({4, 1, 0}, {4, 2, 0}, Z, 130, CUT), s.onCWArc({4, 1, 0}, {4, 0, 0}, Z, 130, CUT);
    s.onCCWCircle({4, 1, 0}, {4, 0, 0}, Z, 140, CUT), s.onCWCircle({4, 1, 0}, {4, 0, 0}, {1, 0, 0}, 140, CUT);
    s.onCircular({4, 1, 0}, {5, 1, 0}, {0, 0, -1}, -1.5, 150, CUT);
    s.onCCWArc({5, 2, 0}, {5, 3, 0}, {0, 1, 0}, 0, RAPID);
    s.onGroupEnd(), s.onSectionEnd(), s.onClose();
}

} // namespace

TEST(KernelCLDWriter, WritesEveryEventAsItsStatementAndCountsWhatItLeavesOut)
{
    MemoryOutputStream out;
    KernelCLDWriter writer(&out);
    ASSERT_TRUE(sendEveryEvent(writer));
    EXPECT_EQ(out.getData(),
        header
            + "PARAMETER, \"cld:unit\", \"millimeters\"\n"
              "PARAMETER, \"cld:compensation\", \"tip\"\n"
              "PARAMETER, \"cld:origin\", 1, 2, 3\n"
              "PARAMETER, \"cld:plane\", 1, 0, 0, 0, 1, 0, 0, 0, 1\n"
              "PARAMETER, \"cld:tool-unit\", \"millimeters\"\n"
              "PARAMETER, \"cld:cutter-diameter\", 12.5\n"
              "PARAMETER, \"cld:corner-radius\", 0.0\n"
              "PARAMETER, \"cld:taper-angle\", 0.0\n"
              "PARAMETER, \"cld:flute-length\", 0.0\n"
              "OPEN\n"
              "# wide comment\n"
              "# narrow comment\n"
              "COMMAND, 10\n"
              "PARAMETER, \"point\", 1, 2, 3\n"
              "PARAMETER, \"kind\", 1\n"
              "PARAMETER, \"kinded\", 2.5\n"
              "PARAMETER, \"double\", 0.25\n"
              "PARAMETER, \"int\", -3\n"
              "PARAMETER, \"wide\", \"wide value\"\n"
              "PARAMETER, \"narrow\", \"narrow value\"\n"
              "GROUP, \"group\"\n"
              "GROUP_END\n"
              "DWELL, 1.5\n"
              "RAPID\n"
              "GOTO, 0, 0, 10\n"
              "GOTO, 1, 0, 10, 0, 0, 1\n"
              "GOTO, 2, 0, 10, 0, 0, 1\n"
              "CUTTING\n"
              "FEEDRATE, 100\n"
              "GOTO, 3, 0, 0\n"
              "FEEDRATE, 110\n"
              "GOTO, 4, 0, 0, 0, 0, 1\n"
              "FEEDRATE, 120\n"
              "GOTO, 5, 0, 0, 0, 0, 1\n"
              "DEPOSITING\n"
              "FEEDRATE, 130\n"
              "GOTO, 6, 0, 0\n"
              "CUTTING\n"
              "FEEDRATE, 140\n"
              "ARC, 6, 2, 0, 6, 1, 0, 0, 0, -1\n"
              "FEEDRATE, 150\n"
              "ARC, 6, 4, 0, 6, 3, 0, 0, 0, 1\n"
              "FEEDRATE, 160\n"
              "ARC, 6, 6, 0, 6, 5, 0, 0, 0, 1, -1.5\n"
              "FEEDRATE, 170\n"
              "ARC, 7, 2, 0, 7, 1, 0, 0, 0, -1\n"
              "FEEDRATE, 180\n"
              "ARC, 7, 4, 0, 7, 3, 0, 0, 0, 1\n"
              "FEEDRATE, 190\n"
              "ARC, 7, 6, 0, 7, 5, 0, 0, 0, 1, 2.5\n"
              "FEEDRATE, 200\n"
              "ARC, 8, 2, 0, 8, 1, 0, 0, 0, -1\n"
              "FEEDRATE, 210\n"
              "ARC, 8, 4, 0, 8, 3, 0, 0, 0, 1\n"
              "CLOSE\n");
    for (std::size_t i = 0; i < NCEventCount; ++i) {
        NCEvent const kind = static_cast<NCEvent>(i);
        std::uint64_t const expected = kind == NCEvent::passThrough ? 2
            : kind == NCEvent::onToolpathEntityIndex || kind == NCEvent::onMachineCommand
                || kind == NCEvent::onCoolant || kind == NCEvent::onSpindleSpeed
                || kind == NCEvent::onRadiusCompensationMode || kind == NCEvent::onRadiusCompensation
                || kind == NCEvent::onStock || kind == NCEvent::onToolChange || kind == NCEvent::onTurnGroup
                || kind == NCEvent::onTurnGroupEnd || kind == NCEvent::onSpline || kind == NCEvent::onBezier
                || kind == NCEvent::onNURBS || kind == NCEvent::onSkip || kind == NCEvent::onLineNumber
                || kind == NCEvent::onMachineAxisOrdering || kind == NCEvent::onMachineAxisValues
                || kind == NCEvent::onFrame
            ? 1
            : 0;
        EXPECT_EQ(writer.getLeftOut(kind), expected) << getEventName(kind);
    }
    // The four five-axis moves lack FLAG_ABSOLUTE_DIRECTION; two have four vectors; four extrude.
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Flags), 4u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::FiveAxisFrame), 2u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Extrusion), 4u);
    EXPECT_EQ(writer.getLeftOut(LeftOutValue::Feed), 0u);
}

TEST(KernelCLDWriter, CarriedEventsReadBackAsThemselvesAndRewriteToTheSameBytes)
{
    RecordingNCStream direct;
    sendCarried(direct);
    MemoryOutputStream out;
    KernelCLDWriter writer(&out);
    sendCarried(writer);
    for (LeftOutValue kind : {LeftOutValue::Feed, LeftOutValue::Flags, LeftOutValue::Extrusion})
        EXPECT_EQ(writer.getLeftOut(kind), 0u);

    RecordingNCStream const back = reread(out.getData());
    EXPECT_EQ(back.events, direct.events);
    EXPECT_EQ(back.contexts, direct.contexts);
    EXPECT_EQ(back.tools, direct.tools);

    MemoryOutputStream again;
    KernelCLDWriter rewriter(&again);
    MemoryInputStream in(out.getData());
    KernelCLDReader reader;
    reader.setNCStream(&rewriter);
    ASSERT_TRUE(reader.import(&in));
    EXPECT_EQ(again.getData(), out.getData());
}

TEST(KernelCLDWriter, NumbersStringsAndCommentsHaveTheirText)
{
    struct Case {
        char const* what;
        Send send;
        std::string text;
    } const cases[] = {
        {"shortest numbers", [](auto& w) { w.onRapid({0.1, -2.5e-9, 1e21}, RAPID); },
            "RAPID\nGOTO, 0.1, -2.5e-09, 1e+21\n"},
        {"a double parameter never reads as an int",
            [](auto& w) {
                for (double d : {1.0, -0.0, 123456789012.0, 0.5, 1e20})
                    w.onParameter("d", d);
            },
            "PARAMETER, \"d\", 1.0\nPARAMETER, \"d\", -0.0\nPARAMETER, \"d\", 123456789012.0\n"
            "PARAMETER, \"d\", 0.5\nPARAMETER, \"d\", 1e+20\n"},
        {"escapes", [](auto& w) { w.onGroup("q\"b\\n\nr\rt\tx\x01\x1F\x7F\xC3\xA9#"); },
            "GROUP, \"q\\\"b\\\\n\\nr\\rt\\tx\\x01\\x1F\\x7F\xC3\xA9#\"\n"},
        {"wide text as UTF-8", [](auto& w) { w.onParameter("w", L"gr\u00fc\u00dfe \U0001F600"); },
            "PARAMETER, \"w\", \"gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80\"\n"},
        {"null texts", [](auto& w) { w.onParameter(nullptr, static_cast<char const*>(nullptr)); },
            "PARAMETER, \"\", \"\"\n"},
        {"comments", [](auto& w) { w.onComment("a\nb\r\nc"), w.onComment(""), w.onComment(L" wide"); },
            "# a b  c\n#\n#  wide\n"},
        {"turn-farm texts that are no value list",
            [](auto& w) {
                for (char const* text : {" 1", "1 # x", "1,", "a"})
                    w.onParameter(KernelCLDReader::getTurnFarmTestContourName().c_str(), text);
            },
            "PARAMETER, \"http://www.quarn.dev/namespace/camkernel/turn-farm-test-contour\", \" 1\"\n"
            "PARAMETER, \"http://www.quarn.dev/namespace/camkernel/turn-farm-test-contour\", \"1 # x\"\n"
            "PARAMETER, \"http://www.quarn.dev/namespace/camkernel/turn-farm-test-contour\", \"1,\"\n"
            "PARAMETER, \"http://www.quarn.dev/namespace/camkernel/turn-farm-test-contour\", \"a\"\n"},
        {"a turn-farm value list in wide text",
            [](auto& w) { w.onParameter(KernelCLDReader::getTurnFarmTestInsertName().c_str(), L"1 ,\"#\""); },
            "turnFarmTestInsert, 1 ,\"#\"\n"},
    };
    for (Case const& c : cases) {
        std::string const text = body(c.send);
        EXPECT_EQ(text, c.text) << c.what;
        MemoryOutputStream out;
        KernelCLDWriter rewriter(&out);
        MemoryInputStream in(header + text);
        KernelCLDReader reader;
        reader.setNCStream(&rewriter);
        EXPECT_TRUE(reader.import(&in)) << c.what;
        EXPECT_EQ(out.getData(), header + text) << c.what << ": read and written again";
    }
    // Every byte but NUL comes back as it went.
    struct GroupSink : NCStreamDefaultImpl {
        std::string uri;
        bool onGroup(char const* text) override { return uri = text, true; }
    } sink;
    std::string every;
    for (int byte = 1; byte < 256; ++byte)
        every += static_cast<char>(byte);
    MemoryInputStream in(written([&](auto& w) { w.onGroup(every.c_str()); }));
    KernelCLDReader reader;
    reader.setNCStream(&sink);
    EXPECT_TRUE(reader.import(&in));
    EXPECT_EQ(sink.uri, every);
}

TEST(KernelCLDWriter, MovementAndFeedrateLinesComeWithChangesAndFlagsThatDoNotReadBackAreCounted)
{
    unsigned int const plunge = NCStream::getMovementFlags(NCStream::MOVEMENT_PLUNGE);
    unsigned int const notAMovement = NCStream::getMovementFlags(static_cast<NCStream::Movement>(25));
    struct Case {
        char const* what;
        Send send;
        std::string text;
        std::uint64_t flags;
        std::uint64_t feed;
    } const cases[] = {
        {"same movement and feedrate", [](auto& w) { w.onLinear({1, 0, 0}, 0, CUT), w.onLinear({2, 0, 0}, 0, CUT); },
            "GOTO, 1, 0, 0\nGOTO, 2, 0, 0\n", 0, 0},
        {"rapids keep the feedrate",
            [&](auto& w) { w.onLinear({1, 0, 0}, 5, plunge), w.onRapid({2, 0, 0}, 0), w.onLinear({3, 0, 0}, 5, plunge); },
            "PLUNGE\nFEEDRATE, 5\nGOTO, 1, 0, 0\nRAPID\nGOTO, 2, 0, 0\nPLUNGE\nGOTO, 3, 0, 0\n", 0, 0},
        {"negative zero is a feedrate of its own", [](auto& w) { w.onLinear({1, 0, 0}, -0.0, CUT); },
            "FEEDRATE, -0\nGOTO, 1, 0, 0\n", 0, 0},
        {"a line of the rapid movement is cut", [](auto& w) { w.onLinear({1, 0, 0}, 0, 0); }, "GOTO, 1, 0, 0\n", 1, 0},
        {"a rapid of another movement is rapid", [](auto& w) { w.onRapid({1, 0, 0}, CUT); },
            "RAPID\nGOTO, 1, 0, 0\n", 1, 0},
        {"no movement at all", [&](auto& w) { w.onLinear({1, 0, 0}, 0, notAMovement); }, "GOTO, 1, 0, 0\n", 1, 0},
        {"an arc of no movement",
            [&](auto& w) { w.onCCWArc({0, 0, 0}, {1, 0, 0}, Z, 0, notAMovement); },
            "ARC, 1, 0, 0, 0, 0, 0, 0, 0, 1\n", 1, 0},
        {"bits beside the movement",
            [](auto& w) { w.onLinear({1, 0, 0}, 0, CUT | NCStream::FLAG_START_CUTTING); }, "GOTO, 1, 0, 0\n", 1, 0},
        {"a rapid arc's feedrate",
            [](auto& w) { w.onCWArc({0, 0, 0}, {1, 0, 0}, Z, 50, RAPID); },
            "RAPID\nARC, 1, 0, 0, 0, 0, 0, 0, 0, -1\n", 0, 1},
        {"dwell flags", [](auto& w) { w.onDwell(1, NCStream::FLAG_DWELL_REVOLUTIONS | CUT); },
            "DWELL, 1, \"revolutions\"\n", 1, 0},
        {"extruding line", [](auto& w) { w.onLinearExtrude({1, 0, 0}, 0, 0.5); }, "DEPOSITING\nGOTO, 1, 0, 0\n", 0, 0},
    };
    for (Case const& c : cases) {
        MemoryOutputStream out;
        KernelCLDWriter writer(&out);
        writer.onOpen();
        c.send(writer);
        writer.onClose();
        EXPECT_EQ(out.getData().substr(header.size()), c.text) << c.what;
        EXPECT_EQ(writer.getLeftOut(LeftOutValue::Flags), c.flags) << c.what;
        EXPECT_EQ(writer.getLeftOut(LeftOutValue::Feed), c.feed) << c.what;
    }
}

TEST(KernelCLDWriter, FailuresAreIOExceptionsNamingTheLine)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    // "# " and the text: at the limit, and one byte over it.
    std::string const longest(KernelCLDReader::MaximumLineLength - 2, 'c');
    std::string const tooLong = longest + "c";
    {
        // Refused before anything of the event is written; the writer goes on.
        MemoryOutputStream out;
        KernelCLDWriter writer(&out);
        writer.onOpen();
        writer.onSection();
        struct Refused {
            char const* what;
            Send send;
            wchar_t const* cause;
        } const refused[] = {
            {"a coordinate",
                [&](auto& w) { w.onLinear({nan, 0, 0}, 10, NCStream::getMovementFlags(NCStream::MOVEMENT_PLUNGE)); },
                L"Not a finite number."},
            {"a feedrate", [&](auto& w) { w.onLinear({1, 0, 0}, inf, CUT); }, L"Not a finite number."},
            {"a parameter", [&](auto& w) { w.onParameter("d", -inf); }, L"Not a finite number."},
            {"a context",
                [&](auto& w) {
                    NCContext context;
                    context.setOrigin({0, nan, 0});
                    w.onContext(context);
                },
                L"Not a finite number."},
            {"a long comment", [&](auto& w) { w.onComment(tooLong.c_str()); }, L"Line too long."},
        };
        for (Refused const& r : refused)
            EXPECT_EQ(ioError([&] { r.send(writer); }),
                (IOError {std::wstring(L"Cannot write line 3: ") + r.cause, header.size() + 5}))
                << r.what;
        writer.onComment(longest.c_str());
        writer.onSectionEnd();
        writer.onClose();
        EXPECT_EQ(out.getData(), header + "OPEN\n# " + longest + "\nCLOSE\n");
    }
    FullOutputStream full(10);
    KernelCLDWriter writer(&full);
    writer.onOpen();
    // A line longer than the room left in the buffer of 1 MiB goes out at once, behind the header.
    EXPECT_EQ(ioError([&] { writer.onComment(longest.c_str()); }),
        (IOError {L"Cannot write line 2: Disk full.", header.size()}));
    EXPECT_EQ(ioError([&] { writer.onSection(); }).message, L"Cannot write line 2: Disk full.");
    EXPECT_EQ(ioError([&] { writer.onClose(); }).message, L"Cannot flush the output: Disk full.");
    FullOutputStream late(header.size() + 3);
    KernelCLDWriter atClose(&late);
    atClose.onOpen(), atClose.onSection();
    EXPECT_EQ(ioError([&] { atClose.onClose(); }), (IOError {L"Cannot flush the output: Disk full.", header.size() + 5}));
    EXPECT_EQ(ioError([&] { atClose.onOpen(); }).message, L"Cannot write the header: Disk full.");
}
