// Any bytes as an ELF file. The input is either a whole file, or (first byte not 7F) pieces for the debug sections of a
// sound one, so that the fuzzer need not find the headers first.
#include <string>
#include <vector>

#include "driver/run.h"
#include "formats/elf/elf_builder.h"

namespace {

using namespace tavrel;

constexpr const char* section_names[] = {".debug_str",     ".debug_abbrev",   ".debug_info",     ".debug_line",
                                         ".debug_frame",   ".debug_pubnames", ".debug_pubtypes", ".debug_aranges",
                                         ".debug_macinfo", ".debug_loc",      ".debug_ranges"};

// Cuts the input at each "||": the first piece is .debug_str, and so on.
std::string file_of_pieces(std::string_view text, bool big_endian) {
    std::vector<testing::elf_part_t> parts;
    for (const char* const name : section_names) {
        const size_t end = text.find("||");
        parts.push_back({name, std::string(text.substr(0, end))});
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 2);
    }
    return testing::elf_file(parts, big_endian);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    memory_files_t memory;
    const bool whole = size != 0 && text[0] == '\x7F';
    memory.files["in"] = whole || size == 0 ? std::string(text) : file_of_pieces(text.substr(1), text[0] % 2 != 0);
    const host_t host = memory_host(memory);
    tavrel_run({"-d", "-v", "-v", "-v", "-v", "-ielf", "--emax=100000", "in"}, host);
    tavrel_run({"-d", "in"}, host);
    tavrel_run({"-ielf", "in", "-oelf"}, host);
    return 0;
}
