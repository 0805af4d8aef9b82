// Any bytes as a UBROF file, also behind a valid head, so that the records are reached at once.
#include "driver/run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tavrel;
    memory_files_t memory;
    memory.files["in"].assign(reinterpret_cast<const char*>(data), size);
    memory.files["records"] = std::string("\xA5\0\x1E\x0C\x01\x04\x6D", 7) + memory.files["in"];
    const host_t host = memory_host(memory);
    tavrel_run({"in", "-oubrof", "out"}, host);
    for (const char* const name : {"in", "records"}) {
        tavrel_run({"-d", "-iubrof", name}, host);
        tavrel_run({"-d", "-v", "-v", "-iubrof", name}, host);
    }
    return 0;
}
