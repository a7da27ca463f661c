// Stages written in Python: quarnnc.NCStream, its handlers and the conversions of event values.
#include "python/src/PythonStream.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/Unicode.h"

#include <pybind11/stl.h>

#include <climits>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Quarn::Python {

namespace {

// The Python name of each handler, in the order of PythonStream::Handler.
constexpr char const* HandlerNames[PythonStream::HandlerCount] = {
    "on_pass_through",
    "on_comment",
    "on_command",
    "on_toolpath_entity_index",
    "on_machine_command",
    "on_coolant",
    "on_spindle_speed",
    "on_radius_compensation_mode",
    "on_radius_compensation",
    "on_open",
    "on_parameter",
    "on_stock",
    "on_context",
    "on_tool",
    "on_tool_change",
    "on_section",
    "on_group",
    "on_turn_group",
    "on_group_end",
    "on_turn_group_end",
    "on_section_end",
    "on_dwell",
    "on_rapid",
    "on_rapid_5d_frame",
    "on_rapid_5d",
    "on_linear",
    "on_linear_5d_frame",
    "on_linear_5d",
    "on_linear_extrude",
    "on_cw_arc",
    "on_ccw_arc",
    "on_circular",
    "on_cw_arc_extrude",
    "on_ccw_arc_extrude",
    "on_circular_extrude",
    "on_cw_circle",
    "on_ccw_circle",
    "on_spline",
    "on_bezier",
    "on_nurbs",
    "on_skip",
    "on_line_number",
    "on_machine_axis_ordering",
    "on_machine_axis_values",
    "on_frame",
    "on_close",
};

// Names, URIs and tags: narrow text shown as str. Bytes that are not UTF-8 become surrogate
// escapes, so that passing the name on gives back the same bytes.
struct Name {
    std::string_view text;
};
// Narrow text of comments, pass-through records and parameter values: bytes, passed as given, since
// the library does not know their encoding.
struct Bytes {
    std::string_view text;
};
struct Points {
    Vector3D const* points;
    unsigned int count;
};
struct Numbers {
    double const* numbers;
    unsigned int count;
};

std::string_view view(char const* text) { return text == nullptr ? std::string_view() : std::string_view(text); }

py::object checked(PyObject* object)
{
    if (object == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(object);
}

py::object toPython(double value) { return checked(PyFloat_FromDouble(value)); }
py::object toPython(unsigned int value) { return checked(PyLong_FromUnsignedLong(value)); }
py::object toPython(unsigned long value) { return checked(PyLong_FromUnsignedLong(value)); }
py::object toPython(int value) { return checked(PyLong_FromLong(value)); }
py::object toPython(bool value) { return py::bool_(value); }
py::object toPython(Vector3D const& v)
{
    py::object tuple = checked(PyTuple_New(3));
    double const values[] = {v.x, v.y, v.z};
    for (Py_ssize_t i = 0; i < 3; ++i)
        PyTuple_SET_ITEM(tuple.ptr(), i, toPython(values[i]).release().ptr());
    return tuple;
}
py::object toPython(Point3D const& p) { return toPython(Vector3D(p.x, p.y, p.z)); }
py::object toPython(wchar_t const* text)
{
    return checked(PyUnicode_FromWideChar(text == nullptr ? L"" : text, -1));
}
py::object toPython(Name name)
{
    return checked(
        PyUnicode_DecodeUTF8(name.text.data(), static_cast<Py_ssize_t>(name.text.size()), "surrogateescape"));
}
py::object toPython(Bytes bytes) { return py::bytes(bytes.text.data(), bytes.text.size()); }
py::object toPython(NCContext const& context) { return py::cast(context); }
py::object toPython(NCTool const& tool) { return py::cast(tool); }
py::object toPython(Points points)
{
    py::list list(points.count);
    for (unsigned int i = 0; i < points.count; ++i)
        list[i] = toPython(points.points[i]);
    return list;
}
py::object toPython(Numbers numbers)
{
    py::list list(numbers.count);
    for (unsigned int i = 0; i < numbers.count; ++i)
        list[i] = toPython(numbers.numbers[i]);
    return list;
}
py::object toPython(AxisOrdering const& ordering)
{
    py::list list(static_cast<std::size_t>(ordering.size()));
    for (int i = 0; i < ordering.size(); ++i) {
        AxisInfo const info = ordering.axisInfo(i);
        list[static_cast<std::size_t>(i)]
            = py::make_tuple(toPython(Name {info.getNameStr()}), toPython(Name {info.getMachinePartIdStr()}));
    }
    return list;
}
py::object toPython(AxisValues const& values)
{
    py::tuple tuple(static_cast<std::size_t>(values.size()));
    for (int i = 0; i < values.size(); ++i)
        tuple[static_cast<std::size_t>(i)] = toPython(values.value(i).value());
    return tuple;
}

using Triple = std::array<double, 3>;

Vector3D vector(Triple const& v) { return {v[0], v[1], v[2]}; }

// The bytes of a name or a narrow text given as str (UTF-8, surrogate escapes turned back into
// the bytes they stand for) or as bytes.
std::string bytesOf(py::handle text, char const* what)
{
    if (PyBytes_Check(text.ptr()))
        return std::string(PyBytes_AS_STRING(text.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(text.ptr())));
    if (!PyUnicode_Check(text.ptr()))
        throw py::type_error(std::string(what) + " must be str or bytes");
    py::object const encoded = checked(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    return std::string(
        PyBytes_AS_STRING(encoded.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.ptr())));
}

// Text that the library takes as a C string, which would end at a NUL.
std::string terminated(py::handle text, char const* what)
{
    std::string bytes = bytesOf(text, what);
    if (bytes.find('\0') != std::string::npos)
        throw py::value_error(std::string(what) + " holds a NUL character, which cannot be passed on");
    return bytes;
}

std::wstring wideOf(py::handle text, char const* what)
{
    Py_ssize_t size = 0;
    wchar_t* const wide = PyUnicode_AsWideCharString(text.ptr(), &size);
    if (wide == nullptr)
        throw py::error_already_set();
    std::wstring result(wide, static_cast<std::size_t>(size));
    PyMem_Free(wide);
    if (result.find(L'\0') != std::wstring::npos)
        throw py::value_error(std::string(what) + " holds a NUL character, which cannot be passed on");
    return result;
}

// pass_through and on_comment take str (sent as wide text) or bytes (sent as narrow text).
template <class Event> bool passText(PythonStream& self, py::handle text, char const* what, Event const& event)
{
    if (PyUnicode_Check(text.ptr())) {
        std::wstring const wide = wideOf(text, what);
        return self.pass([&](NCStream& next) { return event(next, wide.c_str()); });
    }
    if (!PyBytes_Check(text.ptr()))
        throw py::type_error(std::string(what) + " must be str or bytes");
    std::string const narrow = terminated(text, what);
    return self.pass([&](NCStream& next) { return event(next, narrow.c_str()); });
}

bool passParameter(PythonStream& self, py::handle nameObject, py::handle value)
{
    std::string const name = terminated(nameObject, "name");
    char const* const n = name.c_str();
    if (PyBool_Check(value.ptr()) || PyLong_Check(value.ptr())) {
        long long const number = PyLong_AsLongLong(value.ptr());
        if (number == -1 && PyErr_Occurred())
            throw py::error_already_set();
        if (number < INT_MIN || number > INT_MAX)
            throw py::value_error("an integer parameter must fit in 32 bits, not " + std::to_string(number));
        return self.pass([&](NCStream& next) { return next.onParameter(n, static_cast<int>(number)); });
    }
    if (PyFloat_Check(value.ptr())) {
        double const number = PyFloat_AS_DOUBLE(value.ptr());
        return self.pass([&](NCStream& next) { return next.onParameter(n, number); });
    }
    if (PyUnicode_Check(value.ptr())) {
        std::wstring const text = wideOf(value, "value");
        return self.pass([&](NCStream& next) { return next.onParameter(n, text.c_str()); });
    }
    if (PyBytes_Check(value.ptr())) {
        std::string const text = terminated(value, "value");
        return self.pass([&](NCStream& next) { return next.onParameter(n, text.c_str()); });
    }
    if (PyTuple_Check(value.ptr()) || PyList_Check(value.ptr())) {
        Triple const point = value.cast<Triple>();
        return self.pass([&](NCStream& next) { return next.onParameter(n, Point3D(point[0], point[1], point[2])); });
    }
    throw py::type_error("a parameter value must be int, float, str, bytes or a point (x, y, z)");
}

bool passNURBS(PythonStream& self, std::vector<Triple> const& points, std::vector<double> const& knots,
    double feedrate, unsigned int flags)
{
    constexpr std::size_t Limit = std::numeric_limits<unsigned int>::max();
    if (points.size() > Limit || knots.size() > Limit)
        throw py::value_error("a NURBS curve has at most 2**32 - 1 control points and knots");
    std::vector<Vector3D> controlPoints;
    controlPoints.reserve(points.size());
    for (Triple const& point : points)
        controlPoints.push_back(vector(point));
    return self.pass([&](NCStream& next) {
        return next.onNURBS(controlPoints.data(), static_cast<unsigned int>(controlPoints.size()), knots.data(),
            static_cast<unsigned int>(knots.size()), feedrate, flags);
    });
}

AxisOrdering orderingOf(py::iterable axes)
{
    AxisOrdering ordering;
    for (py::handle axis : axes) {
        auto const pair = axis.cast<std::pair<py::object, py::object>>();
        ordering.append(AxisInfo(MachinePartId(bytesOf(pair.second, "part")), AxisName(bytesOf(pair.first, "name"))));
    }
    return ordering;
}

AxisValues valuesOf(std::vector<double> const& values)
{
    if (values.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw py::value_error("too many axis values");
    std::vector<AxisValue> positions(values.begin(), values.end());
    return AxisValues(std::move(positions));
}

} // namespace

void PythonStream::start(NCStream* nextStage, py::handle self)
{
    next = nextStage;
    for (std::size_t i = 0; i < HandlerCount; ++i) {
        py::object handler = py::getattr(self, HandlerNames[i]);
        // A handler that is still the C++ one of this class is not overridden.
        bool const overridden
            = !PyCallable_Check(handler.ptr()) || !py::reinterpret_borrow<py::function>(handler).is_cpp_function();
        overrides[i] = overridden ? std::move(handler) : py::object();
    }
}

void PythonStream::stop() noexcept
{
    for (py::object& handler : overrides)
        handler = py::object();
    next = nullptr;
}

template <class... Arguments> bool PythonStream::call(Handler handler, Arguments const&... arguments)
{
    py::gil_scoped_acquire gil;
    py::object const result = overrides[handler](toPython(arguments)...);
    if (result.is_none())
        return true;
    int const truth = PyObject_IsTrue(result.ptr());
    if (truth < 0)
        throw py::error_already_set();
    return truth != 0;
}

template <class Event, class... Arguments>
bool PythonStream::handle(Handler handler, Event const& event, Arguments const&... arguments)
{
    // Reading whether a handler is set needs no GIL: the handlers change only between runs.
    if (!overrides[handler])
        return pass(event);
    return call(handler, arguments...);
}

bool PythonStream::passThrough(wchar_t const* text)
{
    return handle(PassThrough, [&](NCStream& n) { return n.passThrough(text); }, text);
}
bool PythonStream::passThrough(char const* text)
{
    return handle(PassThrough, [&](NCStream& n) { return n.passThrough(text); }, Bytes {view(text)});
}
bool PythonStream::onComment(wchar_t const* comment)
{
    return handle(Comment, [&](NCStream& n) { return n.onComment(comment); }, comment);
}
bool PythonStream::onComment(char const* comment)
{
    return handle(Comment, [&](NCStream& n) { return n.onComment(comment); }, Bytes {view(comment)});
}
bool PythonStream::onCommand(Command command)
{
    return handle(
        CommandEvent, [&](NCStream& n) { return n.onCommand(command); }, static_cast<unsigned int>(command));
}
bool PythonStream::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    return handle(
        ToolpathEntityIndexEvent, [&](NCStream& n) { return n.onToolpathEntityIndex(index); }, index.toolpath,
        static_cast<unsigned long>(index.entity));
}
bool PythonStream::onMachineCommand(unsigned int machineCommand)
{
    return handle(MachineCommand, [&](NCStream& n) { return n.onMachineCommand(machineCommand); }, machineCommand);
}
bool PythonStream::onCoolant(unsigned int coolant, CoolantLevel level)
{
    return handle(
        Coolant, [&](NCStream& n) { return n.onCoolant(coolant, level); }, coolant, static_cast<unsigned int>(level));
}
bool PythonStream::onSpindleSpeed(double speed)
{
    return handle(SpindleSpeed, [&](NCStream& n) { return n.onSpindleSpeed(speed); }, speed);
}
bool PythonStream::onRadiusCompensationMode(bool enable)
{
    return handle(RadiusCompensationMode, [&](NCStream& n) { return n.onRadiusCompensationMode(enable); }, enable);
}
bool PythonStream::onRadiusCompensation(Compensation compensation)
{
    return handle(
        RadiusCompensation, [&](NCStream& n) { return n.onRadiusCompensation(compensation); },
        static_cast<unsigned int>(compensation));
}
bool PythonStream::onOpen()
{
    return handle(Open, [&](NCStream& n) { return n.onOpen(); });
}
bool PythonStream::onParameter(char const* name, Point3D const& value)
{
    return handle(Parameter, [&](NCStream& n) { return n.onParameter(name, value); }, Name {view(name)}, value);
}
bool PythonStream::onParameter(char const* name, double value)
{
    return handle(Parameter, [&](NCStream& n) { return n.onParameter(name, value); }, Name {view(name)}, value);
}
bool PythonStream::onParameter(char const* name, int value)
{
    return handle(Parameter, [&](NCStream& n) { return n.onParameter(name, value); }, Name {view(name)}, value);
}
bool PythonStream::onParameter(char const* name, wchar_t const* value)
{
    return handle(Parameter, [&](NCStream& n) { return n.onParameter(name, value); }, Name {view(name)}, value);
}
bool PythonStream::onParameter(char const* name, char const* value)
{
    return handle(
        Parameter, [&](NCStream& n) { return n.onParameter(name, value); }, Name {view(name)}, Bytes {view(value)});
}
bool PythonStream::onStock(Vector3D const& lower, Vector3D const& upper)
{
    return handle(Stock, [&](NCStream& n) { return n.onStock(lower, upper); }, lower, upper);
}
bool PythonStream::onContext(NCContext const& context)
{
    return handle(Context, [&](NCStream& n) { return n.onContext(context); }, context);
}
bool PythonStream::onTool(NCTool const& tool)
{
    return handle(Tool, [&](NCStream& n) { return n.onTool(tool); }, tool);
}
bool PythonStream::onToolChange()
{
    return handle(ToolChange, [&](NCStream& n) { return n.onToolChange(); });
}
bool PythonStream::onSection()
{
    return handle(Section, [&](NCStream& n) { return n.onSection(); });
}
bool PythonStream::onGroup(char const* uri)
{
    return handle(Group, [&](NCStream& n) { return n.onGroup(uri); }, Name {view(uri)});
}
bool PythonStream::onTurnGroup(char const* name)
{
    return handle(TurnGroup, [&](NCStream& n) { return n.onTurnGroup(name); }, Name {view(name)});
}
bool PythonStream::onGroupEnd()
{
    return handle(GroupEnd, [&](NCStream& n) { return n.onGroupEnd(); });
}
bool PythonStream::onTurnGroupEnd()
{
    return handle(TurnGroupEnd, [&](NCStream& n) { return n.onTurnGroupEnd(); });
}
bool PythonStream::onSectionEnd()
{
    return handle(SectionEnd, [&](NCStream& n) { return n.onSectionEnd(); });
}
bool PythonStream::onDwell(double time, unsigned int flags)
{
    return handle(Dwell, [&](NCStream& n) { return n.onDwell(time, flags); }, time, flags);
}
bool PythonStream::onRapid(Vector3D const& end, unsigned int flags)
{
    return handle(Rapid, [&](NCStream& n) { return n.onRapid(end, flags); }, end, flags);
}
bool PythonStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& normal, unsigned int flags)
{
    return handle(
        Rapid5DFrame, [&](NCStream& n) { return n.onRapid5D(end, z, x, normal, flags); }, end, z, x, normal, flags);
}
bool PythonStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return handle(Rapid5D, [&](NCStream& n) { return n.onRapid5D(end, direction, flags); }, end, direction, flags);
}
bool PythonStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    return handle(Linear, [&](NCStream& n) { return n.onLinear(end, feedrate, flags); }, end, feedrate, flags);
}
bool PythonStream::onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& normal,
    double feedrate, unsigned int flags)
{
    return handle(
        Linear5DFrame, [&](NCStream& n) { return n.onLinear5D(end, z, x, normal, feedrate, flags); }, end, z, x,
        normal, feedrate, flags);
}
bool PythonStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    return handle(
        Linear5D, [&](NCStream& n) { return n.onLinear5D(end, direction, feedrate, flags); }, end, direction, feedrate,
        flags);
}
bool PythonStream::onLinearExtrude(Vector3D const& end, double feedrate, double extrusion)
{
    return handle(
        LinearExtrude, [&](NCStream& n) { return n.onLinearExtrude(end, feedrate, extrusion); }, end, feedrate,
        extrusion);
}
bool PythonStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return handle(
        CWArc, [&](NCStream& n) { return n.onCWArc(center, end, normal, feedrate, flags); }, center, end, normal,
        feedrate, flags);
}
bool PythonStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return handle(
        CCWArc, [&](NCStream& n) { return n.onCCWArc(center, end, normal, feedrate, flags); }, center, end, normal,
        feedrate, flags);
}
bool PythonStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    return handle(
        Circular, [&](NCStream& n) { return n.onCircular(center, end, normal, sweep, feedrate, flags); }, center, end,
        normal, sweep, feedrate, flags);
}
bool PythonStream::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
    double extrusion, unsigned int flags)
{
    return handle(
        CWArcExtrude, [&](NCStream& n) { return n.onCWArcExtrude(center, end, normal, feedrate, extrusion, flags); },
        center, end, normal, feedrate, extrusion, flags);
}
bool PythonStream::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double extrusion, unsigned int flags)
{
    return handle(
        CCWArcExtrude, [&](NCStream& n) { return n.onCCWArcExtrude(center, end, normal, feedrate, extrusion, flags); },
        center, end, normal, feedrate, extrusion, flags);
}
bool PythonStream::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double extrusion, unsigned int flags)
{
    return handle(
        CircularExtrude,
        [&](NCStream& n) { return n.onCircularExtrude(center, end, normal, sweep, feedrate, extrusion, flags); },
        center, end, normal, sweep, feedrate, extrusion, flags);
}
bool PythonStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return handle(
        CWCircle, [&](NCStream& n) { return n.onCWCircle(center, end, normal, feedrate, flags); }, center, end, normal,
        feedrate, flags);
}
bool PythonStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return handle(
        CCWCircle, [&](NCStream& n) { return n.onCCWCircle(center, end, normal, feedrate, flags); }, center, end,
        normal, feedrate, flags);
}
bool PythonStream::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return handle(
        Spline, [&](NCStream& n) { return n.onSpline(control1, control2, end, feedrate, flags); }, control1, control2,
        end, feedrate, flags);
}
bool PythonStream::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    return handle(
        Bezier, [&](NCStream& n) { return n.onBezier(control1, control2, end, feedrate, flags); }, control1, control2,
        end, feedrate, flags);
}
bool PythonStream::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    return handle(
        NURBS, [&](NCStream& n) { return n.onNURBS(controlPoints, count, knots, knotCount, feedrate, flags); },
        Points {controlPoints, count}, Numbers {knots, knotCount}, feedrate, flags);
}
bool PythonStream::onSkip()
{
    return handle(Skip, [&](NCStream& n) { return n.onSkip(); });
}
bool PythonStream::onLineNumber(unsigned int line)
{
    return handle(LineNumber, [&](NCStream& n) { return n.onLineNumber(line); }, line);
}
bool PythonStream::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    return handle(MachineAxisOrdering, [&](NCStream& n) { return n.onMachineAxisOrdering(ordering); }, ordering);
}
bool PythonStream::onMachineAxisValues(AxisValues const& values)
{
    return handle(MachineAxisValues, [&](NCStream& n) { return n.onMachineAxisValues(values); }, values);
}
bool PythonStream::onFrame(TaggedFrame const& frame)
{
    return handle(
        FrameEvent, [&](NCStream& n) { return n.onFrame(frame); }, Name {frame.tag()}, Name {frame.baseFrameTag()},
        frame.frame().getOrigin(), frame.frame().getXAxis(), frame.frame().getZAxis());
}
bool PythonStream::onClose()
{
    return handle(Close, [&](NCStream& n) { return n.onClose(); });
}

