// The do-nothing toolpath receiver.
#include "nc/nc/kernelstream/ToolpathStreamDefaultImpl.h"

namespace Quarn {

bool ToolpathStreamDefaultImpl::onToolpathOpen(std::uint32_t, std::uint32_t) { return true; }
bool ToolpathStreamDefaultImpl::onToolpathBreak() { return true; }
bool ToolpathStreamDefaultImpl::onToolpathClose() { return true; }
bool ToolpathStreamDefaultImpl::onLinearMove(Vector3D const&, NCStream::Movement) { return true; }
bool ToolpathStreamDefaultImpl::onLinear5DMove(Vector3D const&, Vector3D const&, NCStream::Movement) { return true; }
bool ToolpathStreamDefaultImpl::onCircularMove(Vector3D const&, Vector3D const&, Vector3D const&, NCStream::Movement)
{
    return true;
}
bool ToolpathStreamDefaultImpl::onToolAxis(Vector3D const&) { return true; }
bool ToolpathStreamDefaultImpl::onContactNormal(Vector3D const&) { return true; }
bool ToolpathStreamDefaultImpl::onDwell(double) { return true; }
bool ToolpathStreamDefaultImpl::onCommand(NCStream::Command) { return true; }
bool ToolpathStreamDefaultImpl::onGroup(wchar_t const*) { return true; }
bool ToolpathStreamDefaultImpl::onGroupEnd() { return true; }
bool ToolpathStreamDefaultImpl::onExpandOpen() { return true; }
bool ToolpathStreamDefaultImpl::onExpandClose() { return true; }
bool ToolpathStreamDefaultImpl::onBeginFragment() { return true; }
bool ToolpathStreamDefaultImpl::onEndFragment() { return true; }
bool ToolpathStreamDefaultImpl::onTurnGroup(NCStream::TurnGroupType) { return true; }
bool ToolpathStreamDefaultImpl::onTurnGroupEnd() { return true; }
bool ToolpathStreamDefaultImpl::onProgress(double) { return true; }
bool ToolpathStreamDefaultImpl::onMachineAxisOrdering(AxisOrdering const&) { return true; }
bool ToolpathStreamDefaultImpl::onMachineAxisValues(AxisValues const&) { return true; }

} // namespace Quarn
