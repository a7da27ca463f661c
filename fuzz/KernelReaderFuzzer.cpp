// Fuzz target: arbitrary bytes read as a kernel toolpath stream and written again by our writer
// in the input's text encoding; whatever reads without error must be written, read back and
// written again to the same bytes. The bytes are also read in short pieces, so that entities
// straddle every block of the reader's buffer, and through a derived reader, whose handlers see
// every entity: that must give the same stream, or the same error.
#include "ChunkedInputStream.h"
#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelReader.h"
#include "nc/nc/kernelstream/KernelStream.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace {

using namespace Quarn;

// Writes every entity it gets, in the text encoding the reader found in the header.
class Rewriter final : public KernelStream {
public:
    explicit Rewriter(KernelOutputStream& out) : out(out) { }
    // The reader that calls it, which knows the encoding once it read the header.
    KernelReader const* reader = nullptr;

    bool onHeader(wchar_t const*) override
    {
        out.setUCS4(reader->isUCS4());
        out.writeHeader();
        return true;
    }
    bool onEnd() override { return out.writeEnd(), true; }
    bool onError(unsigned int code) override { return out.writeError(code), true; }
    bool onError(wchar_t const* text) override { return out.writeError(text), true; }
    bool onWarning(wchar_t const* text) override { return out.writeWarning(text), true; }
    bool onInformation(wchar_t const* text) override { return out.writeInformation(text), true; }
    bool onDebug(wchar_t const* text) override { return out.writeDebug(text), true; }
    bool onParameter(wchar_t const* name, wchar_t const* value) override
    {
        return out.writeParameter(name, value), true;
    }
    bool onTaskId(wchar_t const* id) override { return out.writeTaskId(id), true; }
    bool onModule(wchar_t const* name, std::uint64_t address, std::uint64_t size) override
    {
        return out.writeModule(name, address, size), true;
    }
    bool onMemoryInformation(KernelOutputInterface::MemoryInformation64 const& information) override
    {
        return out.writeMemoryInformation(information), true;
    }
    bool onOutOfMemory(std::uint64_t requested, std::uint64_t available) override
    {
        return out.writeOutOfMemory(requested, available), true;
    }
    bool onProcessInfo(
        std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage) override
    {
        return out.writeProcessInfo(processingTime, usage, memoryUsage, peakMemoryUsage), true;
    }
    bool onToolpathOpen(std::uint32_t, std::uint32_t) override { return out.writeToolpathOpen(), true; }
    bool onToolpathBreak() override { return out.writeToolpathBreak(), true; }
    bool onToolpathClose() override { return out.writeToolpathClose(), true; }
    bool onLinearMove(Vector3D const& position, NCStream::Movement movement) override
    {
        return out.writeLine(position, movement), true;
    }
    bool onLinear5DMove(Vector3D const& position, Vector3D const& toolAxis, NCStream::Movement movement) override
    {
        return out.writeLine(position, toolAxis, movement), true;
    }
    bool onCircularMove(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement) override
    {
        return out.writeArc(end, center, normal, movement), true;
    }
    bool onToolAxis(Vector3D const& axis) override { return out.writeToolAxis(axis), true; }
    bool onContactNormal(Vector3D const& normal) override { return out.writeContactNormal(normal), true; }
    bool onDwell(double seconds) override { return out.writeDwell(seconds), true; }
    bool onCommand(NCStream::Command command) override { return out.writeCommand(command), true; }
    bool onGroup(wchar_t const* name) override { return out.writeGroupBegin(name), true; }
    bool onGroupEnd() override { return out.writeGroupEnd(), true; }
    bool onExpandOpen() override { return out.writeExpandOpen(), true; }
    bool onExpandClose() override { return out.writeExpandClose(), true; }
    bool onBeginFragment() override { return out.writeBeginPathFragment(), true; }
    bool onEndFragment() override { return out.writeEndPathFragment(), true; }
    bool onTurnGroup(NCStream::TurnGroupType type) override { return out.writeTurnGroupBegin(type), true; }
    bool onTurnGroupEnd() override { return out.writeTurnGroupEnd(), true; }
    bool onProgress(double fraction) override { return out.writeProgress(fraction), true; }
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override
    {
        return out.writeMachineAxisOrdering(ordering), true;
    }
    bool onMachineAxisValues(AxisValues const& values) override { return out.writeMachineAxisValues(values), true; }

private:
    KernelOutputStream& out;
};

// Reads every entity through its handlers, not straight into the sink.
class HandlerReader final : public KernelReader {
public:
    using KernelReader::KernelReader;
};

// The stream our writer makes of what the reader reads from the input, and whether the read
// went to the end (false: the version was refused); throws for malformed bytes.
struct Rewrite {
    std::string stream;
    bool completed = false;
    bool operator==(Rewrite const&) const = default;
};

template <class Reader = KernelReader> Rewrite rewrite(InputStream& in)
{
    MemoryOutputStream out;
    bool completed = false;
    {
        KernelOutputStream writer(&out);
        Rewriter rewriter(writer);
        Reader reader(&rewriter);
        rewriter.reader = &reader;
        reader.open(&in);
        completed = reader.read();
        writer.flushStream();
    }
    return {out.getData(), completed};
}

Rewrite rewrite(void const* data, std::size_t size)
{
    MemoryInputStream in(data, size);
    return rewrite(in);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    // The bytes in pieces are read through the handlers.
    std::optional<Rewrite> const first = Fuzz::readWholeAndInPieces(
        data, size, [](InputStream& in) { return rewrite(in); },
        [](InputStream& in) { return rewrite<HandlerReader>(in); });
    if (!first)
        return 0;
    // The first rewrite settles what the stream keeps (the header text, floats, the words the
    // reader ignores); from then on the bytes must stay the same, and our own output must always
    // read to its end.
    Rewrite const second = rewrite(first->stream.data(), first->stream.size());
    if (second.stream != first->stream || !second.completed)
        std::abort();
    return 0;
}
