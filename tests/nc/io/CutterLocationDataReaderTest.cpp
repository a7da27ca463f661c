// CutterLocationDataReader: the event of every record, rewriting, files of the other byte order,
// version rules, malformed files with their messages and offsets, the string limit, stopping and
// large inputs.
#include "nc/nc/io/CutterLocationDataReader.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CutterLocationDataWriter.h"
#include "tests/support/ReaderTesting.h"
#include "tests/support/RecordingNCStream.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/Architecture.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <type_traits>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

// Files are written in the byte order of the machine that runs the test.
using Native = std::conditional_t<Architecture::isLE(), LittleEndian, BigEndian>;

std::string u32(std::uint32_t v)
{
    std::string bytes(4, '\0');
    Native::writeUInt32(reinterpret_cast<unsigned char*>(bytes.data()), v);
    return bytes;
}
std::string text(std::string const& value) { return u32(static_cast<std::uint32_t>(value.size())) + value; }
std::uint32_t codeAt(std::string const& bytes, std::size_t at)
{
    return Native::readUInt32(reinterpret_cast<unsigned char const*>(bytes.data() + at));
}

std::string const uri = "http://www.quarn.dev/namespace/nc/format/cutter-location-data";
std::string const nativeOrder = Architecture::isLE() ? "le" : "be";
std::string const otherOrder = Architecture::isLE() ? "be" : "le";

// The URI (0), the version record (65), "xmlns:cld" (72) and "cld:byte-order" (154): 182 bytes.
std::string header()
{
    return text(uri) + u32(1) + std::string("\x01\x00\x00", 3) + u32(10) + text("xmlns:cld") + text(uri) + u32(10)
        + text("cld:byte-order") + text(nativeOrder);
}

std::string patched(std::string bytes, std::size_t at, std::string const& with)
{
    return bytes.replace(at, with.size(), with);
}

using Send = std::function<void(NCStream&)>;

std::string writeProgram(std::function<void(CutterLocationDataWriter&)> const& send)
{
    MemoryOutputStream out;
    CutterLocationDataWriter writer(&out);
    writer.onOpen();
    send(writer);
    writer.onClose();
    return out.getData();
}

bool replay(std::string const& bytes, NCStream& target)
{
    MemoryInputStream in(bytes);
    CutterLocationDataReader reader;
    reader.setNCStream(&target);
    return reader.import(&in);
}

RecordingNCStream replayed(std::string const& bytes)
{
    RecordingNCStream recorder;
    EXPECT_TRUE(replay(bytes, recorder));
    return recorder;
}

Vector3D const a(1, 2, 3), b(4, 5, 6), c(0, 0, 1), d(0.5, 0.25, 0.125);
unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);

NCContext sampleContext()
{
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    context.setCompensation(NCContext::COMPENSATION_CENTER);
    context.setOrigin({1, 2, 3});
    context.setPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    return context;
}

NCTool sampleTool()
{
    NCTool tool;
    tool.setUnit(NCUnit::MILLIMETERS);
    tool.setDiameter(6);
    tool.setCornerRadius(0.5);
    tool.setTaperAngle(2);
    tool.setFluteLength(20);
    return tool;
}

// A record of every code, each as the writer makes it from an event that comes back whole, so that
// the replay written again gives the same bytes.
void sendEveryRecord(CutterLocationDataWriter& w)
{
    w.onContext(sampleContext());
    w.onTool(sampleTool());
    w.onSection();
    w.onParameter("text", "value");
    w.onParameter("wide", L"a\U0001F600b");
    w.onParameter("int", -7);
    w.onParameter("float", 0.25);
    w.onParameter("point", Point3D(1, 2, 3));
    w.onLinear(a, 0, 0);
    w.onCCWArc(a, b, c, 0, 0);
    w.onCWArc(b, a, c, 0, 0);
    w.onCCWCircle(a, b, c, 0, 0);
    w.onCWCircle(b, a, c, 0, 0);
    w.onCircular(a, b, c, -1.5, 0, 0);
    w.onLinear5D(a, d, 0, NCStream::FLAG_ABSOLUTE_DIRECTION);
    w.onSectionEnd();
}

std::string const& everyRecordFile()
{
    static std::string const file = writeProgram(sendEveryRecord);
    return file;
}

