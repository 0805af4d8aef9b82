// The ELF writer alone, behind reading and finalising: many units with variables, structures and lines.
#include <benchmark/benchmark.h>

#include "driver/finalise.h"
#include "formats/elf/elf.h"
#include "formats/plain/norvane.h"

namespace tavrel {
namespace {

struct program_t {
    uint32_t units, variables, lines, segments;
};

// Every unit has its own source and a header that all share; one line in ten is the header's.
std::string unit_text(const program_t& program, uint32_t unit) {
    std::string text = "[p ]\n\"1 common.h\n[s S1 node 12 `*S1 next 4 0 `[8]us data 16 4 `*(i call 4 8 ]\n";
    print(text, "\"1 file%u.c\n", unit);
    for (uint32_t k = unit; k < program.variables; k += program.units) {
        constexpr const char* types[] = {"i", "*S1", "[4]Vuc", "*Cc", "S1", "[2][3]*(ul"};
        print(text, "\"%u\n[v _v%u `%s 1 e 4 0 ]\n", k, k, types[k % 6]);
    }
    for (uint32_t k = unit; k < program.variables / 20; k += program.units) {
        print(text,
              "[v _f%u `(i 1 e 0 0 ]\n{ [v _a `i 1 a 4 8 ] [v _p `*S1 1 r 4 r1 ] { [v _b `c 1 a 1 4 ] } }\n0 0 0 0\n",
              k);
    }
    return text;
}

std::string symbol_text(const program_t& program) {
    std::string text;
    for (uint32_t k = 0; k < program.variables; ++k) {
        print(text, "_v%u %X 0 RAM\n", k, k * 4);
    }
    for (uint32_t k = 0; k < program.variables / 20; ++k) {
        print(text, "_f%u %X 0 CODE\n?a_f%u %X 0 RAM\n", k, k * 64, k, k);
    }
    text += "%segments\n";
    for (uint32_t k = 0; k < program.segments; ++k) {
        print(text, "part%u %X %X RAM\n", k, k * 4096, k * 4096 + 4095);
    }
    text += "%locals\n";
    for (uint32_t unit = 0; unit < program.units; ++unit) {
        print(text, "unit%u.obj\nfile%u.c\n", unit, unit);
        for (uint32_t k = unit; k < program.lines; k += program.units) {
            if (k / program.units % 10 == 9) {
                print(text, "common.h\n%u %X 0 CODE\nfile%u.c\n", k % 500 + 1, k * 8, unit);
            } else {
                print(text, "%u %X 0 CODE\n", k / program.units + 2, k * 8);
            }
        }
    }
    return text;
}

void write_program(benchmark::State& state, const program_t& program) {
    memory_files_t memory;
    for (uint32_t unit = 0; unit < program.units; ++unit) {
        memory.files[format_text("unit%u.sdb", unit)] = unit_text(program, unit);
    }
    const host_t host = memory_host(memory);
    run_t run(host);
    run.processor_name = "ARM7";
    input_t in;
    in.bytes = symbol_text(program);
    norvane_format.read(run, in, "b.sym");
    finalise(run);
    size_t size = 0;
    for (auto _ : state) {
        output_t out;
        elf_write(run, out, "b.elf");
        size = out.bytes.size();
    }
    state.counters["MB"] = static_cast<double>(size) / 1e6;
}

void variables_and_lines(benchmark::State& state) {
    const auto scale = static_cast<uint32_t>(state.range(0));
    write_program(state, {500, 25000 * scale, 50000 * scale, 100});
}
BENCHMARK(variables_and_lines)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);

// The same in one unit.
void one_unit(benchmark::State& state) { write_program(state, {1, 100000, 200000, 1}); }
BENCHMARK(one_unit)->Unit(benchmark::kMillisecond);

// Thousands of segments.
void many_segments(benchmark::State& state) { write_program(state, {100, 100000, 1000, 20000}); }
BENCHMARK(many_segments)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavrel
