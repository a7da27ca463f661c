// Filter that measures a program as it passes: moves by kind, lengths, machining time, feed and spindle ranges,
// tool changes and machine-axis ranges, per section, per tool and in total.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCUnit.h"
#include "util/utility/math/Range.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Quarn {

// Observes only: every event goes on unchanged and the next stream's answer comes back.
//
// Figures a CAM user can check by hand:
//
// Kinds. Each motion event counts as exactly one kind, by its event: rapids (onRapid), linears (onLinear),
// arcs (onCWArc, onCCWArc), circles (onCWCircle, onCCWCircle), helicals (onCircular: arcs by sweep, helices,
// several turns), five-axis rapids and linears (both forms of onRapid5D, onLinear5D), splines, Beziers,
// NURBS, extrusions (onLinearExtrude and the three arc extrusions) and dwells (onDwell).
//
// Position. A move starts where the last one ended. The first move of the program has no start: it counts
// with length 0 and time 0. The position is kept across sections and contexts; a context of another unit
// converts it. A move to a non-finite end forgets the position, so the next move has no start either. A
// change of work frame between sections is not seen: distances are taken in the coordinates as given.
//
// Lengths, in getUnit() (millimetres by default; a section in inches is converted by 25.4):
//   rapid length    sum of the straight distances |end - start| of onRapid and onRapid5D (the tool tip;
//                   rotary motion adds nothing).
//   cutting length  sum of the lengths of every other move:
//     line          |end - start| (onLinear, onLinear5D, onLinearExtrude).
//     arc           with n the unit normal, h = (end - start) . n the height along it, r0 and r1 the
//                   distances of start and end from the centre in the arc plane and θ the sweep:
//                   r0 = r1 = r: sqrt((r θ)^2 + h^2), a helix (h = 0: the plain arc r θ).
//                   r0 != r1: the spiral whose radius and height change evenly with the angle, integrated
//                   exactly: ∫ sqrt((r(t) θ)^2 + (r1 - r0)^2 + h^2) dt over t in [0, 1], r(t) = r0 +
//                   (r1 - r0) t. Radii within 0.1% of each other (the rounding of arcs in files) take the
//                   integrand at the mean radius, sqrt((θ (r0 + r1) / 2)^2 + (r1 - r0)^2 + h^2), short of the
//                   integral by less than ((r1 - r0) / r0)^2 / 24 of it (at most 4.2e-8).
//                   θ: onCircular its |sweep|; onCWCircle / onCCWCircle 2π; onCWArc / onCCWArc the angle
//                   from start to end about n in the arc's sense, in (0, 2π], an arc whose ends lie on one
//                   ray from the centre being a full turn (as the G-code writer reads it).
//     Bezier, spline  the cubic Bezier curve start, control1, control2, end, measured as a polyline of 32
//                   equal steps of its parameter (a little short of the curve, by far less than 0.1% for
//                   toolpath curves).
//     NURBS         the length of the control polygon from the first control point to the last (an upper
//                   bound of the curve's); the position becomes the last control point.
//
// Time, in seconds (names say so):
//   feed moves      with L the move's length in the section's unit and F its feedrate, by the context's feed
//                   mode: FEED_PER_MINUTE L / F minutes; FEED_INVERSE_TIME 1 / F minutes, whatever L;
//                   FEED_PER_REVOLUTION L / (F * rpm) minutes, rpm the spindle speed in effect (below). A
//                   feed move whose F is not positive and finite, or per revolution at rpm 0, takes no time
//                   and counts in untimed.
//   rapids          each axis of the section's frame moves at its own rate (setRapidRate, millimetres per
//                   minute per axis, default 10000 on X, Y and Z): max over i of |delta_i| / rate_i minutes,
//                   the delta converted to millimetres first in an inch section.
//   dwells          the time in seconds; with FLAG_DWELL_REVOLUTIONS time / rpm * 60 seconds, and at rpm 0
//                   none (counts in untimed).
//   tool changes    setToolChangeTime seconds (default 0) for each onTool whose tool number differs from that
//                   of the tool before; the first onTool of the program loads a tool and counts as a change.
//   machining time  the sum of the four.
//
// Spindle speed: the tool's getSpindleRPM at each onTool, then each onSpindleSpeed (absolute values; a NaN
// is 0). It stays in effect across sections until one of the two sets another.
//
// Ranges (empty until a value arrives):
//   feed range      the effective feedrate of every feed move, in getUnit() per minute: F per minute, F * rpm
//                   per revolution (when rpm > 0), L * F for inverse time (when L > 0).
//   spindle range   the spindle speed in effect at every feed move (rpm), 0 included.
//   axis ranges     the values of onMachineAxisValues per axis name of the last onMachineAxisOrdering
//                   (millimetres and degrees, as the event gives them); getAxisNames lists the names in the
//                   order first met and the ranges of Figures are indexed alike.
//
// Splits. Events count for the section open when they arrive (the events between two sections, onContext and
// onTool among them, count for the next section), for the tool loaded when they arrive and in the total. What
// arrives before the first onTool counts for no tool; what arrives after the last section ends counts in the
// total only. The figures are up to date after each onSectionEnd, onTool and onClose; onOpen starts afresh.
// Nothing is allocated per move: only a new section, a new tool or a new axis name adds an entry.
class QUARN_NC_EXPORT NCAnalyze : public FilterNCStream {
public:
    struct Figures {
        std::uint64_t rapids = 0;
        std::uint64_t linears = 0;
        std::uint64_t arcs = 0;
        std::uint64_t circles = 0;
        std::uint64_t helicals = 0;
        std::uint64_t rapids5D = 0;
        std::uint64_t linears5D = 0;
        std::uint64_t splines = 0;
        std::uint64_t beziers = 0;
        std::uint64_t nurbs = 0;
        std::uint64_t extrusions = 0;
        std::uint64_t dwells = 0;
        std::uint64_t toolChanges = 0;
        // Feed moves and dwells whose time is not known (see above).
        std::uint64_t untimed = 0;

