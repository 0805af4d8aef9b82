// COFF files as inputs, in memory: a dump and a read of many symbols.
#include <benchmark/benchmark.h>

#include "common/print.h"
#include "driver/run.h"

namespace tavrel {
namespace {

// Microchip COFF with one section: every fourth symbol has its name in the string table.
std::string symbol_file(uint32_t count) {
    output_t out;
    std::string strings;
    put_text(out, {"\x40\x12\1\0", 4});
    for (const uint32_t word : {0U, 78U, count, 0x20012U}) {
        put32(out, word);
    }
    put_text(out, {"\x88\x13\x4D\x7B\1\0\0\0\0\0\x0E\0\0\0\x08\0\0\0.code\0\0\0", 26});
    for (const uint32_t word : {0U, 0U, 0U, 0U, 0U, 0U, 0U, 0x80U}) {
        put32(out, word);
    }
    for (uint32_t k = 0; k < count; ++k) {
        if (k % 4 == 0) {
            put32(out, 0);
            put32(out, static_cast<uint32_t>(strings.size()) + 4);
            print(strings, "variable_number_%u", k);
            strings.push_back('\0');
        } else {
            print(out, "s%07u", k % 10000000);
        }
        put32(out, k);
        put16(out, 1);
        put32(out, 4);
        put16(out, 2);
    }
    put32(out, static_cast<uint32_t>(strings.size()) + 4);
    put_text(out, strings);
    return out.bytes;
}

void run_on(benchmark::State& state, const std::vector<std::string>& args) {
    memory_files_t memory;
    memory.files["a.cof"] = symbol_file(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        memory.out.clear();
        const host_t host = memory_host(memory);
        benchmark::DoNotOptimize(tavrel_run(args, host));
    }
    if (memory.err.find('(') != std::string::npos) {
        state.SkipWithError(memory.err.c_str());
    }
    state.SetItemsProcessed(state.range(0) * static_cast<int64_t>(state.iterations()));
}

void mcoff_dump(benchmark::State& state) { run_on(state, {"a.cof", "-d", "-v"}); }
BENCHMARK(mcoff_dump)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void mcoff_read(benchmark::State& state) { run_on(state, {"a.cof", "-oihex"}); }
BENCHMARK(mcoff_read)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavrel
