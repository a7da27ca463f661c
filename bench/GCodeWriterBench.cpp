// GCodeWriter and XMLNCWriter writing the same program of 10 million moves (rapids, lines, arcs in
// XY) into a counting sink: moves per second of each, and G-code's over XML's (aim: 0.8 or more).
#include "FileFormatBench.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/GCodeWriter.h"
#include "nc/nc/io/XMLNCWriter.h"
#include "util/utility/io/OutputStream.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 10'000'000;
constexpr std::int64_t Timestamp = 1'700'000'000;

// Counts the bytes it is given and keeps none.
class CountingSink final : public OutputStream {
public:
    void write(void const*, std::size_t size) override { count += size; }
    std::uint64_t count = 0;
};

// A three-axis milling program in passes of 100 moves over the points of Bench::MillingPattern: a
// rapid approach above the next point, a plunge, straight cuts, half circles in XY alternately
// clockwise and counter-clockwise (each from the point before to the next, about the midpoint, so
// that start and end radius agree), and a rapid retract. Three feedrates, so that F words come
// and go.
bool sendProgram(NCStream& s)
{
    Bench::MillingPattern const pattern;
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    unsigned int const plunge = NCStream::getMovementFlags(NCStream::MOVEMENT_PLUNGE);
    Vector3D const z(0, 0, 1);
    NCContext context;
    NCTool tool;
    tool.setType(ToolGeometry::FLAT_END_MILL);
    tool.setDiameter(6);
    tool.setNumber(1);
    tool.setSpindleRPM(12000);
    if (!s.onOpen() || !s.onContext(context) || !s.onTool(tool) || !s.onSection())
        return false;
    int phase = 0;
    Vector3D previous;
    for (std::int64_t i = 0; i < Moves; ++i) {
        Vector3D const at = pattern.point(i);
        bool go;
        if (phase == 0) {
            Vector3D const next = pattern.point(i + 1);
            go = s.onRapid({next.x, next.y, 10.0}, 0);
        } else if (phase == 99)
            go = s.onRapid({previous.x, previous.y, 10.0}, 0);
        else if (phase == 1)
            go = s.onLinear(at, 300.0, plunge);
        else if (phase >= 70 && phase < 86) {
            Vector3D const center = (previous + at) * 0.5;
            go = (phase & 1) != 0 ? s.onCWArc(center, at, z, 900.0, cut) : s.onCCWArc(center, at, z, 900.0, cut);
        } else
            go = s.onLinear(at, 1200.0, cut);
        if (!go)
            return false;
        if (phase != 0 && phase != 99)
            previous = at;
        if (++phase == 100)
            phase = 0;
    }
    return s.onSectionEnd() && s.onClose();
}

// Moves per processor second, so that other work on the shared machine does not skew the ratio.
std::optional<double> gcodeRate, xmlRate;

// Sends the program through a writer into a counting sink once per iteration; write(sink) builds
// the writer and returns sendProgram's result.
template <class Write> double measure(benchmark::State& state, Write write)
{
    std::uint64_t bytes = 0;
    double seconds = 0.0;
    for (auto _ : state) {
        CountingSink sink;
        std::clock_t const start = std::clock();
        bool const ok = write(sink);
        seconds += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        if (!ok)
            state.SkipWithError("the writer refused an event");
        bytes = sink.count;
    }
    auto const moves = static_cast<double>(state.iterations() * Moves);
    state.counters["moves"] = benchmark::Counter(moves, benchmark::Counter::kIsRate);
    state.counters["file_MB"] = static_cast<double>(bytes) / 1e6;
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    return moves / seconds;
}

bool writeGCode(CountingSink& sink)
{
    GCodeWriter writer(&sink);
    return sendProgram(writer);
}

bool writeXML(CountingSink& sink)
{
    XMLNCWriter writer(&sink);
    writer.setTimestamp(Timestamp);
    return sendProgram(writer);
}

// Moves per processor second of a single run, for a ratio whose other side did not run.
double onceRate(bool (*write)(CountingSink&))
{
    CountingSink sink;
    std::clock_t const start = std::clock();
    write(sink);
    return static_cast<double>(Moves) / (static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
}

void BM_XMLNCWriter(benchmark::State& state) { xmlRate = measure(state, writeXML); }

// Counter "gcode_vs_xml": G-code moves per processor second over XML's; XMLNCWriter is measured
// once here when its benchmark did not run before.
void BM_GCodeWriter(benchmark::State& state)
{
    gcodeRate = measure(state, writeGCode);
    if (!xmlRate)
        xmlRate = onceRate(writeXML);
    state.counters["gcode_vs_xml"] = *gcodeRate / *xmlRate;
}

} // namespace

BENCHMARK(BM_XMLNCWriter)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GCodeWriter)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (gcodeRate && xmlRate)
        std::printf("\nGCodeWriter writes %.1f million moves per second, XMLNCWriter %.1f million: %.2f times\n",
            *gcodeRate / 1e6, *xmlRate / 1e6, *gcodeRate / *xmlRate);
    return 0;
}
