// CompactNCIReader: round trips of every event, context revision and tool, version rules,
// malformed files with their messages and offsets, and stopping.
#include "nc/nc/io/CompactNCIReader.h"

#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/CompactNCIImpl.h"
#include "tests/nc/io/CompactNCITesting.h"
#include "tests/support/EventSamples.h"
#include "tests/support/ReaderTesting.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/FileOutputStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <set>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

std::atomic<long> allocations {0};

std::string everyRecordFile()
{
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    sendEveryRecord(writer);
    return out.getData();
}

std::string patched(std::string bytes, std::size_t at, std::string const& with)
{
    return bytes.replace(at, with.size(), with);
}

std::string fileWithVersion(char major, char minor, char build)
{
    return patched(header(), 60, std::string {major, minor, build});
}

// Runs of every frequent move and now and then other records, in numbers floats hold exactly:
// a program of about 1.5 MB, which the reader reads ahead on a second thread.
void sendLargeProgram(NCStream& s)
{
    for (int i = 0; i < 12'000; ++i) {
        double const x = 0.25 * (i % 4096);
        for (int run = 0; run < i % 5; ++run)
            s.onLinear({x, static_cast<double>(run), 1}, 1000, 1);
        s.onRapid({x, 2, 3}, 0);
        s.onCWArc({x, 0, 0}, {x + 1, 1, 0}, {0, 0, 1}, 500, 1);
        s.onCCWArc({x, 1, 0}, {x, 0, 0}, {0, 0, 1}, 500, 1);
        s.onLinear5D({x, 5, 6}, {0, 0.5, 0.75}, 800, 1);
        s.onRapid5D({x, 7, 8}, {0.25, 0, 1}, 0);
        if (i % 1000 == 0)
            s.onComment("a comment among the moves");
    }
}

std::string const& largeFile()
{
    static std::string const file = writeProgram([](auto& w) { sendLargeProgram(w); });
    return file;
}

std::vector<std::wstring> const& largeProgramEvents()
{
    static std::vector<std::wstring> const events = [] {
        RecordingNCStream recorder;
        recorder.onOpen();
        sendLargeProgram(recorder);
        recorder.onClose();
        return recorder.events;
    }();
    return events;
}

} // namespace

// Counts the allocations of the whole test program, so that a test can compare two runs. Not
// inlined, so that the compiler does not pair malloc and free with new and delete on its own.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++allocations;
    if (void* memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

TEST(CompactNCIReader, ReplaysEveryRecordedEventWithItsArguments)
{
    RecordingNCStream direct;
    ASSERT_TRUE(sendEveryRecord(direct));
    auto const names = direct.names();
    auto const every = everyEventName();
    ASSERT_EQ(std::set(names.begin(), names.end()), std::set(every.begin(), every.end()));

    std::set<std::wstring> const dropped {L"onToolpathEntityIndex", L"onRadiusCompensationMode",
        L"onRadiusCompensation", L"onSpline", L"onBezier", L"onNURBS", L"onSkip", L"onLineNumber"};
    std::vector<std::wstring> expected;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (dropped.contains(names[i]))
            continue;
        // Turn groups come back as plain groups.
        std::wstring line = direct.events[i];
        if (names[i].starts_with(L"onTurnGroup"))
            line.replace(0, 11, L"onGroup");
        expected.push_back(line);
    }

    auto const back = replayed(everyRecordFile());
    EXPECT_EQ(back.events, expected);
    EXPECT_EQ(back.contexts, direct.contexts);
    EXPECT_EQ(back.tools, direct.tools);
    EXPECT_EQ(back.orderings, direct.orderings);
    EXPECT_EQ(back.axisValues, direct.axisValues);
    EXPECT_EQ(back.frames, direct.frames);
}

TEST(CompactNCIReader, ReadAndWrittenAgainIsByteIdentical)
{
    std::string const first = everyRecordFile();
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    ASSERT_TRUE(replay(first, writer));
    EXPECT_EQ(out.getData(), first);
}

