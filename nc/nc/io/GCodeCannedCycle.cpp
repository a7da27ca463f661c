// The moves of RS274NGC canned hole cycles as the control makes them, and the values of their groups.
#include "nc/nc/io/GCodeCannedCycle.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/io/GCodeExpression.h"
#include "util/utility/Debug.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace Quarn {

namespace {

using Block = GCodeCannedCycle::Block;

constexpr unsigned int RapidFlags = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
constexpr unsigned int FeedFlags = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);

bool isPecking(int word) noexcept { return word == 730 || word == 830; }

bool isDwelling(int word) noexcept
{
    return word == 740 || word == 820 || word == 840 || word == 860 || word == 880 || word == 890;
}

double peckClearance(Block const& block) noexcept
{
    return block.inches ? GCodeCannedCycle::PeckClearanceInches : GCodeCannedCycle::PeckClearanceMillimetres;
}

int axisOf(Block const& block) noexcept
{
    QUARN_EXPECTS(block.axis >= 0 && block.axis <= 2);
    return block.axis >= 0 && block.axis <= 2 ? block.axis : 2;
}

Vector3D atLevel(Vector3D point, int axis, double level) noexcept
{
    point[axis] = level;
    return point;
}

// Sends moves from the tool's position, which it keeps up to date, and leaves out those that
// would not move.
class Mover {
public:
    Mover(NCStream& target, Block const& block, Vector3D& position) noexcept
        : target(target), feedrate(block.feedrate), axis(axisOf(block)), position(position)
    {
    }

    bool rapid(Vector3D const& end) { return moves(end) ? target.onRapid(end, RapidFlags) : true; }
    bool feed(Vector3D const& end) { return moves(end) ? target.onLinear(end, feedrate, FeedFlags) : true; }
    bool rapidTo(double level) { return rapid(atLevel(position, axis, level)); }
    bool feedTo(double level) { return feed(atLevel(position, axis, level)); }
    bool dwell(double seconds) { return !(seconds > 0.0) || target.onDwell(seconds, 0); }
    bool command(NCStream::Command command) { return target.onCommand(command); }
    // Where the tool is taken without a move of the program (G88's manual retract).
    void takenTo(double level) noexcept { position[axis] = level; }

private:
    bool moves(Vector3D const& end) noexcept
    {
        if (end == position)
            return false;
        position = end;
        return true;
    }

    NCStream& target;
    double feedrate;
    int axis;
    Vector3D& position;
};

std::string wordText(int word)
{
    std::string text = word < 0 ? "G-" : "G";
    text += std::to_string(std::abs(word / 10));
    if (word % 10 != 0)
        text += "." + std::to_string(std::abs(word % 10));
    return text;
}

} // namespace

NCCycle::Cycle GCodeCannedCycle::getCycle(int word) noexcept
{
    switch (word) {
    case 730:
        return NCCycle::CYCLE_CHIP_BREAKING;
    case 740:
        return NCCycle::CYCLE_LEFT_TAPPING;
    case 810:
        return NCCycle::CYCLE_DRILLING;
    case 820:
        return NCCycle::CYCLE_COUNTER_BORING;
    case 830:
        return NCCycle::CYCLE_DEEP_DRILLING;
    case 840:
        return NCCycle::CYCLE_RIGHT_TAPPING;
    case 850:
    case 890:
        return NCCycle::CYCLE_BORING;
    case 860:
    // G88 bores and stops the spindle at the bottom as G86 does; that the operator, not the
    // program, takes the tool out is no cycle of its own in the catalogue.
    case 880:
        return NCCycle::CYCLE_STOP_BORING;
    case 870:
        return NCCycle::CYCLE_BACK_BORING;
    default:
        return NCCycle::CYCLE_NONE;
    }
}

std::string GCodeCannedCycle::getGroupUri(int word)
{
    NCCycle::Cycle const cycle = getCycle(word);
    return cycle == NCCycle::CYCLE_NONE ? std::string() : NCCycleDefinition::getUri(cycle) + "/expanded";
}

NCCycleDefinition GCodeCannedCycle::getDefinition(Block const& block)
{
    NCCycleDefinition definition(getCycle(block.word));
    definition.setValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, block.clear);
    definition.setValue(NCCycleDefinition::VALUE_REFERENCE_HEIGHT, block.reference);
    definition.setValue(NCCycleDefinition::VALUE_DEPTH, block.reference - block.bottom);
    definition.setValue(NCCycleDefinition::VALUE_FEEDRATE, block.feedrate);
    // Q and P stay sticky in the reader across cycles that do not use them.
    if (isPecking(block.word)) {
        definition.setValue(NCCycleDefinition::VALUE_FIRST_PECK, block.peck);
        definition.setValue(NCCycleDefinition::VALUE_SUBSEQUENT_PECK, block.peck);
        definition.setValue(NCCycleDefinition::VALUE_PECK_CLEARANCE, peckClearance(block));
    }
    if (isDwelling(block.word))
        definition.setValue(NCCycleDefinition::VALUE_DWELL, block.dwell);
    return definition;
}

