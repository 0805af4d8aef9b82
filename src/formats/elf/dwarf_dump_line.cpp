// .debug_line: the table of addresses and source lines, as programs (one a unit) for a machine with a few registers.
// A program begins with a header: its own constants, then lists of directories and files. Its opcodes move the
// registers and append rows of them to a matrix; small opcodes are named, zero introduces an extended one, and from the
// header's opcode base on each is a "special" opcode that moves address and line at once and appends a row. A sequence
// of rows ends with an end_sequence.
//
// The printer shows every opcode as it runs, and behind each sequence its matrix. The rows are not kept for that: the
// sequence is simply run once more, so that the largest program takes no memory.
#include <algorithm>

#include "common/host.h"
#include "formats/elf/dwarf_dump.h"
#include "formats/elf/dwarf_layout.h"

namespace tavrel {
namespace {

constexpr uint32_t unit_length_min = 14;
constexpr uint8_t standard_lengths[] = {0, 1, 1, 1, 1, 0, 0}; // operands of opcodes 1 to 7

struct line_header_t {
    uint64_t start = 0; // of the unit, in the section
    uint64_t end = 0;   // behind its last byte
    uint32_t unit_length = 0;
    uint32_t version = 0;
    uint32_t header_length = 0;
    uint8_t min_length = 0; // unit of address steps, in bytes
    bool is_stmt = false;
    int8_t line_base = 0;
    uint8_t line_range = 0;
    uint8_t opcode_base = 0;
    uint8_t lengths[256] = {}; // operands by opcode
};

struct line_registers_t {
    uint64_t address = 0;
    uint64_t file = 1;
    uint64_t line = 1; // signed, but wrapping
    uint64_t column = 0;
    bool is_stmt = false;
    bool basic_block = false;
};

// A program at work. It runs each sequence twice: once showing opcodes, once showing rows.
struct line_program_t {
    dwarf_dump_t& dump;
    const line_header_t& header;
    section_reader_t reader;
    line_registers_t registers = {};
    uint32_t count = 0; // opcodes of this sequence so far
    bool ended = false; // the sequence
    bool show_rows = false;

