// Sink that summarises a program for `quarnnc info`: event counts, sections, tools, units,
// the bounding box of the moves and the machine axes.
#pragma once

#include "tools/quarnnc/Format.h"

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
class ProgramSummary final : public NCStream {
public:
    // Prints the summary as aligned "label: value" lines, events in the order of NCEvent;
    // coordinates as the format stores them.
    void print(std::ostream& out, Format const& format) const;

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    // The events whose arguments add to the summary beyond their count.
    template <class... Arguments> bool note(NCEvent event, Arguments const&...) { return count(event); }
    bool note(NCEvent event, NCContext const& context);
    bool note(NCEvent event, NCTool const& tool);
    bool note(NCEvent event, AxisOrdering const& ordering);
    bool note(NCEvent event, Vector3D const* controlPoints, unsigned int count, double const* knots,
        unsigned int knotCount, double feedrate, unsigned int flags);
    bool count(NCEvent event)
    {
        ++counts[static_cast<std::size_t>(event)];
        return true;
    }
    void include(Vector3D const& point);

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
    Vector3D lower = Vector3D::getNaN();
    Vector3D upper = Vector3D::getNaN();
    AxisOrdering axes;
};

} // namespace Quarn::Tool
