// Measuring of NCAnalyze: lengths, times and ranges of the moves that pass.
#include "nc/nc/NCAnalyze.h"

#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/Debug.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Quarn {

namespace {

constexpr double TwoPi = 2.0 * std::numbers::pi;
// Steps of the polyline that measures a Bezier curve.
constexpr int BezierSteps = 32;
// Radii closer than this (relative) are measured at their mean, as spiralLength says.
constexpr double NearlyConstantRadius = 1e-3;
// The sweep argument of arc that says: take the sweep from the ends.
constexpr double NoSweep = std::numeric_limits<double>::quiet_NaN();

void extend(std::optional<Range<double>>& range, double value) noexcept
{
    if (!range)
        range.emplace(value, value);
    else
        range->extend(value);
}

void widen(std::optional<Range<double>>& range, std::optional<Range<double>> const& by) noexcept
{
    if (!by)
        return;
    if (!range) {
        range = by;
        return;
    }
    range->extend(by->getMin());
    range->extend(by->getMax());
}

// The length of the spiral-helix whose radius goes evenly from r0 to r1 and whose height goes evenly to h
// while it turns by theta: the integral over t in [0, 1] of sqrt((r(t) theta)^2 + (r1 - r0)^2 + h^2).
double spiralLength(double r0, double r1, double theta, double h) noexcept
{
    double const d = r1 - r0;
    if (std::fabs(d) <= 1e-12 * std::max({1.0, r0, r1})) {
        double const r = 0.5 * (r0 + r1);
        return h == 0.0 ? r * theta : std::hypot(r * theta, h);
    }
    // Radii within 0.1% (the rounding of arcs in files): the integrand at the mean radius, which the
    // integral exceeds by less than (d / r)^2 / 24 of itself (Jensen), 4.2e-8 at most.
    if (std::fabs(d) <= NearlyConstantRadius * std::max(r0, r1)) {
        double const length = 0.5 * (r0 + r1) * theta;
        return std::sqrt(length * length + d * d + h * h);
    }
    double const k = d * d + h * h;
    if (theta == 0.0)
        return std::sqrt(k);
    double const rootK = std::sqrt(k);
    // Antiderivative of sqrt(theta^2 u^2 + k) in u; the integral in t is the one in u divided by d.
    auto const antiderivative = [&](double u) {
        return 0.5 * (u * std::sqrt(theta * theta * u * u + k) + k / theta * std::asinh(theta * u / rootK));
    };
    return (antiderivative(r1) - antiderivative(r0)) / d;
}

} // namespace

// --- Figures.

void NCAnalyze::Figures::add(Figures const& other)
{
    rapids += other.rapids;
    linears += other.linears;
    arcs += other.arcs;
    circles += other.circles;
    helicals += other.helicals;
    rapids5D += other.rapids5D;
    linears5D += other.linears5D;
    splines += other.splines;
    beziers += other.beziers;
    nurbs += other.nurbs;
    extrusions += other.extrusions;
    dwells += other.dwells;
    toolChanges += other.toolChanges;
    untimed += other.untimed;
    rapidLength += other.rapidLength;
    cuttingLength += other.cuttingLength;
    rapidSeconds += other.rapidSeconds;
    feedSeconds += other.feedSeconds;
    dwellSeconds += other.dwellSeconds;
    toolChangeSeconds += other.toolChangeSeconds;
    widen(feedRange, other.feedRange);
    widen(spindleRange, other.spindleRange);
    if (axisRanges.size() < other.axisRanges.size())
        axisRanges.resize(other.axisRanges.size());
    for (std::size_t i = 0; i < other.axisRanges.size(); ++i)
        widen(axisRanges[i], other.axisRanges[i]);
}

void NCAnalyze::Figures::clear() noexcept
{
    std::vector<std::optional<Range<double>>> axes = std::move(axisRanges);
    std::fill(axes.begin(), axes.end(), std::nullopt);
    *this = Figures();
    axisRanges = std::move(axes);
}

// --- Settings and results.

NCAnalyze::~NCAnalyze() = default;

void NCAnalyze::setRapidRate(Vector3D const& millimetresPerMinute) noexcept
{
    for (int i = 0; i < 3; ++i) {
        double const rate = millimetresPerMinute[i];
        QUARN_ASSERT(rate > 0.0);
        if (rate > 0.0) {
            rapidRate[i] = rate;
            minutesPerMillimetre[i] = 1.0 / rate;
        }
    }
}

