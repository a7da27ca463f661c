// Compact NCI writing and replay of a generated program of 10 million moves, each measured against
// this machine's page-cache bandwidth for a file of the same size, and the peak memory of a replay.
#include "FileFormatBench.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 10'000'000;

void writeProgram(std::filesystem::path const& path)
{
    Bench::writeThroughFile<CompactNCIWriter>(path, [](NCStream& s) { return Bench::sendMillingProgram(s, Moves); });
}

bool replay(std::filesystem::path const& path) { return Bench::replayIntoNullSink<CompactNCIReader>(path); }

Bench::FileFormat const program("CompactNCIBench", ".nci", writeProgram, replay);

void CompactNCIWriteVsPageCacheWrite(benchmark::State& state)
{
    Bench::Pair const times = program.writeVsPageCache(state);
    Bench::reportWriting(state, times, static_cast<double>(program.size()));
}

void CompactNCIReplayVsPageCacheRead(benchmark::State& state)
{
    Bench::Pair const times
        = program.replayVsPageCache(state, [] { return replay(program.file); }, "the replay stopped");
    Bench::reportReplay(state, times, static_cast<double>(program.size()), Moves);
}

void CompactNCIReplayPeakMemory(benchmark::State& state) { program.replayPeakMemory(state); }

} // namespace

BENCHMARK(CompactNCIWriteVsPageCacheWrite)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CompactNCIReplayVsPageCacheRead)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CompactNCIReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return program.run(argc, argv); }
