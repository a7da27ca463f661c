// The formats the tool knows. Adding one is a file in tools/quarnnc/formats/ that defines a
// constant Format in namespace Formats, and its name on one line of FormatRegistry.cpp.
#pragma once

#include "tools/quarnnc/Format.h"

#include <span>
#include <string>
#include <string_view>

namespace Quarn::Tool {

class FormatRegistry {
public:
    // In the order detection tries them.
    static std::span<Format const* const> all();
    // The reader format that recognises the file's content, or null.
    static Format const* detect(std::wstring const& path);
    // The writable format of this name, or null.
    static Format const* findWriter(std::string_view name);
    // The writable format one of whose extensions the path ends with, in any letter case, or null.
    static Format const* writerForPath(std::string const& path);
    // "compact-nci|xml|log": the names of writable formats, for help texts.
    static std::string writerNames();
    // ".nci compact-nci, .ngc .nc gcode": the extensions of each writable format, for help texts.
    static std::string writerExtensions();
};

} // namespace Quarn::Tool
