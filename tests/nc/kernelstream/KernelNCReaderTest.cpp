// KernelNCReader with the binders over the real binary stream: round trips both ways, stopping
// at every event, aborting, the reader's exceptions and isValid.
#include "nc/nc/kernelstream/KernelNCReader.h"

#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "nc/nc/kernelstream/NCKernelOutputBinder.h"
#include "tests/support/ReaderTesting.h"
#include "tests/support/RecordingNCStream.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/AbortableImpl.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

using Number = double (*)(double);
Number const exact = [](double v) { return v; };
Number const nearestFloat = [](double v) { return static_cast<double>(static_cast<float>(v)); };

// The header of a stream in UTF-16 units: field 0, 50 characters; the version entity follows it.
constexpr std::uint64_t VersionOffset = 4 + 4 + 50 * 2;

// An NC program in the form the binders keep: arcs counter-clockwise about a positive normal or
// clockwise about a positive one, five-axis moves with FLAG_ABSOLUTE_DIRECTION, wide parameters.
// n gives the numbers as they are sent or as the kernel stream stores them.
void sendProgram(NCStream& s, Number n)
{
    auto const v = [n](double x, double y, double z) { return Vector3D(n(x), n(y), n(z)); };
    auto const flags = [](NCStream::Movement m) { return NCStream::getMovementFlags(m); };
    unsigned int const cut = flags(NCStream::MOVEMENT_CUTTING);
    unsigned int const absolute = NCStream::FLAG_ABSOLUTE_DIRECTION;
    Vector3D const x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    std::string const kernel = KernelParameterNames::getNamespace();
    s.onOpen();
    s.onSection();
    s.onParameter((kernel + "task-id").c_str(), L"job 7");
    s.onParameter((kernel + "tool-axis").c_str(), Point3D(v(0, 0.6, 0.8)));
    s.onRapid(v(0.1, 0.2, 10), 0);
    s.onLinear(v(0.1, 0.2, 0), 250.5, flags(NCStream::MOVEMENT_PLUNGE));
    s.onLinear(v(5.3, 0.2, 0), 250.5, cut);
    s.onLinear(v(5.3, 2.2, 0), 250.5, flags(NCStream::MOVEMENT_GUIDED_RAPID));
    s.onCCWArc(v(5.3, 3.2, 0), v(6.3, 3.2, 0), z, 180.25, cut);
    s.onCWArc(v(7.3, 3.2, 0), v(8.3, 3.2, 0), z, 180.25, flags(NCStream::MOVEMENT_FINISH_CUTTING));
    s.onCCWArc(v(8.3, 3.2, 1.1), v(9.3, 3.2, 1.1), y, 0.1, cut);
    s.onCWArc(v(9.3, 3.2, 2.1), v(9.3, 3.2, 3.1), y, 0.1, cut);
    s.onCCWArc(v(9.3, 4.2, 3.1), v(9.3, 4.2, 4.1), x, 0.1, cut);
    s.onCWArc(v(9.3, 4.7, 4.1), v(9.3, 5.2, 4.1), x, 0.1, cut);
    s.onCCWCircle(v(9.3, 5.7, 4.1), v(9.3, 5.2, 4.1), z, 0.1, cut);
    s.onCWCircle(v(9.3, 5.7, 4.1), v(9.3, 5.2, 4.1), x, 0.1, 0);
    s.onParameter((kernel + "contact-normal").c_str(), Point3D(v(0, -0.6, 0.8)));
    s.onRapid5D(v(1, 2, 3), v(0, 0.6, 0.8), absolute);
    s.onLinear5D(v(1, 2, 2.5), v(0.6, 0, 0.8), 99.5, cut | absolute);
    s.onParameter((kernel + "toolpath-break").c_str(), 1);
    s.onParameter((kernel + "begin-fragment").c_str(), 1);
    s.onLinear5D(v(1, 2, 2), z, 99.5, flags(NCStream::MOVEMENT_DEPOSITING) | absolute);
    s.onParameter((kernel + "end-fragment").c_str(), 1);
    s.onDwell(1.5, 0);
    s.onCommand(NCStream::COMMAND_COOLANT_ON);
    s.onGroup("http://www.quarn.dev/namespace/nc/cycle/drill");
    s.onParameter((kernel + "expand-open").c_str(), 1);
    s.onLinear(v(1, 2, -4), 40, flags(NCStream::MOVEMENT_DRILL_BREAKTHROUGH));
    s.onParameter((kernel + "expand-close").c_str(), 1);
    s.onGroupEnd();
    s.onTurnGroup("tnr");
    s.onTurnGroupEnd();
    s.onTurnGroup("canned-rough");
    s.onTurnGroupEnd();
    s.onMachineAxisOrdering(AxisOrdering {AxisInfo("head", "A"), AxisInfo("table", "C")});
    s.onMachineAxisValues(AxisValues {AxisValue(10.1), AxisValue(-20.5)});
    s.onParameter("http://www.quarn.dev/namespace/nc/parameter/stepover", L"0.4 mm \u00e9\U0001F600");
    s.onParameter((kernel + "progress").c_str(), 0.5);
    s.onParameter((kernel + "information").c_str(), L"done");
    s.onParameter((kernel + "warning").c_str(), L"gouge");
    s.onParameter((kernel + "error").c_str(), L"bad");
    s.onParameter((kernel + "error-code").c_str(), 4);
    s.onParameter((kernel + "debug").c_str(), L"trace");
    s.onSectionEnd();
    s.onClose();
}

