// ICOFF as written.
#include "formats/coff/coff_program.h"

namespace tavrel::testing {
namespace {

TEST(IcoffWrite, WholeFile) {
    const program_t program = {"start 4 0 CODE\nabs 7\n"
                               "%segments\ntext 0 5 CODE\na_long_segment 20 22 RAM\n"
                               "%locals\na.c\nhidden 1 0 CODE\n3 2 0 CODE\nb.as\n7 3 0 CODE\n",
                               "", "", "\x11\x22\x33\x44"};
    const result_t result = convert(program, {"t.sym", "t.hex", "-oicoff", "o.cof"}, "305419896");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(hex(result.files.at("o.cof")), hex(bytes(R"(
        01 81  00 04  12 34 56 78  00 00 00 D2  00 00 00 05  00 00  10 03    ; file header
        "CODE" 00 00 00 00                                                   ; section 1, without data, with all lines
          00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 B4  00 00 00 00  00 00 00 BA  00 00  00 04  00 00 40 80
        "text" 00 00 00 00                                                   ; section 2
          00 00 00 00  00 00 00 00  00 00 00 06  00 00 00 B4  00 00 00 00  00 00 00 D2  00 00  00 00  00 00 40 20
        "RAM" 00 00 00 00 00                                                 ; section 3
          00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 BA  00 00 00 00  00 00 00 D2  00 00  00 00  00 00 40 80
        "a_long_s"                                                           ; section 4
          00 00 00 20  00 00 00 20  00 00 00 03  00 00 00 BA  00 00 00 00  00 00 00 D2  00 00  00 00  00 00 40 80
        11 22 33 44  00 00                                                   ; text takes up all of its size
        00 00 00 03 00 00   00 00 00 02 00 03                                ; a.c is symbol 3; line 3 at 2
        00 00 00 00 00 00   00 00 00 03 00 07                                ; b.as has no symbols and no record
        00 00 00 1B  00 00 00 00  00 00 00 00  00 00 00 00  37 00            ; t.sym
        00 00 00 15  00 00 00 04  00 00 00 00  00 00 00 01  01 00            ; start
        00 00 00 05  00 00 00 07  00 00 00 00  FF FF FF FF  01 00            ; abs
        00 00 00 01  00 00 00 00  00 00 00 00  00 00 00 00  37 00            ; a.c
        00 00 00 0E  00 00 00 01  00 00 00 00  00 00 00 01  02 00            ; hidden
        00 "a.c" 00 "abs" 00 "b.as" 00 "hidden" 00 "start" 00 "t.sym" 00     ; strings, sorted
    )")));
}

TEST(IcoffWrite, NothingToWrite) {
    const result_t result = convert({"%segments\n", "", ""}, {"t.sym", "-oicoff", "o.cof"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(hex(result.files.at("o.cof")),
              hex(bytes("01 81 00 00 00 00 00 00 00 00 00 14 00 00 00 00 00 00 10 03  00")));
}

TEST(IcoffWrite, BlocksStandByTheirAddress) {
    // The block lies at its load address 0; the segment runs at 2 and so has room for it only from its third byte on.
    const result_t below =
        convert({"%segments\nhigh 2 7 CODE 0\n", "", "", "abcd"}, {"t.sym", "t.hex", "-oicoff", "o.cof"});
    // CODE and high: 0x64 is the end of the headers, the section still takes its six bytes.
    EXPECT_EQ(hex(below.files.at("o.cof").substr(0x64)), hex(bytes("00 00 00 00 00 00  00 \"t.sym\" 00")));
    // A block behind a hole.
    files_t files;
    files["t.sym"] = "%segments\ntext 100 10F CODE\n";
    files["t.hex"] = ":0201000061623A\n:0201080063642E\n:00000001FF\n";
    const result_t holes = run_program({"-nCODE", "t.sym", "t.hex", "-oicoff", "o.cof"}, files);
    EXPECT_EQ(hex(holes.files.at("o.cof").substr(0x64, 16)),
              hex(bytes("\"ab\" 00 00 00 00 00 00 \"cd\" 00 00 00 00 00 00")));
}

TEST(IcoffWrite, SectionsOutOfProportionAreRefused) {
    const result_t result =
        convert({"%segments\ntext 0 EFFFFFFF CODE\n", "", ""}, {"t.sym", "t.hex", "-oicoff", "o.cof"});
    EXPECT_NE(result.err.find("(413)"), std::string::npos);
    EXPECT_EQ(result.files.at("o.cof"), "");
}

} // namespace
} // namespace tavrel::testing
