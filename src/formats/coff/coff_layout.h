// The layout of plain COFF: the eleven processors whose files it knows, and what it adds to what the family shares.
// docs/formats/coff.md tells the file as a whole.
#pragma once

#include "formats/coff/coff_family_layout.h"

namespace tavrel {

constexpr uint32_t coff_optional_size = 28; // an AOUT header, known to the dump alone

namespace coff_aout_at {

constexpr uint32_t magic = 0;      // 2
constexpr uint32_t version = 2;    // 2
constexpr uint32_t text_size = 4;  // 4
constexpr uint32_t data_size = 8;  // 4, initialised data
constexpr uint32_t bss_size = 12;  // 4, uninitialised data
constexpr uint32_t entry = 16;     // 4
constexpr uint32_t text_base = 20; // 4
constexpr uint32_t data_base = 24; // 4

} // namespace coff_aout_at

namespace coff_line_at {

constexpr uint32_t l_addr = 0; // 4, an address; where l_line is 0 the symbol index of a function
constexpr uint32_t l_line = 4; // 2 or 4, by the row's line size

} // namespace coff_line_at

// Bytes by base type, for the three kinds of compilers.
using coff_base_sizes_t = std::array<uint8_t, 17>;
constexpr coff_base_sizes_t coff_base_sizes_a = {0, 0, 1, 2, 2, 4, 3, 4, 0, 0, 0, 0, 1, 2, 2, 4, 8};
constexpr coff_base_sizes_t coff_base_sizes_b = {0, 0, 1, 2, 2, 4, 4, 4, 0, 0, 0, 0, 1, 2, 2, 4, 8};
constexpr coff_base_sizes_t coff_base_sizes_c = {0, 0, 1, 2, 4, 4, 4, 8, 0, 0, 0, 0, 1, 2, 4, 4, 8};
constexpr coff_base_sizes_t coff_base_sizes_none = {};

struct coff_row_t {
    const char* name;
    uint32_t magic; // most significant byte first
    uint32_t flags; // f_flags of the row
    int big_endian;
    const coff_base_sizes_t* base_sizes;
    uint32_t pointer_size; // bytes
    uint32_t line_size;    // bytes of a line record; l_line has line_size - 4
    uint32_t rom_unit;     // bytes of a program address
    uint32_t ram_unit;     // bytes of a data address
};

// The position is the row number; row 0 stands for none.
constexpr coff_row_t coff_rows[] = {
    {"",                0,      0,        0, &coff_base_sizes_none, 0, 0, 0, 0},
    {"Motorola 68K",    0x0150, F_AR32W,  1, &coff_base_sizes_c,    4, 6, 1, 1},
    {"Tower",           0x0198, F_AR32W,  1, &coff_base_sizes_c,    4, 6, 1, 1},
    {"Hitachi H8/300",  0x8300, F_AR32W,  1, &coff_base_sizes_b,    2, 8, 1, 1},
    {"Hitachi H8/300H", 0x8301, F_AR32W,  1, &coff_base_sizes_c,    4, 8, 1, 1},
    {"Hitachi SH",      0x0500, F_AR32W,  1, &coff_base_sizes_c,    4, 8, 1, 1},
    {"PIC30",           0x3612, F_AR32WR, 0, &coff_base_sizes_c,    4, 8, 2, 1},
    {"PIC24",           0x3612, F_AR32WR, 0, &coff_base_sizes_c,    4, 8, 2, 1},
    {"PIC12",           0x3412, F_AR32WR, 0, &coff_base_sizes_a,    4, 8, 2, 1},
    {"PIC14",           0x3412, F_AR32WR, 0, &coff_base_sizes_a,    4, 8, 2, 1},
    {"PIC16",           0x3412, F_AR32WR, 0, &coff_base_sizes_a,    4, 8, 2, 1},
    {"PIC18",           0x3412, F_AR32WR, 0, &coff_base_sizes_a,    4, 8, 2, 1},
};

constexpr uint32_t coff_magic_pic30 = 0x3612; // its rows have habits of their own
constexpr uint32_t coff_magic_pic12 = 0x3412; // files of these two may have an AOUT header

} // namespace tavrel
