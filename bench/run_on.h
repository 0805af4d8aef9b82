// One measured run of the program in memory.
#pragma once

#include <benchmark/benchmark.h>

#include "common/print.h"
#include "driver/run.h"

namespace tavrel {

inline void run_on(benchmark::State& state, const std::vector<std::string>& args, memory_files_t& memory) {
    for (auto _ : state) {
        memory.out.clear();
        const host_t host = memory_host(memory);
        benchmark::DoNotOptimize(tavrel_run(args, host));
    }
    if (!memory.err.empty()) {
        state.SkipWithError(memory.err.substr(0, 200).c_str());
    }
}

} // namespace tavrel
