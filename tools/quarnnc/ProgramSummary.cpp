// Counting and printing of ProgramSummary.
#include "tools/quarnnc/ProgramSummary.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "util/utility/text/JSON.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace Quarn::Tool {

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool ProgramSummary::name parameters { return note QUARN_NC_PREPEND(NCEvent::name, arguments); }
#include "nc/nc/NCEvents.def"

bool ProgramSummary::note(NCEvent event, NCContext const& context)
{
    units.insert(context.getUnit());
    return count(event);
}

bool ProgramSummary::note(NCEvent event, NCTool const& tool)
{
    std::string type = Unicode::toUTF8(ToolGeometry::getTypeAsString(tool.getType()));
    double const diameter = tool.getDiameter();
    bool const known = std::any_of(tools.begin(), tools.end(), [&](ToolEntry const& entry) {
        return entry.number == tool.getNumber() && entry.type == type
            && std::bit_cast<std::uint64_t>(entry.diameter) == std::bit_cast<std::uint64_t>(diameter);
    });
    if (!known)
        tools.push_back({tool.getNumber(), std::move(type), diameter});
    return count(event);
}

bool ProgramSummary::note(NCEvent event, AxisOrdering const& ordering)
{
    axes = ordering;
    return count(event);
}

namespace {

using Figures = NCAnalyze::Figures;

// A figure for people: at most four decimals, no trailing zeros, no "-0".
std::string decimal(double value)
{
    if (!std::isfinite(value))
        return NumberFormat::toString(value);
    char buffer[64];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 4);
    std::string text(buffer, result.ptr);
    while (text.back() == '0')
        text.pop_back();
    if (text.back() == '.')
        text.pop_back();
    return text == "-0" ? "0" : text;
}

// h:mm:ss, rounded to whole seconds.
std::string clock(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0)
        return "-";
    auto const whole = static_cast<std::uint64_t>(std::llround(seconds));
    std::string const minutes = std::to_string(whole / 60 % 60);
    std::string const rest = std::to_string(whole % 60);
    return std::to_string(whole / 3600) + ":" + (minutes.size() < 2 ? "0" : "") + minutes + ":"
        + (rest.size() < 2 ? "0" : "") + rest;
}

std::string rangeText(std::optional<Range<double>> const& range, double factor = 1.0)
{
    return range ? decimal(range->getMin() * factor) + " .. " + decimal(range->getMax() * factor) : "none";
}

// The move kinds in the order the text and the JSON list them.
struct Kind {
    char const* text;
    char const* json;
    std::uint64_t Figures::*count;
};
constexpr Kind Kinds[] = {
    {"rapid", "rapid", &Figures::rapids},
    {"linear", "linear", &Figures::linears},
    {"arc", "arc", &Figures::arcs},
    {"circle", "circle", &Figures::circles},
    {"helical", "helical", &Figures::helicals},
    {"rapid-5d", "rapid5D", &Figures::rapids5D},
    {"linear-5d", "linear5D", &Figures::linears5D},
    {"spline", "spline", &Figures::splines},
    {"bezier", "bezier", &Figures::beziers},
    {"nurbs", "nurbs", &Figures::nurbs},
    {"extrusion", "extrusion", &Figures::extrusions},
};

std::string movesText(Figures const& figures)
{
    std::string text = std::to_string(figures.getMoves());
    char const* separator = " (";
    for (Kind const& kind : Kinds)
        if (figures.*kind.count > 0) {
            text += separator + std::string(kind.text) + " " + std::to_string(figures.*kind.count);
            separator = ", ";
        }
    return text + (figures.getMoves() > 0 ? ")" : "");
}

std::string timeText(Figures const& figures)
{
    double const seconds = figures.getMachiningTimeSeconds();
    return clock(seconds) + " (" + decimal(seconds) + " s)";
}

// One line of a tool or a section.
std::string figuresLine(Figures const& figures, double factor)
{
    return "moves " + movesText(figures) + ", rapid " + decimal(figures.rapidLength * factor) + ", cutting "
        + decimal(figures.cuttingLength * factor) + ", time " + timeText(figures) + ", feed "
        + rangeText(figures.feedRange, factor) + ", spindle " + rangeText(figures.spindleRange);
}

// Shortest round-trip numbers; null for what is not finite.
std::string number(double value) { return std::isfinite(value) ? NumberFormat::toString(value) : "null"; }

std::string jsonRange(std::optional<Range<double>> const& range, double factor = 1.0)
{
    return range ? "[" + number(range->getMin() * factor) + "," + number(range->getMax() * factor) + "]" : "null";
}

std::string jsonBox(NCBoundingBox::Box const& box)
{
    if (box.isEmpty())
        return "null";
    auto const point = [](Vector3D const& p) { return "[" + number(p.x) + "," + number(p.y) + "," + number(p.z) + "]"; };
    return "{\"lower\":" + point(box.lower) + ",\"upper\":" + point(box.upper) + "}";
}

