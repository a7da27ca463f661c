// The walk along two programs' paths, and the threads that replay them.
#include "nc/nc/NCCompare.h"

#include "nc/nc/ExpandCyclesNCStream.h"
#include "nc/nc/NCComparePath.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <thread>

namespace Quarn {

using ComparePath::Channel;
using ComparePath::FeedKind;
using ComparePath::Piece;

namespace {

// How far ahead the walk looks for the place where two paths meet again, in pieces.
constexpr std::size_t Lookahead = 256;
// Feeds and spindle speeds are equal within this fraction of the larger.
constexpr double RelativeValueTolerance = 1e-3;

// One program's pieces as the walk reads them: the current piece, the one before it, and a look
// ahead into the next chunk. Pointers to pieces hold until the next advance.
class Cursor {
public:
    explicit Cursor(Channel& channel) : channel(channel) { }

    // Loads the first piece; false for a path without one.
    bool start()
    {
        ended = !channel.pop(chunk) || chunk.empty();
        return !ended;
    }
    Piece const* current() const noexcept { return ended ? nullptr : &chunk[index]; }
    Piece const* previous() const noexcept
    {
        if (!ended && index > 0)
            return &chunk[index - 1];
        return hasLast ? &last : nullptr;
    }
    // The piece k places after the current one (k >= 1, at most a chunk on), or null.
    Piece const* ahead(std::size_t k)
    {
        if (ended)
            return nullptr;
        if (index + k < chunk.size())
            return &chunk[index + k];
        if (!loadFollowing())
            return nullptr;
        std::size_t const j = index + k - chunk.size();
        return j < following.size() ? &following[j] : nullptr;
    }
    void advance()
    {
        t = 0.0;
        if (++index < chunk.size())
            return;
        // The piece before the next chunk's first outlives the chunk it came from.
        last = chunk[index - 1];
        hasLast = true;
        index = 0;
        if (loadFollowing()) {
            std::swap(chunk, following);
            followingLoaded = false;
            return;
        }
        ended = true;
    }

    // Where the walk is on the current piece.
    double t = 0.0;
    std::uint64_t vertices = 0;

private:
    bool loadFollowing()
    {
        if (!followingLoaded) {
            followingLoaded = true;
            followingValid = !followingEnded && channel.pop(following) && !following.empty();
            followingEnded = !followingValid;
        }
        return followingValid;
    }

    Channel& channel;
    Channel::Chunk chunk;
    Channel::Chunk following;
    std::size_t index = 0;
    Piece last;
    bool hasLast = false;
    bool ended = true;
    bool followingLoaded = false;
    bool followingValid = false;
    bool followingEnded = false;
};

// Where a point of one path lies on the other: the piece (k places after the current; -1 the one
// before it), the parameter on it, the point and the distance.
struct Match {
    std::ptrdiff_t k = 0;
    double t = 0.0;
    Vector3D point;
    double distance = std::numeric_limits<double>::infinity();
};

// Counts runs of consecutive differences.
struct Run {
    bool open = false;
    // Whether this is the first of a run.
    bool enter(bool differs) noexcept
    {
        bool const first = differs && !open;
        open = differs;
        return first;
    }
};

bool sameValue(double a, double b) noexcept
{
    return a == b || std::abs(a - b) <= RelativeValueTolerance * std::max(std::abs(a), std::abs(b))
        || (std::isnan(a) && std::isnan(b));
}

bool sameFeed(Piece const& a, Piece const& b) noexcept
{
    if (a.feedKind != b.feedKind)
        return false;
    return a.feedKind == FeedKind::Rapid || sameValue(a.feed, b.feed);
}

class Walker {
public:
    Walker(NCCompare::Options const& options, Channel& channelA, Channel& channelB, NCCompare::Result& result)
        : options(options), a(channelA), b(channelB), result(result)
    {
        // Arcs facing another curve are measured at steps whose chord is within a tenth of the tolerance.
        sampling = options.tolerance / 10.0;
    }

