// Compact NCI writing and replay of a generated program of 10 million moves, each measured against
// this machine's page-cache bandwidth for a file of the same size, and the peak memory of a replay.
#include "FileFormatBench.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 10'000'000;

// A milling program: passes of a rapid approach, straight cuts, arcs and five-axis moves over rows
// of 4096 points. Points and directions come from Bench::MillingPattern.
bool sendProgram(NCStream& s)
{
    Bench::MillingPattern const pattern;
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    unsigned int const rapid = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
    Vector3D const z(0, 0, 1);
    NCContext context;
    NCTool tool;
    tool.setType(ToolGeometry::BALL_END_MILL);
    tool.setDiameter(6);
    if (!s.onOpen() || !s.onContext(context) || !s.onTool(tool) || !s.onSection())
        return false;
    int phase = 0; // of a pass of 100 moves
    for (std::int64_t i = 0; i < Moves; ++i) {
        Vector3D const at = pattern.point(i);
        bool go;
        if (phase == 0 || phase == 99)
            go = s.onRapid({at.x, at.y, 10.0}, rapid);
        else if (phase < 70)
            go = s.onLinear(at, 1200.0, cut);
        else if (phase < 86)
            go = (phase & 1) != 0 ? s.onCWArc({at.x - 1.0, at.y, at.z}, at, z, 900.0, cut)
                                  : s.onCCWArc({at.x - 1.0, at.y, at.z}, at, z, 900.0, cut);
        else
            go = s.onLinear5D(at, pattern.axis(i), 800.0, cut);
        if (!go)
            return false;
        if (++phase == 100)
            phase = 0;
    }
    return s.onSectionEnd() && s.onClose();
}

// Written as quarnnc writes its output files: the file on a thread of its own, behind the writer.
void writeProgram(std::filesystem::path const& path)
{
    FileOutputStream file(path.wstring());
    WriteBehindOutputStream behind(&file);
    CompactNCIWriter writer(&behind);
    sendProgram(writer);
    behind.close();
}

bool replay(std::filesystem::path const& path)
{
    FileInputStream file(path.wstring());
    NCStreamDefaultImpl sink;
    CompactNCIReader reader;
    reader.setNCStream(&sink);
    return reader.import(&file);
}

Bench::FileFormat const program("CompactNCIBench", ".nci", writeProgram, replay);

void CompactNCIWriteVsPageCacheWrite(benchmark::State& state)
{
    Bench::Pair const times = program.writeVsPageCache(state);
    auto const bytes = static_cast<double>(program.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["file_MB"] = bytes / 1e6;
    state.counters["writer_GBps"] = bytes / times.bestFormat / Bench::GB;
    state.counters["page_cache_write_GBps"] = bytes / times.bestPlain / Bench::GB;
    state.counters["writer_vs_write_pct"] = 100.0 * times.bestPlain / times.bestFormat;
}

void CompactNCIReplayVsPageCacheRead(benchmark::State& state)
{
    Bench::Pair const times
        = program.replayVsPageCache(state, [] { return replay(program.file); }, "the replay stopped");
    auto const bytes = static_cast<double>(program.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(Moves * state.iterations());
    state.counters["replay_GBps"] = bytes / times.bestFormat / Bench::GB;
    state.counters["page_cache_read_GBps"] = bytes / times.bestPlain / Bench::GB;
    state.counters["replay_vs_read_pct"] = 100.0 * times.bestPlain / times.bestFormat;
}

void CompactNCIReplayPeakMemory(benchmark::State& state) { program.replayPeakMemory(state); }

} // namespace

BENCHMARK(CompactNCIWriteVsPageCacheWrite)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CompactNCIReplayVsPageCacheRead)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CompactNCIReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return program.run(argc, argv); }
