// Microchip COFF as an input: probe, reader and dump.
#include <gtest/gtest.h>

#include "formats/coff/coff_samples.h"

namespace tavrel::testing {
namespace {

result_t read_mcoff(const std::string& file) { return run_coff({"-v", "-v", "-imcoff", "-os19"}, file); }
std::string dump_mcoff(const std::string& file) { return run_coff({"-d", "-v", "-v", "-imcoff"}, file).out; }

// A file of one section `s` without data and the symbols given, 20 bytes a record; string table behind them.
std::string with_symbols(const std::string& symbols, const std::string& strings = "") {
    return bytes("40 12  01 00  00000000") + le32(78) + le32(static_cast<uint32_t>(symbols.size() / 20)) +
           bytes(R"(12 00 02 00  88 13 4D7B0100 00000000 08000000 08000000
                    "s" 00000000000000 00000000 00000000 00000000
                    00000000 00000000 00000000 0000 0000 80000000)") +
           symbols + le32(static_cast<uint32_t>(strings.size()) + 4) + strings;
}

std::string symbol(const std::string& name, uint32_t value, uint32_t scnum, uint32_t type, uint32_t sclass,
                   uint32_t numaux) {
    return field(name) + le32(value) + le16(scnum) + le32(type) + static_cast<char>(sclass) + static_cast<char>(numaux);
}

// tag 7, line 258, size 10, dimensions 1 to 4, of which the last two are also the end index 0x40003.
const std::string full_aux = bytes("07000000 0201 0A00 0100 0200 0300 0400 00000000");

TEST(McoffDump, PrintsAsMuchAsVerboseAsks) {
    const sample_t sample = mcoff_sample();
    EXPECT_EQ(run_coff({"-d"}, sample.file).out, sample.plain_dump);
    EXPECT_EQ(run_coff({"-d", "-v"}, sample.file).out, sample.dump);
    EXPECT_EQ(run_coff({"-d", "-v", "-v"}, sample.file).out, sample.full_dump);
}

TEST(McoffDump, TellsEachClassInItsOwnWay) {
    struct {
        uint32_t sclass, scnum;
        bool has_aux;
        const char *class_text, *detail;
    } constexpr cases[] = {
        {0,   1,      false, "null class",                               "n"                                    },
        {1,   1,      false, "automatic variable",                       "n = 1F: char"                         },
        {2,   1,      false, "external symbol",                          "n = 1F: s char"                       },
        {3,   0,      false, "static",                                   "n = 1F: (abs) char"                   },
        {4,   1,      false, "register variable",                        "n = 1F: char"                         },
        {5,   1,      false, "external definition",                      ""                                     },
        {6,   2,      false, "label",                                    "n = 1F: (abs) char"                   },
        {7,   1,      false, "undefined label",                          ""                                     },
        {8,   1,      false, "member of structure",                      "n = 1F: char"                         },
        {9,   1,      false, "function argument",                        "n = 1F: char"                         },
        {10,  1,      false, "structure tag",                            "n"                                    },
        {10,  1,      true,  "structure tag",                            "n: tag 7, size 10, index 262147"      },
        {11,  1,      false, "member of union",                          "n = 1F: char"                         },
        {12,  1,      true,  "union tag",                                "n: tag 7, size 10, index 262147"      },
        {13,  1,      false, "type definition",                          "n = 1F: char"                         },
        {14,  1,      false, "undefined static",                         ""                                     },
        {15,  1,      true,  "enumeration tag",                          "n: tag 7, size 10, index 262147"      },
        {16,  1,      false, "member of enumeration",                    "n = 1F: char"                         },
        {17,  1,      false, "register parameter",                       "n = 1F: char"                         },
        {18,  1,      false, "bit field",                                "n = 1F"                               },
        {18,  1,      true,  "bit field",                                "n = 1F: size 10"                      },
        {19,  1,      false, "auto argument",                            "n = 1F: char"                         },
        {20,  1,      false, "dummy entry (end of block)",               ""                                     },
        {100, 0xFFFE, false, ".bb or .eb",                               "n = 1F: (abs)"                        },
        {100, 1,      true,  ".bb or .eb",                               "n = 1F: s: line 258, index 262147"    },
        {101, 0x8001, true,  ".bf or .ef",                               "n = 1F: (abs): line 258, index 262147"},
        {102, 1,      true,  "end of structure",                         "n: tag 7, size 10, index 262147"      },
        {103, 1,      false, "file name",                                ""                                     },
        {103, 1,      true,  "file name",                                ".c [167903490]"                       },
        {104, 1,      false, "line # reformatted as symbol table entry", ""                                     },
        {105, 1,      false, "duplicate tag",                            ""                                     },
        {106, 1,      false, "ext symbol in dmert public lib",           ""                                     },
        {107, 1,      false, "end of file",                              "n"                                    },
        {108, 1,      false, "absolute listing toggle",                  "n: 1F"                                },
        {109, 1,      false, "section",                                  "n = 1F"                               },
        {109, 1,      true,  "section",                                  "n = 1F: size 7, relocs 258, lines 10" },
        {127, 0xFFFF, false, "weak symbol (GNU)",                        "n = 1F: (abs) char"                   },
        {128, 1,      false, "??Unknown (128)",                          ""                                     },
        {200, 1,      false, "??Unknown (200)",                          ""                                     },
        {255, 1,      false, "physical end of function",                 ""                                     },
    };
    for (const auto& row : cases) {
        std::string aux = full_aux;
        patch(aux, 4, row.sclass == 103 ? bytes("0201020A") : std::string());
        const std::string record = symbol("n", 0x1F, row.scnum, 2, row.sclass, row.has_aux ? 1 : 0);
        const std::string file = with_symbols(record + (row.has_aux ? aux : ""), bytes(R"("any.c" 00)"));
        EXPECT_EQ(lines_with(dump_mcoff(file), "    0:\t" + right(row.class_text)),
                  "    0:\t" + right(row.class_text) + (row.has_aux ? " 1" : " 0") + " 1[1]\t" + row.detail + "\n")
            << "class " << row.sclass;
    }
    const std::string toggles = symbol(".list", 2, 0, 0, 108, 0) + symbol(".nolist", 3, 0, 0, 108, 0);
    const std::string dump = dump_mcoff(with_symbols(toggles));
    EXPECT_NE(dump.find("0[1]\tON: 2\n"), std::string::npos);
    EXPECT_NE(dump.find("0[1]\tOFF: 3\n"), std::string::npos);
}

TEST(McoffDump, TellsTypesAndSizes) {
    struct {
        uint32_t type;
        bool has_aux;
        const char *extent, *text;
    } constexpr cases[] = {
        {0x00,                                              false, "0[1]",   "null"                                                  },
        {0x06,                                              false, "3[1]",   "float"                                                 },
        {0x12,                                              false, "3[1]",   "uslong"                                                },
        {0x13,                                              false, "0[1]",   "type 0x13"                                             },
        {0x08,                                              false, "0[1]",   "struct"                                                },
        {0x0A,                                              true,  "10[1]",  "enum [7]"                                              },
        {0x24,                                              false, "2[1]",   "pointer to int"                                        },
        {0x28,                                              true,  "10[1]",  "pointer to struct [7]"                                 },
        {0x45,                                              false, "4[1]",   "function returning long"                               },
        {0x42,                                              true,  "1[1]",   "function [lineptr 20001, endndx 262147] returning char"},
        {0x62,                                              true,  "10[10]", "array [1] of char"                                     },
        {0x64,                                              true,  "10[5]",  "array [1] of int"                                      },
        {0x62,                                              false, "1[1]",   "array [] of char"                                      },
        {0x68,                                              true,  "10[10]", "array [1] of struct [7]"                               },
        {0x164,                                             true,  "10[5]",  "array [1] of pointer to int"                           },
        {0x362,                                             true,  "10[10]", "array [1] of array [2] of char"                        },
 // Fields above 3 say nothing, but what stands behind them is told.
        {0x182,                                             false, "1[1]",   "pointer to char"                                       },
 // The fifth derivation lies above bit 15.
        {2 | 3 << 5 | 3 << 8 | 3 << 11 | 3 << 14 | 1 << 17, true,  "10[10]",
         "array [1] of array [2] of array [3] of array [4] of char"                                                                  },
        {2 | 1 << 17,                                       false, "1[1]",   "char"                                                  },
    };
    for (const auto& row : cases) {
        const std::string file =
            with_symbols(symbol("v", 1, 0, row.type, 1, row.has_aux ? 1 : 0) + (row.has_aux ? full_aux : ""));
        EXPECT_EQ(lines_with(dump_mcoff(file), "    0:"), "    0:\t" + right("automatic variable") +
                                                              (row.has_aux ? " 1 " : " 0 ") + row.extent +
                                                              "\tv = 1: " + row.text + "\n")
            << std::hex << row.type;
    }
}

TEST(McoffDump, OddOptionalHeaders) {
    struct {
        size_t at;
        std::string bytes;
        size_t cut;
        const char *line, *messages;
    } const cases[] = {
        {0x14, le16(5999), 0,  "\tMagic:\t\t0x176F (Norvane Software)\n", ""                                                             },
        {0x14, le16(6000), 0,  "\tMagic:\t\t0x1770\n",                    ""                                                             },
        {0x16, le32(1),    0,  "\tVersion:\t1\n",                         "638 97101"                                                    },
        {0x10, le16(0),    0,  "\tOpthdr:\t\t0\n",                        ""                                                             },
        {0x10, le16(17),   0,  "\tOpthdr:\t\t17\n",                       "1036 optional 18"                                             },
        {0x10, le16(18),   37, "\tOpthdr:\t\t18\n",                       "1037 optional header; 1037 COFF string table size; 634 in.cof"},
    };
    for (const auto& row : cases) {
        std::string file = with_symbols("");
        patch(file, row.at, row.bytes);
        const result_t result = run_coff({"-d", "-imcoff"}, row.cut == 0 ? file : file.substr(0, row.cut));
        EXPECT_NE(result.out.find(row.line), std::string::npos) << row.line << result.out;
        EXPECT_EQ(messages_of(result), row.messages) << row.line;
    }
    // A header that is not printed leaves its newline, none at all leaves none.
    std::string file = with_symbols("");
    patch(file, 0x10, le16(17));
    EXPECT_NE(run_coff({"-d", "-imcoff"}, file).out.find("Executable\n\n\nSection 0"), std::string::npos);
    file.erase(20, 18);
    patch(file, 0x10, le16(0));
    patch(file, 8, le32(60));
    EXPECT_NE(run_coff({"-d", "-imcoff"}, file).out.find("Executable\n\nSection 0: s:"), std::string::npos);
}

TEST(McoffDump, DatesAreUnsignedAndFollowTheTimeZone) {
    std::string file = with_symbols("");
    patch(file, 4, le32(0xFFFFFFFF));
    EXPECT_NE(run_coff({"-d"}, file).out.find("\tDated:\t\tSun Feb  7 06:28:15 2106\n\tSymptr"), std::string::npos);
    patch(file, 4, le32(0));
    setenv("TZ", "EST5", 1);
    tzset();
    const result_t result = run_program(
        {
            "-d", "in.cof"
    },
        {{"in.cof", file}});
    EXPECT_NE(result.out.find("\tDated:\t\tWed Dec 31 19:00:00 1969\n"), std::string::npos);
    setenv("TZ", "UTC0", 1);
    tzset();
}

TEST(McoffDump, NamesAreBoundedByTheStringTable) {
    const auto named = [](const std::string& offset) {
        return std::string(4, '\0') + offset + symbol("", 0, 0, 0, 0, 0).substr(8);
    };
    const std::string symbols = symbol("eight888", 1, 0, 0, 0, 0) + named(le32(4)) + named(le32(7)) + named(le32(9)) +
                                named(le32(0xFFFFFFFF)) + named(le32(0));
    const std::string dump = dump_mcoff(with_symbols(symbols, bytes(R"("ab" 00 "cd")"))); // no NUL at the end
    const std::string line = "\t" + right("null class") + " 0 0[1]\t";
    EXPECT_EQ(lines_with(dump, "    4:\tab"), "    4:\tab\n");
    EXPECT_EQ(lines_with(dump, "    7:\tcd"), "    7:\tcd\n");
    EXPECT_NE(dump.find("    0:" + line + "eight888\n    1:" + line + "ab\n    2:" + line + "cd\n    3:" + line +
                        "\n    4:" + line + "\n    5:" + line + "\t\n"), // the size field, 9, as a text
              std::string::npos)
        << dump;
}

TEST(McoffDump, LineRecordsCallSymbolsByTheirNames) {
    std::string file = mcoff_sample().file;
    patch(file, 0x7A + 16 + 6, le32(7));
    EXPECT_NE(dump_mcoff(file).find("Symbol: a_long_variable (7)\n"), std::string::npos);
    for (const uint32_t unknown : {1U, 10U, 0xFFFFFFFFU}) { // an auxiliary record, one beyond, far beyond
        patch(file, 0x7A + 16 + 6, le32(unknown));
        EXPECT_NE(dump_mcoff(file).find("Symbol: ?? (" + std::to_string(unknown) + ")\n"), std::string::npos);
    }
    patch(file, 0x7A + 4, le16(0xFFFF));
    EXPECT_NE(dump_mcoff(file).find("\n65535:\tsrcndx"), std::string::npos);
}

TEST(McoffDump, AuxiliaryRecordsThatRunOut) {
    const std::string two = symbol("a", 0, 0, 0, 0, 2) + full_aux + full_aux;
    // f_nsyms counts fewer than are there: the line is printed first. One too many is let pass.
    std::string file = with_symbols(two);
    patch(file, 12, le32(1));
    patch(file, 78 + 20, le32(4)); // where the string table then lies
    result_t result = run_coff({"-d", "-v", "-imcoff"}, file);
    EXPECT_EQ(messages_of(result), "1039; 634 in.cof");
    EXPECT_NE(result.out.find("2 0[1]\ta\n\n"), std::string::npos);
    patch(file, 12, le32(2));
    patch(file, 78 + 40, le32(4));
    EXPECT_EQ(messages_of(run_coff({"-d", "-v", "-imcoff"}, file)), "");
    // The file ends inside them: then there is no line.
    result = run_coff({"-d", "-v", "-imcoff"}, with_symbols(symbol("a", 0, 0, 0, 0, 1)));
    EXPECT_EQ(messages_of(result), "1037 COFF symbol table; 634 in.cof");
    EXPECT_NE(result.out.find("\n\nSymbol table:\n\n"), std::string::npos);
}

TEST(McoffRead, BringsSectionsDataSymbolsFilesAndLines) {
    EXPECT_EQ(model_of(read_mcoff(mcoff_sample().file)), R"(
Files: 1, syms: 2, lines: 2

File: .file
Symbols: 2
	.text        10       main
	data_section 20       a_long_variable
Lines: 1
	00004: 11-11 

Data blocks: 1, total size 4
	20-23 .text

Segments: 2
	.text        20-23
	data_section 40-42

)");
}

TEST(McoffRead, SymbolClasses) {
    std::string symbols;
    for (int sclass = 0; sclass < 256; ++sclass) {
        symbols += symbol("c" + std::to_string(sclass), sclass, 1, 0, sclass, 0);
    }
    symbols += symbol("abs", 1, 0xFFFF, 0, 2, 0) + symbol("deb", 1, 0xFFFE, 0, 3, 0) + symbol("seg9", 1, 9, 0, 6, 0);
    const result_t result = read_mcoff(with_symbols(symbols));
    std::string unknown;
    for (int sclass = 0; sclass < 256; ++sclass) {
        const bool is_known = sclass <= 3 || sclass == 6 || sclass == 8 || (sclass >= 10 && sclass <= 13) ||
                              (sclass >= 15 && sclass <= 19) || (sclass >= 100 && sclass <= 103) ||
                              (sclass >= 107 && sclass <= 109);
        if (!is_known) {
            unknown += "633 " + std::to_string(static_cast<signed char>(sclass)) + "; ";
        }
    }
    EXPECT_EQ(messages_of(result) + "; ", unknown);
    EXPECT_EQ(model_of(result), "\nFiles: 1, syms: 6, lines: 0\n\nFile: c103\nSymbols: 3\n\t  1        abs\n"
                                "\t  1        deb\n\t  1        seg9\nLines: 0\n\nSegments: 1\n\ts 0\n\n");
}

TEST(McoffRead, LineRecordsOpenFilesByPosition) {
    std::string file = mcoff_sample().file;
    patch(file, 0x7A, bytes("00000000 0000 09000000 0000 00000000"));      // symbol 9 becomes a file, b.c
    patch(file, 0xAA + 9 * 20, symbol("b.c", 0, 0, 0, 103, 0));            // the second: file number 2
    patch(file, 0x7A + 16, bytes("00000000 0500 12000000 0000 00000000")); // line 5 at 0x12
    const std::string model = model_of(read_mcoff(file));
    EXPECT_NE(model.find("File: b.c\nSymbols: 0\nLines: 2\n\t00004: 11-11 \n\t00005: 12-12 \n"), std::string::npos)
        << model;
    patch(file, 0x7A + 6, le32(8)); // an auxiliary record: the number stays 0
    EXPECT_NE(model_of(read_mcoff(file)).find("File: b.c\nSymbols: 0\nLines: 0\n"), std::string::npos);
}

TEST(McoffRead, FilesBeyondTheListAreReadButNotOpened) {
    std::string symbols;
    for (int k = 0; k < 8194; ++k) {
        symbols += symbol("f" + std::to_string(k), 0, 0, 0, 103, 0);
    }
    std::string file = with_symbols(symbols);
    const auto record = [](uint32_t number, uint32_t address) {
        return le32(0) + le16(number) + le32(address) + le16(0) + le32(0);
    };
    const std::string lines = record(0, 8191) + record(7, 1) + record(0, 8192) + record(8, 2);
    patch(file, 38 + 28, le32(static_cast<uint32_t>(file.size()))); // behind all
    patch(file, 38 + 34, le16(4));
    const std::string model = model_of(read_mcoff(file + lines));
    EXPECT_NE(model.find("Files: 8194,"), std::string::npos);
    EXPECT_NE(model.find("File: f8191\nSymbols: 0\nLines: 2\n"), std::string::npos);
}

TEST(McoffRead, WidthsScaleAndStay) {
    struct {
        uint32_t rom_width, ram_width;
        const char *segment, *messages;
    } constexpr cases[] = {
        {8,          8, "10-13", ""   },
        {12,         8, "20-23", ""   },
        {16,         8, "20-23", ""   },
        {17,         8, "30-33", ""   },
        {0,          8, "10-13", "639"},
        {8,          0, "10-13", "639"},
        {0xFFFFFFFF, 8, "0-3",   ""   }, // 0x20000000 bytes a word, 32 bits
  // wrap
    };
    for (const auto& row : cases) {
        std::string file = mcoff_sample().file;
        patch(file, 0x1E, le32(row.rom_width) + le32(row.ram_width));
        const result_t result = read_mcoff(file);
        EXPECT_EQ(messages_of(result), row.messages);
        EXPECT_EQ(lines_with(result.err, "\t.text        " + std::string(row.segment)),
                  "\t.text        " + std::string(row.segment) + "\n")
            << row.rom_width << model_of(result);
    }
    // Without a header of 18 bytes the widths are those of the file before, 0 at first.
    std::string bare = mcoff_sample().file;
    patch(bare, 0x10, le16(17));
    bare.erase(20, 1);
    for (const size_t pointer : {8U, 37U + 20, 37U + 28}) {
        bare[pointer] = static_cast<char>(bare[pointer] - 1);
    }
    EXPECT_EQ(messages_of(read_mcoff(bare)), "1043; 639");
    const result_t result = run_program(
        {
            "--edf=msgs", "-v", "-imcoff", "in.cof", "bare.cof", "-oihex"
    },
        {{"in.cof", mcoff_sample().file}, {"bare.cof", bare}, {"msgs", coff_messages}});
    EXPECT_EQ(messages_of(result), "1043");
    EXPECT_EQ(lines_with(result.err, "\t.text        20-23"), "\t.text        20-23\n\t.text        20-23\n");
}

TEST(McoffRead, DataComesInPiecesAndStopsWhereTheFileEnds) {
    std::string file = mcoff_sample().file;
    patch(file, 38 + 16, le32(40000));
    patch(file, 38 + 20, le32(static_cast<uint32_t>(file.size())));
    const std::string data(20000, 'x');
    const result_t cut = read_mcoff(file + data);
    EXPECT_EQ(messages_of(cut), "1037 COFF data");
    EXPECT_NE(model_of(cut).find("Data blocks: 1, total size 4000\n\t20-401F .text\n"), std::string::npos);
    EXPECT_NE(model_of(cut).find("syms: 0, lines: 0"), std::string::npos);
    const result_t whole = read_mcoff(file + data + data);
    EXPECT_EQ(messages_of(whole), "");
    EXPECT_NE(model_of(whole).find("Data blocks: 1, total size 9C40\n\t20-9C5F .text\n"), std::string::npos);
}

TEST(McoffRead, WhatFallsShort) {
    struct {
        size_t cut; // the file ends here
        const char *read, *dump;
    } constexpr cases[] = {
        {19,         "1037 COFF header",               "1037 COFF header; 634 in.cof"                                 },
        {37,         "1037 Microchip optional header", "1037 optional header; 1037 COFF string table size; 634 in.cof"},
        {0x172 + 3,  "1037 COFF string table size",    "1037 COFF string table size; 634 in.cof"                      },
        {0x172 + 39, "1037 COFF string table",         "1037 COFF string table; 634 in.cof"                           },
        {0x172 + 40, "",                               ""                                                             },
    };
    for (const auto& row : cases) {
        const std::string file = mcoff_sample().file.substr(0, row.cut);
        EXPECT_EQ(messages_of(read_mcoff(file)), row.read) << row.cut;
        EXPECT_EQ(messages_of(run_coff({"-d", "-v", "-imcoff"}, file)), row.dump) << row.cut;
    }
    struct {
        size_t at;
        std::string bytes;
        const char *read, *dump;
    } const patches[] = {
        {0x172,     le32(3),          "1038",                        "1038; 634 in.cof"                       },
        {0x172,     le32(0xFFFFFFFF), "1037 COFF string table",      "1037 COFF string table; 634 in.cof"     },
        {0x08,      le32(0xFFFFFFFC), "1037 COFF string table size", "1037 COFF string table size; 634 in.cof"},
        {0x02,      le16(11),         "1037 COFF section header",    "1037 COFF section header; 634 in.cof"   },
        {0x26 + 16, le32(0xFFFFFFFF), "1037 COFF data",              ""                                       },
        {0x26 + 20, le32(0xFFFFFFFD), "1037 COFF data",              ""                                       },
        {0x26 + 28, le32(0xFFFFFFF0), "1037 COFF line number",       "1037 COFF line number; 634 in.cof"      },
        {0x26 + 34, le16(0xFFFF),     "1037 COFF line number",       "1037 COFF line number; 634 in.cof"      },
    };
    for (const auto& row : patches) {
        std::string file = mcoff_sample().file;
        patch(file, row.at, row.bytes);
        EXPECT_EQ(messages_of(read_mcoff(file)), row.read) << row.at;
        EXPECT_EQ(messages_of(run_coff({"-d", "-v", "-imcoff"}, file)), row.dump) << row.at;
    }
    // The segments in front of the missing header stay.
    std::string file = mcoff_sample().file;
    patch(file, 0x02, le16(11));
    EXPECT_NE(model_of(read_mcoff(file)).find("Segments: 9\n"), std::string::npos);
}

TEST(McoffRead, OverlappingPartsDoNotUnfold) {
    // Sixty sections that all are the same two megabytes.
    constexpr uint32_t count = 60, size = 2 << 20;
    std::string file = bytes("40 12") + le16(count) + le32(0) + le32(38 + count * 40) + le32(0) +
                       bytes("12 00 02 00  88 13 4D7B0100 00000000 08000000 08000000");
    for (uint32_t k = 0; k < count; ++k) {
        file += field("s" + std::to_string(k)) + le32(k * size) + le32(0) + le32(size) + le32(38 + count * 40) +
                std::string(12, '\0') + le32(0x20);
    }
    file += le32(size) + std::string(size - 4, 'x');
    const result_t result = read_mcoff(file);
    EXPECT_EQ(messages_of(result), "1037 COFF data");
    EXPECT_NE(model_of(result).find("\nData blocks: 5,"), std::string::npos);
    EXPECT_NE(model_of(result).find("\nSegments: 60\n"), std::string::npos);
}

TEST(McoffProbe, LooksAtMagicAndCounts) {
    struct {
        size_t at;
        std::string bytes;
        bool is_known;
    } const cases[] = {
        {0,  bytes("40 12"),   true },
        {0,  bytes("12 40"),   false},
        {2,  le16(1000),       true },
        {2,  le16(1001),       false},
        {8,  le32(0x7FFFFFFF), true },
        {8,  le32(0x80000000), false},
        {12, le32(0x80000000), false},
    };
    for (const auto& row : cases) {
        std::string file = mcoff_sample().file;
        patch(file, row.at, row.bytes);
        const result_t result = run_coff({"-c"}, file);
        EXPECT_EQ(result.err.find("Confirmed as Microchip COFF") != std::string::npos, row.is_known) << row.at;
    }
    EXPECT_EQ(run_coff({"-c"}, mcoff_sample().file.substr(0, 19)).status, 1);
    // The byte order does not depend on -b.
    EXPECT_EQ(run_coff({"-d", "-b", "-imcoff"}, mcoff_sample().file).out, mcoff_sample().plain_dump);
    EXPECT_EQ(model_of(run_coff({"-v", "-v", "-b", "-imcoff", "-os19"}, mcoff_sample().file)),
              model_of(read_mcoff(mcoff_sample().file)));
}

} // namespace
} // namespace tavrel::testing