    void run()
    {
        bool const hasA = a.start(), hasB = b.start();
        if (hasA != hasB) {
            // One program has a path, the other none: nothing to measure, and they do not agree.
            result.path.partings = 1;
            return;
        }
        while (a.current() != nullptr || b.current() != nullptr) {
            if (a.t == 0.0 && b.t == 0.0 && a.current() != nullptr && b.current() != nullptr
                && pairUp(*a.current(), *b.current()))
                continue;
            double const nextA = nextVertex(a, b), nextB = nextVertex(b, a);
            if (b.current() == nullptr || (a.current() != nullptr && remaining(a, nextA) <= remaining(b, nextB)))
                measure(a, b, nextA, true);
            else
                measure(b, a, nextB, false);
        }
        result.verticesA = a.vertices;
        result.verticesB = b.vertices;
    }

private:
    // The piece of y the walk is on, or its last piece once it ended.
    static Piece const* here(Cursor& y) noexcept { return y.current() != nullptr ? y.current() : y.previous(); }

    // Whether two arcs are of one kind, so that measuring at their vertices is exact: planar arcs
    // about one centre turning the same way (split anywhere; their radii may change along them, as files round them:
    // between vertices the distance of two such arcs changes evenly with the angle), or the same
    // piece of a helix.
    bool sameCurve(Piece const& p, Piece const& q) const noexcept
    {
        if (!p.isArc() || !q.isArc())
            return false;
        double const close = sampling;
        if (p.normal.cross(q.normal).getModulus() > 1e-9 || (q.centre - p.centre).getModulus() > close)
            return false;
        // Both turning the same way about the axis: the two halves of a circle share their ends.
        if ((p.sweep > 0.0) != ((q.sweep > 0.0) == (p.normal.dot(q.normal) > 0.0)))
            return false;
        bool const planar = std::abs(p.rise) <= close && std::abs(q.rise) <= close;
        return planar
            || ((p.start - q.start).getModulus() <= close && (p.end - q.end).getModulus() <= close
                && std::abs(p.sweep - q.sweep) <= 1e-9 && std::abs(p.rise - q.rise) <= close
                && std::abs(p.r0 - q.r0) <= close && std::abs(p.r1 - q.r1) <= close);
    }

    // The nearest point of a piece to p (an end when it is as near, so that a vertex met exactly
    // measures 0, not the rounding of an angle).
    static Match nearest(Piece const& piece, Vector3D const& p, double from = 0.0) noexcept
    {
        if (p == piece.end)
            return {0, 1.0, piece.end, 0.0};
        double const t = piece.project(p, from);
        Match m {0, t, piece.pointAt(t), 0.0};
        m.distance = (p - m.point).getModulus();
        if (double const toEnd = (p - piece.end).getModulus(); toEnd <= m.distance)
            m = {0, 1.0, piece.end, toEnd};
        else if (double const toStart = (p - piece.start).getModulus(); atStart(piece, from) && toStart <= m.distance)
            m = {0, 0.0, piece.start, toStart};
        return m;
    }

    // Two pieces at whose starts the walk is, that end within the tolerance of each other and are
    // the same kind of curve (lines, or arcs of one curve): the common case of programs that
    // agree, measured at once. Between such pieces no point is further from the other path than
    // their ends are.
    bool pairUp(Piece const& pa, Piece const& pb)
    {
        if (pa.isArc() != pb.isArc() || (pa.end - pb.end).getModulus() > options.tolerance
            || (pa.start - pb.start).getModulus() > options.tolerance || (pa.isArc() && !sameCurve(pa, pb)))
            return false;
        Match const onB = nearest(pb, pa.end), onA = nearest(pa, pb.end);
        record(true, pa, 1.0, pa.end, pb, onB.t, onB.point);
        record(false, pb, 1.0, pb.end, pa, onA.t, onA.point);
        ++a.vertices;
        ++b.vertices;
        a.advance();
        b.advance();
        return true;
    }

