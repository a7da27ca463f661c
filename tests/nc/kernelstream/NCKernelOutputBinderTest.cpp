// NCKernelOutputBinder: the kernel entities of every NC event (read back from a real stream),
// the sense of arcs, feedrates, parameters and what is left out, by kind.
#include "nc/nc/kernelstream/NCKernelOutputBinder.h"

#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "nc/nc/kernelstream/KernelReader.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingKernelStream.h"
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

using Lines = std::vector<std::wstring>;

// The entities written for the events, as a kernel reader hands them on; a stream that follows
// the end of another is read on.
Lines writtenEntities(std::function<void(NCStream&)> const& send)
{
    MemoryOutputStream out;
    KernelOutputStream writer(&out);
    NCKernelOutputBinder binder(&writer);
    send(binder);
    writer.flushStream();
    EXPECT_EQ(binder.getLeftOutTotal(), 0u);

    RecordingKernelStream recorder;
    for (std::string rest = out.getData(); !rest.empty();) {
        KernelReader reader(&recorder);
        MemoryInputStream in(rest);
        reader.open(&in);
        EXPECT_TRUE(reader.read());
        rest = reader.getPendingData();
    }
    return recorder.events;
}

std::wstring kernelName(char const* shortName)
{
    return Unicode::fromUTF8(KernelParameterNames::getNamespace()) + Unicode::fromUTF8(shortName);
}

std::string const kernel = KernelParameterNames::getNamespace();
unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
Vector3D const X(1, 0, 0), Y(0, 1, 0), Z(0, 0, 1);

} // namespace

