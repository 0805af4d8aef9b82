// COD and Holtek DBG written and printed: lines and symbols by the million, image bytes, a tree of many functions.
#include "run_on.h"

namespace tavrel {
namespace {

void measure(benchmark::State& state, const std::vector<std::string>& args, memory_files_t& memory) {
    run_on(state, args, memory);
    state.SetItemsProcessed(state.range(0) * static_cast<int64_t>(state.iterations()));
}

// `lines` lines with code over 500 files, and a symbol for every five of them.
std::string symbol_file(uint32_t lines) {
    std::string text = "start 0 0 CODE\n%locals\n";
    for (uint32_t file = 0; file < 500; ++file) {
        print(text, "file%u.c\n", file);
        for (uint32_t k = file; k < lines; k += 500) {
            print(text, "%u %X 0 CODE\n", k / 500 + 1, 2 * k);
        }
    }
    // A symbol is local behind %locals; the others stand in front.
    std::string globals;
    for (uint32_t k = 0; k < lines / 5; ++k) {
        print(globals, "symbol_number_%u %X 0 DATA\n", k, k);
    }
    return globals + text;
}

void write_lines(benchmark::State& state, const char* key) {
    memory_files_t memory;
    memory.files["a.sym"] = symbol_file(static_cast<uint32_t>(state.range(0)));
    measure(state, {"a.sym", key, "out"}, memory);
}
void cod_lines(benchmark::State& state) { write_lines(state, "-ocod"); }
void htk_lines(benchmark::State& state) { write_lines(state, "-ohtk"); }
// The same input read and dropped, to tell the writer's share.
void read_alone(benchmark::State& state) { write_lines(state, "-oubrof"); }
BENCHMARK(cod_lines)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(htk_lines)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(read_alone)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// Functions with a parameter, a local and a block each.
void tree(benchmark::State& state, const char* processor, const char* key) {
    const auto count = static_cast<uint32_t>(state.range(0));
    memory_files_t memory;
    std::string symbols, lines = "%locals\nx.obj\nx.c\n", sdb = "[p GLOBOPT ]\n\"1 x.c\n";
    for (uint32_t k = 0; k < count; ++k) {
        print(symbols, "_f%u %X 0 CODE\n?_f%u %X 0 RAM\n?a_f%u %X 0 RAM\n??_f%u %X 0 RAM\n", k, k, k, k, k, k, k, k);
        print(lines, "%u %X 0 CODE\n%u %X 0 CODE\n", 4 * k + 1, 4 * k, 4 * k + 3, 4 * k + 2);
        print(sdb,
              "\"%u\n[v _f%u `(i 1 e 0 0 ]\n{\n[v _a `i 1 p 2 0 ]\n[v _b `[4]ui 1 a 2 0 ]\n\"%u\n{\n[v _c `*uc 1 a 2 2 "
              "]\n}\n}\n0 0 0 0\n",
              4 * k + 1, k, 4 * k + 3);
    }
    memory.files["x.sym"] = symbols + lines;
    memory.files["x.sdb"] = sdb;
    measure(state, {processor, "x.sym", key, "out"}, memory);
}
void cod_tree(benchmark::State& state) { tree(state, "-p18F452", "-ocod"); }
void htk_tree(benchmark::State& state) { tree(state, "-pHT48", "-ohtk"); }
BENCHMARK(cod_tree)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(htk_tree)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// What the writer wrote, printed.
void print_file(benchmark::State& state, const char* write_key, const char* read_key) {
    memory_files_t memory;
    memory.files["a.sym"] = symbol_file(static_cast<uint32_t>(state.range(0)));
    tavrel_run({"a.sym", write_key, "out.x"}, memory_host(memory));
    measure(state, {"-d", read_key, "out.x"}, memory);
}
void cod_print(benchmark::State& state) { print_file(state, "-ocod", "-icod"); }
void htk_print(benchmark::State& state) { print_file(state, "-ohtk", "-ihtk"); }
BENCHMARK(cod_print)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(htk_print)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavrel
