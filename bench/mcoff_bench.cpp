// Whole runs in memory that end in COFF: many variables of many struct types, and many lines in many functions.
#include "run_on.h"

namespace tavrel {
namespace {

// 100,000 variables of 5,000 struct types of ten fields each, in ten modules that all include the same header. With
// `named` false the structs have no tags and are told apart by their fields alone.
void structs(benchmark::State& state, const char* output, bool named) {
    memory_files_t memory;
    std::string sym;
    std::string modules;
    constexpr uint32_t types = 5000;
    const auto variables = static_cast<uint32_t>(state.range(0));
    std::string header = "[p PIC14 ]\n";
    for (uint32_t type = 1; type <= types; ++type) {
        print(header, "[s S%u ", type);
        print(header, named ? "tag_%u 20" : ". 20", type);
        for (uint32_t field = 0; field < 9; ++field) {
            print(header, " `ui field_%u_%u 2 %u", type, field, 2 * field);
        }
        print(header, " `*S%u next 2 18 ]\n", type);
    }
    for (uint32_t module = 0; module < 10; ++module) {
        std::string& sdb = memory.files[format_text("m%u.sdb", module)] = header;
        print(sdb, "\"1 m%u.c\n", module);
        print(modules, "m%u.obj\n", module);
        for (uint32_t k = module; k < variables; k += 10) {
            print(sym, "variable_%u %X 0 RAM\n", k, k);
            print(sdb, "[v variable_%u `S%u 1 e 20 0 ]\n", k, (k / 10) % types + 1);
        }
    }
    memory.files["a.sym"] = sym + "%segments\nram 0 FFFFF RAM\n%locals\n" + modules;
    run_on(state, {"-pPIC14,14,PIC14", "-nCODE", "a.sym", output, "a.cof"}, memory);
}

void mcoff_structs(benchmark::State& state) { structs(state, "-omcoff", true); }
BENCHMARK(mcoff_structs)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void mcoff_nameless_structs(benchmark::State& state) { structs(state, "-omcoff", false); }
BENCHMARK(mcoff_nameless_structs)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void coff_structs(benchmark::State& state) { structs(state, "-ocoff", true); }
BENCHMARK(coff_structs)->Arg(100000)->Unit(benchmark::kMillisecond);

// Lines in functions of twenty lines each, over 100 files.
void lines(benchmark::State& state, const char* output) {
    memory_files_t memory;
    std::string sym;
    std::string locals;
    const auto count = static_cast<uint32_t>(state.range(0));
    const uint32_t per_file = count / 100;
    uint32_t address = 0;
    for (uint32_t file = 0; file < 100; ++file) {
        std::string& sdb = memory.files[format_text("m%u.sdb", file)] = "[p PIC14 ]\n";
        print(sdb, "\"1 m%u.c\n", file);
        print(locals, "m%u.obj\nm%u.c\n", file, file);
        for (uint32_t line = 1; line <= per_file; ++line, address += 4) {
            if (line % 20 == 1) {
                print(sym, "f_%u_%u %X 0 CODE\n", file, line, address);
                print(sdb, "\"%u\n[v f_%u_%u `(v 1 e 0 0 ]\n{\n\"%u\n}\n0 0 0 0\n", line, file, line, line + 19);
            }
            print(locals, "%u %X 0 CODE\n", line, address);
        }
    }
    const std::string image = ":020000040000FA\n:020000000000FE\n:00000001FF\n";
    print(sym, "%%segments\ntext 0 %X CODE\n%%locals\n", 2 * address);
    memory.files["a.sym"] = sym + locals;
    memory.files["a.hex"] = image;
    run_on(state, {"-pPIC14,14,PIC14", "-nCODE", "a.sym", "a.hex", output, "a.cof"}, memory);
}

void mcoff_lines(benchmark::State& state) { lines(state, "-omcoff"); }
BENCHMARK(mcoff_lines)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void coff_lines(benchmark::State& state) { lines(state, "-ocoff"); }
BENCHMARK(coff_lines)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavrel
