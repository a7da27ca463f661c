// The library's filters and writers as stages of a chain: Transform, Mirror, Validate, ABCRanges,
// BoundingBox, Analyze and Writer, and the classes of their results.
#include "python/src/Stages.h"

#include "tools/quarnnc/FormatRegistry.h"
#include "tools/quarnnc/Files.h"
#include "tools/quarnnc/OutputGuard.h"
#include "tools/quarnnc/ToolAxisStop.h"
#include "tools/quarnnc/ToolError.h"

#include "nc/nc/AnyTransformNCStream.h"
#include "nc/nc/FilterNCStream.h"
#include "nc/nc/MirrorTransformNCStream.h"
#include "nc/nc/NCABCInputRange.h"
#include "nc/nc/NCAnalyze.h"
#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCValidateStream.h"
#include "util/utility/math/Matrix4x4.h"
#include "util/utility/text/Unicode.h"

#include <pybind11/operators.h>
#include <pybind11/stl.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

namespace Quarn::Python {

Stage::~Stage() = default;

void Stage::finish(bool, std::string const&) { }

void Stage::abandon() noexcept { }

std::string pathOf(py::handle path) { return py::module_::import("os").attr("fsdecode")(path).cast<std::string>(); }

namespace {

using Tool::guardOutput;
using Tool::OutputErrors;
using Tool::Replacement;
using Triple = std::array<double, 3>;

Vector3D vector(Triple const& v) { return {v[0], v[1], v[2]}; }

py::tuple tuple(Vector3D const& v) { return py::make_tuple(v.x, v.y, v.z); }

py::object range(Range<double> const& r) { return py::make_tuple(r.getMin(), r.getMax()); }

py::object range(std::optional<Range<double>> const& r, double factor = 1.0)
{
    if (!r)
        return py::none();
    return py::make_tuple(r->getMin() * factor, r->getMax() * factor);
}

// A value of a given Python type, or TypeError with the message.
template <class T> T castOr(py::handle value, char const* message)
{
    try {
        return value.cast<T>();
    } catch (py::cast_error const&) {
        throw py::type_error(message);
    }
}

char const* unitName(NCUnit::Unit unit) { return unit == NCUnit::INCHES ? "inch" : "mm"; }

// The results of a stage are read with the GIL, and a run changes them without it.
void refuseWhileBusy(Stage const& stage)
{
    if (stage.busy)
        throw std::runtime_error("The stage is in use by a run; its results are there once the run returns.");
}

Triple finiteTriple(Triple const& v, char const* what)
{
    for (double value : v)
        if (!std::isfinite(value))
            throw py::value_error(std::string(what) + " must hold three finite numbers");
    return v;
}

// --- Transform and Mirror: the filters of `quarnnc transform`.

class TransformStage final : public Stage {
public:
    TransformStage(std::optional<Triple> const& translate, std::optional<std::pair<std::string, double>> const& rotate,
        double axialOffset, std::optional<std::pair<Triple, Triple>> const& orientation)
        : axialOffset(axialOffset)
    {
        if (rotate)
            transform = Matrix4x4(rotation(rotate->first, rotate->second));
        if (translate)
            transform = Matrix4x4::makeTranslation(vector(finiteTriple(*translate, "translate"))) * transform;
        if (!std::isfinite(axialOffset))
            throw py::value_error("axial_offset must be a finite number");
        if (orientation) {
            Vector3D const x = vector(orientation->first).getNormalized();
            Vector3D const z = vector(orientation->second).getNormalized();
            if (!x.isProper() || !z.isProper() || std::abs(x.dot(z)) > 1e-9)
                throw py::value_error("orientation needs two orthogonal axes (x axis, z axis)");
            this->orientation = Matrix3x3(x, z.cross(x), z);
        }
    }

    NCStream& start(NCStream& next, std::string const&) override
    {
        filter.emplace(&next);
        filter->setTransform(transform);
        filter->setAxialOffset(axialOffset);
        if (orientation)
            filter->setDesiredOrientation(*orientation);
        return *filter;
    }

private:
    static Matrix3x3 rotation(std::string const& axis, double degrees)
    {
        if (axis != "x" && axis != "y" && axis != "z")
            throw py::value_error("rotate takes an axis 'x', 'y' or 'z' and degrees, as in ('z', 90), not '" + axis
                + "'");
        if (!std::isfinite(degrees))
            throw py::value_error("the degrees of rotate must be finite");
        double const angle = degrees * std::numbers::pi / 180.0;
        double const c = std::cos(angle), s = std::sin(angle);
        if (axis == "x")
            return Matrix3x3({1, 0, 0}, {0, c, s}, {0, -s, c});
        if (axis == "y")
            return Matrix3x3({c, 0, -s}, {0, 1, 0}, {s, 0, c});
        return Matrix3x3({c, s, 0}, {-s, c, 0}, {0, 0, 1});
    }

