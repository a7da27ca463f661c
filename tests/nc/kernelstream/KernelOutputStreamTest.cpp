// KernelOutputStream: the bytes of the header and of every entity in both text encodings, the
// text limit, the debug trace and failures of the output.
#include "nc/nc/kernelstream/KernelOutputStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/AssertionCapture.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using Send = std::function<void(KernelOutputStream&)>;

std::string u32(std::uint32_t value)
{
    std::string bytes(4, '\0');
    LittleEndian::writeUInt32(reinterpret_cast<unsigned char*>(bytes.data()), value);
    return bytes;
}

std::string u64(std::uint64_t value)
{
    std::string bytes(8, '\0');
    LittleEndian::writeUInt64(reinterpret_cast<unsigned char*>(bytes.data()), value);
    return bytes;
}

std::string f32(float value) { return u32(std::bit_cast<std::uint32_t>(value)); }
std::string f64(double value) { return u64(std::bit_cast<std::uint64_t>(value)); }
std::string vec(float x, float y, float z) { return f32(x) + f32(y) + f32(z); }

// A text as stored: the length in units, then UTF-16 units or 4-byte code points.
std::string ucs2(std::u16string_view units)
{
    std::string bytes = u32(static_cast<std::uint32_t>(units.size()));
    for (char16_t unit : units)
        bytes += std::string {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    return bytes;
}

std::string ucs4(std::u32string_view points)
{
    std::string bytes = u32(static_cast<std::uint32_t>(points.size()));
    for (char32_t point : points)
        bytes += u32(point);
    return bytes;
}

std::string const version = u32(1) + u32(3) + u32(1) + u32(1) + u32(3);

std::string written(Send const& send, bool ucs4Texts = false)
{
    MemoryOutputStream out;
    {
        KernelOutputStream writer(&out);
        writer.setUCS4(ucs4Texts);
        send(writer);
    }
    return out.getData();
}

} // namespace

TEST(KernelOutputStream, HeaderInBothEncodingsFollowedByTheVersion)
{
    EXPECT_EQ(KernelOutputStream::getUri(), L"http://legacy.quarn.dev/namespace/camkernel/stream");
    std::string const ucs2Header = written([](auto& w) { w.writeHeader(); });
    // Field 0, 50 characters, "ht" as UTF-16 units.
    EXPECT_EQ(ucs2Header.substr(0, 12), std::string("\0\0\0\0\x32\0\0\0h\0t\0", 12));
    EXPECT_EQ(ucs2Header, u32(0) + ucs2(u"http://legacy.quarn.dev/namespace/camkernel/stream") + version);
    EXPECT_EQ(ucs2Header.size(), 128u);

    std::string const ucs4Header = written([](auto& w) { w.writeHeader(); }, true);
    // "h" as a code point: the bytes 104, 0, 0, 0 by which a reader knows the encoding.
    EXPECT_EQ(ucs4Header.substr(0, 12), std::string("\0\0\0\0\x32\0\0\0h\0\0\0", 12));
    EXPECT_EQ(ucs4Header, u32(0) + ucs4(U"http://legacy.quarn.dev/namespace/camkernel/stream") + version);

    EXPECT_EQ(written([](auto& w) { w.writeVersion(); }), version);
}

