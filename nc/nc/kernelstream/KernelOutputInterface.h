// The abstract writer of kernel toolpath output: the binary stream and JSON Lines implement it,
// so that a kernel can emit either form.
#pragma once

#include "nc/nc/NCStream.h"
#include "util/utility/Export.h"
#include "util/utility/math/Vector3D.h"

#include <cstdint>

namespace Quarn {

class AxisOrdering;
class AxisValues;

// One operation per entity of the kernel's output. Texts are wide; a null text is a failed
// precondition and is written as "". An output that fails throws IOException; nothing is
// reported through a result.
class QUARN_NC_EXPORT KernelOutputInterface {
public:
    // The platform's memory record, fields in the order they are stored.
    struct MemoryInformation64 {
        std::uint32_t structureSize = 0;
        std::uint64_t totalPhysical = 0;
        std::uint64_t availablePhysical = 0;
        std::uint32_t memoryLoad = 0; // percent in use
        std::uint64_t totalPageFile = 0;
        std::uint64_t availablePageFile = 0;
        std::uint64_t totalVirtual = 0;
        std::uint64_t availableVirtual = 0;
        std::uint64_t workingSet = 0;
        std::uint64_t peakWorkingSet = 0;
        std::uint32_t pageSize = 0;
        std::uint64_t allocationGranularity = 0;
        friend bool operator==(MemoryInformation64 const&, MemoryInformation64 const&) = default;
    };

    KernelOutputInterface() = default;
    KernelOutputInterface(KernelOutputInterface const&) = default;
    KernelOutputInterface& operator=(KernelOutputInterface const&) = default;
    virtual ~KernelOutputInterface();

    // --- The frame of a stream: the header (with the version) first, the end last.
    virtual void writeHeader() = 0;
    virtual void writeVersion() = 0;
    virtual void writeEnd() = 0;

    // --- Facts about the kernel process.
    virtual void writeMemoryInformation(MemoryInformation64 const& information) = 0;
    virtual void writeModule(wchar_t const* name, std::uint64_t address, std::uint64_t size) = 0;
    // Low memory: the size asked for and the largest continuous block left, in bytes.
    virtual void writeOutOfMemory(std::uint64_t requested, std::uint64_t available) = 0;
    // Milliseconds of processing, processor usage (0 to 1), memory in use and its peak in bytes.
    virtual void writeProcessInfo(
        std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage)
        = 0;
    virtual void writeTaskId(wchar_t const* id) = 0;

    // --- Messages: an error by its code (3 computation failed, 4 invalid job, 5 invalid
    // parameters, 6 failed to load module, 7 out of memory, any other internal), and texts.
    virtual void writeError(unsigned int code) = 0;
    virtual void writeInformation(wchar_t const* text) = 0;
    virtual void writeWarning(wchar_t const* text) = 0;
    virtual void writeError(wchar_t const* text) = 0;
    virtual void writeDebug(wchar_t const* text) = 0;
    virtual void writeParameter(wchar_t const* name, wchar_t const* value) = 0;
    // Fraction done, 0 to 1.
    virtual void writeProgress(double fraction) = 0;

    // --- The toolpath (see ToolpathStream for units, frames and the sense of arcs).
    virtual void writeToolpathOpen() = 0;
    virtual void writeToolpathClose() = 0;
    virtual void writeToolpathBreak() = 0;
    virtual void writeBeginPathFragment() = 0;
    virtual void writeEndPathFragment() = 0;
    virtual void writeLine(Vector3D const& position, NCStream::Movement movement) = 0;
    virtual void writeLine(Vector3D const& position, Vector3D const& axis, NCStream::Movement movement) = 0;
    virtual void writeArc(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
        = 0;
    virtual void writeToolAxis(Vector3D const& axis) = 0;
    virtual void writeContactNormal(Vector3D const& normal) = 0;
    virtual void writeExpandOpen() = 0;
    virtual void writeExpandClose() = 0;
    virtual void writeTurnGroupBegin(NCStream::TurnGroupType type) = 0;
    virtual void writeTurnGroupEnd() = 0;
    virtual void writeGroupBegin(wchar_t const* name) = 0;
    virtual void writeGroupEnd() = 0;
    virtual void writeDwell(double seconds) = 0;
    virtual void writeCommand(NCStream::Command command) = 0;
    virtual void writeMachineAxisOrdering(AxisOrdering const& ordering) = 0;
    virtual void writeMachineAxisValues(AxisValues const& values) = 0;

    // --- The output: flushStream pushes what is buffered to it, closeStream closes it.
    virtual void flushStream() = 0;
    virtual void closeStream() = 0;
};

} // namespace Quarn
