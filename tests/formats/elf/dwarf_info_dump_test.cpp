// The DWARF dump: finding sections, strings, abbreviations, units and DIEs.
#include <gtest/gtest.h>

#include "driver/run.h"
#include "formats/elf/dwarf_names.h"
#include "formats/elf/elf_builder.h"

namespace tavrel {
namespace {

using namespace tavrel::testing;

constexpr const char* info_heading = "Debug contributions (.debug_info):";
constexpr const char* abbrev_heading = "Abbreviation table (.debug_abbrev):";

std::string behind(const std::string& text, const std::string& mark) {
    const size_t at = text.find(mark);
    return at == std::string::npos ? "no " + mark + " in\n" + text : text.substr(at + mark.size());
}

// ---- names

TEST(DwarfNames, HitsMissesAndUserRanges) {
    struct {
        const dw_name_set_t* set;
        uint32_t value;
        bool prefix;
        const char* text;
    } const rows[] = {
        {&dw_tag_names,     0x00,    true,  "DW_TAG_padding"              },
        {&dw_tag_names,     0x06,    true,  "DW_TAG_global_subroutine"    },
        {&dw_tag_names,     0x07,    false, "global_variable"             },
        {&dw_tag_names,     0x0C,    false, "local_variable"              },
        {&dw_tag_names,     0x14,    false, "subroutine"                  },
        {&dw_tag_names,     0x2F,    true,  "DW_TAG_template_type_param"  },
        {&dw_tag_names,     0x30,    true,  "DW_TAG_template_value_param" },
        {&dw_tag_names,     0x35,    true,  "DW_TAG_volatile_type"        },
        {&dw_tag_names,     0x09,    true,  "?? 0x00000009"               },
        {&dw_tag_names,     0x407F,  true,  "?? 0x0000407F"               },
        {&dw_tag_names,     0x4080,  true,  "?? 0x00004080 (user-defined)"},
        {&dw_tag_names,     0x4081,  false, "?? 0x00004081 (user-defined)"},
        {&dw_tag_names,     0x10000, true,  "?? 0x00010000"               },
        {&dw_at_names,      0x4D,    true,  "DW_AT_vtable_elem_location"  },
        {&dw_at_names,      0x3FFF,  true,  "?? 0x00003FFF (user-defined)"},
        {&dw_at_names,      0x4E,    true,  "?? 0x0000004E"               },
        {&dw_form_names,    0x02,    true,  "?? 0x00000002"               },
        {&dw_form_names,    0x16,    true,  "DW_FORM_indirect"            },
        {&dw_op_names,      0x4F,    true,  "DW_OP_lit31"                 },
        {&dw_op_names,      0x6D,    true,  "DW_OP_reg29"                 },
        {&dw_op_names,      0x70,    true,  "DW_OP_breg0"                 },
        {&dw_op_names,      0x96,    true,  "DW_OP_nop"                   },
        {&dw_op_names,      0xE0,    true,  "?? 0x000000E0 (user-defined)"},
        {&dw_cfa_names,     0x00,    true,  "DW_CFA_nop"                  },
        {&dw_cfa_names,     0xC0,    true,  "DW_CFA_restore"              },
        {&dw_cfa_names,     0x2E,    true,  "?? 0x0000002E (user-defined)"},
        {&dw_lns_names,     0x0A,    true,  "?? 0x0000000A"               },
        {&dw_lne_names,     0x03,    true,  "DW_LNE_define_file"          },
        {&dw_macinfo_names, 0xFF,    true,  "DW_MACINFO_vendor_ext"       },
        {&dw_lang_names,    0x8001,  true,  "?? 0x00008001 (user-defined)"},
        {&dw_ate_names,     0x08,    false, "unsigned_char"               },
        {&dw_cc_names,      0x40,    true,  "?? 0x00000040 (user-defined)"},
        {&dw_inl_names,     0x02,    false, "declared_not_inlined"        },
    };
    for (const auto& row : rows) {
        EXPECT_EQ(dw_name(*row.set, row.value, row.prefix), row.text);
    }
}

// ---- sections

TEST(DwarfDump, WantsInfoAndAbbreviations) {
    const dump_t none = dump_files({elf_file({small_abbrev})});
    EXPECT_EQ(behind(none.out, "Flg \n"), "\n\nNo DWARF found\n\n");
    const dump_t half = dump_files({elf_file({small_info})});
    EXPECT_EQ(behind(half.out, "Flg \n"), "\n\nDWARF:\n\n");
    EXPECT_EQ(half.messages, "(667) none\n");
}

constexpr const char* no_tables = "\n\nNo call frame information (from .debug_frame)\n"
                                  "\n\nNo name lookup table (from .debug_pubnames)\n"
                                  "\n\nNo name lookup table (from .debug_pubtypes)\n"
                                  "\n\nNo address range table (from .debug_aranges)\n"
                                  "\n\nNo macro information (from .debug_macinfo)\n"
                                  "\n\nNo location lists (from .debug_loc)\n"
                                  "\n\nNo address ranges (from .debug_ranges)\n";

TEST(DwarfDump, PrintsSectionsInTheirOrder) {
    const std::string file = elf_file({small_info, small_abbrev});
    const std::string rest = "\n\nAbbreviation table (.debug_abbrev):\n"
                             "\n@ 0x00000000\n"
                             "00001(N): DW_TAG_compile_unit\n"
                             "          DW_AT_stmt_list                DW_FORM_data4\n"
                             "\n\nDebug contributions (.debug_info):\n"
                             "\nCompilation Unit 1 @ 0x00000000\n"
                             "size=12 ver=0x0002 abbrev offset=0x00000000, addrsize=4\n\n"
                             "+compile unit (1) @ 0xB (0xB)\n"
                             " stmt list[data4] = 0x00000000\n"
                             "\n\nNo line number information (from .debug_line)\n" +
                             std::string(no_tables) + "\n";
    EXPECT_EQ(behind(dump_files({file}).out, "\n\nDWARF:\n"), rest);
    EXPECT_EQ(behind(dump_files({file}, {"-v"}).out, "\n\nDWARF:\n"), "\n\nNo string table (from .debug_str)\n" + rest);
}

TEST(DwarfDump, PrintsEmptySectionsWithTheirHeadings) {
    std::vector<elf_part_t> parts = {
        small_abbrev, {".debug_info", ""}
    };
    for (const char* name : {".debug_str", ".debug_line", ".debug_frame", ".debug_pubnames", ".debug_pubtypes",
                             ".debug_aranges", ".debug_macinfo", ".debug_loc", ".debug_ranges"}) {
        parts.push_back({name, ""});
    }
    EXPECT_EQ(behind(dump_files({elf_file(parts)}, {"-v"}).out, "DW_FORM_data4\n"),
              "\n\nDebug contributions (.debug_info):\n"
              "\nNo references to line number information\n"
              "\n\nCall frame information (.debug_frame):\n"
              "\n\nName lookup table (.debug_pubnames):\n"
              "\n\nName lookup table (.debug_pubtypes):\n"
              "\n\nAddress range table (.debug_aranges):\n"
              "\n\nMacro information (.debug_macinfo):\n"
              "\nSet 1 @ 0x00000000\n"
              "\n\nLocation lists (.debug_loc):\n"
              "\n\nAddress ranges (.debug_ranges):\n\n");
}

// Of two sections of one name the last counts; one that is not all there counts as absent.
TEST(DwarfDump, LoadsSections) {
    const elf_part_t other = {".debug_abbrev", bytes("02 2E 00 00 00")};
    const dump_t last = dump_files({elf_file({small_abbrev, small_info, other})});
    EXPECT_EQ(section_text(last, abbrev_heading), "\n@ 0x00000000\n00002(N): DW_TAG_subprogram\n");
    EXPECT_EQ(last.messages, "(658) code 1\n");

    std::string file = elf_file({small_abbrev, small_info});
    // The header of .debug_abbrev is the second one from the table's start; its size is the sixth field.
    const size_t table = file.size() - 4 * 40;
    file.replace(table + 40 + 20, 4, bytes("FFFFFFFF"));
    const dump_t lost = dump_files({file});
    EXPECT_NE(lost.out.find("\n\nNo abbreviation table (from .debug_abbrev)\n\n\nDebug contributions"),
              std::string::npos);
    EXPECT_EQ(lost.messages, "(666) .debug_abbrev, abbreviation table\n(660) size 0\n");

    // A name of the wrong length is none of the eleven, and a section without a name is told.
    std::string nameless = elf_file({
        small_abbrev, small_info, {".debug_inf",   "12"},
          {".debug_info2", "34"}
    });
    nameless.replace(nameless.size() - 3 * 40, 4, bytes("FF000000"));
    const dump_t skipped = dump_files({nameless});
    EXPECT_EQ(skipped.messages, "(0) Invalid ELF section header. Skipping.\n");
    EXPECT_NE(skipped.out.find("+compile unit (1)"), std::string::npos);
}

TEST(DwarfDump, PrintsStrings) {
    const elf_part_t str = {".debug_str", bytes("00 \"ab\" 00 \"open\"")};
    EXPECT_EQ(
        section_text(dump_files({elf_file({small_abbrev, small_info, str})}, {"-v"}), "String table (.debug_str):"),
        "0x00000000: \"\"\n0x00000001: \"ab\"\n0x00000004: \"open\"\n");
}

TEST(DwarfDump, PrintsAbbreviations) {
    const auto text = [](const char* hex) {
        return section_text(dump_files({
                                elf_file({small_info, {".debug_abbrev", bytes(hex)}}
                                )
        }),
                            abbrev_heading);
    };
    EXPECT_EQ(text("00 01 11 01 03 08 8140 02 00 00 00"
                   "C0BB78 8181 01 02 00 4E 00 0B 00 00"
                   "05 24 00"),
              "\n@ 0x00000001\n"
              "00001(Y): DW_TAG_compile_unit\n"
              "          DW_AT_name                     DW_FORM_string\n"
              "          ?? 0x00002001 (user-defined)   ?? 0x00000002\n"
              "\n@ 0x0000000C\n"
              "1973696(?): ?? 0x00004081 (user-defined)\n"
              "          ?? 0x00000000                  ?? 0x0000004E\n"
              "          ?? 0x00000000                  DW_FORM_data1\n"
              "\n@ 0x00000019\n"
              "00005(N): DW_TAG_base_type\n");
    // Cut inside a pair: what is missing is 0.
    EXPECT_EQ(text("01 11 00 03"), "\n@ 0x00000000\n"
                                   "00001(N): DW_TAG_compile_unit\n"
                                   "          DW_AT_name                     ?? 0x00000000\n");
}

// ---- units and DIEs

dump_t dump_info(const std::string& abbrev, const std::string& info, const std::vector<std::string>& options = {},
                 const std::string& str = "") {
    std::vector<elf_part_t> parts = {
        {".debug_abbrev", bytes(abbrev)},
        {".debug_info",   bytes(info)  }
    };
    if (!str.empty()) {
        parts.push_back({".debug_str", bytes(str)});
    }
    return dump_files({elf_file(parts)}, options);
}

TEST(DwarfInfo, PrintsEveryForm) {
    // One DIE whose attributes are all called `name`, one for each form, and three that no form has.
    const dump_t dump = dump_info(
        "01 11 00 03 01 03 03 03 04 03 05 03 06 03 07 03 08 03 09 03 0A 03 0B 03 0C 03 0C 03 0D 03 0E 03 0E 03 0F"
        "03 10 03 11 03 12 03 13 03 14 03 15 03 16 03 00 03 02 03 17 00 00 00",
        "5E000000 0200 00000000 04 01"
        "78563412"             // addr
        "0200 AAAA"            // block2
        "01000000 AA"          // block4
        "3412"                 // data2
        "FFFFFFFF"             // data4
        "0000000001000000"     // data8
        "\"a \"\"b\" 00"       // string
        "8100 AA"              // block, its length in two bytes
        "03 AAAAAA"            // block1
        "0F"                   // data1
        "00 02"                // flag
        "807F"                 // sdata
        "01000000 06000000"    // strp
        "FFFFFFFFFFFFFFFFFF01" // udata
        "00100000"             // ref_addr
        "01 0200 03000000"     // ref1, ref2, ref4
        "0400000000000000"     // ref8
        "8101"                 // ref_udata
        "16 16 0B 2A"          // indirect, twice, then data1
        ,
        {}, "00 \"text\" 00");
    EXPECT_EQ(behind(section_text(dump, info_heading), "+compile unit (1) @ 0xB (0xB)\n"),
              " name[addr] = 0x12345678\n"
              " name[block2] = 0x0002\n"
              " name[block4] = 0x00000001\n"
              " name[data2] = 0x1234\n"
              " name[data4] = 0xFFFFFFFF\n"
              " name[data8] = 0x100000000\n"
              " name[string] = \"a b\"\n"
              " name[block] = 0x0001\n"
              " name[block1] = 0x03\n"
              " name[data1] = 0x0F\n"
              " name[flag] = false\n"
              " name[flag] = true\n"
              " name[sdata] = -128\n"
              " name[strp] = \"text\"\n"
              " name[strp] = ?? Invalid string table offset: 0x00000006\n"
              " name[udata] = 18446744073709551615\n"
              " name[ref addr] = 0x00001000\n"
              " name[ref1] = 0x01\n"
              " name[ref2] = 0x0002\n"
              " name[ref4] = 0x00000003\n"
              " name[ref8] = 0x00000004\n"
              " name[ref udata] = 0x00000081\n"
              " name[indirect] = indirect: indirect: data1: 0x2A\n"
              " name[?? 0x00000000] = \n"
              " name[?? 0x00000002] = ?? Unknown form 0x2\n"
              " name[?? 0x00000017] = ?? Unknown form 0x17\n");
    EXPECT_EQ(dump.messages, "");
}

TEST(DwarfInfo, NamesValues) {
    // language, encoding, accessibility, visibility, virtuality, identifier_case, calling_convention, inline, ordering,
    // discr_value; then values without a row, and forms that give no number.
    const dump_t dump = dump_info("01 24 00 13 05 3E 0B 32 0D 17 0F 4C 06 42 0B 36 0B 20 0B 09 0B 16 0B"
                                  "13 05 3E 0B 20 0C 4C 16 3E 08 00 00 00",
                                  "1E000000 0200 00000000 04 01"
                                  "0400 05 01 03 02000000 03 02 02 01 01"
                                  "0180 7F 01 0B 01 \"x\" 00");
    EXPECT_EQ(behind(section_text(dump, info_heading), "+base type (1) @ 0xB (0xB)\n"),
              " language[data2] = C plus plus (0x0004)\n"
              " encoding[data1] = signed (0x05)\n"
              " accessibility[sdata] = public (1)\n"
              " visibility[udata] = qualified (3)\n"
              " virtuality[data4] = pure virtual (0x00000002)\n"
              " identifier case[data1] = case insensitive (0x03)\n"
              " calling convention[data1] = program (0x02)\n"
              " inline[data1] = declared not inlined (0x02)\n"
              " ordering[data1] = col major (0x01)\n"
              " discr value[data1] = range (0x01)\n"
              " language[data2] = 0x8001\n"
              " encoding[data1] = 0x7F\n"
              " inline[flag] = not inlined (true)\n"
              " virtuality[indirect] = none (data1: 0x01)\n"
              " encoding[string] = \"x\"\n");
}

TEST(DwarfInfo, AddressesHaveTheSizeOfTheUnit) {
    for (const auto& [size, text] : {std::pair("01", "0x11"), std::pair("02", "0x2211"), std::pair("04", "0x44332211"),
                                     std::pair("08", "0x8877665544332211")}) {
        const dump_t dump =
            dump_info("01 11 00 11 01 00 00 00", std::string("10000000 0200 00000000 ") + size + "01 1122334455667788");
        EXPECT_EQ(behind(section_text(dump, info_heading), " low pc[addr] = "), text + std::string("\n"));
    }
}

// Two levels of children; the root's children end the unit's tree.
constexpr const char* tree_abbrev = "01 11 01 03 08 00 00 02 2E 01 00 00 03 34 00 00 00 00";

TEST(DwarfInfo, PrintsTheTree) {
    const char* const info = "14000000 0200 00000000 04 01 \"u\" 00 02 03 03 00 02 00 03 00 00 00";
    const std::string text = "\nCompilation Unit 1 @ 0x00000000\n"
                             "size=20 ver=0x0002 abbrev offset=0x00000000, addrsize=4\n\n"
                             "+compile unit (1) @ 0xB (0xB)\n"
                             " name[string] = \"u\"\n"
                             "  +subprogram (2) @ 0xE (0xE)\n"
                             "    +variable (3) @ 0xF (0xF)\n"
                             "    +variable (3) @ 0x10 (0x10)\n";
    const dump_t dump = dump_info(tree_abbrev, info);
    EXPECT_EQ(section_text(dump, info_heading), text + "  +subprogram (2) @ 0x12 (0x12)\n"
                                                       "  +variable (3) @ 0x14 (0x14)\n");
    EXPECT_EQ(dump.messages, "");
    EXPECT_EQ(section_text(dump_info(tree_abbrev, info, {"-v", "-v", "-v", "-v"}), info_heading),
              text + "    +<NULL ENTRY>\n"
                     "  +subprogram (2) @ 0x12 (0x12)\n"
                     "    +<NULL ENTRY>\n"
                     "  +variable (3) @ 0x14 (0x14)\n"
                     "  +<NULL ENTRY>\n");
}

// A root without children has siblings, up to a null entry or the unit's end. What is left is padding.
TEST(DwarfInfo, EndsTheTreeWithTheRoot) {
    const dump_t dump = dump_info(tree_abbrev, "0B000000 0200 00000000 04 03 03 03 03" // siblings
                                               "0B000000 0200 00000000 02 03 00 00 00"
                                               "0D000000 0200 00000000 04 01 00 00 00 05 06");
    EXPECT_EQ(section_text(dump, info_heading), "\nCompilation Unit 1 @ 0x00000000\n"
                                                "size=11 ver=0x0002 abbrev offset=0x00000000, addrsize=4\n\n"
                                                "+variable (3) @ 0xB (0xB)\n"
                                                "+variable (3) @ 0xC (0xC)\n"
                                                "+variable (3) @ 0xD (0xD)\n"
                                                "+variable (3) @ 0xE (0xE)\n"
                                                "\nCompilation Unit 2 @ 0x0000000F\n"
                                                "size=11 ver=0x0002 abbrev offset=0x00000000, addrsize=2\n\n"
                                                "+variable (3) @ 0xB (0x1A)\n"
                                                "\nCompilation Unit 3 @ 0x0000001E\n"
                                                "size=13 ver=0x0002 abbrev offset=0x00000000, addrsize=4\n\n"
                                                "+compile unit (1) @ 0xB (0x29)\n"
                                                " name[string] = \"\"\n");
    EXPECT_EQ(dump.messages, "(662) at 45\n");
}

// Of equal codes the first counts; a unit's abbreviations end at a 0, and may begin anywhere.
TEST(DwarfInfo, FindsAbbreviations) {
    const dump_t dump =
        dump_info("07 24 00 00 00 07 34 00 00 00 00 08 16 00 00 00", "08000000 0200 00000000 04 07"
                                                                     "08000000 0200 05000000 04 07"
                                                                     "08000000 0200 0B000000 04 08"
                                                                     "0B000000 0200 05000000 04 08 00 09 00");
    EXPECT_NE(dump.out.find("+base type (7) @ 0xB (0xB)\n"), std::string::npos);
    EXPECT_NE(dump.out.find("+variable (7) @ 0xB (0x17)\n"), std::string::npos);
    EXPECT_NE(dump.out.find("+typedef (8) @ 0xB (0x23)\n"), std::string::npos);
    EXPECT_EQ(dump.messages, "(658) code 8\n(662) at 49\n");
}

TEST(DwarfInfo, RefusesBadUnits) {
    struct {
        const char* info;
        const char* header; // behind "Compilation Unit 1 @ 0x00000000\n"
        const char* messages;
    } const rows[] = {
        {"06000000 0200 00000000",             "",                                                           "(659) length 6\n"},
        {"0700",                               "",                                                           "(659) length 0\n"},
        {"07000000 0300 08000000 04",          "size=7 ver=0x0003 abbrev offset=0x00000008, addrsize=4\n\n", "(660) size 8\n"  },
        {"07000000 0200 00000000 03 07000000", "size=7 ver=0x0002 abbrev offset=0x00000000, addrsize=3\n\n",
         "(661) size 3\n"                                                                                                      },
        {"07000000 0200",                      "size=7 ver=0x0002 abbrev offset=0x00000000, addrsize=0\n\n", "(661) size 0\n"  },
    };
    for (const auto& row : rows) {
        const dump_t dump = dump_info("01 11 00 10 06 00 00 00", row.info);
        EXPECT_EQ(section_text(dump, info_heading), std::string("\nCompilation Unit 1 @ 0x00000000\n") + row.header);
        EXPECT_EQ(dump.messages, row.messages);
    }
}

// Reads beyond the section give 0; a unit that claims to run beyond it ends with it.
TEST(DwarfInfo, EndsWithTheSection) {
    const dump_t dump = dump_info("01 11 00 03 06 03 05 03 08 03 0D 03 0E 03 16 03 0A 00 00 00",
                                  "FFFFFFFF 0200 00000000 04 01 010203", {}, "\"s\" 00");
    EXPECT_EQ(behind(section_text(dump, info_heading), "+compile unit (1) @ 0xB (0xB)\n"),
              " name[data4] = 0x00000000\n"
              " name[data2] = 0x0000\n"
              " name[string] = \"\"\n"
              " name[sdata] = 0\n"
              " name[strp] = \"s\"\n"
              " name[indirect] = ?? 0x00000000: \n"
              " name[block1] = 0x00\n");
    EXPECT_EQ(dump.messages, "");
}

// A deep tree needs no stack, and its indentation does not fill the disk.
TEST(DwarfInfo, TakesDeepTrees) {
    constexpr size_t depth = 1000000;
    memory_files_t memory;
    memory.files["messages"] = dump_messages;
    const elf_part_t info = {".debug_info", bytes("FFFFFF00 0200 00000000 04") + std::string(depth, '\1')};
    memory.files["a.elf"] = elf_file({
        {".debug_abbrev", bytes("01 0B 01 00 00")},
        info
    });
    uint64_t printed = 0;
    host_t host = memory_host(memory);
    host.out = [&](std::string_view text) {
        printed += text.size();
        return text.size();
    };
    EXPECT_EQ(tavrel_run({"-d", "-ielf", "--edf=messages", "a.elf"}, host), 0);
    EXPECT_LT(printed, 1u << 30);
    EXPECT_NE(memory.err.find("(666) .debug_info, debug contributions (warning)"), std::string::npos);

    // Up to a depth that is thinkable nothing is cut.
    const dump_t dump = dump_info(
        "01 0B 01 00 00", "CF070000 0200 00000000 04" + [] {
            std::string codes;
            for (int k = 0; k < 1992; ++k) {
                codes += "01";
            }
            return codes;
        }());
    EXPECT_NE(dump.out.find("\n" + std::string(2 * 1991, ' ') + "+lexical block (1) @ 0x7D2 (0x7D2)\n"),
              std::string::npos);
    EXPECT_EQ(dump.messages, "");
}

// Tables of abbreviations that lie inside one another, one for each of many units.
TEST(DwarfInfo, TakesNestedAbbreviationTables) {
    std::string abbrev;
    for (int k = 0; k < 40000; ++k) {
        abbrev += std::string("\x02\x34\0\0\0", 5);
    }
    std::string info;
    for (uint32_t k = 0; k < 40000; ++k) {
        info += bytes("08000000 0200");
        const uint32_t offset = 5 * k;
        for (int shift = 0; shift < 32; shift += 8) {
            info.push_back(static_cast<char>(offset >> shift));
        }
        info += bytes("04 02");
    }
    const dump_t dump = dump_files({
        elf_file({{".debug_abbrev", abbrev}, {".debug_info", info}}
        )
    });
    EXPECT_EQ(dump.messages, "(666) .debug_info, debug contributions\n");
}

TEST(DwarfInfo, TakesAnyLengthOfNumbers) {
    const std::string number = std::string(200000, '\x81') + '\1';
    const std::string abbrev = bytes("01 11 00 10 0F 00 00 00");
    const std::string info = bytes("FFFFFF00 0200 00000000 04 01") + number;
    const dump_t dump = dump_files({
        elf_file({{".debug_abbrev", abbrev}, {".debug_info", info}}
        )
    });
    // Ones in every seventh bit, up to bit 63.
    EXPECT_EQ(behind(section_text(dump, info_heading), " stmt list[udata] = "), "9295997013522923649\n");
}

} // namespace
} // namespace tavrel
