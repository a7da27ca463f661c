// CutterLocationDataWriter: the header, the bytes of every record, context and tool runs, string
// limits, what it counts as left out, and failures of the output.
#include "nc/nc/io/CutterLocationDataWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "tests/support/EventSamples.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/Architecture.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <type_traits>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

// Expected numbers are in the byte order of the machine that runs the test, as the writer's.
using Native = std::conditional_t<Architecture::isLE(), LittleEndian, BigEndian>;

template <class Encode> std::string bytesOf(std::size_t size, Encode encode)
{
    std::string bytes(size, '\0');
    encode(reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}
std::string u32(std::uint32_t v)
{
    return bytesOf(4, [v](unsigned char* p) { Native::writeUInt32(p, v); });
}
std::string u16(std::uint16_t v)
{
    return bytesOf(2, [v](unsigned char* p) { Native::writeUInt16(p, v); });
}
std::string f32(float v)
{
    return bytesOf(4, [v](unsigned char* p) { Native::writeFloat(p, v); });
}
std::string vec(float x, float y, float z) { return f32(x) + f32(y) + f32(z); }
std::string text(std::string const& value) { return u32(static_cast<std::uint32_t>(value.size())) + value; }

std::string const uri = "http://www.quarn.dev/namespace/nc/format/cutter-location-data";

std::string header()
{
    return text(uri) + u32(1) + std::string("\x01\x00\x00", 3) + u32(10) + text("xmlns:cld") + text(uri) + u32(10)
        + text("cld:byte-order") + text(Architecture::isLE() ? "le" : "be");
}

using Send = std::function<void(CutterLocationDataWriter&)>;

std::string writeProgram(Send const& send)
{
    MemoryOutputStream out;
    CutterLocationDataWriter writer(&out);
    writer.onOpen();
    send(writer);
    writer.onClose();
    return out.getData();
}

std::string writeRecords(Send const& send) { return writeProgram(send).substr(header().size()); }

// A header (182 bytes) and 100000 moves (16 bytes each): a block of the writer's buffer of 1 MiB
// and part of a second.
constexpr int Moves = 100'000;

void sendMoves(CutterLocationDataWriter& writer)
{
    writer.onOpen();
    for (int i = 0; i < Moves; ++i)
        writer.onLinear({static_cast<double>(i), 0, 0}, 100, 0);
    writer.onClose();
}

} // namespace

TEST(CutterLocationDataWriter, OpenWritesTheHeaderAndItsTwoParametersAndCloseOnlyFlushes)
{
    EXPECT_EQ(writeProgram([](auto&) {}), header());
    EXPECT_EQ(header().size(), 182u);
    EXPECT_EQ(CutterLocationDataWriter::getUri(), L"http://www.quarn.dev/namespace/nc/format/cutter-location-data");
    if constexpr (Architecture::isLE()) {
        EXPECT_EQ(header().substr(0, 4), std::string("\x3D\x00\x00\x00", 4)) << "61, little-endian";
    }

    RecordingOutputStream sink;
    CutterLocationDataWriter writer(&sink);
    EXPECT_TRUE(writer.onOpen());
    EXPECT_TRUE(writer.onClose());
    EXPECT_EQ(sink.calls, (std::vector<std::string> {"w182", "f"}));
}