TEST(CompactNCIReader, MotionComesBackAsTheNearestFloats)
{
    using Number = double (*)(double);
    Number const same = [](double v) { return v; };
    Number const nearest = [](double v) { return static_cast<double>(static_cast<float>(v)); };
    ASSERT_NE(nearest(0.1), 0.1);
    using Move = std::function<void(NCStream&, Number)>;
    std::vector<Move> const moves {
        [](NCStream& s, Number n) {
            s.onLinear({n(0.1), n(0.2), n(0.3)}, n(0.4), 7);
        },
        [](NCStream& s, Number n) {
            s.onRapid({n(0.1), n(0.2), n(0.3)}, 7);
        },
        [](NCStream& s, Number n) { s.onDwell(n(0.1), 7); },
        [](NCStream& s, Number n) {
            s.onStock({n(0.1), n(0.2), n(0.3)}, {n(0.4), n(0.5), n(0.6)});
        },
        [](NCStream& s, Number n) {
            s.onCircular({n(0.1), 0, 0}, {0, n(0.2), 0}, {0, 0, 1}, n(0.3), n(0.4), 7);
        },
        [](NCStream& s, Number n) {
            s.onRapid5D({n(0.1), 0, 0}, {0, n(0.2), 0}, {n(0.3), 0, 0}, {0, n(0.4), 0}, 7);
        },
        [](NCStream& s, Number n) {
            s.onCircularExtrude({n(0.1), 0, 0}, {0, n(0.2), 0}, {0, 0, 1}, n(0.3), n(0.4), n(0.5), 7);
        },
    };
    for (std::size_t i = 0; i < moves.size(); ++i) {
        RecordingNCStream expected;
        moves[i](expected, nearest);
        auto const back = replayed(writeProgram([&](auto& w) { moves[i](w, same); }));
        ASSERT_EQ(back.events.size(), 3u) << i;
        EXPECT_EQ(back.events[1], expected.events[0]) << i;
    }
}

TEST(CompactNCIReader, ContextOfEveryRevisionRoundTrips)
{
    using C = NCContext;
    C const f = fullContext();
    std::vector<std::pair<std::uint32_t, std::function<void(C&)>>> const revisions {
        {24,
            [&](C& c) {
                c.setType(f.getType()), c.setUnit(f.getUnit()), c.setToolAxis(f.getToolAxis());
                c.setCompensation(f.getCompensation()), c.setTurningToolOrientation(f.getTurningToolOrientation());
                c.setWork(f.getWork()), c.setWCS(f.getWCS()), c.setDynamicWCS(f.getDynamicWCS()), c.setFCS(f.getFCS());
                c.setModelOrigin(f.getModelOrigin()), c.setWorkName(f.getWorkName());
                c.setFixtureName(f.getFixtureName());
            }},
        {28, [&](C& c) { c.setUnknownSystem(f.isUnknownSystem()); }},
        {29,
            [&](C& c) {
                c.setTiltMode(f.getTiltMode()), c.setAxisSubstitution(f.isAxisSubstitution());
                c.setQuality(f.getQuality()), c.setWorkOffset(f.getWorkOffset());
            }},
        {1031,
            [&](C& c) {
                c.setSpindle(f.getSpindle()), c.setFeedMode(f.getFeedMode()), c.setDisjoint(f.isDisjoint());
                c.setTailstock(f.getTailstock()), c.setPartCatcher(f.getPartCatcher());
            }},
        {1034,
            [&](C& c) {
                c.setInternalId(f.getInternalId()), c.setInternalGroupId(f.getInternalGroupId());
                c.setPatternId(f.getPatternId()), c.setMultiAxisMode(f.getMultiAxisMode());
                c.setChannel(f.getChannel()), c.setJetMode(f.getJetMode()), c.setOptional(f.isOptional());
                c.setForceToolChange(f.getForceToolChange());
                c.setInverseAxisSubstitutionRadius(f.getInverseAxisSubstitutionRadius());
            }},
        {1036, [&](C& c) { c.setDynamicWorkOffset(f.getDynamicWorkOffset()); }},
        {1037, [&](C& c) { c.setModelPlane(f.getModelPlane()); }},
    };
    C context;
    for (auto const& [code, set] : revisions) {
        set(context);
        std::string const bytes = writeProgram([&](auto& w) { w.onContext(context); });
        EXPECT_EQ(bytes.substr(63, 4), u32(code));
        auto const back = replayed(bytes);
        ASSERT_EQ(back.contexts.size(), 1u) << code;
        EXPECT_EQ(back.contexts[0], context) << code;
    }
    EXPECT_EQ(context, f) << "a field of the full context is in no revision";
}

