// Test sink of kernel streams that records every entity as a line of text, and can refuse a
// chosen one to test how senders stop.
#pragma once

#include "nc/nc/kernelstream/KernelStream.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/text/Variant.h"

#include <string>
#include <vector>

namespace Quarn::TestSupport {

// Lines are the operation's name and its arguments in Variant text, separated by blanks:
// "onLinearMove (1, 2, 3) 2". Orderings and axis values are kept as copies too.
class RecordingKernelStream : public KernelStream {
public:
    using MemoryInformation64 = KernelOutputInterface::MemoryInformation64;

    std::vector<std::wstring> events;
    std::vector<AxisOrdering> orderings;
    std::vector<AxisValues> axisValues;
    std::vector<MemoryInformation64> memoryInformation;

    // Refuse (answer false) the occurrence-th operation of this name, counting from 1; every
    // one after it is still recorded and answered true.
    void stopAt(std::wstring name, int occurrence = 1);
    std::vector<std::wstring> names() const;
    // All lines joined with line feeds.
    std::wstring text() const;

#include "nc/nc/kernelstream/ToolpathStreamOverrides.inc"

#include "nc/nc/kernelstream/KernelStreamOverrides.inc"

private:
    bool record(wchar_t const* name, std::initializer_list<Variant> arguments);

    std::wstring stopName;
    int stopOccurrence = 0;
    int seenOfStopName = 0;
};

} // namespace Quarn::TestSupport
