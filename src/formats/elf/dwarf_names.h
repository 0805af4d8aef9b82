// The names of DWARF 2's constants, for printing. Some sets leave a range of values to compilers ("user-defined").
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "common/print.h"

namespace tavrel {

struct dw_name_row_t {
    uint32_t number; // below 256
    text_t text;     // the constant's name behind DW_PREFIX_
};

struct dw_name_set_t {
    text_t prefix;
    uint32_t lo_user, hi_user; // hi_user 0: no user range
    std::span<const dw_name_row_t> rows;
    std::array<uint8_t, 256> places; // by number: position in `rows` plus 1
};

extern const dw_name_set_t dw_tag_names;
extern const dw_name_set_t dw_at_names;
extern const dw_name_set_t dw_form_names;
extern const dw_name_set_t dw_op_names;
extern const dw_name_set_t dw_cfa_names;
extern const dw_name_set_t dw_lns_names;
extern const dw_name_set_t dw_lne_names;
extern const dw_name_set_t dw_macinfo_names;
extern const dw_name_set_t dw_lang_names;
extern const dw_name_set_t dw_ate_names;
extern const dw_name_set_t dw_access_names;
extern const dw_name_set_t dw_vis_names;
extern const dw_name_set_t dw_virtuality_names;
extern const dw_name_set_t dw_id_names;
extern const dw_name_set_t dw_cc_names;
extern const dw_name_set_t dw_inl_names;
extern const dw_name_set_t dw_ord_names;
extern const dw_name_set_t dw_dsc_names;

// The row of a value, or null.
inline const dw_name_row_t* dw_find_name(const dw_name_set_t& set, uint32_t value) {
    const uint8_t place = value < set.places.size() ? set.places[value] : 0;
    return place == 0 ? nullptr : &set.rows[place - 1u];
}

// "DW_TAG_base_type", or "base_type" without prefix; "?? 0x00004081 (user-defined)" for what is not in the set.
std::string dw_name(const dw_name_set_t& set, uint32_t value, bool with_prefix);

// Appends the name without prefix, blanks in place of underscores: "base type".
void put_dw_words(std::string& out, const dw_name_set_t& set, uint32_t value);

// The set that names the values of an attribute, or null.
const dw_name_set_t* dw_value_names(uint32_t attribute);

} // namespace tavrel