TEST(CompactNCIReader, ToolsRoundTrip)
{
    NCTool profileOnly;
    profileOnly.setShaftSections(std::vector<ToolGeometry::ShaftSection>(27, {2.5, 10}));
    for (NCTool const& tool : {NCTool(), fullTool(), profileOnly}) {
        auto const back = replayed(writeProgram([&](auto& w) { w.onTool(tool), w.onRapid({}, 0); }));
        ASSERT_EQ(back.tools.size(), 1u);
        EXPECT_EQ(back.tools[0], tool);
        EXPECT_EQ(back.names(), (std::vector<std::wstring> {L"onOpen", L"onTool", L"onRapid", L"onClose"}));
    }
    // Outside a tool, the tool-text names are parameters like any other.
    auto const name = CompactNCIImpl::getToolDescriptionUri();
    EXPECT_EQ(replayed(writeProgram([&](auto& w) { w.onParameter(name.c_str(), L"x"); })).events[1],
        L"onParameter " + CompactNCIWriter::getUri() + L"/parameter/tool-description x");
}

TEST(CompactNCIReader, VersionRules)
{
    struct VersionCase {
        std::string bytes;
        bool valid;
        CompactNCIReader::Version version;
    };
    std::string const legacy = "http://legacy.quarn.dev/namespace/nc/format/compact-nci";
    std::vector<VersionCase> const cases {
        {fileWithVersion(2, 4, 0), true, {2, 4, 0}},
        {fileWithVersion(2, 4, '\xFF'), true, {2, 4, 255}},
        {fileWithVersion(2, 0, 9), true, {2, 0, 9}},
        {fileWithVersion(1, 9, 0), true, {1, 9, 0}},
        {fileWithVersion(2, 5, 0), false, {2, 5, 0}},
        {fileWithVersion(3, 0, 0), false, {3, 0, 0}},
        {text(legacy) + u32(1) + std::string("\x02\x04\x00", 3), true, {2, 4, 0}},
        {text(compactNCIUri + "/") + u32(1) + std::string("\x02\x04\x00", 3), false, {}},
        {patched(header(), 4 + 51, "j"), false, {}}, // the last byte of the URI
        {patched(header(), 56, u32(2)), false, {}}, // the code of the version record
        {header().substr(0, 62), false, {}},
        {"", false, {}},
    };
    CompactNCIReader reader;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        TemporaryFile file;
        FileOutputStream(file.name()).write(cases[i].bytes.data(), cases[i].bytes.size());
        EXPECT_EQ(reader.isValid(file.name()), cases[i].valid) << i;
        EXPECT_EQ(CompactNCIReader::getVersion(file.name()), cases[i].version) << i;
    }
    TemporaryFile missing;
    EXPECT_FALSE(reader.isValid(missing.name()));
    EXPECT_EQ(CompactNCIReader::getVersion(missing.name()), CompactNCIReader::Version {});
    EXPECT_TRUE(reader.isIntermediateFormat());
    EXPECT_EQ(reader.getUri(), CompactNCIWriter::getUri());
}

