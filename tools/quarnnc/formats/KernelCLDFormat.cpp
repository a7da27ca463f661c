// The CAM kernel's plain-text cutter location data, one statement a line: read and written.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/io/KernelCLDWriter.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"cldt"};

} // namespace

extern constinit Format const kernelCLD {
    .name = "cld-text",
    .extensions = extensions,
    .recognises = recognisedBy<KernelCLDReader>,
    .makeReader = makeReader<KernelCLDReader>,
    .makeWriter = makeFileSink<KernelCLDWriter>,
};

} // namespace Quarn::Tool::Formats
