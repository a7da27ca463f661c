// The table of formats.
#include "tools/quarnnc/FormatRegistry.h"

#include <array>
#include <filesystem>

namespace Quarn::Tool {

std::span<Format const* const> FormatRegistry::all()
{
    static std::array<Format const*, 3> const formats = {
        &compactNCIFormat(),
        &xmlFormat(),
        &logFormat(),
    };
    return formats;
}

Format const* FormatRegistry::detect(std::wstring const& path)
{
    for (Format const* format : all())
        if (format->canRead() && format->recognises(path))
            return format;
    return nullptr;
}

Format const* FormatRegistry::findWriter(std::string const& name)
{
    for (Format const* format : all())
        if (format->canWrite() && format->getName() == name)
            return format;
    return nullptr;
}

Format const* FormatRegistry::writerForPath(std::string const& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    if (!extension.empty())
        extension.erase(0, 1);
    for (Format const* format : all())
        if (format->canWrite() && format->getExtension() == extension)
            return format;
    return nullptr;
}

std::string FormatRegistry::writerNames()
{
    std::string names;
    for (Format const* format : all())
        if (format->canWrite())
            names += (names.empty() ? "" : "|") + format->getName();
    return names;
}

} // namespace Quarn::Tool
