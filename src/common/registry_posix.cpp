// Settings in text files, for hosts without a registry.
#ifndef _WIN32

#include <charconv>
#include <optional>

#include "common/registry.h"

namespace tavrel {
namespace {

constexpr const char* system_settings = "/etc/tavrel/settings";

text_t trimmed(text_t text) {
    constexpr const char* blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    return first == text_t::npos ? text.substr(0, 0) : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The user's own file; empty if nothing says where it would be.
std::string user_settings(const host_t& host) {
    const auto config = host.environment("XDG_CONFIG_HOME");
    if (config && config->starts_with('/')) { // others are void by convention
        return *config + "/tavrel/settings";
    }
    const auto home = host.environment("HOME");
    return home && !home->empty() ? *home + "/.config/tavrel/settings" : std::string();
}

std::optional<std::string> read_setting(const host_t& host, const std::string& path, text_t name) {
    std::string bytes;
    if (path.empty() || host.read_file(path, bytes) != 0) {
        return std::nullopt;
    }
    for (text_t rest = bytes; !rest.empty();) {
        const text_t line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const size_t equals = line.find('=');
        if (equals != text_t::npos && trimmed(line.substr(0, equals)) == name) {
            return std::string(trimmed(line.substr(equals + 1)));
        }
    }
    return std::nullopt;
}

std::optional<std::string> find_setting(const host_t& host, text_t name) {
    auto value = read_setting(host, user_settings(host), name);
    return value ? value : read_setting(host, system_settings, name);
}

} // namespace

int settings_read_number(const host_t& host, const char* name, uint32_t& number) {
    const auto text = find_setting(host, name);
    if (!text) {
        return settings_missing;
    }
    uint32_t value = 0;
    const char* const end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc() || stop != end) {
        return settings_wrong_kind;
    }
    number = value;
    return 0;
}

bool settings_read_instdir(const host_t& host, std::string& path) {
    const auto text = find_setting(host, "instdir");
    if (!text || text->empty()) {
        return false;
    }
    path = *text;
    return true;
}

} // namespace tavrel

#endif
