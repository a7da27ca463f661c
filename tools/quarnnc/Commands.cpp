// What the subcommands share: the shape of a command that reads one program, and its reader options.
#include "tools/quarnnc/Commands.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace Quarn::Tool {

namespace {

// START,STEP of --line-numbers=START,STEP; empty unless both are numbers and STEP is not 0.
std::optional<WriterOptions::LineNumbers> lineNumbers(std::string_view text)
{
    WriterOptions::LineNumbers numbers;
    char const* const end = text.data() + text.size();
    auto const start = std::from_chars(text.data(), end, numbers.start);
    if (start.ec != std::errc() || start.ptr == end || *start.ptr != ',')
        return std::nullopt;
    auto const step = std::from_chars(start.ptr + 1, end, numbers.step);
    if (step.ec != std::errc() || step.ptr != end || numbers.step == 0)
        return std::nullopt;
    return numbers;
}

} // namespace

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
    auto const setGCodeUnit = [&options](std::string const& unit) {
        options.gcodeUnit = unit == "inch" ? NCUnit::INCHES : NCUnit::MILLIMETERS;
    };
    command
        .add_option_function<std::string>("--gcode-unit", setGCodeUnit,
            "Length unit of a G-code input until it says G20 or G21: inch or mm (default: mm)")
        ->check(CLI::IsMember({"inch", "mm"}));
    command.add_flag("--block-delete", options.blockDelete, "Skip the blocks of a G-code input that start with '/'");
}

void addExpandCyclesFlag(CLI::App& command, ReaderOptions& options)
{
    command.add_flag(
        "--expand-cycles", options.expandCycles, "Send the drill cycles of an NCI input as the moves each hole takes");
}

void addWriterOptions(CLI::App& command, WriterOptions& options)
{
    command
        .add_option_function<unsigned int>(
            "--decimals", [&options](unsigned int decimals) { options.decimals = decimals; },
            "Digits after the decimal point of gcode output (0, the default: 3 in millimetres, 4 in inches)")
        ->check(CLI::Range(0u, 9u));
    // A bare flag numbers from N10 in steps of 10; a value must follow an equals sign, so that the
    // flag never takes the input's name for its value.
    command.add_flag("--line-numbers")
        ->description(
            "Number the blocks of gcode output N10, N20, ...; --line-numbers=START,STEP from START in steps of STEP")
        ->type_name("[=START,STEP]")
        ->check(CLI::Validator(
            [&options](std::string& value) -> std::string {
                if (value == "true")
                    options.lineNumbers = WriterOptions::LineNumbers {};
                else if (auto const numbers = lineNumbers(value))
                    options.lineNumbers = numbers;
                else
                    return "takes START,STEP, two whole numbers with a STEP of 1 or more, not '" + value + "'";
                return {};
            },
            ""));
    // Read here rather than by the option, so that what is checked is what is taken.
    command.add_option("--arc-tolerance")
        ->description("Largest distance in millimetres from an arc of the G1 lines that stand for it in gcode output "
                      "when G2 and G3 cannot carry it, as off the G17, G18 and G19 planes (default 0.001)")
        ->type_name("MM")
        ->check(CLI::Validator(
            [&options](std::string& value) -> std::string {
                double millimetres = 0;
                auto const [end, error] = std::from_chars(value.data(), value.data() + value.size(), millimetres);
                if (error != std::errc() || end != value.data() + value.size() || !(millimetres > 0)
                    || !std::isfinite(millimetres))
                    return "takes a positive number of millimetres, not '" + value + "'";
                options.arcTolerance = millimetres;
                return {};
            },
            ""));
}

} // namespace Quarn::Tool
