// Plain COFF as an input: rows by magic, reader and dump where they differ from Microchip COFF.
#include <gtest/gtest.h>

#include "formats/coff/coff_samples.h"

namespace tavrel::testing {
namespace {

result_t read_coff(const std::string& file) { return run_coff({"-v", "-v", "-icoff", "-os19"}, file); }
std::string dump_coff(const std::string& file) { return run_coff({"-d", "-v", "-v", "-icoff"}, file).out; }

// A file of a big-endian row, with one section `s` at address 0x10 with two line records, and the symbols given.
std::string big_endian_file(uint32_t magic, uint32_t line_size, const std::string& lines, const std::string& symbols) {
    const uint32_t lines_at = 60, symbols_at = lines_at + 2 * line_size;
    return be16(magic) + be16(1) + be32(0) + be32(symbols_at) + be32(static_cast<uint32_t>(symbols.size() / 18)) +
           be16(0) + be16(0x200) + field("s") + be32(0x10) + be32(0) + be32(0) + be32(0) + be32(0) + be32(lines_at) +
           be16(0) + be16(2) + be32(0x80) + lines + symbols + be32(4);
}

std::string symbol(const std::string& name, uint32_t value, uint32_t scnum, uint32_t type, uint32_t sclass,
                   uint32_t numaux) {
    return field(name) + be32(value) + be16(scnum) + be16(type) + static_cast<char>(sclass) + static_cast<char>(numaux);
}

// tag 7, line 258, size 12, dimensions 1 to 4, of which the last two are also the end index 0x30004.
const std::string full_aux = bytes("00000007 0102 000C 0001 0002 0003 0004 0000");
const std::string no_lines(16, '\0');

TEST(CoffDump, PrintsAsMuchAsVerboseAsks) {
    const sample_t sample = coff_sample();
    EXPECT_EQ(run_coff({"-d"}, sample.file).out, sample.plain_dump);
    EXPECT_EQ(run_coff({"-d", "-v"}, sample.file).out, sample.dump);
    EXPECT_EQ(run_coff({"-d", "-v", "-v"}, sample.file).out, sample.full_dump);
}

TEST(CoffDump, RowsByMagic) {
    struct {
        uint32_t magic;
        bool big_endian;
        const char* name;
        const char* int_extent; // of an int: its size
        const char* pointer_extent;
        const char* float_extent;
    } constexpr cases[] = {
        {0x0150, true,  "Motorola 68K",    "4[1]", "4[1]", "4[1]"},
        {0x0198, true,  "Tower",           "4[1]", "4[1]", "4[1]"},
        {0x8300, true,  "Hitachi H8/300",  "2[1]", "2[1]", "4[1]"},
        {0x8301, true,  "Hitachi H8/300H", "4[1]", "4[1]", "4[1]"},
        {0x0500, true,  "Hitachi SH",      "4[1]", "4[1]", "4[1]"},
        {0x3612, false, "PIC30",           "4[1]", "4[1]", "4[1]"},
        {0x3412, false, "PIC12",           "2[1]", "4[1]", "3[1]"},
        {0x0000, false, "",                "0[1]", "0[1]", "0[1]"},
    };
    for (const auto& row : cases) {
        const bool big = row.big_endian;
        const auto typed = [&](uint32_t type) {
            return field("v") + number(1, 4, big) + number(0, 2, big) + number(type, 2, big) + '\x01' + '\0';
        };
        const std::string file = number(row.magic, 2, true) + number(0, 2, big) + number(0, 4, big) +
                                 number(20, 4, big) + number(3, 4, big) + number(0, 4, big) + typed(4) + typed(0x12) +
                                 typed(6) + number(4, 4, big);
        const std::string name = *row.name == '\0' ? "" : " (" + std::string(row.name) + ")";
        const std::string start = ": (0)\t" + right("automatic variable") + " 0 ";
        const std::string expected =
            format_text("COFF header:\n\tMagic:\t\t0x%X%s\n\tSections:\t0\n", row.magic, name) +
            "\tDated:\t\tThu Jan  1 00:00:00 1970\n\tSymptr:\t\t0x14\n\tNsyms:\t\t3\n"
            "\tOpthdr:\t\t0\n\tFlags:\t\t0x0\n\n"
            "\nString table: 4 bytes, file offset 0x4A\n\nSymbol table:\n"
            "    0" +
            start + row.int_extent +
            "\tv = 1: int\n"
            "    1" +
            start + row.pointer_extent +
            "\tv = 1: pointer to char\n"
            "    2" +
            start + row.float_extent + "\tv = 1: float\n\n\n";
        EXPECT_EQ(run_coff({"-d", "-v"}, file).out, expected);
        EXPECT_EQ(dump_coff(file), expected); // no probe: the row by the magic all the same
    }
}

TEST(CoffDump, ClassesAndTypesOfItsOwn) {
    struct {
        uint32_t sclass, scnum, type;
        bool has_aux;
        const char* line; // behind the index
    } constexpr cases[] = {
        {0,   5,      0,      false, "(5)\t              null class 0 0[1]\tn"                                },
        {2,   0x8000, 0,      false, "(-32768)\t         external symbol 0 0[1]\tn = 1F: (abs) null"          },
        {6,   1,      2,      false, "(1)\t                   label 0 1[1]\tn = 1F: s char"                   },
        {10,  0xFFFE, 8,      true,  "(-2)\t           structure tag 1 12[1]\tn: tag 7, size 12, index 196612"},
        {18,  0,      4,      true,  "(0)\t               bit field 1 4[1]\tn = 1F: size 12"                  },
        {101, 1,      0,      true,  "(1)\t              .bf or .ef 1 0[1]\tn = 1F: s: line 258, index 196612"},
        {103, 0,      0,      false, "(0)\t               file name 0 0[1]\tn"                                },
        {103, 0,      0,      true,  "(0)\t               file name 1 0[1]\t"                                 },
        {107, 0,      0,      false, "(0)\t         ??Unknown (107) 0 0[1]\t"                                 },
        {108, 0,      0,      true,  "(0)\t         ??Unknown (108) 1 0[1]\t"                                 },
        {109, 0,      0,      true,  "(0)\t         ??Unknown (109) 1 0[1]\t"                                 },
        {127, 1,      0,      false, "(1)\t       weak symbol (GNU) 0 0[1]\tn = 1F: s null"                   },
        {255, 0,      0,      false, "(0)\tphysical end of function 0 0[1]\t"                                 },
 // Derivations have two bits, and all six of a word show; dimensions only four.
        {1,   0,      0x12,   false, "(0)\t      automatic variable 0 4[1]\tn = 1F: pointer to char"          },
        {1,   0,      0x28,   true,
         "(0)\t      automatic variable 1 12[1]\tn = 1F: function [lineptr 10002, "
         "endndx 196612] returning struct [7]"                                                                },
        {1,   0,      0x34,   true,  "(0)\t      automatic variable 1 12[3]\tn = 1F: array [1] of int"        },
        {1,   0,      0x1D,   false, "(0)\t      automatic variable 0 4[1]\tn = 1F: pointer to ushort"        },
        {1,   0,      0xFFF2, true,
         "(0)\t      automatic variable 1 12[12]\tn = 1F: array [1] of array [2] of "
         "array [3] of array [4] of array [] of array [] of char"                                             },
        {1,   0,      0x5550, false,
         "(0)\t      automatic variable 0 4[1]\tn = 1F: pointer to pointer to pointer to "
         "pointer to pointer to pointer to null"                                                              },
    };
    for (const auto& row : cases) {
        std::string aux = full_aux;
        if (row.sclass == 103) {
            patch(aux, 0, be32(0) + be32(4)); // an offset that is the table's end
        }
        const std::string symbols =
            symbol("n", 0x1F, row.scnum, row.type, row.sclass, row.has_aux ? 1 : 0) + (row.has_aux ? aux : "");
        EXPECT_EQ(lines_with(dump_coff(big_endian_file(0x8301, 8, no_lines, symbols)), "    0: "),
                  "    0: " + std::string(row.line) + "\n");
    }
}

TEST(CoffDump, LineRecordsOfBothSizes) {
    const std::string symbols =
        symbol("main", 0x10, 1, 0x24, 2, 0) + symbol(".file", 0, 0, 0, 103, 1) + field("a_name_of_18_chars", 18);
    const std::string short_lines = be32(0) + be16(0) + be32(0x12) + be16(65535);
    EXPECT_NE(dump_coff(big_endian_file(0x150, 6, short_lines, symbols))
                  .find("\nSection 1 line numbers: 2, file offset 0x3C\nSymbol: main (0)\n65535:\t12\n"),
              std::string::npos);
    const std::string long_lines = be32(1) + be32(0) + be32(0x12) + be32(1000000);
    EXPECT_NE(
        dump_coff(big_endian_file(0x500, 8, long_lines, symbols)).find("\nSymbol: a_name_of_18_c (1)\n1000000:\t12\n"),
        std::string::npos);
    // No row, no size: the heading stands alone.
    EXPECT_NE(run_coff({"-d", "-v", "-b", "-icoff"}, big_endian_file(0x7777, 8, long_lines, symbols))
                  .out.find("\nSection 1 line numbers: 2, file offset 0x3C\n\n"),
              std::string::npos);
}

TEST(CoffDump, OptionalHeaderOfPicRowsOnly) {
    const auto with_header = [](uint32_t magic, bool big, uint32_t size, uint32_t present) {
        return number(magic, 2, true) + number(0, 2, big) + number(0, 4, big) + number(20 + present, 4, big) +
               number(0, 4, big) + number(size, 2, big) + number(0, 2, big) + std::string(present, '\0') +
               (present < size ? "" : number(4, 4, big));
    };
    struct {
        uint32_t magic, size, present;
        const char *printed, *messages;
    } constexpr cases[] = {
        {0x3412, 28, 28,
         "AOUT optional header:\n\tMagic:\t\t0x0\n\tVersion:\t0x0\n\tText size:\t0x0\n\tInit. data:\t0x0\n"
         "\tUninit. data:\t0x0\n\tEntry point:\t0x0\n\tText base:\t0x0\n\tData base:\t0x0\n\n", ""                                                                  },
        {0x3612, 27, 27, "\n",                                                                  "1036 AOUT 28"                                                      },
        {0x3612, 28, 27, "\n",                                                                  "1037 AOUT optional header; 1037 COFF string table size; 634 in.cof"},
        {0x0150, 28, 28, "\n",                                                                  ""                                                                  },
    };
    for (const auto& row : cases) {
        const result_t result =
            run_coff({"-d", "-icoff"}, with_header(row.magic, row.magic == 0x150, row.size, row.present));
        const std::string text = format_text("\tOpthdr:\t\t%u\n\tFlags:\t\t0x0\n\n", row.size) + row.printed;
        const size_t at = result.out.find(text);
        ASSERT_NE(at, std::string::npos) << result.out;
        EXPECT_EQ(result.out[at + text.size()], '\n');
        EXPECT_EQ(messages_of(result), row.messages);
    }
}

TEST(CoffDump, MarksTheMakersOptionalHeaders) {
    constexpr size_t magic_at = 20;
    std::string file = coff_sample().file;
    for (const uint32_t magic : {4999, 5000, 5999, 6000}) {
        file.replace(magic_at, 2, number(magic, 2, false));
        const char* const mark = magic == 5000 || magic == 5999 ? " (Norvane Software)" : "";
        EXPECT_NE(dump_coff(file).find(format_text("\tMagic:\t\t0x%X%s\n\tVersion:\t0x1\n", magic, mark)),
                  std::string::npos);
    }
}

TEST(CoffRead, BringsSectionsDataSymbolsFilesAndLines) {
    EXPECT_EQ(model_of(read_coff(coff_sample().file)), R"(
Files: 1, syms: 2, lines: 1

File: .file
Symbols: 2
	.text    100      _main
	longname 800      counter
Lines: 0

Data blocks: 1, total size 4
	200-203 .text

Segments: 2
	.text    200-203
	longname 1000-1001

)");
    const std::string file = big_endian_file(0x150, 6, be32(1) + be16(0) + be32(0x12) + be16(9),
                                             symbol("list", 3, 0xFFFF, 0, 3, 0) + symbol("m68k.c", 0, 0, 0, 103, 0) +
                                                 symbol("eof", 0, 0, 0, 107, 0) + symbol("label", 4, 1, 0, 6, 0));
    const result_t result = read_coff(file);
    EXPECT_EQ(messages_of(result), "633 107"); // not one of this format's classes
    EXPECT_EQ(model_of(result), "\nFiles: 1, syms: 2, lines: 1\n\nFile: m68k.c\nSymbols: 1\n\ts 4        label\n"
                                "Lines: 1\n\t00009: 12-12 \n\nSegments: 1\n\ts 10\n\n");
}

TEST(CoffRead, RowsBelongToTheRun) {
    // A magic of no row leaves what the file before chose; the empty row reads with units of 1 and no lines.
    const std::string file = big_endian_file(0x8300, 8, be32(0x12) + be32(9) + be32(0x13) + be32(10), "");
    std::string unknown = file;
    patch(unknown, 0, be16(0x7777));
    const auto model = [](const files_t& files, std::vector<std::string> args) {
        args.insert(args.end(), {"-v", "-icoff", "-os19"});
        return model_of(run_program(args, files));
    };
    EXPECT_NE(model(
                  {
                      {"a", file   },
                      {"b", unknown}
    },
                  {"a", "b"})
                  .find("Files: 0, syms: 0, lines: 4"),
              std::string::npos);
    EXPECT_NE(model(
                  {
                      {"b", unknown}
    },
                  {"-b", "b"})
                  .find("Files: 0, syms: 0, lines: 0"),
              std::string::npos);
    std::string empty_row = coff_sample().file;
    patch(empty_row, 0, be16(0));
    EXPECT_NE(model(
                  {
                      {"a", empty_row}
    },
                  {"a"})
                  .find("Files: 1, syms: 2, lines: 0"),
              std::string::npos);
    EXPECT_NE(model(
                  {
                      {"a", empty_row}
    },
                  {"a"})
                  .find("\t.text    100-103\n"),
              std::string::npos);
    // A probe that fails at the counts leaves the order, but not the row.
    std::string implausible = coff_sample().file;
    patch(implausible, 2, le16(1001));
    EXPECT_EQ(run_coff({"-c"}, implausible).status, 1);
}

TEST(CoffProbe, LooksAtMagicAndCounts) {
    struct {
        size_t at;
        std::string bytes;
        bool is_known;
    } const cases[] = {
        {0,  bytes("36 12"),   true },
        {0,  bytes("00 00"),   true },
        {0,  bytes("12 36"),   false},
        {2,  le16(1000),       true },
        {2,  le16(1001),       false},
        {8,  le32(0x80000000), false},
        {12, le32(0x80000000), false},
    };
    for (const auto& row : cases) {
        std::string file = coff_sample().file;
        patch(file, row.at, row.bytes);
        const result_t result = run_coff({"-c"}, file);
        EXPECT_EQ(result.err.find("Confirmed as COFF") != std::string::npos, row.is_known) << row.at;
    }
}

} // namespace
} // namespace tavrel::testing
