// Kernel toolpath stream writing and replay of a generated toolpath of 10 million entities, each
// measured against this machine's page-cache bandwidth for a file of the same size, and the peak
// memory of a replay.
#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelReader.h"
#include "nc/nc/kernelstream/KernelStream.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

using namespace Quarn;

namespace {

constexpr std::int64_t Entities = 10'000'000;
// Block size of the plain reads and writes that measure the page cache.
constexpr std::size_t BlockSize = 1 << 20;
constexpr double GB = 1e9;

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

std::filesystem::path temporaryPath(char const* name)
{
    return std::filesystem::temp_directory_path()
        / (std::string("KernelStreamBench-") + std::to_string(getpid()) + name);
}

std::filesystem::path const streamPath = temporaryPath(".kts");
std::filesystem::path const plainPath = temporaryPath(".bin");

// A milling toolpath: passes of a rapid approach, straight cuts, arcs and five-axis lines over
// rows of 4096 points. Points and directions come from tables, so that making up the toolpath
// costs little beside the writing that is measured.
void sendToolpath(KernelOutputInterface& w)
{
    std::array<Vector3D, 64> directions;
    for (std::size_t i = 0; i < directions.size(); ++i) {
        double const angle = 0.01 * static_cast<double>(i);
        directions[i] = {std::sin(angle), 0.0, std::cos(angle)};
    }
    std::vector<Vector3D> row(4096);
    for (std::size_t step = 0; step < row.size(); ++step)
        row[step] = {0.25 * static_cast<double>(step), 0.0, -0.5 - 0.001 * static_cast<double>(step)};
    Vector3D const z(0, 0, 1);
    Vector3D const minusZ(0, 0, -1);
    w.writeHeader();
    w.writeToolpathOpen();
    int phase = 0; // of a pass of 100 entities
    for (std::int64_t i = 0; i < Entities; ++i) {
        Vector3D at = row[static_cast<std::size_t>(i & 0xFFF)];
        at.y = static_cast<double>((i >> 12) & 0xFF);
        if (phase == 0 || phase == 99)
            w.writeLine({at.x, at.y, 10.0}, NCStream::MOVEMENT_RAPID);
        else if (phase < 70)
            w.writeLine(at, NCStream::MOVEMENT_CUTTING);
        else if (phase < 86)
            w.writeArc(at, {at.x - 1.0, at.y, at.z}, (phase & 1) != 0 ? minusZ : z, NCStream::MOVEMENT_CUTTING);
        else
            w.writeLine(at, directions[static_cast<std::size_t>(i & 63)], NCStream::MOVEMENT_CUTTING);
        if (++phase == 100)
            phase = 0;
    }
    w.writeToolpathClose();
    w.writeEnd();
}

// Written as quarnnc writes its output files: the file on a thread of its own, behind the writer.
void writeStream()
{
    FileOutputStream file(streamPath.wstring());
    WriteBehindOutputStream behind(&file);
    {
        KernelOutputStream writer(&behind);
        sendToolpath(writer);
        writer.flushStream();
    }
    behind.close();
}

std::uint64_t streamSize() { return std::filesystem::file_size(streamPath); }

void writePlain(std::uint64_t size)
{
    auto block = std::make_unique<char[]>(BlockSize);
    std::fill_n(block.get(), BlockSize, 'x');
    FileOutputStream file(plainPath.wstring());
    for (std::uint64_t left = size; left != 0;) {
        std::size_t const count = static_cast<std::size_t>(std::min<std::uint64_t>(left, BlockSize));
        file.write(block.get(), count);
        left -= count;
    }
    file.close();
}

void readPlain()
{
    auto block = std::make_unique<char[]>(BlockSize);
    FileInputStream file(streamPath.wstring());
    while (file.read(block.get(), BlockSize) != 0) { }
}

bool replay(std::filesystem::path const& path, std::uint64_t* entities = nullptr)
{
    FileInputStream file(path.wstring());
    KernelStream sink;
    KernelReader reader(&sink);
    reader.open(&file);
    return reader.read(entities) && reader.hasEndedNormally();
}

// Best of the iterations for each side, so that a moment of load on the shared machine does not
// decide a ratio.
struct Pair {
    double bestFormat = 1e30;
    double bestPlain = 1e30;
    void take(double format, double plain)
    {
        bestFormat = std::min(bestFormat, format);
        bestPlain = std::min(bestPlain, plain);
    }
};

void KernelStreamWriteVsPageCacheWrite(benchmark::State& state)
{
    Pair times;
    for (auto _ : state) {
        // Each write starts with nothing dirty: the system's write-back of the last one must
        // not run while the next is timed.
        ::sync();
        Clock::time_point start = Clock::now();
        writeStream();
        double const format = secondsSince(start);
        ::sync();
        start = Clock::now();
        writePlain(streamSize());
        double const plain = secondsSince(start);
        state.SetIterationTime(format);
        times.take(format, plain);
    }
    auto const bytes = static_cast<double>(streamSize());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(Entities * state.iterations());
    state.counters["file_MB"] = bytes / 1e6;
    state.counters["writer_GBps"] = bytes / times.bestFormat / GB;
    state.counters["page_cache_write_GBps"] = bytes / times.bestPlain / GB;
    state.counters["vs_page_cache"] = times.bestPlain / times.bestFormat;
    // Only the stream is read later; the system need not keep the other file in its cache.
    std::error_code ignored;
    std::filesystem::remove(plainPath, ignored);
}

void KernelStreamReplayVsPageCacheRead(benchmark::State& state)
{
    if (!std::filesystem::exists(streamPath))
        writeStream();
    // The system writes back what the writing benchmark left dirty: not while reading is timed.
    ::sync();
    Pair times;
    for (auto _ : state) {
        Clock::time_point start = Clock::now();
        std::uint64_t entities = 0;
        if (!replay(streamPath, &entities) || entities != static_cast<std::uint64_t>(Entities) + 5)
            state.SkipWithError("the replay stopped early");
        double const format = secondsSince(start);
        start = Clock::now();
        readPlain();
        double const plain = secondsSince(start);
        state.SetIterationTime(format);
        times.take(format, plain);
    }
    auto const bytes = static_cast<double>(streamSize());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(Entities * state.iterations());
    state.counters["replay_GBps"] = bytes / times.bestFormat / GB;
    state.counters["page_cache_read_GBps"] = bytes / times.bestPlain / GB;
    state.counters["vs_page_cache"] = times.bestPlain / times.bestFormat;
}

// VmHWM (peak resident set) of this process in KiB.
long peakResidentKiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

constexpr std::string_view ChildOption = "--replay-child";

// Runs in a process of its own: prints the peak resident set before and after a replay.
int replayChild(char const* path)
{
    long const before = peakResidentKiB();
    bool const replayed = replay(path);
    std::printf("%ld %ld\n", before, peakResidentKiB());
    return replayed ? 0 : 1;
}

void KernelStreamReplayPeakMemory(benchmark::State& state)
{
    if (!std::filesystem::exists(streamPath))
        writeStream();
    std::string const command = std::filesystem::read_symlink("/proc/self/exe").string() + " "
        + std::string(ChildOption) + " " + streamPath.string();
    long before = 0;
    long peak = 0;
    for (auto _ : state) {
        std::FILE* child = popen(command.c_str(), "r");
        if (child == nullptr || std::fscanf(child, "%ld %ld", &before, &peak) != 2 || pclose(child) != 0)
            state.SkipWithError("the replay process failed");
    }
    state.counters["file_MB"] = static_cast<double>(streamSize()) / 1e6;
    state.counters["peak_rss_MiB"] = static_cast<double>(peak) / 1024.0;
    state.counters["rss_growth_MiB"] = static_cast<double>(peak - before) / 1024.0;
}

} // namespace

BENCHMARK(KernelStreamWriteVsPageCacheWrite)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelStreamReplayVsPageCacheRead)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelStreamReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    if (argc == 3 && argv[1] == ChildOption)
        return replayChild(argv[2]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ignored;
    std::filesystem::remove(streamPath, ignored);
    std::filesystem::remove(plainPath, ignored);
    return 0;
}
