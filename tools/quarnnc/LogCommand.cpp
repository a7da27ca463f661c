// quarnnc log FILE: the event log of a program on standard output.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/FormatRegistry.h"

#include <cstdio>

namespace Quarn::Tool {

void addLogCommand(CLI::App& app, Invocation& invocation)
{
    auto input = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("log", "Print one line per event of a program");
    command->add_option("FILE", *input, "Input program")->required();
    command->callback([input, &invocation] {
        invocation.run = [input, &invocation] {
            std::fflush(stdout);
            return writeThrough(*input, "/dev/stdout", logFormat(), {}, invocation.options,
                [](NCStream& writer) -> NCStream& { return writer; });
        };
    });
}

} // namespace Quarn::Tool