    std::string& out() { return dump.run.out.text; }
};

const char* truth(bool value) { return value ? "true" : "false"; }

// ---- header

line_header_t read_header(section_reader_t& reader) {
    line_header_t header;
    header.start = reader.at;
    header.unit_length = reader.u32();
    header.end = std::min<uint64_t>(header.start + 4 + header.unit_length, reader.size);
    header.version = reader.u16();
    header.header_length = reader.u32();
    header.min_length = reader.u8();
    header.is_stmt = reader.u8() != 0;
    header.line_base = static_cast<int8_t>(reader.u8());
    header.line_range = reader.u8();
    header.opcode_base = reader.u8();
    return header;
}

void print_header(dwarf_dump_t& dump, const line_header_t& header) {
    print(dump.run.out, "size=%lu ver=%u prolog=%lu\n", header.unit_length, header.version, header.header_length);
    print(dump.run.out, "min_len=%u def_stmt=%s line_base=%d line_range=%u opcode_base=%u\n", header.min_length,
          truth(header.is_stmt), header.line_base, header.line_range, header.opcode_base);
}

void take_lengths(dwarf_dump_t& dump, section_reader_t& reader, line_header_t& header) {
    put_text(dump.run.out, "opcode lengths:");
    for (unsigned opcode = 1; opcode < header.opcode_base; ++opcode) {
        const uint8_t length = reader.u8();
        header.lengths[opcode] = length;
        print(dump.run.out, " %u", length);
        if (opcode <= std::size(standard_lengths) && length != standard_lengths[opcode - 1]) {
            put_text(dump.run.out, "(?)");
        }
    }
}

struct file_entry_t {
    text_t name;
    uint32_t dir, time, length;
};

file_entry_t read_file_entry(section_reader_t& reader) {
    file_entry_t entry;
    entry.name = reader.text();
    entry.dir = static_cast<uint32_t>(reader.uleb128());
    entry.time = static_cast<uint32_t>(reader.uleb128());
    entry.length = static_cast<uint32_t>(reader.uleb128());
    return entry;
}

// "time: Thu Jan  1 00:00:00 1970 (0x00000000), 12 bytes".
std::string time_and_length(dwarf_dump_t& dump, const file_entry_t& entry) {
    if (dump.date.empty() || dump.date_of != entry.time) {
        dump.date = date_text(entry.time);
        dump.date.resize(dump.date.find('\n'));
        dump.date_of = entry.time;
    }
    return format_text("time: %s (0x%08lX), %lu %s", dump.date, entry.time, entry.length,
                       entry.length == 1 ? "byte" : "bytes");
}

void print_directory(dwarf_dump_t& dump, section_reader_t& reader, uint32_t number) {
    print(dump.run.out, "%5ld.  \"%s\"\n", number, reader.text());
}

void print_file(dwarf_dump_t& dump, section_reader_t& reader, uint32_t number) {
    const file_entry_t entry = read_file_entry(reader);
    print(dump.run.out, "%5ld.  \"%s\"\n           dir: %5lu, %s\n", number, entry.name, entry.dir,
          time_and_length(dump, entry));
}

// A list of names that ends at an empty one; false if it runs out of the unit instead (646).
bool print_list(dwarf_dump_t& dump, section_reader_t& reader, const line_header_t& header,
                void (*print_item)(dwarf_dump_t&, section_reader_t&, uint32_t)) {
    for (uint32_t number = 1; reader.at < header.end; ++number) {
        if (reader.data[reader.at] == 0) {
            ++reader.at;
            if (number == 1) {
                put_text(dump.run.out, "        None\n");
            }
            return true;
        }
        print_item(dump, reader, number);
    }
    alert(dump.run, 646, header.unit_length);
    return false;
}

// ---- rows

void append_row(line_program_t& p) {
    if (p.show_rows) {
        const line_registers_t& row = p.registers;
        std::string& out = p.out();
        put_count(out, p.count);
        out += ":  ";
        put_hex(out, row.address, 16);
        out += "  ";
        put_decimal(out, static_cast<uint32_t>(row.file), 10);
        out += "  ";
        put_signed(out, static_cast<int64_t>(row.line), 10);
        out += "  ";
        put_signed(out, static_cast<int32_t>(row.column), 10);
        out += "  ";
        put_column(out, truth(row.is_stmt), 5);
        out += "        ";
        put_column(out, truth(row.basic_block), 5);
        out.push_back('\n');
    }
    p.registers.basic_block = false;
}

// ---- opcodes: each works on the registers and, unless the rows are shown, prints the rest of its line

void show_name(line_program_t& p, const dw_name_set_t& names, uint32_t opcode) {
    if (!p.show_rows) {
        put_column(p.out(), dw_name(names, opcode, true), 24);
    }
}

void show_hex(line_program_t& p, uint64_t value) {
    if (!p.show_rows) {
        p.out() += ": 0x";
        put_hex(p.out(), value, 16);
    }
}

void show_decimal(line_program_t& p, uint64_t value) {
    if (!p.show_rows) {
        p.out() += ": ";
        put_decimal(p.out(), value);
    }
}

void run_special(line_program_t& p, uint8_t opcode) {
    const unsigned step = opcode - p.header.opcode_base;
    const unsigned range = p.header.line_range;
    const int64_t line_step = p.header.line_base + static_cast<int64_t>(range == 0 ? 0 : step % range);
    const uint64_t address_step = range == 0 ? 0 : uint64_t(step / range) * p.header.min_length;
    if (!p.show_rows) {
        p.out() += "SPECIAL(line=";
        put_signed(p.out(), line_step);
        p.out() += ", addr=";
        put_decimal(p.out(), address_step);
        p.out().push_back(')');
    }
    p.registers.line += static_cast<uint64_t>(line_step);
    p.registers.address += address_step;
    append_row(p);
}

void run_advance_pc(line_program_t& p) {
    const uint64_t operand = p.reader.uleb128();
    p.registers.address += operand * p.header.min_length;
    show_hex(p, operand);
}

void run_advance_line(line_program_t& p) {
    const int64_t operand = p.reader.sleb128();
    p.registers.line += static_cast<uint64_t>(operand);
    if (!p.show_rows) {
        p.out() += ": ";
        put_signed(p.out(), operand);
    }
}

void run_set(line_program_t& p, uint64_t& reg) {
    reg = p.reader.uleb128();
    show_decimal(p, reg);
}

void run_const_add_pc(line_program_t& p) {
    if (p.header.line_range != 0) {
        const unsigned step = 255u - p.header.opcode_base;
        p.registers.address += uint64_t(step / p.header.line_range) * p.header.min_length;
    }
}

void run_fixed_advance_pc(line_program_t& p) {
    const uint16_t operand = p.reader.u16();
    p.registers.address += operand;
    show_hex(p, operand);
}

void run_unknown_standard(line_program_t& p, uint8_t opcode) {
    const uint8_t args = p.header.lengths[opcode];
    for (unsigned k = 0; k < args; ++k) {
        p.reader.uleb128();
    }
    if (!p.show_rows) {
        print(p.out(), ": %llu args", args);
    }
}

void run_standard(line_program_t& p, uint8_t opcode) {
    show_name(p, dw_lns_names, opcode);
    switch (opcode) {
    case DW_LNS_copy: append_row(p); return;
    case DW_LNS_advance_pc: run_advance_pc(p); return;
    case DW_LNS_advance_line: run_advance_line(p); return;
    case DW_LNS_set_file: run_set(p, p.registers.file); return;
    case DW_LNS_set_column: run_set(p, p.registers.column); return;
    case DW_LNS_negate_stmt: p.registers.is_stmt = !p.registers.is_stmt; return;
    case DW_LNS_set_basic_block: p.registers.basic_block = true; return;
    case DW_LNS_const_add_pc: run_const_add_pc(p); return;
    case DW_LNS_fixed_advance_pc: run_fixed_advance_pc(p); return;
    default: run_unknown_standard(p, opcode);
    }
}

// The operand of an extended opcode is all that its length leaves behind the sub-opcode.
void run_set_address(line_program_t& p, uint64_t operand_length) {
    switch (operand_length) {
    case 1:
    case 2:
    case 4:
    case 8: p.registers.address = p.reader.number(operand_length); break;
    default:
        if (!p.show_rows) {
            alert(p.dump.run, 641, operand_length);
        }
    }
    show_hex(p, p.registers.address);
}

// True if a text that begins here ends before `end`. (One that the section cuts ends with the section.)
bool is_text_inside(const section_reader_t& reader, uint64_t end) {
    const uint64_t limit = std::min(end, reader.size);
    return end > reader.size ||
           (reader.at < limit && std::memchr(reader.data + reader.at, 0, limit - reader.at) != nullptr);
}

void run_define_file(line_program_t& p, uint64_t length, uint64_t end) {
    if (!is_text_inside(p.reader, end)) {
        if (!p.show_rows) {
            alert(p.dump.run, 642, length);
        }
        return;
    }
    const file_entry_t entry = read_file_entry(p.reader);
    if (p.show_rows) {
        return;
    }
    if (p.reader.at != end) {
        alert(p.dump.run, 643, length);
    }
    print(p.out(), ": \"%s\" dir: %5lu, %s", entry.name, entry.dir, time_and_length(p.dump, entry));
}

void run_extended(line_program_t& p) {
    const uint64_t start = p.reader.at - 1;
    const uint64_t length = p.reader.uleb128();
    if (length == 0) {
        if (!p.show_rows) {
            alert(p.dump.run, 640, start);
        }
        return;
    }
    section_reader_t end = p.reader;
    end.skip(length);
    const uint8_t opcode = p.reader.u8();
    show_name(p, dw_lne_names, opcode);
    switch (opcode) {
    case DW_LNE_end_sequence:
        append_row(p);
        p.ended = true;
        break;
    case DW_LNE_set_address: run_set_address(p, length - 1); break;
    case DW_LNE_define_file: run_define_file(p, length, end.at); break;
    default: break;
    }
    p.reader.at = end.at;
}

void run_opcode(line_program_t& p) {
    const uint8_t opcode = p.reader.u8();
    ++p.count;
    if (!p.show_rows) {
        put_count(p.out(), p.count);
        p.out() += ":  ";
    }
    if (opcode >= p.header.opcode_base) {
        run_special(p, opcode);
    } else if (opcode == DW_LNS_extended) {
        run_extended(p);
    } else {
        run_standard(p, opcode);
    }
    if (!p.show_rows) {
        p.out().push_back('\n');
    }
    flush_some(p.dump.run.out);
}

// ---- programs

line_program_t new_sequence(dwarf_dump_t& dump, const line_header_t& header, const section_reader_t& from,
                            bool show_rows) {
    line_program_t program = {dump, header, from};
    program.registers.is_stmt = header.is_stmt;
    program.show_rows = show_rows;
    return program;
}

void print_matrix(dwarf_dump_t& dump, const line_header_t& header, const section_reader_t& from) {
    put_text(dump.run.out, "\nGenerated line number matrix:\n\nstmt    address   file        line        column      "
                           "is_stmt      basic_block\n");
    line_program_t program = new_sequence(dump, header, from, true);
    while (!program.ended && !is_spent(dump.budget)) {
        run_opcode(program);
    }
}

// A sequence without an end has no matrix. An ended one is followed by another, even if there is nothing left for it.
void run_sequences(dwarf_dump_t& dump, const line_header_t& header, section_reader_t reader) {
    for (uint32_t number = 1;; ++number) {
        print(dump.run.out, "\n\nStatement program sequence %ld\n\n", number);
        line_program_t program = new_sequence(dump, header, reader, false);
        while (!program.ended) {
            if (program.reader.at >= header.end || is_spent(dump.budget)) {
                return;
            }
            run_opcode(program);
        }
        print_matrix(dump, header, reader);
        reader = program.reader;
    }
}

void dump_line_program(dwarf_dump_t& dump, section_reader_t reader) {
    line_header_t header = read_header(reader);
    if (header.unit_length < unit_length_min) {
        alert(dump.run, 644, header.unit_length);
        return;
    }
    print_header(dump, header);
    if (header.unit_length - 11 < header.opcode_base) {
        alert(dump.run, 645, header.opcode_base);
        return;
    }
    take_lengths(dump, reader, header);
    put_text(dump.run.out, "\nIncludes:\n");
    if (!print_list(dump, reader, header, print_directory)) {
        return;
    }
    put_text(dump.run.out, "Files:\n");
    if (!print_list(dump, reader, header, print_file)) {
        return;
    }
    const auto measured = static_cast<uint32_t>(reader.at - header.start - 10);
    if (measured != header.header_length) {
        alert(dump.run, 647, measured, header.header_length);
    }
    run_sequences(dump, header, reader);
}

void dump_group(dwarf_dump_t& dump, bytes_t section, uint32_t number, uint32_t offset) {
    print(dump.run.out, "\nGroup %u @ 0x%08lX\n\n", number, offset);
    section_reader_t reader = dump.reader(section);
    reader.at = offset;
    const uint64_t end = uint64_t(section_reader_t(reader).u32()) + 4;
    if (end > section.size()) {
        alert(dump.run, 649, end);
        return;
    }
    dump_line_program(dump, reader);
}

} // namespace

void dump_debug_line(dwarf_dump_t& dump, bytes_t section) {
    vector_t<uint32_t>& references = dump.line_references;
    std::sort(references.begin(), references.end());
    for (uint32_t k = 0; k < references.count() && !is_spent(dump.budget); ++k) {
        if (k != 0 && references[k] == references[k - 1]) {
            continue;
        }
        if (references[k] > section.size()) {
            alert(dump.run, 648, references[k]);
        } else {
            dump_group(dump, section, k, references[k]);
        }
    }
}

} // namespace tavrel
