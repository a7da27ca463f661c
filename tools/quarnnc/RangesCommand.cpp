// quarnnc ranges FILE: the A, B and C axis ranges of the five-axis moves, per section and in total.
#include "tools/quarnnc/Commands.h"

#include "nc/nc/NCABCInputRange.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "util/utility/text/NumberFormat.h"

#include <iostream>

namespace Quarn::Tool {

namespace {

void printRanges(std::ostream& out, std::string const& label, NCABCInputRange::ABC const& ranges)
{
    auto range = [](Range<double> const& r) {
        return "[" + NumberFormat::toString(r.getMin()) + ", " + NumberFormat::toString(r.getMax()) + "]";
    };
    out << label << "  A " << range(ranges.a) << "  B " << range(ranges.b) << "  C " << range(ranges.c) << "\n";
}

} // namespace

void addRangesCommand(CLI::App& app, Invocation& invocation)
{
    auto input = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "ranges", "Print the A, B and C ranges of five-axis moves whose directions hold axis values");
    command->add_option("FILE", *input, "Input program")->required();
    command->callback([input, &invocation] {
        invocation.run = [input, &invocation] {
            Format const& format = detectInput(*input);
            NCStreamDefaultImpl end;
            NCABCInputRange ranges(&end);
            replay(format, *input, ranges, invocation.options);
            for (unsigned int i = 0; i < ranges.getNumberOfSections(); ++i)
                printRanges(std::cout, "section " + std::to_string(i + 1), ranges.getSectionRanges(i));
            printRanges(std::cout, "total", ranges.getTotalRanges());
            return 0;
        };
    });
}

} // namespace Quarn::Tool
