// quarnnc: the command-line tool that assembles chains of the library's readers, filters and
// writers from its arguments.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolError.h"

#include "util/utility/RuntimeException.h"

#include <cstdio>

int main(int argc, char** argv)
{
    using namespace Quarn::Tool;
    CLI::App app {"Reads, checks, converts, transforms and compares numerical-control programs.", "quarnnc"};
    app.set_version_flag("--version", std::string("quarnnc " QUARN_VERSION));
    app.require_subcommand(1, 1);
    app.fallthrough();
    Invocation invocation;
    app.add_flag("-q,--quiet", invocation.options.quiet, "Show no progress bar");
    addInfoCommand(app, invocation);
    addValidateCommand(app, invocation);
    addConvertCommand(app, invocation);
    addTransformCommand(app, invocation);
    addRangesCommand(app, invocation);
    addLogCommand(app, invocation);
    addPlotCommand(app, invocation);
    addDiffCommand(app, invocation);

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        int const status = app.exit(error);
        return status == 0 ? ExitOk : ExitUsage;
    }
    try {
        return invocation.run();
    } catch (ToolError const& error) {
        std::fprintf(stderr, "quarnnc: %s\n", error.describe().c_str());
        return error.getStatus();
    } catch (Quarn::RuntimeException const& error) {
        std::fprintf(stderr, "quarnnc: %s\n", error.what());
        return ExitDataError;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "quarnnc: internal error: %s\n", error.what());
        return 70;
    }
}
