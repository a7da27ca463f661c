// Cost of the analysis filters: a 10-million-move program of lines and arcs replayed into a null
// sink, alone and through each filter, with the rate of the chain against the replay alone. The
// program is replayed three ways: from memory (the events alone, no reading at all), from a
// compact NCI file (the fastest reader) and from a G-code file (the text most programs arrive in);
// the ratio of each says what the filters cost against that replay. Also the drawing of 10-million-
// move programs into SVG plots, timed as quarnnc plot runs it: a pass through NCBoundingBox, then
// one into SVGPlotWriter.
#include "FileFormatBench.h"
#include "MixedProgram.h"
#include "nc/nc/NCAnalyze.h"
#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/GCodeWriter.h"
#include "nc/nc/io/SVGPlotWriter.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/OutputStream.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

using namespace Quarn;

namespace {

using Bench::Moves;
using Bench::section;
using Bench::send;

// Where the program comes from: it is sent into the stream given, to its end.
using Source = std::function<bool(NCStream&)>;

// A finishing program as CAM systems write them by the million: zigzag rows of short moves
// (0.04 mm, a sixth of a pixel in a plot of 800 pixels) over a wavy surface of 200 x 150 mm,
// 2000 rows 0.075 mm apart, with a rapid approach and retract.
bool sendRaster(NCStream& stream)
{
    constexpr std::uint64_t RowMoves = Moves / 2000;
    NCContext const context;
    NCTool tool;
    tool.setNumber(2);
    unsigned int const cutting = NCStream::getMovementFlags(NCStream::MOVEMENT_FINISH_CUTTING);
    auto const surface = [](double x, double y) { return 5.0 * std::sin(x / 20.0) * std::cos(y / 15.0); };
    if (!stream.onOpen() || !stream.onContext(context) || !stream.onTool(tool) || !stream.onSection()
        || !stream.onRapid({0, 0, 20}, 0))
        return false;
    std::uint64_t sent = 1;
    for (std::uint64_t row = 0; sent < Moves - 1; ++row) {
        double const y = 0.075 * static_cast<double>(row);
        for (std::uint64_t i = 0; i < RowMoves && sent < Moves - 1; ++i, ++sent) {
            double const step = static_cast<double>(row % 2 == 0 ? i : RowMoves - 1 - i);
            double const x = 200.0 * step / static_cast<double>(RowMoves - 1);
            if (!stream.onLinear({x, y, surface(x, y)}, 2000.0, cutting))
                return false;
        }
    }
    return stream.onRapid({0, 150, 20}, 0) && stream.onSectionEnd() && stream.onClose();
}

// The program sent by send as a file of a format, written once before the first replay of it.
template <class Writer, class Reader> Source fileSource(char const* name, bool (*send)(NCStream&))
{
    auto written = std::make_shared<bool>(false);
    return [name, send, written](NCStream& stream) {
        std::filesystem::path const path = Bench::temporaryPath("NCAnalysisBench", name);
        if (!*written) {
            Bench::writeThroughFile<Writer>(path, send);
            *written = true;
        }
        FileInputStream file(path.wstring());
        Reader reader;
        reader.setNCStream(&stream);
        return reader.import(&file);
    };
}

// The file names of the programs the benchmark writes, removed at its end.
char const* const Files[] = {"-mixed.nci", "-mixed.ngc", "-raster.ngc"};

struct SourceCase {
    char const* name;
    Source source;
} const sources[] = {
    {"Memory", send},
    {"CompactNCI", fileSource<CompactNCIWriter, CompactNCIReader>(Files[0], send)},
    {"GCode", fileSource<GCodeWriter, GCodeReader>(Files[1], send)},
};

// A filter case: builds the chain in front of the sink; the chain is kept alive by the holder.
struct Chain {
    std::vector<std::shared_ptr<NCStream>> stages;
    NCStream* head = nullptr;
};
using ChainFactory = std::function<Chain(NCStream& sink)>;

double secondsOf(Source const& source, NCStream& head)
{
    auto const start = std::chrono::steady_clock::now();
    bool const ok = source(head);
    benchmark::DoNotOptimize(ok);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Each iteration replays the program into the null sink alone and then through the chain; the
// iteration time is the chain's. Alternating the two keeps the ratio fair on a busy machine.
void BM_Replay(benchmark::State& state, Source const& source, ChainFactory const& factory)
{
    section(); // generated before timing
    NCStreamDefaultImpl sink;
    secondsOf(source, sink); // writes the file of a file source before timing
    double alone = 0.0, chained = 0.0;
    for (auto _ : state) {
        alone += secondsOf(source, sink);
        Chain chain = factory(sink);
        double const seconds = secondsOf(source, *chain.head);
        chained += seconds;
        state.SetIterationTime(seconds);
    }
    double const iterations = static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Moves));
    state.counters["alone_Mmoves_per_s"] = static_cast<double>(Moves) * iterations / alone / 1e6;
    state.counters["chain_Mmoves_per_s"] = static_cast<double>(Moves) * iterations / chained / 1e6;
    // The rate of the chain as a fraction of the rate of the replay alone (goal: 0.7 or more).
    state.counters["ratio"] = alone / chained;
}