TEST(KernelOutputStream, FixedSizeEntitiesHaveTheirLayout)
{
    Vector3D const a(1, 2, 3), b(4, 5, 6), c(7, 8, 9);
    std::string const A = vec(1, 2, 3), B = vec(4, 5, 6), C = vec(7, 8, 9);
    KernelOutputInterface::MemoryInformation64 m {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    struct FixedCase {
        char const* what;
        Send send;
        std::string bytes;
    };
    std::vector<FixedCase> const cases {
        {"line", [&](auto& w) { w.writeLine(a, NCStream::MOVEMENT_CUTTING); }, u32(29) + A + u32(2)},
        {"five-axis line", [&](auto& w) { w.writeLine(a, b, NCStream::MOVEMENT_PLUNGE); }, u32(30) + A + B + u32(10)},
        {"arc", [&](auto& w) { w.writeArc(a, b, c, NCStream::MOVEMENT_LEAD_IN); }, u32(31) + A + B + C + u32(1)},
        {"tool axis", [&](auto& w) { w.writeToolAxis(a); }, u32(37) + A},
        {"contact normal", [&](auto& w) { w.writeContactNormal(b); }, u32(38) + B},
        {"end", [](auto& w) { w.writeEnd(); }, u32(2)},
        {"error code", [](auto& w) { w.writeError(7u); }, u32(8) + u32(7) + u32(0)},
        {"toolpath open", [](auto& w) { w.writeToolpathOpen(); }, u32(13) + u32(0) + u32(0)},
        {"toolpath close", [](auto& w) { w.writeToolpathClose(); }, u32(14)},
        {"toolpath break", [](auto& w) { w.writeToolpathBreak(); }, u32(15)},
        {"fragment", [](auto& w) { w.writeBeginPathFragment(), w.writeEndPathFragment(); }, u32(16) + u32(17)},
        {"out of memory", [](auto& w) { w.writeOutOfMemory(1ull << 40, 5); }, u32(22) + u64(1ull << 40) + u64(5)},
        {"process info", [](auto& w) { w.writeProcessInfo(1, 0.1, 3, 4); },
            u32(28) + u64(1) + f64(0.1) + u64(3) + u64(4)},
        {"progress", [](auto& w) { w.writeProgress(0.25); }, u32(32) + f32(0.25f)},
        {"expand", [](auto& w) { w.writeExpandOpen(), w.writeExpandClose(); }, u32(33) + u32(34)},
        {"turn group", [](auto& w) { w.writeTurnGroupBegin(NCStream::TURN_GROUP_CANNED_ROUGH), w.writeTurnGroupEnd(); },
            u32(35) + u32(2) + u32(36)},
        {"group end", [](auto& w) { w.writeGroupEnd(); }, u32(40)},
        {"dwell", [](auto& w) { w.writeDwell(1.5); }, u32(41) + f32(1.5f)},
        {"command", [](auto& w) { w.writeCommand(NCStream::COMMAND_END); }, u32(42) + u32(3)},
        {"memory information", [&](auto& w) { w.writeMemoryInformation(m); },
            u32(4) + u32(1) + u64(2) + u64(3) + u32(4) + u64(5) + u64(6) + u64(7) + u64(8) + u64(9) + u64(10) + u32(11)
                + u64(12)},
        {"axis values",
            [](auto& w) {
                w.writeMachineAxisValues({AxisValue(1.5), AxisValue(-0.1)});
            },
            u32(44) + u32(2) + f64(1.5) + f64(-0.1)},
        {"vectors narrowed to the nearest float",
            [](auto& w) {
                w.writeToolAxis({0.1, -1e-50, 16777217.0});
            },
            u32(37) + vec(0.1f, -0.0f, 16777216.0f)},
    };
    for (auto const& test : cases)
        EXPECT_EQ(written(test.send), test.bytes) << test.what;

    // 20, 32 and 44 bytes with the code; 16 for the axis and the normal.
    EXPECT_EQ(cases[0].bytes.size(), 20u);
    EXPECT_EQ(cases[1].bytes.size(), 32u);
    EXPECT_EQ(cases[2].bytes.size(), 44u);
    EXPECT_EQ(cases[3].bytes.size(), 16u);
    EXPECT_EQ(KernelOutputStream::getAsVectorField({0.1, 2, -0.3}), Vector3D(0.1f, 2, -0.3f));
    EXPECT_EQ(KernelOutputStream::getAsVectorField_float({0.1, 2, -0.3}),
        (KernelOutputStream::FloatVector {0.1f, 2.0f, -0.3f}));
}

TEST(KernelOutputStream, TextEntitiesInBothEncodings)
{
    // U+1F600 is the pair D83D DE00 in UTF-16: four units but three code points.
    struct TextCase {
        char const* what;
        Send send;
        std::string ucs2Bytes;
        std::string ucs4Bytes;
    };
    std::vector<TextCase> const cases {
        {"information", [](auto& w) { w.writeInformation(L"a\U0001F600\u00E9"); }, u32(23) + ucs2(u"a\U0001F600\u00E9"),
            u32(23) + ucs4(U"a\U0001F600\u00E9")},
        {"warning", [](auto& w) { w.writeWarning(L"w"); }, u32(24) + ucs2(u"w"), u32(24) + ucs4(U"w")},
        {"error text", [](auto& w) { w.writeError(L"e"); }, u32(25) + ucs2(u"e"), u32(25) + ucs4(U"e")},
        {"debug", [](auto& w) { w.writeDebug(L""); }, u32(26) + u32(0), u32(26) + u32(0)},
        {"task id", [](auto& w) { w.writeTaskId(L"t1"); }, u32(12) + ucs2(u"t1"), u32(12) + ucs4(U"t1")},
        {"group", [](auto& w) { w.writeGroupBegin(L"g"); }, u32(39) + ucs2(u"g"), u32(39) + ucs4(U"g")},
        {"parameter", [](auto& w) { w.writeParameter(L"n", L"v\u00FC"); }, u32(10) + ucs2(u"n") + ucs2(u"v\u00FC"),
            u32(10) + ucs4(U"n") + ucs4(U"v\u00FC")},
        {"module", [](auto& w) { w.writeModule(L"m", 0x1000, 42); }, u32(7) + ucs2(u"m") + u64(0x1000) + u64(42),
            u32(7) + ucs4(U"m") + u64(0x1000) + u64(42)},
        // Narrow names and ids are UTF-8: "Ä" arrives as one character.
        {"axis ordering",
            [](auto& w) {
                w.writeMachineAxisOrdering({AxisInfo("head", "\xC3\x84"), AxisInfo("", "C")});
            },
            u32(43) + u32(2) + ucs2(u"\u00C4") + ucs2(u"head") + ucs2(u"C") + ucs2(u""),
            u32(43) + u32(2) + ucs4(U"\u00C4") + ucs4(U"head") + ucs4(U"C") + ucs4(U"")},
        // What is no Unicode scalar value is written as U+FFFD.
        {"lone surrogate", [](auto& w) { w.writeWarning(std::wstring(1, static_cast<wchar_t>(0xD800)).c_str()); },
            u32(24) + ucs2(u"\uFFFD"), u32(24) + ucs4(U"\uFFFD")},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(written(test.send), test.ucs2Bytes) << test.what;
        EXPECT_EQ(written(test.send, true), test.ucs4Bytes) << test.what;
    }

    AssertionCapture capture;
    EXPECT_EQ(written([](auto& w) { w.writeInformation(nullptr); }), u32(23) + u32(0));
    EXPECT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:text != nullptr"});
}

TEST(KernelOutputStream, RefusesTextsAboveTheLimitBeforeWritingTheirEntity)
{
    std::wstring const longest(1048576, L'w');
    std::wstring const pairAtTheEnd = std::wstring(1048575, L'w') + L"\U0001F600"; // 1048577 units, 1048576 points
    struct LimitCase {
        Send send;
        bool ucs4;
        bool accepted;
    };
    std::vector<LimitCase> const cases {
        {[&](auto& w) { w.writeInformation(longest.c_str()); }, false, true},
        {[&](auto& w) { w.writeInformation(longest.c_str()); }, true, true},
        {[&](auto& w) { w.writeInformation((longest + L"w").c_str()); }, false, false},
        {[&](auto& w) { w.writeInformation((longest + L"w").c_str()); }, true, false},
        {[&](auto& w) { w.writeDebug(pairAtTheEnd.c_str()); }, false, false},
        {[&](auto& w) { w.writeDebug(pairAtTheEnd.c_str()); }, true, true},
        {[&](auto& w) { w.writeParameter(L"name", (longest + L"w").c_str()); }, false, false},
        {[&](auto& w) { w.writeModule((longest + L"w").c_str(), 1, 2); }, true, false},
        {[&](auto& w) {
             w.writeMachineAxisOrdering({AxisInfo("", "X"), AxisInfo("", std::string(1048577, 'n'))});
         },
            false, false},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        MemoryOutputStream out;
        KernelOutputStream writer(&out);
        writer.setUCS4(cases[i].ucs4);
        writer.writeEnd();
        IOError const error = ioError([&] { cases[i].send(writer); });
        writer.flushStream();
        if (cases[i].accepted) {
            EXPECT_EQ(error.message, L"no exception") << i;
            EXPECT_GT(out.getData().size(), 1048576u) << i;
        } else {
            EXPECT_EQ(error, (IOError {L"String too long.", 4})) << i;
            EXPECT_EQ(out.getData(), u32(2)) << "nothing of the refused entity " << i;
        }
    }
}

TEST(KernelOutputStream, DebugTraceNamesEveryOperationAndItsArguments)
{
    Send const operations = [](KernelOutputStream& w) {
        w.writeHeader();
        w.writeError(7u);
        w.writeOutOfMemory(100, 50);
        w.writeInformation(L"caf\u00E9");
        w.writeWarning(L"w");
        w.writeModule(L"kernel.so", 4096, 8192);
        w.writeParameter(L"tolerance", L"0.01");
        w.writeProgress(0.5);
        w.writeLine({1, 2, 3}, NCStream::MOVEMENT_CUTTING);
        w.writeLine({1, 2, 3}, {0, 0, 1}, NCStream::MOVEMENT_RAPID);
        w.writeArc({1, 0, 0}, {0, 0, 0}, {0, 0, 1}, NCStream::MOVEMENT_CUTTING);
        w.writeToolAxis({0, 0, 1});
        w.writeMachineAxisOrdering({AxisInfo("", "X"), AxisInfo("table", "C")});
        w.writeTurnGroupBegin(NCStream::TURN_GROUP_TNR);
        w.writeDwell(2);
        w.writeCommand(NCStream::COMMAND_STOP);
        w.writeGroupBegin(L"g");
        w.writeEnd();
    };
    std::vector<std::string> lines;
    MemoryOutputStream out;
    {
        KernelOutputStream writer(&out, [&](std::string const& line) { lines.push_back(line); });
        writer.writeLine({1, 2, 3}, NCStream::MOVEMENT_CUTTING); // not traced: debug is off
        writer.setDebug(true);
        operations(writer);
        writer.log("a line of the kernel's own");
    }
    std::vector<std::string> const expected {
        "KernelOutputStream::writeHeader()",
        "KernelOutputStream::writeVersion()",
        "KernelOutputStream::writeError(7)",
        "KernelOutputStream::writeOutOfMemory(100, 50)",
        "KernelOutputStream::writeInformation('caf\xC3\xA9')",
        "KernelOutputStream::writeWarning('w')",
        "KernelOutputStream::writeModule('kernel.so', 4096, 8192)",
        "KernelOutputStream::writeParameter('tolerance', '0.01')",
        "KernelOutputStream::writeProgress(0.5)",
        "KernelOutputStream::writePoint((1, 2, 3), 2)",
        "KernelOutputStream::writePoint((1, 2, 3), (0, 0, 1), 0)",
        "KernelOutputStream::writeArc((1, 0, 0), (0, 0, 0), (0, 0, 1), 2)",
        "KernelOutputStream::writeToolAxis((0, 0, 1))",
        "KernelOutputStream::writeMachineAxisOrdering(2, X C)",
        "KernelOutputStream::writeTurnGroupBegin()",
        "KernelOutputStream::writeDwell()",
        "KernelOutputStream::writeCommand()",
        "KernelOutputStream::writeGroupBegin('g')",
        "KernelOutputStream::writeEnd()",
        "a line of the kernel's own",
        "KernelOutputStream::~KernelOutputStream()",
        "KernelOutputStream::~KernelOutputStream(): done",
    };
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(out.getData().substr(20), written(operations)) << "the trace changes nothing written";
}

TEST(KernelOutputStream, DestructorLogsAndFlushesWithoutDebug)
{
    std::vector<std::string> lines;
    RecordingOutputStream sink;
    {
        KernelOutputStream writer(&sink, [&](std::string const& line) {
            lines.push_back(line + (sink.calls.empty() ? " (nothing written yet)" : ""));
        });
        writer.writeEnd();
    }
    EXPECT_EQ(lines,
        (std::vector<std::string> {"KernelOutputStream::~KernelOutputStream() (nothing written yet)",
            "KernelOutputStream::~KernelOutputStream(): done"}));
    EXPECT_EQ(sink.bytes, u32(2));

    // flushStream hands the buffer over and flushes the output; closeStream closes it.
    RecordingOutputStream other;
    KernelOutputStream writer(&other);
    writer.writeToolpathOpen();
    writer.flushStream();
    writer.writeToolpathClose();
    writer.closeStream();
    EXPECT_EQ(other.calls, (std::vector<std::string> {"w12", "f", "w4", "c"}));
}

TEST(KernelOutputStream, OutputFailuresNameTheFieldAndItsOffset)
{
    // Lines of 20 bytes fill the buffer of 1 MiB up to 16 bytes before its end.
    constexpr std::uint64_t Block = 1 << 20;
    struct FailureCase {
        char const* what;
        std::size_t capacity;
        Send last;
        IOError error;
        std::wstring laterCause;
    };
    std::vector<FailureCase> const cases {
        {"a line across the block's end", 100, [](auto& w) { w.writeLine({}, NCStream::MOVEMENT_RAPID); },
            {L"Cannot write field 29: Disk full.", Block - 16}, L"Disk full."},
        {"a text entity", 100, [](auto& w) { w.writeInformation(std::wstring(40, L'i').c_str()); },
            {L"Cannot write field 23: Disk full.", Block - 16}, L"Disk full."},
        {"an arc", 100, [](auto& w) { w.writeArc({}, {}, {}, NCStream::MOVEMENT_CUTTING); },
            {L"Cannot write field 31: Disk full.", Block - 16}, L"Disk full."},
        // The line below fills the block whole and 4 bytes more, which the output cannot take.
        {"the flush", Block, [](auto& w) { w.flushStream(); }, {L"Cannot flush the output: Disk full.", Block + 4},
            L"Disk full."},
        {"the close", Block, [](auto& w) { w.closeStream(); }, {L"Cannot close the output: Disk full.", Block + 4},
            L"Stream is closed."},
    };
    for (auto const& c : cases) {
        FullOutputStream out(c.capacity);
        {
            KernelOutputStream writer(&out);
            while (writer.getPosition() < Block - 16)
                writer.writeLine({}, NCStream::MOVEMENT_CUTTING);
            if (c.capacity == Block)
                writer.writeLine({}, NCStream::MOVEMENT_CUTTING);
            EXPECT_EQ(ioError([&] { c.last(writer); }), c.error) << c.what;
            // From then on every entity throws the same way at its own offset.
            std::uint64_t const at = writer.getPosition();
            EXPECT_EQ(
                ioError([&] { writer.writeToolAxis({}); }), (IOError {L"Cannot write field 37: " + c.laterCause, at}))
                << c.what;
            EXPECT_EQ(ioError([&] { writer.writeHeader(); }), (IOError {L"Cannot write field 0: " + c.laterCause, at}))
                << c.what;
        }
        EXPECT_EQ(out.callsAfterFailure, 0u) << "nothing more reaches the output: " << c.what;
    }
}
