// CompactNCIWriter: the bytes of the header and of every record, string limits, the context
// ladder, forced tool changes, turn groups and map-to-WCS.
#include "nc/nc/io/CompactNCIWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIImpl.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/nc/io/CompactNCITesting.h"
#include "tests/support/EventSamples.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using Send = std::function<void(CompactNCIWriter&)>;

struct RecordCase {
    char const* what;
    Send send;
    std::string bytes;
};

std::string zeros(std::size_t count) { return std::string(count, '\0'); }

// The code and size of the first record send writes.
std::pair<std::uint32_t, std::size_t> firstRecord(Send const& send)
{
    std::string bytes = writeRecords(send);
    return {LittleEndian::readUInt32(reinterpret_cast<unsigned char const*>(bytes.data())), bytes.size()};
}

// A header (63 bytes) and 100000 linear moves (24 bytes each): two blocks of the writer's
// buffer of 1 MiB and part of a third.
constexpr int Moves = 100'000;

void sendMoves(CompactNCIWriter& writer)
{
    writer.onOpen();
    for (int i = 0; i < Moves; ++i)
        writer.onLinear({static_cast<double>(i), 0, 0}, 100, 0);
    writer.onClose();
}

std::string const& movesFile()
{
    static std::string const bytes = [] {
        MemoryOutputStream out;
        CompactNCIWriter writer(&out);
        sendMoves(writer);
        return out.getData();
    }();
    return bytes;
}

} // namespace

TEST(CompactNCIWriter, OpenWritesTheHeaderAndCloseOnlyFlushes)
{
    EXPECT_EQ(writeProgram([](CompactNCIWriter&) {}), header());
    EXPECT_EQ(header().size(), 63u);
    EXPECT_EQ(CompactNCIWriter::getUri(), L"http://www.quarn.dev/namespace/nc/format/compact-nci");

    RecordingOutputStream sink;
    CompactNCIWriter writer(&sink);
    EXPECT_TRUE(writer.onOpen());
    EXPECT_TRUE(writer.onClose());
    EXPECT_EQ(sink.calls, (std::vector<std::string> {"w63", "f"}));
}

