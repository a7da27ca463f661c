// quarnnc info's analysis: the text lines on bundled examples, the JSON layout, and figures equal to
// those of NCAnalyze and NCBoundingBox run directly on the same file.
#include "nc/nc/NCAnalyze.h"
#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "tests/support/RapidJSON.h"
#include "tests/tools/ToolTesting.h"
#include "util/utility/io/FileOutputStream.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>

using namespace Quarn;

namespace {

namespace fs = std::filesystem;

using Quarn::ToolTesting::readFile;
using Quarn::ToolTesting::Result;

class InfoAnalysis : public Quarn::ToolTesting::ToolTest {
protected:
    InfoAnalysis() : ToolTest("quarnnc-info-test") { }


    // Two sections with T1 and T5 in millimetres: a rapid, a line, a full circle r 10 at F 100, a helix,
    // a dwell; T5 feeds per revolution at 2000 rpm.
    fs::path knownProgram() const
    {
        fs::path const path = scratch / "known.cnci";
        FileOutputStream file(path.wstring());
        CompactNCIWriter w(&file);
        NCContext context;
        context.setUnit(NCUnit::MILLIMETERS);
        NCTool t1, t5;
        t1.setNumber(1);
        t1.setSpindleRPM(1000);
        t5.setNumber(5);
        t5.setSpindleRPM(2000);
        Vector3D const z {0, 0, 1};
        bool ok = w.onOpen() && w.onContext(context) && w.onTool(t1) && w.onSection() && w.onRapid({0, 0, 50}, 0)
            && w.onRapid({10, 0, 5}, 0) && w.onLinear({10, 0, 0}, 50, 0) && w.onCCWCircle({0, 0, 0}, {10, 0, 0}, z, 100, 0)
            && w.onCircular({0, 0, 0}, {10, 0, -4}, z, 4 * std::numbers::pi, 100, 0) && w.onDwell(2, 0)
            && w.onSectionEnd();
        context.setFeedMode(NCContext::FEED_PER_REVOLUTION);
        ok = ok && w.onContext(context) && w.onTool(t5) && w.onSection() && w.onRapid({40, 0, 5}, 0)
            && w.onLinear({40, 0, -10}, 0.05, 0) && w.onSectionEnd() && w.onClose();
        EXPECT_TRUE(ok);
        file.close();
        return path;
    }
};

// Both, run on the file in process.
struct Direct {
    NCStreamDefaultImpl sink;
    NCBoundingBox box {&sink};
    NCAnalyze analyze {&box};

    explicit Direct(fs::path const& file, double toolChangeSeconds = 0)
    {
        analyze.setToolChangeTime(toolChangeSeconds);
        CompactNCIReader reader;
        reader.setNCStream(&analyze);
        EXPECT_TRUE(reader.import(file.wstring())) << file;
    }
};

double member(rapidjson::Value const& object, char const* name)
{
    EXPECT_TRUE(object.HasMember(name)) << name;
    return object.HasMember(name) && object[name].IsNumber() ? object[name].GetDouble() : NAN;
}

// The JSON figures against NCAnalyze's, in millimetres, and the box against NCBoundingBox's.
void expectFigures(rapidjson::Value const& json, NCAnalyze::Figures const& figures, NCBoundingBox::Box const& box,
    std::string const& what)
{
    ASSERT_TRUE(json.IsObject()) << what;
    EXPECT_EQ(json["moves"]["total"].GetUint64(), figures.getMoves()) << what;
    EXPECT_EQ(json["moves"]["rapid"].GetUint64(), figures.rapids) << what;
    EXPECT_EQ(json["moves"]["linear"].GetUint64(), figures.linears) << what;
    EXPECT_EQ(json["moves"]["circle"].GetUint64(), figures.circles) << what;
    EXPECT_EQ(json["moves"]["helical"].GetUint64(), figures.helicals) << what;
    EXPECT_EQ(json["dwells"].GetUint64(), figures.dwells) << what;
    EXPECT_EQ(json["toolChanges"].GetUint64(), figures.toolChanges) << what;
    EXPECT_EQ(member(json, "rapidLength"), figures.rapidLength) << what;
    EXPECT_EQ(member(json, "cuttingLength"), figures.cuttingLength) << what;
    EXPECT_EQ(member(json["seconds"], "rapid"), figures.rapidSeconds) << what;
    EXPECT_EQ(member(json["seconds"], "feed"), figures.feedSeconds) << what;
    EXPECT_EQ(member(json["seconds"], "dwell"), figures.dwellSeconds) << what;
    EXPECT_EQ(member(json["seconds"], "total"), figures.getMachiningTimeSeconds()) << what;
    ASSERT_EQ(json["feedRange"].IsArray(), figures.feedRange.has_value()) << what;
    if (figures.feedRange) {
        EXPECT_EQ(json["feedRange"][0].GetDouble(), figures.feedRange->getMin()) << what;
        EXPECT_EQ(json["feedRange"][1].GetDouble(), figures.feedRange->getMax()) << what;
    }
    ASSERT_EQ(json["boundingBox"].IsObject(), !box.isEmpty()) << what;
    if (!box.isEmpty())
        for (unsigned int i = 0; i < 3; ++i) {
            EXPECT_EQ(json["boundingBox"]["lower"][i].GetDouble(), box.lower[static_cast<int>(i)]) << what;
            EXPECT_EQ(json["boundingBox"]["upper"][i].GetDouble(), box.upper[static_cast<int>(i)]) << what;
        }
}

} // namespace

