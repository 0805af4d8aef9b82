// The steps in which the dumps of the COFF family print a file. Where Microchip COFF and plain COFF print differently,
// coff_kind_t says how; ICOFF takes the first steps only.
#include <algorithm>
#include <bit>

#include "formats/coff/coff_family.h"

namespace tavrel {

// ---- headers and string table

void coff_dump_flags(coff_file_t& file) {
    for (size_t bit = 0; bit < coff_f_flag_texts.size(); ++bit) {
        if ((file.flags >> bit & 1) != 0) {
            print(file.run.out, " %s", coff_f_flag_texts[bit]);
        }
    }
    put_text(file.run.out, "\n\n");
}

void coff_dump_optional_magic(coff_file_t& file, const char* title, uint32_t magic) {
    print(file.run.out, "%s:\n\tMagic:\t\t0x%X", title, magic);
    if (magic >= coff_opt_magic_first && magic <= coff_opt_magic_last) {
        put_text(file.run.out, " (Norvane Software)");
    }
}

void coff_dump_strings(coff_file_t& file, uint32_t first) {
    for (size_t at = first; at < file.strings.size();) {
        const auto rest = file.strings.subspan(at);
        const auto size = static_cast<size_t>(std::find(rest.begin(), rest.end(), 0) - rest.begin());
        print(file.run.out, "%5d:\t%s\n", at, text_t(reinterpret_cast<const char*>(rest.data()), size));
        at += size + 1;
    }
}

namespace {

// From the highest bit that the format knows down to bit 1.
void dump_section_flags(printer_t& out, uint32_t flags, uint32_t known_bits) {
    bool is_first = true;
    for (uint32_t bit = known_bits; bit-- > 1;) {
        if ((flags >> bit & 1) != 0) {
            print(out, is_first ? " ( %s" : ", %s", coff_s_flag_texts[bit]);
            is_first = false;
        }
    }
    if (!is_first) {
        put_text(out, " )");
    }
}

void dump_sections(coff_file_t& file) {
    printer_t& out = file.run.out;
    uint32_t number = file.kind.first_section;
    for (const coff_section_t& section : file.sections) {
        print(out, "Section %d: %s: @%lX", number++, section.name, section.paddr);
        if (file.run.verbose > 1) {
            print(out, " scnptr 0x%lX relptr 0x%lX lnnoptr 0x%lX", section.scnptr, section.relptr, section.lnnoptr);
        }
        print(out, " size 0x%lX lines %u relocs %u flags 0x%lX", section.size, section.nlnno, section.nreloc,
              section.flags);
        if (file.run.verbose > 1) {
            dump_section_flags(out, section.flags, file.kind.section_flag_bits);
        }
        put_text(out, "\n");
    }
}

// ---- types

uint32_t base_of(const coff_kind_t& kind, const coff_symbol_t& symbol) { return symbol.type & kind.shape.base_mask(); }

uint32_t outermost(const coff_kind_t& kind, uint32_t type) {
    return type >> kind.shape.base_bits & kind.shape.derivation_mask();
}

bool is_tagged(uint32_t base) { return base == T_STRUCT || base == T_UNION || base == T_ENUM; }

void add_function_text(std::string& text, const coff_record_t& aux) {
    text += "function ";
    if (aux.is_there()) {
        print(text, "[lineptr %lX, endndx %ld] ", aux.u32(coff_at::x_lnnoptr), aux.u32(coff_at::x_endndx));
    }
    text += "returning ";
}

void add_array_text(std::string& text, const coff_record_t& aux, uint32_t& dimension) {
    text += "array ";
    if (aux.is_there() && dimension < coff_dimensions) {
        print(text, "[%u] of ", aux.u16(coff_at::x_dimen + 2 * dimension++));
    } else {
        text += "[] of ";
    }
}

void add_base_text(std::string& text, const coff_record_t& aux, uint32_t base) {
    if (base < coff_base_texts.size()) {
        text += coff_base_texts[base];
    } else {
        print(text, "type 0x%lX", base);
    }
    if (aux.is_there() && is_tagged(base)) {
        print(text, " [%lu]", aux.u32(coff_at::x_tagndx));
    }
}

// The type in words. Only the low 16 bits of a type word are told, also where it has 32.
std::string type_text(const coff_kind_t& kind, const coff_symbol_t& symbol) {
    std::string text;
    uint32_t dimension = 0;
    for (uint32_t word = symbol.type & 0xFFFF; outermost(kind, word) != DT_NON; word >>= kind.shape.derivation_bits) {
        switch (outermost(kind, word)) {
        case DT_PTR: text += "pointer to "; break;
        case DT_FCN: add_function_text(text, symbol.aux); break;
        case DT_ARY: add_array_text(text, symbol.aux, dimension); break;
        default: break;
        }
    }
    add_base_text(text, symbol.aux, base_of(kind, symbol));
    return text;
}

struct extent_t {
    uint32_t size; // bytes
    uint32_t count;
};

extent_t extent_of(const coff_kind_t& kind, const coff_symbol_t& symbol) {
    const uint32_t base = base_of(kind, symbol);
    const uint32_t derivation = outermost(kind, symbol.type);
    const uint32_t base_size = base < kind.base_sizes.size() ? kind.base_sizes[base] : 0;
    extent_t extent = {derivation == DT_PTR ? kind.pointer_size : base_size, 1};
    if (symbol.aux.is_there()) {
        const uint32_t size = symbol.aux.u16(coff_at::x_size);
        if (is_tagged(base)) {
            extent.size = size;
        }
        if (derivation == DT_ARY) {
            extent = {size, base_size == 0 ? size : size / base_size};
        }
    }
    return extent;
}

// ---- symbols

std::string class_text(const coff_kind_t& kind, uint32_t sclass) {
    for (const coff_sclass_row_t& row : coff_sclasses) {
        if (row.value == sclass && (kind.mcoff_classes || !row.mcoff_only)) {
            return row.text;
        }
    }
    return format_text("??Unknown (%u)", sclass);
}

void dump_variable(coff_file_t& file, const coff_symbol_t& symbol) {
    print(file.run.out, "%s = %lX: %s", symbol.name, symbol.value, type_text(file.kind, symbol));
}

void dump_placed(coff_file_t& file, const coff_symbol_t& symbol) {
    print(file.run.out, "%s = %lX: %s %s", symbol.name, symbol.value, coff_section_name(file, symbol.scnum),
          type_text(file.kind, symbol));
}

void dump_tag(coff_file_t& file, const coff_symbol_t& symbol) {
    put_text(file.run.out, symbol.name);
    if (const coff_record_t& aux = symbol.aux; aux.is_there()) {
        print(file.run.out, ": tag %lu, size %u, index %lu", aux.u32(coff_at::x_tagndx), aux.u16(coff_at::x_size),
              aux.u32(coff_at::x_endndx));
    }
}

void dump_bit_field(coff_file_t& file, const coff_symbol_t& symbol) {
    print(file.run.out, "%s = %lX", symbol.name, symbol.value);
    if (symbol.aux.is_there()) {
        print(file.run.out, ": size %u", symbol.aux.u16(coff_at::x_size));
    }
}

void dump_bracket(coff_file_t& file, const coff_symbol_t& symbol) {
    print(file.run.out, "%s = %lX: %s", symbol.name, symbol.value, coff_section_name(file, symbol.scnum));
    if (const coff_record_t& aux = symbol.aux; aux.is_there()) {
        print(file.run.out, ": line %u, index %lu", aux.u16(coff_at::x_lnno), aux.u32(coff_at::x_endndx));
    }
}

void dump_file(coff_file_t& file, const coff_symbol_t& symbol, text_t file_name) {
    if (symbol.aux.is_there()) {
        print(file.run.out, file.kind.file_detail, file_name, symbol.aux.u32(coff_at::x_incline));
    } else {
        print(file.run.out, file.kind.bare_file, symbol.name);
    }
}

void dump_listing(coff_file_t& file, const coff_symbol_t& symbol) {
    const text_t what = symbol.name == ".list" ? "ON" : symbol.name == ".nolist" ? "OFF" : symbol.name;
    print(file.run.out, "%s: %lX", what, symbol.value);
}

void dump_section_symbol(coff_file_t& file, const coff_symbol_t& symbol) {
    print(file.run.out, "%s = %lX", symbol.name, symbol.value);
    if (const coff_record_t& aux = symbol.aux; aux.is_there()) {
        print(file.run.out, ": size %lX, relocs %d, lines %d", aux.u32(coff_at::x_scnlen), aux.u16(coff_at::x_nreloc),
              aux.u16(coff_at::x_nlinno));
    }
}

// What Microchip's own classes tell.
void dump_mcoff_detail(coff_file_t& file, const coff_symbol_t& symbol) {
    switch (symbol.sclass) {
    case C_EOF: put_text(file.run.out, symbol.name); break;
    case C_LIST: dump_listing(file, symbol); break;
    case C_SECTION: dump_section_symbol(file, symbol); break;
    default: break;
    }
}

void dump_detail(coff_file_t& file, const coff_symbol_t& symbol, text_t known_as) {
    switch (symbol.sclass) {
    case C_NULL: put_text(file.run.out, symbol.name); break;
    case C_AUTO:
    case C_REG:
    case C_MOS:
    case C_ARG:
    case C_MOU:
    case C_TPDEF:
    case C_MOE:
    case C_REGPARM:
    case C_AUTOARG: dump_variable(file, symbol); break;
    case C_EXT:
    case C_STAT:
    case C_LABEL:
    case C_WEAKEXT: dump_placed(file, symbol); break;
    case C_STRTAG:
    case C_UNTAG:
    case C_ENTAG:
    case C_EOS: dump_tag(file, symbol); break;
    case C_FIELD: dump_bit_field(file, symbol); break;
    case C_BLOCK:
    case C_FCN: dump_bracket(file, symbol); break;
    case C_FILE: dump_file(file, symbol, known_as); break;
    default:
        if (file.kind.mcoff_classes) {
            dump_mcoff_detail(file, symbol);
        }
        break;
    }
}

// The name by which line records call a symbol: its own, or that of the file that its auxiliary record names.
text_t known_name(coff_file_t& file, const coff_symbol_t& symbol) {
    if (symbol.sclass != C_FILE || !symbol.aux.is_there()) {
        return symbol.name;
    }
    return file.kind.file_name_size == 0 ? coff_string(file, symbol.aux.u32(coff_at::x_offset))
                                         : coff_name(file, symbol.aux, file.kind.file_name_size);
}

void dump_symbol(coff_file_t& file, uint32_t index, const coff_symbol_t& symbol, text_t known_as) {
    printer_t& out = file.run.out;
    const extent_t extent = extent_of(file.kind, symbol);
    print(out, file.kind.symbol_head, index, symbol.scnum);
    print(out, "%24.24s %u %lu[%lu]\t", class_text(file.kind, symbol.sclass), symbol.numaux, extent.size, extent.count);
    dump_detail(file, symbol, known_as);
    put_text(out, "\n");
}

// The names of the symbols by index; auxiliary records have none.
using names_t = std::vector<text_t>;

bool dump_symbols(coff_file_t& file, names_t& names) {
    for (uint64_t index = 0; index < file.symbol_count;) {
        coff_symbol_t symbol;
        if (!coff_take_symbol(file, index, symbol) || file.allowance < 0) {
            return coff_short_read(file, "COFF symbol table");
        }
        names.resize(index + 1);
        names[index] = known_name(file, symbol);
        dump_symbol(file, static_cast<uint32_t>(index), symbol, names[index]);
        if (index + symbol.numaux > file.symbol_count) {
            alert(file.run, 1039);
            return false;
        }
        index += symbol.numaux + 1;
    }
    return true;
}

// ---- line records

bool dump_section_lines(coff_file_t& file, const coff_section_t& section, const names_t& names,
                        void (*print_line)(printer_t& out, const coff_line_t& line)) {
    for (uint32_t k = 0; k < section.nlnno && file.kind.line_size != 0; ++k) {
        coff_line_t line;
        if (!coff_take_line(file, section, k, line)) {
            return false;
        }
        if (line.number != 0) {
            print_line(file.run.out, line);
            continue;
        }
        const text_t name = line.address < names.size() ? names[line.address] : text_t();
        print(file.run.out, "Symbol: %s (%lu)\n", is_none(name) ? "??" : coff_spend_name(file, name), line.address);
    }
    return true;
}

bool dump_lines(coff_file_t& file, const names_t& names, void (*print_line)(printer_t& out, const coff_line_t& line)) {
    uint32_t number = file.kind.first_section;
    for (const coff_section_t& section : file.sections) {
        if (section.nlnno != 0) {
            print(file.run.out, "Section %d line numbers: %lu, file offset 0x%lX\n", number, section.nlnno,
                  section.lnnoptr);
            if (!dump_section_lines(file, section, names, print_line)) {
                return false;
            }
        }
        ++number;
    }
    return true;
}

} // namespace

bool coff_dump_body(coff_file_t& file, void (*print_line)(printer_t& out, const coff_line_t& line)) {
    if (!coff_read_strings(file) || !coff_read_sections(file)) {
        return false;
    }
    printer_t& out = file.run.out;
    dump_sections(file);
    print(out, "\nString table: %ld bytes, file offset 0x%lX\n", file.strings.size(), coff_strings_at(file));
    if (file.run.verbose > 1) {
        coff_dump_strings(file, coff_string_start);
    }
    put_text(out, "\n");
    names_t names;
    if (file.run.verbose != 0) {
        put_text(out, "Symbol table:\n");
        if (!dump_symbols(file, names)) {
            return false;
        }
    }
    put_text(out, "\n");
    return file.run.verbose == 0 || dump_lines(file, names, print_line);
}

} // namespace tavrel
