// ICOFF as an input: probe, reader and dump.
#include <gtest/gtest.h>

#include "formats/coff/coff_samples.h"

namespace tavrel::testing {
namespace {

result_t read_icoff(const std::string& file) { return run_coff({"-v", "-v", "-iicoff", "-os19"}, file); }

std::string symbol(uint32_t name, uint32_t value, uint32_t scnum, uint32_t sclass, uint32_t type) {
    return be32(name) + be32(value) + be32(0) + be32(scnum) + static_cast<char>(sclass) + static_cast<char>(type);
}

// A file of one section `s` without data, and the symbols given.
std::string with_symbols(const std::string& symbols, const std::string& strings) {
    return bytes("01 81 0001 00000000") + be32(60) + be32(static_cast<uint32_t>(symbols.size() / 18)) + be32(0) +
           field("s") + std::string(28, '\0') + be32(0x4080) + symbols + strings;
}

TEST(IcoffDump, PrintsAsMuchAsVerboseAsks) {
    const sample_t sample = icoff_sample();
    EXPECT_EQ(run_coff({"-d"}, sample.file).out, sample.plain_dump);
    EXPECT_EQ(run_coff({"-d", "-v"}, sample.file).out, sample.dump);
    EXPECT_EQ(run_coff({"-d", "-v", "-v", "-iicoff"}, sample.file).out, sample.full_dump);
}

TEST(IcoffDump, ClassesTypesAndNames) {
    struct {
        uint32_t name, scnum, sclass, type;
        const char* line; // behind the index
    } constexpr cases[] = {
        {1,          1,          1,   0x00, "    1:\t      global symbol \tn = 1F:s "                   },
        {2,          0,          3,   0x01, "    2:\t              label \t = 1F:(abs) char"            },
        {3,          0xFFFFFFFF, 3,   0x0A, "    3:\t              label \tlast = 1F:(abs) double"      },
        {7,          2,          1,   0x0B, "    7:\t      global symbol \t = 1F:(abs) ??type"          },
        {0xFFFFFFFF, 1,          2,   0xF0,
         "4294967295:\t  non-global symbol \t = 1F:s  register  VAR parameter "
         " ALIAS parameter  function begin weak definition used internally "                            },
        {1,          1,          4,   0x00, "    1:\tphysical end of func\tn = 1F:s"                    },
        {1,          1,          8,   0x00, "    1:\t          block end \tn = 1F:s"                    },
        {1,          0xFFFFFFFF, 9,   0x00, "    1:\tsection size symbol \tn, value=1F, section=-1"     },
        {1,          1,          20,  0x45, "    1:\t        simple type \tn signed_32 ALIAS parameter "},
        {1,          1,          51,  0x09, "    1:\t          parameter \tn = 1F:float"                },
        {1,          1,          52,  0x09, "    1:\t      record member \t"                            },
        {1,          1,          55,  0x09, "    1:\t          file name \tn"                           },
        {1,          1,          0,   0x09, "    1:\t           ??Unknown\t"                            },
        {1,          1,          255, 0x09, "    1:\t           ??Unknown\t"                            },
    };
    for (const auto& row : cases) {
        const std::string file =
            with_symbols(symbol(row.name, 0x1F, row.scnum, row.sclass, row.type), bytes(R"(00 "n" 00 "last")"));
        EXPECT_EQ(lines_with(run_coff({"-d", "-v"}, file).out, "    0: "), "    0: " + std::string(row.line) + "\n");
    }
}

TEST(IcoffDump, CountsFileNames) {
    std::string symbols;
    for (int k = 0; k < 8194; ++k) {
        symbols += symbol(1, 0, 0, 55, 0);
    }
    const result_t result = run_coff({"-d", "-v"}, with_symbols(symbols, bytes(R"(00 "n" 00)")));
    EXPECT_EQ(messages_of(result), "625; 625");
    EXPECT_NE(result.out.find(" 8193:     1:\t          file name \tn\n"), std::string::npos);
}

TEST(IcoffRead, BringsSectionsDataSymbolsFilesAndLines) {
    const result_t result = read_icoff(icoff_sample().file);
    EXPECT_EQ(messages_of(result), "633 60");
    EXPECT_EQ(model_of(result), R"(
Files: 1, syms: 2, lines: 1

File: a.c
Symbols: 2
	text1 1000     start
	      1001     loop
Lines: 1
	00007: 1001-1001 

Data blocks: 1, total size 3
	1000-1002 text1

Segments: 2
	text1 1000-1002
	vars  2000-2007

)");
}

TEST(IcoffRead, WhatFallsShort) {
    struct {
        size_t at; // what is changed; 0: the file is cut at `value`
        uint32_t value;
        const char *read, *dump;
    } constexpr cases[] = {
        {0,       19,         "1037 COFF header",              "1037 COFF header; 634 in.cof"        },
        {0,       99,         "1037 COFF section header",      "1037 COFF section header; 634 in.cof"},
        {0,       102,        "1037 COFF data",                "1037 COFF string table; 634 in.cof"  },
        {0,       0x114,      "1037 COFF string table",        "1037 COFF string table; 634 in.cof"  },
        {0,       0x115,      "633 60",                        ""                                    },
        {8,       0xFFFFFFFF, "1037 COFF string table",        "1037 COFF string table; 634 in.cof"  },
        {12,      0xFFFFFFFF, "1037 COFF string table",        "1037 COFF string table; 634 in.cof"  },
        {20 + 16, 0xFFFFFFFF, "1037 COFF data",                ""                                    },
        {20 + 28, 0xFFFFFFF0, "633 60; 1037 COFF line number", ""                                    },
    };
    for (const auto& row : cases) {
        std::string file = icoff_sample().file;
        if (row.at == 0) {
            file.resize(row.value);
        } else {
            patch(file, row.at, be32(row.value));
        }
        EXPECT_EQ(messages_of(read_icoff(file)), row.read) << row.at << " " << row.value;
        EXPECT_EQ(messages_of(run_coff({"-d", "-v", "-iicoff"}, file)), row.dump) << row.at << " " << row.value;
    }
}

TEST(IcoffProbe, LooksAtMagicAndCounts) {
    std::string file = icoff_sample().file;
    EXPECT_NE(run_coff({"-c"}, file).err.find("Confirmed as ICOFF"), std::string::npos);
    patch(file, 2, be16(1001));
    EXPECT_EQ(run_coff({"-c"}, file).status, 1);
    // Without a probe the magic gives the order; one of no row leaves that of -b.
    file = icoff_sample().file;
    patch(file, 0, be16(0x7777));
    EXPECT_EQ(lines_with(run_coff({"-d", "-b", "-iicoff"}, file).out, "String"), "String table: 20 bytes\n");
    EXPECT_EQ(messages_of(run_coff({"-d", "-iicoff"}, file)), "1037 COFF section header; 634 in.cof");
}

} // namespace
} // namespace tavrel::testing
