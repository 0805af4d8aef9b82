// DWARF 2, the debug information of an ELF file, from the tree of the run. Three sections are written: .debug_info with
// one unit for each module, in it the module's types, variables and functions as DIEs; .debug_abbrev with the shapes of
// these; .debug_line with a line program for each unit.
//
// What is odd about ours: addresses are the model's, whatever unit the processor counts in; every function's frame base
// is register 29; a frame offset is a 32-bit number also when it is negative; blocks leave no DIE of their own, their
// variables are the function's.
#include "formats/elf/dwarf_write.h"

#include <algorithm>

#include "debug/machine.h"
#include "formats/elf/dwarf_layout.h"
#include "formats/elf/dwarf_writer.h"
#include "model/encdec.h"

namespace tavrel {
namespace {

constexpr size_t end_name_limit = 127; // characters of "__end_of..."

// Above this many bytes nothing more is told: modules that all name one long file would fill any memory.
constexpr size_t sections_limit = 0x40000000;

bool is_full(const dwarf_writer_t& writer) { return writer.info.size() + writer.line.size() > sections_limit; }

void dwarf_scope(dwarf_writer_t& writer, const dsym_t& scope);

// ---- files

uint32_t dir_number(unit_files_t& files, text_t dir) {
    if (dir.empty()) {
        return 0;
    }
    const auto [slot, is_new] = files.dir_numbers.try_emplace(dir, static_cast<uint32_t>(files.dirs.size()));
    if (is_new) {
        files.dirs.push_back(dir);
    }
    return slot->second;
}

// The position behind the last separator: a backslash, else a slash, else a colon; 0 if there is none.
size_t base_name_at(text_t path) {
    for (const char separator : {'\\', '/', ':'}) {
        if (const size_t at = path.rfind(separator); at != text_t::npos) {
            return at + 1;
        }
    }
    return 0;
}

void switch_file(dwarf_writer_t& writer, text_t path) {
    unit_files_t& files = writer.files;
    const size_t base = base_name_at(path);
    const text_t name = path.substr(base);
    const auto number = static_cast<uint32_t>(files.files.size());
    const auto [slot, is_new] = files.file_numbers.try_emplace(name, number);
    if (is_new) {
        const file_t* const file = find_file(writer.run.model, path);
        const uint32_t dir = base == 0 ? 0 : dir_number(files, path.substr(0, base - 1));
        files.files.push_back({name, dir, file == nullptr ? 0 : file->index});
    }
    writer.current_file = slot->second;
}

unit_files_t new_file_table(text_t module_name) {
    unit_files_t files;
    files.files.push_back({module_name, 0, 0});
    files.dirs.push_back("");
    files.file_numbers.emplace(module_name, 0);
    return files;
}

// ---- variables

shape_t variable_shape(const dsym_t& node) {
    switch (node.sclass) {
    case SC_EXTERN: return SHAPE_EXTERNAL_VARIABLE;
    case SC_PARAM: return SHAPE_PARAMETER;
    default: return SHAPE_LOCAL_VARIABLE;
    }
}

// On some machines what a variable has in the frame is its place alone; elsewhere it is the whole address.
uint32_t frame_value(const run_t& run, const variable_t& variable) {
    const bool by_place = run.machine == &machine_dspic || run.machine == &machine_mips;
    return by_place ? static_cast<uint32_t>(variable.place) : variable.location.value;
}

std::string location_expression(const dwarf_writer_t& writer, const dsym_t& node, uint32_t resolved) {
    std::string expression;
    switch (node.sclass) {
    case SC_AUTO:
    case SC_PARAM: {
        const uint32_t offset = frame_value(writer.run, *node.variable) - writer.frame_base;
        expression.push_back(static_cast<char>(DW_OP_fbreg));
        sleb128_write(expression, int64_t(offset)); // not sign-extended: a negative offset is a large one
        break;
    }
    case SC_REG:
        expression.push_back(static_cast<char>(DW_OP_regx));
        uleb128_write(expression, resolved);
        break;
    default:
        expression.push_back(static_cast<char>(DW_OP_addr));
        put_address(writer, expression, node.variable->location.value);
    }
    return expression;
}

// `resolved` is what resolve_location gave.
void dwarf_variable(dwarf_writer_t& writer, const dsym_t& node, uint32_t resolved) {
    if (is_function_type(node.variable->type)) {
        return; // the function's own scope describes it
    }
    const uint32_t type = dwarf_type(writer, node.variable->type);
    if (type == no_type) {
        alert_text(writer.run, "W", "DWARF: Couldn't find type for '%s'", node.name);
        return;
    }
    die_t die;
    die_begin(writer, die, variable_shape(node));
    die_put_text(die, node.name);
    die_put8(die, writer.current_file);
    die_put16(writer, die, node.line);
    die_put_type(writer, die, type);
    if (node.sclass == SC_EXTERN) {
        die_put8(die, 1);
    }
    const std::string expression = location_expression(writer, node, resolved);
    die_put8(die, static_cast<uint32_t>(expression.size()));
    die.bytes.append(expression);
    die_land(writer, die);
}

void place_variable(dwarf_writer_t& writer, const dsym_t& scope, uint32_t position, bool must_have_place) {
    dsym_t* const node = scope.scope->members[position];
    location_t resolved;
    if (resolve_location(writer.run, node, {&scope, position}, resolved)) {
        dwarf_variable(writer, *node, resolved.value);
    } else if (must_have_place) {
        alert_text(writer.run, "W", "DWARF: Can't find variable location: '%s'", node->name);
    }
}

void dwarf_typedef(dwarf_writer_t& writer, const dsym_t& node) {
    const uint32_t type = dwarf_type(writer, node.variable->type);
    if (type == no_type) {
        alert_text(writer.run, "W", "DWARF: Couldn't find type for '%s'", node.name);
        return;
    }
    die_t die;
    die_begin(writer, die, SHAPE_TYPEDEF);
    die_put_text(die, node.name);
    die_put8(die, writer.current_file);
    die_put16(writer, die, node.line);
    die_put_type(writer, die, type);
    die_land(writer, die);
}

// An enumeration has a DIE also where no type refers to it.
void dwarf_enum(dwarf_writer_t& writer, dsym_t& node) {
    tpart_t& part = writer.enum_parts.emplace_back();
    part.kind = TP_ENUM;
    part.base = &part;
    part.node = &node;
    part.text = node.name;
    dwarf_type(writer, &part);
}

// ---- functions

shape_t function_shape(bool typed, bool parent) {
    if (typed) {
        return parent ? SHAPE_FUNCTION_PARENT : SHAPE_FUNCTION_LEAF;
    }
    return parent ? SHAPE_VOID_FUNCTION_PARENT : SHAPE_VOID_FUNCTION_LEAF;
}

// The address behind a function: of the symbol that marks it, else of the byte behind the function's first one.
uint64_t function_end(const run_t& run, text_t name, uint32_t start) {
    const std::string end_name = format_text("__end_of%s", name).substr(0, end_name_limit);
    const symbol_t* const symbol = find_symbol(run.model, end_name);
    return symbol == nullptr ? uint64_t(start) + 1 : symbol->value;
}

void put_function(dwarf_writer_t& writer, const dsym_t& function, uint32_t return_type) {
    const dsym_t& node = *function.scope->func;
    die_t die;
    die_begin(writer, die, function_shape(return_type != no_type, !function.scope->members.empty()));
    die_put_text(die, node.name);
    if (return_type != no_type) {
        die_put_type(writer, die, return_type);
    }
    die_put8(die, node.sclass == SC_EXTERN ? 1 : 0);
    uleb128_write(die.bytes, writer.current_file);
    uleb128_write(die.bytes, node.line);
    const symbol_t* const symbol = find_symbol(writer.run.model, node.name);
    const uint32_t start = symbol == nullptr ? 0 : symbol->value;
    writer.low_pc = std::min(writer.low_pc, start);
    const uint64_t end = function_end(writer.run, node.name, start);
    if (end > writer.high_pc) {
        writer.high_pc = static_cast<uint32_t>(end);
    }
    put_address(writer, die.bytes, start);
    put_address(writer, die.bytes, end);
    die_put8(die, 1);
    die_put8(die, DW_OP_reg29);
    die_land(writer, die);
}

void dwarf_function(dwarf_writer_t& writer, const dsym_t& function) {
    const dsym_t* const node = function.scope->func;
    if (node == nullptr) {
        return;
    }
    const type_t type = node->variable->type;
    const uint32_t return_type = type == nullptr ? no_type : dwarf_type(writer, type->inner);
    put_function(writer, function, return_type);
    writer.frame_base = static_cast<uint32_t>(function.scope->frame[0]);
    dwarf_scope(writer, function);
    if (!function.scope->members.empty()) {
        dwarf_end_children(writer);
    }
}

// ---- scopes and units

void dwarf_scope(dwarf_writer_t& writer, const dsym_t& scope) {
    for (uint32_t k = 0; k < scope.scope->members.size() && !is_full(writer); ++k) {
        dsym_t& node = *scope.scope->members[k];
        switch (node.sclass) {
        case SC_EXTERN:
        case SC_GLOBAL:
        case SC_STATIC: place_variable(writer, scope, k, true); break;
        case SC_AUTO:
        case SC_PARAM:
        case SC_REG: place_variable(writer, scope, k, false); break;
        case SC_TYPEDEF: dwarf_typedef(writer, node); break;
        case SC_BLOCK: dwarf_scope(writer, node); break;
        case SC_FUNC: dwarf_function(writer, node); break;
        case SC_ENUM: dwarf_enum(writer, node); break;
        case SC_FILENAME: switch_file(writer, node.name); break;
        default: break;
        }
    }
}

// The unit's header and its own DIE. Gives the place of the DIE's low_pc, which high_pc follows, to be set at the end.
size_t begin_unit(dwarf_writer_t& writer, const dsym_t& module, bool parent) {
    die_t die;
    die_put32(writer, die, 0); // unit length
    die_put16(writer, die, DWARF_VERSION);
    die_put32(writer, die, 0); // place in .debug_abbrev
    die_put8(die, writer.address_size);
    die_begin(writer, die, parent ? SHAPE_UNIT_PARENT : SHAPE_UNIT_LEAF);
    die_put32(writer, die, static_cast<uint32_t>(writer.line.size()));
    die_put_text(die, "Tavrel - Norvane Software");
    die_put16(writer, die, module.sclass == SC_NOSDB ? DW_LANG_Mips_Assembler : DW_LANG_C89);
    die_put_text(die, module.name);
    const size_t low_pc_at = die.bytes.size();
    put_address(writer, die.bytes, 0);
    put_address(writer, die.bytes, 0);
    writer.unit_start = die_land(writer, die);
    return writer.unit_start + low_pc_at;
}

void patch_pc_range(dwarf_writer_t& writer, size_t low_pc_at, size_t unit_die_end) {
    std::string range;
    put_address(writer, range, writer.low_pc);
    put_address(writer, range, writer.high_pc);
    if (low_pc_at + range.size() <= unit_die_end) { // a long name pushes the addresses out of the DIE
        writer.info.replace(low_pc_at, range.size(), range);
    }
}

void dwarf_unit(dwarf_writer_t& writer, const dsym_t& module) {
    if (is_full(writer)) {
        alert(writer.run, 157, die_limit);
        return;
    }
    writer.high_pc = 0;
    writer.low_pc = 0xFFFFFFFF;
    writer.files = new_file_table(module.name);
    writer.current_file = 0;
    begin_unit_types(writer);
    const bool parent = module.scope->members.size() > 1; // the first one is the file's mark, which leaves no DIE
    const size_t low_pc_at = begin_unit(writer, module, parent);
    const size_t unit_die_end = writer.info.size();
    dwarf_scope(writer, module);
    if (is_full(writer)) {
        alert(writer.run, 157, die_limit);
    }
    if (parent) {
        dwarf_end_children(writer);
    }
    patch32(writer, writer.info, writer.unit_start, static_cast<uint32_t>(writer.info.size() - writer.unit_start - 4));
    dwarf_line_program(writer);
    patch_pc_range(writer, low_pc_at, unit_die_end);
}

// The bytes of an address that hold a pointer; one that no address can have stays as it is.
uint32_t choose_address_size(run_t& run) {
    tpart_t pointer;
    pointer.kind = TP_PTR;
    pointer.base = &pointer;
    const uint32_t size = type_size(run, &pointer);
    if (size == 0 || size > 8) {
        alert(run, 632, size);
        return size;
    }
    return size <= 2 ? size : size <= 4 ? 4 : 8;
}

} // namespace

void dwarf_write(run_t& run, std::vector<debug_section_t>& sections) {
    if (run.global_block == nullptr) {
        return;
    }
    dwarf_writer_t writer(run);
    writer.address_size = choose_address_size(run);
    writer.line_index = make_line_index(run);
    for (const dsym_t* const node : run.global_block->scope->members) {
        switch (node->sclass) {
        case SC_MODULE:
        case SC_NOSDB: dwarf_unit(writer, *node); break;
        case SC_TYPEDEF: add_global_type(writer, node->name, node->variable->type->base); break;
        default: break;
        }
    }
    writer.abbrev.push_back('\0');
    sections.push_back({".debug_abbrev", std::move(writer.abbrev)});
    sections.push_back({".debug_info", std::move(writer.info)});
    sections.push_back({".debug_line", std::move(writer.line)});
}

} // namespace tavrel
