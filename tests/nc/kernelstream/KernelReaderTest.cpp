// KernelReader: round trips of every entity in both text encodings, the header and version rules,
// the end entity, stopping, malformed and cut streams with their messages and offsets, and large
// streams read ahead or in pieces.
#include "nc/nc/kernelstream/KernelReader.h"

#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "tests/support/RecordingKernelStream.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

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

std::string const version = u32(1) + u32(3) + u32(1) + u32(1) + u32(3);
// The header and version our writer writes: 128 bytes in UCS-2 form, 228 in UCS-4.
constexpr std::size_t Header2 = 128;
constexpr std::size_t Header4 = 228;

std::string patched(std::string bytes, std::size_t at, std::string const& with)
{
    return bytes.replace(at, with.size(), with);
}

std::string written(Send const& send, bool ucs4 = false)
{
    MemoryOutputStream out;
    {
        KernelOutputStream writer(&out);
        writer.setUCS4(ucs4);
        send(writer);
    }
    return out.getData();
}

// The header, what send writes, the end.
std::string stream(Send const& send, bool ucs4 = false)
{
    return written(
        [&](KernelOutputStream& w) {
            w.writeHeader();
            send(w);
            w.writeEnd();
        },
        ucs4);
}

bool replay(InputStream& in, KernelStream& sink, std::uint64_t* entities = nullptr)
{
    KernelReader reader(&sink);
    reader.open(&in);
    return reader.read(entities);
}

bool replay(std::string const& bytes, KernelStream& sink)
{
    MemoryInputStream in(bytes);
    return replay(in, sink);
}

RecordingKernelStream replayed(std::string const& bytes)
{
    RecordingKernelStream recorder;
    replay(bytes, recorder);
    return recorder;
}

KernelOutputInterface::MemoryInformation64 const memory {
    64, 1ull << 34, 1ull << 33, 42, 5, 6, 7, 8, 9, 10, 4096, 65536};
AxisOrdering const ordering {AxisInfo("head", "A"), AxisInfo("", "\xC3\x84")};

// One entity of every kind, in numbers that floats hold exactly, texts with characters beyond
// ASCII and beyond U+FFFF.
void sendEveryEntity(KernelOutputStream& w)
{
    w.writeTaskId(L"task-7");
    w.writeModule(L"kernel.so", 4096, 1 << 20);
    w.writeMemoryInformation(memory);
    w.writeParameter(L"tolerance", L"0.01 \u00B1");
    w.writeInformation(L"start \U0001F600");
    w.writeWarning(L"w\u00E4rning");
    w.writeDebug(L"");
    w.writeProgress(0.25);
    w.writeToolpathOpen();
    w.writeGroupBegin(L"pass");
    w.writeMachineAxisOrdering(ordering);
    w.writeMachineAxisValues({AxisValue(1.5), AxisValue(-0.1)});
    w.writeToolAxis({0, 0, 1});
    w.writeLine({1, 2, 3}, NCStream::MOVEMENT_RAPID);
    w.writeContactNormal({0, 1, 0});
    w.writeLine({1.5, 2.5, -3}, {0, 0.5, 0.75}, NCStream::MOVEMENT_CUTTING);
    w.writeArc({4, 5, 6}, {3, 5, 6}, {0, 0, -1}, NCStream::MOVEMENT_LEAD_OUT);
    w.writeToolpathBreak();
    w.writeBeginPathFragment();
    w.writeEndPathFragment();
    w.writeExpandOpen();
    w.writeDwell(2.5);
    w.writeCommand(NCStream::COMMAND_STOP);
    w.writeExpandClose();
    w.writeTurnGroupBegin(NCStream::TURN_GROUP_TNR);
    w.writeTurnGroupEnd();
    w.writeGroupEnd();
    w.writeToolpathClose();
    w.writeOutOfMemory(1 << 30, 1 << 20);
    w.writeProcessInfo(1500, 0.75, 1 << 28, 1 << 29);
    w.writeError(4u);
    w.writeError(L"failed");
}

