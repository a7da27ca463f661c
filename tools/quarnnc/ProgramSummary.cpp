// Counting and printing of ProgramSummary.
#include "tools/quarnnc/ProgramSummary.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace Quarn::Tool {

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool ProgramSummary::name parameters { return note QUARN_NC_PREPEND(NCEvent::name, arguments); }
#define QUARN_NC_MOVE(name, parameters, arguments)                                                                     \
    bool ProgramSummary::name parameters                                                                               \
    {                                                                                                                  \
        include(end);                                                                                                  \
        return note QUARN_NC_PREPEND(NCEvent::name, arguments);                                                        \
    }
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

bool ProgramSummary::note(
    NCEvent event, Vector3D const* controlPoints, unsigned int count, double const*, unsigned int, double, unsigned int)
{
    for (unsigned int i = 0; controlPoints != nullptr && i < count; ++i)
        include(controlPoints[i]);
    return this->count(event);
}

void ProgramSummary::include(Vector3D const& point)
{
    if (!point.isFinite())
        return;
    if (lower.isNaN()) {
        lower = upper = point;
        return;
    }
    for (int i = 0; i < 3; ++i) {
        lower[i] = std::min(lower[i], point[i]);
        upper[i] = std::max(upper[i], point[i]);
    }
}

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
    if (lower.isNaN()) {
        out << " none\n";
    } else {
        char const* const labels[] = {" x ", ", y ", ", z "};
        for (int i = 0; i < 3; ++i)
            out << labels[i] << format.coordinateText(lower[i]) << " .. " << format.coordinateText(upper[i]);
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
}

} // namespace Quarn::Tool
