// Plain COFF into the linker-level model, as far as its processor row lets it be read. Nothing in it differs from
// Microchip COFF beyond what coff_kind tells, but that an optional header is skipped.
#include "formats/coff/coff.h"
#include "formats/coff/coff_family.h"
#include "formats/coff/coff_layout.h"

namespace tavrel {

bool coff_read(run_t& run, input_t& in, text_t) {
    coff_choose_row(run, in, coff_rows, run.formats.coff_row);
    coff_file_t file(run, in, coff_kind(run));
    return coff_read_header(file) && coff_read_strings(file) && coff_add_segments(file) && coff_add_blocks(file) &&
           coff_add_symbols(file) && coff_add_lines(file);
}

} // namespace tavrel
