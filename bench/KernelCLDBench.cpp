// Text CLD of a generated program of 2 million moves: writing, reading into a null sink against the
// same file parsed line by line with fgets and sscanf, and the peak memory of a read.
#include "FileFormatBench.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/io/KernelCLDWriter.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 2'000'000;

// A milling program in passes of 100 moves: a rapid approach, straight cuts, five-axis cuts, arcs
// both ways, a lead-out at another feedrate and a five-axis rapid retract.
bool sendProgram(NCStream& s)
{
    Bench::MillingPattern const pattern;
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    unsigned int const leadOut = NCStream::getMovementFlags(NCStream::MOVEMENT_LEAD_OUT);
    unsigned int const absolute = NCStream::FLAG_ABSOLUTE_DIRECTION;
    Vector3D const z(0, 0, 1);
    if (!s.onOpen() || !s.onSection())
        return false;
    int phase = 0;
    for (std::int64_t i = 0; i < Moves; ++i) {
        Vector3D const at = pattern.point(i);
        bool go;
        if (phase == 0)
            go = s.onRapid({at.x, at.y, 10.0}, 0);
        else if (phase < 60)
            go = s.onLinear(at, 1200.0, cut);
        else if (phase < 80)
            go = s.onLinear5D(at, pattern.axis(i), 800.0, cut | absolute);
        else if (phase < 96)
            go = (phase & 1) != 0 ? s.onCWArc({at.x - 1.0, at.y, at.z}, at, z, 900.0, cut)
                                  : s.onCCWArc({at.x - 1.0, at.y, at.z}, at, z, 900.0, cut);
        else if (phase < 99)
            go = s.onLinear(at, 600.0, leadOut);
        else
            go = s.onRapid5D({at.x, at.y, 10.0}, pattern.axis(i), absolute);
        if (!go)
            return false;
        if (++phase == 100)
            phase = 0;
    }
    return s.onSectionEnd() && s.onClose();
}

void writeProgram(std::filesystem::path const& path) { Bench::writeThroughFile<KernelCLDWriter>(path, sendProgram); }

bool replay(std::filesystem::path const& path) { return Bench::replayIntoNullSink<KernelCLDReader>(path); }

Bench::FileFormat const program("KernelCLDBench", ".cld", writeProgram, replay);

// The moves and the sum of every number of them, in the order each parse meets them: both parses
// must agree to the bit.
struct Totals {
    std::int64_t moves = 0;
    double sum = 0.0;
    void add(Vector3D const& v) { sum += v.x, sum += v.y, sum += v.z; }
    bool operator==(Totals const&) const = default;
};

// Sums what the reader sends: positions, directions, arc centres and normals, feedrates.
class SummingStream final : public NCStreamDefaultImpl {
public:
    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onRapid5D;

    Totals totals;

    bool onRapid(Vector3D const& end, unsigned int) override { return move(end), true; }
    bool onRapid5D(Vector3D const& end, Vector3D const& axis, unsigned int) override
    {
        move(end), totals.add(axis);
        return true;
    }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int) override
    {
        move(end), totals.sum += feedrate;
        return true;
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& axis, double feedrate, unsigned int) override
    {
        move(end), totals.add(axis), totals.sum += feedrate;
        return true;
    }
    bool onCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int) override
    {
        return arc(c, e, n, f);
    }
    bool onCCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int) override
    {
        return arc(c, e, n, f);
    }
    bool onCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int) override
    {
        return arc(c, e, n, f);
    }
    bool onCCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int) override
    {
        return arc(c, e, n, f);
    }

private:
    void move(Vector3D const& end)
    {
        ++totals.moves;
        totals.add(end);
    }
    bool arc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate)
    {
        move(end), totals.add(center), totals.add(normal), totals.sum += feedrate;
        return true;
    }
};

Totals readTotals(std::filesystem::path const& path)
{
    FileInputStream file(path.wstring());
    SummingStream sink;
    KernelCLDReader reader;
    reader.setNCStream(&sink);
    reader.import(&file);
    return sink.totals;
}

