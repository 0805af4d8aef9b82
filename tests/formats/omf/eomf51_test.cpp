// Extended OMF-51 through whole runs: detection, the print of what it adds, and the order of records in an output.
#include <gtest/gtest.h>

#include "formats/omf/omf_support.h"

namespace tavrel {
namespace {

using testing::bodies_of;
using testing::bytes;
using testing::dumped;
using testing::files_t;
using testing::listed;
using testing::message_texts;
using testing::record;
using testing::result_t;
using testing::run_program;

const std::string module_header = record(0x02, bytes("01 \"M\" FF 00"));

// ---- reading

TEST(eomf51, probe) {
    struct case_t {
        const char* title;
        std::string file;
        bool extended, plain;
    };
    const std::string info = record(0x70, bytes("FF 00"));
    // clang-format off
    const case_t cases[] = {
        {"module header",    module_header,                              true,  true },
        {"info in front",    info + info + module_header,                true,  false},
        {"typedef in front", record(0x20, "") + module_header,           false, false},
        {"info alone",       info,                                       false, false},
        {"wrong checksum",   bytes("02 04 00 00 FF 00 FA"),              false, false},
        {"cut off",          bytes("02 04 00 00 FF 00"),                 false, false},
        {"empty",            "",                                         false, false},
    };
    // clang-format on
    for (const case_t& test : cases) {
        SCOPED_TRACE(test.title);
        const result_t result = run_program(
            {
                "-c", "in"
        },
            {{"in", test.file}});
        const bool found = result.err.find("==> Confirmed as Extended OMF-51\n") != std::string::npos;
        EXPECT_EQ(found, test.extended) << result.err;
        // The plain row is not asked where the extended one says yes, and says no to the rest.
        EXPECT_EQ(result.err.find("OMF-51\n==> Not OMF-51\n") != std::string::npos, !test.extended) << result.err;
        const result_t forced = run_program(
            {
                "-iomf51", "-d", "in"
        },
            {{"in", test.file}});
        EXPECT_EQ(forced.out.find("@0000    Module header") != std::string::npos, test.plain);
    }
}

TEST(eomf51, typed_entries_read_like_plain_ones) {
    const auto file = [](int type, const char* number) {
        const std::string t(number);
        return record(0x70, bytes("FF 00")) + module_header + record(0x24, bytes("00 00 00 03 \"A.C\"")) +
               record(0x10, bytes("00 01 \"A\"")) + record(0x20, bytes("23 04 00")) +
               record(type, bytes("01 00 42 20 00 " + t + " 01 \"x\" 00 00 30 00 " + t + " 01 \"f\"")) +
               record(type, bytes("00 00 43 21 00 " + t + " 01 \"y\"")) + record(type, bytes("03 00 30 00 07 00"));
    };
    const auto converted = [](const std::string& in) {
        return run_program(
                   {
                       "-ieomf51", "in", "-oomf51", "out.omf"
        },
                   {{"in", in}})
            .files.at("out.omf");
    };
    const std::string out = converted(file(0x22, "20"));
    EXPECT_EQ(out, converted(file(0x12, "00")));
    EXPECT_EQ(bodies_of(out, 0x12),
              (std::vector<std::string>{bytes("01 00 42 20 00 00 01 \"X\" 00 00 30 00 00 01 \"F\""),
                                        bytes("00 00 43 21 00 00 01 \"Y\""), bytes("03 00 30 00 07 00")}));
    const result_t unknown = run_program(
        {
            "--edf=m", "-ieomf51", "in", "-otitxt", "o"
    },
        {{"in", record(0x21, "")}, {"m", message_texts}});
    EXPECT_EQ(unknown.err, "in: (1042) unknown eomf51 33\n");
}

// ---- the print

TEST(eomf51, print_of_each_record) {
    struct case_t {
        int type;
        const char* body;
        const char* text; // behind the place
    };
    // clang-format off
    const case_t cases[] = {
        {0x12, "01 00 42 10 00 03 01 \"v\" 00 00 20 00 0C 01 \"f\" 00 45 00 00 0D 00 00 45 00 00 1F 00 00 45 00 00 20 00 00 45 00 00 FF 00",
         "      Debug Item, len  40: Public symbols\n"
         "\t\tSEG 0, VAR DATA unsigned char offset 0x0010: v\n"
         "\t\tSEG 0, FUNC CODE float big endian offset 0x0020: f\n"
         "\t\tSEG 0, VAR NUMBER Unknown(D) offset 0x0000: \n"
         "\t\tSEG 0, VAR NUMBER Unknown(1F) offset 0x0000: \n"
         "\t\tSEG 0, VAR NUMBER Typedef(20) offset 0x0000: \n"
         "\t\tSEG 0, VAR NUMBER Typedef(FF) offset 0x0000: \n"},
        {0x22, "00 00 C2 10 00 00 01 \"v\"", " Keil Debug Item, len   9: Local symbols\n\t\tSEG 0, IND VAR DATA typeless offset 0x0010: v\n"},
        {0x22, "02 01 42 10 00 04 01 \"S\"", " Keil Debug Item, len   9: Segment symbols\n\t\tSEG 1, DATA offset 0x0010: S\n"},
        {0x22, "03 00 10 00 02 00 01",       " Keil Debug Item, len   8: Line numbers\n\t\tSEG 0, offset 0x0010, line 2\nBad length\n"},
        {0x24, "02 01 FF 03 \"a.c\"",        "Source file name, len   8: Flags: 300 Name: 'a.c'\n"},
        {0x24, "00 00 00 03 \"a.\"",         "Source file name, len   7: Bad length\n"},
        {0x70, "00 00 00 00 00 00 01 \"o\"", "       Keil info, len   9: \n\t\tFile: output, Time = Thu Jan  1 00:00:00 1970; Name = 'o'\n"},
        {0x70, "01 1A FF FF FF 7F 04 \"a\" 00 09 \"b\"",
         "       Keil info, len  12: \n\t\tFile: source (1A), Time = Tue Jan 19 03:14:07 2038; Name = 'ab'\n"},
        {0x70, "02 00 00 00 00 00 00 03 00 80 51 01 00 00 04 01 00 00 00 00 00", 
         "       Keil info, len  22: \n"
         "\t\tFile: header, Time = Thu Jan  1 00:00:00 1970; Name = ''\n"
         "\t\tFile: linker script, Time = Fri Jan  2 00:00:00 1970; Name = ''\n"
         "\t\tFile: object/library (1), Time = Thu Jan  1 00:00:00 1970; Name = ''\n"},
        {0x70, "05 FE FF 05 \"a -\" E4 \"b\" 00 00",
         "       Keil info, len  12: \n\t\tUnknown key 0x05\n\t\tUnknown key 0xFE\n\t\tCommand line: 'a -b'\nBad length\n"},
        {0x20, "28 01 02 00 01 00 00 00 04", "    Keil typedef, len  10: \n"
         "                           0x20 = Pointer to signed int size 2  (1 2 0 1 0 0 0 )\n"},
        {0x20, "28 02 01 01 01 00 00 00 20 28 02 02 02 01 00 00 00 00 28 02 01 03 01 00 00 00 0D 28 02 01 04 01 00 00 00 1F 28 02 02 05 0A 0B 0C 0D 02", 
         "    Keil typedef, len  46: \n"
         "                           0x20 = Pointer to type(0x20) size 1 IDATA (2 1 1 1 0 0 0 )\n"
         "                           0x21 = Pointer to typeless size 2 XDATA (2 2 2 1 0 0 0 )\n"
         "                           0x22 = Pointer to type(0xD) size 1 PDATA (2 1 3 1 0 0 0 )\n"
         "                           0x23 = Pointer to type(0x1F) size 1 DATA (2 1 4 1 0 0 0 )\n"
         "                           0x24 = Pointer to signed char size 2 CODE (2 2 5 A B C D )\n"},
        {0x20, "20 02 00 02 01 04 01 \"a\" 00 00 21 02 \"bc\" 20 00 00", "    Keil typedef, len  18: \n"
         "                           0x20 = 2 params (signed int a offs 2/1, type(0x21) bc offs 0/0)\n"
         "                           0x21 = params ()\n"},
        {0x20, "22 01 2C 01 03 23 0B 00 23 04 20", "    Keil typedef, len  12: \n"
         "                           0x20 = Array[300] of unsigned char\n"
         "                           0x21 = Function returning void no parms\n"
         "                           0x22 = Function returning signed int parms 0x20\n"},
        {0x20, "24 00 03 \"tag\" 24 1B 01 \"u\" 25 08 00 21 20 25 FF A0 05 00 26 01 05 03", "    Keil typedef, len  25: \n"
         "                           0x20 = tag tag\n"
         "                           0x21 = tag(1B) u\n"
         "                           0x22 = struct size 8 membs type(0x21) tag 0x20\n"
         "                           0x23 = struct size 255(A0) membs unsigned int tag 0x0\n"
         "                           0x24 = bitfield(3@5)\n"},
        {0x20, "21 23 04 00 20 02 00 00 00 04 01 \"a\" 00", "    Keil typedef, len  14: \n"
         "                           0x20 = Unknown key 0x21\n"
         "                           0x21 = Function returning signed int no parms\n"
         "Bad length\n"},
        {0x20, "28 01 02 00 01 00 00 00", "    Keil typedef, len   9: \nBad length\n"},
        {0x30, "00",                      "   Unknown(0x30), len   2: \n"},
    };
    // clang-format on
    for (const case_t& test : cases) {
        EXPECT_EQ(dumped("eomf51", record(test.type, bytes(test.body))),
                  std::string("Extended OMF-51 file dump:\n\n@0000 ") + test.text + "\n");
    }
}

TEST(eomf51, print_goes_on_behind_an_unknown_record) {
    EXPECT_EQ(dumped("eomf51", record(0x30, "") + record(0x10, bytes("03 00"))),
              "Extended OMF-51 file dump:\n\n@0000    Unknown(0x30), len   1: \n"
              "@0004        Scope Def, len   3: Module block end; Name = ''\n\n");
}

TEST(eomf51, item_numbers_go_on_beyond_one_byte) {
    std::string body;
    for (int k = 0; k < 225; ++k) {
        body += bytes("23 04 00");
    }
    EXPECT_NE(dumped("eomf51", record(0x20, body))
                  .find("\n                           0xFF = Function returning signed int no parms\n"
                        "                           0x100 = Function"),
              std::string::npos);
}

// ---- writing

std::string pairs(uint32_t address, const std::string& data) { // one Intel HEX record
    std::string line = {static_cast<char>(data.size()), static_cast<char>(address >> 8), static_cast<char>(address), 0};
    line += data;
    char sum = 0;
    for (const char c : line) {
        sum = static_cast<char>(sum - c);
    }
    line.push_back(sum);
    std::string text = ":";
    for (const char c : testing::hex(line)) {
        text += c == ' ' || c == '\n' ? "" : std::string(1, c);
    }
    return text + "\n";
}

// A run on a symbol file, an image and SDB files of that text; gives the output.
std::string written(const std::string& symbols, const std::string& image, const files_t& others,
                    const std::string& output = "out.x") {
    files_t files = others;
    files["all.sym"] = symbols;
    files["all.hex"] = image + ":00000001FF\n";
    const result_t result = run_program({"-p8051", "all.sym", "all.hex", "-oeomf51", output}, files);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.files.at(output);
}

TEST(eomf51, plain_form_without_a_tree) {
    const std::string out = written("zero 0 0 ABS\n"
                                    "src/first.c\n"
                                    "_Main 10 0 CODE\n"
                                    "__x 20 0 DATA\n"
                                    "5 10 0 CODE\n"
                                    "%locals\n"
                                    "_loc 30 0 XDATA\n",
                                    pairs(0x10, "ab"), {});
    EXPECT_EQ(listed(out),
              listed(record(0x02, bytes("03 \"ALL\" FF 00")) + record(0x10, bytes("00 03 \"ALL\"")) +
                     record(0x12, bytes("01 00 45 00 00 00 04 \"zero\"")) + record(0x10, bytes("03 03 \"ALL\"")) +
                     record(0x06, bytes("00 10 00 \"ab\"")) + record(0x10, bytes("00 09 \"SRC/FIRST\"")) +
                     record(0x12, bytes("01 00 00 10 00 00 04 \"Main\" 00 42 20 00 00 02 \"_x\"")) +
                     record(0x12, bytes("00 00 41 30 00 00 03 \"loc\"")) + record(0x12, bytes("03 00 10 00 05 00")) +
                     record(0x10, bytes("03 09 \"SRC/FIRST\"")) + record(0x04, bytes("03 \"ALL\" 00 00 0F 00"))));
}

TEST(eomf51, names_of_more_than_forty_characters) {
    const std::string out =
        written("%locals\n" + std::string(200, 'n') + ".c\n_" + std::string(240, 's') + " 1 0 CODE\n", "", {});
    EXPECT_EQ(bodies_of(out, 0x02)[0], bytes("C8") + std::string(200, 'N') + bytes("FF 00"));
    EXPECT_EQ(bodies_of(out, 0x12)[0], bytes("00 00 00 01 00 00 F0") + std::string(240, 's'));
}

// One module with two functions, the first of which lies behind the second.
const std::string small_symbols = "zero 0 0 ABS\n"
                                  "main.obj\n"
                                  "main.c\n"
                                  "_f 100 0 CODE\n"
                                  "_g 10 0 CODE\n"
                                  "_x 20 0 DATA\n"
                                  "?a_f 30 0 DATA\n"
                                  "_pub 40 0 XDATA\n"
                                  "5 100 0 CODE\n"
                                  "6 104 0 CODE\n"
                                  "8 10 0 CODE\n"
                                  "9 14 0 CODE\n";
const std::string small_image = pairs(0x08, "0123456789abcdef") + pairs(0x100, "ABCDEFGHIJ");
const std::string small_sdb = "[p SPACEOPT ]\n"
                              "\"2 main.c\n"
                              "[v _x `i 1 e 2 0 ]\n"
                              "[v _nowhere `i 1 e 2 0 ]\n" // without a place
                              "[v _pub `! 1 e 2 0 ]\n"     // without a type
                              "\"5\n"
                              "[v _f `(v 1 e 0 0 ]\n"
                              "{\n"
                              "\"5\n"
                              "[v _n `uc 1 a 1 2 ]\n"
                              "[v _r `uc 1 r 1 r5 ]\n"
                              "{\n"
                              "\"6\n"
                              "}\n"
                              "}\n"
                              "0 0 0 0\n"
                              "\"8\n"
                              "[v _g `(i 1 s 0 0 ]\n"
                              "{\n"
                              "\"9\n"
                              "}\n"
                              "0 0 0 0\n";

const std::string small_tree_head =
    record(0x02, bytes("03 \"OUT\" FF 00")) + record(0x10, bytes("00 04 \"MAIN\"")) +
    record(0x24, bytes("00 00 00 06 \"MAIN.C\"")) + // variables of the module
    record(0x20, bytes("23 0B 00")) + record(0x22, bytes("01 00 02 20 00 04 01 \"x\" 00 00 00 01 20 01 \"f\"")) +
    record(0x20, bytes("23 04 00")) + // the definition type changes, and all with it
    record(0x22, bytes("00 00 00 10 00 20 01 \"g\"")) + record(0x10, bytes("02 02 \"_F\"")) +
    record(0x10, bytes("01 00")) +
    record(0x22, bytes("00 00 02 32 00 03 01 \"n\""  // ?a_f and 2
                       "00 02 00 00 03 01 \"r\"")) + // a register
    record(0x10, bytes("01 00")) +
    record(0x10, bytes("04 00")) + record(0x06, bytes("00 00 01 \"ABCD\"")) + // 100 to 104: lines 5 and 6
    record(0x12, bytes("03 00 00 01 05 00 00 04 01 06 00")) + record(0x10, bytes("04 00")) +
    record(0x10, bytes("05 02 \"_F\"")) + record(0x10, bytes("02 02 \"_G\"")) + record(0x10, bytes("01 00")) +
    record(0x06, bytes("00 10 00 \"89abcdef\"")) + // 10 up to what is written
    record(0x12, bytes("03 00 10 00 08 00 00 14 00 09 00")) + record(0x10, bytes("04 00")) +
    record(0x10, bytes("05 02 \"_G\"")) + record(0x10, bytes("03 04 \"MAIN\""));
const std::string small_tree_tail = record(0x06, bytes("00 08 00 \"0123456789abcdef\"")) + // 0 to 10: 16 bytes at most
                                    record(0x06, bytes("00 04 01 \"EFGHIJ\"")) +           // 104 to the end
                                    record(0x04, bytes("03 \"OUT\" 00 00 0F 00"));

TEST(eomf51, tree_form) {
    files_t files;
    files["main.sdb"] = small_sdb;
    const std::string publics = record(0x12, bytes("01 00 45 00 00 00 04 \"zero\""
                                                   "00 00 10 00 00 01 \"g\""
                                                   "00 42 30 00 00 04 \"?a_f\""
                                                   "00 41 40 00 00 03 \"pub\""));
    EXPECT_EQ(listed(written(small_symbols, small_image, files, "out.x")),
              listed(small_tree_head + publics + small_tree_tail));
}

TEST(eomf51, several_outputs_of_one_run) {
    files_t files;
    files["main.sdb"] = small_sdb;
    files["all.sym"] = small_symbols;
    const std::vector<std::string> inputs = {"-p8051", "-nCODE", "all.sym"};
    const auto run = [&](const std::vector<std::string>& outputs) {
        std::vector<std::string> args = inputs;
        args.insert(args.end(), outputs.begin(), outputs.end());
        return run_program(args, files).files;
    };
    const files_t both = run({"-oeomf51", "e.x", "-oomf51", "o.x"});
    const std::string publics = bytes("01 00 45 00 00 00 04 \"zero\""
                                      "00 00 10 00 00 01 \"g\""
                                      "00 42 30 00 00 04 \"?a_f\""
                                      "00 41 40 00 00 03 \"pub\"");
    EXPECT_EQ(bodies_of(both.at("e.x"), 0x12).back(), publics);
    EXPECT_EQ(both.at("o.x"), run({"-oomf51", "o.x"}).at("o.x")); // OMF-51 looks at no mark
    // COD marks what has a place and a type in the tree, too, so the order of the two changes nothing here.
    EXPECT_EQ(run({"-ocod", "c.x", "-oeomf51", "e.x"}).at("e.x"), both.at("e.x"));
}

TEST(eomf51, source_name_stays_until_a_module_brings_another) {
    files_t files;
    for (const char* const name : {"one.sdb", "two.sdb", "sub/three.sdb"}) {
        files[name] = "[p SPACEOPT ]\n[v _a `i 1 e 2 0 ]\n";
    }
    const std::string entry = record(0x22, bytes("01 00 00 01 00 04 01 \"a\""));
    const std::string out = written("%locals\none.obj\ntwo.obj\nsub/three.obj\nsub/three.c\none.c\n_a 1 0 CODE\n", "",
                                    files, "dir.d/a.b.c");
    EXPECT_EQ(listed(out),
              listed(record(0x02, bytes("09 \"DIR.D/A.B\" FF 00")) + record(0x10, bytes("00 03 \"ONE\"")) +
                     record(0x24, bytes("00 00 00 05 \"ONE.C\"")) + entry + record(0x10, bytes("03 03 \"ONE\"")) +
                     record(0x10, bytes("00 03 \"TWO\"")) + entry + record(0x10, bytes("03 03 \"TWO\"")) +
                     record(0x10, bytes("00 09 \"SUB/THREE\"")) + record(0x24, bytes("00 00 00 0B \"SUB/THREE.C\"")) +
                     entry + record(0x10, bytes("03 09 \"SUB/THREE\"")) +
                     record(0x04, bytes("09 \"DIR.D/A.B\" 00 00 0F 00"))));
}

// A function takes the file of the mark in front of it or, in front of all marks of its scope, that of the last.
TEST(eomf51, lines_of_a_function_come_from_the_marked_file) {
    const auto lines = [](const std::string& sdb) {
        files_t files;
        files["m.sdb"] = "[p SPACEOPT ]\n" + sdb;
        return bodies_of(
            written("%locals\nm.obj\na.c\n_f 10 0 CODE\n3 10 0 CODE\n4 14 0 CODE\nb.c\n3 20 0 CODE\n4 24 0 CODE\n", "",
                    files),
            0x12);
    };
    const std::string function = "[v _f `(v 1 s 0 0 ]\n{\n\"4\n}\n0 0 0 0\n";
    const std::vector<std::string> none;
    const std::vector<std::string> of_a = {bytes("03 00 10 00 03 00 00 14 00 04 00")};
    const std::vector<std::string> of_b = {bytes("03 00 20 00 03 00 00 24 00 04 00")};
    EXPECT_EQ(lines("\"3 a.c\n" + function), of_a);
    EXPECT_EQ(lines("\"3 a.c\n" + function + "\"9 b.c\n"), of_a);
    EXPECT_EQ(lines("\"9 a.c\n\"3 b.c\n" + function), of_b);
    EXPECT_EQ(lines("\"3\n" + function + "\"9 a.c\n\"10 b.c\n"), of_b);
    EXPECT_EQ(lines("\"3\n" + function), none);
    EXPECT_EQ(lines("\"3 c.c\n" + function), none);
}

} // namespace
} // namespace tavrel
