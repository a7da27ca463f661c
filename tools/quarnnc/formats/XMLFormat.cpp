// The XML NC format: written only.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/XMLNCWriter.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"xml"};

} // namespace

extern constinit Format const xml {
    .name = "xml",
    .extensions = extensions,
    .makeWriter = makeFileSink<XMLNCWriter>,
};

} // namespace Quarn::Tool::Formats
