// The 8-bit PIC parts: baseline, mid-range and PIC17.
//
// These parts have no stack for data. The compiler lays autos, parameters and function-local statics out at fixed
// addresses, as symbols named function@variable; so a local variable is found by renaming it. Pointers are one byte
// where they reach banked memory only.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"w", 1}, {"wreg", 1}, {"fsr0l", 1}, {"fsr0h", 1}, {"fsr1l", 1}, {"fsr1h", 1}, {"prodl", 1},
    {"prodh", 1}, {"tblptrl", 1}, {"tblptrh", 1}, {"btemp+0", 1}, {"btemp+1", 1}, {"btemp+2", 1},
    {"btemp+3", 1},
    {"fsr0", 2}, {"fsr1", 2}, {"tablreg", 2}, {"prod", 2}, {"wtemp0", 2}, {"wtemp1", 2},
    {"ttemp0", 3},
    {"ltemp0", 4},
};

constexpr const char* keys[] = {
    "AVOCET", "NOTREGPAR", "HARDFLOAT", "GLOBOPT", "AUTOSTATIC", "PIC12", "PIC14", "PIC17", "IEEE_DBL",
    "IEEE_FLT", "PICMIDHI", "PICLOMID", "PIC42A", "PAGED", "NONPAGED", "CANREADCODE", "SPACEOPT", "SPEEDOPT",
    "LITE_MODE", "PRO_MODE", "PIC14E", "PICREGULAR", "PICMID", "STD_MODE",
};

constexpr base_type_t base_types[] = {
    {"i",  2, ENC_SIGNED},
    {"s",  2, ENC_SIGNED},
    {"c",  1, ENC_SIGNED},
    {"m",  3, ENC_SIGNED},
    {"l",  4, ENC_SIGNED},
    {"ui", 2, ENC_UNSIGNED},
    {"us", 2, ENC_UNSIGNED},
    {"uc", 1, ENC_UNSIGNED},
    {"um", 3, ENC_UNSIGNED},
    {"ul", 4, ENC_UNSIGNED},
    {"f",  3, ENC_FLOAT},
    {"d",  4, ENC_FLOAT},
    {"x",  2, ENC_SIGNED},
    {"ux", 2, ENC_UNSIGNED},
    {"b",  0, ENC_BIT},
    {"v",  2, ENC_VOID},
};

constexpr qualifier_t qualifiers[] = {
    {"const",      'D', 0x80000},
    {"volatile",   'V', 0x2},
    {"far",        'F', 0x4},
    {"near",       'N', 0x8},
    {"interrupt",  'I', 0x10},
    {"persistent", 'S', 0x20},
    {"control",    'W', 0x100},
    {"bank0",      'P', 0x200},
    {"bank1",      'X', 0x400},
    {"bank2",      'Y', 0x800},
    {"bank3",      'Z', 0x1000},
    {"fastcall",   'T', 0x2000},
    {"const",      'C', 0x80000},
};
// clang-format on

constexpr pointer_rule_t pointers = {0x80004, 2, 1}; // const or far

constexpr const char* name_parts[] = {
    "10F", "MCV", "12C", "12F", "12HV", "12L", "16C", "16F", "16L", "16HV", "17C", "PIC", "RF509", "7C695",
};

bool accepts(const run_t&, text_t processor_name) {
    for (const char* const part : name_parts) {
        if (str_istr(processor_name, part) != text_t::npos) {
            return true;
        }
    }
    return processor_name == "14000";
}

text_t without_first(text_t name) { return name.empty() ? name : name.substr(1); }

// function@variable, each without its leading underscore.
std::string local_symbol(const dsym_t& function, const dsym_t& node) {
    return std::string(without_first(function.scope->func->name)) + "@" + std::string(without_first(node.name));
}

bool place_static(run_t& run, dsym_t* node, const scope_cursor_t& cursor) {
    const dsym_t* const function = enclosing_function(cursor);
    if (function != nullptr && function->scope->func != nullptr) {
        const std::string symbol = local_symbol(*function, *node);
        if (find_symbol_location(run.model, symbol, node->variable->location)) {
            node->name = tree_of(run).texts.add(symbol);
            return true;
        }
    }
    return place_by_label(run, node, cursor);
}

bool place_local(run_t& run, dsym_t* node, const dsym_t& function) {
    if (node->name.find('@') == text_t::npos) {
        if (function.scope->func == nullptr) {
            return false;
        }
        node->name = tree_of(run).texts.add(local_symbol(function, *node));
    }
    return find_symbol_location(run.model, node->name, node->variable->location);
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_static, place_local, nullptr});
}

} // namespace

const machine_t machine_pic = {
    .name = "PIC",
    .registers = registers,
    .keys = keys,
    .accepts = accepts,
    .base_types = base_types,
    .locate = locate,
    .sizeof_type = [](type_t position) { return sizeof_parts(position, pointers); },
    .qualifiers = qualifiers,
    .code_step = 1,
    .code_unit = 1,
};

} // namespace tavrel
