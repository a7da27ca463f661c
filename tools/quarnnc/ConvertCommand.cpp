// quarnnc convert IN OUT: any readable format into any writable one.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/FormatRegistry.h"
#include "tools/quarnnc/ToolError.h"

namespace Quarn::Tool {

void addConvertCommand(CLI::App& app, Invocation& invocation)
{
    struct Arguments {
        std::string input, output, to;
        bool mapToWCS = false;
    };
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("convert", "Write a program in another format");
    command->add_option("IN", arguments->input, "Input program (format recognised by content)")->required();
    command->add_option("OUT", arguments->output, "Output file")->required();
    command->add_option(
        "--to", arguments->to, "Output format: " + FormatRegistry::writerNames() + " (default: from OUT's extension)");
    command->add_flag("--map-to-wcs", arguments->mapToWCS, "Express contexts in the work coordinate system");
    addReaderOptions(*command, invocation.options.reader);
    addExpandCyclesFlag(*command, invocation.options.reader);
    command->callback([arguments, &invocation] {
        invocation.run = [arguments, &invocation] {
            Format const& format = chooseOutputFormat(arguments->to, arguments->output);
            if (arguments->mapToWCS && !format.mapsToWCS)
                throw ToolError(
                    ExitUsage, "", "--map-to-wcs is not supported for " + std::string(format.name) + " output.");
            return writeThrough(arguments->input, arguments->output, format, {arguments->mapToWCS}, invocation.options,
                [](NCStream& writer) -> NCStream& { return writer; });
        };
    });
}

} // namespace Quarn::Tool
