// quarnnc.diff: whether two programs follow one path of the tool tip (NCCompare), with the places and
// values where they part, as `quarnnc diff` compares them.
#include "python/src/Bindings.h"
#include "python/src/Files.h"
#include "python/src/Stages.h"

#include "nc/nc/NCCompare.h"

#include <pybind11/stl.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace Quarn::Python {

namespace {

using Deviations = NCCompare::Deviations;
using Differences = NCCompare::Differences;
using Location = NCCompare::Location;
using Place = NCCompare::Place;
using Result = NCCompare::Result;
using ValueDifference = NCCompare::ValueDifference;

py::tuple point(Vector3D const& v) { return py::make_tuple(v.x, v.y, v.z); }

// A feed, spindle speed or tool number; None for the feed of a rapid.
py::object value(double v) { return std::isnan(v) ? py::object(py::none()) : py::object(py::float_(v)); }

// Six significant digits: reprs are read, the attributes hold the exact values.
std::string number(double v)
{
    char buffer[32];
    auto const [end, error] = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::general, 6);
    return error == std::errc() ? std::string(buffer, end) : std::to_string(v);
}

std::string numberOrNone(double v) { return std::isnan(v) ? "None" : number(v); }

std::string pointText(Vector3D const& v) { return "(" + number(v.x) + ", " + number(v.y) + ", " + number(v.z) + ")"; }

std::string locationText(Location const& l)
{
    return "Location(event=" + std::to_string(l.event) + ", line=" + (l.line ? std::to_string(*l.line) : "None")
        + ", section=" + std::to_string(l.section) + ")";
}

std::string deviationsText(Deviations const& d)
{
    return "Deviations(partings=" + std::to_string(d.partings)
        + ", largest=" + (d.largest ? number(d.largest->deviation) : "None") + ")";
}

// The comparison options of diff's arguments. ignore is an iterable of words, or one word alone.
NCCompare::Options compareOptions(double tolerance, double axisTolerance, py::handle ignore)
{
    NCCompare::Options options;
    options.tolerance = tolerance;
    options.axisTolerance = axisTolerance;
    py::object const words = py::isinstance<py::str>(ignore) ? py::object(py::make_tuple(ignore)) : py::iter(ignore);
    for (py::handle item : words) {
        if (!py::isinstance<py::str>(item))
            throw py::type_error("ignore takes words ('feed', 'spindle', 'tools'), not "
                + py::repr(item.get_type()).cast<std::string>());
        std::string const word = item.cast<std::string>();
        if (word == "feed")
            options.compareFeeds = false;
        else if (word == "spindle")
            options.compareSpindle = false;
        else if (word == "tools")
            options.compareTools = false;
        else
            throw py::value_error("ignore takes 'feed', 'spindle' and 'tools', not '" + word + "'");
    }
    return options;
}

// Lines only where they are the file's: the line numbers other readers send are those the program
// holds.
void keepFileLines(Result& result, bool fileLinesA, bool fileLinesB)
{
    auto const keep = [fileLinesA, fileLinesB](Location& a, Location& b) {
        if (!fileLinesA)
            a.line.reset();
        if (!fileLinesB)
            b.line.reset();
    };
    for (Deviations* deviations : {&result.path, &result.axis})
        for (std::optional<Place>* place : {&deviations->largest, &deviations->firstParting})
            if (*place)
                keep((*place)->a, (*place)->b);
    for (Differences* differences : {&result.feeds, &result.spindle, &result.tools})
        if (differences->first)
            keep(differences->first->a, differences->first->b);
}

// Reads both files at once, each on a thread of NCCompare, without the GIL.
Result diff(std::string const& a, std::string const& b, NCCompare const& compare, Tool::ReaderOptions options)
{
    py::gil_scoped_release release;
    Tool::Format const& formatA = detect(a);
    Tool::Format const& formatB = detect(b);
    options.fileLineNumbers = true;
    auto const source = [&options](Tool::Format const& format, std::string const& path) -> NCCompare::Source {
        return [&options, &format, &path](NCStream& target) { return replay(format, path, target, options); };
    };
    Result result = compare.compare(source(formatA, a), source(formatB, b));
    keepFileLines(result, Tool::readsFileLineNumbers(formatA), Tool::readsFileLineNumbers(formatB));
    return result;
}