// The file with every number in the other byte order: codes, string lengths, UTF-16 units,
// floats and ints, walked record by record. 's' is a narrow string, 'w' a wide one, 'n' a
// four-byte number.
std::string inOtherOrder(std::string bytes)
{
    std::map<std::uint32_t, std::string> const shapes {{10, "ss"}, {11, "sw"}, {12, "sn"}, {13, "sn"}, {14, "snnn"},
        {15, "snnnnnnnnn"}, {18, "snnn"}, {30, ""}, {31, ""}, {100, "nnn"}, {110, "nnnnnnnnn"}, {111, "nnnnnnnnn"},
        {112, "nnnnnnnnn"}, {113, "nnnnnnnnn"}, {114, "nnnnnnnnnn"}, {120, "nnnnnn"}};
    std::size_t at = 0;
    auto swap = [&](std::size_t size) {
        std::reverse(
            bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
        at += size;
    };
    auto string = [&](std::size_t unit) {
        std::uint32_t const length = codeAt(bytes, at);
        swap(4);
        for (std::uint32_t i = 0; i < length; ++i)
            unit == 1 ? void(++at) : swap(unit);
    };
    string(1); // the URI
    swap(4); // the version record's code
    at += 3;
    while (at < bytes.size()) {
        std::uint32_t const code = codeAt(bytes, at);
        swap(4);
        for (char field : shapes.at(code))
            field == 's' ? string(1) : field == 'w' ? string(2) : swap(4);
    }
    EXPECT_EQ(bytes.substr(180, 2), nativeOrder);
    return patched(bytes, 180, otherOrder); // the value of "cld:byte-order"
}

// Runs of every frequent move and now and then a parameter: a program of about 2.2 MB, which the
// reader reads ahead on a second thread.
void sendLargeProgram(NCStream& s)
{
    for (int i = 0; i < 12'000; ++i) {
        double const x = 0.25 * (i % 4096);
        for (int run = 0; run < i % 5; ++run)
            s.onLinear({x, static_cast<double>(run), 1}, 0, 0);
        s.onCWArc({x, 0, 0}, {x + 1, 1, 0}, c, 0, 0);
        s.onCCWArc({x, 1, 0}, {x, 0, 0}, c, 0, 0);
        s.onCircular({x, 1, 0}, {x, 0, 0}, c, 0.5, 0, 0);
        s.onLinear5D({x, 5, 6}, {0, 0.5, 0.75}, 0, NCStream::FLAG_ABSOLUTE_DIRECTION);
        if (i % 1000 == 0)
            s.onParameter("note", "a parameter among the moves");
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

TEST(CutterLocationDataReader, EveryRecordComesBackAsItsEvent)
{
    Matrix3x3 m;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            m(row, column) = 10 * row + column;
    NCContext full = sampleContext();
    full.setWorkName(L"work"); // not carried
    full.setWCSOrigin({7, 7, 7});
    NCTool tool = sampleTool();
    tool.setNumber(12); // not carried
    auto const same = [](Send const& send) { return std::pair {send, send}; };
    std::vector<std::pair<Send, Send>> const cases {
        same([](auto& s) { s.onParameter("n", "v"); }),
        same([](auto& s) { s.onParameter("n", L"a\U0001F600\u00E9"); }),
        same([](auto& s) { s.onParameter("n", -2); }),
        same([](auto& s) { s.onParameter("n", 0.25); }),
        same([](auto& s) { s.onParameter("n", Point3D(1, 2, 3)); }),
        same([](auto& s) { s.onSection(), s.onSectionEnd(); }),
        {[](auto& s) { s.onParameter("n", 0.1); }, [](auto& s) { s.onParameter("n", double(0.1f)); }},
        {[](auto& s) { static_cast<CutterLocationDataWriter&>(s).onVectorParameter("n", a); },
            [](auto& s) { s.onParameter("n", Point3D(a)); }},
        {[&](auto& s) { static_cast<CutterLocationDataWriter&>(s).onMatrixParameter("n", m); },
            [](auto& s) { s.onParameter("n", "0 1 2 10 11 12 20 21 22"); }},
        {[](auto& s) { s.onRapid(a, 5); }, [](auto& s) { s.onLinear(a, 0, 0); }},
        {[](auto& s) { s.onLinear(a, 100, cut); }, [](auto& s) { s.onLinear(a, 0, 0); }},
        {[](auto& s) { s.onLinearExtrude(a, 100, 0.5); }, [](auto& s) { s.onLinear(a, 0, 0); }},
        {[](auto& s) { s.onCCWArc(a, b, c, 100, cut); }, [](auto& s) { s.onCCWArc(a, b, c, 0, 0); }},
        {[](auto& s) { s.onCWArc(a, b, c, 100, cut); }, [](auto& s) { s.onCWArc(a, b, c, 0, 0); }},
        {[](auto& s) { s.onCCWCircle(a, b, c, 100, cut); }, [](auto& s) { s.onCCWCircle(a, b, c, 0, 0); }},
        {[](auto& s) { s.onCWCircle(a, b, c, 100, cut); }, [](auto& s) { s.onCWCircle(a, b, c, 0, 0); }},
        {[](auto& s) { s.onCCWArcExtrude(a, b, c, 100, 1, cut); }, [](auto& s) { s.onCCWArc(a, b, c, 0, 0); }},
        {[](auto& s) { s.onCWArcExtrude(a, b, c, 100, 1, cut); }, [](auto& s) { s.onCWArc(a, b, c, 0, 0); }},
        {[](auto& s) { s.onCircular(a, b, c, -1.5, 100, cut); }, [](auto& s) { s.onCircular(a, b, c, -1.5, 0, 0); }},
        {[](auto& s) { s.onCircularExtrude(a, b, c, 2.5, 100, 1, cut); },
            [](auto& s) { s.onCircular(a, b, c, 2.5, 0, 0); }},
        {[](auto& s) { s.onLinear5D(a, d, 100, cut); }, [](auto& s) { s.onLinear5D(a, d, 0, 0x20); }},
        {[](auto& s) { s.onRapid5D(a, d, 0); }, [](auto& s) { s.onLinear5D(a, d, 0, 0x20); }},
        {[](auto& s) { s.onRapid5D(a, d, b, c, 0); }, [](auto& s) { s.onLinear5D(a, d, 0, 0x20); }},
        {[&](auto& s) { s.onContext(full); }, [](auto& s) { s.onContext(sampleContext()); }},
        {[&](auto& s) { s.onTool(tool); }, [](auto& s) { s.onTool(sampleTool()); }},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        RecordingNCStream expected;
        expected.onOpen();
        cases[i].second(expected);
        expected.onClose();
        auto const back = replayed(writeProgram([&](auto& w) { cases[i].first(w); }));
        EXPECT_EQ(back.events, expected.events) << i;
        EXPECT_EQ(back.contexts, expected.contexts) << i;
        EXPECT_EQ(back.tools, expected.tools) << i;
    }
}

TEST(CutterLocationDataReader, ReadAndWrittenAgainIsByteIdentical)
{
    MemoryOutputStream out;
    CutterLocationDataWriter writer(&out);
    ASSERT_TRUE(replay(everyRecordFile(), writer));
    EXPECT_EQ(out.getData(), everyRecordFile());
}

TEST(CutterLocationDataReader, FileOfTheOtherByteOrderReadsToTheSameEvents)
{
    std::string const twin = inOtherOrder(writeProgram([](auto& w) {
        sendEveryRecord(w);
        w.onVectorParameter("vector", a);
        w.onMatrixParameter("matrix", Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    }));
    ASSERT_EQ(twin.substr(0, 4), std::string(Architecture::isLE() ? "\0\0\0\x3D" : "\x3D\0\0\0", 4));
    auto const native = replayed(everyRecordFile());
    auto const other = replayed(twin);
    ASSERT_EQ(native.events.size(), 18u);
    ASSERT_EQ(other.events.size(), 20u);
    EXPECT_EQ(std::vector(other.events.begin(), other.events.begin() + 17),
        std::vector(native.events.begin(), native.events.begin() + 17));
    EXPECT_EQ(other.events[17], L"onParameter vector (1, 2, 3)");
    EXPECT_EQ(other.events[18], L"onParameter matrix 0 -1 0 1 0 0 0 0 1");
    EXPECT_EQ(other.contexts, native.contexts);
    EXPECT_EQ(other.tools, native.tools);
}

TEST(CutterLocationDataReader, VersionRules)
{
    struct VersionCase {
        std::string bytes;
        bool valid;
        CutterLocationDataReader::Version version;
    };
    std::string const h = header();
    std::vector<VersionCase> const cases {
        {h, true, {1, 0, 0}},
        {patched(h, 70, "\x07\x03"), true, {1, 7, 3}}, // minor and build
        {patched(h, 69, "\x02"), false, {2, 0, 0}}, // the major version
        {patched(h, 69, std::string(1, '\0')), false, {0, 0, 0}},
        {h.substr(0, 72), true, {1, 0, 0}}, // without its parameters: only the header counts
        {inOtherOrder(h), true, {1, 0, 0}},
        {patched(h, 4 + 60, "x"), false, {}}, // the last byte of the URI
        {text(uri + "/") + h.substr(65), false, {}},
        {patched(h, 65, u32(2)), false, {}}, // the code of the version record
        {h.substr(0, 71), false, {}},
        {"", false, {}},
    };
    CutterLocationDataReader reader;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        TemporaryFile file;
        FileOutputStream(file.name()).write(cases[i].bytes.data(), cases[i].bytes.size());
        EXPECT_EQ(reader.isValid(file.name()), cases[i].valid) << i;
        EXPECT_EQ(CutterLocationDataReader::getVersion(file.name()), cases[i].version) << i;
    }
    TemporaryFile missing;
    EXPECT_FALSE(reader.isValid(missing.name()));
    EXPECT_EQ(CutterLocationDataReader::getVersion(missing.name()), CutterLocationDataReader::Version {});
    EXPECT_TRUE(reader.isIntermediateFormat());
    EXPECT_EQ(reader.getUri(), CutterLocationDataWriter::getUri());
}

TEST(CutterLocationDataReader, MalformedFilesThrowWithTheOffsetOfTheRecord)
{
    std::string const h = header(); // 182 bytes: the records below start at 182
    std::string const move = u32(100) + std::string(12, '\0'); // 16 bytes
    std::string const parameter = u32(10) + text("name") + text("value"); // name length at 4, value's at 12
    std::string const wide = u32(11) + text("n") + u32(2) + std::string(4, 'w'); // units' count at 9
    struct MalformedCase {
        std::string bytes;
        std::wstring message;
        std::uint64_t offset;
    };
    std::vector<MalformedCase> const cases {
        {"", L"Truncated header.", 0},
        {h.substr(0, 30), L"Truncated header.", 0},
        {patched(h, 10, "X"), L"Not a cutter location data file.", 0}, // a byte of the URI
        {text(uri + "x") + h.substr(65), L"Not a cutter location data file.", 0}, // its length
        {patched(h, 65, u32(2)), L"Missing version record.", 65}, // the code of the version record
        {patched(h, 69, "\x02"), L"Unsupported version 2.0.0.", 65}, // the major version
        {h.substr(0, 70), L"Truncated header.", 65},
        {h.substr(0, 72), L"Missing namespace parameter \"xmlns:cld\".", 72},
        {patched(h, 72, u32(11)), L"Missing namespace parameter \"xmlns:cld\".", 72}, // its code
        {patched(h, 80, "X"), L"Missing namespace parameter \"xmlns:cld\".", 72}, // a byte of its name
        {patched(h, 153, "x"), L"Parameter \"xmlns:cld\" does not name this format.", 72}, // the value's last byte
        {h.substr(0, 154), L"Missing byte order parameter \"cld:byte-order\".", 154},
        {patched(h, 154, u32(13)), L"Missing byte order parameter \"cld:byte-order\".", 154}, // its code
        {patched(h, 180, "xy"), L"Unknown byte order \"xy\".", 154}, // its value
        {patched(h, 180, otherOrder),
            L"Byte order \"" + std::wstring(otherOrder.begin(), otherOrder.end())
                + L"\" does not match the file's numbers.",
            154},
        {h.substr(0, 170), L"String length 14 exceeds the 8 bytes left.", 154}, // cut in its name
        {h + patched(move, 0, u32(77)), L"Unknown record code 77.", 182},
        {h + u32(1) + "\x01\x00\x00", L"Version record 1 after the header.", 182},
        {h + move + move.substr(0, 11), L"Truncated record 100: needs 12 bytes, 7 left.", 198}, // the second move cut
        {h + move + move.substr(0, 2), L"Truncated record code: 2 bytes left.", 198},
        {h + u32(114) + std::string(30, '\0'), L"Truncated record 114: needs 40 bytes, 30 left.", 182},
        {h + u32(15) + text("m") + std::string(35, '\0'), L"Truncated record 15: needs 36 bytes, 35 left.", 182},
        {h + u32(12) + text("i") + "\x01\x02", L"Truncated record 12: needs 4 bytes, 2 left.", 182},
        {h + u32(10) + "\x01", L"Truncated record 10: needs 4 bytes, 1 left.", 182}, // cut in the name's length
        {h + patched(parameter, 4, u32(65537)), L"String too long.", 182}, // the name's length
        {h + patched(parameter, 12, u32(300)), L"String length 300 exceeds the 5 bytes left.", 182}, // the value's
        {h + patched(wide, 9, u32(3)), L"Wide string length 3 exceeds the 4 bytes left.", 182}, // the units' count
        {h + patched(wide, 9, u32(70000)), L"String too long.", 182},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        RecordingNCStream recorder;
        EXPECT_EQ(ioError([&] { replay(cases[i].bytes, recorder); }), (IOError {cases[i].message, cases[i].offset}))
            << i;
        if (cases[i].offset < 182) {
            EXPECT_TRUE(recorder.events.empty()) << "onOpen only after the header " << i;
        }
    }
}

TEST(CutterLocationDataReader, TakesShorterStringsThanTheWriter)
{
    // A name of 65536 bytes and a wide value of 65536 units read; one unit more is written but not read.
    for (std::size_t extra : {0, 1}) {
        std::string const name(65536 + extra, 'n');
        std::wstring const value(65536 + extra, L'v');
        for (auto const& send : std::vector<std::function<void(CutterLocationDataWriter&)>> {
                 [&](auto& w) { w.onParameter(name.c_str(), 1); },
                 [&](auto& w) { w.onParameter("n", value.c_str()); }}) {
            std::string const file = writeProgram(send);
            RecordingNCStream recorder;
            IOError const error = ioError([&] { replay(file, recorder); });
            if (extra == 0)
                EXPECT_EQ(recorder.names(), (std::vector<std::wstring> {L"onOpen", L"onParameter", L"onClose"}));
            else
                EXPECT_EQ(error, (IOError {L"String too long.", 182}));
        }
    }
}

TEST(CutterLocationDataReader, RefusalOfAnyEventStopsTheReplay)
{
    auto const names = replayed(everyRecordFile()).names();
    for (std::size_t i = 0; i < names.size(); ++i) {
        int const occurrence
            = static_cast<int>(std::count(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i) + 1, names[i]));
        RecordingNCStream recorder;
        recorder.stopAt(names[i], occurrence);
        EXPECT_FALSE(replay(everyRecordFile(), recorder)) << i;
        EXPECT_EQ(recorder.events.size(), i + 1) << "the reader goes on after a refused " << i;
    }
}

TEST(CutterLocationDataReader, AbortStopsBeforeTheNextRecord)
{
    EXPECT_EQ(namesWhenAbortedAt<CutterLocationDataReader>(L"onContext", everyRecordFile()),
        (std::vector<std::wstring> {L"onOpen", L"onContext"}));
}

TEST(CutterLocationDataReader, LargeInputsReadAheadAndInPiecesToTheSameEvents)
{
    std::vector<std::wstring> const& expected = largeProgramEvents();
    ASSERT_GT(largeFile().size(), 4u << 18);
    EXPECT_EQ(replayed(largeFile()).events, expected);
    // Of unknown size and in odd short reads: records straddle every block boundary.
    for (std::size_t chunk : {4093, 100'000}) {
        TrickleInputStream source(largeFile(), chunk);
        RecordingNCStream recorder;
        CutterLocationDataReader reader;
        reader.setNCStream(&recorder);
        EXPECT_TRUE(reader.import(&source));
        EXPECT_EQ(recorder.events, expected) << chunk;
    }
    // Refused inside runs of moves, and at the last one.
    for (std::size_t at : {std::size_t {30'000}, expected.size() / 2 + 1, expected.size() - 2}) {
        std::wstring const name = expected[at].substr(0, expected[at].find(L' '));
        auto const occurrence = std::count_if(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(at) + 1,
            [&](std::wstring const& event) { return event.starts_with(name + L' '); });
        RecordingNCStream recorder;
        recorder.stopAt(name, static_cast<int>(occurrence));
        EXPECT_FALSE(replay(largeFile(), recorder));
        EXPECT_EQ(recorder.events.size(), at + 1) << "refused at " << at;
    }
    // Aborted inside a run: no move after it.
    struct AbortingAfter : NCStreamDefaultImpl {
        CutterLocationDataReader* reader = nullptr;
        std::size_t left = 0;
        bool onLinear(Vector3D const&, double, unsigned int) override
        {
            if (--left == 0)
                reader->abort();
            return true;
        }
    };
    for (std::size_t moves : {1, 20'000}) {
        CutterLocationDataReader reader;
        AbortingAfter aborting;
        aborting.reader = &reader;
        aborting.left = moves;
        reader.setNCStream(&aborting);
        MemoryInputStream in(largeFile());
        EXPECT_FALSE(reader.import(&in));
        EXPECT_EQ(aborting.left, 0u) << "a move arrived after the abort at " << moves;
    }
    // Cut inside the last move, in a source of unknown size: the byte stream's error at its first
    // missing byte, after every event before it.
    std::string const cut = largeFile().substr(0, largeFile().size() - 10);
    TrickleInputStream source(cut, 4093);
    RecordingNCStream recorder;
    CutterLocationDataReader reader;
    reader.setNCStream(&recorder);
    EXPECT_EQ(ioError([&] { reader.import(&source); }), (IOError {L"Unexpected end of stream.", cut.size() - 18 + 4}));
    EXPECT_EQ(recorder.events.size(), expected.size() - 2) << "neither the cut move nor onClose";
}
