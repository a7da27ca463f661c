// quarnnc plot: every bundled example in every view draws a document libxml2 parses and
// rsvg-convert renders; the report, the refusals and the options.
#include "tests/tools/ToolTesting.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string>

using namespace Quarn::ToolTesting;

namespace {

class PlotCommand : public ToolTest {
protected:
    PlotCommand() : ToolTest("quarnnc-plot-test") { }
};

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// The document libxml2 reads from the file; null (and a failure) when it reports an error.
Document parse(fs::path const& path)
{
    std::string const text = readFile(path);
    Document document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), path.c_str(), nullptr, XML_PARSE_NONET), xmlFreeDoc);
    EXPECT_NE(document, nullptr) << path << " is not well-formed XML";
    return document;
}

bool haveRenderer() { return std::system("command -v rsvg-convert >/dev/null 2>&1") == 0; }

} // namespace

TEST_F(PlotCommand, EveryExampleInEveryViewParsesAndRenders)
{
    bool const render = haveRenderer();
    char const* const examples[] = {"part-3axis.nci", "swarf-5axis.nci", "inch-part.nci", "pocket.kts",
        "swarf-5axis.cld", "pocket.cldt", "synthetic-mill.nci", "part-3axis.ngc", "bolt-circle.ngc"};
    for (char const* example : examples) {
        for (char const* view : {"top", "front", "side", "iso"}) {
            std::string const what = std::string(example) + " --view " + view;
            fs::path const svg = scratch / "plot.svg";
            Result plotted = run("plot -q examples/" + std::string(example) + " '" + svg.string() + "' --view " + view);
            ASSERT_EQ(plotted.status, 0) << what << ": " << plotted.err;
            EXPECT_EQ(plotted.out.rfind("wrote " + svg.string() + ": ", 0), 0u) << what << ": " << plotted.out;
            Document document = parse(svg);
            ASSERT_NE(document, nullptr) << what;
            EXPECT_STREQ(reinterpret_cast<char const*>(xmlDocGetRootElement(document.get())->name), "svg") << what;
            if (!render)
                continue;
            fs::path const png = scratch / "plot.png";
            std::string const command
                = "rsvg-convert -o '" + png.string() + "' '" + svg.string() + "' 2>'" + (scratch / "rsvg").string() + "'";
            EXPECT_EQ(std::system(command.c_str()), 0) << what << ": " << readFile(scratch / "rsvg");
            EXPECT_EQ(readFile(png).substr(0, 8), "\x89PNG\r\n\x1a\n") << what;
        }
    }
    if (!render)
        GTEST_SKIP() << "rsvg-convert (Debian librsvg2-bin) is not installed: the documents were parsed, not rendered";
}

TEST_F(PlotCommand, ColouringsHoleDotsAndSize)
{
    fs::path const byMovement = scratch / "movement.svg", byTool = scratch / "tool.svg", small = scratch / "small.svg";
    ASSERT_EQ(run("plot examples/bolt-circle.ngc '" + byMovement.string() + "'").status, 0);
    ASSERT_EQ(run("plot examples/bolt-circle.ngc '" + byTool.string() + "' --color tool").status, 0);
    ASSERT_EQ(run("plot examples/bolt-circle.ngc '" + small.string() + "' --size 200").status, 0);
    std::string const movement = readFile(byMovement), tool = readFile(byTool);
    EXPECT_NE(movement, tool);
    // The two tools of the program have entries of their own in the legend.
    EXPECT_NE(tool.find(">T1<"), std::string::npos);
    EXPECT_NE(tool.find(">T2<"), std::string::npos);
    EXPECT_EQ(movement.find(">T1<"), std::string::npos);
    EXPECT_NE(movement.find("stroke-dasharray"), std::string::npos); // the rapids
    // Seen from above, each of the six drilled holes is a dot.
    std::size_t dots = 0;
    for (std::size_t at = movement.find("stroke-width=\"4\""); at != std::string::npos;
         at = movement.find("stroke-width=\"4\"", at + 1))
        ++dots;
    EXPECT_EQ(dots, 6u);
    // The drawing fits the size asked for; the legend's panel stands beside it.
    EXPECT_NE(movement.find("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"1060\""), std::string::npos);
    EXPECT_NE(readFile(small).find("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"460\""), std::string::npos);
}

TEST_F(PlotCommand, RefusalsAndFailures)
{
    struct Case {
        std::string arguments;
        int status;
        char const* message;
    } const cases[] = {
        {"plot examples/part-3axis.nci", 64, "OUT is required"},
        {"plot examples/part-3axis.nci x.svg --view below", 64, "--view"},
        {"plot examples/part-3axis.nci x.svg --color feed", 64, "--color"},
        {"plot examples/part-3axis.nci x.svg --size 10", 64, "--size"},
        {"plot examples/no-such-file.nci '" + (scratch / "x.svg").string() + "'", 66, "no-such-file.nci"},
        {"plot examples/part-3axis.nci '" + (scratch / "missing" / "x.svg").string() + "'", 73, "Cannot create"},
    };
    for (Case const& c : cases) {
        Result result = run(c.arguments);
        EXPECT_EQ(result.status, c.status) << c.arguments << ": " << result.err;
        EXPECT_NE(result.err.find(c.message), std::string::npos) << c.arguments << ": " << result.err;
    }
    // A picture over its own program is refused before anything is written, through another path too.
    fs::path const program = scratch / "part.nci";
    fs::copy_file(source / "examples" / "part-3axis.nci", program);
    Result over = run("plot '" + program.string() + "' '" + (scratch / "." / "part.nci").string() + "'");
    EXPECT_EQ(over.status, 64) << over.err;
    EXPECT_EQ(readFile(program), readFile(source / "examples" / "part-3axis.nci"));
}