    Matrix4x4 transform;
    double axialOffset;
    std::optional<Matrix3x3> orientation;
    std::optional<AnyTransformNCStream> filter;
};

class MirrorStage final : public Stage {
public:
    MirrorStage(std::string const& plane, Triple const& origin) : point(vector(finiteTriple(origin, "origin")))
    {
        if (plane == "yz")
            normal = {1, 0, 0};
        else if (plane == "zx" || plane == "xz")
            normal = {0, 1, 0};
        else if (plane == "xy")
            normal = {0, 0, 1};
        else
            throw py::value_error("plane must be 'xy', 'yz' or 'zx', not '" + plane + "'");
        this->plane = plane;
    }

    NCStream& start(NCStream& next, std::string const&) override
    {
        filter.emplace(&next);
        filter->setPlane(point, normal);
        return *filter;
    }

    std::string plane;

private:
    Vector3D point;
    Vector3D normal;
    std::optional<MirrorTransformNCStream> filter;
};

// --- Validate: the findings of `quarnnc validate`.

struct Finding {
    std::string severity;
    unsigned int index = 0;
    std::string text;
};

// Keeps every finding. The validator itself goes on after every error, so that each one reaches
// onError; whether the program goes on after an error is this hook's answer, as in the tool.
class FindingValidator final : public NCValidateStream {
public:
    FindingValidator(NCStream& next, bool continueAfterError, std::vector<Finding>& findings)
        : NCValidateStream(&next), continueAfterError(continueAfterError), findings(findings)
    {
        setContinueOnError(true);
    }

protected:
    bool onError(unsigned int index, std::wstring const& message) override
    {
        findings.push_back({"error", index, Unicode::toUTF8(message)});
        return continueAfterError;
    }
    bool onWarning(unsigned int index, std::wstring const& message) override
    {
        findings.push_back({"warning", index, Unicode::toUTF8(message)});
        return NCValidateStream::onWarning(index, message);
    }

private:
    bool continueAfterError;
    std::vector<Finding>& findings;
};

class ValidateStage final : public Stage {
public:
    ValidateStage(bool continueOnError, double maxSpiral, double tolerance)
        : continueOnError(continueOnError), maxSpiral(maxSpiral), tolerance(tolerance)
    {
        if (!(maxSpiral >= 0) || !std::isfinite(maxSpiral))
            throw py::value_error("max_spiral must be a finite number of 0 or more");
        if (!(tolerance > 0) || !std::isfinite(tolerance))
            throw py::value_error("tolerance must be a positive finite number");
    }

    NCStream& start(NCStream& next, std::string const&) override
    {
        findings.clear();
        validator.emplace(next, continueOnError, findings);
        validator->setMaximumSpiralRadiiAllowance(maxSpiral);
        validator->setMaximumError(tolerance);
        return *validator;
    }

    std::vector<Finding> const& getFindings() const
    {
        refuseWhileBusy(*this);
        return findings;
    }

    bool continueOnError;
    double maxSpiral;
    double tolerance;

private:
    std::vector<Finding> findings;
    std::optional<FindingValidator> validator;
};

// --- ABCRanges: the ranges of `quarnnc ranges`.

class ABCRangesStage final : public Stage {
public:
    NCStream& start(NCStream& next, std::string const&) override
    {
        ranges.emplace(&next);
        toolAxes.emplace(&*ranges);
        return *toolAxes;
    }
    void finish(bool, std::string const& input) override
    {
        if (toolAxes->sawToolAxis())
            throw Tool::ToolError(
                Tool::ExitDataError, input, "The five-axis moves carry tool axes, not A, B and C values.");
    }

    std::vector<NCABCInputRange::ABC> getSections() const
    {
        refuseWhileBusy(*this);
        return ranges ? ranges->getSectionRanges() : std::vector<NCABCInputRange::ABC>();
    }
    NCABCInputRange::ABC getTotal() const
    {
        refuseWhileBusy(*this);
        return ranges ? ranges->getTotalRanges() : NCABCInputRange::ABC();
    }

private:
    std::optional<NCABCInputRange> ranges;
    std::optional<Tool::ToolAxisStop> toolAxes;
};

// --- BoundingBox.

using Box = NCBoundingBox::Box;

py::object boxOrNone(Box const& box) { return box.isEmpty() ? py::none() : py::cast(box); }

class BoundingBoxStage final : public Stage {
public:
    explicit BoundingBoxStage(bool inWCS) : inWCS(inWCS) { }

    NCStream& start(NCStream& next, std::string const&) override
    {
        box.emplace(&next);
        box->setInWCS(inWCS);
        return *box;
    }