void GCodeCannedCycle::check(Block const& block, Vector3D const& position, Vector3D const* hole)
{
    if (getCycle(block.word) == NCCycle::CYCLE_NONE)
        throw GCodeError("Not a canned cycle: " + wordText(block.word) + ".");
    bool const finite = std::isfinite(block.reference) && std::isfinite(block.bottom) && std::isfinite(block.clear)
        && std::isfinite(block.peck) && std::isfinite(block.dwell) && std::isfinite(block.feedrate)
        && block.backBoringOffset.isFinite() && position.isFinite() && (hole == nullptr || hole->isFinite());
    if (!finite)
        throw GCodeError("Canned cycle value is not finite.");
    if (hole != nullptr && block.word == 870) {
        int const axis = axisOf(block);
        for (int across = 0; across < 3; ++across)
            if (across != axis && !std::isfinite((*hole)[across] + block.backBoringOffset[across]))
                throw GCodeError("Canned cycle move is out of range.");
    }
}

unsigned int GCodeCannedCycle::countPecks(Block const& block)
{
    if (!(block.peck > 0.0))
        throw GCodeError("Negative or zero Q value used.");
    // The quotient refuses absurd holes at once; counting as sendHole steps refuses the rest,
    // among them depths so large that subtracting Q does not change them.
    if ((block.reference - block.bottom) / block.peck > NCCycleDefinition::MaximumPecks)
        throw GCodeError("Too many pecks.");
    unsigned int feeds = 1;
    for (double depth = block.reference - block.peck; depth > block.bottom; depth -= block.peck)
        if (++feeds > NCCycleDefinition::MaximumPecks)
            throw GCodeError("Too many pecks.");
    return feeds;
}

bool GCodeCannedCycle::sendPreliminary(NCStream& target, Block const& block, Vector3D& position)
{
    check(block, position, nullptr);
    Mover move(target, block, position);
    return !(position[axisOf(block)] < block.reference) || move.rapidTo(block.reference);
}

bool GCodeCannedCycle::sendHole(NCStream& target, Block const& block, Vector3D const& hole, Vector3D& position)
{
    check(block, position, &hole);
    if (isPecking(block.word))
        countPecks(block);

    int const axis = axisOf(block);
    double const r = block.reference;
    double const clear = block.clear;
    double const bottom = block.bottom;
    NCStream::Command const spindleOn
        = block.counterClockwise ? NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE : NCStream::COMMAND_SPINDLE_CLOCKWISE;
    Mover move(target, block, position);
    if (!move.rapid(atLevel(hole, axis, position[axis])) || !move.rapidTo(r))
        return false;

    switch (block.word) {
    case 810:
        return move.feedTo(bottom) && move.rapidTo(clear);
    case 820:
        return move.feedTo(bottom) && move.dwell(block.dwell) && move.rapidTo(clear);
    case 730:
    case 830: {
        // Each depth is the last one less Q, as the control computes it: with a Q that does not
        // divide the depth exactly the rounding can leave one more (tiny) peck.
        double const clearance = peckClearance(block);
        for (double depth = r - block.peck; depth > bottom; depth -= block.peck) {
            if (!move.feedTo(depth))
                return false;
            if (block.word == 830 && !move.rapidTo(r))
                return false;
            if (!move.rapidTo(depth + clearance))
                return false;
        }
        return move.feedTo(bottom) && move.rapidTo(clear);
    }
    case 840:
    case 740: {
        bool const right = block.word == 840;
        NCStream::Command const out
            = right ? NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE : NCStream::COMMAND_SPINDLE_CLOCKWISE;
        NCStream::Command const in
            = right ? NCStream::COMMAND_SPINDLE_CLOCKWISE : NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE;
        return move.feedTo(bottom) && move.command(NCStream::COMMAND_STOP_SPINDLE) && move.command(out)
            && move.dwell(block.dwell) && move.feedTo(clear) && move.command(NCStream::COMMAND_STOP_SPINDLE)
            && move.command(in);
    }
    case 850:
        return move.feedTo(bottom) && move.feedTo(r) && move.rapidTo(clear);
    case 860:
        return move.feedTo(bottom) && move.dwell(block.dwell) && move.command(NCStream::COMMAND_STOP_SPINDLE)
            && move.rapidTo(clear) && move.command(spindleOn);
    case 870: {
        Vector3D shifted = atLevel(hole, axis, r);
        for (int across = 0; across < 3; ++across)
            if (across != axis)
                shifted[across] += block.backBoringOffset[across];
        double const top = block.backBoringOffset[axis];
        auto const orient = [&] {
            return move.command(NCStream::COMMAND_STOP_SPINDLE) && move.command(NCStream::COMMAND_ORIENTATE_SPINDLE);
        };
        return move.rapid(shifted) && orient() && move.rapidTo(bottom) && move.rapid(atLevel(hole, axis, bottom))
            && move.command(spindleOn) && move.feedTo(top) && move.feedTo(bottom) && orient()
            && move.rapid(atLevel(shifted, axis, bottom)) && move.rapidTo(clear)
            && move.rapid(atLevel(hole, axis, clear)) && move.command(spindleOn);
    }
    case 880:
        if (!move.feedTo(bottom) || !move.dwell(block.dwell) || !move.command(NCStream::COMMAND_STOP_SPINDLE)
            || !move.command(NCStream::COMMAND_STOP))
            return false;
        move.takenTo(clear);
        return move.command(spindleOn);
    case 890:
        return move.feedTo(bottom) && move.dwell(block.dwell) && move.feedTo(clear);
    default:
        QUARN_ASSERT(false);
        return true;
    }
}

} // namespace Quarn
