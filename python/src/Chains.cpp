// Chains of filters, writers and Python stages: run, convert and validate.
#include "python/src/Bindings.h"
#include "python/src/Files.h"
#include "python/src/PythonStream.h"
#include "python/src/Stages.h"

#include "nc/nc/NCStreamDefaultImpl.h"

#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <vector>

namespace Quarn::Python {

namespace {

// One stage of a chain: a stage written in Python or one of the library's.
struct Link {
    py::object object;
    PythonStream* python = nullptr;
    Stage* stage = nullptr;

    bool& busy() const { return python != nullptr ? python->busy : stage->busy; }
};

std::vector<Link> linksOf(py::iterable stages)
{
    std::vector<Link> links;
    for (py::handle item : stages) {
        Link link {py::reinterpret_borrow<py::object>(item)};
        if (py::isinstance<PythonStream>(item))
            link.python = &item.cast<PythonStream&>();
        else if (py::isinstance<Stage>(item))
            link.stage = &item.cast<Stage&>();
        else
            throw py::type_error("a stage is a quarnnc.NCStream or a stage of quarnnc (Transform, Mirror, Validate, "
                                 "ABCRanges, BoundingBox, Analyze, Writer), not "
                + py::repr(item.get_type()).cast<std::string>());
        for (Link const& other : links)
            if (other.object.is(link.object))
                throw py::value_error("a stage appears twice in the chain: " + py::repr(item).cast<std::string>());
        if (link.busy())
            throw std::runtime_error("a stage is in use by another run: " + py::repr(item).cast<std::string>());
        links.push_back(std::move(link));
    }
    for (std::size_t i = 0; i + 1 < links.size(); ++i)
        if (links[i].stage != nullptr && links[i].stage->isSink())
            throw py::value_error("a quarnnc.Writer ends the chain: no stage can follow it");
    return links;
}

// Marks the stages of a run busy and, when it ends, lets them go: the Python stages drop their
// handlers, and the library's stages that were started abandon their output unless the run
// succeeded. Lives with the GIL held.
class RunScope {
public:
    explicit RunScope(std::vector<Link>& links) : links(links)
    {
        for (Link const& link : links)
            link.busy() = true;
    }
    RunScope(RunScope const&) = delete;
    RunScope& operator=(RunScope const&) = delete;
    ~RunScope()
    {
        for (Link const& link : links) {
            if (link.python != nullptr)
                link.python->stop();
            else if (!succeeded)
                link.stage->abandon();
            link.busy() = false;
        }
    }

