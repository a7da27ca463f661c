// The XML NC format: written only.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/XMLNCWriter.h"

namespace Quarn::Tool::Formats {

extern constinit Format const xml {
    .name = "xml",
    .extension = "xml",
    .makeWriter = makeFileSink<XMLNCWriter>,
};

} // namespace Quarn::Tool::Formats
