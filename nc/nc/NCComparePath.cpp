// Pieces of tool-tip path from a program's events, and the channel that carries them.
#include "nc/nc/NCComparePath.h"

#include "nc/nc/NCTool.h"
#include "nc/nc/NCUnit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quarn::ComparePath {

namespace {

constexpr double Pi = std::numbers::pi;
constexpr double TwoPi = 2.0 * std::numbers::pi;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

// --- Piece.

Vector3D Piece::pointAt(double t) const noexcept
{
    if (!isArc())
        return t >= 1.0 ? end : start + (end - start) * t;
    if (t >= 1.0)
        return end;
    double const angle = t * sweep;
    return centre + (u * std::cos(angle) + v * std::sin(angle)) * (r0 + (r1 - r0) * t) + normal * (rise * t);
}

Vector3D Piece::axisAt(double t) const noexcept
{
    if (t >= 1.0 || axisStart == axisEnd)
        return axisEnd;
    return (axisStart + (axisEnd - axisStart) * t).getNormalized();
}

double Piece::project(Vector3D const& p, double from) const noexcept
{
    double t = 0.0;
    if (!isArc()) {
        Vector3D const d = end - start;
        double const square = d.getSquareModulus();
        t = square > 0.0 ? (p - start).dot(d) / square : 1.0;
    } else {
        Vector3D const w = p - centre;
        double const angle = std::atan2(w.dot(v), w.dot(u));
        // Outside the sweep, the nearer end by angle.
        t = angle / sweep;
        if (t < 0.0 || t > 1.0) {
            // angle is in (-pi, pi] and the sweep at most a half turn: one turn wraps the rest.
            double toEnd = std::abs(angle - sweep);
            if (toEnd > Pi)
                toEnd = TwoPi - toEnd;
            t = std::abs(angle) <= toEnd ? 0.0 : 1.0;
        }
    }
    return std::clamp(t, from, 1.0);
}

// --- Channel.

bool Channel::push(Chunk& chunk)
{
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return cancelled || queued.size() < Capacity; });
    if (cancelled)
        return false;
    queued.push_back(std::move(chunk));
    if (spare.empty()) {
        chunk = Chunk();
    } else {
        chunk = std::move(spare.back());
        spare.pop_back();
    }
    chunk.clear();
    changed.notify_all();
    return true;
}

void Channel::finish(std::exception_ptr exception) noexcept
{
    std::lock_guard lock(mutex);
    finished = true;
    error = std::move(exception);
    changed.notify_all();
}

bool Channel::pop(Chunk& chunk)
{
    std::unique_lock lock(mutex);
    if (chunk.capacity() > 0) {
        chunk.clear();
        spare.push_back(std::move(chunk));
        chunk = Chunk();
    }
    changed.wait(lock, [this] { return !queued.empty() || finished; });
    if (!queued.empty()) {
        chunk = std::move(queued.front());
        queued.pop_front();
        changed.notify_all();
        return true;
    }
    if (error)
        std::rethrow_exception(error);
    return false;
}

void Channel::cancel() noexcept
{
    std::lock_guard lock(mutex);
    cancelled = true;
    changed.notify_all();
}

bool Channel::isCancelled() const
{
    std::lock_guard lock(mutex);
    return cancelled;
}

// --- Tracer.

Tracer::Tracer(Channel& channel, EventIndexer const& indexer) : channel(channel), indexer(indexer)
{
    chunk.reserve(Channel::ChunkSize);
}

bool Tracer::flush() { return chunk.empty() || channel.push(chunk); }

bool Tracer::commit()
{
    if (chunk.size() < Channel::ChunkSize)
        return true;
    return channel.push(chunk);
}

FeedKind Tracer::feedKindOf() const noexcept
{
    switch (feedMode) {
    case NCContext::FEED_PER_REVOLUTION:
        return FeedKind::PerRevolution;
    case NCContext::FEED_INVERSE_TIME:
        return FeedKind::InverseTime;
    default:
        return FeedKind::PerMinute;
    }
}

Piece& Tracer::begin(Vector3D const& end, FeedKind kind, double feed)
{
    Piece& piece = chunk.emplace_back();
    piece.start = *position;
    piece.end = end;
    piece.axisStart = axis;
    piece.feedKind = kind;
    piece.feed = kind == FeedKind::Rapid ? NaN : (kind == FeedKind::InverseTime ? feed : feed * scale);
    piece.spindle = spindle;
    piece.tool = tool;
    piece.hasTool = hasTool;
    piece.location = location;
    piece.location.event = indexer.getIndex();
    return piece;
}

