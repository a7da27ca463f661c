// Cutter location data writing and replay of a generated program of 10 million moves, each measured
// against this machine's page-cache bandwidth for a file of the same size, and the peak memory of a replay.
#include "FileFormatBench.h"
#include "nc/nc/io/CutterLocationDataReader.h"
#include "nc/nc/io/CutterLocationDataWriter.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 10'000'000;

void writeProgram(std::filesystem::path const& path)
{
    Bench::writeThroughFile<CutterLocationDataWriter>(path, [](NCStream& s) { return Bench::sendMillingProgram(s, Moves); });
}

bool replay(std::filesystem::path const& path) { return Bench::replayIntoNullSink<CutterLocationDataReader>(path); }

Bench::FileFormat const program("CutterLocationDataBench", ".cld", writeProgram, replay);

void CutterLocationDataWriteVsPageCacheWrite(benchmark::State& state)
{
    Bench::Pair const times = program.writeVsPageCache(state);
    Bench::reportWriting(state, times, static_cast<double>(program.size()));
}

void CutterLocationDataReplayVsPageCacheRead(benchmark::State& state)
{
    Bench::Pair const times = program.replayVsPageCache(
        state, [] { return replay(program.file); }, "the replay stopped");
    Bench::reportReplay(state, times, static_cast<double>(program.size()), Moves);
}

void CutterLocationDataReplayPeakMemory(benchmark::State& state) { program.replayPeakMemory(state); }

} // namespace

BENCHMARK(CutterLocationDataWriteVsPageCacheWrite)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CutterLocationDataReplayVsPageCacheRead)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CutterLocationDataReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return program.run(argc, argv); }
