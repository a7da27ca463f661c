// Sink that writes an NC program as a readable XML document, one element per line.
#pragma once

#include "nc/nc/NCStreamDefaultImpl.h"
#include "util/utility/SafePointer.h"
#include "util/utility/io/TextOutputStream.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quarn {

// onOpen writes the declaration, the root element <nc> in the namespace
// NamespaceBaseC + "/xml/2008/nc" and a <meta> block with the date; onClose writes "</nc>",
// flushes and, when asked to, closes the output stream. In between, every event of the
// vocabulary becomes one element on one line; attribute values are single-quoted, numbers are
// what printf("%g") gives, and the components of points, vectors, planes and machine-axis
// values strictly between -1e-9 and 1e-9 are written as 0. Elements are written in the order
// the events come; the order itself is the sender's business (NCValidateStream checks it).
//
// Choices of this writer:
// - Comments become <comment>text</comment>, so no text can break out of them ("--" included).
// - Events without an element write nothing and answer the default result: passThrough, stock,
//   commands, machine commands, coolant, spindle speed, compensation modes, turn groups, skips,
//   extrusions, splines, Bezier curves, NURBS and entity indices.
// - A dwell counts spindle revolutions when its flags hold NCStream::FLAG_DWELL_REVOLUTIONS.
// - The four-vector onLinear5D writes direction (the tool axis z) as the two-vector form does,
//   then xAxis and zAxis (the tool frame) when x is proper and contactNormal when n is proper;
//   the four-vector onRapid5D is written as its two-vector form.
// - The compensation state that decides whether a motion writes compensation='...' starts as
//   off at every onOpen.
// - Text: wide text (UTF-32, or UTF-16 where wchar_t has 16 bits) is written as UTF-8; narrow
//   text is read as UTF-8 and each malformed sequence becomes U+FFFD. Characters XML 1.0 does
//   not allow (controls other than tab, line feed and carriage return; U+FFFE, U+FFFF; unpaired
//   surrogates and values above U+10FFFF) become U+FFFD too, so any text gives a well-formed
//   document. Tab, line feed and carriage return are written as they are (inside attribute
//   values a parser reads them as blanks). A null text is empty.
// - Value texts: unit "inches" / "millimeters"; context compensation "tip" / "center"; tool
//   type as ToolGeometry::getTypeAsString ("flat-end-mill"); coolant as
//   NCTool::getCoolantAsString ("flood"); spindle direction "cw" / "ccw"; an enumeration value
//   without a text is written as its number. The plane of a context is its x, y and z axis in
//   turn (nine numbers). The axis-substitution radius is written with axis-substitution='yes'.
// - Tool attributes: type, number and unit always; the others when they apply to the tool's
//   category (NCTool::getToolCategory) and are set (numbers not 0, texts not empty):
//   cut-height, kerf-width, machine-quality-control, pierce-time, pressure and pierce-height
//   for jet cutters, abrasive-flow-rate for waterjets, assist-gas and pierce-power for laser
//   and plasma cutters; diameter, body-length and shaft-diameter for milling, hole-making,
//   probing and uncategorised tools; flute-length, shoulder-length and taper-angle2 (the tip
//   angle) for milling, hole-making and uncategorised tools; corner-radius and taper-angle for
//   milling and uncategorised tools; thread-pitch for thread mills, taps and threading
//   inserts; diameter-offset and length-offset for any tool; spindle-rpm for milling,
//   hole-making, turning and uncategorised tools, which also always get spindle-direction and
//   coolant. Children: comment, vendor and product (the product id) when not empty, the shaft
//   sections when there are any, and a holder block with <number>, <collet> (the chuck
//   collet) and <aggregate> (the aggregate id), each when set, when any of them is set.
// - Axis lists separate their entries by one blank; an ordering lists the axis names only,
//   so a name that holds a blank reads back as two.
// - Events with an element answer true; the others answer getResult() as the base does and are
//   counted by kind (getLeftOut): the document has no place for them.
//
// A failure of the output is an IOException, never a false: lines collect in a buffer of 64 KiB,
// so the failure surfaces at the event whose element fills the buffer (or, through a
// WriteBehindOutputStream, at a later one) or at onClose, which flushes. Its text says what could
// not be written, then the output's own message; its offset is where that starts in the output:
//   "Cannot write the start of the document: <cause>"   onOpen, at the declaration's offset
//   "Cannot write element <linear>: <cause>"           any other element ("</nc>" for onClose),
//                                                      at the offset of its line
//   "Cannot flush the output: <cause>"                  onClose, at the document's length
//   "Cannot close the output: <cause>"                  onClose with closeStream, likewise
// The lines before that offset may be lost as well, since they were still in the buffer. From
// then on every event with an element throws the same way and nothing more reaches the output,
// not even from the destructor. With closeStream, onClose closes the output even when it fails.
// An exception of the output other than IOException passes unchanged.
//
// A copy writes into the same output stream through a buffer of its own.
class QUARN_NC_EXPORT XMLNCWriter final : public NCStreamDefaultImpl {
public:
    // NamespaceBaseA + "/namespace/nc/format/nci+xml".
    static std::wstring getUri();

