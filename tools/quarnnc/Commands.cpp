// What the subcommands share: the shape of a command that reads one program.
#include "tools/quarnnc/Commands.h"

namespace Quarn::Tool {

CLI::App* addFileCommand(CLI::App& app, Invocation& invocation, std::string const& name, std::string const& description,
    std::function<int(std::string const& input, RunOptions const& options)> run)
{
    auto input = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("FILE", *input, "Input program")->required();
    command->callback([input, run = std::move(run), &invocation] {
        invocation.run = [input, run, &invocation] { return run(*input, invocation.options); };
    });
    return command;
}

} // namespace Quarn::Tool
