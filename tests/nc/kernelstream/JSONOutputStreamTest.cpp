// JSONOutputStream: exact lines, names, escaping, numbers and failures; every line must parse in RapidJSON.
#include "nc/nc/kernelstream/JSONOutputStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/AssertionCapture.h"
#include "tests/support/RapidJSON.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/text/NumberFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace Quarn;
using namespace Quarn::TestSupport;

namespace {

// An output that knows whether it was closed, as the stream's destructor asks; it keeps the bytes
// or hands them on to target.
class ClosingOutput final : public OutputStream {
public:
    explicit ClosingOutput(OutputStream* target = nullptr) : target(target) { }

    void write(void const* data, std::size_t size) override
    {
        if (target != nullptr)
            target->write(data, size);
        else
            bytes.append(static_cast<char const*>(data), size);
    }
    void flush() override
    {
        if (target != nullptr)
            target->flush();
    }
    void close() override
    {
        open = false;
        if (target != nullptr)
            target->close();
    }
    bool isOpen() const override { return open; }

    std::string bytes;

private:
    OutputStream* target;
    bool open = true;
};

// Each line of text (each ending in a line feed) as RapidJSON reads it, numbers at full precision;
// a line that is not exactly one object in valid UTF-8 fails the test.
std::vector<rapidjson::Document> parseLines(std::string const& text)
{
    std::vector<rapidjson::Document> documents;
    EXPECT_TRUE(text.empty() || text.back() == '\n') << text;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = text.find('\n', begin);
        if (end == std::string::npos)
            end = text.size();
        rapidjson::Document& document = documents.emplace_back();
        document.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag>(
            text.data() + begin, end - begin);
        EXPECT_FALSE(document.HasParseError()) << rapidjson::GetParseError_En(document.GetParseError()) << " at "
                                               << document.GetErrorOffset() << ": " << text.substr(begin, end - begin);
        EXPECT_TRUE(document.IsObject()) << text.substr(begin, end - begin);
        begin = end + 1;
    }
    return documents;
}

// The bytes of what write writes into a new stream that is then closed; checked by parseLines.
std::string written(std::function<void(JSONOutputStream&)> const& write)
{
    ClosingOutput out;
    {
        JSONOutputStream json(&out);
        write(json);
        json.closeStream();
    }
    parseLines(out.bytes);
    return out.bytes;
}

std::string utf8(char8_t const* text) { return reinterpret_cast<char const*>(text); }

// A number read back is the value written; null stands for the non-finite ones.
void expectReadBack(rapidjson::Value const& read, double written)
{
    if (std::isfinite(written))
        EXPECT_TRUE(read.IsNumber() && read.GetDouble() == written) << NumberFormat::toString(written);
    else
        EXPECT_TRUE(read.IsNull()) << written;
}

} // namespace

