// Reading a program file for the Python module.
#include "python/src/Files.h"

#include <stdexcept>

namespace Quarn::Python {

Tool::ReaderOptions readerOptions(
    std::string const& nciUnit, std::string const& gcodeUnit, bool blockDelete, bool expandCycles)
{
    auto const unit = [](std::string const& value, char const* name) {
        if (value == "mm")
            return NCUnit::MILLIMETERS;
        if (value == "inch")
            return NCUnit::INCHES;
        throw std::invalid_argument(std::string(name) + " must be \"mm\" or \"inch\", not \"" + value + "\".");
    };
    Tool::ReaderOptions options;
    options.nciUnit = unit(nciUnit, "nci_unit");
    options.gcodeUnit = unit(gcodeUnit, "gcode_unit");
    options.blockDelete = blockDelete;
    options.expandCycles = expandCycles;
    return options;
}

Tool::Format const& detect(std::string const& path) { return Tool::detectInput(path); }

bool replay(Tool::Format const& format, std::string const& path, NCStream& chain, Tool::ReaderOptions const& options)
{
    Tool::RunOptions run;
    run.quiet = true;
    run.reader = options;
    return Tool::replay(format, path, chain, run);
}

} // namespace Quarn::Python
