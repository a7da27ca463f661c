// The sink of a kernel toolpath stream: the toolpath as toolpath events, and the kernel's
// messages and facts about its process through operations of its own.
#pragma once

#include "nc/nc/kernelstream/KernelOutputInterface.h"
#include "nc/nc/kernelstream/ToolpathStreamDefaultImpl.h"

#include <cstdint>

namespace Quarn {

// KernelReader calls it, one operation per entity of the stream. Every operation accepts and
// does nothing by default: a receiver overrides what it needs. false stops the reader.
class QUARN_NC_EXPORT KernelStream : public ToolpathStreamDefaultImpl {
public:
    // The header text of the stream, as read.
    virtual bool onHeader(wchar_t const* text);
    // The end entity: the kernel finished its output normally.
    virtual bool onEnd();

    // An error by its code (see KernelOutputInterface::writeError), and the messages. The
    // reader also reports its own refusal of a stream here ("Unsupported kernel version.").
    virtual bool onError(unsigned int code);
    virtual bool onError(wchar_t const* text);
    virtual bool onWarning(wchar_t const* text);
    virtual bool onInformation(wchar_t const* text);
    virtual bool onDebug(wchar_t const* text);
    virtual bool onParameter(wchar_t const* name, wchar_t const* value);
    virtual bool onTaskId(wchar_t const* id);

    // Facts about the kernel process (see KernelOutputInterface for units).
    virtual bool onModule(wchar_t const* name, std::uint64_t address, std::uint64_t size);
    virtual bool onMemoryInformation(KernelOutputInterface::MemoryInformation64 const& information);
    virtual bool onOutOfMemory(std::uint64_t requested, std::uint64_t available);
    virtual bool onProcessInfo(
        std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage);
};

} // namespace Quarn