    // The filter of the last run, or an empty one before the first.
    NCBoundingBox const& get() const
    {
        refuseWhileBusy(*this);
        return box ? *box : empty;
    }

    bool inWCS;

private:
    std::optional<NCBoundingBox> box;
    NCBoundingBox empty;
};

// --- Analyze.

// NCAnalyze that also notes the unit of the program's first context, the unit in which
// `quarnnc info` shows the figures.
class UnitNotingAnalyze final : public NCAnalyze {
public:
    using NCAnalyze::NCAnalyze;

    std::optional<NCUnit::Unit> getFirstUnit() const noexcept { return firstUnit; }

    bool onOpen() override
    {
        firstUnit.reset();
        return NCAnalyze::onOpen();
    }
    bool onContext(NCContext const& context) override
    {
        if (!firstUnit)
            firstUnit = context.getUnit();
        return NCAnalyze::onContext(context);
    }

private:
    std::optional<NCUnit::Unit> firstUnit;
};

// One set of figures as Python sees it: lengths and feeds scaled from millimetres into the unit
// shown, axis ranges by name.
struct FiguresView {
    NCAnalyze::Figures figures;
    double factor = 1.0;
    std::shared_ptr<std::vector<std::string> const> axisNames;
    std::optional<unsigned int> tool;
};

class AnalyzeStage final : public Stage {
public:
    AnalyzeStage(py::object const& rapidRate, double toolChangeTime, std::optional<std::string> const& unit)
        : toolChangeTime(toolChangeTime)
    {
        if (PyFloat_Check(rapidRate.ptr()) || PyLong_Check(rapidRate.ptr())) {
            double const rate = rapidRate.cast<double>();
            this->rapidRate = {rate, rate, rate};
        } else {
            this->rapidRate
                = vector(castOr<Triple>(rapidRate, "rapid_rate takes a number or (x, y, z) in millimetres per minute"));
        }
        for (double rate : {this->rapidRate.x, this->rapidRate.y, this->rapidRate.z})
            if (!(rate > 0) || !std::isfinite(rate))
                throw py::value_error("rapid_rate must be positive and finite (millimetres per minute)");
        if (!(toolChangeTime >= 0) || !std::isfinite(toolChangeTime))
            throw py::value_error("tool_change_time must be a finite number of seconds, 0 or more");
        if (unit) {
            if (*unit != "mm" && *unit != "inch")
                throw py::value_error("unit must be 'mm', 'inch' or None, not '" + *unit + "'");
            this->unit = *unit == "mm" ? NCUnit::MILLIMETERS : NCUnit::INCHES;
        }
    }

    NCStream& start(NCStream& next, std::string const&) override
    {
        analyze.emplace(&next);
        analyze->setRapidRate(rapidRate);
        analyze->setToolChangeTime(toolChangeTime);
        return *analyze;
    }

    UnitNotingAnalyze const& get() const
    {
        refuseWhileBusy(*this);
        return analyze ? *analyze : empty;
    }
    // The unit of the lengths shown: the one asked for, else that of the first context.
    NCUnit::Unit getUnit() const
    {
        return unit ? *unit : get().getFirstUnit().value_or(NCUnit::MILLIMETERS);
    }
    // The figures are counted in millimetres, and shown in getUnit as `quarnnc info` shows them.
    FiguresView view(NCAnalyze::Figures const& figures, std::optional<unsigned int> tool) const
    {
        return {figures, NCUnit::getUnitConversionFactor(NCUnit::MILLIMETERS, getUnit()),
            std::make_shared<std::vector<std::string> const>(get().getAxisNames()), tool};
    }

    Vector3D rapidRate;
    double toolChangeTime;

private:
    std::optional<NCUnit::Unit> unit;
    std::optional<UnitNotingAnalyze> analyze;
    UnitNotingAnalyze empty;
};

// --- Writer: the tail of `quarnnc convert`.

// What a finished writer left out, as quarnnc.Conversion.
struct Conversion {
    std::string path;
    std::string format;
    bool completed = false;
    std::vector<Tool::LeftOut> leftOut;
    std::vector<Tool::ValuesLeftOut> valuesLeftOut;
    std::uint64_t arcsAsLines = 0;

