// A hole-making cycle and its values: how they travel as parameters, and the moves of one hole.
#pragma once

#include "nc/nc/NCCycle.h"
#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <array>
#include <optional>
#include <string>

namespace Quarn {

class NCStream;

// A drilling, tapping or boring cycle as a program describes it once for a row of holes. On the
// stream a cycle is a group named by the cycle (NCCycle) that carries the values below as double
// parameters and one rapid per hole to the top of the hole; its expanded form is a group named
// getExpandedUri that carries the same parameters and, per hole, the moves the cycle makes.
//
// Heights are coordinates along the hole's axis (the unit vector from the bottom to the top of the
// hole, +Z when the two coincide): the point of a hole at height h is the point of its axis line
// whose coordinate along the axis is h. Depths, pecks, clearances and the shift are lengths; the
// dwell is in seconds; the feedrate in length units per minute.
//
// The moves of one hole (expandHole), with C and R the points at the clearance and reference
// heights, B the bottom; every rapid and feed that would not move is left out:
//   every cycle          rapid to C, rapid to R, then
//   drilling             feed to B, rapid to C
//   counter-boring       feed to B, dwell, rapid to C
//   deep-drilling        pecks: feed down by the first peck, then by each subsequent peck (depths
//                        below R, the last clipped to B), after each peck short of B a rapid out
//                        to R and a rapid back to the peck clearance above the depth reached
//                        (left out when that is above R); the last feed reaches B; dwell; rapid
//                        to C
//   chip-breaking        pecks as deep drilling, but after each short of B a rapid back up by the
//                        peck clearance only; dwell; rapid to C
//   right-tapping, left-tapping, boring
//                        feed to B, dwell, feed out to R, rapid to C
//   stop-boring          feed to B, dwell, rapid to C
//   fine-boring          feed to B, dwell, rapid by the shift across the axis (along x of the
//                        hole: the part of +X across the axis, or of +Y when the axis is X to
//                        within 1e-9), rapid out to C shifted likewise, rapid back to C
// Dwells (onDwell with flags 0) are sent only when the dwell is positive. A first peck of zero or
// less makes one feed to B, a subsequent peck of zero or less repeats the first, and a peck
// clearance of zero or less makes no rapid back. The first move of a hole is always sent.
// Moves are onRapid (MOVEMENT_RAPID) and onLinear (MOVEMENT_CUTTING, the feedrate) when the axis
// is exactly +Z, else the tool-axis forms with FLAG_ABSOLUTE_DIRECTION and the axis as direction.
class QUARN_NC_EXPORT NCCycleDefinition {
public:
    // The values of a cycle, in the order sendParameters sends them.
    enum Value : unsigned int {
        VALUE_CLEARANCE_HEIGHT = 0, // where the tool travels between holes
        VALUE_REFERENCE_HEIGHT = 1, // where feeding starts
        VALUE_DEPTH = 2, // from the top of the hole to its bottom
        VALUE_FIRST_PECK = 3,
        VALUE_SUBSEQUENT_PECK = 4,
        VALUE_PECK_CLEARANCE = 5, // back-off of a peck or chip break
        VALUE_DWELL = 6,
        VALUE_FEEDRATE = 7,
        VALUE_SHIFT = 8, // fine boring's move off the wall before retracting
    };
    static constexpr unsigned int VALUE_COUNT = 9;

    // The most pecks expandHole makes in one hole; checkHole refuses holes that would need more.
    static constexpr unsigned int MaximumPecks = 100000;

    NCCycleDefinition() = default;
    explicit NCCycleDefinition(NCCycle::Cycle cycle) noexcept : cycle(cycle) { }

    NCCycle::Cycle getCycle() const noexcept { return cycle; }
    void setCycle(NCCycle::Cycle value) noexcept { cycle = value; }
    double getValue(Value value) const noexcept { return values[value]; }
    void setValue(Value value, double number) noexcept { values[value] = number; }

    // DEFAULT_PARAMETER_NAMESPACE + "/cycle/" + "clearance-height", "reference-height", "depth",
    // "first-peck", "subsequent-peck", "peck-clearance", "dwell", "feedrate", "shift".
    static std::string const& getParameterName(Value value);
    // The value a parameter name stands for: the full name, or the same name under the other
    // parameter namespace NCStream::stripNamespace knows (NamespaceBaseB's).
    static std::optional<Value> findValue(char const* name) noexcept;
    // Takes the value when name is one of the cycle's; returns whether it was.
    bool setFromParameter(char const* name, double number) noexcept;

    // DEFAULT_CYCLE_NAMESPACE + "/" + the cycle's name + "/expanded" ("drilling/expanded"); empty
    // for cycles expandHole cannot expand.
    static std::string getExpandedUri(NCCycle::Cycle cycle);
    // DEFAULT_CYCLE_NAMESPACE + "/" + the cycle's name; empty for CYCLE_NONE and unknown values.
    static std::string getUri(NCCycle::Cycle cycle);
    // Drilling, counter-boring, deep-drilling, chip-breaking, right- and left-tapping, boring,
    // stop-boring and fine-boring.
    static bool isExpandable(NCCycle::Cycle cycle) noexcept;

    // Sends every value as a double parameter, in the order of Value; stops at the first false.
    bool sendParameters(NCStream& target) const;
    // Sends the value as a double parameter.
    bool sendParameter(NCStream& target, Value value) const;

    // Why the moves of a hole cannot be made, or nothing when they can. The first of: a value that
    // is not finite ("Cycle value 'depth' is not a number.", in the order of Value), "Hole top is
    // not a number.", "Hole bottom is not a number.", "Hole moves are out of range." (a point of a
    // move would not be finite), "Too many pecks." (more than MaximumPecks).
    std::optional<std::wstring> checkHole(Vector3D const& top, Vector3D const& bottom) const;
    // Sends the moves of one hole (above); false at the first false. The cycle must be expandable
    // and the hole pass checkHole; otherwise it sends nothing and returns false.
    bool expandHole(NCStream& target, Vector3D const& top, Vector3D const& bottom) const;

    // The point of a hole's axis line at a height (exact for holes along X, Y or Z).
    static Vector3D getPointAtHeight(Vector3D const& top, Vector3D const& bottom, double height) noexcept;
    // The unit vector from bottom to top; +Z when they coincide.
    static Vector3D getHoleAxis(Vector3D const& top, Vector3D const& bottom) noexcept;

private:
    NCCycle::Cycle cycle = NCCycle::CYCLE_NONE;
    std::array<double, VALUE_COUNT> values {};
};

} // namespace Quarn