// One entry per case; a further filter is one more line here.
struct FilterCase {
    char const* name;
    ChainFactory factory;
} const filters[] = {
    {"NCBoundingBox",
        [](NCStream& sink) {
            auto box = std::make_shared<NCBoundingBox>(&sink);
            return Chain {{box}, box.get()};
        }},
    {"NCBoundingBoxInWCS",
        [](NCStream& sink) {
            auto box = std::make_shared<NCBoundingBox>(&sink);
            box->setInWCS(true);
            return Chain {{box}, box.get()};
        }},
    {"NCAnalyze",
        [](NCStream& sink) {
            auto analyze = std::make_shared<NCAnalyze>(&sink);
            return Chain {{analyze}, analyze.get()};
        }},
    {"NCAnalyzeAndNCBoundingBox",
        [](NCStream& sink) {
            auto box = std::make_shared<NCBoundingBox>(&sink);
            auto analyze = std::make_shared<NCAnalyze>(box.get());
            return Chain {{box, analyze}, analyze.get()};
        }},
};

// Counts the bytes of the document and drops them.
class CountingOutputStream final : public OutputStream {
public:
    std::uint64_t bytes = 0;
    void write(void const*, std::size_t count) override { bytes += count; }
};

// A plot as quarnnc plot draws it from a G-code file: the extent first, then the drawing; the
// size of the document as a counter. The mixed program's moves are each a few pixels long, so
// that nothing merges (the worst case for the size); the raster's are a sixth of a pixel.
void BM_Plot(benchmark::State& state, Source const& source, SVGPlotWriter::View view)
{
    NCStreamDefaultImpl sink;
    source(sink); // writes the file before timing
    std::uint64_t bytes = 0, points = 0;
    for (auto _ : state) {
        NCBoundingBox box(&sink);
        if (!source(box))
            state.SkipWithError("the first pass stopped");
        CountingOutputStream document;
        SVGPlotWriter plot(&document);
        plot.setExtent(box.getTotal(), box.getUnit());
        plot.setView(view);
        if (!source(plot))
            state.SkipWithError("the drawing stopped");
        bytes = document.bytes;
        points = plot.getCounts().points;
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Moves));
    state.counters["svg_MB"] = static_cast<double>(bytes) / 1e6;
    state.counters["points"] = static_cast<double>(points);
}

[[maybe_unused]] int const registered = [] {
    for (SourceCase const& from : sources) {
        bool const slow = std::string(from.name) == "GCode";
        benchmark::RegisterBenchmark((std::string("BM_Replay/") + from.name + "/NullSink").c_str(), BM_Replay,
            from.source,
            [](NCStream& sink) {
                return Chain {{}, &sink};
            })
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->Iterations(slow ? 2 : 10);
        for (FilterCase const& filter : filters)
            benchmark::RegisterBenchmark((std::string("BM_Replay/") + from.name + "/" + filter.name).c_str(), BM_Replay,
                from.source, filter.factory)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond)
                ->Iterations(slow ? 2 : 10);
    }
    Source const raster = fileSource<GCodeWriter, GCodeReader>(Files[2], sendRaster);
    struct PlotCase {
        char const* name;
        Source source;
        SVGPlotWriter::View view;
    } const plots[] = {
        {"BM_Plot/GCode/Raster/Top", raster, SVGPlotWriter::View::TOP},
        {"BM_Plot/GCode/Raster/Iso", raster, SVGPlotWriter::View::ISO},
        {"BM_Plot/GCode/Mixed/Top", sources[2].source, SVGPlotWriter::View::TOP},
    };
    for (PlotCase const& plot : plots)
        benchmark::RegisterBenchmark(plot.name, BM_Plot, plot.source, plot.view)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1);
    return 0;
}();

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ignored;
    for (char const* name : Files)
        std::filesystem::remove(Bench::temporaryPath("NCAnalysisBench", name), ignored);
    return 0;
}