        double rapidLength = 0.0;
        double cuttingLength = 0.0;
        double rapidSeconds = 0.0;
        double feedSeconds = 0.0;
        double dwellSeconds = 0.0;
        double toolChangeSeconds = 0.0;

        std::optional<Range<double>> feedRange;
        std::optional<Range<double>> spindleRange;
        // Indexed like getAxisNames(); shorter when later names were not met here.
        std::vector<std::optional<Range<double>>> axisRanges;

        // Every motion event; dwells are not moves.
        std::uint64_t getMoves() const noexcept
        {
            return rapids + linears + arcs + circles + helicals + rapids5D + linears5D + splines + beziers + nurbs
                + extrusions;
        }
        double getMachiningTimeSeconds() const noexcept
        {
            return rapidSeconds + feedSeconds + dwellSeconds + toolChangeSeconds;
        }
        // Adds the counts, lengths and times of other and widens the ranges by its ranges.
        void add(Figures const& other);
        // Back to zero, keeping the capacity of axisRanges.
        void clear() noexcept;

        friend bool operator==(Figures const&, Figures const&) = default;
    };

    struct SectionFigures {
        // The tool loaded when the section started, if any.
        std::optional<unsigned int> toolNumber;
        Figures figures;
    };

    struct ToolFigures {
        unsigned int toolNumber = 0;
        Figures figures;
    };

    // 10000 millimetres per minute on each axis.
    static constexpr double DefaultRapidRate = 10000.0;

    using FilterNCStream::FilterNCStream;
    ~NCAnalyze() override;

    // Millimetres per minute per axis of the section's frame; every component must be positive (a debug
    // assertion; a rate that is not is ignored and the axis keeps its former rate).
    void setRapidRate(Vector3D const& millimetresPerMinute) noexcept;
    Vector3D const& getRapidRate() const noexcept { return rapidRate; }
    // Seconds per tool change; negative or NaN values are a debug assertion and count as 0.
    void setToolChangeTime(double seconds) noexcept;
    double getToolChangeTime() const noexcept { return toolChangeTime; }
    // The unit of the lengths and feed ranges of the figures; set it before the program.
    void setUnit(NCUnit::Unit value) noexcept { unit = value; }
    NCUnit::Unit getUnit() const noexcept { return unit; }

