// The formats the tool knows; adding one is one file (a Format) and one line in the registry.
#pragma once

#include "tools/quarnnc/Format.h"

#include <span>
#include <string>

namespace Quarn::Tool {

class FormatRegistry {
public:
    static std::span<Format const* const> all();
    // The reader format that recognises the file's content, or null.
    static Format const* detect(std::wstring const& path);
    // The writable format of this name, or null.
    static Format const* findWriter(std::string const& name);
    // The writable format whose extension the path ends with, or null.
    static Format const* writerForPath(std::string const& path);
    // "compact-nci|xml|log": the names of writable formats, for help texts.
    static std::string writerNames();
};

// The formats, one per file in tools/quarnnc/formats/.
Format const& compactNCIFormat();
Format const& xmlFormat();
Format const& logFormat();

} // namespace Quarn::Tool
