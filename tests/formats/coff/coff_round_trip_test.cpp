// What a writer of the COFF family puts into a file, its reader brings back: image and labels, through every row.
#include <gtest/gtest.h>

#include "formats/coff/coff_bytes.h"

namespace tavrel::testing {
namespace {

const std::string image = ":10010000000102030405060708090A0B0C0D0E0F77\n:00000001FF\n";

// Two segments, code in the first; two labels, the second with a long name.
const std::string symbols = "start 100 0 code\n"
                            "a_name_of_18_chars 108 0 code\n"
                            "%segments\n"
                            "code 100 10F code\n"
                            "data 800 803 data\n";

struct round_t {
    const char *key, *processor;
    uint32_t unit; // of code addresses in the file
};

constexpr round_t rounds[] = {
    {"mcoff", "-p16F877,1234,PIC14", 2},
    {"mcoff", "-p18F452,1,PIC18",    1},
    {"coff",  "-pMotorola 68K",      1},
    {"coff",  "-pTower",             1},
    {"coff",  "-pH8/300",            1},
    {"coff",  "-pH8/300H",           1},
    {"coff",  "-pSH",                1},
    {"coff",  "-pPIC30",             2},
    {"coff",  "-pPIC24",             2},
    {"coff",  "-pPIC12",             2},
    {"coff",  "-pPIC14",             2},
    {"coff",  "-pPIC16",             2},
    {"coff",  "-pPIC18",             2},
    {"icoff", "-pnone",              1},
};

TEST(CoffRoundTrip, ImageAndLabels) {
    for (const round_t& round : rounds) {
        const std::string key = round.key;
        const result_t written = run_program(
            {
                "a.sym", "a.hex", "-ncode", round.processor, "-o" + key, "out.cof"
        },
            {{"a.sym", symbols}, {"a.hex", image}, {"msgs", coff_messages}});
        ASSERT_EQ(written.status, 0) << key << round.processor << written.err;
        const std::string file = written.files.at("out.cof");
        const result_t read = run_program(
            {
                "in.cof", "-oihex", "out.hex", "-onorvane", "out.sym"
        },
            {{"in.cof", file}});
        ASSERT_EQ(read.status, 0) << key << round.processor << read.err;
        EXPECT_EQ(read.files.at("out.hex"), image) << key << round.processor;
        EXPECT_NE(lines_with(read.files.at("out.sym"), "start 100 "), "") << key << round.processor;
        EXPECT_NE(lines_with(read.files.at("out.sym"), "a_name_of_18_chars 108 "), "") << key << round.processor;
        const result_t dumped = run_program(
            {
                "in.cof", "-d", "-v", "-v"
        },
            {{"in.cof", file}});
        EXPECT_EQ(dumped.status, 0) << key << round.processor << dumped.err;
        const text_t place = key == "icoff" ? ": @%lX size 10 " : ": @%lX scnptr ";
        EXPECT_NE(dumped.out.find(format_text(place, 0x100 / round.unit)), std::string::npos) << key << round.processor;
    }
}

} // namespace
} // namespace tavrel::testing
