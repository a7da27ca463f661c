// The filter in front of the A, B and C ranges that stops at the first move with a tool axis.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCContext.h"

namespace Quarn::Tool {

// Stops the program at the first five-axis move whose direction is a tool axis: one with
// FLAG_ABSOLUTE_DIRECTION, one in the four-vector form (z, x, n), or one under a context that
// declares its directions vectors. Only a context of unchecked directions (MULTI_AXIS_UNCHECKED)
// lets directions pass as axis values; before any context the flag alone decides.
class ToolAxisStop final : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;

    bool sawToolAxis() const noexcept { return toolAxis; }

    bool onContext(NCContext const& context) override
    {
        vectors = context.getMultiAxisMode() != NCContext::MULTI_AXIS_UNCHECKED;
        return next->onContext(context);
    }
    bool onRapid5D(Vector3D const&, Vector3D const&, Vector3D const&, Vector3D const&, unsigned int) override
    {
        return stop();
    }
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        return holdsAxisValues(flags) && next->onRapid5D(end, direction, flags);
    }
    bool onLinear5D(Vector3D const&, Vector3D const&, Vector3D const&, Vector3D const&, double, unsigned int) override
    {
        return stop();
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        return holdsAxisValues(flags) && next->onLinear5D(end, direction, feedrate, flags);
    }

private:
    bool holdsAxisValues(unsigned int flags) { return (!vectors && (flags & FLAG_ABSOLUTE_DIRECTION) == 0) || stop(); }
    bool stop()
    {
        toolAxis = true;
        return false;
    }

    bool vectors = false;
    bool toolAxis = false;
};

} // namespace Quarn::Tool
