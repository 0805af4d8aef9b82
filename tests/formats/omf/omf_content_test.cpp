// Image bytes by ranges: the rule that keeps what is written one range, held against a model that follows it step by
// step and looks at every block every time.
#include <random>

#include <gtest/gtest.h>

#include "formats/omf/omf_records.h"
#include "formats/omf/omf_support.h"

namespace tavrel {
namespace {

struct model_writer_t {
    const vector_t<block_t*>& blocks;
    uint32_t low = 0, high = 0;
    std::string out = {};

    void write(uint32_t from, uint32_t to) {
        if (low < high) {
            if (from < low && to > high) {
                write(from, low);
                from = high;
            } else if (from < low && to <= high) {
                to = low;
            } else if (from >= low && to <= high) {
                to = low;
            }
            if (from >= high) {
                from = high;
            }
        }
        if (to <= from) {
            return;
        }
        if (low < high) {
            low = std::min(low, from);
            high = std::max(high, to);
        } else {
            low = from;
            high = to;
        }
        for (const block_t* const block : blocks) {
            const uint32_t end = block->addr + block->size;
            if (block->size != 0 && block->addr < to && end > from) {
                put(*block, from, to);
            }
        }
    }

    void put(const block_t& block, uint32_t from, uint32_t to) {
        const uint32_t skip = block.addr < from ? from - block.addr : 0;
        const uint32_t run = std::min(block.size - skip, to - from);
        for (uint32_t at = 0; at < run; at += 256) {
            const uint32_t address = block.addr + skip + at;
            std::string body = {0, static_cast<char>(address), static_cast<char>(address >> 8)};
            for (uint32_t k = at; k < std::min(run, at + 256); ++k) {
                body.push_back(static_cast<char>(block.data[skip + k]));
            }
            out += testing::record(0x06, body);
        }
    }
};

void compare_from_seed(uint32_t seed) {
    std::minstd_rand random(seed);
    const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() >> 3) % limit; };
    // Small spaces overlap much; some lie at the end of memory, where ends wrap.
    const uint32_t space = 64u << below(8);
    const uint32_t base = below(3) == 0 ? 0u - space / 2 : 0;
    memory_files_t files;
    const host_t host = memory_host(files);
    run_t run(host);
    std::string bytes(space, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() >> 4);
    }
    for (uint32_t k = below(20); k > 0; --k) {
        add_block(run.model, base + below(space), below(4) == 0 ? 0 : below(space), bytes.data(), 0);
    }
    const omf_dialect_t dialect = {"", "", {}, nullptr, 255, nullptr};
    output_t out;
    omf_writer_t writer{run, out, dialect, "out"};
    model_writer_t model{run.model.blocks};
    for (uint32_t k = below(12); k > 0; --k) {
        const uint32_t from = base + below(space);
        const uint32_t to = base + below(space + 2);
        write_content(writer, from, to);
        model.write(from, to);
    }
    write_content(writer, 0, 0xFFFFFFFF);
    model.write(0, 0xFFFFFFFF);
    EXPECT_TRUE(out.bytes == model.out);
    EXPECT_EQ(writer.low, model.low);
    EXPECT_EQ(writer.high, model.high);
}

TEST(omf_content, same_as_step_by_step) {
    for (uint32_t seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE(seed);
        compare_from_seed(seed);
    }
}

} // namespace
} // namespace tavrel
