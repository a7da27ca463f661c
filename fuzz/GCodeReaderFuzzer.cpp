// Fuzz target: arbitrary bytes run as G-code, once plainly and once in inches with block delete,
// line numbers passed on and comments left out, into a sink that checks the order of the events
// and the numbers they carry. Read whole, in short pieces and through a line reader, the bytes
// must give the same events or the same error at the same line; a sink that refuses an event must
// stop the run there. Loops are bounded low, so that a fuzzed endless loop ends at once. Debug
// assertions abort.
#include "ChunkedInputStream.h"
#include "ReaderChecks.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/NCUnit.h"
#include "nc/nc/io/GCodeReader.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/math/Vector3D.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

[[noreturn]] void Quarn::Fuzz::fault(char const* what)
{
    std::fprintf(stderr, "GCodeReaderFuzzer: %s\n", what);
    std::abort();
}

namespace {

using namespace Quarn;
using namespace Quarn::Fuzz;

// Iterations of all loops of one run: enough for the corpus's nested loops, few enough that an
// endless loop costs a moment.
constexpr std::uint64_t LoopIterations = 200;

// The numbers G-code promises besides those of every reader: finite tool dimensions and spindle
// speeds; finite ends of five-axis moves and of their directions; finite sweeps.
class GCodeCheckingStream final : public CheckingStream {
public:
    bool onTool(NCTool const& tool) override
    {
        toolDimensions(tool);
        finite(tool.getSpindleRPM(), "a spindle speed not finite");
        return CheckingStream::onTool(tool);
    }
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override
    {
        finite(end, "a five-axis rapid's end not finite");
        movement(flags);
        return CheckingStream::onRapid5D(end, z, x, n, flags);
    }
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        finite(end, "a five-axis rapid's end not finite");
        finite(direction, "a five-axis rapid's direction not finite");
        movement(flags);
        return CheckingStream::onRapid5D(end, direction, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override
    {
        finite(end, "a five-axis line's end not finite");
        finite(feedrate, "a feedrate not finite");
        movement(flags);
        return CheckingStream::onLinear5D(end, z, x, n, feedrate, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        finite(end, "a five-axis line's end not finite");
        finite(direction, "a five-axis line's direction not finite");
        finite(feedrate, "a feedrate not finite");
        movement(flags);
        return CheckingStream::onLinear5D(end, direction, feedrate, flags);
    }
    bool onCircular(
        Vector3D const& c, Vector3D const& e, Vector3D const& n, double sweep, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        finite(sweep, "a sweep not finite");
        return CheckingStream::onCircular(c, e, n, sweep, f, flags);
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
    GCodeCheckingStream sink;
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Quarn::Fuzz::abortOnAssertions();
    // Recognition looks at the start of a file and never throws.
    (void)GCodeReader::isGCode(std::string_view(reinterpret_cast<char const*>(data), size));
    fuzz(data, size, Setup {false});
    fuzz(data, size, Setup {true});
    return 0;
}
