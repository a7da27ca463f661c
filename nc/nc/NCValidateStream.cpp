// Checks of NCValidateStream: one handler per event, its checks in a fixed order, then the state.
#include "nc/nc/NCValidateStream.h"

#include "nc/nc/NCCycle.h"
#include "util/utility/Debug.h"
#include "util/utility/math/Point3D.h"

#include <atomic>
#include <cmath>

namespace Quarn {

namespace {

// Relaxed atomics: chains in other threads may report while a debugger session flips them.
std::atomic<bool> breakOnError {false};
std::atomic<bool> breakOnWarning {false};

// Work and WCS planes must be orthogonal within this, whatever the unit-length tolerance is.
constexpr double PlaneTolerance = 1e-6;

bool isOrthogonalPlane(Matrix3x3 const& plane) noexcept
{
    Vector3D const right = plane.getRight();
    Vector3D const up = plane.getUp();
    Vector3D const forward = plane.getForward();
    return plane.isFinite() && std::abs(up.dot(right)) <= PlaneTolerance
        && std::abs(forward.dot(right)) <= PlaneTolerance && std::abs(forward.dot(up)) <= PlaneTolerance;
}

// The part of v that lies in the plane of the unit normal.
Vector3D projectOntoPlane(Vector3D const& v, Vector3D const& normal) noexcept { return v - normal * v.dot(normal); }

bool isContentSpiral(char const* name) noexcept
{
    constexpr std::string_view path = "/namespace/nc/parameter/content-spiral";
    std::string_view const text(name);
    return text.size() == NCStream::NamespaceBaseA.size() + path.size() && text.starts_with(NCStream::NamespaceBaseA)
        && text.ends_with(path);
}

bool isCycleWithToolpath(char const* uri) noexcept
{
    NCCycle::Cycle const cycle = NCCycle::getWellKnownCycle(uri);
    return cycle != NCCycle::CYCLE_NONE && NCCycle::getWellKnownCycleHasToolpath(cycle);
}

// A parameter name for a message; a missing name has already been reported.
std::string_view nameText(char const* name) noexcept { return name != nullptr ? name : std::string_view(); }

bool hasFlag(unsigned int flags, unsigned int flag) noexcept { return (flags & flag) != 0; }

} // namespace

NCValidateStream::~NCValidateStream() = default;

void NCValidateStream::setBreakOnError(bool value) noexcept { breakOnError.store(value, std::memory_order_relaxed); }

bool NCValidateStream::getBreakOnError() noexcept { return breakOnError.load(std::memory_order_relaxed); }

void NCValidateStream::setBreakOnWarning(bool value) noexcept
{
    breakOnWarning.store(value, std::memory_order_relaxed);
}

bool NCValidateStream::getBreakOnWarning() noexcept { return breakOnWarning.load(std::memory_order_relaxed); }

// --- Reporting.

bool NCValidateStream::onErrorImpl(std::wstring const& message)
{
    errorReported = true;
    if (getBreakOnError())
        Debug::breakpoint();
    appendToLog(L"Error [%1]: %2", L"Error: %1", message);
    if (!continueOnError)
        return false;
    return onError(getMessageIndex(), message);
}

bool NCValidateStream::onWarningImpl(std::wstring const& message)
{
    warningReported = true;
    if (getBreakOnWarning())
        Debug::breakpoint();
    appendToLog(L"Warning [%1]: %2", L"Warning: %1", message);
    return onWarning(getMessageIndex(), message);
}

bool NCValidateStream::onError(unsigned int, std::wstring const&) { return continueOnError; }

bool NCValidateStream::onWarning(unsigned int, std::wstring const&) { return true; }

bool NCValidateStream::error(std::wstring_view message, std::initializer_list<Variant> arguments)
{
    return onErrorImpl(Variant::getSubstitution(message, arguments));
}

bool NCValidateStream::warning(std::wstring_view message, std::initializer_list<Variant> arguments)
{
    return onWarningImpl(Variant::getSubstitution(message, arguments));
}

void NCValidateStream::appendToLog(wchar_t const* withLine, wchar_t const* withoutLine, std::wstring const& message)
{
    if (!useLog || loggedCount >= maximumLogged)
        return;
    ++loggedCount;
    if (!log.empty())
        log += L'\n';
    if (lineNumberKnown) {
        Variant const arguments[] = {lineNumber, message};
        Variant::appendSubstitution(log, withLine, arguments);
    } else {
        Variant const arguments[] = {message};
        Variant::appendSubstitution(log, withoutLine, arguments);
    }
}

unsigned int NCValidateStream::getMessageIndex() const noexcept { return lineNumberKnown ? lineNumber : eventCount; }

bool NCValidateStream::isUnitLength(Vector3D const& v) const noexcept
{
    // The squared length avoids a square root; near 1 its error is twice that of the length.
    return std::abs(v.getSquareModulus() - 1.0) < maximumError;
}

// --- Structure.

bool NCValidateStream::onOpen()
{
    if (open && !error(L"Stream is already open.", {}))
        return false;
    open = true;
    sectionOpen = false;
    groupOpen = false;
    contextSet = false;
    toolSet = false;
    ++eventCount;
    return next->onOpen();
}

bool NCValidateStream::onClose()
{
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    if (sectionOpen && !error(L"Section has not been closed.", {}))
        return false;
    open = false;
    ++eventCount;
    return next->onClose();
}

bool NCValidateStream::onCommand(Command command)
{
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onCommand(command);
}

bool NCValidateStream::onMachineCommand(unsigned int machineCommand)
{
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onMachineCommand(machineCommand);
}

bool NCValidateStream::onSkip()
{
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onSkip();
}

bool NCValidateStream::onSection()
{
    if (!contextSet && !warning(L"Context has not been set for section.", {}))
        return false;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    if (sectionOpen && !error(L"Section opened within section.", {}))
        return false;
    sectionOpen = true;
    contextSet = false;
    cutting = false;
    multiAxis = false;
    ++eventCount;
    return next->onSection();
}

bool NCValidateStream::onSectionEnd()
{
    contentSpiral = false;
    if (!toolSet && !groupSeen && !warning(L"Tool has not been set for section but we got toolpath.", {}))
        return false;
    toolSet = false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (cutting && !warning(L"Cutting move not ended before end of section.", {}))
        return false;
    if (!positionKnown && !groupSeen && !warning(L"Empty section.", {}))
        return false;
    sectionOpen = false;
    cutting = false;
    ++eventCount;
    return next->onSectionEnd();
}

bool NCValidateStream::onGroup(char const* uri)
{
    if (uri == nullptr && !error(L"Invalid uri for group.", {}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (groupOpen && !error(L"Group already open.", {}))
        return false;
    // A cycle that moves the tool starts where the tool is.
    if (!positionKnown && uri != nullptr && isCycleWithToolpath(uri)
        && !error(L"Unknown start position for cycle.", {}))
        return false;
    groupOpen = true;
    groupSeen = true;
    ++eventCount;
    return next->onGroup(uri);
}

bool NCValidateStream::onGroupEnd()
{
    if (!groupOpen && !error(L"Group not open.", {}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    groupOpen = false;
    ++eventCount;
    return next->onGroupEnd();
}

bool NCValidateStream::onLineNumber(unsigned int line)
{
    lineNumber = line;
    lineNumberKnown = true;
    ++eventCount;
    return next->onLineNumber(line);
}

// --- Records.

bool NCValidateStream::onContext(NCContext const& newContext)
{
    contextSet = true;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    if (sectionOpen && !error(L"Context change within section.", {}))
        return false;
    if (!validateContext(newContext))
        return false;
    context = newContext;
    ++eventCount;
    return next->onContext(newContext);
}

bool NCValidateStream::validatePlane(
    Vector3D const& origin, Matrix3x3 const& plane, wchar_t const* originMessage, wchar_t const* planeMessage)
{
    if (!origin.isFinite() && !error(originMessage, {origin.getAsString()}))
        return false;
    return isOrthogonalPlane(plane) || error(planeMessage, {});
}

bool NCValidateStream::validateContext(NCContext const& newContext)
{
    if (!validatePlane(newContext.getOrigin(), newContext.getPlane(), L"Invalid context work origin '%1'.",
            L"Invalid context work plane."))
        return false;
    if (!validatePlane(newContext.getWCSOrigin(), newContext.getWCSPlane(), L"Invalid context WCS origin '%1'.",
            L"Invalid context WCS plane."))
        return false;
    // Fails for a zero, negative, infinite (never set) or not-a-number radius.
    return !newContext.isAxisSubstitution() || 1.0 / newContext.getAxisSubstitutionRadius() > 0.0
        || error(L"Invalid context axis substitution.", {});
}

bool NCValidateStream::onTool(NCTool const& newTool)
{
    toolSet = true;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    if (sectionOpen && !error(L"Tool change within section.", {}))
        return false;
    if (!validateTool(newTool))
        return false;
    tool = newTool;
    ++eventCount;
    return next->onTool(newTool);
}

bool NCValidateStream::validateTool(NCTool const& newTool)
{
    struct Value {
        double value;
        wchar_t const* message;
    };
    auto const warnNegative = [this](std::initializer_list<Value> values) {
        for (Value const& v : values)
            if (v.value < 0.0 && !warning(v.message, {v.value}))
                return false;
        return true;
    };

    if (newTool.getType() == ToolGeometry::UNDEFINED
        && !warning(
            newTool.getDiameter() > 0.0 ? L"Tool is undefined but has diameter defined." : L"Tool is undefined.", {}))
        return false;
    if (newTool.isTurning() && newTool.getTurningRegion().isNull() && !warning(L"Turning tool region is null.", {}))
        return false;
    if (newTool.isJetCutter()
        && !warnNegative({{newTool.getJetDiameter(), L"Jet diameter is invalid '%1'."},
            {newTool.getJetDistance(), L"Jet distance is invalid '%1'."},
            {newTool.getKerfWidth(), L"Kerf width is invalid '%1'."},
            {newTool.getCutHeight(), L"Cut height is invalid '%1'."},
            {newTool.getPressure(), L"Pressure is invalid '%1'."},
            {newTool.getPierceTime(), L"Pierce time is invalid '%1'."},
            {newTool.getPierceHeight(), L"Pierce height is invalid '%1'."},
            {newTool.getPiercePower(), L"Pierce power is invalid '%1'."},
            {newTool.getCutPower(), L"Cut power is invalid '%1'."},
            {newTool.getAbrasiveFlowRate(), L"Abrasive flow rate is invalid '%1'."}}))
        return false;
    if (newTool.isDepositing()
        && !warnNegative({{newTool.getBeadWidth(), L"Bead width is invalid '%1'."},
            {newTool.getLayerThickness(), L"Layer thickness is invalid '%1'."},
            {newTool.getStandoffDistance(), L"Standoff distance is invalid '%1'."}}))
        return false;
    return warnNegative({{newTool.getDiameter(), L"Tool diameter is invalid '%1'."},
        {newTool.getCornerRadius(), L"Tool corner radius is invalid '%1'."},
        {newTool.getTaperAngle(), L"Tool taper angle is invalid '%1'."},
        {newTool.getBodyLength(), L"Tool body length is invalid '%1'."}});
}

// --- Machine state.

bool NCValidateStream::onToolChange()
{
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (cutting && !warning(L"Cutting move not ended before null tool change.", {}))
        return false;
    cutting = false;
    ++eventCount;
    return next->onToolChange();
}

bool NCValidateStream::onCoolant(unsigned int coolant, CoolantLevel level)
{
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    ++eventCount;
    return next->onCoolant(coolant, level);
}

bool NCValidateStream::onRadiusCompensationMode(bool enable)
{
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    ++eventCount;
    return next->onRadiusCompensationMode(enable);
}

bool NCValidateStream::onRadiusCompensation(Compensation compensation)
{
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    ++eventCount;
    return next->onRadiusCompensation(compensation);
}

bool NCValidateStream::onSpindleSpeed(double speed)
{
    if (!std::isfinite(speed) && !error(L"Invalid spindle speed '%1'.", {speed}))
        return false;
    if (speed < 0.0 && !warning(L"Invalid spindle speed '%1'.", {speed}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    ++eventCount;
    return next->onSpindleSpeed(speed);
}

bool NCValidateStream::onDwell(double time, unsigned int flags)
{
    if (time < 0.0 && !error(L"Negative dwelling time '%1'.", {time}))
        return false;
    ++eventCount;
    return next->onDwell(time, flags);
}

// --- Parameters.

bool NCValidateStream::onParameter(char const* name, Point3D const& value)
{
    if (name == nullptr && !error(L"Invalid parameter name.", {}))
        return false;
    if (!value.toVector().isFinite()
        && !warning(L"Invalid Point3D value '%1' for parameter '%2'.", {value.getAsString(), nameText(name)}))
        return false;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onParameter(name, value);
}

bool NCValidateStream::onParameter(char const* name, double value)
{
    if (name == nullptr && !error(L"Invalid parameter name.", {}))
        return false;
    if (!std::isfinite(value) && !warning(L"Non-number value '%1' for parameter '%2'.", {value, nameText(name)}))
        return false;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onParameter(name, value);
}

bool NCValidateStream::onParameter(char const* name, int value)
{
    if (name == nullptr && !error(L"Invalid parameter name.", {}))
        return false;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    if (name != nullptr && isContentSpiral(name))
        contentSpiral = value != 0;
    ++eventCount;
    return next->onParameter(name, value);
}

bool NCValidateStream::onParameter(char const* name, wchar_t const* value)
{
    if (name == nullptr && !error(L"Invalid parameter name.", {}))
        return false;
    if (value == nullptr && !error(L"Invalid value for parameter '%1'.", {nameText(name)}))
        return false;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onParameter(name, value);
}

bool NCValidateStream::onParameter(char const* name, char const* value)
{
    if (name == nullptr && !error(L"Invalid parameter name.", {}))
        return false;
    if (value == nullptr && !error(L"Invalid value for parameter '%1'.", {nameText(name)}))
        return false;
    if (!open && !error(L"Stream is not open.", {}))
        return false;
    ++eventCount;
    return next->onParameter(name, value);
}

// --- Shared checks of moves.

bool NCValidateStream::validateFeedrate(double feedrate)
{
    return std::isfinite(feedrate) || error(L"Invalid feedrate '%1'.", {feedrate});
}

bool NCValidateStream::validateNegativeFeedrate(double feedrate)
{
    return !(feedrate < 0.0) || warning(L"Invalid feedrate '%1'.", {feedrate});
}

bool NCValidateStream::validateCircularFlags(unsigned int flags)
{
    bool const start = hasFlag(flags, FLAG_START_CUTTING);
    if (cutting && start && !warning(L"Start of cutting move when already cutting.", {}))
        return false;
    if (start)
        cutting = true;
    // A move that both starts and ends cutting is accepted silently.
    return cutting || !hasFlag(flags, FLAG_END_CUTTING) || warning(L"End of cutting move when not cutting.", {});
}

void NCValidateStream::finishFeedMove(Vector3D const& end, unsigned int flags) noexcept
{
    if (hasFlag(flags, FLAG_END_CUTTING))
        cutting = false;
    positionKnown = true;
    position = end;
}

bool NCValidateStream::validateToolAxis(Vector3D const& direction)
{
    switch (context.getMultiAxisMode()) {
    case NCContext::MULTI_AXIS_UNIT_VECTOR:
        return isUnitLength(direction) || warning(L"Tool axis not normalized '%1'.", {direction.getAsString()});
    case NCContext::MULTI_AXIS_PROPER_VECTOR:
        return direction.isProper() || warning(L"Invalid tool axis '%1'.", {direction.getAsString()});
    case NCContext::MULTI_AXIS_UNCHECKED:
        return true;
    }
    return error(L"Unsupported multi-axis mode.", {});
}

bool NCValidateStream::validateToolFrame(Vector3D const& z, Vector3D const& x, Vector3D const& n)
{
    switch (context.getMultiAxisMode()) {
    case NCContext::MULTI_AXIS_UNIT_VECTOR:
        if (!isUnitLength(z) && !warning(L"Z axis not normalized '%1'.", {z.getAsString()}))
            return false;
        if (!isUnitLength(x) && !warning(L"X axis not normalized '%1'.", {x.getAsString()}))
            return false;
        return isUnitLength(n) || warning(L"Contact normal not normalized '%1'.", {n.getAsString()});
    case NCContext::MULTI_AXIS_PROPER_VECTOR:
        return z.isProper() || warning(L"Invalid Z axis '%1'.", {z.getAsString()});
    case NCContext::MULTI_AXIS_UNCHECKED:
        return true;
    }
    return error(L"Unsupported multi-axis mode.", {});
}

bool NCValidateStream::validateFrameVectors(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n)
{
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!z.isFinite() && !error(L"Invalid Z axis '%1'.", {z.getAsString()}))
        return false;
    if (!x.isFinite() && !error(L"Invalid X axis '%1'.", {x.getAsString()}))
        return false;
    return n.isFinite() || error(L"Invalid contact normal '%1'.", {n.getAsString()});
}

// --- Rapids and lines.

bool NCValidateStream::onRapid(Vector3D const& end, unsigned int flags)
{
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (hasFlag(flags, FLAG_START_CUTTING | FLAG_END_CUTTING)
        && !warning(L"Change of cutting/non-cutting state for rapid move.", {}))
        return false;
    if (cutting && !warning(L"Cutting move not ended before rapid move.", {}))
        return false;
    cutting = false;
    positionKnown = true;
    position = end;
    if (multiAxis && !warning(L"Mixed multi-axis and 3-axis motion.", {}))
        return false;
    ++eventCount;
    return next->onRapid(end, flags);
}

bool NCValidateStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!direction.isFinite() && !error(L"Invalid tool axis '%1'.", {direction.getAsString()}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (hasFlag(flags, FLAG_START_CUTTING | FLAG_END_CUTTING)
        && !warning(L"Change of cutting/non-cutting state for rapid move.", {}))
        return false;
    if (!validateToolAxis(direction))
        return false;
    if (cutting && !warning(L"Cutting move not ended before rapid move.", {}))
        return false;
    cutting = false;
    positionKnown = true;
    position = end;
    multiAxis = true;
    ++eventCount;
    return next->onRapid5D(end, direction, flags);
}

bool NCValidateStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    if (!validateFrameVectors(end, z, x, n))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (!validateCircularFlags(flags) || !validateToolFrame(z, x, n))
        return false;
    finishFeedMove(end, flags);
    multiAxis = true;
    ++eventCount;
    return next->onRapid5D(end, z, x, n, flags);
}

bool NCValidateStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!validateFeedrate(feedrate))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (!validateCircularFlags(flags) || !validateNegativeFeedrate(feedrate))
        return false;
    finishFeedMove(end, flags);
    if (multiAxis && !warning(L"Mixed multi-axis and 3-axis motion.", {}))
        return false;
    ++eventCount;
    return next->onLinear(end, feedrate, flags);
}

bool NCValidateStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!direction.isFinite() && !error(L"Invalid tool axis '%1'.", {direction.getAsString()}))
        return false;
    if (!validateFeedrate(feedrate))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (!validateCircularFlags(flags) || !validateNegativeFeedrate(feedrate) || !validateToolAxis(direction))
        return false;
    finishFeedMove(end, flags);
    multiAxis = true;
    ++eventCount;
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool NCValidateStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    if (!validateFrameVectors(end, z, x, n) || !validateFeedrate(feedrate))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (!validateCircularFlags(flags) || !validateNegativeFeedrate(feedrate) || !validateToolFrame(z, x, n))
        return false;
    finishFeedMove(end, flags);
    multiAxis = true;
    ++eventCount;
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool NCValidateStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!validateFeedrate(feedrate))
        return false;
    if (!std::isfinite(extrusion) && !error(L"Invalid extrusion '%1'.", {extrusion}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (!validateNegativeFeedrate(feedrate))
        return false;
    positionKnown = true;
    position = end;
    ++eventCount;
    return next->onLinearExtrude(end, feedrate, extrusion);
}

// --- Arcs.

bool NCValidateStream::validateCircularGeneral()
{
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    // An arc starts where the tool is.
    return positionKnown || error(L"Unknown start position for circular move.", {});
}

bool NCValidateStream::validateCirularParameters(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate)
{
    if (!center.isFinite() && !error(L"Invalid center '%1'.", {center.getAsString()}))
        return false;
    if (!end.isFinite() && !error(L"Invalid end point '%1'.", {end.getAsString()}))
        return false;
    if (!normal.isFinite() && !error(L"Invalid normal '%1'.", {normal.getAsString()}))
        return false;
    if (!validateFeedrate(feedrate) || !validateNegativeFeedrate(feedrate))
        return false;
    if (!isUnitLength(normal) && !error(L"Circular move normal not normalized.", {}))
        return false;
    Vector3D const startRadius = projectOntoPlane(position - center, normal);
    Vector3D const endRadius = projectOntoPlane(end - center, normal);
    if (!startRadius.isProper() && !error(L"Invalid start and center for circle at '%1'.", {end.getAsString()}))
        return false;
    if (!endRadius.isProper() && !error(L"Invalid end and center for circle at '%1'.", {end.getAsString()}))
        return false;
    if (contentSpiral || !(maximumSpiralRadiiAllowance > 0.0))
        return true;
    return std::abs(endRadius.getModulus() - startRadius.getModulus()) <= maximumSpiralRadiiAllowance
        || error(L"Spiral motion for circle at '%1'.", {end.getAsString()});
}

bool NCValidateStream::validateCirularParameters(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate)
{
    if (!validateCirularParameters(center, end, normal, feedrate))
        return false;
    return std::isfinite(sweep) || error(L"Invalid sweep '%1'.", {sweep});
}

bool NCValidateStream::validateCirularExtrudeParameters(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, double extrusion)
{
    if (!validateCirularParameters(center, end, normal, feedrate))
        return false;
    return std::isfinite(extrusion) || error(L"Invalid extrusion '%1'.", {extrusion});
}

bool NCValidateStream::validateCirularExtrudeParameters(Vector3D const& center, Vector3D const& end,
    Vector3D const& normal, double sweep, double feedrate, double extrusion)
{
    if (!validateCirularParameters(center, end, normal, sweep, feedrate))
        return false;
    return std::isfinite(extrusion) || error(L"Invalid extrusion '%1'.", {extrusion});
}

// The checks and state steps shared by the four plain arc and circle events.
bool NCValidateStream::validateArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    if (!validateCircularGeneral() || !validateCirularParameters(center, end, normal, feedrate)
        || !validateCircularFlags(flags))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return true;
}

bool NCValidateStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return validateArc(center, end, normal, feedrate, flags) && next->onCWArc(center, end, normal, feedrate, flags);
}

