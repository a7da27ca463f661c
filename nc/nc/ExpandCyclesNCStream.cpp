// Cycle groups and their holes as ExpandCyclesNCStream reads and expands them.
#include "nc/nc/ExpandCyclesNCStream.h"

#include <cmath>
#include <string_view>
#include <utility>

namespace Quarn {

namespace {

constexpr std::string_view ExpandedSuffix = "/expanded";

// GCodeWriter's tolerance for a unit tool axis, and for a direction normalised.
constexpr double UnitTolerance = 1e-9;

struct GroupCycle {
    NCCycle::Cycle cycle = NCCycle::CYCLE_NONE;
    bool expanded = false;
};

GroupCycle cycleOfGroup(char const* uri)
{
    NCCycle::Cycle const cycle = NCCycle::getWellKnownCycle(uri);
    if (cycle != NCCycle::CYCLE_NONE || uri == nullptr)
        return {cycle, false};
    std::string_view const name(uri);
    if (name.size() <= ExpandedSuffix.size() || !name.ends_with(ExpandedSuffix))
        return {};
    std::string const cycleUri(name.substr(0, name.size() - ExpandedSuffix.size()));
    return {NCCycle::getWellKnownCycle(cycleUri.c_str()), true};
}

} // namespace

ExpandCyclesNCStream::~ExpandCyclesNCStream() = default;

bool ExpandCyclesNCStream::onOpen()
{
    groupDepth = 0;
    cycleGroupDepth = 0;
    expanding = false;
    valuesSeen = false;
    multiAxisMode = NCContext::MULTI_AXIS_UNIT_VECTOR;
    return FilterNCStream::onOpen();
}

bool ExpandCyclesNCStream::onContext(NCContext const& context)
{
    multiAxisMode = context.getMultiAxisMode();
    return FilterNCStream::onContext(context);
}

bool ExpandCyclesNCStream::onGroup(char const* uri)
{
    ++groupDepth;
    if (cycleGroupDepth == 0) {
        GroupCycle const group = cycleOfGroup(uri);
        if (group.cycle != NCCycle::CYCLE_NONE) {
            cycleGroupDepth = groupDepth;
            valuesSeen = false;
            definition = NCCycleDefinition(group.cycle);
            expanding = !group.expanded && NCCycleDefinition::isExpandable(group.cycle);
            if (expanding)
                return next->onGroup(NCCycleDefinition::getExpandedUri(group.cycle).c_str());
        }
    }
    return FilterNCStream::onGroup(uri);
}

bool ExpandCyclesNCStream::onGroupEnd()
{
    // An end without a group changes nothing, as for GCodeWriter.
    if (groupDepth != 0) {
        if (groupDepth == cycleGroupDepth) {
            cycleGroupDepth = 0;
            expanding = false;
        }
        --groupDepth;
    }
    return FilterNCStream::onGroupEnd();
}

bool ExpandCyclesNCStream::onParameter(char const* name, double value)
{
    if (expanding) {
        if (std::optional<NCCycleDefinition::Value> const which = NCCycleDefinition::findValue(name)) {
            definition.setValue(*which, value);
            valuesSeen = true;
            return definition.sendParameter(*next, *which);
        }
    }
    return FilterNCStream::onParameter(name, value);
}

bool ExpandCyclesNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    if (isTakingHoles())
        if (std::optional<bool> const answer = expandHole(end, Vector3D::getForward()))
            return *answer;
    return FilterNCStream::onRapid(end, flags);
}

bool ExpandCyclesNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    if (isTakingHoles() && isToolAxis(z, flags))
        if (std::optional<bool> const answer = expandHole(end, z))
            return *answer;
    return FilterNCStream::onRapid5D(end, z, x, n, flags);
}

bool ExpandCyclesNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    if (isTakingHoles() && isToolAxis(direction, flags))
        if (std::optional<bool> const answer = expandHole(end, direction))
            return *answer;
    return FilterNCStream::onRapid5D(end, direction, flags);
}

bool ExpandCyclesNCStream::isToolAxis(Vector3D const& direction, unsigned int flags) const noexcept
{
    if ((flags & FLAG_ABSOLUTE_DIRECTION) != 0)
        return true;
    if (multiAxisMode == NCContext::MULTI_AXIS_UNCHECKED)
        return false;
    return multiAxisMode != NCContext::MULTI_AXIS_UNIT_VECTOR
        || std::fabs(direction.getModulus() - 1.0) <= UnitTolerance;
}

std::optional<bool> ExpandCyclesNCStream::expandHole(Vector3D const& top, Vector3D const& direction)
{
    std::optional<std::wstring> problem;
    Vector3D bottom;
    // Neither has an axis: getHoleAxis makes a zero direction +Z and may make a NaN one zero.
    if (!direction.isFinite() || direction == Vector3D()) {
        problem = L"Hole axis is zero or not a number.";
    } else {
        // Normalised as GCodeWriter does, which keeps a unit axis exactly; getHoleAxis scales
        // first, for directions whose squared length overflows or underflows.
        Vector3D axis = direction.getNormalized();
        if (!(std::fabs(axis.getModulus() - 1.0) <= UnitTolerance))
            axis = NCCycleDefinition::getHoleAxis(direction, Vector3D());
        bottom = top - axis * definition.getValue(NCCycleDefinition::VALUE_DEPTH);
        problem = definition.checkHole(top, bottom);
    }
    if (problem) {
        ++holesNotExpanded;
        if (!firstRefusal)
            firstRefusal = std::move(problem);
        return std::nullopt;
    }
    return definition.expandHole(*next, top, bottom);
}

} // namespace Quarn
