// The numbers of DWARF 2 that this program writes, as its readers know them too.
#pragma once

#include <cstdint>

namespace tavrel {

constexpr uint32_t DWARF_VERSION = 2;

enum dwarf_tag_t : uint32_t {
    DW_TAG_array_type = 0x01,
    DW_TAG_enumeration_type = 0x04,
    DW_TAG_formal_parameter = 0x05,
    DW_TAG_member = 0x0D,
    DW_TAG_pointer_type = 0x0F,
    DW_TAG_compile_unit = 0x11,
    DW_TAG_structure_type = 0x13,
    DW_TAG_subroutine_type = 0x15,
    DW_TAG_typedef = 0x16,
    DW_TAG_union_type = 0x17,
    DW_TAG_subrange_type = 0x21,
    DW_TAG_base_type = 0x24,
    DW_TAG_const_type = 0x26,
    DW_TAG_enumerator = 0x28,
    DW_TAG_subprogram = 0x2E,
    DW_TAG_variable = 0x34,
    DW_TAG_volatile_type = 0x35,
};

enum dwarf_attribute_t : uint32_t {
    DW_AT_sibling = 0x01,
    DW_AT_location = 0x02,
    DW_AT_name = 0x03,
    DW_AT_byte_size = 0x0B,
    DW_AT_bit_offset = 0x0C,
    DW_AT_bit_size = 0x0D,
    DW_AT_stmt_list = 0x10,
    DW_AT_low_pc = 0x11,
    DW_AT_high_pc = 0x12,
    DW_AT_language = 0x13,
    DW_AT_const_value = 0x1C,
    DW_AT_producer = 0x25,
    DW_AT_upper_bound = 0x2F,
    DW_AT_data_member_location = 0x38,
    DW_AT_decl_file = 0x3A,
    DW_AT_decl_line = 0x3B,
    DW_AT_encoding = 0x3E,
    DW_AT_external = 0x3F,
    DW_AT_frame_base = 0x40,
    DW_AT_type = 0x49,
};

enum dwarf_form_t : uint32_t {
    DW_FORM_addr = 0x01,
    DW_FORM_block2 = 0x03, // a 2-byte length in front
    DW_FORM_block4 = 0x04,
    DW_FORM_data2 = 0x05,
    DW_FORM_data4 = 0x06,
    DW_FORM_data8 = 0x07,
    DW_FORM_string = 0x08, // inline, NUL-terminated
    DW_FORM_block = 0x09,  // a ULEB128 length in front
    DW_FORM_block1 = 0x0A, // one length byte in front
    DW_FORM_data1 = 0x0B,
    DW_FORM_flag = 0x0C,
    DW_FORM_sdata = 0x0D, // SLEB128
    DW_FORM_strp = 0x0E,  // a 4-byte offset in .debug_str
    DW_FORM_udata = 0x0F, // ULEB128
    DW_FORM_ref_addr = 0x10,
    DW_FORM_ref1 = 0x11,
    DW_FORM_ref2 = 0x12,
    DW_FORM_ref4 = 0x13, // offset from the first byte of the unit's header
    DW_FORM_ref8 = 0x14,
    DW_FORM_ref_udata = 0x15,
    DW_FORM_indirect = 0x16, // a ULEB128 form number in front
};

enum dwarf_encoding_t : uint8_t {
    DW_ATE_boolean = 2,
    DW_ATE_float = 4,
    DW_ATE_signed = 5,
    DW_ATE_signed_char = 6,
    DW_ATE_unsigned = 7,
    DW_ATE_unsigned_char = 8,
};

enum dwarf_operation_t : uint8_t {
    DW_OP_addr = 0x03,
    DW_OP_plus_uconst = 0x23, // ULEB128
    DW_OP_reg29 = 0x6D,
    DW_OP_regx = 0x90,  // ULEB128
    DW_OP_fbreg = 0x91, // SLEB128
};

constexpr uint32_t DW_LANG_C89 = 1;
constexpr uint32_t DW_LANG_Mips_Assembler = 0x8001;

// Opcodes of the line program. From the header's opcode base on they are special opcodes.
enum dwarf_line_opcode_t : uint8_t {
    DW_LNS_extended = 0, // ULEB128 length, then a sub-opcode and its operand
    DW_LNS_copy = 1,
    DW_LNS_advance_pc = 2,   // ULEB128
    DW_LNS_advance_line = 3, // SLEB128
    DW_LNS_set_file = 4,     // ULEB128
    DW_LNS_set_column = 5,
    DW_LNS_negate_stmt = 6,
    DW_LNS_set_basic_block = 7,
    DW_LNS_const_add_pc = 8,
    DW_LNS_fixed_advance_pc = 9,
};
enum dwarf_line_extended_t : uint8_t {
    DW_LNE_end_sequence = 1,
    DW_LNE_set_address = 2, // an address
    DW_LNE_define_file = 3,
};

} // namespace tavrel
