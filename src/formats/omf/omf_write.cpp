// What the writers of both 8051 object formats do alike: records, the pending debug record, image bytes by ranges, and
// the plain form of a file, which holds one scope per source file.
#include "formats/omf/omf_records.h"

#include <algorithm>
#include <bit>

namespace tavrel {
namespace {

constexpr size_t entry_limit = 500;          // bytes of body beyond which no further entry joins a pending record
constexpr size_t content_limit = 256;        // image bytes of a Content record
constexpr uint64_t content_room = 256 << 20; // image bytes of a file beyond four times the image
constexpr size_t counted_limit = 255;        // characters that a length byte can tell
constexpr uint8_t trn_id = 0xFF;             // of the Module header
constexpr uint8_t register_mask = 0xF;       // of the Module END

constexpr const char memory_letters[omf_segment_types] = {'C', 'X', 'D', 'I', 'B'};

std::string module_name(const omf_writer_t& writer, text_t name) {
    return str_upper(name.substr(0, writer.dialect.name_limit));
}

// Makes the pending record one that takes an entry of that kind.
void prepare_record(omf_writer_t& writer, uint8_t type, omf_definition_t definition) {
    if (omf_needs_record(writer, type, definition)) {
        close_record(writer);
        writer.pending_type = type;
        writer.record_buffer = {definition};
    }
}

uint8_t info_byte(const model_t& model, const symbol_t& symbol) {
    const uint8_t memory = omf_memory_type(model, symbol.segment);
    const bool is_variable = memory != 0 && (symbol.flags & SYM_LABEL) == 0;
    return is_variable ? memory | OMF_VARIABLE : memory;
}

// ---- image bytes

// A block's end, which wraps at 32 bits and so may lie below its beginning.
uint32_t end_of(const block_t& block) { return block.addr + block.size; }

omf_block_index_t make_block_index(const model_t& model) {
    omf_block_index_t index;
    for (uint32_t position = 0; position < model.blocks.count(); ++position) {
        if (model.blocks[position]->size != 0) {
            index.positions.push_back(position);
        }
    }
    std::stable_sort(index.positions.begin(), index.positions.end(),
                     [&](uint32_t a, uint32_t b) { return model.blocks[a]->addr < model.blocks[b]->addr; });
    index.leaves = std::bit_ceil(std::max<size_t>(index.positions.size(), 1));
    index.ends.assign(2 * index.leaves, 0);
    for (size_t k = 0; k < index.positions.size(); ++k) {
        index.ends[index.leaves + k] = end_of(*model.blocks[index.positions[k]]);
    }
    for (size_t node = index.leaves - 1; node > 0; --node) {
        index.ends[node] = std::max(index.ends[2 * node], index.ends[2 * node + 1]);
    }
    return index;
}

// Adds the positions of the blocks below a node of the tree that end above `from` and are among the first `count` by
// address. The node stands for the leaves from `first` on, `width` of them.
void collect_blocks(const omf_block_index_t& index, size_t node, size_t first, size_t width, size_t count,
                    uint32_t from, std::vector<uint32_t>& found) {
    if (first >= count || index.ends[node] <= from) {
        return;
    }
    if (width == 1) {
        found.push_back(index.positions[first]);
        return;
    }
    collect_blocks(index, 2 * node, first, width / 2, count, from, found);
    collect_blocks(index, 2 * node + 1, first + width / 2, width / 2, count, from, found);
}

// The blocks that overlap [from, to), in the order of the table.
std::vector<uint32_t> find_blocks(omf_writer_t& writer, uint32_t from, uint32_t to) {
    const auto& blocks = writer.run.model.blocks;
    if (!writer.block_index) {
        writer.block_index = make_block_index(writer.run.model);
    }
    const omf_block_index_t& index = *writer.block_index;
    const auto behind =
        std::lower_bound(index.positions.begin(), index.positions.end(), to,
                         [&](uint32_t position, uint32_t addr) { return blocks[position]->addr < addr; });
    std::vector<uint32_t> found;
    collect_blocks(index, 1, 0, index.leaves, static_cast<size_t>(behind - index.positions.begin()), from, found);
    std::sort(found.begin(), found.end());
    return found;
}

void write_bytes(omf_writer_t& writer, uint32_t address, std::span<const uint8_t> bytes) {
    std::vector<uint8_t> body;
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), content_limit));
        body = {0};
        omf_put16(body, address);
        body.insert(body.end(), piece.begin(), piece.end());
        write_record(writer.out, OMF_CONTENT, body);
        address += static_cast<uint32_t>(piece.size());
        bytes = bytes.subspan(piece.size());
    }
}

