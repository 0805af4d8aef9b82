// TI-TXT: image bytes as text for flash programmers: '@' and an address, then hex pairs, sixteen a line, each with a
// blank behind it, and 'q' at the end. The program writes, recognises and prints it, but does not read it into the
// model.
#include "formats/plain/titxt.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr size_t line_limit = 127;
constexpr uint32_t bytes_per_line = 16;

bool is_hex(text_t text, size_t at) { return hex_digit(text, at) <= 15; }

// "AA BB CC\n": hex pairs with a blank or newline behind each.
bool is_byte_line(text_t line) {
    for (size_t at = 0; at < line.size(); ++at) {
        const bool fits = at % 3 == 2 ? line[at] == ' ' || line[at] == '\n' : is_hex(line, at);
        if (!fits) {
            return false;
        }
    }
    return true;
}

bool titxt_probe(run_t&, input_t& in) {
    text_t line;
    if (!read_line(in, line, line_limit)) {
        return false;
    }
    if (line[0] == '@') {
        return is_hex(line, 1) && is_hex(line, 2) && is_hex(line, 3) && is_hex(line, 4);
    }
    return line == "q\n" || (is_hex(line, 0) && is_byte_line(line));
}

bool titxt_read(run_t&, input_t&, text_t) { return true; }

bool titxt_write(run_t& run, output_t& out, text_t) {
    constexpr const char* digits = "0123456789ABCDEF";
    for (const block_t* const block : run.model.blocks) {
        if (block->size == 0) {
            continue;
        }
        print(out.bytes, "@%04X\n", block->addr);
        for (uint32_t at = 0; at < block->size; ++at) {
            out.bytes.push_back(digits[block->data[at] >> 4]);
            out.bytes.push_back(digits[block->data[at] & 15]);
            out.bytes.push_back(' ');
            if (at % bytes_per_line == bytes_per_line - 1 || at + 1 == block->size) {
                out.bytes.push_back('\n');
            }
        }
    }
    out.bytes += "q\n\n";
    out.position = out.bytes.size();
    return true;
}

// Prints a line's bytes; gives their number.
uint32_t dump_line(printer_t& out, text_t line, uint32_t address) {
    print(out, " %04lX : ", address);
    uint32_t count = 0;
    for (; count < bytes_per_line; ++count) {
        const uint32_t byte = hex_byte(line, 3 * count);
        if (byte > 0xFF) {
            break;
        }
        print(out, " %02X", byte);
    }
    put_text(out, "\n");
    return count;
}

bool titxt_dump(run_t& run, input_t& in) {
    put_text(run.out, "TI-.txt file dump:\n\n");
    uint32_t address = 0;
    text_t line;
    while (read_line(in, line, line_limit) && line[0] != 'q') {
        if (line[0] == '@') {
            address = hex_word(line, 1) & 0xFFFF;
        } else if (is_hex(line, 0)) {
            address += dump_line(run.out, line, address);
        }
    }
    return true;
}

} // namespace

const format_t titxt_format = {titxt_probe, titxt_read, titxt_write, titxt_dump, "TI-.TXT", "titxt", "txt", false};

} // namespace tavrel
