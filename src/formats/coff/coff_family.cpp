// The steps in which the readers of the COFF family take a file: header, string table, sections, data, symbols, lines.
// coff_family.h tells how the formats share them.
#include "formats/coff/coff_family.h"

#include <algorithm>
#include <cstring>

namespace tavrel {
namespace {

constexpr uint32_t piece_size = 0x4000; // most bytes of a block
constexpr uint32_t max_sections = 1000; // that a probe believes
constexpr size_t long_name = 256;       // shorter names are no more than their record explains

// Takes `size` bytes from the allowance; false once it is used up.
bool spend(coff_file_t& file, uint64_t size) {
    if (file.allowance >= 0) {
        file.allowance -= static_cast<int64_t>(size);
    }
    return file.allowance >= 0;
}

text_t text_of(std::span<const uint8_t> bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

text_t up_to_nul(std::span<const uint8_t> bytes) {
    const text_t text = text_of(bytes);
    return text.substr(0, text.find('\0'));
}

} // namespace

coff_file_t::coff_file_t(run_t& whole, const input_t& in, const coff_kind_t& format)
    : run(whole), kind(format), bytes(in.data()), big_endian(whole.big_endian),
      allowance((int64_t(1) << 20) + 4 * static_cast<int64_t>(in.bytes.size())) {}

// ---- bytes and records

bool coff_short_read(coff_file_t& file, const char* part) {
    alert(file.run, 1037, part);
    return false;
}

std::optional<std::span<const uint8_t>> coff_bytes(const coff_file_t& file, uint64_t offset, uint64_t size) {
    if (size == 0) {
        return std::span<const uint8_t>();
    }
    if (offset > file.bytes.size() || size > file.bytes.size() - offset) {
        return std::nullopt;
    }
    return file.bytes.subspan(static_cast<size_t>(offset), static_cast<size_t>(size));
}

coff_record_t coff_record(const coff_file_t& file, uint64_t offset, uint32_t size) {
    return {coff_bytes(file, offset, size).value_or(std::span<const uint8_t>()), file.big_endian};
}

// ---- file header

std::optional<uint32_t> coff_magic(const input_t& in) {
    if (in.bytes.size() < coff_file_header_size) {
        return std::nullopt;
    }
    return read16(in.data().data() + coff_at::f_magic, 1);
}

bool coff_is_plausible(const run_t& run, const input_t& in) {
    const coff_record_t header = {in.data().first(coff_file_header_size), run.big_endian};
    return header.u16(coff_at::f_nscns) <= max_sections && static_cast<int32_t>(header.u32(coff_at::f_symptr)) >= 0 &&
           static_cast<int32_t>(header.u32(coff_at::f_nsyms)) >= 0;
}

bool coff_read_header(coff_file_t& file) {
    const coff_record_t header = coff_record(file, 0, coff_file_header_size);
    if (!header.is_there()) {
        return coff_short_read(file, "COFF header");
    }
    file.magic = read16(header.bytes.data() + coff_at::f_magic, 1);
    file.section_count = header.u16(coff_at::f_nscns);
    file.date = header.u32(coff_at::f_timdat);
    file.symbols_at = header.u32(coff_at::f_symptr);
    file.symbol_count = header.u32(coff_at::f_nsyms);
    file.optional_size = header.u16(coff_at::f_opthdr);
    file.flags = header.u16(coff_at::f_flags);
    return true;
}

// ---- string table and names

uint64_t coff_strings_at(const coff_file_t& file) {
    return file.symbols_at + uint64_t(file.kind.shape.symbol_size) * file.symbol_count;
}

bool coff_read_strings(coff_file_t& file) {
    const uint64_t at = coff_strings_at(file);
    const coff_record_t size = coff_record(file, at, coff_string_start);
    if (!size.is_there()) {
        return coff_short_read(file, "COFF string table size");
    }
    if (size.u32(0) < coff_string_start) {
        alert(file.run, 1038);
        return false;
    }
    const auto table = coff_bytes(file, at, size.u32(0));
    if (!table) {
        return coff_short_read(file, "COFF string table");
    }
    file.strings = *table;
    return true;
}

text_t coff_spend_name(coff_file_t& file, text_t name) {
    if (name.size() > long_name) {
        spend(file, name.size());
    }
    return name;
}

text_t coff_string(coff_file_t& file, uint32_t offset) {
    if (offset >= file.strings.size()) {
        return "";
    }
    return coff_spend_name(file, up_to_nul(file.strings.subspan(offset)));
}

text_t coff_fixed_name(const coff_record_t& record, uint32_t size) { return up_to_nul(record.bytes.first(size)); }

text_t coff_name(coff_file_t& file, const coff_record_t& record, uint32_t size) {
    return record.u32(0) != 0 ? coff_fixed_name(record, size) : coff_string(file, record.u32(4));
}

text_t coff_section_name(coff_file_t& file, int32_t number) {
    if (number <= 0 || static_cast<uint32_t>(number) > file.sections.size()) {
        return "(abs)";
    }
    return coff_spend_name(file, file.sections[static_cast<uint32_t>(number) - 1].name);
}

// ---- sections

bool coff_read_sections(coff_file_t& file) {
    uint64_t at = coff_file_header_size + file.optional_size;
    for (uint32_t k = 0; k < file.section_count; ++k, at += coff_section_header_size) {
        const coff_record_t header = coff_record(file, at, coff_section_header_size);
        if (!header.is_there() || file.allowance < 0) {
            return coff_short_read(file, "COFF section header");
        }
        coff_section_t& section = file.sections.emplace_back();
        section.name = file.kind.names_in_strings ? coff_name(file, header, coff_name_size)
                                                  : coff_fixed_name(header, coff_name_size);
        section.paddr = header.u32(coff_at::s_paddr);
        section.size = header.u32(coff_at::s_size);
        section.scnptr = header.u32(coff_at::s_scnptr);
        section.relptr = header.u32(coff_at::s_relptr);
        section.lnnoptr = header.u32(coff_at::s_lnnoptr);
        section.nreloc = header.u16(coff_at::s_nreloc);
        section.nlnno = header.u16(coff_at::s_nlnno);
        section.flags = header.u32(coff_at::s_flags);
    }
    return true;
}

bool coff_add_segments(coff_file_t& file) {
    const bool is_whole = coff_read_sections(file);
    for (uint32_t k = 0; k < file.sections.size(); ++k) {
        const coff_section_t& section = file.sections[k];
        const uint32_t address = section.paddr * file.kind.unit;
        add_segment(file.run.model, section.name, address, section.size, address, k);
    }
    return is_whole;
}

namespace {

bool add_section_blocks(coff_file_t& file, const coff_section_t& section, uint32_t segment) {
    uint32_t address = section.paddr * file.kind.unit;
    for (uint64_t done = 0; done < section.size;) {
        const auto size = static_cast<uint32_t>(std::min<uint64_t>(section.size - done, piece_size));
        const auto piece = coff_bytes(file, section.scnptr + done, size);
        if (!piece || !spend(file, size)) {
            return coff_short_read(file, "COFF data");
        }
        add_block(file.run.model, address, size, piece->data(), segment);
        address += size;
        done += size;
    }
    return true;
}

} // namespace

bool coff_add_blocks(coff_file_t& file) {
    for (uint32_t k = 0; k < file.sections.size(); ++k) {
        const coff_section_t& section = file.sections[k];
        if ((section.flags & STYP_BSS) == 0 && !add_section_blocks(file, section, k + 1)) {
            return false;
        }
    }
    return true;
}

// ---- symbols

namespace {

coff_symbol_t decode_symbol(coff_file_t& file, const coff_record_t& record) {
    const coff_shape_t& shape = file.kind.shape;
    coff_symbol_t symbol;
    symbol.name = coff_name(file, record, coff_name_size);
    symbol.value = record.u32(coff_at::n_value);
    symbol.scnum = static_cast<int16_t>(record.u16(coff_at::n_scnum));
    symbol.type = shape.type_size == 4 ? record.u32(coff_at::n_type) : record.u16(coff_at::n_type);
    symbol.sclass = record.u8(shape.n_sclass);
    symbol.numaux = record.u8(shape.n_numaux);
    return symbol;
}

coff_record_t symbol_record(const coff_file_t& file, uint64_t index) {
    const uint32_t size = file.kind.shape.symbol_size;
    return coff_record(file, file.symbols_at + index * size, size);
}

// Classes that say nothing to the linker-level model.
constexpr uint8_t passed_classes[] = {
    C_NULL, C_AUTO,  C_MOS,     C_STRTAG,  C_MOU,   C_UNTAG, C_TPDEF, C_ENTAG,
    C_MOE,  C_FIELD, C_REGPARM, C_AUTOARG, C_BLOCK, C_FCN,   C_EOS,
};
constexpr uint8_t passed_mcoff_classes[] = {C_EOF, C_LIST, C_SECTION};

bool is_passed(const coff_kind_t& kind, uint32_t sclass) {
    return std::ranges::count(passed_classes, sclass) != 0 ||
           (kind.mcoff_classes && std::ranges::count(passed_mcoff_classes, sclass) != 0);
}

} // namespace

bool coff_take_symbol(coff_file_t& file, uint64_t index, coff_symbol_t& symbol) {
    const coff_record_t record = symbol_record(file, index);
    if (!record.is_there()) {
        return false;
    }
    symbol = decode_symbol(file, record);
    if (symbol.numaux != 0) {
        symbol.aux = symbol_record(file, index + 1);
        return symbol_record(file, index + symbol.numaux).is_there();
    }
    return true;
}

uint32_t coff_add_file(coff_file_t& file, text_t name, uint32_t symbol_index) {
    if (file.file_symbols.size() < coff_file_symbol_limit) {
        file.file_symbols.push_back(symbol_index);
    }
    return add_file(file.run.model, name);
}

// Auxiliary records count as symbols here: what they hold at the place of the class is 0 as a rule.
bool coff_add_symbols(coff_file_t& file) {
    uint32_t current_file = 0;
    for (uint32_t k = 0; k < file.symbol_count; ++k) {
        const coff_record_t record = symbol_record(file, k);
        if (!record.is_there() || file.allowance < 0) {
            return coff_short_read(file, "COFF symbol table");
        }
        const uint32_t sclass = record.u8(file.kind.shape.n_sclass);
        if (sclass == C_EXT || sclass == C_STAT || sclass == C_LABEL) {
            const coff_symbol_t symbol = decode_symbol(file, record);
            const uint32_t segment = symbol.scnum < 0 ? 0 : static_cast<uint32_t>(symbol.scnum);
            add_symbol(file.run.model, symbol.name, symbol.value, segment, current_file, 0);
        } else if (sclass == C_FILE) {
            current_file = coff_add_file(file, coff_name(file, record, coff_name_size), k);
        } else if (!is_passed(file.kind, sclass)) {
            alert(file.run, 633, static_cast<int8_t>(sclass));
        }
    }
    return true;
}

// ---- line records

namespace {

uint32_t line_number(const coff_kind_t& kind, const coff_record_t& line) {
    return kind.line_number_size == 4 ? line.u32(kind.line_number_at) : line.u16(kind.line_number_at);
}

// Where the record that opens a file's run of lines leads: the position of its `.file` record among all, from 1, or
// `file_number` if there is none of that index.
uint32_t opened_file(const coff_file_t& file, uint32_t symbol_index, uint32_t file_number) {
    const auto& list = file.file_symbols;
    const auto found = std::lower_bound(list.begin(), list.end(), symbol_index);
    return found != list.end() && *found == symbol_index ? static_cast<uint32_t>(found - list.begin()) + 1
                                                         : file_number;
}

} // namespace

bool coff_take_line(coff_file_t& file, const coff_section_t& section, uint32_t position, coff_line_t& line) {
    const coff_kind_t& kind = file.kind;
    line.record = coff_record(file, section.lnnoptr + uint64_t(position) * kind.line_size, kind.line_size);
    if (!line.record.is_there() || !spend(file, kind.line_size)) {
        return coff_short_read(file, "COFF line number");
    }
    line.number = line_number(kind, line.record);
    line.address = line.record.u32(kind.line_address_at);
    return true;
}

bool coff_add_lines(coff_file_t& file) {
    for (const coff_section_t& section : file.sections) {
        uint32_t file_number = 0;
        coff_line_t line;
        for (uint32_t k = 0; k < section.nlnno && file.kind.line_size != 0; ++k) {
            if (!coff_take_line(file, section, k, line)) {
                return false;
            }
            if (line.number == 0) {
                file_number = opened_file(file, line.address, file_number);
            } else {
                add_line(file.run.model, line.number, line.address, 0, file_number, 0);
            }
        }
    }
    return true;
}

} // namespace tavrel
