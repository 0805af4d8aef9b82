// Line programs, opcode by opcode. Records are lines of the symbol file: number, address.
#include <gtest/gtest.h>

#include "support/elf_view.h"
#include "support/run.h"

namespace tavrel::testing {
namespace {

struct lines_t {
    std::string program; // behind the tables, opcodes parted by commas
    std::string range;   // the unit's low_pc and high_pc
};

lines_t lines_of(const std::string& records, const std::string& processor = "ARM7",
                 const std::string& marks = "\"1 a.c\n") {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-p" + processor, "-b"
    },
        {{"m.sym", "%locals\nm.obj\n9 90 0 CODE\na.c\n" + records}, {"m.sdb", "[p ]\n" + marks}});
    lines_t result;
    std::string text = lines_text(elf);
    text.erase(0, text.find('\n') + 1);
    for (const char c : text) {
        result.program += c == '\n' ? std::string(", ") : std::string(1, c);
    }
    const std::string unit = dies_text(elf);
    const size_t at = unit.find("low_pc=");
    result.range = unit.substr(at, unit.find('\n') - at);
    return result;
}

TEST(DwarfLine, Bytes) {
    const files_t files = {
        {"m.sym", "%locals\nm.obj\nsrc/a.c\n20 100 0 CODE\n21 104 0 CODE\n21 108 0 CODE\n30 10C 0 CODE\n"},
        {"m.sdb", "[p ]\n\"1 src/a.c\n"                                                                  },
    };
    EXPECT_EQ(hex(run_elf({"m.sym", "-pARM7"}, files).bytes(".debug_line")), hex(bytes(R"(
        3B 00 00 00  02 00  1B 00 00 00  01 01 FB 0F 0A  00 01 01 01 01 00 00 00 00
        "src" 00  00  "a.c" 00 01 00 00  00
        03 13  00 05 02 00 01 00 00  01     ; line 20 at 100
        4C                                  ; line 21 at 104
        02 04  00 01 01                     ; the end at 108
        03 1D  00 05 02 0C 01 00 00  01     ; line 30 at 10C
    )")));
    EXPECT_EQ(hex(run_elf({"m.sym", "-p18F452", "-b"}, files).bytes(".debug_line")), hex(bytes(R"(
        00 00 00 37  00 02  00 00 00 1B  01 01 FB 0F 0A  00 01 01 01 01 00 00 00 00
        "src" 00  00  "a.c" 00 01 00 00  00
        03 13  00 03 02 01 00  01
        4C
        02 04  00 01 01
        03 1D  00 03 02 01 0C  01
    )")));
}

// Two rows, the second by a special opcode; `step` and `delta` lead from the first, line 100 at 1000, to it.
TEST(DwarfLine, Steps) {
    const struct {
        int step;
        uint32_t delta;
        const char* program;
    } rows[] = {
        {1,   4,          "special 76"                                   },
        {9,   15,         "special 249"                                  },
        {-5,  1,          "special 25"                                   },
        {-6,  1,          "advance_line -6, special 30"                  },
        {10,  1,          "advance_line 10, special 30"                  },
        {1,   16,         "const_add_pc, special 16"                     },
        {1,   31,         "const_add_pc, special 241"                    },
        {1,   32,         "advance_pc 32, special 16"                    },
        {-90, 0x1234,     "advance_pc 4660, advance_line -90, special 15"},
        {1,   0x7FFFFFFF, "advance_pc 2147483647, special 16"            },
 // Half the address space away: a step backwards, of which the low byte of the formula is left.
        {1,   0x80000004, "special 76"                                   },
        {1,   0,          "special 16"                                   },
    };
    for (const auto& row : rows) {
        EXPECT_EQ(lines_of(format_text("100 1000 0 CODE\n%d %X 0 CODE\n", 100 + row.step, 0x1000 + row.delta)).program,
                  row.step < 0 && row.delta == 0
                      ? ""
                      : format_text("advance_line 99, set_address 1000, copy, %s, ", row.program))
            << row.step << " " << row.delta;
    }
}

TEST(DwarfLine, Sequences) {
    const struct {
        const char* records;
        const char* program;
    } rows[] = {
        {"",                                                                  ""                                            },
 // Line 1 is what a sequence begins with, so it ends there.
        {"1 100 0 CODE\n",                                                    "advance_pc 256, end_sequence, "              },
        {"1 80000000 0 CODE\n",                                               "advance_pc -2147483648, end_sequence, "      },
        {"5 FFFFFFF0 0 CODE\n",                                               "advance_line 4, set_address FFFFFFF0, copy, "},
 // At address 0 a sequence is taken for not begun.
        {"5 0 0 CODE\n6 2 0 CODE\n7 4 0 CODE\n",
         "advance_line 4, set_address 0, copy, advance_line 1, set_address 2, copy, special 46, "                           },
 // By address, then by number; the same line once more ends the sequence, and a third time begins with it.
        {"9 20 0 CODE\n7 10 0 CODE\n5 10 0 CODE\n7 12 0 CODE\n7 14 0 CODE\n",
         "advance_line 4, set_address 10, copy, special 17, advance_pc 2, end_sequence, advance_line 6, set_address "
         "14, "
         "copy, special 197, "                                                                                              },
    };
    for (const auto& row : rows) {
        EXPECT_EQ(lines_of(row.records).program, row.program) << row.records;
    }
}

TEST(DwarfLine, FilesOfTheUnit) {
    // b.c is a file of the unit, m.obj is the unit itself, c.c is nobody's.
    const std::string records = "2 100 0 CODE\nb.c\n3 102 0 CODE\n3 104 0 CODE\nc.c\n1 0 0 CODE\n900 900 0 CODE\n"
                                "a.c\n4 106 0 CODE\nb.c\n5 108 0 CODE\n";
    const std::string program = "advance_line 1, set_address 100, copy, set_file 2, special 46, advance_pc 2, "
                                "end_sequence, advance_line 3, set_address 106, copy, set_file 2, special 46, ";
    const lines_t lines = lines_of(records, "ARM7", "\"1 a.c\n\"1 b.c\n\"1 m.obj\n");
    EXPECT_EQ(lines.program, program);
    EXPECT_EQ(lines.range, "low_pc=100 high_pc=108");
}

TEST(DwarfLine, EveryUnitSeesTheLinesOfItsFiles) {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-pARM7"
    },
        {{"m.sym", "%locals\na.obj\nh.c\n5 10 0 CODE\nb.obj\nb.c\n6 12 0 CODE\nc.obj\n"},
         {"a.sdb", "[p ]\n\"1 h.c\n"},
         {"b.sdb", "[p ]\n\"1 b.c\n\"1 h.c\n"},
         {"c.sdb", "[p ]\n"}});
    EXPECT_EQ(lines_text(elf), "dirs, files h.c:0\n"
                               "advance_line 4\nset_address 10\ncopy\n"
                               "dirs, files b.c:0 h.c:0\n"
                               "set_file 2\nadvance_line 4\nset_address 10\ncopy\nset_file 1\nspecial 46\n"
                               "dirs, files\n");
}

} // namespace
} // namespace tavrel::testing
