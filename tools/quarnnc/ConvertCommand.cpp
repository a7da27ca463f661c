// quarnnc convert IN OUT: any readable format into any writable one.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/FormatRegistry.h"

namespace Quarn::Tool {

void addConvertCommand(CLI::App& app, Invocation& invocation)
{
    struct Arguments {
        std::string input, output, to;
        WriterOptions writer;
    };
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("convert", "Write a program in another format");
    command->add_option("IN", arguments->input, "Input program (format recognised by content)")->required();
    command
        ->add_option("OUT", arguments->output,
            "Output file; its extension chooses the format: " + FormatRegistry::writerExtensions())
        ->required();
    command->add_option(
        "--to", arguments->to, "Output format: " + FormatRegistry::writerNames() + " (default: from OUT's extension)");
    command->add_flag("--map-to-wcs", arguments->writer.mapToWCS, "Express contexts in the work coordinate system");
    addWriterOptions(*command, arguments->writer);
    addReaderOptions(*command, invocation.options.reader);
    addExpandCyclesFlag(*command, invocation.options.reader);
    command->callback([arguments, &invocation] {
        invocation.run = [arguments, &invocation] {
            Format const& format = chooseOutputFormat(arguments->to, arguments->output);
            return writeThrough(arguments->input, arguments->output, format, arguments->writer, invocation.options,
                [](NCStream& writer) -> NCStream& { return writer; });
        };
    });
}

} // namespace Quarn::Tool
