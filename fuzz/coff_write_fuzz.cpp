// Any program as an output of the COFF family: the first byte chooses the processor, the rest is a symbol file and the
// SDB files of the objects "m.obj" and "n.obj", with bytes of 1 between them. Messages are warnings here.
#include "driver/run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tavrel;
    if (size == 0) {
        return 0;
    }
    constexpr const char* processors[] = {
        "-p16F877,877,PIC14", "-p16C54,54,PIC12", "-p18F452", "-pPIC30", "-p8051", "-pH8/300",
    };
    memory_files_t memory;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t first = text.find('\1');
    const size_t second = first == std::string::npos ? first : text.find('\1', first + 1);
    memory.files["a.sym"] = text.substr(0, first);
    if (first != std::string::npos) {
        memory.files["m.sdb"] = text.substr(first + 1, second - first - 1);
    }
    if (second != std::string::npos) {
        memory.files["n.sdb"] = text.substr(second + 1);
    }
    memory.files["a.hex"] = ":10000000000102030405060708090A0B0C0D0E0F78\n:00000001FF\n";
    for (const char* const number :
         {"413", "599", "600", "601", "627", "629", "630", "631", "637", "668", "669", "1289"}) {
        memory.files["messages"] += number + std::string(" 1 %d %s\n");
    }
    const host_t host = memory_host(memory);
    const char* const processor = processors[data[0] % std::size(processors)];
    tavrel_run({"--edf=messages", processor, "-nCODE", "-inorvane", "a.sym", "-iihex", "a.hex", "-omcoff", "a.cof",
                "-ocoff", "b.cof", "-oicoff", "c.cof"},
               host);
    memory.files.erase("a.cof");
    tavrel_run(
        {"--edf=messages", processor, "-nCODE", "-m", "-inorvane", "a.sym", "-ocoff", "b.cof", "-omcoff", "a.cof"},
        host);
    return 0;
}