TEST(NCKernelOutputBinder, WritesEveryCarriedEventAsItsKernelEntities)
{
    Lines const lines = writtenEntities([](NCStream& s) {
        unsigned int const leadOut = NCStream::getMovementFlags(NCStream::MOVEMENT_LEAD_OUT);
        s.onOpen();
        s.onSection();
        s.onRapid({1, 2, 3}, 0);
        s.onLinear({1, 2, 0}, 0, cut); // 0 is the feedrate the reading side starts with
        s.onLinear({4, 5, 6}, 300, leadOut);
        // Only the movement of the flags counts; the same feedrate is not written again.
        s.onLinear({4, 5, 7}, 300, cut | NCStream::FLAG_COMPENSATION_LEFT | NCStream::FLAG_START_CUTTING);
        s.onRapid5D({1, 0, 0}, Y, NCStream::FLAG_ABSOLUTE_DIRECTION);
        // A direction without FLAG_ABSOLUTE_DIRECTION is written as given.
        s.onLinear5D({2, 0, 0}, {10, 20, 30}, 300.25, cut);
        // The four-vector forms write a proper n as the contact normal and drop x.
        s.onLinear5D({3, 0, 0}, Z, X, Y, 300.25, cut);
        s.onLinear5D({4, 0, 0}, Z, X, {0, 0, 0}, 300.25, cut);
        s.onRapid5D({5, 0, 0}, Z, X, {0, 0, -1}, 0);
        s.onRapid5D({6, 0, 0}, Z, X, Vector3D::getNaN(), 0);
        // Arcs run counter-clockwise about the written normal.
        s.onCCWArc({6, 1, 0}, {6, 2, 0}, Z, 300.25, cut);
        s.onCWArc({6, 1, 0}, {6, 0, 0}, Z, 300.25, cut);
        s.onCWArc({6, 0, 1}, {6, 0, 2}, X, 120, cut);
        s.onCCWCircle({6, 0, 1}, {6, 0, 2}, Y, 120, cut);
        s.onCWCircle({6, 0, 1}, {6, 0, 2}, Y, 120, 0);
        s.onCircular({0, 0, 0}, {1, 0, 0}, Z, 1.5, 120, cut);
        s.onCircular({0, 0, 0}, {1, 0, 0}, Z, -7.5, 120, cut);
        s.onCircular({0, 0, 0}, {1, 0, 0}, Z, 0, 120, cut);
        s.onRapid({0, 0, 9}, 0); // rapids carry no feedrate
        s.onDwell(2.5, 0);
        s.onCommand(NCStream::COMMAND_LIVE_ALIGNMENT);
        s.onGroup("urn:gr\xc3\xbc\xc3\x9f"
                  "e");
        s.onGroupEnd();
        s.onTurnGroup("tnr");
        s.onTurnGroupEnd();
        s.onTurnGroup("canned-rough");
        s.onTurnGroup("turning-TNR");
        s.onMachineAxisOrdering(AxisOrdering {AxisInfo("head", "A"), AxisInfo("table", "C")});
        s.onMachineAxisValues(AxisValues {AxisValue(1.0)});
        s.onSectionEnd();
        s.onClose();
    });
    std::wstring const feed = L"onParameter " + kernelName("feedrate");
    EXPECT_EQ(lines,
        (Lines {L"onHeader http://legacy.quarn.dev/namespace/camkernel/stream", L"onToolpathOpen 0 0",
            L"onLinearMove (1, 2, 3) 0", L"onLinearMove (1, 2, 0) 2", feed + L" 300", L"onLinearMove (4, 5, 6) 3",
            L"onLinearMove (4, 5, 7) 2", L"onLinear5DMove (1, 0, 0) (0, 1, 0) 0", feed + L" 300.25",
            L"onLinear5DMove (2, 0, 0) (10, 20, 30) 2", L"onContactNormal (0, 1, 0)",
            L"onLinear5DMove (3, 0, 0) (0, 0, 1) 2", L"onLinear5DMove (4, 0, 0) (0, 0, 1) 2",
            L"onContactNormal (0, 0, -1)", L"onLinear5DMove (5, 0, 0) (0, 0, 1) 0",
            L"onLinear5DMove (6, 0, 0) (0, 0, 1) 0", L"onCircularMove (6, 2, 0) (6, 1, 0) (0, 0, 1) 2",
            L"onCircularMove (6, 0, 0) (6, 1, 0) (0, 0, -1) 2", feed + L" 120",
            L"onCircularMove (6, 0, 2) (6, 0, 1) (-1, 0, 0) 2", L"onCircularMove (6, 0, 2) (6, 0, 1) (0, 1, 0) 2",
            L"onCircularMove (6, 0, 2) (6, 0, 1) (0, -1, 0) 0", L"onCircularMove (1, 0, 0) (0, 0, 0) (0, 0, 1) 2",
            L"onCircularMove (1, 0, 0) (0, 0, 0) (0, 0, -1) 2", L"onCircularMove (1, 0, 0) (0, 0, 0) (0, 0, 1) 2",
            L"onLinearMove (0, 0, 9) 0", L"onDwell 2.5", L"onCommand 47", L"onGroup urn:gr\u00fc\u00dfe",
            L"onGroupEnd", L"onTurnGroup 1", L"onTurnGroupEnd", L"onTurnGroup 2", L"onTurnGroup 0",
            L"onMachineAxisOrdering [head:A table:C]", L"onMachineAxisValues [1]", L"onToolpathClose", L"onEnd"}));
}

TEST(NCKernelOutputBinder, StartsAgainAtEveryProgram)
{
    // The end is flushed, never closed (the output is the caller's); the next program writes
    // its feedrate again.
    Lines const lines = writtenEntities([](NCStream& s) {
        s.onOpen() && s.onLinear({0, 0, 0}, 120, cut) && s.onClose();
        s.onOpen() && s.onLinear({0, 0, 1}, 120, cut);
    });
    std::wstring const feed = L"onParameter " + kernelName("feedrate") + L" 120";
    std::wstring const header = L"onHeader http://legacy.quarn.dev/namespace/camkernel/stream";
    EXPECT_EQ(lines,
        (Lines {header, feed, L"onLinearMove (0, 0, 0) 2", L"onEnd", header, feed, L"onLinearMove (0, 0, 1) 2"}));
}

