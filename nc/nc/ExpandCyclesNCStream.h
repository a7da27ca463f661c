// Filter that replaces the holes of hole-cycle groups by the moves the cycles make.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycleDefinition.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Quarn {

// Changes only the groups of expandable cycles (NCCycleDefinition::isExpandable) and what they
// carry, so that the output is what a reader that expands cycles sends; every other event goes on
// unchanged and the next stream's answer comes back.
//
// Cycle groups are read as GCodeWriter reads them:
//   cycle group   a group whose URI names a well-known cycle (NCCycle::getWellKnownCycle), or such
//                 a URI + "/expanded", opened outside any cycle group; it lasts to its
//                 onGroupEnd. Groups inside it are plain groups, their events the cycle group's.
//   cycle value   a double parameter inside a cycle group that NCCycleDefinition::findValue names.
//   hole          inside a cycle group, after its first cycle value: onRapid (axis +Z) and both
//                 forms of onRapid5D whose direction (z) is a tool axis: with
//                 FLAG_ABSOLUTE_DIRECTION, or when the last context's multi-axis mode is
//                 MULTI_AXIS_PROPER_VECTOR, or MULTI_AXIS_UNIT_VECTOR and the direction is of unit
//                 length to within 1e-9. The axis is the direction normalised; the end is the
//                 hole's top, its bottom top - axis * depth.
// In the group of an expandable cycle, not one ending "/expanded":
//   onGroup       onGroup(NCCycleDefinition::getExpandedUri(cycle)).
//   cycle value   taken, and sent on where it came as NCCycleDefinition::sendParameter sends it
//                 (under the default parameter namespace).
//   hole          NCCycleDefinition::expandHole with the values taken so far (0 for those not
//                 given); the rapid's flags, and x and n of the four-vector form, are not sent.
//                 A hole whose direction is zero or not finite ("Hole axis is zero or not a
//                 number.") or that NCCycleDefinition::checkHole refuses goes on unchanged and
//                 is counted (getHolesNotExpanded).
// Groups of other cycles (probing, milling, ...) and "/expanded" groups pass on unchanged, with
// all they carry. onOpen forgets the groups, the values and the context's mode
// (MULTI_AXIS_UNIT_VECTOR until a context comes); the count and the first refusal are kept.
class QUARN_NC_EXPORT ExpandCyclesNCStream : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~ExpandCyclesNCStream() override;

    // Holes passed on unchanged because they could not be expanded.
    std::uint64_t getHolesNotExpanded() const noexcept { return holesNotExpanded; }
    // Why the first of them could not be; nothing while every hole was expanded.
    std::optional<std::wstring> const& getFirstRefusal() const noexcept { return firstRefusal; }

    using FilterNCStream::onParameter;
    bool onOpen() override;
    bool onContext(NCContext const& context) override;
    bool onGroup(char const* uri) override;
    bool onGroupEnd() override;
    bool onParameter(char const* name, double value) override;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;

private:
    // Whether rapids are holes to expand now.
    bool isTakingHoles() const noexcept { return expanding && valuesSeen; }
    bool isToolAxis(Vector3D const& direction, unsigned int flags) const noexcept;
    // The answer of the expanded hole, or nothing when it is refused (counted) and the rapid is
    // to go on as it came.
    std::optional<bool> expandHole(Vector3D const& top, Vector3D const& direction);

    std::uint64_t groupDepth = 0;
    std::uint64_t cycleGroupDepth = 0; // the depth of the open cycle group; 0: none
    bool expanding = false; // the open cycle group is expanded
    bool valuesSeen = false;
    NCCycleDefinition definition;
    NCContext::MultiAxisMode multiAxisMode = NCContext::MULTI_AXIS_UNIT_VECTOR;
    std::uint64_t holesNotExpanded = 0;
    std::optional<std::wstring> firstRefusal;
};

} // namespace Quarn
