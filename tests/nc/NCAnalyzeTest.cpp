// NCAnalyze: lengths and times on geometry with known answers, feed modes, splits, ranges, forwarding.
#include "nc/nc/NCAnalyze.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "tests/support/AssertionCapture.h"
#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using Figures = NCAnalyze::Figures;

namespace {

constexpr double Pi = std::numbers::pi;
Vector3D const Z {0, 0, 1};

NCContext context(NCUnit::Unit unit, NCContext::FeedMode mode = NCContext::FEED_PER_MINUTE)
{
    NCContext c;
    c.setUnit(unit);
    c.setFeedMode(mode);
    return c;
}

NCTool tool(unsigned int number, double rpm = 0.0)
{
    NCTool t;
    t.setNumber(number);
    t.setSpindleRPM(rpm);
    return t;
}

// The planar spiral from radius r0 to r1 turning by theta, as a fine polyline: an independent measure.
double spiralPolyline(double r0, double r1, double theta)
{
    constexpr int Steps = 200000;
    double length = 0.0;
    Vector3D previous {r0, 0, 0};
    for (int i = 1; i <= Steps; ++i) {
        double const t = static_cast<double>(i) / Steps;
        double const r = r0 + (r1 - r0) * t;
        Vector3D const point {r * std::cos(theta * t), r * std::sin(theta * t), 0};
        length += (point - previous).getModulus();
        previous = point;
    }
    return length;
}

} // namespace