TEST(CutterLocationDataWriter, RecordsHaveTheirLayout)
{
    Vector3D const a(1, 2, 3), b(4, 5, 6), c(7, 8, 9), d(10, 11, 12);
    std::string const A = vec(1, 2, 3), B = vec(4, 5, 6), C = vec(7, 8, 9);
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    // Not symmetric: the elements must come row after row.
    Matrix3x3 m;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            m(row, column) = 10 * row + column;
    std::string const rows = vec(0, 1, 2) + vec(10, 11, 12) + vec(20, 21, 22);
    struct RecordCase {
        char const* what;
        Send send;
        std::string bytes;
    };
    std::vector<RecordCase> const cases {
        {"text", [](auto& w) { w.onParameter("n", "v"); }, u32(10) + text("n") + text("v")},
        {"null text", [](auto& w) { w.onParameter(nullptr, static_cast<char const*>(nullptr)); },
            u32(10) + u32(0) + u32(0)},
        // U+1F600 is the pair D83D DE00: four units for three characters.
        {"wide text", [](auto& w) { w.onParameter("n", L"a\U0001F600\u00E9"); },
            u32(11) + text("n") + u32(4) + u16('a') + u16(0xD83D) + u16(0xDE00) + u16(0xE9)},
        {"int", [](auto& w) { w.onParameter("n", -2); }, u32(12) + text("n") + u32(0xFFFFFFFE)},
        {"double, as the nearest float", [](auto& w) { w.onParameter("n", 0.1); }, u32(13) + text("n") + f32(0.1f)},
        {"kinded, as the base sends it", [](auto& w) { w.onParameter("n", 2.5, NCStream::PARAMETER_KIND_ANGLE); },
            u32(12) + text("kind") + u32(2) + u32(13) + text("n") + f32(2.5f)},
        {"vector", [&](auto& w) { w.onVectorParameter("n", a); }, u32(14) + text("n") + A},
        {"matrix", [&](auto& w) { w.onMatrixParameter("n", m); }, u32(15) + text("n") + rows},
        {"point", [](auto& w) { w.onParameter("n", Point3D(1, 2, 3)); }, u32(18) + text("n") + A},
        {"section", [](auto& w) { w.onSection(), w.onSectionEnd(); }, u32(30) + u32(31)},
        {"rapid", [&](auto& w) { w.onRapid(a, 0); }, u32(100) + A},
        {"linear", [&](auto& w) { w.onLinear(a, 500, cut); }, u32(100) + A},
        {"linear extrude", [&](auto& w) { w.onLinearExtrude(a, 500, 0.5); }, u32(100) + A},
        {"ccw arc", [&](auto& w) { w.onCCWArc(a, b, c, 500, cut); }, u32(110) + A + B + C},
        {"cw arc", [&](auto& w) { w.onCWArc(a, b, c, 500, cut); }, u32(111) + A + B + C},
        {"ccw circle", [&](auto& w) { w.onCCWCircle(a, b, c, 500, cut); }, u32(112) + A + B + C},
        {"cw circle", [&](auto& w) { w.onCWCircle(a, b, c, 500, cut); }, u32(113) + A + B + C},
        {"ccw arc extrude", [&](auto& w) { w.onCCWArcExtrude(a, b, c, 500, 0.5, cut); }, u32(110) + A + B + C},
        {"cw arc extrude", [&](auto& w) { w.onCWArcExtrude(a, b, c, 500, 0.5, cut); }, u32(111) + A + B + C},
        {"circular", [&](auto& w) { w.onCircular(a, b, c, -1.5, 500, cut); }, u32(114) + A + B + C + f32(-1.5f)},
        {"circular extrude", [&](auto& w) { w.onCircularExtrude(a, b, c, -1.5, 500, 0.5, cut); },
            u32(114) + A + B + C + f32(-1.5f)},
        {"linear 5D", [&](auto& w) { w.onLinear5D(a, b, 500, cut); }, u32(120) + A + B},
        {"rapid 5D", [&](auto& w) { w.onRapid5D(a, b, 0); }, u32(120) + A + B},
        {"linear 5D frame", [&](auto& w) { w.onLinear5D(a, b, c, d, 500, cut); }, u32(120) + A + B},
        {"rapid 5D frame", [&](auto& w) { w.onRapid5D(a, b, c, d, 0); }, u32(120) + A + B},
        {"narrowed to the nearest float",
            [](auto& w) {
                w.onRapid({0.1, -1e-50, 16777217.0}, 0);
            },
            u32(100) + vec(0.1f, -0.0f, 16777216.0f)},
        {"not recorded",
            [&](auto& w) {
                w.onToolChange(), w.onDwell(1, 0), w.onComment("c"), w.onStock(a, b), w.onGroup("g");
                w.onGroupEnd(), w.onBezier(a, b, c, 1, 0), w.onSkip(), w.onLineNumber(3);
            },
            ""},
    };
    for (auto const& test : cases)
        EXPECT_EQ(writeRecords(test.send), test.bytes) << test.what;
}

