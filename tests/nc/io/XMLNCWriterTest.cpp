// XMLNCWriter: golden documents, exact elements, hostile text, closing and output failures;
// every document a test writes must also parse without error in libxml2.
#include "nc/nc/io/XMLNCWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/EventSamples.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

using namespace Quarn;

namespace {

constexpr std::int64_t Timestamp = 1234567890;

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// The document libxml2 reads from text; each error it reports fails the test.
Document parse(std::string const& text)
{
    std::string errors;
    xmlSetStructuredErrorFunc(
        &errors, [](void* context, xmlErrorPtr error) { *static_cast<std::string*>(context) += error->message; });
    Document document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "document.xml", nullptr, XML_PARSE_NONET),
        &xmlFreeDoc);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    EXPECT_TRUE(document && errors.empty()) << errors << "\n" << text;
    return document;
}

// The document of onOpen, what send sends and onClose, with the date fixed; checked by libxml2.
template <class Send> std::string write(Send send)
{
    MemoryOutputStream out;
    XMLNCWriter writer(&out);
    writer.setTimestamp(Timestamp);
    EXPECT_TRUE(writer.onOpen() && send(writer) && writer.onClose());
    parse(out.getData());
    return out.getData();
}

// The element lines of such a document: what comes between the meta block and "</nc>".
template <class Send> std::string body(Send send)
{
    std::string document = write(send);
    std::size_t begin = document.find("</meta>\n") + 8;
    return document.substr(begin, document.size() - begin - 6);
}

std::string golden(char const* name)
{
    std::ifstream in(std::filesystem::path(QUARN_SOURCE_DIR) / "tests/nc/io/golden" / name, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// The string value of an XPath expression in which the prefix nc names the document's namespace.
std::string evaluate(Document const& document, char const* expression)
{
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
        xmlXPathNewContext(document.get()), &xmlXPathFreeContext);
    xmlXPathRegisterNs(context.get(), BAD_CAST "nc", BAD_CAST "http://schema.quarn.dev/xml/2008/nc");
    std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
        xmlXPathEvalExpression(BAD_CAST expression, context.get()), &xmlXPathFreeObject);
    return result && result->stringval ? reinterpret_cast<char const*>(result->stringval) : "(none)";
}

} // namespace

TEST(XMLNCWriter, EveryEventMatchesTheGoldenDocument)
{
    MemoryOutputStream out;
    XMLNCWriter writer(&out);
    writer.setTimestamp(Timestamp);
    ASSERT_TRUE(TestSupport::sendEveryEvent(writer));
    EXPECT_EQ(out.getData(), golden("EveryEvent.xml"));
    parse(out.getData());
    EXPECT_EQ(XMLNCWriter::getUri(), L"http://www.quarn.dev/namespace/nc/format/nci+xml");
}

TEST(XMLNCWriter, CountsTheEventsWithoutAnElement)
{
    MemoryOutputStream out;
    XMLNCWriter writer(&out);
    TestSupport::callEveryOperation(writer, [](NCEvent, bool) { });
    std::vector<std::string_view> const withoutElement {"passThrough", "onCommand", "onToolpathEntityIndex",
        "onMachineCommand", "onCoolant", "onSpindleSpeed", "onRadiusCompensationMode", "onRadiusCompensation",
        "onStock", "onTurnGroup", "onTurnGroupEnd", "onLinearExtrude", "onCWArcExtrude", "onCCWArcExtrude",
        "onCircularExtrude", "onSpline", "onBezier", "onNURBS", "onSkip"};
    for (std::size_t i = 0; i < NCEventCount; ++i) {
        NCEvent const kind = static_cast<NCEvent>(i);
        bool const counted = std::find(withoutElement.begin(), withoutElement.end(), getEventName(kind))
            != withoutElement.end();
        // Every operation is called once; passThrough has two overloads.
        std::uint64_t const calls = kind == NCEvent::passThrough ? 2 : 1;
        EXPECT_EQ(writer.getLeftOut(kind), counted ? calls : 0) << getEventName(kind);
    }
}

