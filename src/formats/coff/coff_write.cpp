// The plain COFF writer, for the debuggers of eleven processors.
//
// It differs from its Microchip sibling in what it does not have: no bit variables, no names without their underscore,
// no entry labels, no end marks of files. In exchange its scopes are chained: each `.bb` leads to the next one of its
// level or to what closes the level, and each `.bf` to the next function. One line record stands for a whole line, and
// a function's lines follow a record that names the function.
#include <algorithm>

#include "debug/machine.h"
#include "formats/coff/coff.h"
#include "formats/coff/coff_family_write.h"
#include "formats/coff/coff_layout.h"

namespace tavrel {
namespace {

constexpr uint32_t frame_pointer_register = 15;

struct plain_writer_t {
    coff_writer_t coff;
    const coff_row_t& row;
    bool pic30;               // the row is one of those with habits of their own
    uint32_t last_bf_aux = 0; // auxiliary record of the last `.bf`, 0 while there is none
};

coff_rules_t rules_of(const coff_row_t& row) {
    return {
        .shape = coff_shape,
        .magic = row.magic,
        .optional_size = 0,
        .absolute_sections = 0,
        .gap = coff_section_header_size,
        .long_section_names = false,
        .tag_scnum = N_DEBUG,
        .eos_scnum = N_ABS,
        .signed_codes = {0, T_CHAR,  T_SHORT,  0, T_LONG },
        .unsigned_codes = {0, T_UCHAR, T_USHORT, 0, T_ULONG},
        .small_enum_code = T_SHORT,
        .base_sizes = *row.base_sizes,
        .pointer_size = row.pointer_size,
        .rom_unit = row.rom_unit,
        .ram_unit = row.ram_unit,
    };
}

// ---- the row

// The first row whose name contains the processor's; a row that an input chose stands. False behind the message.
bool choose_row(run_t& run) {
    uint32_t& row = run.formats.coff_row;
    if (row != 0) {
        return true;
    }
    const text_t processor = run.processor_args.empty() ? run.processor_name : run.processor_args[0];
    if (processor.empty()) {
        alert(run, 600);
        return false;
    }
    for (uint32_t k = 1; k < std::size(coff_rows); ++k) {
        if (str_istr(coff_rows[k].name, processor) != text_t::npos) {
            row = k;
            run.big_endian = coff_rows[k].big_endian;
            return true;
        }
    }
    alert(run, 601, processor);
    return false;
}

// ---- variables

uint32_t global_class(const dsym_t& node) {
    if (node.sclass == SC_STATIC) {
        return C_STAT;
    }
    return node.variable->var_size == 0 ? C_EXTDEF : C_EXT;
}

// A variable of any class, in the section of its place if `scnum` is null. False if it has no place.
bool add_variable(coff_writer_t& coff, dsym_t* scope, uint32_t position, uint32_t sclass, const int32_t* scnum,
                  uint32_t& index) {
    dsym_t* const node = scope->scope->members[position];
    location_t location;
    if (node->variable->type == nullptr || !resolve_location(coff.run, node, {scope, position}, location)) {
        return false;
    }
    const int32_t section = scnum != nullptr ? *scnum : static_cast<int32_t>(section_of(coff, location));
    coff_out_symbol_t symbol = coff_mark(coff, node->name, sclass, location.value, section);
    const coff_typed_t typed = coff_type_of(coff, node->variable->type);
    symbol.type = typed.word;
    index = add_typed(coff, symbol, typed);
    return true;
}

void add_static(coff_writer_t& coff, dsym_t* scope, uint32_t position) {
    dsym_t* const node = scope->scope->members[position];
    if (add_variable(coff, scope, position, global_class(*node), nullptr, node->writer_entry)) {
        mark_described(coff.run, node->name);
    }
}

void add_local(coff_writer_t& coff, dsym_t* scope, uint32_t position, uint32_t sclass) {
    constexpr int32_t absolute = N_ABS;
    uint32_t index = 0;
    add_variable(coff, scope, position, sclass, &absolute, index);
}

// ---- scopes

uint32_t coff_walk(plain_writer_t& writer, dsym_t* scope);

// The scope's last record of its kind leads to symbol `index`; 0 means that there is none.
void chain(coff_writer_t& coff, uint32_t aux, uint32_t index) {
    if (aux != 0) {
        set_record32(coff, aux, coff_at::x_endndx, index);
    }
}

uint32_t add_mark(coff_writer_t& coff, text_t name, uint32_t sclass, uint32_t value, uint32_t line) {
    return add_line_mark(coff, coff_mark(coff, name, sclass, value, N_DEBUG), line);
}

void add_file(plain_writer_t& writer, text_t name) {
    coff_writer_t& coff = writer.coff;
    coff_out_symbol_t entry = coff_mark(coff, ".file", C_FILE, 0, N_DEBUG);
    entry.numaux = 1;
    const uint32_t index = add_coff_symbol(coff, entry);
    if (file_t* const file = find_file(coff.run.model, name); file != nullptr) {
        file->out_index = index;
    }
    const uint32_t aux = add_coff_aux(coff, {});
    const std::string path = writer.pic30 ? source_path(coff.run, name) : std::string(name);
    set_coff_name(coff, record_at(coff, aux), path);
}

// `last_bb` is the auxiliary record of the level's last `.bb`, 0 at first.
void coff_block(plain_writer_t& writer, dsym_t* node, uint32_t& last_bb) {
    coff_writer_t& coff = writer.coff;
    const uint32_t opened = add_mark(coff, ".bb", C_BLOCK, 0, node->scope->first_line);
    chain(coff, last_bb, opened);
    last_bb = opened + 1;
    const uint32_t inner = coff_walk(writer, node);
    const uint32_t closed = add_mark(coff, ".eb", C_BLOCK, 0, node->scope->last_line);
    chain(coff, inner, closed);
    chain(coff, last_bb, closed);
}

// Where the function's last line is, or the code in front of the line behind it; 0 if no line tells.
uint32_t end_by_lines(const plain_writer_t& writer, const scope_t& function) {
    const file_t* const file = named_file(writer.coff, function.file);
    if (file == nullptr) {
        return 0;
    }
    const auto& lines = file->lines;
    const auto at = std::lower_bound(lines.begin(), lines.end(), function.last_line,
                                     [](const line_t* line, uint32_t number) { return line->number < number; });
    if (at == lines.begin() || at == lines.end()) {
        return 0;
    }
    return (*at)->number == function.last_line ? (*at)->start : (*at)->start - writer.row.rom_unit;
}

void coff_function(plain_writer_t& writer, dsym_t* node) {
    coff_writer_t& coff = writer.coff;
    coff.coff_functions.push_back(node);
    const uint32_t start = function_location(*node).value;
    const uint32_t opened = add_mark(coff, ".bf", C_FCN, start, node->scope->first_line);
    chain(coff, writer.last_bf_aux, opened);
    writer.last_bf_aux = opened + 1;
    if (writer.pic30) {
        coff_out_symbol_t pointer = coff_mark(coff, "___FP", C_REG, frame_pointer_register, N_ABS);
        pointer.type = T_INT;
        add_coff_symbol(coff, pointer);
    }
    const uint32_t inner = coff_walk(writer, node);
    uint32_t end = end_by_lines(writer, *node->scope);
    if (end == 0 || end < start) {
        end = start + writer.row.rom_unit;
    }
    chain(coff, inner, add_mark(coff, ".ef", C_FCN, end, node->scope->last_line));
}

// Gives the auxiliary record of the last `.bb` at this level, 0 if there is none.
uint32_t coff_walk(plain_writer_t& writer, dsym_t* scope) {
    coff_writer_t& coff = writer.coff;
    const auto& members = scope->scope->members;
    uint32_t last_bb = 0;
    for (uint32_t k = 0; k < members.size(); ++k) {
        switch (members[k]->sclass) {
        case SC_FILENAME: add_file(writer, members[k]->name); break;
        case SC_EXTERN:
        case SC_STATIC: add_static(coff, scope, k); break;
        case SC_AUTO: add_local(coff, scope, k, C_AUTO); break;
        case SC_PARAM: add_local(coff, scope, k, C_ARG); break;
        case SC_REG: add_local(coff, scope, k, C_REG); break;
        case SC_BLOCK: coff_block(writer, members[k], last_bb); break;
        case SC_FUNC: coff_function(writer, members[k]); break;
        default: break;
        }
    }
    return last_bb;
}

void build_symbols(plain_writer_t& writer) {
    coff_writer_t& coff = writer.coff;
    for (dsym_t* const module : tree_modules(coff.run)) {
        coff_walk(writer, module);
    }
    for (const symbol_t* const symbol : listed_symbols(coff.run)) {
        add_coff_symbol(coff, coff_mark(coff, symbol->name, C_LABEL, symbol->value, N_ABS));
    }
}

// ---- lines

int compare_by(uint32_t a, uint32_t b, uint32_t then_a, uint32_t then_b) {
    return a != b ? (a < b ? -1 : 1) : then_a != then_b ? (then_a < then_b ? -1 : 1) : 0;
}

// Of two lines of one number the second goes, by address order; then all stand by address.
void drop_repeated_lines(vector_t<line_t*>& lines) {
    if (lines.count() < 2) {
        return;
    }
    vector_sort(lines,
                [](const line_t* a, const line_t* b) { return compare_by(a->number, b->number, a->start, b->start); });
    std::vector<line_t*> kept;
    for (size_t k = 0; k < lines.items.size(); ++k) {
        kept.push_back(lines[k]);
        if (k + 1 < lines.items.size() && lines[k + 1]->number == lines[k]->number) {
            ++k; // one only: a third of that number stays
        }
    }
    lines.items = std::move(kept);
    vector_sort(lines,
                [](const line_t* a, const line_t* b) { return compare_by(a->start, b->start, a->number, b->number); });
}

void put_line(coff_writer_t& coff, uint32_t line_size, uint32_t address, uint32_t number) {
    put32(coff.out, address);
    if (line_size == 6) {
        put16(coff.out, number & 0xFFFF);
    } else {
        put32(coff.out, number);
    }
}

uint32_t write_function_lines(plain_writer_t& writer, const dsym_t& function) {
    const vector_t<line_t*>& lines = function.scope->writer_list;
    if (!take_line_room(writer.coff, lines.count() + 1)) {
        return 0;
    }
    const dsym_t* const variable = function.scope->func;
    put_line(writer.coff, writer.row.line_size, variable == nullptr ? 0 : variable->writer_entry, 0);
    for (const line_t* const line : lines) {
        put_line(writer.coff, writer.row.line_size, line->start, line->number);
    }
    return lines.count() + 1;
}

void write_line_records(plain_writer_t& writer) {
    coff_writer_t& coff = writer.coff;
    const auto functions = functions_by_section(coff);
    for (uint32_t k = coff.first_text; k < coff.sections.size(); ++k) {
        coff_out_section_t& section = coff.sections[k];
        section.lnnoptr = coff.position;
        if (const auto here = functions.find(k + 1); here != functions.end()) {
            for (const dsym_t* const function : here->second) {
                section.nlnno += write_function_lines(writer, *function);
            }
        }
        coff.position += writer.row.line_size * section.nlnno;
    }
}

void line_pass(plain_writer_t& writer) {
    static constexpr text_t data_classes[] = {"idata", "nearidata", "yidata", "nearyidata", "ctext"};
    attach_lines(writer.coff, writer.pic30 ? std::span<const text_t>(data_classes) : std::span<const text_t>());
    if (writer.pic30) {
        for (dsym_t* const function : writer.coff.coff_functions) {
            drop_repeated_lines(function->scope->writer_list);
        }
    }
    write_line_records(writer);
}

} // namespace

bool coff_write(run_t& run, output_t& out, text_t name) {
    if (run.code_spaces.empty()) {
        alert(run, 599);
    }
    if (!choose_row(run)) {
        return false;
    }
    out.big_endian = run.big_endian;
    const coff_row_t& row = coff_rows[run.formats.coff_row];
    plain_writer_t writer{
        {run, out, name, rules_of(row), run.formats.coff_unnamed},
        row, row.magic == coff_magic_pic30
    };
    write_sections(writer.coff);
    build_symbols(writer);
    line_pass(writer);
    close_coff(writer.coff, row.flags | F_RELFLG | F_EXEC);
    return true;
}

} // namespace tavrel
