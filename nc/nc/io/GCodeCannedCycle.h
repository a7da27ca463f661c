// The moves of RS274NGC canned hole cycles (G73, G74, G81 to G89), as the control makes them.
#pragma once

#include "nc/nc/NCCycle.h"
#include "nc/nc/NCCycleDefinition.h"
#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <string>

namespace Quarn {

class NCStream;

// GCodeReader works out the levels and positions of a cycle block (absolute and incremental
// distances, G98/G99, sticky words, L repeats) and hands one Block to this class, which sends the
// moves the control makes. Levels are coordinates along the axis of the active plane (Z in G17,
// Y in G18, X in G19); positions are absolute, in the program's coordinates and unit.
//
// The moves, in the words of the axis (Z) and the plane (XY); "clear" is the block's clear level:
//   preliminary      (once per block) a rapid along the axis up to R when the tool is below R
//   every hole       a rapid across to the hole at the current level, then a rapid along the
//                    axis to R, then by cycle:
//   G81              feed to the bottom, rapid to clear
//   G82              feed to the bottom, dwell P, rapid to clear
//   G83              pecks of Q: depth = R - Q, R - 2Q ... (each by subtracting Q again) while above
//                    the bottom: feed to depth, rapid up to R, rapid back to depth + the peck
//                    clearance (above R when Q is less than the clearance); then feed to the
//                    bottom, rapid to clear
//   G73              as G83, but after each peck a rapid up to depth + the peck clearance only
//   G84              feed to the bottom, spindle stop, spindle counter-clockwise, dwell P, feed
//                    out to clear, spindle stop, spindle clockwise
//   G74              as G84 with the spindle's directions swapped
//   G85              feed to the bottom, feed out to R, rapid to clear
//   G86              feed to the bottom, dwell P, spindle stop, rapid to clear, spindle on in its
//                    direction
//   G87              with O the hole shifted across by the plane's offsets: rapid to O at R,
//                    spindle stop, spindle orientation, rapid to O at the bottom, rapid to the
//                    hole's bottom, spindle on in its direction, feed up to the back bore's level,
//                    feed back to the bottom, spindle stop, spindle orientation, rapid to O at the
//                    bottom, rapid to O at clear, rapid to the hole at clear, spindle on
//   G88              feed to the bottom, dwell P, spindle stop, program stop, spindle on in its
//                    direction; the operator takes the tool out to clear, so the position becomes
//                    the hole at clear without a move
//   G89              feed to the bottom, dwell P, feed out to clear
// Moves are onRapid (MOVEMENT_RAPID) and onLinear (MOVEMENT_CUTTING, the block's feedrate);
// dwells onDwell(seconds, 0) when P is positive; spindle and program stops onCommand
// (COMMAND_STOP_SPINDLE, COMMAND_SPINDLE_CLOCKWISE, COMMAND_SPINDLE_COUNTERCLOCKWISE,
// COMMAND_ORIENTATE_SPINDLE, COMMAND_STOP). A rapid or feed that would not move is not sent.
//
// Errors are GCodeError: "Canned cycle value is not finite." (a level, Q, P, the feedrate, an
// offset, the position or the hole), "Canned cycle move is out of range." (a point of a move would
// not be finite), "Negative or zero Q value used." (G73, G83), "Too many pecks." (a hole would take
// more than NCCycleDefinition::MaximumPecks feeds), "Not a canned cycle: G..." (a word that is no
// hole cycle). They are thrown before the first event of the call.
class QUARN_NC_EXPORT GCodeCannedCycle {
public:
    // The peck clearance of G83 and G73 in inches and millimetres.
    static constexpr double PeckClearanceInches = 0.010;
    static constexpr double PeckClearanceMillimetres = 0.254;

    struct Block {
        int word = 810; // ten times the G number: 730, 740, 810 ... 890
        int axis = 2; // the axis of the plane: 0 X (G19), 1 Y (G18), 2 Z (G17)
        double reference = 0.0; // R
        double bottom = 0.0; // the level of the hole's bottom
        double clear = 0.0; // the level the tool goes back to after each hole
        double peck = 0.0; // Q
        double dwell = 0.0; // P, seconds
        double feedrate = 0.0;
        // G87: I, J, K. The components across the plane are the offset of the tool's way in and
        // out from the hole; the one along the axis is the absolute level the back bore is fed up
        // to (in G91 the control takes K from the bottom: the reader adds it).
        Vector3D backBoringOffset {};
        bool inches = false; // the program's unit
        bool counterClockwise = false; // the spindle's direction, which G86, G87 and G88 turn it back on in
    };

    // The library's cycle of a word (G81 drilling, G82 counter-boring, G83 deep-drilling, G73
    // chip-breaking, G84 right-tapping, G74 left-tapping, G85 and G89 boring, G86 and G88
    // stop-boring, G87 back-boring); CYCLE_NONE for a word that is no hole cycle.
    static NCCycle::Cycle getCycle(int word) noexcept;
    // The URI of the group of a block's holes: the cycle's URI + "/expanded"; empty for a word that
    // is no hole cycle.
    static std::string getGroupUri(int word);
    // The values the block's group carries: clearance height = clear, reference height = R,
    // depth = R - bottom (heights run up the plane's axis), feedrate; first and subsequent peck =
    // Q and the peck clearance of the unit for G73 and G83, else 0; dwell = P for the cycles that
    // dwell (G74, G82, G84, G86, G88, G89), else 0; the shift 0.
    static NCCycleDefinition getDefinition(Block const& block);

    // The preliminary move; position is the tool's and becomes the end of what was sent. Returns
    // false when the target stopped.
    static bool sendPreliminary(NCStream& target, Block const& block, Vector3D& position);
    // The moves of one hole at hole (its coordinate along the axis is not used); position as for
    // sendPreliminary, and at the first false the end of the move the target refused.
    static bool sendHole(NCStream& target, Block const& block, Vector3D const& hole, Vector3D& position);

private:
    // Throws the first error of the block, the position and the hole (nullptr: none).
    static void check(Block const& block, Vector3D const& position, Vector3D const* hole);
    // The feeds of a pecking hole: the partial pecks and the last; throws "Too many pecks.".
    static unsigned int countPecks(Block const& block);
};

} // namespace Quarn
