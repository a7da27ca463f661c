// Sink that draws the tool path of a program as an SVG picture a person looks at.
#pragma once

#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCUnit.h"
#include "util/utility/math/Vector3D.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace Quarn {

class OutputStream;

// Draws the path of the tool tip in one view, scaled to fit a square of getSize() pixels, with
// a legend, a scale bar and the dimensions of the extent beside it.
//
// The picture's scale is fixed before the first event by setExtent, the box of the whole
// program in the unit of its first context as NCBoundingBox gives it (without setInWCS): a
// program is drawn in two passes, the first through NCBoundingBox, the second into this writer,
// so that memory stays flat whatever the size of the program. Points outside the extent are
// drawn all the same (they may fall outside the picture).
//
// Views (screen x to the right, screen y up):
//   TOP    x, y (looking down the z axis)
//   FRONT  x, z (looking along +y)
//   SIDE   y, z (looking along -x, from the right)
//   ISO    isometric from the front, the right and above, the corner the other three views look
//          from: x to the lower right and y to the upper right, both at 30 degrees to the
//          horizontal, z up; lengths along the three axes keep the scale of the scale bar
// Coordinates are taken as the stream gives them, in the unit of the first context (a section
// in another unit is scaled into it).
//
// Drawing:
// - Each section's path starts at its first move's end; each move continues it from the last. A
//   section, a section end and a context end the path; a context also forgets the position.
// - Rapids (onRapid, onRapid5D) are dashed; other moves solid. Colours (setColoring): by movement
//   (NCStream's movement of the flags; rapids grey; a cutting event whose flags say rapid or no
//   movement counts as cutting, onLinearExtrude as depositing), by tool (tool number of the last
//   onTool) or by section (index of onSection); the legend lists the colours used, in order of
//   first use.
// - Lines and five-axis moves are straight (the tool tip; the tool axis is not drawn).
// - Arcs, circles and helices whose normal is parallel to the view direction are drawn as exact
//   SVG arcs (a full turn as two halves, so a helix of many turns seen along its axis is one
//   circle); other arcs and spirals as straight pieces within a quarter of a pixel of the curve
//   (at most 4096 per move), counted as approximated, as are arcs that bulge less than that.
//   Splines and Bezier curves are cubic SVG curves (a parallel projection keeps them exact); NURBS
//   their control polygon, counted as approximated.
// - Consecutive moves of one style form one path element (continued in the next after 1 MiB of
//   path data, as XML parsers limit the length of an attribute). Runs of points (move ends and
//   the pieces of curves) that one straight line from the last written point passes within a
//   quarter of a pixel of are merged into that line (not written; the last of a run is written
//   exactly when the run ends), at a constant cost per point: a program of millions of short
//   moves writes about as many points as its path has visible bends, and a straight row of
//   moves, whatever their number, one line. A path of cutting moves that stays on one pixel (a
//   drill seen along its axis) shows as a dot 4 pixels wide. Coordinates have one decimal of a
//   pixel and are limited to +-10^7 pixels.
// - A move with a coordinate that is not finite is not drawn (the path goes on from the last
//   drawn point); an arc with a bad centre, normal or sweep is drawn straight. Dwells, commands,
//   parameters and the like draw nothing. An empty extent (or one that is not finite) draws no
//   moves.
//
// The document (pixels, y down): width getSize() + 260, height 40 + A + 64 with A the height of
// the drawing area, the drawing's height but at least 240 so that the legend has ten rows:
// - <title> (with a title), a white background, and <text id="heading"> at (20, 26): the title
//   and the view ("top view", "front view", "side view", "isometric view") joined by a dash;
// - <rect id="extent">, the dashed outline of the projected extent (its bounding rectangle in
//   ISO), centred in the area from x 20 to 20 + getSize() and y 40 to 40 + A;
// - <g id="drawing">, the path elements;
// - <g id="legend">, a panel 200 wide at the right of the area: a heading ("by movement", "by
//   tool", "by section"), one <g class="entry"> per colour (a line sample in the style and a
//   label: the movement's name, "T<n>" or "no tool", "section <i>" counted from 1 or "no
//   section"), with tool and section colouring a dashed sample "rapid" last, and a last row
//   "and N more" when the rows do not hold all;
// - below the area <g id="scale">, a scale bar of a round length (1, 2 or 5 times a power of ten,
//   about a fifth of getSize()) labelled like "20 mm", and <text id="dimensions">, the extent's
//   size, "X 120 x Y 80 x Z 25 mm" ("in" for inches).
//
// Settings and the extent take effect at the next onOpen. onOpen while a document is open does
// nothing; the events that draw (contexts, tools, sections, moves) and onClose imply onOpen when
// no document was opened; after onClose they are ignored (and not counted) until the next
// onOpen, which starts another document. A writer destroyed without onClose leaves what it
// wrote, an incomplete document, in the output.
//
// A failure of the output is an IOException from the event that writes, saying what could not be
// written and then the output's message, at the offset where that starts:
//   "Cannot write the start of the document: <cause>"   onOpen
//   "Cannot write the drawing: <cause>"                 contexts, sections and moves
//   "Cannot write the end of the document: <cause>"     onClose
//   "Cannot flush the output: <cause>"                  onClose
// The document collects in a buffer of 1 MiB, so a failure surfaces at the event that fills it or
// at onClose, which completes the document and flushes the output (it does not close it). The
// events it handles answer true; the others answer getResult() as the base's do.
class QUARN_NC_EXPORT SVGPlotWriter final : public NCStreamDefaultImpl {
public:
    enum class View { TOP, FRONT, SIDE, ISO };
    enum class Coloring { MOVEMENT, TOOL, SECTION };