TEST(CompactNCIWriter, FixedSizeRecordsHaveTheirLayout)
{
    Vector3D const a(1, 2, 3), b(4, 5, 6), c(7, 8, 9), d(10, 11, 12);
    std::string const A = vec(1, 2, 3), B = vec(4, 5, 6), C = vec(7, 8, 9), D = vec(10, 11, 12);
    std::string const arc = A + B + C + f32(0.5f) + u32(7);
    std::string const arcExtrude = A + B + C + f32(0.5f) + f32(0.25f) + u32(7);
    std::vector<RecordCase> const cases {
        {"linear", [&](auto& w) { w.onLinear(a, 0.5, 0x10007); }, u32(100) + A + f32(0.5f) + u32(0x10007)},
        {"rapid", [&](auto& w) { w.onRapid(a, 9); }, u32(101) + A + u32(9)},
        {"dwell", [&](auto& w) { w.onDwell(2.5, 0x40); }, u32(102) + f32(2.5f) + u32(0x40)},
        {"spindle speed", [&](auto& w) { w.onSpindleSpeed(1200); }, u32(103) + f32(1200)},
        {"coolant", [&](auto& w) { w.onCoolant(5, NCStream::COOLANT_LEVEL_LOW); }, u32(104) + u32(5) + u32(1)},
        {"ccw arc", [&](auto& w) { w.onCCWArc(a, b, c, 0.5, 7); }, u32(110) + arc},
        {"cw arc", [&](auto& w) { w.onCWArc(a, b, c, 0.5, 7); }, u32(111) + arc},
        {"ccw circle", [&](auto& w) { w.onCCWCircle(a, b, c, 0.5, 7); }, u32(112) + arc},
        {"cw circle", [&](auto& w) { w.onCWCircle(a, b, c, 0.5, 7); }, u32(113) + arc},
        {"circular", [&](auto& w) { w.onCircular(a, b, c, -1.5, 0.5, 7); },
            u32(114) + A + B + C + f32(-1.5f) + f32(0.5f) + u32(7)},
        {"linear 5D", [&](auto& w) { w.onLinear5D(a, b, 0.5, 7); }, u32(120) + A + B + f32(0.5f) + u32(7)},
        {"rapid 5D", [&](auto& w) { w.onRapid5D(a, b, 7); }, u32(121) + A + B + u32(7)},
        {"linear 5D frame", [&](auto& w) { w.onLinear5D(a, b, c, d, 0.5, 7); },
            u32(122) + A + B + C + D + f32(0.5f) + u32(7)},
        {"rapid 5D frame", [&](auto& w) { w.onRapid5D(a, b, c, d, 7); }, u32(123) + A + B + C + D + u32(7)},
        {"command", [&](auto& w) { w.onCommand(NCStream::COMMAND_END); }, u32(130) + u32(3)},
        {"machine command", [&](auto& w) { w.onMachineCommand(77); }, u32(131) + u32(77)},
        {"linear extrude", [&](auto& w) { w.onLinearExtrude(a, 0.5, 0.25); }, u32(140) + A + f32(0.5f) + f32(0.25f)},
        {"circular extrude", [&](auto& w) { w.onCircularExtrude(a, b, c, -1.5, 0.5, 0.25, 7); },
            u32(150) + A + B + C + f32(-1.5f) + f32(0.5f) + f32(0.25f) + u32(7)},
        {"ccw arc extrude", [&](auto& w) { w.onCCWArcExtrude(a, b, c, 0.5, 0.25, 7); }, u32(151) + arcExtrude},
        {"cw arc extrude", [&](auto& w) { w.onCWArcExtrude(a, b, c, 0.5, 0.25, 7); }, u32(152) + arcExtrude},
        {"stock", [&](auto& w) { w.onStock(a, b); }, u32(14) + A + B},
        {"section", [&](auto& w) { w.onSection(); }, u32(30) + zeros(12)},
        {"section end", [&](auto& w) { w.onSectionEnd(); }, u32(31)},
        {"tool change", [&](auto& w) { w.onToolChange(); }, u32(32)},
        {"group end", [&](auto& w) { w.onGroupEnd(); }, u32(301)},
        {"motion narrowed to the nearest float",
            [&](auto& w) {
                w.onRapid({0.1, -1e-50, 16777217.0}, 0);
            },
            u32(101) + vec(0.1f, -0.0f, 16777216.0f) + u32(0)},
        {"not recorded", [&](auto& w) { w.onSkip(), w.onLineNumber(3), w.onBezier(a, b, c, 1, 0); }, ""},
    };
    for (auto const& test : cases)
        EXPECT_EQ(writeRecords(test.send), test.bytes) << test.what;
}

TEST(CompactNCIWriter, StringRecordsHaveTheirLayout)
{
    std::vector<RecordCase> const cases {
        {"comment", [](auto& w) { w.onComment("abc"); }, u32(16) + text("abc")},
        // U+1F600 is the pair D83D DE00: four units for three characters.
        {"wide comment", [](auto& w) { w.onComment(L"a\U0001F600\u00E9"); },
            u32(17) + u32(4) + std::string("a\0\x3D\xD8\x00\xDE\xE9\x00", 8)},
        {"null comment", [](auto& w) { w.onComment(static_cast<char const*>(nullptr)); }, u32(16) + u32(0)},
        {"pass-through", [](auto& w) { w.passThrough("x"); }, u32(200) + text("x")},
        {"wide pass-through", [](auto& w) { w.passThrough(L"x"); }, u32(201) + u32(1) + std::string("x\0", 2)},
        {"group", [](auto& w) { w.onGroup("g"); }, u32(300) + text("g")},
        {"text parameter", [](auto& w) { w.onParameter("n", "v"); }, u32(10) + text("n") + text("v")},
        {"wide parameter", [](auto& w) { w.onParameter("n", L"v"); },
            u32(11) + text("n") + u32(1) + std::string("v\0", 2)},
        {"int parameter", [](auto& w) { w.onParameter("n", -2); }, u32(12) + text("n") + u32(0xFFFFFFFE)},
        {"double parameter", [](auto& w) { w.onParameter("n", 0.1); }, u32(15) + text("n") + f64(0.1)},
        {"kinded parameter", [](auto& w) { w.onParameter("n", 0.1, NCStream::PARAMETER_KIND_ANGLE); },
            u32(12) + text("kind") + u32(2) + u32(15) + text("n") + f64(0.1)},
        {"point parameter", [](auto& w) { w.onParameter("n", Point3D(0.1, 0.2, 0.3)); },
            u32(18) + text("n") + f64(0.1) + f64(0.2) + f64(0.3)},
        {"axis ordering",
            [](auto& w) {
                w.onMachineAxisOrdering({AxisInfo("head", "A"), AxisInfo("", "C")});
            },
            u32(400) + u32(2) + text("A") + text("head") + text("C") + text("")},
        {"axis values",
            [](auto& w) {
                w.onMachineAxisValues({AxisValue(1.5), AxisValue(-0.1)});
            },
            u32(401) + u32(2) + f64(1.5) + f64(-0.1)},
        {"frame",
            [](auto& w) {
                w.onFrame(TaggedFrame("fix", "world", Frame({0.1, 2, 3}, {0, 1, 0}, {0, 0, 1})));
            },
            u32(500) + text("fix") + text("world") + f64(0.1) + f64(2) + f64(3) + f64(0) + f64(1) + f64(0) + f64(0)
                + f64(0) + f64(1)},
    };
    for (auto const& test : cases)
        EXPECT_EQ(writeRecords(test.send), test.bytes) << test.what;
}

TEST(CompactNCIWriter, RefusesStringsAboveTheLimitBeforeWritingTheirRecord)
{
    std::wstring const pairAtTheEnd = std::wstring(131070, L'w') + L"\U0001F600"; // 131072 units
    std::vector<std::pair<Send, bool>> const cases {
        {[](auto& w) { w.onComment(std::string(131072, 'n').c_str()); }, true},
        {[](auto& w) { w.onComment(std::string(131073, 'n').c_str()); }, false},
        {[&](auto& w) { w.onComment(pairAtTheEnd.c_str()); }, true},
        {[&](auto& w) { w.onComment((L"w" + pairAtTheEnd).c_str()); }, false},
        {[](auto& w) { w.onParameter("n", std::string(131073, 'v').c_str()); }, false},
        {[](auto& w) { w.onGroup(std::string(131073, 'g').c_str()); }, false},
        {[](auto& w) { w.onFrame(TaggedFrame("t", std::string(131073, 'b'), Frame())); }, false},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        MemoryOutputStream out;
        CompactNCIWriter writer(&out);
        writer.onOpen();
        IOError error = ioError([&] { cases[i].first(writer); });
        writer.onClose();
        if (cases[i].second) {
            EXPECT_EQ(error.message, L"no exception") << i;
            EXPECT_GT(out.getData().size(), 131072u) << i;
        } else {
            EXPECT_EQ(error, (IOError {L"String too long.", 63})) << i;
            EXPECT_EQ(out.getData(), header()) << i;
        }
    }
}