// Single moves after a rapid to their start, in one millimetre section: length, time and kind.
TEST(NCAnalyze, LengthsAndTimesOfKnownGeometry)
{
    double const helix = std::hypot(10 * 4 * Pi, 6.0);
    struct Case {
        char const* what;
        std::function<void(NCAnalyze&)> send; // from (10, 0, 0)
        double cutting;
        double feedSeconds;
        std::uint64_t Figures::*kind;
    } const cases[] = {
        {"full circle r 10 at F 100: 2 pi r / f minutes",
            [](NCAnalyze& a) { a.onCCWCircle({0, 0, 0}, {10, 0, 0}, Z, 100, 0); }, 20 * Pi, 60 * 20 * Pi / 100,
            &Figures::circles},
        {"clockwise full circle", [](NCAnalyze& a) { a.onCWCircle({0, 0, 0}, {10, 0, 0}, Z, 100, 0); }, 20 * Pi,
            60 * 20 * Pi / 100, &Figures::circles},
        {"clockwise quarter", [](NCAnalyze& a) { a.onCWArc({0, 0, 0}, {0, -10, 0}, Z, 60, 0); }, 5 * Pi, 5 * Pi,
            &Figures::arcs},
        {"counter-clockwise three quarters to the same end",
            [](NCAnalyze& a) { a.onCCWArc({0, 0, 0}, {0, -10, 0}, Z, 60, 0); }, 15 * Pi, 15 * Pi, &Figures::arcs},
        {"arc ending where it starts is a full turn", [](NCAnalyze& a) { a.onCWArc({0, 0, 0}, {10, 0, 0}, Z, 60, 0); },
            20 * Pi, 20 * Pi, &Figures::arcs},
        {"arc about -z turns the other way", [](NCAnalyze& a) { a.onCWArc({0, 0, 0}, {0, -10, 0}, -Z, 60, 0); },
            15 * Pi, 15 * Pi, &Figures::arcs},
        {"helix of two turns down 6: sqrt((r theta)^2 + h^2)",
            [](NCAnalyze& a) { a.onCircular({0, 0, 0}, {10, 0, -6}, Z, 4 * Pi, 60, 0); }, helix, helix,
            &Figures::helicals},
        {"clockwise helix by a negative sweep",
            [](NCAnalyze& a) { a.onCircular({0, 0, 0}, {10, 0, -6}, Z, -4 * Pi, 60, 0); }, helix, helix,
            &Figures::helicals},
        {"helical arc with a height", [](NCAnalyze& a) { a.onCCWArc({0, 0, 0}, {-10, 0, 3}, Z, 60, 0); },
            std::hypot(10 * Pi, 3.0), std::hypot(10 * Pi, 3.0), &Figures::arcs},
        {"spiral from r 10 to r 20 over half a turn",
            [](NCAnalyze& a) { a.onCCWArc({0, 0, 0}, {-20, 0, 0}, Z, 60, 0); }, spiralPolyline(10, 20, Pi),
            spiralPolyline(10, 20, Pi), &Figures::arcs},
        {"shrinking spiral", [](NCAnalyze& a) { a.onCCWArc({0, 0, 0}, {0, 4, 0}, Z, 60, 0); },
            spiralPolyline(10, 4, Pi / 2), spiralPolyline(10, 4, Pi / 2), &Figures::arcs},
        {"quarter whose end radius is rounded to 10.005, measured at the mean radius",
            [](NCAnalyze& a) { a.onCCWArc({0, 0, 0}, {0, 10.005, 0}, Z, 60, 0); }, spiralPolyline(10, 10.005, Pi / 2),
            spiralPolyline(10, 10.005, Pi / 2), &Figures::arcs},
        {"arc in the xz plane", [](NCAnalyze& a) { a.onCCWArc({0, 0, 0}, {0, 0, 10}, {0, -1, 0}, 60, 0); }, 5 * Pi,
            5 * Pi, &Figures::arcs},
        {"line", [](NCAnalyze& a) { a.onLinear({13, 4, 0}, 60, 0); }, 5, 5, &Figures::linears},
        {"five-axis line", [](NCAnalyze& a) { a.onLinear5D({13, 4, 0}, Z, 60, 0); }, 5, 5, &Figures::linears5D},
        {"five-axis line with x and n", [](NCAnalyze& a) { a.onLinear5D({13, 4, 0}, Z, {1, 0, 0}, Z, 60, 0); }, 5, 5,
            &Figures::linears5D},
        {"extruding line", [](NCAnalyze& a) { a.onLinearExtrude({13, 4, 0}, 60, 0.5); }, 5, 5, &Figures::extrusions},
        {"extruding arc", [](NCAnalyze& a) { a.onCCWArcExtrude({0, 0, 0}, {0, 10, 0}, Z, 60, 0.5, 0); }, 5 * Pi,
            5 * Pi, &Figures::extrusions},
        {"Bezier on a straight line", [](NCAnalyze& a) { a.onBezier({14, 0, 0}, {18, 0, 0}, {22, 0, 0}, 60, 0); },
            12, 12, &Figures::beziers},
        {"spline on a straight line", [](NCAnalyze& a) { a.onSpline({10, 4, 0}, {10, 8, 0}, {10, 12, 0}, 60, 0); },
            12, 12, &Figures::splines},
        {"NURBS by its control polygon",
            [](NCAnalyze& a) {
                Vector3D const points[] = {{10, 0, 0}, {13, 4, 0}, {13, 10, 0}};
                double const knots[] = {0, 0, 0, 1, 1, 1};
                a.onNURBS(points, 3, knots, 6, 60, 0);
            },
            11, 11, &Figures::nurbs},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        NCAnalyze analyze(&recorder);
        analyze.onOpen();
        analyze.onContext(context(NCUnit::MILLIMETERS));
        analyze.onSection();
        analyze.onRapid({10, 0, 0}, 0);
        c.send(analyze);
        analyze.onSectionEnd();
        analyze.onClose();
        Figures const& total = analyze.getTotal();
        EXPECT_NEAR(total.cuttingLength, c.cutting, 1e-6 * c.cutting) << c.what;
        EXPECT_NEAR(total.feedSeconds, c.feedSeconds, 1e-6 * c.feedSeconds) << c.what;
        EXPECT_EQ(total.*c.kind, 1u) << c.what;
        EXPECT_EQ(total.getMoves(), 2u) << c.what;
        // The first move has no start: it counts, but measures nothing.
        EXPECT_EQ(total.rapids, 1u) << c.what;
        EXPECT_EQ(total.rapidLength, 0.0) << c.what;
        EXPECT_EQ(total.rapidSeconds, 0.0) << c.what;
        EXPECT_EQ(total.untimed, 0u) << c.what;
        EXPECT_DOUBLE_EQ(total.getMachiningTimeSeconds(), total.feedSeconds) << c.what;
    }
}

