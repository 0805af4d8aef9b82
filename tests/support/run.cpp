#include "support/run.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "driver/run.h"

namespace tavrel::testing {

result_t run_program(const std::vector<std::string>& args, const files_t& files, const files_t& variables) {
    memory_files_t memory;
    memory.files = files;
    memory.variables = variables;
    memory.variables.try_emplace("SOURCE_DATE_EPOCH", "0");
    const host_t host = memory_host(memory);
    result_t result;
    result.status = tavrel_run(args, host);
    result.out = memory.out;
    result.err = memory.err;
    result.files = memory.files;
    return result;
}

std::string bytes(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == ';') {
            at = std::min(text.find('\n', at), text.size());
        } else if (c == '"') {
            const size_t end = text.find('"', at + 1);
            result.append(text.substr(at + 1, end - at - 1));
            at = end;
        } else if (c != ' ' && c != '\n') {
            result.push_back(static_cast<char>(std::stoi(std::string(text.substr(at, 2)), nullptr, 16)));
            ++at;
        }
    }
    return result;
}

std::string hex(std::string_view bytes) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string result;
    for (size_t at = 0; at < bytes.size(); ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        result.push_back(digits[byte >> 4]);
        result.push_back(digits[byte & 15]);
        result.push_back(at % 16 == 15 ? '\n' : ' ');
    }
    return result;
}

std::string source_file(const std::string& path) {
    std::ifstream file(std::string(TAVREL_SOURCE_DIR) + "/" + path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace tavrel::testing
