// Progress bar of the tool.
#include "tools/quarnnc/ProgressInputStream.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace Quarn::Tool {

namespace {
constexpr auto Delay = std::chrono::seconds(1);
constexpr auto Interval = std::chrono::milliseconds(100);
constexpr int Width = 40;
} // namespace

ProgressInputStream::ProgressInputStream(InputStream& source, bool enabled) : source(source), enabled(enabled) { }

ProgressInputStream::~ProgressInputStream() { finish(); }

bool ProgressInputStream::isTerminal() { return ::isatty(STDERR_FILENO) == 1; }

std::size_t ProgressInputStream::read(void* buffer, std::size_t size)
{
    std::size_t const count = source.read(buffer, size);
    if (enabled) {
        auto const now = std::chrono::steady_clock::now();
        if (now - start >= Delay && now - lastDraw >= Interval) {
            lastDraw = now;
            draw();
        }
    }
    return count;
}

void ProgressInputStream::draw()
{
    double const done = static_cast<double>(source.getPosition());
    double const total = static_cast<double>(source.getSize().value_or(0));
    double const fraction = total > 0 ? std::min(1.0, done / total) : 0.0;
    int const filled = static_cast<int>(fraction * Width);
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.resize(Width, ' ');
    std::fprintf(
        stderr, "\r[%s] %3d%% %.1f/%.1f MB", bar.c_str(), static_cast<int>(fraction * 100), done / 1e6, total / 1e6);
    std::fflush(stderr);
    shown = true;
}

void ProgressInputStream::finish()
{
    if (!shown)
        return;
    std::fprintf(stderr, "\r%*s\r", Width + 30, "");
    std::fflush(stderr);
    shown = false;
}

} // namespace Quarn::Tool
