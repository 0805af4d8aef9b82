// ICOFF, the Introl variant of COFF: segments, image bytes, symbols by source file and line numbers, and no types. Its
// symbol record is its own, it has no auxiliary records, and its string table is sorted, opens with an empty string and
// has no size: it runs to the end of the file. Headers, data and line records are those of the family (coff_family.h).
#include "formats/coff/icoff.h"

#include <algorithm>

#include "formats/coff/coff_family.h"
#include "formats/coff/icoff_layout.h"

namespace tavrel {

const format_t icoff_format = {
    icoff_probe, icoff_read, icoff_write, icoff_dump, "ICOFF", "icoff", "cof", true,
};

bool icoff_probe(run_t& run, input_t& in) { return coff_probe_rows(run, in, icoff_rows, run.formats.icoff_row); }

namespace {

constexpr coff_kind_t icoff_kind = {
    .line_size = icoff_line_size,
    .line_number_at = icoff_at::l_line,
    .line_number_size = 2,
    .line_address_at = icoff_at::l_addr,
    .shape = coff_shape, // of which only the size of a record holds here
};

struct icoff_symbol_t {
    uint32_t name_offset;
    text_t name; // not owned: in the input
    uint32_t value;
    int32_t scnum;
    uint32_t sclass;
    uint32_t type;
};

bool take_symbol(coff_file_t& file, uint32_t index, icoff_symbol_t& symbol) {
    const coff_record_t record =
        coff_record(file, file.symbols_at + uint64_t(index) * icoff_symbol_size, icoff_symbol_size);
    if (!record.is_there() || file.allowance < 0) {
        return coff_short_read(file, "COFF symbol table");
    }
    symbol.name_offset = record.u32(icoff_at::i_name);
    symbol.name = coff_string(file, symbol.name_offset);
    symbol.value = record.u32(icoff_at::i_value);
    symbol.scnum = static_cast<int32_t>(record.u32(icoff_at::i_scnum));
    symbol.sclass = record.u8(icoff_at::i_class);
    symbol.type = record.u8(icoff_at::i_type);
    return true;
}

bool take_strings(coff_file_t& file) {
    const uint64_t at = coff_strings_at(file);
    if (at > file.bytes.size()) {
        return coff_short_read(file, "COFF string table");
    }
    file.strings = file.bytes.subspan(static_cast<size_t>(at));
    return true;
}

const icoff_class_row_t* find_class_row(uint32_t sclass) {
    const auto* const row = std::ranges::find(icoff_classes, sclass, &icoff_class_row_t::value);
    return row == std::end(icoff_classes) ? nullptr : row;
}

// ---- reader

bool add_symbols(coff_file_t& file) {
    uint32_t current_file = 0;
    icoff_symbol_t symbol;
    for (uint32_t k = 0; k < file.symbol_count; ++k) {
        if (!take_symbol(file, k, symbol)) {
            return false;
        }
        if (symbol.sclass >= I_GLOBAL && symbol.sclass <= I_LABEL) {
            const auto segment = static_cast<uint32_t>(std::max(symbol.scnum, 0));
            add_symbol(file.run.model, symbol.name, symbol.value, segment, current_file, 0);
        } else if (symbol.sclass == I_FILE) {
            current_file = coff_add_file(file, symbol.name, k);
        } else if (find_class_row(symbol.sclass) == nullptr) {
            alert(file.run, 633, symbol.sclass);
        }
    }
    return true;
}

// ---- dump

void dump_header(coff_file_t& file) {
    print(file.run.out,
          "COFF header:\n\tMagic:\t0%o\n\tSections:\t%u\n\tDated:\t%s\tSymptr:\t%lX\n\tNsyms:\t%ld\n\tOpthdr:\t%u\n"
          "\tFlags:\t0x%X",
          file.magic, file.section_count, date_text(file.date), file.symbols_at, file.symbol_count, file.optional_size,
          file.flags);
    coff_dump_flags(file);
}

void dump_sections(coff_file_t& file) {
    uint32_t number = 0;
    for (const coff_section_t& section : file.sections) {
        print(file.run.out, "Section %d: %s: @%lX size %lX lines %u flags %lX\n", number++, section.name, section.paddr,
              section.size, section.nlnno, section.flags);
    }
}

// Every flag whose bit is set, though some share one.
std::string type_text(uint32_t type) {
    const uint32_t simple = type & 0xF;
    std::string text = simple < icoff_simple_types.size() ? icoff_simple_types[simple] : "??type";
    for (const icoff_type_flag_t& flag : icoff_type_flags) {
        if ((type & flag.bit) != 0) {
            text += ' ';
            text += flag.text;
        }
    }
    return text;
}

void dump_detail(coff_file_t& file, const icoff_symbol_t& symbol) {
    printer_t& out = file.run.out;
    switch (symbol.sclass) {
    case I_GLOBAL:
    case I_LOCAL:
    case I_LABEL:
        print(out, "%s = %lX:%s %s\n", symbol.name, symbol.value, coff_section_name(file, symbol.scnum),
              type_text(symbol.type));
        break;
    case I_FUNCTION_END:
    case I_FUNCTION_ENTRY:
    case I_FUNCTION_EXIT:
    case I_BLOCK_BEGIN:
    case I_BLOCK_END:
        print(out, "%s = %lX:%s\n", symbol.name, symbol.value, coff_section_name(file, symbol.scnum));
        break;
    case I_SECTION_SIZE: print(out, "%s, value=%lX, section=%ld\n", symbol.name, symbol.value, symbol.scnum); break;
    case I_SIMPLE: print(out, "%s %s\n", symbol.name, type_text(symbol.type)); break;
    case I_LOCAL_VARIABLE:
    case I_PARAMETER: print(out, "%s = %lX:%s\n", symbol.name, symbol.value, type_text(symbol.type)); break;
    case I_FILE: print(out, "%s\n", symbol.name); break;
    default: put_text(out, "\n"); break;
    }
}

bool dump_symbols(coff_file_t& file) {
    size_t files = 0;
    icoff_symbol_t symbol;
    for (uint32_t k = 0; k < file.symbol_count; ++k) {
        if (!take_symbol(file, k, symbol)) {
            return false;
        }
        const icoff_class_row_t* const row = find_class_row(symbol.sclass);
        print(file.run.out, "%5u: %5u:\t%20.20s\t", k, symbol.name_offset, row == nullptr ? "??Unknown" : row->text);
        dump_detail(file, symbol);
        if (symbol.sclass == I_FILE && ++files > coff_file_symbol_limit) {
            alert(file.run, 625);
        }
    }
    return true;
}

void dump_line_headings(coff_file_t& file) {
    for (uint32_t k = 0; k < file.sections.size(); ++k) {
        if (file.sections[k].nlnno != 0) {
            print(file.run.out, "Section %d line numbers:\n", k);
        }
    }
}

} // namespace

bool icoff_read(run_t& run, input_t& in, text_t) {
    coff_choose_row(run, in, icoff_rows, run.formats.icoff_row);
    coff_file_t file(run, in, icoff_kind);
    return coff_read_header(file) && coff_add_segments(file) && coff_add_blocks(file) && take_strings(file) &&
           add_symbols(file) && coff_add_lines(file);
}

bool icoff_dump(run_t& run, input_t& in) {
    coff_choose_row(run, in, icoff_rows, run.formats.icoff_row);
    coff_file_t file(run, in, icoff_kind);
    if (!coff_read_header(file)) {
        return false;
    }
    dump_header(file);
    if (!coff_read_sections(file)) {
        return false;
    }
    dump_sections(file);
    if (!take_strings(file)) {
        return false;
    }
    print(run.out, "String table: %ld bytes\n", file.strings.size());
    if (run.verbose > 1) {
        coff_dump_strings(file, 0);
        put_text(run.out, "\n");
    }
    if (run.verbose != 0) {
        if (!dump_symbols(file)) {
            return false;
        }
        dump_line_headings(file);
    }
    return true;
}

} // namespace tavrel
