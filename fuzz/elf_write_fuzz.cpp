// The ELF writer on models and trees from any symbol file, SDB file and image, and the dump of what it wrote. The input
// is a byte of options, then the three texts with bytes 1 between them.
#include "driver/run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tavrel;
    if (size == 0) {
        return 0;
    }
    constexpr const char* processors[] = {"-p16F877", "-p18F452",          "-p30F6014,dsPIC", "-p32MX360,PIC32MX",
                                          "-p8051",   "-pARM7,,ARM,Knuth", "-pHT48R05",       "-px"};
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t first = std::min(text.find('\1'), text.size());
    const size_t second = std::min(text.find('\1', first + 1), text.size());
    memory_files_t memory;
    memory.files["m.sym"] = "start 0 0 CODE\n" + text.substr(0, first); // a line by which the file is known
    memory.files["m.sdb"] = text.substr(std::min(first + 1, second), second - std::min(first + 1, second));
    memory.files["m.hex"] = text.substr(std::min(second + 1, text.size()));
    const host_t host = memory_host(memory);
    const char* const order = (data[0] & 8) != 0 ? "-b" : "-v";
    tavrel_run({order, processors[data[0] & 7], "-nCODE", "--emax=1000000", "m.sym", "m.hex", "-oelf", "out"}, host);
    tavrel_run({"-ielf", "-d", "-v", "-v", "out.elf"}, host);
    return 0;
}