std::vector<std::wstring> const everyEntityEvents {
    L"onHeader http://legacy.quarn.dev/namespace/camkernel/stream",
    L"onTaskId task-7",
    L"onModule kernel.so 4096 1048576",
    L"onMemoryInformation 64 17179869184 65536",
    L"onParameter tolerance 0.01 \u00B1",
    L"onInformation start \U0001F600",
    L"onWarning w\u00E4rning",
    L"onDebug ",
    L"onProgress 0.25",
    L"onToolpathOpen 0 0",
    L"onGroup pass",
    L"onMachineAxisOrdering [head:A :\u00C4]",
    L"onMachineAxisValues [1.5 -0.1]",
    L"onToolAxis (0, 0, 1)",
    L"onLinearMove (1, 2, 3) 0",
    L"onContactNormal (0, 1, 0)",
    L"onLinear5DMove (1.5, 2.5, -3) (0, 0.5, 0.75) 2",
    L"onCircularMove (4, 5, 6) (3, 5, 6) (0, 0, -1) 3",
    L"onToolpathBreak",
    L"onBeginFragment",
    L"onEndFragment",
    L"onExpandOpen",
    L"onDwell 2.5",
    L"onCommand 1",
    L"onExpandClose",
    L"onTurnGroup 1",
    L"onTurnGroupEnd",
    L"onGroupEnd",
    L"onToolpathClose",
    L"onOutOfMemory 1073741824 1048576",
    L"onProcessInfo 1500 0.75 268435456 536870912",
    L"onError 4",
    L"onError failed",
    L"onEnd",
};

// The offsets at which the entities of a stream end.
std::set<std::uint64_t> entityEnds(std::string const& bytes)
{
    KernelStream sink;
    KernelReader reader(&sink);
    MemoryInputStream in(bytes);
    reader.open(&in);
    std::set<std::uint64_t> ends;
    while (!reader.isAtEnd()) {
        reader.readEntity();
        ends.insert(reader.getTotalBytesRead());
    }
    return ends;
}

// Runs of lines, five-axis lines and arcs with now and then a tool axis and a text: about 1.5 MB,
// which the reader reads ahead on a second thread.
void sendLargeProgram(KernelOutputStream& w)
{
    for (int i = 0; i < 12'000; ++i) {
        double const x = 0.25 * (i % 4096);
        for (int run = 0; run < i % 7; ++run)
            w.writeLine({x, static_cast<double>(run), 1}, NCStream::MOVEMENT_CUTTING);
        w.writeArc({x, 1, 0}, {x, 0, 0}, {0, 0, 1}, NCStream::MOVEMENT_CUTTING);
        w.writeLine({x, 5, 6}, {0, 0.5, 0.75}, NCStream::MOVEMENT_RAPID);
        if (i % 10 == 0)
            w.writeToolAxis({0, 0, 1}), w.writeContactNormal({1, 0, 0});
        if (i % 1000 == 0)
            w.writeInformation(L"a message among the moves");
    }
}

std::string const& largeStream()
{
    static std::string const bytes = stream(sendLargeProgram);
    return bytes;
}

std::vector<std::wstring> const& largeStreamEvents()
{
    static std::vector<std::wstring> const events = replayed(largeStream()).events;
    return events;
}

// Overrides the handlers of the frequent entities, so that the reader cannot send them to the
// sink directly.
class CountingReader : public KernelReader {
public:
    using KernelReader::KernelReader;
    std::size_t moves = 0;

protected:
    bool onLinearMove(Vector3D const& position, NCStream::Movement movement) override
    {
        ++moves;
        return KernelReader::onLinearMove(position, movement);
    }
    bool onCircularMove(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement) override
    {
        ++moves;
        return KernelReader::onCircularMove(end, center, normal, movement);
    }
};

} // namespace

TEST(KernelReader, EveryEntityRoundTripsInBothEncodings)
{
    for (bool ucs4 : {false, true}) {
        std::string const bytes = stream(sendEveryEntity, ucs4);
        RecordingKernelStream recorder;
        KernelReader reader(&recorder);
        MemoryInputStream in(bytes);
        reader.open(&in);
        std::uint64_t entities = 0;
        EXPECT_TRUE(reader.read(&entities));
        EXPECT_EQ(recorder.events, everyEntityEvents) << ucs4;
        EXPECT_EQ(entities, everyEntityEvents.size() + 1) << "the version is an entity too";
        EXPECT_EQ(reader.isUCS4(), ucs4);
        EXPECT_TRUE(reader.hasEndedNormally());
        EXPECT_TRUE(reader.didNormalErrorOccur()) << "the stream holds error entities";
        EXPECT_EQ(recorder.memoryInformation, std::vector {memory});
        EXPECT_EQ(recorder.orderings, std::vector {ordering});
        EXPECT_EQ(recorder.axisValues, (std::vector {AxisValues {AxisValue(1.5), AxisValue(-0.1)}}));
    }
}