// Rapids: each axis at its own rate, the slowest axis decides; inch sections converted.
TEST(NCAnalyze, RapidsAtTheConfiguredRatePerAxis)
{
    struct Case {
        char const* what;
        Vector3D rate;
        NCUnit::Unit unit;
        double length; // millimetres
        double seconds;
    } const cases[] = {
        {"default 10000 mm/min per axis", {0, 0, 0}, NCUnit::MILLIMETERS, 500, 60 * 400 / 10000.0},
        {"slow y decides", {20000, 5000, 10000}, NCUnit::MILLIMETERS, 500, 60 * 400 / 5000.0},
        {"slow x decides", {1000, 50000, 50000}, NCUnit::MILLIMETERS, 500, 60 * 300 / 1000.0},
        {"inches: 400 in is 10160 mm", {0, 0, 0}, NCUnit::INCHES, 500 * 25.4, 60 * 400 * 25.4 / 10000.0},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        NCAnalyze analyze(&recorder);
        if (c.rate.x > 0)
            analyze.setRapidRate(c.rate);
        analyze.onOpen();
        analyze.onContext(context(c.unit));
        analyze.onSection();
        analyze.onRapid({0, 0, 0}, 0);
        analyze.onRapid5D({300, 400, 0}, Z, 0);
        analyze.onSectionEnd();
        analyze.onClose();
        EXPECT_NEAR(analyze.getTotal().rapidLength, c.length, 1e-9 * c.length) << c.what;
        EXPECT_NEAR(analyze.getTotal().rapidSeconds, c.seconds, 1e-9 * c.seconds) << c.what;
        EXPECT_EQ(analyze.getTotal().rapids5D, 1u) << c.what;
        EXPECT_EQ(analyze.getTotal().cuttingLength, 0.0) << c.what;
        EXPECT_FALSE(analyze.getTotal().feedRange) << c.what;
    }

    // A rate that is not positive is refused and the axis keeps its rate.
    NCAnalyze analyze;
    TestSupport::AssertionCapture capture;
    analyze.setRapidRate({0, 2000, -1});
    EXPECT_EQ(capture.texts(), (std::vector<std::string> {"rate > 0.0", "rate > 0.0"}));
    EXPECT_EQ(analyze.getRapidRate(), Vector3D(10000, 2000, 10000));
}

