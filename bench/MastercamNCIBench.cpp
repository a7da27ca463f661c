// Placeholder: being written.
#include <benchmark/benchmark.h>
BENCHMARK_MAIN();
