// The shared body of the commands that write a program: reader, filters, writer.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include <filesystem>

namespace Quarn::Tool {

int writeThrough(std::string const& input, std::string const& output, Format const& outputFormat,
    WriterOptions const& writerOptions, RunOptions const& options,
    std::function<NCStream&(NCStream& writer)> const& head)
{
    Format const& inputFormat = detectInput(input);
    std::error_code error;
    if (output != "/dev/stdout" && std::filesystem::exists(output, error)
        && std::filesystem::equivalent(input, output, error))
        throw ToolError(ExitUsage, output, "The output would overwrite the input.");
    auto sink = outputFormat.makeWriter(output, writerOptions);
    bool const completed = replay(inputFormat, input, head(sink->stream()), options);
    sink->finish();
    if (!completed)
        throw ToolError(ExitDataError, input, "The program was stopped before its end.");
    return ExitOk;
}

} // namespace Quarn::Tool
