// NCBoundingBox: exact boxes of lines, arcs, circles and helices, splits, units, WCS, forwarding.
#include "nc/nc/NCBoundingBox.h"

#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>

using namespace Quarn;
using TestSupport::RecordingNCStream;
using Box = NCBoundingBox::Box;

namespace {

constexpr double Pi = std::numbers::pi;
Vector3D const Z(0, 0, 1);

Box box(Vector3D const& lower, Vector3D const& upper) { return Box {lower, upper}; }

// The point of the circle about centre c with radius r at degrees in the XY plane.
Vector3D at(Vector3D const& c, double r, double degrees)
{
    double const t = degrees * Pi / 180.0;
    return c + Vector3D(std::cos(t), std::sin(t), 0) * r;
}

void expectNear(Box const& got, Box const& want, double tolerance, std::string const& what)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(got.lower[i], want.lower[i], tolerance) << what << " lower " << i;
        EXPECT_NEAR(got.upper[i], want.upper[i], tolerance) << what << " upper " << i;
    }
}

// v turned about the unit axis n by angle (counter-clockwise about n).
Vector3D rotate(Vector3D const& v, Vector3D const& n, double angle)
{
    return v * std::cos(angle) + n.cross(v) * std::sin(angle) + n * (n.dot(v) * (1.0 - std::cos(angle)));
}

// The point at the fraction t of an arc, helix or spiral: radius and height along n change
// evenly with the angle from the start's to the end's.
Vector3D pointOnArc(Vector3D const& start, Vector3D const& centre, Vector3D const& n, double sweep,
    Vector3D const& end, double t)
{
    Vector3D const level = centre + n * (start - centre).dot(n);
    Vector3D const from = start - level;
    Vector3D to = end - level;
    to -= n * to.dot(n);
    double const radius = from.getModulus(), endRadius = to.getModulus();
    Vector3D const turned = rotate(from / radius, n, sweep * t);
    return level + turned * (radius + (endRadius - radius) * t) + n * ((end - start).dot(n) * t);
}

// Runs one section (context in the given unit, a tool, the events of send) through a filter.
template <class Send> NCBoundingBox measure(Send const& send, bool inWCS = false)
{
    static RecordingNCStream sink;
    NCBoundingBox filter(&sink);
    filter.setInWCS(inWCS);
    NCContext context;
    filter.onOpen();
    filter.onContext(context);
    filter.onSection();
    send(filter);
    filter.onSectionEnd();
    filter.onClose();
    return filter;
}

} // namespace

TEST(NCBoundingBox, BoxValue)
{
    Box b;
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(b.getSize(), Vector3D());
    double const nan = std::numeric_limits<double>::quiet_NaN();
    b.add({nan, nan, nan});
    EXPECT_TRUE(b.isEmpty()) << "a NaN point adds nothing";
    b.add({1, 2, 3});
    EXPECT_FALSE(b.isEmpty());
    EXPECT_EQ(b, box({1, 2, 3}, {1, 2, 3}));
    b.add({-1, 5, nan});
    EXPECT_EQ(b, box({-1, 2, 3}, {1, 5, 3}));
    b.add(Box());
    EXPECT_EQ(b, box({-1, 2, 3}, {1, 5, 3})) << "an empty box adds nothing";
    b.add(box({0, 0, 0}, {0, 0, 10}));
    EXPECT_EQ(b.getSize(), Vector3D(2, 5, 10));
    b.add(1, 7.5);
    EXPECT_EQ(b.upper.y, 7.5);
    EXPECT_TRUE(b.contains({0, 1, 5}));
    EXPECT_FALSE(b.contains({0, 8, 5}));
}

