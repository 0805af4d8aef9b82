// DIEs, the records of .debug_info: a DIE is the code of an abbreviation and the bytes of its attributes, one after the
// other. The abbreviation, in .debug_abbrev, tells the tag and which attributes there are in which form. All units
// share one table of abbreviations, in which a shape stands from the first DIE on that has it.
#include "formats/elf/dwarf_layout.h"
#include "formats/elf/dwarf_writer.h"
#include "model/encdec.h"

namespace tavrel {
namespace {

struct attribute_t {
    uint8_t name; // dwarf_attribute_t, 0 behind the last one
    uint8_t form; // dwarf_form_t
};

struct die_shape_t {
    dwarf_tag_t tag;
    bool children;
    attribute_t attributes[9];
};

// clang-format off
constexpr attribute_t
    NAME        {DW_AT_name,                 DW_FORM_string},
    TYPE        {DW_AT_type,                 DW_FORM_ref4},
    SIBLING     {DW_AT_sibling,              DW_FORM_ref4},
    LOW_PC      {DW_AT_low_pc,               DW_FORM_addr},
    HIGH_PC     {DW_AT_high_pc,              DW_FORM_addr},
    STMT_LIST   {DW_AT_stmt_list,            DW_FORM_data4},
    PRODUCER    {DW_AT_producer,             DW_FORM_string},
    LANGUAGE    {DW_AT_language,             DW_FORM_data2},
    BYTE_SIZE   {DW_AT_byte_size,            DW_FORM_data1},
    BIT_SIZE    {DW_AT_bit_size,             DW_FORM_data1},
    BIT_OFFSET  {DW_AT_bit_offset,           DW_FORM_data1},
    ENCODING    {DW_AT_encoding,             DW_FORM_data1},
    UPPER_BOUND {DW_AT_upper_bound,          DW_FORM_data4},
    CONST_VALUE {DW_AT_const_value,          DW_FORM_data4},
    DECL_FILE   {DW_AT_decl_file,            DW_FORM_data1},
    DECL_LINE   {DW_AT_decl_line,            DW_FORM_data2},
    ANY_FILE    {DW_AT_decl_file,            DW_FORM_udata},
    ANY_LINE    {DW_AT_decl_line,            DW_FORM_udata},
    LOCATION    {DW_AT_location,             DW_FORM_block1},
    PLACE       {DW_AT_data_member_location, DW_FORM_block1},
    FRAME_BASE  {DW_AT_frame_base,           DW_FORM_block1},
    IS_EXTERNAL {DW_AT_external,             DW_FORM_flag},
    EXTERNAL    {DW_AT_external,             DW_FORM_data1};

// In the order of shape_t.
constexpr die_shape_t die_shapes[SHAPE_COUNT] = {
    /* unit, parent          */ {DW_TAG_compile_unit,     true,  {STMT_LIST, PRODUCER, LANGUAGE, NAME, LOW_PC, HIGH_PC}},
    /* unit, leaf            */ {DW_TAG_compile_unit,     false, {STMT_LIST, PRODUCER, LANGUAGE, NAME, LOW_PC, HIGH_PC}},
    /* function, parent      */ {DW_TAG_subprogram,       true,  {NAME, TYPE, EXTERNAL, ANY_FILE, ANY_LINE, LOW_PC, HIGH_PC, FRAME_BASE}},
    /* function, leaf        */ {DW_TAG_subprogram,       false, {NAME, TYPE, EXTERNAL, ANY_FILE, ANY_LINE, LOW_PC, HIGH_PC, FRAME_BASE}},
    /* void function, parent */ {DW_TAG_subprogram,       true,  {NAME, EXTERNAL, ANY_FILE, ANY_LINE, LOW_PC, HIGH_PC, FRAME_BASE}},
    /* void function, leaf   */ {DW_TAG_subprogram,       false, {NAME, EXTERNAL, ANY_FILE, ANY_LINE, LOW_PC, HIGH_PC, FRAME_BASE}},
    /* subroutine type       */ {DW_TAG_subroutine_type,  false, {TYPE}},
    /* void subroutine type  */ {DW_TAG_subroutine_type,  false, {}},
    /* base type             */ {DW_TAG_base_type,        false, {NAME, BYTE_SIZE, ENCODING}},
    /* const                 */ {DW_TAG_const_type,       false, {TYPE}},
    /* volatile              */ {DW_TAG_volatile_type,    false, {TYPE}},
    /* pointer               */ {DW_TAG_pointer_type,     false, {TYPE, BYTE_SIZE}},
    /* void pointer          */ {DW_TAG_pointer_type,     false, {BYTE_SIZE}},
    /* array                 */ {DW_TAG_array_type,       true,  {SIBLING, TYPE}},
    /* subrange              */ {DW_TAG_subrange_type,    false, {UPPER_BOUND}},
    /* structure             */ {DW_TAG_structure_type,   true,  {SIBLING, NAME, BYTE_SIZE, DECL_FILE, DECL_LINE}},
    /* anonymous structure   */ {DW_TAG_structure_type,   true,  {SIBLING, BYTE_SIZE, DECL_FILE, DECL_LINE}},
    /* union                 */ {DW_TAG_union_type,       true,  {SIBLING, NAME, BYTE_SIZE, DECL_FILE, DECL_LINE}},
    /* anonymous union       */ {DW_TAG_union_type,       true,  {SIBLING, BYTE_SIZE, DECL_FILE, DECL_LINE}},
    /* member                */ {DW_TAG_member,           false, {NAME, TYPE, PLACE}},
    /* bit-field member      */ {DW_TAG_member,           false, {NAME, TYPE, BYTE_SIZE, BIT_SIZE, BIT_OFFSET, PLACE}},
    /* union member          */ {DW_TAG_member,           false, {NAME, TYPE}},
    /* union bit-field       */ {DW_TAG_member,           false, {NAME, TYPE, BYTE_SIZE, BIT_SIZE, BIT_OFFSET}},
    /* typedef               */ {DW_TAG_typedef,          false, {NAME, DECL_FILE, DECL_LINE, TYPE}},
    /* local variable        */ {DW_TAG_variable,         false, {NAME, DECL_FILE, DECL_LINE, TYPE, LOCATION}},
    /* external variable     */ {DW_TAG_variable,         false, {NAME, DECL_FILE, DECL_LINE, TYPE, IS_EXTERNAL, LOCATION}},
    /* parameter             */ {DW_TAG_formal_parameter, false, {NAME, DECL_FILE, DECL_LINE, TYPE, LOCATION}},
    /* enumeration           */ {DW_TAG_enumeration_type, true,  {SIBLING, NAME, BYTE_SIZE}},
    /* anonymous enumeration */ {DW_TAG_enumeration_type, true,  {SIBLING, BYTE_SIZE}},
    /* enumerator            */ {DW_TAG_enumerator,       false, {NAME, CONST_VALUE}},
};
// clang-format on

constexpr uint32_t sibling_place = 1; // of the ref4 in a DIE that has one: behind the code, which is one byte

} // namespace

// ---- abbreviations

void want_shape(dwarf_writer_t& writer, shape_t shape) {
    if (writer.abbrev_of_shape[shape] != 0) {
        return;
    }
    writer.abbrev_of_shape[shape] = ++writer.abbrev_code;
    const die_shape_t& row = die_shapes[shape];
    uleb128_write(writer.abbrev, writer.abbrev_code);
    uleb128_write(writer.abbrev, row.tag);
    writer.abbrev.push_back(row.children ? 1 : 0);
    for (const attribute_t& attribute : row.attributes) {
        if (attribute.name != 0) {
            uleb128_write(writer.abbrev, attribute.name);
            uleb128_write(writer.abbrev, attribute.form);
        }
    }
    writer.abbrev.append(2, '\0');
}

// ---- bytes of a DIE

void die_begin(dwarf_writer_t& writer, die_t& die, shape_t shape) {
    want_shape(writer, shape);
    uleb128_write(die.bytes, writer.abbrev_of_shape[shape]);
}

void die_put8(die_t& die, uint32_t value) { die.bytes.push_back(static_cast<char>(value)); }

void die_put16(const dwarf_writer_t& writer, die_t& die, uint32_t value) {
    uint8_t buffer[2];
    write16(buffer, value, writer.big_endian);
    die.bytes.append(reinterpret_cast<const char*>(buffer), sizeof buffer);
}

void die_put32(const dwarf_writer_t& writer, die_t& die, uint32_t value) {
    uint8_t buffer[4];
    write32(buffer, value, writer.big_endian);
    die.bytes.append(reinterpret_cast<const char*>(buffer), sizeof buffer);
}

void die_put_text(die_t& die, text_t text) {
    die.bytes.append(c_text(text));
    die.bytes.push_back('\0');
}

void die_put_type(const dwarf_writer_t& writer, die_t& die, uint32_t type) {
    const type_entry_t& entry = writer.types[type];
    if (entry.offset == under_construction) {
        die.forwards.push_back({static_cast<uint32_t>(die.bytes.size()), entry.owner});
    }
    die_put32(writer, die, entry.offset);
}

void die_close_children(const dwarf_writer_t& writer, die_t& die) {
    die_put8(die, 0);
    const size_t behind = writer.info.size() - writer.unit_start + die.bytes.size();
    patch32(writer, die.bytes, sibling_place, static_cast<uint32_t>(behind));
}

void put_address(const dwarf_writer_t& writer, std::string& out, uint64_t value) {
    uint8_t buffer[8];
    switch (writer.address_size) {
    case 1: buffer[0] = static_cast<uint8_t>(value); break;
    case 2: write16(buffer, static_cast<uint32_t>(value), writer.big_endian); break;
    case 4: write32(buffer, static_cast<uint32_t>(value), writer.big_endian); break;
    case 8: write64(buffer, value, writer.big_endian); break;
    default: return;
    }
    out.append(reinterpret_cast<const char*>(buffer), writer.address_size);
}

void patch32(const dwarf_writer_t& writer, std::string& section, size_t place, uint32_t value) {
    uint8_t buffer[4];
    write32(buffer, value, writer.big_endian);
    section.replace(place, sizeof buffer, reinterpret_cast<const char*>(buffer), sizeof buffer);
}

// ---- landing

uint32_t die_land(dwarf_writer_t& writer, const die_t& die) {
    const auto place = static_cast<uint32_t>(writer.info.size());
    const text_t bytes = text_t(die.bytes).substr(0, die_limit);
    if (die.bytes.size() > bytes.size()) {
        alert_text(writer.run, "E", "DWARF: Buffer overflow in DIE.");
    }
    writer.info.append(bytes);
    for (const die_t::forward_t& forward : die.forwards) {
        if (forward.at + 4 <= bytes.size()) {
            writer.constructions[forward.owner].places.push_back(place + forward.at);
        }
    }
    return place;
}

} // namespace tavrel
