// Sink that writes an NC program as G-code in the words of a GCodeDialect (RS274NGC by default).
#pragma once

#include "nc/nc/LeftOutValue.h"
#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCUnit.h"
#include "nc/nc/io/GCodeDialect.h"
#include "util/utility/IOException.h"
#include "util/utility/io/BufferedOutputStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quarn {

class OutputStream;

// Writes a program a machinist can read and a control runs: one block a line, words separated
// by blanks, modal words and coordinates only when their text changes. Words below are those of
// the RS274NGC table; another dialect writes its own.
//
// Numbers are fixed-point with the configured decimals (setDecimals; by default 3 in millimetres
// and 4 in inches, after the unit of the last context), rounded to nearest (a tie as
// std::to_chars rounds it), trailing zeros and a bare point trimmed ("X10", "X10.5", "X-0.125";
// "X10." where the dialect keeps the point), never an exponent, never "-0": a number that rounds
// to zero is "0". A number that is not finite, or whose magnitude is 1e9 or more, is refused
// (below). Modal suppression compares the written text, so a move that changes an axis by less
// than the last decimal does not write it, and a move that changes no written axis writes no
// line at all.
//
// Positions are written in the work coordinate system: with the context re-expressed in its WCS
// (NCContext::convertWorkViewToWCS), a point p of the stream is written as plane * p + origin,
// the identity when the work system is the WCS. Directions (arc normals, tool axes) are turned by
// the plane alone, so a turned plane also turns arcs into another G17/G18/G19 plane.
//
//   onOpen          "%"; starts a new program (modes unknown, counts kept)
//   onContext       the first context: the safe start "G21 G90 G17 G94 G40 G49 G80 G91.1" (G20
//                   in inches; G95 per revolution, G93 inverse time) and the work offset line;
//                   the first line of a program without a context writes those of a default one
//                   first. Work offsets (getWorkOffset): 0 -> G54 (the control's default, written
//                   so that the program does not rely on what ran before), 1 to 9 -> G54 to
//                   G59.3, 54 to 59 -> G54 to G59 (a number that already names its word); the
//                   dynamic work offset is not used. A later context writes one line with what
//                   changed of unit, feed mode and work offset, and forgets the written
//                   coordinates and feed, so the next move writes every axis. Of the other fields
//                   only the multi-axis mode is used (five-axis moves below); none is counted.
//   onTool          "T<n> M6" and "G43 H<h>" (h: the length offset when it is not 0, else the
//                   tool number; both lines left out for tool number 0, a tool without a number);
//                   "S<rpm> M3" or "M4" by the tool's direction when its RPM is positive, else
//                   "M5" if the spindle runs; the coolant's words (M8 flood, M7 mist, M7 and M8 for
//                   flood-mist, M9 for none when coolant is on; coolants without a word are not
//                   written). The spindle speed and direction are kept for START_SPINDLE and
//                   dwells in revolutions.
//   onSpindleSpeed  "S<rpm>", unless the spindle already runs at that speed
//   onCoolant       the coolant's words as for a tool; the level is not carried; a coolant
//                   without a word is left out
//   onCommand       the dialect's word (M0 stop, M1 optional stop, M3/M4 spindle, M5 spindle
//                   stop, M19 orientation, M6 load tool, M8/M9 coolant, M60 pallet change);
//                   START_SPINDLE as M3 or M4 by the last direction; END and every command
//                   without a word are left out (the program ends with M30 at onClose);
//                   spindle and coolant starts for what already runs that way write nothing
//   onRadiusCompensation   "G40", "G41", "G42" (the control takes the radius of its tool)
//   onComment       "(text)": '(' and ')' become '[' and ']', line breaks and other control
//                   characters blanks; a text the control would read as a command (after blanks,
//                   case-insensitively: MSG, DEBUG, PRINT, LOG, LOGOPEN, LOGAPPEND and ABORT,
//                   PY, PYRUN, AXIS followed by a comma; LOGCLOSE, PROBEOPEN, PROBECLOSE; "O=")
//                   gets "_" in front: "(_MSG, hello)". Wide text as UTF-8.
//   passThrough     the text as a line of its own, as given (wide text as UTF-8), without an N
//                   word; the writer does not read it, so its modes are assumed unchanged
//   onRapid         "G0 X Y Z" (changed axes only)
//   onLinear        "G1 X Y Z F"; F when its text changes, on every feed move in inverse time.
//                   A feedrate of 0 or less keeps the F before (LeftOutValue::Feed); without one
//                   it is refused
//   onLinearExtrude a line; the extrusion is LeftOutValue::Extrusion
//   arcs            "G2"/"G3" with the end's changed axes and I, J, K from the written start to
//                   the centre (incremental, G91.1), in the plane the (turned) normal lies along:
//                   G17 for +-Z, G18 +-Y, G19 +-X; G3 turns counter-clockwise about the positive
//                   axis, so onCWArc about -Z is G3. The centre's coordinate along the normal is
//                   not used; a changed end along it makes a helix. Full circles (onCWCircle,
//                   onCCWCircle, arcs ending at the start) write no axis of the plane; onCircular
//                   with a sweep over one turn adds P (turns: P2 for one full turn and a partial
//                   one). When the written centre gives radii to the written start and end that
//                   the control would refuse (few decimals), it is moved onto their bisector; an
//                   arc that still would not pass, or would turn another way, whose normal lies
//                   along no axis, or whose radius is zero is written as G1 lines, each chord
//                   within the arc tolerance of the exact arc (setArcTolerance;
//                   getLinearisedArcs). An arc whose end rounds to its start but that turns less
//                   than half a turn is a line. Extrusion is LeftOutValue::Extrusion
//   onDwell         "G4 P<seconds>"; revolutions (FLAG_DWELL_REVOLUTIONS) as seconds at the last
//                   spindle speed (from onSpindleSpeed or the tool)
//   five-axis moves X, Y, Z from the move (the tool tip, as a control that follows the tool
//                   centre point expects) and the other axes from machine-axis values
//                   (onMachineAxisValues, named by the last onMachineAxisOrdering: A, B, C in
//                   degrees, U, V, W converted from millimetres to the unit; X, Y, Z are not
//                   written and names the dialect lacks count the values event as left out).
//                   Values belong to the next move of any kind, or to the five-axis move just
//                   before them: once the stream has named machine axes, a five-axis move without
//                   values waits for the next event, and values that come then are its own unless
//                   the ordering's X, Y, Z entries say another end (within 1e-4 mm). Without
//                   values the direction decides: it holds A, B, C in degrees when the move lacks
//                   FLAG_ABSOLUTE_DIRECTION and the context's multi-axis mode is
//                   MULTI_AXIS_UNCHECKED, or MULTI_AXIS_UNIT_VECTOR and the direction is not of
//                   unit length; otherwise it is a tool axis, and a move whose (turned) tool axis
//                   is that of the last move the writer knows the axis of (+Z at the start; a
//                   move with rotary values and a tool axis sets it, rotary values without one
//                   make it unknown) is written as a three-axis move. Anything else is refused,
//                   never guessed: a tool axis needs a machine to become rotary positions. A
//                   waiting move is written, or refused, at the next event that writes, before
//                   it; a refusal names the move and is thrown once that event is written. The
//                   four-vector forms count LeftOutValue::FiveAxisFrame
//   hole cycles     a group whose URI names a cycle of the dialect's table carries the cycle's
//                   values as double parameters (NCCycleDefinition, consumed) and then one rapid
//                   per hole to its top (onRapid, or onRapid5D with a tool axis): a G0 to the
//                   clearance height if not there, then "G98 G81 X Y Z R F" (Z the bottom, R the
//                   reference height; G82 P, G83/G73 Q the first peck, G84, G85 or G89 P with a
//                   dwell, G86 P), "X Y" and any changed Z R Q P F for the next holes (the same
//                   hole again names its X), "G80" at the group's end (or before any other move
//                   inside it). G84 and G89 feed out to the initial level, G86 stops the spindle
//                   before its rapid out, as the control makes them. A hole the canned word cannot
//                   carry is written as its moves (NCCycleDefinition::expandHole, through this
//                   writer's own events): a hole whose axis is not +Z in the WCS or whose bottom
//                   is above its reference height, left-tapping, fine-boring, pecks of another
//                   subsequent depth or none, a dwell of deep-drilling or chip-breaking, any hole
//                   in inverse time. Rapids before the first cycle value are not holes but moves.
//                   Cycle values inside any cycle group are consumed, other parameters left out.
//                   Groups that make no hole ("/expanded" groups, other cycles, any other group)
//                   are left out, their events written as they come
//   onClose         "G80" if a cycle is open, "M30", "%", and flushes the output
// Left out and counted (getLeftOut(NCEvent)), answered as the base does: parameters (but cycle
// values in cycle groups), onStock, onToolChange, groups and their ends (but hole-cycle groups
// that make a hole), turn groups, splines, Bezier curves, NURBS, onSkip, onLineNumber, onFrame,
// onMachineCommand, onRadiusCompensationMode, onToolpathEntityIndex, the commands and coolants
// above, and machine-axis values no move took by the next values or onClose. onSection,
// onSectionEnd and onMachineAxisOrdering write nothing and are not counted. Values lost
// (getLeftOut(LeftOutValue)): Flags for a move or dwell with bits besides the movement and
// FLAG_ABSOLUTE_DIRECTION (or FLAG_DWELL_REVOLUTIONS): cutting start and end, compensation; the
// movement itself (cutting, lead-in, ...) has no word and is not counted. Feed, Extrusion and
// FiveAxisFrame as above.
//
// Failures are IOException, never false. What the program cannot be written with, at the offset
// where the line would start, after which the writer goes on as if the event had not come
// (every number and check of an event comes before its first line):
//   "Cannot write line <n>: Not a finite number."
//   "Cannot write line <n>: Number out of range."        magnitude 1e9 or more
//   "Cannot write line <n>: A feed move needs a feedrate."
//   "Cannot write line <n>: Negative spindle speed."
//   "Cannot write line <n>: Negative dwell."
//   "Cannot write line <n>: A dwell in revolutions needs a spindle speed."
//   "Cannot write line <n>: An arc needs a start: no move before it."
//   "Cannot write line <n>: Arc normal of zero length."
//   "Cannot write line <n>: The arc needs more than 1000000 lines within the tolerance."
//   "Cannot write line <n>: onLinear5D has a tool axis but no machine axis values." (the event)
//   "Cannot write line <n>: Work offset 12 has no word in this dialect."
//   "Cannot write line <n>: " and the text of NCCycleDefinition::checkHole for a hole
// and failures of the output:
//   "Cannot write line <n>: <cause>"     at the line's offset (n counts the file's lines from 1;
//                                        a line that failed is not counted)
//   "Cannot flush the output: <cause>"   onClose, at the output's length
// The writer buffers 1 MiB, so an output failure surfaces at the line that fills the buffer or at
// onClose. The output stream is not owned.
class QUARN_NC_EXPORT GCodeWriter final : public NCStreamDefaultImpl {
public:
    // The most lines one linearised arc may take.
    static constexpr std::uint64_t MaximumArcLines = 1000000;
    // Numbers of this magnitude or more are refused.
    static constexpr double MaximumMagnitude = 1e9;
    static constexpr unsigned int MaximumDecimals = 9;