TEST(NCBoundingBox, ArcsCrossingQuadrantBoundariesInXY)
{
    Vector3D const c(1, 1, 0);
    double const r = 2;
    // The box of the two end points, widened by the extremes an arc passes.
    struct Case {
        char const* what;
        double from, to; // degrees
        bool ccw;
        bool left, right, bottom, top; // extremes passed: -x, +x, -y, +y
    } const cases[] = {
        {"ccw inside the first quadrant", 10, 80, true, false, false, false, false},
        {"ccw across +y", 80, 100, true, false, false, false, true},
        {"ccw across -x", 170, 190, true, true, false, false, false},
        {"ccw across -y", 260, 280, true, false, false, true, false},
        {"ccw across +x", 350, 10, true, false, true, false, false},
        {"ccw across three boundaries", 45, 300, true, true, false, true, true},
        {"cw across +x", 10, 350, false, false, true, false, false},
        {"cw across +y", 100, 80, false, false, false, false, true},
        {"cw across -x", 190, 170, false, true, false, false, false},
        {"cw the long way from 80 to 100 degrees", 80, 100, false, true, true, true, false},
        {"cw ending on -y", 0, 270, false, false, false, false, false},
        {"ccw ending on -y", 0, 270, true, true, false, false, true},
    };
    for (auto const& k : cases) {
        Vector3D const s = at(c, r, k.from), e = at(c, r, k.to);
        Box want;
        want.add(s), want.add(e);
        if (k.left)
            want.add(c - Vector3D(r, 0, 0));
        if (k.right)
            want.add(c + Vector3D(r, 0, 0));
        if (k.bottom)
            want.add(c - Vector3D(0, r, 0));
        if (k.top)
            want.add(c + Vector3D(0, r, 0));
        NCBoundingBox const f = measure([&](NCBoundingBox& f) {
            f.onRapid(s, 0);
            if (k.ccw)
                f.onCCWArc(c, e, Z, 100, 0);
            else
                f.onCWArc(c, e, Z, 100, 0);
        });
        expectNear(f.getTotal(), want, 1e-12, k.what);
        // The negated normal turns the other way.
        NCBoundingBox const g = measure([&](NCBoundingBox& f) {
            f.onRapid(s, 0);
            if (k.ccw)
                f.onCWArc(c, e, -Z, 100, 0);
            else
                f.onCCWArc(c, e, -Z, 100, 0);
        });
        expectNear(g.getTotal(), want, 1e-12, std::string(k.what) + ", negated normal");
    }
}

TEST(NCBoundingBox, CirclesAndInclinedPlanes)
{
    Vector3D const c(10, 20, 30);
    // A start equal to the end is a full turn, for arcs and circles alike.
    for (int kind = 0; kind < 4; ++kind) {
        NCBoundingBox const f = measure([&](NCBoundingBox& f) {
            Vector3D const s = at(c, 5, 30);
            f.onLinear(s, 100, 0);
            if (kind == 0)
                f.onCWCircle(c, s, Z, 100, 0);
            else if (kind == 1)
                f.onCCWCircle(c, s, Z, 100, 0);
            else if (kind == 2)
                f.onCCWArc(c, s, Z, 100, 0);
            else
                f.onCWArcExtrude(c, s, Z, 100, 1, 0);
        });
        expectNear(f.getTotal(), box(c - Vector3D(5, 5, 0), c + Vector3D(5, 5, 0)), 1e-12, "kind " + std::to_string(kind));
    }
    // A circle as the first move of a section starts at its end.
    NCBoundingBox const first = measure([&](NCBoundingBox& f) { f.onCCWCircle(c, c + Vector3D(0, 5, 0), Z, 100, 0); });
    expectNear(first.getTotal(), box(c - Vector3D(5, 5, 0), c + Vector3D(5, 5, 0)), 1e-12, "first circle");
    // An arc as the first move adds its end only.
    NCBoundingBox const arc = measure([&](NCBoundingBox& f) { f.onCCWArc(c, c + Vector3D(0, 5, 0), Z, 100, 0); });
    EXPECT_EQ(arc.getTotal(), box(c + Vector3D(0, 5, 0), c + Vector3D(0, 5, 0)));

    // A circle in the plane tilted by a about x reaches r along x, r cos a along y, r sin a along z.
    double const a = 0.5;
    Vector3D const n(0, -std::sin(a), std::cos(a));
    Vector3D const s = c + Vector3D(0, std::cos(a), std::sin(a)) * 5;
    NCBoundingBox const tilted = measure([&](NCBoundingBox& f) { f.onRapid(s, 0), f.onCWCircle(c, s, n, 100, 0); });
    Vector3D const reach(5, 5 * std::cos(a), 5 * std::sin(a));
    expectNear(tilted.getTotal(), box(c - reach, c + reach), 1e-12, "tilted circle");
    // Its quarter from the top (+y, +z) to +x reaches only the ends and nothing in between...
    NCBoundingBox const quarter
        = measure([&](NCBoundingBox& f) { f.onRapid(s, 0), f.onCWArc(c, c + Vector3D(5, 0, 0), n, 100, 0); });
    expectNear(quarter.getTotal(), box(c, c + reach), 1e-12, "tilted quarter");
    // ...and the half from +x over the bottom to -x reaches the lowest y and z.
    NCBoundingBox const half = measure([&](NCBoundingBox& f) {
        f.onRapid(c + Vector3D(5, 0, 0), 0), f.onCWArc(c, c - Vector3D(5, 0, 0), n, 100, 0);
    });
    expectNear(half.getTotal(), box(c - reach, c + Vector3D(5, 0, 0)), 1e-12, "tilted half");
}

