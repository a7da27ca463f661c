// Fuzz target: arbitrary bytes run as G-code, once plainly and once in inches with block delete,
// line numbers passed on and comments left out, into a sink that checks the order of the events
// and the numbers they carry. Read whole, in short pieces and through a line reader, the bytes
// must give the same events or the same error at the same line; a sink that refuses an event must
// stop the run there. Loops are bounded low, so that a fuzzed endless loop ends at once. Debug
// assertions abort.
#include "ChunkedInputStream.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/NCUnit.h"
#include "nc/nc/io/GCodeReader.h"
#include "util/utility/Debug.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/Vector3D.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using namespace Quarn;

// Iterations of all loops of one run: enough for the corpus's nested loops, few enough that an
// endless loop costs a moment.
constexpr std::uint64_t LoopIterations = 200;

[[noreturn]] void fault(char const* what)
{
    std::fprintf(stderr, "GCodeReaderFuzzer: %s\n", what);
    std::abort();
}

// Records the events as bytes, so that two reads compare cheaply, and checks their order: onOpen
// first, onContext, onTool and onSection in a row, groups inside sections and not nested, moves
// inside sections, nothing open at onClose and nothing after it. Refuses the refuse-th event
// (counting from 1) and aborts at any event after it.
class RecordingStream : public NCStream {
public:
    std::string events;
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::size_t count = 0;
    std::size_t refuse = 0;
    bool closed = false;

    bool refused() const noexcept { return refuse != 0 && count >= refuse; }

    using NCStream::onParameter;
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool name parameters override                                                                                      \
    {                                                                                                                  \
        begin(NCEvent::name);                                                                                          \
        put arguments;                                                                                                 \
        return count != refuse;                                                                                        \
    }
#include "nc/nc/NCEvents.def"

private:
    enum class Expect : std::uint8_t { Any, Tool, Section };

    void begin(NCEvent event)
    {
        if (refused())
            fault("an event after a refused one");
        if (closed)
            fault("an event after onClose");
        if (!opened && event != NCEvent::onOpen)
            fault("an event before onOpen");
        if (expect == Expect::Tool && event != NCEvent::onTool)
            fault("onContext not followed by onTool");
        if (expect == Expect::Section && event != NCEvent::onSection)
            fault("onTool not followed by onSection");
        switch (event) {
        case NCEvent::onOpen:
            if (opened)
                fault("onOpen twice");
            opened = true;
            break;
        case NCEvent::onContext:
            if (section)
                fault("onContext inside a section");
            expect = Expect::Tool;
            break;
        case NCEvent::onTool:
            if (expect != Expect::Tool)
                fault("onTool without onContext");
            expect = Expect::Section;
            break;
        case NCEvent::onSection:
            if (expect != Expect::Section)
                fault("onSection without onContext and onTool");
            expect = Expect::Any;
            section = true;
            break;
        case NCEvent::onSectionEnd:
            if (!section || group)
                fault("onSectionEnd outside a section or inside a group");
            section = false;
            break;
        case NCEvent::onGroup:
            if (!section || group)
                fault("onGroup outside a section or inside a group");
            group = true;
            break;
        case NCEvent::onGroupEnd:
            if (!group)
                fault("onGroupEnd outside a group");
            group = false;
            break;
        case NCEvent::onDwell:
        case NCEvent::onRapid:
        case NCEvent::onRapid5D:
        case NCEvent::onLinear:
        case NCEvent::onLinear5D:
        case NCEvent::onCWArc:
        case NCEvent::onCCWArc:
        case NCEvent::onCircular:
        case NCEvent::onCWCircle:
        case NCEvent::onCCWCircle:
        case NCEvent::onRadiusCompensation:
            if (!section)
                fault("a move outside a section");
            break;
        case NCEvent::onClose:
            if (section || group)
                fault("onClose with a section or group open");
            closed = true;
            break;
        default:
            break;
        }
        ++count;
        events += static_cast<char>(event);
    }

