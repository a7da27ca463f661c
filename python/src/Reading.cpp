// Reading programs into numpy arrays: read, iter_moves, count_events and the Program they make.
#include "python/src/Bindings.h"
#include "python/src/Files.h"
#include "python/src/MoveBatch.h"

#include "nc/nc/NCEvent.h"
#include "util/utility/text/Unicode.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Quarn::Python {

namespace {

// --- Python values of the gathered data.

py::str narrowText(std::string const& text)
{
    // Narrow strings are bytes as the file gave them; UTF-8 is the usual case.
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

py::object parameterValue(ParameterValue const& value)
{
    return std::visit(
        [](auto const& v) -> py::object {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>)
                return narrowText(v);
            else if constexpr (std::is_same_v<T, Point3D>)
                return py::make_tuple(v.x, v.y, v.z);
            else
                return py::cast(v);
        },
        value);
}

// A section of a Program.
struct Section {
    std::int64_t index = 0;
    std::int64_t start = 0;
    std::int64_t stop = 0;
    std::uint64_t event = 0;
    py::object context;
    py::object tool;
};

// What read returns.
struct Program {
    std::string path;
    std::string format;
    py::object version;
    py::array moves;
    py::list contexts;
    py::list tools;
    py::list sections;
    py::list parameters;
    py::list comments;
    py::list dwells;
};

// The path argument: a str or an os.PathLike.
std::string toPath(py::handle path)
{
    py::object const text = py::module_::import("os").attr("fsdecode")(path);
    return text.cast<std::string>();
}

struct ReadOptions {
    std::string nciUnit = "inch";
    std::string gcodeUnit = "mm";
    bool blockDelete = false;
    bool expandCycles = false;
    Tool::ReaderOptions get() const { return readerOptions(nciUnit, gcodeUnit, blockDelete, expandCycles); }
};

Program read(py::handle pathArgument, ReadOptions const& arguments)
{
    std::string const path = toPath(pathArgument);
    Tool::ReaderOptions const options = arguments.get();
    Program program;
    program.path = path;
    MoveSink sink(65536, nullptr, true);
    std::string version;
    Tool::Format const* format = nullptr;
    {
        py::gil_scoped_release release;
        format = &detect(path);
        if (format->version != nullptr)
            version = format->version(Unicode::fromUTF8(path));
        replay(*format, path, sink, options);
    }
    program.format = std::string(format->name);
    program.version = version.empty() ? py::object(py::none()) : py::object(py::str(version));
    program.moves = sink.getBuffer().toArray();
    ProgramData& data = sink.finish();
    for (NCContext const& context : data.contexts)
        program.contexts.append(py::cast(context));
    for (NCTool const& tool : data.tools)
        program.tools.append(py::cast(tool));
    std::int64_t index = 0;
    for (SectionData const& s : data.sections) {
        Section section;
        section.index = index++;
        section.start = s.start;
        section.stop = s.stop;
        section.event = s.event;
        section.context = s.context >= 0 ? py::object(program.contexts[static_cast<std::size_t>(s.context)]) : py::none();
        section.tool = s.tool >= 0 ? py::object(program.tools[static_cast<std::size_t>(s.tool)]) : py::none();
        program.sections.append(py::cast(std::move(section)));
    }
    for (ParameterData const& parameter : data.parameters)
        program.parameters.append(
            py::make_tuple(parameter.event, narrowText(parameter.name), parameterValue(parameter.value)));
    for (CommentData const& comment : data.comments)
        program.comments.append(py::make_tuple(comment.event,
            std::holds_alternative<std::string>(comment.text) ? narrowText(std::get<std::string>(comment.text))
                                                               : py::str(py::cast(std::get<std::wstring>(comment.text)))));
    for (DwellData const& dwell : data.dwells)
        program.dwells.append(py::make_tuple(dwell.event, dwell.time, dwell.flags));
    return program;
}

py::dict countEvents(py::handle pathArgument, ReadOptions const& arguments)
{
    std::string const path = toPath(pathArgument);
    Tool::ReaderOptions const options = arguments.get();
    CountingSink sink;
    {
        py::gil_scoped_release release;
        replay(detect(path), path, sink, options);
    }
    py::dict counts;
    for (std::size_t i = 0; i < NCEventCount; ++i)
        if (sink.counts[i] > 0)
            counts[py::str(std::string(NCEventNames[i]))] = sink.counts[i];
    return counts;
}

// --- iter_moves: a reader on a thread of its own hands batches through a queue of two.

class MoveIterator final : public MoveSink::BatchHandler {
public:
    MoveIterator(Tool::Format const& format, std::string path, Tool::ReaderOptions const& options, std::size_t batch)
        : path(std::move(path))
    {
        thread = std::thread([this, &format, options, batch] { run(format, options, batch); });
    }
    ~MoveIterator() override { close(); }

