// The shared body of the commands that write a program: reader, filters, writer.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCEvent.h"
#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>
#include <filesystem>

namespace Quarn::Tool {

namespace {

// Runs a step of the output (making the writer, an event, finishing) with its IOException turned
// into ToolError 74 naming the output file.
template <class Step> auto guardOutput(std::string const& path, Step const& step)
{
    try {
        return step();
    } catch (IOException const& e) {
        throw ToolError(ExitIOError, path, Unicode::toUTF8(e.getMessage()));
    }
}

// Stands in front of the writer so that its IOException, which would otherwise travel back
// through the reader and pass for a fault of the input, names the output instead.
class OutputErrors final : public NCStream {
public:
    OutputErrors(std::string const& path, NCStream& writer) : path(path), writer(writer) { }

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    std::string const& path;
    NCStream& writer;
};

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

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool OutputErrors::name parameters                                                                                 \
    {                                                                                                                  \
        return guardOutput(path, [&] { return writer.name arguments; });                                               \
    }
#include "nc/nc/NCEvents.def"

} // namespace

int writeThrough(std::string const& input, std::string const& output, Format const& outputFormat,
    WriterOptions const& writerOptions, RunOptions const& options,
    std::function<NCStream&(NCStream& writer)> const& head)
{
    refuseOptionsNotHonoured(outputFormat, writerOptions);
    Format const& inputFormat = detectInput(input);
    std::error_code error;
    if (output != "/dev/stdout" && std::filesystem::exists(output, error)
        && std::filesystem::equivalent(input, output, error))
        throw ToolError(ExitUsage, output, "The output would overwrite the input.");
    auto sink = guardOutput(output, [&] { return outputFormat.makeWriter(output, writerOptions); });
    OutputErrors writer(output, sink->stream());
    bool const completed = replay(inputFormat, input, head(writer), options);
    guardOutput(output, [&] { sink->finish(); });
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
