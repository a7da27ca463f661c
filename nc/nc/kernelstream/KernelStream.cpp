// The do-nothing defaults of the kernel stream sink.
#include "nc/nc/kernelstream/KernelStream.h"

namespace Quarn {

bool KernelStream::onHeader(wchar_t const*) { return true; }
bool KernelStream::onEnd() { return true; }
bool KernelStream::onError(unsigned int) { return true; }
bool KernelStream::onError(wchar_t const*) { return true; }
bool KernelStream::onWarning(wchar_t const*) { return true; }
bool KernelStream::onInformation(wchar_t const*) { return true; }
bool KernelStream::onDebug(wchar_t const*) { return true; }
bool KernelStream::onParameter(wchar_t const*, wchar_t const*) { return true; }
bool KernelStream::onTaskId(wchar_t const*) { return true; }
bool KernelStream::onModule(wchar_t const*, std::uint64_t, std::uint64_t) { return true; }
bool KernelStream::onMemoryInformation(KernelOutputInterface::MemoryInformation64 const&) { return true; }
bool KernelStream::onOutOfMemory(std::uint64_t, std::uint64_t) { return true; }
bool KernelStream::onProcessInfo(std::uint64_t, double, std::uint64_t, std::uint64_t) { return true; }

} // namespace Quarn
