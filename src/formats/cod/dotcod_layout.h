// How a COD file lies. Everything stands in blocks of 512 bytes; block n starts at offset n * 512. Block 0 is the
// directory, which names each table by its first and last block. Offsets are in bytes from the start of the block or
// record. Numbers of 16 bits are little-endian; the one exception to everything is the value of a long symbol: 32 bits,
// big-endian. A text in a field of fixed width is counted: one length byte, the characters, zeros.
#pragma once

#include <cstdint>

namespace tavrel {

constexpr uint32_t cod_block_size = 512;
constexpr uint32_t cod_block_max = 0xFFFF; // highest block number that the directory can name

// ---- directory block

constexpr uint32_t cod_code_pages = 128; // pages of 512 bytes that the code index covers: 64 kilobytes

namespace cod_at {

constexpr uint32_t code_index = 0;       // 128 times 2: block of each page of program memory, 0 for a page without code
constexpr uint32_t source = 256;         // 64, counted
constexpr uint32_t date = 320;           // 8, counted: DDMonYY, the day blank-padded
constexpr uint32_t time = 328;           // 2, hours * 100 + minutes
constexpr uint32_t version = 330;        // 20, counted
constexpr uint32_t compiler = 350;       // 12, counted
constexpr uint32_t notice = 362;         // 64, counted
constexpr uint32_t symtab_first = 426;   // 2, short symbols
constexpr uint32_t symtab_last = 428;    // 2
constexpr uint32_t namtab_first = 430;   // 2, file names
constexpr uint32_t namtab_last = 432;    // 2
constexpr uint32_t lsttab_first = 434;   // 2, lines
constexpr uint32_t lsttab_last = 436;    // 2
constexpr uint32_t addr_size = 438;      // 1, bytes of an address
constexpr uint32_t high_addr = 439;      // 2, high word of addresses
constexpr uint32_t next_dir = 441;       // 2, block of a further directory
constexpr uint32_t memmap_first = 443;   // 2, memory map
constexpr uint32_t memmap_last = 445;    // 2
constexpr uint32_t locals_first = 447;   // 2, local variables
constexpr uint32_t locals_last = 449;    // 2
constexpr uint32_t cod_type_field = 451; // 2, type of file
constexpr uint32_t processor = 453;      // 9, counted
constexpr uint32_t lsymtab_first = 462;  // 2, long symbols
constexpr uint32_t lsymtab_last = 464;   // 2
constexpr uint32_t messtab_first = 466;  // 2, messages
constexpr uint32_t messtab_last = 468;   // 2

// Memory map entry: first and last address, 16 bits each.
constexpr uint32_t map_first = 0;
constexpr uint32_t map_last = 2;

// Short symbol; also a local variable.
constexpr uint32_t symbol_name = 0;   // 13, counted; length 0 marks an unused record
constexpr uint32_t symbol_type = 13;  // 1
constexpr uint32_t symbol_value = 14; // 2

// What opens a scope among the local variables: a record with the name "__LOCAL".
constexpr uint32_t scope_start = 8; // 2
constexpr uint32_t scope_end = 12;  // 2

// Line.
constexpr uint32_t line_file = 0;   // 1, number of the file name record
constexpr uint32_t line_smod = 1;   // 1, cod_smod_t
constexpr uint32_t line_number = 2; // 2
constexpr uint32_t line_addr = 4;   // 2

} // namespace cod_at

constexpr uint32_t cod_source_width = 64; // of the counted texts, with their length byte
constexpr uint32_t cod_date_width = 8;
constexpr uint32_t cod_version_width = 20;
constexpr uint32_t cod_compiler_width = 12;
constexpr uint32_t cod_notice_width = 64;
constexpr uint32_t cod_processor_width = 9;

// ---- records of the tables

constexpr uint32_t cod_map_entry_size = 4;
constexpr uint32_t cod_map_entries = 4; // in a block as written, though 128 would fit
constexpr uint32_t cod_symbol_size = 16;
constexpr uint32_t cod_symbols_per_block = 32;
constexpr uint32_t cod_symbol_name_width = 13;
constexpr uint32_t cod_file_size = 64;
constexpr uint32_t cod_files_per_block = 8;
constexpr uint32_t cod_line_size = 6;
constexpr uint32_t cod_lines_per_block = 85; // two bytes of each block are left over
constexpr uint32_t cod_long_head = 7;        // bytes of a long symbol beside its name: length, type, value

constexpr const char* cod_scope_name = "__LOCAL";

enum cod_smod_t : uint8_t {
    COD_SMOD_FURTHER = 0x00, // a further address of the same line
    COD_SMOD_CODE = 0x80,    // first address of a line with code
    COD_SMOD_GAP = 0x90,     // a source line without code
    COD_SMOD_FILE = 0xFF,    // start of a file
};

// ---- symbol type codes

enum cod_type_t : uint8_t {
    COD_A_REG = 0, // also what has no code of its own
    COD_C_BYTE = 2,
    COD_C_INT = 3,
    COD_C_UBYTE = 4,
    COD_C_UINT = 5,
    COD_C_POINTER = 6,
    COD_BYTE_ARRAY = 12,
    COD_U_BYTE_ARRAY = 13,
    COD_WORD_ARRAY = 14,
    COD_U_WORD_ARRAY = 15,
    COD_FUNC_VOID_NONE = 16,
    COD_PFUN_VOID_NONE = 31,
    COD_C_VOID = 67,
    COD_C_STRUCT = 77,
    COD_UNKNOWN = 139,
    COD_BIT_0 = 145, // to bit 7: 152
    COD_UINT32 = 159,
    COD_SINT32 = 160,
    COD_FLOAT = 163,
    COD_FLOAT24 = 166,
    COD_FLOAT32 = 167,
};

constexpr uint32_t cod_type_count = 184;

// Ten names a row.
// clang-format off
constexpr const char* cod_type_names[cod_type_count] = {
    /*   0 */ "a_reg", "x_reg", "c_byte", "c_int", "c_ubyte", "c_uint", "c_pointer", "c_upointer", "table", "m_byte",
    /*  10 */ "m_boolean", "m_index", "byte_array", "u_byte_array", "word_array", "u_word_array", "func_void_none", "func_void_byte", "func_void_twobyte", "func_void_long",
    /*  20 */ "func_void_undef", "func_int_none", "func_int_byte", "func_int_twobyte", "func_int_long", "func_int_undef", "func_long_none", "func_long_byte", "func_long_twobyte", "func_long_long",
    /*  30 */ "func_long_undef", "pfun_void_none", "pfun_void_byte", "pfun_void_twobyte", "pfun_void_long", "pfun_void_undef", "pfun_int_none", "pfun_int_byte", "pfun_int_twobyte", "pfun_int_long",
    /*  40 */ "pfun_int_undef", "pfun_long_none", "pfun_long_byte", "pfun_long_twobyte", "pfun_long_long", "pfun_long_undef", "address", "constant", "bad_und", "br_und",
    /*  50 */ "upper_und", "byte_und", "add_und", "m_keyword", "add_mi_und", "vector", "port_w", "port_r", "port_rw", "port_rmw",
    /*  60 */ "endif", "exundef", "macro_t", "macro_s", "macro_a", "macro_c", "c_keyword", "c_void", "c_enum", "c_typedef1",
    /*  70 */ "c_utypedef1", "c_typedef2", "c_utypedef2", "cp_typedef1", "cp_utypedef1", "cp_typedef2", "cp_utypedef2", "c_struct", "i_struct", "l_const",
    /*  80 */ "s_short", "s_ushort", "s_long", "s_ulong", "sa_short", "sa_ushort", "sa_long", "sa_ulong", "sp_short", "sp_ushort",
    /*  90 */ "sp_long", "sp_ulong", "FixedPointer", "PointerFunction", "cc_reg", "PtrF_void_none", "PtrF_void_byte", "PtrF_void_twobyte", "PtrF_void_long", "PtrF_void_undef",
    /* 100 */ "PtrF_int_none", "PtrF_int_byte", "PtrF_int_twobyte", "PtrF_int_long", "PtrF_int_undef", "PtrF_long_none", "PtrF_long_byte", "PtrF_long_twobyte", "PtrF_long_long", "PtrF_long_undef",
    /* 110 */ "PfAR_void_none", "PfAR_void_byte", "PfAR_void_twobyte", "PfAR_void_long", "PfAR_void_undef", "PfAR_int_none", "PfAR_int_byte", "PfAR_int_twobyte", "PfAR_int_long", "PfAR_int_undef",
    /* 120 */ "PfAR_long_none", "PfAR_long_byte", "PfAR_long_twobyte", "PfAR_long_long", "PfAR_long_undef", "FWDlit", "PFunc", "mgoto", "mcgoto", "mcgoto2",
    /* 130 */ "mcgoto3", "mcgoto4", "mcgoto74", "mcgoto17", "mccall17", "mcall", "mc_call", "res_word", "local", "unknown",
    /* 140 */ "varlabel", "c_extern", "c_global", "segment", "Bankaddr", "bit_0", "bit_1", "bit_2", "bit_3", "bit_4",
    /* 150 */ "bit_5", "bit_6", "bit_7", "debug", "Name_ID", "User_ID", "size_of", "uint24", "sint24", "uint32",
    /* 160 */ "sint32", "fixed1616", "fixed168", "float", "ConstantFloat", "f_list", "float24", "float32", "s_sint24", "s_uint24",
    /* 170 */ "p_sint24", "p_uint24", "s_sint32", "s_uint32", "p_sint32", "p_uint32", "s_fixed168", "p_fixed168", "s_fixed1616", "p_fixed1616",
    /* 180 */ "s_float", "p_float", "s_float24", "p_float24",
};
// clang-format on

} // namespace tavrel
