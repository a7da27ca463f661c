// The path of one program as NCCompare walks it: pieces of tool-tip path in millimetres, made from
// the program's events on the thread that replays it and handed to the comparing thread in
// chunks through a bounded channel.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCCompare.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <type_traits>
#include <vector>

namespace Quarn::ComparePath {

// How a piece is fed: rapid, or a feed move in one of the context's feed modes.
enum class FeedKind : std::uint8_t { Rapid, PerMinute, PerRevolution, InverseTime };

// A piece of path from start (t = 0) to end (t = 1): a line, or an arc about the axis through
// centre along normal whose angle grows evenly to sweep (|sweep| at most a half turn), radius
// from r0 to r1 and height along the normal by rise:
//     P(t) = centre + (u cos(t sweep) + v sin(t sweep)) (r0 + (r1 - r0) t) + normal rise t.
// The tool axis turns evenly from axisStart to axisEnd (NaN when not known).
struct Piece {
    Vector3D start;
    Vector3D end;
    Vector3D axisStart;
    Vector3D axisEnd;
    Vector3D centre;
    Vector3D u;
    Vector3D v;
    Vector3D normal;
    double sweep = 0.0; // 0 for a line
    double r0 = 0.0;
    double r1 = 0.0;
    double rise = 0.0;
    double length = 0.0;
    double feed = 0.0; // millimetres per minute or per revolution, or as given for inverse time
    double spindle = 0.0;
    std::uint32_t tool = 0;
    FeedKind feedKind = FeedKind::Rapid;
    bool hasTool = false;
    NCCompare::Location location;

    bool isArc() const noexcept { return sweep != 0.0; }
    Vector3D pointAt(double t) const noexcept;
    Vector3D axisAt(double t) const noexcept;
    // The parameter in [from, 1] of the point of the piece nearest to p (for arcs, by the angle).
    double project(Vector3D const& p, double from = 0.0) const noexcept;
};

// Chunks of pieces from the replaying thread to the comparing one. The producer waits while
// Capacity chunks are queued; chunks are reused.
class Channel {
public:
    static constexpr std::size_t ChunkSize = 4096;
    static constexpr std::size_t Capacity = 4;
    using Chunk = std::vector<Piece>;

    // Producer: queues a full chunk and gives back an empty one; false once cancelled.
    bool push(Chunk& chunk);
    // Producer: the program ended (error: the exception that ended it, or null).
    void finish(std::exception_ptr error) noexcept;
    // Consumer: the next chunk into chunk (whose old pieces are given back for reuse); false at the
    // end. Rethrows the producer's exception there.
    bool pop(Chunk& chunk);
    // Consumer: stops the producer at its next push.
    void cancel() noexcept;
    bool isCancelled() const;

private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::deque<Chunk> queued;
    std::vector<Chunk> spare;
    std::exception_ptr error;
    bool finished = false;
    bool cancelled = false;
};

// Counts a program's events as its source sends them, before anything expands them, so that a
// place names the event of the file.
class EventIndexer final : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    using FilterNCStream::onParameter;

    // The index of the event being passed on (the first is 0).
    std::uint64_t getIndex() const noexcept { return count == 0 ? 0 : count - 1; }

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool name parameters override                                                                                      \
    {                                                                                                                  \
        if constexpr (isIndexedEvent(NCEvent::name))                                                                   \
            ++count;                                                                                                   \
        return FilterNCStream::name arguments;                                                                         \
    }
#include "nc/nc/NCEvents.def"

private:
    std::uint64_t count = 0;
};

// The sink of one program: turns its moves into pieces and sends them down the channel in chunks.
// Hole cycles must have been expanded in front of it; places name the event the indexer passes.
class Tracer final : public NCStream {
public:
    Tracer(Channel& channel, EventIndexer const& indexer);

    // Sends the last chunk; call once the program ended.
    bool flush();

    std::uint64_t getMoves() const noexcept { return moves; }
    std::uint64_t getCurvesAsChords() const noexcept { return curvesAsChords; }
    std::uint64_t getAxisValueMoves() const noexcept { return axisValueMoves; }

