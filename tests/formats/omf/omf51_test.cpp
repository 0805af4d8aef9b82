// OMF-51 through whole runs: what is read from records, the records written, and the print.
#include <map>

#include <gtest/gtest.h>

#include "formats/omf/omf_support.h"

namespace tavrel {
namespace {

using testing::bodies_of;
using testing::bytes;
using testing::dumped;
using testing::files_t;
using testing::hex;
using testing::listed;
using testing::message_texts;
using testing::record;
using testing::result_t;
using testing::run_program;

std::string written(const std::vector<std::string>& args, const files_t& files) {
    std::vector<std::string> all = args;
    all.insert(all.end(), {"-oomf51", "out.omf"});
    const result_t result = run_program(all, files);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.files.at("out.omf");
}

// ---- reading

TEST(omf51, reads_symbols_segments_lines_and_bytes) {
    const std::string input = record(0x02, bytes("02 \"me\" FF 00")) +
                              record(0x12, bytes("02"                                 // segment symbols
                                                 "09 00 80 00 00 04 \"MINE\""         // new, in space 9
                                                 "09 00 90 00 00 04 \"DATA\"")) +     // known
                              record(0x12, bytes("01 00 42 11 00 00 05 \"early\"")) + // no current file yet
                              record(0x10, bytes("00 03 \"a.c\"")) +
                              record(0x12, bytes("01"                             // public symbols
                                                 "00 00 34 12 00 04 \"main\""     // code label
                                                 "00 42 20 00 00 01 \"x\""        // variable in DATA
                                                 "00 45 07 00 00 01 \"n\""        // number
                                                 "00 AF 08 00 00 01 \"q\"")) +    // label in memory 7, bank, indirect
                              record(0x10, bytes("02 01 \"f\"")) +                // no module: the file stays
                              record(0x12, bytes("00 00 43 30 00 00 01 \"l\"")) + // local variable in IDATA
                              record(0x12, bytes("03 00 34 12 05 00  00 38 12 07 00")) +
                              record(0x12, bytes("04 00 00 00 00 00 00")) + // of no known kind
                              record(0x10, bytes("05 01 \"f\"")) + record(0x10, bytes("03 03 \"a.c\"")) +
                              record(0x12, bytes("01 00 42 12 00 00 04 \"late\"")) + // no current file any more
                              record(0x06, bytes("05 00 01 AA BB CC")) + record(0x06, bytes("00 00 02")) + // no bytes
                              record(0x08, "x") + record(0x0E, "x") + record(0x16, "x") + record(0x18, "x") +
                              record(0x26, "x") + record(0x28, "x") + record(0x2A, "x") + record(0x2C, "x") +
                              record(0x04, bytes("02 \"me\" 00 00 0F 00"));
    const result_t result = run_program(
        {
            "-v", "-v", "-iomf51", "in", "-oomf51", "out.omf"
    },
        {{"in", input}});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("Files: 1, syms: 7, lines: 2\n"
                              "\nFile: a.c\nSymbols: 5\n"
                              "\tCODE  1234     main\n\tDATA  20       x\n\t      7        n\n\t      8        q\n"
                              "\tIDATA 30       l\n"
                              "Lines: 2\n\t00005: 1234-1237 \n\t00007: 1238-1238 \n"
                              "\nData blocks: 2, total size 3\n\t100-102 seg -1\n\t200-1FF seg -1\n"
                              "\nSegments: 6\n\tCODE  0\n\tXDATA 0\n\tDATA  0\n\tIDATA 0\n\tBIT   0\n\tMINE  80\n\n"),
              std::string::npos)
        << result.err;
    EXPECT_EQ(listed(result.files.at("out.omf")),
              listed(record(0x02, bytes("01 \"A\" FF 00")) + record(0x10, bytes("00 01 \"A\"")) +
                     record(0x12, bytes("01"
                                        "00 00 34 12 00 04 \"MAIN\""
                                        "00 42 20 00 00 01 \"X\""
                                        "00 45 07 00 00 01 \"N\""
                                        "00 05 08 00 00 01 \"Q\"")) +
                     record(0x12, bytes("00 00 43 30 00 00 01 \"L\"")) +
                     record(0x12, bytes("03 00 34 12 05 00  00 38 12 07 00")) + record(0x10, bytes("03 01 \"A\"")) +
                     record(0x06, bytes("00 00 01 AA BB CC")) + record(0x04, bytes("01 \"A\" 00 00 0F 00"))));
}

TEST(omf51, current_file_ends_with_the_input) {
    const std::string first = record(0x02, bytes("01 \"A\" FF 00")) + record(0x10, bytes("00 03 \"a.c\""));
    const std::string second =
        record(0x02, bytes("01 \"A\" FF 00")) + record(0x12, bytes("01 00 42 00 00 00 01 \"x\""));
    const result_t result = run_program(
        {
            "-v", "a", "b", "-otitxt", "o"
    },
        {{"a", first}, {"b", second}});
    EXPECT_NE(result.err.find("Files: 1, syms: 1, lines: 0\n\nFile: a.c\nSymbols: 0\n"), std::string::npos)
        << result.err;
}

TEST(omf51, damage_ends_the_reading_and_keeps_what_was_read) {
    struct case_t {
        const char* title;
        std::string tail; // behind a sound module header and a public symbol
        const char* err;
        int status;
        int symbols;
    };
    const std::string another = record(0x12, bytes("01 00 42 01 00 00 01 \"y\""));
    // clang-format off
    const case_t cases[] = {
        {"wrong checksum", bytes("12 02 00 01 EC") + another,
         "in: (1040) sum of 18 is 1 (warning)\n", 0, 1},
        {"sum of a single type", bytes("04 00 00") + another,
         "in: (1040) sum of 4 is 4 (warning)\n", 0, 1},
        {"type 0 without length", bytes("00 00 00") + another,
         "in: (1042) unknown OMF51 0\n", 1, 1},
        {"length beyond the end", bytes("12 09 00 01"),
         "in: (1041) ends inside a record (warning)\n", 0, 1},
        {"end inside the length", bytes("12 09"),
         "in: (1041) ends inside a record (warning)\n", 0, 1},
        {"type alone", bytes("12"),
         "in: (1041) ends inside a record (warning)\n", 0, 1},
        {"unknown type", record(0x22, bytes("01")) + another,
         "in: (1042) unknown OMF51 34\n", 1, 1},
        {"entry over the end", record(0x12, bytes("01 00 42 01 00 00 02 \"y\"")) + another,
         "", 0, 2},
        {"line over the end", record(0x12, bytes("03 00 00 00 00")) + another,
         "", 0, 2},
        {"bytes without offset", record(0x06, bytes("00 00")) + another,
         "", 0, 2},
        {"file name over the end", record(0x10, bytes("00 03 \"ab\"")) + another,
         "", 0, 2},
        {"empty bodies", record(0x12, "") + record(0x06, "") + record(0x10, "") + another,
         "", 0, 2},
    };
    // clang-format on
    const std::string head = record(0x02, bytes("01 \"A\" FF 00")) + record(0x12, bytes("01 00 42 00 00 00 01 \"x\""));
    for (const case_t& test : cases) {
        SCOPED_TRACE(test.title);
        const files_t files = {
            {"in", head + test.tail},
            {"m",  message_texts   }
        };
        const result_t result = run_program({"--edf=m", "-iomf51", "in", "-otitxt", "o"}, files);
        EXPECT_EQ(result.status, test.status);
        EXPECT_NE(result.err.find(test.err), std::string::npos) << result.err;
        const result_t counted = run_program({"--edf=m", "-v", "-iomf51", "in", "-otitxt", "o"}, files);
        EXPECT_NE(counted.err.find("syms: " + std::to_string(test.symbols)), std::string::npos) << counted.err;
    }
}

// ---- writing

TEST(omf51, symbols_by_file_and_memory) {
    const std::string symbols = "free 1 0 CODE\n" // the file of the symbol file itself
                                "src.d/first.c\n"
                                "const 12345 0 CONST\n" // C as in CODE, and no variable; 16 bits of the value
                                "byte 23 0 data0\n"     // lower case counts, too
                                "other 34 0 ZDATA\n"
                                "number 56 0 ABS\n"
                                "name_of_fifty_characters_that_is_cut_at_forty_ones_ 7 0 IDATA\n"
                                "empty.c\n"
                                "a_file_with_a_name_of_more_than_forty_characters.c\n"
                                "9 70001 0 CODE\n"
                                "%locals\n"
                                "second.c\n"
                                "hidden 60 0 BITS\n";
    EXPECT_EQ(listed(written(
                  {
                      "in.sym"
    },
                  {{"in.sym", symbols}})),
              listed(record(0x02, bytes("02 \"IN\" FF 00")) + record(0x10, bytes("00 02 \"IN\"")) +
                     record(0x12, bytes("01 00 00 01 00 00 04 \"FREE\"")) + record(0x10, bytes("03 02 \"IN\"")) +
                     record(0x10, bytes("00 0B \"SRC.D/FIRST\"")) +
                     record(0x12, bytes("01"
                                        "00 00 45 23 00 05 \"CONST\""
                                        "00 42 23 00 00 04 \"BYTE\""
                                        "00 45 34 00 00 05 \"OTHER\""
                                        "00 45 56 00 00 06 \"NUMBER\""
                                        "00 43 07 00 00 28 \"NAME_OF_FIFTY_CHARACTERS_THAT_IS_CUT_AT_\"")) +
                     record(0x10, bytes("03 0B \"SRC.D/FIRST\"")) +
                     record(0x10, bytes("00 28 \"A_FILE_WITH_A_NAME_OF_MORE_THAN_FORTY_CH\"")) +
                     record(0x12, bytes("03 00 01 00 09 00")) +
                     record(0x10, bytes("03 28 \"A_FILE_WITH_A_NAME_OF_MORE_THAN_FORTY_CH\"")) +
                     record(0x10, bytes("00 06 \"SECOND\"")) + record(0x12, bytes("00 00 44 60 00 00 06 \"HIDDEN\"")) +
                     record(0x10, bytes("03 06 \"SECOND\"")) + record(0x04, bytes("02 \"IN\" 00 00 0F 00"))));
}

// A record takes another entry as long as its body has at most 500 bytes: 1 and ten entries of 46, and one of n + 6.
TEST(omf51, debug_record_is_full_behind_500_bytes) {
    const auto sizes = [](size_t last_name) {
        std::string symbols;
        for (int k = 0; k < 10; ++k) {
            symbols += std::string(39, 'n') + std::to_string(k) + " 0 0 DATA\n";
        }
        symbols += std::string(last_name, 'z') + " 0 0 DATA\nlast 0 0 DATA\n";
        std::vector<size_t> result;
        for (const std::string& body : bodies_of(written(
                                                     {
                                                         "in"
        },
                                                     {{"in", symbols}}),
                                                 0x12)) {
            result.push_back(body.size());
        }
        return result;
    };
    EXPECT_EQ(sizes(33), (std::vector<size_t>{510}));
    EXPECT_EQ(sizes(34), (std::vector<size_t>{501, 11}));
}

// S-records of `size` bytes that count up from `first`, at `address`.
std::string image(uint32_t address, uint32_t size) {
    constexpr const char* digits = "0123456789ABCDEF";
    const auto pair = [&](uint32_t byte) { return std::string{digits[byte >> 4 & 15], digits[byte & 15]}; };
    std::string result;
    for (uint32_t k = 0; k < size; ++k) {
        const uint32_t at = address + k;
        result += "S306" + pair(at >> 24) + pair(at >> 16) + pair(at >> 8) + pair(at) + pair(k) + "00\n";
    }
    return result;
}

std::string counted_up(uint32_t from, uint32_t to) {
    std::string result;
    for (uint32_t k = from; k < to; ++k) {
        result.push_back(static_cast<char>(k));
    }
    return result;
}

TEST(omf51, content_in_records_of_256_bytes_with_addresses_of_16_bits) {
    const std::string out = written(
        {
            "in", "hex"
    },
        {{"in", "a 0 0 CODE\n"}, {"hex", image(0x1FF80, 600) + image(0xFFFFFFF0, 8)}});
    EXPECT_EQ(
        bodies_of(out, 0x06),
        (std::vector<std::string>{bytes("00 80 FF") + counted_up(0, 256), bytes("00 80 00") + counted_up(256, 512),
                                  bytes("00 80 01") + counted_up(512, 600), bytes("00 F0 FF") + counted_up(0, 8)}));
}

TEST(omf51, no_files_no_output) {
    EXPECT_EQ(written(
                  {
                      "hex"
    },
                  {{"hex", image(0, 4)}}),
              "");
}

std::map<int, char> image_of(const std::string& file) {
    std::map<int, char> result;
    for (const std::string& body : bodies_of(file, 0x06)) {
        const int address = static_cast<unsigned char>(body[1]) + 256 * static_cast<unsigned char>(body[2]);
        for (size_t k = 3; k < body.size(); ++k) {
            result[address + static_cast<int>(k)] = body[k];
        }
    }
    return result;
}

// Symbols and lines make the same records again, and the same image.
TEST(omf51, round_trip) {
    const files_t files = {
        {"all.sym",   testing::source_file("examples/8051/gauge.sym")},
        {"gauge.hex", testing::source_file("examples/8051/gauge.hex")},
    };
    const std::string once = written({"-p8051", "all.sym", "gauge.hex"}, files);
    const std::string twice = written(
        {
            "-iomf51", "in"
    },
        {{"in", once}});
    EXPECT_EQ(bodies_of(once, 0x12), bodies_of(twice, 0x12));
    EXPECT_TRUE(image_of(once) == image_of(twice));
    EXPECT_EQ(image_of(once).size(), 2886u); // bytes in gauge.hex
    EXPECT_GT(bodies_of(once, 0x12).size(), 10u);
}

// ---- the print

TEST(omf51, print_of_each_record) {
    struct case_t {
        int type;
        const char* body;
        const char* text; // behind the place
    };
    // clang-format off
    const case_t cases[] = {
        {0x02, "02 \"Me\" FF 00",                                   "   Module header, len   6: Name: 'Me'; TRN ID = 0xFF\n"          },
        {0x02, "02 \"Me\"",                                         "   Module header, len   4: Bad length\n"                         },
        {0x04, "02 \"Me\" 00 00 0F 00",                             "      Module END, len   8: Name: 'Me'; REG MSK = 0x0F\n"         },
        {0x06, "03 00 FF 01 02",                                    "         Content, len   6: Seg id 3, offset = 0xFF00, 2 bytes; 01 02 \n"},
        {0x06, "00 00 00 \"abcdefghijklm\"",                        "         Content, len  17: Seg id 0, offset = 0x0000, 13 bytes; "
                                                                    "61 62 63 64 65 66 67 68 69 6A 6B 6C \n"                          },
        {0x06, "00 00",                                             "         Content, len   3: Bad length\n"                         },
        {0x08, "00",                                                "           Fixup, len   2: \n"                                   },
        {0x0E, "00",                                                "     Segment Def, len   2: \n"                                   },
        {0x10, "00 01 \"a\"",                                       "       Scope Def, len   4: Module block; Name = 'a'\n"           },
        {0x10, "01 00",                                             "       Scope Def, len   3: Do block; Name = ''\n"                },
        {0x10, "02 01 \"f\"",                                       "       Scope Def, len   4: Procedure block; Name = 'f'\n"        },
        {0x10, "03 00",                                             "       Scope Def, len   3: Module block end; Name = ''\n"        },
        {0x10, "04 00",                                             "       Scope Def, len   3: Do block end; Name = ''\n"            },
        {0x10, "05 00",                                             "       Scope Def, len   3: Procedure block end; Name = ''\n"     },
        {0x10, "06 00",                                             "       Scope Def, len   3: UNKNOWN; Name = ''\n"                 },
        {0x12, "00 01 B2 34 12 00 01 \"v\" 02 40 00 00 00 00",      "      Debug Item, len  15: Local symbols\n"
                                                                    "\t\tSEG 1, IND FUNC BANK 2 DATA offset 0x1234: v\n"
                                                                    "\t\tSEG 2, VAR CODE offset 0x0000: \n"                           },
        {0x12, "01 00 45 00 00 00 01 \"n\" 00 06 00 00 00 00 00",   "      Debug Item, len  16: Public symbols\n"
                                                                    "\t\tSEG 0, VAR NUMBER offset 0x0000: n\n"
                                                                    "\t\tSEG 0, FUNC ???6 offset 0x0000: \n"
                                                                    "Bad length\n"                                                    },
        {0x12, "02 07 FF 10 00 00 02 \"SS\"",                       "      Debug Item, len  10: Segment symbols\n"
                                                                    "\t\tSEG 7, BANK 3 ???7 offset 0x0010: SS\n"                      },
        {0x12, "03 00 10 00 05 00 01 20 00 00 80 00",               "      Debug Item, len  13: Line numbers\n"
                                                                    "\t\tSEG 0, offset 0x0010, line 5\n"
                                                                    "\t\tSEG 1, offset 0x0020, line 32768\n"
                                                                    "Bad length\n"                                                    },
        {0x12, "04 00",                                             "      Debug Item, len   3: Unknown type\n"                       },
        {0x16, "00",                                                "      Public Def, len   2: \n"                                   },
        {0x18, "00",                                                "    External Def, len   2: \n"                                   },
        {0x26, "00",                                                "     LIB Modlocs, len   2: \n"                                   },
        {0x28, "00",                                                "     LIB Modname, len   2: \n"                                   },
        {0x2A, "00",                                                "  LIB Dictionary, len   2: \n"                                   },
        {0x2C, "00",                                                "      LIB Header, len   2: \n"                                   },
        {0x22, "00",                                                "   Unknown(0x22), len   2: \n"                                   },
    };
    // clang-format on
    for (const case_t& test : cases) {
        EXPECT_EQ(dumped("omf51", record(test.type, bytes(test.body))),
                  std::string("OMF-51 file dump:\n\n@0000 ") + test.text + "\n");
    }
}

TEST(omf51, print_shows_bytes_when_asked_and_ends_at_damage) {
    const std::string input = bytes("02 04 00 00 FF 00 FB") + // 02 + 04 + FF = 105
                              bytes("30 03 00 41 00 8C") +    // 30 + 03 + 41 = 74
                              bytes("00 00 00 04 00 00");
    const std::string places[] = {"@0000    Module header, len   4: Name: ''; TRN ID = 0xFF\n",
                                  "@0007    Unknown(0x30), len   3: \n", "@000D     Unknown(0x0), len   0: \n"};
    EXPECT_EQ(dumped("omf51", input), "OMF-51 file dump:\n\n" + places[0] + places[1] + places[2] + "\n");
    EXPECT_EQ(dumped("omf51", input, {"-v"}), "OMF-51 file dump:\n\n" + places[0] + places[1] + "\t0000: 41 00" +
                                                  std::string(43, ' ') + "A.\n" + places[2] + "\n");
    EXPECT_EQ(dumped("omf51", input, {"-v", "-v"}), "OMF-51 file dump:\n\n0000: 00 FF 00" + std::string(40, ' ') +
                                                        "...\n" + places[0] + "0000: 41 00" + std::string(43, ' ') +
                                                        "A.\n" + places[1] + places[2] + "\n");
}

} // namespace
} // namespace tavrel
