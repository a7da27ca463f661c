// quarnnc log FILE: the event log of a program on standard output.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/FormatRegistry.h"

#include <cstdio>

namespace Quarn::Tool {

void addLogCommand(CLI::App& app, Invocation& invocation)
{
    CLI::App* command = addFileCommand(app, invocation, "log", "Print one line per event of a program",
        [](std::string const& input, RunOptions const& options) {
            // The log opens standard output as a file of its own: what is buffered here goes first.
            std::fflush(stdout);
            return writeThrough(input, "/dev/stdout", *FormatRegistry::findWriter("log"), {}, options,
                [](NCStream& writer) -> NCStream& { return writer; });
        });
    addExpandCyclesFlag(*command, invocation.options.reader);
}

} // namespace Quarn::Tool