TEST(XMLNCWriter, MillingProgramMatchesTheGoldenDocument)
{
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    context.setCompensation(NCContext::COMPENSATION_CENTER);
    context.setOrigin({10, 20, -5});
    context.setPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    context.setWCSOrigin({3e-10, 2.5, 0});
    context.setWorkOffset(54);
    context.setAxisSubstitution(true);
    context.setAxisSubstitutionRadius(25);
    NCTool tool;
    tool.setType(ToolGeometry::BULLNOSE_END_MILL);
    tool.setUnit(NCUnit::INCHES);
    tool.setNumber(12);
    tool.setDiameter(0.5);
    tool.setCornerRadius(0.0625);
    tool.setShaftSections({{0.5, 2}, {0.625, 1}});
    tool.setDiameterOffset(12);
    tool.setSpindleRPM(8000);
    tool.setSpindleDirection(false);
    tool.setCoolant(NCTool::COOLANT_FLOOD);
    tool.setComment(L"roughing & finishing");
    tool.setVendor(L"Acme \u00c9tablissements");
    tool.setProductId(L"BN-0500");
    tool.setHolderNumber(3);
    tool.setChuckCollect(L"ER32");
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    unsigned int const left = cut | NCStream::FLAG_COMPENSATION_LEFT;
    Vector3D const z(0, 0, 1);

    std::string document = write([&](XMLNCWriter& w) {
        return w.onContext(context) && w.onTool(tool) && w.onSection() && w.onComment("pocket <P1>")
            && w.onGroup((NCStream::DEFAULT_CYCLE_NAMESPACE.getNarrow() + "/drilling").c_str())
            && w.onParameter("depth", 0.75) && w.onGroupEnd() && w.onRapid({0, 0, 0.2}, 0)
            && w.onLinear({0, 0, -0.25}, 20, left | NCStream::FLAG_START_CUTTING) && w.onLinear({2, 0, -0.25}, 40, left)
            && w.onCWArc({2, 1, -0.25}, {3, 1, -0.25}, z, 30, left)
            && w.onCCWCircle({2, 1, -0.25}, {3, 1, -0.25}, z, 30, cut | NCStream::FLAG_END_CUTTING)
            && w.onLinear5D({3, 4, -0.25}, {0, 0.6, 0.8}, {1, 0, 0}, {0, 0, 0}, 25, cut)
            && w.onMachineAxisOrdering({AxisInfo("spindle", "X"), AxisInfo("table", "C")})
            && w.onMachineAxisValues({AxisValue(3.0), AxisValue(1e-12)})
            && w.onFrame(TaggedFrame("part", "", Frame({0, 0, 1}, {1, 0, 0}, {0, 0, 1}))) && w.onSectionEnd();
    });
    EXPECT_EQ(document, golden("MillingProgram.xml"));
}

