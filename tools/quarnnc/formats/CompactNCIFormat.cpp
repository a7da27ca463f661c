// The compact NCI format: read and written; coordinates are 32-bit floats.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"nci"};

} // namespace

extern constinit Format const compactNCI {
    .name = "compact-nci",
    .extensions = extensions,
    .floatCoordinates = true,
    .recognises = recognisedBy<CompactNCIReader>,
    .makeReader = makeReader<CompactNCIReader>,
    .version =
        [](std::wstring const& path) {
            auto const version = CompactNCIReader::getVersion(path);
            return std::to_string(version.major) + "." + std::to_string(version.minor) + "."
                + std::to_string(version.build);
        },
    .makeWriter = makeFileSink<CompactNCIWriter>,
    .writerOptions = WriterOptions::MapToWCS,
};

} // namespace Quarn::Tool::Formats
