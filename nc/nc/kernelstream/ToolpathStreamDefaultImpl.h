// A toolpath stream that accepts every entity and does nothing: the end of a chain, or the base
// of a receiver that overrides only what it needs.
#pragma once

#include "nc/nc/kernelstream/ToolpathStream.h"

namespace Quarn {

class QUARN_NC_EXPORT ToolpathStreamDefaultImpl : public ToolpathStream {
public:
    bool onToolpathOpen(std::uint32_t type, std::uint32_t version) override;
    bool onToolpathBreak() override;
    bool onToolpathClose() override;
    bool onLinearMove(Vector3D const& position, NCStream::Movement movement) override;
    bool onLinear5DMove(Vector3D const& position, Vector3D const& toolAxis, NCStream::Movement movement) override;
    bool onCircularMove(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement) override;
    bool onToolAxis(Vector3D const& axis) override;
    bool onContactNormal(Vector3D const& normal) override;
    bool onDwell(double seconds) override;
    bool onCommand(NCStream::Command command) override;
    bool onGroup(wchar_t const* name) override;
    bool onGroupEnd() override;
    bool onExpandOpen() override;
    bool onExpandClose() override;
    bool onBeginFragment() override;
    bool onEndFragment() override;
    bool onTurnGroup(NCStream::TurnGroupType type) override;
    bool onTurnGroupEnd() override;
    bool onProgress(double fraction) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
};

} // namespace Quarn
