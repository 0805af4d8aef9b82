// Selecting the processor family, and the frame of what a family is asked.
//
// The family is chosen once a run: by the processor's name if a row accepts it, else by the words in the header of the
// first SDB file, which must all belong to one family and to one only.
#include "debug/machine.h"

#include "debug/machine_row.h"

namespace tavrel {
namespace {

constexpr size_t header_word_limit = 49;
constexpr text_t white_space = " \t\n\v\f\r";

// The words of a header up to a lone "]".
std::vector<text_t> split_words(text_t text) {
    std::vector<text_t> words;
    size_t at = text.find_first_not_of(white_space);
    while (at < text.size() && words.size() < header_word_limit) {
        const size_t end = std::min(text.find_first_of(white_space, at), text.size());
        const text_t word = text.substr(at, end - at);
        if (word == "]") {
            break;
        }
        words.push_back(word);
        at = text.find_first_not_of(white_space, end);
    }
    return words;
}

bool has_key(const machine_t& row, text_t word) {
    for (const char* const key : row.keys) {
        if (str_iequal(key, word)) {
            return true;
        }
    }
    return false;
}

bool has_all_keys(const machine_t& row, const std::vector<text_t>& words) {
    for (const text_t word : words) {
        if (!has_key(row, word)) {
            return false;
        }
    }
    return true;
}

const machine_t* pick_by_name(const run_t& run) {
    for (const machine_t* const row : machines) {
        if (row->accepts(run, run.processor_name)) {
            return row;
        }
    }
    return nullptr;
}

const machine_t* pick_by_words(run_t& run, const std::vector<text_t>& words) {
    const machine_t* picked = nullptr;
    for (const machine_t* const row : machines) {
        if (!has_all_keys(*row, words)) {
            continue;
        }
        if (picked != nullptr) {
            alert(run, 669);
            return nullptr;
        }
        picked = row;
    }
    if (picked == nullptr) {
        alert(run, 668);
    }
    return picked;
}

// A variable that the linker knows by a name.
bool place_by_name(run_t& run, dsym_t* node, text_t name) {
    return find_symbol_location(run.model, name, node->variable->location);
}

bool is_local(const dsym_t& node) { return node.sclass == SC_AUTO || node.sclass == SC_PARAM; }

bool place_variable(run_t& run, dsym_t* node, const scope_cursor_t& cursor, const locate_rules_t& rules) {
    if (is_local(*node)) {
        const dsym_t* const function = enclosing_function(cursor);
        return function != nullptr && rules.place_local(run, node, *function);
    }
    if (node->sclass == SC_STATIC && !is_none(node->variable->asm_name)) {
        return rules.place_static(run, node, cursor);
    }
    return place_by_name(run, node, node->name);
}

} // namespace

const machine_t* const machines[7] = {
    &machine_pic, &machine_pic18, &machine_dspic, &machine_mips, &machine_8051, &machine_arm, &machine_holtek,
};

// ---- selection

bool set_machine(run_t& run, text_t header_words) {
    tree_t& tree = tree_of(run);
    if (!tree.machine_known) {
        const machine_t* picked = pick_by_name(run);
        if (picked == nullptr) {
            picked = pick_by_words(run, split_words(header_words));
        }
        if (picked == nullptr) {
            return false;
        }
        run.machine = picked;
        build_global_block(run);
        tree.machine_known = true;
    }
    return true;
}

bool set_machine_option(run_t& run, text_t word) {
    const auto& keys = run.machine->keys;
    for (size_t bit = 0; bit < keys.size(); ++bit) {
        if (keys[bit] == word) {
            tree_of(run).machine_options |= uint32_t(1) << bit;
            return true;
        }
    }
    return false;
}

uint32_t find_register(const run_t& run, text_t name) {
    if (!name.empty()) {
        const auto& registers = run.machine->registers;
        for (uint32_t row = 0; row < registers.size(); ++row) {
            if (registers[row].name == name) {
                return row;
            }
        }
    }
    return 0;
}

text_t register_name(const run_t& run, uint32_t row) {
    const auto& registers = run.machine->registers;
    return row < registers.size() ? registers[row].name : text_t("");
}

bool resolve_location(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return run.machine->locate(run, node, cursor, location);
}

uint32_t type_size(const run_t& run, type_t position) { return run.machine->sizeof_type(position); }

// ---- the frame of sizeof_type

uint32_t sizeof_parts(type_t position, const pointer_rule_t& pointers) {
    uint32_t factor = 1;
    for (; position != nullptr; position = position->inner) {
        switch (position->kind) {
        case TP_BASE: return factor * position->size;
        case TP_ENUM: return factor * position->node->enumeration->size;
        case TP_STRUCT: return factor * position->node->structure->size;
        case TP_PTR: {
            const type_t inner = position->inner;
            const bool special = inner != nullptr && inner->kind == TP_QUAL && (inner->value & pointers.flags) != 0;
            return factor * (special ? pointers.special : pointers.plain);
        }
        case TP_ARRAY: factor *= position->value; break;
        default: return 0;
        }
    }
    return 0;
}

// ---- the frame of locate

const dsym_t* enclosing_function(const scope_cursor_t& cursor) {
    const dsym_t* scope = cursor.block;
    while (scope != nullptr && scope->sclass == SC_BLOCK) {
        scope = scope->scope->parent;
    }
    return scope != nullptr && scope->sclass == SC_FUNC ? scope : nullptr;
}

bool place_by_label(run_t& run, dsym_t* node, const scope_cursor_t&) {
    return place_by_name(run, node, node->variable->asm_name);
}

bool place_by_symbol(run_t& run, dsym_t* node, const dsym_t& function, text_t auto_prefix, text_t param_prefix) {
    const dsym_t* const named = function.scope->func;
    if (named == nullptr) {
        return false;
    }
    const text_t prefix = node->sclass == SC_AUTO ? auto_prefix : param_prefix;
    if (!place_by_name(run, node, std::string(prefix).append(named->name))) {
        return false;
    }
    node->variable->location.value += static_cast<uint32_t>(node->variable->place);
    return true;
}

bool place_by_offset(run_t&, dsym_t* node, const dsym_t& function) {
    const int32_t base = function.scope->frame[node->sclass == SC_AUTO ? 1 : 3];
    node->variable->location.value = static_cast<uint32_t>(base) + static_cast<uint32_t>(node->variable->place);
    return true;
}

bool locate_variable(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location,
                     const locate_rules_t& rules) {
    if (node == nullptr) {
        return false;
    }
    switch (node->sclass) {
    case SC_EXTERN:
    case SC_STATIC:
    case SC_AUTO:
    case SC_PARAM:
        if ((node->flags & DS_RESOLVED) == 0) {
            if (!place_variable(run, node, cursor, rules)) {
                return false;
            }
            node->flags |= DS_RESOLVED;
        }
        location = node->variable->location;
        return true;
    case SC_REG:
        return rules.place_register != nullptr &&
               rules.place_register(run, static_cast<uint32_t>(node->variable->place), location);
    default: return false;
    }
}

} // namespace tavrel
