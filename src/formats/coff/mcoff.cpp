// Microchip COFF: the debug file of PIC parts, which the maker's simulators and debuggers load. Among the COFF family
// it is the wide one: 20-byte symbols with 32-bit type words, 16-byte line records, and an optional header that names
// the processor and the widths of its memories. What a reader has to know of it beyond the family's common ways stands
// here.
#include "formats/coff/mcoff.h"

#include "formats/coff/coff_family.h"
#include "formats/coff/mcoff_layout.h"

namespace tavrel {

const format_t mcoff_format = {
    mcoff_probe, mcoff_read, mcoff_write, mcoff_dump, "Microchip COFF", "mcoff", "cof", true,
};

coff_kind_t mcoff_kind(uint32_t rom_bytes) {
    return {
        .unit = rom_bytes,
        .names_in_strings = true,
        .first_section = 0,
        .section_flag_bits = coff_s_flag_texts.size(),
        .line_size = mcoff_line_size,
        .line_number_at = mcoff_at::l_lnno,
        .line_number_size = 2,
        .line_address_at = mcoff_at::l_paddr,
        .shape = mcoff_shape,
        .base_sizes = mcoff_base_sizes,
        .pointer_size = mcoff_pointer_size,
        .mcoff_classes = true,
        .file_name_size = 0,
        .symbol_head = "%5u:\t",
        .file_detail = "%s [%u]",
        .bare_file = "",
    };
}

bool mcoff_probe(run_t& run, input_t& in) {
    if (coff_magic(in) != mcoff_magic) {
        return false;
    }
    run.big_endian = 0;
    return coff_is_plausible(run, in);
}

} // namespace tavrel
