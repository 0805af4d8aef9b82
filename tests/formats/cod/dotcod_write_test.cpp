// COD files as written: directory, memory map, code pages, line table, symbols, locals.
#include <gtest/gtest.h>

#include "common/print.h"
#include "support/run.h"

namespace tavrel::testing {
namespace {

uint32_t byte_at(const std::string& file, size_t at) {
    return at < file.size() ? static_cast<unsigned char>(file[at]) : 0xFFFFFFFF;
}
uint32_t word_at(const std::string& file, size_t at) { return byte_at(file, at) | byte_at(file, at + 1) << 8; }

// Directory fields by offset.
constexpr size_t symtab = 426, namtab = 430, lsttab = 434, memmap = 443, locals = 447, lsymtab = 462;

std::string table_blocks(const std::string& file, size_t field) {
    return format_text("%u-%u", word_at(file, field), word_at(file, field + 2));
}

std::string block_of(const std::string& file, size_t number) { return file.substr(number * 512, 512); }

// The line table as text, a line a record, to the last record that is not all zeros.
std::string lines_of(const std::string& file) {
    std::string text, pending;
    for (size_t block = word_at(file, lsttab); block != 0 && block <= word_at(file, lsttab + 2); ++block) {
        for (size_t at = block * 512; at < block * 512 + 510; at += 6) {
            print(pending, "%u %02X %u %04X\n", byte_at(file, at), byte_at(file, at + 1), word_at(file, at + 2),
                  word_at(file, at + 4));
            if (file.substr(at, 6) != std::string(6, '\0')) {
                text += pending;
                pending.clear();
            }
        }
    }
    return text;
}

// Short symbols or locals as text; a scope as its two addresses.
std::string symbols_of(const std::string& file, size_t field) {
    std::string text;
    for (size_t at = word_at(file, field) * 512; at != 0 && at < (word_at(file, field + 2) + 1) * 512; at += 16) {
        const std::string name = file.substr(at + 1, byte_at(file, at));
        if (name == "__LOCAL") {
            print(text, "scope %04X-%04X\n", word_at(file, at + 8), word_at(file, at + 12));
        } else if (!name.empty()) {
            print(text, "%s %02X %04X\n", name, byte_at(file, at + 13), word_at(file, at + 14));
        }
    }
    return text;
}

std::string long_symbols_of(const std::string& file) {
    std::string text;
    for (size_t block = word_at(file, lsymtab); block != 0 && block <= word_at(file, lsymtab + 2); ++block) {
        for (size_t at = block * 512; at < block * 512 + 512 && byte_at(file, at) != 0; at += 7 + byte_at(file, at)) {
            const size_t type = at + 1 + byte_at(file, at);
            print(text, "%s %02X %02X%02X%02X%02X\n", file.substr(at + 1, byte_at(file, at)), word_at(file, type),
                  byte_at(file, type + 2), byte_at(file, type + 3), byte_at(file, type + 4), byte_at(file, type + 5));
        }
    }
    return text;
}

std::string write(const files_t& files, std::vector<std::string> options = {}) {
    for (const auto& [name, text] : files) {
        if (!name.ends_with(".sdb")) {
            options.push_back(name);
        }
    }
    options.insert(options.end(), {"-ocod", "out.cod"});
    const result_t result = run_program(options, files,
                                        {
                                            {"SOURCE_DATE_EPOCH", "1709219100"}
    });
    return result.files.at("out.cod");
}

TEST(DotcodWrite, DirectoryOfAnEmptyModel) {
    const std::string file = write(
        {
            {"a.hex", ":00000001FF\n"}
    },
        {"-pPIC16F877A"});
    const std::string expected = std::string(256, '\0') + bytes(R"(
        07 "out.cod")") + std::string(56, '\0') +
                                 bytes(R"(
        07 "29Feb24"                              ; 15:05 in UTC
        E1 05                                     ; 1505
        00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
        07 "NORVANE" 00 00 00 00
        23 "Copyright (C) 2010 Norvane Software")") +
                                 std::string(28, '\0') + bytes(R"(
        00 00 00 00 00 00 00 00 00 00 00 00       ; symbols, names, lines
        00 00 00 00 00                            ; address size, high address, next directory
        00 00 00 00 00 00 00 00                   ; memory map, locals
        01 00
        08 "PIC16F87"
        00 00 00 00 00 00 00 00                   ; long symbols, messages
        )") + std::string(42, '\0');
    EXPECT_EQ(hex(expected), hex(file));
}

TEST(DotcodWrite, SourceAndDateAreCutAndPadded) {
    const std::string name = std::string(70, 'x') + ".cod";
    const result_t result = run_program(
        {
            "a.hex", "-ocod", name
    },
        {{"a.hex", ":00000001FF\n"}}, {{"SOURCE_DATE_EPOCH", "-86400"}});
    EXPECT_EQ("\x3F" + std::string(63, 'x') +
                  "\x07"
                  "31Dec69",
              result.files.at(name).substr(256, 72));
    const result_t later = run_program(
        {
            "a.hex", "-ocod", "b.cod"
    },
        {{"a.hex", ":00000001FF\n"}}, {{"SOURCE_DATE_EPOCH", "8640000000"}});
    EXPECT_EQ("17Oct43", later.files.at("b.cod").substr(321, 7)); // of 2243
}

// One S-record with a 32-bit address.
std::string s3(uint32_t address, const std::string& data) {
    std::string text = format_text("S3%02X%08X", data.size() + 5, address);
    uint32_t sum =
        static_cast<uint32_t>(data.size()) + 5 + (address >> 24) + (address >> 16) + (address >> 8) + address;
    for (const char c : data) {
        print(text, "%02X", static_cast<unsigned char>(c));
        sum += static_cast<unsigned char>(c);
    }
    return text + format_text("%02X\n", ~sum & 0xFF);
}

TEST(DotcodWrite, AddressesAreCutInTheMapAndPagesFollowTheBlocks) {
    const std::string low = bytes("10 11 12 13 14 15 16 17 18 19 1A 1B 1C 1D 1E 1F");
    const std::string high = bytes("20 21 22 23 24 25 26 27 28 29 2A 2B 2C 2D 2E 2F");
    const std::string file = write({
        {"a.s19",
         s3(0x1F0, low) + s3(0x200, high) + s3(0x10002, "Z") + s3(0x300, "a") + s3(0x400, "b") + s3(0x5FF, "c")}
    });
    EXPECT_EQ("1-2", table_blocks(file, memmap));
    EXPECT_EQ(hex(bytes("F0 01 0F 02  00 03 00 03  00 04 00 04  FF 05 FF 05") + std::string(496, '\0')),
              hex(block_of(file, 1)));
    EXPECT_EQ(hex(bytes("02 00 02 00") + std::string(508, '\0')), hex(block_of(file, 2)));
    // Pages 0, 1 and 2 have an entry each; 0x80 stands behind them, though nothing names it.
    EXPECT_EQ(hex(bytes("03 00 04 00 05 00") + std::string(250, '\0')), hex(file.substr(0, 256)));
    EXPECT_EQ(hex(std::string(0x1F0, '\0') + low), hex(block_of(file, 3)));
    EXPECT_EQ(hex(high + std::string(240, '\0') + "a" + std::string(255, '\0')), hex(block_of(file, 4)));
    EXPECT_EQ(hex(bytes("62") + std::string(510, '\0') + bytes("63")), hex(block_of(file, 5)));
    EXPECT_EQ(hex(std::string(2, '\0') + "Z" + std::string(509, '\0')), hex(block_of(file, 6)));
    EXPECT_EQ(7U * 512, file.size());
}

TEST(DotcodWrite, APageOfTwoSegmentsIsWrittenTwiceAndTheLaterCounts) {
    const std::string image = s3(0, "1") + s3(0x100, "2") + s3(0x200, "3");
    const std::string file = write({
        {"a.sym", "%segments\nhigh 100 1FF CODE\nlow 0 FF CODE\nmid 200 2FF CODE\n"},
        {"b.s19", image                                                            }
    });
    // Sorted by segment: high (in page 0), low (in page 0 too, and so still open), mid.
    EXPECT_EQ("02 00 03 00", hex(file.substr(0, 4)).substr(0, 11));
    const std::string other = write({
        {"a.sym", "%segments\nhigh 100 1FF CODE\nmid 200 2FF CODE\nlow 0 FF CODE\n"},
        {"b.s19", image                                                            }
    });
    EXPECT_EQ("04 00 03 00", hex(other.substr(0, 4)).substr(0, 11));
    EXPECT_EQ('2', other[2 * 512 + 0x100]);
    EXPECT_EQ('1', other[4 * 512]);
    EXPECT_EQ('\0', other[4 * 512 + 0x100]);
}

struct lines_case_t {
    const char* what;
    const char* symbols; // behind the segments CODE and DATA
    const char* expected;
};

constexpr lines_case_t lines_cases[] = {
    {"two lines with code",                                                "a.c\n3 100 0 CODE\n7 104 0 CODE\n",
     "0 FF 0 0000\n0 90 1 0000\n0 90 2 0000\n0 80 3 0100\n0 00 3 0101\n0 00 3 0102\n0 00 3 0103\n"
     "0 90 4 0000\n0 90 5 0000\n0 90 6 0000\n0 80 7 0104\n"                                                        },
    {"a label in between cuts the line to one address",                    "a.c\n3 100 0 CODE\n7 104 0 CODE\nlabel 102 0 CODE\n",
     "0 FF 0 0000\n0 90 1 0000\n0 90 2 0000\n0 80 3 0100\n"
     "0 90 4 0000\n0 90 5 0000\n0 90 6 0000\n0 80 7 0104\n"                                                        },
    {"a label at the line's address does so too",                          "a.c\n1 100 0 CODE\n2 104 0 CODE\nlabel 100 0 CODE\n",
     "0 FF 0 0000\n0 80 1 0100\n0 80 2 0104\n"                                                                     },
    {"a line elsewhere has no record, and the gap goes on behind it",      "a.c\n2 20 0 DATA\n4 100 0 CODE\n",
     "0 FF 0 0000\n0 90 1 0000\n0 90 3 0000\n0 80 4 0100\n"                                                        },
    {"files go by index, the code of a line to the next line of any file", "b.c\n2 102 0 CODE\na.c\n1 100 0 CODE\n",
     "0 FF 0 0000\n0 90 1 0000\n0 80 2 0102\n1 FF 0 0000\n1 80 1 0100\n1 00 1 0101\n"                              },
    {"several entries of a line, in the order that the two sorts leave",
     "a.c\n1 100 0 CODE\n1 108 0 CODE\n2 102 0 CODE\n2 104 0 CODE\n",                                                             "0 FF 0 0000\n0 80 1 0108\n0 80 1 0100\n0 00 1 0101\n0 80 2 0104\n0 00 2 0105\n0 00 2 0106\n"
     "0 00 2 0107\n0 80 2 0102\n0 00 2 0103\n"},
    {"numbers and addresses are cut to 16 bits",                           "a.c\n1 1FFFF 0 CODE\n2 20001 0 CODE\n",
     "0 FF 0 0000\n0 80 1 FFFF\n0 00 1 0000\n0 80 2 0001\n"                                                        },
};

TEST(DotcodWrite, LineTable) {
    for (const lines_case_t& row : lines_cases) {
        SCOPED_TRACE(row.what);
        const std::string segments = "%segments\nCODE 0 FFFFF CODE\nDATA 0 FF DATA\n%locals\n";
        EXPECT_EQ(row.expected, lines_of(write({
                                    {"x.sym", segments + row.symbols}
        })));
    }
    // Nothing is the code segment here.
    EXPECT_EQ("0 FF 0 0000\n0 90 1 0000\n",
              lines_of(write({
                  {"x.sym", "%segments\ntext 0 FFF text\n%locals\na.c\n2 100 0 text\n"}
    })));
}

TEST(DotcodWrite, LinesFillBlocksOf85) {
    // A file mark and lines 1 to 85: 86 records.
    const std::string file = write({
        {"x.sym", "%segments\nCODE 0 FFF CODE\n%locals\na.c\n85 100 0 CODE\n"}
    });
    EXPECT_EQ("1-2", table_blocks(file, lsttab));
    EXPECT_EQ("00 90 54 00 00 00 00 00", hex(block_of(file, 1).substr(504)).substr(0, 23));
    EXPECT_EQ("00 80 55 00 00 01 00 00", hex(block_of(file, 2).substr(0, 8)).substr(0, 23));
    EXPECT_EQ("3-3", table_blocks(file, namtab));
    EXPECT_EQ(hex("\x03"
                  "a.c" +
                  std::string(508, '\0')),
              hex(block_of(file, 3)));
}

TEST(DotcodWrite, WhatNoFileCanHoldIsToldAndLeftOut) {
    // A line of 0x10000 addresses is as told, one more is not.
    const std::string head = "%segments\nCODE 0 FFFFFFFE CODE\n%locals\na.c\n";
    for (const auto& [next, count, told] :
         {std::tuple("10100", 65536U, false), std::tuple("10101", 65536U, true), std::tuple("100FF", 65535U, false)}) {
        const result_t result = run_program(
            {
                "x.sym", "-ocod", "o.cod"
        },
            {{"x.sym", head + "1 100 0 CODE\n2 " + next + " 0 CODE\n"}});
        const std::string& file = result.files.at("o.cod");
        EXPECT_EQ(told, result.err.find("(413)") != std::string::npos) << next << result.err;
        // Records: file mark, line 1, line 2, in blocks of 85 from block 1 on.
        EXPECT_EQ((count + 2 + 84) / 85, word_at(file, lsttab + 2)) << next;
    }
    // A gap ends in the last block that has a number of 16 bits: 65535 blocks of 85 records.
    const result_t result = run_program(
        {
            "x.sym", "-ocod", "o.cod"
    },
        {{"x.sym", head + "4294967295 100 0 CODE\n"}});
    const std::string& file = result.files.at("o.cod");
    EXPECT_NE(std::string::npos, result.err.find("(413)"));
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("00 90 AA FF 00 00", hex(file.substr(65535 * 512 + 504, 6)).substr(0, 17)); // line 65535 * 85 - 1
    EXPECT_EQ("00 80 FF FF 00 01", hex(file.substr(65536 * 512, 6)).substr(0, 17));
}

constexpr const char* label_symbols = "_absolute 12345 0 ABS\n_code 80 0 text\n_entry 81 0 ENTRY\ndata_of_mine_ 20 0 "
                                      "ram\n%segments\n%locals\na.c\n_hidden 82 0 text\n";

TEST(DotcodWrite, LabelsGoToBothTables) {
    std::string file = write({
        {"x.sym", label_symbols}
    });
    EXPECT_EQ("_absolute 8B 2345\n_code 02 0080\n_entry 10 0081\ndata_of_mine 02 0020\n", symbols_of(file, symtab));
    EXPECT_EQ("_absolute 8B 00012345\n_code 02 00000080\n_entry 10 00000081\ndata_of_mine_ 02 00000020\n",
              long_symbols_of(file));
    // Without underscores, local symbols come too.
    file = write(
        {
            {"x.sym", label_symbols}
    },
        {"-m", "-ntext"});
    EXPECT_EQ("absolute 8B 2345\ncode 10 0080\nentry 02 0081\ndata_of_mine 02 0020\nhidden 10 0082\n",
              symbols_of(file, symtab));
}

TEST(DotcodWrite, LongSymbolsFillABlockToItsEnd) {
    // Records of 207, 207 and 98 bytes make a block; one character more does not fit.
    for (const auto& [length, blocks] : {std::pair(91U, 1U), std::pair(92U, 2U)}) {
        const std::string file = write({
            {"x.sym", std::string(200, 'a') + " 1 0\n" + std::string(200, 'b') + " 2 0\n" + std::string(length, 'c') +
                          " 3 0\n"}
        });
        EXPECT_EQ(blocks, word_at(file, lsymtab + 2) - word_at(file, lsymtab) + 1);
        EXPECT_NE(std::string::npos, long_symbols_of(file).find(std::string(length, 'c') + " 8B 00000003\n"));
    }
}

struct type_case_t {
    const char* type; // as an SDB file spells it, with the count behind it
    uint32_t code, fake_code;
};

constexpr type_case_t type_cases[] = {
    {"`v 1",      0x43, 0x8B},
    {"`c 1",      0x02, 0x8B},
    {"`i 1",      0x03, 0x8B},
    {"`m 1",      0x00, 0x8B}, // three bytes
    {"`l 1",      0xA0, 0x8B},
    {"`uc 1",     0x04, 0x8B},
    {"`ui 1",     0x05, 0x8B},
    {"`ul 1",     0x9F, 0x8B},
    {"`f 1",      0xA6, 0x8B},
    {"`d 1",      0xA7, 0x8B},
    {"`Vuc 1",    0x04, 0x8B},
    {"`E1 1",     0x00, 0x8B},
    {"`S1 1",     0x4D, 0x8B},
    {"`(v 1",     0x10, 0x10},
    {"`*uc 1",    0x06, 0x06},
    {"`*(v 1",    0x1F, 0x1F},
    {"`**(v 1",   0x06, 0x06},
    {"`c 4a",     0x0C, 0x8B},
    {"`i 4a",     0x0E, 0x8B},
    {"`uc 4a",    0x0D, 0x8B},
    {"`ui 4a",    0x0F, 0x8B},
    {"`Vui 4a",   0x0F, 0x8B},
    {"`[2]ui 4a", 0x0C, 0x8B},
    {"`b 4a",     0x0C, 0x8B},
};

TEST(DotcodWrite, TypeCodes) {
    std::string symbols, tree = "[p GLOBOPT ]\n\"1 x.c\n[e E1 . `uc A 0 ]\n[s S1 . 1 `uc f 1 0 ]\n", expected, faked;
    uint32_t value = 0x200;
    for (const type_case_t& row : type_cases) {
        print(symbols, "_v%X %X 0 RAM\n", value, value);
        print(tree, "[v _v%X %s e 1 0 ]\n", value, row.type);
        print(expected, "_v%X %02X %04X\n", value, row.code, value);
        print(faked, "_v%X %02X %04X\n", value, row.fake_code, value);
        ++value;
    }
    const files_t files = {
        {"x.sym", symbols + "%locals\nx.obj\n"},
        {"x.sdb", tree                        }
    };
    EXPECT_EQ(expected, symbols_of(write(files, {"-p18F452"}), symtab));
    EXPECT_EQ(faked, symbols_of(write(files, {"-p18F452", "-f"}), symtab));
}

// A function with a parameter, a static bit, and a block within; an external bit; a symbol that only the linker knows.
const files_t& sample() {
    static const files_t files = {
        {"x.sym", "_main 100 0 CODE\n_ready 103 0 RAM\n_other 104 0 RAM\n?_main 30 0 RAM\n?a_main 40 0 RAM\n%locals\n"
                  "x.obj\nx.c\nF3 20F 0 RAM\n10 100 0 CODE\n14 108 0 CODE\n16 10A 0 CODE\n18 110 0 CODE\n"       },
        {"x.sdb", "[p GLOBOPT ]\n\"1 x.c\n[v _ready `b 1 e 0 0 ]\n[v _gone `uc 1 e 1 0 ]\n[v _odd `? 1 e 1 0 ]\n"
                  "\"10\n[v _main `(i 1 e 0 0 ]\n{\n\"10\n[v _argc `i 1 p 2 1 ]\n\"11\n[v F3 `b 1 s 0 seen ]\n"
                  "[v _index_of_it `uc 1 a 1 4 ]\n\"14\n{\n[v _inner `*uc 1 a 2 5 ]\n\"16\n}\n\"20\n}\n0 0 0 0\n"},
    };
    return files;
}

TEST(DotcodWrite, Locals) {
    const std::string file = write(sample(), {"-p18F452"});
    // Bit addresses are byte addresses times 8 plus the bit; the symbols ?_main and ?a_main are the frames.
    EXPECT_EQ("_ready 94 0020\n_main 10 0100\n_other 02 0104\n?_main 02 0030\n?a_main 02 0040\n",
              symbols_of(file, symtab));
    // The scope runs from line 10 to the address behind the last entry before line 20; the block from 14 to 16.
    EXPECT_EQ("scope 0200-0222\n_main 10 0100\n_argc 03 0031\n_seen 98 0041\n_index_of_it 04 0044\n"
              "scope 0210-0214\n_inner 06 0045\n",
              symbols_of(file, locals));
}

TEST(DotcodWrite, FakedLocalsBecomeGlobals) {
    const std::string file = write(sample(), {"-p18F452", "-f", "-m"});
    EXPECT_EQ("0-0", table_blocks(file, locals));
    EXPECT_EQ("ready 8B 00000103\nmain 10 00000100\nmain.argc 8B 00000031\nmain.seen 8B 0000020F\n"
              "main.index_of_it 8B 00000044\nother 02 00000104\n?_main 02 00000030\n?a_main 02 00000040\n"
              "F3 02 0000020F\n",
              long_symbols_of(file));
}

TEST(DotcodWrite, LeavesCodeSpacesAndDescribedSymbolsToLaterWriters) {
    // Microchip COFF complains (599) when nobody has named the code spaces.
    const std::vector<std::string> head = {"-p18F452,452", "x.sym"};
    const auto run = [&head](std::vector<std::string> outputs) {
        outputs.insert(outputs.begin(), head.begin(), head.end());
        return run_program(outputs, sample());
    };
    EXPECT_NE(std::string::npos, run({"-omcoff", "a"}).err.find("(599)"));
    EXPECT_EQ(std::string::npos, run({"-ocod", "b", "-omcoff", "a"}).err.find("(599)"));
    // Holtek DBG writes a symbol of the tree once; what COD resolved stays described.
    const result_t both = run({"-ocod", "b", "-ohtk", "c"});
    const result_t one = run({"-ohtk", "c"});
    EXPECT_EQ(hex(one.files.at("c.dbg")), hex(both.files.at("c.dbg")));
}

TEST(DotcodWrite, LeavesTheByteOrderOfItsLongSymbols) {
    constexpr size_t data_encoding = 5; // of an ELF header: 1 little-endian, 2 big-endian
    const auto order_behind = [](const testing::files_t& files) {
        return run_program({"-p18F452,452", "x.hex", "-ocod", "b", "-oelf", "a"}, files)
            .files.at("a.elf")[data_encoding];
    };
    EXPECT_EQ(1, order_behind({
                     {"x.hex", "%locals\n"}
    }));
    EXPECT_EQ(2, order_behind({
                     {"x.hex", "main 10 0 CODE\n"}
    }));
}

} // namespace
} // namespace tavrel::testing
