// Extent measuring of NCBoundingBox: boxes of lines, arcs, helices, spirals and curves.
#include "nc/nc/NCBoundingBox.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quarn {

namespace {

constexpr double Pi = std::numbers::pi;
constexpr double TwoPi = 2.0 * std::numbers::pi;
// Radii closer than this (relative to the larger) are measured as a circle or helix of the larger
// radius, widened by their difference: the ends of arcs read from files rarely lie at exactly the
// same distance from the centre, and the exact spiral measure costs a hundred times more.
constexpr double NearlyConstantRadius = 1e-3;
// Heights along the normal below this fraction of the radius count as none: the arc is planar.
constexpr double PlanarTolerance = 1e-12;
// The longest piece of a spiral sweep, and the most pieces one spiral is cut into.
constexpr double SpiralPiece = Pi / 32.0;
constexpr double MaximumSpiralPieces = 65536.0;

// Where an arc turns: the direction of its end in the start's (u, v) frame as (c, s), scaled by
// any positive factor and mirrored (s negated) for clockwise arcs, so that the arc always runs
// counter-clockwise from (1, 0) in the mirrored frame; whole when it covers a full turn or more.
struct Turn {
    bool clockwise = false;
    bool whole = false;
    double c = 1.0, s = 0.0;
};

// True when the direction (x, y) of the (u, v) frame lies on the arc of turn; no trigonometry.
bool onArc(double x, double y, Turn const& turn) noexcept
{
    if (turn.whole)
        return true;
    if (turn.clockwise)
        y = -y;
    if (turn.s >= 0.0)
        return y >= 0.0 && x * turn.s - y * turn.c >= 0.0; // a sweep up to a half turn
    // Outside only on the open remainder from the end to a full turn, itself under a half turn.
    return !(turn.c * y - turn.s * x > 0.0 && y < 0.0);
}

// The extremes of f(t) = C + A cos t + B sin t over the arc: C + R and C - R where the
// directions (A, B) and -(A, B) lie on it.
void addPlanarExtremes(NCBoundingBox::Box& box, int axis, double C, double A, double B, Turn const& turn) noexcept
{
    double const R = std::sqrt(A * A + B * B);
    if (!(R > 0.0))
        return;
    if (onArc(A, B, turn))
        box.add(axis, C + R);
    if (onArc(-A, -B, turn))
        box.add(axis, C - R);
}

// The extremes of f(t) = C + A cos t + B sin t + k t (k != 0) over t between 0 and sweep, exactly.
void addHelixExtremes(NCBoundingBox::Box& box, int axis, double C, double A, double B, double k, double sweep) noexcept
{
    double const R = std::sqrt(A * A + B * B);
    if (!(R > 0.0) || std::abs(k) > R)
        return; // monotonic: the ends are the extremes
    // f'(t) = -R sin(t - phi) + k vanishes at phi + asin(k / R) and phi + pi - asin(k / R), each
    // repeating every turn; f(t + 2 pi) = f(t) + 2 pi k, so the first and the last of a family
    // within the sweep bound the others.
    double const lo = std::min(0.0, sweep), hi = std::max(0.0, sweep);
    double const phi = std::atan2(B, A), s = std::asin(k / R);
    for (double const base : {phi + s, phi + Pi - s}) {
        double const first = std::ceil((lo - base) / TwoPi), last = std::floor((hi - base) / TwoPi);
        if (first > last)
            continue;
        for (double const m : {first, last}) {
            double const t = base + TwoPi * m;
            box.add(axis, C + A * std::cos(t) + B * std::sin(t) + k * t);
        }
    }
}

// A conservative bound of f(t) = C + (r0 + rho t)(a cos t + b sin t) + k t over t between 0 and
// sweep: pieces of at most SpiralPiece, stationary points by bisection, and a margin of
// M2 d^2 / 8 where f' may touch zero unseen.
void addSpiralExtremes(NCBoundingBox::Box& box, int axis, double C, double a, double b, double k, double r0,
    double r1, double sweep) noexcept
{
    double const rho = (r1 - r0) / sweep;
    auto const f = [&](double t) { return C + (r0 + rho * t) * (a * std::cos(t) + b * std::sin(t)) + k * t; };
    auto const df = [&](double t) {
        double const c = std::cos(t), s = std::sin(t);
        return rho * (a * c + b * s) + (r0 + rho * t) * (b * c - a * s) + k;
    };
    double const lo = std::min(0.0, sweep), hi = std::max(0.0, sweep);
    double const pieces = std::clamp(std::ceil((hi - lo) / SpiralPiece), 1.0, MaximumSpiralPieces);
    double const d = (hi - lo) / pieces;
    double const m2 = std::sqrt(a * a + b * b) * (2.0 * std::abs(rho) + std::max(r0, r1));
    int const count = static_cast<int>(pieces);
    double ta = lo, fa = f(lo), ga = df(lo);
    box.add(axis, fa);
    for (int j = 1; j <= count; ++j) {
        double const tb = j == count ? hi : lo + d * j;
        double const fb = f(tb), gb = df(tb);
        box.add(axis, fb);
        if ((ga < 0.0 && gb > 0.0) || (ga > 0.0 && gb < 0.0)) {
            double x0 = ta, x1 = tb, g0 = ga;
            for (int i = 0; i < 200; ++i) {
                double const mid = 0.5 * (x0 + x1);
                if (mid <= x0 || mid >= x1)
                    break;
                double const gm = df(mid);
                if ((gm < 0.0) == (g0 < 0.0)) {
                    x0 = mid;
                    g0 = gm;
                } else {
                    x1 = mid;
                }
            }
            box.add(axis, f(x0));
            box.add(axis, f(x1));
        } else if (std::max(std::abs(ga), std::abs(gb)) <= m2 * d) {
            double const margin = m2 * d * d / 8.0;
            box.add(axis, std::max(fa, fb) + margin);
            box.add(axis, std::min(fa, fb) - margin);
        }
        ta = tb;
        fa = fb;
        ga = gb;
    }
}

// The box of a planar circular arc about an axis parallel to z (nz = 1 or -1), in the stream's
// frame: the common arc of milling programs, measured as measureArc measures it (below) with
// u = s / r0 and v = n x u scaled by r0, which onArc allows, and without the general mapping.
// False, having added nothing, when the arc is not of that kind.
bool addArcAboutZ(NCBoundingBox::Box& box, Vector3D const& start, Vector3D const& center, Vector3D const& end,
    double nz, int sense, bool circle) noexcept
{
    if (!start.isFinite() || !center.isFinite() || !end.isFinite())
        return false;
    double const sx = start.x - center.x, sy = start.y - center.y;
    double const ex = end.x - center.x, ey = end.y - center.y;
    double const r0 = std::sqrt(sx * sx + sy * sy), r1 = std::sqrt(ex * ex + ey * ey);
    double const radius = std::max(r0, r1), spread = std::abs(r1 - r0);
    if (!(r0 > 0.0) || spread > NearlyConstantRadius * radius || std::abs(end.z - start.z) > PlanarTolerance * r0)
        return false;
    Turn turn;
    turn.clockwise = sense < 0;
    if (circle)
        turn.whole = true;
    else {
        double const across = nz * (sx * ey - sy * ex);
        turn.c = sx * ex + sy * ey;
        turn.s = turn.clockwise ? -across : across;
        turn.whole = turn.c > 0.0 && turn.s >= 0.0 && turn.s <= 1e-12 * turn.c;
    }
    NCBoundingBox::Box own;
    own.add(start);
    own.add(end);
    // Each axis as f(t) = C + A cos t + B sin t with (A, B) = r (row . u, row . v), hypot(a, b) = 1.
    if (onArc(sx, -nz * sy, turn))
        own.add(0, center.x + radius);
    if (onArc(-sx, nz * sy, turn))
        own.add(0, center.x - radius);
    if (onArc(sy, nz * sx, turn))
        own.add(1, center.y + radius);
    if (onArc(-sy, -nz * sx, turn))
        own.add(1, center.y - radius);
    for (int axis = 0; axis < 2; ++axis) {
        own.lower[axis] -= spread;
        own.upper[axis] += spread;
    }
    box.add(own);
    return true;
}

// The box of the arc mapped by q = linear p + offset, added to box, which holds nothing else (a
// nearly constant radius widens it). n is a unit vector; sense > 0 turns counter-clockwise from
// start to end, < 0 clockwise (a start equal to the end is a full turn either way), 0 by sweep; a
// circle is one full turn the way of sense.
void measureArc(NCBoundingBox::Box& box, Matrix3x3 const& linear, Vector3D const& offset, Vector3D const& start,
    Vector3D const& center, Vector3D const& end, Vector3D const& n, int sense, double sweep, bool circle) noexcept
{
    box.add(linear * start + offset);
    box.add(linear * end + offset);
    if (!center.isFinite() || !start.isFinite() || !end.isFinite())
        return;
    if (sense == 0 && (!std::isfinite(sweep) || sweep == 0.0))
        return;
    Vector3D const level = center + n * (start - center).dot(n);
    Vector3D const from = start - level;
    double const r0 = from.getModulus();
    if (!(r0 > 0.0))
        return; // a start on the axis: the path is the line to the end
    Vector3D const u = from / r0, v = n.cross(u);
    Vector3D to = end - level;
    to -= n * to.dot(n);
    double const r1 = to.getModulus(), height = (end - start).dot(n);
    Turn turn;
    bool known = false; // whether sweep holds the signed sweep
    if (circle) {
        turn.clockwise = sense < 0;
        turn.whole = true;
        sweep = turn.clockwise ? -TwoPi : TwoPi;
        known = true;
    } else if (sense != 0) {
        turn.clockwise = sense < 0;
        turn.c = to.dot(u);
        turn.s = turn.clockwise ? -to.dot(v) : to.dot(v);
        // As the angle from start to end in (0, 2 pi]: an end within 1e-12 of the start is a turn.
        turn.whole = turn.c > 0.0 && turn.s >= 0.0 && turn.s <= 1e-12 * turn.c;
    } else {
        turn.clockwise = sweep < 0.0;
        turn.whole = std::abs(sweep) >= TwoPi;
        turn.c = std::cos(sweep);
        turn.s = turn.clockwise ? -std::sin(sweep) : std::sin(sweep);
        known = true;
    }
    double const radius = std::max(r0, r1), spread = std::abs(r1 - r0);
    bool const constant = spread <= NearlyConstantRadius * radius;
    bool const planar = std::abs(height) <= PlanarTolerance * r0;
    if (!known && !(constant && planar)) {
        double angle = std::atan2(turn.s, turn.c);
        if (angle <= 1e-12)
            angle += TwoPi;
        sweep = turn.clockwise ? -angle : angle;
    }
    for (int axis = 0; axis < 3; ++axis) {
        Vector3D const row(linear(axis, 0), linear(axis, 1), linear(axis, 2));
        double const C = row.dot(level) + offset[axis], a = row.dot(u), b = row.dot(v);
        if (constant && planar) {
            addPlanarExtremes(box, axis, C, radius * a, radius * b, turn);
        } else {
            double const k = row.dot(n) * height / sweep;
            if (constant && k == 0.0)
                addPlanarExtremes(box, axis, C, radius * a, radius * b, turn);
            else if (constant)
                addHelixExtremes(box, axis, C, radius * a, radius * b, k, sweep);
            else
                addSpiralExtremes(box, axis, C, a, b, k, r0, r1, sweep);
            // The end of the path by the sweep, which a given sweep may place off the given end.
            if (constant && sense == 0)
                box.add(axis, C + radius * (a * std::cos(sweep) + b * std::sin(sweep)) + k * sweep);
        }
        // A circle of the larger radius leaves the path by at most the spread along the axis.
        if (constant && spread > 0.0) {
            double const margin = spread * std::sqrt(a * a + b * b);
            box.lower[axis] -= margin;
            box.upper[axis] += margin;
        }
    }
    if (constant && planar && sense == 0) {
        Vector3D const last = level + (u * std::cos(sweep) + v * std::sin(sweep)) * radius;
        box.add(linear * last + offset);
    }
}

// The box of the arc, as measureArc measures it, added to box.
void addArcBox(NCBoundingBox::Box& box, Matrix3x3 const& linear, Vector3D const& offset, Vector3D const& start,
    Vector3D const& center, Vector3D const& end, Vector3D const& n, int sense, double sweep, bool circle) noexcept
{
    NCBoundingBox::Box own;
    measureArc(own, linear, offset, start, center, end, n, sense, sweep, circle);
    box.add(own);
}

} // namespace

