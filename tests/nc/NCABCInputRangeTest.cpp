// NCABCInputRange: ranges per section and in total, the zeros they start from, observing only.
#include "nc/nc/NCABCInputRange.h"

#include "tests/support/AssertionCapture.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using ABC = NCABCInputRange::ABC;

namespace {

ABC abc(double a0, double a1, double b0, double b1, double c0, double c1) { return {{a0, a1}, {b0, b1}, {c0, c1}}; }

} // namespace

TEST(NCABCInputRange, RangesPerSectionAndInTotal)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    auto const move = [](NCABCInputRange& f, double a, double b, double c) { f.onLinear5D({}, {a, b, c}, 100, 0); };
    auto const open = [](NCABCInputRange& f) { f.onOpen(), f.onSection(); };
    struct Case {
        char const* what;
        std::function<void(NCABCInputRange&)> send;
        std::vector<ABC> sections;
        ABC total;
    } const cases[] = {
        {"five-axis moves only",
            [&](auto& f) {
                open(f), move(f, 10, 0, 90), f.onRapid5D({}, {-5, 0, 180}, 0), f.onSectionEnd();
            },
            {abc(-5, 10, 0, 0, 90, 180)}, abc(-5, 10, 0, 0, 90, 180)},
        {"a three-axis move first keeps the zeros",
            [&](auto& f) {
                open(f), f.onLinear({}, 100, 0), move(f, 10, 0, 90), move(f, -5, 0, 180), f.onSectionEnd();
            },
            {abc(-5, 10, 0, 0, 0, 180)}, abc(-5, 10, 0, 0, 0, 180)},
        {"a section without moves adds zeros",
            [&](auto& f) { open(f), move(f, 10, 20, 30), f.onSectionEnd(), f.onSection(), f.onSectionEnd(); },
            {abc(10, 10, 20, 20, 30, 30), ABC()}, abc(0, 10, 0, 20, 0, 30)},
        {"total widened limit by limit",
            [&](auto& f) {
                open(f), move(f, 0, 1, 1), move(f, 30, 1, 1), f.onSectionEnd();
                open(f), move(f, -20, 1, 1), move(f, 10, 1, 1), f.onSectionEnd();
            },
            {abc(0, 30, 1, 1, 1, 1), abc(-20, 10, 1, 1, 1, 1)}, abc(-20, 30, 1, 1, 1, 1)},
        {"a NaN changes nothing", [&](auto& f) { open(f), move(f, 1, 2, 3), move(f, nan, 5, nan), f.onSectionEnd(); },
            {abc(1, 1, 2, 5, 3, 3)}, abc(1, 1, 2, 5, 3, 3)},
        {"moves before any section extend the zeros", [&](auto& f) { move(f, 10, 20, 30), f.onSectionEnd(); },
            {abc(0, 10, 0, 20, 0, 30)}, abc(0, 10, 0, 20, 0, 30)},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        NCABCInputRange filter(&recorder);
        c.send(filter);
        EXPECT_EQ(filter.getSectionRanges(), c.sections) << c.what;
        EXPECT_EQ(filter.getTotalRanges(), c.total) << c.what;
        EXPECT_EQ(filter.getSectionRanges(filter.getNumberOfSections()), ABC()) << c.what;
    }
}

TEST(NCABCInputRange, ObservesOnlyAndReportsToolAxes)
{
    RecordingNCStream direct, recorder;
    NCABCInputRange filter(&recorder);
    ASSERT_TRUE(TestSupport::sendEveryEvent(direct));
    ASSERT_TRUE(TestSupport::sendEveryEvent(filter));
    EXPECT_EQ(recorder.events, direct.events);
    // The finished section still shows until the next one starts.
    EXPECT_EQ(filter.getCRange(), Range<double>(0, 1));

    // A tool axis is reported, yet counted and passed on, refusal included.
    TestSupport::AssertionCapture capture;
    recorder.stopAt(L"onLinear5D");
    EXPECT_FALSE(filter.onLinear5D({}, {7, 8, 9}, 100, NCStream::FLAG_ABSOLUTE_DIRECTION));
    ASSERT_EQ(capture.reports().size(), 1u);
    EXPECT_EQ(capture.reports()[0].text, "(flags & FLAG_ABSOLUTE_DIRECTION) == 0");
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/NCABCInputRange");
    EXPECT_EQ(filter.getARange(), Range<double>(0, 7));
    filter.onSection();
    EXPECT_EQ(filter.getARange(), Range<double>());
}
