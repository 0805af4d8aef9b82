// The 8051 formats over generated inputs: symbols and lines both ways, code brought out function by function, types.
#include "run_on.h"

namespace tavrel {
namespace {

// A symbol file of that many symbols and lines over 1,000 files.
std::string symbol_file(int64_t count) {
    std::string text = "zero 0 0 ABS\n";
    for (uint32_t file = 0; file < 1000; ++file) {
        print(text, "file%u.c\n", file);
        for (uint32_t k = file; k < count; k += 1000) {
            print(text, "_symbol_number_%u %X 0 DATA\n%u %X 0 CODE\n", k, k & 0xFFFF, k % 5000 + 1, k & 0xFFFF);
        }
    }
    return text;
}

void write_plain(benchmark::State& state) {
    memory_files_t memory;
    memory.files["in.sym"] = symbol_file(state.range(0));
    run_on(state, {"in.sym", "-oomf51", "o.x"}, memory);
    state.SetItemsProcessed(state.range(0) * static_cast<int64_t>(state.iterations()));
}
BENCHMARK(write_plain)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void read_and_print(benchmark::State& state, const std::vector<std::string>& args) {
    memory_files_t memory;
    memory.files["in.sym"] = symbol_file(state.range(0));
    tavrel_run({"in.sym", "-oomf51", "o.x"}, memory_host(memory));
    run_on(state, args, memory);
    state.SetBytesProcessed(static_cast<int64_t>(memory.files["o.x"].size() * state.iterations()));
}
BENCHMARK_CAPTURE(read_and_print, read, {"o.x", "-otitxt", "t.x"})->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_and_print, print, {"-d", "o.x"})->Arg(1000000)->Unit(benchmark::kMillisecond);

// Functions of one line and one byte each over the 64 KiB of code, up or down, with blocks of image bytes that overlap
// and so stay as many.
void functions(benchmark::State& state, bool upwards) {
    memory_files_t memory;
    std::string& symbols = memory.files["in.sym"];
    std::string& sdb = memory.files["m.sdb"];
    std::string& image = memory.files["in.hex"];
    symbols = "zero 0 0 ABS\nm.obj\nm.c\n";
    sdb = "[p SPACEOPT ]\n\"1 m.c\n";
    const auto count = static_cast<uint32_t>(state.range(0));
    for (uint32_t k = 0; k < count; ++k) {
        const uint32_t address = upwards ? k : 2 * (count - k);
        const uint32_t line = 2 * k + 1;
        print(symbols, "_f%u %X 0 CODE\n?a_f%u 10 0 DATA\n", k, address, k);
        print(symbols, "%u %X 0 CODE\n%u %X 0 CODE\n", line, address, line + 1, address + (upwards ? 0 : 1));
        print(sdb, "\"%u\n[v _f%u `(*%s 1 e 0 0 ]\n{\n[v _n `uc 1 a 1 2 ]\n\"%u\n}\n0 0 0 0\n", line, k,
              k % 3 == 0 ? "i" : "Cuc", line + 1);
        print(image, "S309%08X5A5A5A5A00\n", address);
    }
    run_on(state, {"-p8051", "in.sym", "in.hex", "-oeomf51", "o.x"}, memory);
    state.SetItemsProcessed(count * static_cast<int64_t>(state.iterations()));
}
BENCHMARK_CAPTURE(functions, upwards, true)->Arg(4096)->Arg(16384)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(functions, downwards, false)->Arg(4096)->Arg(16384)->Arg(32768)->Unit(benchmark::kMillisecond);

// Variables of as many struct types, each with an array of the one before it.
void types(benchmark::State& state) {
    memory_files_t memory;
    memory.files["in.sym"] = "zero 0 0 ABS\nm.obj\n_v 10 0 DATA\n";
    std::string& sdb = memory.files["m.sdb"];
    sdb = "[p SPACEOPT ]\n";
    const auto count = static_cast<uint32_t>(state.range(0));
    for (uint32_t k = 0; k < count; ++k) {
        print(sdb, "[s S%u tag%u 6 `i %ua first 2 0 `*%c%u second 2 2 ]\n", k, k, k + 2, k % 16 == 0 ? 'E' : 'S',
              k - 1);
        print(sdb, "[v _v `*S%u 1 e 2 %u ]\n", k, k);
    }
    run_on(state, {"-p8051", "in.sym", "-oeomf51", "o.x"}, memory);
    state.SetItemsProcessed(count * static_cast<int64_t>(state.iterations()));
}
BENCHMARK(types)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavrel
