#include "driver/finalise.h"

#include <algorithm>
#include <numeric>

namespace tavrel {
namespace {

constexpr uint32_t longest_line = 0x100; // bytes of code; a longer gap is not one line's code

int compare(uint32_t a, uint32_t b) { return a < b ? -1 : a > b ? 1 : 0; }

// ---- pass 0: summary

// The width of the segment names in the reports, 0 without -v.
uint32_t report_summary(run_t& run) {
    if (run.verbose == 0) {
        return 0;
    }
    const model_t& model = run.model;
    error_print(run, "\nFiles: %d, syms: %d, lines: %d\n", model.files.count(), model.symbols.count(),
                model.lines.count());
    size_t width = 0;
    for (const segment_t* const segment : model.segments) {
        width = std::max(width, segment->name.size());
    }
    return static_cast<uint32_t>(width);
}

// ---- pass 1: line ends

void end_line(run_t& run, line_t& line, const line_t& next) {
    const uint32_t gap = next.start - line.start;
    if (gap == 0) {
        line.end = line.start;
    } else if (gap < longest_line) {
        line.end = next.start - 1;
    } else {
        line.end = line.start;
        if (line.file == next.file && line.segment == next.segment) {
            alert(run, 1289);
        }
    }
}

// Sorted apart from the lines: keys lie together in memory, and the order of `lines` stays.
void set_line_ends(run_t& run) {
    struct key_t {
        uint32_t start, number;
        line_t* line;
    };
    std::vector<key_t> keys;
    keys.reserve(run.model.lines.count());
    for (line_t* const line : run.model.lines) {
        keys.push_back({line->start, line->number, line});
    }
    sort_array(keys.data(), keys.size(), [](const key_t& a, const key_t& b) {
        const int order = compare(a.start, b.start);
        return order != 0 ? order : compare(a.number, b.number);
    });
    for (size_t k = 0; k + 1 < keys.size(); ++k) {
        end_line(run, *keys[k].line, *keys[k + 1].line);
    }
    if (!keys.empty()) {
        keys.back().line->end = keys.back().start;
    }
}

// ---- pass 2: per-file arrays

// Not more than counted: an element may name a file that came after it, and was not counted there.
template <class T>
void share_out(const model_t& model, const vector_t<T*>& table, std::vector<T*> file_t::*array,
               uint32_t file_t::*count) {
    for (T* const element : table) {
        if (element->file != 0 && element->file <= model.files.count()) {
            file_t& file = *model.files[element->file - 1];
            if ((file.*array).size() < file.*count) {
                (file.*array).push_back(element);
            }
        }
    }
}

void report_symbols(run_t& run, const file_t& file, uint32_t width) {
    std::string text = format_text("\nFile: %s\nSymbols: %u\n", file.name, file.symbol_count);
    if (run.verbose > 1) {
        for (const symbol_t* const symbol : file.symbols) {
            print(text, "\t%-*s %-8lX %s\n", width, segment_name(run.model, symbol->segment), symbol->value,
                  symbol->name);
        }
    }
    error_print_text(run.messages, text);
}

void report_lines(run_t& run, const file_t& file) {
    std::string text = format_text("Lines: %u\n", file.line_count);
    if (run.verbose > 1) {
        for (const line_t* const line : file.lines) {
            print(text, "\t%5.5lu: %lX-%lX %s\n", line->number, line->start, line->end,
                  segment_name(run.model, line->segment));
        }
    }
    error_print_text(run.messages, text);
}

void check_count(run_t& run, size_t found, uint32_t expected, uint32_t message) {
    if (found < expected) {
        alert(run, message);
        end_run(run);
    }
}

void sort_by_number(std::vector<line_t*>& lines) {
    sort_array(lines.data(), lines.size(), [](const line_t* a, const line_t* b) {
        int order = compare(a->number, b->number);
        order = order != 0 ? order : compare(a->start, b->start);
        return order != 0 ? order : compare(a->end, b->end);
    });
}

void fill_files(run_t& run, uint32_t width) {
    share_out(run.model, run.model.symbols, &file_t::symbols, &file_t::symbol_count);
    share_out(run.model, run.model.lines, &file_t::lines, &file_t::line_count);
    for (file_t* const file : run.model.files) {
        check_count(run, file->symbols.size(), file->symbol_count, 606);
        if (run.verbose != 0) {
            report_symbols(run, *file, width);
        }
        check_count(run, file->lines.size(), file->line_count, 607);
        sort_by_number(file->lines);
        if (run.verbose != 0) {
            report_lines(run, *file);
        }
    }
}

// ---- pass 3: block assignment

// Over the distinct ends of the segments seen so far: the lowest segment index among those that end at `end` or later.
struct lowest_index_t {
    std::vector<uint32_t> ends; // sorted
    std::vector<uint32_t> tree; // Fenwick tree of minima, the latest end first

    explicit lowest_index_t(std::vector<uint32_t> all_ends) : ends(std::move(all_ends)) {
        std::sort(ends.begin(), ends.end());
        ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
        tree.assign(ends.size() + 1, UINT32_MAX);
    }

    // The number of ends that are `end` or later.
    size_t rank(uint32_t end) const {
        return static_cast<size_t>(ends.end() - std::lower_bound(ends.begin(), ends.end(), end));
    }

    void add(uint32_t end, uint32_t index) {
        for (size_t at = rank(end); at < tree.size(); at += at & (~at + 1)) {
            tree[at] = std::min(tree[at], index);
        }
    }

