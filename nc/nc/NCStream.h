// The event interface every stage of an NC program chain implements: readers call it,
// filters forward it, sinks write it.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"
#include "util/utility/text/Message.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

class AxisOrdering;
class AxisValues;
class NCContext;
class NCTool;
class Point3D;
class TaggedFrame;

// An NC program as calls, one per event, in program order:
//   onOpen; per section: onContext, onTool, onSection, the section's events, onSectionEnd; onClose.
//
// Every event returns true to go on and false to refuse: a sender that gets false stops and
// returns false to its own caller, so a false from a sink travels back to the reader. Filters
// return the next stream's result unchanged. false is not an error: malformed input is an
// exception and the two never mix.
//
// Failures, one way: a reader's malformed input throws (IOException, ParseException); a file
// writer whose output fails throws IOException saying what it could not write, and never answers
// false for it. Only the two diagnostic sinks differ: LogNCStream reports nothing about its log
// through its results, and TextNCStream answers false once its output stream has failed.
//
// Lengths are in the unit of the last context (millimetres or inches), in the context's local
// work frame; angles are radians unless a name says degrees; machine-axis values are
// millimetres (linear) and degrees (rotary). The order of the virtual operations is part of
// the interface and must not change. Every event is also listed in nc/nc/NCEvents.def, from
// which the stages that handle every event draw their operations: a new event goes there too.
class QUARN_NC_EXPORT NCStream {
public:
    // Machine commands of onCommand. 40 to 46 are numbered but unnamed.
    enum Command : std::uint32_t {
        COMMAND_INVALID = 0,
        COMMAND_STOP = 1,
        COMMAND_OPTIONAL_STOP = 2,
        COMMAND_END = 3,
        COMMAND_SPINDLE_CLOCKWISE = 4,
        COMMAND_SPINDLE_COUNTERCLOCKWISE = 5,
        COMMAND_START_SPINDLE = 6,
        COMMAND_STOP_SPINDLE = 7,
        COMMAND_ORIENTATE_SPINDLE = 8,
        COMMAND_LOAD_TOOL = 9,
        COMMAND_COOLANT_ON = 10,
        COMMAND_COOLANT_OFF = 11,
        COMMAND_ACTIVATE_SPEED_FEED_SYNCHRONIZATION = 12,
        COMMAND_DEACTIVATE_SPEED_FEED_SYNCHRONIZATION = 13,
        COMMAND_LOCK_MULTI_AXIS = 14,
        COMMAND_UNLOCK_MULTI_AXIS = 15,
        COMMAND_EXACT_STOP = 16,
        COMMAND_START_CHIP_TRANSPORT = 17,
        COMMAND_STOP_CHIP_TRANSPORT = 18,
        COMMAND_OPEN_DOOR = 19,
        COMMAND_CLOSE_DOOR = 20,
        COMMAND_BREAK_CONTROL = 21,
        COMMAND_TOOL_MEASURE = 22,
        COMMAND_CALIBRATE = 23,
        COMMAND_VERIFY = 24,
        COMMAND_CLEAN = 25,
        COMMAND_ALARM = 26,
        COMMAND_ALERT = 27,
        COMMAND_CHANGE_PALLET = 28,
        COMMAND_POWER_ON = 29,
        COMMAND_POWER_OFF = 30,
        COMMAND_MAIN_CHUCK_OPEN = 31,
        COMMAND_MAIN_CHUCK_CLOSE = 32,
        COMMAND_SECONDARY_CHUCK_OPEN = 33,
        COMMAND_SECONDARY_CHUCK_CLOSE = 34,
        COMMAND_ACTIVATE_SECONDARY_SPINDLE_SYNCHRONIZATION = 35,
        COMMAND_DEACTIVATE_SECONDARY_SPINDLE_SYNCHRONIZATION = 36,
        COMMAND_SYNC_CHANNELS = 37,
        COMMAND_PROBE_ON = 38,
        COMMAND_PROBE_OFF = 39,
        COMMAND_RESERVED_40 = 40,
        COMMAND_RESERVED_41 = 41,
        COMMAND_RESERVED_42 = 42,
        COMMAND_RESERVED_43 = 43,
        COMMAND_RESERVED_44 = 44,
        COMMAND_RESERVED_45 = 45,
        COMMAND_RESERVED_46 = 46,
        COMMAND_LIVE_ALIGNMENT = 47,
    };
    static constexpr std::uint32_t COMMAND_COUNT = 48;

