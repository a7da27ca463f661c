// quarnnc ranges FILE: the A, B and C axis ranges of the five-axis moves, per section and in total.
#include "tools/quarnnc/Commands.h"
#include "tools/quarnnc/ToolAxisStop.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCABCInputRange.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"

#include <iostream>

namespace Quarn::Tool {

namespace {

void printRanges(std::ostream& out, std::string const& label, NCABCInputRange::ABC const& ranges, Format const& format)
{
    auto range = [&format](Range<double> const& r) {
        return "[" + format.coordinateText(r.getMin()) + ", " + format.coordinateText(r.getMax()) + "]";
    };
    out << label << "  A " << range(ranges.a) << "  B " << range(ranges.b) << "  C " << range(ranges.c) << "\n";
}

} // namespace

void addRangesCommand(CLI::App& app, Invocation& invocation)
{
    addFileCommand(app, invocation, "ranges",
        "Print the A, B and C ranges of five-axis moves whose directions hold axis values",
        [](std::string const& input, RunOptions const& options) {
            Format const& format = detectInput(input);
            NCStreamDefaultImpl end;
            NCABCInputRange ranges(&end);
            ToolAxisStop toolAxes(&ranges);
            bool const completed = replay(format, input, toolAxes, options);
            if (toolAxes.sawToolAxis())
                throw ToolError(ExitDataError, input, "The five-axis moves carry tool axes, not A, B and C values.");
            if (!completed)
                throw ToolError(ExitDataError, input, "The program was stopped before its end.");
            for (unsigned int i = 0; i < ranges.getNumberOfSections(); ++i)
                printRanges(std::cout, "section " + std::to_string(i + 1), ranges.getSectionRanges(i), format);
            printRanges(std::cout, "total", ranges.getTotalRanges(), format);
            return static_cast<int>(ExitOk);
        });
}

} // namespace Quarn::Tool
