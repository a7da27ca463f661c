// Values inside events that a writer's format has no room for, counted by the writers that drop them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Quarn {

// A writer that keeps an event but not all of its values counts, per kind of value, the events
// that lost it (getLeftOut(LeftOutValue)), so that a conversion can say what it left out.
enum class LeftOutValue : std::uint8_t {
    Feed, // the feedrate of a move
    Flags, // flag bits of a move or dwell the format cannot hold (cutting, compensation, movement)
    Extrusion, // the extrusion of an extruding move
    FiveAxisFrame, // the x axis and normal of a four-vector five-axis move
};
inline constexpr std::size_t LeftOutValueCount = 4;

} // namespace Quarn