TEST(NCKernelOutputBinder, KernelNamesBecomeKernelEntitiesAndOtherParametersTexts)
{
    Lines const lines = writtenEntities([](NCStream& s) {
        auto const name = [](char const* shortName) { return kernel + shortName; };
        s.onOpen();
        s.onParameter(name("tool-axis").c_str(), Point3D(0, 0.5, 0.75));
        s.onParameter(name("contact-normal").c_str(), Point3D(1, 0, 0));
        s.onParameter(name("progress").c_str(), 0.75);
        for (char const* marker : {"toolpath-break", "begin-fragment", "end-fragment", "expand-open", "expand-close"})
            s.onParameter(name(marker).c_str(), 1);
        s.onParameter(name("information").c_str(), L"info");
        s.onParameter(name("warning").c_str(), "w\xc3\xa4rn");
        s.onParameter(name("error").c_str(), L"bad");
        s.onParameter(name("debug").c_str(), L"trace");
        s.onParameter(name("task-id").c_str(), L"task 9");
        s.onParameter(name("error-code").c_str(), 5);
        // Other value types under those names, and every other name, are ordinary parameters.
        s.onParameter(name("toolpath-break").c_str(), 0);
        s.onParameter(name("tool-axis").c_str(), L"up");
        s.onParameter(name("progress").c_str(), 1);
        s.onParameter("depth", -3);
        s.onParameter("depth", 0.1);
        s.onParameter("origin", Point3D(1.5, -2, 1e-20));
        s.onParameter("caf\xc3\xa9", L"wide");
        s.onParameter("label", "narrow \xc3\xa9");
        s.onParameter("length", 2.5, NCStream::PARAMETER_KIND_LENGTH);
        // A parameter under the feedrate name is written too, and the next feedrate again.
        s.onLinear({0, 0, 0}, 50, cut);
        s.onParameter(name("feedrate").c_str(), L"fast");
        s.onLinear({1, 0, 0}, 50, cut);
    });
    auto const parameter = [](std::wstring const& name, wchar_t const* value) {
        return L"onParameter " + name + L" " + value;
    };
    std::wstring const feed = kernelName("feedrate");
    EXPECT_EQ(Lines(lines.begin() + 1, lines.end()),
        (Lines {L"onToolAxis (0, 0.5, 0.75)", L"onContactNormal (1, 0, 0)", L"onProgress 0.75", L"onToolpathBreak",
            L"onBeginFragment", L"onEndFragment", L"onExpandOpen", L"onExpandClose", L"onInformation info",
            L"onWarning w\u00e4rn", L"onError bad", L"onDebug trace", L"onTaskId task 9", L"onError 5",
            parameter(kernelName("toolpath-break"), L"0"), parameter(kernelName("tool-axis"), L"up"),
            parameter(kernelName("progress"), L"1"), parameter(L"depth", L"-3"), parameter(L"depth", L"0.1"),
            parameter(L"origin", L"1.5 -2 1e-20"), parameter(L"caf\u00e9", L"wide"),
            parameter(L"label", L"narrow \u00e9"), parameter(L"kind", L"1"), parameter(L"length", L"2.5"),
            parameter(feed, L"50"), L"onLinearMove (0, 0, 0) 2", parameter(feed, L"fast"), parameter(feed, L"50"),
            L"onLinearMove (1, 0, 0) 2"}));
}

