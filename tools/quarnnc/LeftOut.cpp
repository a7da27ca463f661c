// The sentence about what a conversion left out.
#include "tools/quarnnc/LeftOut.h"

#include <string_view>

namespace Quarn::Tool {

namespace {

struct Noun {
    std::string_view one;
    std::string_view many;
};

// What a person calls one and several events of a kind.
Noun nounOf(NCEvent kind)
{
    switch (kind) {
    case NCEvent::passThrough:
        return {"pass-through text", "pass-through texts"};
    case NCEvent::onComment:
        return {"comment", "comments"};
    case NCEvent::onCommand:
        return {"command", "commands"};
    case NCEvent::onToolpathEntityIndex:
        return {"toolpath entity index", "toolpath entity indices"};
    case NCEvent::onMachineCommand:
        return {"machine command", "machine commands"};
    case NCEvent::onCoolant:
        return {"coolant change", "coolant changes"};
    case NCEvent::onSpindleSpeed:
        return {"spindle speed", "spindle speeds"};
    case NCEvent::onRadiusCompensationMode:
        return {"radius compensation mode", "radius compensation modes"};
    case NCEvent::onRadiusCompensation:
        return {"radius compensation side", "radius compensation sides"};
    case NCEvent::onOpen:
        return {"program start", "program starts"};
    case NCEvent::onParameter:
        return {"parameter", "parameters"};
    case NCEvent::onStock:
        return {"stock box", "stock boxes"};
    case NCEvent::onContext:
        return {"context", "contexts"};
    case NCEvent::onTool:
        return {"tool", "tools"};
    case NCEvent::onToolChange:
        return {"tool change", "tool changes"};
    case NCEvent::onSection:
        return {"section", "sections"};
    case NCEvent::onGroup:
        return {"group", "groups"};
    case NCEvent::onTurnGroup:
        return {"turn group", "turn groups"};
    case NCEvent::onGroupEnd:
        return {"group end", "group ends"};
    case NCEvent::onTurnGroupEnd:
        return {"turn group end", "turn group ends"};
    case NCEvent::onSectionEnd:
        return {"section end", "section ends"};
    case NCEvent::onDwell:
        return {"dwell", "dwells"};
    case NCEvent::onRapid:
        return {"rapid move", "rapid moves"};
    case NCEvent::onRapid5D:
        return {"five-axis rapid move", "five-axis rapid moves"};
    case NCEvent::onLinear:
        return {"linear move", "linear moves"};
    case NCEvent::onLinear5D:
        return {"five-axis linear move", "five-axis linear moves"};
    case NCEvent::onLinearExtrude:
        return {"extruding line", "extruding lines"};
    case NCEvent::onCWArc:
        return {"clockwise arc", "clockwise arcs"};
    case NCEvent::onCCWArc:
        return {"counter-clockwise arc", "counter-clockwise arcs"};
    case NCEvent::onCircular:
        return {"circular move", "circular moves"};
    case NCEvent::onCWArcExtrude:
        return {"extruding clockwise arc", "extruding clockwise arcs"};
    case NCEvent::onCCWArcExtrude:
        return {"extruding counter-clockwise arc", "extruding counter-clockwise arcs"};
    case NCEvent::onCircularExtrude:
        return {"extruding circular move", "extruding circular moves"};
    case NCEvent::onCWCircle:
        return {"clockwise circle", "clockwise circles"};
    case NCEvent::onCCWCircle:
        return {"counter-clockwise circle", "counter-clockwise circles"};
    case NCEvent::onSpline:
        return {"spline", "splines"};
    case NCEvent::onBezier:
        return {"Bezier curve", "Bezier curves"};
    case NCEvent::onNURBS:
        return {"NURBS curve", "NURBS curves"};
    case NCEvent::onSkip:
        return {"block skip", "block skips"};
    case NCEvent::onLineNumber:
        return {"line number", "line numbers"};
    case NCEvent::onMachineAxisOrdering:
        return {"axis ordering", "axis orderings"};
    case NCEvent::onMachineAxisValues:
        return {"set of axis values", "sets of axis values"};
    case NCEvent::onFrame:
        return {"frame", "frames"};
    case NCEvent::onClose:
        return {"program end", "program ends"};
    }
    return {"event", "events"};
}

// "the feeds of" / "the feed of", and the events they belong to.
struct ValueNoun {
    std::string_view one;
    std::string_view many;
    std::string_view event;
    std::string_view events;
};

ValueNoun nounOf(LeftOutValue value)
{
    switch (value) {
    case LeftOutValue::Feed:
        return {"the feed of", "the feeds of", "move", "moves"};
    case LeftOutValue::Flags:
        return {"the flags of", "the flags of", "move", "moves"};
    case LeftOutValue::Extrusion:
        return {"the extrusion of", "the extrusions of", "move", "moves"};
    case LeftOutValue::FiveAxisFrame:
        return {"the x axis and normal of", "the x axes and normals of", "five-axis move", "five-axis moves"};
    }
    return {"a value of", "values of", "event", "events"};
}

// "a, b and c"
template <class Entry, class Text>
std::string listOf(std::span<Entry const> entries, Text const& textOf)
{
    std::string list;
    std::size_t shown = 0, count = 0;
    for (Entry const& entry : entries)
        count += entry.count != 0 ? 1 : 0;
    for (Entry const& entry : entries) {
        if (entry.count == 0)
            continue;
        if (shown != 0)
            list += shown + 1 == count ? " and " : ", ";
        list += textOf(entry);
        ++shown;
    }
    return list;
}

} // namespace

std::string describeValuesLeftOut(std::span<ValuesLeftOut const> leftOut)
{
    std::string const list = listOf(leftOut, [](ValuesLeftOut const& entry) {
        ValueNoun const noun = nounOf(entry.value);
        bool const one = entry.count == 1;
        return std::string(one ? noun.one : noun.many) + " " + std::to_string(entry.count) + " "
            + std::string(one ? noun.event : noun.events);
    });
    return list.empty() ? list : list + " were left out";
}

std::string describeLeftOut(std::span<LeftOut const> leftOut)
{
    std::uint64_t total = 0;
    std::string const list = listOf(leftOut, [&total](LeftOut const& entry) {
        Noun const noun = nounOf(entry.kind);
        total += entry.count;
        return std::to_string(entry.count) + " " + std::string(entry.count == 1 ? noun.one : noun.many);
    });
    if (total == 0)
        return {};
    return list + (total == 1 ? " has no place in this format and was left out"
                              : " have no place in this format and were left out");
}

std::string describeArcsAsLines(std::uint64_t count)
{
    if (count == 0)
        return {};
    return std::to_string(count)
        + (count == 1 ? " arc was written as lines within the arc tolerance"
                      : " arcs were written as lines within the arc tolerance");
}

} // namespace Quarn::Tool
