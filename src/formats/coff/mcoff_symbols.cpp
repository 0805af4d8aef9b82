// The symbol table of a Microchip COFF file, made from the language-level tree.
//
// The tree is walked module by module. Each source file is opened by `.file` and closed by `.eof`; a function is its
// symbol, `.bf`, its parameters, one block, `.ef`; a block is `.bb`, what it holds, `.eb`. The format knows no frames
// and no bits: locals are written as statics at the addresses that the machine gives them, and bit variables are
// gathered into made-up structures, one for each byte. What the tree does not describe follows as plain labels.

#include <algorithm>

#include "debug/machine.h"
#include "formats/coff/mcoff_write.h"

namespace tavrel {
namespace {

constexpr size_t end_label_limit = 127; // characters of "__end_of..."
constexpr size_t holder_limit = 31;     // of the name of a bit holder

text_t shown_name(const run_t& run, text_t name) { return drop_underscore(name, run.strip_underscore); }

// ---- bit variables

bool ends_in_bit(type_t type) { return type->base->kind == TP_BASE && type->base->value == ENC_BIT; }

// A further name goes in front of those there were, at once: what follows may go by the node's name. Names grow to the
// front within a buffer of their own.
void join_name(run_t& run, bit_var_t& bit, text_t newer) {
    const text_t older = shown_name(run, bit.node->name);
    const size_t before = newer.size() + 1;
    if (bit.first == nullptr || bit.room < before) {
        const size_t size = 2 * (before + older.size());
        char* const buffer = reinterpret_cast<char*>(tree_of(run).texts.bytes.take(size + 1));
        buffer[size] = 0;
        bit.room = size - older.size();
        bit.first = buffer + bit.room;
        std::copy(older.begin(), older.end(), bit.first);
    } else {
        bit.room += bit.node->name.size() - older.size();
        bit.first += bit.node->name.size() - older.size();
    }
    bit.first[-1] = '/';
    bit.first -= before;
    bit.room -= before;
    std::copy(newer.begin(), newer.end(), bit.first);
    bit.node->name = {bit.first, before + older.size()};
}

void add_bit_variable(mcoff_writer_t& writer, uint32_t address, dsym_t* node) {
    bit_var_t* const known = hash_find(writer.bit_vars, address);
    if (known == nullptr) {
        hash_insert(writer.bit_vars, address, {node});
    } else if (known->node != node && known->node->name != node->name) {
        join_name(writer.coff.run, *known, node->name);
    }
}

void add_bit_member(mcoff_writer_t& writer, text_t name, uint32_t position, uint32_t width) {
    coff_out_symbol_t member = coff_mark(writer.coff, name, C_FIELD, position, N_DEBUG);
    member.type = T_UCHAR;
    member.numaux = 1;
    add_coff_symbol(writer.coff, member);
    coff_out_aux_t aux;
    aux.size = width;
    add_coff_aux(writer.coff, aux);
}

text_t bit_member_name(const run_t& run, const dsym_t& node) {
    const bool labelled = node.sclass == SC_STATIC && !is_none(node.variable->asm_name);
    return labelled ? node.variable->asm_name : shown_name(run, node.name);
}

// The structure that holds the bits of one byte, while its members are written.
struct bit_holder_t {
    uint32_t number = 0; // from 1; 0 while there is none
    uint32_t byte = 0;
    uint32_t position = 0; // next free bit
    uint32_t tag = 0;      // symbol index
};

void open_holder(mcoff_writer_t& writer, bit_holder_t& holder, uint32_t byte) {
    holder.number += 1;
    holder.byte = byte;
    holder.position = 0;
    coff_out_symbol_t tag = coff_mark(writer.coff, {}, C_STRTAG, 0, N_DEBUG);
    tag.numaux = 1;
    holder.tag = add_coff_symbol(writer.coff, tag);
    coff_out_aux_t aux;
    aux.size = writer.coff.rules.ram_unit;
    add_coff_aux(writer.coff, aux);
}

std::string holder_name(const run_t& run, const bit_holder_t& holder) {
    const text_t prefix = run.strip_underscore ? "" : "_";
    const symbol_t* const symbol = holder.byte == 0 ? nullptr : find_symbol_at(run.model, holder.byte);
    const std::string name = symbol != nullptr ? format_text("%s%sbits", prefix, symbol->name)
                                               : format_text("%sbitvars%d", prefix, holder.number);
    return name.substr(0, holder_limit);
}

// Ends the structure, and adds the variable that lies over the byte.
void close_holder(mcoff_writer_t& writer, const bit_holder_t& holder) {
    coff_writer_t& coff = writer.coff;
    coff_out_aux_t aux;
    aux.tagndx = holder.tag;
    aux.size = coff.rules.ram_unit;
    coff_out_symbol_t end = coff_mark(coff, ".eos", C_EOS, 0, N_ABS);
    end.numaux = 1;
    add_coff_symbol(coff, end);
    set_record32(coff, holder.tag + 1, coff_at::x_endndx, add_coff_aux(coff, aux));
    coff_out_symbol_t variable = coff_mark(coff, holder_name(coff.run, holder), C_EXT, holder.byte, 1);
    variable.type = T_STRUCT;
    variable.numaux = 1;
    add_coff_symbol(coff, variable);
    add_coff_aux(coff, aux);
}

void add_bit_structures(mcoff_writer_t& writer) {
    run_t& run = writer.coff.run;
    vector_t<uint32_t> keys = hash_keys(writer.bit_vars);
    vector_sort(keys, [](uint32_t a, uint32_t b) { return a < b ? -1 : a > b ? 1 : 0; });
    const uint32_t unit = 8 * writer.coff.rules.ram_unit;
    bit_holder_t holder;
    for (const uint32_t key : keys) {
        const uint32_t bit = key % unit;
        if (holder.number == 0 || key / unit != holder.byte) {
            if (holder.number != 0) {
                close_holder(writer, holder);
            }
            open_holder(writer, holder, key / unit);
        }
        if (bit > holder.position) {
            add_bit_member(writer, "-", holder.position, bit - holder.position);
            holder.position = bit;
        }
        const dsym_t& variable = *hash_find(writer.bit_vars, key)->node;
        add_bit_member(writer, bit_member_name(run, variable), holder.position, 1);
        holder.position += 1;
        mark_described(run, variable.name);
    }
    if (holder.number != 0) {
        close_holder(writer, holder);
    }
}

// ---- variables

// On 12-bit parts a function is known by its entry label.
void apply_entry_rule(const mcoff_writer_t& writer, const dsym_t& scope, const dsym_t& function, location_t& location) {
    if (writer.rom_width != 12) {
        return;
    }
    model_t& model = writer.coff.run.model;
    const std::string label = format_text("entry_%s", function.name);
    const bool local = function.sclass == SC_STATIC && !is_none(scope.name);
    const symbol_t* const symbol = local ? find_file_symbol(model, scope.name, label) : find_symbol(model, label);
    if (symbol != nullptr) {
        location.value = symbol->value;
    }
}

// The variable's own size tells float and double apart.
uint32_t float_rule(uint32_t word, uint32_t var_size) {
    if (word == T_DOUBLE && var_size == mcoff_float_size) {
        return T_FLOAT;
    }
    return word == T_FLOAT && var_size == mcoff_double_size ? uint32_t(T_DOUBLE) : word;
}

bool is_empty_array(const coff_typed_t& typed) {
    return (typed.word >> mcoff_shape.base_bits & mcoff_shape.derivation_mask()) == DT_ARY && typed.has_aux &&
           typed.aux.size == 0;
}

// The symbol of a variable with its tags in front; the caller adds it. The name comes first in the string table.
coff_out_symbol_t variable_symbol(mcoff_writer_t& writer, const dsym_t& node, const location_t& location,
                                  uint32_t sclass, coff_typed_t& typed) {
    coff_writer_t& coff = writer.coff;
    coff_out_symbol_t symbol = coff_mark(coff, shown_name(coff.run, node.name), sclass, location.value,
                                         static_cast<int32_t>(section_of(coff, location)));
    typed = coff_type_of(coff, node.variable->type);
    symbol.type = float_rule(typed.word, node.variable->var_size);
    return symbol;
}

uint32_t global_class(const dsym_t& node) {
    if (node.sclass == SC_STATIC) {
        return C_STAT;
    }
    return node.variable->var_size == 0 && !is_function_type(node.variable->type) ? C_EXTDEF : C_EXT;
}

// A variable of static storage at its place. A function that stands before its body and is no more than an empty array
// is left out.
void add_global(mcoff_writer_t& writer, dsym_t* node, const location_t& location, bool before_body) {
    coff_writer_t& coff = writer.coff;
    if (ends_in_bit(node->variable->type)) {
        add_bit_variable(writer, location.value, node);
        return;
    }
    coff_typed_t typed;
    const coff_out_symbol_t symbol = variable_symbol(writer, *node, location, global_class(*node), typed);
    if (!before_body || !is_empty_array(typed)) {
        node->writer_entry = add_typed(coff, symbol, typed);
    }
    mark_described(coff.run, node->name);
}

void add_static(mcoff_writer_t& writer, dsym_t* scope, uint32_t position) {
    dsym_t* const node = scope->scope->members[position];
    location_t location;
    if (node->variable->type == nullptr || !resolve_location(writer.coff.run, node, {scope, position}, location)) {
        return;
    }
    if (is_function_type(node->variable->type)) {
        apply_entry_rule(writer, *scope, *node, location);
    }
    add_global(writer, node, location, false);
}

void coff_local(mcoff_writer_t& writer, dsym_t* scope, uint32_t position) {
    dsym_t* const node = scope->scope->members[position];
    location_t location;
    if (node->variable->type == nullptr || !resolve_location(writer.coff.run, node, {scope, position}, location)) {
        return;
    }
    coff_typed_t typed;
    const uint32_t sclass = node->sclass == SC_REG ? C_REG : C_STAT;
    const coff_out_symbol_t symbol = variable_symbol(writer, *node, location, sclass, typed);
    add_typed(writer.coff, symbol, typed);
}

// ---- scopes

void coff_walk(mcoff_writer_t& writer, dsym_t* scope, const location_t* start);

// The opening record's x_endndx names the auxiliary record of the closing one.
void close_mark(coff_writer_t& coff, uint32_t opened, uint32_t closed) {
    set_record32(coff, opened + 1, coff_at::x_endndx, closed + 1);
}

void coff_block(mcoff_writer_t& writer, dsym_t* node, const location_t* start) {
    coff_writer_t& coff = writer.coff;
    const uint32_t value = start == nullptr ? 0 : start->value;
    const int32_t scnum = start == nullptr ? 0 : static_cast<int32_t>(section_of(coff, *start));
    const uint32_t opened = add_line_mark(coff, coff_mark(coff, ".bb", C_BLOCK, value, scnum), node->scope->first_line);
    coff_walk(writer, node, start);
    const uint32_t closed = add_line_mark(coff, coff_mark(coff, ".eb", C_BLOCK, value, scnum), node->scope->last_line);
    close_mark(coff, opened, closed);
}

// The function's own symbol in front of its body, if it has a place.
void add_function_symbol(mcoff_writer_t& writer, dsym_t* scope, uint32_t position, dsym_t* function) {
    location_t location;
    if (function->variable->type != nullptr &&
        resolve_location(writer.coff.run, function, {scope, position}, location)) {
        add_global(writer, function, location, true);
    }
}

uint32_t end_of_function(const run_t& run, const dsym_t* function, uint32_t start) {
    if (function == nullptr) {
        return start;
    }
    const std::string label = format_text("__end_of%s", function->name).substr(0, end_label_limit);
    const symbol_t* const symbol = find_symbol(run.model, label);
    return symbol == nullptr ? start : symbol->value - 1;
}

void add_function(mcoff_writer_t& writer, dsym_t* scope, uint32_t position) {
    coff_writer_t& coff = writer.coff;
    dsym_t* const node = scope->scope->members[position];
    dsym_t* const function = node->scope->func;
    if (function != nullptr) {
        add_function_symbol(writer, scope, position, function);
    }
    coff.coff_functions.push_back(node);
    if (function != nullptr) {
        apply_entry_rule(writer, *scope, *function, function->variable->location);
    }
    const location_t start = function_location(*node);
    const auto scnum = static_cast<int32_t>(section_of(coff, start));
    const uint32_t opened =
        add_line_mark(coff, coff_mark(coff, ".bf", C_FCN, start.value, scnum), node->scope->first_line);
    for (uint32_t k = 0; k < node->scope->members.size(); ++k) {
        if (node->scope->members[k]->sclass == SC_PARAM) {
            coff_local(writer, node, k);
        }
    }
    coff_block(writer, node, &start);
    const uint32_t end = end_of_function(coff.run, function, start.value);
    const uint32_t closed = add_line_mark(coff, coff_mark(coff, ".ef", C_FCN, end, scnum), node->scope->last_line);
    close_mark(coff, opened, closed);
}

// A source file begins. An entry in front of it that holds nothing is taken back.
void begin_file(mcoff_writer_t& writer, text_t name) {
    coff_writer_t& coff = writer.coff;
    if (!is_none(writer.coff_open_file)) {
        constexpr uint32_t entry = 2; // the symbol and its auxiliary record
        const uint32_t count = symbol_count(coff);
        if (record_at(coff, count - entry)[mcoff_shape.n_sclass] == C_FILE) {
            coff.coff_symbols.resize(coff.coff_symbols.size() - entry * mcoff_shape.symbol_size);
        } else {
            coff_end_of_file(writer);
        }
    }
    writer.coff_open_file = name;
    coff_file_entry(writer, name);
}

void coff_walk(mcoff_writer_t& writer, dsym_t* scope, const location_t* start) {
    const auto& members = scope->scope->members;
    for (uint32_t k = 0; k < members.size(); ++k) {
        switch (members[k]->sclass) {
        case SC_FILENAME: begin_file(writer, members[k]->name); break;
        case SC_EXTERN:
        case SC_STATIC: add_static(writer, scope, k); break;
        case SC_AUTO:
        case SC_REG: coff_local(writer, scope, k); break;
        case SC_BLOCK: coff_block(writer, members[k], start); break;
        case SC_FUNC: add_function(writer, scope, k); break;
        default: break;
        }
    }
}

void add_labels(mcoff_writer_t& writer) {
    coff_writer_t& coff = writer.coff;
    for (const symbol_t* const symbol : listed_symbols(coff.run)) {
        add_coff_symbol(coff, coff_mark(coff, shown_name(coff.run, symbol->name), C_LABEL, symbol->value, 0));
    }
}

} // namespace

void coff_end_of_file(mcoff_writer_t& writer) {
    add_coff_symbol(writer.coff, coff_mark(writer.coff, ".eof", C_EOF, 0, 0));
}

void coff_file_entry(mcoff_writer_t& writer, text_t name) {
    coff_writer_t& coff = writer.coff;
    coff_out_symbol_t entry = coff_mark(coff, ".file", C_FILE, 0, 0);
    entry.numaux = 1;
    const uint32_t index = add_coff_symbol(coff, entry);
    if (file_t* const file = find_file(coff.run.model, name); file != nullptr) {
        file->out_index = index;
    }
    const uint32_t offset = add_coff_string(coff, source_path(coff.run, name));
    set_record32(coff, add_coff_aux(coff, {}), coff_at::x_offset, offset);
}

void build_symbol_table(mcoff_writer_t& writer) {
    for (dsym_t* const module : tree_modules(writer.coff.run)) {
        coff_walk(writer, module, nullptr);
    }
    add_bit_structures(writer);
    if (!is_none(writer.coff_open_file)) {
        coff_end_of_file(writer);
    }
    add_labels(writer);
}

} // namespace tavrel
