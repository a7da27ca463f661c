// A toolpath stream that accepts every entity and does nothing: the end of a chain, or the base
// of a receiver that overrides only what it needs.
#pragma once

#include "nc/nc/kernelstream/ToolpathStream.h"

namespace Quarn {

class QUARN_NC_EXPORT ToolpathStreamDefaultImpl : public ToolpathStream {
public:
#include "nc/nc/kernelstream/ToolpathStreamOverrides.inc"
};

} // namespace Quarn
