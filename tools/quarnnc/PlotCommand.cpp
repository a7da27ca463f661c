// quarnnc plot FILE OUT.svg: a drawing of the tool path, in two passes over the input: its extent
// first, then the picture, so that memory stays flat whatever the size of the program.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/SVGPlotWriter.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <memory>

namespace Quarn::Tool {

namespace {

struct PlotArguments {
    std::string input, output;
    SVGPlotWriter::View view = SVGPlotWriter::View::TOP;
    SVGPlotWriter::Coloring coloring = SVGPlotWriter::Coloring::MOVEMENT;
    double size = 800.0;
};

// Refuses an output that is the input: the second pass would read the picture.
void refuseOverwritingInput(std::string const& input, std::string const& output)
{
    std::error_code error;
    if (std::filesystem::equivalent(input, output, error))
        throw ToolError(ExitUsage, output, "The picture would overwrite the program it draws.");
}

int plot(PlotArguments const& arguments, RunOptions const& options)
{
    Format const& format = detectInput(arguments.input);
    refuseOverwritingInput(arguments.input, arguments.output);
    NCStreamDefaultImpl sink;
    NCBoundingBox extent(&sink);
    if (!replay(format, arguments.input, extent, options))
        throw ToolError(ExitDataError, arguments.input, "The program was stopped while measuring its extent.");

    OutputFile file(arguments.output);
    SVGPlotWriter writer(&file);
    writer.setExtent(extent.getTotal(), extent.getUnit());
    writer.setView(arguments.view);
    writer.setColoring(arguments.coloring);
    writer.setSize(arguments.size);
    writer.setTitle(std::filesystem::path(arguments.input).filename().string());
    if (!replay(format, arguments.input, writer, options))
        throw ToolError(ExitDataError, arguments.input, "The program was stopped while drawing it.");
    file.close();

    SVGPlotWriter::Counts const& counts = writer.getCounts();
    std::cout << "wrote " << arguments.output << ": " << counts.moves << " moves as " << counts.points
              << " points in " << counts.paths << " paths (" << counts.merged << " merged into lines, "
              << counts.arcs << " exact arcs)\n";
    if (counts.approximated != 0)
        std::cout << "drawn as straight pieces: " << counts.approximated
                  << " curves (arcs out of the view plane, spirals, NURBS)\n";
    return static_cast<int>(ExitOk);
}

} // namespace

void addPlotCommand(CLI::App& app, Invocation& invocation)
{
    auto arguments = std::make_shared<PlotArguments>();
    CLI::App* command = app.add_subcommand("plot", "Draw the tool path as an SVG picture");
    command->add_option("FILE", arguments->input, "Input program (format recognised by content)")->required();
    command->add_option("OUT", arguments->output, "The SVG file to write")->required();
    std::map<std::string, SVGPlotWriter::View> const views {{"top", SVGPlotWriter::View::TOP},
        {"front", SVGPlotWriter::View::FRONT}, {"side", SVGPlotWriter::View::SIDE}, {"iso", SVGPlotWriter::View::ISO}};
    command->add_option("--view", arguments->view, "top (the default), front, side or iso")
        ->transform(CLI::CheckedTransformer(views, CLI::ignore_case));
    std::map<std::string, SVGPlotWriter::Coloring> const colorings {{"movement", SVGPlotWriter::Coloring::MOVEMENT},
        {"tool", SVGPlotWriter::Coloring::TOOL}, {"section", SVGPlotWriter::Coloring::SECTION}};
    command->add_option("--color", arguments->coloring, "Colour the cuts by movement (the default), tool or section")
        ->transform(CLI::CheckedTransformer(colorings, CLI::ignore_case));
    command->add_option("--size", arguments->size, "Side of the square the drawing fits, in pixels (default 800)")
        ->check(CLI::Range(100.0, 20000.0));
    addReaderOptions(*command, invocation.options.reader);
    command->callback([arguments, &invocation] {
        invocation.run = [arguments, &invocation] { return plot(*arguments, invocation.options); };
    });
}

} // namespace Quarn::Tool