TEST(NCBoundingBox, HelicesAndTurnsBeyondOne)
{
    // One and a quarter turns rising 5: the full circle in XY, the heights from start to end.
    NCBoundingBox const helix = measure([&](NCBoundingBox& f) {
        f.onRapid({1, 0, 0}, 0), f.onCircular({0, 0, 0}, {0, 1, 5}, Z, 2.5 * Pi, 100, 0);
    });
    expectNear(helix.getTotal(), box({-1, -1, 0}, {1, 1, 5}), 1e-12, "helix over a turn");
    // A half turn about x rising along x from (0, 0, 2) over -y: y reaches -2 at a height of 1.5.
    NCBoundingBox const half = measure([&](NCBoundingBox& f) {
        f.onRapid({0, 0, 2}, 0), f.onCCWArc({0, 0, 0}, {3, 0, -2}, {1, 0, 0}, 100, 0);
    });
    expectNear(half.getTotal(), box({0, -2, -2}, {3, 0, 2}), 1e-12, "helix about x");
    // Turning that helix's axis to (1, 1, 0) / sqrt 2 mixes height and turn in x and y: with
    // u = z and v = n x u = (1, -1, 0) / sqrt 2 the path has x(t) = (3 t / pi + 2 sin t) / sqrt 2,
    // largest where cos t = -3 / (2 pi), and y(t) = (3 t / pi - 2 sin t) / sqrt 2, smallest where
    // cos t = 3 / (2 pi): neither at an end nor at an extreme of the circle alone.
    Vector3D const n = Vector3D(1, 1, 0).getNormalized();
    NCBoundingBox const tilted = measure([&](NCBoundingBox& f) {
        f.onRapid({0, 0, 2}, 0), f.onCCWArc({0, 0, 0}, n * 3 + Vector3D(0, 0, -2), n, 100, 0);
    });
    double const tx = std::acos(-3.0 / (2.0 * Pi)), ty = std::acos(3.0 / (2.0 * Pi));
    double const xMax = (3.0 * tx / Pi + 2.0 * std::sin(tx)) / std::sqrt(2.0);
    double const yMin = (3.0 * ty / Pi - 2.0 * std::sin(ty)) / std::sqrt(2.0);
    EXPECT_NEAR(tilted.getTotal().upper.x, xMax, 1e-12);
    EXPECT_GT(tilted.getTotal().upper.x, 3.0 / std::sqrt(2.0)) << "beyond the end point";
    EXPECT_NEAR(tilted.getTotal().lower.y, yMin, 1e-12);
    EXPECT_LT(yMin, 0.0);
    EXPECT_NEAR(tilted.getTotal().lower.z, -2.0, 1e-12);
    EXPECT_NEAR(tilted.getTotal().upper.z, 2.0, 1e-12);

    // onCircular over turns, either way: full circle extents; the end decides nothing more.
    for (double const sweep : {3.0 * Pi, -5.0 * Pi, 2.0 * Pi + 0.25, -2.0 * Pi - 0.25, 1000.0}) {
        NCBoundingBox const f = measure([&](NCBoundingBox& f) {
            f.onRapid({1, 0, 0}, 0), f.onCircular({0, 0, 0}, {std::cos(sweep), std::sin(sweep), 0}, Z, sweep, 100, 0);
        });
        expectNear(f.getTotal(), box({-1, -1, 0}, {1, 1, 0}), 1e-12, "sweep " + std::to_string(sweep));
    }
    // A quarter sweep given as such, with the extrude form.
    NCBoundingBox const quarter = measure([&](NCBoundingBox& f) {
        f.onRapid({1, 0, 0}, 0), f.onCircularExtrude({0, 0, 0}, {-1, 0, 0}, Z, -Pi, 100, 1, 0);
    });
    expectNear(quarter.getTotal(), box({-1, -1, 0}, {1, 0, 0}), 1e-12, "half turn clockwise");
}