    bool isLossless() const noexcept
    {
        for (Tool::LeftOut const& entry : leftOut)
            if (entry.count != 0)
                return false;
        for (Tool::ValuesLeftOut const& entry : valuesLeftOut)
            if (entry.count != 0)
                return false;
        return arcsAsLines == 0;
    }
    // The sentences the tool prints about the output.
    std::vector<std::string> getMessages() const
    {
        std::vector<std::string> messages;
        for (std::string sentence : {Tool::describeLeftOut(leftOut), Tool::describeValuesLeftOut(valuesLeftOut),
                 Tool::describeArcsAsLines(arcsAsLines)})
            if (!sentence.empty())
                messages.push_back(std::move(sentence));
        return messages;
    }
};

char const* valueName(LeftOutValue value)
{
    switch (value) {
    case LeftOutValue::Feed:
        return "feed";
    case LeftOutValue::Flags:
        return "flags";
    case LeftOutValue::Extrusion:
        return "extrusion";
    case LeftOutValue::FiveAxisFrame:
        return "five_axis_frame";
    }
    return "unknown";
}

// The writer options as the tool's command line checks them; the format must honour each one given.
Tool::WriterOptions writerOptions(Tool::Format const& format, std::optional<unsigned int> decimals,
    py::handle lineNumbers, std::optional<double> arcTolerance, bool mapToWCS)
{
    Tool::WriterOptions options;
    options.mapToWCS = mapToWCS;
    if (decimals) {
        if (*decimals > 9)
            throw py::value_error("decimals must be 0 to 9 (0 chooses by the length unit)");
        options.decimals = decimals;
    }
    if (PyBool_Check(lineNumbers.ptr())) {
        if (lineNumbers.ptr() == Py_True)
            options.lineNumbers = Tool::WriterOptions::LineNumbers {};
    } else if (!lineNumbers.is_none()) {
        auto const [start, step] = castOr<std::pair<unsigned int, unsigned int>>(
            lineNumbers, "line_numbers takes True or (start, step), two whole numbers of 0 or more");
        if (step == 0)
            throw py::value_error("line_numbers takes (start, step) with a step of 1 or more");
        options.lineNumbers = Tool::WriterOptions::LineNumbers {start, step};
    }
    if (arcTolerance) {
        if (!(*arcTolerance > 0) || !std::isfinite(*arcTolerance))
            throw py::value_error("arc_tolerance must be a positive number of millimetres");
        options.arcTolerance = arcTolerance;
    }
    struct Given {
        bool given;
        Tool::WriterOptions::Option option;
        char const* name;
    } const given[] = {
        {options.mapToWCS, Tool::WriterOptions::MapToWCS, "map_to_wcs"},
        {options.decimals.has_value(), Tool::WriterOptions::Decimals, "decimals"},
        {options.lineNumbers.has_value(), Tool::WriterOptions::LineNumbering, "line_numbers"},
        {options.arcTolerance.has_value(), Tool::WriterOptions::ArcTolerance, "arc_tolerance"},
    };
    for (Given const& g : given)
        if (g.given && (format.writerOptions & g.option) == 0)
            throw py::value_error(
                std::string(g.name) + " is not supported for " + std::string(format.name) + " output");
    return options;
}

class WriterStage final : public Stage {
public:
    WriterStage(std::string path, Tool::Format const& format, Tool::WriterOptions const& options)
        : path(std::move(path)), format(format), options(options)
    {
    }

    NCStream& start(NCStream&, std::string const& input) override
    {
        conversion.reset();
        // An output that is the input is written aside and renamed over it when complete: opening
        // it for writing would empty the input before it is read.
        std::error_code error;
        if (path != "/dev/stdout" && std::filesystem::exists(path, error)
            && std::filesystem::equivalent(input, path, error))
            replacement.emplace(path);
        written = replacement ? replacement->path() : path;
        sink = guardOutput(path, written, [&] { return format.makeWriter(written, options); });
        guard.emplace(path, written, sink->stream());
        return *guard;
    }
    void finish(bool completed, std::string const&) override
    {
        guardOutput(path, written, [&] { sink->finish(); });
        // A program that was stopped does not replace its input.
        if (replacement && completed)
            replacement->commit(path);
        conversion = Conversion {path, std::string(format.name), completed, sink->leftOut(), sink->valuesLeftOut(),
            sink->arcsWrittenAsLines()};
        release();
    }
    void abandon() noexcept override { release(); }
    bool isSink() const noexcept override { return true; }

    std::optional<Conversion> const& getConversion() const
    {
        refuseWhileBusy(*this);
        return conversion;
    }

    std::string const path;
    Tool::Format const& format;

private:
    void release() noexcept
    {
        guard.reset();
        sink.reset();
        replacement.reset();
    }