TEST(CompactNCIWriter, ContextCodeIsTheLowestRevisionHoldingEveryField)
{
    using C = NCContext;
    struct LadderCase {
        char const* what;
        std::function<void(C&)> set;
        std::uint32_t code;
        std::size_t size; // code, blocks, two empty names
    };
    std::vector<LadderCase> const cases {
        {"default", [](C&) {}, 24, 4 + 228 + 8},
        {"coordinate systems",
            [](C& c) {
                c.setFCSOrigin({1, 2, 3}), c.setModelOrigin({4, 5, 6});
            },
            24, 240},
        {"names", [](C& c) { c.setWorkName(L"ab"); }, 24, 244},
        {"unknown system", [](C& c) { c.setUnknownSystem(true); }, 28, 4 + 124 + 116 + 8},
        {"tilt mode", [](C& c) { c.setTiltMode(C::TILT_PLANE); }, 29, 252 + 16},
        {"axis substitution", [](C& c) { c.setAxisSubstitution(true); }, 29, 268},
        {"quality", [](C& c) { c.setQuality(1); }, 29, 268},
        {"work offset", [](C& c) { c.setWorkOffset(1); }, 29, 268},
        {"spindle", [](C& c) { c.setSpindle(1); }, 1031, 268 + 12},
        {"feed mode", [](C& c) { c.setFeedMode(C::FEED_INVERSE_TIME); }, 1031, 280},
        {"part catcher", [](C& c) { c.setPartCatcher(true); }, 1031, 280},
        {"pattern id", [](C& c) { c.setPatternId(1); }, 1034, 280 + 36},
        {"jet mode", [](C& c) { c.setJetMode(C::JET_THROUGH_CUT); }, 1034, 316},
        {"force tool change", [](C& c) { c.setForceToolChange(true); }, 1034, 316},
        {"substitution radius", [](C& c) { c.setAxisSubstitutionRadius(0); }, 1034, 316},
        {"dynamic work offset", [](C& c) { c.setDynamicWorkOffset(0); }, 1036, 316 + 52},
        {"model plane",
            [](C& c) {
                c.setModelPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
            },
            1037, 368 + 48},
        {"later steps win", [](C& c) { c.setUnknownSystem(true), c.setDynamicWorkOffset(1), c.setSpindle(1); }, 1036,
            368},
    };
    for (auto const& test : cases) {
        C context;
        test.set(context);
        auto [code, size] = firstRecord([&](auto& w) { w.onContext(context); });
        EXPECT_EQ(code, test.code) << test.what;
        EXPECT_EQ(size, test.size) << test.what;
    }
}

TEST(CompactNCIWriter, PendingForcedToolChangeGoesIntoTheNextContexts)
{
    std::string const force = CompactNCIImpl::getForceToolChangeUri();
    EXPECT_EQ(force, "http://www.quarn.dev/namespace/nc/parameter/force-tool-change");
    NCContext const plain;
    struct ForceCase {
        char const* what;
        Send send;
        std::vector<bool> forced; // of each context replayed
    };
    std::vector<ForceCase> const cases {
        {"set", [&](auto& w) { w.onParameter(force.c_str(), 5), w.onContext(plain), w.onContext(plain); },
            {true, true}},
        {"cleared by 0",
            [&](auto& w) { w.onParameter(force.c_str(), 5), w.onParameter(force.c_str(), 0), w.onContext(plain); },
            {false}},
        {"cleared by a section",
            [&](auto& w) { w.onParameter(force.c_str(), 1), w.onContext(plain), w.onSection(), w.onContext(plain); },
            {true, false}},
        {"cleared by open", [&](auto& w) { w.onParameter(force.c_str(), 1), w.onOpen(), w.onContext(plain); }, {false}},
    };
    for (auto const& test : cases) {
        std::string bytes = writeProgram(test.send);
        RecordingNCStream recorder;
        // The second header of "cleared by open" is skipped by reading from the last one.
        replay(bytes.substr(bytes.rfind(header())), recorder);
        std::vector<bool> forced;
        for (auto const& context : recorder.contexts)
            forced.push_back(context.getForceToolChange());
        EXPECT_EQ(forced, test.forced) << test.what;
        EXPECT_EQ(bytes.find(force), std::string::npos) << test.what;
    }
    // The pending flag alone lifts the context to revision 1034.
    auto [code, size] = firstRecord([&](auto& w) { w.onParameter(force.c_str(), 5), w.onContext(plain); });
    EXPECT_EQ(code, 1034u);
    EXPECT_EQ(size, 316u);
}

TEST(CompactNCIWriter, TurnGroupsAreWrittenAsGroupsExceptTheToolNoseRadiusGroup)
{
    std::string const tnr = CompactNCIImpl::getUri().substr(0, 20) + "/namespace/nc/cycle/turning-TNR";
    EXPECT_EQ(writeRecords([&](auto& w) { w.onTurnGroup(tnr.c_str()), w.onRapid({}, 0), w.onTurnGroupEnd(); }),
        u32(101) + vec(0, 0, 0) + u32(0));
    EXPECT_EQ(
        writeRecords([](auto& w) { w.onTurnGroup("turning-TNR"), w.onTurnGroupEnd(), w.onTurnGroupEnd(); }), u32(301));
    EXPECT_EQ(writeRecords([](auto& w) { w.onTurnGroup("roughing"), w.onTurnGroupEnd(); }),
        u32(300) + text("roughing") + u32(301));
}

