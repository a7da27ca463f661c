// The catalogue of cycles the library knows by name: canned, probing and turning cycles that
// travel on the stream as groups.
#pragma once

#include "util/utility/Export.h"

#include <cstdint>

namespace Quarn {

class QUARN_NC_EXPORT NCCycle {
public:
    // 0 is not a well-known cycle. Some values have a second spelling starting "probe-";
    // "probing-xy-circular-hole-with-z" names CYCLE_PROBING_XY_CIRCULAR_BOSS_WITH_Z (50), so 48 is
    // reached only through "probe-xy-circular-hole-with-z".
    enum Cycle : std::uint32_t {
        CYCLE_NONE = 0,
        CYCLE_DRILLING = 1,
        CYCLE_COUNTER_BORING = 2,
        CYCLE_CHIP_BREAKING = 3,
        CYCLE_DEEP_DRILLING = 4,
        CYCLE_BREAK_THROUGH_DRILLING = 5,
        CYCLE_GUN_DRILLING = 6,
        CYCLE_TAPPING = 7,
        CYCLE_LEFT_TAPPING = 8,
        CYCLE_RIGHT_TAPPING = 9,
        CYCLE_TAPPING_WITH_CHIP_BREAKING = 10,
        CYCLE_LEFT_TAPPING_WITH_CHIP_BREAKING = 11,
        CYCLE_RIGHT_TAPPING_WITH_CHIP_BREAKING = 12,
        CYCLE_REAMING = 13,
        CYCLE_BORING = 14,
        CYCLE_STOP_BORING = 15,
        CYCLE_FINE_BORING = 16,
        CYCLE_BACK_BORING = 17,
        CYCLE_CIRCULAR_POCKET_MILLING = 18,
        CYCLE_RECTANGULAR_POCKET_MILLING = 19,
        CYCLE_SLOT_MILLING = 20,
        CYCLE_CIRCULAR_SLOT_MILLING = 21,
        CYCLE_BORE_MILLING = 22,
        CYCLE_THREAD_MILLING = 23,
        CYCLE_LEFT_THREAD_MILLING = 24,
        CYCLE_CUSTOM = 25,
        CYCLE_PROBE = 26,
        CYCLE_PROBING_X = 27,
        CYCLE_PROBING_Y = 28,
        CYCLE_PROBING_Z = 29,
        CYCLE_PROBING_X_CHANNEL = 30,
        CYCLE_PROBING_X_CHANNEL_NOT_SYMMETRIC = 31,
        CYCLE_PROBING_X_CHANNEL_WITH_ISLAND = 32,
        CYCLE_PROBING_X_WALL = 33,
        CYCLE_PROBING_X_WALL_NOT_SYMMETRIC = 34,
        CYCLE_PROBING_Y_CHANNEL = 35,
        CYCLE_PROBING_Y_CHANNEL_NOT_SYMMETRIC = 36,
        CYCLE_PROBING_Y_CHANNEL_WITH_ISLAND = 37,
        CYCLE_PROBING_Y_WALL = 38,
        CYCLE_PROBING_Y_WALL_NOT_SYMMETRIC = 39,
        CYCLE_PROBING_XY_INNER_CORNER = 40,
        CYCLE_PROBING_XY_OUTER_CORNER = 41,
        CYCLE_PROBING_XY_CIRCULAR_HOLE = 42,
        CYCLE_PROBING_XY_CIRCULAR_HOLE_WITH_ISLAND = 43,
        CYCLE_PROBING_XY_CIRCULAR_BOSS = 44,
        CYCLE_PROBING_XY_CIRCULAR_PARTIAL_HOLE = 45,
        CYCLE_PROBING_XY_CIRCULAR_PARTIAL_BOSS = 46,
        CYCLE_PROBING_XY_CIRCULAR_PARTIAL_HOLE_WITH_ISLAND = 47,
        CYCLE_PROBE_XY_CIRCULAR_HOLE_WITH_Z = 48,
        CYCLE_PROBING_XY_CIRCULAR_HOLE_ISLAND_WITH_Z = 49,
        CYCLE_PROBING_XY_CIRCULAR_BOSS_WITH_Z = 50,
        CYCLE_PROBING_XY_PCD_HOLE = 51,
        CYCLE_PROBING_XY_PCD_HOLE_WITH_ISLAND = 52,
        CYCLE_PROBING_XY_PCD_BOSS = 53,
        CYCLE_PROBING_XY_RECTANGULAR_HOLE = 54,
        CYCLE_PROBING_XY_RECTANGULAR_HOLE_WITH_ISLAND = 55,
        CYCLE_PROBING_XY_RECTANGULAR_BOSS = 56,
        CYCLE_PROBING_XY_RECTANGULAR_HOLE_WITH_Z = 57,
        CYCLE_PROBING_XY_RECTANGULAR_HOLE_ISLAND_WITH_Z = 58,
        CYCLE_PROBING_XY_RECTANGULAR_BOSS_WITH_Z = 59,
        CYCLE_PROBING_XYZ_CORNER = 60,
        CYCLE_PROBING_X_PLANE_ANGLE = 61,
        CYCLE_PROBING_Y_PLANE_ANGLE = 62,
        CYCLE_INSPECT = 63,
        CYCLE_THREAD_TURNING = 64,
        CYCLE_STOCK_TRANSFER = 65,
        CYCLE_SECONDARY_SPINDLE_GRAB = 66,
        CYCLE_SECONDARY_SPINDLE_PULL = 67,
        CYCLE_SECONDARY_SPINDLE_RETURN = 68,
        CYCLE_TURNING_TNR = 69,
        CYCLE_TURNING_CANNED_ROUGH = 70,
        CYCLE_TOOL_CALL = 71,
    };

    // The cycle named by a group URI: the name behind a known namespace (or a bare name),
    // compared exactly and case-sensitively. CYCLE_NONE when the name is not known.
    static Cycle getWellKnownCycle(char const* uri) noexcept;
    static bool isWellKnownCycle(char const* uri) noexcept { return getWellKnownCycle(uri) != CYCLE_NONE; }
    // Whether the cycle moves the tool: false for stock transfer, the secondary-spindle
    // operations, the two turning groups and the tool call; true otherwise, CYCLE_NONE included.
    static bool getWellKnownCycleHasToolpath(Cycle cycle) noexcept;
    // The cycle's first name in the catalogue, the one getWellKnownCycle reads back as the same
    // value: "thread-milling" for 23, the "probing-" spelling of the probe cycles, and
    // "probe-xy-circular-hole-with-z" for 48. nullptr for CYCLE_NONE and unknown values.
    static char const* getName(Cycle cycle) noexcept;
};

} // namespace Quarn