NCBoundingBox::~NCBoundingBox() = default;

void NCBoundingBox::reset() noexcept
{
    haveUnit = false;
    unit = NCUnit::MILLIMETERS;
    mapped = false;
    linear = Matrix3x3();
    offset = Vector3D();
    position = Vector3D::getNaN();
    inSection = false;
    haveTool = false;
    tool = 0;
    current = Box();
    total = Box();
    sections.clear();
    tools.clear();
}

NCBoundingBox::Box NCBoundingBox::getArcBox(
    Vector3D const& start, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep)
{
    Box box;
    Vector3D const n = normal.getNormalized();
    if (n.isProper())
        addArcBox(box, Matrix3x3(), Vector3D(), start, center, end, n, 0, sweep, false);
    else {
        box.add(start);
        box.add(end);
    }
    return box;
}

void NCBoundingBox::flush()
{
    if (current.isEmpty())
        return;
    total.add(current);
    if (inSection && !sections.empty())
        sections.back().add(current);
    if (haveTool)
        tools[tool].add(current);
    current = Box();
}

void NCBoundingBox::addPoint(Vector3D const& end) noexcept
{
    current.add(map(end));
    position = end;
}

void NCBoundingBox::addArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, int sense, double sweep, bool circle)
{
    Vector3D start = position;
    if (start.isNaN()) {
        if (!circle) {
            addPoint(end);
            return;
        }
        start = end;
    }
    bool const aboutZ = normal.x == 0.0 && normal.y == 0.0 && normal.z != 0.0 && std::isfinite(normal.z);
    if (aboutZ && !mapped && sense != 0
        && addArcAboutZ(current, start, center, end, normal.z > 0.0 ? 1.0 : -1.0, sense, circle)) {
        position = end;
        return;
    }
    Vector3D const n = normal.getNormalized();
    if (!n.isProper()) {
        addPoint(end);
        return;
    }
    if (mapped)
        addArcBox(current, linear, offset, start, center, end, n, sense, sweep, circle);
    else
        addArcBox(current, Matrix3x3(), Vector3D(), start, center, end, n, sense, sweep, circle);
    position = end;
}

