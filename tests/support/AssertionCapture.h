// Captures the debug assertions reported while it lives; outside a capture they fail the test.
#pragma once

#include "util/utility/Debug.h"

#include <string>
#include <vector>

namespace Quarn::TestSupport {

class AssertionCapture {
public:
    // Thrown after recording when the capture stops at reports: lets a test check a
    // precondition without running the code behind it (an out-of-range table index, say).
    struct Stop {};
    enum Mode { Continue, StopAtReport };

    explicit AssertionCapture(Mode mode = Continue);
    ~AssertionCapture();
    AssertionCapture(AssertionCapture const&) = delete;
    AssertionCapture& operator=(AssertionCapture const&) = delete;

    std::vector<AssertionReport> const& reports() const noexcept { return captured; }
    // The condition texts, in the order reported.
    std::vector<std::string> texts() const;
    void clear() noexcept { captured.clear(); }

    // Installed by the test main: an assertion outside a capture is a test failure.
    static void installFailingHandler();

private:
    std::vector<AssertionReport> captured;
    Debug::Handler previous;
};

} // namespace Quarn::TestSupport
