// The image: headers, sections, symbols, program headers. Files are laid out by hand from the ELF tables.
#include "formats/elf/elf.h"

#include <gtest/gtest.h>

#include "driver/run.h"
#include "support/elf_view.h"
#include "support/run.h"

namespace tavrel::testing {
namespace {

// ---- the whole file

TEST(ElfWrite, EmptyModel) {
    const result_t result = run_program(
        {
            "e.sym", "-oelf"
    },
        {{"e.sym", "%locals\n"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(hex(result.files.at("e.elf")), hex(bytes(R"(
        7F "ELF" 01 01 01 FF  00 00 00 00 00 00 00 00
        02 00  00 00  01 00 00 00   ; executable, no machine
        00 00 00 00                 ; entry
        00 01 00 00  60 00 00 00    ; program headers, section headers
        00 00 00 00  34 00 20 00 01 00 28 00 04 00 03 00
        00                                                     ; 34: .strtab
        00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00        ; 35: .symtab
        00 ".strtab" 00 ".symtab" 00 ".shstrtab" 00            ; 45: .shstrtab
        00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00   ; 60
        00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
        01 00 00 00  03 00 00 00  00 00 00 00  00 00 00 00  34 00 00 00
        01 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
        09 00 00 00  02 00 00 00  00 00 00 00  00 00 00 00  35 00 00 00
        10 00 00 00  01 00 00 00  00 00 00 00  00 00 00 00  10 00 00 00
        11 00 00 00  03 00 00 00  00 00 00 00  00 00 00 00  45 00 00 00
        1B 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00
        06 00 00 00  00 01 00 00  00 00 00 00  00 00 00 00                ; 100
        20 00 00 00  20 00 00 00  00 00 00 00  00 00 00 00
    )")));
}

// Two blocks with a hole in `text`, none in `data`; `far` is in no space.
const char* const image_sym = "start 102 0 CODE\n"
                              "count 20 0 RAM\n"
                              "limit 5 0 ABS\n"
                              "%segments\n"
                              "text 100 10F CODE\n"
                              "data 20 23 RAM\n"
                              "tail 110 111 CODE\n"
                              "far 900 9FF ABS\n"
                              "%locals\n"
                              "start 111 0 CODE\n";
const char* const image_hex = ":04010000AABBCCDDED\n"
                              ":02010600EEFF0A\n"
                              ":020110001122BA\n"
                              ":0400000500000102F4\n" // start address 0x102
                              ":00000001FF\n";

TEST(ElfWrite, Image) {
    for (const bool big : {false, true}) {
        const elf_view_t elf =
            run_elf(big ? std::vector<std::string>{"i.sym", "i.hex", "-b"} : std::vector<std::string>{"i.sym", "i.hex"},
                    {{"i.sym", image_sym}, {"i.hex", image_hex}});
        EXPECT_EQ(elf.big_endian, big);
        // A segment's bytes end with its last block; the next one follows at once.
        EXPECT_EQ(sections_text(elf), " 0 0 0 0 0\n"
                                      "text 1 6 100 34 10\n"
                                      "data 8 3 20 3C 4\n"
                                      "tail 1 6 110 3C 2\n"
                                      ".strtab 3 0 0 3E 19\n"
                                      ".symtab 2 0 0 57 50 link 4 info 0 align 0 each 10\n"
                                      ".shstrtab 3 0 0 A7 2A\n");
        EXPECT_EQ(hex(elf.file.substr(0x34, 10)), "AA BB CC DD 00 00 EE FF 11 22 ");
        EXPECT_EQ(elf.bytes(".strtab"), std::string("\0limit\0start\0count\0start\0", 25));
        EXPECT_EQ(symbols_text(elf), "limit 5 10 00 FFF1\n"
                                     "start 102 10 00 1\n"
                                     "count 20 10 00 2\n"
                                     "start 111 00 00 3\n");
        EXPECT_EQ(programs_text(elf), "6 1E9 0 80 80\n"
                                      "1 34 100 8 10\n"
                                      "1 3C 20 0 4\n"
                                      "1 3C 110 2 2\n");
        EXPECT_EQ(elf.word(24), 0x102u);
        EXPECT_EQ(elf.file.size(), 0x1E9u + 4 * 32);
    }
}

TEST(ElfWrite, SymbolStandsInEverySectionOverIt) {
    const elf_view_t elf = run_elf(
        {
            "o.sym"
    },
        {{"o.sym", "a 104 0 CODE\n"
                   "b 10C 0 RAM\n" // the address decides, not the space
                   "c 114 0 CODE\n"
                   "%segments\n"
                   "one 100 10F CODE\n"
                   "two 108 113 CODE\n"
                   "all 0 FFFFFFFF CODE\n" // of size 0 in 32 bits
                   "end FFFFFF00 FF CODE\n"}});
    EXPECT_EQ(symbols_text(elf), "a 104 10 00 1\n"
                                 "b 10C 10 00 1\n"
                                 "b 10C 10 00 2\n");
}

// ---- the machine

TEST(ElfWrite, MachineIsFoundByWords) {
    const struct {
        const char* option;
        uint32_t machine;
    } rows[] = {
        {"-pARM7,ARM",     40 },
        {"-pMIPS",         8  }, // the first row that has the word
        {"-pzz,PIC32MX",   8  },
        {"-pdsPIC",        118},
        {"-p30F6014",      0  }, // a part's number is in no row
        {"-p33F,dsPIC30F", 118},
        {"-pzz,,ARM",      0  }, // the empty word is in every row
        {"-parm",          0  }, // case counts
        {"-pKnuth",        80 },
        {"-pST200",        100},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(run_elf(
                      {
                          "e.sym", row.option
        },
                      {{"e.sym", "%locals\n"}})
                      .half(18),
                  row.machine)
            << row.option;
    }
}

const char* const two_spaces = "a 100 0 CODE\n"
                               "%segments\n"
                               "text 100 103 CODE\n"
                               "data 40 43 RAM\n"
                               "%locals\n"
                               "m.obj\n";

TEST(ElfWrite, DspicCountsCodeInWords) {
    const files_t files = {
        {"d.sym", two_spaces                          },
        {"d.hex", ":0401000001020304F1\n:00000001FF\n"}
    };
    const elf_view_t elf = run_elf({"d.sym", "d.hex", "-p30F6014,dsPIC", "-nCODE"}, files);
    EXPECT_EQ(sections_text(elf).substr(0, 53), " 0 0 0 0 0\n"
                                                "text 1 6 80 34 4\n"
                                                "data 8 3 40 38 4\n"
                                                ".strtab ");
    EXPECT_EQ(programs_text(elf).substr(programs_text(elf).find('\n') + 1), "1 34 80 4 4\n"
                                                                            "1 38 40 0 4\n");
    EXPECT_EQ(symbols_text(elf), "a 100 10 00 1\n");
    EXPECT_EQ(elf.find(".debug_info")->type, 7u);
    EXPECT_EQ(hex(elf.file.substr(36, 4)), "05 00 00 00 ");
    // The flag is a byte and not a number; without a list of code spaces everything is data.
    const elf_view_t other = run_elf({"d.sym", "d.hex", "-p30F6014,dsPIC", "-b"}, files);
    EXPECT_EQ(hex(other.file.substr(36, 4)), "05 00 00 00 ");
    EXPECT_EQ(sections_text(other).substr(11, 18), "text 1 3 100 34 4\n");
}

TEST(ElfWrite, MipsMarksItsSymbolsAndDebugSections) {
    const elf_view_t elf = run_elf(
        {
            "m.sym", "-p32MX360F512L,PIC32MX"
    },
        {{"m.sym", "a 100 0 CODE\n"
                   "b 200 0 CODE\n"
                   "c 300 0 CODE\n"
                   "__Lm16 100 0 ABS\n"
                   "__Hm16 1FF 0 ABS\n"
                   "__Im16 1 0 ABS\n"
                   "__Lm32 200 0 ABS\n"
                   "__Hm32 2FF 0 ABS\n"
                   "__Im32 2 0 ABS\n"
                   "%segments\n"
                   "text 100 3FF CODE\n"
                   "%locals\n"
                   "m.obj\n"}});
    EXPECT_EQ(symbols_text(elf), "a 100 10 F0 1\n"
                                 "b 200 10 00 1\n"
                                 "c 300 10 00 1\n");
    EXPECT_EQ(elf.find("text")->flags, 3u); // no bytes, so it counts as data
    for (const char* const name : {".debug_abbrev", ".debug_info", ".debug_line"}) {
        EXPECT_EQ(elf.find(name)->type, 0x7000001Eu);
    }
    EXPECT_EQ(elf.half(48), 8u); // 4 and the segment's and these three
}

// ---- what the tree knows of a symbol

TEST(ElfWrite, SymbolTypesComeFromTheTree) {
    const elf_view_t elf = run_elf(
        {
            "t.sym", "-pARM7,ARM"
    },
        {{"t.sym", "_main 10 0 CODE\n"
                   "_count 11 0 CODE\n"
                   "_arg 12 0 CODE\n"
                   "_here 13 0 CODE\n"
                   "_in_r0 14 0 CODE\n"
                   "word_t 15 0 CODE\n"
                   "t.obj 16 0 CODE\n" // read as an object's name
                   "_other 17 0 CODE\n"
                   "%segments\n"
                   "text 10 1F CODE\n"
                   "%locals\n"
                   "t.obj\n"},
         {"t.sdb", "[p ARMV4T ]\n"
                   "\"1 t.c\n"
                   "[v word_t `ui 1 t 0 ]\n"
                   "[v _main `(i 1 e 0 0 ]\n"
                   "{ [v _arg `i 1 p 4 0 ] [v _here `i 1 a 4 0 ]\n"
                   "  [v _in_r0 `i 1 r 4 r0 ] }\n"
                   "[v _count `i 1 s 4 0 ]\n"}});
    EXPECT_EQ(symbols_text(elf), "_main 10 12 00 1\n"
                                 "_count 11 11 00 1\n"
                                 "_arg 12 11 00 1\n"
                                 "_here 13 11 00 1\n"
                                 "_in_r0 14 10 00 1\n"
                                 "word_t 15 10 00 1\n"
                                 "_other 17 10 00 1\n");
}

// ---- behind other outputs of the same run

elf_view_t run_elf_behind(const std::string& output, std::vector<std::string> args, const files_t& files) {
    args.push_back(output);
    return run_elf(std::move(args), files);
}

TEST(ElfWrite, FindsWhatEarlierOutputsLeave) {
    // COD settles which spaces hold code, where -n did not.
    const files_t dspic = {
        {"d.sym", two_spaces                          },
        {"d.hex", ":0401000001020304F1\n:00000001FF\n"}
    };
    const elf_view_t halved = run_elf_behind("-ocod", {"d.sym", "d.hex", "-p30F6014,dsPIC"}, dspic);
    EXPECT_EQ(sections_text(halved).substr(11, 17), "text 1 6 80 34 4\n");
    // COFF is always little-endian and does not turn back to what -b said.
    EXPECT_TRUE(run_elf({"d.sym", "d.hex", "-pARM7", "-b"}, dspic).big_endian);
    EXPECT_FALSE(run_elf_behind("-omcoff", {"d.sym", "d.hex", "-p16F877,877", "-nCODE", "-b"}, dspic).big_endian);
    // On PIC the place of a local is sought by a name made for it, which stays: now the symbol is known to the tree.
    const files_t pic = {
        {"p.sym", "_f 10 0 CODE\nf@a 11 0 CODE\n%segments\ntext 10 1F CODE\n%locals\np.obj\n"},
        {"p.sdb", "[p ]\n\"1 p.c\n[v _f `(v 1 e 0 0 ]\n{ [v _a `i 1 a 2 0 ] }\n"             }
    };
    EXPECT_EQ(symbols_text(run_elf({"p.sym", "-p16F877"}, pic)), "_f 10 12 00 1\nf@a 11 10 00 1\n");
    EXPECT_EQ(symbols_text(run_elf_behind("-ocod", {"p.sym", "-p16F877"}, pic)), "_f 10 12 00 1\nf@a 11 11 00 1\n");
}

// ---- failures

TEST(ElfWrite, TellsWhichPartOfTheFileIsLost) {
    memory_files_t memory;
    memory.files = {
        {"d.sym", two_spaces                            },
        {"m.txt", "413 e lost %s\n621 e lost %s of %s\n"}
    };
    size_t room = 0;
    host_t host = memory_host(memory);
    host.create_file = [&](const std::string&, int&) {
        return sink_t([&](std::string_view bytes) { return std::min(room, bytes.size()); });
    };
    const elf_view_t whole = run_elf({"d.sym", "-pARM7"}, memory.files);
    const struct {
        const char* section;
        const char* message;
    } rows[] = {
        {".symtab",       "lost d.elf"                 },
        {".debug_abbrev", "lost .debug_abbrev of d.elf"},
        {".debug_line",   "lost .debug_line of d.elf"  },
        {".shstrtab",     "lost d.elf"                 },
    };
    for (const auto& row : rows) {
        room = whole.find(row.section)->offset;
        memory.err.clear();
        EXPECT_EQ(tavrel_run({"--edf=m.txt", "d.sym", "-pARM7", "-oelf"}, host), 1);
        EXPECT_NE(memory.err.find(row.message), std::string::npos) << row.section << ": " << memory.err;
    }
}

// Blocks and symbols that the format would spread over gigabytes.
TEST(ElfWrite, RefusesToFillTheMemory) {
    std::string messages;
    run_elf(
        {
            "h.sym", "h.s19"
    },
        {
            {"h.sym", "%segments\ntext 0 FFFFFFFE CODE\n%locals\n"},
            {"h.s19", "S30600000000019EFF\nS306FFFFFF0001FFF7\nS70500000000FA\n"},
        },
        &messages);
    EXPECT_NE(messages.find("(413)"), std::string::npos) << messages;

    std::string sym;
    for (int k = 0; k < 3000; ++k) {
        sym += format_text("%s%d 1 0 CODE\n", std::string(100, 'x'), k);
    }
    sym += "%segments\n";
    for (int k = 0; k < 3000; ++k) {
        sym += format_text("s%d 0 FF CODE\n", k);
    }
    const elf_view_t elf = run_elf(
        {
            "h.sym"
    },
        {{"h.sym", sym}}, &messages);
    EXPECT_NE(messages.find("(413)"), std::string::npos) << messages;
    EXPECT_EQ(elf.half(48), 3000u + 4);
    EXPECT_LT(elf.file.size(), 100000000u);
}

} // namespace
} // namespace tavrel::testing