TEST(NCBoundingBox, RandomArcsAgainstSampling)
{
    std::mt19937_64 random(20240611);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    auto const vector = [&] { return Vector3D(unit(random), unit(random), unit(random)); };
    int const samples = 20000;
    for (int i = 0; i < 300; ++i) {
        Vector3D const n = vector().getNormalized();
        Vector3D const centre = vector() * 50;
        Vector3D radial = vector();
        radial -= n * radial.dot(n);
        double const r = 0.1 + 20 * std::abs(unit(random));
        Vector3D const start = centre + radial.getNormalized() * r + n * (5 * unit(random));
        double const sweep = unit(random) * (i % 5 == 0 ? 20.0 : 2.0 * Pi);
        double const height = i % 3 == 0 ? 0.0 : 10 * unit(random);
        // Every fourth a spiral, whose radius changes by up to a half.
        double const endRadius = i % 4 == 1 ? r * (1.0 + 0.5 * unit(random)) : r;
        Vector3D const level = centre + n * (start - centre).dot(n);
        Vector3D const end = level + rotate((start - level) / r, n, sweep) * endRadius + n * height;
        Box const exact = NCBoundingBox::getArcBox(start, centre, end, n, sweep);
        Box sampled;
        for (int k = 0; k <= samples; ++k)
            sampled.add(pointOnArc(start, centre, n, sweep, end, double(k) / samples));
        // The sampled extreme misses the true one by at most |f''| (dt)^2 / 8; a spiral's bound
        // may add as much over a piece of pi / 32.
        double const m2 = std::max(r, endRadius) + 2 * std::abs(endRadius - r) / std::abs(sweep);
        double const dt = std::abs(sweep) / samples;
        double const slack = 1e-9 + m2 * dt * dt / 8;
        double const margin = endRadius != r ? m2 * (Pi / 32) * (Pi / 32) / 8 : 0.0;
        std::string const what = "arc " + std::to_string(i) + " sweep " + std::to_string(sweep);
        for (int a = 0; a < 3; ++a) {
            EXPECT_LE(exact.lower[a], sampled.lower[a] + 1e-9) << what;
            EXPECT_GE(exact.upper[a], sampled.upper[a] - 1e-9) << what;
            EXPECT_GE(exact.lower[a], sampled.lower[a] - slack - margin) << what;
            EXPECT_LE(exact.upper[a], sampled.upper[a] + slack + margin) << what;
        }
    }
}

