// Assertion capture for tests.
#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

namespace Quarn::TestSupport {

AssertionCapture::AssertionCapture(Mode mode)
{
    previous = Debug::setHandler([this, mode](AssertionReport const& report) {
        captured.push_back(report);
        if (mode == StopAtReport)
            throw Stop{};
    });
}

AssertionCapture::~AssertionCapture() { Debug::setHandler(std::move(previous)); }

std::vector<std::string> AssertionCapture::texts() const
{
    std::vector<std::string> result;
    for (auto const& report : captured)
        result.push_back(report.text);
    return result;
}

void AssertionCapture::installFailingHandler()
{
    Debug::setHandler([](AssertionReport const& report) {
        ADD_FAILURE_AT(report.file.c_str(), report.line) << "unexpected assertion: " << report.text;
    });
}

} // namespace Quarn::TestSupport
