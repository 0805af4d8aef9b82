// The 8051 and its relatives.
//
// Functions keep their locals in blocks at fixed addresses under symbols made from the function's name. Several
// memories, told apart by qualifiers; pointers into the small ones have one byte. Instructions have no common size.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"r0", 1}, {"r1", 1}, {"r2", 1}, {"r3", 1}, {"r4", 1}, {"r5", 1}, {"r6", 1}, {"r7", 1},
    {"WR0", 2}, {"WR1", 2}, {"WR2", 2}, {"WR3", 2},
    {"LR0", 4}, {"LR1", 4},
};

constexpr const char* keys[] = {
    "NOTREGPAR", "HARDFLOAT", "SPEEDOPT", "SPACEOPT", "GLOBOPT", "HUGE_CODE",
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
    {"f",  4, ENC_FLOAT},
    {"d",  4, ENC_FLOAT},
    {"x",  2, ENC_SIGNED},
    {"ux", 2, ENC_UNSIGNED},
    {"b",  0, ENC_BIT},
    {"v",  0, ENC_VOID},
};

constexpr qualifier_t qualifiers[] = {
    {"const",      'C', 0x1},
    {"volatile",   'V', 0x2},
    {"far",        'F', 0x4},
    {"near",       'N', 0x8},
    {"interrupt",  'I', 0x10},
    {"persistent", 'S', 0x20},
    {"reentrant",  'R', 0x40},
    {"idata",      'A', 0x100},
    {"pdata",      'P', 0x200},
    {"bank2",      'Y', 0x400},
    {"bank3",      'Z', 0x800},
    {"code",       'D', 0x1000},
    {"xdata",      'X', 0x2000},
    {"basenear",   'B', 0x4000},
};
// clang-format on

constexpr pointer_rule_t pointers = {0x308, 1, 2}; // near, idata or pdata

bool accepts(const run_t& run, text_t processor_name) {
    return (!run.processor_args.empty() && run.processor_args[0] == "8051") ||
           processor_name.find("8051") != text_t::npos;
}

bool place_local(run_t& run, dsym_t* node, const dsym_t& function) {
    return place_by_symbol(run, node, function, "?a", "?");
}

// r0 to r7 by their number, WR0 to WR3 and LR0, LR1 by that of their first byte; all lie in the internal memory.
bool place_register(const run_t& run, uint32_t row, location_t& location) {
    if (row >= 1 && row <= 8) {
        location.value = row - 1;
    } else if (row >= 9 && row <= 12) {
        location.value = 2 * row - 18;
    } else if (row >= 13 && row <= 14) {
        location.value = 4 * row - 52;
    } else {
        return false;
    }
    const segment_t* const data = find_segment(run.model, "DATA");
    location.segment = data == nullptr ? 0 : data->space;
    return true;
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_by_label, place_local, place_register});
}

} // namespace

const machine_t machine_8051 = {
    .name = "8051",
    .registers = registers,
    .keys = keys,
    .accepts = accepts,
    .base_types = base_types,
    .locate = locate,
    .sizeof_type = [](type_t position) { return sizeof_parts(position, pointers); },
    .qualifiers = qualifiers,
    .code_step = 0,
    .code_unit = 0,
};

} // namespace tavrel
