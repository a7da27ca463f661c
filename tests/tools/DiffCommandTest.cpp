// quarnnc diff: programs against themselves and their conversions, hand edits found at the line of
// their file, the switches, the JSON object read by a real parser, and the refusals.
#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "tests/support/RapidJSON.h"
#include "tests/tools/ToolTesting.h"
#include "util/utility/io/FileOutputStream.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

using namespace Quarn::ToolTesting;

namespace {

class DiffCommand : public ToolTest {
protected:
    DiffCommand() : ToolTest("quarnnc-diff-test") { }

    struct Edit {
        std::size_t line;
        std::string was;
        std::string becomes;
    };

    // A copy of a file of the source tree with whole lines replaced, as a machinist edits a program;
    // each line must read as expected first. Line ends (LF or CR LF) stay as they were.
    fs::path editedCopy(std::string const& original, std::string const& name, std::vector<Edit> const& edits) const
    {
        std::string const text = readFile(source / original);
        std::vector<std::string> lines;
        for (std::size_t start = 0; start < text.size();) {
            std::size_t const end = text.find('\n', start);
            lines.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end + 1 - start));
            start = end == std::string::npos ? text.size() : end + 1;
        }
        for (Edit const& edit : edits) {
            EXPECT_LT(edit.line - 1, lines.size()) << original;
            std::string& line = lines.at(edit.line - 1);
            std::size_t const body = line.find_first_of("\r\n");
            EXPECT_EQ(line.substr(0, body), edit.was) << original << ":" << edit.line;
            line.replace(0, body, edit.becomes);
        }
        fs::path const path = scratch / name;
        std::ofstream out(path, std::ios::binary);
        for (std::string const& line : lines)
            out << line;
        return path;
    }

    // The parsed output of a `diff --format json` run; a failure when it does not parse.
    rapidjson::Document json(std::string const& arguments, int status) const
    {
        Result result = run("diff --format json " + arguments);
        EXPECT_EQ(result.status, status) << arguments << ": " << result.err;
        rapidjson::Document document;
        document.Parse<rapidjson::kParseFullPrecisionFlag>(result.out.c_str());
        EXPECT_FALSE(document.HasParseError()) << rapidjson::GetParseError_En(document.GetParseError()) << "\n"
                                               << result.out;
        EXPECT_TRUE(document.IsObject()) << result.out;
        return document;
    }
};

// The line of the report that starts with the label ("  path         ..."); "" when there is none.
std::string aspect(std::string const& report, std::string const& label)
{
    std::size_t const at = report.find("\n  " + label + " ");
    if (at == std::string::npos)
        return "";
    std::size_t const start = report.find_first_not_of(' ', at + 3 + label.size());
    return report.substr(start, report.find('\n', start) - start);
}

std::string firstLine(std::string const& report) { return report.substr(0, report.find('\n')); }

TEST_F(DiffCommand, ProgramsAgreeWithThemselvesAndWithTheirConversions)
{
    // Every readable example against itself, through two readers at once: nothing parts, nothing
    // differs, and what deviates is the rounding of the arithmetic alone.
    for (char const* name : {"part-3axis.nci", "swarf-5axis.nci", "inch-part.nci", "synthetic-mill.nci",
             "bolt-circle.ngc", "part-3axis.ngc", "pocket.kts", "pocket.cldt", "swarf-5axis.cld"}) {
        std::string const example = "examples/" + std::string(name);
        rapidjson::Document const document = json(example + " " + example, 0);
        ASSERT_TRUE(document.IsObject()) << name;
        EXPECT_TRUE(document["agree"].GetBool()) << name;
        EXPECT_EQ(document["path"]["partings"].GetUint64(), 0u) << name;
        ASSERT_TRUE(document["path"]["largest"].IsObject()) << name;
        EXPECT_LT(document["path"]["largest"]["deviation"].GetDouble(), 1e-9) << name;
        EXPECT_LT(document["axis"]["largest"]["deviation"].GetDouble(), 1e-6) << name;
        EXPECT_GT(document["vertices"]["a"].GetUint64(), 0u) << name;
        EXPECT_GT(document["vertices"]["b"].GetUint64(), 0u) << name;
        EXPECT_EQ(document["moves"]["a"].GetUint64(), document["moves"]["b"].GetUint64()) << name;
    }

    // The G-code and compact NCI the tool writes follow the path they were written from, within
    // the default tolerance: rounding to the written decimals, arc centres moved onto the
    // bisector of the written ends, 32-bit floats, the moves of drill cycles.
    struct Conversion {
        char const* example;
        char const* output;
    } const conversions[] = {
        {"part-3axis.nci", "part.ngc"},
        {"inch-part.nci", "inch.ngc"},
        {"bolt-circle.ngc", "flange.ngc"},
        {"bolt-circle.ngc", "flange.nci"},
    };
    for (Conversion const& c : conversions) {
        std::string const what = std::string(c.example) + " -> " + c.output;
        std::string const output = (scratch / c.output).string();
        ASSERT_EQ(run("convert -q examples/" + std::string(c.example) + " '" + output + "'").status, 0) << what;
        Result result = run("diff examples/" + std::string(c.example) + " '" + output + "'");
        EXPECT_EQ(result.status, 0) << what << "\n" << result.out;
        std::string const agree = "examples/" + std::string(c.example) + " and " + output + " agree within 0.01 mm";
        EXPECT_EQ(result.out.rfind(agree, 0), 0u) << what << "\n" << result.out;
    }
}

