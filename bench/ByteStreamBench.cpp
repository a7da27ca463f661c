// Throughput of BufferedOutputStream and BufferedInputStream on mixed uint32/float fields in memory.
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/BufferedOutputStream.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <benchmark/benchmark.h>

using namespace Quarn;

namespace {

// 512 KiB of fields per iteration: more than one default buffer.
constexpr std::size_t FieldPairs = 1 << 16;
constexpr std::int64_t BytesPerIteration = FieldPairs * 8;

void writeFields(BufferedOutputStream& out)
{
    for (std::size_t i = 0; i < FieldPairs; ++i) {
        out.writeUInt32(static_cast<std::uint32_t>(i));
        out.writeFloat(static_cast<float>(i) * 0.5f);
    }
}

void BufferedOutputStreamMixedFields(benchmark::State& state)
{
    MemoryOutputStream sink;
    for (auto _ : state) {
        sink.clear();
        BufferedOutputStream out(&sink, static_cast<std::size_t>(state.range(0)));
        writeFields(out);
        out.flush();
        benchmark::DoNotOptimize(sink.getData().data());
    }
    state.SetBytesProcessed(state.iterations() * BytesPerIteration);
}

void BufferedInputStreamMixedFields(benchmark::State& state)
{
    MemoryOutputStream data;
    {
        BufferedOutputStream out(&data);
        writeFields(out);
    }
    for (auto _ : state) {
        MemoryInputStream source(data.getData().data(), data.getData().size());
        BufferedInputStream in(&source, static_cast<std::size_t>(state.range(0)));
        std::uint32_t sum = 0;
        float total = 0.0f;
        for (std::size_t i = 0; i < FieldPairs; ++i) {
            sum += in.readUInt32();
            total += in.readFloat();
        }
        benchmark::DoNotOptimize(sum);
        benchmark::DoNotOptimize(total);
    }
    state.SetBytesProcessed(state.iterations() * BytesPerIteration);
}

} // namespace

// A small buffer that a value often straddles, and the default.
BENCHMARK(BufferedOutputStreamMixedFields)->Arg(4093)->Arg(BufferedOutputStream::DefaultBufferSize);
BENCHMARK(BufferedInputStreamMixedFields)->Arg(4093)->Arg(BufferedInputStream::DefaultBufferSize);

BENCHMARK_MAIN();