uint64_t image_size(const model_t& model) {
    uint64_t size = 0;
    for (const block_t* const block : model.blocks) {
        size += block->size;
    }
    return size;
}

// Cuts [from, to) so that the written range stays one range.
void cut_range(omf_writer_t& writer, uint32_t& from, uint32_t& to) {
    if (writer.low >= writer.high) {
        return;
    }
    if (from < writer.low && to > writer.high) {
        write_content(writer, from, writer.low);
        from = writer.high;
    } else if (to <= writer.high) {
        to = writer.low;
    }
    if (from >= writer.high) {
        from = writer.high; // a gap in between is written, too
    }
}

void extend_range(omf_writer_t& writer, uint32_t from, uint32_t to) {
    const bool is_first = writer.low >= writer.high;
    writer.low = is_first ? from : std::min(writer.low, from);
    writer.high = is_first ? to : std::max(writer.high, to);
}

// ---- the plain form

void write_file(omf_writer_t& writer, const file_t& file) {
    const text_t name = omf_stem(file.name);
    write_scope_def(writer, OMF_MODULE_BLOCK, name);
    for (const symbol_t* const symbol : file.symbols) {
        if ((symbol->flags & SYM_LOCAL) == 0) {
            omf_add_model_symbol(writer, OMF_PUBLIC_SYMBOLS, *symbol);
        }
    }
    for (const symbol_t* const symbol : file.symbols) {
        if ((symbol->flags & SYM_LOCAL) != 0) {
            omf_add_model_symbol(writer, OMF_LOCAL_SYMBOLS, *symbol);
        }
    }
    for (const line_t* const line : file.lines) {
        omf_add_line(writer, *line);
    }
    write_scope_def(writer, OMF_MODULE_BLOCK_END, name);
}

} // namespace

void omf_put8(std::vector<uint8_t>& body, uint32_t value) { body.push_back(static_cast<uint8_t>(value)); }

void omf_put16(std::vector<uint8_t>& body, uint32_t value) {
    omf_put8(body, value);
    omf_put8(body, value >> 8);
}

void omf_put_name(std::vector<uint8_t>& body, text_t name) {
    name = name.substr(0, counted_limit);
    omf_put8(body, static_cast<uint32_t>(name.size()));
    body.insert(body.end(), name.begin(), name.end());
}

void write_record(output_t& out, uint8_t type, std::span<const uint8_t> body) {
    const size_t length = body.size() + 1; // the checksum counts
    const uint8_t header[] = {type, static_cast<uint8_t>(length), static_cast<uint8_t>(length >> 8)};
    uint32_t sum = header[0] + header[1] + header[2];
    for (const uint8_t byte : body) {
        sum += byte;
    }
    put_bytes(out, header, sizeof header);
    put_bytes(out, body.data(), body.size());
    put8(out, 0 - sum);
}

void close_record(omf_writer_t& writer) {
    const bool pending = writer.pending_type != 0;
    if (writer.before_close) {
        writer.before_close(pending);
    }
    if (pending) {
        write_record(writer.out, writer.pending_type, writer.record_buffer);
        writer.pending_type = 0;
        writer.record_buffer.clear();
    }
}

void write_module_header(omf_writer_t& writer, text_t name) {
    std::vector<uint8_t> body;
    omf_put_name(body, module_name(writer, name));
    omf_put8(body, trn_id);
    omf_put8(body, 0);
    write_record(writer.out, OMF_MODULE_HEADER, body);
}