bool Tracer::line(Vector3D const& programEnd, Vector3D const& newAxis, FeedKind kind, double feed)
{
    ++moves;
    Vector3D const end = programEnd * scale;
    if (!end.isFinite()) {
        // The position is lost: the next move starts the path afresh.
        position.reset();
        axis = newAxis;
        return true;
    }
    if (!position) {
        // The first move of a path has no start: its end anchors the path (a piece of no length).
        position = end;
    } else if (end == *position && (newAxis == axis || (newAxis.isNaN() && axis.isNaN()))) {
        return true;
    }
    Piece& piece = begin(end, kind, feed);
    piece.axisEnd = newAxis;
    piece.length = (end - piece.start).getModulus();
    position = end;
    axis = newAxis;
    return commit();
}

bool Tracer::arc(Vector3D const& programCentre, Vector3D const& programEnd, Vector3D const& programNormal, int sense,
    double sweep, bool circle, double feed)
{
    Vector3D const centre = programCentre * scale;
    Vector3D const end = programEnd * scale;
    Vector3D const n = programNormal.getNormalized();
    FeedKind const kind = feedKindOf();
    Vector3D const plain(0.0, 0.0, 1.0);
    bool const usable = position && centre.isFinite() && end.isFinite() && n.isFinite() && n.isProper()
        && (sense != 0 || circle || (std::isfinite(sweep) && sweep != 0.0));
    if (!usable)
        return line(programEnd, plain, kind, feed);
    Vector3D const start = *position;
    Vector3D const level = centre + n * (start - centre).dot(n);
    Vector3D const from = start - level;
    double const r0 = from.getModulus();
    if (!(r0 > 0.0))
        return line(programEnd, plain, kind, feed);
    Vector3D const u = from / r0, v = n.cross(u);
    Vector3D to = end - level;
    double const rise = to.dot(n);
    to -= n * rise;
    double const r1 = to.getModulus();
    if (circle) {
        sweep = sense < 0 ? -TwoPi : TwoPi;
    } else if (sense != 0) {
        double angle = std::atan2(to.dot(v), to.dot(u));
        if (sense < 0)
            angle = -angle;
        if (angle <= 1e-12)
            angle += TwoPi;
        sweep = sense < 0 ? -angle : angle;
    }
    ++moves;
    // Pieces of at most a half turn, so that a point's angle names one place on each. The
    // directions of their starts turn by the step, one rotation each.
    auto const count = static_cast<unsigned int>(std::min(std::ceil(std::abs(sweep) / Pi), 1e6));
    double const step = sweep / count, c = std::cos(step), s = std::sin(step);
    double const arcLength = 0.5 * (r0 + r1) * step, riseLength = rise / count;
    double const length = std::sqrt(arcLength * arcLength + riseLength * riseLength);
    Vector3D uk = u, vk = v;
    for (unsigned int k = 0; k < count; ++k) {
        if (chunk.size() >= Channel::ChunkSize && !channel.push(chunk))
            return false;
        double const t0 = static_cast<double>(k) / count, t1 = static_cast<double>(k + 1) / count;
        Piece& piece = begin(Vector3D(), kind, feed);
        piece.centre = level + n * (rise * t0);
        piece.u = uk;
        piece.v = vk;
        piece.normal = n;
        piece.sweep = step;
        piece.r0 = r0 + (r1 - r0) * t0;
        piece.r1 = r0 + (r1 - r0) * t1;
        piece.rise = rise / count;
        uk = piece.u * c + piece.v * s;
        vk = piece.v * c - piece.u * s;
        piece.end = piece.centre + uk * piece.r1 + n * piece.rise;
        piece.axisEnd = plain;
        piece.length = length;
        position = piece.end;
    }
    axis = plain;
    // The last piece ends at the given end; a sweep that does not reach it (onCircular's may
    // not) leaves the rest to a line.
    if ((end - *position).getModulus() > 1e-9 * std::max(1.0, r1)) {
        --moves;
        return line(programEnd, plain, kind, feed);
    }
    chunk.back().end = end;
    position = end;
    return commit();
}

Vector3D Tracer::toolAxis(Vector3D const& direction, unsigned int flags)
{
    if (axisValues && (flags & FLAG_ABSOLUTE_DIRECTION) == 0) {
        ++axisValueMoves;
        return Vector3D::getNaN();
    }
    Vector3D const unit = direction.getNormalized();
    return unit.isFinite() ? unit : Vector3D::getNaN();
}

bool Tracer::on(Tag<NCEvent::onContext>, NCContext const& context)
{
    scale = context.getUnit() == NCUnit::INCHES ? 25.4 : 1.0;
    feedMode = context.getFeedMode();
    axisValues = context.getMultiAxisMode() == NCContext::MULTI_AXIS_UNCHECKED;
    return true;
}