    explicit GCodeWriter(OutputStream* stream, GCodeDialect const& dialect = GCodeDialect::getRS274NGC());
    ~GCodeWriter() override;
    GCodeWriter(GCodeWriter const&) = delete;
    GCodeWriter& operator=(GCodeWriter const&) = delete;

    // Decimals of every number; 0 (the default) means 3 for millimetres and 4 for inches, after
    // the unit of the last context. At most 9 (more is taken as 9).
    void setDecimals(unsigned int decimals) noexcept;
    // N words: the first line number and the step; a step of 0 (the default) writes none. Every
    // line but the "%" lines and pass-through text is numbered.
    void setLineNumbers(unsigned int start, unsigned int step) noexcept;
    // Chordal tolerance in millimetres of arcs written as lines (default 0.001); a tolerance
    // that is not positive and finite is taken as the default.
    void setArcTolerance(double millimetres) noexcept;

    // Events of a kind that were not written.
    std::uint64_t getLeftOut(NCEvent kind) const noexcept { return leftOutEvents[static_cast<std::size_t>(kind)]; }
    // Events that were written without a value of this kind.
    std::uint64_t getLeftOut(LeftOutValue kind) const noexcept
    {
        return leftOutValues[static_cast<std::size_t>(kind)];
    }
    // Arcs written as G1 lines.
    std::uint64_t getLinearisedArcs() const noexcept { return linearisedArcs; }