// Feed modes: per minute, inverse time, per revolution with the rpm of the tool and of onSpindleSpeed; dwells;
// figures of inch sections in millimetres.
TEST(NCAnalyze, FeedModesDwellsAndRanges)
{
    struct Case {
        char const* what;
        std::function<void(NCAnalyze&)> send; // after a rapid to the origin
        double feedSeconds;
        double dwellSeconds;
        std::uint64_t untimed;
        std::optional<Range<double>> feedRange;
        std::optional<Range<double>> spindleRange;
    } const cases[] = {
        {"per minute: 50 mm at 100 and 200",
            [](NCAnalyze& a) { a.onLinear({50, 0, 0}, 100, 0), a.onLinear({100, 0, 0}, 200, 0); }, 30 + 15, 0, 0,
            Range<double>(100, 200), Range<double>(0, 0)},
        {"inverse time: 1 / F minutes whatever the length",
            [](NCAnalyze& a) {
                a.onContext(context(NCUnit::MILLIMETERS, NCContext::FEED_INVERSE_TIME));
                a.onLinear({50, 0, 0}, 2, 0), a.onLinear({52, 0, 0}, 4, 0);
            },
            30 + 15, 0, 0, Range<double>(8, 100), Range<double>(0, 0)},
        {"per revolution at the tool's rpm: L / (F rpm)",
            [](NCAnalyze& a) {
                a.onContext(context(NCUnit::MILLIMETERS, NCContext::FEED_PER_REVOLUTION));
                a.onTool(tool(1, 1000));
                a.onLinear({50, 0, 0}, 0.1, 0);
            },
            30, 0, 0, Range<double>(100, 100), Range<double>(1000, 1000)},
        {"per revolution: onSpindleSpeed replaces the tool's rpm, rpm 0 leaves the move untimed",
            [](NCAnalyze& a) {
                a.onContext(context(NCUnit::MILLIMETERS, NCContext::FEED_PER_REVOLUTION));
                a.onTool(tool(1, 1000));
                a.onSpindleSpeed(-500); // the sense does not matter
                a.onLinear({50, 0, 0}, 0.1, 0);
                a.onSpindleSpeed(0);
                a.onLinear({100, 0, 0}, 0.1, 0);
            },
            60, 0, 1, Range<double>(50, 50), Range<double>(0, 500)},
        {"inverse time: the range over moves of several lengths at one feedrate",
            [](NCAnalyze& a) {
                a.onContext(context(NCUnit::MILLIMETERS, NCContext::FEED_INVERSE_TIME));
                a.onLinear({1, 0, 0}, 10, 0), a.onLinear({4, 0, 0}, 10, 0), a.onLinear({6, 0, 0}, 10, 0);
            },
            18, 0, 0, Range<double>(10, 30), Range<double>(0, 0)},
        {"one feedrate across a change of feed mode: each move timed by its own mode",
            [](NCAnalyze& a) {
                a.onLinear({4, 0, 0}, 2, 0); // 2 minutes per minute
                a.onContext(context(NCUnit::MILLIMETERS, NCContext::FEED_INVERSE_TIME));
                a.onLinear({5, 0, 0}, 2, 0); // half a minute
            },
            150, 0, 0, Range<double>(2, 2), Range<double>(0, 0)},
        {"no usable feedrate", [](NCAnalyze& a) { a.onLinear({50, 0, 0}, 0, 0), a.onLinear({0, 0, 0}, NAN, 0); }, 0,
            0, 2, std::nullopt, Range<double>(0, 0)},
        {"dwells in seconds and revolutions",
            [](NCAnalyze& a) {
                a.onDwell(2.5, 0);
                a.onDwell(100, NCStream::FLAG_DWELL_REVOLUTIONS); // rpm 0: untimed
                a.onSpindleSpeed(1000);
                a.onDwell(100, NCStream::FLAG_DWELL_REVOLUTIONS);
            },
            0, 2.5 + 6, 1, std::nullopt, std::nullopt},
        {"inches: 1 in at 10 in/min, figures in mm",
            [](NCAnalyze& a) {
                a.onContext(context(NCUnit::INCHES));
                a.onLinear({1, 0, 0}, 10, 0);
            },
            6, 0, 0, Range<double>(254, 254), Range<double>(0, 0)},
    };
    for (auto const& c : cases) {
        RecordingNCStream recorder;
        NCAnalyze analyze(&recorder);
        analyze.onOpen();
        analyze.onContext(context(NCUnit::MILLIMETERS));
        analyze.onRapid({0, 0, 0}, 0);
        c.send(analyze);
        analyze.onClose();
        Figures const& total = analyze.getTotal();
        EXPECT_NEAR(total.feedSeconds, c.feedSeconds, 1e-9) << c.what;
        EXPECT_NEAR(total.dwellSeconds, c.dwellSeconds, 1e-9) << c.what;
        EXPECT_EQ(total.untimed, c.untimed) << c.what;
        ASSERT_EQ(total.feedRange.has_value(), c.feedRange.has_value()) << c.what;
        if (c.feedRange) {
            EXPECT_NEAR(total.feedRange->getMin(), c.feedRange->getMin(), 1e-9) << c.what;
            EXPECT_NEAR(total.feedRange->getMax(), c.feedRange->getMax(), 1e-9) << c.what;
        }
        EXPECT_EQ(total.spindleRange, c.spindleRange) << c.what;
    }

    // Figures in inches: a millimetre section is divided by 25.4.
    NCAnalyze inches;
    inches.setUnit(NCUnit::INCHES);
    RecordingNCStream recorder;
    inches.setNCStream(&recorder);
    inches.onOpen();
    inches.onContext(context(NCUnit::MILLIMETERS));
    inches.onRapid({0, 0, 0}, 0);
    inches.onLinear({254, 0, 0}, 2540, 0);
    inches.onClose();
    EXPECT_DOUBLE_EQ(inches.getTotal().cuttingLength, 10);
    EXPECT_EQ(inches.getTotal().feedRange, Range<double>(100, 100));
    EXPECT_DOUBLE_EQ(inches.getTotal().feedSeconds, 6);
}

