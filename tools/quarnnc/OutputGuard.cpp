// Output failures that name the user's file, and outputs written aside to replace their input.
#include "tools/quarnnc/OutputGuard.h"

#include <unistd.h>

namespace Quarn::Tool {

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool OutputErrors::name parameters                                                                                 \
    {                                                                                                                  \
        return guardOutput(output, written, [&] { return writer.name arguments; });                                    \
    }
#include "nc/nc/NCEvents.def"

Replacement::Replacement(std::string const& output)
{
    std::error_code error;
    std::filesystem::path resolved = std::filesystem::canonical(output, error);
    target = error ? std::filesystem::path(output) : resolved;
    temporary
        = target.parent_path() / ("." + target.filename().string() + ".quarnnc-" + std::to_string(::getpid()) + ".tmp");
}

Replacement::~Replacement()
{
    if (!committed) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
    }
}

void Replacement::commit(std::string const& output)
{
    std::error_code error;
    std::filesystem::file_status const status = std::filesystem::status(target, error);
    if (!error)
        std::filesystem::permissions(temporary, status.permissions(), error);
    std::filesystem::rename(temporary, target, error);
    if (error)
        throw ToolError(ExitIOError, output, "Cannot replace the file.");
    committed = true;
}

} // namespace Quarn::Tool