    uint32_t find(uint32_t end) const {
        uint32_t lowest = UINT32_MAX;
        for (size_t at = rank(end); at > 0; at -= at & (~at + 1)) {
            lowest = std::min(lowest, tree[at]);
        }
        return lowest == UINT32_MAX ? 0 : lowest;
    }
};

// Each block without a segment gets the first one that holds it whole by load addresses. Both are taken in order of
// address, so that the segments that begin early enough are always known.
void assign_blocks(model_t& model) {
    std::vector<uint32_t> order(model.segments.count());
    std::vector<uint32_t> ends;
    std::iota(order.begin(), order.end(), 0);
    for (const segment_t* const segment : model.segments) {
        ends.push_back(segment->load + segment->size);
    }
    std::sort(order.begin(), order.end(),
              [&](uint32_t a, uint32_t b) { return model.segments[a]->load < model.segments[b]->load; });
    std::vector<block_t*> blocks;
    for (block_t* const block : model.blocks) {
        if (block->segment == 0) {
            blocks.push_back(block);
        }
    }
    std::sort(blocks.begin(), blocks.end(), [](const block_t* a, const block_t* b) { return a->addr < b->addr; });
    lowest_index_t begun(std::move(ends));
    size_t next = 0;
    for (block_t* const block : blocks) {
        for (; next < order.size() && model.segments[order[next]]->load <= block->addr; ++next) {
            const segment_t& segment = *model.segments[order[next]];
            begun.add(segment.load + segment.size, order[next] + 1);
        }
        block->segment = begun.find(block->addr + block->size);
    }
}

// ---- pass 4: block sort and merge

bool touches(const block_t& block, const block_t& next) {
    return next.segment == block.segment && next.addr == block.addr + block.size &&
           uint64_t(block.size) + next.size <= UINT32_MAX;
}

// The bytes of blocks [from, to) as one piece. Blocks that were read in a row already lie so.
const uint8_t* joined_bytes(model_t& model, uint32_t from, uint32_t to, size_t size) {
    bool adjacent = true;
    for (uint32_t k = from + 1; k < to; ++k) {
        adjacent = adjacent && model.blocks[k - 1]->data + model.blocks[k - 1]->size == model.blocks[k]->data;
    }
    if (adjacent) {
        return model.blocks[from]->data;
    }
    uint8_t* const bytes = model.bytes.take(size);
    uint8_t* at = bytes;
    for (uint32_t k = from; k < to; ++k) {
        at = std::copy_n(model.blocks[k]->data, model.blocks[k]->size, at);
    }
    return bytes;
}

void merge_blocks(model_t& model) {
    vector_sort(model.blocks, [](const block_t* a, const block_t* b) {
        const int order = compare(a->segment, b->segment);
        return order != 0 ? order : compare(a->addr, b->addr);
    });
    vector_t<block_t*> merged(100);
    for (uint32_t from = 0, to; from < model.blocks.count(); from = to) {
        block_t joined = *model.blocks[from];
        for (to = from + 1; to < model.blocks.count() && touches(joined, *model.blocks[to]); ++to) {
            joined.size += model.blocks[to]->size;
        }
        joined.data = joined_bytes(model, from, to, joined.size);
        *model.blocks[from] = joined;
        vector_add(merged, model.blocks[from]);
    }
    model.blocks = std::move(merged);
}

void report_blocks(run_t& run) {
    uint32_t total = 0;
    for (const block_t* const block : run.model.blocks) {
        total += block->size;
    }
    std::string text = format_text("\nData blocks: %u, total size %lX\n", run.model.blocks.count(), total);
    if (run.verbose > 1) {
        for (const block_t* const block : run.model.blocks) {
            print(text, "\t%lX-%lX", block->addr, block->addr + block->size - 1);
            if (block->segment == 0 || block->segment > run.model.segments.count()) {
                print(text, " seg %d\n", block->segment - 1);
            } else {
                print(text, " %s\n", segment_name(run.model, block->segment));
            }
        }
    }
    error_print_text(run.messages, text);
}

// ---- pass 5: segment growth

void grow_segment(segment_t& segment, const block_t& first) {
    uint32_t end = segment.load + segment.size;
    if (first.addr < segment.load && first.size != 0) {
        segment.addr -= segment.load - first.addr;
        segment.load = first.addr;
    }
    end = std::max(end, first.addr + first.size);
    segment.size = std::max(segment.size, end - segment.load);
}

// Only the lowest block of a segment is looked at.
void grow_segments(model_t& model) {
    uint32_t last = 0;
    for (const block_t* const block : model.blocks) {
        if (block->segment != last && block->segment <= model.segments.count()) {
            grow_segment(*model.segments[block->segment - 1], *block);
        }
        last = block->segment;
    }
}

// ---- pass 6: segment report

void report_segments(run_t& run, uint32_t width) {
    std::string text = format_text("\nSegments: %u\n", run.model.segments.count());
    for (const segment_t* const segment : run.model.segments) {
        print(text, "\t%-*s %lX", width, segment->name, segment->addr);
        if (segment->size != 0) {
            print(text, "-%lX", segment->addr + segment->size - 1);
        }
        if (segment->load != segment->addr) {
            print(text, " Load@%lX", segment->load);
        }
        text += '\n';
    }
    error_print_text(run.messages, text + "\n");
}

} // namespace

void finalise(run_t& run) {
    const uint32_t width = report_summary(run);
    set_line_ends(run);
    fill_files(run, width);
    if (!run.model.blocks.empty()) {
        assign_blocks(run.model);
        merge_blocks(run.model);
        if (run.verbose != 0) {
            report_blocks(run);
        }
        grow_segments(run.model);
    }
    if (run.verbose != 0) {
        report_segments(run, width);
    }
}

} // namespace tavrel