    // The kind of a move, carried in the motion flags. 22 and above is not a movement.
    enum Movement : std::uint32_t {
        MOVEMENT_RAPID = 0,
        MOVEMENT_LEAD_IN = 1,
        MOVEMENT_CUTTING = 2,
        MOVEMENT_LEAD_OUT = 3,
        MOVEMENT_TRANSITION = 4,
        MOVEMENT_DIRECT = 5,
        MOVEMENT_HELIX_RAMP = 6,
        MOVEMENT_PROFILE_RAMP = 7,
        MOVEMENT_ZIGZAG_RAMP = 8,
        MOVEMENT_RAMP = 9,
        MOVEMENT_PLUNGE = 10,
        MOVEMENT_PREDRILL = 11,
        MOVEMENT_EXTENDED = 12,
        MOVEMENT_REDUCED = 13,
        MOVEMENT_FINISH_CUTTING = 14,
        MOVEMENT_HIGH_FEED = 15,
        MOVEMENT_DEPOSITING = 16,
        MOVEMENT_CONNECTION = 17,
        MOVEMENT_DRILL_BREAKTHROUGH = 18,
        MOVEMENT_GUN_DRILL_POSITIONING = 19,
        MOVEMENT_GUIDED_LEAD = 20,
        MOVEMENT_GUIDED_RAPID = 21,
    };
    static constexpr std::uint32_t MOVEMENT_COUNT = 22;

    // Bits of getMovementGroup.
    enum MovementGroup : std::uint32_t {
        MOVEMENT_GROUP_CUTTING = 0x1, // material is cut
        MOVEMENT_GROUP_NONCUTTING = 0x2,
        MOVEMENT_GROUP_RAMP = 0x4,
        MOVEMENT_GROUP_RAPID = 0x8, // rapid or near-rapid speed
    };

    // Cutter radius compensation side.
    enum Compensation : std::uint32_t {
        COMPENSATION_OFF = 0,
        COMPENSATION_LEFT = 1,
        COMPENSATION_RIGHT = 2,
    };

    // Bits of the flags word of every motion and dwell event. The movement is five bits in two
    // places: bits 0-3 at 16-19 and bit 4 at 0x4.
    enum Flags : unsigned int {
        FLAG_START_CUTTING = 0x1, // a cutting move starts here
        FLAG_END_CUTTING = 0x2, // a cutting move ends here
        FLAG_MOVEMENT_BIT4 = 0x4,
        FLAG_ABSOLUTE_DIRECTION = 0x20, // five-axis direction is a tool axis, not axis values
        FLAG_DWELL_REVOLUTIONS = 0x40, // onDwell time counts spindle revolutions, not seconds
        FLAG_COMPENSATION_LEFT = 0x80,
        FLAG_COMPENSATION_RIGHT = 0x100,
        FLAG_COMPENSATION_MASK = 0x180, // both bits set means off
        FLAG_MOVEMENT_LOW_MASK = 0xF0000,
    };

    // What a numeric parameter measures (the kinded onParameter).
    enum ParameterKind : std::uint32_t {
        PARAMETER_KIND_NUMBER = 0,
        PARAMETER_KIND_LENGTH = 1,
        PARAMETER_KIND_ANGLE = 2,
        PARAMETER_KIND_FEEDRATE = 3,
        PARAMETER_KIND_SPINDLE_SPEED = 4,
        PARAMETER_KIND_TIME = 5,
        PARAMETER_KIND_RATIO = 6,
        PARAMETER_KIND_COUNT = 7,
    };

    // Second argument of onCoolant.
    enum CoolantLevel : std::uint32_t {
        COOLANT_LEVEL_DEFAULT = 0,
        COOLANT_LEVEL_LOW = 1,
        COOLANT_LEVEL_MEDIUM = 2,
        COOLANT_LEVEL_HIGH = 3,
    };