void bindResults(py::module_& module)
{
    py::class_<Location>(module, "Location",
        "Where a place of quarnnc.diff lies in one program: the event (as `quarnnc validate` counts them; the "
        "first is 0), the file's line where the reader tells it (G-code and the CAM system's NCI files), and "
        "the section (1 for the first, 0 before any).")
        .def_readonly("event", &Location::event, "The index of the event in its program.")
        .def_readonly("line", &Location::line, "The line of the file, or None where the format has none to give.")
        .def_readonly("section", &Location::section, "The section, from 1; 0 before the first.")
        .def("__repr__", &locationText, "Location(event=..., line=... or None, section=...).");

    py::class_<Place>(module, "Place",
        "A vertex of one program and the point of the other it was measured against: the deviation "
        "(millimetres along the path, degrees between tool axes), the two points in millimetres and where "
        "each lies.")
        .def_readonly("deviation", &Place::deviation, "Millimetres for the path, degrees for the tool axis.")
        .def_property_readonly(
            "point_a", [](Place const& p) { return point(p.pointA); }, "The point on the path of a, (x, y, z) in mm.")
        .def_property_readonly(
            "point_b", [](Place const& p) { return point(p.pointB); }, "The point on the path of b, (x, y, z) in mm.")
        .def_readonly("a", &Place::a, "Where the place lies in a, a quarnnc.Location.")
        .def_readonly("b", &Place::b, "Where the place lies in b, a quarnnc.Location.")
        .def(
            "__repr__",
            [](Place const& p) {
                return "Place(deviation=" + number(p.deviation) + ", point_a=" + pointText(p.pointA) + ", point_b="
                    + pointText(p.pointB) + ", a=" + locationText(p.a) + ", b=" + locationText(p.b) + ")";
            },
            "Place(deviation=..., point_a=..., point_b=..., a=Location(...), b=Location(...)).");

    py::class_<Deviations>(module, "Deviations",
        "How far apart the paths, or the tool axes, of two programs lie: the largest deviation, the first place "
        "beyond the tolerance and the count of partings (runs of consecutive vertices beyond it count once).")
        .def_readonly("largest", &Deviations::largest, "The quarnnc.Place of the largest deviation, or None.")
        .def_readonly("first_parting", &Deviations::firstParting,
            "The first quarnnc.Place beyond the tolerance, or None when there is none.")
        .def_readonly("partings", &Deviations::partings, "The count of runs of vertices beyond the tolerance.")
        .def("__repr__", &deviationsText, "Deviations(partings=..., largest=deviation or None).");

    py::class_<ValueDifference>(module, "ValueDifference",
        "A feed, spindle speed or tool that differs: where the difference starts in each program, the point on "
        "the path of a (mm) and the two values. Feeds are millimetres per minute (per revolution and inverse time "
        "as the program gives them) and None for a rapid; spindle speeds revolutions per minute; tools numbers.")
        .def_readonly("a", &ValueDifference::a, "Where it starts in a, a quarnnc.Location.")
        .def_readonly("b", &ValueDifference::b, "Where it starts in b, a quarnnc.Location.")
        .def_property_readonly(
            "point", [](ValueDifference const& d) { return point(d.point); }, "The point on the path of a, in mm.")
        .def_property_readonly(
            "value_a", [](ValueDifference const& d) { return value(d.valueA); }, "The value in a; None for a rapid.")
        .def_property_readonly(
            "value_b", [](ValueDifference const& d) { return value(d.valueB); }, "The value in b; None for a rapid.")
        .def(
            "__repr__",
            [](ValueDifference const& d) {
                return "ValueDifference(value_a=" + numberOrNone(d.valueA) + ", value_b=" + numberOrNone(d.valueB)
                    + ", point=" + pointText(d.point) + ", a=" + locationText(d.a) + ", b=" + locationText(d.b) + ")";
            },
            "ValueDifference(value_a=..., value_b=..., point=..., a=Location(...), b=Location(...)).");

    py::class_<Differences>(module, "Differences",
        "The feeds, spindle speeds or tools that differ along the path: the count of runs of differing vertices "
        "and the first difference. Always 0 and None for what the comparison ignored.")
        .def_readonly("count", &Differences::count, "The count of runs of differing vertices.")
        .def_readonly("first", &Differences::first, "The first quarnnc.ValueDifference, or None.")
        .def(
            "__repr__", [](Differences const& d) { return "Differences(count=" + std::to_string(d.count) + ")"; },
            "Differences(count=...).");

    using Pair = std::pair<std::uint64_t, std::uint64_t>;
    py::class_<Result>(module, "Comparison",
        "What quarnnc.diff found: whether the two programs agree, how far their paths and tool axes lie "
        "apart, the feeds, spindle speeds and tools that differ along the path, and counts as tuples (a, b). "
        "The same figures as `quarnnc diff --format json`.")
        .def_property_readonly(
            "agree", &Result::agree, "True when neither the paths nor the tool axes part and nothing compared differs.")
        .def_readonly("path", &Result::path, "The quarnnc.Deviations of the path of the tool tip, in mm.")
        .def_readonly("axis", &Result::axis, "The quarnnc.Deviations of the tool axes, in degrees.")
        .def_readonly("feeds", &Result::feeds, "The quarnnc.Differences of the feeds.")
        .def_readonly("spindle", &Result::spindle, "The quarnnc.Differences of the spindle speeds.")
        .def_readonly("tools", &Result::tools, "The quarnnc.Differences of the tool numbers.")
        .def_property_readonly(
            "moves", [](Result const& r) { return Pair(r.movesA, r.movesB); },
            "The motion events of each program, the moves of drill cycles included: (a, b).")
        .def_property_readonly(
            "vertices", [](Result const& r) { return Pair(r.verticesA, r.verticesB); },
            "The vertices measured on each path: (a, b).")
        .def_property_readonly(
            "curves_as_chords", [](Result const& r) { return Pair(r.curvesAsChordsA, r.curvesAsChordsB); },
            "Splines, Bezier curves and NURBS taken as the straight line to their end: (a, b).")
        .def_property_readonly(
            "axis_value_moves", [](Result const& r) { return Pair(r.axisValueMovesA, r.axisValueMovesB); },
            "Five-axis moves whose directions are axis values, not tool axes, and were not compared: (a, b).")
        .def_property_readonly(
            "stopped", [](Result const& r) { return std::pair(r.stoppedA, r.stoppedB); },
            "Whether each program was stopped before its end: (a, b).")
        .def(
            "__repr__",
            [](Result const& r) {
                std::string text = std::string("Comparison(agree=") + (r.agree() ? "True" : "False")
                    + ", path=" + deviationsText(r.path);
                if (r.axis.partings > 0)
                    text += ", axis=" + deviationsText(r.axis);
                for (auto const& [name, differences] :
                    {std::pair {"feeds", &r.feeds}, std::pair {"spindle", &r.spindle}, std::pair {"tools", &r.tools}})
                    if (differences->count > 0)
                        text += std::string(", ") + name + "=Differences(count=" + std::to_string(differences->count)
                            + ")";
                return text + ", moves=(" + std::to_string(r.movesA) + ", " + std::to_string(r.movesB) + "))";
            },
            "Comparison(agree=..., path=Deviations(...), moves=(a, b)), with the tool axes, feeds, spindle speeds "
            "and tools where they differ.");
}

} // namespace

