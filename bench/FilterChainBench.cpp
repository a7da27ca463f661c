// Cost of forwarding: events through chains of 1, 4 and 8 FilterNCStream stages into a null
// sink, against the same chains of a minimal hand-written stage (a virtual call through a raw
// pointer). The ratio of the two is the overhead of the library's checked forwarding.
#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace Quarn;

namespace {

// Forwards the benchmarked events through a raw pointer and nothing else.
class MinimalStage final : public NCStreamDefaultImpl {
public:
    explicit MinimalStage(NCStream* next) : next(next) { }
    using NCStreamDefaultImpl::onLinear5D;
    bool onRapid(Vector3D const& end, unsigned int flags) override { return next->onRapid(end, flags); }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override
    {
        return next->onLinear(end, feedrate, flags);
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        return next->onLinear5D(end, direction, feedrate, flags);
    }
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override
    {
        return next->onCCWArc(center, end, normal, feedrate, flags);
    }

private:
    NCStream* next;
};

// A mixed program of moves, as a reader would send them: three linear moves, a rapid, an arc
// and a five-axis move per round.
void sendEvents(NCStream& stream, benchmark::State& state)
{
    Vector3D const normal(0, 0, 1);
    double x = 0.0;
    for (auto _ : state) {
        x += 0.001;
        bool ok = stream.onLinear({x, 1, 2}, 1000.0, 0x20000) && stream.onLinear({x, 2, 2}, 1000.0, 0x20000)
            && stream.onLinear({x, 3, 2}, 1000.0, 0x20000) && stream.onRapid({x, 3, 10}, 0)
            && stream.onCCWArc({x, 0, 2}, {x, -3, 2}, normal, 800.0, 0x20000)
            && stream.onLinear5D({x, 1, 1}, {0, 0.6, 0.8}, 500.0, 0x20000);
        benchmark::DoNotOptimize(ok);
    }
    state.SetItemsProcessed(state.iterations() * 6);
}

void BM_FilterNCStreamChain(benchmark::State& state)
{
    NCStreamDefaultImpl sink;
    std::vector<std::unique_ptr<FilterNCStream>> stages;
    NCStream* head = &sink;
    for (int i = 0; i < state.range(0); ++i) {
        stages.push_back(std::make_unique<FilterNCStream>(head));
        head = stages.back().get();
    }
    sendEvents(*head, state);
}

void BM_MinimalStageChain(benchmark::State& state)
{
    NCStreamDefaultImpl sink;
    std::vector<std::unique_ptr<MinimalStage>> stages;
    NCStream* head = &sink;
    for (int i = 0; i < state.range(0); ++i) {
        stages.push_back(std::make_unique<MinimalStage>(head));
        head = stages.back().get();
    }
    sendEvents(*head, state);
}

} // namespace

BENCHMARK(BM_MinimalStageChain)->Arg(1)->Arg(4)->Arg(8);
BENCHMARK(BM_FilterNCStreamChain)->Arg(1)->Arg(4)->Arg(8);

BENCHMARK_MAIN();
