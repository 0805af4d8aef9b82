// The native symbol file: the text that the toolchain's own linker writes beside its output, one line per symbol, one
// line per line-number entry, the list of the link's segments and the names of the modules that took part. It is the
// usual entry point of a conversion: it fills the linker-level model, and every object file that it names brings in the
// language-level tree through the SDB reader.
//
// A line's kind is not marked: it follows from what the line contains, in a fixed order of tests. Fields are separated
// by blanks, numbers are hexadecimal, and a field that does not parse keeps the value of the line before.
#include "formats/plain/norvane.h"

#include <algorithm>
#include <array>

#include "common/scan.h"
#include "debug/sdb.h"

namespace tavrel {
namespace {

constexpr size_t line_limit = 255;       // characters of a line, its newline included
constexpr size_t class_prefix_size = 3;  // __L, __H, __B, __I
constexpr uint32_t line_entry_flags = 2; // what readers of symbol files store; nothing tests it

// What one read knows beside the model.
struct norvane_reader_t {
    run_t& run;
    text_t file_name;
    uint32_t file = 0;        // current file index
    dsym_t* module = nullptr; // current module of the tree
    bool in_segments = false; // behind %segments
    bool in_locals = false;   // behind %locals, for good
    // The last good number of each kind: what a field holds that does not parse.
    uint32_t number = 0, address = 0, high = 0, load = 0;
};

// Up to six fields of a line; no kind of line has more than five.
struct fields_t {
    text_t at[5];
    size_t count = 0;
};

fields_t split(text_t line) {
    fields_t fields;
    for (size_t at = 0; fields.count < 5;) {
        at = line.find_first_not_of(' ', at);
        if (at == text_t::npos) {
            break;
        }
        const size_t end = std::min(line.find(' ', at), line.size());
        fields.at[fields.count++] = line.substr(at, end - at);
        at = end;
    }
    return fields;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// A line with its newline off, and a carriage return in front of that.
text_t drop_line_end(text_t line) {
    line.remove_suffix(1);
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    return line;
}

bool names_object(text_t line) { return line.find(".obj") != text_t::npos || line.find(".OBJ") != text_t::npos; }

bool is_file_line(text_t line) {
    constexpr const char* extensions[] = {".c", ".C", ".as", ".AS"};
    return names_object(line) || std::any_of(std::begin(extensions), std::end(extensions), [&](const char* extension) {
               return line.find(extension) != text_t::npos;
           });
}

void read_file_line(norvane_reader_t& reader, text_t line) {
    reader.file = add_file(reader.run.model, line);
    if (names_object(line)) {
        reader.module = read_sdb(reader.run, line);
    } else if (reader.module != nullptr && reader.module->sclass == SC_NOSDB) {
        add_filename(reader.run, reader.module, line, 0);
    }
}

// The segment of field 4, 0 for an absolute line. A new name makes a segment that is its own space.
uint32_t segment_of(model_t& model, const fields_t& fields) {
    if (fields.count < 4 || fields.at[3] == "ABS") {
        return 0;
    }
    if (const uint32_t index = find_segment_index(model, fields.at[3]); index != 0) {
        return index;
    }
    return add_segment(model, fields.at[3], 0, 0, 0, model.segments.count() + 1) + 1;
}

void read_segment(norvane_reader_t& reader, const fields_t& fields, uint32_t space) {
    scan_number(fields.at[1], 16, reader.address);
    if (fields.count > 2) {
        scan_number(fields.at[2], 16, reader.high);
    }
    if (fields.count > 4) {
        scan_number(fields.at[4], 16, reader.load);
    } else {
        reader.load = reader.address;
    }
    add_segment(reader.run.model, fields.at[0], reader.address, reader.high - reader.address + 1, reader.load, space);
}

bool is_class_symbol(text_t name) {
    return name.size() >= class_prefix_size && name[0] == '_' && name[1] == '_' &&
           text_t("LHBI").find(name[2]) != text_t::npos;
}

void read_class_symbol(model_t& model, text_t name, uint32_t value) {
    const text_t class_name = name.substr(class_prefix_size);
    class_t* found = find_class(model, class_name);
    if (found == nullptr) {
        found = add_class(model, class_name, 0, 0, 0, 0);
    }
    uint32_t& field = name[2] == 'L'   ? found->low
                      : name[2] == 'H' ? found->high
                      : name[2] == 'B' ? found->base
                                       : found->init;
    field = value;
}

void read_symbol(norvane_reader_t& reader, const fields_t& fields, uint32_t segment) {
    model_t& model = reader.run.model;
    const text_t name = fields.at[0];
    scan_number(fields.at[1], 16, reader.address);
    if (is_digit(name[0])) {
        scan_number(name, 10, reader.number);
        add_line(model, reader.number, reader.address, segment, reader.file, line_entry_flags);
    } else if (is_class_symbol(name)) {
        read_class_symbol(model, name, reader.address);
    } else {
        const uint32_t flags = (segment == 0 ? SYM_ABS : 0u) | (reader.in_locals ? SYM_LOCAL : 0u);
        add_symbol(model, name, reader.address, segment, reader.file, flags);
    }
}

void read_other_line(norvane_reader_t& reader, text_t line) {
    if (reader.file == 0) {
        reader.file = add_file(reader.run.model, reader.file_name);
    }
    const fields_t fields = split(line);
    if (fields.count < 2) {
        return;
    }
    const uint32_t segment = segment_of(reader.run.model, fields);
    if (reader.in_segments) {
        read_segment(reader, fields, segment);
    } else {
        read_symbol(reader, fields, segment);
    }
}

// A symbol in the range of several classes ends up with the last of them in the table. The classes are taken from the
// last to the first, and each takes the symbols that are still free, found in order of their value.
void link_classes(model_t& model) {
    if (model.classes.empty()) {
        return;
    }
    std::vector<symbol_t*> by_value(model.symbols.begin(), model.symbols.end());
    std::sort(by_value.begin(), by_value.end(),
              [](const symbol_t* a, const symbol_t* b) { return a->value < b->value; });
    std::vector<size_t> next_free(by_value.size() + 1); // the first free position from here on, with path halving
    for (size_t k = 0; k < next_free.size(); ++k) {
        next_free[k] = k;
    }
    const auto free_from = [&](size_t k) {
        while (next_free[k] != k) {
            next_free[k] = next_free[next_free[k]];
            k = next_free[k];
        }
        return k;
    };
    for (size_t c = model.classes.count(); c-- > 0;) {
        const class_t* const range = model.classes[c];
        const auto first = std::lower_bound(by_value.begin(), by_value.end(), range->low,
                                            [](const symbol_t* symbol, uint32_t low) { return symbol->value < low; });
        for (size_t k = free_from(static_cast<size_t>(first - by_value.begin()));
             k < by_value.size() && by_value[k]->value <= range->high; k = free_from(k)) {
            by_value[k]->link_class = range;
            next_free[k] = k + 1;
        }
    }
}

bool is_number(text_t field) {
    if (!field.empty() && (field[0] == '+' || field[0] == '-')) {
        field.remove_prefix(1);
    }
    for (size_t k = 0; k < field.size(); ++k) {
        if (hex_digit(field, k) > 15) {
            return false;
        }
    }
    return true;
}

bool norvane_probe(run_t&, input_t& in) {
    text_t line;
    if (!read_line(in, line, line_limit) || line.back() != '\n') {
        return false;
    }
    line = drop_line_end(line);
    if (line == "%locals" || line == "%segments") {
        return true;
    }
    const fields_t fields = split(line);
    return fields.count >= 3 && is_number(fields.at[1]) && is_number(fields.at[2]);
}

bool norvane_read(run_t& run, input_t& in, text_t name) {
    norvane_reader_t reader{run, name};
    text_t line;
    while (read_line(in, line, line_limit) && line.back() == '\n') {
        line = drop_line_end(line);
        if (line == "%segments") {
            reader.in_segments = true;
        } else if (line == "%locals") {
            reader.in_locals = true;
            reader.in_segments = false;
        } else if (is_file_line(line)) {
            read_file_line(reader, line);
        } else {
            read_other_line(reader, line);
        }
    }
    link_classes(run.model);
    return true;
}

// ---- writing

// Orders symbols and line entries alike: by file, segment and address.
using place_t = std::array<uint32_t, 3>;

place_t place_of(const symbol_t& symbol) { return {symbol.file, symbol.segment, symbol.value}; }
place_t place_of(const line_t& line) { return {line.file, line.segment, line.start}; }

template <class T>
int by_place(const T* a, const T* b) {
    const place_t first = place_of(*a);
    const place_t second = place_of(*b);
    return first < second ? -1 : second < first ? 1 : 0;
}

struct norvane_writer_t {
    run_t& run;
    output_t& out;
    uint32_t file = 0;          // of the element before
    bool marked = false;        // %locals stands
    uint32_t files_written = 0; // names written, from the first file on
};

void write_file_names(norvane_writer_t& writer, uint32_t file) {
    if (file == writer.file) {
        return;
    }
    writer.file = file;
    if (!writer.marked) {
        put_text(writer.out, "%locals\n");
        writer.marked = true;
    }
    const auto& files = writer.run.model.files;
    for (; writer.files_written < std::min(file, files.count()); ++writer.files_written) {
        print(writer.out, "%s\n", files[writer.files_written]->name);
    }
}

void write_segment_name(norvane_writer_t& writer, uint32_t segment) {
    if (segment != 0) {
        print(writer.out, " %s", segment_name(writer.run.model, segment));
    }
    put_text(writer.out, "\n");
}

void write_line(norvane_writer_t& writer, const line_t& line) {
    write_file_names(writer, line.file);
    print(writer.out, "%ld %lX %X", line.number, line.start, line.segment);
    write_segment_name(writer, line.segment);
}

void write_symbol(norvane_writer_t& writer, const symbol_t& symbol) {
    write_file_names(writer, symbol.file);
    if ((symbol.flags & SYM_ABS) != 0) {
        print(writer.out, "%s %lX\n", symbol.name, symbol.value);
        return;
    }
    print(writer.out, "%s %lX %X", symbol.name, symbol.value, symbol.segment);
    write_segment_name(writer, symbol.segment);
}

bool norvane_write(run_t& run, output_t& out, text_t) {
    auto& lines = run.model.lines;
    auto& symbols = run.model.symbols;
    vector_sort(lines, by_place<line_t>);
    vector_sort(symbols, by_place<symbol_t>);
    norvane_writer_t writer{run, out};
    uint32_t line = 0;
    uint32_t symbol = 0;
    while (line < lines.count() || symbol < symbols.count()) {
        const bool line_first =
            symbol == symbols.count() || (line < lines.count() && place_of(*lines[line]) < place_of(*symbols[symbol]));
        if (line_first) {
            write_line(writer, *lines[line++]);
        } else {
            write_symbol(writer, *symbols[symbol++]);
        }
    }
    return true;
}

// There is nothing to print that the file does not show by itself.
bool norvane_dump(run_t&, input_t&) { return false; }

} // namespace

const format_t norvane_format = {norvane_probe,      norvane_read, norvane_write, norvane_dump,
                                 "Norvane Software", "norvane",    "sym",         false};

} // namespace tavrel
