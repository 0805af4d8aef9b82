// Intel HEX: image bytes as text, one record a line: ':', byte count, 16-bit address, type, data and a checksum, all in
// pairs of hex digits. It carries no symbols. Records of other types than data move the base that addresses count from
// or say where execution starts.
//
// Two spellings of the start records exist: the published one with four data bytes, and one with a single word. The
// count tells them apart.
#include "formats/plain/intelhex.h"

#include <algorithm>

#include "common/scan.h"

namespace tavrel {
namespace {

constexpr size_t line_limit = 511;
constexpr uint32_t bytes_per_record = 16;

enum record_type_t : uint32_t {
    REC_DATA = 0,
    REC_END = 1,
    REC_SEGMENT = 2,
    REC_START_SEGMENT = 3,
    REC_LINEAR = 4,
    REC_START_LINEAR = 5,
};

// One record on its way through the reader. A pair that is no hex, or lies behind the line's end, counts as 0xFF.
struct record_t {
    text_t line;
    size_t at = 1; // behind the colon
    uint32_t sum = 0;

    uint32_t u8() {
        const uint32_t byte = hex_byte(line, at) & 0xFF;
        at += 2;
        sum += byte;
        return byte;
    }
    uint32_t u16() {
        const uint32_t high = u8();
        return high << 8 | u8();
    }
};

struct ihex_reader_t {
    run_t& run;
    uint32_t data_base = 0;
    uint32_t start_base = 0;
};

text_t drop_trailing_space(text_t line) {
    while (!line.empty() && is_space(line.back())) {
        line.remove_suffix(1);
    }
    return line;
}

bool ihex_probe(run_t&, input_t& in) {
    text_t line;
    if (!read_line(in, line, line_limit) || line[0] != ':') {
        return false;
    }
    line = drop_trailing_space(line);
    if (line.size() % 2 == 0) {
        return false;
    }
    uint32_t sum = 0;
    for (size_t at = 1; at < line.size(); at += 2) {
        const uint32_t byte = hex_byte(line, at);
        if (byte > 0xFF) {
            return false;
        }
        sum += byte;
    }
    return sum % 256 == 0;
}

void read_data(ihex_reader_t& reader, record_t& record, uint32_t count, uint32_t address) {
    uint8_t bytes[256];
    for (uint32_t k = 0; k < count; ++k) {
        bytes[k] = static_cast<uint8_t>(record.u8());
    }
    add_block(reader.run.model, reader.data_base + address, count, bytes, 0);
}

// The base that a start record sets: a word in the short form, four bytes in the published one.
uint32_t read_start(record_t& record, uint32_t type, uint32_t count) {
    const uint32_t high = record.u16();
    if (count != 4) {
        return type == REC_START_SEGMENT ? high << 4 : high << 16;
    }
    const uint32_t low = record.u16();
    return type == REC_START_SEGMENT ? (high << 4) + low : high << 16 | low;
}

void read_end(ihex_reader_t& reader, record_t& record, uint32_t count) {
    reader.run.entry_point = reader.start_base + (count >= 2 ? record.u16() : 0);
}

bool ihex_read(run_t& run, input_t& in, text_t name) {
    ihex_reader_t reader{run};
    text_t line;
    while (read_line(in, line, line_limit)) {
        if (line[0] != ':') {
            alert(run, 635, name);
            return false;
        }
        record_t record{line};
        const uint32_t count = record.u8();
        const uint32_t address = record.u16();
        const uint32_t type = record.u8();
        switch (type) {
        case REC_DATA: read_data(reader, record, count, address); break;
        case REC_END: read_end(reader, record, count); return true;
        case REC_SEGMENT: reader.data_base = record.u16() << 4; break;
        case REC_LINEAR: reader.data_base = record.u16() << 16; break;
        case REC_START_SEGMENT:
        case REC_START_LINEAR: reader.start_base = read_start(record, type, count); break;
        default: break;
        }
        record.u8(); // the checksum makes the sum 0
        if (record.sum % 256 != 0) {
            alert(run, 636, name);
            return false;
        }
    }
    return true;
}

// ---- writing

void write_extended_address(std::string& out, uint32_t upper) {
    const uint32_t sum = 2 + 4 + (upper >> 8) + (upper & 0xFF);
    print(out, ":02000004%4.4X%2.2X\n", upper, (0 - sum) & 0xFF);
}

void write_record(std::string& out, uint32_t address, const uint8_t* bytes, uint32_t count) {
    uint32_t sum = count + (address >> 8 & 0xFF) + (address & 0xFF);
    out.push_back(':');
    put_hex_byte(out, count);
    put_hex_byte(out, address >> 8);
    put_hex_byte(out, address);
    put_hex_byte(out, REC_DATA);
    for (uint32_t k = 0; k < count; ++k) {
        put_hex_byte(out, bytes[k]);
        sum += bytes[k];
    }
    put_hex_byte(out, 0 - sum);
    out.push_back('\n');
}

bool ihex_write(run_t& run, output_t& out, text_t) {
    uint64_t bytes = 0;
    for (const block_t* const block : run.model.blocks) {
        bytes += 2 * uint64_t(block->size) + (block->size / bytes_per_record + 1) * 12 + 16;
    }
    out.bytes.reserve(bytes); // growing step by step would hold the text twice
    uint32_t upper = 0;       // of the last extended address record
    for (const block_t* const block : run.model.blocks) {
        for (uint32_t at = 0; at < block->size; at += bytes_per_record) {
            const uint32_t address = block->addr + at;
            if ((address & 0xFFFF0000) != upper) {
                upper = address & 0xFFFF0000;
                write_extended_address(out.bytes, upper >> 16);
            }
            write_record(out.bytes, address, block->data + at, std::min(bytes_per_record, block->size - at));
            if (block->size - at <= bytes_per_record) {
                break; // the next step might wrap
            }
        }
    }
    out.bytes += ":00000001FF\n";
    out.position = out.bytes.size();
    return true;
}

// The file is readable as it stands.
bool ihex_dump(run_t&, input_t&) { return false; }

} // namespace

const format_t ihex_format = {ihex_probe, ihex_read, ihex_write, ihex_dump, "Intel HEX", "ihex", "hex", false};

} // namespace tavrel
