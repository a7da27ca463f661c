// A small, realistic part program sent as events: the program behind the examples and the
// golden log test.
#pragma once

#include "nc/nc/NCStream.h"

namespace Quarn::Examples {

// A facing pass, a pocket with arcs, a drilling cycle as groups and a five-axis swarf
// section; returns false as soon as the stream refuses an event.
bool sendExampleProgram(NCStream& stream);

} // namespace Quarn::Examples
