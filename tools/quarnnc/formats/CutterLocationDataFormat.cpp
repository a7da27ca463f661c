// Cutter location data: the tool's path alone, read and written; numbers are 32-bit floats.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/CutterLocationDataReader.h"
#include "nc/nc/io/CutterLocationDataWriter.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"cld"};

} // namespace

extern constinit Format const cutterLocationData {
    .name = "cld",
    .extensions = extensions,
    .floatCoordinates = true,
    .recognises = recognisedBy<CutterLocationDataReader>,
    .makeReader = makeReader<CutterLocationDataReader>,
    .version = [](std::wstring const& path) {
        CutterLocationDataReader::Version const v = CutterLocationDataReader::getVersion(path);
        return std::to_string(v.major) + "." + std::to_string(v.minor) + "." + std::to_string(v.build);
    },
    .makeWriter = makeFileSink<CutterLocationDataWriter>,
};

} // namespace Quarn::Tool::Formats