    using NCStreamDefaultImpl::onParameter;

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
    // The axes a line can write: X Y Z, then the dialect's rotary and further linear axes.
    static constexpr std::size_t MaximumAxes = 12;

    enum class Motion : std::uint8_t { None, Rapid, Linear, Clockwise, CounterClockwise, Cycle };

    // A number as the integer of its written digits (value * 10^decimals).
    using Scaled = std::int64_t;
    struct Modal {
        bool known = false;
        Scaled value = 0;
    };
    // The values of the next move's extra axes (index into axisLetters), set by onMachineAxisValues.
    struct Pending {
        bool present = false;
        double value = 0.0;
    };
    // The line being made: a fixed buffer for word lines, whose longest is well below its size.
    struct Held {
        bool present = false;
        NCEvent event = NCEvent::onRapid5D;
        Vector3D end;
        Vector3D direction;
        double feedrate = 0.0;
        unsigned int flags = 0;
        bool rapid = false;
    };
    struct Line {
        char text[1024];
        std::size_t size = 0;
    };

    void countLeftOut(NCEvent kind) noexcept { ++leftOutEvents[static_cast<std::size_t>(kind)]; }
    void countLeftOut(LeftOutValue kind) noexcept { ++leftOutValues[static_cast<std::size_t>(kind)]; }
    void countFlags(unsigned int flags, unsigned int allowed) noexcept;

