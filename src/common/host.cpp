#include "common/host.h"

#include <cstdlib>

namespace tavrel {
namespace {

// SOURCE_DATE_EPOCH as a number, if it is set to one.
std::optional<int64_t> fixed_time(const host_t& host) {
    const auto text = host.environment ? host.environment("SOURCE_DATE_EPOCH") : std::nullopt;
    if (!text || text->empty()) {
        return std::nullopt;
    }
    char* end = nullptr;
    const long long value = std::strtoll(text->c_str(), &end, 10);
    return *end == '\0' ? std::optional<int64_t>(value) : std::nullopt;
}

} // namespace

int64_t now(const host_t& host) {
    const auto fixed = fixed_time(host);
    return fixed ? *fixed : host.present_time();
}

std::tm now_calendar(const host_t& host) {
    const auto fixed = fixed_time(host);
    const auto seconds = static_cast<std::time_t>(fixed ? *fixed : host.present_time());
    const std::tm* const parts = fixed ? std::gmtime(&seconds) : std::localtime(&seconds);
    return parts == nullptr ? std::tm{} : *parts;
}

std::string date_text(uint32_t seconds) {
    const auto value = static_cast<std::time_t>(seconds);
    const char* const text = std::ctime(&value);
    return text == nullptr ? std::string("\n") : std::string(text);
}

// ---- memory_host

host_t memory_host(memory_files_t& files) {
    constexpr int no_such_file = 2;
    host_t host;
    host.read_file = [&files](const std::string& path, std::string& bytes) {
        const auto found = files.files.find(path);
        if (found == files.files.end()) {
            return no_such_file;
        }
        bytes = found->second;
        return 0;
    };
    const auto append = [&files](const std::string& path) -> sink_t {
        return [&files, path](std::string_view bytes) {
            files.files[path].append(bytes);
            return bytes.size();
        };
    };
    host.create_file = [&files, append](const std::string& path, int&) {
        files.files[path].clear();
        return append(path);
    };
    host.append_file = [append](const std::string& path, int&) { return append(path); };
    host.read_input_line = [&files, at = size_t(0)](std::string& line) mutable {
        const size_t newline = files.input.find('\n', at);
        line = files.input.substr(at, newline == std::string::npos ? newline : newline - at + 1);
        at += line.size();
        return !line.empty();
    };
    host.out = [&files](std::string_view bytes) {
        files.out.append(bytes);
        return bytes.size();
    };
    host.err = [&files](std::string_view bytes) {
        files.err.append(bytes);
        return bytes.size();
    };
    host.environment = [&files](const char* name) -> std::optional<std::string> {
        const auto found = files.variables.find(name);
        return found == files.variables.end() ? std::nullopt : std::optional(found->second);
    };
    host.present_time = [&files] { return files.time; };
    return host;
}

} // namespace tavrel
