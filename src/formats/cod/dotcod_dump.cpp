// Recognises a COD file and prints it: the directory, the code pages, and the tables of short symbols, local variables,
// file names and lines. The memory map and the long symbols are told by their block numbers only.
//
// Block numbers and lengths come from the file. A block that is not there leaves the block buffer as the last one
// filled it, as zeros at first, and is complained about.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "formats/cod/dotcod.h"
#include "formats/cod/dotcod_layout.h"

namespace tavrel {
namespace {

constexpr size_t file_name_limit = 512; // names kept; line records can tell 256 of them apart
constexpr uint32_t type_column = 20;    // characters from the type on to the value

struct cod_dumper_t {
    run_t& run;
    input_t& in;
    std::span<const uint8_t> directory;
    std::array<uint8_t, cod_block_size> buffer{};
    std::vector<std::string> file_names;
};

uint32_t number_at(std::span<const uint8_t> bytes, uint32_t at) { return read16(bytes.data() + at, 0); }

// The text of a counted string, `width` bytes with its length byte, up to a NUL within.
text_t counted_text(std::span<const uint8_t> bytes, uint32_t at, uint32_t width) {
    const size_t size = std::min<size_t>(bytes[at], width - 1);
    return cursor_t(bytes.subspan(at + 1, size), 0).string();
}

bool read_block(cod_dumper_t& dumper, uint32_t number) {
    dumper.in.position = size_t(number) * cod_block_size;
    const auto bytes = read_bytes(dumper.in, cod_block_size);
    if (bytes.empty()) {
        return false;
    }
    std::copy(bytes.begin(), bytes.end(), dumper.buffer.begin());
    return true;
}

// ---- directory

void dump_directory(printer_t& out, std::span<const uint8_t> directory) {
    using namespace cod_at;
    const auto number = [directory](uint32_t at) { return number_at(directory, at); };
    print(out, "Source:\t%s\n", counted_text(directory, source, cod_source_width));
    print(out, "Date:\t%s\t", counted_text(directory, date, cod_date_width));
    print(out, "Time:\t%2.2d:%2.2d\n", number(time) / 100, number(time) % 100);
    print(out, "Version:%s\t", counted_text(directory, version, cod_version_width));
    print(out, "Compiler: %s\n", counted_text(directory, compiler, cod_compiler_width));
    print(out, "Notice:\t%s\n", counted_text(directory, notice, cod_notice_width));
    print(out, "Symtab:\t%d/%d; Namtab: %d/%d; Lsttab: %d/%d\n", number(symtab_first), number(symtab_last),
          number(namtab_first), number(namtab_last), number(lsttab_first), number(lsttab_last));
    print(out, "Addr:\t%d, highaddr %X\n", directory[addr_size], number(high_addr));
    print(out, "Memmap:\t%d/%d; Locals: %d/%d; Lsymtab %d/%d; Messtab %d/%d\n", number(memmap_first),
          number(memmap_last), number(locals_first), number(locals_last), number(lsymtab_first), number(lsymtab_last),
          number(messtab_first), number(messtab_last));
    print(out, "Codtyp:\t%d; Processor %s\n", number(cod_type_field),
          counted_text(directory, processor, cod_processor_width));
}

void dump_code(cod_dumper_t& dumper) {
    for (uint32_t page = 0; page < cod_code_pages; ++page) {
        const uint32_t block = number_at(dumper.directory, cod_at::code_index + 2 * page);
        if (block == 0) {
            continue;
        }
        const uint32_t address = page * cod_block_size;
        print(dumper.run.out, "Code: 0%Xh at block %d\n", address, block);
        if (dumper.run.verbose != 0) {
            if (!read_block(dumper, block)) {
                alert(dumper.run, 618);
            }
            dump_bytes(dumper.run.out, address, 16, dumper.buffer, "%4.4lX:", true);
        }
    }
}

// ---- tables

// Calls `operation(dumper, block number)` with each block of a table in the buffer.
template <class F>
void walk_table(cod_dumper_t& dumper, uint32_t first_field, uint32_t last_field, F operation) {
    const uint32_t first = number_at(dumper.directory, first_field);
    const uint32_t last = number_at(dumper.directory, last_field);
    if (first == 0) {
        return;
    }
    for (uint32_t block = first; block <= last; ++block) {
        if (!read_block(dumper, block)) {
            alert(dumper.run, 619);
        }
        operation(dumper, block);
    }
}

void dump_symbol(printer_t& out, std::span<const uint8_t> record, text_t name) {
    print(out, "\t%-14.12s", name);
    const uint32_t type = record[cod_at::symbol_type];
    uint32_t width = 2;
    if (type > 0 && type < cod_type_count) {
        print(out, " (%s)", cod_type_names[type]);
        width = static_cast<uint32_t>(std::min<size_t>(std::strlen(cod_type_names[type]), type_column));
    } else {
        print(out, " (%2.2X)", type);
    }
    print(out, "%*s", type_column - width, "");
    print(out, "%5.4X\n", number_at(record, cod_at::symbol_value));
}

void dump_symbol_block(cod_dumper_t& dumper, bool with_scopes) {
    for (uint32_t k = 0; k < cod_symbols_per_block; ++k) {
        const auto record = std::span(dumper.buffer).subspan(size_t(k) * cod_symbol_size, cod_symbol_size);
        if (record[cod_at::symbol_name] == 0) {
            continue;
        }
        const text_t name = counted_text(record, cod_at::symbol_name, cod_symbol_name_width);
        if (with_scopes && name == cod_scope_name) {
            print(dumper.run.out, "Block: 0x%lX-0x%lX\n", number_at(record, cod_at::scope_start),
                  number_at(record, cod_at::scope_end));
        } else {
            dump_symbol(dumper.run.out, record, name);
        }
    }
}

void dump_file_block(cod_dumper_t& dumper) {
    for (uint32_t k = 0; k < cod_files_per_block; ++k) {
        const uint32_t at = k * cod_file_size;
        if (dumper.buffer[at] == 0) {
            continue;
        }
        const text_t name = counted_text(dumper.buffer, at, cod_file_size);
        print(dumper.run.out, "\t%-63.64s\n", name);
        if (dumper.file_names.size() < file_name_limit) {
            dumper.file_names.emplace_back(name);
        }
    }
}

void dump_line_block(cod_dumper_t& dumper, uint32_t block) {
    print(dumper.run.out, "Line number block %u\n", block);
    for (uint32_t k = 0; k < cod_lines_per_block; ++k) {
        const auto record = std::span(dumper.buffer).subspan(size_t(k) * cod_line_size, cod_line_size);
        const uint32_t file = record[cod_at::line_file];
        text_t name;
        if (file < dumper.file_names.size()) {
            name = dumper.file_names[file];
        } else {
            alert(dumper.run, 620);
        }
        print(dumper.run.out, "\t%5d %2.2X %4.4X %.32s\n", number_at(record, cod_at::line_number),
              record[cod_at::line_smod], number_at(record, cod_at::line_addr), name);
    }
}

} // namespace

bool cod_probe(run_t&, input_t& in) {
    const auto block = read_bytes(in, cod_block_size);
    if (block.empty()) {
        return false;
    }
    // The date, ended in place: what stands behind a date that fills its field counts as its end.
    std::array<uint8_t, cod_date_width> date;
    std::copy_n(block.begin() + cod_at::date + 1, date.size(), date.begin());
    date[std::min<size_t>(block[cod_at::date], cod_date_width - 1)] = 0;
    const auto is_digit = [](uint8_t c) { return c >= '0' && c <= '9'; };
    const auto is_letter = [](uint8_t c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return date[7] == 0 && is_digit(date[1]) && is_letter(date[2]) && is_letter(date[3]);
}

bool cod_read(run_t&, input_t&, text_t) { return false; }

bool cod_dump(run_t& run, input_t& in) {
    run.big_endian = 0;
    const auto directory = read_bytes(in, cod_block_size);
    if (directory.empty()) {
        alert(run, 1037, "directory block");
        end_run(run);
    }
    cod_dumper_t dumper{run, in, directory, {}, {}};
    dump_directory(run.out, directory);
    dump_code(dumper);
    put_text(run.out, "Symbols:\n");
    walk_table(dumper, cod_at::symtab_first, cod_at::symtab_last,
               [](cod_dumper_t& d, uint32_t) { dump_symbol_block(d, false); });
    put_text(run.out, "Locals:\n");
    walk_table(dumper, cod_at::locals_first, cod_at::locals_last,
               [](cod_dumper_t& d, uint32_t) { dump_symbol_block(d, true); });
    put_text(run.out, "Files:\n");
    walk_table(dumper, cod_at::namtab_first, cod_at::namtab_last,
               [](cod_dumper_t& d, uint32_t) { dump_file_block(d); });
    put_text(run.out, "Line numbers:\n");
    walk_table(dumper, cod_at::lsttab_first, cod_at::lsttab_last, dump_line_block);
    return true;
}

} // namespace tavrel
