// The text formats and the P&E map, through whole runs: what goes in and what comes out in another of them.
#include <gtest/gtest.h>

#include "support/run.h"

namespace tavrel {
namespace {

using testing::bytes;
using testing::result_t;
using testing::run_program;

std::string converted(const std::string& input, const std::vector<std::string>& options, const std::string& key,
                      int status = 0) {
    std::vector<std::string> args = options;
    args.insert(args.end(), {"in", "-o" + key, "out.x"});
    const result_t result = run_program(args, {
                                                  {"in", input}
    });
    EXPECT_EQ(result.status, status) << result.err;
    const auto out = result.files.find("out.x");
    return out == result.files.end() ? "" : out->second;
}

TEST(norvane, lines_of_every_kind) {
    const std::string input = "main 12 1 CODE\r\n"
                              "3 14 1 CODE\n"
                              "%segments\n"
                              "CODE 0 FF CODE 100\n"
                              "DATA 20 2F RAM\n"
                              "x.cinit 1 2 3\n"
                              "%locals\n"
                              "__Lram 20 0 ABS\n"
                              "__Hram 7F\n"
                              "only-one-field\n"
                              "neg -1 0 ABS\n"
                              "bad zz 0\n"
                              "  spaced   30  0   RAM  \n"
                              "lost 5 0 CODE";
    const result_t result = run_program(
        {
            "-v", "-v", "in", "-otitxt"
    },
        {{"in", input}});
    EXPECT_NE(result.err.find("\nFile: in\nSymbols: 1\n\tCODE 12       main\nLines: 1\n\t00003: 14-14 CODE\n"
                              "\nFile: x.cinit 1 2 3\nSymbols: 3\n\t     FFFFFFFF neg\n\t     FFFFFFFF bad\n"
                              "\tRAM  30       spaced\nLines: 0\n"
                              "\nSegments: 4\n\tCODE 0\n\tCODE 0-FF Load@100\n\tRAM  0\n\tDATA 20-2F\n\n"),
              std::string::npos)
        << result.err;
}

TEST(norvane, writes_globals_first_and_files_up_to_the_last_used) {
    const std::string map = bytes("\"P&E Microcomputer Map File\" 1A 00 03 03 \"a.c\" 00 \"b.c\" 00 \"c.c\" 00"
                                  "34 12 00 00 00 00 00 \"free\" 00" // no file
                                  "10 00 00 00 02 00 07 \"both\" 00" // b.c, line 7
                                  "08 00 00 00 02 00 05 00");        // b.c, line 5 only
    EXPECT_EQ(converted(map, {}, "norvane"), "free 1234 0\n%locals\na.c\nb.c\n5 8 0\nboth 10 0\n7 10 0\n");
}

TEST(norvane, absolute_and_placed_symbols) {
    EXPECT_EQ(converted("b 20 0 CODE\na 10 0 ABS\nz 5 0 CODE\n9 20 0 CODE\n", {}, "norvane"),
              "%locals\nin\na 10\nz 5 1 CODE\nb 20 1 CODE\n9 20 1 CODE\n");
}

TEST(norvane, probe) {
    struct case_t {
        const char* text;
        bool yes;
    };
    const case_t cases[] = {
        {"%locals\n",     true },
        {"%segments\r\n", true },
        {"main 0 0\n",    true },
        {"main + -\n",    true },
        {"main 100\n",    false},
        {"main 0 0",      false},
        {"a 1 g\n",       false},
        {"a\t1\t2\n",     false},
    };
    for (const case_t& c : cases) {
        const result_t result = run_program(
            {
                "-c", "in"
        },
            {{"in", c.text}});
        EXPECT_EQ(result.err.find("Confirmed as Norvane Software") != std::string::npos, c.yes) << c.text;
    }
}

TEST(ihex, reads_bases_and_refuses_what_does_not_add_up) {
    struct case_t {
        const char* text;
        int status;
        const char* srec;
    };
    const case_t cases[] = {
        {":020000040001F9\n:0100100041AE\n:00000001FF\n", 0, "S20501001041A8\n"},
        {":020000021000EC\n:0100100041AE\n",              0, "S20501001041A8\n"},
        {":0100000041BE\r\n:0100010042BC\r\n",            0, "S1050000414277\n"},
        {":0100000041BE\n\n:0100010042BC\n",              1, "S104000041BA\n"  }, // 635: a line without a colon
        {":0100000041BF\n:0100010042BC\n",                1, "S104000041BA\n"  }, // 636: the block before its checksum stays
        {":0400000500001234B1\n:0100000041BE\n",          0, "S104000041BA\n"  },
        {":03000099AABB00FF\n",                           1, ""                }, // a type of nobody: its data stands where the checksum should
        {":",                                             1, ""                },
        {"",                                              0, ""                },
    };
    for (const case_t& c : cases) {
        EXPECT_EQ(converted(c.text, {"-iihex"}, "s19", c.status), c.srec) << c.text;
    }
}

TEST(ihex, writes_extended_addresses_where_the_upper_half_changes) {
    // 17 bytes at FFF8: the first record crosses the border and is not split.
    std::string srec = "S114FFF8";
    for (int k = 0; k < 17; ++k) {
        srec += "00";
    }
    EXPECT_EQ(converted(srec + "00\n", {"-is19"}, "ihex"),
              ":10FFF80000000000000000000000000000000000F9\n:020000040001F9\n:0100080000F7\n:00000001FF\n");
    EXPECT_EQ(converted("", {"-is19"}, "ihex"), ":00000001FF\n");
}

TEST(s19, chooses_the_record_by_the_address) {
    EXPECT_EQ(converted(":10FFF00000000000000000000000000000000000" // sixteen bytes up to the border
                        "01\n:020000040001F9\n:0100000000FF\n:020000040100F9\n:0100000000FF\n",
                        {}, "s19"),
              "S113FFF000000000000000000000000000000000FD\nS20501000000F9\nS3060100000000F8\n");
}

TEST(s19, reads_without_testing_checksums) {
    EXPECT_EQ(converted("S00600004844521B\nS10400004100\nS9030000FC\nS10400014200\n", {}, "titxt"),
              "@0000\n41 \nq\n\n");
    EXPECT_EQ(converted("S1020000\n", {}, "titxt"), "q\n\n"); // a count below what the address needs
    EXPECT_EQ(converted("S30601000000FF\n", {"-is19"}, "titxt"), "@1000000\nFF \nq\n\n");
}

TEST(titxt, dump_and_probe) {
    const result_t result = run_program(
        {
            "-d", "in"
    },
        {{"in", "@FFFe\n01 02 3\n04\nrest\nq\n05\n"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "TI-.txt file dump:\n\n FFFE :  01 02\n 10000 :  04\n\n");
    EXPECT_EQ(run_program(
                  {
                      "-d", "in"
    },
                  {{"in", "AA BB\n"}})
                  .out,
              "TI-.txt file dump:\n\n 0000 :  AA BB\n\n");
    EXPECT_EQ(run_program(
                  {
                      "-d", "in"
    },
                  {{"in", "AA BB \n"}})
                  .status,
              1);
}

TEST(titxt, lines_of_sixteen) {
    const std::string seventeen = "S1140000" + std::string(34, '1') + "00\n";
    EXPECT_EQ(converted(seventeen, {}, "titxt"), "@0000\n11 11 11 11 11 11 11 11 11 11 11 11 11 11 11 11 \n11 \nq\n\n");
}

TEST(pe, lines_and_symbols_of_one_place_share_a_record) {
    const std::string input = "_main 10 0 CODE\n7 10 0 CODE\n"
                              "other.c\n9 20 0 CODE\nx 12345678 0 ABS\nunused.c\n";
    EXPECT_EQ(testing::hex(converted(input, {}, "pe")),
              testing::hex(bytes("\"P&E Microcomputer Map File\" 1A 00 03 02 \"IN\" 00 \"OTHER.C\" 00"
                                 "10 00 00 00 01 00 07 \"_MAIN\" 00"
                                 "78 56 34 12 00 00 00 \"X\" 00"
                                 "20 00 00 00 02 00 09 00")));
}

TEST(pe, what_the_end_of_the_file_cuts_is_dropped) {
    const std::string map = bytes("\"P&E Microcomputer Map File\" 1A 00 02 01 \"a.c\" 00"
                                  "10 00 00 00 01 00 07 \"both\" 00"
                                  "20 00 00 00 01 00 08 \"cut\"");
    EXPECT_EQ(converted(map, {}, "norvane"), "%locals\na.c\nboth 10 0\n7 10 0\n");
    EXPECT_EQ(converted(map.substr(0, 31), {}, "norvane"), "");
}

} // namespace
} // namespace tavrel