TEST(JSONOutputStream, EveryOperationWritesItsLine)
{
    KernelOutputInterface::MemoryInformation64 const memory {.structureSize = 64, .totalPhysical = 17179869184,
        .availablePhysical = 2, .memoryLoad = 3, .totalPageFile = 4, .availablePageFile = 5, .totalVirtual = 6,
        .availableVirtual = 7, .workingSet = 8, .peakWorkingSet = 9, .pageSize = 4096,
        .allocationGranularity = 18446744073709551615u};
    AxisOrdering const ordering {AxisInfo("", "X"), AxisInfo("table", "C")};

    struct Case {
        char const* operation;
        std::function<void(JSONOutputStream&)> write;
        std::string line;
    } const cases[] = {
        {"header", [](auto& s) { s.writeHeader(); }, R"({"type":"vek cam kernel toolpath","version":1})"},
        {"version", [](auto& s) { s.writeVersion(); }, ""},
        {"end", [](auto& s) { s.writeEnd(); }, R"({"done":true})"},
        {"memory", [&](auto& s) { s.writeMemoryInformation(memory); },
            R"({"memory":{"structureSize":64,"totalPhysical":17179869184,"availablePhysical":2,"memoryLoad":3,)"
            R"("totalPageFile":4,"availablePageFile":5,"totalVirtual":6,"availableVirtual":7,"workingSet":8,)"
            R"("peakWorkingSet":9,"pageSize":4096,"allocationGranularity":18446744073709551615}})"},
        {"module", [](auto& s) { s.writeModule(L"kernel.so", 4096, 65536); },
            R"({"module":{"name":"kernel.so","address":4096,"size":65536}})"},
        {"out of memory", [](auto& s) { s.writeOutOfMemory(1024, 512); },
            R"({"outOfMemory":{"requested":1024,"available":512}})"},
        {"process", [](auto& s) { s.writeProcessInfo(12, 0.5, 100, 18446744073709551615u); },
            R"({"process":{"processingTime":12,"usage":0.5,"memoryUsage":100,"peakMemoryUsage":18446744073709551615}})"},
        {"task", [](auto& s) { s.writeTaskId(L"job 7"); }, R"({"task":"job 7"})"},
        {"error id", [](auto& s) { s.writeError(4u); }, R"({"error":{"id":"invalid job"}})"},
        {"information", [](auto& s) { s.writeInformation(L"started"); }, R"({"info":{"description":"started"}})"},
        {"warning", [](auto& s) { s.writeWarning(L"gouge"); }, R"({"warning":{"description":"gouge"}})"},
        {"error text", [](auto& s) { s.writeError(L"failed"); }, R"({"error":{"description":"failed"}})"},
        {"debug", [](auto& s) { s.writeDebug(L"step 3"); }, R"({"debug":{"description":"step 3"}})"},
        {"parameter", [](auto& s) { s.writeParameter(L"tolerance", L"0.01"); },
            R"({"parameter":{"name":"tolerance","value":"0.01"}})"},
        {"progress", [](auto& s) { s.writeProgress(0.25); }, R"({"progress":0.25})"},
        {"toolpath open", [](auto& s) { s.writeToolpathOpen(); }, R"({"beginToolpath":true})"},
        {"toolpath close", [](auto& s) { s.writeToolpathClose(); }, R"({"endToolpath":true})"},
        {"fragment begin", [](auto& s) { s.writeBeginPathFragment(); }, R"({"beginFragment":true})"},
        {"fragment end", [](auto& s) { s.writeEndPathFragment(); }, R"({"endFragment":true})"},
        {"break", [](auto& s) { s.writeToolpathBreak(); }, R"({"break":true})"},
        {"line", [](auto& s) { s.writeLine({1.5, -2, 0.1}, NCStream::MOVEMENT_CUTTING); },
            R"({"l":{"e":[1.5,-2,0.1],"m":"cut"}})"},
        {"five-axis line", [](auto& s) { s.writeLine({1200, 1e-9, -0.0}, {0, 0.6, 0.8}, NCStream::MOVEMENT_RAPID); },
            R"({"m":{"e":[1200,1e-09,-0],"z":[0,0.6,0.8],"m":"rapid"}})"},
        {"arc", [](auto& s) { s.writeArc({10, 0, -1}, {5, 0, -1}, {0, 0, -1}, NCStream::MOVEMENT_LEAD_IN); },
            R"({"a":{"e":[10,0,-1],"c":[5,0,-1],"n":[0,0,-1],"m":"lead in"}})"},
        {"tool axis", [](auto& s) { s.writeToolAxis({0, 0, 1}); }, R"({"toolAxis":[0,0,1]})"},
        {"contact normal", [](auto& s) { s.writeContactNormal({0.6, -0.8, 0}); },
            R"({"contactNormal":[0.6,-0.8,0]})"},
        {"expand open", [](auto& s) { s.writeExpandOpen(); }, R"({"expandOpen":true})"},
        {"expand close", [](auto& s) { s.writeExpandClose(); }, R"({"expandClose":true})"},
        {"turn group", [](auto& s) { s.writeTurnGroupBegin(NCStream::TURN_GROUP_CANNED_ROUGH); },
            R"({"turnGroupBegin":{"type":"canned-rough"}})"},
        {"turn group end", [](auto& s) { s.writeTurnGroupEnd(); }, R"({"turnGroupEnd":true})"},
        {"group", [](auto& s) { s.writeGroupBegin(L"http://www.quarn.dev/cycle/drilling"); },
            R"({"groupBegin":{"name":"http://www.quarn.dev/cycle/drilling"}})"},
        {"group end", [](auto& s) { s.writeGroupEnd(); }, R"({"groupEnd":true})"},
        {"dwell", [](auto& s) { s.writeDwell(1.5); }, R"({"dwell":{"seconds":1.5}})"},
        {"command", [](auto& s) { s.writeCommand(NCStream::COMMAND_SPINDLE_CLOCKWISE); },
            R"({"dwell":{"command":4}})"},
        {"axis ordering", [&](auto& s) { s.writeMachineAxisOrdering(ordering); },
            R"({"machineAxisOrdering":[{"name":"X","part":"","kind":"linear","unit":"mm"},)"
            R"({"name":"C","part":"table","kind":"rotary","unit":"deg"}]})"},
        // Three values after an ordering of two axes (in the run of all cases) pair with no axis.
        {"axis values", [](auto& s) { s.writeMachineAxisValues({AxisValue(10.0), AxisValue(90.0), AxisValue(0.5)}); },
            R"({"machineAxisValues":[{"axis":null,"value":10,"unit":null},{"axis":null,"value":90,"unit":null},)"
            R"({"axis":null,"value":0.5,"unit":null}]})"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(written(c.write), c.line.empty() ? "" : c.line + "\n") << c.operation;

    // The operations one after another make one line each, in order.
    std::string expected;
    for (Case const& c : cases)
        expected += c.line.empty() ? "" : c.line + "\n";
    std::string const all = written([&](JSONOutputStream& s) {
        for (Case const& c : cases)
            c.write(s);
    });
    EXPECT_EQ(all, expected);
    EXPECT_EQ(parseLines(all).size(), std::size(cases) - 1);
}

TEST(JSONOutputStream, MovementNamesCollapseTheRampsAndNameNoHighFeed)
{
    char const* const names[] = {"rapid", "lead in", "cut", "lead out", "transition", "direct", "ramp", "ramp",
        "ramp", "ramp", "plunge", "ramp", "extended", "reduced", "finish cut", "", "deposition", "connection",
        "drill breakthrough", "gun drill positioning", "guided lead", "guided rapid"};
    std::vector<std::pair<std::uint32_t, std::string>> cases;
    for (std::uint32_t value = 0; value < std::size(names); ++value)
        cases.emplace_back(value, names[value]);
    for (std::uint32_t value : {22u, 99u, 0xFFFFFFFFu})
        cases.emplace_back(value, "");

    for (auto const& [value, name] : cases) {
        auto const movement = static_cast<NCStream::Movement>(value);
        std::string const text = written([&](JSONOutputStream& s) {
            s.writeLine({1, 2, 3}, movement);
            s.writeLine({1, 2, 3}, {0, 0, 1}, movement);
            s.writeArc({1, 2, 3}, {0, 2, 3}, {0, 0, 1}, movement);
        });
        std::vector<rapidjson::Document> const lines = parseLines(text);
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_EQ(lines[0]["l"]["m"].GetString(), name) << value;
        EXPECT_EQ(lines[1]["m"]["m"].GetString(), name) << value;
        EXPECT_EQ(lines[2]["a"]["m"].GetString(), name) << value;
        EXPECT_EQ(text.substr(0, text.find('\n')), R"({"l":{"e":[1,2,3],"m":")" + name + R"("}})");
    }
}

TEST(JSONOutputStream, ErrorNamesAndTurnGroupTypes)
{
    std::pair<unsigned int, char const*> const errors[] = {{0, "internal"}, {1, "internal"}, {2, "internal"},
        {3, "computation failed"}, {4, "invalid job"}, {5, "invalid parameters"}, {6, "failed to load module"},
        {7, "out of memory"}, {8, "internal"}, {9, "internal"}, {0xFFFFFFFF, "internal"}};
    for (auto const& [code, name] : errors)
        EXPECT_EQ(written([code = code](auto& s) { s.writeError(code); }),
            std::string(R"({"error":{"id":")") + name + "\"}}\n");

    std::pair<std::uint32_t, char const*> const types[] = {{0, ""}, {1, "tnr"}, {2, "canned-rough"}, {3, ""}, {77, ""}};
    for (auto const& [type, name] : types)
        EXPECT_EQ(written([type = type](auto& s) { s.writeTurnGroupBegin(static_cast<NCStream::TurnGroupType>(type)); }),
            std::string(R"({"turnGroupBegin":{"type":")") + name + "\"}}\n");
}

TEST(JSONOutputStream, TextsAreEscapedAndEncodedInUTF8)
{
    struct Case {
        std::wstring text;
        std::string json; // the string as written, quotes included
        std::string read; // what a parser reads back
    } const cases[] = {
        {L"plain", R"("plain")", "plain"},
        {L"say \"hi\"", R"("say \"hi\"")", "say \"hi\""},
        {L"C:\\nc\\part", R"("C:\\nc\\part")", "C:\\nc\\part"},
        {L"\b\f\n\r\t", R"("\b\f\n\r\t")", "\b\f\n\r\t"},
        {L"\x01\x1B\x1F /\x7F", R"("\u0001\u001b\u001f /)" "\x7F\"", "\x01\x1B\x1F /\x7F"},
        {L"caf\u00E9 \u2300", utf8(u8"\"caf\u00E9 \u2300\""), utf8(u8"caf\u00E9 \u2300")},
        {L"\U0001F600\U0010FFFF", utf8(u8"\"\U0001F600\U0010FFFF\""), utf8(u8"\U0001F600\U0010FFFF")},
        // What is not a character in wide text (a lone surrogate, a value past U+10FFFF) is U+FFFD.
        {std::wstring {L'a', wchar_t(0xD800), L'b', wchar_t(0x110000)}, utf8(u8"\"a\uFFFDb\uFFFD\""),
            utf8(u8"a\uFFFDb\uFFFD")},
    };
    // Every text goes through one encoder; the exact lines of each operation are tested above.
    for (Case const& c : cases) {
        wchar_t const* t = c.text.c_str();
        std::string const text = written([t](JSONOutputStream& s) {
            s.writeGroupBegin(t);
            s.writeParameter(t, t);
        });
        EXPECT_EQ(text, R"({"groupBegin":{"name":)" + c.json + "}}\n" + R"({"parameter":{"name":)" + c.json
                + R"(,"value":)" + c.json + "}}\n");
        std::vector<rapidjson::Document> const lines = parseLines(text);
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_EQ(lines[0]["groupBegin"]["name"].GetString(), c.read);
        EXPECT_EQ(lines[1]["parameter"]["value"].GetString(), c.read);
    }
}

TEST(JSONOutputStream, NullTextIsAFailedPreconditionWrittenEmpty)
{
    AssertionCapture capture;
    EXPECT_EQ(written([](auto& s) { s.writeParameter(nullptr, L"v"); }),
        R"({"parameter":{"name":"","value":"v"}})" "\n");
    ASSERT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:text != nullptr"});
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/kernelstream/JSONOutputStream");
}

TEST(JSONOutputStream, NumbersAreTheShortestTextAndReadBackExactly)
{
    using Limits = std::numeric_limits<double>;
    struct Case {
        double value;
        char const* text;
    } const cases[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {0.1, "0.1"},
        {-2.5, "-2.5"},
        {1200.0, "1200"},
        {100000.0, "1e+05"},
        {0.0001, "1e-04"},
        {1e-9, "1e-09"},
        {1.0 / 3.0, "0.3333333333333333"},
        {Limits::max(), "1.7976931348623157e+308"},
        {Limits::lowest(), "-1.7976931348623157e+308"},
        {Limits::denorm_min(), "5e-324"},
        {Limits::quiet_NaN(), "null"},
        {Limits::infinity(), "null"},
        {-Limits::infinity(), "null"},
    };
    // Moves are encoded in place, the other lines through a string: both ways give the same text.
    for (Case const& c : cases) {
        std::string const text = written([&](JSONOutputStream& s) {
            s.writeLine({c.value, c.value, c.value}, NCStream::MOVEMENT_CUTTING);
            s.writeDwell(c.value);
        });
        std::string const t = c.text;
        EXPECT_EQ(text, R"({"l":{"e":[)" + t + "," + t + "," + t + R"(],"m":"cut"}})" "\n" R"({"dwell":{"seconds":)" + t
                + "}}\n");
        std::vector<rapidjson::Document> const lines = parseLines(text);
        ASSERT_EQ(lines.size(), 2u);
        expectReadBack(lines[0]["l"]["e"][2], c.value);
        expectReadBack(lines[1]["dwell"]["seconds"], c.value);
    }
}

TEST(JSONOutputStream, ManyMovesAcrossTheBufferReadBackExactly)
{
    // Some 5 MB of arcs and lines: the buffer of 256 KiB fills many times, at any byte of a line.
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::uniform_int_distribution<std::int64_t> micrometres(-4000000, 4000000);
    std::vector<Vector3D> points;
    for (int i = 0; i < 3 * 30000; ++i)
        points.push_back({unit(random) * std::pow(10.0, exponent(random)),
            static_cast<double>(micrometres(random)) * 0.001, -0.5 - 0.001 * static_cast<double>(i & 0xFFF)});

    std::string const text = written([&](JSONOutputStream& s) {
        for (std::size_t i = 0; i < points.size(); i += 3) {
            s.writeArc(points[i], points[i + 1], points[i + 2], NCStream::MOVEMENT_CUTTING);
            s.writeLine(points[i], points[i + 1], NCStream::MOVEMENT_PLUNGE);
        }
    });
    ASSERT_GT(text.size(), 4 * JSONOutputStream::DefaultBufferSize);
    std::vector<rapidjson::Document> const lines = parseLines(text);
    ASSERT_EQ(lines.size(), 2 * points.size() / 3);
    auto expectVector = [](rapidjson::Value const& array, Vector3D const& v) {
        ASSERT_TRUE(array.IsArray() && array.Size() == 3);
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(array[static_cast<rapidjson::SizeType>(i)].GetDouble(), v[i]) << NumberFormat::toString(v[i]);
    };
    for (std::size_t i = 0; i < points.size(); i += 3) {
        rapidjson::Value const& arc = lines[2 * i / 3]["a"];
        expectVector(arc["e"], points[i]);
        expectVector(arc["c"], points[i + 1]);
        expectVector(arc["n"], points[i + 2]);
        expectVector(lines[2 * i / 3 + 1]["m"]["z"], points[i + 1]);
    }
}

TEST(JSONOutputStream, MachineAxes)
{
    AxisOrdering const ordering {AxisInfo("head", "x"), AxisInfo("", "Y2"), AxisInfo("", "w"), AxisInfo("table", "b"),
        AxisInfo("", "C"), AxisInfo("", "Q"), AxisInfo("", ""), AxisInfo("", "\"A\"")};
    EXPECT_EQ(JSONOutputStream::toJSON(ordering),
        R"([{"name":"x","part":"head","kind":"linear","unit":"mm"},)"
        R"({"name":"Y2","part":"","kind":"linear","unit":"mm"},)"
        R"({"name":"w","part":"","kind":"linear","unit":"mm"},)"
        R"({"name":"b","part":"table","kind":"rotary","unit":"deg"},)"
        R"({"name":"C","part":"","kind":"rotary","unit":"deg"},)"
        R"({"name":"Q","part":"","kind":"unknown","unit":null},)"
        R"({"name":"","part":"","kind":"unknown","unit":null},)"
        R"({"name":"\"A\"","part":"","kind":"unknown","unit":null}])");
    EXPECT_EQ(JSONOutputStream::toJSON(AxisOrdering()), "[]");
    EXPECT_EQ(JSONOutputStream::toJSON(AxisValues {AxisValue(10.0), AxisValue(-0.5), AxisValue(std::nan(""))}),
        "[10,-0.5,null]");
    EXPECT_EQ(JSONOutputStream::toJSON(AxisValues()), "[]");
    EXPECT_EQ(JSONOutputStream::toJSON(Vector3D(0.1, -0.0, 1e21)), "[0.1,-0,1e+21]");

    // Values pair with the axes of the last ordering written when the counts match.
    std::string const text = written([](JSONOutputStream& s) {
        s.writeMachineAxisValues({});
        s.writeMachineAxisOrdering({AxisInfo("", "X"), AxisInfo("table", "c"), AxisInfo("", "R")});
        s.writeMachineAxisValues({AxisValue(10.0), AxisValue(90.0), AxisValue(1.5)});
        s.writeMachineAxisValues({AxisValue(10.0), AxisValue(90.0)});
        s.writeMachineAxisOrdering({AxisInfo("", "Z"), AxisInfo("", "A")});
        s.writeMachineAxisValues({AxisValue(-2.0), AxisValue(45.0)});
    });
    EXPECT_EQ(text,
        R"({"machineAxisValues":[]})" "\n"
        R"({"machineAxisOrdering":[{"name":"X","part":"","kind":"linear","unit":"mm"},)"
        R"({"name":"c","part":"table","kind":"rotary","unit":"deg"},)"
        R"({"name":"R","part":"","kind":"unknown","unit":null}]})" "\n"
        R"({"machineAxisValues":[{"axis":"X","value":10,"unit":"mm"},{"axis":"c","value":90,"unit":"deg"},)"
        R"({"axis":"R","value":1.5,"unit":null}]})" "\n"
        R"({"machineAxisValues":[{"axis":null,"value":10,"unit":null},{"axis":null,"value":90,"unit":null}]})" "\n"
        R"({"machineAxisOrdering":[{"name":"Z","part":"","kind":"linear","unit":"mm"},)"
        R"({"name":"A","part":"","kind":"rotary","unit":"deg"}]})" "\n"
        R"({"machineAxisValues":[{"axis":"Z","value":-2,"unit":"mm"},{"axis":"A","value":45,"unit":"deg"}]})" "\n");
}