    // Waits for the next batch without the GIL; None at the end; the reader's exception once.
    std::optional<RecordBuffer> next()
    {
        std::exception_ptr failure;
        {
            py::gil_scoped_release release;
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return !queue.empty() || finished || closed; });
            if (!queue.empty()) {
                RecordBuffer batch = std::move(queue.front());
                queue.pop_front();
                changed.notify_all();
                return batch;
            }
            failure = std::exchange(error, nullptr);
        }
        join();
        if (failure)
            std::rethrow_exception(failure);
        return std::nullopt;
    }

    // Stops the reader (its sink answers false from the next event on) and joins it.
    void close()
    {
        {
            std::lock_guard lock(mutex);
            closed = true;
            queue.clear();
            error = nullptr;
        }
        changed.notify_all();
        join();
    }

    std::string const& getPath() const noexcept { return path; }
    bool isClosed()
    {
        std::lock_guard lock(mutex);
        return closed || (finished && queue.empty() && !error);
    }

private:
    bool take(RecordBuffer&& batch) override
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return closed || queue.size() < QueueLength; });
        if (closed)
            return false;
        queue.push_back(std::move(batch));
        changed.notify_all();
        return true;
    }

    void run(Tool::Format const& format, Tool::ReaderOptions const& options, std::size_t batch) noexcept
    {
        std::exception_ptr failure;
        try {
            MoveSink sink(batch, this, false);
            try {
                replay(format, path, sink, options);
            } catch (...) {
                failure = std::current_exception();
            }
            // The moves read before a fault come before the fault.
            if (sink.getBuffer().size() > 0)
                take(std::move(sink.getBuffer()));
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
        {
            std::lock_guard lock(mutex);
            if (!closed)
                error = failure;
            finished = true;
        }
        changed.notify_all();
    }

    void join()
    {
        std::lock_guard lock(joinMutex);
        if (thread.joinable())
            thread.join();
    }

    static constexpr std::size_t QueueLength = 2;

    std::string path;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<RecordBuffer> queue;
    bool closed = false;
    bool finished = false;
    std::exception_ptr error;
    std::mutex joinMutex;
    std::thread thread;
};

// The live iterators, closed at interpreter exit so that no reader thread outlives Python.
// Allocated once and never freed: it must outlast every iterator, also during finalization.
struct IteratorRegistry {
    std::mutex mutex;
    std::vector<std::weak_ptr<MoveIterator>> iterators;

    void add(std::shared_ptr<MoveIterator> const& iterator)
    {
        std::lock_guard lock(mutex);
        std::erase_if(iterators, [](auto const& weak) { return weak.expired(); });
        iterators.push_back(iterator);
    }
    void closeAll()
    {
        std::vector<std::shared_ptr<MoveIterator>> live;
        {
            std::lock_guard lock(mutex);
            for (auto const& weak : iterators)
                if (auto iterator = weak.lock())
                    live.push_back(std::move(iterator));
            iterators.clear();
        }
        for (auto const& iterator : live)
            iterator->close();
    }
};

IteratorRegistry& registry()
{
    static IteratorRegistry* const instance = new IteratorRegistry;
    return *instance;
}

std::shared_ptr<MoveIterator> iterMoves(py::handle pathArgument, std::int64_t batch, ReadOptions const& arguments)
{
    if (batch < 1)
        throw py::value_error("batch must be at least 1, not " + std::to_string(batch) + ".");
    std::string path = toPath(pathArgument);
    Tool::ReaderOptions const options = arguments.get();
    Tool::Format const* format = nullptr;
    {
        py::gil_scoped_release release;
        format = &detect(path);
    }
    auto iterator = std::make_shared<MoveIterator>(*format, std::move(path), options, static_cast<std::size_t>(batch));
    registry().add(iterator);
    return iterator;
}

char const* const OptionsDoc
    = "nci_unit is the length unit of NCI files, which do not say theirs ('inch' or 'mm'); gcode_unit the unit of "
      "a G-code program until it says G20 or G21; block_delete skips the G-code blocks that start with '/'; "
      "expand_cycles sends drill cycles as the moves they make. The format is detected by content, as quarnnc "
      "does. A missing file raises FileNotFoundError, a malformed, cut or foreign one quarnnc.FormatError (with "
      "file, line or offset).";