TEST_F(DiffCommand, TheBundledHandEditIsFoundAtItsLine)
{
    Result result = run("diff examples/part-3axis.nci examples/part-3axis-edited.ngc");
    EXPECT_EQ(result.status, 1) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
        "examples/part-3axis.nci and examples/part-3axis-edited.ngc differ: the paths part at 1 place, by up to "
        "0.0200 mm (tolerance 0.01 mm).\n"
        "  path         1 parting, first 0.0200 mm apart: X90.0000 Y10.0000 Z-12.0000 (examples/part-3axis.nci "
        "event 66) and X90.0000 Y10.0000 Z-12.0200 (examples/part-3axis-edited.ngc line 51); largest there too\n"
        "  tool axis    agree, largest 0.0000° (tolerance 0.01°)\n"
        "  feed         agree\n"
        "  spindle      agree\n"
        "  tools        agree\n"
        "  moves        37 in examples/part-3axis.nci, 36 in examples/part-3axis-edited.ngc\n");

    // The same as JSON: every member, lines only where they are the file's.
    rapidjson::Document const document = json("examples/part-3axis.nci examples/part-3axis-edited.ngc", 1);
    ASSERT_TRUE(document.IsObject());
    EXPECT_STREQ(document["a"]["file"].GetString(), "examples/part-3axis.nci");
    EXPECT_STREQ(document["a"]["format"].GetString(), "compact-nci");
    EXPECT_FALSE(document["a"]["fileLines"].GetBool());
    EXPECT_STREQ(document["b"]["format"].GetString(), "gcode");
    EXPECT_TRUE(document["b"]["fileLines"].GetBool());
    EXPECT_EQ(document["options"]["tolerance"].GetDouble(), 0.01);
    EXPECT_EQ(document["options"]["axisTolerance"].GetDouble(), 0.01);
    for (char const* compared : {"compareFeeds", "compareSpindle", "compareTools"})
        EXPECT_TRUE(document["options"][compared].GetBool()) << compared;
    EXPECT_FALSE(document["agree"].GetBool());
    auto const& path = document["path"];
    EXPECT_EQ(path["partings"].GetUint64(), 1u);
    for (char const* which : {"firstParting", "largest"}) {
        auto const& place = path[which];
        ASSERT_TRUE(place.IsObject()) << which;
        EXPECT_NEAR(place["deviation"].GetDouble(), 0.02, 1e-9) << which;
        EXPECT_EQ(place["pointA"][2].GetDouble(), -12.0) << which;
        EXPECT_NEAR(place["pointB"][2].GetDouble(), -12.02, 1e-9) << which;
        EXPECT_EQ(place["pointB"][0].GetDouble(), 90.0) << which;
        EXPECT_EQ(place["a"]["event"].GetUint64(), 66u) << which;
        EXPECT_TRUE(place["a"]["line"].IsNull()) << which;
        EXPECT_EQ(place["a"]["section"].GetUint(), 3u) << which;
        EXPECT_EQ(place["b"]["line"].GetUint(), 51u) << which;
        EXPECT_EQ(place["b"]["section"].GetUint(), 3u) << which;
    }
    EXPECT_EQ(document["axis"]["partings"].GetUint64(), 0u);
    EXPECT_TRUE(document["axis"]["firstParting"].IsNull());
    for (char const* values : {"feeds", "spindle", "tools"}) {
        EXPECT_EQ(document[values]["count"].GetUint64(), 0u) << values;
        EXPECT_TRUE(document[values]["first"].IsNull()) << values;
    }
    EXPECT_EQ(document["moves"]["a"].GetUint64(), 37u);
    EXPECT_EQ(document["moves"]["b"].GetUint64(), 36u);
    EXPECT_GT(document["vertices"]["b"].GetUint64(), 0u);
    for (char const* count : {"curvesAsChords", "axisValueMoves"}) {
        EXPECT_EQ(document[count]["a"].GetUint64(), 0u) << count;
        EXPECT_EQ(document[count]["b"].GetUint64(), 0u) << count;
    }
    EXPECT_FALSE(document["stopped"]["a"].GetBool());
    EXPECT_FALSE(document["stopped"]["b"].GetBool());
}

