// Pass-through filter that measures the extent of the tool tip: in total, per section and per tool.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCUnit.h"
#include "util/utility/math/Matrix3x3.h"

#include <limits>
#include <map>
#include <vector>

namespace Quarn {

// Observes only: every event goes on unchanged and the next stream's answer comes back.
//
// Geometry, exact where the path is known:
// - The start of a move is the end of the last move of the same section. A section starts with no
//   position: its first move adds its end only (an arc without a start adds its end; a full circle
//   without a start is taken to start at its end, as full circles end where they start).
// - Lines, rapids, five-axis moves (the tool tip is the end point; the direction is ignored) and
//   extruding lines add their end (their start is the last end, already added).
// - Arcs, circles and helices about centre c with unit normal n (the normal is normalised) from
//   start s to end e by the signed sweep w (counter-clockwise about n positive; onCWArc and
//   onCCWArc take the sweep from s to e the named way round, in (0, 2 pi], so a start equal to
//   the end is a full turn; circles are one full turn; onCircular gives w itself):
//       level L = c + n ((s - c) . n), u = (s - L) / r0, v = n x u,
//       r0 = |s - L|, r1 = |(e - L) - n ((e - L) . n)|, H = (e - s) . n,
//       P(t) = L + r(t) (u cos t + v sin t) + n H t / w, r(t) = r0 + (r1 - r0) t / w, t in [0, w].
//   Each output coordinate i is then f(t) = C + r(t) (a cos t + b sin t) + k t with a = m_i . u,
//   b = m_i . v, k = (m_i . n) H / w, m_i the row i of the linear part of the output map.
//   For a constant radius (circles and helices in any plane, of any number of turns) the
//   extremes are exact: with k = 0 (planar arcs: |H| <= 1e-12 r0) they are C +- R where the
//   direction (a, b) or -(a, b) lies on the arc, tested by signs of cross and dot products with
//   the end's direction, without trigonometry; otherwise
//   f'(t) = 0 gives sin(t - phi) = k / R with R = r hypot(a, b), phi = atan2(b, a); of each of
//   the two families t + 2 pi m the first and the last inside the sweep are the only candidates
//   (f(t + 2 pi) = f(t) + 2 pi k is monotonic in m), so sweeps of many turns cost no more.
//   Radii that differ by s = |r1 - r0| <= 1e-3 max(r0, r1), as the rounded ends and centres of
//   arcs in files do, are measured as that circle or helix of radius r = max(r0, r1), each axis
//   widened by s hypot(a, b) on both sides: the box holds the path and exceeds its exact box by
//   at most 2 s along an axis.
//   For spirals (larger differences) the bound is conservative: the sweep is cut into pieces of at most
//   pi / 32, the stationary points where f' changes sign are located by bisection, and a piece
//   where f' could touch zero without changing sign (|f'| <= M2 d at both ends, d its length,
//   M2 = hypot(a, b) (2 |r1 - r0| / |w| + max(r0, r1)) + 0 bounding |f''|) is widened by
//   M2 d^2 / 8. A start on the axis (r0 = 0) is a straight line from s to e.
// - Splines and Bezier curves add the start, both control points and the end (a curve lies in the
//   convex hull of its control points); NURBS add their control points, and the last control
//   point becomes the position.
// - Dwells and onMachineAxisValues add nothing. Non-finite coordinates are ignored.
//
// Frames and units: the boxes are in the unit of the first context (getUnit); a section in
// another unit is scaled into it. Without setInWCS the coordinates are taken as the stream gives
// them, in the work frame of the section's context. With setInWCS(true) each point p is mapped
// into the WCS of its context: the point lies at origin + plane p in the parent system, and at
// wcsPlane^T (origin + plane p - wcsOrigin) in the WCS; the boxes are axis-aligned in the WCS.
// Arcs are measured after the mapping, so they stay exact in the WCS.
//
// onOpen starts afresh (as reset). The results cover the moves up to the last onSectionEnd, onTool, onContext or onClose (the
// current section's moves are gathered in one box and merged at those events, so a move costs a
// handful of comparisons and nothing is allocated per move).
class QUARN_NC_EXPORT NCBoundingBox : public FilterNCStream {
public:
    // An axis-aligned box; empty (lower above upper) until a point is added.
    struct Box {
        static constexpr double Infinity = std::numeric_limits<double>::infinity();
        Vector3D lower {Infinity, Infinity, Infinity};
        Vector3D upper {-Infinity, -Infinity, -Infinity};

