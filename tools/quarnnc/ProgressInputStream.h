// Input stream that shows how much of a file has been read, as a bar on standard error.
#pragma once

#include "util/utility/io/InputStream.h"

#include <chrono>

namespace Quarn::Tool {

// The bar appears only when enabled (standard error is a terminal and --quiet is off) and the
// work has lasted more than a second; finish() clears it. A reader may call read on a thread of
// its own (reading ahead), so the bar is drawn from there; finish() comes after the reading.
class ProgressInputStream final : public InputStream {
public:
    ProgressInputStream(InputStream& source, bool enabled);
    ~ProgressInputStream() override;

    std::size_t read(void* buffer, std::size_t size) override;
    std::uint64_t getPosition() const override { return source.getPosition(); }
    std::optional<std::uint64_t> getSize() const override { return source.getSize(); }
    void close() override { source.close(); }

    void finish();
    // Whether standard error is a terminal, the precondition for showing progress.
    static bool isTerminal();

private:
    void draw();

    InputStream& source;
    bool enabled;
    bool shown = false;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point lastDraw;
};

} // namespace Quarn::Tool
