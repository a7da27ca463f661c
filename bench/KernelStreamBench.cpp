// Kernel toolpath stream writing and replay of a generated toolpath of 10 million entities, each
// measured against this machine's page-cache bandwidth for a file of the same size, and the peak
// memory of a replay.
#include "FileFormatBench.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/kernelstream/KernelNCReader.h"
#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelReader.h"
#include "nc/nc/kernelstream/KernelStream.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>

using namespace Quarn;

namespace {

constexpr std::int64_t Entities = 10'000'000;

// A milling toolpath: passes of a rapid approach, straight cuts, arcs and five-axis lines over
// rows of 4096 points. Points and directions come from Bench::MillingPattern.
void sendToolpath(KernelOutputInterface& w)
{
    Bench::MillingPattern const pattern;
    Vector3D const z(0, 0, 1);
    Vector3D const minusZ(0, 0, -1);
    w.writeHeader();
    w.writeToolpathOpen();
    int phase = 0; // of a pass of 100 entities
    for (std::int64_t i = 0; i < Entities; ++i) {
        Vector3D const at = pattern.point(i);
        if (phase == 0 || phase == 99)
            w.writeLine({at.x, at.y, 10.0}, NCStream::MOVEMENT_RAPID);
        else if (phase < 70)
            w.writeLine(at, NCStream::MOVEMENT_CUTTING);
        else if (phase < 86)
            w.writeArc(at, {at.x - 1.0, at.y, at.z}, (phase & 1) != 0 ? minusZ : z, NCStream::MOVEMENT_CUTTING);
        else
            w.writeLine(at, pattern.axis(i), NCStream::MOVEMENT_CUTTING);
        if (++phase == 100)
            phase = 0;
    }
    w.writeToolpathClose();
    w.writeEnd();
}

// Written as quarnnc writes its output files: the file on a thread of its own, behind the writer.
void writeStream(std::filesystem::path const& path)
{
    FileOutputStream file(path.wstring());
    WriteBehindOutputStream behind(&file);
    {
        KernelOutputStream writer(&behind);
        sendToolpath(writer);
        writer.flushStream();
    }
    behind.close();
}

bool replay(std::filesystem::path const& path, std::uint64_t* entities)
{
    FileInputStream file(path.wstring());
    KernelStream sink;
    KernelReader reader(&sink);
    reader.open(&file);
    return reader.read(entities) && reader.hasEndedNormally();
}

Bench::FileFormat const stream(
    "KernelStreamBench", ".kts", writeStream, [](std::filesystem::path const& path) { return replay(path, nullptr); });

void KernelStreamWriteVsPageCacheWrite(benchmark::State& state)
{
    Bench::Pair const times = stream.writeVsPageCache(state);
    auto const bytes = static_cast<double>(stream.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(Entities * state.iterations());
    state.counters["file_MB"] = bytes / 1e6;
    state.counters["writer_GBps"] = bytes / times.bestFormat / Bench::GB;
    state.counters["page_cache_write_GBps"] = bytes / times.bestPlain / Bench::GB;
    state.counters["vs_page_cache"] = times.bestPlain / times.bestFormat;
}

void KernelStreamReplayVsPageCacheRead(benchmark::State& state)
{
    auto const replayOnce = [] {
        std::uint64_t entities = 0;
        return replay(stream.file, &entities) && entities == static_cast<std::uint64_t>(Entities) + 5;
    };
    Bench::Pair const times = stream.replayVsPageCache(state, replayOnce, "the replay stopped early");
    auto const bytes = static_cast<double>(stream.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(Entities * state.iterations());
    state.counters["replay_GBps"] = bytes / times.bestFormat / Bench::GB;
    state.counters["page_cache_read_GBps"] = bytes / times.bestPlain / Bench::GB;
    state.counters["vs_page_cache"] = times.bestPlain / times.bestFormat;
}

// The same file read as an NC program: KernelNCReader, the binder to NC events and a null sink.
void KernelNCReaderReplayVsPageCacheRead(benchmark::State& state)
{
    auto const replayOnce = [] {
        FileInputStream file(stream.file.wstring());
        NCStreamDefaultImpl sink;
        KernelNCReader reader;
        reader.setNCStream(&sink);
        return reader.import(&file);
    };
    Bench::Pair const times = stream.replayVsPageCache(state, replayOnce, "the NC replay stopped early");
    auto const bytes = static_cast<double>(stream.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.SetItemsProcessed(Entities * state.iterations());
    state.counters["replay_GBps"] = bytes / times.bestFormat / Bench::GB;
    state.counters["vs_page_cache"] = times.bestPlain / times.bestFormat;
}

void KernelStreamReplayPeakMemory(benchmark::State& state) { stream.replayPeakMemory(state); }

} // namespace

BENCHMARK(KernelStreamWriteVsPageCacheWrite)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelStreamReplayVsPageCacheRead)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelNCReaderReplayVsPageCacheRead)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelStreamReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return stream.run(argc, argv); }