TEST(CutterLocationDataWriter, ContextAndToolAreRunsOfParameters)
{
    auto context = [](unsigned int unit, unsigned int compensation) {
        NCContext c;
        c.setUnit(static_cast<NCUnit::Unit>(unit));
        c.setCompensation(static_cast<NCContext::Compensation>(compensation));
        c.setOrigin({1, 2, 3});
        return c;
    };
    std::string const origin = u32(14) + text("cld:origin") + vec(1, 2, 3);
    std::string const plane = u32(15) + text("cld:plane") + vec(1, 0, 0) + vec(0, 1, 0) + vec(0, 0, 1);
    struct ContextCase {
        NCContext context;
        char const* unit;
        char const* compensation;
    } const cases[] = {
        {context(NCUnit::MILLIMETERS, NCContext::COMPENSATION_TIP), "millimeters", "tip"},
        {context(NCUnit::INCHES, NCContext::COMPENSATION_CENTER), "inches", "center"},
        {context(2, 7), "inches", "center"}, // values outside the enumerations
    };
    for (auto const& test : cases) {
        EXPECT_EQ(writeRecords([&](auto& w) { EXPECT_TRUE(w.onContext(test.context)); }),
            u32(10) + text("cld:unit") + text(test.unit) + u32(10) + text("cld:compensation") + text(test.compensation)
                + origin + plane)
            << test.unit << " " << test.compensation;
    }

    NCTool tool;
    tool.setUnit(NCUnit::INCHES);
    tool.setDiameter(0.5);
    tool.setCornerRadius(0.125);
    tool.setTaperAngle(3);
    tool.setFluteLength(2.25);
    EXPECT_EQ(writeRecords([&](auto& w) { EXPECT_TRUE(w.onTool(tool)); }),
        u32(10) + text("cld:tool-unit") + text("inches") + u32(13) + text("cld:cutter-diameter") + f32(0.5f) + u32(13)
            + text("cld:corner-radius") + f32(0.125f) + u32(13) + text("cld:taper-angle") + f32(3) + u32(13)
            + text("cld:flute-length") + f32(2.25f));
}

TEST(CutterLocationDataWriter, RefusesStringsAboveItsLimitBeforeWritingTheirRecord)
{
    std::wstring const pairAtTheEnd = std::wstring(131070, L'w') + L"\U0001F600"; // 131072 units
    std::vector<std::pair<Send, bool>> const cases {
        {[](auto& w) { w.onParameter(std::string(131072, 'n').c_str(), 1); }, true},
        {[](auto& w) { w.onParameter(std::string(131073, 'n').c_str(), 1); }, false},
        {[&](auto& w) { w.onParameter("n", pairAtTheEnd.c_str()); }, true},
        {[&](auto& w) { w.onParameter("n", (L"w" + pairAtTheEnd).c_str()); }, false},
        {[](auto& w) { w.onParameter("n", std::string(131073, 'v').c_str()); }, false},
        {[](auto& w) { w.onVectorParameter(std::string(131073, 'n').c_str(), {}); }, false},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        MemoryOutputStream out;
        CutterLocationDataWriter writer(&out);
        writer.onOpen();
        IOError const error = ioError([&] { cases[i].first(writer); });
        writer.onClose();
        if (cases[i].second) {
            EXPECT_EQ(error.message, L"no exception") << i;
            EXPECT_GT(out.getData().size(), 182u + 131072u) << i;
        } else {
            EXPECT_EQ(error, (IOError {L"String too long.", 182})) << i;
            EXPECT_EQ(out.getData(), header()) << i;
        }
    }
}

