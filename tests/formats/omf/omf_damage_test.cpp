// Damaged files of both 8051 object formats: cut at every byte, and with every byte of every body changed under a
// checksum that fits again. What matters beyond the expectations is that nothing is read outside the buffers.
#include <gtest/gtest.h>

#include "formats/omf/omf_support.h"

namespace tavrel {
namespace {

using testing::bytes;
using testing::record;
using testing::record_view_t;
using testing::result_t;
using testing::run_program;

// One record of each kind that is looked into.
const std::string whole =
    record(0x70, bytes("01 1A 00 00 00 00 03 \"a.c\" FF 02 \"-g\" 99")) + record(0x02, bytes("02 \"me\" FF 00")) +
    record(0x10, bytes("00 02 \"me\"")) + record(0x24, bytes("00 00 00 03 \"a.c\"")) +
    record(0x20,
           bytes("20 02 00 00 00 04 01 \"a\" 02 00 21 01 \"b\" 22 01 03 00 20 23 04 00 24 00 01 \"t\" 25 04 00 20 23 "
                 "26 01 02 03 28 02 01 04 01 00 00 00 24")) +
    record(0x22, bytes("01 00 42 20 00 24 01 \"x\" 00 00 30 00 0B 01 \"f\"")) +
    record(0x12, bytes("00 00 43 21 00 00 01 \"y\"")) + record(0x12, bytes("02 09 00 80 00 00 04 \"MINE\"")) +
    record(0x12, bytes("03 00 30 00 07 00 00 34 00 08 00")) + record(0x06, bytes("00 30 00 01 02 03 04 05 06 07")) +
    record(0x10, bytes("03 02 \"me\"")) + record(0x04, bytes("02 \"me\" 00 00 0F 00"));

void use(const std::string& file) {
    for (const char* const key : {"-iomf51", "-ieomf51"}) {
        run_program(
            {
                "-d", "-v", "-v", key, "in"
        },
            {{"in", file}});
        const result_t result = run_program(
            {
                "-v", "-v", key, "in", "-oomf51", "a", "-oeomf51", "b"
        },
            {{"in", file}});
        testing::records_of(result.files.at("a.omf")); // whatever was read, the output is sound
        testing::records_of(result.files.at("b.abs"));
    }
}

TEST(omf_damage, cut_at_every_byte) {
    const auto printed = [](const std::string& file) {
        const std::string out = testing::dumped("eomf51", file);
        return out.substr(0, out.size() - 1); // without the line between files
    };
    const std::string all = printed(whole);
    for (size_t size = 0; size < whole.size(); ++size) {
        EXPECT_TRUE(all.starts_with(printed(whole.substr(0, size)))) << size; // what was read before stays
        use(whole.substr(0, size));
    }
}

TEST(omf_damage, every_byte_changed) {
    const std::vector<record_view_t> records = testing::records_of(whole);
    for (size_t k = 0; k < records.size(); ++k) {
        for (size_t at = 0; at < records[k].body.size(); ++at) {
            for (const int value : {0x00, 0x05, 0x20, 0x28, 0x7F, 0xFF}) {
                std::string file;
                for (size_t each = 0; each < records.size(); ++each) {
                    std::string body = records[each].body;
                    if (each == k) {
                        body[at] = static_cast<char>(value);
                    }
                    file += record(records[each].type, body);
                }
                use(file);
            }
        }
    }
}

TEST(omf_damage, every_body_cut) {
    for (const record_view_t& view : testing::records_of(whole)) {
        for (size_t size = 0; size < view.body.size(); ++size) {
            use(record(view.type, view.body.substr(0, size)) + whole);
        }
    }
}

} // namespace
} // namespace tavrel
