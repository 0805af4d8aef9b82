// Any bytes as a COD file: the probe, the silent read, and the print with and without code bytes. And any bytes as an
// SDB file beside a fixed symbol file, for the writer with its options.
#include "driver/run.h"

namespace {

constexpr const char* symbols =
    "_main 100 0 CODE\n_v 103 0 RAM\n?_main 30 0 RAM\n?a_main 40 0 RAM\n%locals\nx.obj\nx.c\n"
    "F3 20F 0 RAM\n10 100 0 CODE\n14 108 0 CODE\n16 10A 0 CODE\n18 110 0 CODE\n";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tavrel;
    memory_files_t memory;
    memory.files["in"].assign(reinterpret_cast<const char*>(data), size);
    memory.files["x.sym"] = symbols;
    memory.files["x.sdb"] = memory.files["in"];
    const host_t host = memory_host(memory);
    tavrel_run({"-c", "in"}, host);
    tavrel_run({"-icod", "in", "-ocod", "out"}, host);
    tavrel_run({"-d", "-icod", "in"}, host);
    tavrel_run({"-d", "-v", "-v", "-icod", "in"}, host);
    tavrel_run({"-p18F452", "x.sym", "-ocod", "out"}, host);
    tavrel_run({"-p18F452", "-f", "-m", "-k", "x.sym", "-ocod", "out"}, host);
    return 0;
}