// Sections, tools by number, tool changes and their time; the position carries over sections and units.
TEST(NCAnalyze, SplitsPerSectionAndPerTool)
{
    RecordingNCStream recorder;
    NCAnalyze analyze(&recorder);
    analyze.setToolChangeTime(12);
    analyze.onOpen();
    // Before any tool: the total only, and the first section.
    analyze.onContext(context(NCUnit::MILLIMETERS));
    analyze.onSection();
    analyze.onRapid({0, 0, 0}, 0);
    analyze.onLinear({10, 0, 0}, 60, 0);
    analyze.onSectionEnd();
    // T1 loads: a change.
    analyze.onTool(tool(1, 1000));
    analyze.onSection();
    analyze.onLinear({10, 20, 0}, 60, 0);
    analyze.onSectionEnd();
    // T1 again: no change; a unit change keeps the position: (10, 20, 0) mm is (10, 20, 0) / 25.4 in.
    analyze.onContext(context(NCUnit::INCHES));
    analyze.onTool(tool(1, 1000));
    analyze.onSection();
    analyze.onRapid({10 / 25.4, 0, 0}, 0);
    analyze.onSectionEnd();
    // T2, then T1 back: two changes.
    analyze.onTool(tool(2, 3000));
    analyze.onSection();
    analyze.onLinear({10 / 25.4, 0, 1}, 10, 0);
    analyze.onDwell(1, 0);
    analyze.onSectionEnd();
    analyze.onTool(tool(1));
    analyze.onClose();

    std::vector<NCAnalyze::SectionFigures> const& sections = analyze.getSections();
    ASSERT_EQ(sections.size(), 4u);
    EXPECT_FALSE(sections[0].toolNumber);
    EXPECT_EQ(sections[1].toolNumber, 1u);
    EXPECT_EQ(sections[3].toolNumber, 2u);
    EXPECT_DOUBLE_EQ(sections[0].figures.cuttingLength, 10);
    EXPECT_DOUBLE_EQ(sections[1].figures.cuttingLength, 20);
    EXPECT_EQ(sections[1].figures.toolChanges, 1u); // the change before the section counts in it
    EXPECT_EQ(sections[1].figures.toolChangeSeconds, 12);
    EXPECT_NEAR(sections[2].figures.rapidLength, 20, 1e-9);
    EXPECT_EQ(sections[2].figures.toolChanges, 0u);
    EXPECT_NEAR(sections[3].figures.cuttingLength, 25.4, 1e-9);
    EXPECT_NEAR(sections[3].figures.feedSeconds, 6, 1e-9);
    EXPECT_EQ(sections[3].figures.dwellSeconds, 1);
    EXPECT_EQ(sections[3].figures.spindleRange, Range<double>(3000, 3000));

    std::vector<NCAnalyze::ToolFigures> const& tools = analyze.getTools();
    ASSERT_EQ(tools.size(), 2u);
    EXPECT_EQ(tools[0].toolNumber, 1u);
    EXPECT_EQ(tools[1].toolNumber, 2u);
    ASSERT_NE(analyze.findTool(1), nullptr);
    EXPECT_EQ(analyze.findTool(3), nullptr);
    Figures const& t1 = *analyze.findTool(1);
    EXPECT_EQ(t1.toolChanges, 2u);
    EXPECT_EQ(t1.toolChangeSeconds, 24);
    EXPECT_DOUBLE_EQ(t1.cuttingLength, 20);
    EXPECT_NEAR(t1.rapidLength, 20, 1e-9);
    EXPECT_EQ(t1.getMoves(), 2u);
    EXPECT_EQ(analyze.findTool(2)->toolChanges, 1u);
    EXPECT_EQ(analyze.findTool(2)->dwells, 1u);

    Figures const& total = analyze.getTotal();
    EXPECT_EQ(total.getMoves(), 5u);
    EXPECT_EQ(total.toolChanges, 3u);
    EXPECT_NEAR(total.cuttingLength, 10 + 20 + 25.4, 1e-9);
    EXPECT_NEAR(total.getMachiningTimeSeconds(), total.rapidSeconds + 10 + 20 + 6 + 1 + 36, 1e-9);
    EXPECT_NEAR(total.rapidSeconds, 60 * 20 / 10000.0, 1e-12);
    // The sections and the tools add up to the total, less what came before the first tool.
    Figures sum;
    for (auto const& section : sections)
        sum.add(section.figures);
    EXPECT_EQ(sum.getMoves(), total.getMoves());
    EXPECT_EQ(sum.toolChanges + 1, total.toolChanges); // the last change follows the last section
    EXPECT_NEAR(sum.cuttingLength, total.cuttingLength, 1e-9);

    // onOpen starts afresh.
    analyze.onOpen();
    EXPECT_TRUE(analyze.getSections().empty());
    EXPECT_TRUE(analyze.getTools().empty());
    EXPECT_EQ(analyze.getTotal(), Figures());

    TestSupport::AssertionCapture capture;
    analyze.setToolChangeTime(-1);
    EXPECT_EQ(capture.texts(), (std::vector<std::string> {"seconds >= 0.0"}));
    EXPECT_EQ(analyze.getToolChangeTime(), 0.0);
}

