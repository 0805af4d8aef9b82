// What the three formats of the COFF family lay out alike: file header, section header, the forms of auxiliary records,
// and the names of bits, base types and storage classes. Offsets are in bytes from the start of the record.
//
// All fields stand unaligned. The order of bytes is the format's, with one exception: `f_magic` stands most significant
// byte first in every file of the family.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace tavrel {

// ---- records

constexpr uint32_t coff_file_header_size = 20;
constexpr uint32_t coff_section_header_size = 40;

// Magics of optional headers that are the maker's own.
constexpr uint32_t coff_opt_magic_first = 5000, coff_opt_magic_last = 5999;

namespace coff_at {

// File header.
constexpr uint32_t f_magic = 0;   // 2, most significant byte first
constexpr uint32_t f_nscns = 2;   // 2
constexpr uint32_t f_timdat = 4;  // 4, seconds since 1970
constexpr uint32_t f_symptr = 8;  // 4, file offset of the symbol table
constexpr uint32_t f_nsyms = 12;  // 4, records in it
constexpr uint32_t f_opthdr = 16; // 2, size of the optional header
constexpr uint32_t f_flags = 18;  // 2

// Section header.
constexpr uint32_t s_name = 0;     // 8
constexpr uint32_t s_paddr = 8;    // 4
constexpr uint32_t s_vaddr = 12;   // 4
constexpr uint32_t s_size = 16;    // 4, bytes
constexpr uint32_t s_scnptr = 20;  // 4, file offset of the data
constexpr uint32_t s_relptr = 24;  // 4, always 0
constexpr uint32_t s_lnnoptr = 28; // 4, file offset of the line records
constexpr uint32_t s_nreloc = 32;  // 2, always 0
constexpr uint32_t s_nlnno = 34;   // 2, line records
constexpr uint32_t s_flags = 36;   // 4

// Symbol: what stands at one place in Microchip and plain COFF; the rest is in coff_shape_t.
constexpr uint32_t n_name = 0;   // 8
constexpr uint32_t n_value = 8;  // 4
constexpr uint32_t n_scnum = 12; // 2, signed
constexpr uint32_t n_type = 14;  // 4 or 2

// Auxiliary record of a tag, member or variable.
constexpr uint32_t x_tagndx = 0; // 4, symbol index of the tag
constexpr uint32_t x_lnno = 4;   // 2, line; 0 in this form
constexpr uint32_t x_size = 6;   // 2, bytes; of a bit-field bits
constexpr uint32_t x_dimen = 8;  // 4 times 2, outermost first
// Of a tag, a block or a function. On a tag it lies over the third and fourth dimension.
constexpr uint32_t x_endndx = 12; // 4

// Of a file, Microchip COFF.
constexpr uint32_t x_offset = 0;  // 4, in the string table
constexpr uint32_t x_incline = 4; // 4

// Of a section.
constexpr uint32_t x_scnlen = 0;  // 4
constexpr uint32_t x_nreloc = 4;  // 2
constexpr uint32_t x_nlinno = 6;  // 2
constexpr uint32_t x_lnnoptr = 8; // 4, the form of a function read by the dump

} // namespace coff_at

constexpr uint32_t coff_name_size = 8;      // s_name, n_name
constexpr uint32_t coff_dimensions = 4;     // x_dimen
constexpr uint32_t coff_string_start = 4;   // first string of a table that begins with its size
constexpr uint32_t coff_file_name_max = 14; // a name in plain COFF's file form, as the dump reads it

// What differs between the symbol records and type words of Microchip COFF and plain COFF. Derivations stand above the
// base type, the outermost lowest.
struct coff_shape_t {
    uint32_t symbol_size; // of a symbol and of an auxiliary record
    uint32_t type_size;   // width of n_type, bytes
    uint32_t n_sclass;    // offsets, 1 byte each
    uint32_t n_numaux;
    uint32_t base_bits;       // bits of the base type in the type word
    uint32_t derivation_bits; // bits of each derivation

    constexpr uint32_t base_mask() const { return (1U << base_bits) - 1; }
    constexpr uint32_t derivation_mask() const { return (1U << derivation_bits) - 1; }
};

constexpr coff_shape_t mcoff_shape = {20, 4, 18, 19, 5, 3};
constexpr coff_shape_t coff_shape = {18, 2, 16, 17, 4, 2};

// ---- values

enum coff_scnum_t : int32_t { // n_scnum; from 1 on a section
    N_UNDEF = 0,
    N_ABS = -1,
    N_DEBUG = -2,
};

enum coff_derivation_t : uint32_t {
    DT_NON = 0,
    DT_PTR = 1,
    DT_FCN = 2,
    DT_ARY = 3,
};

enum coff_base_t : uint32_t {
    T_NULL = 0,
    T_VOID = 1,
    T_CHAR = 2,
    T_SHORT = 3,
    T_INT = 4,
    T_LONG = 5,
    T_FLOAT = 6,
    T_DOUBLE = 7,
    T_STRUCT = 8,
    T_UNION = 9,
    T_ENUM = 10,
    T_MOE = 11,
    T_UCHAR = 12,
    T_USHORT = 13,
    T_UINT = 14,
    T_ULONG = 15,
    T_LNGDBL = 16,
    T_SLONG = 17,
    T_USLONG = 18,
};