    void put() { }
    template <class First, class... Rest> void put(First const& first, Rest const&... rest)
    {
        putOne(first);
        put(rest...);
    }
    void bytes(void const* data, std::size_t size) { events.append(static_cast<char const*>(data), size); }
    void putOne(double value) { bytes(&value, sizeof value); }
    void putOne(Vector3D const& v) { putOne(v.x), putOne(v.y), putOne(v.z); }
    void putOne(Point3D const& p) { putOne(p.x), putOne(p.y), putOne(p.z); }
    void putOne(char const* text)
    {
        if (text == nullptr)
            fault("a null text");
        bytes(text, std::strlen(text) + 1);
    }
    void putOne(wchar_t const* text)
    {
        if (text == nullptr)
            fault("a null text");
        bytes(text, (std::wcslen(text) + 1) * sizeof(wchar_t));
    }
    void putOne(NCContext const& context) { contexts.push_back(context); }
    void putOne(NCTool const& tool) { tools.push_back(tool); }
    template <class Integer>
    requires std::is_integral_v<Integer> || std::is_enum_v<Integer>
    void putOne(Integer value)
    {
        auto const wide = static_cast<std::uint64_t>(value);
        bytes(&wide, sizeof wide);
    }
    // Arguments that are not compared (pointers to arrays, axis values and the like).
    template <class Other>
    requires(!std::is_arithmetic_v<Other> && !std::is_enum_v<Other>) void putOne(Other const&) { }

    bool opened = false;
    bool section = false;
    bool group = false;
    Expect expect = Expect::Any;
};

void finite(double value, char const* what)
{
    if (!std::isfinite(value))
        fault(what);
}

void finite(Vector3D const& v, char const* what)
{
    if (!v.isFinite())
        fault(what);
}

void unit(Vector3D const& v, char const* what)
{
    if (!v.isFinite() || std::abs(v.getSquareModulus() - 1.0) > 1e-9)
        fault(what);
}

void movement(unsigned int flags)
{
    if (!NCStream::isMovement(NCStream::getMovement(flags)))
        fault("a move whose flags hold no movement");
}

void named(char const* name)
{
    if (name == nullptr || !std::string_view(name).starts_with("http://"))
        fault("a parameter without a full name");
}

// The numbers the reader promises: finite positions, centres, feedrates, sweeps, times and
// parameters; unit normals of arcs; finite tool dimensions and spindle speeds.
class CheckingStream final : public RecordingStream {
public:
    using RecordingStream::onParameter;

    bool onParameter(char const* name, Point3D const& value) override
    {
        named(name);
        finite(value.toVector(), "a point parameter not finite");
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, double value) override
    {
        named(name);
        finite(value, "a double parameter not finite");
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, int value) override
    {
        named(name);
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, wchar_t const* value) override
    {
        named(name);
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, char const* value) override
    {
        named(name);
        return RecordingStream::onParameter(name, value);
    }
    bool onTool(NCTool const& tool) override
    {
        finite(tool.getDiameter(), "a tool diameter not finite");
        finite(tool.getCornerRadius(), "a tool corner radius not finite");
        finite(tool.getSpindleRPM(), "a spindle speed not finite");
        return RecordingStream::onTool(tool);
    }
    bool onDwell(double time, unsigned int flags) override
    {
        finite(time, "a dwell not finite");
        return RecordingStream::onDwell(time, flags);
    }
    bool onRapid(Vector3D const& end, unsigned int flags) override
    {
        finite(end, "a rapid's end not finite");
        movement(flags);
        return RecordingStream::onRapid(end, flags);
    }
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override
    {
        finite(end, "a five-axis rapid's end not finite");
        movement(flags);
        return RecordingStream::onRapid5D(end, z, x, n, flags);
    }
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        finite(end, "a five-axis rapid's end not finite");
        finite(direction, "a five-axis rapid's direction not finite");
        movement(flags);
        return RecordingStream::onRapid5D(end, direction, flags);
    }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override
    {
        finite(end, "a line's end not finite");
        finite(feedrate, "a feedrate not finite");
        movement(flags);
        return RecordingStream::onLinear(end, feedrate, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override
    {
        finite(end, "a five-axis line's end not finite");
        finite(feedrate, "a feedrate not finite");
        movement(flags);
        return RecordingStream::onLinear5D(end, z, x, n, feedrate, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        finite(end, "a five-axis line's end not finite");
        finite(direction, "a five-axis line's direction not finite");
        finite(feedrate, "a feedrate not finite");
        movement(flags);
        return RecordingStream::onLinear5D(end, direction, feedrate, flags);
    }
    bool onCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCWArc(c, e, n, f, flags);
    }
    bool onCCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCCWArc(c, e, n, f, flags);
    }
    bool onCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCWCircle(c, e, n, f, flags);
    }
    bool onCCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCCWCircle(c, e, n, f, flags);
    }
    bool onCircular(
        Vector3D const& c, Vector3D const& e, Vector3D const& n, double sweep, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        finite(sweep, "a sweep not finite");
        return RecordingStream::onCircular(c, e, n, sweep, f, flags);
    }

