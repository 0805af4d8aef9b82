// COD files recognised and printed, from files put together by hand.
#include <gtest/gtest.h>

#include "support/run.h"

namespace tavrel::testing {
namespace {

std::string block(std::string_view text) {
    std::string result = bytes(text);
    result.resize(512);
    return result;
}

void poke(std::string& file, size_t at, std::string_view text) { file.replace(at, bytes(text).size(), bytes(text)); }

// Block 1 short symbols, 2 code, 3 lines, 4 file names, 5 locals; the directory in front.
std::string sample() {
    std::string directory(512, '\0');
    poke(directory, 2 * 1, "02 00");              // page at 0x200
    poke(directory, 256, "05 \"a.cod\"");         // source
    poke(directory, 320, "07 \" 1Apr07\" 0F 09"); // date; time 2319
    poke(directory, 330, "03 \"1.2\"");           // version
    poke(directory, 350, "0C \"eleven chars\"");  // compiler, its length beyond the field
    poke(directory, 362, "02 \"ok\"");            // notice
    poke(directory, 426, "01 00 01 00");          // symbols
    poke(directory, 430, "04 00 04 00");          // names
    poke(directory, 434, "03 00 03 00");          // lines
    poke(directory, 438, "02 34 12");             // address size, high address
    poke(directory, 443, "09 00 08 00");          // memory map
    poke(directory, 447, "05 00 05 00");          // locals
    poke(directory, 451, "01 00 08 \"PIC16C74\"");
    poke(directory, 462, "0A 00 0B 00 0C 00 0D 00"); // long symbols, messages
    std::string lines = block(R"(
        00 FF 00 00 00 00
        00 80 07 00 00 02
        01 90 FF FF 00 00)");
    return directory + block(R"(
        04 "main" 00 00 00 00 00 00 00 00 10 00 02
        00 "unused......" 10 00 02
        0C "twelve_chars" 02 FF FF
        FF "length_beyon" 00 34 12
        01 "z" 00 00 00 00 00 00 00 00 00 00 00 B7 01 00
        01 "y" 00 00 00 00 00 00 00 00 00 00 00 B8 02 00)") +
           block("\"code in here\" 00 FF") + lines + block(R"(
        03 "a.c" 00 00 00 00 00 00 00 00 00 00 00 00
        00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
        00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
        00 "no name takes no number" 00 00 00 00 00 00 00 00
        00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
        24 "a_name_of_36_characters_in_full_12.c")") +
           block(R"(
        07 "__LOCAL" 00 02 00 00 10 02 00 00
        01 "x" 00 00 00 00 00 00 00 00 00 00 00 92 20 00)");
}

const char* sample_dump =
    "Source:\ta.cod\nDate:\t 1Apr07\tTime:\t23:19\nVersion:1.2\tCompiler: eleven char\nNotice:\tok\n"
    "Symtab:\t1/1; Namtab: 4/4; Lsttab: 3/3\nAddr:\t2, highaddr 1234\n"
    "Memmap:\t9/8; Locals: 5/5; Lsymtab 10/11; Messtab 12/13\nCodtyp:\t1; Processor PIC16C74\n"
    "Code: 0200h at block 2\n"
    "Symbols:\n"
    "\tmain           (func_void_none)       0200\n"
    "\ttwelve_chars   (c_byte)               FFFF\n"
    "\tlength_beyon   (00)                   1234\n"
    "\tz              (p_float24)            0001\n"
    "\ty              (B8)                   0002\n"
    "Locals:\n"
    "Block: 0x200-0x210\n"
    "\tx              (bit_1)                0020\n"
    "Files:\n";

TEST(DotcodDump, Sample) {
    const result_t result = run_program(
        {
            "-d", "a.cod"
    },
        {{"a.cod", sample()}});
    std::string expected = sample_dump;
    expected += "\ta.c" + std::string(60, ' ') + "\n\ta_name_of_36_characters_in_full_12.c" + std::string(27, ' ') +
                "\nLine numbers:\nLine number block 3\n\t    0 FF 0000 a.c\n\t    7 80 0200 a.c\n"
                "\t65535 90 0000 a_name_of_36_characters_in_full_\n";
    for (int k = 3; k < 85; ++k) {
        expected += "\t    0 00 0000 a.c\n";
    }
    EXPECT_EQ(expected + "\n", result.out);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(0, result.status);
}

struct probe_case_t {
    const char* date; // from its length byte on, and the low byte of the time
    bool accepted;
};

constexpr probe_case_t probe_cases[] = {
    {"07 \"29Feb24\" 00",   true },
    {"07 \" 1Apr07\" E1",   true }, // full: any time passes
    {"FF \" 1Apr07\" E1",   true },
    {"06 \" 1Apr0\" 00 00", true },
    {"06 \" 1Apr0\" 00 01", false}, // the time stands at the eighth position
    {"02 \" 1Apr07\" 00",   false},
    {"07 \"..Apr07\" 00",   false},
    {"07 \"01.pr07\" 00",   false},
    {"07 \"01A.r07\" 00",   false},
};

TEST(DotcodDump, Probe) {
    for (const probe_case_t& row : probe_cases) {
        SCOPED_TRACE(row.date);
        std::string file(512, '\0');
        poke(file, 320, row.date);
        const result_t result = run_program(
            {
                "-c", "a.cod"
        },
            {{"a.cod", file}});
        EXPECT_EQ(row.accepted, result.err.find("Confirmed as .COD") != std::string::npos);
    }
    std::string file = sample();
    file.resize(511);
    EXPECT_EQ(std::string::npos, run_program(
                                     {
                                         "-c", "a.cod"
    },
                                     {{"a.cod", file}})
                                     .err.find("Confirmed as .COD"));
}

TEST(DotcodDump, AFileWithoutADirectoryEndsTheRun) {
    const result_t result = run_program(
        {
            "-d", "-icod", "a.cod", "a.cod"
    },
        {{"a.cod", std::string(511, ' ')}});
    EXPECT_NE(std::string::npos, result.err.find("(1037)"));
    EXPECT_EQ("", result.out);
    EXPECT_EQ(1, result.status);
}

TEST(DotcodDump, ReadTakesNothing) {
    const result_t result = run_program(
        {
            "-icod", "a.cod", "-os19", "b"
    },
        {{"a.cod", sample()}});
    EXPECT_EQ("", result.err);
    EXPECT_EQ(0, result.status);
}

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

TEST(DotcodDump, BlocksThatAreNotThereLeaveTheBufferAsItStands) {
    // Without code bytes shown the buffer is still empty; the names, read last, are taken for lines otherwise.
    std::string file = sample().substr(0, 512);
    poke(file, 430, "00 00");
    result_t result = run_program(
        {
            "-d", "--emax=500", "-icod", "a.cod"
    },
        {{"a.cod", file}});
    EXPECT_EQ(3U, count(result.err, "(619)"));  // symbols, lines, locals
    EXPECT_EQ(85U, count(result.err, "(620)")); // a line of no file
    EXPECT_EQ(85U, count(result.out, "\t    0 00 0000 \n"));
    // The last block read, of code, stays for the tables.
    file = sample();
    poke(file, 2, "05 00 F0 00");
    poke(file, 426, "F1 00 F1 00");
    result = run_program(
        {
            "-d", "-v", "-icod", "a.cod"
    },
        {{"a.cod", file}});
    EXPECT_EQ(1U, count(result.err, "(618)"));
    EXPECT_EQ(1U, count(result.err, "(619)"));
    EXPECT_EQ(2U, count(result.out, ": 01 78 00 00 00 00 00 00 00 00 00 00 00 92 20 00 .x............ .\n"));
    EXPECT_NE(std::string::npos,
              result.out.find("Code: 0400h at block 240\n0400: 07 5F 5F 4C 4F 43 41 4C 00 02 00 00 10 "
                              "02 00 00 .__LOCAL........\n0410: 01 78"));
    EXPECT_NE(std::string::npos, result.out.find("Symbols:\n\t__LOCAL        (c_byte)               0000\n"
                                                 "\tx              (bit_1)                0020\nLocals:\n"));
}

TEST(DotcodDump, TablesWhoseBlocksRunBackwardsAreNotWalked) {
    std::string file = sample();
    poke(file, 426, "02 00 01 00  00 00 FF FF  04 00 03 00");
    poke(file, 447, "06 00 05 00");
    const result_t result = run_program(
        {
            "-d", "a.cod"
    },
        {{"a.cod", file}});
    EXPECT_NE(std::string::npos, result.out.find("Symbols:\nLocals:\nFiles:\nLine numbers:\n\n"));
    EXPECT_EQ("", result.err);
}

TEST(DotcodDump, SurvivesDamageAnywhere) {
    const std::string good = sample();
    for (size_t at = 0; at < good.size(); ++at) {
        if (at > 512 && good[at] == '\0' && at % 16 != 0) {
            continue;
        }
        std::string bad = good;
        bad[at] = static_cast<char>(~bad[at]);
        const result_t result = run_program(
            {
                "-d", "-v", "-icod", "a.cod"
        },
            {{"a.cod", bad}});
        ASSERT_EQ(0U, result.out.find("Source:\t")) << at;
        ASSERT_LT(result.out.size(), 100000U) << at;
    }
    for (size_t size = 512; size < good.size(); size += 37) {
        const result_t result = run_program(
            {
                "-d", "-v", "-icod", "a.cod"
        },
            {{"a.cod", good.substr(0, size)}});
        ASSERT_NE(std::string::npos, result.err.find("(61")) << size;
    }
}

} // namespace
} // namespace tavrel::testing
