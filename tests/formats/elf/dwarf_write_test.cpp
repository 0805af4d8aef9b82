// Units, types, variables and functions as DIEs. The texts are told in support/elf_view.h; the first test spells the
// bytes out.
#include <gtest/gtest.h>

#include "support/elf_view.h"
#include "support/run.h"

namespace tavrel::testing {
namespace {

// The DIEs of one module, m.sdb, behind the unit's own; `symbols` are lines of the symbol file.
std::string module_dies(const std::string& processor, const std::string& symbols, const std::string& sdb,
                        std::string* messages = nullptr) {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-p" + processor
    },
        {{"m.sym", symbols + "%locals\nm.obj\n"}, {"m.sdb", "[p ]\n" + sdb}}, messages);
    const std::string text = dies_text(elf);
    return text.substr(text.find('\n') + 1);
}

// ---- bytes

const files_t small_module = {
    {"m.sym", "_n 20 0 RAM\n%locals\nm.obj\n"                       },
    {"m.sdb", "[p ]\n\"7 m.c\n[v _n `Vi 1 e 4 0 ]\n[v t `*v 1 t 0 ]"},
};

TEST(DwarfWrite, Bytes) {
    const elf_view_t little = run_elf({"m.sym", "-pARM7"}, small_module);
    EXPECT_EQ(hex(little.bytes(".debug_abbrev")), hex(bytes(R"(
        01 11 01  10 06  25 08  13 05  03 08  11 01  12 01  00 00   ; unit
        02 24 00  03 08  0B 0B  3E 0B  00 00                        ; base type
        03 35 00  49 13  00 00                                      ; volatile
        04 34 00  03 08  3A 0B  3B 05  49 13  3F 0C  02 0A  00 00   ; external variable
        05 0F 00  0B 0B  00 00                                      ; pointer to void
        06 16 00  03 08  3A 0B  3B 05  49 13  00 00                 ; typedef
        00)")));
    EXPECT_EQ(hex(little.bytes(".debug_info")), hex(bytes(R"(
        61 00 00 00  02 00  00 00 00 00  04
        01  00 00 00 00  "Tavrel - Norvane Software" 00  01 00  "m.obj" 00  FF FF FF FF  00 00 00 00
        02  "int" 00  04  05                                        ; 3A
        03  3A 00 00 00                                             ; 41
        04  "_n" 00  01  07 00  41 00 00 00  01  05  03  20 00 00 00
        05  04                                                      ; 58
        06  "t" 00  01  07 00  58 00 00 00
        00)")));
    const elf_view_t big = run_elf({"m.sym", "-pARM7", "-b"}, small_module);
    EXPECT_EQ(hex(big.bytes(".debug_abbrev")), hex(little.bytes(".debug_abbrev")));
    EXPECT_EQ(hex(big.bytes(".debug_info")), hex(bytes(R"(
        00 00 00 61  00 02  00 00 00 00  04
        01  00 00 00 00  "Tavrel - Norvane Software" 00  00 01  "m.obj" 00  FF FF FF FF  00 00 00 00
        02  "int" 00  04  05
        03  00 00 00 3A
        04  "_n" 00  01  00 07  00 00 00 41  01  05  03  00 00 00 20
        05  04
        06  "t" 00  01  00 07  00 00 00 58
        00)")));
}

// ---- units

TEST(DwarfWrite, EachModuleIsAUnitWithTypesOfItsOwn) {
    const elf_view_t elf = run_elf(
        {
            "u.sym", "-pARM7"
    },
        {{"u.sym", "_a 20 0 RAM\n"
                   "_b 24 0 RAM\n"
                   "%locals\n"
                   "a.obj\n"
                   "start.obj\n"
                   "start.as\n"
                   "b.obj\n"
                   "empty.obj\n"},
         {"a.sdb", "[p ]\n\"1 a.c\n[v _a `i 1 e 4 0 ]\n"},
         {"b.sdb", "[p ]\n\"2 b.c\n[v _b `i 1 e 4 0 ]\n"},
         {"empty.sdb", "[p ]\n"}});
    const std::string unit = " producer=Tavrel - Norvane Software language=";
    const std::string no_code = " low_pc=FFFFFFFF high_pc=0\n";
    const std::string first_line = "1 unit stmt_list=0" + unit + "1 name=a.obj" + no_code;
    std::string text = dies_text(elf);
    EXPECT_EQ(text.substr(0, first_line.size()), first_line);
    // The line programs' headers take 4 + 2 + 4 + 14 bytes, 1 for the directories, 7 for "a.c" and 1 behind the files;
    // start.as is a byte longer twice over.
    EXPECT_EQ(text, first_line +
                        "  2 base name=int size=4 encoding=5\n"
                        "  3 variable name=_a file=1 line=1 type=#2 external=1 location=0320000000\n"
                        "1 unit stmt_list=33" +
                        unit + "32769 name=start.obj" + no_code + "1 unit stmt_list=71" + unit + "1 name=b.obj" +
                        no_code +
                        "  2 base name=int size=4 encoding=5\n"
                        "  3 variable name=_b file=1 line=2 type=#2 external=1 location=0324000000\n"
                        "1 unit stmt_list=104" +
                        unit + "1 name=empty.obj" + no_code);
    // A unit of one member is a leaf: no children and no end of them.
    EXPECT_EQ(hex(elf.bytes(".debug_abbrev")).substr(0, 9), "01 11 01 ");
    EXPECT_NE(elf.bytes(".debug_abbrev").find(bytes("11 00 10 06")), std::string::npos);
    EXPECT_EQ(elf.bytes(".debug_info").back(), '\0'); // of high_pc
}

TEST(DwarfWrite, NoTreeNoDebugSections) {
    const elf_view_t elf = run_elf(
        {
            "a.sym"
    },
        {{"a.sym", "a 1 0 CODE\n"}});
    EXPECT_EQ(elf.find(".debug_info"), nullptr);
    EXPECT_EQ(elf.half(48), 4u);
}

TEST(DwarfWrite, AddressSizeFollowsTheMachine) {
    const struct {
        const char* processor;
        const char* variable;
    } rows[] = {
        {"16F877",  "location=0345 size=1"      },
        {"18F452",  "location=034523 size=2"    },
        {"30F6014", "location=034523 size=2"    },
        {"32MX360", "location=0345230100 size=4"},
        {"8051",    "location=034523 size=2"    },
        {"ARM7",    "location=0345230100 size=4"},
        {"HT48R50", "location=0345 size=1"      },
    };
    for (const auto& row : rows) {
        const std::string text =
            module_dies(row.processor, "_n 12345 0 RAM\n", "[v _n `*c 1 e 4 0 ]\n[v _m `*c 1 t 0 ]");
        const size_t at = text.find("location=");
        const size_t size = text.find("pointer type=#2 ");
        ASSERT_NE(size, std::string::npos) << text;
        EXPECT_EQ(text.substr(at, text.find('\n', at) - at) + text.substr(size + 15, 7), row.variable) << text;
    }
}

// ---- types

TEST(DwarfWrite, BaseTypes) {
    std::string sdb;
    for (const char* const key : {"c", "s", "i", "m", "l", "uc", "us", "ui", "um", "ul", "f", "d", "x", "ux", "b"}) {
        sdb += format_text("[v t `%s 1 t 0 ]\n", key);
    }
    std::string bases;
    const std::string text = module_dies("18F452", "", sdb);
    for (size_t at = text.find("base"); at != std::string::npos; at = text.find("base", at + 1)) {
        bases += text.substr(at + 5, text.find('\n', at) - at - 4);
    }
    EXPECT_EQ(bases, "name=char size=1 encoding=6\n"
                     "name=short int size=2 encoding=5\n"
                     "name=int size=2 encoding=5\n"
                     "name=short long int size=3 encoding=5\n"
                     "name=long int size=4 encoding=5\n"
                     "name=unsigned char size=1 encoding=8\n"
                     "name=short unsigned int size=2 encoding=7\n"
                     "name=unsigned int size=2 encoding=7\n"
                     "name=short long unsigned int size=3 encoding=7\n"
                     "name=long unsigned int size=4 encoding=7\n"
                     "name=float size=3 encoding=4\n"
                     "name=double size=4 encoding=4\n"
                     "name=x size=2 encoding=5\n"
                     "name=ux size=2 encoding=7\n"
                     "name=b size=0 encoding=2\n");
}

// One typedef t of each type.
TEST(DwarfWrite, TypesBuiltOnOthers) {
    const struct {
        const char* type;
        const char* dies;
    } rows[] = {
        {"*v",          "2 pointer size=4|3 typedef type=#2"                                                     },
        {"**c",         "2 base char|3 pointer type=#2 size=4|4 pointer type=#3 size=4|5 typedef type=#4"        },
        {"(i",          "2 base int|3 subroutine_type type=#2|4 typedef type=#3"                                 },
        {"*(v",         "2 subroutine_type|3 pointer type=#2 size=4|4 typedef type=#3"                           },
 // All dimensions are one array, the outermost first; those behind a pointer are another.
        {"[2][3]c",     "2 base char|3 array type=#2|  4 subrange upper=1|  5 subrange upper=2|6 typedef type=#3"},
        {"[2][3]*[4]c", "2 base char|3 array type=#2|  4 subrange upper=3|5 pointer type=#3 size=4|6 array type=#5|"
                        "  7 subrange upper=1|  8 subrange upper=2|9 typedef type=#6"     },
        {"[0]c",        "2 base char|3 array type=#2|  4 subrange upper=-1|5 typedef type=#3"                    },
 // Of the qualifiers only volatile is told here; the rest shares the DIE inside.
        {"Vc",          "2 base char|3 volatile type=#2|4 typedef type=#3"                                       },
        {"*VCc",        "2 base char|3 volatile type=#2|4 pointer type=#3 size=4|5 typedef type=#4"              },
        {"*Cc",         "2 base char|3 pointer type=#2 size=4|4 typedef type=#3"                                 },
        {"*Cv",         "2 pointer size=4|3 typedef type=#2"                                                     },
        {"*V",          "2 pointer size=4|3 typedef type=#2"                                                     },
 // No types, and nothing but the warning.
        {"v",           ""                                                                                       },
        {"Vv",          ""                                                                                       },
        {"[3]v",        ""                                                                                       },
        {"[3]V[2]v",    ""                                                                                       },
    };
    for (const auto& row : rows) {
        std::string messages;
        std::string text = module_dies("ARM7", "", format_text("\"9 m.c\n[v t `%s 1 t 0 ]\n", row.type), &messages);
        for (const char* const noise : {" name=t file=1 line=9", " size=1 encoding=6", " size=4 encoding=5", "name="}) {
            if (const size_t at = text.find(noise); at != std::string::npos) {
                text.erase(at, std::string(noise).size());
            }
        }
        std::string dies;
        for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
            dies += (dies.empty() ? "" : "|") + text.substr(at + 2, text.find('\n', at) - at - 2);
        }
        EXPECT_EQ(dies, row.dies) << row.type;
        EXPECT_EQ(messages.find("DWARF: Couldn't find type for 't' (warning)") != std::string::npos,
                  std::string(row.dies).empty())
            << row.type << messages;
    }
}

TEST(DwarfWrite, ConstIsToldWhereItsFlagIs) {
    const std::string sdb = "[v t `VDi 1 t 0 ]\n[v u `Di 1 t 0 ]";
    EXPECT_EQ(module_dies("18F452", "", sdb), "  2 base name=int size=2 encoding=5\n"
                                              "  3 const type=#2\n"
                                              "  4 volatile type=#3\n"
                                              "  5 typedef name=t file=0 line=0 type=#4\n"
                                              "  6 const type=#2\n"
                                              "  7 typedef name=u file=0 line=0 type=#6\n");
    EXPECT_EQ(module_dies("30F6014", "", sdb), "  2 base name=int size=2 encoding=5\n"
                                               "  3 volatile type=#2\n"
                                               "  4 typedef name=t file=0 line=0 type=#3\n"
                                               "  5 typedef name=u file=0 line=0 type=#2\n");
}

TEST(DwarfWrite, StructuresUnionsEnumerations) {
    EXPECT_EQ(module_dies("ARM7", "",
                          "\"3 m.c\n"
                          "[e E1 color `uc RED 0 BLUE -2 ]\n"
                          "[e E2 . ]\n"
                          "[s S3 pair 300 `i a 4 0 `v nothing 0 4 `uc b 1 200 `us bits 2 6 :4:3 ]\n"
                          "[u S4 . 4 `E1 c 1 0 `S3 . 4 0 `ui low 4 0 :1:7 ]\n"
                          "[s S5 unused 4 `i a 4 0 ]\n"
                          "[v t `S4 1 t 0 ]"),
              // Enumerations are told also where nothing uses them, structures are not.
              "  2 enumeration name=color size=1\n"
              "    3 enumerator name=RED value=0\n"
              "    4 enumerator name=BLUE value=-2\n"
              "  5 enumeration size=0\n"
              // A member's type is in front of the structure that is the first to need it.
              "  6 base name=int size=4 encoding=5\n"
              "  7 base name=unsigned char size=1 encoding=8\n"
              "  8 base name=short unsigned int size=2 encoding=7\n"
              "  9 struct name=pair size=44 file=1 line=3\n"
              "    10 member name=a type=#6 at=2300\n"
              "    11 member name=b type=#7 at=23C801\n"
              "    12 member name=bits type=#8 size=2 bits=4 bit_offset=12 at=2306\n"
              "  13 base name=unsigned int size=4 encoding=7\n"
              "  14 union size=4 file=1 line=3\n"
              "    15 member name=c type=#2\n"
              "    16 member name= type=#9\n"
              "    17 member name=low type=#13 size=4 bits=1 bit_offset=24\n"
              "  18 typedef name=t file=1 line=3 type=#14\n");
}

TEST(DwarfWrite, StructuresThatLeadBackToThemselves) {
    const struct {
        const char* sdb;
        const char* dies;
    } rows[] = {
  // A pointer that is asked for while it is itself on the way lands twice, the outer one last.
        {"[s S1 node 4 `*S1 next 4 0 ]\n[v t `*S1 1 t 0 ]",
         "2 pointer type=#3 size=4|3 struct name=node size=4|  4 member name=next type=#2 at=2300|"
         "5 pointer type=#3 size=4|6 typedef name=t type=#5"                                             },
        {"[s S1 node 4 `*VS1 next 4 0 ]\n[v t `S1 1 t 0 ]",
         "2 volatile type=#4|3 pointer type=#2 size=4|4 struct name=node size=4|  5 member name=next type=#3 at=2300|"
         "6 typedef name=t type=#4"                                                                      },
 // A qualifier without a DIE takes the structure's place when that has one.
        {"[s S1 node 8 `*CS1 a 4 0 `[2]CS1 b 4 4 ]\n[v t `CS1 1 t 0 ]",
         "2 pointer type=#5 size=4|3 array type=#5|  4 subrange upper=1|5 struct name=node size=8|"
         "  6 member name=a type=#2 at=2300|  7 member name=b type=#3 at=2304|8 typedef name=t type=#5"  },
 // The inner structure refers to the outer one by pointer and, what no compiler leaves, by value.
        {"[s S1 outer 8 `S2 in 4 0 `(S1 f 4 4 ]\n[s S2 inner 4 `*S1 up 4 0 `S1 all 4 0 ]\n[v t `S1 1 t 0 ]",
         "2 pointer type=#7 size=4|3 struct name=inner size=4|  4 member name=up type=#2 at=2300|"
         "  5 member name=all type=#7 at=2300|6 subroutine_type type=#7|7 struct name=outer size=8|"
         "  8 member name=in type=#3 at=2300|  9 member name=f type=#6 at=2304|10 typedef name=t type=#7"},
        {"[s S1 self 4 `S1 me 4 0 ]\n[v t `S1 1 t 0 ]",
         "2 struct name=self size=4|  3 member name=me type=#2 at=2300|4 typedef name=t type=#2"         },
    };
    for (const auto& row : rows) {
        for (const char* const order : {"-b", "-v"}) {
            const elf_view_t elf = run_elf(
                {
                    "m.sym", "-pARM7", order
            },
                {{"m.sym", "%locals\nm.obj\n"}, {"m.sdb", "[p ]\n" + std::string(row.sdb)}});
            std::string text = dies_text(elf);
            text.erase(0, text.find('\n') + 1);
            for (size_t at = 0; (at = text.find(" file=0 line=0")) != std::string::npos;) {
                text.erase(at, 14);
            }
            std::string dies;
            for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
                dies += (dies.empty() ? "" : "|") + text.substr(at + 2, text.find('\n', at) - at - 2);
            }
            EXPECT_EQ(dies, row.dies) << row.sdb;
        }
    }
}

TEST(DwarfWrite, LongKeysAreOneType) {
    // 63 characters of "*" are all that tells these apart.
    const std::string stars(64, '*');
    const std::string text = module_dies("ARM7", "", "[v t `" + stars + "c 1 t 0 ]\n[v u `*" + stars + "i 1 t 0 ]");
    EXPECT_NE(text.find("66 pointer type=#65 size=4\n  67 typedef name=t file=0 line=0 type=#66\n"
                        "  68 typedef name=u file=0 line=0 type=#66\n"),
              std::string::npos)
        << text;
}

// ---- variables and functions

TEST(DwarfWrite, VariablesAndWhereTheyAre) {
    std::string messages;
    EXPECT_EQ(module_dies("ARM7",
                          "_ext 20 0 RAM\n_sta 24 0 RAM\nF7 28 0 RAM\n?a_f 1000 0 RAM\n?_f 2000 0 RAM\n_f 100 0 CODE\n"
                          "_nothing 30 0 RAM\n",
                          "\"70000 m.c\n"
                          "[v _ext `i 1 e 4 0 ]\n"
                          "[v _sta `i 1 s 4 0 ]\n"
                          "[v _gone `i 1 e 4 0 ]\n"
                          "[v _nothing `v 1 e 4 0 ]\n"
                          "[v _proto `(v 1 e 0 0 ]\n"
                          "[v _f `(v 1 s 0 0 ]\n"
                          "{\n"
                          "[v _a `i 1 a 4 16 ]\n"
                          "[v _p `i 1 p 4 -8 ]\n"
                          "[v _r `i 1 r 4 r13 ]\n"
                          "{ [v _in `i 1 a 4 20 ] }\n"
                          "[v F7 `i 1 s 4 count ]\n"
                          "}\n"
                          "4096 0 0 0\n",
                          &messages),
              "  2 base name=int size=4 encoding=5\n"
              "  3 variable name=_ext file=1 line=4464 type=#2 external=1 location=0320000000\n"
              "  4 variable name=_sta file=1 line=4464 type=#2 location=0324000000\n"
              "  5 subprogram name=_f external=0 file=1 line=70000 low_pc=100 high_pc=101 frame_base=6D\n"
              "    6 variable name=_a file=1 line=4464 type=#2 location=9110\n"    // 1000 + 10 - 1000
              "    7 parameter name=_p file=1 line=4464 type=#2 location=91F81F\n" // 2000 - 8 - 1000
              "    8 variable name=_r file=1 line=4464 type=#2 location=900D\n"
              "    9 variable name=_in file=1 line=4464 type=#2 location=9114\n" // blocks leave no trace
              "    10 variable name=_count file=1 line=4464 type=#2 location=0328000000\n");
    EXPECT_EQ(messages, "m.sym: (0) DWARF: Can't find variable location: '_gone' (warning)\n"
                        "m.sym: (0) DWARF: Couldn't find type for '_nothing' (warning)\n"
                        "m.sym: (0) DWARF: Can't find variable location: '_proto' (warning)\n");
}

TEST(DwarfWrite, FrameOffsetsByMachine) {
    const std::string symbols =
        "_f 100 0 CODE\n?a_f 50 0 RAM\n?_f 60 0 RAM\n??_f 70 0 RAM\nf@a 80 0 RAM\nf@p 90 0 RAM\n";
    const std::string sdb = "[v _f `(v 1 s 0 0 ]\n{ [v _a `c 1 a 1 4 ] [v _p `c 1 p 1 2 ] }\n16 8 0 4\n";
    const struct {
        const char* processor;
        const char* where; // of the auto and the parameter
    } rows[] = {
        {"16F877",  "f@a 91F000, f@p 918001"          }, // 80 - 10 and 90 - 10
        {"18F452",  "_a 91C400, _p 91D200"            }, // 50 + 4 - 10 and 60 + 2 - 10
        {"30F6014", "_a 91F4FFFFFF0F, _p 91F2FFFFFF0F"}, // 4 - 10 and 2 - 10, in 32 bits
        {"32MX360", "_a 91F4FFFFFF0F, _p 91F2FFFFFF0F"},
        {"8051",    "_a 91C400, _p 91D200"            },
        {"ARM7",    "_a 91C400, _p 91D200"            },
        {"HT48R50", "_a 91E400, _p 91D200"            }, // 70 + 4 - 10
    };
    for (const auto& row : rows) {
        const std::string text = module_dies(row.processor, symbols, sdb);
        std::string where;
        for (const char* const kind : {"variable name=", "parameter name="}) {
            const size_t at = text.find(kind) + std::string(kind).size();
            const size_t location = text.find("location=", at) + 9;
            where += (where.empty() ? "" : ", ") + text.substr(at, text.find(' ', at) - at) + " " +
                     text.substr(location, text.find('\n', location) - location);
        }
        EXPECT_EQ(where, row.where) << row.processor << "\n" << text;
    }
}

TEST(DwarfWrite, Functions) {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-pARM7"
    },
        {{"m.sym", "_f 100 0 CODE\n"
                   "__end_of_f 123 0 CODE\n"
                   "_g 200 0 CODE\n"
                   "_top FFFFFFFF 0 CODE\n"
                   "%locals\n"
                   "m.obj\n"},
         {"m.sdb", "[p ]\n\"5 m.c\n"
                   "[v _f `(i 1 e 0 0 ]\n{ }\n0 0 0 0\n"
                   "[v _g `(Cv 1 s 0 0 ]\n{ { } }\n"
                   "[v _top `C(*c 1 e 0 0 ]\n{ }\n"
                   "{ }\n"}});
    // _g holds a block, which is no DIE, but has the shape of a parent.
    EXPECT_EQ(dies_text(elf), "1 unit stmt_list=0 producer=Tavrel - Norvane Software language=1 name=m.obj low_pc=100 "
                              "high_pc=0\n"
                              "  2 base name=int size=4 encoding=5\n"
                              "  3 subprogram name=_f type=#2 external=1 file=1 line=5 low_pc=100 high_pc=123 "
                              "frame_base=6D\n"
                              "  4 subprogram name=_g external=0 file=1 line=5 low_pc=200 high_pc=201 frame_base=6D\n"
                              // The part behind the outermost one is what a function gives.
                              "  5 base name=char size=1 encoding=6\n"
                              "  6 pointer type=#5 size=4\n"
                              "  7 subroutine_type type=#6\n"
                              "  8 subprogram name=_top type=#7 external=1 file=1 line=5 low_pc=FFFFFFFF high_pc=0 "
                              "frame_base=6D\n");
}

TEST(DwarfWrite, UnknownFunctionStartsAtZero) {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-pARM7"
    },
        {{"m.sym", "_far 500 0 CODE\n%locals\nm.obj\n"},
         {"m.sdb", "[p ]\n\"5 m.c\n[v _no `(v 1 e 0 0 ]\n{ }\n[v _far `(v 1 e 0 0 ]\n{ }"}});
    const std::string text = dies_text(elf);
    EXPECT_NE(text.find("name=m.obj low_pc=0 high_pc=501\n"), std::string::npos) << text;
    EXPECT_NE(text.find("name=_no external=1 file=1 line=5 low_pc=0 high_pc=1 "), std::string::npos) << text;
}

