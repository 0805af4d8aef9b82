// Printing an ELF file with much debug information: trees of DIEs, line programs, frames.
#include <benchmark/benchmark.h>

#include "driver/run.h"
#include "formats/elf/elf_builder.h"

namespace {

using namespace tavrel;
using namespace tavrel::testing;

void put_number(std::string& out, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>(value >> shift));
    }
}

// Units of a hundred functions with ten variables each.
std::string many_units(int count) {
    std::string unit = bytes("0200 00000000 04 01 00000000 \"file.c\" 00");
    for (int function = 0; function < 100; ++function) {
        unit += bytes("02 \"function\" 00 01 0A 00010000 80010000");
        for (int variable = 0; variable < 10; ++variable) {
            unit += bytes("03 01000000 01 0B0C 20000000 03 91 A87F");
        }
        unit += bytes("00");
    }
    unit += bytes("00");
    std::string info;
    for (int k = 0; k < count; ++k) {
        put_number(info, static_cast<uint32_t>(unit.size()));
        info += unit;
    }
    return info;
}

std::string long_program(int rows) {
    std::string program =
        bytes("0200 1B000000 01 01 FB 0F 0A 00 01 01 01 01 00 00 00 01 \"inc\" 00 00 \"a.c\" 00 010000 00");
    program += bytes("00 05 02 00010000");
    for (int k = 0; k < rows; ++k) {
        program += bytes("4C 05 0B 5B 03 2A");
    }
    program += bytes("00 01 01");
    std::string line;
    put_number(line, static_cast<uint32_t>(program.size()));
    return line + program;
}

std::string many_frames(int count) {
    std::string frame = bytes("0C000000 FFFFFFFF 01 00 04 7C 0E 0C 0D 00");
    for (int k = 0; k < count; ++k) {
        frame += bytes("1C000000 00000000 00010000 80000000 41 0E 10 84 04 8E 01 42 0A CE C4 0E 00 42 0B 00");
    }
    return frame;
}

void dump(benchmark::State& state, const std::string& file) {
    memory_files_t memory;
    memory.files["a.elf"] = file;
    host_t host = memory_host(memory);
    uint64_t printed = 0;
    host.out = [&](std::string_view text) {
        printed += text.size();
        return text.size();
    };
    for (auto _ : state) {
        tavrel_run({"-d", "-ielf", "a.elf"}, host);
    }
    state.SetBytesProcessed(static_cast<int64_t>(file.size() * state.iterations()));
    state.counters["printed"] = benchmark::Counter(static_cast<double>(printed), benchmark::Counter::kIsRate);
}

const elf_part_t abbrev = {".debug_abbrev",
                           bytes("01 11 01 10 06 03 08 00 00 02 2E 01 03 08 3A 0B 3B 0B 11 01 12 01 00 00"
                                 "03 34 00 03 0E 3A 0B 3B 05 49 13 02 0A 00 00 00")};

void print_info(benchmark::State& state) {
    const elf_part_t str = {".debug_str", bytes("00 \"variable\" 00")};
    dump(state, elf_file({
                    abbrev, {".debug_info", many_units(500)},
                     str
    }));
}

void print_lines(benchmark::State& state) {
    dump(state, elf_file({
                    abbrev, {".debug_info", many_units(1)       },
                     {".debug_line", long_program(200000)}
    }));
}

void print_frames(benchmark::State& state) {
    dump(state, elf_file({
                    abbrev, {".debug_info",  many_units(1)     },
                     {".debug_frame", many_frames(50000)}
    }));
}

BENCHMARK(print_info)->Unit(benchmark::kMillisecond);
BENCHMARK(print_lines)->Unit(benchmark::kMillisecond);
BENCHMARK(print_frames)->Unit(benchmark::kMillisecond);

} // namespace