    Tool::WriterOptions options;
    std::string written;
    std::optional<Replacement> replacement;
    std::unique_ptr<Tool::OutputSink> sink;
    std::optional<OutputErrors> guard;
    std::optional<Conversion> conversion;
};

std::string reprOf(py::handle value) { return py::repr(value).cast<std::string>(); }

void bindResults(py::module_& module)
{
    py::class_<Finding>(module, "Finding",
        "A fault that validation found: severity 'error' or 'warning', index (the source line number once the "
        "program has given one, else the number of events passed so far) and text, as `quarnnc validate` "
        "prints them.")
        .def_readonly("severity", &Finding::severity, "'error' or 'warning'.")
        .def_readonly("index", &Finding::index, "The source line number, or the count of events before the fault.")
        .def_readonly("text", &Finding::text, "What is wrong, in the library's words.")
        .def(
            "__eq__",
            [](Finding const& a, Finding const& b) {
                return a.severity == b.severity && a.index == b.index && a.text == b.text;
            },
            py::is_operator(), "Equal severity, index and text.")
        .def(
            "__repr__",
            [](Finding const& f) {
                return "Finding(" + reprOf(py::str(f.severity)) + ", " + std::to_string(f.index) + ", "
                    + reprOf(py::str(f.text)) + ")";
            },
            "Finding('error', INDEX, 'text').")
        .def(
            "__str__",
            [](Finding const& f) { return std::to_string(f.index) + ": " + f.severity + ": " + f.text; },
            "INDEX: severity: text, as `quarnnc validate` prints it after the file name.");

    using ABC = NCABCInputRange::ABC;
    py::class_<ABC>(module, "ABC",
        "The ranges of the A, B and C values of five-axis moves, each a (min, max) tuple; (0.0, 0.0) when no "
        "move set the axis.")
        .def_property_readonly("a", [](ABC const& abc) { return range(abc.a); }, "(min, max) of A.")
        .def_property_readonly("b", [](ABC const& abc) { return range(abc.b); }, "(min, max) of B.")
        .def_property_readonly("c", [](ABC const& abc) { return range(abc.c); }, "(min, max) of C.")
        .def(py::self == py::self, "Equal ranges.")
        .def(
            "__repr__",
            [](ABC const& abc) {
                return "ABC(a=" + reprOf(range(abc.a)) + ", b=" + reprOf(range(abc.b)) + ", c=" + reprOf(range(abc.c)) + ")";
            },
            "ABC(a=(min, max), b=..., c=...).");

    py::class_<Box>(module, "Box", "An axis-aligned box by its lower and upper corners, (x, y, z) tuples.")
        .def_property_readonly("lower", [](Box const& box) { return tuple(box.lower); }, "The lower corner.")
        .def_property_readonly("upper", [](Box const& box) { return tuple(box.upper); }, "The upper corner.")
        .def_property_readonly("size", [](Box const& box) { return tuple(box.getSize()); }, "upper - lower.")
        .def(py::self == py::self, "Equal corners.")
        .def(
            "__repr__",
            [](Box const& box) {
                return "Box(lower=" + reprOf(tuple(box.lower)) + ", upper=" + reprOf(tuple(box.upper)) + ")";
            },
            "Box(lower=(x, y, z), upper=(x, y, z)).");

    using F = FiguresView;
    py::class_<F>(module, "Figures",
        "What quarnnc.Analyze measured of a program, a tool or a section: moves by kind, lengths (in the unit "
        "of Analyze.unit), times in seconds and ranges. A move without a known start counts with length and "
        "time 0.")
        .def_property_readonly(
            "tool", [](F const& f) { return f.tool; },
            "The tool number of per-tool figures, the tool loaded at a section's start, or None.")
        .def_property_readonly(
            "moves", [](F const& f) { return f.figures.getMoves(); }, "The count of every motion event.")
        .def_property_readonly(
            "counts",
            [](F const& f) {
                NCAnalyze::Figures const& g = f.figures;
                py::dict counts;
                std::pair<char const*, std::uint64_t> const kinds[] = {{"rapid", g.rapids}, {"linear", g.linears},
                    {"arc", g.arcs}, {"circle", g.circles}, {"helical", g.helicals}, {"rapid_5d", g.rapids5D},
                    {"linear_5d", g.linears5D}, {"spline", g.splines}, {"bezier", g.beziers}, {"nurbs", g.nurbs},
                    {"extrusion", g.extrusions}};
                for (auto const& [name, count] : kinds)
                    counts[name] = count;
                return counts;
            },
            "Moves by kind: rapid, linear, arc, circle, helical (moves by sweep), rapid_5d, linear_5d, spline, "
            "bezier, nurbs, extrusion.")
        .def_property_readonly("dwells", [](F const& f) { return f.figures.dwells; }, "The count of dwells.")
        .def_property_readonly("tool_changes", [](F const& f) { return f.figures.toolChanges; },
            "Tool loads: each on_tool whose number differs from the tool before.")
        .def_property_readonly("untimed", [](F const& f) { return f.figures.untimed; },
            "Feed moves and dwells whose time is not known (no feedrate, or per revolution at 0 rpm).")
        .def_property_readonly("rapid_length", [](F const& f) { return f.figures.rapidLength * f.factor; },
            "The straight length of the rapid moves.")
        .def_property_readonly("cutting_length", [](F const& f) { return f.figures.cuttingLength * f.factor; },
            "The length of every other move along its path.")
        .def_property_readonly("rapid_seconds", [](F const& f) { return f.figures.rapidSeconds; },
            "Time of the rapid moves at Analyze.rapid_rate.")
        .def_property_readonly(
            "feed_seconds", [](F const& f) { return f.figures.feedSeconds; }, "Time of the feed moves.")
        .def_property_readonly(
            "dwell_seconds", [](F const& f) { return f.figures.dwellSeconds; }, "Time of the dwells.")
        .def_property_readonly("tool_change_seconds", [](F const& f) { return f.figures.toolChangeSeconds; },
            "Time of the tool changes at Analyze.tool_change_time each.")
        .def_property_readonly("seconds", [](F const& f) { return f.figures.getMachiningTimeSeconds(); },
            "The machining time: the sum of the four times.")
        .def_property_readonly("feed_range", [](F const& f) { return range(f.figures.feedRange, f.factor); },
            "(min, max) of the effective feedrates, in length units per minute, or None.")
        .def_property_readonly("spindle_range", [](F const& f) { return range(f.figures.spindleRange); },
            "(min, max) of the spindle speed at the feed moves in rpm, or None.")
        .def_property_readonly(
            "axis_ranges",
            [](F const& f) {
                py::dict ranges;
                for (std::size_t i = 0; i < f.figures.axisRanges.size() && i < f.axisNames->size(); ++i)
                    if (f.figures.axisRanges[i])
                        ranges[py::str((*f.axisNames)[i])] = range(*f.figures.axisRanges[i]);
                return ranges;
            },
            "(min, max) of the machine axis values by axis name (millimetres and degrees).")
        .def(
            "__repr__",
            [](F const& f) {
                return "Figures(moves=" + std::to_string(f.figures.getMoves()) + ", rapid_length="
                    + reprOf(py::float_(f.figures.rapidLength * f.factor)) + ", cutting_length="
                    + reprOf(py::float_(f.figures.cuttingLength * f.factor))
                    + ", seconds=" + reprOf(py::float_(f.figures.getMachiningTimeSeconds())) + ")";
            },
            "Figures(moves=..., rapid_length=..., cutting_length=..., seconds=...).");

    py::class_<Conversion>(module, "Conversion",
        "What a writer could not carry into its format: events left out by kind, values dropped from events it "
        "kept, and arcs written as lines. A lossy conversion says so here, with counts.")
        .def_readonly("path", &Conversion::path, "The output file.")
        .def_readonly("format", &Conversion::format, "The output format ('gcode', 'compact-nci', ...).")
        .def_readonly("completed", &Conversion::completed,
            "False when a stage stopped the program: the output holds what came before.")
        .def_property_readonly(
            "left_out",
            [](Conversion const& c) {
                py::dict counts;
                for (Tool::LeftOut const& entry : c.leftOut)
                    counts[py::str(std::string(getEventName(entry.kind)))] = entry.count;
                return counts;
            },
            "Events the format has no place for, by event name ('onComment', ...) as count_events names them.")
        .def_property_readonly(
            "values_left_out",
            [](Conversion const& c) {
                py::dict counts;
                for (Tool::ValuesLeftOut const& entry : c.valuesLeftOut)
                    counts[valueName(entry.value)] = entry.count;
                return counts;
            },
            "Counts of the events that lost a value, by value: 'feed', 'flags', 'extrusion', 'five_axis_frame'.")
        .def_readonly("arcs_as_lines", &Conversion::arcsAsLines,
            "Arcs the format could not hold as arcs, written as lines within the arc tolerance.")
        .def_property_readonly("lossless", &Conversion::isLossless, "True when nothing was left out or changed.")
        .def_property_readonly("messages", &Conversion::getMessages,
            "What `quarnnc convert` prints about the output, one sentence each; empty when lossless.")
        .def(
            "__repr__",
            [](Conversion const& c) {
                std::string text = "Conversion(" + reprOf(py::str(c.path)) + ", " + reprOf(py::str(c.format));
                for (std::string const& message : c.getMessages())
                    text += ", " + reprOf(py::str(message));
                return text + ")";
            },
            "Conversion('path', 'format', 'what was left out', ...).");
}

} // namespace

void bindStages(py::module_& module)
{
    bindResults(module);

    py::class_<Stage>(module, "Stage",
        "Base class of the stages the library provides: filters and writers that run() links into a chain.");

    py::class_<TransformStage, Stage>(module, "Transform",
        "Moves and rotates a program, as `quarnnc transform` does: every move, point parameter and work frame. "
        "The rotation comes first, then the translation.")
        .def(py::init<std::optional<Triple>, std::optional<std::pair<std::string, double>>, double,
                 std::optional<std::pair<Triple, Triple>>>(),
            py::arg("translate") = py::none(), py::arg("rotate") = py::none(), py::arg("axial_offset") = 0.0,
            py::arg("orientation") = py::none(),
            "translate: (x, y, z); rotate: (axis, degrees) about 'x', 'y' or 'z', as ('z', 90); axial_offset: a "
            "shift of every move along the tool axis; orientation: the work plane of the result as (x axis, z "
            "axis), two orthogonal (x, y, z) vectors. ValueError for values the tool refuses.");

    py::class_<MirrorStage, Stage>(module, "Mirror",
        "Mirrors a program in a plane, as `quarnnc transform --mirror` does; arcs change their sense.")
        .def(py::init<std::string const&, Triple const&>(), py::arg("plane") = "xy",
            py::arg("origin") = Triple {0, 0, 0},
            "plane: 'xy', 'yz' or 'zx' (or 'xz'), through the point origin.")
        .def_readonly("plane", &MirrorStage::plane, "The mirror plane: 'xy', 'yz' or 'zx'.");

    py::class_<ValidateStage, Stage>(module, "Validate",
        "Checks the order of a program's events and the numbers they carry, as `quarnnc validate` does, and "
        "passes every event on unchanged. Its findings are there after the run.")
        .def(py::init<bool, double, double>(), py::arg("continue_on_error") = false, py::arg("max_spiral") = 0.0,
            py::arg("tolerance") = 1e-6,
            "continue_on_error: go on after the first error (else the program stops there and run() returns "
            "False); max_spiral: the largest allowed difference of start and end radius of an arc (0: no check); "
            "tolerance: of the unit-length checks.")
        .def_readonly("continue_on_error", &ValidateStage::continueOnError, "Whether the program goes on after an error.")
        .def_readonly("max_spiral", &ValidateStage::maxSpiral, "The spiral allowance of arcs (0: not checked).")
        .def_readonly("tolerance", &ValidateStage::tolerance, "The tolerance of the unit-length checks.")
        .def_property_readonly("findings", &ValidateStage::getFindings,
            "The errors and warnings of the last run in program order, as quarnnc.Finding; empty before a run.")
        .def_property_readonly(
            "errors",
            [](ValidateStage const& stage) {
                std::size_t count = 0;
                for (Finding const& finding : stage.getFindings())
                    count += finding.severity == "error" ? 1 : 0;
                return count;
            },
            "The number of errors found.")
        .def_property_readonly(
            "warnings",
            [](ValidateStage const& stage) {
                std::size_t count = 0;
                for (Finding const& finding : stage.getFindings())
                    count += finding.severity == "warning" ? 1 : 0;
                return count;
            },
            "The number of warnings found.");

    py::class_<ABCRangesStage, Stage>(module, "ABCRanges",
        "Records the A, B and C ranges of the five-axis moves per section and in total, as `quarnnc ranges` "
        "does, for programs whose five-axis directions hold axis values. A program whose five-axis moves carry "
        "tool axes stops the run with quarnnc.FormatError.")
        .def(py::init<>(), "An empty record.")
        .def_property_readonly("sections", &ABCRangesStage::getSections,
            "A quarnnc.ABC per finished section of the last run.")
        .def_property_readonly("total", &ABCRangesStage::getTotal, "The quarnnc.ABC over all finished sections.");

    py::class_<BoundingBoxStage, Stage>(module, "BoundingBox",
        "Measures the extent of the tool tip in total, per section and per tool, exactly for lines, arcs and "
        "helices, as `quarnnc info` does; passes every event on unchanged.")
        .def(py::init<bool>(), py::arg("in_wcs") = false,
            "in_wcs: map each point into the work coordinate system of its context (default: the coordinates "
            "as given, in each section's work frame).")
        .def_readonly("in_wcs", &BoundingBoxStage::inWCS, "Whether points are mapped into the WCS.")
        .def_property_readonly(
            "total", [](BoundingBoxStage const& stage) { return boxOrNone(stage.get().getTotal()); },
            "The quarnnc.Box of every move, or None when nothing moved.")
        .def_property_readonly(
            "sections",
            [](BoundingBoxStage const& stage) {
                py::list sections;
                for (Box const& box : stage.get().getSections())
                    sections.append(boxOrNone(box));
                return sections;
            },
            "A quarnnc.Box per section in order, None for a section without moves.")
        .def_property_readonly(
            "tools",
            [](BoundingBoxStage const& stage) {
                py::dict tools;
                for (auto const& [number, box] : stage.get().getTools())
                    tools[py::int_(number)] = boxOrNone(box);
                return tools;
            },
            "A quarnnc.Box per tool number; moves before the first tool are in none.")
        .def_property_readonly(
            "unit", [](BoundingBoxStage const& stage) { return unitName(stage.get().getUnit()); },
            "The unit of the boxes: 'mm' or 'inch', that of the first context (mm without one).");

    py::class_<AnalyzeStage, Stage>(module, "Analyze",
        "Measures a program as `quarnnc info` does: moves by kind, rapid and cutting lengths, machining time, "
        "feed, spindle and machine-axis ranges, in total, per tool and per section; passes every event on "
        "unchanged.")
        .def(py::init<py::object const&, double, std::optional<std::string>>(), py::arg("rapid_rate") = 10000.0,
            py::arg("tool_change_time") = 0.0, py::arg("unit") = py::none(),
            "rapid_rate: millimetres per minute of each linear axis, a number or (x, y, z); tool_change_time: "
            "seconds per tool change; unit: of the lengths and feeds shown, 'mm' or 'inch' (None: that of the "
            "program's first context, as quarnnc info shows them).")
        .def_property_readonly(
            "rapid_rate", [](AnalyzeStage const& stage) { return tuple(stage.rapidRate); },
            "The rapid rate of X, Y and Z in millimetres per minute.")
        .def_readonly("tool_change_time", &AnalyzeStage::toolChangeTime, "Seconds per tool change.")
        .def_property_readonly(
            "unit", [](AnalyzeStage const& stage) { return unitName(stage.getUnit()); },
            "The unit of the lengths and feeds of the figures: 'mm' or 'inch'.")
        .def_property_readonly(
            "total", [](AnalyzeStage const& stage) { return stage.view(stage.get().getTotal(), std::nullopt); },
            "The quarnnc.Figures of the whole program.")
        .def_property_readonly(
            "tools",
            [](AnalyzeStage const& stage) {
                py::dict tools;
                for (NCAnalyze::ToolFigures const& entry : stage.get().getTools())
                    tools[py::int_(entry.toolNumber)] = stage.view(entry.figures, entry.toolNumber);
                return tools;
            },
            "quarnnc.Figures per tool number, in the order the tools were first loaded.")
        .def_property_readonly(
            "sections",
            [](AnalyzeStage const& stage) {
                py::list sections;
                for (NCAnalyze::SectionFigures const& section : stage.get().getSections())
                    sections.append(stage.view(section.figures, section.toolNumber));
                return sections;
            },
            "quarnnc.Figures per section in order; each one's tool is the tool loaded at its start.")
        .def_property_readonly(
            "axis_names", [](AnalyzeStage const& stage) { return stage.get().getAxisNames(); },
            "The machine axis names in the order first met.");

    py::class_<WriterStage, Stage>(module, "Writer",
        "Writes the program into a file of any format quarnnc writes, as `quarnnc convert` does; it ends a "
        "chain. Writing over the program's own file writes beside it and renames the result over it when the "
        "program is complete.")
        .def(py::init([](py::object const& path, std::optional<std::string> const& to, std::optional<unsigned int> decimals,
                          py::object const& lineNumbers, std::optional<double> arcTolerance, bool mapToWCS) {
            std::string const output = pathOf(path);
            Tool::Format const& format = Tool::chooseOutputFormat(to.value_or(""), output);
            return std::make_unique<WriterStage>(
                output, format, writerOptions(format, decimals, lineNumbers, arcTolerance, mapToWCS));
        }),
            py::arg("path"), py::arg("to") = py::none(), py::arg("decimals") = py::none(),
            py::arg("line_numbers") = py::none(), py::arg("arc_tolerance") = py::none(),
            py::arg("map_to_wcs") = false,
            (std::string("path: the output (str or os.PathLike); to: the format, one of ") + Tool::FormatRegistry::writerNames()
                + " (default: by the extension: " + Tool::FormatRegistry::writerExtensions()
                + "); decimals: digits after the point of gcode (0 to 9; 0 chooses by the unit); line_numbers: "
                  "True for N10, N20, ... or (start, step); arc_tolerance: millimetres of the lines that stand for "
                  "arcs gcode cannot hold; map_to_wcs: express contexts in the WCS (compact-nci). An option the "
                  "format does not honour, or no format, is a ValueError.")
                .c_str())
        .def_readonly("path", &WriterStage::path, "The output file.")
        .def_property_readonly(
            "format", [](WriterStage const& stage) { return std::string(stage.format.name); },
            "The name of the output format.")
        .def_property_readonly("conversion", &WriterStage::getConversion,
            "The quarnnc.Conversion of the last run that finished the output, or None.");
}

} // namespace Quarn::Python
