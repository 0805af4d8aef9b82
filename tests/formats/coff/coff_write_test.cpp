// Plain COFF as written.
#include "formats/coff/coff_program.h"

namespace tavrel::testing {
namespace {

TEST(CoffWrite, WholeFileWithoutTree) {
    const program_t program = {"start 4 0 CODE\na_long_label 21 0 RAM\n"
                               "%segments\ntext 0 3 CODE\na_long_segment 20 27 RAM\n",
                               "", "", "\x11\x22\x33\x44"};
    const result_t result = convert(program, {"-pH8/300", "t.sym", "t.hex", "-ocoff", "o.cof"}, "305419896");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(hex(result.files.at("o.cof")), hex(bytes(R"(
        83 00  00 03  12 34 56 78  00 00 01 30  00 00 00 02  00 00  02 03    ; file header
        "RAM" 00 00 00 00 00                                                 ; section 1: made by the label
          00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00  00 00  00 00 00 80
        "a_long_s"                                                           ; section 2, its name cut
          00 00 00 20  00 00 00 00  00 00 00 08  00 00 00 00  00 00 00 00  00 00 00 00  00 00  00 00  00 00 00 80
        "_text0" 00 00                                                       ; section 3: data and lines behind the gap
          00 00 00 00  00 00 00 00  00 00 00 04  00 00 01 2C  00 00 00 00  00 00 01 30  00 00  00 00  00 00 00 20
    )") + std::string(160, '\0') + bytes(R"(                                 ; 40 bytes for each of four segments
        11 22 33 44
        "start" 00 00 00          00 00 00 04  FF FF  00 00  06  00          ; symbols at 0x130
        00 00 00 00  00 00 00 04  00 00 00 21  FF FF  00 00  06  00
        00 00 00 11  "a_long_label" 00                                       ; strings
    )")));
}

TEST(CoffWrite, ProcessorChoosesTheRow) {
    struct row_t {
        const char* option;
        uint32_t message; // 0 for none
        uint32_t magic;
        uint32_t flags;
        uint32_t address; // of data and code at byte 8
    };
    // clang-format off
    const row_t rows[] = {
        {"-pPIC",                0,   0x3612, 0x103, 4}, // the first whose name contains it
        {"-p18F452,pic18",       0,   0x3412, 0x103, 4},
        {"-p30F6014,PIC24",      0,   0x3612, 0x103, 4},
        {"-p68",                 0,   0x0150, 0x203, 8},
        {"-ptower",              0,   0x0198, 0x203, 8},
        {"-pH8/300H",            0,   0x8301, 0x203, 8},
        {"-pSH",                 0,   0x0500, 0x203, 8},
        {"-p30F6014",            601, 0, 0, 0},
        {"-pPIC30,6014",         601, 0, 0, 0},
        {"-pPIC30,",             600, 0, 0, 0},
        {"-v0",                  600, 0, 0, 0},
    };
    // clang-format on
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.option);
        const program_t program = {"%segments\ntext 0 3F CODE\ndata 8 F RAM\n", "", ""};
        const result_t result = convert(program, {row.option, "t.sym", "t.hex", "-ocoff", "o.cof"});
        if (row.message != 0) {
            EXPECT_NE(result.err.find("(" + std::to_string(row.message) + ")"), std::string::npos) << result.err;
            EXPECT_EQ(result.files.at("o.cof"), "");
            continue;
        }
        const coff_kind_of_file_t kind = {false, row.flags == 0x203, 8};
        const read_coff_t file = written(result, "o.cof", kind);
        EXPECT_EQ(file.magic, row.magic);
        EXPECT_EQ(file.flags, row.flags);
        EXPECT_EQ(file.section("data")->paddr, 8U);
    }
}

TEST(CoffWrite, AnInputFixesTheRow) {
    const program_t program = {"start 4 0 CODE\n" + code_and_ram, "", ""};
    result_t result = convert(program, {"-pH8/300", "t.sym", "t.hex", "-ocoff", "h8.cof"});
    result = run_program({"-p30F6014,PIC30", "-nCODE", "h8.cof", "-ocoff", "o.cof"}, result.files);
    EXPECT_EQ(written(result, "o.cof", h8300_coff).magic, 0x8300U);
}

// ---- the symbol table

program_t chained_program() {
    program_t program;
    program.sym =
        "_main 10 0 CODE\n_next 1C 0 CODE\n_table 20 0 RAM\n__Lidata 14 0 ABS\n__Hidata 15 0 ABS\n" + code_and_ram +
        "%locals\nm.obj\nmain.c\n5 10 0 CODE\n6 14 0 CODE\n8 20 0 CODE\n8 18 0 CODE\n8 1C 0 CODE\n10 24 0 CODE\n"
        "12 28 0 CODE\n20 30 0 CODE\n";
    program.sdb = "[p GLOBOPT PIC30 ]\n\"1 src/main.c\n"
                  "[s S1 pair 4 `i a 2 0 `ui b 2 2 :4:1 ]\n"
                  "[v _table `[3]S1 1 e 12 0 ]\n"
                  "\"5 main.c\n[v _main `(i 1 e 0 0 ]\n{\n"
                  "[v _p `*S1 1 p 2 0 ]\n[v _a `l 1 a 4 4 ]\n[v _r `ui 1 r 2 w3 ]\n"
                  "{\n\"6\n[v _x `uc 1 a 1 6 ]\n\"7\n}\n"
                  "{\n\"8\n\"9\n}\n"
                  "\"10\n}\n2 16 0 8\n"
                  "\"12\n[v _next `(v 1 e 0 0 ]\n{\n\"14\n}\n0 0 0 0\n";
    return program;
}

TEST(CoffWrite, ScopesAreChained) {
    const result_t result = convert(chained_program(), {"-p30F6014,PIC30", "t.sym", "t.hex", "-ocoff", "o.cof"});
    const read_coff_t file = written(result, "o.cof", pic30_coff);
    EXPECT_EQ(symbol_list(file), "0 .file 103 1\n"
                                 "2 pair 10 1\n"
                                 "4 a 8 0\n"
                                 "5 b 18 1\n"
                                 "7 .eos 102 1\n"
                                 "9 _table 2 1\n"
                                 "11 .file 103 1\n"
                                 "13 _main 2 0\n"
                                 "14 .bf 101 1\n"
                                 "16 ___FP 4 0\n"
                                 "17 _p 9 1\n"
                                 "19 _a 1 0\n"
                                 "20 _r 4 0\n"
                                 "21 .bb 100 1\n"
                                 "23 _x 1 0\n"
                                 "24 .eb 100 1\n"
                                 "26 .bb 100 1\n"
                                 "28 .eb 100 1\n"
                                 "30 .ef 101 1\n"
                                 "32 _next 5 0\n"
                                 "33 .bf 101 1\n"
                                 "35 ___FP 4 0\n"
                                 "36 .ef 101 1\n");
    struct row_t {
        uint32_t index, value;
        int32_t scnum;
        uint32_t type, tagndx, lnno, size, endndx;
    };
    // clang-format off
    const row_t rows[] = {
        {2,  0,    -2, 0,    0, 0,  4,  8},
        {4,  0,    -2, 3,    0, 0,  0,  0},
        {5,  17,   -2, 12,   0, 0,  4,  0},
        {7,  0,    -1, 0,    2, 0,  4,  0},
        {9,  0x20, 2,  0x38, 2, 0,  12, 0},
        {13, 0x10, 3,  0x23, 0, 0,  0,  0},
        {14, 0x10, -2, 0,    0, 5,  0,  33}, // the next function
        {16, 15,   -1, 4,    0, 0,  0,  0},
        {17, 8,    -1, 0x18, 2, 0,  4,  0},
        {19, 20,   -1, 5,    0, 0,  0,  0},
        {20, 3,    -1, 13,   0, 0,  0,  0},
        {21, 0,    -2, 0,    0, 5,  0,  26}, // its sibling
        {23, 22,   -1, 12,   0, 0,  0,  0},
        {26, 0,    -2, 0,    0, 7,  0,  30}, // what ends the level
        {30, 0x24, -2, 0,    0, 10, 0,  0},  // the address of line 10
        {33, 0x1C, -2, 0,    0, 12, 0,  0},
        {36, 0x2E, -2, 0,    0, 14, 0,  0},  // in front of the line behind line 14
    };
    // clang-format on
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.index);
        const read_symbol_t& symbol = *file.at(row.index);
        EXPECT_EQ(symbol.value, row.value);
        EXPECT_EQ(symbol.scnum, row.scnum);
        EXPECT_EQ(symbol.type, row.type);
        EXPECT_EQ(symbol.tagndx, row.tagndx);
        EXPECT_EQ(symbol.lnno, row.lnno);
        EXPECT_EQ(symbol.size, row.size);
        EXPECT_EQ(symbol.endndx, row.endndx);
    }
    EXPECT_EQ(file.at(0)->file_name, "src\\main.c");
}

