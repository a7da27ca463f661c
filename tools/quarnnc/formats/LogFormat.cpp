// The event log of LogNCStream: written only, one line per event.
#include "tools/quarnnc/Format.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/LogNCStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "util/utility/text/Unicode.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"log"};

// The log keeps its own file and remembers, rather than throws, a failed write.
class LogSink final : public OutputSink {
public:
    explicit LogSink(std::string const& path) : path(path), log(&end)
    {
        if (!log.open(Unicode::fromUTF8(path)))
            throw ToolError(ExitCannotCreate, path, "Cannot create the file.");
    }
    NCStream& stream() override { return log; }
    void finish() override
    {
        log.getLog().flush();
        if (log.getLog().hasFailed())
            throw ToolError(ExitIOError, path, "Cannot write the file.");
    }

private:
    std::string path;
    NCStreamDefaultImpl end;
    LogNCStream log;
};

} // namespace

extern constinit Format const eventLog {
    .name = "log",
    .extensions = extensions,
    .makeWriter = [](std::string const& path, WriterOptions const&) -> std::unique_ptr<OutputSink> {
        return std::make_unique<LogSink>(path);
    },
};

} // namespace Quarn::Tool::Formats
