// What a conversion could not carry, by event kind, and the sentence the tool prints about it.
#pragma once

#include "nc/nc/NCEvent.h"
#include "nc/nc/LeftOutValue.h"

#include <cstdint>
#include <span>
#include <string>

namespace Quarn::Tool {

struct LeftOut {
    NCEvent kind;
    std::uint64_t count = 0;
};

// "3 contexts and 3 tools have no place in this format and were left out"; empty when nothing
// was left out. Kinds are listed in the order given.
std::string describeLeftOut(std::span<LeftOut const> leftOut);

// Values that a format dropped from events it kept, and of how many events.
struct ValuesLeftOut {
    LeftOutValue value;
    std::uint64_t count = 0;
};

// "the feeds of 120 moves and the flags of 3 moves were left out"; empty when nothing was.
std::string describeValuesLeftOut(std::span<ValuesLeftOut const> leftOut);

// "3 arcs were written as lines within the arc tolerance"; empty for none: arcs a format cannot
// hold as arcs (off the axis planes, say) and kept as the lines that stand for them.
std::string describeArcsAsLines(std::uint64_t count);

} // namespace Quarn::Tool
