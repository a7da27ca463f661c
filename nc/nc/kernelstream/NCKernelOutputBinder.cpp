// Writing NC stream events as kernel toolpath output.
#include "nc/nc/kernelstream/NCKernelOutputBinder.h"

#include "nc/nc/kernelstream/KernelOutputInterface.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <limits>
#include <numeric>

namespace Quarn {

namespace {

using Entity = KernelParameterNames::Entity;

std::wstring wide(char const* text) { return text != nullptr ? Unicode::fromUTF8(text) : std::wstring(); }

wchar_t const* orEmpty(wchar_t const* text) noexcept { return text != nullptr ? text : L""; }

// The opposite vector without negative zeros, so that an axis-aligned normal reads as it was written.
Vector3D opposite(Vector3D const& v) noexcept { return Vector3D() - v; }

// A sweep of 0 counts as counter-clockwise.
Vector3D counterClockwiseNormal(Vector3D const& normal, double sweep) noexcept
{
    return sweep < 0 ? opposite(normal) : normal;
}

} // namespace

NCKernelOutputBinder::NCKernelOutputBinder(KernelOutputInterface* output)
    : output(output), feedrateName(Unicode::fromUTF8(KernelParameterNames::getFeedrateName()))
{
}

NCKernelOutputBinder::~NCKernelOutputBinder() = default;

std::uint64_t NCKernelOutputBinder::getLeftOutTotal() const noexcept
{
    return std::accumulate(leftOut.begin(), leftOut.end(), std::uint64_t {0});
}

std::vector<std::pair<NCEvent, std::uint64_t>> NCKernelOutputBinder::getLeftOutKinds() const
{
    std::vector<std::pair<NCEvent, std::uint64_t>> kinds;
    for (std::size_t i = 0; i < leftOut.size(); ++i)
        if (leftOut[i] != 0)
            kinds.emplace_back(static_cast<NCEvent>(i), leftOut[i]);
    return kinds;
}

bool NCKernelOutputBinder::leaveOut(NCEvent kind) noexcept
{
    ++leftOut[static_cast<std::size_t>(kind)];
    return true;
}

void NCKernelOutputBinder::writeFeedrate(double feedrate)
{
    if (feedrate == lastFeedrate)
        return;
    output->writeParameter(feedrateName.c_str(), NumberFormat::toWString(feedrate).c_str());
    lastFeedrate = feedrate;
}

std::optional<KernelParameterNames::Entity> NCKernelOutputBinder::findEntity(char const* name)
{
    auto const entity = KernelParameterNames::find(name != nullptr ? name : "");
    if (entity != Entity::Feedrate)
        return entity;
    // Written as any other parameter; the reading side may take it for a feedrate, so the next
    // move writes its own again.
    lastFeedrate = std::numeric_limits<double>::quiet_NaN();
    return std::nullopt;
}

void NCKernelOutputBinder::writeParameter(char const* name, std::wstring const& value)
{
    output->writeParameter(wide(name).c_str(), value.c_str());
}

// What becomes of each event of the list: CARRIED ones are written by hand below, LEFT_OUT ones
// are counted here. An event added to the list does not compile until it is given a line.
#define QUARN_KERNEL_CARRIED(name, parameters, arguments)
#define QUARN_KERNEL_LEFT_OUT(name, parameters, arguments)                                                            \
    bool NCKernelOutputBinder::name parameters { return leaveOut QUARN_NC_PREPEND(NCEvent::name, arguments); }
#define QUARN_KERNEL_passThrough QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onComment QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onCommand QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onToolpathEntityIndex QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onMachineCommand QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onCoolant QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onSpindleSpeed QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onRadiusCompensationMode QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onRadiusCompensation QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onOpen QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onParameter QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onStock QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onContext QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onTool QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onToolChange QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onSection QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onGroup QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onTurnGroup QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onGroupEnd QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onTurnGroupEnd QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onSectionEnd QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onDwell QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onRapid QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onRapid5D QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onLinear QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onLinear5D QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onLinearExtrude QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onCWArc QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onCCWArc QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onCircular QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onCWArcExtrude QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onCCWArcExtrude QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onCircularExtrude QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onCWCircle QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onCCWCircle QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onSpline QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onBezier QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onNURBS QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onSkip QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onLineNumber QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onMachineAxisOrdering QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onMachineAxisValues QUARN_KERNEL_CARRIED
#define QUARN_KERNEL_onFrame QUARN_KERNEL_LEFT_OUT
#define QUARN_KERNEL_onClose QUARN_KERNEL_CARRIED
#define QUARN_NC_EVENT(name, parameters, arguments) QUARN_KERNEL_##name(name, parameters, arguments)
#include "nc/nc/NCEvents.def"

// --- Structure.

bool NCKernelOutputBinder::onOpen()
{
    lastFeedrate = 0.0;
    output->writeHeader();
    return true;
}

bool NCKernelOutputBinder::onClose()
{
    output->writeEnd();
    output->flushStream();
    return true;
}

bool NCKernelOutputBinder::onSection()
{
    output->writeToolpathOpen();
    return true;
}

bool NCKernelOutputBinder::onSectionEnd()
{
    output->writeToolpathClose();
    return true;
}

bool NCKernelOutputBinder::onGroup(char const* uri)
{
    output->writeGroupBegin(wide(uri).c_str());
    return true;
}

bool NCKernelOutputBinder::onGroupEnd()
{
    output->writeGroupEnd();
    return true;
}

bool NCKernelOutputBinder::onTurnGroup(char const* name)
{
    std::string_view const text = name != nullptr ? name : "";
    output->writeTurnGroupBegin(text == "tnr"          ? NCStream::TURN_GROUP_TNR
            : text == "canned-rough" ? NCStream::TURN_GROUP_CANNED_ROUGH
                                     : NCStream::TURN_GROUP_NONE);
    return true;
}

bool NCKernelOutputBinder::onTurnGroupEnd()
{
    output->writeTurnGroupEnd();
    return true;
}

// --- Machine state and axes.

bool NCKernelOutputBinder::onCommand(Command command)
{
    output->writeCommand(command);
    return true;
}

bool NCKernelOutputBinder::onDwell(double time, unsigned int flags)
{
    if ((flags & FLAG_DWELL_REVOLUTIONS) != 0)
        return leaveOut(NCEvent::onDwell);
    output->writeDwell(time);
    return true;
}

bool NCKernelOutputBinder::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    output->writeMachineAxisOrdering(ordering);
    return true;
}