bool NCBoundingBox::onOpen()
{
    reset();
    return next->onOpen();
}

bool NCBoundingBox::onContext(NCContext const& context)
{
    flush();
    if (!haveUnit) {
        unit = context.getUnit();
        haveUnit = true;
    }
    double const scale = NCUnit::getUnitConversionFactor(context.getUnit(), unit);
    if (inWCS) {
        // wcsPlane^T (origin + plane p - wcsOrigin), scaled into the unit of the boxes.
        Matrix3x3 const back = context.getWCSPlane().getTranspose();
        linear = back * context.getPlane();
        for (int column = 0; column < 3; ++column)
            linear.setColumn(column, linear.getColumn(column) * scale);
        offset = back * (context.getOrigin() - context.getWCSOrigin()) * scale;
        mapped = true;
    } else {
        linear = Matrix3x3();
        for (int column = 0; column < 3; ++column)
            linear.setColumn(column, linear.getColumn(column) * scale);
        offset = Vector3D();
        mapped = scale != 1.0;
    }
    position = Vector3D::getNaN();
    return next->onContext(context);
}

bool NCBoundingBox::onTool(NCTool const& newTool)
{
    flush();
    haveTool = true;
    tool = newTool.getNumber();
    tools.try_emplace(tool);
    return next->onTool(newTool);
}

