// The 16-bit parts: dsPIC and PIC24.
//
// Functions keep their locals on a stack, so their places are offsets from a frame base. Sixteen working registers,
// which pair up for 32-bit values.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"w0", 2}, {"w1", 2}, {"w2", 2}, {"w3", 2}, {"w4", 2}, {"w5", 2}, {"w6", 2}, {"w7", 2}, {"w8", 2},
    {"w9", 2}, {"w10", 2}, {"w11", 2}, {"w12", 2}, {"w13", 2}, {"w14", 2}, {"w15", 2},
    {"w01", 4}, {"w23", 4}, {"w45", 4}, {"w67", 4}, {"w89", 4}, {"w1011", 4}, {"w1213", 4}, {"w37", 4},
    {"w40", 4}, {"w57", 4},
    {"a", 5}, {"b", 5},
    {"PARAMREG", 8},
    {"LPARAMREG", 16},
};

constexpr const char* keys[] = {
    "SPEEDOPT", "SPACEOPT", "GLOBOPT", "PIC30",
};

constexpr base_type_t base_types[] = {
    {"i",   2, ENC_SIGNED},
    {"s",   2, ENC_SIGNED},
    {"c",   1, ENC_SIGNED},
    {"l",   4, ENC_SIGNED},
    {"ui",  2, ENC_UNSIGNED},
    {"us",  2, ENC_UNSIGNED},
    {"uc",  1, ENC_UNSIGNED},
    {"ul",  4, ENC_UNSIGNED},
    {"f",   4, ENC_FLOAT},
    {"d",   4, ENC_FLOAT},
    {"x",   2, ENC_SIGNED},
    {"ux",  2, ENC_UNSIGNED},
    {"nx",  1, ENC_SIGNED},
    {"unx", 1, ENC_UNSIGNED},
    {"b",   0, ENC_BIT},
    {"v",   4, ENC_VOID},
};

constexpr qualifier_t qualifiers[] = {
    {"const",      'C', 0x400},
    {"volatile",   'V', 0x2},
    {"far",        'F', 0x4},
    {"near",       'N', 0x8},
    {"interrupt",  'I', 0x10},
    {"persistent", 'S', 0x20},
    {"ydata",      'Y', 0x100},
    {"fastcall",   'T', 0x200},
    {"const",      'D', 0x400},
};
// clang-format on

constexpr pointer_rule_t pointers = {0, 2, 2};

constexpr const char* name_parts[] = {"PIC30", "30F", "PIC24", "24FJ", "24HJ", "33F", "24GS"};

bool accepts(const run_t&, text_t processor_name) {
    for (const char* const part : name_parts) {
        if (processor_name.find(part) != text_t::npos) {
            return true;
        }
    }
    return false;
}

// w0 to w15 by their number, the pairs w01 to w1213 by that of their lower register; the others have none.
bool place_register(const run_t&, uint32_t row, location_t& location) {
    if (row >= 1 && row <= 16) {
        location.value = row - 1;
    } else if (row >= 17 && row <= 23) {
        location.value = 2 * row - 34;
    } else {
        return false;
    }
    return true;
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_by_label, place_by_offset, place_register});
}

} // namespace

const machine_t machine_dspic = {
    .name = "dsPIC",
    .registers = registers,
    .keys = keys,
    .accepts = accepts,
    .base_types = base_types,
    .locate = locate,
    .sizeof_type = [](type_t position) { return sizeof_parts(position, pointers); },
    .qualifiers = qualifiers,
    .code_step = 2,
    .code_unit = 2,
};

} // namespace tavrel