TEST(XMLNCWriter, HostileTextIsEscapedAndReadsBackAsValidText)
{
    std::string const replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(body([](XMLNCWriter& w) { return w.onComment("a < b && 'c'"); }),
        "<comment>a &lt; b &amp;&amp; &apos;c&apos;</comment>\n");

    struct Case {
        std::string narrow; // also sent as the same characters in wide text, unless empty
        std::wstring wide; // sent instead when narrow is empty
        std::string read; // what a parser reads back from element content
    } const cases[] = {
        {"it's \"x\" & <y> ]]> -- -->", L"", "it's \"x\" & <y> ]]> -- -->"},
        {"bell\x07 tab\t vt\x0B esc\x1B", L"", "bell" + replacement + " tab\t vt" + replacement + " esc" + replacement},
        {"\xF0\x9F\x98\x80 caf\xC3\xA9", L"", "\xF0\x9F\x98\x80 caf\xC3\xA9"},
        {"bad \xC3\x28 cut \xF0\x9F\x98", L"", "bad " + replacement + "( cut " + replacement},
        {"", L"\U0001F600 \u00e9", "\xF0\x9F\x98\x80 \xC3\xA9"},
        {"", std::wstring {L'a', wchar_t(0xD800), L'b', wchar_t(0x110000)}, "a" + replacement + "b" + replacement},
        {"", std::wstring {wchar_t(0xFFFE), wchar_t(0xFFFF), wchar_t(0xFFFD), wchar_t(1)},
            replacement + replacement + replacement + replacement},
    };
    for (Case const& c : cases) {
        bool const narrow = !c.narrow.empty();
        NCTool tool;
        tool.setComment(c.wide);
        std::string document = write([&](XMLNCWriter& w) {
            if (narrow) {
                return w.onComment(c.narrow.c_str()) && w.onParameter(c.narrow.c_str(), c.narrow.c_str())
                    && w.onGroup(c.narrow.c_str()) && w.onGroupEnd()
                    && w.onFrame(TaggedFrame(c.narrow, c.narrow, Frame()))
                    && w.onMachineAxisOrdering({AxisInfo("", c.narrow)});
            }
            return w.onComment(c.wide.c_str()) && w.onParameter("name", c.wide.c_str()) && w.onTool(tool);
        });
        Document parsed = parse(document);
        ASSERT_TRUE(parsed) << c.read;
        // An attribute value reads back with its tabs as blanks.
        std::string inAttribute = c.read;
        std::replace(inAttribute.begin(), inAttribute.end(), '\t', ' ');
        EXPECT_EQ(evaluate(parsed, "string(/nc:nc/nc:comment)"), c.read);
        EXPECT_EQ(evaluate(parsed, "string(//nc:parameter/@value)"), inAttribute);
        if (narrow) {
            for (char const* place : {"string(//nc:parameter/@name)", "string(//nc:group/@id)",
                     "string(//nc:tagged-frame/@tag)", "string(//nc:axis-ordering/@values)"})
                EXPECT_EQ(evaluate(parsed, place), inAttribute) << place;
        } else {
            EXPECT_EQ(evaluate(parsed, "string(//nc:tool/nc:comment)"), c.read);
        }
    }
}