    // The parameter of the next vertex of x: the end of its piece, or the next step along an arc
    // that the other path does not follow as the same arc.
    double nextVertex(Cursor& x, Cursor& y) const
    {
        Piece const* piece = x.current();
        if (piece == nullptr || !piece->isArc())
            return 1.0;
        Piece const* other = here(y);
        if (other != nullptr && sameCurve(*piece, *other))
            return 1.0;
        double const radius = std::max(piece->r0, piece->r1);
        if (radius <= sampling)
            return 1.0;
        double const angle = 2.0 * std::acos(1.0 - sampling / radius);
        return std::min(1.0, x.t + angle / std::abs(piece->sweep));
    }

    // Whether parameter t of a piece is its start to within a nanometre (a millionth of a millimetre).
    static bool atStart(Piece const& piece, double t) noexcept { return t * piece.length <= 1e-6; }

    static double remaining(Cursor& x, double next) noexcept
    {
        Piece const* piece = x.current();
        return piece == nullptr ? std::numeric_limits<double>::infinity() : (next - x.t) * piece->length;
    }

    // The nearest point to p on y near where the walk is on it: the piece before (when the walk is
    // at the start of the current one), the rest of the current one, and the next one when p lies
    // beyond the current one's end.
    static Match match(Cursor& y, Vector3D const& p)
    {
        Match best;
        auto consider = [&](Piece const& piece, std::ptrdiff_t k, double from) {
            Match const m = nearest(piece, p, from);
            if (m.distance < best.distance)
                best = {k, m.t, m.point, m.distance};
        };
        Piece const* current = y.current();
        if (current == nullptr) {
            Piece const& last = *y.previous();
            best = {-1, 1.0, last.end, (p - last.end).getModulus()};
            return best;
        }
        consider(*current, 0, y.t);
        if (atStart(*current, y.t) && y.previous() != nullptr)
            consider(*y.previous(), -1, 0.0);
        if (best.k == 0 && best.t >= 1.0)
            if (Piece const* next = y.ahead(1))
                consider(*next, 1, 0.0);
        return best;
    }

    // A place on y further ahead within the tolerance of p, where two paths that parted meet again.
    std::optional<Match> findReunion(Cursor& y, Vector3D const& p)
    {
        for (std::size_t k = 1; k <= Lookahead; ++k) {
            Piece const* piece = y.ahead(k);
            if (piece == nullptr)
                break;
            double const t = piece->project(p);
            Vector3D const point = piece->pointAt(t);
            double const distance = (p - point).getModulus();
            if (distance <= options.tolerance)
                return Match {static_cast<std::ptrdiff_t>(k), t, point, distance};
        }
        return std::nullopt;
    }

    // Measures the vertex of x at parameter next against y and moves the walk on to it.
    void measure(Cursor& x, Cursor& y, double next, bool xIsA)
    {
        Piece const& own = *x.current();
        double const from = x.t;
        Vector3D const p = own.pointAt(next);
        Match m = match(y, p);
        if (m.distance > options.tolerance && searchDue()) {
            if (std::optional<Match> const reunion = findReunion(y, p)) {
                m = *reunion;
                ++reunions;
            }
        }
        // The vertices of y the walk passes are measured against the part of x's path just walked.
        while (m.k > 0) {
            Piece const& passed = *y.current();
            double const t = std::min(own.project(passed.end, from), next);
            record(!xIsA, passed, 1.0, passed.end, own, t, own.pointAt(t));
            ++y.vertices;
            y.advance();
            --m.k;
        }
        Piece const* other = m.k < 0 ? y.previous() : y.current();
        if (other == nullptr)
            other = y.previous();
        // Values are those of the piece that leads to the matched point: the one before when the
        // point is within the tolerance of the start (files round the places where moves meet).
        Piece const* leading = other;
        if (m.k == 0 && m.t * other->length <= options.tolerance && y.previous() != nullptr)
            leading = y.previous();
        record(xIsA, own, next, p, *other, m.t, m.point, leading);
        if (m.k == 0 && y.current() != nullptr)
            y.t = std::max(y.t, m.t);
        x.t = next;
        ++x.vertices;
        if (next >= 1.0)
            x.advance();
    }