TEST(KernelReader, FloatsComeBackAsTheNearestFloats)
{
    Vector3D const v(0.1, -0.2, 1e10 + 1);
    Vector3D const f = KernelOutputStream::getAsVectorField(v);
    ASSERT_NE(f, v);
    auto const back = replayed(stream([&](auto& w) {
        w.writeLine(v, NCStream::MOVEMENT_CUTTING), w.writeLine(v, v, NCStream::MOVEMENT_CUTTING);
        w.writeArc(v, v, v, NCStream::MOVEMENT_CUTTING), w.writeToolAxis(v), w.writeContactNormal(v);
        w.writeProgress(0.1), w.writeDwell(0.3), w.writeProcessInfo(1, 0.1, 2, 3);
    }));
    RecordingKernelStream expected;
    expected.onLinearMove(f, NCStream::MOVEMENT_CUTTING), expected.onLinear5DMove(f, f, NCStream::MOVEMENT_CUTTING);
    expected.onCircularMove(f, f, f, NCStream::MOVEMENT_CUTTING), expected.onToolAxis(f), expected.onContactNormal(f);
    expected.onProgress(0.1f), expected.onDwell(0.3f), expected.onProcessInfo(1, 0.1, 2, 3);
    EXPECT_EQ(std::vector(back.events.begin() + 1, back.events.end() - 1), expected.events);
}

TEST(KernelReader, HeaderSetsTheEncodingWithinItsLimits)
{
    struct HeaderCase {
        char const* what;
        std::string header; // after the field code
        std::wstring text;
        bool ucs4;
    };
    std::string longest = u32(1048576);
    for (int i = 0; i < 1048576; ++i)
        longest += std::string("x\0", 2);
    std::vector<HeaderCase> const cases {
        // Read without the probe: taking four bytes would swallow the version's code.
        {"length 1", u32(1) + std::string("x\0", 2), L"x", false},
        {"length 0", u32(0), L"", false},
        {"UCS-4", u32(2) + u32('h') + u32(0x1F600), L"h\U0001F600", true},
        // The first two units are a surrogate pair, the third unit a lone low surrogate.
        {"UCS-2 with a pair in the probe", u32(3) + std::string("\x3D\xD8\x00\xDE\x00\xDC", 6), L"\U0001F600\uFFFD",
            false},
        {"UCS-2 starting with h", u32(2) + std::string("h\0i\0", 4), L"hi", false},
        {"no kernel URI", u32(3) + std::string("a\0b\0c\0", 6), L"abc", false},
    };
    for (auto const& c : cases) {
        RecordingKernelStream recorder;
        KernelReader reader(&recorder);
        MemoryInputStream in(u32(0) + c.header + version + u32(2));
        reader.open(&in);
        EXPECT_TRUE(reader.read()) << c.what;
        EXPECT_EQ(recorder.events, (std::vector<std::wstring> {L"onHeader " + c.text, L"onEnd"})) << c.what;
        EXPECT_EQ(reader.isUCS4(), c.ucs4) << c.what;
        EXPECT_FALSE(KernelReader::isKernelUri(c.text)) << c.what;
    }
    EXPECT_TRUE(KernelReader::isKernelUri(KernelOutputStream::getUri()));
    EXPECT_TRUE(KernelReader::isKernelUri(L"http://www.quarn.dev/namespace/camkernel/stream"));

    // The longest header is read; one character more is not a kernel stream's header.
    RecordingKernelStream recorder;
    EXPECT_TRUE(replay(u32(0) + longest + version + u32(2), recorder));
    ASSERT_EQ(recorder.events.size(), 2u);
    EXPECT_EQ(recorder.events[0].size(), std::string("onHeader ").size() + 1048576);
    std::string const header = stream([](auto&) {});
    EXPECT_EQ(ioError([&] { replayed(patched(header, 4, u32(1048577))); }), // the header's length
        (IOError {L"Invalid header for CAM kernel stream.", 0}));
}

