// Plain COFF, printed: file header and the AOUT header of PIC files here, the rest in the family's own way.
#include "formats/coff/coff.h"
#include "formats/coff/coff_family.h"
#include "formats/coff/coff_layout.h"

namespace tavrel {
namespace {

void dump_header(coff_file_t& file) {
    printer_t& out = file.run.out;
    print(out, "COFF header:\n\tMagic:\t\t0x%X", file.magic);
    if (const uint32_t row = file.run.formats.coff_row; row != 0) {
        print(out, " (%s)", coff_rows[row].name);
    }
    print(out,
          "\n\tSections:\t%u\n\tDated:\t\t%s\tSymptr:\t\t0x%lX\n\tNsyms:\t\t%ld\n\tOpthdr:\t\t%u\n\tFlags:\t\t0x%X",
          file.section_count, date_text(file.date), file.symbols_at, file.symbol_count, file.optional_size, file.flags);
    coff_dump_flags(file);
}

void print_aout_header(coff_file_t& file, const coff_record_t& header) {
    coff_dump_optional_magic(file, "AOUT optional header", header.u16(coff_aout_at::magic));
    print(file.run.out,
          "\n\tVersion:\t0x%X\n\tText size:\t0x%lX\n\tInit. data:\t0x%lX\n\tUninit. data:\t0x%lX\n"
          "\tEntry point:\t0x%lX\n\tText base:\t0x%lX\n\tData base:\t0x%lX\n",
          header.u16(coff_aout_at::version), header.u32(coff_aout_at::text_size), header.u32(coff_aout_at::data_size),
          header.u32(coff_aout_at::bss_size), header.u32(coff_aout_at::entry), header.u32(coff_aout_at::text_base),
          header.u32(coff_aout_at::data_base));
}

void dump_aout_header(coff_file_t& file) {
    if (file.optional_size != coff_optional_size) {
        alert(file.run, 1036, "AOUT", coff_optional_size);
    } else if (const auto header = coff_record(file, coff_file_header_size, coff_optional_size); header.is_there()) {
        print_aout_header(file, header);
    } else {
        coff_short_read(file, "AOUT optional header");
    }
}

void print_line(printer_t& out, const coff_line_t& line) { print(out, "%5.5ld:\t%lX\n", line.number, line.address); }

} // namespace

bool coff_dump(run_t& run, input_t& in) {
    coff_choose_row(run, in, coff_rows, run.formats.coff_row);
    coff_file_t file(run, in, coff_kind(run));
    if (!coff_read_header(file)) {
        return false;
    }
    dump_header(file);
    if (file.optional_size != 0) {
        if (file.magic == coff_magic_pic12 || file.magic == coff_magic_pic30) {
            dump_aout_header(file);
        }
        put_text(run.out, "\n");
    }
    return coff_dump_body(file, print_line);
}

} // namespace tavrel