void write_module_end(omf_writer_t& writer, text_t name) {
    close_record(writer);
    std::vector<uint8_t> body;
    omf_put_name(body, module_name(writer, name));
    omf_put16(body, 0);
    omf_put8(body, register_mask);
    omf_put8(body, 0);
    write_record(writer.out, OMF_MODULE_END, body);
}

void write_scope_def(omf_writer_t& writer, omf_block_t kind, text_t name) {
    close_record(writer);
    std::vector<uint8_t> body = {kind};
    omf_put_name(body, module_name(writer, name));
    write_record(writer.out, OMF_SCOPE_DEF, body);
}

bool omf_needs_record(const omf_writer_t& writer, uint8_t type, omf_definition_t definition) {
    return writer.pending_type != type || writer.record_buffer.size() > entry_limit ||
           writer.record_buffer[0] != definition;
}

void omf_add_symbol(omf_writer_t& writer, uint8_t type, omf_definition_t definition, const omf_symbol_entry_t& entry) {
    prepare_record(writer, type, definition);
    omf_put8(writer.record_buffer, entry.segment_id);
    omf_put8(writer.record_buffer, entry.info);
    omf_put16(writer.record_buffer, entry.offset);
    omf_put8(writer.record_buffer, entry.type);
    omf_put_name(writer.record_buffer, entry.name);
}

void omf_add_line(omf_writer_t& writer, const line_t& line) {
    prepare_record(writer, OMF_DEBUG_ITEM, OMF_LINE_NUMBERS);
    omf_put8(writer.record_buffer, 0); // segment id
    omf_put16(writer.record_buffer, line.start);
    omf_put16(writer.record_buffer, line.number);
}

void omf_add_model_symbol(omf_writer_t& writer, omf_definition_t definition, const symbol_t& symbol) {
    const std::string name = writer.dialect.symbol_name(symbol.name);
    omf_symbol_entry_t entry;
    entry.info = info_byte(writer.run.model, symbol);
    entry.offset = static_cast<uint16_t>(symbol.value);
    entry.name = name;
    omf_add_symbol(writer, OMF_DEBUG_ITEM, definition, entry);
}

uint8_t omf_memory_type(const model_t& model, uint32_t segment) {
    const std::string letter = str_upper(segment_name(model, segment).substr(0, 1));
    for (uint8_t memory = 0; memory < omf_segment_types; ++memory) {
        if (!letter.empty() && letter[0] == memory_letters[memory]) {
            return memory;
        }
    }
    return omf_no_memory;
}

void write_content(omf_writer_t& writer, uint32_t from, uint32_t to) {
    if (!writer.content_left) {
        writer.content_left = content_room + 4 * image_size(writer.run.model);
    }
    if (*writer.content_left == 0) {
        return;
    }
    cut_range(writer, from, to);
    if (to <= from) {
        return;
    }
    extend_range(writer, from, to);
    close_record(writer);
    for (const uint32_t position : find_blocks(writer, from, to)) {
        const block_t& block = *writer.run.model.blocks[position];
        const uint32_t skipped = block.addr < from ? from - block.addr : 0;
        const uint32_t size = std::min(block.size - skipped, to - from);
        if (size > *writer.content_left) {
            writer.content_left = 0;
            alert(writer.run, 413, writer.output);
            return;
        }
        *writer.content_left -= size;
        write_bytes(writer, block.addr + skipped, {block.data + skipped, size});
    }
}

void write_plain(omf_writer_t& writer) {
    const auto& files = writer.run.model.files;
    if (files.empty()) {
        return;
    }
    const text_t name = omf_stem(files[0]->name);
    write_module_header(writer, name);
    for (const file_t* const file : files) {
        const bool is_first = file == files[0];
        if (is_first || !file->symbols.empty() || !file->lines.empty()) {
            write_file(writer, *file);
        }
        if (is_first) {
            write_content(writer, 0, 0xFFFFFFFF);
        }
    }
    write_module_end(writer, name);
}

text_t omf_stem(text_t name) { return name.substr(0, name.rfind('.')); }

} // namespace tavrel
