// The line program of a unit: a list of opcodes that, run by a debugger, gives rows of address, file and line. A row
// costs one byte as a rule, a "special" opcode that steps both address and line and makes a row.
//
// A program sees the line records of the whole model in the order of their addresses and takes those of its unit's
// files. Two records in a row with the same line end a sequence, and the next one begins a new one with its full
// address. The last sequence of a program is left open.
#include <algorithm>

#include "formats/elf/dwarf_layout.h"
#include "formats/elf/dwarf_writer.h"
#include "model/encdec.h"

namespace tavrel {
namespace {

constexpr int32_t line_base = -5;
constexpr int32_t line_range = 15;
constexpr uint8_t opcode_base = 10;
constexpr int32_t max_line_step = line_base + line_range - 1;              // of a special opcode
constexpr int32_t address_steps = (255 - opcode_base) / line_range;        // a special opcode takes 0 to 15
constexpr uint8_t opcode_lengths[opcode_base - 1] = {0, 1, 1, 1, 1, 0, 0}; // the rest is 0, too

// The registers of the machine that runs the program, as its next opcode finds them.
struct line_state_t {
    uint32_t address = 0;
    uint32_t file = 1;
    uint32_t line = 1;
};

// A line record of the unit.
struct unit_line_t {
    uint32_t position; // in address order
    uint32_t file;     // number in the unit's file table
};

int compare(uint32_t a, uint32_t b) { return a < b ? -1 : a > b ? 1 : 0; }

// ---- which records

// The last file of the unit that is the model's file of that index is the one whose lines these are.
std::unordered_map<uint32_t, uint32_t> numbers_by_model_file(const unit_files_t& files) {
    std::unordered_map<uint32_t, uint32_t> numbers;
    for (uint32_t k = 1; k < files.files.size(); ++k) {
        numbers[files.files[k].model_file] = k;
    }
    return numbers;
}

std::vector<unit_line_t> lines_of_unit(const dwarf_writer_t& writer) {
    std::vector<unit_line_t> lines;
    for (const auto& [model_file, number] : numbers_by_model_file(writer.files)) {
        if (const auto found = writer.line_index.positions.find(model_file);
            found != writer.line_index.positions.end()) {
            for (const uint32_t position : found->second) {
                lines.push_back({position, number});
            }
        }
    }
    const auto earlier = [](const unit_line_t& a, const unit_line_t& b) { return a.position < b.position; };
    if (!std::is_sorted(lines.begin(), lines.end(), earlier)) {
        std::sort(lines.begin(), lines.end(), earlier);
    }
    return lines;
}

// ---- header

void put_tables(std::string& out, const unit_files_t& files) {
    for (size_t k = 1; k < files.dirs.size(); ++k) {
        out.append(c_text(files.dirs[k])).push_back('\0');
    }
    out.push_back('\0');
    for (size_t k = 1; k < files.files.size(); ++k) {
        out.append(c_text(files.files[k].name)).push_back('\0');
        uleb128_write(out, files.files[k].dir);
        out.append(2, '\0'); // time and length, not known
    }
    out.push_back('\0');
}

void put_header(dwarf_writer_t& writer) {
    std::string& out = writer.line;
    const size_t start = out.size();
    uint8_t version[2];
    write16(version, DWARF_VERSION, writer.big_endian);
    out.append(4, '\0'); // unit length
    out.append(reinterpret_cast<const char*>(version), sizeof version);
    out.append(4, '\0'); // header length
    out.push_back(1);    // minimum instruction length
    out.push_back(1);    // rows are statements
    out.push_back(static_cast<char>(line_base));
    out.push_back(static_cast<char>(line_range));
    out.push_back(static_cast<char>(opcode_base));
    out.append(reinterpret_cast<const char*>(opcode_lengths), sizeof opcode_lengths);
    put_tables(out, writer.files);
    patch32(writer, out, start + 6, static_cast<uint32_t>(out.size() - start - 10));
}

// ---- rows

void put_opcode(std::string& out, uint8_t opcode) { out.push_back(static_cast<char>(opcode)); }

void end_sequence(std::string& out, int32_t delta) {
    put_opcode(out, DW_LNS_advance_pc);
    uleb128_write(out, static_cast<uint64_t>(int64_t(delta)));
    put_opcode(out, DW_LNS_extended);
    uleb128_write(out, 1);
    put_opcode(out, DW_LNE_end_sequence);
}

void open_sequence(const dwarf_writer_t& writer, std::string& out, int32_t address, int32_t step) {
    put_opcode(out, DW_LNS_advance_line);
    sleb128_write(out, step);
    put_opcode(out, DW_LNS_extended);
    uleb128_write(out, uint64_t(writer.address_size) + 1);
    put_opcode(out, DW_LNE_set_address);
    put_address(writer, out, static_cast<uint64_t>(int64_t(address)));
    put_opcode(out, DW_LNS_copy);
}

void special_row(std::string& out, int32_t delta, int32_t step) {
    if (delta >= 2 * address_steps) {
        put_opcode(out, DW_LNS_advance_pc);
        uleb128_write(out, static_cast<uint32_t>(delta));
        delta = 0;
    } else if (delta >= address_steps) {
        put_opcode(out, DW_LNS_const_add_pc);
        delta -= address_steps;
    }
    if (step > max_line_step || step < line_base) {
        put_opcode(out, DW_LNS_advance_line);
        sleb128_write(out, step);
        step = 0;
    }
    // A step backwards does not fit and is cut like any number here.
    put_opcode(out, static_cast<uint8_t>(step - line_base + int64_t(line_range) * delta + opcode_base));
}

void put_row(const dwarf_writer_t& writer, std::string& out, line_state_t& state, const line_t& row) {
    const auto delta = static_cast<int32_t>(row.start - state.address);
    const auto step = static_cast<int32_t>(row.number - state.line);
    if (step == 0) {
        end_sequence(out, delta);
        state = {};
        return;
    }
    if (state.address == 0) {
        open_sequence(writer, out, delta, step);
    } else {
        special_row(out, delta, step);
    }
    state.address = row.start;
    state.line = row.number;
}

void put_rows(dwarf_writer_t& writer) {
    std::string& out = writer.line;
    line_state_t state;
    for (const unit_line_t& line : lines_of_unit(writer)) {
        const line_t& row = *writer.line_index.lines[line.position];
        if (state.file != line.file) {
            put_opcode(out, DW_LNS_set_file);
            uleb128_write(out, line.file);
            state.file = line.file;
        }
        writer.low_pc = std::min(writer.low_pc, row.start);
        writer.high_pc = std::max(writer.high_pc, row.start);
        put_row(writer, out, state, row);
    }
}

} // namespace

line_index_t make_line_index(const run_t& run) {
    line_index_t index;
    index.lines = run.model.lines;
    vector_sort(index.lines, [](const line_t* a, const line_t* b) {
        const int by_start = compare(a->start, b->start);
        return by_start != 0 ? by_start : compare(a->number, b->number);
    });
    for (uint32_t k = 0; k < index.lines.count(); ++k) {
        index.positions[index.lines[k]->file].push_back(k);
    }
    return index;
}

void dwarf_line_program(dwarf_writer_t& writer) {
    const size_t start = writer.line.size();
    put_header(writer);
    put_rows(writer);
    patch32(writer, writer.line, start, static_cast<uint32_t>(writer.line.size() - start - 4));
}

} // namespace tavrel
