// The Holtek 8-bit parts.
//
// Functions keep their locals in blocks at fixed addresses under symbols made from the function's name. Pointers are
// one byte where they reach data memory only.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"a", 1}, {"iar0", 1},
};

constexpr const char* keys[] = {
    "HOLTEK", "GLOBOPT", "AUTOSTATIC", "IEEE_DBL", "FORCEBANK",
};

constexpr base_type_t base_types[] = {
    {"i",  2, ENC_SIGNED},
    {"s",  2, ENC_SIGNED},
    {"c",  1, ENC_SIGNED},
    {"l",  4, ENC_SIGNED},
    {"ui", 2, ENC_UNSIGNED},
    {"us", 2, ENC_UNSIGNED},
    {"uc", 1, ENC_UNSIGNED},
    {"ul", 4, ENC_UNSIGNED},
    {"f",  3, ENC_FLOAT},
    {"d",  4, ENC_FLOAT},
    {"x",  2, ENC_SIGNED},
    {"ux", 2, ENC_UNSIGNED},
    {"b",  0, ENC_BIT},
    {"v",  0, ENC_VOID},
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
    {"eeprom",     'E', 0x40000},
    {"const",      'C', 0x80000},
};
// clang-format on

constexpr pointer_rule_t pointers = {0x80004, 2, 1}; // const or far

bool accepts(const run_t&, text_t processor_name) { return str_iequal(processor_name.substr(0, 2), "HT"); }

bool place_local(run_t& run, dsym_t* node, const dsym_t& function) {
    return place_by_symbol(run, node, function, "??", "?");
}

// The accumulator and the first indirect register by their addresses in the data memory.
bool place_register(const run_t& run, uint32_t row, location_t& location) {
    constexpr uint32_t addresses[] = {0, 5, 0};
    if (row == 0 || row >= std::size(addresses)) {
        return false;
    }
    location.value = addresses[row];
    const segment_t* const ram = find_segment(run.model, "RAM");
    location.segment = ram == nullptr ? 0 : ram->space;
    return true;
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_by_label, place_local, place_register});
}

} // namespace

const machine_t machine_holtek = {
    .name = "Holtek",
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