std::string kernelStream(std::function<void(NCStream&)> const& program, bool ucs4 = false)
{
    MemoryOutputStream out;
    KernelOutputStream writer(&out);
    writer.setUCS4(ucs4);
    NCKernelOutputBinder binder(&writer);
    program(binder);
    return out.getData();
}

std::string const& programStream()
{
    static std::string const bytes = kernelStream([](NCStream& s) { sendProgram(s, exact); });
    return bytes;
}

bool import(std::string const& bytes, NCStream& target, Abortable* abort = nullptr)
{
    KernelNCReader reader;
    reader.setNCStream(&target);
    reader.setAbortable(abort);
    MemoryInputStream in(bytes.data(), bytes.size());
    return reader.import(&in);
}

std::vector<std::wstring> const& programEvents()
{
    static std::vector<std::wstring> const events = [] {
        RecordingNCStream recorder;
        EXPECT_TRUE(import(programStream(), recorder));
        return recorder.events;
    }();
    return events;
}

std::string patched(std::string bytes, std::size_t at, std::uint32_t value)
{
    LittleEndian::writeUInt32(reinterpret_cast<unsigned char*>(bytes.data() + at), value);
    return bytes;
}

// Every kernel entity that an NC program can carry, in numbers a float holds.
void sendKernelEntities(KernelOutputInterface& k)
{
    std::wstring const feed = Unicode::fromUTF8(KernelParameterNames::getFeedrateName());
    k.writeHeader();
    k.writeTaskId(L"job 12");
    k.writeToolpathOpen();
    k.writeProgress(0.125);
    k.writeToolAxis({0, 0.6, 0.8});
    k.writeLine({1, 2, 3}, NCStream::MOVEMENT_RAPID);
    k.writeBeginPathFragment();
    k.writeParameter(feed.c_str(), L"1000");
    k.writeLine({1, 2, 0}, NCStream::MOVEMENT_PLUNGE);
    k.writeContactNormal({0, 1, 0});
    k.writeLine({2, 2, 0}, {0, 0.6, 0.8}, NCStream::MOVEMENT_CUTTING);
    k.writeArc({3, 2, 0}, {2.5, 2, 0}, {0, 0, -1}, NCStream::MOVEMENT_CUTTING);
    k.writeArc({3, 2, 0}, {3, 2, 1}, {0.6, 0, -0.8}, NCStream::MOVEMENT_RAPID);
    k.writeParameter(feed.c_str(), L"0.1");
    k.writeArc({3, 2, 2}, {3, 2, 1}, {-1, 0, 0}, NCStream::MOVEMENT_LEAD_OUT);
    k.writeEndPathFragment();
    k.writeToolpathBreak();
    k.writeExpandOpen();
    k.writeGroupBegin(L"urn:cycle \u00e9\U0001F600");
    k.writeDwell(0.5);
    k.writeCommand(NCStream::COMMAND_STOP);
    k.writeGroupEnd();
    k.writeExpandClose();
    k.writeTurnGroupBegin(NCStream::TURN_GROUP_TNR);
    k.writeTurnGroupEnd();
    k.writeMachineAxisOrdering(AxisOrdering {AxisInfo("head", "B")});
    k.writeMachineAxisValues(AxisValues {AxisValue(0.1), AxisValue(2.0)});
    k.writeInformation(L"done");
    k.writeWarning(L"gouge");
    k.writeError(L"failed");
    k.writeError(3u);
    k.writeDebug(L"trace");
    k.writeParameter(L"stepover", L"0.4 mm");
    k.writeToolpathClose();
    k.writeToolpathOpen();
    k.writeToolpathClose();
    k.writeEnd();
}