TEST_F(DiffCommand, AnEditIsReportedAtTheLineOfItsFile)
{
    // The second facing pass 0.01 mm further out: the whole pass parts, once.
    fs::path const edited = editedCopy("examples/part-3axis.ngc", "stepover.ngc", {{13, "Y30", "Y30.01"}});
    std::string const b = edited.string();
    std::string const pair = "examples/part-3axis.ngc '" + b + "'";
    Result tight = run("diff --tolerance 0.001 " + pair);
    EXPECT_EQ(tight.status, 1) << tight.err;
    EXPECT_EQ(firstLine(tight.out),
        "examples/part-3axis.ngc and " + b
            + " differ: the paths part at 1 place, by up to 0.0100 mm (tolerance 0.001 mm).");
    EXPECT_EQ(aspect(tight.out, "path"),
        "1 parting, first 0.0100 mm apart: X130.0000 Y30.0000 Z0.0000 (examples/part-3axis.ngc line 13) and "
        "X130.0000 Y30.0100 Z0.0000 ("
            + b + " line 13); largest there too");

    // Within a looser tolerance the two agree, and the header says where they are furthest apart.
    Result loose = run("diff --tolerance 0.02 " + pair);
    EXPECT_EQ(loose.status, 0) << loose.err;
    EXPECT_EQ(firstLine(loose.out),
        "examples/part-3axis.ngc and " + b
            + " agree within 0.02 mm: largest deviation 0.0100 mm at X130.0000 Y30.0000 Z0.0000 "
              "(examples/part-3axis.ngc line 13, "
            + b + " line 13).");
    EXPECT_EQ(aspect(loose.out, "path"), "agree, largest 0.0100 mm (tolerance 0.02 mm)");

    // An NCI file of the CAM system names the line of the record's code: X of a line moved 0.01 in.
    fs::path const nci = editedCopy(
        "examples/synthetic-mill.nci", "mill.nci", {{54, "0 0. 2.5 -0.25 -1. 0", "0 0.01 2.5 -0.25 -1. 0"}});
    Result record = run("diff examples/synthetic-mill.nci '" + nci.string() + "'");
    EXPECT_EQ(record.status, 1) << record.err;
    std::string const recordPath = aspect(record.out, "path");
    EXPECT_EQ(recordPath.rfind("1 parting, first 0.2540 mm apart: ", 0), 0u) << record.out;
    EXPECT_NE(recordPath.find("(" + nci.string() + " line 53)"), std::string::npos) << record.out;
}