    // Kind of a turning group on the toolpath side.
    enum TurnGroupType : std::uint32_t {
        TURN_GROUP_NONE = 0,
        TURN_GROUP_TNR = 1, // tool nose radius compensation
        TURN_GROUP_CANNED_ROUGH = 2,
    };

    // Argument of the toolpath stream's onMarking.
    struct MarkingFlags {
        bool startOfPass = false;
        bool endOfPass = false;
        bool retract = false;
        friend bool operator==(MarkingFlags const&, MarkingFlags const&) = default;
    };

    // Which entity of which kernel toolpath the following events come from.
    struct ToolpathEntityIndex {
        std::uint32_t toolpath = 0;
        std::uint64_t entity = 0;
        friend bool operator==(ToolpathEntityIndex const&, ToolpathEntityIndex const&) = default;
    };

    // Bases of namespace URIs: A is the library's own; B is accepted on input and remapped to A;
    // C names the XML and kernel formats.
    static constexpr std::string_view NamespaceBaseA = "http://www.quarn.dev";
    static constexpr std::string_view NamespaceBaseB = "http://legacy.quarn.dev";
    static constexpr std::string_view NamespaceBaseC = "http://schema.quarn.dev";

    // NamespaceBaseA + "/namespace/nc", "/namespace/nc/cycle" and "/namespace/nc/parameter".
    static Message const DEFAULT_NAMESPACE;
    static Message const DEFAULT_CYCLE_NAMESPACE;
    static Message const DEFAULT_PARAMETER_NAMESPACE;

    NCStream() = default;
    NCStream(NCStream const&) noexcept { }
    NCStream& operator=(NCStream const&) noexcept { return *this; }
    virtual ~NCStream();

    // --- Text records: copied to the output as they are, and comments.
    virtual bool passThrough(wchar_t const* text) = 0;
    virtual bool passThrough(char const* text) = 0;
    virtual bool onComment(wchar_t const* comment) = 0;
    virtual bool onComment(char const* comment) = 0;

    // --- Machine state.
    virtual bool onCommand(Command command) = 0;
    // The base refuses: a stream that understands entity indices says so by overriding.
    virtual bool onToolpathEntityIndex(ToolpathEntityIndex const& index);
    virtual bool onMachineCommand(unsigned int machineCommand) = 0;
    virtual bool onCoolant(unsigned int coolant, CoolantLevel level) = 0;
    // Revolutions per minute.
    virtual bool onSpindleSpeed(double speed) = 0;
    virtual bool onRadiusCompensationMode(bool enable) = 0;
    virtual bool onRadiusCompensation(Compensation compensation) = 0;

    // --- Structure.
    virtual bool onOpen() = 0;

    // --- Parameters: named values; names are full URIs below DEFAULT_PARAMETER_NAMESPACE.
    virtual bool onParameter(char const* name, Point3D const& value) = 0;
    // Sends onParameter("kind", int(kind)) and then, unless refused, onParameter(name, value).
    virtual bool onParameter(char const* name, double value, ParameterKind kind);
    virtual bool onParameter(char const* name, double value) = 0;
    virtual bool onParameter(char const* name, int value) = 0;
    virtual bool onParameter(char const* name, wchar_t const* value) = 0;
    virtual bool onParameter(char const* name, char const* value) = 0;

    // --- Records: the stock box, the section context and the tool.
    virtual bool onStock(Vector3D const& lower, Vector3D const& upper) = 0;
    virtual bool onContext(NCContext const& context) = 0;
    virtual bool onTool(NCTool const& tool) = 0;
    virtual bool onToolChange() = 0;

    // --- Structure: sections and groups (a group URI names a cycle or an operation).
    virtual bool onSection() = 0;
    virtual bool onGroup(char const* uri) = 0;
    virtual bool onTurnGroup(char const* name) = 0;
    virtual bool onGroupEnd() = 0;
    virtual bool onTurnGroupEnd() = 0;
    virtual bool onSectionEnd() = 0;

