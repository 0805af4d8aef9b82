// The layout of Microchip COFF: what it adds to what the family shares. Everything is little-endian but `f_magic`.
// Addresses of sections and lines are in words of the target's memories, see rom_bytes and ram_bytes.
// docs/formats/mcoff.md tells the file as a whole.
#pragma once

#include "formats/coff/coff_family_layout.h"

namespace tavrel {

constexpr uint32_t mcoff_magic = 0x4012; // read most significant byte first
constexpr uint32_t mcoff_opt_magic = 5000;
constexpr uint32_t mcoff_version = 97101;

constexpr uint32_t mcoff_optional_size = 18;
constexpr uint32_t mcoff_line_size = 16;

namespace mcoff_at {

// Optional header.
constexpr uint32_t opt_magic = 0;  // 2
constexpr uint32_t vstamp = 2;     // 4
constexpr uint32_t proc_type = 6;  // 4
constexpr uint32_t rom_width = 10; // 4, bits of a program word
constexpr uint32_t ram_width = 14; // 4, bits of a data word

// Line record.
constexpr uint32_t l_srcndx = 0;  // 4, symbol index of the `.file` record
constexpr uint32_t l_lnno = 4;    // 2, 0: l_paddr is a symbol index
constexpr uint32_t l_paddr = 6;   // 4, program words
constexpr uint32_t l_flags = 10;  // 2
constexpr uint32_t l_fcnndx = 12; // 4, symbol index of the function

} // namespace mcoff_at

// Bytes by base type: 24-bit float and slong, 32-bit double.
constexpr std::array<uint8_t, 19> mcoff_base_sizes = {
    0, // null
    0, // void
    1, // char
    2, // short
    2, // int
    4, // long
    3, // float
    4, // double
    0, // struct
    0, // union
    0, // enum
    0, // moe
    1, // uchar
    2, // ushort
    2, // uint
    4, // ulong
    8, // lngdbl
    3, // slong
    3, // uslong
};
constexpr uint32_t mcoff_float_size = mcoff_base_sizes[T_FLOAT];
constexpr uint32_t mcoff_double_size = mcoff_base_sizes[T_DOUBLE];
constexpr uint32_t mcoff_pointer_size = 2;

// Bytes of a memory word of so many bits, as the reader and the dump derive them.
constexpr uint32_t mcoff_word_bytes(uint32_t width) { return width == 0 ? 1 : width / 8 + (width % 8 != 0 ? 1 : 0); }

} // namespace tavrel
