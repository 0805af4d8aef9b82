// Damaged files: every section cut at every byte, and bytes changed at random. The dump goes on to its last section.
#include <gtest/gtest.h>

#include <random>

#include "formats/elf/elf_builder.h"

namespace tavrel {
namespace {

using namespace tavrel::testing;

// The bytes with their number in front.
std::string counted(const std::string& hex) {
    const std::string rest = bytes(hex);
    return std::string{static_cast<char>(rest.size()), 0, 0, 0} + rest;
}

// All debug sections, each with a bit of everything.
std::vector<elf_part_t> sample_parts() {
    const std::string abbrev = "01 11 01 10 06 13 05 25 0E 03 08 11 01 00 00 02 2E 01 03 08 40 0A 3F 0C 49 13 00 00"
                               "03 34 00 03 16 02 09 1C 0D 2F 0F 00 00 00";
    const std::string unit = "0200 00000000 04 01 00000000 0100 01000000 \"u\" 00 00010000"
                             "02 \"f\" 00 01 6D 01 0B000000 03 08 \"v\" 00 02 9178 7F 05 00 00";
    const std::string lines = "0200 1B000000 01 01 FB 0F 0A 00 01 01 01 01 00 00 00 01"
                              "\"inc\" 00 00 \"a.c\" 00 01 00 00 00"
                              "03 13 00 05 02 00010000 01 4C 02 04 00 06 03 \"g\" 00 01 02 05 03 04 01 08 09 0100 06 07"
                              "00 01 01 01";
    const std::string frame = counted("FFFFFFFF 01 00 04 78 0E 0C 07 8001 0E 0A") +
                              counted("00000000 00010000 80000000 41 02 81 01 00200000 81 02");
    const std::string ranges = "0200 00000000 04 00 AAAAAAAA 00100000 20000000 00000000 00000000";
    const std::string places = "00010000 10010000 0900 03 44332211 92 07 7E 96 00000000 00000000";
    const std::string symbols = "00000000 00000000 00000000 00000000 01000000 00800000 12000000 12 00 0100";
    std::vector<elf_part_t> parts;
    parts.push_back({".debug_str", bytes("00 \"text\" 00")});
    parts.push_back({".debug_abbrev", bytes(abbrev)});
    parts.push_back({".debug_info", counted(unit)});
    parts.push_back({".debug_line", counted(lines)});
    parts.push_back({".debug_frame", frame});
    parts.push_back({".debug_pubnames", counted("0200 10000000 20000000 0B000000 \"main\" 00 00000000")});
    parts.push_back({".debug_pubtypes", bytes("0000")});
    parts.push_back({".debug_aranges", counted(ranges)});
    parts.push_back({".debug_macinfo", bytes("01 05 \"A 1\" 00 03 00 02 04 FF 07 \"v\" 00 00")});
    parts.push_back({".debug_loc", bytes(places)});
    parts.push_back({".debug_ranges", bytes("00000000")});
    parts.push_back({".strtab", bytes("00 \"main\" 00"), 3});
    parts.push_back({".symtab", bytes(symbols), 2, 2, 0, 12, 0, 0, 16});
    return parts;
}

const std::vector<std::string> loud = {"-v", "-v", "-v", "-v", "--emax=1000000"};
constexpr const char* last_heading = "\n\nAddress ranges (.debug_ranges):\n";

TEST(DwarfDamage, TheSampleIsSound) {
    const dump_t dump = dump_files({elf_file(sample_parts())}, loud);
    EXPECT_EQ(dump.messages, "");
    EXPECT_NE(dump.out.find(last_heading), std::string::npos);
}

TEST(DwarfDamage, SectionsCutAnywhere) {
    const std::vector<elf_part_t> sound = sample_parts();
    for (size_t k = 0; k < sound.size(); ++k) {
        for (size_t size = 0; size < sound[k].bytes.size(); ++size) {
            std::vector<elf_part_t> parts = sound;
            parts[k].bytes.resize(size);
            const dump_t dump = dump_files({elf_file(parts)}, loud);
            EXPECT_NE(dump.out.find(last_heading), std::string::npos) << sound[k].name << " cut at " << size;
        }
    }
}

TEST(DwarfDamage, FilesCutAnywhere) {
    const std::string sound = elf_file(sample_parts());
    for (size_t size = 0; size < sound.size(); ++size) {
        // The section headers are last, so no cut leaves them whole.
        const dump_t dump = dump_files({sound.substr(0, size)}, loud);
        EXPECT_EQ(dump.messages, size < 52 ? "(1037) ELF header\n(634) damaged a.elf\n"
                                           : "(1037) ELF section headers\n(634) damaged a.elf\n");
    }
}

TEST(DwarfDamage, BytesChangedAtRandom) {
    const std::string sound = elf_file(sample_parts());
    size_t contents = 52; // end of what the first half of the rounds damages
    for (const elf_part_t& part : sample_parts()) {
        contents += part.bytes.size();
    }
    std::minstd_rand random(1);
    for (int round = 0; round < 4000; ++round) {
        std::string file = sound;
        for (uint32_t changes = 1 + random() % 4; changes != 0; --changes) {
            const size_t at = round < 2000 ? 52 + random() % (contents - 52) : random() % file.size();
            constexpr uint8_t values[] = {0, 1, 0x7F, 0x80, 0xFF};
            file[at] = static_cast<char>(random() % 2 == 0 ? random() : values[random() % 5]);
        }
        const dump_t dump = dump_files({file}, loud);
        EXPECT_LT(dump.out.size(), 1u << 20);
        if (round < 2000) {
            EXPECT_NE(dump.out.find(last_heading), std::string::npos) << round;
        }
    }
}

} // namespace
} // namespace tavrel