void bindPythonStream(py::module_& module)
{
    using S = PythonStream;
    py::class_<S> stream(module, "NCStream", R"(Base class of the stages of a chain written in Python.

A program reaches a stage as calls of its handlers, one per event, in program order:
on_open; per section on_context, on_tool, on_section, the section's events, on_section_end;
on_close. Each handler of this class passes its event on to the next stage of the chain
unchanged and returns that stage's answer; a subclass overrides the handlers of the events it
wants, and calls super().on_linear(...) (and so on) to pass an event on, changed or not. A
handler that does not pass its event on drops it. Returning False stops the program: the
reader stops and run() returns False; None or any true value goes on. The last stage of a
chain is a sink: passing on from it goes nowhere and answers True.

Values: points and vectors are (x, y, z) tuples of floats, in the unit of the last context
and its work frame; flags are the int flag words of the library; contexts and tools are
quarnnc.Context and quarnnc.Tool. Narrow text (comments, pass-through records and parameter
values that the file holds as bytes) arrives as bytes, wide text as str; passing on a str sends
wide text and bytes narrow text.

This is the slow path: every event a stage overrides costs one Python call, with the GIL taken
for it, while the events it does not override pass on in C++. An exception raised in a handler
stops the program and reaches the caller of run() or convert() unchanged. The handlers a
subclass overrides are looked up when a run starts. The class attributes FLAG_* are bits of
the flags word.)");
    stream.def(py::init<>(), "A stage that passes every event on; subclasses override handlers.");

    stream
        .def(
            "on_pass_through",
            [](S& self, py::object const& text) {
                return passText(self, text, "text", [](NCStream& n, auto const* t) { return n.passThrough(t); });
            },
            py::arg("text"), "A record copied to the output as it is: str (wide) or bytes (narrow).")
        .def(
            "on_comment",
            [](S& self, py::object const& text) {
                return passText(self, text, "text", [](NCStream& n, auto const* t) { return n.onComment(t); });
            },
            py::arg("text"), "A comment: str (wide) or bytes (narrow).")
        .def(
            "on_command",
            [](S& self, unsigned int command) {
                return self.pass([&](NCStream& n) { return n.onCommand(static_cast<NCStream::Command>(command)); });
            },
            py::arg("command"), "A machine command by number (1 stop, 3 end, ...; see command_name).")
        .def(
            "on_toolpath_entity_index",
            [](S& self, std::uint32_t toolpath, std::uint64_t entity) {
                return self.pass([&](NCStream& n) { return n.onToolpathEntityIndex({toolpath, entity}); });
            },
            py::arg("toolpath"), py::arg("entity"),
            "Which entity of which kernel toolpath the following events come from.")
        .def(
            "on_machine_command",
            [](S& self, unsigned int command) {
                return self.pass([&](NCStream& n) { return n.onMachineCommand(command); });
            },
            py::arg("command"), "A controller-specific machine command number (an M code).")
        .def(
            "on_coolant",
            [](S& self, unsigned int coolant, unsigned int level) {
                if (level > NCStream::COOLANT_LEVEL_HIGH)
                    throw py::value_error("level must be 0 (default) to 3 (high)");
                return self.pass(
                    [&](NCStream& n) { return n.onCoolant(coolant, static_cast<NCStream::CoolantLevel>(level)); });
            },
            py::arg("coolant"), py::arg("level"), "A coolant change: the coolant number and a level from 0 to 3.")
        .def(
            "on_spindle_speed",
            [](S& self, double speed) { return self.pass([&](NCStream& n) { return n.onSpindleSpeed(speed); }); },
            py::arg("speed"), "The spindle speed in revolutions per minute.")
        .def(
            "on_radius_compensation_mode",
            [](S& self, bool enable) {
                return self.pass([&](NCStream& n) { return n.onRadiusCompensationMode(enable); });
            },
            py::arg("enable"), "Cutter radius compensation switched on or off.")
        .def(
            "on_radius_compensation",
            [](S& self, unsigned int side) {
                if (side > NCStream::COMPENSATION_RIGHT)
                    throw py::value_error("side must be 0 (off), 1 (left) or 2 (right)");
                return self.pass(
                    [&](NCStream& n) { return n.onRadiusCompensation(static_cast<NCStream::Compensation>(side)); });
            },
            py::arg("side"), "The cutter radius compensation side: 0 off, 1 left, 2 right.")
        .def(
            "on_open", [](S& self) { return self.pass([](NCStream& n) { return n.onOpen(); }); },
            "The start of the program.")
        .def(
            "on_parameter", [](S& self, py::object const& name, py::object const& value) { return passParameter(self, name, value); },
            py::arg("name"), py::arg("value"),
            "A named value: int, float, str (wide text), bytes (narrow text) or a point (x, y, z). The name is a "
            "URI; the int and float types are kept when passed on.")
        .def(
            "on_stock",
            [](S& self, Triple const& lower, Triple const& upper) {
                return self.pass([&](NCStream& n) { return n.onStock(vector(lower), vector(upper)); });
            },
            py::arg("lower"), py::arg("upper"), "The stock box by its lower and upper corners.")
        .def(
            "on_context",
            [](S& self, NCContext const& context) {
                return self.pass([&](NCStream& n) { return n.onContext(context); });
            },
            py::arg("context"), "The context of the next section (a quarnnc.Context): unit, frames, modes.")
        .def(
            "on_tool", [](S& self, NCTool const& tool) { return self.pass([&](NCStream& n) { return n.onTool(tool); }); },
            py::arg("tool"), "The tool of the next section (a quarnnc.Tool).")
        .def(
            "on_tool_change", [](S& self) { return self.pass([](NCStream& n) { return n.onToolChange(); }); },
            "The tool of the last on_tool is loaded.")
        .def(
            "on_section", [](S& self) { return self.pass([](NCStream& n) { return n.onSection(); }); },
            "The start of a section.")
        .def(
            "on_group",
            [](S& self, py::object const& uri) {
                std::string const text = terminated(uri, "uri");
                return self.pass([&](NCStream& n) { return n.onGroup(text.c_str()); });
            },
            py::arg("uri"), "The start of a group: a cycle or an operation named by a URI.")
        .def(
            "on_turn_group",
            [](S& self, py::object const& name) {
                std::string const text = terminated(name, "name");
                return self.pass([&](NCStream& n) { return n.onTurnGroup(text.c_str()); });
            },
            py::arg("name"), "The start of a turning group.")
        .def(
            "on_group_end", [](S& self) { return self.pass([](NCStream& n) { return n.onGroupEnd(); }); },
            "The end of the group last started.")
        .def(
            "on_turn_group_end", [](S& self) { return self.pass([](NCStream& n) { return n.onTurnGroupEnd(); }); },
            "The end of the turning group last started.")
        .def(
            "on_section_end", [](S& self) { return self.pass([](NCStream& n) { return n.onSectionEnd(); }); },
            "The end of a section.")
        .def(
            "on_dwell",
            [](S& self, double time, unsigned int flags) {
                return self.pass([&](NCStream& n) { return n.onDwell(time, flags); });
            },
            py::arg("time"), py::arg("flags"),
            "A dwell: seconds, or spindle revolutions when flags has FLAG_DWELL_REVOLUTIONS (0x40).")
        .def(
            "on_rapid",
            [](S& self, Triple const& end, unsigned int flags) {
                return self.pass([&](NCStream& n) { return n.onRapid(vector(end), flags); });
            },
            py::arg("end"), py::arg("flags"), "A rapid move to end.")
        .def(
            "on_rapid_5d_frame",
            [](S& self, Triple const& end, Triple const& z, Triple const& x, Triple const& normal, unsigned int flags) {
                return self.pass(
                    [&](NCStream& n) { return n.onRapid5D(vector(end), vector(z), vector(x), vector(normal), flags); });
            },
            py::arg("end"), py::arg("z"), py::arg("x"), py::arg("normal"), py::arg("flags"),
            "A five-axis rapid move with the whole tool frame: tool axis z, x direction and surface normal. It "
            "reaches on_rapid_5d only through a stage that reduces it, not through this class.")
        .def(
            "on_rapid_5d",
            [](S& self, Triple const& end, Triple const& direction, unsigned int flags) {
                return self.pass([&](NCStream& n) { return n.onRapid5D(vector(end), vector(direction), flags); });
            },
            py::arg("end"), py::arg("direction"), py::arg("flags"),
            "A five-axis rapid move: a tool axis, or A, B and C axis values without FLAG_ABSOLUTE_DIRECTION (0x20).")
        .def(
            "on_linear",
            [](S& self, Triple const& end, double feedrate, unsigned int flags) {
                return self.pass([&](NCStream& n) { return n.onLinear(vector(end), feedrate, flags); });
            },
            py::arg("end"), py::arg("feedrate"), py::arg("flags"),
            "A straight feed move to end; feedrate in length units per minute.")
        .def(
            "on_linear_5d_frame",
            [](S& self, Triple const& end, Triple const& z, Triple const& x, Triple const& normal, double feedrate,
                unsigned int flags) {
                return self.pass([&](NCStream& n) {
                    return n.onLinear5D(vector(end), vector(z), vector(x), vector(normal), feedrate, flags);
                });
            },
            py::arg("end"), py::arg("z"), py::arg("x"), py::arg("normal"), py::arg("feedrate"), py::arg("flags"),
            "A five-axis feed move with the whole tool frame (see on_rapid_5d_frame).")
        .def(
            "on_linear_5d",
            [](S& self, Triple const& end, Triple const& direction, double feedrate, unsigned int flags) {
                return self.pass(
                    [&](NCStream& n) { return n.onLinear5D(vector(end), vector(direction), feedrate, flags); });
            },
            py::arg("end"), py::arg("direction"), py::arg("feedrate"), py::arg("flags"),
            "A five-axis feed move (see on_rapid_5d for the direction).")
        .def(
            "on_linear_extrude",
            [](S& self, Triple const& end, double feedrate, double extrusion) {
                return self.pass([&](NCStream& n) { return n.onLinearExtrude(vector(end), feedrate, extrusion); });
            },
            py::arg("end"), py::arg("feedrate"), py::arg("extrusion"), "A line that deposits material.");

    // The arcs and circles share their parameters.
    auto const arc = [](auto event) {
        return [event](S& self, Triple const& center, Triple const& end, Triple const& normal, double feedrate,
                   unsigned int flags) {
            return self.pass(
                [&](NCStream& n) { return (n.*event)(vector(center), vector(end), vector(normal), feedrate, flags); });
        };
    };
    auto const arcExtrude = [](auto event) {
        return [event](S& self, Triple const& center, Triple const& end, Triple const& normal, double feedrate,
                   double extrusion, unsigned int flags) {
            return self.pass([&](NCStream& n) {
                return (n.*event)(vector(center), vector(end), vector(normal), feedrate, extrusion, flags);
            });
        };
    };
    stream
        .def("on_cw_arc", arc(&NCStream::onCWArc), py::arg("center"), py::arg("end"), py::arg("normal"),
            py::arg("feedrate"), py::arg("flags"),
            "A clockwise arc about center, seen along the unit normal of its plane, from the last end to end.")
        .def("on_ccw_arc", arc(&NCStream::onCCWArc), py::arg("center"), py::arg("end"), py::arg("normal"),
            py::arg("feedrate"), py::arg("flags"), "A counter-clockwise arc (see on_cw_arc).")
        .def(
            "on_circular",
            [](S& self, Triple const& center, Triple const& end, Triple const& normal, double sweep, double feedrate,
                unsigned int flags) {
                return self.pass([&](NCStream& n) {
                    return n.onCircular(vector(center), vector(end), vector(normal), sweep, feedrate, flags);
                });
            },
            py::arg("center"), py::arg("end"), py::arg("normal"), py::arg("sweep"), py::arg("feedrate"),
            py::arg("flags"),
            "An arc, helix or several turns by a signed sweep in radians about the normal (counter-clockwise "
            "positive).")
        .def("on_cw_arc_extrude", arcExtrude(&NCStream::onCWArcExtrude), py::arg("center"), py::arg("end"),
            py::arg("normal"), py::arg("feedrate"), py::arg("extrusion"), py::arg("flags"),
            "A clockwise arc that deposits material.")
        .def("on_ccw_arc_extrude", arcExtrude(&NCStream::onCCWArcExtrude), py::arg("center"), py::arg("end"),
            py::arg("normal"), py::arg("feedrate"), py::arg("extrusion"), py::arg("flags"),
            "A counter-clockwise arc that deposits material.")
        .def(
            "on_circular_extrude",
            [](S& self, Triple const& center, Triple const& end, Triple const& normal, double sweep, double feedrate,
                double extrusion, unsigned int flags) {
                return self.pass([&](NCStream& n) {
                    return n.onCircularExtrude(
                        vector(center), vector(end), vector(normal), sweep, feedrate, extrusion, flags);
                });
            },
            py::arg("center"), py::arg("end"), py::arg("normal"), py::arg("sweep"), py::arg("feedrate"),
            py::arg("extrusion"), py::arg("flags"), "An on_circular move that deposits material.")
        .def("on_cw_circle", arc(&NCStream::onCWCircle), py::arg("center"), py::arg("end"), py::arg("normal"),
            py::arg("feedrate"), py::arg("flags"), "A full clockwise circle: end equals the start.")
        .def("on_ccw_circle", arc(&NCStream::onCCWCircle), py::arg("center"), py::arg("end"), py::arg("normal"),
            py::arg("feedrate"), py::arg("flags"), "A full counter-clockwise circle: end equals the start.");

    auto const curve = [](auto event) {
        return [event](S& self, Triple const& control1, Triple const& control2, Triple const& end, double feedrate,
                   unsigned int flags) {
            return self.pass([&](NCStream& n) {
                return (n.*event)(vector(control1), vector(control2), vector(end), feedrate, flags);
            });
        };
    };
    stream
        .def("on_spline", curve(&NCStream::onSpline), py::arg("control1"), py::arg("control2"), py::arg("end"),
            py::arg("feedrate"), py::arg("flags"), "A spline through two control points to end.")
        .def("on_bezier", curve(&NCStream::onBezier), py::arg("control1"), py::arg("control2"), py::arg("end"),
            py::arg("feedrate"), py::arg("flags"), "A cubic Bezier curve from the last end to end.")
        .def("on_nurbs", &passNURBS, py::arg("control_points"), py::arg("knots"), py::arg("feedrate"),
            py::arg("flags"), "A NURBS curve: a list of control points (x, y, z) and a list of knots.")
        .def(
            "on_skip", [](S& self) { return self.pass([](NCStream& n) { return n.onSkip(); }); },
            "The next block may be skipped (block delete).")
        .def(
            "on_line_number",
            [](S& self, unsigned int line) { return self.pass([&](NCStream& n) { return n.onLineNumber(line); }); },
            py::arg("line"), "The source line number of the events that follow.")
        .def(
            "on_machine_axis_ordering",
            [](S& self, py::iterable axes) {
                AxisOrdering const ordering = orderingOf(axes);
                return self.pass([&](NCStream& n) { return n.onMachineAxisOrdering(ordering); });
            },
            py::arg("axes"),
            "The machine axes that on_machine_axis_values lists: a list of (name, part) pairs of str, the axis "
            "name and the machine component that carries it (\"\" when not known).")
        .def(
            "on_machine_axis_values",
            [](S& self, std::vector<double> const& values) {
                AxisValues const axisValues = valuesOf(values);
                return self.pass([&](NCStream& n) { return n.onMachineAxisValues(axisValues); });
            },
            py::arg("values"),
            "Positions of the machine axes in the order of the last ordering: millimetres and degrees.")
        .def(
            "on_frame",
            [](S& self, py::object const& tag, py::object const& baseTag, Triple const& origin, Triple const& x, Triple const& z) {
                TaggedFrame const frame(bytesOf(tag, "tag"), bytesOf(baseTag, "base_tag"),
                    Frame(vector(origin), vector(x), vector(z)));
                return self.pass([&](NCStream& n) { return n.onFrame(frame); });
            },
            py::arg("tag"), py::arg("base_tag"), py::arg("origin"), py::arg("x"), py::arg("z"),
            "A named frame given in the frame base_tag (\"\": world coordinates) by its origin and unit x and z "
            "axes.")
        .def(
            "on_close", [](S& self) { return self.pass([](NCStream& n) { return n.onClose(); }); },
            "The end of the program.");

    stream
        .def_static(
            "movement", [](unsigned int flags) { return static_cast<unsigned int>(NCStream::getMovement(flags)); },
            py::arg("flags"),
            "The movement code a flags word carries (0 rapid, 2 cutting, ...); quarnnc.movement_name names it.")
        .def_static(
            "command_name", [](unsigned int command) { return Unicode::toUTF8(NCStream::getCommandName(command)); },
            py::arg("command"), "The name of a command number of on_command (\"STOP\", ...); \"\" for unnamed ones.");
    stream.attr("FLAG_START_CUTTING") = static_cast<unsigned int>(NCStream::FLAG_START_CUTTING);
    stream.attr("FLAG_END_CUTTING") = static_cast<unsigned int>(NCStream::FLAG_END_CUTTING);
    stream.attr("FLAG_ABSOLUTE_DIRECTION") = static_cast<unsigned int>(NCStream::FLAG_ABSOLUTE_DIRECTION);
    stream.attr("FLAG_DWELL_REVOLUTIONS") = static_cast<unsigned int>(NCStream::FLAG_DWELL_REVOLUTIONS);
}

} // namespace Quarn::Python
