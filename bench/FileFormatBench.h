// Harness of the file-format benchmarks: a format's writing and replay against the page cache, and the peak memory of a replay.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"
#include "util/utility/math/Vector3D.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Quarn::Bench {

// Block size of the plain reads and writes that measure the page cache.
constexpr std::size_t BlockSize = 1 << 20;
constexpr double GB = 1e9;

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A file of this process in the temporary folder, so that runs side by side do not meet.
inline std::filesystem::path temporaryPath(std::string_view program, char const* name)
{
    return std::filesystem::temp_directory_path()
        / (std::string(program) + "-" + std::to_string(getpid()) + name);
}

inline void writePlain(std::filesystem::path const& path, std::uint64_t size)
{
    auto block = std::make_unique<char[]>(BlockSize);
    std::fill_n(block.get(), BlockSize, 'x');
    FileOutputStream file(path.wstring());
    for (std::uint64_t left = size; left != 0;) {
        std::size_t const count = static_cast<std::size_t>(std::min<std::uint64_t>(left, BlockSize));
        file.write(block.get(), count);
        left -= count;
    }
    file.close();
}

inline void readPlain(std::filesystem::path const& path)
{
    auto block = std::make_unique<char[]>(BlockSize);
    FileInputStream file(path.wstring());
    while (file.read(block.get(), BlockSize) != 0) { }
}

// The points and tool axes of a generated milling program, in tables made up front, so that making
// up the program costs little beside the writing that is measured.
class MillingPattern {
public:
    MillingPattern() : row(4096)
    {
        for (std::size_t i = 0; i < axes.size(); ++i) {
            double const angle = 0.01 * static_cast<double>(i);
            axes[i] = {std::sin(angle), 0.0, std::cos(angle)};
        }
        for (std::size_t step = 0; step < row.size(); ++step)
            row[step] = {0.25 * static_cast<double>(step), 0.0, -0.5 - 0.001 * static_cast<double>(step)};
    }
    // Move i's point: rows of 4096 points along x, sinking slowly, 256 rows side by side.
    Vector3D point(std::int64_t i) const
    {
        Vector3D at = row[static_cast<std::size_t>(i & 0xFFF)];
        at.y = static_cast<double>((i >> 12) & 0xFF);
        return at;
    }
    // Move i's tool axis, tilted from z about y by up to 0.63 radians.
    Vector3D const& axis(std::int64_t i) const { return axes[static_cast<std::size_t>(i & 63)]; }

private:
    std::array<Vector3D, 64> axes;
    std::vector<Vector3D> row;
};

// A milling program of the given number of moves after a context and a ball-end mill: passes of
// 100 moves, a rapid approach, straight cuts, arcs both ways, five-axis cuts with their tool axes
// and a rapid retract. Points and directions come from MillingPattern.
inline bool sendMillingProgram(NCStream& s, std::int64_t moves)
{
    MillingPattern const pattern;
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
    for (std::int64_t i = 0; i < moves; ++i) {
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
            go = s.onLinear5D(at, pattern.axis(i), 800.0, cut | NCStream::FLAG_ABSOLUTE_DIRECTION);
        if (!go)
            return false;
        if (++phase == 100)
            phase = 0;
    }
    return s.onSectionEnd() && s.onClose();
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

// Writes a program through a Writer as quarnnc writes its output files: the file on a thread of
// its own, behind the writer.
template <class Writer, class Send> void writeThroughFile(std::filesystem::path const& path, Send const& send)
{
    FileOutputStream file(path.wstring());
    WriteBehindOutputStream behind(&file);
    Writer writer(&behind);
    send(writer);
    behind.close();
}

// Replays a file through a Reader into a sink that accepts everything.
template <class Reader> bool replayIntoNullSink(std::filesystem::path const& path)
{
    FileInputStream file(path.wstring());
    NCStreamDefaultImpl sink;
    Reader reader;
    reader.setNCStream(&sink);
    return reader.import(&file);
}

// The counters of a writer timed against plain writes of as many bytes.
inline void reportWriting(benchmark::State& state, Pair const& times, double bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["file_MB"] = bytes / 1e6;
    state.counters["writer_GBps"] = bytes / times.bestFormat / GB;
    state.counters["page_cache_write_GBps"] = bytes / times.bestPlain / GB;
    state.counters["writer_vs_write_pct"] = 100.0 * times.bestPlain / times.bestFormat;
}

// The counters of a replay of moves timed against plain reads of the same file.
inline void reportReplay(benchmark::State& state, Pair const& times, double bytes, std::int64_t moves)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(moves * state.iterations());
    state.counters["replay_GBps"] = bytes / times.bestFormat / GB;
    state.counters["page_cache_read_GBps"] = bytes / times.bestPlain / GB;
    state.counters["replay_vs_read_pct"] = 100.0 * times.bestPlain / times.bestFormat;
}

