// The DWARF dump: line programs.
#include <gtest/gtest.h>

#include <cstdlib>

#include "common/print.h"
#include "formats/elf/elf_builder.h"

namespace tavrel {
namespace {

using namespace tavrel::testing;

constexpr const char* line_heading = "Line number information (.debug_line):";

// A unit whose one DIE has a stmt_list for each reference.
dump_t dump_line(const std::string& line, const std::vector<std::string>& references = {"00000000"}) {
    setenv("TZ", "UTC0", 1);
    tzset();
    std::string abbrev = "01 11 00";
    std::string info = " 0200 00000000 04 01";
    for (const std::string& reference : references) {
        abbrev += "10 06";
        info += reference;
    }
    const std::string unit = bytes(info);
    const std::string length = {static_cast<char>(unit.size()), 0, 0, 0};
    return dump_files({
        elf_file({{".debug_abbrev", bytes(abbrev + "00 00 00")},
                  {".debug_info", length + unit},
                  {".debug_line", bytes(line)}}
        )
    });
}

// A program with its length in front: `fields` from the header length on, no lists but what `lists` holds, `opcodes`.
std::string program(const std::string& header_length, const std::string& constants, const std::string& lists,
                    const std::string& opcodes) {
    const std::string rest = "0200" + header_length + constants + lists + opcodes;
    const size_t length = bytes(rest).size();
    return format_text("%02X%02X0000", length & 0xFF, length >> 8) + rest;
}

// Minimum length 1, is_stmt, line base -5, line range 15, opcode base 10, the standard's lengths.
constexpr const char* constants = "01 01 FB 0F 0A 00 01 01 01 01 00 00 00 01";
constexpr const char* empty_lists = "00 00";

std::string simple(const std::string& opcodes) { return program("10000000", constants, empty_lists, opcodes); }

std::string behind(const std::string& text, const std::string& mark) {
    const size_t at = text.find(mark);
    return at == std::string::npos ? "no " + mark + " in\n" + text : text.substr(at + mark.size());
}

constexpr const char* first_sequence = "\n\nStatement program sequence 1\n\n";
constexpr const char* matrix_heading = "\nGenerated line number matrix:\n\nstmt    address   file        line        "
                                       "column      is_stmt      basic_block\n";

// What the opcodes print, from the first on.
std::string opcode_text(const dump_t& dump) { return behind(section_text(dump, line_heading), first_sequence); }

TEST(DwarfLineDump, RunsAProgram) {
    // Lines 20 and 21 at 0x100 and 0x104, the end at 0x108, then line 30 at 0x10C without an end.
    const dump_t dump = dump_line(program("2A000000", "01 01 FB 0F 0A 00 01 01 01 01 00 00 00 00",
                                          "\"inc\" 00 \"src\" 00 00 \"a.c\" 00 01 00 00 \"b.c\" 00 02 8180808008 01 00",
                                          "03 13 00 05 02 00010000 01 4C 02 04 00 01 01"
                                          "03 1D 00 05 02 0C010000 01"));
    EXPECT_EQ(section_text(dump, line_heading),
              "\nGroup 0 @ 0x00000000\n\n"
              "size=74 ver=2 prolog=42\n"
              "min_len=1 def_stmt=true line_base=-5 line_range=15 opcode_base=10\n"
              "opcode lengths: 0 1 1 1 1 0 0 0 0\n"
              "Includes:\n"
              "    1.  \"inc\"\n"
              "    2.  \"src\"\n"
              "Files:\n"
              "    1.  \"a.c\"\n"
              "           dir:     1, time: Thu Jan  1 00:00:00 1970 (0x00000000), 0 bytes\n"
              "    2.  \"b.c\"\n"
              "           dir:     2, time: Tue Jan 19 03:14:09 2038 (0x80000001), 1 byte\n" +
                  std::string(first_sequence) +
                  "00001:  DW_LNS_advance_line     : 19\n"
                  "00002:  DW_LNE_set_address      : 0x0000000000000100\n"
                  "00003:  DW_LNS_copy             \n"
                  "00004:  SPECIAL(line=1, addr=4)\n"
                  "00005:  DW_LNS_advance_pc       : 0x0000000000000004\n"
                  "00006:  DW_LNE_end_sequence     \n" +
                  matrix_heading +
                  "00003:  0000000000000100  1           20          0           true         false\n"
                  "00004:  0000000000000104  1           21          0           true         false\n"
                  "00006:  0000000000000108  1           21          0           true         false\n"
                  "\n\nStatement program sequence 2\n\n"
                  "00001:  DW_LNS_advance_line     : 29\n"
                  "00002:  DW_LNE_set_address      : 0x000000000000010C\n"
                  "00003:  DW_LNS_copy             \n");
    EXPECT_EQ(dump.messages, "");
}

TEST(DwarfLineDump, RunsEveryOpcode) {
    // Minimum length 4, not is_stmt, line base 1, line range 4, opcode base 13; opcodes 10 and 12 have operands.
    const dump_t dump = dump_line(program("13000000", "04 00 01 04 0D 00 01 01 01 01 00 00 00 01 01 00 02", empty_lists,
                                          "04 02 05 8101 06 07 01"
                                          "02 8101 03 7B 08 09 0180 12"
                                          "0A 05 0B 0C 8001 02 06 FF"
                                          "00 02 80 AA 00 03 02 3412 00 09 02 8877665544332211"
                                          "00 01 01"));
    EXPECT_EQ(opcode_text(dump),
              "00001:  DW_LNS_set_file         : 2\n"
              "00002:  DW_LNS_set_column       : 129\n"
              "00003:  DW_LNS_negate_stmt      \n"
              "00004:  DW_LNS_set_basic_block  \n"
              "00005:  DW_LNS_copy             \n"
              "00006:  DW_LNS_advance_pc       : 0x0000000000000081\n"
              "00007:  DW_LNS_advance_line     : -5\n"
              "00008:  DW_LNS_const_add_pc     \n"
              "00009:  DW_LNS_fixed_advance_pc : 0x0000000000008001\n"
              "00010:  SPECIAL(line=2, addr=4)\n"
              "00011:  ?? 0x0000000A           : 1 args\n"
              "00012:  ?? 0x0000000B           : 0 args\n"
              "00013:  ?? 0x0000000C           : 2 args\n"
              "00014:  DW_LNS_negate_stmt      \n"
              "00015:  SPECIAL(line=3, addr=240)\n"
              "00016:  ?? 0x00000080           \n"
              "00017:  DW_LNE_set_address      : 0x0000000000001234\n"
              "00018:  DW_LNE_set_address      : 0x1122334455667788\n"
              "00019:  DW_LNE_end_sequence     \n" +
                  std::string(matrix_heading) +
                  // 0x81 * 4 + 60 * 4 + 0x8001 + 4; (255 - 13) / 4 is 60
                  "00005:  0000000000000000  2           1           129         true         true \n"
                  "00010:  00000000000082F9  2           -2          129         true         false\n"
                  "00015:  00000000000083E9  2           1           129         false        false\n"
                  "00019:  1122334455667788  2           1           129         false        false\n"
                  "\n\nStatement program sequence 2\n\n");
    EXPECT_EQ(dump.messages, "");
}

TEST(DwarfLineDump, BadExtendedOpcodes) {
    const dump_t dump = dump_line(simple("00 00 01"
                                         "00 04 02 112233 01"
                                         "00 01 02 01"
                                         "00 07 03 \"f\" 00 01 02 03 FF 01"
                                         "00 05 03 \"g\" 00 01 02 03 01" // the last of its numbers is an advance_line
                                         "00 03 03 \"lo\" 01 01 00 00"   // the rest of the name: two copies and 0, 0
                                         "00 06 03 \"h\" 00 01 00 02"
                                         "00 05 01 11223344"
                                         "0A"));
    const std::string file = "dir:     1, time: Thu Jan  1 00:00:0";
    const std::string rest = "  0000000000000000  1           ";
    const std::string flags = "           0           true         false\n";
    EXPECT_EQ(opcode_text(dump), "00001:  \n"
                                 "00002:  DW_LNS_copy             \n"
                                 "00003:  DW_LNE_set_address      : 0x0000000000000000\n"
                                 "00004:  DW_LNS_copy             \n"
                                 "00005:  DW_LNE_set_address      : 0x0000000000000000\n"
                                 "00006:  DW_LNS_copy             \n"
                                 "00007:  DW_LNE_define_file      : \"f\" " +
                                     file +
                                     "2 1970 (0x00000002), 3 bytes\n"
                                     "00008:  DW_LNS_copy             \n"
                                     "00009:  DW_LNE_define_file      : \"g\" " +
                                     file +
                                     "2 1970 (0x00000002), 3 bytes\n"
                                     "00010:  DW_LNS_advance_line     : 1\n"
                                     "00011:  DW_LNE_define_file      \n"
                                     "00012:  DW_LNS_copy             \n"
                                     "00013:  DW_LNS_copy             \n"
                                     "00014:  \n"
                                     "00015:  DW_LNE_define_file      : \"h\" " +
                                     file +
                                     "0 1970 (0x00000000), 2 bytes\n"
                                     "00016:  DW_LNE_end_sequence     \n" +
                                     matrix_heading + "00002:" + rest + "1" + flags + "00004:" + rest + "1" + flags +
                                     "00006:" + rest + "1" + flags + "00008:" + rest + "1" + flags + "00012:" + rest +
                                     "2" + flags + "00013:" + rest + "2" + flags + "00016:" + rest + "2" + flags +
                                     "\n\nStatement program sequence 2\n\n"
                                     "00001:  SPECIAL(line=-5, addr=0)\n");
    // The opcodes begin at 26. Each message comes once, though the sequence runs twice.
    EXPECT_EQ(dump.messages, "(640) at 26\n(641) length 3\n(641) length 0\n(643) length 7\n(643) length 5\n"
                             "(642) length 3\n(640) at 66\n");
}

TEST(DwarfLineDump, ALineRangeOfZeroMovesByTheBase) {
    const dump_t dump =
        dump_line(program("10000000", "04 01 FB 00 0A 00 01 01 01 01 00 00 00 01", empty_lists, "FF 08 0A 00 01 01"));
    EXPECT_EQ(opcode_text(dump),
              "00001:  SPECIAL(line=-5, addr=0)\n"
              "00002:  DW_LNS_const_add_pc     \n"
              "00003:  SPECIAL(line=-5, addr=0)\n"
              "00004:  DW_LNE_end_sequence     \n" +
                  std::string(matrix_heading) +
                  "00001:  0000000000000000  1           -4          0           true         false\n"
                  "00003:  0000000000000000  1           -9          0           true         false\n"
                  "00004:  0000000000000000  1           -9          0           true         false\n"
                  "\n\nStatement program sequence 2\n\n");
}

// From the opcode base on every opcode is special, also where the standard has others.
TEST(DwarfLineDump, TheOpcodeBaseDecides) {
    const dump_t dump = dump_line(program("0A000000", "01 01 00 01 04 00 01 00", empty_lists, "01 02 05 03 01 04 09"));
    EXPECT_EQ(behind(section_text(dump, line_heading), "opcode lengths:"),
              " 0 1 0(?)\nIncludes:\n        None\nFiles:\n        None\n" + std::string(first_sequence) +
                  "00001:  DW_LNS_copy             \n"
                  "00002:  DW_LNS_advance_pc       : 0x0000000000000005\n"
                  "00003:  DW_LNS_advance_line     : 1\n"
                  "00004:  SPECIAL(line=0, addr=0)\n"
                  "00005:  SPECIAL(line=0, addr=5)\n");
    const dump_t zero = dump_line(program("07000000", "01 01 00 01 00", empty_lists, "00 01"));
    EXPECT_EQ(behind(section_text(zero, line_heading), "opcode lengths:"),
              "\nIncludes:\n        None\nFiles:\n        None\n" + std::string(first_sequence) +
                  "00001:  SPECIAL(line=0, addr=0)\n"
                  "00002:  SPECIAL(line=0, addr=1)\n");
    const dump_t odd = dump_line(program("10000000", "01 01 FB 0F 0A 01 00 02 03 04 05 06 07 08", empty_lists, ""));
    EXPECT_EQ(behind(section_text(odd, line_heading), "opcode lengths:").substr(0, 43),
              " 1(?) 0(?) 2(?) 3(?) 4(?) 5(?) 6(?) 7 8\nInc");
}

TEST(DwarfLineDump, ChecksHeaders) {
    const std::string sizes = "ver=2 prolog=16\nmin_len=1 def_stmt=true line_base=-5 line_range=15 opcode_base=";
    const std::string lengths = "opcode lengths: 0 1 1\nIncludes:\n";
    const auto check = [](const std::string& line, const std::string& text, const std::string& messages) {
        const dump_t dump = dump_line(line);
        EXPECT_EQ(section_text(dump, line_heading), "\nGroup 0 @ 0x00000000\n\n" + text);
        EXPECT_EQ(dump.messages, messages);
    };
    check("", "", "(649) sum 4\n");
    check("FFFFFFFF 0200 00000000", "", "(649) sum 3\n"); // and 2 to the power of 32
    check("0D000000 0200 00000000 0101FB0F0A 00 00 00", "", "(644) length 13\n");
    check("0F000000 0200 10000000 0101FB0F 05 00 01 01 01", "size=15 " + sizes + "5\n", "(645) base 5\n");
    check("10000000 0200 10000000 0101FB0F 04 00 01 01 \"ab\"",
          "size=16 " + sizes + "4\n" + lengths + "    1.  \"ab\"\n", "(646) length 16\n");
    check("11000000 0200 10000000 0101FB0F 04 00 01 01 00 \"ab\"",
          "size=17 " + sizes + "4\n" + lengths +
              "        None\nFiles:\n    1.  \"ab\"\n"
              "           dir:     0, time: Thu Jan  1 00:00:00 1970 (0x00000000), 0 bytes\n",
          "(646) length 17\n");
    // The tables, as they are read, decide where the program starts, and not the header's length.
    check("11000000 0200 10000000 0101FB0F 04 00 01 01 00 00 01",
          "size=17 " + sizes + "4\n" + lengths + "        None\nFiles:\n        None\n" + first_sequence +
              "00001:  DW_LNS_copy             \n",
          "(647) 10 not 16\n");
}

TEST(DwarfLineDump, FollowsReferences) {
    // Programs at 0 and at 20, the second of which claims to run beyond the section and is cut in an opcode.
    const dump_t dump = dump_line("10000000 0200 0A000000 01010001 04 00 01 01 00 00"
                                  "22000000 0200 0A000000 01010001 04 00 01 01 00 00 01 02",
                                  {"14000000", "00000000", "FF000000", "00000000", "2A000000", "2B000000"});
    const std::string header = " ver=2 prolog=10\nmin_len=1 def_stmt=true line_base=0 line_range=1 opcode_base=4\n"
                               "opcode lengths: 0 1 1\nIncludes:\n        None\nFiles:\n        None\n";
    EXPECT_EQ(section_text(dump, line_heading), "\nGroup 0 @ 0x00000000\n\nsize=16" + header + first_sequence +
                                                    "\nGroup 2 @ 0x00000014\n\nsize=34" + header + first_sequence +
                                                    "00001:  DW_LNS_copy             \n"
                                                    "00002:  DW_LNS_advance_pc       : 0x0000000000000000\n"
                                                    "\nGroup 3 @ 0x0000002A\n\n");
    EXPECT_EQ(dump.messages, "(644) length 0\n(648) offset 43\n(648) offset 255\n");
}

} // namespace
} // namespace tavrel