bool NCKernelOutputBinder::onMachineAxisValues(AxisValues const& values)
{
    output->writeMachineAxisValues(values);
    return true;
}

// --- Moves.

void NCKernelOutputBinder::countFlags(unsigned int flags, bool fiveAxis) noexcept
{
    unsigned int const movement = FLAG_MOVEMENT_LOW_MASK | FLAG_MOVEMENT_BIT4;
    unsigned int const readBack = fiveAxis ? movement | FLAG_ABSOLUTE_DIRECTION : movement;
    bool const lost = (flags & ~readBack) != 0 || (fiveAxis && (flags & FLAG_ABSOLUTE_DIRECTION) == 0);
    leftOutValues[static_cast<std::size_t>(LeftOutValue::Flags)] += lost ? 1 : 0;
}

bool NCKernelOutputBinder::onRapid(Vector3D const& end, unsigned int flags)
{
    countFlags(flags, false);
    output->writeLine(end, getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const& n, unsigned int flags)
{
    ++leftOutValues[static_cast<std::size_t>(LeftOutValue::FiveAxisFrame)];
    if (n.isProper())
        output->writeContactNormal(n);
    return onRapid5D(end, z, flags);
}

bool NCKernelOutputBinder::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    countFlags(flags, true);
    output->writeLine(end, direction, getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    countFlags(flags, false);
    writeFeedrate(feedrate);
    output->writeLine(end, getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const& n,
    double feedrate, unsigned int flags)
{
    ++leftOutValues[static_cast<std::size_t>(LeftOutValue::FiveAxisFrame)];
    if (n.isProper())
        output->writeContactNormal(n);
    return onLinear5D(end, z, feedrate, flags);
}

bool NCKernelOutputBinder::onLinear5D(
    Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    countFlags(flags, true);
    writeFeedrate(feedrate);
    output->writeLine(end, direction, getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    countFlags(flags, false);
    writeFeedrate(feedrate);
    output->writeArc(end, center, opposite(normal), getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    countFlags(flags, false);
    writeFeedrate(feedrate);
    output->writeArc(end, center, normal, getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, unsigned int flags)
{
    countFlags(flags, false);
    writeFeedrate(feedrate);
    output->writeArc(end, center, counterClockwiseNormal(normal, sweep), getMovement(flags));
    return true;
}

bool NCKernelOutputBinder::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return onCWArc(center, end, normal, feedrate, flags);
}

bool NCKernelOutputBinder::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return onCCWArc(center, end, normal, feedrate, flags);
}

// --- Parameters: the kernel's own names go back to their entities.

bool NCKernelOutputBinder::onParameter(char const* name, Point3D const& value)
{
    auto const entity = findEntity(name);
    if (entity == Entity::ToolAxis)
        output->writeToolAxis(value.toVector());
    else if (entity == Entity::ContactNormal)
        output->writeContactNormal(value.toVector());
    else
        writeParameter(name, NumberFormat::toWString(value.x) + L' ' + NumberFormat::toWString(value.y) + L' '
                + NumberFormat::toWString(value.z));
    return true;
}

bool NCKernelOutputBinder::onParameter(char const* name, double value)
{
    auto const entity = findEntity(name);
    if (entity == Entity::Progress)
        output->writeProgress(value);
    else
        writeParameter(name, NumberFormat::toWString(value));
    return true;
}

bool NCKernelOutputBinder::onParameter(char const* name, int value)
{
    auto const entity = findEntity(name);
    if (entity == Entity::ErrorCode) {
        output->writeError(static_cast<unsigned int>(value));
        return true;
    }
    if (entity && value == 1) {
        switch (*entity) {
        case Entity::ToolpathBreak:
            output->writeToolpathBreak();
            return true;
        case Entity::BeginFragment:
            output->writeBeginPathFragment();
            return true;
        case Entity::EndFragment:
            output->writeEndPathFragment();
            return true;
        case Entity::ExpandOpen:
            output->writeExpandOpen();
            return true;
        case Entity::ExpandClose:
            output->writeExpandClose();
            return true;
        default:
            break;
        }
    }
    writeParameter(name, NumberFormat::toWString(std::int64_t {value}));
    return true;
}

bool NCKernelOutputBinder::onParameter(char const* name, wchar_t const* value)
{
    auto const entity = findEntity(name);
    value = orEmpty(value);
    if (!entity) {
        output->writeParameter(wide(name).c_str(), value);
        return true;
    }
    switch (*entity) {
    case Entity::Information:
        output->writeInformation(value);
        break;
    case Entity::Warning:
        output->writeWarning(value);
        break;
    case Entity::Error:
        output->writeError(value);
        break;
    case Entity::Debug:
        output->writeDebug(value);
        break;
    case Entity::TaskId:
        output->writeTaskId(value);
        break;
    default:
        output->writeParameter(wide(name).c_str(), value);
        break;
    }
    return true;
}

bool NCKernelOutputBinder::onParameter(char const* name, char const* value)
{
    return onParameter(name, wide(value).c_str());
}

} // namespace Quarn