TEST(NCKernelOutputBinder, EveryOperationIsWrittenOrCountedByKind)
{
    std::map<NCEvent, std::uint64_t> const leftOut {{NCEvent::passThrough, 2}, {NCEvent::onComment, 2},
        {NCEvent::onToolpathEntityIndex, 1}, {NCEvent::onMachineCommand, 1}, {NCEvent::onCoolant, 1},
        {NCEvent::onSpindleSpeed, 1}, {NCEvent::onRadiusCompensationMode, 1}, {NCEvent::onRadiusCompensation, 1},
        {NCEvent::onStock, 1}, {NCEvent::onContext, 1}, {NCEvent::onTool, 1}, {NCEvent::onToolChange, 1},
        {NCEvent::onLinearExtrude, 1}, {NCEvent::onCWArcExtrude, 1}, {NCEvent::onCCWArcExtrude, 1},
        {NCEvent::onCircularExtrude, 1}, {NCEvent::onSpline, 1}, {NCEvent::onBezier, 1}, {NCEvent::onNURBS, 1},
        {NCEvent::onSkip, 1}, {NCEvent::onLineNumber, 1}, {NCEvent::onFrame, 1}};

    MemoryOutputStream out;
    KernelOutputStream writer(&out);
    NCKernelOutputBinder binder(&writer);
    std::uint64_t written = 0;
    std::uint64_t counted = 0;
    callEveryOperation(binder, [&](NCEvent event, bool answer) {
        bool const wrote = writer.getPosition() > written;
        bool const left = binder.getLeftOutTotal() > counted;
        EXPECT_TRUE(answer) << getEventName(event);
        EXPECT_NE(wrote, left) << getEventName(event);
        EXPECT_EQ(left, leftOut.contains(event)) << getEventName(event);
        written = writer.getPosition();
        counted = binder.getLeftOutTotal();
    });
    // A dwell in revolutions is left out too (the sample dwell, in seconds, was written).
    EXPECT_TRUE(binder.onDwell(3, NCStream::FLAG_DWELL_REVOLUTIONS));

    std::map<NCEvent, std::uint64_t> expected = leftOut;
    expected[NCEvent::onDwell] = 1;
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < NCEventCount; ++i) {
        auto const kind = static_cast<NCEvent>(i);
        auto const found = expected.find(kind);
        EXPECT_EQ(binder.getLeftOut(kind), found != expected.end() ? found->second : 0) << getEventName(kind);
        total += binder.getLeftOut(kind);
    }
    EXPECT_EQ(binder.getLeftOutTotal(), total);
    // The map is in NCEvent order.
    EXPECT_EQ(binder.getLeftOutKinds(), (std::vector<std::pair<NCEvent, std::uint64_t>>(expected.begin(), expected.end())));
}

TEST(NCKernelOutputBinder, CountsTheFlagsAndFiveAxisFramesItCannotCarry)
{
    unsigned int const absolute = NCStream::FLAG_ABSOLUTE_DIRECTION;
    unsigned int const marked = cut | NCStream::FLAG_START_CUTTING;
    unsigned int const left = cut | NCStream::FLAG_COMPENSATION_LEFT;
    MemoryOutputStream out;
    KernelOutputStream writer(&out);
    NCKernelOutputBinder binder(&writer);
    // Carried whole: the movement, and the absolute direction of five-axis moves.
    binder.onRapid(X, NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID));
    binder.onLinear(X, 100, cut);
    binder.onLinear5D(X, Z, 100, cut | absolute);
    binder.onCCWArc(Y, X, Z, 100, cut);
    EXPECT_EQ(binder.getLeftOut(LeftOutValue::Flags), 0u);
    // Lost: cutting marks, compensation, a five-axis direction that reads back as absolute.
    binder.onLinear(X, 100, marked);
    binder.onCWArc(Y, X, Z, 100, left);
    binder.onCircular(Y, X, Z, 1.0, 100, marked);
    binder.onRapid5D(X, Z, 0);
    binder.onLinear5D(X, Z, 100, marked | absolute);
    EXPECT_EQ(binder.getLeftOut(LeftOutValue::Flags), 5u);
    // The four-vector forms lose their x direction, and count their flags like the others.
    binder.onLinear5D(X, Z, X, Y, 100, cut | absolute);
    binder.onRapid5D(X, Z, X, Y, absolute);
    EXPECT_EQ(binder.getLeftOut(LeftOutValue::FiveAxisFrame), 2u);
    EXPECT_EQ(binder.getLeftOut(LeftOutValue::Flags), 5u);
    EXPECT_EQ(binder.getLeftOut(LeftOutValue::Feed), 0u);
    EXPECT_EQ(binder.getLeftOutTotal(), 0u) << "every event was written";
}
