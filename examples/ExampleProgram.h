// A small, realistic part program sent as events: the program behind the examples and the
// golden log test.
#pragma once

#include "nc/nc/NCStream.h"

namespace Quarn::Examples {

// A facing pass, a pocket with arcs, a drilling cycle as groups and a five-axis swarf
// section; returns false as soon as the stream refuses an event.
bool sendExampleProgram(NCStream& stream);

// The three-axis sections alone: facing, pocket and drilling, with their tool changes.
bool sendThreeAxisPart(NCStream& stream);
// The five-axis swarf section alone, with machine axis values.
bool sendSwarfPart(NCStream& stream);
// A small part in inches: a profile with arcs around a 4 x 3 inch plate and two holes.
bool sendInchPart(NCStream& stream);
// A long program of `moves` generated moves (linear, rapid, arcs, five-axis) in sections of
// a thousand moves: the input of benchmarks and of large-file runs of the tool.
bool sendGeneratedProgram(NCStream& stream, unsigned long long moves);

} // namespace Quarn::Examples
