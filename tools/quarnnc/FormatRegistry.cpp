// The table of formats.
#include "tools/quarnnc/FormatRegistry.h"

#include <algorithm>
#include <array>
#include <filesystem>

// Every format by the name of its constant, one line per file in formats/, in the order
// detection tries them: the project's own formats first, then the CAM system's NCI files.
#define QUARN_TOOL_FORMATS(FORMAT)                                                                                     \
    FORMAT(compactNCI)                                                                                                 \
    FORMAT(kernelStream)                                                                                               \
    FORMAT(cutterLocationData)                                                                                         \
    FORMAT(kernelCLD)                                                                                                  \
    FORMAT(xml)                                                                                                        \
    FORMAT(gcode)                                                                                                      \
    FORMAT(jsonLines)                                                                                                  \
    FORMAT(mastercamNCI)                                                                                               \
    FORMAT(eventLog)

namespace Quarn::Tool {

namespace Formats {
#define QUARN_TOOL_DECLARE_FORMAT(name) extern Format const name;
QUARN_TOOL_FORMATS(QUARN_TOOL_DECLARE_FORMAT)
#undef QUARN_TOOL_DECLARE_FORMAT
} // namespace Formats

std::span<Format const* const> FormatRegistry::all()
{
#define QUARN_TOOL_FORMAT_ADDRESS(name) &Formats::name,
    static constexpr Format const* formats[] = {QUARN_TOOL_FORMATS(QUARN_TOOL_FORMAT_ADDRESS)};
#undef QUARN_TOOL_FORMAT_ADDRESS
    return formats;
}

Format const* FormatRegistry::detect(std::wstring const& path)
{
    for (Format const* format : all())
        if (format->canRead() && format->recognises(path))
            return format;
    return nullptr;
}

Format const* FormatRegistry::findWriter(std::string_view name)
{
    for (Format const* format : all())
        if (format->canWrite() && format->name == name)
            return format;
    return nullptr;
}

Format const* FormatRegistry::writerForPath(std::string const& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    if (extension.empty())
        return nullptr;
    extension.erase(0, 1);
    // Extensions are ASCII: a byte of a UTF-8 sequence never equals one of their letters.
    auto const lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    std::transform(extension.begin(), extension.end(), extension.begin(), lower);
    for (Format const* format : all())
        if (format->canWrite() && std::ranges::find(format->extensions, extension) != format->extensions.end())
            return format;
    return nullptr;
}

std::string FormatRegistry::writerNames()
{
    std::string names;
    for (Format const* format : all())
        if (format->canWrite())
            names.append(names.empty() ? "" : "|").append(format->name);
    return names;
}

std::string FormatRegistry::writerExtensions()
{
    std::string list;
    for (Format const* format : all()) {
        if (!format->canWrite() || format->extensions.empty())
            continue;
        list.append(list.empty() ? "" : ", ");
        for (std::string_view extension : format->extensions)
            list.append(".").append(extension).append(" ");
        list.append(format->name);
    }
    return list;
}

} // namespace Quarn::Tool