TEST(CompactNCIWriter, CountsTheEventsItHasNoRecordFor)
{
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    callEveryOperation(writer, [](NCEvent, bool) { });
    std::string const tnr = CompactNCIImpl::getUri().substr(0, 20) + "/namespace/nc/cycle/turning-TNR";
    writer.onTurnGroup(tnr.c_str());
    writer.onTurnGroupEnd();
    for (std::size_t i = 0; i < NCEventCount; ++i) {
        NCEvent const kind = static_cast<NCEvent>(i);
        bool const leftOut = kind == NCEvent::onToolpathEntityIndex || kind == NCEvent::onRadiusCompensationMode
            || kind == NCEvent::onRadiusCompensation || kind == NCEvent::onSpline || kind == NCEvent::onBezier
            || kind == NCEvent::onNURBS || kind == NCEvent::onSkip || kind == NCEvent::onLineNumber
            || kind == NCEvent::onTurnGroup;
        EXPECT_EQ(writer.getLeftOut(kind), leftOut ? 1u : 0u) << getEventName(kind);
    }
}

TEST(CompactNCIWriter, MapToWCSWritesTheWorkSystemRelativeToTheWCS)
{
    NCContext context;
    context.setWCSOrigin({10, 0, 0});
    context.setWCSPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    context.setOrigin({10, 5, 2});
    context.setPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    NCContext expected(context);
    expected.setOrigin({5, 0, 2});
    expected.setPlane(Matrix3x3());

    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    writer.setMapToWCS(true);
    writer.onOpen();
    writer.onContext(context);
    writer.setMapToWCS(false);
    writer.onContext(context);
    writer.onClose();
    auto const recorder = replayed(out.getData());
    ASSERT_EQ(recorder.contexts.size(), 2u);
    EXPECT_EQ(recorder.contexts[0], expected);
    EXPECT_EQ(recorder.contexts[1], context);
}

TEST(CompactNCIWriter, DefaultToolIsFourFixedPartsAndEmptyTexts)
{
    std::string const geometry = u32(0) + u32(1) + u32(1) + zeros(88 + 19);
    std::string const spindle = u32(0) + std::string("\x01\x01\x00\x00", 4) + zeros(32) + f64(1000) + zeros(56);
    std::string const usage = u32(3) + zeros(4) + f64(90) + f64(100) + f64(100) + zeros(40 + 84);
    std::string const expected = u32(1033) + u32(4) + u32(1035) + geometry + spindle + usage + zeros(220) + u32(1038)
        + zeros(119) + u32(1039) + zeros(28) + u32(1040) + u32(0) + zeros(7 * 4);
    EXPECT_EQ(writeRecords([](auto& w) { w.onTool(NCTool()); }), expected);

    // Every optional part (7) and tool-text parameter (9) is counted.
    std::string const full = writeRecords([](auto& w) { w.onTool(fullTool()); });
    EXPECT_EQ(full.substr(0, 8), u32(1033) + u32(4 + 7 + 9));
}

TEST(CompactNCIWriter, CopiesKeepTheFlags)
{
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    writer.setMapToWCS(true);
    writer.onOpen();
    writer.onParameter(CompactNCIImpl::getForceToolChangeUri().c_str(), 1);
    writer.onClose();
    CompactNCIWriter copy(writer);
    EXPECT_TRUE(copy.getMapToWCS());
    copy.onContext(NCContext());
    copy.onClose();
    EXPECT_EQ(out.getData().substr(63, 4), u32(1034));
}