TEST(CompactNCIReader, MalformedFilesThrowWithTheOffsetOfTheRecord)
{
    std::string const h = header(); // 63 bytes: the records below start at 63
    std::string const linear = writeRecords([](auto& w) { w.onLinear({1, 2, 3}, 4, 5); }); // 24 bytes
    std::string const comment = u32(16) + text("abc");
    std::string const wideComment = u32(17) + u32(2) + std::string("a\0b\0", 4);
    std::string const ordering = u32(400) + u32(1) + text("X") + text("");
    std::string const values = u32(401) + u32(1) + f64(1);
    std::string const frame = writeRecords([](auto& w) { w.onFrame(TaggedFrame("t", "", Frame())); });
    std::string const context = writeRecords([](auto& w) { w.onContext(NCContext()); });
    // 1033 at 0, 1035 at 8 (its blocks at 12, 131, 235, 391), 1038 at 611, 1039 at 734, 1040 at 766.
    std::string const tool = writeRecords([](auto& w) { w.onTool(NCTool()); });
    ASSERT_EQ(tool.size(), 802u);
    std::string const toolOfFive = patched(tool, 4, u32(5)); // announces one part more than it has
    struct MalformedCase {
        std::string bytes;
        std::wstring message;
        std::uint64_t offset;
    };
    std::vector<MalformedCase> const cases {
        {"", L"Truncated header.", 0}, {h.substr(0, 30), L"Truncated header.", 0},
        {patched(h, 10, "X"), L"Not a compact NCI file.", 0}, // a byte of the URI
        {text(compactNCIUri + "x") + h.substr(56), L"Not a compact NCI file.", 0},
        {patched(h, 56, u32(2)), L"Missing version record.", 56}, // the code of the version record
        {patched(h, 61, "\x05"), L"Unsupported version 2.5.0.", 56}, // the minor version
        {h.substr(0, 60), L"Truncated header.", 56}, {h + patched(linear, 0, u32(77)), L"Unknown record code 77.", 63},
        {h + u32(1) + "\x02\x04", L"Version record 1 after the header.", 63},
        // The second move cut after 21 of its 24 bytes.
        {h + linear + linear.substr(0, 21), L"Truncated record 100: needs 20 bytes, 17 left.", 87},
        {h + linear + std::string("\x64\x00", 2), L"Truncated record code: 2 bytes left.", 87},
        {h + patched(comment, 4, u32(131073)), L"String too long.", 63}, // the comment's length
        {h + patched(comment, 4, u32(1000)), L"String length 1000 exceeds the 3 bytes left.", 63},
        {h + patched(wideComment, 4, u32(3)), L"Wide string length 3 exceeds the 4 bytes left.", 63},
        {h + patched(ordering, 4, u32(2)), L"Axis count 2 exceeds the 9 bytes left.", 63}, // the axis count
        {h + patched(values, 4, u32(2)), L"Axis value count 2 exceeds the 8 bytes left.", 63},
        {h + linear + patched(frame, 4 + 5 + 4 + 24, f64(2)), L"Invalid frame components.", 87}, // x of the x axis
        {h + patched(context, 8, u32(7)), L"Invalid unit 7.", 63}, // the context's unit
        {h + context.substr(0, 100), L"Truncated record 24: needs 228 bytes, 96 left.", 63}, // cut in its block
        {h + patched(tool, 4, u32(1000)), L"Tool part count 1000 exceeds the 794 bytes left.", 63},
        {h + patched(tool, 12, u32(47)), L"Invalid tool type 47.", 71}, // the tool's type
        {h + patched(tool, 16, u32(2)), L"Invalid unit 2.", 71}, // the tool's unit
        {h + patched(tool, 131 + 8, f64(-1)), L"Invalid spindle speed.", 71}, // spindleRPM
        {h + patched(tool, 391, u32(28)), L"Shaft section count 28 exceeds 27.", 71}, // sections in the profile
        {h + toolOfFive + linear, L"Record 100 inside a tool record.", 865},
        {h + toolOfFive + u32(11) + text("other") + u32(0), L"Record 11 inside a tool record.", 865},
        {h + tool.substr(8), L"Record 1035 outside a tool record.", 63}, // without its record 1033
        {h + tool.substr(0, 611), L"Incomplete tool record: 3 parts missing.", 63}, // cut after 1035
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        RecordingNCStream recorder;
        EXPECT_EQ(ioError([&] { replay(cases[i].bytes, recorder); }), (IOError {cases[i].message, cases[i].offset}))
            << i;
    }
}

TEST(CompactNCIReader, AllocatesNothingPerRecord)
{
    auto program = [](int moves) {
        return writeProgram([&](auto& w) {
            for (int i = 0; i < moves; ++i) {
                w.onLinear({1, 2, 3}, 4, 5), w.onCWArc({1, 2, 3}, {4, 5, 6}, {0, 0, 1}, 7, 8);
                w.onComment("a comment too long to fit into a string object");
                w.onParameter("http://www.quarn.dev/namespace/nc/parameter/note", L"a wide value of some length");
                w.onMachineAxisValues({AxisValue(1.0), AxisValue(2.0)});
            }
        });
    };
    auto allocationsOf = [](std::string const& bytes) {
        NCStreamDefaultImpl sink;
        long const before = allocations;
        replay(bytes, sink);
        return allocations - before;
    };
    long const few = allocationsOf(program(10));
    EXPECT_GT(few, 0) << "the buffers of a replay are counted";
    EXPECT_EQ(allocationsOf(program(1000)), few);
}

TEST(CompactNCIReader, SourceOfUnknownSizeEndsWithTheStreamsError)
{
    std::string const file = writeProgram([](auto& w) { w.onRapid({1, 2, 3}, 0), w.onComment("abc"); });
    auto read = [](std::string bytes) {
        TrickleInputStream source(std::move(bytes), 5);
        RecordingNCStream recorder;
        CompactNCIReader reader;
        reader.setNCStream(&recorder);
        reader.import(&source);
        return recorder.names();
    };
    EXPECT_EQ(read(file), (std::vector<std::wstring> {L"onOpen", L"onRapid", L"onComment", L"onClose"}));
    // The comment's text is cut: its third byte is missing.
    EXPECT_EQ(ioError([&] { read(file.substr(0, file.size() - 1)); }),
        (IOError {L"Unexpected end of stream.", file.size() - 3}));
}

