// P&E map: a small binary table of symbols and source lines for P&E Microcomputer debuggers. It maps addresses to names
// and to lines of numbered source files, and carries no segments and no image bytes. Its byte orders are mixed: the
// address of a record is little-endian, the record count and the line number are big-endian, always.
#include "formats/plain/pe.h"

#include <algorithm>
#include <array>

namespace tavrel {
namespace {

constexpr text_t magic = "P&E Microcomputer Map File\x1A";
constexpr size_t name_limit_read = 139;
constexpr size_t name_limit_written = 255;
constexpr uint32_t line_entry_flags = 2; // what readers of symbol files store; nothing tests it

bool pe_probe(run_t&, input_t& in) {
    const auto bytes = read_bytes(in, magic.size());
    return bytes.size() == magic.size() && std::equal(bytes.begin(), bytes.end(), magic.begin(),
                                                      [](uint8_t a, char b) { return a == static_cast<uint8_t>(b); });
}

uint32_t u16_be(cursor_t& from) {
    const uint32_t high = from.u8();
    return high << 8 | from.u8();
}

void read_record(run_t& run, cursor_t& from) {
    const uint32_t address = from.u32();
    const uint32_t file = from.u8();
    const uint32_t line = u16_be(from);
    const text_t name = from.string().substr(0, name_limit_read);
    if (from.short_read) {
        return;
    }
    if (!name.empty()) {
        add_symbol(run.model, name, address, 0, file, 0);
    }
    if (line != 0) {
        add_line(run.model, line, address, 0, file, line_entry_flags);
    }
}

// The numbers of files in the records are taken as file indices as they stand. What the end of the file cuts is
// dropped.
bool pe_read(run_t& run, input_t& in, text_t) {
    in.position = std::min(magic.size(), in.bytes.size());
    cursor_t from = cursor_of(in, 0);
    const uint32_t records = u16_be(from);
    const uint32_t files = from.u8();
    for (uint32_t k = 0; k < files && !from.short_read; ++k) {
        const text_t name = from.string().substr(0, name_limit_read);
        if (!from.short_read) {
            add_file(run.model, name);
        }
    }
    for (uint32_t k = 0; k < records && !from.short_read; ++k) {
        read_record(run, from);
    }
    return true;
}

// ---- writing

int compare(uint32_t a, uint32_t b) { return a < b ? -1 : a > b ? 1 : 0; }

// Files and segments by their signed difference, addresses unsigned.
struct place_t {
    uint32_t file, segment, address;
};

place_t place_of(const symbol_t& symbol) { return {symbol.file, symbol.segment, symbol.value}; }
place_t place_of(const line_t& line) { return {line.file, line.segment, line.start}; }

int compare(const place_t& a, const place_t& b) {
    if (a.file != b.file) {
        return static_cast<int32_t>(a.file - b.file);
    }
    if (a.segment != b.segment) {
        return static_cast<int32_t>(a.segment - b.segment);
    }
    return compare(a.address, b.address);
}

template <class T>
int by_place(const T* a, const T* b) {
    return compare(place_of(*a), place_of(*b));
}

// A line entry, a symbol, or one of each at the same place.
struct pe_record_t {
    const line_t* line;
    const symbol_t* symbol;
};

std::vector<pe_record_t> merge(const vector_t<line_t*>& lines, const vector_t<symbol_t*>& symbols) {
    std::vector<pe_record_t> records;
    uint32_t l = 0;
    uint32_t s = 0;
    while (l < lines.count() || s < symbols.count()) {
        const line_t* const line = vector_at(lines, l);
        const symbol_t* const symbol = vector_at(symbols, s);
        const int order = line == nullptr ? 1 : symbol == nullptr ? -1 : compare(place_of(*line), place_of(*symbol));
        records.push_back({order <= 0 ? line : nullptr, order >= 0 ? symbol : nullptr});
        l += order <= 0 ? 1 : 0;
        s += order >= 0 ? 1 : 0;
    }
    return records;
}

void write_name(output_t& out, text_t name) {
    put_text(out, str_upper(name.substr(0, name_limit_written)));
    put8(out, 0);
}

void put16_be(output_t& out, uint32_t value) {
    put8(out, value >> 8);
    put8(out, value);
}

void write_files(run_t& run, output_t& out) {
    std::vector<file_t*> used;
    for (file_t* const file : run.model.files) {
        if (file->symbol_count != 0 || file->line_count != 0) {
            used.push_back(file);
        }
    }
    put8(out, static_cast<uint32_t>(used.size()));
    uint32_t number = 0;
    for (file_t* const file : used) {
        file->out_index = ++number;
        write_name(out, file->name);
    }
}

void write_record(run_t& run, output_t& out, const pe_record_t& record) {
    const line_t* const line = record.line;
    const file_t* const file =
        line == nullptr || line->file == 0 ? nullptr : vector_at(run.model.files, line->file - 1);
    put32(out, line != nullptr ? line->start : record.symbol->value);
    put8(out, file != nullptr ? file->out_index : 0);
    put16_be(out, line != nullptr ? line->number : 0);
    write_name(out, record.symbol != nullptr ? record.symbol->name : text_t(""));
}

bool pe_write(run_t& run, output_t& out, text_t) {
    vector_sort(run.model.symbols, by_place<symbol_t>);
    vector_sort(run.model.lines, by_place<line_t>);
    const auto records = merge(run.model.lines, run.model.symbols);
    out.big_endian = 0;
    put_text(out, magic);
    put16_be(out, static_cast<uint32_t>(records.size()));
    write_files(run, out);
    for (const pe_record_t& record : records) {
        write_record(run, out, record);
    }
    return true;
}

bool pe_dump(run_t&, input_t&) { return false; }

} // namespace

const format_t pe_format = {pe_probe, pe_read, pe_write, pe_dump, "P&E", "pe", "pe", true};

} // namespace tavrel
