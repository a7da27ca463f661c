// The shared body of the commands that write a program: reader, filters, writer.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCEvent.h"
#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <unistd.h>

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

// The file an output that replaces its input is written to first: beside the input (so that the
// rename stays on one file system), hidden, and named after the process. The input is the file
// itself when its path is a symbolic link, so that the link stays a link.
class Replacement {
public:
    explicit Replacement(std::string const& output)
    {
        std::error_code error;
        std::filesystem::path resolved = std::filesystem::canonical(output, error);
        target = error ? std::filesystem::path(output) : resolved;
        temporary = target.parent_path()
            / ("." + target.filename().string() + ".quarnnc-" + std::to_string(::getpid()) + ".tmp");
    }
    Replacement(Replacement const&) = delete;
    Replacement& operator=(Replacement const&) = delete;
    // A replacement that was not committed leaves the input as it was.
    ~Replacement()
    {
        if (!committed) {
            std::error_code ignored;
            std::filesystem::remove(temporary, ignored);
        }
    }

    std::string path() const { return temporary.string(); }

    // Puts the complete output in the input's place, with the input's permissions.
    void commit(std::string const& output)
    {
        std::error_code error;
        std::filesystem::file_status const status = std::filesystem::status(target, error);
        if (!error)
            std::filesystem::permissions(temporary, status.permissions(), error);
        std::filesystem::rename(temporary, target, error);
        if (error)
            throw ToolError(ExitIOError, output, "Cannot replace the file.");
        committed = true;
    }

private:
    std::filesystem::path target;
    std::filesystem::path temporary;
    bool committed = false;
};

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
        sink = guardOutput(output, [&] { return outputFormat.makeWriter(written, writerOptions); });
        OutputErrors writer(output, sink->stream());
        completed = replay(inputFormat, input, head(writer), options);
        guardOutput(output, [&] { sink->finish(); });
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
