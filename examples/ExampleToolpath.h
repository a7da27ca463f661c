// A small toolpath as the CAM kernel reports it: the program behind the kernel stream and JSON
// Lines examples.
#pragma once

#include "nc/nc/kernelstream/KernelOutputInterface.h"

namespace Quarn::Examples {

// Roughing of a 40 x 30 mm pocket in two slices: header, task, progress, each slice a path
// fragment of a rapid approach, a plunge, straight cuts with arcs at the corners and a lead out,
// messages between the slices, process figures and the end.
void writeKernelToolpath(KernelOutputInterface& out);

} // namespace Quarn::Examples