TEST(XMLNCWriter, NumbersAndCoordinates)
{
    struct Case {
        Vector3D to;
        double feed;
        char const* line;
    } const cases[] = {
        {{5e-10, -5e-10, -0.0}, 5e-10, "<linear to='0 0 0' feed='5e-10'/>"}, // only coordinates are cleaned
        {{1e-9, -1e-9, 1e6}, 1200, "<linear to='1e-09 -1e-09 1e+06' feed='1200'/>"},
        {{0.0001, 123456.7, -2.5}, 0.00001, "<linear to='0.0001 123457 -2.5' feed='1e-05'/>"},
        {{1.0 / 3.0, 999999.5, -9.9999995}, 33.333333, "<linear to='0.333333 1e+06 -10' feed='33.3333'/>"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(body([&](XMLNCWriter& w) { return w.onLinear(c.to, c.feed, 0); }), c.line + std::string("\n"));
    EXPECT_EQ(body([](XMLNCWriter& w) {
        return w.onMachineAxisValues({AxisValue(-1e-10), AxisValue(90.0)});
    }),
        "<axis-values values='0 90' />\n");
}

TEST(XMLNCWriter, StartEndMarksAndCompensationChanges)
{
    unsigned int const left = NCStream::FLAG_COMPENSATION_LEFT, right = NCStream::FLAG_COMPENSATION_RIGHT;
    struct Step {
        unsigned int flags;
        char const* suffix;
    } const steps[] = {
        {0, ""}, // off at the start of a document
        {1 | left, " start='yes' compensation='left'"},
        {left, ""},
        {2 | left, " end='yes'"},
        {right, " compensation='right'"},
        {left | right, " compensation='off'"}, // both bits mean off
        {3, " start='yes' end='yes'"},
        {left, " compensation='left'"},
    };
    std::string expected;
    for (Step const& step : steps)
        expected += "<rapid to='1 2 3'" + std::string(step.suffix) + "/>\n";
    // The same writer twice: the state starts again with every document.
    MemoryOutputStream out;
    XMLNCWriter writer(&out);
    writer.setTimestamp(Timestamp);
    for (int document = 0; document < 2; ++document) {
        out.clear();
        writer.onOpen();
        for (Step const& step : steps)
            writer.onRapid({1, 2, 3}, step.flags);
        writer.onClose();
        parse(out.getData());
        EXPECT_TRUE(out.getData().ends_with("</meta>\n" + expected + "</nc>\n")) << out.getData();
    }
    EXPECT_EQ(
        body([](XMLNCWriter& w) { return w.onDwell(1.5, 0x3) && w.onDwell(2, NCStream::FLAG_DWELL_REVOLUTIONS); }),
        "<dwell seconds='1.5'/>\n<dwell revolutions='2'/>\n");
}

TEST(XMLNCWriter, ToolAttributesFollowTheToolType)
{
    NCTool tool;
    tool.setNumber(5);
    tool.setDiameter(10);
    tool.setCornerRadius(1);
    tool.setTaperAngle(2);
    tool.setTipAngle(118);
    tool.setFluteLength(20);
    tool.setShoulderLength(25);
    tool.setBodyLength(50);
    tool.setShaftDiameter(8);
    tool.setThreadPitch(1.5);
    tool.setCutHeight(1.2);
    tool.setKerfWidth(0.3);
    tool.setMachineQualityControl(L"Q3");
    tool.setPierceTime(0.5);
    tool.setPressure(3800);
    tool.setAbrasiveFlowRate(0.35);
    tool.setAssistGas(L"N2");
    tool.setPierceHeight(3);
    tool.setPiercePower(2000);
    tool.setLengthOffset(4);
    tool.setSpindleRPM(5000);
    tool.setCoolant(NCTool::COOLANT_MIST);
    std::string const spindle = " length-offset='4' spindle-rpm='5000' spindle-direction='cw' coolant='mist'";
    std::string const rotating = " diameter='10' corner-radius='1' taper-angle='2' taper-angle2='118' flute-length='20'"
                                 " shoulder-length='25' body-length='50' shaft-diameter='8'";
    std::string const jet = " cut-height='1.2' kerf-width='0.3' machine-quality-control='Q3' pierce-time='0.5'"
                            " pressure='3800'";
    std::string const holeMaking = " taper-angle2='118' flute-length='20' shoulder-length='25' body-length='50'"
                                   " shaft-diameter='8' thread-pitch='1.5'";
    std::string const waterjet = " abrasive-flow-rate='0.35' pierce-height='3' length-offset='4'";
    std::string const laser = " assist-gas='N2' pierce-height='3' pierce-power='2000' length-offset='4'";
    struct Case {
        ToolGeometry::Type type;
        std::string attributes;
    } const cases[] = {
        {ToolGeometry::FLAT_END_MILL, "flat-end-mill' number='5'" + rotating + spindle},
        {ToolGeometry::CUSTOM, "custom' number='5'" + rotating + spindle},
        {ToolGeometry::THREAD_MILL, "thread-mill' number='5'" + rotating + " thread-pitch='1.5'" + spindle},
        {ToolGeometry::RIGHT_HAND_TAP, "right-hand-tap' number='5' diameter='10'" + holeMaking + spindle},
        {ToolGeometry::TURNING_THREADING, "turning-threading' number='5' thread-pitch='1.5'" + spindle},
        {ToolGeometry::PROBE, "probe' number='5' diameter='10' body-length='50' shaft-diameter='8' length-offset='4'"},
        {ToolGeometry::WATERJET, "waterjet' number='5'" + jet + waterjet},
        {ToolGeometry::LASER_CUTTER, "laser-cutter' number='5'" + jet + laser},
        {ToolGeometry::DEPOSITING_WIRE, "depositing-wire' number='5' length-offset='4'"},
    };
    for (Case const& c : cases) {
        tool.setType(c.type);
        EXPECT_EQ(body([&](XMLNCWriter& w) { return w.onTool(tool); }),
            "<tool type='" + c.attributes + " unit='millimeters'>\n</tool>\n");
    }
}

TEST(XMLNCWriter, OnCloseFlushesAndClosesTheStreamOnlyWhenAsked)
{
    for (bool closeStream : {false, true}) {
        TestSupport::RecordingOutputStream out;
        XMLNCWriter writer(&out, closeStream);
        EXPECT_TRUE(writer.onOpen() && writer.onSection() && writer.onSectionEnd() && writer.onClose());
        // One write of the whole buffer, a flush, and the close when asked for.
        std::vector<std::string> calls {"w" + std::to_string(out.bytes.size()), "f"};
        if (closeStream)
            calls.push_back("c");
        EXPECT_EQ(out.calls, calls);
        EXPECT_TRUE(out.bytes.ends_with("</meta>\n<section>\n</section>\n</nc>\n"));
    }
}

// The writer hands blocks of 64 KiB to its output. The document here: the start (167 bytes),
// 5000 lines "<linear to='1 2 3' feed='100'/>" of 32 bytes each and "</nc>" (160173 bytes).
TEST(XMLNCWriter, AFailedOutputIsAnIOExceptionNamingTheElementAndItsOffset)
{
    constexpr int Lines = 5000;
    auto send = [](XMLNCWriter& writer) {
        writer.onOpen();
        for (int i = 0; i < Lines; ++i)
            writer.onLinear({1, 2, 3}, 100, 0);
        writer.onClose();
    };
    MemoryOutputStream reference;
    {
        XMLNCWriter writer(&reference);
        writer.setTimestamp(Timestamp);
        send(writer);
    }
    std::string const& whole = reference.getData();
    ASSERT_EQ(whole.size(), 167u + 32 * Lines + 6);

    using TestSupport::IOError;
    // A failure within a block surfaces at the line that does not fit into it: within the first,
    // the line at 167 + 32 * 2042 = 65511; within the second, the one at 167 + 32 * 4090.
    IOError const first {L"Cannot write element <linear>: Disk full.", 65511};
    IOError const atClose {L"Cannot flush the output: Disk full.", whole.size()};
    struct Case {
        char const* what;
        std::size_t capacity; // bytes the output takes
        bool closeStream;
        IOError error;
    } const cases[] = {
        {"first byte", 0, false, first},
        {"inside the declaration", 10, false, first},
        {"last byte of the first block", 65535, false, first},
        {"first byte of the second block", 65536, false, {L"Cannot write element <linear>: Disk full.", 131047}},
        {"last byte, at close", whole.size() - 1, false, atClose},
        {"last byte, at close, closing the stream", whole.size() - 1, true, atClose},
        {"mid-program, closing the stream", 100, true, first},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        TestSupport::FullOutputStream out(c.capacity);
        {
            XMLNCWriter writer(&out, c.closeStream);
            writer.setTimestamp(Timestamp);
            EXPECT_EQ(TestSupport::ioError([&] { send(writer); }), c.error);
            EXPECT_EQ(out.bytes, whole.substr(0, c.capacity)) << "what fits, in order";
            // From then on every element fails the same way; an event without one goes on.
            std::pair<std::function<void()>, std::wstring> const later[] = {
                {[&] { writer.onOpen(); }, L"Cannot write the start of the document: Disk full."},
                {[&] { writer.onSection(); }, L"Cannot write element <section>: Disk full."},
                {[&] { writer.onComment("x"); }, L"Cannot write element <comment>: Disk full."},
                {[&] { writer.onClose(); }, L"Cannot write element </nc>: Disk full."},
            };
            for (auto const& [event, message] : later)
                EXPECT_EQ(TestSupport::ioError(event).message, message);
            EXPECT_TRUE(writer.onStock({}, {}));
        }
        EXPECT_EQ(out.callsAfterFailure, 0u) << "nothing written after the failure, not even by the destructor";
        EXPECT_EQ(out.closed, c.closeStream) << "a stream the writer is to close is closed whatever happened";
    }
}

TEST(XMLNCWriter, DateIsTheClockUnlessFixed)
{
    auto now = [] {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    MemoryOutputStream out;
    XMLNCWriter writer(&out);
    auto before = now();
    ASSERT_TRUE(writer.onOpen() && writer.onClose());
    std::int64_t written = std::stoll(out.getData().substr(out.getData().find("timestamp='") + 11));
    EXPECT_TRUE(before <= written && written <= now()) << written;
}
