// The 32-bit parts with a MIPS core.
//
// Functions keep their locals on a stack, so their places are offsets from a frame base. Instructions have four bytes,
// two in the 16-bit mode.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"zero", 4}, {"at", 4}, {"v0", 4}, {"v1", 4}, {"a0", 4}, {"a1", 4}, {"a2", 4}, {"a3", 4}, {"t0", 4},
    {"t1", 4}, {"t2", 4}, {"t3", 4}, {"t4", 4}, {"t5", 4}, {"t6", 4}, {"t7", 4}, {"t8", 4}, {"t9", 4},
    {"s0", 4}, {"s1", 4}, {"s2", 4}, {"s3", 4}, {"s4", 4}, {"s5", 4}, {"s6", 4}, {"s7", 4}, {"k0", 4},
    {"k1", 4}, {"gp", 4}, {"sp", 4}, {"s8", 4}, {"ra", 4},
};

constexpr const char* keys[] = {
    "GLOBOPT", "AUTOSTATIC", "IEEE_DBL",
};

constexpr base_type_t base_types[] = {
    {"i",  4, ENC_SIGNED},
    {"s",  2, ENC_SIGNED},
    {"c",  1, ENC_SIGNED},
    {"l",  4, ENC_SIGNED},
    {"ui", 4, ENC_UNSIGNED},
    {"us", 2, ENC_UNSIGNED},
    {"uc", 1, ENC_UNSIGNED},
    {"ul", 4, ENC_UNSIGNED},
    {"f",  4, ENC_FLOAT},
    {"d",  4, ENC_FLOAT},
    {"x",  2, ENC_SIGNED},
    {"ux", 4, ENC_UNSIGNED},
    {"b",  0, ENC_BIT},
    {"v",  0, ENC_VOID},
};

constexpr qualifier_t qualifiers[] = {
    {"const",        'C', 0x1},
    {"volatile",     'V', 0x2},
    {"interrupt",    'I', 0x10},
    {"persistent",   'S', 0x20},
    {"leaf",         'G', 0x80},
    {"reentrant",    'R', 0x40},
    {"fast",         'T', 0x100},
    {"sfr",          'X', 0x200},
    {"cp0",          'W', 0x400},
    {"mips16e",      'M', 0x800},
    {"mips32r2",     'P', 0x1000},
    {"__strictcall", 'B', 0x2000},
};
// clang-format on

constexpr pointer_rule_t pointers = {0, 4, 4};

bool accepts(const run_t&, text_t processor_name) { return processor_name.substr(0, 4) == "32MX"; }

bool place_register(const run_t&, uint32_t row, location_t& location) {
    location.value = row - 1;
    return true;
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_by_label, place_by_offset, place_register});
}

} // namespace

const machine_t machine_mips = {
    .name = "32-bit MIPS",
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
