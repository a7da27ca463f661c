// quarnnc info FILE: what a program file holds, and how long and how far it moves, as text or JSON.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ProgramSummary.h"
#include "tools/quarnnc/ToolError.h"

#include "util/utility/text/Unicode.h"

#include <iostream>
#include <memory>

namespace Quarn::Tool {

namespace {

struct InfoOptions {
    std::string format = "text";
    double rapidRate = NCAnalyze::DefaultRapidRate;
    double toolChangeTime = 0.0;
};

} // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation)
{
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = addFileCommand(app, invocation, "info",
        "Describe a program: format, events, sections, tools, extent, lengths and machining time",
        [options](std::string const& input, RunOptions const& runOptions) {
            Format const& format = detectInput(input);
            std::string const version = format.version ? format.version(Unicode::fromUTF8(input)) : "";
            ProgramSummary summary;
            summary.getAnalyze().setRapidRate({options->rapidRate, options->rapidRate, options->rapidRate});
            summary.getAnalyze().setToolChangeTime(options->toolChangeTime);
            replay(format, input, summary.input(), runOptions);
            if (options->format == "json") {
                summary.printJSON(std::cout, input, format, version);
                return static_cast<int>(ExitOk);
            }
            std::cout << "file:         " << input << "\n";
            std::cout << "format:       " << format.name << (version.empty() ? "" : " " + version) << "\n";
            summary.print(std::cout, format);
            return static_cast<int>(ExitOk);
        });
    command
        ->add_option("--format", options->format,
            "text (the default) or json: one JSON object, laid out as the README's info section says")
        ->check(CLI::IsMember({"text", "json"}));
    command
        ->add_option("--rapid-rate", options->rapidRate,
            "Rapid rate of each linear axis in mm/min for the machining time (default 10000)")
        ->check(CLI::PositiveNumber);
    command
        ->add_option("--tool-change-time", options->toolChangeTime,
            "Seconds per tool change for the machining time (default 0)")
        ->check(CLI::NonNegativeNumber);
}

} // namespace Quarn::Tool
