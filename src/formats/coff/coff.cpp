// Plain COFF, the common object file format of eleven processors: 18-byte symbols with 16-bit type words, and a byte
// order, line records, units and sizes of types that follow from the processor. The magic number chooses the row of
// coff_layout.h; rows that share one are told apart on writing only.
#include "formats/coff/coff.h"

#include <algorithm>

#include "formats/coff/coff_family.h"
#include "formats/coff/coff_layout.h"

namespace tavrel {

const format_t coff_format = {
    coff_probe, coff_read, coff_write, coff_dump, "COFF", "coff", "cof", true,
};

coff_kind_t coff_kind(const run_t& run) {
    const coff_row_t& row = coff_rows[run.formats.coff_row];
    return {
        .unit = std::max(row.rom_unit, 1U),
        .names_in_strings = false,
        .first_section = 1,
        .section_flag_bits = coff_plain_s_flag_bits,
        .line_size = row.line_size,
        .line_number_at = coff_line_at::l_line,
        .line_number_size = row.line_size == 8 ? 4U : 2U,
        .line_address_at = coff_line_at::l_addr,
        .shape = coff_shape,
        .base_sizes = *row.base_sizes,
        .pointer_size = row.pointer_size,
        .mcoff_classes = false,
        .file_name_size = coff_file_name_max,
        .symbol_head = "%5u: (%ld)\t",
        .file_detail = "%s",
        .bare_file = "%s",
    };
}

bool coff_probe(run_t& run, input_t& in) { return coff_probe_rows(run, in, coff_rows, run.formats.coff_row); }

} // namespace tavrel
