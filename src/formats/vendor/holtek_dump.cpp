// Holtek DBG files on their way in: recognised, checked record by record, and printed. The records refer to each other
// by position in the file: a file number counts the names so far, a line number the line entries, a symbol number the
// symbols; so the print keeps three lists.
#include <algorithm>
#include <deque>
#include <vector>

#include "formats/vendor/holtek.h"
#include "formats/vendor/holtek_layout.h"

namespace tavrel {
namespace {

struct dbg_record_t {
    uint32_t type = 0;
    size_t offset = 0; // in the file, of the record or the marker in front
    std::span<const uint8_t> payload;
};

// Makes the run's buffer hold a record of `size` bytes behind its length field.
void fit_buffer(run_t& run, uint32_t size) {
    uint32_t& capacity = run.formats.dbg_capacity;
    capacity = std::max(capacity, dbg_first_capacity);
    if (size > capacity) {
        capacity = size + dbg_capacity_step;
    }
}

// The next record; false at the end of the file and for a damaged one. With `report` set it raises 1041 for a record
// cut short and 1040 for a wrong checksum, and shows the payload if asked to be very verbose.
bool dbg_next_record(run_t& run, input_t& in, bool report, dbg_record_t& record) {
    cursor_t cursor = cursor_of(in, 0);
    if (cursor.at_end()) {
        return false;
    }
    record.offset = cursor.position;
    record.type = cursor.u8();
    if (record.type == DBG_MARKER) {
        cursor.skip(dbg_marker_rest);
        record.type = cursor.u8();
    }
    const uint32_t length = cursor.u16();
    if (!cursor.short_read) {
        fit_buffer(run, length);
    }
    const auto rest = cursor.take(length);
    if (cursor.short_read || length == 0) {
        if (report) {
            alert(run, 1041);
        }
        return false;
    }
    in.position = cursor.position;
    uint32_t sum = record.type + (length & 0xFF) + (length >> 8);
    for (const uint8_t byte : rest) {
        sum += byte;
    }
    if ((sum & 0xFF) != 0) {
        if (report) {
            alert(run, 1040, record.type, sum & 0xFF);
        }
        return false;
    }
    record.payload = rest.first(rest.size() - 1);
    if (report && run.verbose > 1) {
        dump_bytes(run.out, 0, 16, record.payload, "%04lX:", true);
    }
    return true;
}

// ---- printing

struct dbg_line_t {
    text_t file;
    uint32_t number;
};

struct dbg_dumper_t {
    run_t& run;
    std::vector<text_t> file_names;
    std::vector<text_t> symbol_names;
    std::vector<dbg_line_t> lines;
    std::deque<std::string> unknown_files; // numbers in place of names, for `lines`
};

uint32_t read_compact(cursor_t& in) {
    const uint32_t first = in.u8();
    return (first & 0x80) == 0 ? first : (first & 0x7F) << 8 | in.u8();
}

// A text of one length byte and its characters, as it stands.
text_t read_counted(cursor_t& in) {
    const auto characters = in.take(in.u8());
    return {reinterpret_cast<const char*>(characters.data()), characters.size()};
}

// As far as %s prints it.
text_t until_nul(text_t text) { return text.substr(0, text.find('\0')); }

const char* section_name(uint32_t section) { return section == DBG_DATA ? "DATA" : "CODE"; }

void dump_header(dbg_dumper_t& dumper, cursor_t in) {
    std::string text(read_counted(in));
    std::erase(text, '\0');
    put_text(dumper.run.out, "Header: ");
    put_text(dumper.run.out, text);
    put_text(dumper.run.out, "\n");
}

void dump_files(dbg_dumper_t& dumper, cursor_t in) {
    put_text(dumper.run.out, "\n");
    while (!in.at_end()) {
        const text_t name = read_counted(in);
        if (in.short_read) {
            put_text(dumper.run.out, "Error in record length\n");
            return;
        }
        put_text(dumper.run.out, "File: '");
        put_text(dumper.run.out, name);
        put_text(dumper.run.out, "\n");
        dumper.file_names.push_back(until_nul(name));
    }
}

// True if an entry overran its record, which is said in its place.
bool is_overrun(dbg_dumper_t& dumper, const cursor_t& in) {
    if (in.short_read) {
        put_text(dumper.run.out, "Record length error\n");
    }
    return in.short_read;
}

void dump_symbols(dbg_dumper_t& dumper, cursor_t in) {
    const uint32_t file = read_compact(in);
    const uint32_t section = in.u8();
    if (is_overrun(dumper, in)) {
        return;
    }
    print(dumper.run.out, "File index = %u, ", file);
    print(dumper.run.out, "Section = %s\n", section_name(section));
    while (!in.at_end()) {
        const text_t name = until_nul(read_counted(in));
        const uint32_t value = in.u16();
        const uint32_t type = in.u8();
        if (is_overrun(dumper, in)) {
            return;
        }
        print(dumper.run.out, "\t\t%16.16s", name);
        print(dumper.run.out, " = %4.4X, type = ", value);
        print(dumper.run.out, "%s\n", type < std::size(dbg_symbol_types) ? dbg_symbol_types[type] : "illegal");
        dumper.symbol_names.push_back(name);
    }
}

// The name of a file number, or the number less one as text where no name is known.
text_t file_text(dbg_dumper_t& dumper, uint32_t number) {
    if (number - 1 < dumper.file_names.size()) {
        return dumper.file_names[number - 1];
    }
    return dumper.unknown_files.emplace_back(format_text("%u", number - 1));
}

void dump_lines(dbg_dumper_t& dumper, cursor_t in) {
    const uint32_t file_number = read_compact(in);
    const uint32_t section = in.u8();
    if (is_overrun(dumper, in)) {
        return;
    }
    const text_t file = file_text(dumper, file_number);
    print(dumper.run.out, "File = %s, ", file);
    print(dumper.run.out, "Section = %s\n", section_name(section));
    while (!in.at_end()) {
        const uint32_t number = in.u16();
        const uint32_t address = in.u16();
        if (is_overrun(dumper, in)) {
            return;
        }
        print(dumper.run.out, "\tLine %4d = ", number);
        print(dumper.run.out, " = %4.4X\n", address);
        dumper.lines.push_back({file, number});
    }
}

void dump_line_range(dbg_dumper_t& dumper, uint32_t first, uint32_t last) {
    const auto entry = [&dumper](uint32_t number) {
        return number - 1 < dumper.lines.size() ? &dumper.lines[number - 1] : nullptr;
    };
    if (const dbg_line_t* const line = entry(first); line != nullptr) {
        print(dumper.run.out, "%s:%u-", line->file, line->number);
    } else {
        print(dumper.run.out, "%u-", first);
    }
    const dbg_line_t* const line = entry(last);
    print(dumper.run.out, "%u\n", line != nullptr ? line->number : last);
}

void dump_scope(dbg_dumper_t& dumper, cursor_t in) {
    const uint32_t block = in.u16();
    const uint32_t parent = in.u16();
    const uint32_t first = read_compact(in);
    const uint32_t last = read_compact(in);
    if (is_overrun(dumper, in)) {
        return;
    }
    print(dumper.run.out, "Block ID = %d, ", block);
    print(dumper.run.out, "Parent ID = %d, ", parent);
    put_text(dumper.run.out, "Line range = ");
    dump_line_range(dumper, first, last);
    const auto symbol = [&dumper](uint32_t number) {
        return number - 1 < dumper.symbol_names.size() ? dumper.symbol_names[number - 1] : text_t("BADSYM");
    };
    while (!in.at_end()) {
        const uint32_t one = read_compact(in);
        const uint32_t other = read_compact(in);
        if (is_overrun(dumper, in)) {
            return;
        }
        print(dumper.run.out, "%16.16s (%d)", symbol(one), one);
        print(dumper.run.out, "%16.16s(%d)\n", symbol(other), other);
    }
}

void dump_end(dbg_dumper_t&, cursor_t) {}

struct record_kind_t {
    const char* name;
    uint32_t type;
    void (*dump)(dbg_dumper_t& dumper, cursor_t payload);
};

constexpr record_kind_t record_kinds[] = {
    {"Debug header",     DBG_HEADER,  dump_header },
    {"File names",       DBG_FILES,   dump_files  },
    {"Symbol info",      DBG_SYMBOLS, dump_symbols},
    {"Line number info", DBG_LINES,   dump_lines  },
    {"C scope info",     DBG_SCOPE,   dump_scope  },
    {"File end",         DBG_END,     dump_end    },
};

const record_kind_t* find_kind(uint32_t type) {
    const auto* const kind = std::find_if(std::begin(record_kinds), std::end(record_kinds),
                                          [type](const record_kind_t& row) { return row.type == type; });
    return kind == std::end(record_kinds) ? nullptr : kind;
}

} // namespace

bool dbg_probe(run_t& run, input_t& in) {
    dbg_record_t record;
    return dbg_next_record(run, in, false, record) && record.type == DBG_HEADER;
}

bool dbg_read(run_t& run, input_t& in, text_t) {
    dbg_record_t record;
    while (dbg_next_record(run, in, true, record)) {
        if (find_kind(record.type) == nullptr) {
            alert(run, 1042, "DBG", record.type);
            return false;
        }
    }
    return true;
}

bool dbg_dump(run_t& run, input_t& in) {
    put_text(run.out, "Holtek DBG file dump:\n\n");
    dbg_dumper_t dumper{run, {}, {}, {}, {}};
    dbg_record_t record;
    while (dbg_next_record(run, in, true, record)) {
        const record_kind_t* const kind = find_kind(record.type);
        const std::string name = kind != nullptr ? kind->name : format_text("Unknown(0x%X)", record.type);
        print(run.out, "@%4.4lX %16.16s, len %3d: ", record.offset, name, record.payload.size());
        if (kind == nullptr) {
            put_text(run.out, "\n");
        } else {
            kind->dump(dumper, cursor_t(record.payload, 0));
        }
    }
    return true;
}

const format_t htk_format = {dbg_probe, dbg_read, dbg_write, dbg_dump, "Holtek DBG", "htk", "dbg", true};

} // namespace tavrel