TEST_F(DiffCommand, FeedsSpindleSpeedsAndToolsAndTheirIgnoring)
{
    fs::path const edited = editedCopy("examples/part-3axis.ngc", "values.ngc",
        {{12, "X130 F1200", "X130 F1000"}, {22, "S8000 M3", "S7000 M3"}, {41, "T3 M6", "T4 M6"}});
    std::string const pair = " examples/part-3axis.ngc '" + edited.string() + "'";
    std::string const b = edited.string();
    Result all = run("diff" + pair);
    EXPECT_EQ(all.status, 1) << all.err;
    EXPECT_EQ(firstLine(all.out),
        "examples/part-3axis.ngc and " + b
            + " differ: 1 feed difference; 1 spindle speed difference; 1 tool difference.");
    EXPECT_EQ(aspect(all.out, "path").rfind("agree, largest 0.0000 mm", 0), 0u) << all.out;
    EXPECT_EQ(aspect(all.out, "feed"),
        "1 difference, first at X130.0000 Y0.0000 Z0.0000 (examples/part-3axis.ngc line 12: F1200, " + b
            + " line 12: F1000)");
    EXPECT_EQ(aspect(all.out, "spindle"),
        "1 difference, first at X50.0000 Y30.0000 Z10.0000 (examples/part-3axis.ngc line 24: 8000 rpm, " + b
            + " line 24: 7000 rpm)");
    EXPECT_EQ(aspect(all.out, "tools"),
        "1 difference, first at X10.0000 Y10.0000 Z10.0000 (examples/part-3axis.ngc line 45: T3, " + b
            + " line 45: T4)");

    Result some = run("diff --ignore feed,spindle" + pair);
    EXPECT_EQ(some.status, 1) << some.err;
    EXPECT_EQ(firstLine(some.out), "examples/part-3axis.ngc and " + b + " differ: 1 tool difference.");
    EXPECT_EQ(aspect(some.out, "feed"), "not compared");
    EXPECT_EQ(aspect(some.out, "spindle"), "not compared");

    // The option again adds to the list.
    for (char const* ignore : {"--ignore feed,spindle,tools", "--ignore tools --ignore spindle,feed"}) {
        Result none = run("diff " + std::string(ignore) + pair);
        EXPECT_EQ(none.status, 0) << ignore << ": " << none.err;
        for (char const* label : {"feed", "spindle", "tools"})
            EXPECT_EQ(aspect(none.out, label), "not compared") << ignore << ": " << label;
        rapidjson::Document const document = json(std::string(ignore) + pair, 0);
        ASSERT_TRUE(document.IsObject());
        for (char const* compared : {"compareFeeds", "compareSpindle", "compareTools"})
            EXPECT_FALSE(document["options"][compared].GetBool()) << ignore << ": " << compared;
        EXPECT_EQ(document["feeds"]["count"].GetUint64(), 0u);
    }

    // A rapid against a feed move along the same line is a feed difference, not a parting.
    fs::path const rapid = editedCopy(
        "examples/part-3axis.ngc", "rapid.ngc", {{11, "G1 Z0 F400", "G0 Z0"}, {12, "X130 F1200", "G1 X130 F1200"}});
    rapidjson::Document const feeds = json("examples/part-3axis.ngc '" + rapid.string() + "'", 1);
    ASSERT_TRUE(feeds.IsObject());
    EXPECT_EQ(feeds["path"]["partings"].GetUint64(), 0u);
    EXPECT_EQ(feeds["feeds"]["count"].GetUint64(), 1u);
    EXPECT_EQ(feeds["feeds"]["first"]["valueA"].GetDouble(), 400.0);
    EXPECT_TRUE(feeds["feeds"]["first"]["valueB"].IsNull());
    EXPECT_EQ(feeds["feeds"]["first"]["b"]["line"].GetUint(), 11u);
}

TEST_F(DiffCommand, WhatIsNotComparedIsSaid)
{
    // Five-axis moves whose directions are axis values, not tool axes: their path is compared, their
    // directions are counted. (No format the tool reads holds splines or NURBS.)
    fs::path const program = scratch / "axis-values.nci";
    {
        Quarn::FileOutputStream file(program.wstring());
        Quarn::CompactNCIWriter w(&file);
        Quarn::NCContext context;
        context.setUnit(Quarn::NCUnit::MILLIMETERS);
        context.setMultiAxisMode(Quarn::NCContext::MULTI_AXIS_UNCHECKED);
        Quarn::NCTool tool;
        tool.setNumber(1);
        ASSERT_TRUE(w.onOpen() && w.onContext(context) && w.onTool(tool) && w.onSection() && w.onRapid({0, 0, 10}, 0)
            && w.onLinear5D({10, 0, 0}, {0, 30, 0}, 500, 0) && w.onLinear5D({20, 0, 0}, {0, 45, 0}, 500, 0)
            && w.onSectionEnd() && w.onClose());
        file.close();
    }
    std::string const name = program.string();
    Result result = run("diff '" + name + "' '" + name + "'");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(aspect(result.out, "not compared"),
        "the tool axes of five-axis moves that carry axis values: 2 in " + name + ", 2 in " + name)
        << result.out;
    rapidjson::Document const document = json("'" + name + "' '" + name + "'", 0);
    ASSERT_TRUE(document.IsObject());
    EXPECT_EQ(document["axisValueMoves"]["a"].GetUint64(), 2u);
    EXPECT_EQ(document["axisValueMoves"]["b"].GetUint64(), 2u);
    EXPECT_EQ(document["curvesAsChords"]["a"].GetUint64(), 0u);

    // A program that leaves nothing out has no such line.
    EXPECT_EQ(aspect(run("diff examples/part-3axis.nci examples/part-3axis.ngc").out, "not compared"), "");
}

