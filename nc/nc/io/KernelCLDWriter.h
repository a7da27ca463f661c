// Sink that writes an NC program as the CAM kernel's plain-text cutter location data (text CLD).
#pragma once

#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/LeftOutValue.h"
#include "util/utility/io/BufferedOutputStream.h"

#include <array>
#include <initializer_list>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

class OutputStream;

// Writes the grammar KernelCLDReader documents, one statement a line, values separated by ", ",
// so that what it writes reads back as the same events and is written again as the same bytes.
// Numbers are the shortest text that reads back as exactly the number; a double parameter gets
// ".0" when that text has neither point nor exponent, so that it does not read back as an int.
// Strings are written in quotes with \" \\ \n \r \t, and \xHH for the other bytes below 0x20 and
// 0x7F; every other byte as it is. Null texts are written as empty ones.
//
// The writer keeps the movement (CUTTING at first) and the feedrate (0 at first) it wrote last,
// and writes a movement statement before a move of another movement and "FEEDRATE, f" before a
// non-rapid move of another feedrate (bit for bit). onOpen starts them again.
//
//   onOpen                     the header line
//   onClose                    flushes the output
//   onSection, onSectionEnd    OPEN, CLOSE
//   onRapid / onLinear         GOTO, x, y, z
//   onRapid5D / onLinear5D     GOTO, x, y, z, i, j, k (four-vector forms: z as the axis)
//   onCCWArc(c, e, n)          ARC, e, c, n       onCWArc(c, e, n)    ARC, e, c, -n
//   onCCWCircle, onCWCircle    as the arcs        onCircular          ARC, e, c, n, sweep
//   onLinearExtrude            GOTO under DEPOSITING; arc extrusions as their arcs
//   onDwell                    DWELL, t or DWELL, n, "revolutions" (FLAG_DWELL_REVOLUTIONS)
//   onCommand                  COMMAND, n
//   onGroup, onGroupEnd        GROUP, "uri" and GROUP_END
//   onComment                  "# " and the text, its line breaks as spaces ("#" alone when empty)
//   onContext                  the four PARAMETER lines "cld:unit" and "cld:compensation" (the
//                              texts of CutterLocationDataImpl), "cld:origin" (three numbers),
//                              "cld:plane" (nine, row after row)
//   onTool                     the five PARAMETER lines "cld:tool-unit" (text),
//                              "cld:cutter-diameter", "cld:corner-radius", "cld:taper-angle",
//                              "cld:flute-length"
//   onParameter                PARAMETER, "name", value: narrow and wide text (as UTF-8) as
//                              strings, int, double, Point3D as three numbers. Exceptions: the
//                              kernel's tool axis and contact normal (Point3D) are TOOLAXIS and
//                              CONTACTNORMAL; a turn-farm test parameter whose text is a value
//                              list (KernelCLDReader::isValueList) is its statement.
//
// The other fields of a context or tool are not carried (nor counted). Read back, arcs follow the
// reader's rule: one about a normal that is not on the positive side comes back the other way
// about the opposite normal, and one that ends where the last move ended as a circle.
//
// A move's movement: onRapid is written under RAPID; a line or five-axis move whose movement is
// RAPID or no movement at all (22 to 31) under CUTTING; an arc of no movement under CUTTING.
//
// Left out and counted. Events with no statement are not written and answer as the base does
// (getLeftOut(NCEvent)): passThrough, onToolpathEntityIndex, onMachineCommand, onCoolant,
// onSpindleSpeed, radius compensation, onStock, onToolChange, onTurnGroup, onTurnGroupEnd,
// splines, Bezier curves and NURBS, onSkip, onLineNumber, machine axes and frames. Values an event
// loses (getLeftOut(LeftOutValue)): Flags when the flags do not read back the same, that is bits
// besides the movement (and FLAG_ABSOLUTE_DIRECTION on five-axis moves, where it is always read
// back; FLAG_DWELL_REVOLUTIONS on dwells) or a movement written as another; Feed for a rapid arc
// with a feedrate; FiveAxisFrame for every four-vector five-axis move; Extrusion for every
// extruding move.
//
// Failures are IOException, never false:
//   "Cannot write the header: <cause>"   onOpen, at the header's offset
//   "Cannot write line <n>: <cause>"     any other line (n counts from 1, the header), at its offset
//   "Cannot flush the output: <cause>"   onClose, at the output's length
// and two refusals of what the format cannot hold, at the offset where the line would start,
// after which the writer goes on:
//   "Cannot write line <n>: Not a finite number."   a number that is infinite or not a number;
//                                        every number of an event is checked before its first
//                                        line, so nothing of the event is written
//   "Cannot write line <n>: Line too long."   a line longer than KernelCLDReader::MaximumLineLength
//                                        (a long text), which the reader would refuse
// The writer buffers 1 MiB, so an output failure surfaces at the line that fills the buffer or at
// onClose; from then on every line throws the same way. The output stream is not owned.
class QUARN_NC_EXPORT KernelCLDWriter final : public NCStreamDefaultImpl {
public:
    explicit KernelCLDWriter(OutputStream* stream);
    ~KernelCLDWriter() override;
    KernelCLDWriter(KernelCLDWriter const&) = delete;
    KernelCLDWriter& operator=(KernelCLDWriter const&) = delete;