TEST(JSONOutputStream, DestructorAssertsThatTheOutputIsClosed)
{
    ClosingOutput open;
    {
        AssertionCapture capture;
        {
            JSONOutputStream json(&open);
            json.writeEnd();
            json.flushStream();
        }
        ASSERT_EQ(capture.texts(), std::vector<std::string> {"!outStream->isOpen()"});
        EXPECT_EQ(capture.reports()[0].file, "nc/nc/kernelstream/JSONOutputStream");
    }
    EXPECT_EQ(open.bytes, "{\"done\":true}\n");
    parseLines(open.bytes);

    ClosingOutput closed;
    {
        AssertionCapture capture;
        {
            JSONOutputStream json(&closed);
            json.writeEnd();
            json.closeStream();
        }
        EXPECT_TRUE(capture.texts().empty());
    }
    EXPECT_FALSE(closed.isOpen());
    EXPECT_EQ(closed.bytes, "{\"done\":true}\n");
    parseLines(closed.bytes);
}

TEST(JSONOutputStream, OutputFailureIsThrownAsIOException)
{
    std::string const line = R"({"l":{"e":[1.25,-0.5,3],"m":"cut"}})" "\n";
    std::size_t const lines = JSONOutputStream::DefaultBufferSize / line.size() + 10;

    // A device that fills up under the first block: the move that overflows the buffer throws.
    FullOutputStream device(1000);
    ClosingOutput out(&device);
    {
        JSONOutputStream json(&out);
        std::size_t thrown = 0;
        for (std::size_t i = 0; i < lines && thrown == 0; ++i) {
            try {
                json.writeLine({1.25, -0.5, 3}, NCStream::MOVEMENT_CUTTING);
            } catch (IOException const& e) {
                thrown = i;
                EXPECT_EQ(e.getMessage(), L"Disk full.");
                EXPECT_EQ(e.getOffset(), 1000u);
            }
        }
        EXPECT_EQ(thrown, JSONOutputStream::DefaultBufferSize / line.size());
        // From then on every operation throws the same failure, and nothing reaches the device.
        EXPECT_EQ(ioError([&] { json.writeEnd(); }), (IOError {L"Disk full.", 1000}));
        EXPECT_EQ(ioError([&] { json.writeArc({}, {}, {}, NCStream::MOVEMENT_RAPID); }), (IOError {L"Disk full.", 1000}));
        EXPECT_EQ(ioError([&] { json.writeInformation(L"x"); }), (IOError {L"Disk full.", 1000}));
        EXPECT_EQ(ioError([&] { json.flushStream(); }), (IOError {L"Disk full.", 1000}));
        EXPECT_EQ(ioError([&] { json.closeStream(); }), (IOError {L"Disk full.", 1000}));
        EXPECT_EQ(ioError([&] { json.writeEnd(); }), (IOError {L"Stream is closed.", json.getPosition()}));
    }
    EXPECT_TRUE(device.closed);
    EXPECT_EQ(device.callsAfterFailure, 0u);
    // The device kept the lines up to where it filled, the last one cut.
    std::string expected;
    while (expected.size() < 1000)
        expected += line;
    EXPECT_EQ(device.bytes, expected.substr(0, 1000));

    // A failure that stays in the buffer surfaces at flushStream.
    FullOutputStream small(10);
    ClosingOutput smallOut(&small);
    JSONOutputStream json(&smallOut);
    json.writeHeader();
    EXPECT_EQ(ioError([&] { json.flushStream(); }), (IOError {L"Disk full.", 10}));
    EXPECT_EQ(ioError([&] { json.closeStream(); }), (IOError {L"Disk full.", 10}));
    EXPECT_EQ(small.bytes, R"({"type":"v)");
}
