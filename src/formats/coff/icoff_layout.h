// The layout of ICOFF, the Introl variant of COFF: a symbol record of its own, no auxiliary records, and a string table
// without a size. docs/formats/icoff.md tells the file as a whole.
#pragma once

#include "formats/coff/coff_family_layout.h"

namespace tavrel {

constexpr uint32_t icoff_symbol_size = 18;
constexpr uint32_t icoff_line_size = 6;

namespace icoff_at {

// Symbol.
constexpr uint32_t i_name = 0;   // 4, offset in the string table
constexpr uint32_t i_value = 4;  // 4
constexpr uint32_t i_scnum = 12; // 4: 0 none, -1 absolute
constexpr uint32_t i_class = 16; // 1
constexpr uint32_t i_type = 17;  // 1

// Line record.
constexpr uint32_t l_addr = 0; // 4; where l_line is 0 the symbol index of a file
constexpr uint32_t l_line = 4; // 2

} // namespace icoff_at

struct icoff_row_t {
    const char* name;
    uint32_t magic; // most significant byte first
    uint32_t flags;
    int big_endian;
};

// The position is the row number; row 0 stands for none.
constexpr icoff_row_t icoff_rows[] = {
    {"",             0,      0, 0},
    {"Introl ICOFF", 0x0181, 0, 1},
};

enum icoff_class_t : uint32_t {
    I_GLOBAL = 1,
    I_LOCAL = 2,
    I_LABEL = 3,
    I_FUNCTION_END = 4,
    I_FUNCTION_ENTRY = 5,
    I_FUNCTION_EXIT = 6,
    I_BLOCK_BEGIN = 7,
    I_BLOCK_END = 8,
    I_SECTION_SIZE = 9,
    I_SIMPLE = 20,
    I_LOCAL_VARIABLE = 50,
    I_PARAMETER = 51,
    I_FILE = 55,
};

struct icoff_class_row_t {
    uint32_t value;
    const char* text;
};

constexpr icoff_class_row_t icoff_classes[] = {
    {1,  "global symbol "           },
    {2,  "non-global symbol "       },
    {3,  "label "                   },
    {4,  "physical end of function "},
    {5,  "function entry point "    },
    {6,  "function exit point "     },
    {7,  "block begin "             },
    {8,  "block end "               },
    {9,  "section size symbol "     },
    {20, "simple type "             },
    {21, "subrange type "           },
    {22, "enumeration type "        },
    {23, "array of . . . "          },
    {24, "pointer to . . . "        },
    {25, "tag type "                },
    {26, "set of "                  },
    {27, "type of "                 },
    {28, "function or procedure "   },
    {29, "record type "             },
    {30, "union type "              },
    {31, "C array type "            },
    {50, "local variable "          },
    {51, "parameter "               },
    {52, "record member "           },
    {53, "bit field "               },
    {54, "enumeration literal "     },
    {55, "file name "               },
};

// By the low 4 bits of the type byte; 0 means none.
constexpr std::array<const char*, 11> icoff_simple_types = {
    "",           "char",        "uchar",       "signed_8", "signed_16", "signed_32",
    "unsigned_8", "unsigned_16", "unsigned_32", "float",    "double",
};

struct icoff_type_flag_t {
    uint32_t bit;
    const char* text;
};

// In order of the print; two bits have two texts each.
constexpr icoff_type_flag_t icoff_type_flags[] = {
    {0x10, "register "       },
    {0x20, "VAR parameter "  },
    {0x40, "ALIAS parameter "},
    {0x10, "function begin"  },
    {0x20, "weak definition" },
    {0x80, "used internally "},
};

constexpr uint32_t icoff_type_label = 0x1C; // a symbol with SYM_LABEL, as written

} // namespace tavrel
