// .debug_info: units (one a source file, as a rule), each a header and a tree of entries. An entry is an abbreviation
// code and the values of its attributes; the abbreviation says what kind of entry it is (its tag), which attributes it
// has, how their values are encoded (forms), and whether children follow, which end at a code of 0.
#include <algorithm>
#include <map>

#include "common/hash.h"
#include "formats/elf/dwarf_dump.h"
#include "formats/elf/dwarf_layout.h"

namespace tavrel {
namespace {

constexpr uint64_t unit_header_size = 11;
constexpr uint32_t unit_length_min = 7; // of the length that stands in front of the rest of the header

// ---- abbreviations

struct abbreviation_t {
    uint32_t tag;
    uint32_t attributes; // offset in .debug_abbrev of the pairs of attribute and form
    bool has_children;
};

struct code_ops_t {
    static uint32_t hash(uint64_t code) { return static_cast<uint32_t>(code); }
    static uint64_t spread(uint64_t code) { return code * 0x9E3779B97F4A7C15u; }
    static bool differs(uint64_t a, uint64_t b) { return a != b; }
};

// The abbreviations of one unit by code; of equal codes the first counts.
using abbreviation_table_t = hash_t<uint64_t, abbreviation_t, code_ops_t>;

// The tables of all units, by their offset in .debug_abbrev: units may share one.
struct abbreviations_t {
    dwarf_dump_t& dump;
    bytes_t section;
    std::map<uint32_t, abbreviation_table_t> tables = {};
    uint64_t held = 0; // bytes of the section that the tables stand for
};

void skip_attributes(section_reader_t& reader) {
    uint64_t attribute = 0;
    uint64_t form = 0;
    do {
        attribute = reader.uleb128();
        form = reader.uleb128();
    } while (attribute != 0 || form != 0);
}

void read_abbreviations(section_reader_t reader, abbreviation_table_t& table, uint64_t& end) {
    while (!reader.at_end()) {
        const uint64_t code = reader.uleb128();
        if (code == 0) {
            break;
        }
        const auto tag = static_cast<uint32_t>(reader.uleb128());
        const bool has_children = reader.u8() != 0;
        hash_insert(table, code, abbreviation_t{tag, static_cast<uint32_t>(reader.at), has_children});
        skip_attributes(reader);
    }
    end = reader.at;
}

constexpr uint64_t cost_per_byte = 16; // of making a table, in bytes printed

// The table of a unit, made when it is asked for the first time. Units whose tables lie inside one another, which no
// compiler writes, neither fill the memory nor take time beyond the dump's budget.
const abbreviation_table_t& table_at(abbreviations_t& all, uint32_t offset) {
    if (const auto found = all.tables.find(offset); found != all.tables.end()) {
        return found->second;
    }
    if (all.held > all.section.size()) {
        all.tables.clear();
        all.held = 0;
    }
    section_reader_t reader = all.dump.reader(all.section);
    reader.at = offset;
    uint64_t end = offset;
    abbreviation_table_t& table = all.tables.emplace(offset, abbreviation_table_t(1)).first->second;
    read_abbreviations(reader, table, end);
    all.held += end - offset;
    all.dump.budget.scanned += cost_per_byte * (end - offset);
    return table;
}

// ---- values

// What an attribute's value looks like as a number, where its form makes it one; 0 elsewhere. Does not move.
uint64_t peek_number(section_reader_t reader, uint32_t form) {
    switch (form) {
    case DW_FORM_data1: return reader.u8();
    case DW_FORM_data2: return reader.u16();
    case DW_FORM_data4: return reader.u32();
    case DW_FORM_sdata: return static_cast<uint64_t>(reader.sleb128());
    case DW_FORM_udata: return reader.uleb128();
    default: return 0;
    }
}

struct value_printer_t {
    dwarf_dump_t& dump;
    section_reader_t& reader;
    std::string& out;
};

void put_prefixed_hex(std::string& out, uint64_t value, unsigned digits) {
    out += "0x";
    put_hex(out, value, digits);
}

void put_data(value_printer_t& p, uint32_t width) {
    const uint64_t value = p.reader.number(width);
    put_prefixed_hex(p.out, value, width == 8 ? 8 : 2 * width);
}

void put_address(value_printer_t& p) {
    switch (p.dump.address_size) {
    case 1:
    case 2:
    case 4:
    case 8: put_data(p, p.dump.address_size); return;
    default: p.reader.skip(p.dump.address_size);
    }
}

void put_block(value_printer_t& p, uint64_t length, unsigned digits) {
    put_prefixed_hex(p.out, length, digits);
    p.reader.skip(length);
}

void put_quoted(std::string& out, text_t text) {
    out.push_back('"');
    out += text;
    out.push_back('"');
}

void put_table_string(value_printer_t& p) {
    const uint32_t offset = p.reader.u32();
    const bytes_t table = p.dump.sections[DEBUG_STR].bytes;
    if (offset >= table.size()) {
        print(p.out, "?? Invalid string table offset: 0x%08lX", offset);
        return;
    }
    section_reader_t strings = p.dump.reader(table);
    strings.at = offset;
    put_quoted(p.out, strings.text());
}

// A value in any form but `indirect`.
void put_plain_value(value_printer_t& p, uint32_t form) {
    switch (form) {
    case 0: return;
    case DW_FORM_addr:
    case DW_FORM_ref_addr: put_address(p); return;
    case DW_FORM_block2: put_block(p, p.reader.u16(), 4); return;
    case DW_FORM_block4: put_block(p, p.reader.u32(), 8); return;
    case DW_FORM_block: put_block(p, p.reader.uleb128(), 4); return;
    case DW_FORM_block1: put_block(p, p.reader.u8(), 2); return;
    case DW_FORM_data1:
    case DW_FORM_ref1: put_data(p, 1); return;
    case DW_FORM_data2:
    case DW_FORM_ref2: put_data(p, 2); return;
    case DW_FORM_data4:
    case DW_FORM_ref4: put_data(p, 4); return;
    case DW_FORM_data8:
    case DW_FORM_ref8: put_data(p, 8); return;
    case DW_FORM_string: put_quoted(p.out, p.reader.text()); return;
    case DW_FORM_strp: put_table_string(p); return;
    case DW_FORM_flag: p.out += p.reader.u8() != 0 ? "true" : "false"; return;
    case DW_FORM_sdata: put_signed(p.out, p.reader.sleb128()); return;
    case DW_FORM_udata: put_decimal(p.out, p.reader.uleb128()); return;
    case DW_FORM_ref_udata: put_prefixed_hex(p.out, p.reader.uleb128(), 8); return;
    default: print(p.out, "?? Unknown form 0x%lX", form);
    }
}

void put_value(value_printer_t& p, uint32_t form) {
    while (form == DW_FORM_indirect) {
        form = static_cast<uint32_t>(p.reader.uleb128());
        put_dw_words(p.out, dw_form_names, form);
        p.out += ": ";
    }
    put_plain_value(p, form);
}

// The value, in brackets behind its name if it has one.
void put_attribute_value(value_printer_t& p, uint32_t attribute, uint32_t form) {
    const dw_name_set_t* const names = dw_value_names(attribute);
    const auto number = names == nullptr ? 0 : static_cast<uint32_t>(peek_number(p.reader, form));
    if (names == nullptr || dw_find_name(*names, number) == nullptr) {
        put_value(p, form);
        return;
    }
    put_dw_words(p.out, *names, number);
    p.out += " (";
    put_value(p, form);
    p.out.push_back(')');
}

// ---- the tree

struct unit_t {
    uint64_t start;         // of the unit's first byte, in the section
    uint64_t end;           // behind its last byte
    section_reader_t where; // of what comes next
    const abbreviation_table_t* abbreviations;
};

void print_attributes(dwarf_dump_t& dump, unit_t& unit, const abbreviation_t& abbreviation, size_t indent) {
    section_reader_t pairs = dump.reader(dump.sections[DEBUG_ABBREV].bytes);
    pairs.at = abbreviation.attributes;
    value_printer_t printer = {dump, unit.where, dump.run.out.text};
    while (!is_spent(dump.budget)) {
        const uint64_t attribute = pairs.uleb128();
        const uint64_t form = pairs.uleb128();
        if (attribute == 0 && form == 0) {
            return;
        }
        const auto attribute32 = static_cast<uint32_t>(attribute);
        const auto form32 = static_cast<uint32_t>(form);
        if (attribute32 == DW_AT_stmt_list) {
            vector_add(dump.line_references, static_cast<uint32_t>(peek_number(unit.where, form32)));
        }
        printer.out.append(indent + 1, ' ');
        put_dw_words(printer.out, dw_at_names, attribute32);
        printer.out.push_back('[');
        put_dw_words(printer.out, dw_form_names, form32);
        printer.out += "] = ";
        put_attribute_value(printer, attribute32, form32);
        printer.out.push_back('\n');
        flush_some(dump.run.out);
    }
}

void print_entry_line(dwarf_dump_t& dump, const unit_t& unit, uint32_t tag, uint64_t code, uint64_t offset,
                      size_t indent) {
    std::string& out = dump.run.out.text;
    out.append(indent, ' ');
    out.push_back('+');
    put_dw_words(out, dw_tag_names, tag);
    out += " (";
    put_decimal(out, static_cast<uint32_t>(code));
    out += ") @ 0x";
    put_hex(out, offset - unit.start, 1);
    out += " (0x";
    put_hex(out, offset, 1);
    out += ")\n";
    flush_some(dump.run.out);
}

void print_null_entry(dwarf_dump_t& dump, size_t indent) {
    if (dump.run.verbose > 3) {
        dump.run.out.text.append(indent, ' ');
        dump.run.out.text += "+<NULL ENTRY>\n";
        flush_some(dump.run.out);
    }
}

// A unit has one root: the tree ends behind the root's children. (A root without children may have siblings.) All that
// is to be kept of the way down is its length, so no depth of nesting costs anything but indentation.
void print_tree(dwarf_dump_t& dump, unit_t& unit) {
    size_t depth = 0;
    while (unit.where.at < unit.end && !is_spent(dump.budget)) {
        const uint64_t offset = unit.where.at;
        const uint64_t code = unit.where.uleb128();
        if (code == 0) {
            print_null_entry(dump, 2 * depth);
            if (depth <= 1) {
                return;
            }
            --depth;
            continue;
        }
        const abbreviation_t* const abbreviation = hash_find(*unit.abbreviations, code);
        if (abbreviation == nullptr) {
            alert(dump.run, 658, code);
            return;
        }
        print_entry_line(dump, unit, abbreviation->tag, code, offset, 2 * depth);
        print_attributes(dump, unit, *abbreviation, 2 * depth);
        if (abbreviation->has_children) {
            ++depth;
        }
    }
}

void check_padding(dwarf_dump_t& dump, const unit_t& unit, bytes_t section) {
    if (unit.where.at >= unit.end || is_spent(dump.budget)) {
        return;
    }
    const bytes_t rest = section.subspan(unit.where.at, unit.end - unit.where.at);
    const auto first = std::find_if(rest.begin(), rest.end(), [](uint8_t byte) { return byte != 0; });
    if (first != rest.end()) {
        alert(dump.run, 662, unit.where.at + static_cast<uint64_t>(first - rest.begin()));
    }
}

// ---- units

bool is_address_size(uint32_t size) { return size == 1 || size == 2 || size == 4 || size == 8; }

// Prints the header and checks it; false if the section cannot be followed any further.
bool take_unit_header(dwarf_dump_t& dump, section_reader_t& reader, int number, uint32_t& length, uint32_t& table) {
    print(dump.run.out, "\nCompilation Unit %d @ 0x%08lX\n", number, reader.at);
    length = reader.u32();
    if (length < unit_length_min) {
        alert(dump.run, 659, length);
        return false;
    }
    const uint32_t version = reader.u16();
    table = reader.u32();
    dump.address_size = reader.u8();
    print(dump.run.out, "size=%lu ver=0x%04X abbrev offset=0x%08lX, addrsize=%u\n\n", length, version, table,
          dump.address_size);
    if (table >= dump.sections[DEBUG_ABBREV].bytes.size()) {
        alert(dump.run, 660, dump.sections[DEBUG_ABBREV].bytes.size());
        return false;
    }
    if (!is_address_size(dump.address_size)) {
        alert(dump.run, 661, dump.address_size);
        return false;
    }
    return true;
}

} // namespace

void dump_debug_info(dwarf_dump_t& dump, bytes_t section) {
    abbreviations_t abbreviations = {dump, dump.sections[DEBUG_ABBREV].bytes};
    section_reader_t reader = dump.reader(section);
    uint64_t start = 0;
    for (int number = 1; start < section.size() && !is_spent(dump.budget); ++number) {
        reader.at = start;
        uint32_t length = 0;
        uint32_t table = 0;
        if (!take_unit_header(dump, reader, number, length, table)) {
            return;
        }
        const uint64_t end = std::min<uint64_t>(start + 4 + length, section.size());
        unit_t unit = {start, end, reader, &table_at(abbreviations, table)};
        unit.where.at = start + unit_header_size;
        print_tree(dump, unit);
        check_padding(dump, unit, section);
        start = end;
    }
}

} // namespace tavrel
