// Sink that summarises a program for `quarnnc info`: event counts, sections, tools, units,
// the exact bounding box, the machine axes and the analysis of lengths and times, as text or JSON.
#pragma once

#include "tools/quarnnc/Format.h"

#include "nc/nc/NCAnalyze.h"
#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCUnit.h"
#include "nc/nc/machinedata/AxisOrdering.h"

#include <array>
#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace Quarn::Tool {

// Every event answers true. The kinded parameter counts as the two parameters it arrives as.
// A program is replayed into input(): NCAnalyze, then NCBoundingBox, then the summary itself.
class ProgramSummary final : public NCStream {
public:
    ProgramSummary() = default;
    ProgramSummary(ProgramSummary const&) = delete;
    ProgramSummary& operator=(ProgramSummary const&) = delete;

    // The head of the chain that ends in this summary.
    NCStream& input() noexcept { return analyze; }
    // Settings of the analysis (rapid rate, tool-change time) go here before the replay.
    NCAnalyze& getAnalyze() noexcept { return analyze; }
    NCAnalyze const& getAnalyze() const noexcept { return analyze; }
    NCBoundingBox const& getBoundingBox() const noexcept { return box; }

    // The unit of the lengths, feeds and boxes printed: that of the first context (millimetres
    // without one).
    NCUnit::Unit getUnit() const noexcept { return box.getUnit(); }

    // Prints the summary as aligned "label: value" lines, events in the order of NCEvent;
    // coordinates as the format stores them. The analysis follows the events: totals, then one
    // line per tool and per section.
    void print(std::ostream& out, Format const& format) const;
    // The same as one JSON object, laid out as the README's `info --format json` says.
    void printJSON(std::ostream& out, std::string const& file, Format const& format, std::string const& version) const;

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    // The events whose arguments add to the summary beyond their count.
    template <class... Arguments> bool note(NCEvent event, Arguments const&...) { return count(event); }
    bool note(NCEvent event, NCContext const& context);
    bool note(NCEvent event, NCTool const& tool);
    bool note(NCEvent event, AxisOrdering const& ordering);
    bool count(NCEvent event)
    {
        ++counts[static_cast<std::size_t>(event)];
        return true;
    }

    std::array<std::uint64_t, NCEventCount> counts {};
    std::set<NCUnit::Unit> units;
    // Each different tool once, in the order first met; tools without numbers are told apart by
    // their type and diameter.
    struct ToolEntry {
        unsigned int number;
        std::string type;
        double diameter;
    };
    std::vector<ToolEntry> tools;
    AxisOrdering axes;
    NCBoundingBox box {this};
    NCAnalyze analyze {&box};
};

} // namespace Quarn::Tool
