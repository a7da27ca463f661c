// One event of every kind with distinctive arguments, for tests that must cover the whole
// event vocabulary (forwarding, stopping, round trips).
#pragma once

#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"

#include <functional>

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

// Calls every operation of the event list (nc/nc/NCEvents.def) on the stream once, in list order, with plain
// sample arguments of each parameter type, and hands each answer to `answered`. Unlike
// sendEveryEvent it makes no valid program: it reaches every overload, also when one is added.
void callEveryOperation(NCStream& stream, std::function<void(NCEvent event, bool answer)> const& answered);

} // namespace Quarn::TestSupport