    // The stream is not owned. closeStream: onClose closes it after the end tag; otherwise
    // onClose only flushes it, so that more can be written to it.
    explicit XMLNCWriter(OutputStream* stream, bool closeStream = false);
    ~XMLNCWriter() override;

    // The time written into the date element, in seconds since 1970-01-01 UTC; empty (the
    // default) takes the clock's time at onOpen. A fixed time makes documents reproducible.
    void setTimestamp(std::optional<std::int64_t> secondsSince1970) noexcept { timestamp = secondsSince1970; }

    // Events of a kind that have no element and were not written.
    std::uint64_t getLeftOut(NCEvent kind) const noexcept { return leftOut[static_cast<std::size_t>(kind)]; }

    using NCStreamDefaultImpl::onParameter;
    using NCStreamDefaultImpl::onRapid5D;

    bool onComment(wchar_t const* comment) override;
    bool onComment(char const* comment) override;
    bool onOpen() override;
#include "nc/nc/NCParameterOverrides.inc"
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onToolChange() override;
    bool onSection() override;
    bool onGroup(char const* uri) override;
    bool onGroupEnd() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override;
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
    bool onLineNumber(unsigned int line) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
    bool onFrame(TaggedFrame const& frame) override;
    bool onClose() override;

    // No element: counted.
    bool passThrough(wchar_t const* text) override;
    bool passThrough(char const* text) override;
    bool onCommand(Command command) override;
    bool onToolpathEntityIndex(ToolpathEntityIndex const& index) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onStock(Vector3D const& lower, Vector3D const& upper) override;
    bool onTurnGroup(char const* name) override;
    bool onTurnGroupEnd() override;
    bool onLinearExtrude(Vector3D const& end, double feedrate, double extrusion) override;
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
    bool onSkip() override;

private:
    // Starts the line of an arc element: name, to, center, normal and feed.
    void beginArc(
        std::string_view element, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate);
    // Ends a motion element: start/end marks, the compensation when it changed, and "/>".
    void endMotion(unsigned int flags);
    // "<parameter name='...' value='" and "' type='...'/>".
    void beginParameter(char const* name);
    bool endParameter(std::string_view type);
    void appendToolAttributes(NCTool const& tool);
    // Comment, vendor, product, shaft and holder lines, each ending in a line feed.
    void appendToolChildren(NCTool const& tool);
    void appendText(std::string_view text);
    void appendText(std::wstring_view text);
    // Writes the line and a line feed; true. A failure of the output names what (by default the
    // line's element).
    bool writeLine(std::wstring_view what = {});

    SafePointer<OutputStream> stream;
    TextOutputStream out;
    bool closeStream;
    std::optional<std::int64_t> timestamp;
    Compensation compensation = COMPENSATION_OFF; // the last state written
    std::string line; // the element being built; reused so that events do not allocate
    std::wstring decoded; // narrow text that is not plain ASCII, decoded for checking
    std::array<std::uint64_t, NCEventCount> leftOut {};
};

} // namespace Quarn