TEST(DwarfWrite, FilesAndDirectories) {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-pARM7"
    },
        {{"m.sym", "%locals\nm.obj\n"},
         {"m.sdb", "[p ]\n"
                   "\"1 src/a.c\n[e E1 a ]\n[v ta `i 1 t 0 ]\n"
                   "\"1 inc\\x/b.h\n[v tb `i 1 t 0 ]\n" // the backslash comes first
                   "\"1 C:c.h\n[v tc `i 1 t 0 ]\n"
                   "\"1 other/a.c\n[v td `i 1 t 0 ]\n" // known by its base name
                   "\"1 src/e.h\n[v te `i 1 t 0 ]\n"
                   "\"1 /f.h\n[v tf `i 1 t 0 ]\n"
                   "\"1 m.obj\n[v tg `i 1 t 0 ]\n"}}); // the module itself
    EXPECT_EQ(lines_text(elf), "dirs src inc C, files a.c:1 x/b.h:2 c.h:3 e.h:1 f.h:0\n");
    std::string files;
    const std::string text = dies_text(elf);
    for (size_t at = text.find("typedef"); at != std::string::npos; at = text.find("typedef", at + 1)) {
        files += text.substr(text.find("file=", at) + 5, 2);
    }
    EXPECT_EQ(files, "1 2 3 1 4 5 0 ");
}