// By base type. The type words of plain COFF hold the first 16 only.
constexpr std::array<const char*, 19> coff_base_texts = {
    "null", "void", "char",  "short",  "int",  "long",  "float",  "double", "struct", "union",
    "enum", "moe",  "uchar", "ushort", "uint", "ulong", "lngdbl", "slong",  "uslong",
};

enum coff_sclass_t : uint32_t { // n_sclass
    C_EFCN = 255,
    C_NULL = 0,
    C_AUTO = 1,
    C_EXT = 2,
    C_STAT = 3,
    C_REG = 4,
    C_EXTDEF = 5,
    C_LABEL = 6,
    C_ULABEL = 7,
    C_MOS = 8,
    C_ARG = 9,
    C_STRTAG = 10,
    C_MOU = 11,
    C_UNTAG = 12,
    C_TPDEF = 13,
    C_USTATIC = 14,
    C_ENTAG = 15,
    C_MOE = 16,
    C_REGPARM = 17,
    C_FIELD = 18,
    C_AUTOARG = 19,
    C_LASTENT = 20,
    C_BLOCK = 100,
    C_FCN = 101,
    C_EOS = 102,
    C_FILE = 103,
    C_LINE = 104,
    C_ALIAS = 105,
    C_HIDDEN = 106,
    C_EOF = 107,
    C_LIST = 108,
    C_SECTION = 109,
    C_WEAKEXT = 127,
};

struct coff_sclass_row_t {
    uint32_t value;
    const char* text;
    bool mcoff_only; // plain COFF does not know the class
};

constexpr coff_sclass_row_t coff_sclasses[] = {
    {C_EFCN,    "physical end of function",                 false},
    {C_NULL,    "null class",                               false},
    {C_AUTO,    "automatic variable",                       false},
    {C_EXT,     "external symbol",                          false},
    {C_STAT,    "static",                                   false},
    {C_REG,     "register variable",                        false},
    {C_EXTDEF,  "external definition",                      false},
    {C_LABEL,   "label",                                    false},
    {C_ULABEL,  "undefined label",                          false},
    {C_MOS,     "member of structure",                      false},
    {C_ARG,     "function argument",                        false},
    {C_STRTAG,  "structure tag",                            false},
    {C_MOU,     "member of union",                          false},
    {C_UNTAG,   "union tag",                                false},
    {C_TPDEF,   "type definition",                          false},
    {C_USTATIC, "undefined static",                         false},
    {C_ENTAG,   "enumeration tag",                          false},
    {C_MOE,     "member of enumeration",                    false},
    {C_REGPARM, "register parameter",                       false},
    {C_FIELD,   "bit field",                                false},
    {C_AUTOARG, "auto argument",                            false},
    {C_LASTENT, "dummy entry (end of block)",               false},
    {C_BLOCK,   ".bb or .eb",                               false},
    {C_FCN,     ".bf or .ef",                               false},
    {C_EOS,     "end of structure",                         false},
    {C_FILE,    "file name",                                false},
    {C_LINE,    "line # reformatted as symbol table entry", false},
    {C_ALIAS,   "duplicate tag",                            false},
    {C_HIDDEN,  "ext symbol in dmert public lib",           false},
    {C_EOF,     "end of file",                              true },
    {C_LIST,    "absolute listing toggle",                  true },
    {C_SECTION, "section",                                  true },
    {C_WEAKEXT, "weak symbol (GNU)",                        false},
};

enum coff_f_flags_t : uint32_t {
    F_RELFLG = 0x0001,
    F_EXEC = 0x0002,
    F_LNNO = 0x0004,
    F_LSYMS = 0x0008,
    F_AR32WR = 0x0100, // little-endian, 32 bits
    F_AR32W = 0x0200,  // big-endian, 32 bits
    F_NEWSYMS = 0x1000,
};

// By bit of f_flags.
constexpr std::array<const char*, 13> coff_f_flag_texts = {
    "Stripped",             // 0x0001
    "Executable",           // 0x0002
    "No lines",             // 0x0004
    "No locals",            // 0x0008
    "0x10",                 // 0x0010
    "0x20",                 // 0x0020
    "0x40",                 // 0x0040
    "16 bit little endian", // 0x0080
    "32 bit little endian", // 0x0100
    "32 bit big endian",    // 0x0200
    "0x400",                // 0x0400
    "0x800",                // 0x0800
    "New style syms",       // 0x1000
};

enum coff_s_flags_t : uint32_t {
    STYP_TEXT = 0x20,
    STYP_DATA = 0x40,
    STYP_BSS = 0x80, // no data in the file
    STYP_ABS = 0x1000,
};

// By bit of s_flags. Plain COFF uses the first eight.
constexpr std::array<const char*, 17> coff_s_flag_texts = {
    "dummy",             // 0x00001, never shown
    "noload",            // 0x00002
    "group",             // 0x00004
    "padding",           // 0x00008
    "group end",         // 0x00010
    "text",              // 0x00020
    "data",              // 0x00040
    "bss",               // 0x00080
    "romdata",           // 0x00100
    "0x200",             // 0x00200
    "0x400",             // 0x00400
    "0x800",             // 0x00800
    "absolute",          // 0x01000
    "shared",            // 0x02000
    "overlaid",          // 0x04000
    "access bank",       // 0x08000
    "activation record", // 0x10000
};
constexpr uint32_t coff_plain_s_flag_bits = 8;

} // namespace tavrel