void bindCompare(py::module_& module)
{
    bindResults(module);

    module.def(
        "diff",
        [](py::object const& a, py::object const& b, double tolerance, double axisTolerance, py::object const& ignore,
            std::string const& nciUnit, std::string const& gcodeUnit, bool blockDelete) {
            NCCompare const compare(compareOptions(tolerance, axisTolerance, ignore));
            Tool::ReaderOptions const options = readerOptions(nciUnit, gcodeUnit, blockDelete, false);
            return diff(pathOf(a), pathOf(b), compare, options);
        },
        py::arg("a"), py::arg("b"), py::kw_only(), py::arg("tolerance") = 0.01, py::arg("axis_tolerance") = 0.01,
        py::arg("ignore") = py::tuple(), py::arg("nci_unit") = "inch", py::arg("gcode_unit") = "mm",
        py::arg("block_delete") = false,
        "Compares the programs at a and b as `quarnnc diff` does and returns a quarnnc.Comparison: whether the "
        "tool tip follows one path in both (lines, arcs and helices as the curves they are, drill cycles as the "
        "moves of their holes) and, along it, one tool axis, feed, spindle speed and tool. tolerance is the largest "
        "distance in millimetres between the paths that still agrees, axis_tolerance the largest angle in degrees "
        "between the tool axes (each at least 1e-6, else ValueError); ignore is an iterable of 'feed', 'spindle' "
        "and 'tools' (or one of them alone) that are not compared. nci_unit, gcode_unit and block_delete set up the "
        "readers of both files as in quarnnc.read; the formats are detected by content. Both files are read at "
        "once, each on a thread of its own, without the GIL. A missing file raises FileNotFoundError, a malformed, "
        "cut or foreign one quarnnc.FormatError (with file, line or offset).");
}

} // namespace Quarn::Python