// Arcs about an axis parallel to z take a short path of their own; it must agree with the general
// measure of the same arc by its sweep, both ways round, about +z and -z, and for full turns.
TEST(NCBoundingBox, ArcsAboutZAgreeWithTheGeneralMeasure)
{
    std::mt19937_64 random(20261124);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        Vector3D const centre(100 * unit(random), 100 * unit(random), 10 * unit(random));
        double const r = 0.01 + 30 * std::abs(unit(random));
        double const from = 180 * unit(random);
        // Sweeps up to a turn either way, a few of them exactly a quarter, a half or a full turn.
        double sweep = i % 10 == 0 ? 90.0 * (1 + i % 4) : 360 * unit(random);
        if (sweep == 0.0)
            sweep = 1.0;
        Vector3D const start = at(centre, r, from);
        Vector3D const end = i % 10 == 0 && i % 4 == 3 ? start : at(centre, r, from + sweep);
        bool const aboutMinusZ = i % 2 == 1;
        double const turn = sweep * Pi / 180;
        Box const general = NCBoundingBox::getArcBox(start, centre, end, Z, turn);
        NCBoundingBox const f = measure([&](NCBoundingBox& f) {
            f.onRapid(start, 0);
            bool const counterClockwise = (sweep > 0) != aboutMinusZ;
            Vector3D const n = aboutMinusZ ? -Z : Z;
            if (counterClockwise)
                f.onCCWArc(centre, end, n, 100, 0);
            else
                f.onCWArc(centre, end, n, 100, 0);
        });
        expectNear(f.getTotal(), general, 1e-9 * (1 + r), "arc " + std::to_string(i));
    }
}

// Arcs read from files have ends a rounding apart in radius: measured as circles of the larger
// radius, widened by the difference, they hold the path and exceed it by at most twice that.
TEST(NCBoundingBox, ArcsOfNearlyConstantRadiusHoldThePathWithinTheirSpread)
{
    // Ending just short of +x with a shrinking radius, the path bulges past its end along x: only
    // the widening holds it.
    {
        Vector3D const start(0, -10.01, 0), end(10 * std::cos(-1e-5), 10 * std::sin(-1e-5), 0);
        NCBoundingBox const f = measure([&](NCBoundingBox& f) {
            f.onRapid(start, 0);
            f.onCCWArc({0, 0, 0}, end, Z, 100, 0);
        });
        Box sampled;
        for (int k = 0; k <= 20000; ++k)
            sampled.add(pointOnArc(start, {0, 0, 0}, Z, Pi / 2 - 1e-5, end, k / 20000.0));
        EXPECT_GT(sampled.upper.x, end.x + 1e-6);
        EXPECT_GE(f.getTotal().upper.x, sampled.upper.x);
    }
    std::mt19937_64 random(5318008);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    int const samples = 20000;
    for (int i = 0; i < 200; ++i) {
        Vector3D const n = i % 2 == 0 ? Z : Vector3D(unit(random), unit(random), unit(random)).getNormalized();
        Vector3D radial = Vector3D(unit(random), unit(random), unit(random));
        radial -= n * radial.dot(n);
        Vector3D const centre(50 * unit(random), 50 * unit(random), 5 * unit(random));
        double const r = 0.5 + 20 * std::abs(unit(random));
        double const endRadius = r * (1.0 + 9e-4 * unit(random));
        double const sweep = 2.0 * Pi * unit(random);
        double const height = i % 3 == 0 ? 5 * unit(random) : 0.0;
        Vector3D const start = centre + radial.getNormalized() * r;
        Vector3D const end = centre + rotate(radial.getNormalized(), n, sweep) * endRadius + n * height;
        NCBoundingBox const f = measure([&](NCBoundingBox& f) {
            f.onRapid(start, 0);
            if (sweep > 0)
                f.onCCWArc(centre, end, n, 100, 0);
            else
                f.onCWArc(centre, end, n, 100, 0);
        });
        Box sampled;
        for (int k = 0; k <= samples; ++k)
            sampled.add(pointOnArc(start, centre, n, sweep, end, double(k) / samples));
        double const spread = std::abs(endRadius - r);
        double const slack = 1e-9 + r * (sweep / samples) * (sweep / samples);
        std::string const what = "arc " + std::to_string(i);
        for (int a = 0; a < 3; ++a) {
            EXPECT_LE(f.getTotal().lower[a], sampled.lower[a] + 1e-9) << what;
            EXPECT_GE(f.getTotal().upper[a], sampled.upper[a] - 1e-9) << what;
            EXPECT_GE(f.getTotal().lower[a], sampled.lower[a] - 2 * spread - slack) << what;
            EXPECT_LE(f.getTotal().upper[a], sampled.upper[a] + 2 * spread + slack) << what;
        }
    }
}

