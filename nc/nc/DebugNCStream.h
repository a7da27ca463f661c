// Pass-through filter that renders each event and its arguments as text for a debugger to show.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCEvent.h"
#include <string>

namespace Quarn {

// The text of the last event stays in getLastEvent() until the next one arrives: a breakpoint
// in a chain shows what passed. Records (contexts, tools, axis data) are named, not expanded.
class QUARN_NC_EXPORT DebugNCStream : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~DebugNCStream() override;

    // "onRapid (1, 2, 3) 0": the event's name and its arguments, separated by blanks.
    std::wstring const& getLastEvent() const noexcept { return lastEvent; }

    using FilterNCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    template <class... Arguments> void render(NCEvent event, Arguments const&... arguments);

    std::wstring lastEvent;
};

} // namespace Quarn