private:
    static void arc(
        Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
    {
        finite(centre, "an arc centre not finite");
        finite(end, "an arc end not finite");
        finite(feedrate, "an arc feedrate not finite");
        unit(normal, "an arc normal not of unit length");
        movement(flags);
    }
};

// The two ways a run is set up: as the reader comes, and with every option turned.
struct Setup {
    bool inchesBlockDeleteLineNumbers = false;
};

// What one run gives: the events, contexts and tools, whether it completed, or the error and
// where.
struct Read {
    std::string events;
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::size_t count = 0;
    bool completed = false;
    std::wstring error;
    unsigned int line = 0;
    std::wstring detail;
    bool operator==(Read const&) const = default;
};

// An error names the line of its fault; only an input without a line may have none.
template <class Import> Read readWith(Setup setup, std::size_t refuse, bool empty, Import import)
{
    CheckingStream sink;
    sink.refuse = refuse;
    GCodeReader reader;
    reader.setMaximumLoopIterations(LoopIterations);
    if (setup.inchesBlockDeleteLineNumbers) {
        reader.setUnit(NCUnit::INCHES);
        reader.setBlockDelete(true);
        reader.setPassThroughLineNumbers(true);
        reader.setPassOnComments(false);
    }
    reader.setNCStream(&sink);
    Read read;
    try {
        read.completed = import(reader);
        if (read.completed ? !sink.closed || sink.refused() : !sink.refused())
            fault("import's answer does not match the events: true without onClose, or false unrefused");
    } catch (NCParseException const& e) {
        if (sink.refused())
            fault("the run went on after a refused event");
        read.error = e.getMessage();
        read.line = e.getLine().value_or(0);
        read.detail = e.getDetail();
        if (read.error.empty() || (read.line == 0 && !empty)) {
            std::fprintf(stderr, "error '%ls' at line %u\n", read.error.c_str(), read.line);
            fault("an error without a message or without its line");
        }
    }
    read.events = std::move(sink.events);
    read.contexts = std::move(sink.contexts);
    read.tools = std::move(sink.tools);
    read.count = sink.count;
    return read;
}

Read readStream(InputStream& in, Setup setup, std::size_t refuse = 0)
{
    try {
        bool const empty = in.getSize() == std::optional<std::uint64_t>(0);
        return readWith(setup, refuse, empty, [&](GCodeReader& reader) { return reader.import(&in); });
    } catch (IOException const&) {
        fault("an IOException from the input form, which reads memory");
    }
}

void fuzz(std::uint8_t const* data, std::size_t size, Setup setup)
{
    auto const read = [setup](InputStream& in) { return readStream(in, setup); };
    std::optional<Read> const first = Fuzz::readWholeAndInPieces(data, size, read, read);
    if (!first)
        fault("no read");

    // The line-reader form reads the same lines; the line reader's own limit lies beyond the
    // reader's, so it never speaks first here.
    MemoryInputStream source(data, size);
    SequentialLineReader lines(&source);
    try {
        Read const throughLines = readWith(
            setup, 0, size == 0, [&](GCodeReader& reader) { return reader.import(static_cast<LineReader*>(&lines)); });
        if (!(throughLines == *first))
            fault("the line-reader form reads otherwise than the input form");
    } catch (IOException const&) {
        fault("an IOException from the line reader");
    }

    // Refusing one of the events stops the run there, with what came before it unchanged.
    if (first->count == 0)
        return;
    std::size_t const refuse = 1 + (size * 7919 + (setup.inchesBlockDeleteLineNumbers ? 1 : 0)) % first->count;
    MemoryInputStream again(data, size);
    Read const stopped = readStream(again, setup, refuse);
    if (stopped.completed || !stopped.error.empty() || stopped.count != refuse
        || !first->events.starts_with(stopped.events))
        fault("a refused event did not stop the run there");
}

void abortOnAssertion(AssertionReport const& report)
{
    std::fprintf(stderr, "assertion %s at %s:%d\n", report.text.c_str(), report.file.c_str(), report.line);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static bool const testing = [] {
        Debug::setTesting(true);
        Debug::setHandler(abortOnAssertion);
        return true;
    }();
    (void)testing;
    // Recognition looks at the start of a file and never throws.
    (void)GCodeReader::isGCode(std::string_view(reinterpret_cast<char const*>(data), size));
    fuzz(data, size, Setup {false});
    fuzz(data, size, Setup {true});
    return 0;
}
