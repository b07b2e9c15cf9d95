#include "foundation/Value.h"

#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
