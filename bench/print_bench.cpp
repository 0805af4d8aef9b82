// Formatted text: what the dumps put out by the million lines.
#include <benchmark/benchmark.h>

#include "common/print.h"

namespace {

using namespace tavrel;

// A symbol's line: numbers in hexadecimal and decimal, padded text.
void symbol_lines(benchmark::State& state) {
    std::string out;
    uint32_t value = 0;
    for (auto _ : state) {
        out.clear();
        for (uint32_t k = 0; k < 1000; ++k) {
            value = value * 1664525 + 1013904223;
            print(out, "%5.5lu: %-14.12s 0x%08lX %d %u\n", k, "_main_loop_start", value, k % 7, value >> 8);
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(symbol_lines);

// The bytes of a hex dump, a conversion each.
void hex_bytes(benchmark::State& state) {
    std::string out;
    for (auto _ : state) {
        out.clear();
        for (uint32_t k = 0; k < 1000; ++k) {
            print(out, " %02X", k & 0xFF);
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(hex_bytes);

} // namespace