    // What a document drew, for a report of what the picture holds; reset by onOpen.
    struct Counts {
        std::uint64_t moves = 0; // moves received, of every kind
        std::uint64_t points = 0; // points written into path elements
        std::uint64_t merged = 0; // points merged into a line (see above), not written
        std::uint64_t arcs = 0; // moves drawn as exact SVG arcs
        std::uint64_t approximated = 0; // curves drawn as straight pieces (see above)
        std::uint64_t paths = 0; // path elements
    };

    // The output is not owned; it receives the document as UTF-8.
    explicit SVGPlotWriter(OutputStream* output);
    ~SVGPlotWriter() override;

    // The extent of the program (see above); an empty box draws the legend and an empty drawing.
    void setExtent(NCBoundingBox::Box const& box, NCUnit::Unit unit) noexcept;
    void setView(View value) noexcept { view = value; }
    View getView() const noexcept { return view; }
    void setColoring(Coloring value) noexcept { coloring = value; }
    Coloring getColoring() const noexcept { return coloring; }
    // The side of the square the drawing fits into, in pixels (default 800, at least 100, at most
    // 100000).
    void setSize(double pixels) noexcept;
    double getSize() const noexcept { return size; }
    // A heading over the drawing, such as the file's name; none by default.
    void setTitle(std::string textUTF8) { title = std::move(textUTF8); }

    Counts const& getCounts() const noexcept { return counts; }

    using NCStreamDefaultImpl::onParameter;
    using NCStreamDefaultImpl::onRapid5D;
    bool onOpen() override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onSection() override;
    bool onSectionEnd() override;
    bool onClose() override;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override;
    bool onLinearExtrude(Vector3D const& end, double feedrate, double extrusion) override;
    bool onCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int flags) override;
    bool onCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags) override;
    bool onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags) override;
    bool onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        double feedrate, double extrusion, unsigned int flags) override;
    bool onSpline(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags) override;
    bool onBezier(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags) override;
    bool onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots, unsigned int knotCount,
        double feedrate, unsigned int flags) override;

private:
    class Drawing;

    // The open document, opened when none was; null after onClose.
    Drawing* document();
    // Runs step on the open document, a failure of the output reported as one of the drawing;
    // true, as the writer never stops a program.
    template <class Step> bool draw(Step const& step);

    View view = View::TOP;
    Coloring coloring = Coloring::MOVEMENT;
    double size = 800.0;
    std::string title;
    NCBoundingBox::Box extent;
    NCUnit::Unit extentUnit = NCUnit::MILLIMETERS;
    Counts counts;
    OutputStream* output;
    // The state of the document between onOpen and onClose.
    std::unique_ptr<Drawing> drawing;
    bool closed = false; // onClose came and no onOpen since
};

} // namespace Quarn