bool Tracer::on(Tag<NCEvent::onTool>, NCTool const& newTool)
{
    tool = newTool.getNumber();
    hasTool = true;
    spindle = std::abs(newTool.getSpindleRPM());
    if (std::isnan(spindle))
        spindle = 0.0;
    return true;
}

bool Tracer::on(Tag<NCEvent::onSpindleSpeed>, double speed)
{
    spindle = std::isnan(speed) ? 0.0 : std::abs(speed);
    return true;
}

bool Tracer::on(Tag<NCEvent::onSection>)
{
    ++location.section;
    return true;
}

bool Tracer::on(Tag<NCEvent::onLineNumber>, unsigned int number)
{
    location.line = number;
    return true;
}

bool Tracer::on(Tag<NCEvent::onRapid>, Vector3D const& end, unsigned int)
{
    return line(end, Vector3D(0.0, 0.0, 1.0), FeedKind::Rapid, NaN);
}

bool Tracer::on(Tag<NCEvent::onRapid5D>, Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return line(end, toolAxis(direction, flags), FeedKind::Rapid, NaN);
}

bool Tracer::onRapid5D(Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, unsigned int flags)
{
    return on(Tag<NCEvent::onRapid5D> {}, end, z, flags | FLAG_ABSOLUTE_DIRECTION);
}

bool Tracer::on(Tag<NCEvent::onLinear>, Vector3D const& end, double feed, unsigned int)
{
    return line(end, Vector3D(0.0, 0.0, 1.0), feedKindOf(), feed);
}

bool Tracer::on(
    Tag<NCEvent::onLinear5D>, Vector3D const& end, Vector3D const& direction, double feed, unsigned int flags)
{
    return line(end, toolAxis(direction, flags), feedKindOf(), feed);
}

bool Tracer::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, double feedrate, unsigned int flags)
{
    return on(Tag<NCEvent::onLinear5D> {}, end, z, feedrate, flags | FLAG_ABSOLUTE_DIRECTION);
}

bool Tracer::on(Tag<NCEvent::onLinearExtrude>, Vector3D const& end, double feed, double)
{
    return line(end, Vector3D(0.0, 0.0, 1.0), feedKindOf(), feed);
}

bool Tracer::on(Tag<NCEvent::onCWArc>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feed,
    unsigned int)
{
    return arc(centre, end, normal, -1, 0.0, false, feed);
}

bool Tracer::on(Tag<NCEvent::onCCWArc>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int)
{
    return arc(centre, end, normal, 1, 0.0, false, feed);
}

bool Tracer::on(Tag<NCEvent::onCircular>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double sweep, double feed, unsigned int)
{
    return arc(centre, end, normal, 0, sweep, false, feed);
}

bool Tracer::on(Tag<NCEvent::onCWArcExtrude>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double feed, double, unsigned int)
{
    return arc(centre, end, normal, -1, 0.0, false, feed);
}

bool Tracer::on(Tag<NCEvent::onCCWArcExtrude>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double feed, double, unsigned int)
{
    return arc(centre, end, normal, 1, 0.0, false, feed);
}

bool Tracer::on(Tag<NCEvent::onCircularExtrude>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double sweep, double feed, double, unsigned int)
{
    return arc(centre, end, normal, 0, sweep, false, feed);
}

bool Tracer::on(Tag<NCEvent::onCWCircle>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int)
{
    return arc(centre, end, normal, -1, 0.0, true, feed);
}

bool Tracer::on(Tag<NCEvent::onCCWCircle>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
    double feed, unsigned int)
{
    return arc(centre, end, normal, 1, 0.0, true, feed);
}

bool Tracer::on(
    Tag<NCEvent::onSpline>, Vector3D const&, Vector3D const&, Vector3D const& end, double feed, unsigned int)
{
    ++curvesAsChords;
    return line(end, Vector3D(0.0, 0.0, 1.0), feedKindOf(), feed);
}

bool Tracer::on(
    Tag<NCEvent::onBezier>, Vector3D const&, Vector3D const&, Vector3D const& end, double feed, unsigned int)
{
    ++curvesAsChords;
    return line(end, Vector3D(0.0, 0.0, 1.0), feedKindOf(), feed);
}

bool Tracer::on(Tag<NCEvent::onNURBS>, Vector3D const* controlPoints, unsigned int count, double const*, unsigned int,
    double feed, unsigned int)
{
    ++curvesAsChords;
    if (controlPoints == nullptr || count == 0) {
        ++moves;
        return true;
    }
    return line(controlPoints[count - 1], Vector3D(0.0, 0.0, 1.0), feedKindOf(), feed);
}

} // namespace Quarn::ComparePath
