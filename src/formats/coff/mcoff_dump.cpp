// Microchip COFF, printed: file header and optional header here, the rest in the family's own way.
#include "formats/coff/coff_family.h"
#include "formats/coff/mcoff.h"
#include "formats/coff/mcoff_layout.h"

namespace tavrel {
namespace {

void dump_header(coff_file_t& file) {
    const uint32_t little_endian_magic = (file.magic & 0xFF) << 8 | file.magic >> 8;
    print(file.run.out,
          "COFF header:\n\tMagic:\t\t0x%X\n\tSections:\t%u\n\tDated:\t\t%s\tSymptr:\t\t0x%lX\n\tNsyms:\t\t%ld\n"
          "\tOpthdr:\t\t%u\n\tFlags:\t\t0x%X",
          little_endian_magic, file.section_count, date_text(file.date), file.symbols_at, file.symbol_count,
          file.optional_size, file.flags);
    coff_dump_flags(file);
}

void print_optional_header(coff_file_t& file, const coff_record_t& header) {
    printer_t& out = file.run.out;
    coff_dump_optional_magic(file, "Optional header", header.u16(mcoff_at::opt_magic));
    const uint32_t version = header.u32(mcoff_at::vstamp);
    print(out, "\n\tVersion:\t%ld\n\tProcessor:\t0x%lX\n\tROM width:\t%lu\n\tRAM width:\t%lu\n", version,
          header.u32(mcoff_at::proc_type), header.u32(mcoff_at::rom_width), header.u32(mcoff_at::ram_width));
    if (version != mcoff_version) {
        alert(file.run, 638, mcoff_version);
    }
}

void dump_optional_header(coff_file_t& file) {
    if (file.optional_size == 0) {
        return;
    }
    if (file.optional_size != mcoff_optional_size) {
        alert(file.run, 1036, "optional", mcoff_optional_size);
    } else if (const auto header = coff_record(file, coff_file_header_size, mcoff_optional_size); header.is_there()) {
        print_optional_header(file, header);
    } else {
        coff_short_read(file, "optional header");
    }
    put_text(file.run.out, "\n");
}

void print_line(printer_t& out, const coff_line_t& line) {
    print(out, "%5.5ld:\tsrcndx: %lu, paddr: 0x%lX, flags 0x%X, fcnndx: %lu\n", line.number,
          line.record.u32(mcoff_at::l_srcndx), line.address, line.record.u16(mcoff_at::l_flags),
          line.record.u32(mcoff_at::l_fcnndx));
}

} // namespace

bool mcoff_dump(run_t& run, input_t& in) {
    run.big_endian = 0;
    coff_file_t file(run, in, mcoff_kind(1));
    if (!coff_read_header(file)) {
        return false;
    }
    dump_header(file);
    dump_optional_header(file);
    return coff_dump_body(file, print_line);
}

} // namespace tavrel
