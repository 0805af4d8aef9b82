// The PIC18 parts: the 8-bit core with a wider program memory.
//
// Functions keep their locals in blocks at fixed addresses, one block for the autos and one for the parameters, each
// under a symbol made from the function's name.
#include "debug/machine_row.h"

namespace tavrel {
namespace {

// clang-format off
constexpr register_t registers[] = {
    {"", 0},
    {"w", 1}, {"wreg", 1}, {"fsr0l", 1}, {"fsr0h", 1}, {"fsr1l", 1}, {"fsr1h", 1}, {"fsr2l", 1},
    {"fsr2h", 1}, {"tblptrl", 1}, {"tblptrh", 1}, {"tblptru", 1}, {"prodl", 1}, {"prodh", 1},
    {"fsr0", 2}, {"fsr1", 2}, {"fsr2", 2},
    {"tblptr", 3},
    {"prod", 2},
};

constexpr const char* keys[] = {
    "AVOCET", "NOTREGPAR", "HARDFLOAT", "GLOBOPT", "AUTOSTATIC", "FAST_DBL", "IEEE_DBL", "SMALL_MODEL",
    "LARGE_MODEL", "SMALL_DATA", "LARGE_DATA", "LFSROK", "EMI_BYTE", "EMI_WORD", "SPEEDOPT", "SPACEOPT",
    "LITE_MODE", "STD_MODE", "PRO_MODE",
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
    {"v",  0, ENC_VOID},
};

constexpr qualifier_t qualifiers[] = {
    {"const",        'D', 0x80000},
    {"volatile",     'V', 0x2},
    {"far",          'F', 0x4},
    {"near",         'N', 0x8},
    {"interrupt",    'I', 0x10},
    {"persistent",   'S', 0x20},
    {"control",      'W', 0x100},
    {"fastcall",     'T', 0x1000},
    {"low_priority", 'L', 0x20000},
    {"bdata",        'B', 0x40000},
    {"const",        'C', 0x80000},
};
// clang-format on

constexpr pointer_rule_t pointers = {0, 2, 2};

bool accepts(const run_t&, text_t processor_name) {
    return str_istr(processor_name, "18C") != text_t::npos || str_istr(processor_name, "18F") != text_t::npos;
}

// The edition of the compiler that stands in the SDB text decides what the block of the autos is called.
bool is_pro_edition(run_t& run) {
    const text_t* const edition = hash_find(tree_of(run).sdb_defines, text_t("edition"));
    return edition != nullptr && *edition == "pro";
}

bool place_local(run_t& run, dsym_t* node, const dsym_t& function) {
    return place_by_symbol(run, node, function, is_pro_edition(run) ? "??" : "?a", "?");
}

bool locate(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location) {
    return locate_variable(run, node, cursor, location, {place_by_label, place_local, nullptr});
}

} // namespace

const machine_t machine_pic18 = {
    .name = "PIC18",
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
