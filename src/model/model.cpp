#include "model/model.h"

#include <algorithm>
#include <queue>
#include <tuple>

namespace tavrel {
namespace {

// A file name as it is stored and sought: -e cuts it at its last dot, wherever that is.
std::string stored_name(const model_t& model, text_t name) {
    if (model.strip_extensions) {
        if (const size_t dot = name.rfind('.'); dot != text_t::npos) {
            return std::string(name.substr(0, std::min<size_t>(dot, 255)));
        }
    }
    return std::string(name);
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; }

} // namespace

// ---- adding

uint32_t add_file(model_t& model, text_t name) {
    const std::string stored = stored_name(model, name);
    file_t*& slot = model.file_names[str_lower(stored)];
    if (slot == nullptr) {
        slot = &model.file_pool.emplace_back();
        slot->name = model.texts.add(stored);
        slot->index = vector_add(model.files, slot) + 1;
    }
    return slot->index;
}

uint32_t add_symbol(model_t& model, text_t name, uint32_t value, uint32_t segment, uint32_t file, uint32_t flags) {
    symbol_t& symbol = model.symbol_pool.emplace_back();
    symbol.file = file;
    symbol.value = value;
    symbol.segment = segment;
    symbol.flags = flags;
    symbol.name = model.texts.add(name);
    index_add(model.symbol_names, &symbol);
    if (symbol.name.empty() || symbol.name[0] != 'F') {
        hash_insert(model.symbol_values, value, &symbol);
    }
    if (file != 0 && file <= model.files.count()) {
        ++model.files[file - 1]->symbol_count;
    }
    return vector_add(model.symbols, &symbol);
}

uint32_t add_line(model_t& model, uint32_t number, uint32_t address, uint32_t segment, uint32_t file, uint32_t flags) {
    line_t& line = model.line_pool.emplace_back();
    line.file = file;
    line.start = address;
    line.segment = segment;
    line.flags = flags;
    line.number = number;
    if (file != 0 && file <= model.files.count()) {
        ++model.files[file - 1]->line_count;
    }
    return vector_add(model.lines, &line);
}

uint32_t add_segment(model_t& model, text_t name, uint32_t addr, uint32_t size, uint32_t load, uint32_t space) {
    segment_t& segment = model.segment_pool.emplace_back();
    segment.space = space;
    segment.addr = addr;
    segment.load = load;
    segment.size = size;
    segment.name = model.texts.add(name);
    const uint32_t position = vector_add(model.segments, &segment);
    if (model.segment_names.try_emplace(segment.name, &segment).second) {
        model.segment_indices.try_emplace(segment.name, position + 1);
    }
    return position;
}

class_t* add_class(model_t& model, text_t name, uint32_t low, uint32_t high, uint32_t base, uint32_t init) {
    class_t& added = model.class_pool.emplace_back();
    added.low = low;
    added.high = high;
    added.base = base;
    added.init = init;
    added.name = model.texts.add(name);
    model.class_names.try_emplace(added.name, &added);
    vector_add(model.classes, &added);
    return &added;
}

uint32_t add_block(model_t& model, uint32_t addr, uint32_t size, const void* bytes, uint32_t segment) {
    block_t& block = model.block_pool.emplace_back();
    block.addr = addr;
    block.size = size;
    block.data = model.bytes.add(bytes, size);
    block.segment = segment;
    return vector_add(model.blocks, &block);
}

// ---- finding

symbol_t* find_symbol(const model_t& model, text_t name) { return index_find(model.symbol_names, name); }

symbol_t* find_symbol_at(const model_t& model, uint32_t value) {
    symbol_t* const* const found = hash_find(model.symbol_values, value);
    return found == nullptr ? nullptr : *found;
}

bool find_symbol_location(const model_t& model, text_t name, location_t& location) {
    const symbol_t* const symbol = find_symbol(model, name);
    if (symbol == nullptr) {
        return false;
    }
    location = {symbol->value, symbol->segment};
    return true;
}

file_t* find_file(const model_t& model, text_t name) {
    if (is_none(name)) {
        return nullptr;
    }
    const auto found = model.file_names.find(str_lower(stored_name(model, name)));
    return found == model.file_names.end() ? nullptr : found->second;
}

symbol_t* find_file_symbol(model_t& model, text_t file_name, text_t symbol_name) {
    const file_t* const file = find_file(model, file_name);
    if (file == nullptr || file->symbols.empty()) {
        return nullptr;
    }
    auto [entry, is_new] = model.file_symbols.try_emplace(file);
    if (is_new) {
        for (symbol_t* const symbol : file->symbols) {
            entry->second.try_emplace(symbol->name, symbol);
        }
    }
    const auto found = entry->second.find(symbol_name);
    return found == entry->second.end() ? nullptr : found->second;
}

class_t* find_class(const model_t& model, text_t name) {
    const auto found = model.class_names.find(name);
    return found == model.class_names.end() ? nullptr : found->second;
}

segment_t* find_segment(const model_t& model, text_t name) {
    const auto found = model.segment_names.find(name);
    return found == model.segment_names.end() ? nullptr : found->second;
}

uint32_t find_segment_index(const model_t& model, text_t name) {
    const auto found = model.segment_indices.find(name);
    return found == model.segment_indices.end() ? 0 : found->second;
}

uint32_t find_segment_at(const model_t& model, const location_t& location, uint32_t unit) {
    const uint32_t address = location.value * unit;
    for (uint32_t k = 0; k < model.segments.count(); ++k) {
        const segment_t& segment = *model.segments[k];
        if (segment.space == location.segment && segment.addr <= address && address < segment.addr + segment.size) {
            return k + 1;
        }
    }
    return location.segment;
}

segment_t* space_segment(const model_t& model, const segment_t& segment) {
    return segment.space == 0 ? nullptr : vector_at(model.segments, segment.space - 1);
}

text_t segment_name(const model_t& model, uint32_t index) {
    return index == 0 || index > model.segments.count() ? text_t("") : model.segments[index - 1]->name;
}

// ---- finders

namespace {

struct span_t {
    uint32_t from;
    uint32_t to; // exclusive, above `from`
    uint32_t index;
};

// The pieces of the address line with, for each, the lowest index that covers it.
std::vector<segment_finder_t::piece_t> lowest_cover(std::vector<span_t> spans) {
    std::sort(spans.begin(), spans.end(),
              [](const span_t& a, const span_t& b) { return std::tie(a.from, a.index) < std::tie(b.from, b.index); });
    std::vector<uint32_t> edges;
    for (const span_t& span : spans) {
        edges.push_back(span.from);
        edges.push_back(span.to);
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    const auto higher = [](const span_t& a, const span_t& b) { return a.index > b.index; };
    std::priority_queue<span_t, std::vector<span_t>, decltype(higher)> open(higher);
    std::vector<segment_finder_t::piece_t> pieces;
    size_t next = 0;
    for (const uint32_t edge : edges) {
        for (; next < spans.size() && spans[next].from == edge; ++next) {
            open.push(spans[next]);
        }
        while (!open.empty() && open.top().to <= edge) {
            open.pop();
        }
        const uint32_t index = open.empty() ? 0 : open.top().index;
        if (pieces.empty() || pieces.back().index != index) {
            pieces.push_back({edge, index});
        }
    }
    return pieces;
}

uint32_t piece_at(const std::vector<segment_finder_t::piece_t>& pieces, uint32_t address) {
    const auto behind = std::upper_bound(pieces.begin(), pieces.end(), address,
                                         [](uint32_t a, const auto& piece) { return a < piece.from; });
    return behind == pieces.begin() ? 0 : (behind - 1)->index;
}

// A range whose end wraps at 32 bits covers nothing, as its end is not above its start.
void add_span(std::vector<span_t>& spans, uint32_t from, uint32_t size, uint32_t index) {
    if (from + size > from) {
        spans.push_back({from, from + size, index});
    }
}

} // namespace

segment_finder_t make_segment_finder(const model_t& model) {
    std::unordered_map<uint32_t, std::vector<span_t>> spans;
    for (uint32_t k = 0; k < model.segments.count(); ++k) {
        const segment_t& segment = *model.segments[k];
        add_span(spans[segment.space], segment.addr, segment.size, k + 1);
    }
    segment_finder_t finder;
    for (auto& [space, list] : spans) {
        finder.spaces[space] = lowest_cover(std::move(list));
    }
    return finder;
}

uint32_t find_segment_at(const segment_finder_t& finder, const location_t& location, uint32_t unit) {
    const auto space = finder.spaces.find(location.segment);
    if (space == finder.spaces.end()) {
        return location.segment;
    }
    const uint32_t index = piece_at(space->second, location.value * unit);
    return index == 0 ? location.segment : index;
}

block_finder_t make_block_finder(const model_t& model) {
    std::vector<span_t> spans;
    for (uint32_t k = 0; k < model.blocks.count(); ++k) {
        add_span(spans, model.blocks[k]->addr, model.blocks[k]->size, k + 1);
    }
    return {lowest_cover(std::move(spans))};
}

uint32_t find_block_at(const block_finder_t& finder, uint32_t address) { return piece_at(finder.pieces, address); }

// ---- small helpers

uint32_t name_hash(text_t name) {
    if (name.size() > 1 && name[0] == '_') {
        name.remove_prefix(1);
    }
    uint32_t hash = 0;
    for (size_t k = name.size(); k-- > 0;) {
        hash = static_cast<uint32_t>(static_cast<signed char>(name[k])) + 4 * hash;
    }
    return hash;
}

bool str_iequal(text_t a, text_t b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

size_t str_istr(text_t text, text_t part) {
    if (is_none(text)) {
        return text_t::npos;
    }
    for (size_t at = 0; at + part.size() <= text.size(); ++at) {
        if (str_iequal(text.substr(at, part.size()), part)) {
            return at;
        }
    }
    return text_t::npos;
}

std::string str_upper(text_t text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), upper);
    return result;
}

std::string str_lower(text_t text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

text_t drop_underscore(text_t name, bool strip) {
    return strip && !name.empty() && name[0] == '_' ? name.substr(1) : name;
}

uint32_t hex_digit(text_t text, size_t at) {
    const char c = at < text.size() ? text[at] : '\0';
    if (c >= '0' && c <= '9') {
        return static_cast<uint32_t>(c - '0');
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<uint32_t>(c - 'A' + 10);
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<uint32_t>(c - 'a' + 10);
    }
    return 0xFFFF;
}

uint32_t hex_byte(text_t text, size_t at) {
    const uint32_t high = hex_digit(text, at);
    const uint32_t low = hex_digit(text, at + 1);
    return high == 0xFFFF || low == 0xFFFF ? 0xFFFF : high * 16 + low;
}

uint32_t hex_word(text_t text, size_t at) { return hex_byte(text, at) * 256 + hex_byte(text, at + 2); }

void put_hex_byte(std::string& out, uint32_t byte) {
    constexpr const char* digits = "0123456789ABCDEF";
    out.push_back(digits[byte >> 4 & 15]);
    out.push_back(digits[byte & 15]);
}

} // namespace tavrel
