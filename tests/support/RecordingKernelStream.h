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

    bool onToolpathOpen(std::uint32_t type, std::uint32_t version) override;
    bool onToolpathBreak() override;
    bool onToolpathClose() override;
    bool onLinearMove(Vector3D const& position, NCStream::Movement movement) override;
    bool onLinear5DMove(Vector3D const& position, Vector3D const& toolAxis, NCStream::Movement movement) override;
    bool onCircularMove(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement) override;
    bool onToolAxis(Vector3D const& axis) override;
    bool onContactNormal(Vector3D const& normal) override;
    bool onDwell(double seconds) override;
    bool onCommand(NCStream::Command command) override;
    bool onGroup(wchar_t const* name) override;
    bool onGroupEnd() override;
    bool onExpandOpen() override;
    bool onExpandClose() override;
    bool onBeginFragment() override;
    bool onEndFragment() override;
    bool onTurnGroup(NCStream::TurnGroupType type) override;
    bool onTurnGroupEnd() override;
    bool onProgress(double fraction) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;

    bool onHeader(wchar_t const* text) override;
    bool onEnd() override;
    bool onError(unsigned int code) override;
    bool onError(wchar_t const* text) override;
    bool onWarning(wchar_t const* text) override;
    bool onInformation(wchar_t const* text) override;
    bool onDebug(wchar_t const* text) override;
    bool onParameter(wchar_t const* name, wchar_t const* value) override;
    bool onTaskId(wchar_t const* id) override;
    bool onModule(wchar_t const* name, std::uint64_t address, std::uint64_t size) override;
    bool onMemoryInformation(MemoryInformation64 const& information) override;
    bool onOutOfMemory(std::uint64_t requested, std::uint64_t available) override;
    bool onProcessInfo(
        std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage) override;

private:
    bool record(wchar_t const* name, std::initializer_list<Variant> arguments);

    std::wstring stopName;
    int stopOccurrence = 0;
    int seenOfStopName = 0;
};

} // namespace Quarn::TestSupport
