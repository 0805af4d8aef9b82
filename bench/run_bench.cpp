// Whole runs in memory over generated inputs: symbol file, hex image.
#include "run_on.h"

namespace tavrel {
namespace {

// 1,000,000 symbols and 1,000,000 lines over 2,000 files.
void symbol_file(benchmark::State& state) {
    memory_files_t memory;
    std::string& text = memory.files["a.sym"] = "%locals\n";
    const auto count = static_cast<uint32_t>(state.range(0));
    for (uint32_t file = 0; file < 2000; ++file) {
        print(text, "file%u.c\n", file);
        for (uint32_t k = file; k < count; k += 2000) {
            print(text, "symbol_number_%u %X 0 DATA\n%u %X 0 CODE\n", k, k * 2, k % 5000 + 1, k);
        }
    }
    run_on(state, {"a.sym", "-onorvane", "out.sym"}, memory);
    state.SetBytesProcessed(static_cast<int64_t>(text.size() * state.iterations()));
}
BENCHMARK(symbol_file)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// Intel HEX of the given number of MiB to S-records.
void hex_image(benchmark::State& state) {
    memory_files_t memory;
    std::string& text = memory.files["a.hex"];
    for (uint32_t address = 0; text.size() < static_cast<size_t>(state.range(0)) << 20; address += 16) {
        if (address % 0x10000 == 0) {
            const uint32_t upper = address >> 16;
            print(text, ":02000004%04X%02X\n", upper, (0 - (6 + (upper >> 8) + upper)) & 0xFF);
        }
        const uint32_t sum = 0x10 + (address >> 8) + address + 16 * 0x5A;
        print(text, ":10%04X005A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A%02X\n", address & 0xFFFF, (0 - sum) & 0xFF);
    }
    run_on(state, {"a.hex", "-os19", "out.hex"}, memory);
    state.SetBytesProcessed(static_cast<int64_t>(text.size() * state.iterations()));
}
BENCHMARK(hex_image)->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavrel
