// Compares two programs by the path the tool tip follows: whether a posted or edited program still
// cuts the toolpath it came from.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace Quarn {

class NCStream;

// Each program is replayed by its source, on a thread of its own, into a stream that turns its
// moves into path pieces; the pieces travel through short queues to the calling thread, which
// walks both paths together. Memory stays flat whatever the size of the programs.
//
// What is compared:
// - The path of the tool tip, in millimetres (a context in inches converts), with every move
//   kind as the curve it is: lines, rapids and five-axis moves straight, arcs, circles and
//   helices as arcs about their centre (a helix's height changes evenly with the angle; radii
//   that differ between start and end change evenly too). Splines, Bezier curves and NURBS are
//   taken as the straight line to their end and counted (getCurvesAsChords). Segmentation does
//   not matter: an arc and lines within the tolerance of it are the same path, a rapid and a
//   feed along the same line differ in feed only, and a hole cycle group (onGroup with a cycle's
//   URI carrying its values and one rapid per hole) is compared as the moves it makes
//   (NCCycleDefinition::expandHole). Moves that go nowhere add nothing. Dwells are not path.
// - The walk: both paths start at the end of their first move (the start of a program is not
//   known). At each step the vertex that lies the shorter way ahead on its own path is measured
//   against the other path near where the walk is on it (the piece there, and the pieces before
//   and after it); the walk then moves on to that vertex on both paths, never back. Vertices are
//   the ends of the pieces, and points along an arc at steps whose chord keeps within a tenth of
//   the tolerance of the arc when the other path is not the same arc there; a deviation is thus
//   measured within a tenth of the tolerance. A piece of one path that the other lacks (a missing
//   or an extra move) shows as its vertices' distance from the other path, and the walk finds
//   its way back to where the two meet again. A path that ends first leaves the rest of the other
//   measured against its last point.
// - The tool axis: the direction of five-axis moves that are tool axes (FLAG_ABSOLUTE_DIRECTION,
//   the four-vector forms, or a context whose multi-axis mode is not MULTI_AXIS_UNCHECKED); +Z
//   for the other moves. Along a move it turns evenly from the axis before to the axis at its
//   end. At each vertex the angle between the two programs' axes is measured, in degrees.
//   Directions that are axis values, not tool axes, are not compared and are counted. Where the
//   paths part (a vertex beyond the tolerance), tool axes, feeds, spindle speeds and tools are
//   not compared: the pieces there are not the same move.
// - Feed, spindle speed and tool number of the piece each vertex ends, against those of the
//   other program's piece at the point the vertex is matched to (the piece before it when the
//   point is within the tolerance of that piece's start, as files round the ends of moves). Feeds are equal when both are rapids, or both feed moves of one
//   feed mode whose feedrates (per minute converted to millimetres) differ by at most 0.1%;
//   spindle speeds (the tool's at onTool, then each onSpindleSpeed) by at most 0.1%; tool
//   numbers (onTool) when equal. Each comparison can be switched off.
//
// Deviations beyond the tolerance are counted as partings: runs of consecutive vertices beyond it
// count once. Feed, spindle and tool differences are counted alike, as runs.
//
// Where things happen (Location): the index of the event in its program (every event counts but
// comments and other text, stock, turn groups and their ends, toolpath entity indices and machine
// axis records, as the validation counts them; the first event is 0; the moves of an expanded
// hole name the event of the hole), the number of the last onLineNumber before it (a G-code
// reader set to pass through line numbers sends the file's line of every block) and the section
// (1 for the first; 0 before any).
class QUARN_NC_EXPORT NCCompare {
public:
    // Replays one program into the stream it is given; returns false when the stream stopped it.
    // It runs on a thread of its own; an exception it throws comes back from compare.
    using Source = std::function<bool(NCStream& target)>;

    struct Options {
        // Millimetres; at least MinimumTolerance.
        double tolerance = 0.01;
        // Degrees; at least MinimumAxisTolerance.
        double axisTolerance = 0.01;
        bool compareFeeds = true;
        bool compareSpindle = true;
        bool compareTools = true;
    };
    static constexpr double MinimumTolerance = 1e-6;
    static constexpr double MinimumAxisTolerance = 1e-6;

    struct Location {
        std::uint64_t event = 0;
        std::optional<unsigned int> line;
        std::uint32_t section = 0;
        friend bool operator==(Location const&, Location const&) = default;
    };

    // A vertex of one program and the point of the other it was measured against.
    struct Place {
        // The deviation: millimetres for the path, degrees for the tool axis.
        double deviation = 0.0;
        // The points on the paths of a and b, in millimetres.
        Vector3D pointA;
        Vector3D pointB;
        Location a;
        Location b;
    };

    struct Deviations {
        std::optional<Place> largest;
        // The first place beyond the tolerance.
        std::optional<Place> firstParting;
        std::uint64_t partings = 0;
    };

    // A feed, spindle or tool difference: where it starts and the two values there.
    struct ValueDifference {
        Location a;
        Location b;
        // The point on the path of a, in millimetres.
        Vector3D point;
        // Feeds in millimetres per minute (per minute mode; per revolution and inverse time as
        // given); NaN for a rapid. Spindle speeds in revolutions per minute; tool numbers.
        double valueA = 0.0;
        double valueB = 0.0;
    };
    struct Differences {
        std::optional<ValueDifference> first;
        std::uint64_t count = 0;
    };

    struct Result {
        Deviations path;
        Deviations axis;
        Differences feeds;
        Differences spindle;
        Differences tools;
        // Vertices measured, of a and of b.
        std::uint64_t verticesA = 0;
        std::uint64_t verticesB = 0;
        // Moves of each program (every motion event, the moves of expanded holes included).
        std::uint64_t movesA = 0;
        std::uint64_t movesB = 0;
        // Splines, Bezier curves and NURBS taken as straight lines.
        std::uint64_t curvesAsChordsA = 0;
        std::uint64_t curvesAsChordsB = 0;
        // Five-axis moves whose directions are axis values, not tool axes.
        std::uint64_t axisValueMovesA = 0;
        std::uint64_t axisValueMovesB = 0;
        // Whether either source was stopped by something else than the comparison.
        bool stoppedA = false;
        bool stoppedB = false;
        // No parting of the path or the tool axis, no difference of what is compared.
        bool agree() const noexcept
        {
            return path.partings == 0 && axis.partings == 0 && feeds.count == 0 && spindle.count == 0
                && tools.count == 0;
        }
    };

    // With the default options.
    NCCompare();
    // std::invalid_argument for a tolerance below its minimum or not finite.
    explicit NCCompare(Options const& options);

    Options const& getOptions() const noexcept { return options; }

    // Replays both programs and compares them. An exception of either source is rethrown here
    // once both have stopped (that of a when both throw).
    Result compare(Source const& a, Source const& b) const;

private:
    Options options;
};

} // namespace Quarn
