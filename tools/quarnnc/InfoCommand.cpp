// quarnnc info FILE: what a program file holds.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ProgramSummary.h"

#include "util/utility/text/Unicode.h"

#include <iostream>

namespace Quarn::Tool {

void addInfoCommand(CLI::App& app, Invocation& invocation)
{
    auto input = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("info", "Describe a program: format, events, sections, tools, extent");
    command->add_option("FILE", *input, "Input program")->required();
    command->callback([input, &invocation] {
        invocation.run = [input, &invocation] {
            Format const& format = detectInput(*input);
            std::string const version = format.getVersion(Unicode::fromUTF8(*input));
            ProgramSummary summary;
            replay(format, *input, summary, invocation.options);
            std::cout << "file:         " << *input << "\n";
            std::cout << "format:       " << format.getName() << (version.empty() ? "" : " " + version) << "\n";
            summary.print(std::cout);
            return 0;
        };
    });
}

} // namespace Quarn::Tool
