#include "model/run.h"

#include <algorithm>

namespace tavrel {

void end_run(run_t&) { throw end_of_run_t{1}; }

void progress_text(run_t& run, const std::string& text) {
    flush(run.out);
    error_print_text(run.messages, "==> " + text + "\n");
}

void dump_bytes(printer_t& out, uint32_t address, uint32_t per_line, std::span<const uint8_t> bytes,
                text_t address_format, bool with_text) {
    for (size_t at = 0; at < bytes.size(); at += per_line) {
        const auto line = bytes.subspan(at, std::min<size_t>(per_line, bytes.size() - at));
        print(out, address_format, address);
        for (const uint8_t byte : line) {
            print(out, " %02X", byte);
        }
        address += static_cast<uint32_t>(line.size());
        if (with_text) {
            out.text.append(3 * (per_line - line.size()) + 1, ' ');
            for (const uint8_t byte : line) {
                out.text.push_back(byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.');
            }
        }
        put_text(out, "\n");
    }
}

std::string apply_pathspec(const run_t& run, text_t path) {
    std::string result(path);
    if (run.has_path_from && run.has_path_to) {
        if (const size_t at = result.find(run.path_from); at != std::string::npos) {
            result.replace(at, run.path_from.size(), run.path_to);
        }
    }
    return result;
}

bool is_code_space_name(const run_t& run, text_t name) {
    return std::find(run.code_spaces.begin(), run.code_spaces.end(), name) != run.code_spaces.end();
}

} // namespace tavrel