TEST(NCBoundingBox, SplitsBySectionAndTool)
{
    RecordingNCStream sink;
    NCBoundingBox f(&sink);
    NCContext context;
    NCTool tool3, tool5;
    tool3.setNumber(3), tool5.setNumber(5);
    f.onOpen();
    f.onContext(context), f.onTool(tool3), f.onSection();
    f.onRapid({0, 0, 10}, 0), f.onLinear({5, 0, 0}, 100, 0), f.onSectionEnd();
    f.onContext(context), f.onTool(tool5), f.onSection();
    f.onRapid({-3, 2, 1}, 0), f.onDwell(2, 0), f.onBezier({-4, 9, 1}, {0, 0, 0}, {1, 1, 1}, 100, 0), f.onSectionEnd();
    f.onContext(context), f.onTool(tool3), f.onSection(), f.onSectionEnd();
    f.onContext(context), f.onTool(tool3), f.onSection();
    Vector3D const nurbs[] = {{20, 0, 0}, {21, -1, 0}, {22, 0, 0}};
    double const knots[] = {0, 0, 0, 1, 1, 1};
    f.onNURBS(nurbs, 3, knots, 6, 100, 0);
    f.onSectionEnd();
    f.onClose();

    ASSERT_EQ(f.getSections().size(), 4u);
    EXPECT_EQ(f.getSections()[0], box({0, 0, 0}, {5, 0, 10}));
    EXPECT_EQ(f.getSections()[1], box({-4, 0, 0}, {1, 9, 1})) << "the Bezier's control points";
    EXPECT_TRUE(f.getSections()[2].isEmpty());
    EXPECT_EQ(f.getSections()[3], box({20, -1, 0}, {22, 0, 0})) << "the NURBS's control points";
    ASSERT_EQ(f.getTools().size(), 2u);
    EXPECT_EQ(f.getTools().at(3), box({0, -1, 0}, {22, 0, 10}));
    EXPECT_EQ(f.getTools().at(5), f.getSections()[1]);
    EXPECT_EQ(f.getTotal(), box({-4, -1, 0}, {22, 9, 10}));

    // A new program starts afresh.
    f.onOpen();
    EXPECT_TRUE(f.getTotal().isEmpty());
    EXPECT_TRUE(f.getSections().empty());
    EXPECT_TRUE(f.getTools().empty());
}

TEST(NCBoundingBox, UnitsOfSectionsAreConvertedToTheFirst)
{
    RecordingNCStream sink;
    NCBoundingBox f(&sink);
    NCContext mm, inches;
    inches.setUnit(NCUnit::INCHES);
    f.onOpen();
    f.onContext(inches), f.onSection(), f.onLinear({1, 1, 1}, 10, 0), f.onSectionEnd();
    f.onContext(mm), f.onSection();
    f.onRapid({25.4, 0, 0}, 0), f.onCCWArc({0, 0, 0}, {-25.4, 0, 0}, Z, 100, 0), f.onSectionEnd();
    f.onClose();
    EXPECT_EQ(f.getUnit(), NCUnit::INCHES);
    expectNear(f.getSections()[0], box({1, 1, 1}, {1, 1, 1}), 1e-15, "inch section");
    expectNear(f.getSections()[1], box({-1, 0, 0}, {1, 1, 0}), 1e-12, "millimetre section in inches");
    expectNear(f.getTotal(), box({-1, 0, 0}, {1, 1, 1}), 1e-12, "total");

    // The other way round: millimetres first.
    f.onOpen();
    f.onContext(mm), f.onSection(), f.onLinear({1, 1, 1}, 10, 0), f.onSectionEnd();
    f.onContext(inches), f.onSection(), f.onLinear({2, 0, 0}, 10, 0), f.onSectionEnd();
    EXPECT_EQ(f.getUnit(), NCUnit::MILLIMETERS);
    expectNear(f.getTotal(), box({1, 0, 0}, {50.8, 1, 1}), 1e-12, "inches in millimetres");
}