// VmHWM (peak resident set) of this process in KiB.
inline long peakResidentKiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

constexpr std::string_view ChildOption = "--replay-child";

// A format under measurement: its file, a plain file to compare with, and how a file of the
// format is written and replayed (true: to its end).
class FileFormat {
public:
    using Write = void (*)(std::filesystem::path const&);
    using Replay = bool (*)(std::filesystem::path const&);

    FileFormat(std::string_view program, char const* extension, Write write, Replay replay)
        : file(temporaryPath(program, extension)), plain(temporaryPath(program, ".bin")), writeFile(write),
          replayFile(replay)
    {
    }

    std::filesystem::path const file;
    std::filesystem::path const plain;

    void write() const { writeFile(file); }
    std::uint64_t size() const { return std::filesystem::file_size(file); }

    // Times a write of the format and a plain write of as many bytes in each iteration; the
    // iteration's time is the format's.
    Pair writeVsPageCache(benchmark::State& state) const
    {
        Pair times;
        for (auto _ : state) {
            // Each write starts with nothing dirty: the system's write-back of the last one must
            // not run while the next is timed.
            ::sync();
            Clock::time_point start = Clock::now();
            write();
            double const format = secondsSince(start);
            ::sync();
            start = Clock::now();
            writePlain(plain, size());
            double const plainTime = secondsSince(start);
            state.SetIterationTime(format);
            times.take(format, plainTime);
        }
        // Only the format's file is read later; the system need not keep the other in its cache.
        std::error_code ignored;
        std::filesystem::remove(plain, ignored);
        return times;
    }

    // Times replayOnce() and a plain read of the format's file in each iteration; the
    // iteration's time is the replay's. A replay that returns false skips with failure.
    template <class ReplayOnce>
    Pair replayVsPageCache(benchmark::State& state, ReplayOnce replayOnce, char const* failure) const
    {
        if (!std::filesystem::exists(file))
            write();
        // The system writes back what the writing benchmark left dirty: not while reading is timed.
        ::sync();
        Pair times;
        for (auto _ : state) {
            Clock::time_point start = Clock::now();
            if (!replayOnce())
                state.SkipWithError(failure);
            double const format = secondsSince(start);
            start = Clock::now();
            readPlain(file);
            double const plainTime = secondsSince(start);
            state.SetIterationTime(format);
            times.take(format, plainTime);
        }
        return times;
    }

    // The peak resident set of a replay, in a process of its own that starts with nothing of
    // this one's benchmarks in its memory.
    void replayPeakMemory(benchmark::State& state) const
    {
        if (!std::filesystem::exists(file))
            write();
        std::string const command = std::filesystem::read_symlink("/proc/self/exe").string() + " "
            + std::string(ChildOption) + " " + file.string();
        long before = 0;
        long peak = 0;
        for (auto _ : state) {
            std::FILE* child = popen(command.c_str(), "r");
            if (child == nullptr || std::fscanf(child, "%ld %ld", &before, &peak) != 2 || pclose(child) != 0)
                state.SkipWithError("the replay process failed");
        }
        state.counters["file_MB"] = static_cast<double>(size()) / 1e6;
        state.counters["peak_rss_MiB"] = static_cast<double>(peak) / 1024.0;
        state.counters["rss_growth_MiB"] = static_cast<double>(peak - before) / 1024.0;
    }

    // The program's main: the replay child when called with ChildOption, else the benchmarks,
    // after which it removes its files.
    int run(int argc, char** argv) const
    {
        if (argc == 3 && argv[1] == ChildOption)
            return replayChild(argv[2]);
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv))
            return 1;
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
        std::filesystem::remove(plain, ignored);
        return 0;
    }

private:
    Write writeFile;
    Replay replayFile;

    // Runs in a process of its own: prints the peak resident set before and after a replay.
    int replayChild(char const* path) const
    {
        long const before = peakResidentKiB();
        bool const replayed = replayFile(path);
        std::printf("%ld %ld\n", before, peakResidentKiB());
        return replayed ? 0 : 1;
    }
};

} // namespace Quarn::Bench
