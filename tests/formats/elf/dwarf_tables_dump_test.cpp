// The DWARF dump: frames, names, ranges, macros, places.
#include <gtest/gtest.h>

#include "formats/elf/elf_builder.h"

namespace tavrel {
namespace {

using namespace tavrel::testing;

// The same debug information with another address size, which the tables take over; sizes but 1, 2, 4, 8 raise 661.
dump_t dump_sized(const std::string& size, const std::string& name, const std::string& hex) {
    const elf_part_t info = {".debug_info", bytes("0C000000 0200 00000000 " + size + " 01 00000000")};
    return dump_files({
        elf_file({small_abbrev, info, {name, bytes(hex)}}
        )
    });
}

// ---- .debug_frame

constexpr const char* frame_heading = "Call frame information (.debug_frame):";

std::string frame_text(const dump_t& dump) { return section_text(dump, frame_heading); }

TEST(DwarfFrame, PrintsEveryInstruction) {
    // A CIE at 0 with code alignment 4, data alignment -8, return column 14; its FDE at 0x37 for 0x100 to 0x180.
    const dump_t dump = dump_section(".debug_frame", "33000000 FFFFFFFF 01 00 04 78 0E"
                                                     "0C 07 8001 0D 06 0E 0A 09 01 02 08 03 07 04 06 05 C6 45"
                                                     "81 02 05 21 03 0A 0B 02 03 03 0400 04 05000000 01 44332211 00"
                                                     "20000000 00000000 00010000 80000000"
                                                     "41 02 81 03 0300 04 01000000 01 00200000 42 0E FF01");
    EXPECT_EQ(frame_text(dump), "\nCommon Information Entry @ 0x00000000\n"
                                "size=51 ver=1\n"
                                "Augmentation: None\n"
                                "code align=4, data align=-8, return col=14\n"
                                "        DW_CFA_def_cfa(r7, 128)\n"
                                "        DW_CFA_def_cfa_register(r6)\n"
                                "        DW_CFA_def_cfa_offset(10)\n"
                                "        DW_CFA_register(r1, r2)\n"
                                "        DW_CFA_same_value(r3)\n"
                                "        DW_CFA_undefined(r4)\n"
                                "        DW_CFA_restore_extended(r5)\n"
                                "        DW_CFA_restore(r6)\n"
                                "        DW_CFA_advance_loc(20)\n"
                                "        DW_CFA_offset(r1, -16)\n"
                                "        DW_CFA_offset_extended(r33, -24)\n"
                                "        DW_CFA_remember_state\n"
                                "        DW_CFA_restore_state\n"
                                "        DW_CFA_advance_loc1(12)\n"
                                "        DW_CFA_advance_loc2(16)\n"
                                "        DW_CFA_advance_loc4(20)\n"
                                "        DW_CFA_set_loc(0x11223344)\n"
                                "        DW_CFA_nop\n"
                                "\nFrame Description Entry @ 0x00000037\n"
                                "size=32 CIE_pointer=0x00000000 location range=0x00000100..0x00000180\n"
                                "        DW_CFA_advance_loc(4), loc -> 0x00000104\n"
                                "        DW_CFA_advance_loc1(516), loc -> 0x00000308\n"
                                "        DW_CFA_advance_loc2(12), loc -> 0x00000314\n"
                                "        DW_CFA_advance_loc4(4), loc -> 0x00000318\n"
                                "        DW_CFA_set_loc(0x00002000)\n"
                                "        DW_CFA_advance_loc(8), loc -> 0x00000320\n"
                                "        DW_CFA_def_cfa_offset(255)\n");
    EXPECT_EQ(dump.messages, "");
}

// An augmentation that nobody knows ends its CIE, but FDEs take the alignments from behind its text all the same.
TEST(DwarfFrame, LeavesAugmentedEntries) {
    const dump_t dump = dump_section(".debug_frame", "0B000000 FFFFFFFF 03 \"zR\" 00 02 7E 0E"
                                                     "0F000000 00000000 00010000 10000000 41 81 03");
    EXPECT_EQ(frame_text(dump), "\nCommon Information Entry @ 0x00000000\n"
                                "size=11 ver=3\n"
                                "Augmentation: \"zR\" (unknown)\n"
                                "\nFrame Description Entry @ 0x0000000F\n"
                                "size=15 CIE_pointer=0x00000000 location range=0x00000100..0x00000110\n"
                                "        DW_CFA_advance_loc(2), loc -> 0x00000102\n"
                                "        DW_CFA_offset(r1, -6)\n");
    EXPECT_EQ(dump.messages, "");
}

TEST(DwarfFrame, PrintsWhatIsCut) {
    // def_cfa takes its offset from the next entry, set_loc its address from beyond the section.
    const dump_t dump = dump_section(".debug_frame", "0C000000 FFFFFFFF 01 00 01 01 00 2E 0C 07"
                                                     "0E000000 00000000 00010000 10000000 0F 01");
    EXPECT_EQ(frame_text(dump), "\nCommon Information Entry @ 0x00000000\n"
                                "size=12 ver=1\n"
                                "Augmentation: None\n"
                                "code align=1, data align=1, return col=0\n"
                                "        ?? 0x0000002E (user-defined)\n"
                                "        DW_CFA_def_cfa(r7, 14)\n"
                                "\nFrame Description Entry @ 0x00000010\n"
                                "size=14 CIE_pointer=0x00000000 location range=0x00000100..0x00000110\n"
                                "        ?? 0x0000000F\n"
                                "        DW_CFA_set_loc(0x00000000)\n");
    EXPECT_EQ(dump.messages, "(650) byte 46\n(652) length 12\n(650) byte 15\n(656) length 14\n");
}

TEST(DwarfFrame, TellsOfAnInstructionBeforeItsLine) {
    struct {
        const char* messages;
        const char* instruction;
    } const cases[] = {
        {"650 f no instruction\n661 1 size\n", "2E"},
        {"632 f address size\n661 1 size\n",   "01"}
    };
    for (const auto& c : cases) {
        const std::string file = elf_file({
            small_abbrev,
            {".debug_info",  bytes("0C000000 0200 00000000 03 01 00000000")                                  },
            {".debug_frame", bytes("0C000000 FFFFFFFF 01 00 01 01 00 00" + std::string(c.instruction) + "00")}
        });
        const result_t result = run_program(
            {
                "-d", "-ielf", "--edf=messages", "a.elf"
        },
            {{"messages", c.messages}, {"a.elf", file}});
        EXPECT_EQ(result.status, 1) << c.instruction;
        const std::string end = "return col=0\n        DW_CFA_nop\n";
        EXPECT_EQ(result.out.substr(result.out.size() - std::min(result.out.size(), end.size())), end);
    }
}

TEST(DwarfFrame, SkipsBadEntries) {
    const dump_t dump = dump_section(".debug_frame", "06000000 FFFFFFFF 0100"
                                                     "08000000 00000000 00000000"
                                                     "0C000000 80000000 00010000 10000000"
                                                     "0C000000 26000000 F0FFFFFF 20000000"
                                                     "00000000"
                                                     "FBFFFFFF 00000000");
    EXPECT_EQ(frame_text(dump), "\nCommon Information Entry @ 0x00000000\n"
                                "\nFrame Description Entry @ 0x0000000A\n"
                                "\nFrame Description Entry @ 0x00000016\n"
                                "size=12 CIE_pointer=0x00000080 location range=0x00000100..0x00000110\n"
                                "\nFrame Description Entry @ 0x00000026\n"
                                "size=12 CIE_pointer=0x00000026 location range=0xFFFFFFF0..0x100000010\n"
                                "\nFrame Description Entry @ 0x00000036\n");
    EXPECT_EQ(dump.messages, "(651) length 6\n(653) length 8\n(654) pointer 128\n(655) id FFFFFFFF\n(653) length 0\n"
                             "(657) length 4294967291\n");
}

TEST(DwarfFrame, TakesAddressesOfAnySize) {
    const dump_t odd = dump_sized("03", ".debug_frame",
                                  "09000000 FFFFFFFF 01 00 01 01 00"
                                  "0C000000 00000000 111111 222222 0A 0B");
    EXPECT_EQ(frame_text(odd), "\nCommon Information Entry @ 0x00000000\n"
                               "size=9 ver=1\nAugmentation: None\ncode align=1, data align=1, return col=0\n"
                               "\nFrame Description Entry @ 0x0000000D\n"
                               "size=12 CIE_pointer=0x00000000 location range=0x00000000..0x00000000\n"
                               "        DW_CFA_remember_state\n        DW_CFA_restore_state\n");
    EXPECT_EQ(odd.messages, "(661) size 3\n(632) size 3\n(632) size 3\n");

    // Without a unit the size of the file before stays; at first it is 0.
    const elf_part_t no_unit = {".debug_info", ""};
    const elf_part_t wide = {".debug_info", bytes("10000000 0200 00000000 08 01 00000000 01 000000")};
    const elf_part_t frame = {".debug_frame", bytes("09000000 FFFFFFFF 01 00 01 01 00"
                                                    "14000000 00000000 8877665544332211 0100000000000000")};
    const std::string file = elf_file({small_abbrev, no_unit, frame});
    const std::string range = " location range=0x1122334455667788..0x1122334455667789\n";
    const dump_t after = dump_files({elf_file({small_abbrev, wide}), file});
    EXPECT_NE(after.out.find(range), std::string::npos);
    EXPECT_EQ(after.messages, "");
    const dump_t first = dump_files({file});
    EXPECT_NE(first.out.find(" location range=0x00000000..0x00000000\n"), std::string::npos);
    EXPECT_EQ(first.messages.substr(0, 28), "(632) size 0\n(632) size 0\n(6");
}

// ---- .debug_pubnames, .debug_aranges

TEST(DwarfTables, PrintsNames) {
    const dump_t dump = dump_section(".debug_pubnames", "17000000 0200 10000000 20000000"
                                                        "0B000000 \"main\" 00 00000000"
                                                        "FFFFFFFF 0300 00000000 FFFFFFFF 01000000 \"x\" 00 00000000"
                                                        "14000000 0200 00000000 00000000 02000000 \"cut\"");
    EXPECT_EQ(section_text(dump, "Name lookup table (.debug_pubnames):"),
              "\nSet 1 @ 0x00000000\n"
              "size=23, ver=2, offs=0x00000010, debug size=32\n"
              "  0x0000000B: \"main\"\n"
              "\nSet 2 @ 0x0000001B\n"
              "size=4294967295, ver=3, offs=0x00000000, debug size=4294967295\n"
              "  0x00000001: \"x\"\n"
              "\nSet 3 @ 0x00000033\n"
              "size=20, ver=2, offs=0x00000000, debug size=0\n"
              "  0x00000002: \"cut\"\n");
    EXPECT_EQ(dump.messages, "");
    const dump_t small = dump_section(".debug_pubnames", "13000000 0200 00000000 00000000 00000000");
    EXPECT_EQ(section_text(small, "Name lookup table (.debug_pubnames):"), "\nSet 1 @ 0x00000000\n");
    EXPECT_EQ(small.messages, "(663) length 19\n");
}

TEST(DwarfTables, PrintsRanges) {
    const dump_t dump = dump_section(".debug_aranges", "1C000000 0200 00000000 04 00 AAAAAAAA"
                                                       "00100000 20000000 00000000 FF000000 F0FFFFFF 20000000"
                                                       "00000000 00000000"
                                                       "FFFFFFFF 0300 05000000 02 01 AAAAAAAA 3412 1000 0000 0000"
                                                       "0A000000 0200 00000000 00 00"
                                                       "0A000000 0200 00000000 03 00 AAAAAAAA 111111 222222"
                                                       "09000000");
    EXPECT_EQ(section_text(dump, "Address range table (.debug_aranges):"),
              "\nSet 1 @ 0x00000000\n"
              "size=28, ver=2, offs=0x00000000 addrsize=4, segsize=0 (flat)\n"
              "  0x00001000..0x00001020\n"
              "  0x00000000..0x000000FF\n"
              "  0xFFFFFFF0..0x100000010\n"
              "\nSet 2 @ 0x00000030\n"
              "size=4294967295, ver=3, offs=0x00000005 addrsize=2, segsize=1\n"
              "  0x00001234..0x00001244\n"
              "\nSet 3 @ 0x00000048\n"
              "size=10, ver=2, offs=0x00000000 addrsize=0, segsize=0 (flat)\n"
              "\nSet 4 @ 0x00000054\n"
              "size=10, ver=2, offs=0x00000000 addrsize=3, segsize=0 (flat)\n"
              "\nSet 5 @ 0x0000006C\n");
    EXPECT_EQ(dump.messages, "(664) length 0\n");
}

// ---- .debug_macinfo

TEST(DwarfTables, PrintsMacros) {
    const dump_t dump =
        dump_section(".debug_macinfo", "01 05 \"A 1\" 00 02 8001 \"B\" 00 03 00 02 04 FF 07 \"v\" 00 05 00"
                                       "01 03 \"cut\"");
    EXPECT_EQ(section_text(dump, "Macro information (.debug_macinfo):"), "\nSet 1 @ 0x00000000\n"
                                                                         "  DW_MACINFO_define(5, \"A 1\")\n"
                                                                         "  DW_MACINFO_undef(128, \"B\")\n"
                                                                         "  DW_MACINFO_start_file(0, 2)\n"
                                                                         "  DW_MACINFO_end_file\n"
                                                                         "  DW_MACINFO_vendor_ext(7, \"v\")\n"
                                                                         "  ?? 0x00000005\n"
                                                                         "\nSet 2 @ 0x00000015\n"
                                                                         "  DW_MACINFO_define(3, \"cut\")\n");
    EXPECT_EQ(section_text(dump_section(".debug_macinfo", "04 00"), "Macro information (.debug_macinfo):"),
              "\nSet 1 @ 0x00000000\n  DW_MACINFO_end_file\n\nSet 2 @ 0x00000002\n");
}

// ---- .debug_loc

constexpr const char* loc_heading = "Location lists (.debug_loc):";

TEST(DwarfLoc, PrintsEveryOperand) {
    const dump_t dump = dump_section(".debug_loc", "00010000 10010000 5100"
                                                   "03 44332211 08 FF 09 FF 0A FFFF 0B FFFF 0C FFFFFFFF 0D FFFFFFFF"
                                                   "0E 0100000000000080 0F 0100000000000000 10 8001 11 7F 15 02 23 04"
                                                   "28 FEFF 2F 0300 30 6D 70 7F 8F 01 90 05 91 7C 92 07 7E 93 04"
                                                   "94 01 95 02 96 06 E0 02"
                                                   "00000000 00000000");
    EXPECT_EQ(section_text(dump, loc_heading), "\nSet 1 @ 0x00000000\n"
                                               "range=0x00000100..0x00000110 size=81\n"
                                               "  DW_OP_addr(0x11223344)\n"
                                               "  DW_OP_const1u(255)\n"
                                               "  DW_OP_const1s(-1)\n"
                                               "  DW_OP_const2u(65535)\n"
                                               "  DW_OP_const2s(-1)\n"
                                               "  DW_OP_const4u(4294967295)\n"
                                               "  DW_OP_const4s(-1)\n"
                                               "  DW_OP_const8u(0x8000000000000001)\n"
                                               "  DW_OP_const8s(0x00000001)\n"
                                               "  DW_OP_constu(128)\n"
                                               "  DW_OP_consts(-1)\n"
                                               "  DW_OP_pick(2)\n"
                                               "  DW_OP_plus_uconst(4)\n"
                                               "  DW_OP_bra(-2)\n"
                                               "  DW_OP_skip(3)\n"
                                               "  DW_OP_lit0\n"
                                               "  DW_OP_reg29\n"
                                               "  DW_OP_breg0(-1)\n"
                                               "  DW_OP_breg31(1)\n"
                                               "  DW_OP_regx(5)\n"
                                               "  DW_OP_fbreg(-4)\n"
                                               "  DW_OP_bregx(7, -2)\n"
                                               "  DW_OP_piece(4)\n"
                                               "  DW_OP_deref_size(1)\n"
                                               "  DW_OP_xderef_size(2)\n"
                                               "  DW_OP_nop\n"
                                               "  DW_OP_deref\n"
                                               "  ?? 0x000000E0 (user-defined)\n"
                                               "  ?? 0x00000002\n");
    EXPECT_EQ(dump.messages, "");
}

TEST(DwarfLoc, GoesOnBySize) {
    const dump_t dump = dump_section(".debug_loc", "20010000 30010000 0100 08"
                                                   "31000000 40000000 0000"
                                                   "00000000 00000000"
                                                   "50000000 60000000 FFFF 96 00000000 00000000");
    EXPECT_EQ(section_text(dump, loc_heading), "\nSet 1 @ 0x00000000\n"
                                               "range=0x00000120..0x00000130 size=1\n"
                                               "  DW_OP_const1u(49)\n"
                                               "range=0x00000031..0x00000040 size=0\n"
                                               "\nSet 2 @ 0x0000001D\n"
                                               "range=0x00000050..0x00000060 size=65535\n");
    EXPECT_EQ(dump.messages, "(665) size 1\n(665) size 65535\n");
}

TEST(DwarfLoc, TakesAddressesOfAnySize) {
    const dump_t none = dump_sized("00", ".debug_loc", "00010000 10010000 0000");
    EXPECT_EQ(section_text(none, loc_heading), "\nSet 1 @ 0x00000000\n");
    EXPECT_EQ(none.messages, "(661) size 0\n(632) size 0\n(632) size 0\n");
    const dump_t odd = dump_sized("03", ".debug_loc", "111111 222222 333333");
    EXPECT_EQ(section_text(odd, loc_heading), "\nSet 1 @ 0x00000000\n\nSet 2 @ 0x00000006\n");
    EXPECT_EQ(odd.messages, "(661) size 3\n(632) size 3\n(632) size 3\n(632) size 3\n(632) size 3\n");
    const dump_t wide = dump_sized("08", ".debug_loc", "0001000001000000 1001000001000000 0900 03 8877665544332211");
    EXPECT_EQ(section_text(wide, loc_heading), "\nSet 1 @ 0x00000000\n"
                                               "range=0x00000100..0x00000110 size=9\n"
                                               "  DW_OP_addr(0x1122334455667788)\n");
}

} // namespace
} // namespace tavrel