        bool isEmpty() const noexcept { return !(lower.x <= upper.x); }
        // Widens the box to hold point; a NaN coordinate leaves its axis as it is.
        void add(Vector3D const& point) noexcept
        {
            lower.x = point.x < lower.x ? point.x : lower.x;
            lower.y = point.y < lower.y ? point.y : lower.y;
            lower.z = point.z < lower.z ? point.z : lower.z;
            upper.x = point.x > upper.x ? point.x : upper.x;
            upper.y = point.y > upper.y ? point.y : upper.y;
            upper.z = point.z > upper.z ? point.z : upper.z;
        }
        // Widens the box to hold box (nothing for an empty one).
        void add(Box const& box) noexcept
        {
            if (!box.isEmpty()) {
                add(box.lower);
                add(box.upper);
            }
        }
        // Widens axis (0, 1, 2) to hold value.
        void add(int axis, double value) noexcept
        {
            if (value < lower[axis])
                lower[axis] = value;
            if (value > upper[axis])
                upper[axis] = value;
        }
        // upper - lower; zero for an empty box.
        Vector3D getSize() const noexcept { return isEmpty() ? Vector3D() : upper - lower; }
        // True when point lies inside or on the box.
        bool contains(Vector3D const& point) const noexcept
        {
            return lower.x <= point.x && point.x <= upper.x && lower.y <= point.y && point.y <= upper.y
                && lower.z <= point.z && point.z <= upper.z;
        }
        friend bool operator==(Box const&, Box const&) = default;
    };

    using FilterNCStream::FilterNCStream;
    ~NCBoundingBox() override;

    // Every move of the program, sections and tools together (and moves outside sections).
    Box const& getTotal() const noexcept { return total; }
    // One box per onSection in order; empty for sections without moves.
    std::vector<Box> const& getSections() const noexcept { return sections; }
    // Per tool number of the last onTool; moves before any onTool are in no tool's box.
    std::map<unsigned int, Box> const& getTools() const noexcept { return tools; }
    // The unit of the boxes: that of the first context; millimetres before any context.
    NCUnit::Unit getUnit() const noexcept { return unit; }

    // False (the default): coordinates of the work frame as given; true: mapped into the WCS of
    // each section's context. Takes effect at the next onContext.
    bool isInWCS() const noexcept { return inWCS; }
    void setInWCS(bool value) noexcept { inWCS = value; }

    // Forgets all results, the unit, the tool and the position; keeps setInWCS.
    void reset() noexcept;

    // The exact box of the arc, helix or spiral from start about center with the unit normal by
    // the signed sweep (counter-clockwise about normal positive) to end, as documented above,
    // in the frame of its arguments; holds start and end.
    static Box getArcBox(
        Vector3D const& start, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep);

    using FilterNCStream::onParameter;
    bool onOpen() override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onSection() override;
    bool onSectionEnd() override;
    bool onClose() override;
    bool onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots, unsigned int knotCount,
        double feedrate, unsigned int flags) override;
#include "nc/nc/NCMoveOverrides.inc"

private:
    // The output map q = linear p + offset of the current context; identity when !mapped.
    Vector3D map(Vector3D const& point) const noexcept
    {
        return mapped ? linear * point + offset : point;
    }
    void addPoint(Vector3D const& end) noexcept;
    // sense > 0: counter-clockwise from the last end, < 0: clockwise, 0: by the given sweep; a
    // circle without a known start starts at its end.
    void addArc(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, int sense, double sweep, bool circle);
    // Merges the current box into the total, the section's and the tool's boxes.
    void flush();

    bool inWCS = false;
    bool haveUnit = false;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    bool mapped = false;
    Matrix3x3 linear;
    Vector3D offset;
    // The last end in the input frame; NaN when unknown.
    Vector3D position = Vector3D::getNaN();
    bool inSection = false;
    bool haveTool = false;
    unsigned int tool = 0;
    Box current;
    Box total;
    std::vector<Box> sections;
    std::map<unsigned int, Box> tools;
};

} // namespace Quarn
