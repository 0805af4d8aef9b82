// Motorola S-records: image bytes as text, one record a line: 'S', a type digit, a count byte (address, data and
// checksum), the address of two, three or four bytes, the data, and the one's complement of the sum. It carries no
// symbols. Only data records are written, without a header or an end record, and checksums are not tested in reading.
#include "formats/plain/mothex.h"

#include <algorithm>

#include "common/scan.h"

namespace tavrel {
namespace {

constexpr size_t line_limit = 511;
constexpr uint32_t bytes_per_record = 16;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool s19_probe(run_t&, input_t& in) {
    text_t line;
    if (!read_line(in, line, line_limit) || line.size() < 2 || line[0] != 'S' || !is_digit(line[1])) {
        return false;
    }
    while (is_space(line.back())) {
        line.remove_suffix(1);
    }
    if (line.size() % 2 != 0) {
        return false;
    }
    for (size_t at = 1; at < line.size(); ++at) {
        if (hex_digit(line, at) > 15) {
            return false;
        }
    }
    return true;
}

// A big-endian number of `width` bytes; a pair that is no hex counts as 0xFF.
uint32_t read_number(text_t line, size_t at, uint32_t width) {
    uint32_t value = 0;
    for (uint32_t k = 0; k < width; ++k) {
        value = value << 8 | (hex_byte(line, at + 2 * k) & 0xFF);
    }
    return value;
}

constexpr size_t count_column = 2;
constexpr size_t address_column = 4;

void read_data(run_t& run, text_t line, uint32_t address_width) {
    const uint32_t count = read_number(line, count_column, 1);
    const uint32_t size = count > address_width + 1 ? count - address_width - 1 : 0;
    uint8_t bytes[256];
    for (uint32_t k = 0; k < size; ++k) {
        bytes[k] = static_cast<uint8_t>(read_number(line, address_column + 2 * (address_width + k), 1));
    }
    add_block(run.model, read_number(line, address_column, address_width), size, bytes, 0);
}

bool s19_read(run_t& run, input_t& in, text_t) {
    text_t line;
    while (read_line(in, line, line_limit)) {
        if (line[0] != 'S') {
            return false;
        }
        const char type = line.size() > 1 ? line[1] : '\0';
        switch (type) {
        case '0': break;
        case '1':
        case '2':
        case '3': read_data(run, line, static_cast<uint32_t>(type - '1' + 2)); break;
        case '7':
        case '8':
        case '9':
            run.entry_point = read_number(line, address_column, static_cast<uint32_t>('9' - type + 2));
            return true;
        default: return true;
        }
    }
    return true;
}

// ---- writing

// The record type follows from the record's own address, so one file may mix them.
void write_record(std::string& out, uint32_t address, const uint8_t* bytes, uint32_t count) {
    const uint32_t width = address < 0x10000 ? 2 : address < 0x1000000 ? 3 : 4;
    uint32_t sum = count + width + 1;
    out.push_back('S');
    out.push_back(static_cast<char>('1' + width - 2));
    put_hex_byte(out, sum);
    for (uint32_t shift = 8 * width; shift > 0; shift -= 8) {
        put_hex_byte(out, address >> (shift - 8));
        sum += address >> (shift - 8) & 0xFF;
    }
    for (uint32_t k = 0; k < count; ++k) {
        put_hex_byte(out, bytes[k]);
        sum += bytes[k];
    }
    put_hex_byte(out, ~sum);
    out.push_back('\n');
}

bool s19_write(run_t& run, output_t& out, text_t) {
    uint64_t bytes = 0;
    for (const block_t* const block : run.model.blocks) {
        bytes += 2 * uint64_t(block->size) + (block->size / bytes_per_record + 1) * 15;
    }
    out.bytes.reserve(bytes); // growing step by step would hold the text twice
    for (const block_t* const block : run.model.blocks) {
        for (uint64_t at = 0; at < block->size; at += bytes_per_record) {
            const auto offset = static_cast<uint32_t>(at);
            write_record(out.bytes, block->addr + offset, block->data + at,
                         std::min(bytes_per_record, block->size - offset));
        }
    }
    out.position = out.bytes.size();
    return true;
}

// The file is readable as it stands.
bool s19_dump(run_t&, input_t&) { return false; }

} // namespace

const format_t s19_format = {s19_probe, s19_read, s19_write, s19_dump, "Motorola HEX", "s19", "hex", false};

} // namespace tavrel
