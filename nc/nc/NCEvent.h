// The kinds of NCStream events with their names and categories, drawn from NCEvents.def, and
// the macros that stages handling every event use with that list.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Quarn {

// The groups in which NCStream documents its events.
enum class NCEventCategory : std::uint8_t {
    Text, // pass-through text and comments
    MachineState, // commands, coolant, spindle, compensation
    Structure, // open and close, sections, groups, skips and line numbers
    Parameters,
    Records, // stock, context, tool
    Moves, // dwells, rapids, lines
    Arcs, // arcs and circles
    FreeForm, // splines, Bezier curves, NURBS
    MachineAxes, // axis orderings, axis values, frames
};

// One kind per event name, in the order of NCStream's operations; overloads share their kind.
enum class NCEvent : std::uint8_t {
#define QUARN_NC_EVENT_KIND(name, category) name,
#include "nc/nc/NCEvents.def"
};

inline constexpr std::size_t NCEventCount = 0
#define QUARN_NC_EVENT_KIND(name, category) +1
#include "nc/nc/NCEvents.def"
    ;

inline constexpr std::array<std::string_view, NCEventCount> NCEventNames = {
#define QUARN_NC_EVENT_KIND(name, category) #name,
#include "nc/nc/NCEvents.def"
};

inline constexpr std::array<NCEventCategory, NCEventCount> NCEventCategories = {
#define QUARN_NC_EVENT_KIND(name, category) NCEventCategory::category,
#include "nc/nc/NCEvents.def"
};

// "onRapid", "passThrough", ...: the name of the operation.
constexpr std::string_view getEventName(NCEvent event) noexcept
{
    return NCEventNames[static_cast<std::size_t>(event)];
}

constexpr NCEventCategory getEventCategory(NCEvent event) noexcept
{
    return NCEventCategories[static_cast<std::size_t>(event)];
}

// Whether an event has an index of its own in a program, as validation numbers events: every event
// but text, stock, turn groups and their ends, toolpath entity indices and machine axis records.
constexpr bool isIndexedEvent(NCEvent event) noexcept
{
    switch (event) {
    case NCEvent::passThrough:
    case NCEvent::onComment:
    case NCEvent::onToolpathEntityIndex:
    case NCEvent::onStock:
    case NCEvent::onTurnGroup:
    case NCEvent::onTurnGroupEnd:
    case NCEvent::onMachineAxisOrdering:
    case NCEvent::onMachineAxisValues:
    case NCEvent::onFrame:
        return false;
    default:
        return true;
    }
}

// Whether the event moves the tool: rapids, lines, arcs, circles, extrusions, free-form curves.
constexpr bool isMotionEvent(NCEvent event) noexcept
{
    return false
#define QUARN_NC_MOTION(name, parameters, arguments) || event == NCEvent::name
#include "nc/nc/NCEvents.def"
        ;
}

constexpr std::optional<NCEvent> findEvent(std::string_view name) noexcept
{
    for (std::size_t i = 0; i < NCEventCount; ++i)
        if (NCEventNames[i] == name)
            return static_cast<NCEvent>(i);
    return std::nullopt;
}

} // namespace Quarn

// Turns the parenthesised arguments of a list entry into a call's argument list with a first
// argument in front: `visit QUARN_NC_PREPEND(NCEvent::onRapid, (end, flags))` calls
// visit(NCEvent::onRapid, end, flags), and `QUARN_NC_PREPEND(NCEvent::onOpen, ())` gives
// (NCEvent::onOpen).
#define QUARN_NC_PREPEND(first, arguments) (first QUARN_NC_COMMA_ARGUMENTS arguments)
#define QUARN_NC_COMMA_ARGUMENTS(...) __VA_OPT__(, ) __VA_ARGS__
