// The Microchip COFF writer: the debug file that simulators and debuggers for PIC parts load.
//
// One header names the processor and the widths of its memories; addresses of sections and lines count in words of
// those widths. Section 1 is a place for what belongs to no section, then come the data segments without data and the
// blocks of the image as `_text0`, `_text1` and so on. The symbol table (mcoff_symbols.cpp) describes the program's
// types and scopes. Line records are odd: one stands for every single code address of a line.
#include <algorithm>

#include "common/scan.h"
#include "debug/machine.h"
#include "formats/coff/mcoff.h"
#include "formats/coff/mcoff_write.h"

namespace tavrel {
namespace {

constexpr coff_rules_t mcoff_rules = {
    .shape = mcoff_shape,
    .magic = mcoff_magic,
    .optional_size = mcoff_optional_size,
    .absolute_sections = 1,
    .gap = 0,
    .long_section_names = true,
    .tag_scnum = N_UNDEF,
    .eos_scnum = N_UNDEF,
    .signed_codes = {0, T_CHAR,  T_INT,  T_SLONG,  T_LONG },
    .unsigned_codes = {0, T_UCHAR, T_UINT, T_USLONG, T_ULONG},
    .small_enum_code = T_INT,
    .base_sizes = mcoff_base_sizes,
    .pointer_size = mcoff_pointer_size,
    .rom_unit = 0, // by the processor
    .ram_unit = 0,
};

// ---- the processor

struct processor_t {
    uint32_t number = 0;
    uint32_t rom_width, ram_width; // bits
    uint32_t rom_unit, ram_unit;   // bytes
};

constexpr processor_t byte_wide = {0, 8, 8, 1, 1};

// The widths of a family like "PIC14"; false for one that is not known.
bool set_family(text_t family, processor_t& processor) {
    uint32_t width = 0;
    scan_number(family.substr(3), 10, width);
    switch (width) {
    case 12:
    case 14:
    case 16: processor = {0, width, 8, 2, 1}; return true;
    case 18: processor = byte_wide; return true;
    default: return false;
    }
}

// The widths, by the family or else by the processor's name.
bool set_widths(const run_t& run, processor_t& processor) {
    const text_t family = run.processor_args.size() > 1 ? text_t(run.processor_args[1]) : text_t();
    if (family.size() >= 5 && family.substr(0, 3) == "PIC") {
        return set_family(family, processor);
    }
    const bool pic18 = run.processor_name.size() > 1 && run.processor_name[1] == '8';
    processor = pic18 ? byte_wide : processor_t{0, 0, 8, 2, 1};
    return true;
}

bool set_processor(const run_t& run, processor_t& processor) {
    uint32_t number = 0;
    if (run.processor_name.empty()) {
        return false;
    }
    if (!run.processor_args.empty() && !run.processor_args[0].empty() &&
        !scan_number(run.processor_args[0], 16, number)) {
        return false;
    }
    const bool known = set_widths(run, processor);
    processor.number = number;
    return known;
}

void put_optional_header(output_t& out, const processor_t& processor) {
    seek(out, coff_file_header_size);
    put16(out, mcoff_opt_magic);
    put32(out, mcoff_version);
    put32(out, processor.number);
    put32(out, processor.rom_width);
    put32(out, processor.ram_width);
}

// ---- lines

bool is_assembler_source(const file_t& file) {
    const size_t dot = file.name.rfind('.');
    return dot != text_t::npos && str_iequal(file.name.substr(dot), ".as");
}

void put_line(output_t& out, uint32_t source, uint32_t number, uint32_t address, uint32_t function) {
    put32(out, source);
    put16(out, number & 0xFFFF);
    put32(out, address);
    put16(out, 0); // l_flags
    put32(out, function);
}

// One record for every code address of a line; gives their number. A function's last line is one instruction long, so
// that it never runs on into what follows.
uint32_t write_lines(coff_writer_t& coff, const file_t* file, const line_t& line, const dsym_t* function) {
    const machine_t* const machine = coff.run.machine;
    if (machine == nullptr) {
        return 0;
    }
    uint32_t end = line.end;
    uint32_t entry = 0;
    if (function != nullptr) {
        if (vector_current(function->scope->writer_list) == nullptr) {
            if (machine->code_unit == 0) {
                return 0;
            }
            end = line.start + machine->code_unit - 1;
        }
        entry = function->scope->func == nullptr ? 0 : function->scope->func->writer_entry;
    }
    if (line.start > end) {
        return 0;
    }
    const uint32_t step = std::max(machine->code_step, 1U);
    const uint64_t count = uint64_t(end - line.start) / step + 1;
    if (!take_line_room(coff, count)) {
        return 0;
    }
    for (uint32_t k = 0; k < count; ++k) {
        put_line(coff.out, file == nullptr ? 0 : file->out_index, line.number, line.start + k * step, entry);
    }
    return static_cast<uint32_t>(count);
}

// A line of an assembler source, which has no function.
struct loose_line_t {
    const file_t* file;
    const line_t* line;
};
using loose_lines_t = std::unordered_map<uint32_t, std::vector<loose_line_t>>; // by section number

// Assembler sources have no tree, so they get a `.file` of their own.
void add_assembler_files(mcoff_writer_t& writer) {
    for (const file_t* const file : writer.coff.run.model.files) {
        if (file->line_count != 0 && is_assembler_source(*file)) {
            coff_file_entry(writer, file->name);
            coff_end_of_file(writer);
        }
    }
}

loose_lines_t assembler_lines(const coff_writer_t& coff) {
    loose_lines_t lines;
    for (const file_t* const file : coff.run.model.files) {
        if (!is_assembler_source(*file)) {
            continue;
        }
        for (const line_t* const line : file->lines) {
            if (line->start != 0) {
                lines[section_of(coff, {line->start, line->segment})].push_back({file, line});
            }
        }
    }
    return lines;
}

uint32_t write_function_lines(coff_writer_t& coff, dsym_t* function) {
    const file_t* const file = find_file(coff.run.model, function->scope->file);
    vector_t<line_t*>& lines = function->scope->writer_list;
    uint32_t count = 0;
    for (const line_t* line = vector_first(lines); line != nullptr; line = vector_next(lines)) {
        count += write_lines(coff, file, *line, function);
    }
    return count;
}

void write_line_records(mcoff_writer_t& writer) {
    coff_writer_t& coff = writer.coff;
    const auto functions = functions_by_section(coff);
    const loose_lines_t loose = assembler_lines(coff);
    for (uint32_t k = coff.first_text; k < coff.sections.size(); ++k) {
        uint32_t count = 0;
        if (const auto here = functions.find(k + 1); here != functions.end()) {
            for (dsym_t* const function : here->second) {
                count += write_function_lines(coff, function);
            }
        }
        if (const auto here = loose.find(k + 1); here != loose.end()) {
            for (const loose_line_t& entry : here->second) {
                count += write_lines(coff, entry.file, *entry.line, nullptr);
            }
        }
        coff.sections[k].nlnno = count;
        coff.sections[k].lnnoptr = count == 0 ? 0 : coff.position;
        coff.position += mcoff_line_size * count;
    }
}

void line_pass(mcoff_writer_t& writer) {
    static constexpr text_t jump_table[] = {"jmp_tab"};
    attach_lines(writer.coff, writer.rom_width == 12 ? std::span<const text_t>(jump_table) : std::span<const text_t>());
    add_assembler_files(writer);
    write_line_records(writer);
}

} // namespace

bool mcoff_write(run_t& run, output_t& out, text_t name) {
    if (run.code_spaces.empty()) {
        alert(run, 599);
    }
    processor_t processor = {};
    if (!set_processor(run, processor)) {
        alert(run, 600);
        return false;
    }
    run.big_endian = out.big_endian = 0;
    put_optional_header(out, processor);
    coff_rules_t rules = mcoff_rules;
    rules.rom_unit = processor.rom_unit;
    rules.ram_unit = processor.ram_unit;
    mcoff_writer_t writer{
        {run, out, name, rules, run.formats.mcoff_unnamed},
        processor.rom_width
    };
    write_sections(writer.coff);
    build_symbol_table(writer);
    line_pass(writer);
    close_coff(writer.coff, F_EXEC);
    return true;
}

} // namespace tavrel