TEST_F(InfoAnalysis, JSONLayoutAndFiguresMatchTheFiltersRunDirectly)
{
    fs::path const file = knownProgram();
    Result result = run("info --format json --tool-change-time 30 '" + file.string() + "'");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    rapidjson::Document json;
    json.Parse<rapidjson::kParseFullPrecisionFlag>(result.out.c_str());
    ASSERT_FALSE(json.HasParseError()) << rapidjson::GetParseError_En(json.GetParseError()) << result.out;
    ASSERT_TRUE(json.IsObject());
    EXPECT_EQ(std::string(json["format"].GetString()), "compact-nci");
    EXPECT_EQ(std::string(json["unit"].GetString()), "millimeters");
    EXPECT_EQ(json["toolChangeSeconds"].GetDouble(), 30);
    EXPECT_EQ(json["events"]["onCCWCircle"].GetUint64(), 1u);

    Direct direct(file, 30);
    expectFigures(json["total"], direct.analyze.getTotal(), direct.box.getTotal(), "total");
    ASSERT_EQ(json["tools"].Size(), 2u);
    for (auto const& tool : json["tools"].GetArray()) {
        unsigned int const number = tool["number"].GetUint();
        ASSERT_NE(direct.analyze.findTool(number), nullptr) << number;
        expectFigures(tool, *direct.analyze.findTool(number), direct.box.getTools().at(number), "T" + std::to_string(number));
    }
    ASSERT_EQ(json["sections"].Size(), 2u);
    for (unsigned int i = 0; i < 2; ++i) {
        EXPECT_EQ(json["sections"][i]["index"].GetUint(), i);
        expectFigures(json["sections"][i], direct.analyze.getSections()[i].figures, direct.box.getSections()[i],
            "section " + std::to_string(i));
    }
    EXPECT_EQ(json["sections"][1]["tool"].GetUint(), 5u);

    // And the figures are the ones worked out by hand.
    double const pi = std::numbers::pi;
    double const cutting = 5 + 20 * pi + std::hypot(40 * pi, 4.0) + 15;
    EXPECT_NEAR(json["total"]["cuttingLength"].GetDouble(), cutting, 1e-6 * cutting); // compact NCI stores floats
    EXPECT_NEAR(json["total"]["rapidLength"].GetDouble(), std::hypot(10.0, 45.0) + std::hypot(30.0, 9.0), 1e-9);
    // 5 / 50 + (20 pi + hypot) / 100 minutes, 15 mm at 0.05 mm/rev and 2000 rpm, a dwell of 2 s, two changes.
    double const feed = 60 * (5.0 / 50 + (20 * pi + std::hypot(40 * pi, 4.0)) / 100 + 15 / (0.05 * 2000));
    EXPECT_NEAR(json["total"]["seconds"]["feed"].GetDouble(), feed, 1e-6 * feed);
    double const rapid = 60 * (45.0 + 30.0) / 10000;
    EXPECT_NEAR(json["total"]["seconds"]["total"].GetDouble(), feed + rapid + 2 + 60, 1e-6 * feed);
    EXPECT_EQ(json["total"]["spindleRange"][0].GetDouble(), 1000);
    EXPECT_EQ(json["total"]["spindleRange"][1].GetDouble(), 2000);
    // The exact box of the circle, beyond the ends of the moves.
    EXPECT_NEAR(json["tools"][0]["boundingBox"]["lower"][0].GetDouble(), -10, 1e-9);
    EXPECT_NEAR(json["tools"][0]["boundingBox"]["lower"][1].GetDouble(), -10, 1e-9);
}