void NCAnalyze::setToolChangeTime(double seconds) noexcept
{
    QUARN_ASSERT(seconds >= 0.0);
    toolChangeTime = seconds >= 0.0 ? seconds : 0.0;
}

NCAnalyze::Figures const* NCAnalyze::findTool(unsigned int number) const noexcept
{
    auto const found = std::find_if(
        tools.begin(), tools.end(), [number](ToolFigures const& entry) { return entry.toolNumber == number; });
    return found == tools.end() ? nullptr : &found->figures;
}

// The figures since the last flush go to the tool and the total, and to the open section; between sections
// they wait in `pending` for the next one.
void NCAnalyze::flush()
{
    closeRun();
    if (toolNumber)
        tools[toolIndex].figures.add(current);
    total.add(current);
    if (inSection)
        sections.back().figures.add(current);
    else
        pending.add(current);
    current.clear();
}

// --- Program state.

bool NCAnalyze::onOpen()
{
    sectionUnit = NCUnit::MILLIMETERS;
    feedMode = NCContext::FEED_PER_MINUTE;
    toFigures = NCUnit::getUnitConversionFactor(NCUnit::MILLIMETERS, unit);
    toMillimetres = 1.0;
    rpm = 0.0;
    hasPosition = false;
    toolNumber.reset();
    toolIndex = 0;
    inSection = false;
    axisSlots.clear();
    run = Run();
    current = Figures();
    pending = Figures();
    sections.clear();
    tools.clear();
    total = Figures();
    axisNames.clear();
    return next->onOpen();
}

bool NCAnalyze::onClose()
{
    flush();
    // What came after the last section counts in the total only.
    pending.clear();
    return next->onClose();
}

bool NCAnalyze::onContext(NCContext const& context)
{
    closeRun();
    NCUnit::Unit const contextUnit = NCUnit::isUnit(context.getUnit()) ? context.getUnit() : NCUnit::MILLIMETERS;
    if (hasPosition && contextUnit != sectionUnit)
        position *= NCUnit::getUnitConversionFactor(sectionUnit, contextUnit);
    sectionUnit = contextUnit;
    toFigures = NCUnit::getUnitConversionFactor(sectionUnit, unit);
    toMillimetres = NCUnit::getUnitConversionFactor(sectionUnit, NCUnit::MILLIMETERS);
    feedMode = context.getFeedMode();
    return next->onContext(context);
}

bool NCAnalyze::onTool(NCTool const& tool)
{
    flush();
    unsigned int const number = tool.getNumber();
    if (!toolNumber || *toolNumber != number) {
        ++current.toolChanges;
        current.toolChangeSeconds += toolChangeTime;
    }
    auto const found = std::find_if(
        tools.begin(), tools.end(), [number](ToolFigures const& entry) { return entry.toolNumber == number; });
    toolIndex = static_cast<std::size_t>(found - tools.begin());
    if (found == tools.end())
        tools.push_back({number, Figures()});
    toolNumber = number;
    double const speed = std::fabs(tool.getSpindleRPM());
    rpm = std::isfinite(speed) ? speed : 0.0;
    return next->onTool(tool);
}

bool NCAnalyze::onSpindleSpeed(double speed)
{
    closeRun();
    double const magnitude = std::fabs(speed);
    rpm = std::isfinite(magnitude) ? magnitude : 0.0;
    return next->onSpindleSpeed(speed);
}

bool NCAnalyze::onSection()
{
    flush();
    inSection = true;
    sections.push_back({toolNumber, pending});
    pending.clear();
    return next->onSection();
}

bool NCAnalyze::onSectionEnd()
{
    flush();
    inSection = false;
    return next->onSectionEnd();
}

bool NCAnalyze::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    axisSlots.resize(static_cast<std::size_t>(std::max(ordering.size(), 0)));
    for (int i = 0; i < ordering.size(); ++i) {
        AxisName const axis = ordering.axisName(i);
        std::string const& name = axis.getName();
        auto const found = std::find(axisNames.begin(), axisNames.end(), name);
        axisSlots[static_cast<std::size_t>(i)] = static_cast<std::size_t>(found - axisNames.begin());
        if (found == axisNames.end())
            axisNames.push_back(name);
    }
    if (current.axisRanges.size() < axisNames.size())
        current.axisRanges.resize(axisNames.size());
    return next->onMachineAxisOrdering(ordering);
}

