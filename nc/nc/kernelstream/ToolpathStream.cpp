// The toolpath event interface.
#include "nc/nc/kernelstream/ToolpathStream.h"

namespace Quarn {

ToolpathStream::~ToolpathStream() = default;

} // namespace Quarn
