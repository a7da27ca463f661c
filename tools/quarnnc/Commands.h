// The subcommands of quarnnc; each adds itself to the command line and, when chosen, runs.
#pragma once

#include "tools/quarnnc/Files.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace Quarn::Tool {

// What the command line chose: the run of the chosen subcommand and the shared options.
struct Invocation {
    RunOptions options;
    std::function<int()> run;
};

// Adds a subcommand that reads one program, FILE, with the reader options of addReaderOptions;
// when it is chosen, run gets the path and the shared options. Returns the subcommand, for
// options of its own.
CLI::App* addFileCommand(CLI::App& app, Invocation& invocation, std::string const& name, std::string const& description,
    std::function<int(std::string const& input, RunOptions const& options)> run);

// Adds the options that set up the reader of every input: --nci-unit, --gcode-unit, --block-delete.
void addReaderOptions(CLI::App& command, ReaderOptions& options);
// Adds --expand-cycles, for the commands that pass the moves they read on.
void addExpandCyclesFlag(CLI::App& command, ReaderOptions& options);
// Adds the options that set up the writer of the output: --decimals, --line-numbers and
// --arc-tolerance. writeThrough refuses those the output format does not honour.
void addWriterOptions(CLI::App& command, WriterOptions& options);

void addInfoCommand(CLI::App& app, Invocation& invocation);
void addValidateCommand(CLI::App& app, Invocation& invocation);
void addConvertCommand(CLI::App& app, Invocation& invocation);
void addTransformCommand(CLI::App& app, Invocation& invocation);
void addRangesCommand(CLI::App& app, Invocation& invocation);
void addLogCommand(CLI::App& app, Invocation& invocation);
void addPlotCommand(CLI::App& app, Invocation& invocation);
void addDiffCommand(CLI::App& app, Invocation& invocation);

// Writes the input into the output through an optional chain of filters ending in the output
// format's writer: the body of convert, transform and log. `head` builds the filters in front
// of the writer and returns the first stage. A writer option the format does not honour ends in
// ToolError 64 before anything is read; failures of the writer end in ToolError 74 naming the
// output; a program that a stage stopped (a false) ends in ToolError 65 naming the input.
int writeThrough(std::string const& input, std::string const& output, Format const& outputFormat,
    WriterOptions const& writerOptions, RunOptions const& options,
    std::function<NCStream&(NCStream& writer)> const& head);

} // namespace Quarn::Tool
