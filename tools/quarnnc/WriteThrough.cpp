// The shared body of the commands that write a program: reader, filters, writer.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/OutputGuard.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCEvent.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

namespace Quarn::Tool {

namespace {

// Ends the tool with status 64 when an option is given for a format whose writer cannot honour it.
void refuseOptionsNotHonoured(Format const& format, WriterOptions const& options)
{
    struct Given {
        bool given;
        WriterOptions::Option option;
        char const* name;
    } const given[] = {
        {options.mapToWCS, WriterOptions::MapToWCS, "--map-to-wcs"},
        {options.decimals.has_value(), WriterOptions::Decimals, "--decimals"},
        {options.lineNumbers.has_value(), WriterOptions::LineNumbering, "--line-numbers"},
        {options.arcTolerance.has_value(), WriterOptions::ArcTolerance, "--arc-tolerance"},
    };
    for (Given const& g : given)
        if (g.given && (format.writerOptions & g.option) == 0)
            throw ToolError(
                ExitUsage, "", std::string(g.name) + " is not supported for " + std::string(format.name) + " output.");
}

} // namespace

int writeThrough(std::string const& input, std::string const& output, Format const& outputFormat,
    WriterOptions const& writerOptions, RunOptions const& options,
    std::function<NCStream&(NCStream& writer)> const& head)
{
    refuseOptionsNotHonoured(outputFormat, writerOptions);
    Format const& inputFormat = detectInput(input);
    // An output that is the input is written aside and renamed over it when complete: opening it
    // for writing would empty the input before it is read.
    std::error_code error;
    std::optional<Replacement> replacement;
    if (output != "/dev/stdout" && std::filesystem::exists(output, error)
        && std::filesystem::equivalent(input, output, error))
        replacement.emplace(output);
    std::string const written = replacement ? replacement->path() : output;
    std::unique_ptr<OutputSink> sink;
    bool completed = false;
    try {
        sink = guardOutput(output, written, [&] { return outputFormat.makeWriter(written, writerOptions); });
        OutputErrors writer(output, written, sink->stream());
        completed = replay(inputFormat, input, head(writer), options);
        guardOutput(output, written, [&] { sink->finish(); });
    } catch (ToolError const& e) {
        // The output's failures name the file the user gave, not the one written aside.
        if (replacement && e.getFile() == written)
            throw ToolError(e.getStatus(), output, e.what());
        throw;
    }
    // A program that was stopped does not replace its input.
    if (replacement && completed)
        replacement->commit(output);
    std::vector<LeftOut> const leftOut = sink->leftOut();
    if (std::string const sentence = describeLeftOut(leftOut); !sentence.empty())
        std::fprintf(stderr, "quarnnc: %s: %s\n", output.c_str(), sentence.c_str());
    std::vector<ValuesLeftOut> const valuesLeftOut = sink->valuesLeftOut();
    if (std::string const sentence = describeValuesLeftOut(valuesLeftOut); !sentence.empty())
        std::fprintf(stderr, "quarnnc: %s: %s\n", output.c_str(), sentence.c_str());
    if (std::string const sentence = describeArcsAsLines(sink->arcsWrittenAsLines()); !sentence.empty())
        std::fprintf(stderr, "quarnnc: %s: %s\n", output.c_str(), sentence.c_str());
    // A stage that answers false has stopped the program; the output holds what came before.
    if (!completed)
        throw ToolError(ExitDataError, input, "The program was stopped before its end.");
    return ExitOk;
}

} // namespace Quarn::Tool
