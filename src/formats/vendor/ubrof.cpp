// UBROF: a stream of records without lengths. A record begins with a one-byte tag, and only the tag decides how many
// bytes follow, so a reader must know every kind. Numbers of several bytes are big-endian; a string is a length byte
// and its characters. The file begins with 0xA5 and a timestamp and ends with 0xFF.
//
// CRC records stand in between. A check covers every byte since the one before, its own tag included, its two CRC bytes
// not; here the CRC is run over that stretch of the file when a check is met.
#include "formats/vendor/ubrof.h"

#include <algorithm>
#include <array>

namespace tavrel {
namespace {

constexpr uint32_t year_base = 1900;
constexpr uint32_t history_limit = 4096; // bytes shown for a CRC that does not match

struct ubrof_reader_t {
    run_t& run;
    const std::string& name; // of the input, for messages
    cursor_t in;
    bool failed = false;  // a message was raised and nothing more is read
    size_t checked = 0;   // position behind the last CRC check
    uint32_t origin = 0;  // address of the next data
    uint32_t segment = 0; // of the next data
};

ubrof_reader_t reader_of(run_t& run, const input_t& in) { return {run, in.name, cursor_of(in, 1)}; }

template <class... A>
void fail(ubrof_reader_t& reader, uint32_t message, const A&... args) {
    reader.failed = true;
    alert(reader.run, message, reader.name, args...);
}

// ---- fields: zero or empty once something failed

// `size` single bytes in a row.
std::span<const uint8_t> read_row(ubrof_reader_t& reader, size_t size) {
    if (!reader.failed && reader.in.left() < size) {
        fail(reader, 1044);
    }
    return reader.failed ? std::span<const uint8_t>() : reader.in.take(size);
}

uint32_t read_byte(ubrof_reader_t& reader) {
    const auto row = read_row(reader, 1);
    return row.empty() ? 0 : row[0];
}

// A number of `size` bytes, 2 or 4.
uint32_t read_number(ubrof_reader_t& reader, uint32_t size) {
    if (!reader.failed && reader.in.left() < size) {
        fail(reader, 1045, size);
    }
    return reader.failed ? 0 : size == 2 ? reader.in.u16() : reader.in.u32();
}

text_t read_string(ubrof_reader_t& reader) {
    if (reader.failed) {
        return "";
    }
    const size_t size = reader.in.u8();
    const auto characters = reader.in.take(size);
    if (reader.in.short_read) {
        fail(reader, 1046);
        return "";
    }
    return cursor_t(characters, 1).string();
}

struct timestamp_t {
    uint32_t second = 0, minute = 0, hour = 0, day = 0, month = 0, year = 0;
};

bool is_date(uint32_t day, uint32_t month) { return day < 32 && month < 13; }

// False if it is invalid or cut; the date is not read behind an invalid time.
bool read_timestamp(ubrof_reader_t& reader, timestamp_t& time) {
    time.second = read_byte(reader);
    time.minute = read_byte(reader);
    time.hour = read_byte(reader);
    if (reader.failed || time.second > 59 || time.minute > 59 || time.hour > 23) {
        return false;
    }
    time.day = read_byte(reader);
    time.month = read_byte(reader);
    time.year = year_base + read_byte(reader);
    return !reader.failed && is_date(time.day, time.month);
}

// A timestamp as the dump needs it: an invalid one raises the message, a cut one has raised its own.
timestamp_t need_timestamp(ubrof_reader_t& reader, uint32_t message) {
    timestamp_t time;
    if (!read_timestamp(reader, time) && !reader.failed) {
        fail(reader, message);
    }
    return time;
}

// ---- printing what was read, unless something failed

template <class... A>
void show(ubrof_reader_t& reader, text_t format, const A&... args) {
    if (!reader.failed) {
        print(reader.run.out, format, args...);
    }
}

void show_row(ubrof_reader_t& reader, std::span<const uint8_t> row, text_t format) {
    for (const uint8_t byte : row) {
        show(reader, format, byte);
    }
}

bool is_zero(std::span<const uint8_t> row) {
    return std::all_of(row.begin(), row.end(), [](uint8_t byte) { return byte == 0; });
}

// ---- records

void dump_segment(ubrof_reader_t& reader) {
    show(reader, "Segment: ");
    const auto row = read_row(reader, 3);
    if (!is_zero(row)) {
        show_row(reader, row, "%02X ");
        show(reader, "00 ");
    }
    show(reader, "\"%s\" ", read_string(reader));
    show(reader, "flags 0x%X\nStart\tLength\n", read_byte(reader));
    for (uint32_t left = read_byte(reader); left != 0 && !reader.failed; --left) {
        const uint32_t start = read_number(reader, 4);
        const uint32_t length = read_number(reader, 4);
        show(reader, "0x%04lX\t0x%04lX\n", start, length);
    }
    show(reader, "\n");
}

text_t language_text(uint32_t language) { return language == 0 ? "(Assembler) " : language == 0x10 ? "(C) " : ""; }

void dump_program(ubrof_reader_t& reader, uint32_t version) {
    constexpr const char* widths[4] = {"8 bit ", "16 bit ", "32 bit ", "segmented  "};
    const uint32_t flags = read_byte(reader);
    const uint32_t language = read_byte(reader);
    const uint32_t day = read_byte(reader);
    const uint32_t month = read_byte(reader);
    const uint32_t year = year_base + read_byte(reader);
    if (!reader.failed && !is_date(day, month)) {
        fail(reader, 1051);
    }
    const text_t name = read_string(reader);
    show(reader, "Program: \"%s\" %d/%d/%d ", name, year, month, day);
    show(reader, " version %d, language 0x%0X, ", version, language);
    show(reader, "%s", language_text(language));
    show(reader, "%s", widths[flags >> 1 & 3]);
    show(reader, "%s\n", (flags & 1) != 0 ? "normal bit order" : "");
}

void dump_module(ubrof_reader_t& reader) {
    const uint32_t version = read_byte(reader);
    if (reader.failed) {
        return;
    }
    if (version == 0) {
        dump_segment(reader);
    } else {
        dump_program(reader, version);
    }
}

void dump_data(ubrof_reader_t& reader) {
    const uint32_t size = read_byte(reader);
    show(reader, "Data: %d bytes in seg %d at 0x%lX\n", size, reader.segment, reader.origin);
    const auto data = read_row(reader, size);
    if (!reader.failed && reader.run.verbose != 0) {
        dump_bytes(reader.run.out, reader.origin, 16, data, "%04lX:", true);
    }
    reader.origin += size;
}

uint32_t crc_of(std::span<const uint8_t> bytes) {
    uint32_t crc = 0;
    for (const uint8_t byte : bytes) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const uint32_t test = (crc >> 15 ^ uint32_t(byte) >> bit) & 1;
            crc = (crc << 1 & 0xFFFF) ^ (test != 0 ? 0x8005U : 0U);
        }
    }
    return crc;
}