    bool succeeded = false;

private:
    std::vector<Link>& links;
};

bool run(std::string const& path, py::iterable stages, Tool::ReaderOptions const& options)
{
    // References to the stage objects, so that changing the list during the run frees none.
    std::vector<Link> links = linksOf(stages);
    Tool::Format const* format = nullptr;
    {
        py::gil_scoped_release release;
        format = &detect(path);
    }
    RunScope scope(links);
    // Without a sink at the end, the events end in one that accepts them all.
    NCStreamDefaultImpl end;
    NCStream* head = &end;
    for (std::size_t i = links.size(); i-- > 0;) {
        Link const& link = links[i];
        if (link.python != nullptr) {
            link.python->start(i + 1 == links.size() ? nullptr : head, link.object);
            head = link.python;
        } else {
            head = &link.stage->start(*head, path);
        }
    }
    bool completed = false;
    {
        py::gil_scoped_release release;
        completed = replay(*format, path, *head, options);
        for (Link const& link : links)
            if (link.stage != nullptr)
                link.stage->finish(completed, path);
    }
    scope.succeeded = true;
    return completed;
}

char const* const ReaderOptionsDoc
    = " nci_unit is the length unit of NCI files, which do not say theirs ('inch' or 'mm'); gcode_unit the unit of "
      "a G-code program until it says G20 or G21; block_delete skips the G-code blocks that start with '/'; "
      "expand_cycles sends drill cycles as the moves they make. The format of the input is detected by content. A "
      "missing file raises FileNotFoundError, a malformed, cut or foreign one quarnnc.FormatError (with file, line "
      "or offset); an exception raised in a Python stage comes back unchanged.";

} // namespace

void bindChains(py::module_& module)
{
    bindPythonStream(module);
    bindStages(module);

    module.def(
        "run",
        [](py::object const& path, py::iterable stages, std::string const& nciUnit, std::string const& gcodeUnit,
            bool blockDelete, bool expandCycles) {
            return run(pathOf(path), stages, readerOptions(nciUnit, gcodeUnit, blockDelete, expandCycles));
        },
        py::arg("path"), py::arg("stages"), py::kw_only(), py::arg("nci_unit") = "inch", py::arg("gcode_unit") = "mm",
        py::arg("block_delete") = false, py::arg("expand_cycles") = false,
        (std::string("Reads the program at path through the stages in order and returns True, or False when a "
                     "stage stopped the program. stages is a list of quarnnc stages (Transform, Mirror, Validate, "
                     "ABCRanges, BoundingBox, Analyze) and quarnnc.NCStream subclasses; the last may be a "
                     "quarnnc.Writer or a Python sink, else the events end in a sink that accepts them all. Writers "
                     "are finished after the program; each stage starts afresh and holds its results afterwards. "
                     "The program is read in C++ without the GIL, which Python stages take for each event they "
                     "handle. A stage takes part in one run at a time.")
            + ReaderOptionsDoc)
            .c_str());

    py::object const writerClass = module.attr("Writer");
    module.def(
        "convert",
        [writerClass](py::object const& source, py::object const& destination, py::object to, py::object transform,
            py::object decimals, py::object lineNumbers, py::object arcTolerance, bool mapToWCS,
            std::string const& nciUnit, std::string const& gcodeUnit, bool blockDelete, bool expandCycles) {
            Tool::ReaderOptions const options = readerOptions(nciUnit, gcodeUnit, blockDelete, expandCycles);
            py::object writer = writerClass(destination, to, decimals, lineNumbers, arcTolerance, mapToWCS);
            py::list stages;
            if (py::isinstance<Stage>(transform) || py::isinstance<PythonStream>(transform))
                stages.append(transform);
            else if (!transform.is_none())
                for (py::handle stage : py::iterable(transform))
                    stages.append(stage);
            stages.append(writer);
            run(pathOf(source), stages, options);
            return py::object(writer.attr("conversion"));
        },
        py::arg("src"), py::arg("dst"), py::arg("to") = py::none(), py::arg("transform") = py::none(), py::kw_only(),
        py::arg("decimals") = py::none(), py::arg("line_numbers") = py::none(), py::arg("arc_tolerance") = py::none(),
        py::arg("map_to_wcs") = false, py::arg("nci_unit") = "inch", py::arg("gcode_unit") = "mm",
        py::arg("block_delete") = false, py::arg("expand_cycles") = false,
        (std::string("Writes the program at src into dst as `quarnnc convert` does and returns the "
                     "quarnnc.Conversion that says what the output format left out. to names the output format "
                     "(default: by dst's extension); transform is a quarnnc.Transform or Mirror stage, or a list of "
                     "stages, that the program passes through first; decimals, line_numbers, arc_tolerance and "
                     "map_to_wcs set up the writer as quarnnc.Writer says. Converting a file onto itself writes "
                     "beside it and renames the result over it once complete. Conversion.completed is False when a "
                     "stage stopped the program.")
            + ReaderOptionsDoc)
            .c_str());

    py::object const validateClass = module.attr("Validate");
    module.def(
        "validate",
        [validateClass](py::object const& path, bool continueOnError, double maxSpiral, double tolerance,
            std::string const& nciUnit, std::string const& gcodeUnit, bool blockDelete, bool expandCycles) {
            Tool::ReaderOptions const options = readerOptions(nciUnit, gcodeUnit, blockDelete, expandCycles);
            py::object validator = validateClass(continueOnError, maxSpiral, tolerance);
            py::list stages;
            stages.append(validator);
            run(pathOf(path), stages, options);
            return py::object(validator.attr("findings"));
        },
        py::arg("path"), py::kw_only(), py::arg("continue_on_error") = false, py::arg("max_spiral") = 0.0,
        py::arg("tolerance") = 1e-6, py::arg("nci_unit") = "inch", py::arg("gcode_unit") = "mm",
        py::arg("block_delete") = false, py::arg("expand_cycles") = false,
        (std::string("Checks the program at path as `quarnnc validate` does and returns its findings, a list of "
                     "quarnnc.Finding (severity, index, text) in program order; empty for a clean program. Without "
                     "continue_on_error the check ends at the first error. max_spiral is the largest allowed "
                     "difference of start and end radius of an arc (0: no check), tolerance that of the "
                     "unit-length checks.")
            + ReaderOptionsDoc)
            .c_str());
}

} // namespace Quarn::Python