TEST(CutterLocationDataWriter, CountsWhatItLeavesOut)
{
    MemoryOutputStream out;
    CutterLocationDataWriter writer(&out);
    std::array<std::uint64_t, NCEventCount> calls {}; // of each kind: overloads count apart
    callEveryOperation(writer, [&](NCEvent event, bool answer) {
        EXPECT_TRUE(answer) << getEventName(event);
        ++calls[static_cast<std::size_t>(event)];
    });
    for (std::size_t i = 0; i < NCEventCount; ++i) {
        NCEvent const kind = static_cast<NCEvent>(i);
        bool const written = kind == NCEvent::onOpen || kind == NCEvent::onClose || kind == NCEvent::onParameter
            || kind == NCEvent::onContext || kind == NCEvent::onTool || kind == NCEvent::onSection
            || kind == NCEvent::onSectionEnd
            || (isMotionEvent(kind) && getEventCategory(kind) != NCEventCategory::FreeForm);
        EXPECT_EQ(writer.getLeftOut(kind), written ? 0u : calls[i]) << getEventName(kind);
    }

    Vector3D const a(1, 2, 3), z(0, 0, 1);
    unsigned int const absolute = NCStream::FLAG_ABSOLUTE_DIRECTION;
    using Counts = std::array<std::uint64_t, LeftOutValueCount>; // feed, flags, extrusion, five-axis frame
    struct CountCase {
        char const* what;
        Send send;
        Counts counts;
    } const cases[] = {
        {"rapid", [&](auto& w) { w.onRapid(a, 0); }, {0, 0, 0, 0}},
        {"rapid with flags", [&](auto& w) { w.onRapid(a, 1); }, {0, 1, 0, 0}},
        {"linear", [&](auto& w) { w.onLinear(a, 0, 0); }, {1, 0, 0, 0}},
        {"linear extrude", [&](auto& w) { w.onLinearExtrude(a, 1, 1); }, {1, 0, 1, 0}},
        {"arc with flags", [&](auto& w) { w.onCWArc(a, a, z, 1, 0x80); }, {1, 1, 0, 0}},
        {"circular extrude", [&](auto& w) { w.onCircularExtrude(a, a, z, 1, 1, 1, 0); }, {1, 0, 1, 0}},
        {"arc extrude with flags", [&](auto& w) { w.onCCWArcExtrude(a, a, z, 1, 1, 2); }, {1, 1, 1, 0}},
        {"rapid 5D absolute", [&](auto& w) { w.onRapid5D(a, z, absolute); }, {0, 0, 0, 0}},
        {"rapid 5D as axis values", [&](auto& w) { w.onRapid5D(a, z, 0); }, {0, 1, 0, 0}},
        {"linear 5D with more flags", [&](auto& w) { w.onLinear5D(a, z, 1, absolute | 1); }, {1, 1, 0, 0}},
        {"linear 5D frame", [&](auto& w) { w.onLinear5D(a, z, a, a, 1, absolute); }, {1, 0, 0, 1}},
        {"rapid 5D frame", [&](auto& w) { w.onRapid5D(a, z, a, a, 0); }, {0, 1, 0, 1}},
    };
    for (auto const& test : cases) {
        MemoryOutputStream sink;
        CutterLocationDataWriter counting(&sink);
        test.send(counting);
        Counts counts;
        for (std::size_t i = 0; i < LeftOutValueCount; ++i)
            counts[i] = counting.getLeftOut(static_cast<LeftOutValue>(i));
        EXPECT_EQ(counts, test.counts) << test.what;
    }
}

TEST(CutterLocationDataWriter, AFailedOutputIsAnIOExceptionNamingTheRecordAndItsOffset)
{
    MemoryOutputStream whole;
    CutterLocationDataWriter complete(&whole);
    sendMoves(complete);
    std::string const& bytes = whole.getData();
    ASSERT_EQ(bytes.size(), 182u + 16 * Moves);
    // The first block of 1 MiB ends 10 bytes into the move at 182 + 16 * 65524.
    IOError const first {L"Cannot write record 100: Disk full.", 1048566};
    struct Case {
        char const* what;
        std::size_t capacity; // bytes the output takes
        IOError error;
    } const cases[] = {
        {"inside the header", 10, first},
        {"last byte of the first block", 1048565, first},
        {"last byte, at close", bytes.size() - 1, {L"Cannot flush the output: Disk full.", bytes.size()}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        FullOutputStream out(c.capacity);
        {
            CutterLocationDataWriter writer(&out);
            EXPECT_EQ(ioError([&] { sendMoves(writer); }), c.error);
            EXPECT_EQ(out.bytes, bytes.substr(0, c.capacity)) << "what fits, in order";
            std::pair<Send, std::wstring> const later[] = {
                {[](auto& w) { w.onSection(); }, L"Cannot write record 30: Disk full."},
                {[](auto& w) { w.onParameter("n", L"x"); }, L"Cannot write record 11: Disk full."},
                {[](auto& w) { w.onContext(NCContext()); }, L"Cannot write record 10: Disk full."},
                {[](auto& w) { w.onOpen(); }, L"Cannot write the header: Disk full."},
                {[](auto& w) { w.onClose(); }, L"Cannot flush the output: Disk full."},
            };
            for (auto const& [send, message] : later)
                EXPECT_EQ(ioError([&, &send = send] { send(writer); }).message, message);
        }
        EXPECT_EQ(out.callsAfterFailure, 0u) << "nothing written after the failure, not even by the destructor";
    }
}