TEST(KernelReader, OnlyVersion3113IsAccepted)
{
    struct VersionCase {
        std::string numbers;
        bool accepted;
    };
    std::vector<VersionCase> const cases {
        {u32(3) + u32(1) + u32(1) + u32(3), true},
        {u32(3) + u32(1) + u32(1) + u32(4), false},
        {u32(4) + u32(1) + u32(1) + u32(3), false},
        {u32(0) + u32(0) + u32(0) + u32(0), false},
    };
    std::string const bytes = stream([](auto& w) { w.writeToolpathOpen(); });
    for (auto const& c : cases) {
        RecordingKernelStream recorder;
        KernelReader reader(&recorder);
        MemoryInputStream in(patched(bytes, Header2 - 16, c.numbers)); // the four numbers of the version
        reader.open(&in);
        EXPECT_EQ(reader.read(), c.accepted);
        EXPECT_EQ(reader.hasEndedNormally(), c.accepted);
        EXPECT_EQ(reader.didNormalErrorOccur(), !c.accepted);
        std::wstring const after = c.accepted ? L"onToolpathOpen 0 0" : L"onError Unsupported kernel version.";
        EXPECT_EQ(recorder.names().size(), c.accepted ? 3u : 2u);
        EXPECT_EQ(recorder.events[1], after);
        EXPECT_EQ(reader.read(), c.accepted) << "a refused stream stays refused";
        EXPECT_EQ(recorder.names().size(), c.accepted ? 3u : 2u);
    }
}

TEST(KernelReader, EndEntityEndsTheReadAndLeavesWhatFollows)
{
    std::string const bytes = stream([](auto& w) { w.writeToolpathOpen(); });
    RecordingKernelStream recorder;
    KernelReader reader(&recorder);
    MemoryInputStream in(bytes + "after the end");
    reader.open(&in);
    std::uint64_t entities = 0;
    EXPECT_TRUE(reader.read(&entities));
    EXPECT_EQ(entities, 4u);
    EXPECT_TRUE(reader.hasEndedNormally());
    EXPECT_FALSE(reader.didNormalErrorOccur());
    EXPECT_EQ(reader.getTotalBytesRead(), bytes.size());
    EXPECT_EQ(reader.getPendingData(), "after the end");
    EXPECT_TRUE(reader.read(&entities));
    EXPECT_EQ(entities, 0u) << "nothing is read after the end";
    reader.close();
    EXPECT_FALSE(reader.isOpen());
    EXPECT_EQ(reader.getTotalBytesRead(), bytes.size());
    EXPECT_EQ(reader.getPendingData(), "");

    // Without the end entity the input's end ends the read.
    std::string const unended = bytes.substr(0, bytes.size() - 4);
    MemoryInputStream cut(unended);
    reader.open(&cut);
    EXPECT_TRUE(reader.read(&entities));
    EXPECT_EQ(entities, 3u);
    EXPECT_FALSE(reader.hasEndedNormally());
    EXPECT_EQ(reader.getTotalBytesRead(), unended.size());
}

TEST(KernelReader, RefusalOfAnyEntityStopsTheReadWhichGoesOnAfterIt)
{
    std::string const bytes = stream(sendEveryEntity);
    auto const names = replayed(bytes).names();
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto const occurrence = std::count(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i) + 1, names[i]);
        RecordingKernelStream recorder;
        recorder.stopAt(names[i], static_cast<int>(occurrence));
        KernelReader reader(&recorder);
        MemoryInputStream in(bytes);
        reader.open(&in);
        EXPECT_FALSE(reader.read()) << i;
        EXPECT_EQ(recorder.events.size(), i + 1) << "the reader goes on after a refused " << i;
        EXPECT_TRUE(reader.read()) << i;
        EXPECT_EQ(recorder.events, everyEntityEvents) << i;
    }
}