bool NCAnalyze::onMachineAxisValues(AxisValues const& values)
{
    std::size_t const count = std::min(static_cast<std::size_t>(std::max(values.size(), 0)), axisSlots.size());
    for (std::size_t i = 0; i < count; ++i) {
        double const value = values.value(static_cast<int>(i)).value();
        if (std::isfinite(value))
            extend(current.axisRanges[axisSlots[i]], value);
    }
    return next->onMachineAxisValues(values);
}

// --- Measuring.

double NCAnalyze::moveTo(Vector3D const& end) noexcept
{
    double length = 0.0;
    if (hasPosition && end.isFinite())
        length = (end - position).getModulus();
    position = end;
    hasPosition = end.isFinite();
    return length;
}

void NCAnalyze::rapid(Vector3D const& end) noexcept
{
    if (hasPosition && end.isFinite()) {
        Vector3D const delta = (end - position) * toMillimetres;
        double minutes = 0.0;
        for (int i = 0; i < 3; ++i)
            minutes = std::max(minutes, std::fabs(delta[i]) * minutesPerMillimetre[i]);
        current.rapidSeconds += 60.0 * minutes;
    }
    current.rapidLength += moveTo(end) * toFigures;
}

void NCAnalyze::startRun(double feedrate) noexcept
{
    closeRun();
    run.feedrate = feedrate;
}

void NCAnalyze::closeRun() noexcept
{
    if (run.moves == 0) {
        run = Run();
        return;
    }
    current.cuttingLength += run.length * toFigures;
    double const feedrate = run.feedrate;
    bool const usable = std::isfinite(feedrate) && feedrate > 0.0;
    double minutes = -1.0;
    switch (feedMode) {
    case NCContext::FEED_INVERSE_TIME:
        if (usable) {
            minutes = static_cast<double>(run.moves) / feedrate;
            if (run.longest > 0.0) {
                extend(current.feedRange, run.shortest * feedrate * toFigures);
                extend(current.feedRange, run.longest * feedrate * toFigures);
            }
        }
        break;
    case NCContext::FEED_PER_REVOLUTION:
        if (usable && rpm > 0.0) {
            minutes = run.length / (feedrate * rpm);
            extend(current.feedRange, feedrate * rpm * toFigures);
        }
        break;
    default:
        if (usable) {
            minutes = run.length / feedrate;
            extend(current.feedRange, feedrate * toFigures);
        }
        break;
    }
    if (minutes >= 0.0)
        current.feedSeconds += 60.0 * minutes;
    else
        current.untimed += run.moves;
    extend(current.spindleRange, rpm);
    run = Run();
}

double NCAnalyze::arc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    bool counterClockwise) noexcept
{
    if (!hasPosition || !end.isFinite() || !center.isFinite()) {
        moveTo(end);
        return 0.0;
    }
    Vector3D const start = position;
    double h, r0, r1, across, along; // height, radii, and the cross and dot products of the ends
    if (normal.x == 0.0 && normal.y == 0.0 && normal.z != 0.0 && std::isfinite(normal.z)) {
        // About an axis parallel to z, the common case: the same figures without the projections.
        double const nz = normal.z > 0.0 ? 1.0 : -1.0;
        double const sx = start.x - center.x, sy = start.y - center.y;
        double const ex = end.x - center.x, ey = end.y - center.y;
        h = (end.z - start.z) * nz;
        r0 = std::sqrt(sx * sx + sy * sy);
        r1 = std::sqrt(ex * ex + ey * ey);
        across = nz * (sx * ey - sy * ex);
        along = sx * ex + sy * ey;
    } else {
        Vector3D const n = normal.getNormalized();
        if (!n.isProper())
            return moveTo(end); // no plane: the chord
        h = (end - start).dot(n);
        Vector3D const s = start - center;
        Vector3D const e = end - center;
        Vector3D const sp = s - n * s.dot(n);
        Vector3D const ep = e - n * e.dot(n);
        r0 = sp.getModulus();
        r1 = ep.getModulus();
        across = n.dot(sp.cross(ep));
        along = sp.dot(ep);
    }
    double theta = std::fabs(sweep);
    if (std::isnan(sweep)) {
        double const angle = std::atan2(across, along);
        if (counterClockwise)
            theta = angle > 0.0 ? angle : angle + TwoPi;
        else
            theta = angle < 0.0 ? -angle : TwoPi - angle;
    }
    position = end;
    double const length = spiralLength(r0, r1, theta, h);
    return std::isfinite(length) ? length : 0.0;
}

