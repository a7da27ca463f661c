// One event of every kind, in a valid program order.
#include "tests/support/EventSamples.h"

#include "tests/support/RecordingNCStream.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"

#include <type_traits>

namespace Quarn::TestSupport {

bool sendEveryEvent(NCStream& s)
{
    NCContext context;
    context.setOrigin({1, 2, 3});
    NCTool tool;
    tool.setNumber(7);
    tool.setDiameter(12.5);
    AxisOrdering ordering {AxisInfo("head", "A"), AxisInfo("table", "C")};
    AxisValues values {AxisValue(10.0), AxisValue(-20.5)};
    TaggedFrame frame("fixture", "world", Frame({1, 2, 3}, {0, 1, 0}, {0, 0, 1}));
    Vector3D const points[] = {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}};
    double const knots[] = {0, 0, 0, 1, 1, 1};
    Vector3D const z(0, 0, 1), x(1, 0, 0), n(0, 1, 0);
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);

    return s.onOpen() && s.onContext(context) && s.onTool(tool) && s.onSection() && s.passThrough(L"wide pass")
        && s.passThrough("narrow pass") && s.onComment(L"wide comment") && s.onComment("narrow comment")
        && s.onCommand(NCStream::COMMAND_COOLANT_ON) && s.onToolpathEntityIndex({3, 4}) && s.onMachineCommand(42)
        && s.onCoolant(2, NCStream::COOLANT_LEVEL_HIGH) && s.onSpindleSpeed(12000.0) && s.onRadiusCompensationMode(true)
        && s.onRadiusCompensation(NCStream::COMPENSATION_LEFT) && s.onParameter("point", Point3D(1, 2, 3))
        && s.onParameter("kinded", 2.5, NCStream::PARAMETER_KIND_LENGTH) && s.onParameter("double", 0.25)
        && s.onParameter("int", -3) && s.onParameter("wide", L"wide value") && s.onParameter("narrow", "narrow value")
        && s.onStock({-1, -1, -1}, {1, 1, 1}) && s.onToolChange() && s.onGroup("group") && s.onTurnGroup("turn group")
        && s.onTurnGroupEnd() && s.onGroupEnd() && s.onDwell(1.5, 0) && s.onRapid({0, 0, 10}, 0)
        && s.onRapid5D({1, 0, 10}, z, x, n, 0) && s.onRapid5D({2, 0, 10}, z, 0) && s.onLinear({3, 0, 0}, 100.0, cut)
        && s.onLinear5D({4, 0, 0}, z, x, n, 110.0, cut) && s.onLinear5D({5, 0, 0}, z, 120.0, cut)
        && s.onLinearExtrude({6, 0, 0}, 130.0, 0.5) && s.onCWArc({6, 1, 0}, {6, 2, 0}, z, 140.0, cut)
        && s.onCCWArc({6, 3, 0}, {6, 4, 0}, z, 150.0, cut) && s.onCircular({6, 5, 0}, {6, 6, 0}, z, -1.5, 160.0, cut)
        && s.onCWArcExtrude({7, 1, 0}, {7, 2, 0}, z, 170.0, 0.6, cut)
        && s.onCCWArcExtrude({7, 3, 0}, {7, 4, 0}, z, 180.0, 0.7, cut)
        && s.onCircularExtrude({7, 5, 0}, {7, 6, 0}, z, 2.5, 190.0, 0.8, cut)
        && s.onCWCircle({8, 1, 0}, {8, 2, 0}, z, 200.0, cut) && s.onCCWCircle({8, 3, 0}, {8, 4, 0}, z, 210.0, cut)
        && s.onSpline({9, 1, 0}, {9, 2, 0}, {9, 3, 0}, 220.0, cut)
        && s.onBezier({9, 4, 0}, {9, 5, 0}, {9, 6, 0}, 230.0, cut) && s.onNURBS(points, 3, knots, 6, 240.0, cut)
        && s.onSkip() && s.onLineNumber(77) && s.onMachineAxisOrdering(ordering) && s.onMachineAxisValues(values)
        && s.onFrame(frame) && s.onSectionEnd() && s.onClose();
}

std::vector<std::wstring> everyEventName()
{
    RecordingNCStream recorder;
    sendEveryEvent(recorder);
    return recorder.names();
}

bool isMotionEventName(std::wstring_view name)
{
    auto const event = findEvent(std::string(name.begin(), name.end()));
    return event && isMotionEvent(*event);
}

namespace {

// A plain value of every parameter type of the event list.
template <class T> T sample()
{
    if constexpr (std::is_same_v<T, wchar_t const*>)
        return L"wide";
    else if constexpr (std::is_same_v<T, char const*>)
        return "narrow";
    else if constexpr (std::is_same_v<T, Vector3D const*>) {
        static Vector3D const points[] = {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}};
        return points;
    } else if constexpr (std::is_same_v<T, double const*>) {
        static double const knots[] = {0, 0, 0, 1, 1, 1};
        return knots;
    } else if constexpr (std::is_same_v<T, unsigned int>)
        return 3; // a count that fits the point and knot samples
    else if constexpr (std::is_enum_v<T>)
        return static_cast<T>(1);
    else if constexpr (std::is_same_v<T, Vector3D>)
        return Vector3D(0, 0, 1);
    else if constexpr (std::is_same_v<T, AxisOrdering>)
        return AxisOrdering {AxisInfo("head", "A")};
    else if constexpr (std::is_same_v<T, AxisValues>)
        return AxisValues {AxisValue(1.0)};
    else if constexpr (std::is_arithmetic_v<T>)
        return T(1);
    else
        return T {};
}

template <class... Parameters> bool callWithSamples(NCStream& stream, bool (NCStream::*operation)(Parameters...))
{
    return (stream.*operation)(sample<std::remove_cvref_t<Parameters>>()...);
}

// Never made: its scope lets the list's parameter types (Command, CoolantLevel, ...) be named.
struct EveryOperation : NCStream {
    static void call(NCStream& stream, std::function<void(NCEvent event, bool answer)> const& answered)
    {
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    answered(NCEvent::name, callWithSamples(stream, static_cast<bool(NCStream::*) parameters>(&NCStream::name)));
#define QUARN_NC_EVENT_COMPOSITE(name, parameters, arguments) QUARN_NC_EVENT(name, parameters, arguments)
#include "nc/nc/NCEvents.def"
    }
};

} // namespace

void callEveryOperation(NCStream& stream, std::function<void(NCEvent event, bool answer)> const& answered)
{
    EveryOperation::call(stream, answered);
}

} // namespace Quarn::TestSupport
