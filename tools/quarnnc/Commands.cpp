// What the subcommands share: the shape of a command that reads one program, and its reader options.
#include "tools/quarnnc/Commands.h"

namespace Quarn::Tool {

CLI::App* addFileCommand(CLI::App& app, Invocation& invocation, std::string const& name, std::string const& description,
    std::function<int(std::string const& input, RunOptions const& options)> run)
{
    auto input = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("FILE", *input, "Input program")->required();
    addReaderOptions(*command, invocation.options.reader);
    command->callback([input, run = std::move(run), &invocation] {
        invocation.run = [input, run, &invocation] { return run(*input, invocation.options); };
    });
    return command;
}

void addReaderOptions(CLI::App& command, ReaderOptions& options)
{
    // One subcommand is parsed, so all of them can fill the same options.
    auto const setUnit = [&options](std::string const& unit) {
        options.nciUnit = unit == "mm" ? NCUnit::MILLIMETERS : NCUnit::INCHES;
    };
    command
        .add_option_function<std::string>("--nci-unit", setUnit,
            "Length unit of an NCI input: inch or mm (default: inch); NCI files do not say their unit")
        ->check(CLI::IsMember({"inch", "mm"}));
}

void addExpandCyclesFlag(CLI::App& command, ReaderOptions& options)
{
    command.add_flag(
        "--expand-cycles", options.expandCycles, "Send the drill cycles of an NCI input as the moves each hole takes");
}

} // namespace Quarn::Tool
