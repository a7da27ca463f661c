// Reading a program file for the Python module as the tool reads it: by content, with the tool's
// reader options.
#pragma once

#include "tools/quarnnc/Files.h"
#include "tools/quarnnc/Format.h"

#include <string>

namespace Quarn::Python {

// The reader options from the keyword arguments the module's functions share: nci_unit "inch" or
// "mm", gcode_unit "mm" or "inch", block_delete, expand_cycles. Another unit is a ValueError.
Tool::ReaderOptions readerOptions(
    std::string const& nciUnit, std::string const& gcodeUnit, bool blockDelete, bool expandCycles);

// The format of the file; FileNotFoundError, OSError or quarnnc.FormatError (through the
// translation of Errors.cpp) when it is missing, unreadable or in no format the tool reads.
Tool::Format const& detect(std::string const& path);

// Reads the whole file into chain; false when a stage stopped the program. Call it without the
// GIL: stages written in Python take it for each of their calls. Malformed input is a
// quarnnc.FormatError naming the file and the line or byte offset; an exception of a stage passes
// unchanged.
bool replay(Tool::Format const& format, std::string const& path, NCStream& chain, Tool::ReaderOptions const& options);

} // namespace Quarn::Python
