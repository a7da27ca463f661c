// One event of every kind with distinctive arguments, for tests that must cover the whole
// event vocabulary (forwarding, stopping, round trips).
#pragma once

#include "nc/nc/NCStream.h"

#include <string>
#include <string_view>
#include <vector>

namespace Quarn::TestSupport {

// Sends onOpen, a section holding one event of every kind, and onClose; stops at the first
// false and returns it.
bool sendEveryEvent(NCStream& stream);

// The names of the events sendEveryEvent sends, in order (as RecordingNCStream records them:
// the kinded parameter shows as its two parameters).
std::vector<std::wstring> everyEventName();

// Whether the event is a move: rapids, lines, arcs, circles, extrusions and free-form curves.
bool isMotionEventName(std::wstring_view name);

} // namespace Quarn::TestSupport
