// Cost of the analysis filters: a 10-million-move program of lines and arcs replayed from memory
// into a null sink, alone and through each filter, with the rate of the chain against the replay.
#include "nc/nc/NCAnalyze.h"
#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/NCTool.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

using namespace Quarn;

namespace {

constexpr std::uint64_t Moves = 10'000'000;
// The moves of one section; the program repeats it, one section per round, up to Moves.
constexpr std::size_t SectionMoves = 1 << 16;

struct Move {
    enum Kind : unsigned char { Rapid, Linear, CCWArc, CWArc } kind;
    Vector3D end;
    Vector3D center;
};

// A section of lines and arcs (every fourth move an arc of a quarter to three quarters of a turn,
// either way, many crossing quadrant boundaries), starting with a rapid so that every arc has a
// known start. Deterministic.
std::vector<Move> const& section()
{
    static std::vector<Move> const moves = [] {
        std::vector<Move> result;
        result.reserve(SectionMoves);
        std::uint64_t seed = 0x9E3779B97F4A7C15u;
        auto const next = [&seed] {
            seed = seed * 6364136223846793005u + 1442695040888963407u;
            return static_cast<double>(seed >> 11) / static_cast<double>(1ull << 53);
        };
        Vector3D p(0, 0, 5);
        result.push_back({Move::Rapid, p, {}});
        while (result.size() < SectionMoves) {
            if (result.size() % 4 == 3) {
                double const direction = 2.0 * std::numbers::pi * next(), radius = 1.0 + 10.0 * next();
                double const sweep = (0.5 + next()) * std::numbers::pi * (next() < 0.5 ? -1.0 : 1.0);
                Vector3D const c = p + Vector3D(std::cos(direction), std::sin(direction), 0) * radius;
                double const from = std::atan2(p.y - c.y, p.x - c.x) + sweep;
                p = Vector3D(c.x + radius * std::cos(from), c.y + radius * std::sin(from), p.z);
                result.push_back({sweep > 0 ? Move::CCWArc : Move::CWArc, p, c});
            } else {
                p += Vector3D(next() - 0.5, next() - 0.5, 0.1 * (next() - 0.5)) * 20.0;
                result.push_back({Move::Linear, p, {}});
            }
        }
        return result;
    }();
    return moves;
}

// Replays the program into stream: open, per round context, tool, section and its moves, close.
bool replay(NCStream& stream)
{
    std::vector<Move> const& moves = section();
    Vector3D const normal(0, 0, 1);
    NCContext const context;
    NCTool tool;
    tool.setNumber(1);
    unsigned int const cutting = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    if (!stream.onOpen())
        return false;
    for (std::uint64_t sent = 0; sent < Moves;) {
        if (!stream.onContext(context) || !stream.onTool(tool) || !stream.onSection())
            return false;
        std::uint64_t const count = std::min<std::uint64_t>(Moves - sent, moves.size());
        for (std::uint64_t i = 0; i < count; ++i) {
            Move const& m = moves[i];
            bool ok = true;
            switch (m.kind) {
            case Move::Rapid:
                ok = stream.onRapid(m.end, 0);
                break;
            case Move::Linear:
                ok = stream.onLinear(m.end, 1000.0, cutting);
                break;
            case Move::CCWArc:
                ok = stream.onCCWArc(m.center, m.end, normal, 800.0, cutting);
                break;
            case Move::CWArc:
                ok = stream.onCWArc(m.center, m.end, normal, 800.0, cutting);
                break;
            }
            if (!ok)
                return false;
        }
        sent += count;
        if (!stream.onSectionEnd())
            return false;
    }
    return stream.onClose();
}

// A filter case: builds the chain in front of the sink; the chain is kept alive by the holder.
struct Chain {
    std::vector<std::shared_ptr<NCStream>> stages;
    NCStream* head = nullptr;
};
using ChainFactory = std::function<Chain(NCStream& sink)>;

double secondsOf(NCStream& head)
{
    auto const start = std::chrono::steady_clock::now();
    bool const ok = replay(head);
    benchmark::DoNotOptimize(ok);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Each iteration replays the program into the null sink alone and then through the chain; the
// iteration time is the chain's. Alternating the two keeps the ratio fair on a busy machine.
void BM_Replay(benchmark::State& state, ChainFactory const& factory)
{
    section(); // generated before timing
    NCStreamDefaultImpl sink;
    double alone = 0.0, chained = 0.0;
    for (auto _ : state) {
        alone += secondsOf(sink);
        Chain chain = factory(sink);
        double const seconds = secondsOf(*chain.head);
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
struct Case {
    char const* name;
    ChainFactory factory;
} const cases[] = {
    {"NullSink", [](NCStream& sink) { return Chain {{}, &sink}; }},
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

[[maybe_unused]] int const registered = [] {
    for (Case const& c : cases)
        benchmark::RegisterBenchmark((std::string("BM_Replay/") + c.name).c_str(), BM_Replay, c.factory)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->MinTime(2.0);
    return 0;
}();

} // namespace

BENCHMARK_MAIN();
