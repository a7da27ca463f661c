// G-code in the RS274NGC dialect as LinuxCNC's interpreter reads it: read (the program's language
// run, in the unit of --gcode-unit until it says G20 or G21, block delete by --block-delete, the
// file's line of each block as its line number when asked) and written, with the number of
// decimals, line numbers and the tolerance of arcs written as lines as options.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/GCodeWriter.h"
#include "util/utility/IOException.h"
#include "util/utility/io/FileInputStream.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"ngc", "nc", "tap", "gcode"};

// Bytes of the start of a file that decide whether it is G-code.
constexpr std::size_t StartSize = 4096;

// Drill files of circuit boards open their header with a line "M48", after a "%" line at most:
// a block that G-code knows, but no program of a mill starts with it. Such a file is left to the
// formats that name it (mastercam-nci names it by its extension).
bool isDrillFile(std::string_view start)
{
    auto const blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    for (int line = 0; line < 2 && !start.empty(); ++line) {
        std::size_t const end = std::min(start.find('\n'), start.size());
        std::string_view text = start.substr(0, end);
        start.remove_prefix(std::min(end + 1, start.size()));
        while (!text.empty() && blank(text.front()))
            text.remove_prefix(1);
        while (!text.empty() && blank(text.back()))
            text.remove_suffix(1);
        if (text == "%" && line == 0)
            continue;
        return text == "M48" || text == "m48";
    }
    return false;
}

bool recognises(std::wstring const& path)
{
    char start[StartSize];
    std::size_t size = 0;
    try {
        FileInputStream file(path);
        while (size < sizeof start)
            if (std::size_t const got = file.read(start + size, sizeof start - size))
                size += got;
            else
                break;
    } catch (IOException const&) {
        return false;
    }
    std::string_view const text(start, size);
    if (isDrillFile(text))
        return false;
    try {
        return GCodeReader().isValid(path);
    } catch (...) {
        return false;
    }
}

void configure(NCReader& reader, ReaderOptions const& options)
{
    auto& gcode = static_cast<GCodeReader&>(reader);
    gcode.setUnit(options.gcodeUnit);
    gcode.setBlockDelete(options.blockDelete);
    gcode.setPassThroughLineNumbers(options.fileLineNumbers);
}

} // namespace

extern constinit Format const gcode {
    .name = "gcode",
    .extensions = extensions,
    .recognises = recognises,
    .makeReader = makeReader<GCodeReader>,
    .configureReader = configure,
    .makeWriter = makeFileSink<GCodeWriter>,
    .writerOptions = WriterOptions::Decimals | WriterOptions::LineNumbering | WriterOptions::ArcTolerance,
};

} // namespace Quarn::Tool::Formats
