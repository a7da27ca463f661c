// The abstract kernel output writer.
#include "nc/nc/kernelstream/KernelOutputInterface.h"

namespace Quarn {

KernelOutputInterface::~KernelOutputInterface() = default;

} // namespace Quarn