    using NCStream::onParameter;

#define QUARN_NC_MOVE_REDUCIBLE(name, parameters, arguments)
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool name parameters override { return on QUARN_NC_PREPEND(Tag<NCEvent::name> {}, arguments); }
#include "nc/nc/NCEvents.def"

    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override;

private:
    template <NCEvent E> using Tag = std::integral_constant<NCEvent, E>;

    // The events that leave the path alone.
    template <NCEvent E, typename... Arguments> bool on(Tag<E>, Arguments const&...) noexcept { return true; }

    bool on(Tag<NCEvent::onContext>, NCContext const& context);
    bool on(Tag<NCEvent::onTool>, NCTool const& tool);
    bool on(Tag<NCEvent::onSpindleSpeed>, double speed);
    bool on(Tag<NCEvent::onSection>);
    bool on(Tag<NCEvent::onLineNumber>, unsigned int line);
    bool on(Tag<NCEvent::onRapid>, Vector3D const& end, unsigned int flags);
    bool on(Tag<NCEvent::onRapid5D>, Vector3D const& end, Vector3D const& direction, unsigned int flags);
    bool on(Tag<NCEvent::onLinear>, Vector3D const& end, double feed, unsigned int flags);
    bool on(Tag<NCEvent::onLinear5D>, Vector3D const& end, Vector3D const& direction, double feed, unsigned int flags);
    bool on(Tag<NCEvent::onLinearExtrude>, Vector3D const& end, double feed, double extrusion);
    bool on(Tag<NCEvent::onCWArc>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feed,
        unsigned int flags);
    bool on(Tag<NCEvent::onCCWArc>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feed,
        unsigned int flags);
    bool on(Tag<NCEvent::onCircular>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double sweep,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onCWArcExtrude>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
        double feed, double extrusion, unsigned int flags);
    bool on(Tag<NCEvent::onCCWArcExtrude>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
        double feed, double extrusion, unsigned int flags);
    bool on(Tag<NCEvent::onCircularExtrude>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal,
        double sweep, double feed, double extrusion, unsigned int flags);
    bool on(Tag<NCEvent::onCWCircle>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feed,
        unsigned int flags);
    bool on(Tag<NCEvent::onCCWCircle>, Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feed,
        unsigned int flags);
    bool on(Tag<NCEvent::onSpline>, Vector3D const& control1, Vector3D const& control2, Vector3D const& end,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onBezier>, Vector3D const& control1, Vector3D const& control2, Vector3D const& end,
        double feed, unsigned int flags);
    bool on(Tag<NCEvent::onNURBS>, Vector3D const* controlPoints, unsigned int count, double const* knots,
        unsigned int knotCount, double feed, unsigned int flags);

    // The direction of a five-axis move as a tool axis, or NaN for axis values (counted).
    Vector3D toolAxis(Vector3D const& direction, unsigned int flags);
    // A move along a line to end (in the program's unit) with the tool axis at its end.
    bool line(Vector3D const& end, Vector3D const& axis, FeedKind kind, double feed);
    // A move along an arc; sense > 0 counter-clockwise from start to end, < 0 clockwise, 0 by
    // sweep; circle: a full turn the way of sense.
    bool arc(Vector3D const& centre, Vector3D const& end, Vector3D const& normal, int sense, double sweep, bool circle,
        double feed);
    // Starts a piece from the position with what every piece carries.
    Piece& begin(Vector3D const& end, FeedKind kind, double feed);
    bool commit();
    FeedKind feedKindOf() const noexcept;

    Channel& channel;
    EventIndexer const& indexer;
    Channel::Chunk chunk;
    double scale = 1.0; // millimetres per unit of the program
    NCContext::FeedMode feedMode = NCContext::FEED_PER_MINUTE;
    bool axisValues = false; // directions without FLAG_ABSOLUTE_DIRECTION are axis values
    std::optional<Vector3D> position; // millimetres
    Vector3D axis = Vector3D(0.0, 0.0, 1.0);
    NCCompare::Location location;
    double spindle = 0.0;
    std::uint32_t tool = 0;
    bool hasTool = false;
    std::uint64_t moves = 0;
    std::uint64_t curvesAsChords = 0;
    std::uint64_t axisValueMoves = 0;
};

} // namespace Quarn::ComparePath