    // Searching for a reunion at every vertex of a long parting would cost the look ahead each
    // time: within a parting run it is done at its 1st, 2nd, 4th, 8th... vertex.
    bool searchDue() noexcept
    {
        ++partedVertices;
        return (partedVertices & (partedVertices - 1)) == 0;
    }

    void record(bool xIsA, Piece const& own, double t, Vector3D const& p, Piece const& other, double otherT,
        Vector3D const& onOther)
    {
        record(xIsA, own, t, p, other, otherT, onOther, &other);
    }

    void record(bool xIsA, Piece const& own, double t, Vector3D const& p, Piece const& other, double otherT,
        Vector3D const& onOther, Piece const* leading)
    {
        Measured const vertex {xIsA, own, p, *leading, onOther};
        double const deviation = (p - onOther).getModulus();
        bool const parted = deviation > options.tolerance;
        bool const rejoined = pathRun.open && !parted;
        if (!parted)
            partedVertices = 0;
        note(result.path, pathRun, vertex, deviation, parted);
        // Where the paths part, and where they meet again, the pieces matched are not the same move:
        // their axes and values say nothing.
        if (parted || rejoined)
            return;

        Vector3D const axisX = own.axisAt(t), axisY = other.axisAt(otherT);
        if (axisX.isFinite() && axisY.isFinite()) {
            double const angle = axisX == axisY
                ? 0.0
                : std::atan2(axisX.cross(axisY).getModulus(), axisX.dot(axisY)) * (180.0 / std::numbers::pi);
            note(result.axis, axisRun, vertex, angle, angle > options.axisTolerance);
        }

        Piece const& pieceA = xIsA ? own : *leading;
        Piece const& pieceB = xIsA ? *leading : own;
        if (options.compareFeeds)
            differ(result.feeds, feedRun, vertex, !sameFeed(pieceA, pieceB), pieceA.feed, pieceB.feed);
        if (options.compareSpindle)
            differ(result.spindle, spindleRun, vertex, !sameValue(pieceA.spindle, pieceB.spindle), pieceA.spindle,
                pieceB.spindle);
        if (options.compareTools) {
            bool const differs = pieceA.hasTool != pieceB.hasTool || pieceA.tool != pieceB.tool;
            differ(result.tools, toolRun, vertex, differs, pieceA.hasTool ? pieceA.tool : std::nan(""),
                pieceB.hasTool ? pieceB.tool : std::nan(""));
        }
    }

    // A vertex of one program (x) and the point of the other it was measured against, made into a
    // place only when one is kept.
    struct Measured {
        bool xIsA;
        Piece const& own;
        Vector3D const& p;
        Piece const& leading;
        Vector3D const& onOther;

        NCCompare::Place place(double deviation) const
        {
            return {deviation, xIsA ? p : onOther, xIsA ? onOther : p, xIsA ? own.location : leading.location,
                xIsA ? leading.location : own.location};
        }
    };

    static void note(NCCompare::Deviations& deviations, Run& run, Measured const& vertex, double deviation, bool parted)
    {
        bool const largest = !deviations.largest || deviation > deviations.largest->deviation;
        bool const first = run.enter(parted);
        if (!largest && !first)
            return;
        NCCompare::Place const place = vertex.place(deviation);
        if (largest)
            deviations.largest = place;
        if (first) {
            ++deviations.partings;
            if (!deviations.firstParting)
                deviations.firstParting = place;
        }
    }

