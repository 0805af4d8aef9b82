// UBROF files recognised and printed, from records put together by hand.
#include <gtest/gtest.h>

#include "support/run.h"

namespace tavrel::testing {
namespace {

const char* head = "A5 00 1E 0C 01 04 6D "; // 12:30:00 on the first of April 2009
const char* head_text = "UBROF file: 2009/4/1 12:30:00 ";

result_t dump(const std::string& file, const std::vector<std::string>& options = {}) {
    std::vector<std::string> args = {"-d", "-iubrof", "a.d43"};
    args.insert(args.end(), options.begin(), options.end());
    return run_program(args, {
                                 {"a.d43", file}
    });
}

// The numbers of the messages in the order raised.
std::string messages(const std::string& err) {
    std::string numbers;
    for (size_t at = err.find(": ("); at != std::string::npos; at = err.find(": (", at + 1)) {
        numbers += err.substr(at + 3, err.find(')', at) - at - 3) + " ";
    }
    return numbers;
}

struct record_case_t {
    const char* record;
    const char* text;
};

constexpr record_case_t record_cases[] = {
    {"01 05 05 10 02 0C 6B 03 \"abc\"",
     "Program: \"abc\" 2007/12/2  version 5, language 0x10, (C) 32 bit normal bit order\n"                                                                              },
    {"02 01 06 00 1F 00 64 00",                                                            "Program: \"\" 2000/0/31  version 1, language 0x0, (Assembler) segmented  \n"},
    {"02 01 02 01 01 01 00 01 \"x\"",                                                      "Program: \"x\" 1900/1/1  version 1, language 0x1, 16 bit \n"                },
    {"02 00 00 00 00 04 \"CODE\" 20 02  00 00 01 00 00 00 00 10  12 34 56 78 00 01 00 00",
     "Segment: \"CODE\" flags 0x20\nStart\tLength\n0x0100\t0x0010\n0x12345678\t0x10000\n\n"                                                                             },
    {"01 00 00 AB 00 01 \"D\" 00 00",                                                      "Segment: 00 AB 00 00 \"D\" flags 0x0\nStart\tLength\n\n"                    },
    {"39 03 01 02 03",                                                                     "Data: 3 bytes in seg 0 at 0x0\n"                                            },
    {"51 03 00 00 10 FE 39 04 41 42 00 7F 39 00",
     "Data: 4 bytes in seg 3 at 0x10FE\nData: 0 bytes in seg 3 at 0x1102\n"                                                                                             },
    {"47 00 0A 00 01 00 0A 02 00 03",                                                      "Statement: line 10 seg 1 flags 2 3\n"                                       },
    {"47 00 0A 12 AB FF FF FF FF FE",                                                      "Statement: line 10-65535 seg 12AB flags FF FFFE\n"                          },
    {"4A 00 00 00  4A 01 02 11 03 \"abc\"  4A 00 00 12",                                   ""                                                                           },
    {"4C 01 00 01 00 00 12 34 04 \"main\" 00 00 00",                                       "Symbol; public/abs CODE addr = 0x1234  \"main\"\n"                          },
    {"4C 05 00 07 FF FF FF FF 01 \"e\" 00 00 01",                                          "Symbol; external CONST addr = 0xFFFFFFFF  \"e\" 00 00 01\n"                 },
    {"4C 06 00 08 00 00 00 00 00 00 00 00",                                                "Symbol; type?? 0x06 segment 0x8 addr = 0x0  \"\"\n"                         },
    {"4C 00 00 00 00 00 00 00 03 \"a\" 00 \"b\" 00 00 00",                                 "Symbol; type?? 0x00 segment 0x0 addr = 0x0  \"a\"\n"                        },
    {"52 00 B9 00 00 00 03 \"a.c\" 3B 3B 17 1F 0C FF",                                     "Debug record: \"a.c\" modified 2155/12/31 23:59:59\n"                       },
    {"52 00 B9 00 00 01 00 00 00 00 00 00 00",                                             "Debug record: 00 B9 00 00 01 \"\" modified 1900/0/0 00:00:00\n"             },
    {"53 01 FE",                                                                           "Aux record: 0x01 0xFE\n"                                                    },
    {"54 00 02 04 \"as51\"",                                                               "Translator: 0x00 0x02 \"as51\"\n"                                           },
    {"BD 06 00 00 05 BA 02 BE FF BF 02 C0 FF C1 05",                                       "UBROF version 6\n"                                                          },
    {"BD 07 00 00 05 BA 02 BE FF BF 02 C0 FF C1 06",
     "UBROF version 7\nFunny BD record; should be:\nBD 06 00 00 05 BA 02 BE FF BF 02 C0 FF C1 05 but was:\n"
     "BD 07 00 00 05 BA 02 BE FF BF 02 C0 FF C1 06 \n"                                                                                                                  },
    {"C0 01 02 03 04 05 FF",                                                               "C0 record: 01 02 03 04 05 FF\n"                                             },
    {"3F AF A2",                                                                           ""                                                                           },
    {"3F AF A2 3F 02 08",                                                                  ""                                                                           }, // the second covers its own tag alone
};

TEST(Ubrof, Records) {
    for (const record_case_t& row : record_cases) {
        SCOPED_TRACE(row.record);
        const result_t result = dump(bytes(head + std::string(row.record) + " FF 00 \"unread\""));
        EXPECT_EQ(std::string(head_text) + row.text + "\n", result.out);
        EXPECT_EQ("", result.err);
        EXPECT_EQ(0, result.status);
    }
}

TEST(Ubrof, VeryVerboseRecords) {
    const result_t result =
        dump(bytes(head + std::string("51 03 00 00 10 FE 39 04 41 42 00 7F 3F DC 4F 3F 02 08 FF")), {"-v"});
    EXPECT_EQ(std::string(head_text) +
                  "Origin 0x10FE in segment 3\nData: 4 bytes in seg 3 at 0x10FE\n"
                  "10FE: 41 42 00 7F" +
                  std::string(36, ' ') +
                  " AB..\n"
                  "CRC matched at 13\nCRC matched at 16\n\n",
              result.out);
}

TEST(Ubrof, OriginAndSegmentBeginAnewWithEachFile) {
    const result_t result = run_program(
        {
            "-d", "a", "b"
    },
        {{"a", bytes(head + std::string("51 03 00 00 10 FE FF"))}, {"b", bytes(head + std::string("39 00 FF"))}});
    EXPECT_NE(std::string::npos, result.out.find("Data: 0 bytes in seg 0 at 0x0\n"));
}

struct failure_case_t {
    const char* file; // behind the head, unless it begins with '!'
    const char* numbers;
    const char* text; // behind the head's
};

// 634, the driver's, says that the file is damaged.
constexpr failure_case_t failure_cases[] = {
    {"!",                                                                          "1044 ",     nullptr                                       }, // an empty file is printed as nothing
    {"!A4",                                                                        "1047 634 ", nullptr                                       },
    {"!A5 00 1E",                                                                  "1044 634 ", nullptr                                       },
    {"!A5 00 1E 0C 01 04",                                                         "1044 634 ", nullptr                                       },
    {"!A5 3C 1E 0C",                                                               "1048 634 ", nullptr                                       }, // given up before the date
    {"!A5 00 1E 0C 20 04 6D",                                                      "1048 634 ", nullptr                                       },
    {"!A5 00 1E 0C 1F 0D 6D",                                                      "1048 634 ", nullptr                                       },
    {"",                                                                           "1044 634 ", ""                                            },
    {"77",                                                                         "1052 634 ", ""                                            },
    {"01",                                                                         "1044 634 ", ""                                            },
    {"02 00",                                                                      "1044 634 ", "Segment: "                                   },
    {"02 00 01 02 03",                                                             "1046 634 ", "Segment: 01 02 03 00 "                       },
    {"02 00 00 00 00 02 \"A\"",                                                    "1046 634 ", "Segment: "                                   },
    {"02 00 00 00 00 01 \"A\"",                                                    "1044 634 ", "Segment: \"A\" "                             },
    {"02 00 00 00 00 01 \"A\" 01",                                                 "1044 634 ", "Segment: \"A\" flags 0x1\nStart\tLength\n"   },
    {"02 00 00 00 00 01 \"A\" 01 02 00 00 00 01 00 00 00 02 00 00 00 03 00 00 00", "1045 634 ",
     "Segment: \"A\" flags 0x1\nStart\tLength\n0x0001\t0x0002\n"                                                                              },
    {"01 05 05 10 20 0C 6B 03 \"abc\"",                                            "1051 634 ", ""                                            },
    {"01 05 05 10 02 0D 6B 03 \"abc\"",                                            "1051 634 ", ""                                            },
    {"01 05 05 10 02 0C 6B 03 \"ab\"",                                             "1046 634 ", ""                                            },
    {"39 03 01 02",                                                                "1044 634 ", "Data: 3 bytes in seg 0 at 0x0\n"             },
    {"3F AF",                                                                      "1045 634 ", ""                                            },
    {"3F AF A3",                                                                   "1049 634 ", ""                                            },
    {"47 00 0A 00 01 00",                                                          "1045 634 ", "Statement: line 10"                          },
    {"47 00 0A 00 01 00 0A 02 00",                                                 "1045 634 ", "Statement: line 10 seg 1 flags "             },
    {"4A 00 00",                                                                   "1044 634 ", ""                                            },
    {"4A 00 00 11 01",                                                             "1046 634 ", ""                                            },
    {"4C 01 00 01 00 00 12",                                                       "1045 634 ", "Symbol; public/abs CODE "                    },
    {"4C 01 00 01 00 00 12 34 01 \"m\" 00 00",                                     "1044 634 ", "Symbol; public/abs CODE addr = 0x1234  \"m\""},
    {"51 01 00 00",                                                                "1045 634 ", ""                                            },
    {"52 00 B9 00 00 00 00 00 00 18 01 01 01",                                     "1050 634 ", "Debug record: \"\" "                         },
    {"52 00 B9 00 00 00 00 00 00 17 01 01",                                        "1044 634 ", "Debug record: \"\" "                         },
    {"54 00 02 04",                                                                "1046 634 ", "Translator: 0x00 0x02 "                      },
    {"BD 06 00",                                                                   "1044 634 ", "UBROF version 6\n"                           },
    {"C0 00 00 00 00 00",                                                          "1044 634 ", ""                                            },
};

TEST(Ubrof, Failures) {
    for (const failure_case_t& row : failure_cases) {
        SCOPED_TRACE(row.file);
        const bool whole = row.file[0] == '!';
        const result_t result = dump(whole ? bytes(row.file + 1) : bytes(head + std::string(row.file)));
        EXPECT_EQ(row.numbers, messages(result.err));
        EXPECT_EQ((row.text == nullptr ? "" : head_text + std::string(row.text)) + "\n", result.out);
    }
}

TEST(Ubrof, MessagesCarryTheirArguments) {
    const files_t files = {
        {"messages", "1045 E 1045 <%s> <%u>\n1049 E 1049 <%s> <%u> <%04X>\n1052 E 1052 <%s>\n"},
        {"a",        bytes(head + std::string("51 01 00 00"))                                 },
        {"b",        bytes(head + std::string("3F AF A3"))                                    },
        {"c",        bytes(head + std::string("3F AF A2 47 00"))                              },
        {"d",        bytes(head + std::string("AA"))                                          }
    };
    const result_t result = run_program({"-d", "--edf=messages", "-iubrof", "a", "b", "c", "d"}, files);
    for (const char* text : {"1045 <a> <4>", "1049 <b> <8> <AFA2>", "1045 <c> <2>", "1052 <d>"}) {
        EXPECT_NE(std::string::npos, result.err.find(text)) << text << "\n" << result.err;
    }
}

TEST(Ubrof, ACrcThatDoesNotMatchShowsWhatItCovered) {
    std::string file = bytes(head);
    for (int k = 0; k < 20; ++k) {
        file += bytes("39 FF") + std::string(255, 'x');
    }
    const result_t result = dump(file + bytes("3F 00 00 FF"), {"-v"});
    // The first 4096 bytes of those since the last check.
    const std::string first = "0000: A5 00 1E 0C 01 04 6D 39 FF 78 78 78 78 78 78 78 ......m9.xxxxxxx\n";
    const size_t at = result.out.find(first);
    ASSERT_NE(std::string::npos, at);
    EXPECT_EQ(at + 256 * first.size() + 1, result.out.size());
    EXPECT_EQ("1049 634 ", messages(result.err));
}

TEST(Ubrof, ProbeAndStubs) {
    for (const auto& [file, found, numbers] : {
             std::tuple("A5 00 00 00 00 00 00", true, ""),
             std::tuple("A5 00 00 00 00 0D 00", false, "605 "),
             std::tuple("A5 00 00 18", false, "605 "), // the date is not looked for
             std::tuple("A5 00 00 17", false, "1044 605 "),
             std::tuple("", false, "605 "),
         }) {
        SCOPED_TRACE(file);
        const result_t result = run_program(
            {
                "-c", "a"
        },
            {{"a", bytes(file)}});
        EXPECT_EQ(found, result.err.find("Confirmed as UBROF") != std::string::npos);
        EXPECT_EQ(numbers, messages(result.err));
    }
    const result_t result = run_program(
        {
            "a", "-oubrof", "-os19", "c"
    },
        {{"a", bytes(head)}});
    EXPECT_EQ("", result.files.at("a.d43"));
    EXPECT_EQ("", result.err);
    EXPECT_EQ(0, result.status);
}

TEST(Ubrof, SurvivesDamageAnywhere) {
    std::string good = bytes(head);
    for (const record_case_t& row : record_cases) {
        good += bytes(row.record);
    }
    for (size_t at = 0; at < good.size(); ++at) {
        for (const int change : {0xFF, 0x80, 0x01}) {
            std::string bad = good;
            bad[at] = static_cast<char>(bad[at] ^ change);
            const result_t result = dump(bad, {"-v"});
            ASSERT_LT(result.out.size(), 100 * good.size()) << at;
            ASSERT_EQ(1, result.status) << at; // no end record
        }
        ASSERT_EQ(1, dump(good.substr(0, at)).status) << at;
    }
}

} // namespace
} // namespace tavrel::testing
