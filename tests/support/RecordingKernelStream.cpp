// Recording test sink of kernel streams.
#include "tests/support/RecordingKernelStream.h"

namespace Quarn::TestSupport {

namespace {

std::wstring orderingText(AxisOrdering const& ordering)
{
    std::wstring text = L"[";
    for (int i = 0; i < ordering.size(); ++i)
        text += (i == 0 ? L"" : L" ") + Variant(ordering.machinePartId(i).id()).getAsString() + L":"
            + Variant(ordering.axisName(i).getName()).getAsString();
    return text + L"]";
}

std::wstring valuesText(AxisValues const& values)
{
    std::wstring text = L"[";
    for (int i = 0; i < values.size(); ++i)
        text += (i == 0 ? L"" : L" ") + Variant(values.value(i).value()).getAsString();
    return text + L"]";
}

} // namespace

void RecordingKernelStream::stopAt(std::wstring name, int occurrence)
{
    stopName = std::move(name);
    stopOccurrence = occurrence;
    seenOfStopName = 0;
}

std::vector<std::wstring> RecordingKernelStream::names() const
{
    std::vector<std::wstring> result;
    for (auto const& line : events)
        result.push_back(line.substr(0, line.find(L' ')));
    return result;
}

std::wstring RecordingKernelStream::text() const
{
    std::wstring result;
    for (auto const& line : events)
        result += line + L"\n";
    return result;
}

bool RecordingKernelStream::record(wchar_t const* name, std::initializer_list<Variant> arguments)
{
    std::wstring line = name;
    for (Variant const& argument : arguments)
        line += L" " + argument.getAsString();
    events.push_back(std::move(line));
    return !(name == stopName && ++seenOfStopName == stopOccurrence);
}

bool RecordingKernelStream::onToolpathOpen(std::uint32_t type, std::uint32_t version)
{
    return record(L"onToolpathOpen", {type, version});
}
bool RecordingKernelStream::onToolpathBreak() { return record(L"onToolpathBreak", {}); }
bool RecordingKernelStream::onToolpathClose() { return record(L"onToolpathClose", {}); }
bool RecordingKernelStream::onLinearMove(Vector3D const& position, NCStream::Movement movement)
{
    return record(L"onLinearMove", {position, std::uint32_t {movement}});
}
bool RecordingKernelStream::onLinear5DMove(
    Vector3D const& position, Vector3D const& toolAxis, NCStream::Movement movement)
{
    return record(L"onLinear5DMove", {position, toolAxis, std::uint32_t {movement}});
}
bool RecordingKernelStream::onCircularMove(
    Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
{
    return record(L"onCircularMove", {end, center, normal, std::uint32_t {movement}});
}
bool RecordingKernelStream::onToolAxis(Vector3D const& axis) { return record(L"onToolAxis", {axis}); }
bool RecordingKernelStream::onContactNormal(Vector3D const& normal) { return record(L"onContactNormal", {normal}); }
bool RecordingKernelStream::onDwell(double seconds) { return record(L"onDwell", {seconds}); }
bool RecordingKernelStream::onCommand(NCStream::Command command)
{
    return record(L"onCommand", {std::uint32_t {command}});
}
bool RecordingKernelStream::onGroup(wchar_t const* name) { return record(L"onGroup", {name}); }
bool RecordingKernelStream::onGroupEnd() { return record(L"onGroupEnd", {}); }
bool RecordingKernelStream::onExpandOpen() { return record(L"onExpandOpen", {}); }
bool RecordingKernelStream::onExpandClose() { return record(L"onExpandClose", {}); }
bool RecordingKernelStream::onBeginFragment() { return record(L"onBeginFragment", {}); }
bool RecordingKernelStream::onEndFragment() { return record(L"onEndFragment", {}); }
bool RecordingKernelStream::onTurnGroup(NCStream::TurnGroupType type)
{
    return record(L"onTurnGroup", {std::uint32_t {type}});
}
bool RecordingKernelStream::onTurnGroupEnd() { return record(L"onTurnGroupEnd", {}); }
bool RecordingKernelStream::onProgress(double fraction) { return record(L"onProgress", {fraction}); }
bool RecordingKernelStream::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    orderings.push_back(ordering);
    return record(L"onMachineAxisOrdering", {orderingText(ordering)});
}
bool RecordingKernelStream::onMachineAxisValues(AxisValues const& values)
{
    axisValues.push_back(values);
    return record(L"onMachineAxisValues", {valuesText(values)});
}

bool RecordingKernelStream::onHeader(wchar_t const* text) { return record(L"onHeader", {text}); }
bool RecordingKernelStream::onEnd() { return record(L"onEnd", {}); }
bool RecordingKernelStream::onError(unsigned int code) { return record(L"onError", {code}); }
bool RecordingKernelStream::onError(wchar_t const* text) { return record(L"onError", {text}); }
bool RecordingKernelStream::onWarning(wchar_t const* text) { return record(L"onWarning", {text}); }
bool RecordingKernelStream::onInformation(wchar_t const* text) { return record(L"onInformation", {text}); }
bool RecordingKernelStream::onDebug(wchar_t const* text) { return record(L"onDebug", {text}); }
bool RecordingKernelStream::onParameter(wchar_t const* name, wchar_t const* value)
{
    return record(L"onParameter", {name, value});
}
bool RecordingKernelStream::onTaskId(wchar_t const* id) { return record(L"onTaskId", {id}); }
bool RecordingKernelStream::onModule(wchar_t const* name, std::uint64_t address, std::uint64_t size)
{
    return record(L"onModule", {name, address, size});
}
bool RecordingKernelStream::onMemoryInformation(MemoryInformation64 const& information)
{
    memoryInformation.push_back(information);
    return record(L"onMemoryInformation", {information.structureSize, information.totalPhysical,
                                              information.allocationGranularity});
}
bool RecordingKernelStream::onOutOfMemory(std::uint64_t requested, std::uint64_t available)
{
    return record(L"onOutOfMemory", {requested, available});
}
bool RecordingKernelStream::onProcessInfo(
    std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage)
{
    return record(L"onProcessInfo", {processingTime, usage, memoryUsage, peakMemoryUsage});
}

} // namespace Quarn::TestSupport
