// Sending kernel toolpath entities on as NC stream events.
#include "nc/nc/kernelstream/ToolpathNCStreamBinder.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "util/utility/Abortable.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/Unicode.h"

#include <charconv>
#include <numeric>

namespace Quarn {

namespace {

using Names = KernelParameterNames;

wchar_t const* orEmpty(wchar_t const* text) noexcept { return text != nullptr ? text : L""; }

// The side of the normals that arcs are sent counter-clockwise about.
bool isPositiveSide(Vector3D const& normal) noexcept
{
    if (normal.z != 0)
        return normal.z > 0;
    if (normal.y != 0)
        return normal.y > 0;
    return normal.x >= 0;
}

// The opposite vector without negative zeros, so that an axis-aligned normal reads as it was written.
Vector3D opposite(Vector3D const& v) noexcept { return Vector3D() - v; }

} // namespace

ToolpathNCStreamBinder::ToolpathNCStreamBinder(SafePointer<NCStream> target) noexcept : target(target) { }

ToolpathNCStreamBinder::~ToolpathNCStreamBinder() = default;

std::uint64_t ToolpathNCStreamBinder::getNotCarriedTotal() const noexcept
{
    return std::accumulate(notCarried.begin(), notCarried.end(), std::uint64_t {0});
}

std::string_view ToolpathNCStreamBinder::getName(ProcessFact kind) noexcept
{
    switch (kind) {
    case ProcessFact::Module:
        return "onModule";
    case ProcessFact::MemoryInformation:
        return "onMemoryInformation";
    case ProcessFact::OutOfMemory:
        return "onOutOfMemory";
    case ProcessFact::ProcessInfo:
        return "onProcessInfo";
    }
    return {};
}

bool ToolpathNCStreamBinder::proceed() noexcept
{
    if (abortSource == nullptr || !abortSource->isAborted())
        return true;
    stopped = true;
    return false;
}

bool ToolpathNCStreamBinder::sendMarker(std::string const& name)
{
    return proceed() && answer(target->onParameter(name.c_str(), 1));
}

bool ToolpathNCStreamBinder::sendText(std::string const& name, wchar_t const* text)
{
    return proceed() && answer(target->onParameter(name.c_str(), orEmpty(text)));
}

bool ToolpathNCStreamBinder::countNotCarried(ProcessFact kind) noexcept
{
    if (!proceed())
        return false;
    ++notCarried[static_cast<std::size_t>(kind)];
    return true;
}

bool ToolpathNCStreamBinder::parseFeedrate(wchar_t const* text, double& value) noexcept
{
    // Number texts are ASCII and short: anything else is not a feedrate.
    char digits[64] {};
    std::size_t length = 0;
    for (; text[length] != 0; ++length) {
        if (length == sizeof digits || text[length] < 0 || text[length] > 0x7F)
            return false;
        digits[length] = static_cast<char>(text[length]);
    }
    double parsed = 0.0;
    auto const [end, error] = std::from_chars(digits, digits + length, parsed);
    if (length == 0 || error != std::errc() || end != digits + length)
        return false;
    value = parsed;
    return true;
}

// --- Frame and structure.

bool ToolpathNCStreamBinder::onHeader(wchar_t const*)
{
    feedrate = 0.0;
    last = Vector3D::getNaN();
    stopped = false;
    return proceed() && answer(target->onOpen());
}

bool ToolpathNCStreamBinder::onEnd() { return proceed() && answer(target->onClose()); }

bool ToolpathNCStreamBinder::onToolpathOpen(std::uint32_t, std::uint32_t)
{
    return proceed() && answer(target->onSection());
}

bool ToolpathNCStreamBinder::onToolpathClose() { return proceed() && answer(target->onSectionEnd()); }

bool ToolpathNCStreamBinder::onGroup(wchar_t const* name)
{
    if (!proceed())
        return false;
    narrow.clear();
    Unicode::appendUTF8(narrow, orEmpty(name));
    return answer(target->onGroup(narrow.c_str()));
}

bool ToolpathNCStreamBinder::onGroupEnd() { return proceed() && answer(target->onGroupEnd()); }

bool ToolpathNCStreamBinder::onTurnGroup(NCStream::TurnGroupType type)
{
    char const* const name = type == NCStream::TURN_GROUP_TNR ? "tnr"
        : type == NCStream::TURN_GROUP_CANNED_ROUGH            ? "canned-rough"
                                                               : "";
    return proceed() && answer(target->onTurnGroup(name));
}

bool ToolpathNCStreamBinder::onTurnGroupEnd() { return proceed() && answer(target->onTurnGroupEnd()); }

// --- Moves.

bool ToolpathNCStreamBinder::onLinearMove(Vector3D const& position, NCStream::Movement movement)
{
    if (!proceed())
        return false;
    last = position;
    unsigned int const flags = NCStream::getMovementFlags(movement);
    return answer(movement == NCStream::MOVEMENT_RAPID ? target->onRapid(position, flags)
                                                       : target->onLinear(position, feedrate, flags));
}

bool ToolpathNCStreamBinder::onLinear5DMove(
    Vector3D const& position, Vector3D const& toolAxis, NCStream::Movement movement)
{
    if (!proceed())
        return false;
    last = position;
    unsigned int const flags = NCStream::getMovementFlags(movement) | NCStream::FLAG_ABSOLUTE_DIRECTION;
    return answer(movement == NCStream::MOVEMENT_RAPID ? target->onRapid5D(position, toolAxis, flags)
                                                       : target->onLinear5D(position, toolAxis, feedrate, flags));
}

bool ToolpathNCStreamBinder::onCircularMove(
    Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
{
    if (!proceed())
        return false;
    bool const circle = end == last;
    last = end;
    unsigned int const flags = NCStream::getMovementFlags(movement);
    if (isPositiveSide(normal))
        return answer(circle ? target->onCCWCircle(center, end, normal, feedrate, flags)
                             : target->onCCWArc(center, end, normal, feedrate, flags));
    return answer(circle ? target->onCWCircle(center, end, opposite(normal), feedrate, flags)
                         : target->onCWArc(center, end, opposite(normal), feedrate, flags));
}

// --- Machine state and axes.

bool ToolpathNCStreamBinder::onDwell(double seconds) { return proceed() && answer(target->onDwell(seconds, 0)); }

bool ToolpathNCStreamBinder::onCommand(NCStream::Command command)
{
    return proceed() && answer(target->onCommand(command));
}

bool ToolpathNCStreamBinder::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    return proceed() && answer(target->onMachineAxisOrdering(ordering));
}

bool ToolpathNCStreamBinder::onMachineAxisValues(AxisValues const& values)
{
    return proceed() && answer(target->onMachineAxisValues(values));
}

// --- The kernel's own entities, as parameters.

bool ToolpathNCStreamBinder::onToolpathBreak() { return sendMarker(Names::getToolpathBreakName()); }
bool ToolpathNCStreamBinder::onExpandOpen() { return sendMarker(Names::getExpandOpenName()); }
bool ToolpathNCStreamBinder::onExpandClose() { return sendMarker(Names::getExpandCloseName()); }
bool ToolpathNCStreamBinder::onBeginFragment() { return sendMarker(Names::getBeginFragmentName()); }
bool ToolpathNCStreamBinder::onEndFragment() { return sendMarker(Names::getEndFragmentName()); }

bool ToolpathNCStreamBinder::onToolAxis(Vector3D const& axis)
{
    return proceed() && answer(target->onParameter(Names::getToolAxisName().c_str(), Point3D(axis)));
}

bool ToolpathNCStreamBinder::onContactNormal(Vector3D const& normal)
{
    return proceed() && answer(target->onParameter(Names::getContactNormalName().c_str(), Point3D(normal)));
}

bool ToolpathNCStreamBinder::onProgress(double fraction)
{
    return proceed() && answer(target->onParameter(Names::getProgressName().c_str(), fraction));
}

bool ToolpathNCStreamBinder::onError(unsigned int code)
{
    return proceed() && answer(target->onParameter(Names::getErrorCodeName().c_str(), static_cast<int>(code)));
}

bool ToolpathNCStreamBinder::onError(wchar_t const* text) { return sendText(Names::getErrorName(), text); }
bool ToolpathNCStreamBinder::onWarning(wchar_t const* text) { return sendText(Names::getWarningName(), text); }
bool ToolpathNCStreamBinder::onInformation(wchar_t const* text) { return sendText(Names::getInformationName(), text); }
bool ToolpathNCStreamBinder::onDebug(wchar_t const* text) { return sendText(Names::getDebugName(), text); }
bool ToolpathNCStreamBinder::onTaskId(wchar_t const* id) { return sendText(Names::getTaskIdName(), id); }

bool ToolpathNCStreamBinder::onParameter(wchar_t const* name, wchar_t const* value)
{
    if (!proceed())
        return false;
    narrow.clear();
    Unicode::appendUTF8(narrow, orEmpty(name));
    value = orEmpty(value);
    if (narrow == Names::getFeedrateName() && parseFeedrate(value, feedrate))
        return true;
    return answer(target->onParameter(narrow.c_str(), value));
}

// --- Facts about the kernel process: counted, not sent.

bool ToolpathNCStreamBinder::onModule(wchar_t const*, std::uint64_t, std::uint64_t)
{
    return countNotCarried(ProcessFact::Module);
}

bool ToolpathNCStreamBinder::onMemoryInformation(KernelOutputInterface::MemoryInformation64 const&)
{
    return countNotCarried(ProcessFact::MemoryInformation);
}

bool ToolpathNCStreamBinder::onOutOfMemory(std::uint64_t, std::uint64_t)
{
    return countNotCarried(ProcessFact::OutOfMemory);
}

bool ToolpathNCStreamBinder::onProcessInfo(std::uint64_t, double, std::uint64_t, std::uint64_t)
{
    return countNotCarried(ProcessFact::ProcessInfo);
}

} // namespace Quarn
