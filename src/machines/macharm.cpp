// The 32-bit ARM parts.
//
// Functions keep their locals in blocks at fixed addresses under symbols made from the function's name. Sixteen
// registers, some of which pair up for 64-bit values. Instructions have four bytes, two in Thumb mode.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"r0", 4}, {"r1", 4}, {"r2", 4}, {"r3", 4}, {"r4", 4}, {"r5", 4}, {"r6", 4}, {"r7", 4}, {"r8", 4},
    {"r9", 4}, {"r10", 4}, {"r11", 4}, {"r12", 4}, {"r13", 4}, {"r14", 4}, {"r15", 4},
    {"r0_1", 8}, {"r1_2", 8}, {"r2_3", 8}, {"r3_4", 8}, {"r4_5", 8}, {"r5_6", 8}, {"r6_7", 8}, {"r8_9", 8},
    {"r9_10", 8}, {"r10_11", 8},
    {"PARAMREG", 16}, {"DATAREG", 16},
};

constexpr const char* keys[] = {
    "SPEEDOPT", "SPACEOPT", "GLOBOPT", "ARMV4", "ARMV4T", "ARMV5", "ARMV5T", "THUMBV4", "THUMBV5", "MATH",
    "EVAR", "EXP",
};

constexpr base_type_t base_types[] = {
    {"i",   4, ENC_SIGNED},
    {"s",   2, ENC_SIGNED},
    {"c",   1, ENC_SIGNED},
    {"l",   4, ENC_SIGNED},
    {"ui",  4, ENC_UNSIGNED},
    {"us",  2, ENC_UNSIGNED},
    {"uc",  1, ENC_UNSIGNED},
    {"ul",  4, ENC_UNSIGNED},
    {"f",   4, ENC_FLOAT},
    {"d",   4, ENC_FLOAT},
    {"x",   4, ENC_SIGNED},
    {"ux",  4, ENC_UNSIGNED},
    {"nx",  1, ENC_SIGNED},
    {"unx", 1, ENC_UNSIGNED},
    {"b",   10, ENC_BIT},
    {"v",   0, ENC_VOID},
};

constexpr qualifier_t qualifiers[] = {
    {"const",      'C', 0x1},
    {"volatile",   'V', 0x2},
    {"far",        'F', 0x4},
    {"near",       'N', 0x8},
    {"interrupt",  'I', 0x10},
    {"persistent", 'S', 0x20},
    {"code",       'D', 0x100},
    {"fast",       'Q', 0x200},
    {"thumb",      'T', 0x400},
    {"arm",        'A', 0x800},
};
// clang-format on

constexpr pointer_rule_t pointers = {0, 4, 4};

bool accepts(const run_t&, text_t processor_name) {
    return processor_name.find("ARM") != text_t::npos || processor_name.find("AT91R") != text_t::npos ||
           processor_name.find("AT91M") != text_t::npos;
}

bool place_local(run_t& run, dsym_t* node, const dsym_t& function) {
    return place_by_symbol(run, node, function, "?a", "?");
}

// Registers by their number, pairs by that of their first: r0_1 to r6_7 are 0 to 6, r8_9 to r10_11 are 9 to 11.
bool place_register(const run_t&, uint32_t row, location_t& location) {
    if (row >= 1 && row <= 16) {
        location.value = row - 1;
    } else if (row >= 17 && row <= 23) {
        location.value = row - 17;
    } else if (row >= 24 && row <= 26) {
        location.value = row - 15;
    } else {
        return false;
    }
    return true;
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_by_label, place_local, place_register});
}

} // namespace

const machine_t machine_arm = {
    .name = "ARM",
    .registers = registers,
    .keys = keys,
    .accepts = accepts,
    .base_types = base_types,
    .locate = locate,
    .sizeof_type = [](type_t position) { return sizeof_parts(position, pointers); },
    .qualifiers = qualifiers,
    .code_step = 2,
    .code_unit = 4,
};

} // namespace tavrel