// Machine-axis ranges by name: orderings may reorder, add and drop axes.
TEST(NCAnalyze, MachineAxisRangesByName)
{
    RecordingNCStream recorder;
    NCAnalyze analyze(&recorder);
    analyze.onOpen();
    analyze.onSection();
    analyze.onMachineAxisOrdering(AxisOrdering {{'H', 'X'}, {'H', 'Y'}, {'T', 'A'}});
    analyze.onMachineAxisValues(AxisValues {10.0, -5.0, 30.0});
    analyze.onMachineAxisValues(AxisValues {-20.0, 5.0, NAN});
    analyze.onSectionEnd();
    analyze.onSection();
    analyze.onMachineAxisOrdering(AxisOrdering {{'T', 'A'}, {'T', 'C'}});
    analyze.onMachineAxisValues(AxisValues {-90.0, 180.0, 7.0}); // the third value has no axis
    analyze.onSectionEnd();
    analyze.onClose();

    EXPECT_EQ(analyze.getAxisNames(), (std::vector<std::string> {"X", "Y", "A", "C"}));
    using R = std::optional<Range<double>>;
    auto const& first = analyze.getSections()[0].figures.axisRanges;
    ASSERT_GE(first.size(), 3u);
    EXPECT_EQ(first[0], R(Range<double>(-20, 10)));
    EXPECT_EQ(first[1], R(Range<double>(-5, 5)));
    EXPECT_EQ(first[2], R(Range<double>(30, 30)));
    auto const& second = analyze.getSections()[1].figures.axisRanges;
    ASSERT_EQ(second.size(), 4u);
    EXPECT_EQ(second[0], R());
    EXPECT_EQ(second[2], R(Range<double>(-90, -90)));
    EXPECT_EQ(second[3], R(Range<double>(180, 180)));
    auto const& total = analyze.getTotal().axisRanges;
    ASSERT_EQ(total.size(), 4u);
    EXPECT_EQ(total[2], R(Range<double>(-90, 30)));
    EXPECT_EQ(total[3], R(Range<double>(180, 180)));
}

// Every event passes unchanged, and a refusal of any of them comes back.
TEST(NCAnalyze, ForwardsEveryEventAndEveryRefusal)
{
    RecordingNCStream direct, recorder;
    NCAnalyze analyze(&recorder);
    ASSERT_TRUE(TestSupport::sendEveryEvent(direct));
    ASSERT_TRUE(TestSupport::sendEveryEvent(analyze));
    EXPECT_EQ(recorder.events, direct.events);
    EXPECT_GT(analyze.getTotal().getMoves(), 10u);

    for (std::wstring const& name : TestSupport::everyEventName()) {
        RecordingNCStream refusing;
        refusing.stopAt(name);
        NCAnalyze filter(&refusing);
        EXPECT_FALSE(TestSupport::sendEveryEvent(filter)) << std::string(name.begin(), name.end());
    }

    // Every operation of the event list, each overload included, reaches the next stream.
    RecordingNCStream sink;
    NCAnalyze filter(&sink);
    int calls = 0;
    TestSupport::callEveryOperation(filter, [&](NCEvent, bool got) {
        ++calls;
        EXPECT_TRUE(got);
    });
    EXPECT_EQ(sink.events.size(), static_cast<std::size_t>(calls) + 1); // the kinded parameter arrives as two
}
