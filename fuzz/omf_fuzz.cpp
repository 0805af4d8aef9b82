// Any bytes as OMF-51 and Extended OMF-51: read, written again, and printed. Checksums hide most of the reader from
// random bytes, so the input is also taken as a list of records whose checksums are made to fit. What begins with a
// bracket is an SDB file, for the type table.
#include "driver/run.h"

namespace {

using namespace tavrel;

void use(memory_files_t& memory) {
    const host_t host = memory_host(memory);
    for (const char* const key : {"-iomf51", "-ieomf51"}) {
        tavrel_run({"-v", "-v", key, "in", "-oomf51", "a", "-oeomf51", "b"}, host);
        tavrel_run({"-d", "-v", "-v", key, "in"}, host);
    }
}

// Each record: a type byte, a length byte, that many bytes of body.
std::string framed(const uint8_t* data, size_t size) {
    std::string file;
    for (size_t at = 0; at + 2 <= size;) {
        const uint8_t type = data[at];
        const size_t length = std::min<size_t>(data[at + 1], size - at - 2);
        std::string record = {static_cast<char>(type), static_cast<char>(length + 1),
                              static_cast<char>((length + 1) >> 8)};
        record.append(reinterpret_cast<const char*>(data + at + 2), length);
        char sum = 0;
        for (const char c : record) {
            sum = static_cast<char>(sum + c);
        }
        file += record;
        file.push_back(static_cast<char>(-sum));
        at += 2 + length;
    }
    return file;
}

void use_types(const uint8_t* data, size_t size) {
    memory_files_t memory;
    memory.files["m"] = "622 0 full: %s\n";
    memory.files["in.sym"] =
        "zero 0 0 ABS\nm.obj\na.c\n_f 10 0 CODE\n_a 20 0 DATA\n?a_f 30 0 DATA\n1 10 0 CODE\n5 20 0 CODE\n";
    memory.files["m.sdb"].assign(reinterpret_cast<const char*>(data), size);
    const host_t host = memory_host(memory);
    tavrel_run({"--edf=m", "-p8051", "in.sym", "-oeomf51", "o.x", "-oomf51", "p.x"}, host);
    tavrel_run({"-d", "-ieomf51", "o.x"}, host);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size != 0 && data[0] == '[') {
        use_types(data, size);
        return 0;
    }
    memory_files_t memory;
    memory.files["in"].assign(reinterpret_cast<const char*>(data), size);
    use(memory);
    memory.files["in"] = framed(data, size);
    use(memory);
    return 0;
}