// ---- limits

TEST(DwarfWrite, LongDiesAreCut) {
    std::string enumerators;
    for (int k = 0; k < 300; ++k) {
        enumerators += format_text(" value_%d %d", k, k);
    }
    std::string messages;
    const files_t files = {
        {"m.sym", "%locals\nm.obj\n"                              },
        {"m.sdb", "[p ]\n\"1 m.c\n[e E1 many" + enumerators + " ]"}
    };
    const elf_view_t elf = run_elf({"m.sym", "-pARM7"}, files, &messages);
    EXPECT_EQ(messages, "m.sym: (0) DWARF: Buffer overflow in DIE.\n");
    const std::string info = elf.bytes(".debug_info");
    // Unit header and DIE, the piece, the end of the unit's children.
    const size_t unit = 11 + 1 + 4 + 26 + 2 + 6 + 8;
    ASSERT_EQ(info.size(), unit + 2048 + 1);
    // 1 + 4 + "many" + 1, then 300 times the code, the name (8, 9 or 10 and a NUL) and the value; a zero byte.
    const uint32_t whole = 11 + 300 * (1 + 4 + 1) + 10 * 7 + 90 * 8 + 200 * 9 + 1;
    EXPECT_EQ(elf.word(elf.find(".debug_info")->offset + unit + 1), unit + whole);
}

