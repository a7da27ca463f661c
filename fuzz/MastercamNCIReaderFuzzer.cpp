// Fuzz target: arbitrary bytes read as NCI, once plainly and once with expanded cycles and line
// numbers, into a sink that checks the order of the events and the numbers they carry. Read whole,
// in short pieces and through a line reader, the bytes must give the same events or the same error
// at the same line; a sink that refuses an event must stop the read there. Debug assertions abort.
#include "ChunkedInputStream.h"
#include "ReaderChecks.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/MastercamNCIReader.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/math/Vector3D.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

[[noreturn]] void Quarn::Fuzz::fault(char const* what)
{
    std::fprintf(stderr, "MastercamNCIReaderFuzzer: %s\n", what);
    std::abort();
}

namespace {

using namespace Quarn;
using namespace Quarn::Fuzz;

// The numbers NCI promises besides those of every reader: finite tool dimensions and spindle
// speeds that are not negative; unit tool axes with FLAG_ABSOLUTE_DIRECTION on five-axis moves; a
// turn of sweep on full helix turns; increasing line numbers. Of the events the order checks leave
// alone, the reader sends only parameters, comments and line numbers.
class NCICheckingStream final : public CheckingStream {
public:
    bool onTool(NCTool const& tool) override
    {
        toolDimensions(tool);
        if (!(tool.getSpindleRPM() >= 0.0) || !std::isfinite(tool.getSpindleRPM()))
            fault("a spindle speed negative or not finite");
        return CheckingStream::onTool(tool);
    }
    bool onLineNumber(unsigned int line) override
    {
        if (line <= lastLine)
            fault("line numbers that do not increase");
        lastLine = line;
        return CheckingStream::onLineNumber(line);
    }
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override
    {
        fiveAxis(end, z, 0.0, flags);
        return CheckingStream::onRapid5D(end, z, x, n, flags);
    }
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        fiveAxis(end, direction, 0.0, flags);
        return CheckingStream::onRapid5D(end, direction, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override
    {
        fiveAxis(end, z, feedrate, flags);
        return CheckingStream::onLinear5D(end, z, x, n, feedrate, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        fiveAxis(end, direction, feedrate, flags);
        return CheckingStream::onLinear5D(end, direction, feedrate, flags);
    }
    bool onCircular(
        Vector3D const& c, Vector3D const& e, Vector3D const& n, double sweep, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        if (std::abs(std::abs(sweep) - 2.0 * std::numbers::pi) > 1e-12)
            fault("a full helix turn whose sweep is not a turn");
        return CheckingStream::onCircular(c, e, n, sweep, f, flags);
    }

protected:
    bool sends(NCEvent event) const noexcept override
    {
        return event == NCEvent::onParameter || event == NCEvent::onComment || event == NCEvent::onLineNumber;
    }

private:
    unsigned int lastLine = 0;

    static void fiveAxis(Vector3D const& end, Vector3D const& axis, double feedrate, unsigned int flags)
    {
        finite(end, "a five-axis end not finite");
        finite(feedrate, "a five-axis feedrate not finite");
        unit(axis, "a tool axis not of unit length");
        if ((flags & NCStream::FLAG_ABSOLUTE_DIRECTION) == 0)
            fault("a five-axis move without FLAG_ABSOLUTE_DIRECTION");
        movement(flags);
    }
};

// The errors the reader documents, by the start of their text.
constexpr std::wstring_view KnownErrors[] = {L"Not an NCI file: ", L"Line too long.", L"NUL byte in line.",
    L"Invalid record code '", L"Record ", L"Invalid number '", L"Number out of range '", L"Invalid integer '",
    L"Unknown cutter compensation ", L"Unknown arc plane ", L"Tool axis of zero length in record ",
    L"Tool axis out of range in record ", L"Unknown drill cycle type ", L"Drill hole without a drill cycle",
    L"Hole depth out of range in record ", L"File ends without its end record 1003.",
    // NCCycleDefinition::checkHole
    L"Cycle value '", L"Hole top is not a number.", L"Hole bottom is not a number.", L"Hole moves are out of range.",
    L"Too many pecks."};

// What one read gives: the events, contexts and tools, whether it completed, the unknown records,
// or the parse error and where.
struct Read {
    std::string events;
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::size_t count = 0;
    bool completed = false;
    std::uint64_t unknownRecords = 0;
    std::wstring error;
    unsigned int line = 0;
    std::wstring detail;
    bool operator==(Read const&) const = default;
};

// A read with expanded cycles and line numbers passed on when expand holds, refusing the refuse-th event.
template <class Import> Read readWith(bool expand, std::size_t refuse, Import import)
{
    NCICheckingStream sink;
    sink.refuse = refuse;
    MastercamNCIReader reader;
    reader.setExpandCycles(expand);
    reader.setPassThroughLineNumbers(expand);
    reader.setNCStream(&sink);
    Read read;
    try {
        read.completed = import(reader);
        if (read.completed ? !sink.closed || sink.refused() : !sink.refused())
            fault("import's answer does not match the events: true without onClose, or false unrefused");
    } catch (NCParseException const& e) {
        if (sink.refused())
            fault("the read went on after a refused event");
        read.error = e.getMessage();
        read.line = e.getLine().value_or(0);
        read.detail = e.getDetail();
        bool known = false;
        for (std::wstring_view start : KnownErrors)
            known = known || read.error.starts_with(start);
        if (!known || read.line == 0) {
            std::fprintf(stderr, "error '%ls' at line %u\n", read.error.c_str(), read.line);
            fault("an error the reader does not document, or without its line");
        }
    }
    read.events = std::move(sink.events);
    read.contexts = std::move(sink.contexts);
    read.tools = std::move(sink.tools);
    read.count = sink.count;
    read.unknownRecords = reader.getUnknownRecordCount();
    return read;
}

Read readStream(InputStream& in, bool expand, std::size_t refuse = 0)
{
    try {
        return readWith(expand, refuse, [&](MastercamNCIReader& reader) { return reader.import(&in); });
    } catch (IOException const&) {
        fault("an IOException from the input form, which reads memory");
    }
}

void fuzz(std::uint8_t const* data, std::size_t size, bool expand)
{
    auto const read = [expand](InputStream& in) { return readStream(in, expand); };
    std::optional<Read> const first = Fuzz::readWholeAndInPieces(data, size, read, read);
    if (!first)
        fault("no read");

    // The line-reader form reads the same lines; the line reader's own limit lies beyond the
    // reader's, so it never speaks first here.
    MemoryInputStream source(data, size);
    SequentialLineReader lines(&source);
    Read const throughLines = readWith(
        expand, 0, [&](MastercamNCIReader& reader) { return reader.import(static_cast<LineReader*>(&lines)); });
    if (!(throughLines == *first))
        fault("the line-reader form reads otherwise than the input form");

    // Refusing one of the events stops the read there, with what came before it unchanged.
    if (first->count == 0)
        return;
    std::size_t const refuse = 1 + (size * 7919 + (expand ? 1 : 0)) % first->count;
    MemoryInputStream again(data, size);
    Read const stopped = readStream(again, expand, refuse);
    if (stopped.completed || !stopped.error.empty() || stopped.count != refuse
        || !first->events.starts_with(stopped.events))
        fault("a refused event did not stop the read there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Quarn::Fuzz::abortOnAssertions();
    fuzz(data, size, false);
    fuzz(data, size, true);
    return 0;
}