TEST(CoffWrite, LineRecords) {
    const auto lines = [](const read_coff_t& file) {
        std::string text;
        for (const read_line_t& line : file.section("_text0")->lines) {
            text += std::to_string(line.number) + "@" + std::to_string(line.address) + " ";
        }
        return text;
    };
    const result_t result = convert(chained_program(), {"-p30F6014,PIC30", "t.sym", "t.hex", "-ocoff", "o.cof"});
    // Line 6 is in the class idata; of the three records of line 8 the second goes. 20 is in no function.
    EXPECT_EQ(lines(written(result, "o.cof", pic30_coff)), "0@13 5@16 8@24 8@32 10@36 0@32 12@40 ");

    program_t program;
    program.sym =
        "_main 10 0 CODE\n" + code_and_ram + "%locals\nm.obj\nmain.c\n70000 10 0 CODE\n5 12 0 CODE\n5 14 0 CODE\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n\"5 main.c\n[v _main `(i 1 e 0 0 ]\n{\n\"70000\n}\n0 0 0 0\n";
    const result_t narrow = convert(program, {"-p16F877,68", "t.sym", "t.hex", "-ocoff", "o.cof"});
    const read_coff_t file = written(narrow, "o.cof", m68k_coff);
    EXPECT_EQ(lines(file), "0@2 5@18 5@20 4464@16 ");
    EXPECT_EQ(file.find(".ef")->value, 0x10U); // the line's own address, as it is not below the function's
}

TEST(CoffWrite, ExamplesAreConsistent) {
    const char* const rows[][2] = {
        {"pic",   "-p16F877,H8/300H"    },
        {"pic18", "-p18F452,SH"         },
        {"dspic", "-p30F6014,68"        },
        {"8051",  "-p8051,H8/300"       },
        {"mips",  "-p32MX360F512H,PIC24"},
    };
    const coff_kind_of_file_t kinds[] = {h8300_coff, h8300_coff, m68k_coff, h8300_coff, pic30_coff};
    size_t k = 0;
    for (const auto& [folder, processor] : rows) {
        SCOPED_TRACE(folder);
        const result_t result =
            run_program({processor, "-nCODE", "gauge.sym", "gauge.hex", "-ocoff", "o.cof"}, example(folder));
        EXPECT_GT(written(result, "o.cof", kinds[k++]).symbols.size(), 150U);
    }
}

} // namespace
} // namespace tavrel::testing