TEST(NCBoundingBox, WCSMappingOfARotatedSystem)
{
    // Work frame at (100, 0, 0); the WCS at (100, 0, 0) turned 90 degrees about z: a work point
    // (x, y, z) lies at (y, -x, z) in the WCS.
    NCContext context;
    context.setOrigin({100, 0, 0});
    context.setWCSOrigin({100, 0, 0});
    context.setWCSPlane(Matrix3x3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}));
    auto const run = [&](bool inWCS, NCContext const& c) {
        RecordingNCStream sink;
        NCBoundingBox f(&sink);
        f.setInWCS(inWCS);
        f.onOpen(), f.onContext(c), f.onSection();
        // A quarter from +x to +y about the work origin, then a line.
        f.onRapid({2, 0, 1}, 0), f.onCCWArc({0, 0, 1}, {0, 2, 1}, Z, 100, 0), f.onLinear({0, 2, 7}, 100, 0);
        f.onSectionEnd(), f.onClose();
        EXPECT_EQ(f.isInWCS(), inWCS);
        return f.getTotal();
    };
    expectNear(run(false, context), box({0, 0, 1}, {2, 2, 7}), 1e-12, "work frame");
    expectNear(run(true, context), box({0, -2, 1}, {2, 0, 7}), 1e-12, "WCS");

    // A WCS turned 45 degrees about z: the circle's box is axis-aligned in the WCS, radius 2 each
    // way, not the box of the mapped corners of its work box (2 sqrt 2).
    NCContext tilted;
    double const h = std::sqrt(0.5);
    tilted.setWCSPlane(Matrix3x3({h, h, 0}, {-h, h, 0}, {0, 0, 1}));
    Box const b = [&] {
        RecordingNCStream sink;
        NCBoundingBox f(&sink);
        f.setInWCS(true);
        f.onOpen(), f.onContext(tilted), f.onSection();
        f.onRapid({2, 0, 0}, 0), f.onCCWCircle({0, 0, 0}, {2, 0, 0}, Z, 100, 0), f.onSectionEnd();
        return f.getTotal();
    }();
    expectNear(b, box({-2, -2, 0}, {2, 2, 0}), 1e-12, "turned WCS circle");
}

TEST(NCBoundingBox, ForwardsEveryEventUnchanged)
{
    RecordingNCStream direct, recorder;
    NCBoundingBox filter(&recorder);
    ASSERT_TRUE(TestSupport::sendEveryEvent(direct));
    ASSERT_TRUE(TestSupport::sendEveryEvent(filter));
    EXPECT_EQ(recorder.events, direct.events);
    EXPECT_FALSE(filter.getTotal().isEmpty());

    RecordingNCStream everyDirect, everyForwarded;
    TestSupport::callEveryOperation(everyDirect, [](NCEvent, bool) { });
    NCBoundingBox every(&everyForwarded);
    TestSupport::callEveryOperation(every, [](NCEvent event, bool answer) { EXPECT_TRUE(answer) << int(event); });
    EXPECT_EQ(everyForwarded.events, everyDirect.events);
}

TEST(NCBoundingBox, RefusalOfAnyEventTravelsBack)
{
    auto const names = TestSupport::everyEventName();
    for (std::size_t i = 0; i < names.size(); ++i) {
        int const occurrence = static_cast<int>(std::count(names.begin(), names.begin() + i + 1, names[i]));
        RecordingNCStream recorder;
        recorder.stopAt(names[i], occurrence);
        NCBoundingBox filter(&recorder);
        EXPECT_FALSE(TestSupport::sendEveryEvent(filter)) << i;
        EXPECT_EQ(recorder.events.size(), i + 1) << "the sender goes on after a refused event " << i;
    }
}
