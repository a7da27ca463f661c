// Test-mode switch, assertion handler and debugger stop of the utility layer.
#include "util/utility/Debug.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace Quarn {

namespace {

bool& testingFlag() noexcept
{
    static bool testing = false;
    return testing;
}

Debug::Handler& handlerSlot()
{
    static Debug::Handler handler;
    return handler;
}

bool debuggerAttached() noexcept
{
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr)
        return false;
    char line[256];
    bool traced = false;
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, "TracerPid:", 10) == 0) {
            traced = std::strtol(line + 10, nullptr, 10) != 0;
            break;
        }
    }
    std::fclose(status);
    return traced;
}

} // namespace

bool Debug::isTesting() noexcept { return testingFlag(); }

void Debug::setTesting(bool testing) noexcept { testingFlag() = testing; }

std::string Debug::sourceName(char const* file)
{
    std::string_view name(file != nullptr ? file : "");
    // Installed headers live below include/QuarnNC10/; keep the repository part only.
    constexpr std::string_view installed = "include/QuarnNC10/";
    if (auto at = name.rfind(installed); at != std::string_view::npos)
        name.remove_prefix(at + installed.size());
    auto slash = name.rfind('/');
    auto dot = name.rfind('.');
    if (dot != std::string_view::npos && (slash == std::string_view::npos || dot > slash))
        name = name.substr(0, dot);
    return std::string(name);
}

void Debug::failTestForAssert(char const* text, char const* file, int line)
{
    AssertionReport report{text != nullptr ? text : "", sourceName(file), line};
    if (auto const& handler = handlerSlot()) {
        handler(report);
        return;
    }
    std::fprintf(stderr, "%s:%d: assertion failed: %s\n", report.file.c_str(), line, report.text.c_str());
}

Debug::Handler Debug::setHandler(Handler handler)
{
    Handler previous = std::move(handlerSlot());
    handlerSlot() = std::move(handler);
    return previous;
}

void Debug::breakpoint() noexcept
{
    if (debuggerAttached())
        std::raise(SIGTRAP);
}

} // namespace Quarn