bool NCValidateStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return validateArc(center, end, normal, feedrate, flags) && next->onCCWArc(center, end, normal, feedrate, flags);
}

bool NCValidateStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return validateArc(center, end, normal, feedrate, flags) && next->onCWCircle(center, end, normal, feedrate, flags);
}

bool NCValidateStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return validateArc(center, end, normal, feedrate, flags) && next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool NCValidateStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    if (!validateCircularGeneral() || !validateCirularParameters(center, end, normal, sweep, feedrate)
        || !validateCircularFlags(flags))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool NCValidateStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    if (!validateCircularGeneral() || !validateCirularExtrudeParameters(center, end, normal, feedrate, extrusion)
        || !validateCircularFlags(flags))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return next->onCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool NCValidateStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    if (!validateCircularGeneral() || !validateCirularExtrudeParameters(center, end, normal, feedrate, extrusion)
        || !validateCircularFlags(flags))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return next->onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags);
}

bool NCValidateStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    if (!validateCircularGeneral() || !validateCirularExtrudeParameters(center, end, normal, sweep, feedrate, extrusion)
        || !validateCircularFlags(flags))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return next->onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags);
}

// --- Free-form curves.

bool NCValidateStream::validateCurve(Vector3D const& control1, Vector3D const& control2, Vector3D const& end,
    double feedrate, unsigned int flags, wchar_t const* pointMessage, wchar_t const* endMessage,
    wchar_t const* feedrateMessage)
{
    if (!control1.isFinite() && !error(pointMessage, {control1.getAsString()}))
        return false;
    if (!control2.isFinite() && !error(pointMessage, {control2.getAsString()}))
        return false;
    if (!end.isFinite() && !error(endMessage, {end.getAsString()}))
        return false;
    if (!std::isfinite(feedrate) && !error(feedrateMessage, {feedrate, end.getAsString()}))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    return validateCircularFlags(flags) && validateNegativeFeedrate(feedrate);
}

bool NCValidateStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    if (!validateCurve(control1, control2, end, feedrate, flags, L"Invalid point for spline at '%1'.",
            L"Invalid end point '%1' for spline.", L"Invalid feedrate '%1' for spline at '%2'."))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return next->onSpline(control1, control2, end, feedrate, flags);
}

bool NCValidateStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    if (!validateCurve(control1, control2, end, feedrate, flags, L"Invalid point for bezier at '%1'.",
            L"Invalid end point '%1' for bezier.", L"Invalid feedrate '%1' for bezier at '%2'."))
        return false;
    finishFeedMove(end, flags);
    ++eventCount;
    return next->onBezier(control1, control2, end, feedrate, flags);
}

bool NCValidateStream::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    if (controlPoints == nullptr && !error(L"Invalid control points for NURBS.", {}))
        return false;
    if (count == 0 && !error(L"Invalid number of control points for NURBS.", {}))
        return false;
    if (knots == nullptr && !error(L"Invalid knots for NURBS.", {}))
        return false;
    // The arrays are read only when present: a missing one has been reported and may be passed on.
    for (unsigned int i = 0; controlPoints != nullptr && i < count; ++i)
        if (!controlPoints[i].isFinite() && !error(L"Invalid control point.", {}))
            return false;
    for (unsigned int i = 0; knots != nullptr && i < knotCount; ++i)
        if (!std::isfinite(knots[i]) && !error(L"Invalid knot.", {}))
            return false;
    if (!validateFeedrate(feedrate))
        return false;
    if (!sectionOpen && !error(L"Section not open.", {}))
        return false;
    if (!validateCircularFlags(flags) || !validateNegativeFeedrate(feedrate))
        return false;
    // The curve ends at its last control point (clamped knots).
    if (controlPoints != nullptr && count > 0)
        finishFeedMove(controlPoints[count - 1], flags);
    else if (hasFlag(flags, FLAG_END_CUTTING))
        cutting = false;
    ++eventCount;
    return next->onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

} // namespace Quarn
