#include "rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <vector>

// The loader runs in processes of its own; the median counts.
void registerLoadRows() {
    benchmark::RegisterBenchmark("load/ours", [](benchmark::State& state) {
        std::vector<double> times;
        std::vector<double> sizes;
        for (auto _ : state) {
            for (int run = 0; run < 21; ++run) {
                FILE* loader = popen(ORBU_BENCH_LOADER " " ORBU_BENCH_LIBRARY, "r");
                double microseconds = 0;
                double bytes = 0;
                const bool read =
                    loader != nullptr && std::fscanf(loader, "%lf %lf", &microseconds, &bytes) == 2;
                if (loader == nullptr || pclose(loader) != 0 || !read) {
                    state.SkipWithError("the loader failed");
                    return;
                }
                times.push_back(microseconds);
                sizes.push_back(bytes);
            }
        }
        std::sort(times.begin(), times.end());
        std::sort(sizes.begin(), sizes.end());
        state.counters["load_ms"] = times[times.size() / 2] / 1000;
        state.counters["load_mib"] = sizes[sizes.size() / 2] / (1024.0 * 1024.0);
    })->Iterations(1);
}
