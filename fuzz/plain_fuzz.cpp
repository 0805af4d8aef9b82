// Any bytes as an input of any kind: detection, reading, every text format as output, and the dump.
#include "driver/run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tavrel;
    memory_files_t memory;
    memory.files["in"].assign(reinterpret_cast<const char*>(data), size);
    const host_t host = memory_host(memory);
    constexpr const char* keys[] = {"-inorvane", "-ipe", "-iihex", "-is19", "-ititxt"};
    for (const char* const key : keys) {
        tavrel_run({"-v", "-v", key, "in", "-onorvane", "-os19", "-oihex", "-otitxt", "-ope"}, host);
    }
    tavrel_run({"-d", "-v", "-v", "in"}, host);
    return 0;
}
