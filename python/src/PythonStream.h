// quarnnc.NCStream: the C++ stage behind a stage written in Python, which calls the Python
// subclass's handler of each event it overrides and passes the others on without Python.
#pragma once

#include "python/src/Bindings.h"

#include "nc/nc/NCStream.h"

#include <array>
#include <cstddef>

namespace Quarn::Python {

class PythonStream : public NCStream {
public:
    // One per Python handler, in the order of NCEvents.def; the two five-axis forms have one each.
    enum Handler : std::size_t {
        PassThrough,
        Comment,
        CommandEvent,
        ToolpathEntityIndexEvent,
        MachineCommand,
        Coolant,
        SpindleSpeed,
        RadiusCompensationMode,
        RadiusCompensation,
        Open,
        Parameter,
        Stock,
        Context,
        Tool,
        ToolChange,
        Section,
        Group,
        TurnGroup,
        GroupEnd,
        TurnGroupEnd,
        SectionEnd,
        Dwell,
        Rapid,
        Rapid5DFrame,
        Rapid5D,
        Linear,
        Linear5DFrame,
        Linear5D,
        LinearExtrude,
        CWArc,
        CCWArc,
        Circular,
        CWArcExtrude,
        CCWArcExtrude,
        CircularExtrude,
        CWCircle,
        CCWCircle,
        Spline,
        Bezier,
        NURBS,
        Skip,
        LineNumber,
        MachineAxisOrdering,
        MachineAxisValues,
        FrameEvent,
        Close,
        HandlerCount,
    };

    // Before a run, with the GIL: the stage sends on to next (null at the end of a chain) and
    // looks up which handlers self, its Python object, overrides. Overrides are looked up once per
    // run, so a handler assigned during the run is not seen.
    void start(NCStream* next, py::handle self);
    // After a run, with the GIL: drops the handlers looked up.
    void stop() noexcept;

    // Passes an event on as the base handlers do: to the next stage, or nowhere at the end.
    template <class Event> bool pass(Event const& event) { return next == nullptr || event(*next); }

    // Set while a run uses the stage; read and written with the GIL.
    bool busy = false;

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    // The Python handler's answer when there is one, else the event passed on.
    template <class Event, class... Arguments>
    bool handle(Handler handler, Event const& event, Arguments const&... arguments);
    // Calls the Python handler with the GIL; it answers true unless it returned a false value
    // other than None.
    template <class... Arguments> bool call(Handler handler, Arguments const&... arguments);

    NCStream* next = nullptr;
    std::array<py::object, HandlerCount> overrides;
};

// Adds quarnnc.NCStream to the module.
void bindPythonStream(py::module_& module);

} // namespace Quarn::Python