TEST(CompactNCIReader, WideStringsJoinSurrogatePairs)
{
    // a, the pair of U+1F600, a lone low surrogate, b.
    MemoryInputStream source(u32(5)
        + std::string("a\0\x3D\xD8\x00\xDE\x00\xDC"
                      "b\0",
            10)
        + "re");
    BufferedInputStream in(&source);
    EXPECT_EQ(CompactNCIReader::readWideString(in), L"a\U0001F600\uFFFDb");
    EXPECT_EQ(in.getPosition(), 14u);
    EXPECT_EQ(ioError([&] { CompactNCIReader::readWideString(in); }),
        (IOError {L"Truncated string: needs 4 bytes, 2 left.", 14}));
}

TEST(CompactNCIReader, RefusalOfAnyEventStopsTheReplay)
{
    std::string const file = everyRecordFile();
    auto const names = replayed(file).names();
    for (std::size_t i = 0; i < names.size(); ++i) {
        int occurrence = static_cast<int>(std::count(names.begin(), names.begin() + i + 1, names[i]));
        RecordingNCStream recorder;
        recorder.stopAt(names[i], occurrence);
        EXPECT_FALSE(replay(file, recorder)) << i;
        EXPECT_EQ(recorder.events.size(), i + 1) << "the reader goes on after a refused " << i;
    }
}

TEST(CompactNCIReader, AbortStopsBeforeTheNextRecord)
{
    EXPECT_EQ(namesWhenAbortedAt<CompactNCIReader>(L"onContext", everyRecordFile()),
        (std::vector<std::wstring> {L"onOpen", L"onContext"}));
}

TEST(CompactNCIReader, LargeInputsReadAheadToTheSameEvents)
{
    ASSERT_GT(largeFile().size(), 4 * BufferedInputStream::DefaultBufferSize);
    EXPECT_EQ(replayed(largeFile()).events, largeProgramEvents());
    // Of unknown size and in odd short reads: records straddle every block boundary.
    for (std::size_t chunk : {4093, 100'000}) {
        TrickleInputStream source(largeFile(), chunk);
        RecordingNCStream recorder;
        CompactNCIReader reader;
        reader.setNCStream(&recorder);
        EXPECT_TRUE(reader.import(&source));
        EXPECT_EQ(recorder.events, largeProgramEvents()) << chunk;
    }
}

TEST(CompactNCIReader, LargeInputsStopAndFailAsSmallOnes)
{
    std::vector<std::wstring> const& expected = largeProgramEvents();
    for (std::size_t at : {std::size_t {30'000}, expected.size() / 2, expected.size() - 2}) {
        std::wstring const name = expected[at].substr(0, expected[at].find(L' '));
        auto const occurrence = std::count_if(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(at) + 1,
            [&](std::wstring const& event) { return event.substr(0, event.find(L' ')) == name; });
        RecordingNCStream recorder;
        recorder.stopAt(name, static_cast<int>(occurrence));
        EXPECT_FALSE(replay(largeFile(), recorder));
        EXPECT_EQ(recorder.events.size(), at + 1) << "refused at " << at;
    }

    struct AbortingAfter : NCStreamDefaultImpl {
        CompactNCIReader* reader = nullptr;
        std::size_t left = 0;
        bool onLinear(Vector3D const&, double, unsigned int) override { return count(); }
        bool onRapid(Vector3D const&, unsigned int) override { return count(); }
        bool onLinear5D(Vector3D const&, Vector3D const&, double, unsigned int) override { return count(); }
        bool count()
        {
            if (--left == 0)
                reader->abort();
            return true;
        }
    };
    for (std::size_t moves : {1, 20'000, 47'000}) {
        CompactNCIReader reader;
        AbortingAfter aborting;
        aborting.reader = &reader;
        aborting.left = moves;
        reader.setNCStream(&aborting);
        MemoryInputStream in(largeFile());
        EXPECT_FALSE(reader.import(&in));
        EXPECT_EQ(aborting.left, 0u) << "a move arrived after the abort at " << moves;
    }

    // Cut inside the last move: every event before it arrives, then the error.
    std::string const cut = largeFile().substr(0, largeFile().size() - 14);
    RecordingNCStream recorder;
    EXPECT_EQ(ioError([&] { replay(cut, recorder); }),
        (IOError {L"Truncated record 121: needs 28 bytes, 14 left.", cut.size() - 18}));
    EXPECT_EQ(recorder.events.size(), expected.size() - 2) << "neither the cut move nor onClose";
}