double NCAnalyze::bezier(Vector3D const& control1, Vector3D const& control2, Vector3D const& end) noexcept
{
    if (!hasPosition || !end.isFinite() || !control1.isFinite() || !control2.isFinite())
        return moveTo(end);
    Vector3D const p0 = position;
    double length = 0.0;
    Vector3D previous = p0;
    for (int i = 1; i <= BezierSteps; ++i) {
        double const t = static_cast<double>(i) / BezierSteps;
        double const u = 1.0 - t;
        Vector3D const point = p0 * (u * u * u) + control1 * (3.0 * u * u * t) + control2 * (3.0 * u * t * t)
            + end * (t * t * t);
        length += (point - previous).getModulus();
        previous = point;
    }
    moveTo(end);
    return length;
}

bool NCAnalyze::onDwell(double time, unsigned int flags)
{
    ++current.dwells;
    double seconds = -1.0;
    if (std::isfinite(time) && time >= 0.0) {
        if ((flags & FLAG_DWELL_REVOLUTIONS) == 0)
            seconds = time;
        else if (rpm > 0.0)
            seconds = time / rpm * 60.0;
    }
    if (seconds >= 0.0)
        current.dwellSeconds += seconds;
    else
        ++current.untimed;
    return next->onDwell(time, flags);
}

bool NCAnalyze::onRapid(Vector3D const& end, unsigned int flags)
{
    ++current.rapids;
    rapid(end);
    return next->onRapid(end, flags);
}

bool NCAnalyze::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    ++current.rapids5D;
    rapid(end);
    return next->onRapid5D(end, z, x, n, flags);
}

bool NCAnalyze::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    ++current.rapids5D;
    rapid(end);
    return next->onRapid5D(end, direction, flags);
}

bool NCAnalyze::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    ++current.linears;
    feed(moveTo(end), feedrate);
    return next->onLinear(end, feedrate, flags);
}

bool NCAnalyze::onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n,
    double feedrate, unsigned int flags)
{
    ++current.linears5D;
    feed(moveTo(end), feedrate);
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool NCAnalyze::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    ++current.linears5D;
    feed(moveTo(end), feedrate);
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool NCAnalyze::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    ++current.extrusions;
    feed(moveTo(end), feedrate);
    return next->onLinearExtrude(end, feedrate, extrusion);
}

bool NCAnalyze::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    ++current.arcs;
    feed(arc(center, end, normal, NoSweep, false), feedrate);
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool NCAnalyze::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    ++current.arcs;
    feed(arc(center, end, normal, NoSweep, true), feedrate);
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool NCAnalyze::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    ++current.helicals;
    feed(arc(center, end, normal, std::isnan(sweep) ? 0.0 : sweep, sweep > 0.0), feedrate);
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool NCAnalyze::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
    double extrusion, unsigned int flags)
{
    ++current.extrusions;
    feed(arc(center, end, normal, NoSweep, false), feedrate);
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool NCAnalyze::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    ++current.extrusions;
    feed(arc(center, end, normal, NoSweep, true), feedrate);
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool NCAnalyze::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    ++current.extrusions;
    feed(arc(center, end, normal, std::isnan(sweep) ? 0.0 : sweep, sweep > 0.0), feedrate);
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

bool NCAnalyze::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    ++current.circles;
    feed(arc(center, end, normal, -TwoPi, false), feedrate);
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool NCAnalyze::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    ++current.circles;
    feed(arc(center, end, normal, TwoPi, true), feedrate);
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool NCAnalyze::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    ++current.splines;
    feed(bezier(control1, control2, end), feedrate);
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool NCAnalyze::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    ++current.beziers;
    feed(bezier(control1, control2, end), feedrate);
    return next->onBezier(control1, control2, end, feedrate, flags);
}

bool NCAnalyze::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    ++current.nurbs;
    double length = 0.0;
    if (controlPoints != nullptr && count > 0) {
        for (unsigned int i = 1; i < count; ++i)
            if (controlPoints[i].isFinite() && controlPoints[i - 1].isFinite())
                length += (controlPoints[i] - controlPoints[i - 1]).getModulus();
        position = controlPoints[count - 1];
        hasPosition = position.isFinite();
    }
    feed(length, feedrate);
    return next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

} // namespace Quarn