std::string kernelEntities(bool ucs4)
{
    MemoryOutputStream out;
    {
        KernelOutputStream writer(&out);
        writer.setUCS4(ucs4);
        sendKernelEntities(writer);
    }
    return out.getData();
}

} // namespace

TEST(KernelNCReader, NCProgramComesBackWithEveryPositionNormalMovementAndFeedrate)
{
    RecordingNCStream expected;
    sendProgram(expected, nearestFloat);
    ASSERT_EQ(programEvents().size(), expected.events.size());
    for (std::size_t i = 0; i < expected.events.size(); ++i)
        EXPECT_EQ(programEvents()[i], expected.events[i]) << "event " << i;

    RecordingNCStream back;
    ASSERT_TRUE(import(programStream(), back));
    EXPECT_EQ(back.orderings, expected.orderings);
    EXPECT_EQ(back.axisValues, expected.axisValues);
}

TEST(KernelNCReader, KernelEntitiesSurviveTheWayThroughAnNCStream)
{
    // Read in either encoding, written again in UTF-16: the same bytes as written directly.
    for (bool ucs4 : {false, true}) {
        MemoryOutputStream again;
        KernelOutputStream writer(&again);
        NCKernelOutputBinder binder(&writer);
        ASSERT_TRUE(import(kernelEntities(ucs4), binder)) << ucs4;
        EXPECT_EQ(binder.getLeftOutTotal(), 0u);
        EXPECT_EQ(again.getData(), kernelEntities(false)) << ucs4;
    }
}

TEST(KernelNCReader, FactsAboutTheKernelProcessAreCountedNotSent)
{
    using Fact = ToolpathNCStreamBinder::ProcessFact;
    MemoryOutputStream out;
    {
        KernelOutputStream writer(&out);
        writer.writeHeader();
        writer.writeModule(L"kernel.so", 0x1000, 0x2000);
        writer.writeMemoryInformation({});
        writer.writeOutOfMemory(1 << 20, 1 << 10);
        writer.writeProcessInfo(10, 0.5, 100, 200);
        writer.writeProcessInfo(20, 0.5, 100, 200);
        writer.writeEnd();
    }
    RecordingNCStream recorder;
    KernelNCReader reader;
    reader.setNCStream(&recorder);
    MemoryInputStream in(out.getData());
    ASSERT_TRUE(reader.import(&in));
    EXPECT_EQ(recorder.names(), (std::vector<std::wstring> {L"onOpen", L"onClose"}));
    std::vector<std::pair<std::string_view, std::uint64_t>> counts;
    for (Fact fact : {Fact::Module, Fact::MemoryInformation, Fact::OutOfMemory, Fact::ProcessInfo})
        counts.emplace_back(ToolpathNCStreamBinder::getName(fact), reader.getNotCarried(fact));
    EXPECT_EQ(counts,
        (std::vector<std::pair<std::string_view, std::uint64_t>> {
            {"onModule", 1}, {"onMemoryInformation", 1}, {"onOutOfMemory", 1}, {"onProcessInfo", 2}}));
    EXPECT_EQ(reader.getNotCarriedTotal(), 5u);
}

