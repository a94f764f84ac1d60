#include "benchmarks/subjects.h"
#include "benchmarks/table.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

// Usage: benchmark_processing [options of Google Benchmark], e.g. --benchmark_filter=frame
int main(int argc, char **argv)
{
    // Otherwise freed pictures go back to the system, and the next allocation pays for faulting
    // pages in: the figures would depend on the order.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_TOP_PAD, 256 << 20);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    kivra::benchmarks::Table table(kivra::benchmarks::registerAll());
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}
