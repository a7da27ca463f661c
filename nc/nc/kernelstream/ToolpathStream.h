// The toolpath event interface of the CAM kernel: what a kernel computes, entity by entity.
#pragma once

#include "nc/nc/NCStream.h"
#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <cstdint>

namespace Quarn {

class AxisOrdering;
class AxisValues;

// A toolpath as the kernel reports it: one call per entity, in order. Positions are tool-tip
// points in the toolpath's frame and unit; tool axes and normals are unit vectors. Every
// operation returns true to go on and false to stop the sender (a reader ends its loop), as on
// NCStream. Movement, command and turn-group values arrive as read and may lie outside their
// enumerations.
//
// An arc runs counter-clockwise about its normal (right-hand rule) from the last position to
// its end; a clockwise arc is one about the opposite normal. An arc whose end is its start is a
// full circle.
class QUARN_NC_EXPORT ToolpathStream {
public:
    ToolpathStream() = default;
    ToolpathStream(ToolpathStream const&) noexcept { }
    ToolpathStream& operator=(ToolpathStream const&) noexcept { return *this; }
    virtual ~ToolpathStream();

    // --- Toolpaths: a stream holds any number, each opened and closed; a break marks a gap in
    // the path (the next move starts somewhere new without a link to it).
    virtual bool onToolpathOpen(std::uint32_t type, std::uint32_t version) = 0;
    virtual bool onToolpathBreak() = 0;
    virtual bool onToolpathClose() = 0;

    // --- Moves: straight lines, five-axis lines with their tool axis, arcs.
    virtual bool onLinearMove(Vector3D const& position, NCStream::Movement movement) = 0;
    virtual bool onLinear5DMove(Vector3D const& position, Vector3D const& toolAxis, NCStream::Movement movement) = 0;
    virtual bool onCircularMove(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
        = 0;

    // --- Orientation: the tool axis of the following three-axis moves, and the surface normal
    // at the contact point of the next move.
    virtual bool onToolAxis(Vector3D const& axis) = 0;
    virtual bool onContactNormal(Vector3D const& normal) = 0;

    // --- Machine state: a dwell in seconds, a machine command.
    virtual bool onDwell(double seconds) = 0;
    virtual bool onCommand(NCStream::Command command) = 0;

    // --- Structure: named groups (a group name is a URI), expanded cycles, path fragments and
    // turning groups; each opening has its closing.
    virtual bool onGroup(wchar_t const* name) = 0;
    virtual bool onGroupEnd() = 0;
    virtual bool onExpandOpen() = 0;
    virtual bool onExpandClose() = 0;
    virtual bool onBeginFragment() = 0;
    virtual bool onEndFragment() = 0;
    virtual bool onTurnGroup(NCStream::TurnGroupType type) = 0;
    virtual bool onTurnGroupEnd() = 0;

    // --- Progress of the computation, from 0 to 1.
    virtual bool onProgress(double fraction) = 0;

    // --- Machine axes: the ordering names the axes; values follow it entry by entry.
    virtual bool onMachineAxisOrdering(AxisOrdering const& ordering) = 0;
    virtual bool onMachineAxisValues(AxisValues const& values) = 0;
};

} // namespace Quarn