    // --- Moves. Seconds for dwells (revolutions with FLAG_DWELL_REVOLUTIONS); feedrates in
    // length units per minute; directions are unit tool axes (z), x directions (x) and
    // surface normals (n).
    virtual bool onDwell(double time, unsigned int flags) = 0;
    virtual bool onRapid(Vector3D const& end, unsigned int flags) = 0;
    // Drops x and n and calls the two-vector form with z as direction.
    virtual bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags);
    virtual bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) = 0;
    virtual bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) = 0;
    // Drops x and n and calls the two-vector form with z as direction.
    virtual bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n,
        double feedrate, unsigned int flags);
    virtual bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) = 0;
    // Additive manufacturing: a line that deposits; the two numbers are feedrate and extrusion.
    virtual bool onLinearExtrude(Vector3D const& end, double feedrate, double extrusion) = 0;

    // --- Arcs: centre, end and the unit normal of the arc plane; the start is the last end.
    virtual bool onCWArc(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
        = 0;
    virtual bool onCCWArc(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
        = 0;
    // A signed sweep in radians about the normal (counter-clockwise positive).
    virtual bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        double feedrate, unsigned int flags)
        = 0;
    virtual bool onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags)
        = 0;
    virtual bool onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags)
        = 0;
    virtual bool onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        double feedrate, double extrusion, unsigned int flags)
        = 0;
    // Full circles: end equals the start.
    virtual bool onCWCircle(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
        = 0;
    virtual bool onCCWCircle(
        Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
        = 0;

    // --- Free-form curves: spline and Bezier through two control points to an end point.
    virtual bool onSpline(
        Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
        = 0;
    virtual bool onBezier(
        Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
        = 0;
    virtual bool onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots, unsigned int knotCount,
        double feedrate, unsigned int flags)
        = 0;

    // --- Program structure: block skip and source line numbers.
    virtual bool onSkip() = 0;
    virtual bool onLineNumber(unsigned int line) = 0;

    // --- Machine axes: the ordering names the axes; values follow it entry by entry.
    virtual bool onMachineAxisOrdering(AxisOrdering const& ordering) = 0;
    virtual bool onMachineAxisValues(AxisValues const& values) = 0;
    virtual bool onFrame(TaggedFrame const& frame) = 0;

    virtual bool onClose() = 0;

    // --- Helpers of the flags word.
    static constexpr Movement getMovement(unsigned int flags) noexcept
    {
        return static_cast<Movement>(((flags & FLAG_MOVEMENT_LOW_MASK) >> 16) | ((flags & FLAG_MOVEMENT_BIT4) << 2));
    }
    static constexpr unsigned int getMovementFlags(Movement movement) noexcept
    {
        return ((movement << 16) & FLAG_MOVEMENT_LOW_MASK) | ((movement >> 2) & FLAG_MOVEMENT_BIT4);
    }
    static constexpr bool isMovement(unsigned int movement) noexcept { return movement < MOVEMENT_COUNT; }
    // Group bits of a movement; the movement must be below MOVEMENT_COUNT.
    static unsigned int getMovementGroup(unsigned int movement);
    static bool isCuttingMovement(unsigned int movement);
    static bool isProcessMovement(unsigned int movement);
    static constexpr Compensation getRadiusCompensation(unsigned int flags) noexcept
    {
        switch (flags & FLAG_COMPENSATION_MASK) {
        case FLAG_COMPENSATION_LEFT:
            return COMPENSATION_LEFT;
        case FLAG_COMPENSATION_RIGHT:
            return COMPENSATION_RIGHT;
        default:
            return COMPENSATION_OFF;
        }
    }
    static unsigned int getRadiusCompensationFlags(Compensation compensation);

    // The command that undoes the given one, or COMMAND_INVALID when there is none.
    static Command getOppositeCommand(Command command) noexcept;
    // "STOP", "LIVE_ALIGNMENT", ...; empty for unnamed and unknown values.
    static std::wstring_view getCommandName(std::uint32_t command) noexcept;
    // "rapid", "lead_in", ...; empty for values that are not movements.
    static std::wstring_view getMovementName(std::uint32_t movement) noexcept;

    // Replaces a leading NamespaceBaseB + "/namespace/" by NamespaceBaseA + "/namespace/".
    static bool remapNamespace(std::string& uri);
    // The short name behind a known namespace prefix and a slash, as a pointer into name.
    static char const* stripNamespace(char const* name) noexcept;
};

} // namespace Quarn
