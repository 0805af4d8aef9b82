#include "model/model.h"

#include <random>

#include <gtest/gtest.h>

namespace tavrel {
namespace {

TEST(model, the_first_symbol_of_a_name_and_of_a_value_is_found) {
    model_t model;
    const uint32_t file = add_file(model, "a.c");
    add_symbol(model, "_main", 0x10, 1, file, 0);
    add_symbol(model, "main", 0x20, 1, file, 0);
    add_symbol(model, "main", 0x30, 1, file, 0);
    add_symbol(model, "Fmain", 0x40, 1, 0, 0);
    EXPECT_EQ(find_symbol(model, "_main")->value, 0x10u);
    EXPECT_EQ(find_symbol(model, "main")->value, 0x20u);
    EXPECT_EQ(find_symbol_at(model, 0x40), nullptr);
    add_symbol(model, "after", 0x40, 2, 0, 0);
    EXPECT_EQ(find_symbol_at(model, 0x40)->name, "after");
    EXPECT_EQ(model.files[0]->symbol_count, 3u);
    location_t location{1, 2};
    EXPECT_FALSE(find_symbol_location(model, "nobody", location));
    EXPECT_EQ(location.segment, 2u);
    EXPECT_TRUE(find_symbol_location(model, "after", location));
    EXPECT_EQ(location.value, 0x40u);
}

TEST(model, file_names_fold_case_and_lose_extensions_on_demand) {
    model_t model;
    EXPECT_EQ(add_file(model, "Main.C"), 1u);
    EXPECT_EQ(add_file(model, "main.c"), 1u);
    EXPECT_EQ(find_file(model, {}), nullptr);
    model_t stripped;
    stripped.strip_extensions = true;
    EXPECT_EQ(add_file(stripped, "lib.old/a.c"), 1u);
    EXPECT_EQ(stripped.files[0]->name, "lib.old/a");
    EXPECT_EQ(add_file(stripped, "a"), 2u);
    EXPECT_EQ(add_file(stripped, "A.H"), 2u);
    EXPECT_EQ(find_file(stripped, "a.xyz")->index, 2u);
}

TEST(model, names_hash_without_their_underscore) {
    EXPECT_EQ(name_hash("_x"), name_hash("x"));
    EXPECT_EQ(name_hash("_"), uint32_t('_'));
    EXPECT_EQ(name_hash("ab"), uint32_t('a') + 4 * uint32_t('b'));
    EXPECT_EQ(name_hash("\xFF"), 0xFFFFFFFFu);
}

// The index gives what the walk over the table gives, on overlapping ranges of few spaces, wrapped ones among them.
TEST(model, finders_agree_with_the_walk) {
    std::mt19937 engine(1);
    const auto random = [&] { return static_cast<uint32_t>(engine()); };
    model_t model;
    for (int k = 0; k < 60; ++k) {
        const uint32_t addr = k % 10 == 9 ? 0xFFFFFFF0u + random() % 16 : random() % 64;
        add_segment(model, "s", addr, random() % 24, addr, random() % 3);
        add_block(model, addr, random() % 24 % 20, "12345678901234567890", 0);
    }
    const segment_finder_t finder = make_segment_finder(model);
    const block_finder_t blocks = make_block_finder(model);
    for (uint32_t k = 0; k < 400; ++k) {
        const uint32_t address = k < 300 ? k % 100 : 0u - k % 40;
        const location_t location{address, k % 4};
        EXPECT_EQ(find_segment_at(finder, location, 1), find_segment_at(model, location, 1));
        uint32_t walked = 0;
        for (uint32_t b = 0; b < model.blocks.count() && walked == 0; ++b) {
            const block_t& block = *model.blocks[b];
            walked = block.addr <= address && address < block.addr + block.size ? b + 1 : 0;
        }
        EXPECT_EQ(find_block_at(blocks, address), walked);
    }
}

TEST(model, hex_text) {
    EXPECT_EQ(hex_word("12aB", 0), 0x12ABu);
    EXPECT_EQ(hex_byte("G0", 0), 0xFFFFu);
    EXPECT_EQ(hex_byte("0G", 0), 0xFFFFu);
    EXPECT_EQ(hex_byte("1", 0), 0xFFFFu);
}

TEST(model, texts_without_case) {
    EXPECT_EQ(str_istr("PIC16f877", "16F"), 3u);
    EXPECT_EQ(str_istr({}, ""), text_t::npos);
    EXPECT_EQ(str_istr("ab", "abc"), text_t::npos);
    EXPECT_EQ(str_upper("a_b1"), "A_B1");
}

} // namespace
} // namespace tavrel