TEST(KernelNCReader, StopsAtOnceWhenTheNCStreamRefusesAnyEvent)
{
    std::vector<std::wstring> const& all = programEvents();
    std::map<std::wstring, int> seen;
    for (std::size_t stop = 0; stop < all.size(); ++stop) {
        std::wstring const name = all[stop].substr(0, all[stop].find(L' '));
        RecordingNCStream recorder;
        recorder.stopAt(name, ++seen[name]);
        EXPECT_FALSE(import(programStream(), recorder)) << "event " << stop;
        EXPECT_EQ(recorder.events, std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(stop) + 1))
            << "event " << stop;
    }
}

TEST(KernelNCReader, AnAbortStopsTheImportBeforeTheNextEntity)
{
    AbortableImpl aborted;
    aborted.abort();
    RecordingNCStream nothing;
    EXPECT_FALSE(import(programStream(), nothing, &aborted));
    EXPECT_TRUE(nothing.events.empty());

    EXPECT_EQ(namesWhenAbortedAt<KernelNCReader>(L"onSection", programStream()),
        (std::vector<std::wstring> {L"onOpen", L"onSection"}));
}

TEST(KernelNCReader, RefusesStreamsItCannotReadWithTheirOffsets)
{
    std::string const good = programStream();
    // The last number of the version entity, 3, made 4.
    std::string const version4 = patched(good, VersionOffset + 16, 4);
    EXPECT_EQ(ioError([&] {
        RecordingNCStream recorder;
        import(version4, recorder);
    }),
        (IOError {L"Unsupported kernel version.", VersionOffset}));
    // In UCS-4 the header is twice as long.
    std::string const wideVersion4 = patched(
        kernelStream([](NCStream& s) { sendProgram(s, exact); }, true), 4 + 4 + 50 * 4 + 16, 4);
    EXPECT_EQ(ioError([&] {
        RecordingNCStream recorder;
        import(wideVersion4, recorder);
    }),
        (IOError {L"Unsupported kernel version.", 4 + 4 + 50 * 4}));

    // Without its end entity (the last four bytes) every event but onClose arrives first.
    std::string const cut = good.substr(0, good.size() - 4);
    RecordingNCStream recorder;
    EXPECT_EQ(ioError([&] { import(cut, recorder); }),
        (IOError {L"The kernel stream ends without its end entity.", cut.size()}));
    EXPECT_EQ(recorder.events, std::vector(programEvents().begin(), programEvents().end() - 1));

    // A header text of another format: "hello" instead of the kernel's.
    std::string foreign = std::string("\0\0\0\0\5\0\0\0h\0e\0l\0l\0o\0", 18) + good.substr(VersionOffset);
    RecordingNCStream none;
    EXPECT_EQ(ioError([&] { import(foreign, none); }), (IOError {L"Not a CAM kernel stream.", 0}));
    EXPECT_TRUE(none.events.empty());
}

TEST(KernelNCReader, IsValidOnlyForKernelStreamsOfItsVersion)
{
    struct Case {
        char const* what;
        std::string bytes;
        bool valid;
    };
    std::string const good = programStream();
    for (Case const& c : {
             Case {"UTF-16 stream", good, true},
             Case {"UCS-4 stream", kernelStream([](NCStream& s) { s.onOpen() && s.onClose(); }, true), true},
             Case {"header and version only", good.substr(0, VersionOffset + 20), true},
             Case {"empty file", "", false},
             Case {"text file", "G0 X1 Y2\nG1 Z-1 F100\n", false},
             Case {"cut in the version", good.substr(0, VersionOffset + 12), false},
             Case {"version 3.1.1.4", patched(good, VersionOffset + 16, 4), false},
             Case {"no version entity", good.substr(0, VersionOffset) + good.substr(VersionOffset + 20), false},
             Case {"other header text", patched(good, 8, 'H'), false},
         }) {
        TemporaryFile file;
        {
            FileOutputStream out(file.name());
            out.write(c.bytes.data(), c.bytes.size());
        }
        EXPECT_EQ(KernelNCReader().isValid(file.name()), c.valid) << c.what;
    }
    EXPECT_FALSE(KernelNCReader().isValid(L"/nonexistent/folder/stream.bin"));
}

TEST(KernelNCReader, NamesItsFormat)
{
    KernelNCReader reader;
    EXPECT_EQ(reader.getUri(), L"http://www.quarn.dev/namespace/nc/format/camkernel-stream");
    EXPECT_TRUE(reader.isIntermediateFormat());
}
