// What the fuzzers of the COFF family do: any bytes as an input of one kind, read, taken to outputs of two kinds, and
// printed. Messages are warnings here, so that none ends a run early.
#pragma once

#include "driver/run.h"

namespace tavrel {

inline void fuzz_coff_family(const std::string& key, const uint8_t* data, size_t size) {
    memory_files_t memory;
    memory.files["in"].assign(reinterpret_cast<const char*>(data), size);
    for (const char* const number : {"633", "634", "639", "1036", "1037", "1038", "1039", "1043", "1289"}) {
        memory.files["messages"] += number + std::string(" 1 %d %s\n");
    }
    const host_t host = memory_host(memory);
    tavrel_run({"--edf=messages", "-v", "-v", "-i" + key, "in", "-onorvane", "-oihex"}, host);
    tavrel_run({"--edf=messages", "-d", "-v", "-v", "-i" + key, "in"}, host);
}

} // namespace tavrel
