// Any bytes as a Holtek DBG or TSK file; as the payloads of DBG records with their checksums right; and as an SDB file
// beside a fixed symbol file, for the DBG writer.
#include "driver/run.h"

namespace {

constexpr const char* symbols =
    "_main 100 0 CODE\n_v 20 0 RAM\n??_main 40 0 RAM\n?_main 30 0 RAM\n%locals\nx.obj\nx.c\n"
    "F3 22 0 RAM\n10 100 0 CODE\n12 104 0 CODE\n18 110 0 CODE\ny.c\n1 120 0 CODE\n";

// Type, size and payload of each record are taken from the data.
std::string records(std::string_view data) {
    constexpr char types[] = {0x4A, 0x70, 0x78, 0x74, '\xC2', '\xCA', 0x55, '\xCB'};
    std::string result;
    while (data.size() > 2) {
        const size_t size = std::min<size_t>(static_cast<unsigned char>(data[1]), data.size() - 2);
        std::string record = {types[data[0] & 7], static_cast<char>(size + 1), static_cast<char>((size + 1) >> 8)};
        record += data.substr(2, size);
        int sum = 0;
        for (const char c : record) {
            sum += c;
        }
        record += static_cast<char>(-sum);
        result += record;
        data.remove_prefix(2 + size);
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tavrel;
    memory_files_t memory;
    memory.files["in"].assign(reinterpret_cast<const char*>(data), size);
    memory.files["records"] = records(memory.files["in"]);
    memory.files["x.sym"] = symbols;
    memory.files["x.sdb"] = memory.files["in"];
    const host_t host = memory_host(memory);
    tavrel_run({"-c", "in"}, host);
    for (const char* const name : {"in", "records"}) {
        tavrel_run({"-d", "-ihtk", name}, host);
        tavrel_run({"-d", "-v", "-v", "-ihtk", name}, host);
        tavrel_run({"-v", "-v", "-ihtk", name, "-ohtk", "out"}, host);
    }
    tavrel_run({"-d", "-itsk", "in"}, host);
    tavrel_run({"-itsk", "in", "-os19", "out"}, host);
    tavrel_run({"-pHT48", "in", "x.sym", "-ohtk", "out", "-ocod", "out"}, host);
    return 0;
}