TEST(CompactNCIWriter, AFailedOutputIsAnIOExceptionNamingTheRecordAndItsOffset)
{
    std::string const& whole = movesFile();
    ASSERT_EQ(whole.size(), 63u + 24 * Moves);
    // A failure within a block surfaces at the record that does not fit into it: within the
    // first, the record at 63 + 24 * 43688 = 1048575; within the second, the one at
    // 63 + 24 * 87378.
    IOError const first {L"Cannot write record 100: Disk full.", 1048575};
    struct Case {
        char const* what;
        std::size_t capacity; // bytes the output takes
        IOError error;
    } const cases[] = {
        {"first byte", 0, first},
        {"inside the header", 10, first},
        {"last byte of the first block", 1048575, first},
        {"first byte of the second block", 1048576, {L"Cannot write record 100: Disk full.", 2097135}},
        {"last byte, at close", whole.size() - 1, {L"Cannot flush the output: Disk full.", whole.size()}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        FullOutputStream out(c.capacity);
        {
            CompactNCIWriter writer(&out);
            EXPECT_EQ(ioError([&] { sendMoves(writer); }), c.error);
            EXPECT_EQ(out.bytes, whole.substr(0, c.capacity)) << "what fits, in order";
            // From then on every record fails the same way, whichever way it is written.
            std::pair<Send, std::wstring> const later[] = {
                {[](auto& w) { w.onSection(); }, L"Cannot write record 30: Disk full."},
                {[](auto& w) { w.onComment(L"x"); }, L"Cannot write record 17: Disk full."},
                {[](auto& w) { w.onContext(NCContext()); }, L"Cannot write record 24: Disk full."},
                {[](auto& w) { w.onTool(NCTool()); }, L"Cannot write record 1033: Disk full."},
                {[](auto& w) { w.onOpen(); }, L"Cannot write the header: Disk full."},
                {[](auto& w) { w.onClose(); }, L"Cannot flush the output: Disk full."},
            };
            for (auto const& [send, message] : later)
                EXPECT_EQ(ioError([&, &send = send] { send(writer); }).message, message);
        }
        EXPECT_EQ(out.callsAfterFailure, 0u) << "nothing written after the failure, not even by the destructor";
    }
}

TEST(CompactNCIWriter, EveryKindOfRecordNamesItselfWhenTheOutputFails)
{
    constexpr std::size_t Block = 1 << 20;
    struct Case {
        char const* what;
        std::size_t room; // left in the first block when send starts
        Send send;
        IOError error;
    } const cases[] = {
        {"a move", 10,
            [](auto& w) {
                w.onLinear({1, 2, 3}, 100, 0);
            },
            {L"Cannot write record 100: Disk full.", Block - 10}},
        {"a wide comment cut in its text", 12, [](auto& w) { w.onComment(L"abcdefgh"); },
            {L"Cannot write record 17: Disk full.", Block - 12}},
        {"a context", 100, [](auto& w) { w.onContext(NCContext()); },
            {L"Cannot write record 24: Disk full.", Block - 100}},
        // Record 1033 (8 bytes) fills the block: the failure comes with the part after it.
        {"a part of a tool", 8, [](auto& w) { w.onTool(NCTool()); }, {L"Cannot write record 1035: Disk full.", Block}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        FullOutputStream out(0);
        CompactNCIWriter writer(&out);
        writer.onOpen();
        // Comments of 8 + n bytes fill the block up to the room asked for.
        for (std::size_t left = Block - c.room - header().size(); left != 0;) {
            std::size_t const size = left > 100'016 ? 100'000 : left - 8;
            writer.onComment(std::string(size, 'c').c_str());
            left -= 8 + size;
        }
        EXPECT_EQ(ioError([&] { c.send(writer); }), c.error);
    }
}

TEST(CompactNCIWriter, AFailureBehindAWriteBehindStreamReachesTheWriter)
{
    FullOutputStream file(100'000);
    WriteBehindOutputStream behind(&file, 64 * 1024, 2);
    IOError error;
    {
        CompactNCIWriter writer(&behind);
        error = ioError([&] { sendMoves(writer); });
    }
    // The thread decides which event learns of the failure; onClose at the latest.
    EXPECT_TRUE(error.message == L"Cannot write record 100: Disk full."
        || error.message == L"Cannot flush the output: Disk full.")
        << error;
    EXPECT_EQ(ioError([&] { behind.close(); }), (IOError {L"Disk full.", 100'000}));
    EXPECT_TRUE(file.closed);
    EXPECT_EQ(file.bytes, movesFile().substr(0, 100'000));
    EXPECT_EQ(file.callsAfterFailure, 0u);
}