    // Events of a kind that were not written.
    std::uint64_t getLeftOut(NCEvent kind) const noexcept { return leftOutEvents[static_cast<std::size_t>(kind)]; }
    // Events that were written without a value of this kind.
    std::uint64_t getLeftOut(LeftOutValue kind) const noexcept
    {
        return leftOutValues[static_cast<std::size_t>(kind)];
    }

    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onParameter;
    using NCStreamDefaultImpl::onRapid5D;

    bool passThrough(wchar_t const* text) override;
    bool passThrough(char const* text) override;
    bool onComment(wchar_t const* comment) override;
    bool onComment(char const* comment) override;
    bool onCommand(Command command) override;
    bool onToolpathEntityIndex(ToolpathEntityIndex const& index) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onOpen() override;
#include "nc/nc/NCParameterOverrides.inc"
    bool onStock(Vector3D const& lower, Vector3D const& upper) override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onToolChange() override;
    bool onSection() override;
    bool onGroup(char const* uri) override;
    bool onTurnGroup(char const* name) override;
    bool onGroupEnd() override;
    bool onTurnGroupEnd() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
#include "nc/nc/NCMotionOverrides.inc"
    bool onSkip() override;
    bool onLineNumber(unsigned int line) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
    bool onFrame(TaggedFrame const& frame) override;
    bool onClose() override;

private:
    void countLeftOut(NCEvent kind) noexcept { ++leftOutEvents[static_cast<std::size_t>(kind)]; }
    void countLeftOut(LeftOutValue kind) noexcept { ++leftOutValues[static_cast<std::size_t>(kind)]; }

    // The movement a line or an arc is written under; counts Flags when the flags would not read
    // back as given.
    Movement lineMovement(unsigned int flags, bool rapid, bool fiveAxis) noexcept;
    Movement arcMovement(unsigned int flags, double feedrate) noexcept;

    // The lines of a move: its movement and feedrate where they change, then the statement.
    void writeMove(Movement written, double speed, std::string_view keyword, std::initializer_list<double> numbers);
    // ARC, end, centre, normal[, sweep].
    void writeArc(Movement written, double speed, Vector3D const& center, Vector3D const& end,
        Vector3D const& normal, double const* sweep);
    void writeTextParameter(char const* name, std::string_view text);

    // Throws "Not a finite number." for the next line unless every number is finite; called
    // before any line of an event is made.
    void checkFinite(std::initializer_list<double> numbers) const;
    // Start the line in `line`; the append operations add ", " and a value.
    void begin(std::string_view keyword) { line.assign(keyword); }
    void appendNumber(double value);
    void appendNumbers(std::initializer_list<double> numbers);
    // A double that must not read back as an int.
    void appendDouble(double value);
    void appendString(std::string_view bytes);
    // Writes `line` and its end; a failure of the output names the line.
    void emit();

    BufferedOutputStream out;
    Movement movement = MOVEMENT_CUTTING;
    double feedrate = 0.0;
    std::uint64_t lineNumber = 0; // of the last line written
    std::string line; // the line being made, kept for its memory
    std::string utf8; // wide texts as UTF-8
    std::array<std::uint64_t, NCEventCount> leftOutEvents {};
    std::array<std::uint64_t, LeftOutValueCount> leftOutValues {};
};

} // namespace Quarn