bool NCBoundingBox::onSection()
{
    flush();
    sections.emplace_back();
    inSection = true;
    position = Vector3D::getNaN();
    return next->onSection();
}

bool NCBoundingBox::onSectionEnd()
{
    flush();
    inSection = false;
    return next->onSectionEnd();
}

bool NCBoundingBox::onClose()
{
    flush();
    return next->onClose();
}

bool NCBoundingBox::onRapid(Vector3D const& end, unsigned int flags)
{
    addPoint(end);
    return next->onRapid(end, flags);
}

bool NCBoundingBox::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    addPoint(end);
    return next->onRapid5D(end, z, x, n, flags);
}

bool NCBoundingBox::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    addPoint(end);
    return next->onRapid5D(end, direction, flags);
}

bool NCBoundingBox::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    addPoint(end);
    return next->onLinear(end, feedrate, flags);
}

bool NCBoundingBox::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    addPoint(end);
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool NCBoundingBox::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    addPoint(end);
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool NCBoundingBox::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    addPoint(end);
    return next->onLinearExtrude(end, feedrate, extrusion);
}

bool NCBoundingBox::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    addArc(center, end, normal, -1, 0.0, false);
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool NCBoundingBox::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    addArc(center, end, normal, 1, 0.0, false);
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool NCBoundingBox::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    addArc(center, end, normal, 0, sweep, false);
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool NCBoundingBox::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    addArc(center, end, normal, -1, 0.0, false);
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool NCBoundingBox::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    addArc(center, end, normal, 1, 0.0, false);
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool NCBoundingBox::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    addArc(center, end, normal, 0, sweep, false);
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

bool NCBoundingBox::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    addArc(center, end, normal, -1, 0.0, true);
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool NCBoundingBox::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    addArc(center, end, normal, 1, 0.0, true);
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

// A spline or Bezier curve lies in the convex hull of its start, control points and end.
bool NCBoundingBox::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    current.add(map(control1));
    current.add(map(control2));
    addPoint(end);
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool NCBoundingBox::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    current.add(map(control1));
    current.add(map(control2));
    addPoint(end);
    return next->onBezier(control1, control2, end, feedrate, flags);
}

bool NCBoundingBox::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    if (controlPoints != nullptr && count > 0) {
        for (unsigned int i = 0; i < count; ++i)
            current.add(map(controlPoints[i]));
        position = controlPoints[count - 1];
    }
    return next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

} // namespace Quarn