TEST(KernelReader, UnknownFieldCodesThrowWithTheirOffset)
{
    // The toolpath open entity after the header, its code replaced.
    std::string const bytes = stream([](auto& w) { w.writeToolpathOpen(); });
    for (std::uint32_t code : {3u, 5u, 6u, 9u, 11u, 18u, 19u, 20u, 21u, 27u, 45u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ioError([&] { replayed(patched(bytes, Header2, u32(code))); }),
            (IOError {L"Unknown field code " + std::to_wstring(code) + L".", Header2}));
    }
    EXPECT_EQ(
        ioError([&] { replayed(patched(bytes, Header2, u32(0))); }), (IOError {L"Field 0 after the header.", Header2}));
    EXPECT_EQ(ioError([&] { replayed(bytes.substr(Header2 - 20)); }), // starts with the version
        (IOError {L"Not a CAM kernel stream.", 0}));
    EXPECT_EQ(ioError([&] { replayed(""); }), (IOError {L"Not a CAM kernel stream.", 0}));
}

TEST(KernelReader, MalformedEntitiesThrowWithTheOffsetOfTheEntity)
{
    struct MalformedCase {
        std::string bytes;
        std::wstring message;
        std::uint64_t offset;
    };
    std::string const line = stream([](auto& w) { w.writeLine({1, 2, 3}, NCStream::MOVEMENT_CUTTING); });
    std::string const text = stream([](auto& w) { w.writeInformation(L"abc"); });
    std::string const text4 = stream([](auto& w) { w.writeInformation(L"abc"); }, true);
    std::string const module = stream([](auto& w) { w.writeModule(L"m", 1, 2); });
    std::string const axes = stream([](auto& w) { w.writeMachineAxisOrdering({AxisInfo("", "X")}); });
    std::string const values = stream([](auto& w) { w.writeMachineAxisValues({AxisValue(1), AxisValue(2)}); });
    std::vector<MalformedCase> const cases {
        {line.substr(0, Header2 + 11), L"Truncated field 29: needs 16 bytes, 7 left.", Header2},
        {line.substr(0, Header2 + 2), L"Truncated field code: 2 bytes left.", Header2},
        {line.substr(0, Header2 - 3), L"Truncated field 1: needs 16 bytes, 13 left.", Header2 - 20},
        {text.substr(0, Header2 + 6), L"Truncated field 23: needs 4 bytes, 2 left.", Header2},
        {patched(text, Header2 + 4, u32(1048577)), L"String too long.", Header2}, // the text's length
        {patched(text, Header2 + 4, u32(300)), L"String length 300 exceeds the 10 bytes left.", Header2},
        {patched(text4, Header4 + 4, u32(5)), L"String length 5 exceeds the 16 bytes left.", Header4},
        {module.substr(0, Header2 + 10 + 9), L"Truncated field 7: needs 16 bytes, 9 left.", Header2},
        {patched(axes, Header2 + 4, u32(5)), L"Axis count 5 exceeds the 14 bytes left.", Header2}, // the count
        {patched(axes, Header2 + 4, u32(0x80000000)), L"Axis count 2147483648 exceeds the 14 bytes left.", Header2},
        {patched(values, Header2 + 4, u32(3)), L"Axis value count 3 exceeds the 20 bytes left.", Header2},
        {patched(line, 4, u32(80)), L"String length 80 exceeds the 144 bytes left.", 0}, // the header's length
    };
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(ioError([&] { replayed(cases[i].bytes); }), (IOError {cases[i].message, cases[i].offset})) << i;
}

TEST(KernelReader, TextsOfEitherEncodingDecodeInvalidUnitsAsReplacement)
{
    // "abc" with its second character patched.
    std::string const text2 = stream([](auto& w) { w.writeWarning(L"abc"); });
    std::string const text4 = stream([](auto& w) { w.writeWarning(L"abc"); }, true);
    std::vector<std::pair<std::string, std::wstring>> const cases {
        {patched(text2, Header2 + 10, std::string("\x00\xD8", 2)), L"onWarning a\uFFFDc"}, // a lone high surrogate
        {patched(text2, Header2 + 10, std::string("\x3D\xD8\x00\xDE", 4)), L"onWarning a\U0001F600"}, // a pair
        {patched(text4, Header4 + 12, u32(0xDC00)), L"onWarning a\uFFFDc"},
        {patched(text4, Header4 + 12, u32(0x110000)), L"onWarning a\uFFFDc"},
    };
    for (auto const& [bytes, event] : cases)
        EXPECT_EQ(replayed(bytes).events.at(1), event);
}

