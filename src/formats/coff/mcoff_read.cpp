// Microchip COFF into the linker-level model: sections as segments, their data as blocks, symbols, source files and
// line numbers. Types, tags, blocks and functions stay behind; the tree is not rebuilt from this file.
//
// Section addresses count program words, also those of data memory: all of them are scaled by the program word.
#include "formats/coff/coff_family.h"
#include "formats/coff/mcoff.h"
#include "formats/coff/mcoff_layout.h"

namespace tavrel {
namespace {

// A file without an optional header of the known size takes the widths of the file before.
bool read_optional_header(coff_file_t& file) {
    if (file.optional_size != mcoff_optional_size) {
        alert(file.run, 1043);
        return true;
    }
    const coff_record_t header = coff_record(file, coff_file_header_size, mcoff_optional_size);
    if (!header.is_there()) {
        return coff_short_read(file, "Microchip optional header");
    }
    format_state_t& kept = file.run.formats;
    kept.mcoff_proc_type = header.u32(mcoff_at::proc_type);
    kept.mcoff_rom_width = header.u32(mcoff_at::rom_width);
    kept.mcoff_ram_width = header.u32(mcoff_at::ram_width);
    return true;
}

} // namespace

bool mcoff_read(run_t& run, input_t& in, text_t) {
    run.big_endian = 0;
    coff_file_t file(run, in, mcoff_kind(1));
    if (!coff_read_header(file) || !read_optional_header(file)) {
        return false;
    }
    if (run.formats.mcoff_rom_width == 0 || run.formats.mcoff_ram_width == 0) {
        alert(run, 639);
    }
    file.kind.unit = mcoff_word_bytes(run.formats.mcoff_rom_width);
    return coff_read_strings(file) && coff_add_segments(file) && coff_add_blocks(file) && coff_add_symbols(file) &&
           coff_add_lines(file);
}

} // namespace tavrel
