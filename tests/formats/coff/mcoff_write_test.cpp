// Microchip COFF as written: a whole file by hand, the rest taken apart by a reader of the tests.
#include "formats/coff/coff_program.h"

namespace tavrel::testing {
namespace {

const char* const pic14 = "-p16F877,877,PIC14";
const char* const pic12 = "-p16C54,54,PIC12";

read_coff_t written(const result_t& result) { return written(result, "o.cof", microchip_coff); }

read_coff_t mcoff_of(const program_t& program, const char* processor = pic14) {
    return written(convert(program, {processor, "t.sym", "t.hex", "-omcoff", "o.cof"}));
}

// The lines of the first block, each as file:number@address/function.
std::string line_list(const read_coff_t& file) {
    std::string text;
    for (const read_line_t& line : file.section("_text0")->lines) {
        text += std::to_string(line.source) + ":" + std::to_string(line.number) + "@" + std::to_string(line.address) +
                "/" + std::to_string(line.function) + " ";
    }
    return text;
}

TEST(McoffWrite, WholeFileWithoutTree) {
    const program_t program = {"start 4 0 CODE\na_long_label 21 0 RAM\n"
                               "%segments\ntext 0 3 CODE\nram 20 27 RAM\n",
                               "", "", "\x11\x22\x33\x44"};
    const result_t result =
        convert(program, {"-p16F877,0877,PIC14", "t.sym", "t.hex", "-omcoff", "o.cof"}, "305419896");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(hex(result.files.at("o.cof")), hex(bytes(R"(
        40 12  04 00  78 56 34 12  CA 00 00 00  02 00 00 00  12 00  02 00    ; file header
        88 13  4D 7B 01 00  77 08 00 00  0E 00 00 00  08 00 00 00            ; optional header
        "ABS" 00 00 00 00 00                                                 ; section 1
          00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00  00 00  00 10 00 00
        "RAM" 00 00 00 00 00                                                 ; section 2: made by the label
          00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00  00 00  80 00 00 00
        "ram" 00 00 00 00 00                                                 ; section 3
          20 00 00 00  00 00 00 00  08 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00  00 00  80 00 00 00
        "_text0" 00 00                                                       ; section 4
          00 00 00 00  00 00 00 00  04 00 00 00  C6 00 00 00  00 00 00 00  00 00 00 00  00 00  00 00  20 00 00 00
        11 22 33 44
        "start" 00 00 00          04 00 00 00  00 00  00 00 00 00  06  00    ; symbols at 0xCA
        00 00 00 00  04 00 00 00  21 00 00 00  00 00  00 00 00 00  06  00
        11 00 00 00  "a_long_label" 00                                       ; strings
    )")));
}

TEST(McoffWrite, ProcessorGivesWidths) {
    struct row_t {
        const char* option;
        bool good;
        uint32_t number, rom_width, unit;
    };
    // clang-format off
    const row_t rows[] = {
        {"-p16F877,1234,PIC14",     true,  0x1234,     14, 2},
        {"-p16C54,,PIC12",          true,  0,          12, 2},
        {"-p17C44,0x44,PIC16X",     true,  0x44,       16, 2},
        {"-p18F452,FFFFFFFF,PIC18", true,  0xFFFFFFFF, 8,  1},
        {"-p18F452",                true,  0,          8,  1},
        {"-p18F452,452,PIC1",       true,  0x452,      8,  1},
        {"-p16F877,877,pic14",      true,  0x877,      0,  2},
        {"-p8",                     true,  0,          0,  2},
        {"-p16F877,877,PIC17",      false, 0,          0,  0},
        {"-p16F877,877,PIC1x",      false, 0,          0,  0},
        {"-p16F877,877,PICxx",      false, 0,          0,  0},
        {"-p16F877,xyz",            false, 0,          0,  0},
        {"-p,877,PIC14",            false, 0,          0,  0},
    };
    // clang-format on
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.option);
        const result_t result =
            convert({"%segments\ndata 8 F RAM\n", "", ""}, {row.option, "t.sym", "t.hex", "-omcoff", "o.cof"});
        EXPECT_EQ(result.err.find("(600)") == std::string::npos, row.good) << result.err;
        if (!row.good) {
            EXPECT_EQ(result.files.at("o.cof"), "");
            continue;
        }
        const read_coff_t file = written(result);
        EXPECT_EQ(file.proc_type, row.number);
        EXPECT_EQ(file.rom_width, row.rom_width);
        EXPECT_EQ(file.ram_width, 8U);
    }
}

TEST(McoffWrite, SectionsTakeTheirNumbersInOrder) {
    program_t program;
    program.sym = "in_b 30 0 RAM\nin_code 5 0 CODE\nnowhere 500 0 RAM\nbeyond 900 0 CODE\n"
                  "%segments\n"
                  "twice 0 1F CODE\ntwice 20 2F RAM\ntwice 30 3F RAM\nlong_segment 20 3F CODE\na_long_name 50 5F RAM\n"
                  "%locals\nm.obj\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n[v in_b `i 1 e 2 0 ]\n[v in_code `(i 1 e 0 0 ]\n[v nowhere `i 1 e 2 0 ]\n"
                  "[v beyond `(i 1 e 0 0 ]\n";
    const read_coff_t file = mcoff_of(program);
    std::string names; // RAM and CODE come from the labels, each its own space
    for (const read_section_t& section : file.sections) {
        names += section.name + " ";
    }
    EXPECT_EQ(names, "ABS RAM twice.1 twice.2 a_long_name _text0 ");
    EXPECT_EQ(file.find("in_b")->scnum, 4);
    EXPECT_EQ(file.find("in_code")->scnum, 6);
    EXPECT_EQ(file.find("nowhere")->scnum, 2); // in none: the space itself, segment 1
    EXPECT_EQ(file.find("beyond")->scnum, 3);  // in no block: the space's index and one
}

// ---- the symbol table

TEST(McoffWrite, WorkedExample) {
    program_t program;
    program.sym = "_where 20 0 RAM\n_flag 10B 0 RAM\n_main 10 0 CODE\nmain@arg 24 0 RAM\nmain@count 25 0 RAM\n"
                  "__end_of_main 18 0 CODE\nlabel 7 0 CODE\n" +
                  code_and_ram + "%locals\nm.obj\nmain.c\n5 10 0 CODE\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n\"1 main.c\n"
                  "[s S1 point 2 `ui x 2 0 ]\n"
                  "[v _where `S1 1 e 2 0 ]\n[v _flag `b 1 e 0 0 ]\n"
                  "\"5\n[v _main `(v 1 e 0 0 ]\n{\n[v _arg `uc 1 p 0 0 ]\n[v _count `uc 1 a 0 1 ]\n\"9\n}\n0 0 0 0\n";
    const read_coff_t file = mcoff_of(program);
    EXPECT_EQ(symbol_list(file), "0 .file 103 1\n"
                                 "2 point 10 1\n"
                                 "4 x 8 0\n"
                                 "5 .eos 102 1\n"
                                 "7 _where 2 1\n"
                                 "9 _main 2 0\n"
                                 "10 _main 2 0\n"
                                 "11 .bf 101 1\n"
                                 "13 main@arg 3 0\n"
                                 "14 .bb 100 1\n"
                                 "16 main@count 3 0\n"
                                 "17 .eb 100 1\n"
                                 "19 .ef 101 1\n"
                                 "21 .u0 10 1\n"
                                 "23 - 18 1\n"
                                 "25 _flag 18 1\n"
                                 "27 .eos 102 1\n"
                                 "29 _bitvars1 2 1\n"
                                 "31 .eof 107 0\n"
                                 "32 main@arg 6 0\n"
                                 "33 main@count 6 0\n"
                                 "34 __end_of_main 6 0\n"
                                 "35 label 6 0\n");
    EXPECT_EQ(file.at(0)->file_name, "main.c");
    EXPECT_EQ(file.at(9)->type, 0x41U);
    EXPECT_EQ(file.at(11)->value, 0x10U);
    EXPECT_EQ(file.at(11)->lnno, 5U);
    EXPECT_EQ(file.at(11)->scnum, 4); // ABS, RAM, ram, _text0
    EXPECT_EQ(file.at(14)->value, 0x10U);
    EXPECT_EQ(file.at(19)->value, 0x17U);
    EXPECT_EQ(file.at(19)->lnno, 9U);
    EXPECT_EQ(file.at(21)->scnum, -2);
    EXPECT_EQ(file.at(23)->size, 3U);
    EXPECT_EQ(file.at(25)->value, 3U);
    EXPECT_EQ(file.at(27)->scnum, -1);
    EXPECT_EQ(file.at(29)->value, 0x21U);
    EXPECT_EQ(file.at(29)->scnum, 1);
    EXPECT_EQ(file.at(29)->tagndx, 21U);
    EXPECT_EQ(line_list(file), "0:5@16/10 ");
}

// What a type becomes: the word, and the record behind the symbol if there is one.
TEST(McoffWrite, TypeWords) {
    struct row_t {
        const char* type;
        uint32_t var_size, word, numaux, size;
        uint32_t dimen[4];
    };
    // clang-format off
    const row_t rows[] = {
        {"c",                1,   2,          0, 0,    {}},
        {"s",                2,   4,          0, 0,    {}},
        {"m",                3,   17,         0, 0,    {}},
        {"l",                4,   5,          0, 0,    {}},
        {"uc",               1,   12,         0, 0,    {}},
        {"us",               2,   14,         0, 0,    {}},
        {"um",               3,   18,         0, 0,    {}},
        {"ul",               4,   15,         0, 0,    {}},
        {"f",                3,   6,          0, 0,    {}},
        {"d",                4,   7,          0, 0,    {}},
        {"f",                4,   7,          0, 0,    {}}, // the variable's own size decides
        {"d",                3,   6,          0, 0,    {}},
        {"*f",               4,   0x26,       0, 0,    {}},
        {"Vi",               2,   4,          0, 0,    {}},
        {"*Dc",              2,   0x22,       0, 0,    {}},
        {"**c",              2,   0x122,      0, 0,    {}},
        {"*(v",              2,   0x221,      0, 0,    {}},
        {"E1",               1,   2,          0, 0,    {}},
        {"S1",               5,   8,          1, 5,    {}},
        {"*S1",              2,   0x28,       1, 5,    {}},
        {"[3][4]c",          12,  0x362,      1, 12,   {3, 4}},
        {"[3][4]S1",         60,  0x368,      1, 60,   {3, 4}},
        {"[2][3][4][5]i",    240, 0xDB64,     1, 240,  {2, 3, 4, 5}},
        {"[2][2][2][2][3]c", 48,  0x6DB62,    1, 16,   {2, 2, 2, 2}}, // the fifth dimension is lost
        {"[4]*c",            8,   0x162,      1, 8,    {4}},
        {"[4]V*c",           8,   0x162,      1, 8,    {4}},
        {"[2][3]*c",         12,  0xB62,      1, 6,    {2, 3}},       // only the element itself counts as a pointer
        {"[3]*S1",           6,   0x168,      1, 15,   {3}},
        {"*[4]c",            2,   0x322,      1, 4,    {4}},
        {"[0]i",             1,   0x64,       1, 0,    {0}},
        {"[3][0]i",          1,   0x364,      1, 6,    {3, 0}},
        {"[70000]c",         1,   0x62,       1, 4464, {4464}},
        {"**********c",      2,   0x24924922, 0, 0,    {}},           // nine derivations fit
    };
    // clang-format on
    program_t program;
    program.sdb = "[p GLOBOPT PIC14 ]\n[s S1 five 5 `uc a 1 0 `ul b 4 1 ]\n[e E1 colour `ui RED 0 ]\n";
    for (size_t k = 0; k < std::size(rows); ++k) {
        const std::string name = "v" + std::to_string(k);
        program.sym += name + " 20 0 RAM\n";
        program.sdb += "[v " + name + " `" + rows[k].type + " 1 e " + std::to_string(rows[k].var_size) + " 0 ]\n";
    }
    program.sym += code_and_ram + "%locals\nm.obj\n";
    const read_coff_t file = mcoff_of(program);
    for (size_t k = 0; k < std::size(rows); ++k) {
        SCOPED_TRACE(rows[k].type);
        const read_symbol_t* const symbol = file.find("v" + std::to_string(k));
        ASSERT_NE(symbol, nullptr);
        EXPECT_EQ(symbol->sclass, 2U);
        EXPECT_EQ(symbol->type, rows[k].word);
        EXPECT_EQ(symbol->numaux, rows[k].numaux);
        EXPECT_EQ(symbol->size, rows[k].size);
        EXPECT_TRUE(std::equal(symbol->dimen, symbol->dimen + 4, rows[k].dimen));
    }
}

TEST(McoffWrite, StructsGetOneTagEachInTheOrderOfNeed) {
    program_t program;
    program.sym = "first 20 0 RAM\nsecond 24 0 RAM\nthird 28 0 RAM\n" + code_and_ram + "%locals\nm.obj\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n"
                  "[s S1 outer 4 `*S1 self 2 0 `S2 in 2 2 ]\n"
                  "[s S2 inner 2 `ui low 2 0 :3:0 `ui high 2 1 :5:3 ]\n"
                  "[v first `S1 1 e 4 0 ]\n[v second `[2]S2 1 e 4 0 ]\n[v third `S2 1 e 2 0 ]\n";
    const read_coff_t file = mcoff_of(program);
    EXPECT_EQ(symbol_list(file), "0 outer 10 1\n"
                                 "2 self 8 1\n"
                                 "4 in 8 1\n"
                                 "6 .eos 102 1\n"
                                 "8 inner 10 1\n"
                                 "10 low 18 1\n"
                                 "12 high 18 1\n"
                                 "14 .eos 102 1\n"
                                 "16 first 2 1\n"
                                 "18 second 2 1\n"
                                 "20 third 2 1\n");
    EXPECT_EQ(file.at(2)->tagndx, 0U);
    EXPECT_EQ(file.at(4)->tagndx, 8U); // written before the tag was
    EXPECT_EQ(file.at(12)->value, 11U);
    EXPECT_EQ(file.at(12)->size, 5U);
    EXPECT_EQ(file.at(16)->tagndx, 0U);
    EXPECT_EQ(file.at(18)->tagndx, 8U);
    EXPECT_EQ(file.at(20)->tagndx, 8U);
}

TEST(McoffWrite, EqualStructsOfTwoModulesShareATag) {
    const std::string types = "[p GLOBOPT PIC14 ]\n[s S1 pair 2 `uc a 1 0 `uc b 1 1 ]\n";
    program_t program;
    program.sym = "one 20 0 RAM\ntwo 22 0 RAM\n" + code_and_ram + "%locals\nm.obj\nn.obj\n";
    program.sdb = types + "\"1 m.c\n[v one `S1 1 e 2 0 ]\n";
    program.second_sdb = types + "\"1 n.c\n[v two `S1 1 e 2 0 ]\n";
    EXPECT_EQ(symbol_list(mcoff_of(program)), "0 .file 103 1\n"
                                              "2 pair 10 1\n"
                                              "4 a 8 0\n"
                                              "5 b 8 0\n"
                                              "6 .eos 102 1\n"
                                              "8 one 2 1\n"
                                              "10 .eof 107 0\n"
                                              "11 .file 103 1\n"
                                              "13 two 2 1\n"
                                              "15 .eof 107 0\n");
    EXPECT_EQ(mcoff_of(program).find("two")->tagndx, 2U);
}

TEST(McoffWrite, BitVariablesAreGatheredByByte) {
    program_t program;
    program.sym = "_a 100 0 RAM\n_b 102 0 RAM\n_c 102 0 RAM\n_d 108 0 RAM\n_PORT 21 0 RAM\n" + code_and_ram +
                  "%locals\nm.obj\nn.obj\n";
    program.sdb =
        "[p GLOBOPT PIC14 ]\n[v _d `b 1 e 0 0 ]\n[v _b `b 1 e 0 0 ]\n[v _c `b 1 e 0 0 ]\n[v _a `b 1 e 0 0 ]\n";
    program.second_sdb = "[p GLOBOPT PIC14 ]\n[v _b `b 1 e 0 0 ]\n[v _a `b 1 e 0 0 ]\n";
    const read_coff_t file = mcoff_of(program);
    EXPECT_EQ(symbol_list(file), "0 .u0 10 1\n"
                                 "2 _a 18 1\n"
                                 "4 - 18 1\n"
                                 "6 _b/_c/_b 18 1\n" // a name that differs from the whole one joins it
                                 "8 .eos 102 1\n"
                                 "10 _bitvars1 2 1\n"
                                 "12 .u1 10 1\n"
                                 "14 _d 18 1\n"
                                 "16 .eos 102 1\n"
                                 "18 __PORTbits 2 1\n"
                                 "20 _b 6 0\n" // no symbol has the whole name
                                 "21 _c 6 0\n"
                                 "22 _PORT 6 0\n");
    EXPECT_EQ(file.at(4)->value, 1U);
    EXPECT_EQ(file.at(4)->size, 1U);
    EXPECT_EQ(file.at(18)->value, 0x21U);
    EXPECT_EQ(symbol_list(written(convert(program, {pic14, "-m", "t.sym", "t.hex", "-omcoff", "o.cof"}))),
              "0 .u0 10 1\n2 a 18 1\n4 - 18 1\n6 b/c/b 18 1\n8 .eos 102 1\n10 bitvars1 2 1\n"
              "12 .u1 10 1\n14 d 18 1\n16 .eos 102 1\n18 _PORTbits 2 1\n20 b 6 0\n21 c 6 0\n22 PORT 6 0\n");
}

// A function that returns a bit counts as a bit at its own address. Once another bit's name joins its own, its end
// label is no longer found; before that it is.
TEST(McoffWrite, JoinedNamesCountAtOnce) {
    program_t program;
    program.sym = "_f 10 0 CODE\n_g 20 0 CODE\n_bit 10 0 RAM\n__end_of_f 18 0 CODE\n__end_of_g 28 0 CODE\n" +
                  code_and_ram + "%locals\nm.obj\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n"
                  "[v _f `(b 1 e 0 0 ]\n{\n[v _bit `b 1 e 0 0 ]\n}\n0 0 0 0\n"
                  "[v _g `(b 1 e 0 0 ]\n{\n}\n0 0 0 0\n";
    const read_coff_t file = mcoff_of(program);
    ASSERT_TRUE(symbol_list(file).starts_with("0 .bf 101 1\n2 .bb 100 1\n4 .eb 100 1\n6 .ef 101 1\n"
                                              "8 .bf 101 1\n10 .bb 100 1\n12 .eb 100 1\n14 .ef 101 1\n"));
    EXPECT_EQ(file.at(6)->value, 0x10U);
    EXPECT_EQ(file.at(14)->value, 0x27U);
    EXPECT_NE(file.find("_bit/_f"), nullptr);
}

TEST(McoffWrite, VariablesWithoutPlaceOrType) {
    program_t program;
    program.sym = "typeless 20 0 RAM\nhere 21 0 RAM\n" + code_and_ram + "%locals\nm.obj\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n\"1 a.c\n\"1 b.c\n"
                  "[v nowhere `i 1 e 2 0 ]\n[v typeless `nosuch 1 e 2 0 ]\n[v here `i 1 e 0 0 ]\n"
                  "[v gone `(v 1 e 0 0 ]\n{\n\"7\n\"8\n}\n0 0 0 0\n";
    const result_t result = convert(program, {pic14, "t.sym", "t.hex", "-omcoff", "o.cof"});
    const read_coff_t file = written(result);
    EXPECT_EQ(symbol_list(file), "0 .file 103 1\n" // the one of a.c was taken back
                                 "2 here 5 0\n"    // without a size: only declared here
                                 "3 .bf 101 1\n"
                                 "5 .bb 100 1\n"
                                 "7 .eb 100 1\n"
                                 "9 .ef 101 1\n"
                                 "11 .eof 107 0\n"
                                 "12 typeless 6 0\n");
    EXPECT_EQ(file.at(0)->file_name, "b.c");
    EXPECT_EQ(file.at(3)->scnum, 1);
    // The string of the entry that went stays.
    const std::string& image = result.files.at("o.cof");
    EXPECT_EQ(hex(image.substr(image.size() - 12)), hex(bytes("0C 00 00 00 \"a.c\" 00 \"b.c\" 00")));
}

TEST(McoffWrite, PathsAndNames) {
    program_t program;
    program.sym = "eight_ch 20 0 RAM\nnine_char 21 0 RAM\n" + code_and_ram + "%locals\nm.obj\n";
    program.sdb =
        "[p GLOBOPT PIC14 ]\n\"1 /home/me/src/nine_char\n[v eight_ch `i 1 e 2 0 ]\n[v nine_char `i 1 e 2 0 ]\n";
    const result_t result = convert(program, {pic14, "--pathspec=/home/me,C:", "t.sym", "t.hex", "-omcoff", "o.cof"});
    EXPECT_EQ(written(result).at(0)->file_name, "C:\\src\\nine_char");
    const std::string& image = result.files.at("o.cof");
    // The tail of a string is no string of its own.
    EXPECT_EQ(hex(image.substr(image.size() - 31)),
              hex(bytes("1F 00 00 00 \"C:\\src\\nine_char\" 00 \"nine_char\" 00")));
}

// ---- lines

const std::string main_sdb = "\"1 main.c\n[v _main `(v 1 e 0 0 ]\n{\n\"5\n\"9\n}\n0 0 0 0\n";

TEST(McoffWrite, OneLineRecordForEachAddress) {
    program_t program;
    program.sym = "_main 2 0 CODE\n" + code_and_ram +
                  "%locals\nm.obj\nmain.c\n5 2 0 CODE\n6 4 0 CODE\n9 7 0 CODE\n12 A 0 CODE\n7 30 0 RAM\n"
                  "start.AS\n3 0 0 CODE\n4 10 0 CODE\n5 13 0 RAM\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n" + main_sdb;
    const read_coff_t file = mcoff_of(program);
    // Line 9 is the function's last and covers one instruction; 12 is in no function; the assembler's line at 0 is
    // none.
    EXPECT_EQ(line_list(file), "0:5@2/3 0:5@3/3 0:6@4/3 0:6@5/3 0:6@6/3 0:9@7/3 13:4@16/0 13:4@17/0 13:4@18/0 ");
    EXPECT_EQ(file.at(13)->file_name, "start.AS"); // behind all other symbols
}

TEST(McoffWrite, TwelveBitPartsUseEntryLabelsAndKeepJumpTablesOut) {
    program_t program;
    program.sym = "_main 2 0 CODE\nentry__main 1 0 CODE\n__Ljmp_tab 4 0 ABS\n__Hjmp_tab 5 0 ABS\n" + code_and_ram +
                  "%locals\nm.obj\nmain.c\n5 2 0 CODE\n6 4 0 CODE\n7 6 0 CODE\n9 8 0 CODE\n";
    program.sdb = "[p GLOBOPT PIC12 ]\n" + main_sdb;
    const read_coff_t file = mcoff_of(program, pic12);
    EXPECT_EQ(line_list(file), "0:5@2/3 0:5@3/3 0:7@6/3 0:7@7/3 0:9@8/3 ");
    EXPECT_EQ(file.at(2)->value, 1U); // the member goes by the rule, the symbol in front of the body does not
    EXPECT_EQ(file.at(3)->value, 2U);
    EXPECT_EQ(file.find(".bf")->value, 1U);
    EXPECT_EQ(file.find(".bb")->value, 1U);
    const read_coff_t wider = mcoff_of(program, pic14);
    EXPECT_EQ(wider.find(".bf")->value, 2U);
    EXPECT_EQ(wider.section("_text0")->lines.size(), 7U);
}

TEST(McoffWrite, StepsOfTheMachine) {
    program_t program;
    program.sym = "_main 2 0 CODE\n" + code_and_ram + "%locals\nm.obj\nmain.c\n5 2 0 CODE\n9 7 0 CODE\n";
    program.sdb = "[p GLOBOPT ]\n" + main_sdb;
    // PIC18: every second address, and an instruction is two long.
    EXPECT_EQ(line_list(mcoff_of(program, "-p18F452")), "0:5@2/3 0:5@4/3 0:5@6/3 0:9@7/3 ");
    // 8051: a step of 0 counts as 1, and the last line has no record.
    EXPECT_EQ(line_list(mcoff_of(program, "-p8051")), "0:5@2/3 0:5@3/3 0:5@4/3 0:5@5/3 0:5@6/3 ");
}

TEST(McoffWrite, WhatOneWriterLeavesForTheNext) {
    program_t program;
    program.sym =
        "_main 2 0 CODE\nother 3 0 CODE\n" + code_and_ram + "%locals\nm.obj\nmain.c\n5 2 0 CODE\n9 4 0 CODE\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n" + main_sdb;
    const result_t result = convert(program, {"-pPIC14", "t.sym", "t.hex", "-omcoff", "a.cof", "-ocoff", "b.cof"});
    EXPECT_EQ(line_list(written(result, "a.cof", microchip_coff)), "0:5@2/3 0:5@3/3 0:9@4/3 ");
    // The lines that the first writer attached are there, and come again.
    const read_coff_t second = written(result, "b.cof", pic30_coff);
    EXPECT_EQ(second.section("_text0")->lines.size(), 5U);
    EXPECT_EQ(symbol_list(second), "0 .file 103 1\n2 _main 5 0\n3 .bf 101 1\n5 .ef 101 1\n7 other 6 0\n");
}

// ---- hostile shapes

TEST(McoffWrite, LongChainsOfStructsAndTypes) {
    // Each struct holds a pointer to the next; the tags come out one behind the other.
    constexpr uint32_t count = 20000;
    program_t program;
    program.sym = "head 20 0 RAM\ndeep 22 0 RAM\n" + code_and_ram + "%locals\nm.obj\n";
    program.sdb = "[p GLOBOPT PIC14 ]\n";
    for (uint32_t k = 1; k <= count; ++k) {
        const std::string own = std::to_string(k);
        program.sdb += "[s S" + own + " t" + own + " 2 `*S" + std::to_string(k % count + 1) + " n 2 0 ]\n";
    }
    program.sdb += "[v head `S1 1 e 2 0 ]\n[v deep `" + std::string(16000, '*') + "S1 1 e 2 0 ]\n";
    const read_coff_t file = mcoff_of(program);
    EXPECT_EQ(file.nsyms, count * 6 + 4);
    EXPECT_EQ(file.find("t20000")->index, (count - 1) * 6);
    EXPECT_EQ(file.find("deep")->type, 0x24924928U);
}

TEST(McoffWrite, LinesOutOfProportionAreRefused) {
    // Every function claims all lines: records without end.
    program_t program;
    program.sdb = "[p GLOBOPT PIC14 ]\n\"1 main.c\n";
    for (int k = 0; k < 3000; ++k) {
        const std::string name = "f" + std::to_string(k);
        program.sym += name + " 1 0 CODE\n";
        program.sdb += "[v " + name + " `(v 1 e 0 0 ]\n{\n\"1\n\"65000\n}\n0 0 0 0\n";
    }
    program.sym += code_and_ram + "%locals\nm.obj\nmain.c\n";
    for (int k = 0; k < 3000; ++k) {
        program.sym += std::to_string(k + 1) + " 1 0 CODE\n";
    }
    const result_t result = convert(program, {pic14, "t.sym", "t.hex", "-omcoff", "o.cof"});
    EXPECT_NE(result.err.find("(413)"), std::string::npos);
    EXPECT_LT(result.files.at("o.cof").size(), 100U << 20);
}

// ---- real programs

TEST(McoffWrite, ExamplesAreConsistent) {
    const char* const rows[][2] = {
        {"pic",    "-p16F877,877,PIC14"},
        {"pic18",  "-p18F452,452,PIC18"},
        {"dspic",  "-p30F6014,6014"    },
        {"8051",   "-p8051"            },
        {"mips",   "-p32MX360F512H,360"},
        {"arm",    "-pARM7"            },
        {"holtek", "-pHT48R50"         },
    };
    for (const auto& [folder, processor] : rows) {
        SCOPED_TRACE(folder);
        const read_coff_t file =
            written(run_program({processor, "-nCODE", "gauge.sym", "gauge.hex", "-omcoff", "o.cof"}, example(folder)));
        EXPECT_GT(file.symbols.size(), 150U);
        EXPECT_NE(file.find(".bf"), nullptr);
    }
}

} // namespace
} // namespace tavrel::testing