TEST_F(InfoAnalysis, TextReportsTheAnalysisOfEveryExampleFormat)
{
    // Every format the tool reads, each with its moves measured and timed.
    for (char const* example : {"examples/part-3axis.nci", "examples/part-3axis.ngc", "examples/bolt-circle.ngc",
             "examples/swarf-5axis.cld", "examples/pocket.cldt", "examples/pocket.kts", "examples/synthetic-mill.nci"}) {
        Result text = run(std::string("info ") + example);
        ASSERT_EQ(text.status, 0) << example << text.err;
        for (char const* label : {"\nanalysis (lengths in ", "\n  moves:          ", "\n  rapid length:   ",
                 "\n  cutting length: ", "\n  machining time: ", "\n  feed range:     ", "\n  spindle range:  ",
                 "\nper tool:", "\nper section:"})
            EXPECT_NE(text.out.find(label), std::string::npos) << example << ": " << label << "\n" << text.out;
        Result json = run(std::string("info --format json ") + example);
        ASSERT_EQ(json.status, 0) << example << json.err;
        rapidjson::Document document;
        document.Parse<rapidjson::kParseFullPrecisionFlag>(json.out.c_str());
        ASSERT_FALSE(document.HasParseError()) << example << json.out;
        EXPECT_GT(document["total"]["moves"]["total"].GetUint64(), 0u) << example;
        EXPECT_GT(document["total"]["cuttingLength"].GetDouble(), 0) << example;
    }

    // The bolt circle in millimetres: the text's figures are the JSON's, rounded.
    Result text = run("info --tool-change-time 10 examples/bolt-circle.ngc");
    Result json = run("info --tool-change-time 10 --format json examples/bolt-circle.ngc");
    ASSERT_EQ(text.status, 0) << text.err;
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(json.out.c_str());
    ASSERT_TRUE(document.IsObject()) << json.out;
    auto const lineValue = [&](std::string const& label) {
        std::size_t const at = text.out.find("\n  " + label);
        EXPECT_NE(at, std::string::npos) << label;
        return at == std::string::npos ? NAN : std::stod(text.out.substr(text.out.find(':', at + 1) + 1));
    };
    auto const& total = document["total"];
    EXPECT_NEAR(lineValue("rapid length:"), total["rapidLength"].GetDouble(), 1e-4);
    EXPECT_NEAR(lineValue("cutting length:"), total["cuttingLength"].GetDouble(), 1e-4);
    EXPECT_EQ(lineValue("tool changes:"), total["toolChanges"].GetDouble());
    EXPECT_EQ(total["seconds"]["toolChange"].GetDouble(), 10 * total["toolChanges"].GetDouble());
    double const seconds = total["seconds"]["total"].GetDouble();
    std::size_t const time = text.out.find("  machining time: ");
    ASSERT_NE(time, std::string::npos);
    auto const whole = static_cast<long>(std::llround(seconds));
    char clock[32];
    std::snprintf(clock, sizeof clock, "%ld:%02ld:%02ld (", whole / 3600, whole / 60 % 60, whole % 60);
    EXPECT_EQ(text.out.substr(time + 18, std::string(clock).size()), clock) << text.out;
    // The per-tool and per-section lines, one each.
    std::size_t const tools = document["tools"].Size(), sections = document["sections"].Size();
    EXPECT_GT(tools, 1u);
    std::size_t const perTool = text.out.find("\nper tool:\n"), perSection = text.out.find("\nper section:\n");
    ASSERT_NE(perTool, std::string::npos);
    ASSERT_NE(perSection, std::string::npos);
    EXPECT_EQ(static_cast<std::size_t>(std::count(text.out.begin() + static_cast<long>(perTool),
                  text.out.begin() + static_cast<long>(perSection), '\n')),
        tools + 1); // the line feed before the heading, the tool lines; the last one's is the next heading's
    EXPECT_EQ(static_cast<std::size_t>(
                  std::count(text.out.begin() + static_cast<long>(perSection), text.out.end(), '\n')),
        sections + 2);

    // Wrong option values are refused before anything is read.
    EXPECT_EQ(run("info --format xml examples/bolt-circle.ngc").status, 64);
    EXPECT_EQ(run("info --rapid-rate 0 examples/bolt-circle.ngc").status, 64);
}