TEST(KernelReader, CutAnywhereThrowsUnlessCutBetweenEntities)
{
    for (bool ucs4 : {false, true}) {
        std::string const bytes = stream(sendEveryEntity, ucs4);
        std::set<std::uint64_t> const ends = entityEnds(bytes);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            std::string const cut = bytes.substr(0, size);
            // Of known size, and of unknown size in pieces of 3 bytes.
            MemoryInputStream whole(cut);
            TrickleInputStream pieces(cut, 3);
            for (InputStream* in : {static_cast<InputStream*>(&whole), static_cast<InputStream*>(&pieces)}) {
                RecordingKernelStream recorder;
                KernelReader reader(&recorder);
                reader.open(in);
                IOError const error = ioError([&] { reader.read(); });
                if (ends.contains(size)) {
                    EXPECT_EQ(error.message, L"no exception") << size;
                    EXPECT_FALSE(reader.hasEndedNormally()) << size;
                } else {
                    EXPECT_NE(error.message, L"no exception") << size;
                    EXPECT_LE(error.offset.value_or(size + 1), size) << size;
                }
            }
        }
    }
}

TEST(KernelReader, SourceOfUnknownSizeEndsWithTheStreamsError)
{
    std::string const bytes = stream([](auto& w) { w.writeInformation(L"abc"); });
    TrickleInputStream in(bytes.substr(0, bytes.size() - 7), 5); // cut inside the text's second unit
    RecordingKernelStream recorder;
    EXPECT_EQ(ioError([&] { replay(in, recorder); }), (IOError {L"Unexpected end of stream.", bytes.size() - 8}));
}

TEST(KernelReader, LargeStreamsReadAheadOrInPiecesGiveTheSameEvents)
{
    ASSERT_GT(largeStream().size(), 4 * BufferedInputStream::DefaultBufferSize);
    std::vector<std::wstring> const& expected = largeStreamEvents();
    ASSERT_GT(expected.size(), 60'000u);
    EXPECT_EQ(expected.back(), L"onEnd");
    for (std::size_t chunk : {4093, 100'000}) {
        TrickleInputStream source(largeStream(), chunk);
        RecordingKernelStream recorder;
        EXPECT_TRUE(replay(source, recorder));
        EXPECT_EQ(recorder.events, expected) << chunk;
    }

    // A derived reader gets every move through its handlers.
    RecordingKernelStream recorder;
    CountingReader reader(&recorder);
    MemoryInputStream in(largeStream());
    reader.open(&in);
    EXPECT_TRUE(reader.read());
    EXPECT_EQ(recorder.events, expected);
    EXPECT_EQ(reader.moves, static_cast<std::size_t>(std::count_if(expected.begin(), expected.end(), [](auto& e) {
        return e.starts_with(L"onLinearMove") || e.starts_with(L"onCircularMove");
    })));
}

TEST(KernelReader, LargeStreamsStopWhereRefusedAndGoOn)
{
    std::vector<std::wstring> const& expected = largeStreamEvents();
    for (std::size_t at : {std::size_t {30'000}, expected.size() / 2, expected.size() - 3}) {
        std::wstring const name = expected[at].substr(0, expected[at].find(L' '));
        auto const occurrence = std::count_if(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(at) + 1,
            [&](std::wstring const& event) { return event.substr(0, event.find(L' ')) == name; });
        RecordingKernelStream recorder;
        recorder.stopAt(name, static_cast<int>(occurrence));
        KernelReader reader(&recorder);
        MemoryInputStream in(largeStream());
        reader.open(&in);
        std::uint64_t entities = 0;
        EXPECT_FALSE(reader.read(&entities));
        EXPECT_EQ(recorder.events.size(), at + 1) << "refused at " << at;
        EXPECT_EQ(entities, at + 2) << "the events and the version";
        EXPECT_TRUE(reader.read());
        EXPECT_EQ(recorder.events, expected);
    }

    // Cut inside the last arc: every entity before it arrives, then the error.
    std::string const cut = largeStream().substr(0, largeStream().size() - 4 - 32 - 14);
    RecordingKernelStream recorder;
    EXPECT_EQ(ioError([&] { replay(cut, recorder); }),
        (IOError {L"Truncated field 31: needs 40 bytes, 26 left.", cut.size() - 30}));
    EXPECT_EQ(recorder.events.size(), expected.size() - 3) << "neither the arc, the line after it nor onEnd";
}
