// Name table of the well-known cycles.
#include "nc/nc/NCCycle.h"

#include "nc/nc/NCStream.h"

#include <cstring>

namespace Quarn {

namespace {

struct Entry {
    char const* name;
    NCCycle::Cycle cycle;
};

// In the order names are tested: the catalogue order, except that "probe" comes before
// "custom", the partial circular probes directly after "probing-xy-circular-hole", and every
// "probe-" spelling after "tool-call".
constexpr Entry Names[] = {
    {"drilling", NCCycle::CYCLE_DRILLING},
    {"counter-boring", NCCycle::CYCLE_COUNTER_BORING},
    {"chip-breaking", NCCycle::CYCLE_CHIP_BREAKING},
    {"deep-drilling", NCCycle::CYCLE_DEEP_DRILLING},
    {"break-through-drilling", NCCycle::CYCLE_BREAK_THROUGH_DRILLING},
    {"gun-drilling", NCCycle::CYCLE_GUN_DRILLING},
    {"tapping", NCCycle::CYCLE_TAPPING},
    {"left-tapping", NCCycle::CYCLE_LEFT_TAPPING},
    {"right-tapping", NCCycle::CYCLE_RIGHT_TAPPING},
    {"tapping-with-chip-breaking", NCCycle::CYCLE_TAPPING_WITH_CHIP_BREAKING},
    {"left-tapping-with-chip-breaking", NCCycle::CYCLE_LEFT_TAPPING_WITH_CHIP_BREAKING},
    {"right-tapping-with-chip-breaking", NCCycle::CYCLE_RIGHT_TAPPING_WITH_CHIP_BREAKING},
    {"reaming", NCCycle::CYCLE_REAMING},
    {"boring", NCCycle::CYCLE_BORING},
    {"stop-boring", NCCycle::CYCLE_STOP_BORING},
    {"fine-boring", NCCycle::CYCLE_FINE_BORING},
    {"back-boring", NCCycle::CYCLE_BACK_BORING},
    {"circular-pocket-milling", NCCycle::CYCLE_CIRCULAR_POCKET_MILLING},
    {"rectangular-pocket-milling", NCCycle::CYCLE_RECTANGULAR_POCKET_MILLING},
    {"slot-milling", NCCycle::CYCLE_SLOT_MILLING},
    {"circular-slot-milling", NCCycle::CYCLE_CIRCULAR_SLOT_MILLING},
    {"bore-milling", NCCycle::CYCLE_BORE_MILLING},
    {"thread-milling", NCCycle::CYCLE_THREAD_MILLING},
    {"right-thread-milling", NCCycle::CYCLE_THREAD_MILLING},
    {"left-thread-milling", NCCycle::CYCLE_LEFT_THREAD_MILLING},
    {"probe", NCCycle::CYCLE_PROBE},
    {"custom", NCCycle::CYCLE_CUSTOM},
    {"probing-x", NCCycle::CYCLE_PROBING_X},
    {"probing-y", NCCycle::CYCLE_PROBING_Y},
    {"probing-z", NCCycle::CYCLE_PROBING_Z},
    {"probing-x-channel", NCCycle::CYCLE_PROBING_X_CHANNEL},
    {"probing-x-channel-not-symmetric", NCCycle::CYCLE_PROBING_X_CHANNEL_NOT_SYMMETRIC},
    {"probing-x-channel-with-island", NCCycle::CYCLE_PROBING_X_CHANNEL_WITH_ISLAND},
    {"probing-x-wall", NCCycle::CYCLE_PROBING_X_WALL},
    {"probing-x-wall-not-symmetric", NCCycle::CYCLE_PROBING_X_WALL_NOT_SYMMETRIC},
    {"probing-y-channel", NCCycle::CYCLE_PROBING_Y_CHANNEL},
    {"probing-y-channel-not-symmetric", NCCycle::CYCLE_PROBING_Y_CHANNEL_NOT_SYMMETRIC},
    {"probing-y-channel-with-island", NCCycle::CYCLE_PROBING_Y_CHANNEL_WITH_ISLAND},
    {"probing-y-wall", NCCycle::CYCLE_PROBING_Y_WALL},
    {"probing-y-wall-not-symmetric", NCCycle::CYCLE_PROBING_Y_WALL_NOT_SYMMETRIC},
    {"probing-xy-inner-corner", NCCycle::CYCLE_PROBING_XY_INNER_CORNER},
    {"probing-xy-outer-corner", NCCycle::CYCLE_PROBING_XY_OUTER_CORNER},
    {"probing-xy-circular-hole", NCCycle::CYCLE_PROBING_XY_CIRCULAR_HOLE},
    {"probing-xy-circular-partial-hole", NCCycle::CYCLE_PROBING_XY_CIRCULAR_PARTIAL_HOLE},
    {"probing-xy-circular-partial-boss", NCCycle::CYCLE_PROBING_XY_CIRCULAR_PARTIAL_BOSS},
    {"probing-xy-circular-partial-hole-with-island", NCCycle::CYCLE_PROBING_XY_CIRCULAR_PARTIAL_HOLE_WITH_ISLAND},
    {"probing-xy-circular-hole-with-island", NCCycle::CYCLE_PROBING_XY_CIRCULAR_HOLE_WITH_ISLAND},
    {"probing-xy-circular-boss", NCCycle::CYCLE_PROBING_XY_CIRCULAR_BOSS},
    {"probing-xy-circular-hole-island-with-z", NCCycle::CYCLE_PROBING_XY_CIRCULAR_HOLE_ISLAND_WITH_Z},
    {"probing-xy-circular-boss-with-z", NCCycle::CYCLE_PROBING_XY_CIRCULAR_BOSS_WITH_Z},
    {"probing-xy-circular-hole-with-z", NCCycle::CYCLE_PROBING_XY_CIRCULAR_BOSS_WITH_Z},
    {"probing-xy-pcd-hole", NCCycle::CYCLE_PROBING_XY_PCD_HOLE},
    {"probing-xy-pcd-hole-with-island", NCCycle::CYCLE_PROBING_XY_PCD_HOLE_WITH_ISLAND},
    {"probing-xy-pcd-boss", NCCycle::CYCLE_PROBING_XY_PCD_BOSS},
    {"probing-xy-rectangular-hole", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE},
    {"probing-xy-rectangular-hole-with-island", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE_WITH_ISLAND},
    {"probing-xy-rectangular-boss", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_BOSS},
    {"probing-xy-rectangular-hole-with-z", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE_WITH_Z},
    {"probing-xy-rectangular-hole-island-with-z", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE_ISLAND_WITH_Z},
    {"probing-xy-rectangular-boss-with-z", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_BOSS_WITH_Z},
    {"probing-xyz-corner", NCCycle::CYCLE_PROBING_XYZ_CORNER},
    {"probing-x-plane-angle", NCCycle::CYCLE_PROBING_X_PLANE_ANGLE},
    {"probing-y-plane-angle", NCCycle::CYCLE_PROBING_Y_PLANE_ANGLE},
    {"inspect", NCCycle::CYCLE_INSPECT},
    {"thread-turning", NCCycle::CYCLE_THREAD_TURNING},
    {"stock-transfer", NCCycle::CYCLE_STOCK_TRANSFER},
    {"secondary-spindle-grab", NCCycle::CYCLE_SECONDARY_SPINDLE_GRAB},
    {"secondary-spindle-pull", NCCycle::CYCLE_SECONDARY_SPINDLE_PULL},
    {"secondary-spindle-return", NCCycle::CYCLE_SECONDARY_SPINDLE_RETURN},
    {"turning-TNR", NCCycle::CYCLE_TURNING_TNR},
    {"turning-canned-rough", NCCycle::CYCLE_TURNING_CANNED_ROUGH},
    {"tool-call", NCCycle::CYCLE_TOOL_CALL},
    {"probe-x-channel", NCCycle::CYCLE_PROBING_X_CHANNEL},
    {"probe-x-channel-not-symmetric", NCCycle::CYCLE_PROBING_X_CHANNEL_NOT_SYMMETRIC},
    {"probe-x-channel-with-island", NCCycle::CYCLE_PROBING_X_CHANNEL_WITH_ISLAND},
    {"probe-x-wall", NCCycle::CYCLE_PROBING_X_WALL},
    {"probe-x-wall-not-symmetric", NCCycle::CYCLE_PROBING_X_WALL_NOT_SYMMETRIC},
    {"probe-y-channel", NCCycle::CYCLE_PROBING_Y_CHANNEL},
    {"probe-y-channel-not-symmetric", NCCycle::CYCLE_PROBING_Y_CHANNEL_NOT_SYMMETRIC},
    {"probe-y-channel-with-island", NCCycle::CYCLE_PROBING_Y_CHANNEL_WITH_ISLAND},
    {"probe-y-wall", NCCycle::CYCLE_PROBING_Y_WALL},
    {"probe-y-wall-not-symmetric", NCCycle::CYCLE_PROBING_Y_WALL_NOT_SYMMETRIC},
    {"probe-xy-inner-corner", NCCycle::CYCLE_PROBING_XY_INNER_CORNER},
    {"probe-xy-outer-corner", NCCycle::CYCLE_PROBING_XY_OUTER_CORNER},
    {"probe-xy-circular-hole", NCCycle::CYCLE_PROBING_XY_CIRCULAR_HOLE},
    {"probe-xy-circular-hole-with-island", NCCycle::CYCLE_PROBING_XY_CIRCULAR_HOLE_WITH_ISLAND},
    {"probe-xy-circular-boss", NCCycle::CYCLE_PROBING_XY_CIRCULAR_BOSS},
    {"probe-xy-circular-hole-with-z", NCCycle::CYCLE_PROBE_XY_CIRCULAR_HOLE_WITH_Z},
    {"probe-xy-circular-hole-island-with-z", NCCycle::CYCLE_PROBING_XY_CIRCULAR_HOLE_ISLAND_WITH_Z},
    {"probe-xy-circular-boss-with-z", NCCycle::CYCLE_PROBING_XY_CIRCULAR_BOSS_WITH_Z},
    {"probe-xy-rectangular-hole", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE},
    {"probe-xy-rectangular-hole-with-island", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE_WITH_ISLAND},
    {"probe-xy-rectangular-boss", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_BOSS},
    {"probe-xy-rectangular-hole-with-z", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE_WITH_Z},
    {"probe-xy-rectangular-hole-island-with-z", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_HOLE_ISLAND_WITH_Z},
    {"probe-xy-rectangular-boss-with-z", NCCycle::CYCLE_PROBING_XY_RECTANGULAR_BOSS_WITH_Z},
    {"probe-xyz-corner", NCCycle::CYCLE_PROBING_XYZ_CORNER},
};

} // namespace

NCCycle::Cycle NCCycle::getWellKnownCycle(char const* uri) noexcept
{
    if (uri == nullptr)
        return CYCLE_NONE;
    char const* name = NCStream::stripNamespace(uri);
    for (auto const& entry : Names)
        if (std::strcmp(name, entry.name) == 0)
            return entry.cycle;
    return CYCLE_NONE;
}

bool NCCycle::getWellKnownCycleHasToolpath(Cycle cycle) noexcept
{
    return cycle < CYCLE_STOCK_TRANSFER || cycle > CYCLE_TOOL_CALL;
}

char const* NCCycle::getName(Cycle cycle) noexcept
{
    for (auto const& entry : Names)
        if (entry.cycle == cycle)
            return entry.name;
    return nullptr;
}

} // namespace Quarn
