#include "driver/finalise.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

struct fixture_t {
    memory_files_t memory;
    host_t host = memory_host(memory);
    run_t run{host};

    void block(uint32_t addr, uint32_t size, uint32_t segment = 0) {
        const std::string bytes(size, static_cast<char>('a' + run.model.blocks.count()));
        add_block(run.model, addr, size, bytes.data(), segment);
    }
};

TEST(finalise, a_line_ends_where_the_next_begins) {
    fixture_t f;
    const uint32_t file = add_file(f.run.model, "a.c");
    const uint32_t other = add_file(f.run.model, "b.c");
    struct entry_t {
        uint32_t number, start, file, end;
    };
    const entry_t entries[] = {
        {3, 0x1FF,      file,  0x1FF     }, // 0x100 bytes to the next, which is another file: no report
        {1, 0x100,      file,  0x1FE     }, // 0xFF bytes: one line
        {5, 0x2FF,      other, 0x2FF     }, // equal start: the lower number first
        {6, 0x2FF,      other, 0x2FF     }, // 0x100 bytes, same file: reported
        {7, 0x3FF,      other, 0x3FF     }, // a gap that wraps nowhere, last but one
        {8, 0xFFFFFFFF, other, 0xFFFFFFFF}, // the last
    };
    for (const entry_t& e : entries) {
        add_line(f.run.model, e.number, e.start, 0, e.file, 0);
    }
    finalise(f.run);
    for (uint32_t k = 0; k < f.run.model.lines.count(); ++k) {
        EXPECT_EQ(f.run.model.lines[k]->end, entries[k].end) << entries[k].number;
    }
    EXPECT_EQ(f.run.messages.error_count, 2u); // 1289 twice, an error without a description
    ASSERT_EQ(f.run.model.files[0]->lines.size(), 2u);
    EXPECT_EQ(f.run.model.files[0]->lines[0]->number, 1u);
    EXPECT_EQ(f.run.model.files[1]->lines.size(), 4u);
}

TEST(finalise, blocks_join_where_they_touch_within_a_segment) {
    fixture_t f;
    add_segment(f.run.model, "CODE", 0x1100, 0x40, 0x100, 1);
    add_segment(f.run.model, "HIGH", 0, 0x20, 0x140, 2);
    f.block(0x110, 0x10);
    f.block(0x100, 0x10);
    f.block(0x140, 0x08); // touches the one below, but lies in HIGH
    f.block(0x130, 0x10);
    f.block(0x150, 0x20); // HIGH does not hold it whole
    f.block(0x118, 0x08); // overlaps: stays separate
    f.block(0x120, 0);    // empty, touches
    finalise(f.run);
    struct expected_t {
        uint32_t segment, addr;
        const char* bytes;
    };
    const expected_t expected[] = {
        {0, 0x150, "eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee"},
        {1, 0x100, "bbbbbbbbbbbbbbbbaaaaaaaaaaaaaaaa"},
        {1, 0x118, "ffffffff"                        },
        {1, 0x130, "dddddddddddddddd"                },
        {2, 0x140, "cccccccc"                        },
    };
    ASSERT_EQ(f.run.model.blocks.count(), 5u);
    for (uint32_t k = 0; k < 5; ++k) {
        const block_t& block = *f.run.model.blocks[k];
        EXPECT_EQ(block.segment, expected[k].segment);
        EXPECT_EQ(block.addr, expected[k].addr);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(block.data), block.size), expected[k].bytes);
    }
}

TEST(finalise, segments_grow_to_their_lowest_block) {
    fixture_t f;
    add_segment(f.run.model, "ZERO", 0, 0, 0, 1);
    add_segment(f.run.model, "DOWN", 0x1400, 0x20, 0x400, 2);
    add_segment(f.run.model, "HOLE", 0x800, 4, 0x800, 3);
    f.block(0x300, 0x10, 1);
    f.block(0x3F0, 0x08, 2);
    f.block(0x800, 0x08, 3);
    f.block(0x900, 0x08, 3);
    f.run.verbose = 2;
    finalise(f.run);
    EXPECT_EQ(f.memory.err, "\nFiles: 0, syms: 0, lines: 0\n"
                            "\nData blocks: 4, total size 28\n"
                            "\t300-30F ZERO\n\t3F0-3F7 DOWN\n\t800-807 HOLE\n\t900-907 HOLE\n"
                            "\nSegments: 3\n\tZERO 0-30F\n\tDOWN 13F0-141F Load@3F0\n\tHOLE 800-807\n\n");
}

TEST(finalise, a_file_holds_no_more_than_was_counted_for_it) {
    fixture_t f;
    add_file(f.run.model, "a.c");
    add_symbol(f.run.model, "early", 1, 0, 2, 0); // file 2 comes later: a P&E map may say so
    add_line(f.run.model, 1, 1, 0, 2, 0);
    add_line(f.run.model, 2, 2, 0, 2, 0);
    const uint32_t file = add_file(f.run.model, "b.c");
    add_line(f.run.model, 9, 3, 0, file, 0);
    finalise(f.run);
    EXPECT_TRUE(f.run.model.files[1]->symbols.empty());
    ASSERT_EQ(f.run.model.files[1]->lines.size(), 1u); // the first of the table
    EXPECT_EQ(f.run.model.files[1]->lines[0]->number, 1u);
}

TEST(finalise, reports_files_symbols_and_lines) {
    fixture_t f;
    add_segment(f.run.model, "CODE", 0, 0, 0, 1);
    const uint32_t file = add_file(f.run.model, "a.c");
    add_symbol(f.run.model, "_main", 0x1234, 1, file, 0);
    add_symbol(f.run.model, "abs", 0xFFFFFFFF, 9, file, 0);
    add_line(f.run.model, 12, 0x10, 1, file, 0);
    add_line(f.run.model, 7, 0x14, 0, file, 0);
    f.block(0x20, 1);
    f.run.verbose = 2;
    finalise(f.run);
    EXPECT_EQ(f.memory.err, "\nFiles: 1, syms: 2, lines: 2\n"
                            "\nFile: a.c\nSymbols: 2\n\tCODE 1234     _main\n\t     FFFFFFFF abs\n"
                            "Lines: 2\n\t00007: 14-14 \n\t00012: 10-13 CODE\n"
                            "\nData blocks: 1, total size 1\n\t20-20 seg -1\n"
                            "\nSegments: 1\n\tCODE 0\n\n");
}

} // namespace
} // namespace tavrel