    static void differ(NCCompare::Differences& differences, Run& run, Measured const& vertex, bool differs,
        double valueA, double valueB)
    {
        if (!run.enter(differs))
            return;
        ++differences.count;
        if (!differences.first) {
            NCCompare::Place const place = vertex.place(0.0);
            differences.first = NCCompare::ValueDifference {place.a, place.b, place.pointA, valueA, valueB};
        }
    }

    NCCompare::Options const& options;
    Cursor a;
    Cursor b;
    NCCompare::Result& result;
    double sampling = 0.0;
    std::uint64_t partedVertices = 0;
    std::uint64_t reunions = 0;
    Run pathRun;
    Run axisRun;
    Run feedRun;
    Run spindleRun;
    Run toolRun;
};

// Replays one program into its channel on a thread of its own.
class Replay {
public:
    explicit Replay(NCCompare::Source const& source)
        : tracer(channel, indexer), expander(&tracer), indexer(&expander), thread([this, &source] { run(source); })
    {
    }
    ~Replay() { stop(); }
    Replay(Replay const&) = delete;
    Replay& operator=(Replay const&) = delete;

    Channel& getChannel() noexcept { return channel; }
    // Cancels the replay (if still running) and waits for its thread.
    void stop()
    {
        channel.cancel();
        if (thread.joinable())
            thread.join();
    }
    // Whether the source stopped before its end for a reason of its own.
    bool wasStopped() const noexcept { return stopped; }
    ComparePath::Tracer const& getTracer() const noexcept { return tracer; }
    std::exception_ptr getError() const noexcept { return error; }

private:
    void run(NCCompare::Source const& source)
    {
        try {
            bool const replayed = source(indexer);
            bool const completed = tracer.flush() && replayed;
            stopped = !completed && !channel.isCancelled();
            channel.finish(nullptr);
        } catch (...) {
            error = std::current_exception();
            channel.finish(error);
        }
    }

    Channel channel;
    ComparePath::Tracer tracer;
    ExpandCyclesNCStream expander;
    ComparePath::EventIndexer indexer;
    bool stopped = false;
    std::exception_ptr error;
    std::thread thread;
};

} // namespace

NCCompare::NCCompare() : NCCompare(Options()) { }

NCCompare::NCCompare(Options const& options) : options(options)
{
    if (!(options.tolerance >= MinimumTolerance) || !std::isfinite(options.tolerance))
        throw std::invalid_argument("The tolerance must be a finite number of at least 1e-6 mm.");
    if (!(options.axisTolerance >= MinimumAxisTolerance) || !std::isfinite(options.axisTolerance))
        throw std::invalid_argument("The axis tolerance must be a finite number of at least 1e-6 degrees.");
}

NCCompare::Result NCCompare::compare(Source const& sourceA, Source const& sourceB) const
{
    Result result;
    Replay replayA(sourceA);
    Replay replayB(sourceB);
    std::exception_ptr walkError;
    try {
        Walker(options, replayA.getChannel(), replayB.getChannel(), result).run();
    } catch (...) {
        walkError = std::current_exception();
    }
    replayA.stop();
    replayB.stop();
    if (std::exception_ptr const error = replayA.getError())
        std::rethrow_exception(error);
    if (std::exception_ptr const error = replayB.getError())
        std::rethrow_exception(error);
    if (walkError)
        std::rethrow_exception(walkError);
    result.movesA = replayA.getTracer().getMoves();
    result.movesB = replayB.getTracer().getMoves();
    result.curvesAsChordsA = replayA.getTracer().getCurvesAsChords();
    result.curvesAsChordsB = replayB.getTracer().getCurvesAsChords();
    result.axisValueMovesA = replayA.getTracer().getAxisValueMoves();
    result.axisValueMovesB = replayB.getTracer().getAxisValueMoves();
    result.stoppedA = replayA.wasStopped();
    result.stoppedB = replayB.wasStopped();
    return result;
}

} // namespace Quarn
