// G-code in the RS274NGC dialect as LinuxCNC's interpreter reads it: written only, with the
// number of decimals, line numbers and the tolerance of arcs written as lines as options.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/GCodeWriter.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"ngc", "nc", "tap", "gcode"};

} // namespace

extern constinit Format const gcode {
    .name = "gcode",
    .extensions = extensions,
    .makeWriter = makeFileSink<GCodeWriter>,
    .writerOptions = WriterOptions::Decimals | WriterOptions::LineNumbering | WriterOptions::ArcTolerance,
};

} // namespace Quarn::Tool::Formats