TEST(DwarfWrite, ChainsOfThousands) {
    // Each structure holds the next one by value and the one before by pointer; the last one is 16000 pointers away.
    std::string sdb;
    const int count = 5000;
    for (int k = 0; k < count; ++k) {
        sdb += format_text("[s S%d s%d 4 `%s%d a 4 0 `*S%d b 4 0 ]\n", k, k, k + 1 < count ? "S" : "[2]V*S",
                           k + 1 < count ? k + 1 : 0, k > 0 ? k - 1 : 0);
    }
    std::string messages;
    const std::string text =
        module_dies("ARM7", "", sdb + "[v t `S0 1 t 0 ]\n[v p `" + std::string(16000, '*') + "S0 1 t 0 ]\n", &messages);
    EXPECT_EQ(messages, "");
    EXPECT_EQ(text.find('?'), std::string::npos);
    EXPECT_NE(text.find("struct name=s4999"), std::string::npos);
    EXPECT_NE(text.find("typedef name=p"), std::string::npos);
    // A type that comes to nothing at its far end, asked for again and again.
    std::string nothing = "[v t `";
    for (int k = 0; k < 8000; ++k) {
        nothing += "[1]V";
    }
    nothing += "v 1 t 0 ]\n";
    std::string fields;
    for (int k = 0; k < 5000; ++k) {
        fields += " `[2]t f 1 0";
    }
    const std::string other =
        module_dies("ARM7", "", nothing + "[s S1 a 4" + fields + " ]\n[v u `S1 1 t 0 ]\n", &messages);
    EXPECT_NE(other.find("struct name=a"), std::string::npos);
    EXPECT_EQ(other.find("array"), std::string::npos);
}

} // namespace
} // namespace tavrel::testing
