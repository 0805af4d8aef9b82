#include "common/stream.h"

#include <gtest/gtest.h>

#include "model/encdec.h"
#include "support/run.h"

namespace tavrel {
namespace {

using testing::bytes;

std::span<const uint8_t> span_of(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

TEST(encdec, both_orders) {
    uint8_t buffer[8];
    EXPECT_EQ(write32(buffer, 0x11223344, 0), buffer + 4);
    EXPECT_EQ(buffer[0], 0x44);
    EXPECT_EQ(read32(buffer, 1), 0x44332211u);
    write64(buffer, 0x0102030405060708, 1);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(read64(buffer, 0), 0x0807060504030201u);
    EXPECT_EQ(read16(buffer + 6, 1), 0x0708);
}

TEST(encdec, leb128_as_dwarf_defines_it) {
    struct case_t {
        int64_t value;
        const char* unsigned_form; // null: not tried
        const char* signed_form;
    };
    const case_t cases[] = {
        {0,         "00",       "00"                           },
        {63,        "3F",       "3F"                           },
        {64,        "40",       "C0 00"                        },
        {624485,    "E5 8E 26", "E5 8E 26"                     },
        {-1,        nullptr,    "7F"                           },
        {-64,       nullptr,    "40"                           },
        {-65,       nullptr,    "BF 7F"                        },
        {INT64_MIN, nullptr,    "80 80 80 80 80 80 80 80 80 7F"},
    };
    for (const case_t& c : cases) {
        std::string out;
        const uint32_t more = sleb128_write(out, c.value);
        EXPECT_EQ(out, bytes(c.signed_form)) << c.value;
        EXPECT_EQ(more, out.size() - 1);
        cursor_t from(span_of(out), 0);
        EXPECT_EQ(from.sleb128(), c.value);
        if (c.unsigned_form != nullptr) {
            std::string plain;
            uleb128_write(plain, static_cast<uint64_t>(c.value));
            EXPECT_EQ(plain, bytes(c.unsigned_form));
            EXPECT_EQ(cursor_t(span_of(plain), 0).uleb128(), static_cast<uint64_t>(c.value));
        }
    }
}

TEST(cursor, a_short_read_gives_zeros_and_stays_at_the_end) {
    const std::string data = bytes("01 02 03");
    cursor_t from(span_of(data), 1);
    EXPECT_EQ(from.u32(), 0x01020300u);
    EXPECT_TRUE(from.short_read);
    EXPECT_EQ(from.u8(), 0);
    EXPECT_EQ(from.left(), 0u);
    cursor_t again(span_of(data), 0);
    again.seek(UINT64_MAX);
    EXPECT_TRUE(again.short_read);
    EXPECT_EQ(again.string(), "");
}

TEST(input, lines_are_cut_as_a_buffer_would) {
    input_t in;
    in.bytes = "abc\ndefgh\n\nlast";
    text_t line;
    std::vector<std::string> lines;
    while (read_line(in, line, 4)) {
        lines.emplace_back(line);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"abc\n", "defg", "h\n", "\n", "last"}));
}

TEST(output, a_seek_past_the_end_fills_with_zeros) {
    output_t out;
    out.big_endian = 1;
    put16(out, 0x0102);
    seek(out, 4);
    put32(out, 0x0A0B0C0D);
    seek(out, 1);
    put8(out, 0xFF);
    print(out, "%c", 'x');
    EXPECT_EQ(out.bytes, bytes("01 FF \"x\" 00 0A 0B 0C 0D"));
}

} // namespace
} // namespace tavrel
