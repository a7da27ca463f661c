// Cost of comparing two programs by their paths: the 10-million-move mixed program (lines and arcs)
// as a compact NCI file against its own conversion to G-code and against itself, with the rate
// of the comparison against the replay of each file alone into a null sink, and the peak resident
// set of the process (the comparison keeps a few chunks of pieces whatever the size).
#include "FileFormatBench.h"
#include "MixedProgram.h"
#include "nc/nc/NCCompare.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/GCodeWriter.h"
#include "util/utility/io/FileInputStream.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <functional>
#include <string>

using namespace Quarn;

namespace {

using Source = NCCompare::Source;

char const* const Files[] = {"-mixed.nci", "-mixed.ngc"};

std::filesystem::path fileOf(char const* name) { return Bench::temporaryPath("NCCompareBench", name); }

// The program written once as the file, and a source that replays the file.
template <class Writer, class Reader> Source fileSource(char const* name)
{
    std::filesystem::path const path = fileOf(name);
    if (!std::filesystem::exists(path))
        Bench::writeThroughFile<Writer>(path, Bench::send);
    return [path](NCStream& stream) {
        FileInputStream file(path.wstring());
        Reader reader;
        reader.setNCStream(&stream);
        return reader.import(&file);
    };
}

double secondsOf(std::function<void()> const& work)
{
    Bench::Clock::time_point const start = Bench::Clock::now();
    work();
    return Bench::secondsSince(start);
}

// Each iteration replays both files alone and then compares them; the iteration time is the
// comparison's. The ratios are the comparison's rate over the rate of each replay alone.
void BM_Compare(benchmark::State& state, Source const& a, Source const& b)
{
    NCStreamDefaultImpl sink;
    NCCompare const compare;
    double aloneA = 0.0, aloneB = 0.0, compared = 0.0;
    bool agree = true;
    for (auto _ : state) {
        aloneA += secondsOf([&] { benchmark::DoNotOptimize(a(sink)); });
        aloneB += secondsOf([&] { benchmark::DoNotOptimize(b(sink)); });
        double const seconds = secondsOf([&] { agree = compare.compare(a, b).agree() && agree; });
        compared += seconds;
        state.SetIterationTime(seconds);
    }
    double const moves = static_cast<double>(Bench::Moves) * static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Bench::Moves));
    state.counters["a_alone_Mmoves_per_s"] = moves / aloneA / 1e6;
    state.counters["b_alone_Mmoves_per_s"] = moves / aloneB / 1e6;
    state.counters["compare_Mmoves_per_s"] = moves / compared / 1e6;
    // Goal: 0.3 or more of the replay of one of the programs.
    state.counters["ratio_to_a"] = aloneA / compared;
    state.counters["ratio_to_b"] = aloneB / compared;
    state.counters["peak_rss_MiB"] = static_cast<double>(Bench::peakResidentKiB()) / 1024.0;
    if (!agree)
        state.SkipWithError("the programs do not agree");
}

} // namespace

int main(int argc, char** argv)
{
    Bench::section(); // generated before anything is timed
    Source const nci = fileSource<CompactNCIWriter, CompactNCIReader>(Files[0]);
    Source const gcode = fileSource<GCodeWriter, GCodeReader>(Files[1]);
    benchmark::RegisterBenchmark("BM_Compare/CompactNCI/GCode", BM_Compare, nci, gcode)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("BM_Compare/CompactNCI/CompactNCI", BM_Compare, nci, nci)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (char const* name : Files) {
        std::error_code ignored;
        std::filesystem::remove(fileOf(name), ignored);
    }
    return 0;
}