void dump_crc(ubrof_reader_t& reader) {
    const auto covered = reader.in.bytes.subspan(reader.checked, reader.in.position - reader.checked);
    const size_t tag = reader.in.position - 1;
    const uint32_t wanted = read_number(reader, 2);
    if (reader.failed) {
        return;
    }
    const uint32_t crc = crc_of(covered);
    if (crc != wanted) {
        fail(reader, 1049, covered.size(), crc);
        if (reader.run.verbose != 0) {
            const auto history = covered.first(std::min<size_t>(covered.size(), history_limit));
            dump_bytes(reader.run.out, 0, 16, history, "%04lX:", true);
        }
        return;
    }
    if (reader.run.verbose != 0) {
        show(reader, "CRC matched at %lX\n", tag);
    }
    reader.checked = reader.in.position;
}

void dump_statement(ubrof_reader_t& reader) {
    const uint32_t line = read_number(reader, 2);
    show(reader, "Statement: line %u", line);
    const uint32_t segment = read_number(reader, 2);
    const uint32_t end_line = read_number(reader, 2);
    if (end_line != line) {
        show(reader, "-%u", end_line);
    }
    show(reader, " seg %X flags ", segment);
    const uint32_t flag = read_byte(reader);
    const uint32_t flags = read_number(reader, 2);
    show(reader, "%X %X\n", flag, flags);
}

void skip_unnamed(ubrof_reader_t& reader) {
    constexpr uint8_t with_string = 0x11;
    const auto row = read_row(reader, 3);
    if (!reader.failed && row[2] == with_string) {
        read_string(reader);
    }
}

void dump_symbol(ubrof_reader_t& reader) {
    constexpr const char* kinds[] = {nullptr,      "public/abs ",  "public/reloc ",
                                     "local/abs ", "local/reloc ", "external "};
    constexpr const char* segments[] = {nullptr, "CODE ", "DATA ", "XDATA ", "IDATA ", "BIT ", "REGISTER ", "CONST "};
    show(reader, "Symbol; ");
    const uint32_t kind = read_byte(reader);
    if (kind > 0 && kind < std::size(kinds)) {
        show(reader, "%s", kinds[kind]);
    } else {
        show(reader, "type?? 0x%02X ", kind);
    }
    const uint32_t segment = read_number(reader, 2);
    if (segment > 0 && segment < std::size(segments)) {
        show(reader, "%s", segments[segment]);
    } else {
        show(reader, "segment 0x%X ", segment);
    }
    show(reader, "addr = 0x%lX ", read_number(reader, 4));
    show(reader, " \"%s\"", read_string(reader));
    const auto row = read_row(reader, 3);
    if (!is_zero(row)) {
        show_row(reader, row, " %02X");
    }
    show(reader, "\n");
}