    // Refusals name the next line, at the output's position.
    [[noreturn, gnu::cold]] void refuse(std::wstring_view text) const;
    // The number as written: checked, rounded to the decimals.
    Scaled scale(double value) const;
    double unscale(Scaled value) const noexcept { return static_cast<double>(value) / power; }

    // Lines.
    void beginLine() noexcept;
    void appendText(std::string_view text) noexcept;
    void appendWord(std::string_view word) noexcept;
    void appendNumber(char letter, Scaled value) noexcept;
    void appendInteger(char letter, std::uint64_t value) noexcept;
    // Writes a line and its end (N word first when numbered); a failure names the line.
    void emit(std::string_view bytes, bool numbered);
    void emitLine();
    void emitText(std::string_view bytes, bool numbered);
    void writeWordLine(std::string_view word);

    // Context.
    void applyContext(NCContext const& context);
    void forgetPositions() noexcept;
    std::string_view workOffsetWord(unsigned int workOffset) const;
    void updateDecimals() noexcept;
    Vector3D map(Vector3D const& p) const noexcept { return identity ? p : plane * p + origin; }
    Vector3D turn(Vector3D const& v) const noexcept { return identity ? v : plane * v; }

    // Moves. Points are in the WCS.
    Scaled feedFor(double feedrate);
    void writeMove(Motion motion, Vector3D const& end, double feedrate);
    // Whether the pending values turn a rotary axis; a direction's x, y, z as pending A, B, C.
    bool pendingRotates() const noexcept;
    void setDirectionAxes(Vector3D const& direction);
    // Five-axis moves wait for the next event, which may bring their machine-axis values.
    void fiveAxis(NCEvent event, Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags,
        bool rapid);
    // Writes the waiting move, if any; every event that writes or changes what a move means calls
    // it first.
    void settle();
    // The answer of an event that called settle; throws the refusal of the waiting move, if
    // settle met one, once the event is written.
    bool finish(bool answer = true);
    void writeHeld();
    bool belongsToHeld(AxisValues const& values) const;
    bool holdsAxisValues(Vector3D const& direction, unsigned int flags) const noexcept;
    void writeArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double const* sweep,
        bool counterClockwise, bool circle, double feedrate, unsigned int flags);
    void writeArcAsLines(Vector3D const& start, Vector3D const& center, Vector3D const& end, Vector3D const& axis,
        double sweep, double feedrate);
    void selectPlane(int axis);

    // Cycles.
    void beginCycleGroup(NCCycle::Cycle cycle);
    void endCanned();
    void writeHole(Vector3D const& top, Vector3D const& axis);
    bool isInCycleGroup() const noexcept { return cycleGroupDepth != 0; }
    // Rapids are holes in a group of a hole cycle once the cycle's values came.
    bool isHoleGroup() const noexcept { return cannedGroup && cycleValuesSeen && !expanding; }

    void writeComment(std::string_view text);
    void writeCoolant(unsigned int coolant);
    void writeSpindle(double rpm, bool clockwise);

    BufferedOutputStream out;
    GCodeDialect const& dialect;

    // Settings.
    unsigned int decimalsSetting = 0;
    std::uint64_t lineNumberStart = 0;
    std::uint64_t lineNumberStep = 0;
    double arcTolerance = 0.001;

    // Output.
    Line line;
    std::string text; // comments and pass-through text, kept for its memory
    std::uint64_t linesWritten = 0;
    std::uint64_t nextLineNumber = 0;

    // The context.
    bool preambleWritten = false;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    unsigned int feedMode = 0;
    std::string_view workOffset;
    unsigned int decimals = 3;
    double power = 1000.0;
    unsigned int multiAxisMode = 0;
    bool identity = true;
    Matrix3x3 plane;
    Vector3D origin;

    // Modal state of the control as written.
    Motion motion = Motion::None;
    int selectedPlane = -1;
    Modal feed;
    std::array<Modal, MaximumAxes> axes {};
    // The position reached, as written; known after the first move.
    bool positionKnown = false;
    Vector3D position;
    // The tool axis the machine holds, when known (+Z at first).
    bool toolAxisKnown = true;
    Vector3D toolAxis {0.0, 0.0, 1.0};

    // Machine axes: the letters the dialect moves besides X Y Z (index 3 on in axes), the slot of
    // each axis of the last ordering (-1: X Y Z or unknown, -2: not writable), values pending.
    std::string axisLetters;
    std::vector<int> orderingSlots;
    std::array<int, 3> orderingXYZ {-1, -1, -1};
    Held held;
    // The refusal of a waiting move, thrown when the event that revealed it is written.
    std::optional<IOException> deferred;
    mutable bool refusing = false; // set by refuse, to tell refusals from failures of the output
    std::array<Pending, MaximumAxes> pending {};
    bool pendingAny = false;

    // Spindle and coolant.
    double spindleSpeed = 0.0;
    bool spindleClockwise = true;
    bool spindleOn = false;
    bool coolantOn = false;

    // Groups: the depth of groups, the depth of the innermost cycle group (0: none), whether it
    // is written as canned cycles, and the canned state of its holes.
    unsigned int groupDepth = 0;
    unsigned int cycleGroupDepth = 0;
    bool cannedGroup = false;
    bool cycleValuesSeen = false;
    std::uint64_t holesWritten = 0;
    bool expanding = false;
    NCCycleDefinition cycleDefinition;
    bool cannedActive = false;
    Scaled cannedReturn = 0;
    Modal cannedZ, cannedR, cannedQ, cannedP;
    std::string_view cannedWord;

    std::uint64_t linearisedArcs = 0;
    std::array<std::uint64_t, NCEventCount> leftOutEvents {};
    std::array<std::uint64_t, LeftOutValueCount> leftOutValues {};
};

} // namespace Quarn
