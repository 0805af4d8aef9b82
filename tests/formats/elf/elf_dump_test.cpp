// Probe, loader and the ELF part of the dump.
#include <gtest/gtest.h>

#include "driver/run.h"
#include "formats/elf/elf_builder.h"

namespace tavrel {
namespace {

using namespace tavrel::testing;

std::string patched(std::string file, size_t at, std::string_view bytes) {
    return file.replace(at, bytes.size(), bytes);
}

// ---- probe and load

struct fault_t {
    size_t at;
    std::string bytes;
    const char* text; // of the probe at -v -v
};

TEST(ElfProbe, TellsWhatIsWrong) {
    const std::string sound = elf_file({});
    const fault_t faults[] = {
        {0, "\x7E",           "Magic number not ELF\n"            },
        {3, "f",              "Magic number not ELF\n"            },
        {4, "\x02",           "Not 32 bit ELF\n"                  },
        {5, "\x03",           "Not big or little-endian ELF (3)\n"},
        {5, std::string("\0", 1),                                   "Not big or little-endian ELF (0)\n"},
        {6, "\xFF",                 "Unsupported ELF Version 255\n"                                              },
        {4, "\x02\x07\x07",                 "Not 32 bit ELF\n"},
    };
    for (const fault_t& fault : faults) {
        const std::string file = patched(sound, fault.at, fault.bytes);
        const result_t loud = run_program(
            {
                "-c", "-v", "a"
        },
            {{"a", file}});
        EXPECT_NE(loud.err.find(std::string(fault.text) + "==> Not ELF/DWARF\n"), std::string::npos) << loud.err;
        const result_t quiet = run_program(
            {
                "-c", "a"
        },
            {{"a", file}});
        EXPECT_EQ(quiet.err.find(fault.text), std::string::npos);
        // Loading such a file says nothing; the driver reports that it cannot be dumped.
        const dump_t dump = dump_files({file});
        EXPECT_EQ(dump.out, "\n");
        EXPECT_EQ(dump.messages, "(634) damaged a.elf\n");
    }
    const result_t cut = run_program(
        {
            "-c", "-v", "a"
    },
        {{"a", sound.substr(0, 51)}});
    EXPECT_NE(cut.err.find("ELF header too short\n==> Not ELF/DWARF\n"), std::string::npos);
    EXPECT_NE(run_program(
                  {
                      "-c", "a"
    },
                  {{"a", sound.substr(0, 52)}})
                  .err.find("Confirmed as ELF/DWARF"),
              std::string::npos);
}

TEST(ElfLoad, EndsAtTheFirstFailure) {
    const std::string sound = elf_file({
        {".text", "1234"}
    });
    const std::string two_faults = patched(patched(sound, 44, "\x09"), 50, "\x03");
    const std::pair<std::string, std::string> rows[] = {
        {sound.substr(0,                      51),            "(1037) ELF header\n"},
        {sound.substr(0,                                   sound.size() - 1),                                    "(1037) ELF section headers\n"},
        {patched(sound,     32,"\xFF\xFF\xFF\xFF"), "(1037) ELF section headers\n"},
        {patched(sound,                             46,                                         "\xFF\xFF"), "(1037) ELF section headers\n"},
        {patched(sound,                                   50,                                     "\x03"), "(0) Bad ELF string table index\n"},
        {patched(sound,                        44,"\x01"), ""},
        {patched(sound,                       44, "\x09"), "(1037) ELF program headers\n"},
        {two_faults, "(0) Bad ELF string table index\n"              },
    };
    for (const auto& row : rows) {
        const dump_t dump = dump_files({row.first});
        const bool sane = row.second.empty();
        EXPECT_EQ(dump.messages, sane ? "" : row.second + "(634) damaged a.elf\n");
        EXPECT_EQ(dump.out == "\n", !sane);
    }
    // The text ends in a newline of its own, and the message's newline follows.
    const result_t result = run_program(
        {
            "-d", "-ielf", "a"
    },
        {{"a", patched(sound, 50, "\x03")}});
    EXPECT_EQ(result.err.substr(0, 39), "a: (0) Bad ELF string table index\n\na: (");
    EXPECT_EQ(result.status, 1);
}

TEST(ElfRead, TakesNothingAndGoesOn) {
    const result_t result = run_program(
        {
            "a.elf", "-os19"
    },
        {{"a.elf", elf_file({{".text", "1234", 1, 6}})}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
}

// ---- dump

// Header and section table of three section headers: null, .text, .shstrtab.
constexpr const char* header_text = "ELF header:\n"
                                    "\tClass:   \t32-bit objects\n"
                                    "\tData:   \t2's complement, little endian\n"
                                    "\tVersion:\t0x1\n"
                                    "\tOS ABI:\t\tStandalone (embedded)\n"
                                    "\tType:   \tET_EXEC\n"
                                    "\tMachine:\tAdvanced RISC Machines ARM\n";

TEST(ElfDump, WithoutSectionsOnlyHeadersAreLeft) {
    std::string file = elf_file({}).substr(0, 52);
    file = patched(file, 44, bytes("00 00 28 00 00 00 FF FF"));
    EXPECT_EQ(dump_files({file}).out, std::string(header_text) +
                                          "\tProg hdrs:\t0 [0x20]\n"
                                          "\tSec hdrs:\t0 [0x28]\n"
                                          "\tStrtab:\t\t0xFFFF\n"
                                          "\tStart addr:\t0x1234\n"
                                          "\n"
                                          "\nProgram Headers:\n\n"
                                          "No.   Type                                 Virtual  Physical "
                                          "Filesize Memsize  Flg \n"
                                          "\n");
}

std::vector<elf_part_t> small_program() {
    const std::string strings = bytes("00 \"main\" 00 \"x\" 00 \"tail\"");
    const std::string symbols = bytes("00000000 00000000 00000000 00 00 0000\n"
                                      "01000000 00800000 12000000 12 00 0100\n"
                                      "06000000 FFFFFFFF FFFFFFFF 21 F0 F1FF\n"
                                      "08000000 00000000 00000000 5F 01 0200\n"
                                      "0C000000 00000000 00000000 03 00 0000\n"
                                      "01000000");
    std::vector<elf_part_t> parts;
    parts.push_back({".text", "ABCDEFGHIJKLMNOPQR", 1, 6, 0x8000, 0, 0, 4});
    parts.push_back({".a_name_of_more_than_twenty", "xyz", 8, 3, 0x20000000});
    parts.push_back({".strtab", strings, 3});
    parts.push_back({".symtab", symbols, 2, 0, 0, 3, 0, 0, 16});
    return parts;
}

TEST(ElfDump, PrintsSectionsAndSymbols) {
    const std::string file = elf_file(small_program());
    const std::string out = dump_files({file}, {"-v"}).out;
    EXPECT_EQ(out,
              std::string(header_text) +
                  "\tProg hdrs:\t0 [0x20]\n"
                  "\tSec hdrs:\t6 [0x28]\n"
                  "\tStrtab:\t\t0x5\n"
                  "\tStart addr:\t0x1234\n"
                  "\n"
                  "\nString table:\n\n"
                  "00000000: \n"
                  "00000001: main\n"
                  "00000006: x\n"
                  "00000008: tail\n"
                  "\nSections:\n\n"
                  "No.   Name                 Type                           Address  Size     Link     Flags\n"
                  "0000                       Unused                         00000000 00000000 00000000\n"
                  "0001  .text                Program data                   00008000 00000012 00000000 ALLOC "
                  "EXECINSTR\n"
                  "0002  .a_name_of_more_than Prog space without data (bss)  20000000 00000003 00000000 WRITE ALLOC\n"
                  "0003  .strtab              String table                   00000000 0000000C 00000000\n"
                  "0004  .symtab              Symbol table                   00000000 00000054 00000003\n"
                  "Section header entry size: 0x10\n"
                  "Symbol Table\n"
                  "\t                      0x00000000  0      Local symbol/unspecified    0x00  0x0000\n"
                  "\tmain                  0x00008000  18     Global symbol/code object   0x00  0x0001\n"
                  "\tx                     0xFFFFFFFF  -1     Weak symbol/data object     0xF0  0xFFF1\n"
                  "\ttail                  0x00000000  0      0x5/0xF                     0x01  0x0002\n"
                  "\t(unknown)             0x00000000  0      Local symbol/associated with a section  0x00  "
                  "0x0000\n"
                  "0005  .shstrtab            String table                   00000000 0000003D 00000000\n"
                  "\nProgram Headers:\n\n"
                  "No.   Type                                 Virtual  Physical Filesize Memsize  Flg \n"
                  "\n\nNo DWARF found\n"
                  "\n");
    // Without -v the symbols are left out.
    const std::string quiet = dump_files({file}).out;
    const size_t from = out.find("Section header entry size"), to = out.find("0005  .shstrtab");
    EXPECT_EQ(quiet, out.substr(0, from) + out.substr(to));
}

TEST(ElfDump, TellsMoreWithMoreVerbosity) {
    const std::string file = elf_file(small_program());
    const std::string two = dump_files({file}, {"-v", "-v"}).out;
    EXPECT_NE(two.find("\tProg hdrs:\t0 [0x20] (@ 0x0)\n\tSec hdrs:\t6 [0x28] (@ 0xE6)\n"), std::string::npos) << two;
    EXPECT_NE(two.find("Link     Offset   Info     Align    Flags\n"), std::string::npos);
    EXPECT_NE(two.find("0001  .text                Program data                   00008000 00000012 00000000 00000034 "
                       "00000000 00000004 ALLOC EXECINSTR\n0002"),
              std::string::npos);
    EXPECT_NE(two.find("Memsize  Flg Align    \n"), std::string::npos);

    const std::string three = dump_files({file}, {"-v", "-v", "-v"}).out;
    EXPECT_NE(three.find("\tClass:   \t32-bit objects (0x1)\n"), std::string::npos);
    EXPECT_NE(three.find("\tOS ABI:\t\tStandalone (embedded) (0xFF)\n"), std::string::npos);
    EXPECT_NE(three.find("00000008: tail\n00000000: \n00000001: .text\n"), std::string::npos);
    EXPECT_NE(
        three.find("0001  .text                Program data (0x1)             00008000 00000012 00000000 00000034 "
                   "00000000 00000004 ALLOC EXECINSTR\n\t  34:  41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50\n"
                   "0002  .a_name_of_more_than Prog space without data (bss)  20000000"),
        std::string::npos);
    EXPECT_NE(three.find("Global symbol (0x1)/code object (0x2)  0x00  0x0001\n"), std::string::npos);
}

TEST(ElfDump, PrintsProgramHeaders) {
    std::string file = elf_file({}, true);
    file = patched(file, 28, bytes("00000034 00000000"));
    file = patched(file, 44, bytes("0003 0028 0000 0000")).substr(0, 52);
    file += bytes("00000001 00000004 00100000 00200000 00000003 00000030 00000005 00000010");
    file += bytes("00000006 00000000 00000000 00000000 00000000 00000000 00000002 00000000");
    file += bytes("70000000 FFFFFFFF 00000000 00000000 00000009 00000000 FFFFFFF8 00000000");
    // 32 bytes a record are not enough for a table of two records of 48.
    const std::string heading = "No.   Type                                 Virtual  Physical Filesize Memsize  Flg ";
    EXPECT_NE(dump_files({file}).out.find(heading +
                                          "\n"
                                          "0000  Loadable program segment             00100000 00200000 00000003 "
                                          "00000030 r-x\n"
                                          "0001  Program header table                 00000000 00000000 00000000 "
                                          "00000000 -w-\n"
                                          "0002  0x70000000                           00000000 00000000 00000009 "
                                          "00000000 ---\n\n"),
              std::string::npos);
    EXPECT_NE(dump_files({file}, {"-v", "-v", "-v"})
                  .out.find(heading +
                            "Align    \n"
                            "0000  Loadable program segment (0x1)       00100000 00200000 00000003 00000030 r-x "
                            "00000010\n\t   4:  01 02 01\n"
                            "0001  Program header table (0x6)           00000000 00000000 00000000 00000000 -w- "
                            "00000000\n"
                            "0002  0x70000000                           00000000 00000000 00000009 00000000 --- "
                            "00000000\n\tFFFFFFFF: \n\n"),
              std::string::npos);
}

// Records may have any size: fields that they lack are 0, a table may be all nothing.
TEST(ElfDump, TakesRecordsOfAnySize) {
    std::string file = elf_file({
        {".text", "1234", 1, 6, 0x8000}
    });
    // Entry size 12: name, type and flags are there, the rest is 0.
    std::string narrow = patched(file, 46, bytes("0C00 0200 0000"));
    const std::string out = dump_files({narrow}).out;
    EXPECT_NE(out.find("0000  (unknown)            Unused                         00000000 00000000 00000000\n"
                       "0001  (unknown)            Unused                         00000000 00000000 00000000\n"),
              std::string::npos)
        << out;
    const dump_t nothing = dump_files({patched(file, 46, bytes("0000 0300 0000"))});
    EXPECT_NE(nothing.out.find("0002  (unknown) "), std::string::npos);
    EXPECT_EQ(nothing.messages, "(0) Invalid ELF section header. Skipping.\n"
                                "(0) Invalid ELF section header. Skipping.\n"
                                "(0) Invalid ELF section header. Skipping.\n");
}

TEST(ElfDump, StepsSymbolsByTheirEntrySize) {
    const std::string symbols = bytes("01000000 11000000 00000000 00 00 0000 AAAAAAAA"
                                      "01000000 22000000 00000000 00 00 0000 AAAAAAAA");
    const auto count = [&](uint32_t entsize, const std::string& table) {
        const elf_part_t strtab = {".strtab", bytes("00 \"s\" 00"), 3};
        const elf_part_t symtab = {".symtab", table, 2, 0, 0, 1, 0, 0, entsize};
        const std::string out = dump_files({elf_file({strtab, symtab})}, {"-v"}).out;
        size_t lines = 0;
        for (size_t at = 0; (at = out.find("\n\t", at)) != std::string::npos; ++at) {
            lines += out.find("Symbol Table") < at ? 1 : 0;
        }
        return lines;
    };
    EXPECT_EQ(count(20, symbols), 2u);
    EXPECT_EQ(count(20, symbols.substr(0, 39)), 1u);
    EXPECT_EQ(count(0, symbols), 0u);
    EXPECT_EQ(count(1, symbols), 25u); // the last one that has 16 bytes begins at 24
    EXPECT_EQ(count(0xFFFFFFFF, symbols), 0u);
}

// One name, as long as the file, for every symbol: the dump ends when it has printed far more than the file explains.
TEST(ElfDump, EndsWhenAFileAsksForOutputWithoutEnd) {
    const std::string name(1 << 20, 'n');
    std::string symbols;
    for (int k = 0; k < 4096; ++k) {
        symbols += bytes("00000000 00000000 00000000 00000000");
    }
    memory_files_t memory;
    const elf_part_t strtab = {".strtab", name, 3};
    const elf_part_t symtab = {".symtab", symbols, 2, 0, 0, 1, 0, 0, 16};
    memory.files["a.elf"] = elf_file({strtab, symtab});
    memory.files["messages"] = dump_messages;
    uint64_t printed = 0;
    host_t host = memory_host(memory);
    host.out = [&](std::string_view text) {
        printed += text.size();
        return text.size();
    };
    EXPECT_EQ(tavrel_run({"-d", "-v", "-ielf", "--edf=messages", "a.elf"}, host), 0);
    EXPECT_GT(printed, 256u << 20);
    EXPECT_LT(printed, 700u << 20);
    EXPECT_NE(memory.err.find("(666) .symtab, symbol table"), std::string::npos);
}

} // namespace
} // namespace tavrel
