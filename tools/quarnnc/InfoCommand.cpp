// quarnnc info FILE: what a program file holds.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ProgramSummary.h"
#include "tools/quarnnc/ToolError.h"

#include "util/utility/text/Unicode.h"

#include <iostream>

namespace Quarn::Tool {

void addInfoCommand(CLI::App& app, Invocation& invocation)
{
    addFileCommand(app, invocation, "info", "Describe a program: format, events, sections, tools, extent",
        [](std::string const& input, RunOptions const& options) {
            Format const& format = detectInput(input);
            std::string const version = format.version ? format.version(Unicode::fromUTF8(input)) : "";
            ProgramSummary summary;
            replay(format, input, summary, options);
            std::cout << "file:         " << input << "\n";
            std::cout << "format:       " << format.name << (version.empty() ? "" : " " + version) << "\n";
            summary.print(std::cout, format);
            return static_cast<int>(ExitOk);
        });
}

} // namespace Quarn::Tool