std::string jsonString(std::string const& utf8) { return Unicode::toUTF8(JSON::stringify(std::string_view(utf8))); }

// The members of a figures object, without braces.
std::string jsonFigures(Figures const& figures, double factor, std::vector<std::string> const& axisNames,
    NCBoundingBox::Box const& box)
{
    std::string text = "\"moves\":{\"total\":" + std::to_string(figures.getMoves());
    for (Kind const& kind : Kinds)
        text += ",\"" + std::string(kind.json) + "\":" + std::to_string(figures.*kind.count);
    text += "},\"dwells\":" + std::to_string(figures.dwells) + ",\"toolChanges\":" + std::to_string(figures.toolChanges)
        + ",\"untimed\":" + std::to_string(figures.untimed) + ",\"rapidLength\":" + number(figures.rapidLength * factor)
        + ",\"cuttingLength\":" + number(figures.cuttingLength * factor) + ",\"seconds\":{\"rapid\":"
        + number(figures.rapidSeconds) + ",\"feed\":" + number(figures.feedSeconds) + ",\"dwell\":"
        + number(figures.dwellSeconds) + ",\"toolChange\":" + number(figures.toolChangeSeconds)
        + ",\"total\":" + number(figures.getMachiningTimeSeconds()) + "},\"feedRange\":"
        + jsonRange(figures.feedRange, factor) + ",\"spindleRange\":" + jsonRange(figures.spindleRange)
        + ",\"axisRanges\":{";
    char const* separator = "";
    for (std::size_t i = 0; i < figures.axisRanges.size() && i < axisNames.size(); ++i)
        if (figures.axisRanges[i]) {
            text += separator + jsonString(axisNames[i]) + ":" + jsonRange(figures.axisRanges[i]);
            separator = ",";
        }
    return text + "},\"boundingBox\":" + jsonBox(box);
}

} // namespace

void ProgramSummary::print(std::ostream& out, Format const& format) const
{
    out << "sections:     " << counts[static_cast<std::size_t>(NCEvent::onSection)] << "\n";
    out << "tools:        " << tools.size() << "\n";
    std::vector<ToolEntry> byNumber = tools;
    std::stable_sort(byNumber.begin(), byNumber.end(),
        [](ToolEntry const& a, ToolEntry const& b) { return a.number < b.number; });
    for (ToolEntry const& entry : byNumber)
        out << "  T" << entry.number << " " << entry.type << " D" << format.coordinateText(entry.diameter) << "\n";
    out << "units:       ";
    for (auto unit : units)
        out << " " << Unicode::toUTF8(NCUnit::getUnitAsString(unit));
    out << (units.empty() ? " none\n" : "\n");
    out << "bounding box:";
    NCBoundingBox::Box const& extent = box.getTotal();
    if (extent.isEmpty()) {
        out << " none\n";
    } else {
        char const* const labels[] = {" x ", ", y ", ", z "};
        for (int i = 0; i < 3; ++i)
            out << labels[i] << format.coordinateText(extent.lower[i]) << " .. "
                << format.coordinateText(extent.upper[i]);
        out << "\n";
    }
    out << "machine axes:";
    for (int i = 0; i < axes.size(); ++i)
        out << " " << axes.axisName(i).getName();
    out << (axes.size() == 0 ? " none\n" : "\n");
    out << "events:\n";
    constexpr std::size_t Column = 24;
    for (std::size_t i = 0; i < NCEventCount; ++i)
        if (counts[i] > 0)
            out << "  " << NCEventNames[i]
                << std::string(NCEventNames[i].size() < Column ? Column - NCEventNames[i].size() : 1, ' ') << counts[i]
                << "\n";

    // The analysis counts in millimetres; it is printed in the unit of the bounding box.
    double const factor = NCUnit::getUnitConversionFactor(NCUnit::MILLIMETERS, getUnit());
    std::string const unit = Unicode::toUTF8(NCUnit::getUnitAsString(getUnit()));
    Figures const& total = analyze.getTotal();
    out << "analysis (lengths in " << unit << ", feeds in " << unit << " per minute):\n";
    out << "  moves:          " << movesText(total) << "\n";
    out << "  dwells:         " << total.dwells << "\n";
    out << "  tool changes:   " << total.toolChanges << "\n";
    out << "  rapid length:   " << decimal(total.rapidLength * factor) << "\n";
    out << "  cutting length: " << decimal(total.cuttingLength * factor) << "\n";
    out << "  machining time: " << timeText(total) << "\n";
    out << "    rapid " << decimal(total.rapidSeconds) << " s at " << decimal(analyze.getRapidRate().x) << ", "
        << decimal(analyze.getRapidRate().y) << ", " << decimal(analyze.getRapidRate().z) << " mm/min, feed "
        << decimal(total.feedSeconds) << " s, dwell " << decimal(total.dwellSeconds) << " s, tool change "
        << decimal(total.toolChangeSeconds) << " s\n";
    out << "  untimed:        " << total.untimed << "\n";
    out << "  feed range:     " << rangeText(total.feedRange, factor) << "\n";
    out << "  spindle range:  " << rangeText(total.spindleRange) << (total.spindleRange ? " rpm\n" : "\n");
    out << "  axis ranges:   ";
    bool anyAxis = false;
    std::vector<std::string> const& axisNames = analyze.getAxisNames();
    for (std::size_t i = 0; i < total.axisRanges.size() && i < axisNames.size(); ++i)
        if (total.axisRanges[i]) {
            out << (anyAxis ? ", " : " ") << axisNames[i] << " " << rangeText(total.axisRanges[i]);
            anyAxis = true;
        }
    out << (anyAxis ? "\n" : " none\n");
    out << "per tool:" << (analyze.getTools().empty() ? " none\n" : "\n");
    std::vector<NCAnalyze::ToolFigures> toolsByNumber = analyze.getTools();
    std::stable_sort(toolsByNumber.begin(), toolsByNumber.end(),
        [](auto const& a, auto const& b) { return a.toolNumber < b.toolNumber; });
    for (auto const& entry : toolsByNumber)
        out << "  T" << entry.toolNumber << ": " << figuresLine(entry.figures, factor) << "\n";
    out << "per section:" << (analyze.getSections().empty() ? " none\n" : "\n");
    for (std::size_t i = 0; i < analyze.getSections().size(); ++i) {
        auto const& section = analyze.getSections()[i];
        out << "  " << i + 1 << (section.toolNumber ? " T" + std::to_string(*section.toolNumber) : "") << ": "
            << figuresLine(section.figures, factor) << "\n";
    }
}