TEST_F(DiffCommand, RefusalsAndFailuresEndWithTheirStatus)
{
    std::string const part = " examples/part-3axis.nci examples/part-3axis.ngc";
    struct Case {
        std::string arguments;
        int status;
        std::string message;
    } const cases[] = {
        {"diff examples/part-3axis.nci", 64, "B is required"},
        {"diff --tolerance 0" + part, 64, "--tolerance: takes a number of millimetres of at least 0.000001, not '0'"},
        {"diff --tolerance 0.0000005" + part, 64, "not '0.0000005'"},
        {"diff --tolerance -1" + part, 64, "not '-1'"},
        {"diff --tolerance inf" + part, 64, "not 'inf'"},
        {"diff --tolerance 1mm" + part, 64, "not '1mm'"},
        {"diff --axis-tolerance 0" + part, 64, "--axis-tolerance: takes a number of degrees of at least 0.000001"},
        {"diff --ignore feed,colour" + part, 64,
            "--ignore: takes a comma list of feed, spindle and tools, not 'colour'"},
        {"diff --ignore feed," + part, 64, "not ''"},
        {"diff --format xml" + part, 64, "--format"},
        {"diff examples/no-such-file.nci examples/part-3axis.ngc", 66,
            "quarnnc: examples/no-such-file.nci: No such file.\n"},
        {"diff examples/part-3axis.nci examples/no-such-file.ngc", 66,
            "quarnnc: examples/no-such-file.ngc: No such file.\n"},
        {"diff examples/part-3axis.nci README.md", 65,
            "quarnnc: README.md: Not an NC program in a format this tool reads.\n"},
    };
    for (Case const& c : cases) {
        Result result = run(c.arguments);
        EXPECT_EQ(result.status, c.status) << c.arguments << ": " << result.err;
        EXPECT_NE(result.err.find(c.message), std::string::npos) << c.arguments << ": " << result.err;
        EXPECT_EQ(result.out, "") << c.arguments;
    }

    // A fault in either program ends the comparison with the file and the line or offset of the
    // fault; when both are bad, the first one's is told.
    fs::path const badGCode = editedCopy("examples/part-3axis.ngc", "bad.ngc", {{30, "G1 Y35", "G1 Y[35/0]"}});
    std::string const bytes = readFile(source / "examples/part-3axis.nci");
    fs::path const cut = scratch / "cut.nci";
    std::ofstream(cut, std::ios::binary) << bytes.substr(0, bytes.size() - 3);
    struct Failure {
        std::string a;
        std::string b;
        std::string err;
    } const failures[] = {
        {"examples/part-3axis.nci", badGCode.string(), "quarnnc: " + badGCode.string() + ":30: Division by zero.\n"},
        {badGCode.string(), "examples/part-3axis.nci", "quarnnc: " + badGCode.string() + ":30: Division by zero.\n"},
        {cut.string(), badGCode.string(), "quarnnc: " + cut.string() + ":"},
    };
    for (Failure const& f : failures) {
        Result result = run("diff '" + f.a + "' '" + f.b + "'");
        EXPECT_EQ(result.status, 65) << f.a << " " << f.b << ": " << result.err;
        EXPECT_EQ(result.err.rfind(f.err, 0), 0u) << f.a << " " << f.b << ": " << result.err;
        EXPECT_EQ(result.out, "");
    }
}

} // namespace