// The plain way: fgets each line, sscanf the numbers of GOTO, ARC and FEEDRATE, and follow the
// movements the program uses. Arcs take the normal to the positive side as the reader does.
Totals scanTotals(std::filesystem::path const& path)
{
    Totals totals;
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (file == nullptr)
        return totals;
    char line[4096];
    bool rapid = false;
    double feedrate = 0.0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        double v[9];
        if (std::strncmp(line, "GOTO,", 5) == 0) {
            int const count = std::sscanf(line + 4, ", %lf, %lf, %lf, %lf, %lf, %lf", v, v + 1, v + 2, v + 3, v + 4, v + 5);
            ++totals.moves;
            for (int i = 0; i < count; ++i)
                totals.sum += v[i];
            if (!rapid)
                totals.sum += feedrate;
        } else if (std::strncmp(line, "ARC,", 4) == 0) {
            std::sscanf(line + 3, ", %lf, %lf, %lf, %lf, %lf, %lf, %lf, %lf, %lf", v, v + 1, v + 2, v + 3, v + 4, v + 5,
                v + 6, v + 7, v + 8);
            bool const positive = v[8] != 0 ? v[8] > 0 : v[7] != 0 ? v[7] > 0 : v[6] >= 0;
            for (int i = 6; i < 9 && !positive; ++i)
                v[i] = 0.0 - v[i];
            ++totals.moves;
            for (double value : v)
                totals.sum += value;
            totals.sum += rapid ? 0.0 : feedrate;
        } else if (std::strncmp(line, "FEEDRATE,", 9) == 0) {
            std::sscanf(line + 8, ", %lf", &feedrate);
        } else if (std::strcmp(line, "RAPID\n") == 0) {
            rapid = true;
        } else if (std::strcmp(line, "CUTTING\n") == 0 || std::strcmp(line, "LEAD_OUT\n") == 0) {
            rapid = false;
        }
    }
    std::fclose(file);
    return totals;
}

void KernelCLDWriteVsPageCacheWrite(benchmark::State& state)
{
    Bench::Pair const times = program.writeVsPageCache(state);
    auto const bytes = static_cast<double>(program.size());
    state.SetItemsProcessed(Moves * state.iterations());
    state.counters["file_MB"] = bytes / 1e6;
    state.counters["writer_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestFormat / 1e6;
    state.counters["writer_vs_write_pct"] = 100.0 * times.bestPlain / times.bestFormat;
}

// Each iteration times a read into a null sink and the sscanf parse of the same file; the
// iteration's time is the reader's.
void KernelCLDReadVsSscanf(benchmark::State& state)
{
    if (!std::filesystem::exists(program.file))
        program.write();
    Totals const read = readTotals(program.file);
    Totals const scanned = scanTotals(program.file);
    if (read.moves != Moves || !(read == scanned)) {
        state.SkipWithError("the reader and the sscanf parse disagree");
        return;
    }
    Bench::Pair times;
    for (auto _ : state) {
        Bench::Clock::time_point start = Bench::Clock::now();
        if (!replay(program.file))
            state.SkipWithError("the replay stopped");
        double const reader = Bench::secondsSince(start);
        start = Bench::Clock::now();
        benchmark::DoNotOptimize(scanTotals(program.file));
        double const plain = Bench::secondsSince(start);
        state.SetIterationTime(reader);
        times.take(reader, plain);
    }
    state.SetItemsProcessed(Moves * state.iterations());
    state.counters["reader_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestFormat / 1e6;
    state.counters["sscanf_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestPlain / 1e6;
    state.counters["reader_vs_sscanf_x"] = times.bestPlain / times.bestFormat;
}

void KernelCLDReplayPeakMemory(benchmark::State& state) { program.replayPeakMemory(state); }

} // namespace

BENCHMARK(KernelCLDWriteVsPageCacheWrite)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelCLDReadVsSscanf)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(KernelCLDReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return program.run(argc, argv); }