std::string describeSection(Section const& s)
{
    std::string text = "quarnnc.Section(index=" + std::to_string(s.index) + ", start=" + std::to_string(s.start) +
                       ", stop=" + std::to_string(s.stop);
    if (!s.tool.is_none())
        text += ", tool=" + std::to_string(s.tool.attr("number").cast<unsigned int>());
    return text + ")";
}

} // namespace

void bindReading(py::module_& module)
{
    registerMoveDtype();

    // The kinds of moves as an IntEnum, so that moves["kind"] == MoveKind.LINEAR reads well.
    py::list members;
    for (std::size_t i = 0; i < MoveKindNames.size(); ++i)
        members.append(py::make_tuple(MoveKindNames[i], i));
    py::object const intEnum = py::module_::import("enum").attr("IntEnum");
    py::object const moveKind = intEnum("MoveKind", members, py::arg("module") = "quarnnc");
    moveKind.attr("__doc__")
        = "The codes of the 'kind' field of move records: RAPID (onRapid), LINEAR (onLinear), CW_ARC, CCW_ARC, "
          "CIRCULAR (onCircular, with sweep), CW_CIRCLE, CCW_CIRCLE, RAPID_5D, LINEAR_5D (with direction), SPLINE, "
          "BEZIER, NURBS (end = last control point), LINEAR_EXTRUDE, CW_ARC_EXTRUDE, CCW_ARC_EXTRUDE, "
          "CIRCULAR_EXTRUDE. Dwells are not moves: see Program.dwells.";
    module.attr("MoveKind") = moveKind;
    module.attr("MOVE_DTYPE") = py::dtype::of<MoveRecord>();

    module.def(
        "movement_name",
        [](unsigned int movement) -> py::object {
            std::wstring_view const name = NCStream::getMovementName(movement);
            if (name.empty())
                return py::none();
            return py::cast(std::wstring(name));
        },
        py::arg("movement"),
        "The name of a code of the 'movement' field of move records (NCStream::getMovementName), or None for a "
        "code out of range.");

    py::class_<Section>(module, "Section",
        "A section of a program: moves[start:stop] are its moves, read in context with tool (either may be None).")
        .def_readonly("index", &Section::index, "Number of the section, from 0 (the 'section' field of its moves).")
        .def_readonly("start", &Section::start, "Index of its first move in Program.moves.")
        .def_readonly("stop", &Section::stop, "One past the index of its last move: moves[start:stop].")
        .def_readonly("event", &Section::event, "Index of its onSection event (counted as quarnnc validate counts).")
        .def_readonly("context", &Section::context, "The quarnnc.Context it is read in, or None.")
        .def_readonly("tool", &Section::tool, "The quarnnc.Tool it is cut with, or None.")
        .def("__len__", [](Section const& s) { return s.stop - s.start; }, "The number of its moves.")
        .def("__repr__", &describeSection);

    py::class_<Program>(module, "Program",
        "A whole program read by quarnnc.read: its moves as one structured numpy array (dtype MOVE_DTYPE) and the "
        "records around them. len(program) is the number of moves.")
        .def_readonly("path", &Program::path, "The path it was read from.")
        .def_readonly("format", &Program::format, "Name of the detected format, as quarnnc names it ('compact-nci').")
        .def_readonly("version", &Program::version, "Version of the file's format, or None when it has none.")
        .def_readonly("moves", &Program::moves,
            "Every move, one record each (dtype MOVE_DTYPE): kind (MoveKind), end (x, y, z), direction (tool axis of "
            "five-axis moves, else NaN), center and normal (arcs and circles, else NaN), sweep (CIRCULAR, radians, "
            "else NaN), feed (NaN for rapids), flags, movement (NCStream.getMovement(flags)), section (index from 0, "
            "-1 outside), tool (number of the last tool, -1 before any), event (index of the move's event as quarnnc "
            "validate counts them: every event but comments, pass-through text, stock, turn groups, entity indices "
            "and machine axes).")
        .def_readonly("contexts", &Program::contexts, "Every context (quarnnc.Context) in program order.")
        .def_readonly("tools", &Program::tools, "Every tool (quarnnc.Tool) in program order.")
        .def_readonly("sections", &Program::sections, "Every section (quarnnc.Section) in program order.")
        .def_readonly("parameters", &Program::parameters,
            "Every parameter as (event, name, value): value a float, int, str or (x, y, z) tuple.")
        .def_readonly("comments", &Program::comments,
            "Every comment as (event, text); event is the index of the next counted event (comments are not counted).")
        .def_readonly("dwells", &Program::dwells, "Every dwell as (event, time, flags); time in seconds (or revolutions).")
        .def("__len__", [](Program const& p) { return p.moves.size(); }, "The number of moves.")
        .def("__repr__", [](Program const& p) {
            return "quarnnc.Program(" + py::repr(py::str(p.path)).cast<std::string>() + ", format='" + p.format +
                   "', version=" + py::repr(p.version).cast<std::string>() + ", moves=" + std::to_string(p.moves.size()) +
                   ", sections=" + std::to_string(py::len(p.sections)) + ", tools=" + std::to_string(py::len(p.tools)) +
                   ")";
        });

    py::class_<MoveIterator, std::shared_ptr<MoveIterator>>(module, "MoveIterator",
        "Iterator of quarnnc.iter_moves: yields arrays of move records (dtype MOVE_DTYPE) read by a background "
        "thread, two batches ahead at most. close() (or leaving a with block, or dropping it) stops the reader.")
        .def("__iter__", [](py::object self) { return self; })
        .def(
            "__next__",
            [](MoveIterator& self) -> py::array {
                std::optional<RecordBuffer> batch = self.next();
                if (!batch)
                    throw py::stop_iteration();
                return batch->toArray();
            },
            "The next batch of at most `batch` moves; raises the reader's error after the batches read before it.")
        .def("close", &MoveIterator::close, "Stops the reader and waits for its thread; the iterator ends.")
        .def_property_readonly("path", &MoveIterator::getPath, "The path being read.")
        .def_property_readonly("closed", &MoveIterator::isClosed, "True once closed or exhausted.")
        .def("__enter__", [](py::object self) { return self; })
        .def(
            "__exit__", [](MoveIterator& self, py::args) { self.close(); }, "Closes the iterator.");

    auto const options = [](char const* nciUnit, char const* gcodeUnit, bool blockDelete, bool expandCycles) {
        return ReadOptions {nciUnit, gcodeUnit, blockDelete, expandCycles};
    };

    module.def(
        "read",
        [options](py::object path, std::string nciUnit, std::string gcodeUnit, bool blockDelete, bool expandCycles) {
            return read(path, options(nciUnit.c_str(), gcodeUnit.c_str(), blockDelete, expandCycles));
        },
        py::arg("path"), py::kw_only(), py::arg("nci_unit") = "inch", py::arg("gcode_unit") = "mm",
        py::arg("block_delete") = false, py::arg("expand_cycles") = false,
        (std::string("Reads a whole program into a quarnnc.Program: its moves as one numpy structured array "
                     "(dtype MOVE_DTYPE; see Program.moves) plus its contexts, tools, sections, parameters, comments "
                     "and dwells. The file is read without the GIL. ")
            + OptionsDoc)
            .c_str());

    module.def(
        "iter_moves",
        [options](py::object path, std::int64_t batch, std::string nciUnit, std::string gcodeUnit, bool blockDelete,
            bool expandCycles) {
            return iterMoves(path, batch, options(nciUnit.c_str(), gcodeUnit.c_str(), blockDelete, expandCycles));
        },
        py::arg("path"), py::arg("batch") = 65536, py::kw_only(), py::arg("nci_unit") = "inch",
        py::arg("gcode_unit") = "mm", py::arg("block_delete") = false, py::arg("expand_cycles") = false,
        (std::string("Iterates over the moves of a program in arrays of at most `batch` records (dtype MOVE_DTYPE, "
                     "as Program.moves), with memory flat whatever the file's size: a background thread reads the "
                     "file and keeps at most two batches ready. Concatenated, the batches equal read(path).moves. "
                     "An error of the file is raised by __next__ after the batches read before it; close() or "
                     "dropping the iterator stops the reader. batch < 1 is a ValueError; a missing or foreign file "
                     "raises at once. ")
            + OptionsDoc)
            .c_str());

    module.def(
        "count_events",
        [options](py::object path, std::string nciUnit, std::string gcodeUnit, bool blockDelete, bool expandCycles) {
            return countEvents(path, options(nciUnit.c_str(), gcodeUnit.c_str(), blockDelete, expandCycles));
        },
        py::arg("path"), py::kw_only(), py::arg("nci_unit") = "inch", py::arg("gcode_unit") = "mm",
        py::arg("block_delete") = false, py::arg("expand_cycles") = false,
        (std::string("Counts the events of a program by kind: a dict from event names ('onRapid', 'onLinear', "
                     "'onComment', ... as NCStream names its operations) to counts, for the kinds that occur. Every "
                     "call counts; the kinded onParameter counts as the two parameters it sends and the four-vector "
                     "five-axis moves as the moves they reduce to. The file is read in C++ without the GIL. ")
            + OptionsDoc)
            .c_str());

    // Reader threads must not outlive the interpreter.
    py::module_::import("atexit").attr("register")(py::cpp_function([] { registry().closeAll(); }));
}

} // namespace Quarn::Python