    // Sections in program order (those ended by onSectionEnd, and the open one).
    std::vector<SectionFigures> const& getSections() const noexcept { return sections; }
    // Tools in the order first loaded, one entry per tool number.
    std::vector<ToolFigures> const& getTools() const noexcept { return tools; }
    // The figures of the tool with this number, if it was loaded.
    Figures const* findTool(unsigned int toolNumber) const noexcept;
    Figures const& getTotal() const noexcept { return total; }
    // The machine axis names in the order first met; Figures::axisRanges are indexed alike.
    std::vector<std::string> const& getAxisNames() const noexcept { return axisNames; }

    using FilterNCStream::onLinear5D;
    using FilterNCStream::onParameter;
    using FilterNCStream::onRapid5D;
    bool onOpen() override;
    bool onClose() override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onSpindleSpeed(double speed) override;
    bool onSection() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
#include "nc/nc/NCMotionOverrides.inc"

private:
    // Moves the figures gathered since the last flush to the open section, the loaded tool and the total.
    void flush();
    // Length of a straight move to end (section unit), and the position moved there.
    double moveTo(Vector3D const& end) noexcept;
    void rapid(Vector3D const& end) noexcept;
    // Adds a feed move to the run of moves at one feedrate, starting a new run when the feedrate changes.
    void feed(double length, double feedrate) noexcept
    {
        if (!(feedrate == run.feedrate))
            startRun(feedrate);
        run.length += length;
        ++run.moves;
        if (feedMode == NCContext::FEED_INVERSE_TIME && length > 0.0) {
            run.shortest = std::min(run.shortest, length);
            run.longest = std::max(run.longest, length);
        }
    }
    void startRun(double feedrate) noexcept;
    // Adds the run's lengths, time and ranges to the current figures and starts none. Called before the
    // feed mode, the unit or the spindle speed changes and at every flush.
    void closeRun() noexcept;
    // Length of an arc to end with this sweep about normal (sign: the sense; NaN: take it from the ends).
    double arc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        bool counterClockwise) noexcept;
    double bezier(Vector3D const& control1, Vector3D const& control2, Vector3D const& end) noexcept;

    Vector3D rapidRate {DefaultRapidRate, DefaultRapidRate, DefaultRapidRate};
    double toolChangeTime = 0.0;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;

    // State of the program being read.
    NCUnit::Unit sectionUnit = NCUnit::MILLIMETERS;
    NCContext::FeedMode feedMode = NCContext::FEED_PER_MINUTE;
    double toFigures = 1.0; // section unit to figures unit
    double toMillimetres = 1.0; // section unit to millimetres
    double rpm = 0.0;
    Vector3D position;
    bool hasPosition = false;
    std::optional<unsigned int> toolNumber;
    std::size_t toolIndex = 0; // into tools when toolNumber is set
    bool inSection = false;
    // Slot in axisNames of each entry of the last ordering.
    std::vector<std::size_t> axisSlots;

    // Feed moves in a row at one feedrate under one feed mode, unit and spindle speed: their time is the
    // sum of their lengths over the feedrate, taken once when the run ends rather than per move.
    struct Run {
        double feedrate = std::numeric_limits<double>::quiet_NaN();
        double length = 0.0; // in the section's unit
        std::uint64_t moves = 0;
        // Shortest and longest move of positive length, for the feed range of inverse time.
        double shortest = std::numeric_limits<double>::infinity();
        double longest = 0.0;
    } run;
    Vector3D minutesPerMillimetre {1.0 / DefaultRapidRate, 1.0 / DefaultRapidRate, 1.0 / DefaultRapidRate};
    Figures current; // since the last flush
    Figures pending; // flushed between two sections, for the next one
    std::vector<SectionFigures> sections;
    std::vector<ToolFigures> tools;
    Figures total;
    std::vector<std::string> axisNames;
};

} // namespace Quarn