void dump_origin(ubrof_reader_t& reader) {
    reader.segment = read_byte(reader);
    reader.origin = read_number(reader, 4);
    if (reader.run.verbose != 0) {
        show(reader, "Origin 0x%lX in segment %d\n", reader.origin, reader.segment);
    }
}

void dump_debug(ubrof_reader_t& reader) {
    constexpr std::array<uint8_t, 5> usual = {0x00, 0xB9, 0x00, 0x00, 0x00};
    show(reader, "Debug record: ");
    const auto row = read_row(reader, usual.size());
    if (!std::equal(row.begin(), row.end(), usual.begin(), usual.end())) {
        show_row(reader, row, "%02X ");
    }
    show(reader, "\"%s\" ", read_string(reader));
    const timestamp_t time = need_timestamp(reader, 1050);
    show(reader, "modified %d/%d/%d %02d:%02d:%02d\n", time.year, time.month, time.day, time.hour, time.minute,
         time.second);
}

void dump_auxiliary(ubrof_reader_t& reader) {
    show(reader, "Aux record: 0x%02X ", read_byte(reader));
    show(reader, "0x%02X\n", read_byte(reader));
}

void dump_translator(ubrof_reader_t& reader) {
    show(reader, "Translator: 0x%02X ", read_byte(reader));
    show(reader, "0x%02X ", read_byte(reader));
    show(reader, "\"%s\"\n", read_string(reader));
}

void dump_version(ubrof_reader_t& reader) {
    constexpr std::array<uint8_t, 13> usual = {0x00, 0x00, 0x05, 0xBA, 0x02, 0xBE, 0xFF,
                                               0xBF, 0x02, 0xC0, 0xFF, 0xC1, 0x05};
    const uint32_t version = read_byte(reader);
    show(reader, "UBROF version %d\n", version);
    const auto row = read_row(reader, usual.size());
    if (reader.failed || std::equal(row.begin(), row.end(), usual.begin())) {
        return;
    }
    show(reader, "Funny BD record; should be:\nBD 06 ");
    show_row(reader, usual, "%02X ");
    show(reader, "but was:\nBD %02X ", version);
    show_row(reader, row, "%02X ");
    show(reader, "\n");
}

void dump_c0(ubrof_reader_t& reader) {
    const auto row = read_row(reader, 6);
    if (!reader.failed) {
        show(reader, "C0 record: %02X %02X %02X %02X %02X %02X\n", row[0], row[1], row[2], row[3], row[4], row[5]);
    }
}

constexpr uint32_t file_tag = 0xA5;
constexpr uint32_t end_tag = 0xFF;

struct record_kind_t {
    uint32_t tag;
    void (*dump)(ubrof_reader_t& reader);
};

constexpr record_kind_t record_kinds[] = {
    {0x01, dump_module    },
    {0x02, dump_module    },
    {0x39, dump_data      },
    {0x3F, dump_crc       },
    {0x47, dump_statement },
    {0x4A, skip_unnamed   },
    {0x4C, dump_symbol    },
    {0x51, dump_origin    },
    {0x52, dump_debug     },
    {0x53, dump_auxiliary },
    {0x54, dump_translator},
    {0xBD, dump_version   },
    {0xC0, dump_c0        },
};

// False behind the end of the file's contents, and once something failed.
bool dump_record(ubrof_reader_t& reader) {
    const uint32_t tag = read_byte(reader);
    if (reader.failed || tag == end_tag) {
        return false;
    }
    const auto* const kind = std::find_if(std::begin(record_kinds), std::end(record_kinds),
                                          [tag](const record_kind_t& row) { return row.tag == tag; });
    if (kind == std::end(record_kinds)) {
        fail(reader, 1052);
        return false;
    }
    kind->dump(reader);
    return !reader.failed;
}

} // namespace

bool ubrof_probe(run_t& run, input_t& in) {
    ubrof_reader_t reader = reader_of(run, in);
    timestamp_t time;
    return !reader.in.at_end() && reader.in.u8() == file_tag && read_timestamp(reader, time);
}

bool ubrof_read(run_t&, input_t&, text_t) { return true; }

bool ubrof_write(run_t&, output_t&, text_t) { return true; }

bool ubrof_dump(run_t& run, input_t& in) {
    ubrof_reader_t reader = reader_of(run, in);
    const uint32_t first = read_byte(reader);
    if (reader.failed) {
        return true;
    }
    if (first != file_tag) {
        fail(reader, 1047);
    }
    const timestamp_t time = need_timestamp(reader, 1048);
    show(reader, "UBROF file: %d/%d/%d %02d:%02d:%02d ", time.year, time.month, time.day, time.hour, time.minute,
         time.second);
    while (!reader.failed && dump_record(reader)) {}
    return !reader.failed;
}

const format_t ubrof_format = {ubrof_probe, ubrof_read, ubrof_write, ubrof_dump, "UBROF", "ubrof", "d43", true};

} // namespace tavrel