void ProgramSummary::printJSON(
    std::ostream& out, std::string const& file, Format const& format, std::string const& version) const
{
    double const factor = NCUnit::getUnitConversionFactor(NCUnit::MILLIMETERS, getUnit());
    std::vector<std::string> const& axisNames = analyze.getAxisNames();
    out << "{\"file\":" << jsonString(file) << ",\"format\":" << jsonString(std::string(format.name))
        << ",\"version\":" << (version.empty() ? "null" : jsonString(version))
        << ",\"unit\":" << jsonString(Unicode::toUTF8(NCUnit::getUnitAsString(getUnit())))
        << ",\"units\":[";
    char const* separator = "";
    for (auto unit : units) {
        out << separator << jsonString(Unicode::toUTF8(NCUnit::getUnitAsString(unit)));
        separator = ",";
    }
    out << "],\"rapidRate\":[" << number(analyze.getRapidRate().x) << "," << number(analyze.getRapidRate().y) << ","
        << number(analyze.getRapidRate().z) << "],\"toolChangeSeconds\":" << number(analyze.getToolChangeTime())
        << ",\"machineAxes\":[";
    for (int i = 0; i < axes.size(); ++i)
        out << (i > 0 ? "," : "") << jsonString(axes.axisName(i).getName());
    out << "],\"events\":{";
    separator = "";
    for (std::size_t i = 0; i < NCEventCount; ++i)
        if (counts[i] > 0) {
            out << separator << jsonString(std::string(NCEventNames[i])) << ":" << counts[i];
            separator = ",";
        }
    out << "},\"total\":{" << jsonFigures(analyze.getTotal(), factor, axisNames, box.getTotal()) << "},\"tools\":[";
    separator = "";
    std::vector<NCAnalyze::ToolFigures> toolsByNumber = analyze.getTools();
    std::stable_sort(toolsByNumber.begin(), toolsByNumber.end(),
        [](auto const& a, auto const& b) { return a.toolNumber < b.toolNumber; });
    for (auto const& entry : toolsByNumber) {
        auto const described = std::find_if(
            tools.begin(), tools.end(), [&](ToolEntry const& tool) { return tool.number == entry.toolNumber; });
        auto const boxOfTool = box.getTools().find(entry.toolNumber);
        out << separator << "{\"number\":" << entry.toolNumber << ",\"type\":"
            << (described == tools.end() ? "null" : jsonString(described->type))
            << ",\"diameter\":" << (described == tools.end() ? "null" : number(described->diameter)) << ","
            << jsonFigures(entry.figures, factor, axisNames,
                   boxOfTool == box.getTools().end() ? NCBoundingBox::Box() : boxOfTool->second)
            << "}";
        separator = ",";
    }
    out << "],\"sections\":[";
    separator = "";
    for (std::size_t i = 0; i < analyze.getSections().size(); ++i) {
        auto const& section = analyze.getSections()[i];
        out << separator << "{\"index\":" << i << ",\"tool\":"
            << (section.toolNumber ? std::to_string(*section.toolNumber) : "null") << ","
            << jsonFigures(section.figures, factor, axisNames,
                   i < box.getSections().size() ? box.getSections()[i] : NCBoundingBox::Box())
            << "}";
        separator = ",";
    }
    out << "]}\n";
}

} // namespace Quarn::Tool
