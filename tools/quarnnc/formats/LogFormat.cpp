// The event log of LogNCStream: written only, one line per event.
#include "tools/quarnnc/FormatRegistry.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/LogNCStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "util/utility/text/Unicode.h"

namespace Quarn::Tool {

namespace {

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

class LogFormat final : public Format {
public:
    std::string getName() const override { return "log"; }
    std::string getExtension() const override { return "log"; }
    bool canWrite() const override { return true; }
    std::unique_ptr<OutputSink> makeWriter(std::string const& path, WriterOptions const&) const override
    {
        return std::make_unique<LogSink>(path);
    }
};

} // namespace

Format const& logFormat()
{
    static LogFormat const format;
    return format;
}

} // namespace Quarn::Tool
