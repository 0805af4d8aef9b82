#include "common/alert.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <utility>

#include "common/alert_file.h"
#include "common/message_numbers.h"
#include "common/osdep.h"
#include "common/registry.h"

namespace tavrel {
namespace {

constexpr size_t text_limit = 511;  // characters of a message's text
constexpr size_t line_limit = 8191; // of a line, without the newline
constexpr int unnumbered_level = 10;
constexpr text_t english_file = "en_msgs.txt";
constexpr text_t default_file = "..\\dat\\en_msgs.txt";
constexpr text_t no_description = "An error, warning or message was generated, but no description is available";

enum override_t : uint8_t { OVERRIDE_HIDE = 1, OVERRIDE_OFF = 4 };

// ---- showing

// One line in the making. `text` holds its arguments already.
struct shown_t {
    msg_kind_t kind;
    uint32_t number;
    std::string text;
    int system_error;
};

std::string from_environment(const messages_t& messages, const char* name, text_t otherwise) {
    const auto value = messages.host == nullptr ? std::nullopt : messages.host->environment(name);
    return value ? *value : std::string(otherwise);
}

void read_formats(messages_t& messages) {
    if (!messages.formats_read) {
        messages.formats_read = true;
        messages.error_format = from_environment(messages, "NVS_ERR_FORMAT", "%f: %l: (%n) %s (error)");
        messages.warning_format = from_environment(messages, "NVS_WARN_FORMAT", "%f: %l: (%n) %s (warning)");
        messages.message_format = from_environment(messages, "NVS_MSG_FORMAT", "%f: %l: %s");
    }
}

std::string system_text(int system_error) { return system_error == 0 ? std::string() : error_text(system_error); }

// The text with each `%m` replaced by the system's words (whose own `%`, if any, stay what they are).
std::string with_system_text(text_t text, int system_error) {
    std::string result;
    if (text.find("%m") == text_t::npos) {
        return result.append(text);
    }
    for (size_t percent = text.find('%'); percent != text_t::npos; percent = text.find('%')) {
        const text_t conversion = text.substr(percent, 2);
        result.append(text.substr(0, percent));
        if (conversion != "%m") {
            result.append(conversion);
        } else {
            for (const char c : system_text(system_error)) {
                result.append(c == '%' ? 2 : 1, c);
            }
        }
        text.remove_prefix(percent + conversion.size());
    }
    return result.append(text);
}

std::string message_text(text_t text, std::span<const print_arg_t> args, int system_error) {
    std::string result;
    print_list(result, with_system_text(text, system_error), args, text_limit);
    return result;
}

bool looks_like_warning(msg_kind_t kind) { return kind == MSG_WARNING || kind == MSG_UNKNOWN; }

std::string plain_line(const messages_t& messages, const shown_t& shown) {
    std::string line;
    if (messages.has_context) {
        line.append(messages.context).append(": ");
    }
    if (messages.line != nullptr) {
        print(line, "%d: ", *messages.line);
    }
    if (shown.kind != MSG_PLAIN) {
        print(line, "(%u) ", shown.number);
    }
    line.append(shown.text);
    if (looks_like_warning(shown.kind)) {
        line.append(" (warning)");
    }
    return line;
}

void put_format_conversion(std::string& line, char letter, const messages_t& messages, const shown_t& shown) {
    switch (letter) {
    case 'f': line.append(messages.context); return;
    case 'l':
        if (messages.line != nullptr) {
            print(line, "%d", *messages.line);
        }
        return;
    case 'c':
        if (messages.column != nullptr) {
            print(line, "%d",
                  int64_t(*messages.column) - (messages.column_base == nullptr ? 0 : *messages.column_base));
        }
        return;
    case 'n': print(line, "%u", shown.number); return;
    case 's': line.append(shown.text); return;
    case 'a': line.append("tavrel"); return;
    case 'm': line.append(system_text(shown.system_error)); return;
    default: line.push_back(letter); return;
    }
}

std::string formatted_line(const messages_t& messages, const shown_t& shown) {
    const std::string& format = shown.kind == MSG_PLAIN          ? messages.message_format
                                : looks_like_warning(shown.kind) ? messages.warning_format
                                                                 : messages.error_format;
    std::string line;
    for (size_t at = 0; at < format.size() && line.size() < line_limit; ++at) {
        if (format[at] != '%') {
            line.push_back(format[at]);
        } else if (++at < format.size()) {
            put_format_conversion(line, format[at], messages, shown);
        }
    }
    return line;
}

void show(messages_t& messages, const shown_t& shown) {
    read_formats(messages);
    std::string line = messages.msg_style == 0 ? plain_line(messages, shown) : formatted_line(messages, shown);
    line.resize(std::min(line.size(), line_limit));
    line.push_back('\n');
    error_print_text(messages, line);
}

// A report that no description file can change.
template <class... A>
void report(messages_t& messages, msg_kind_t kind, text_t format, const A&... args) {
    const print_arg_t list[] = {print_arg_t(args)...};
    show(messages, {kind, 0, message_text(format, list, 0), messages.system_error});
}

constexpr text_t too_many_errors = "too many errors (%u)";

// ---- description files

// `name` is the file's name in messages, `path` what the host opens. Gives the system's error number.
int load_table(messages_t& messages, text_t name, const std::string& path, std::vector<msg_t>& table) {
    std::string bytes;
    if (const int error = messages.host->read_file(path, bytes); error != 0) {
        return error;
    }
    table.clear();
    read_descriptions(bytes, table, [&](uint32_t line) {
        report(messages, MSG_PLAIN, "Malformed error information on line %u, in file %s\n", line, name);
    });
    return 0;
}

// The file that the environment names, by the name in messages and the path to open.
struct named_file_t {
    std::string name, path;
};

named_file_t environment_file(const messages_t& messages) {
    const auto set = messages.host->environment("NVS_ERR_FILE");
    return set ? named_file_t{*set, *set} : named_file_t{std::string(default_file), host_path(default_file)};
}

text_t installed_file(messages_t& messages, text_t name) {
    return install_path(messages.installation, *messages.host, INSTALL_DAT, name);
}

// The file in the user's language, else the environment's.
void find_description_file(messages_t& messages) {
    uint32_t language = language_default;
    if (settings_read_number(*messages.host, "language", language) != 0) {
        language = language_default;
    }
    const text_t name = cache_format(messages.installation.strings, "%s_msgs.txt", language_short_name(language));
    const text_t path = installed_file(messages, name);
    if (!is_none(path) && load_table(messages, path, host_path(path), messages.msg_table) == 0) {
        messages.table_loaded = true;
        return;
    }
    const named_file_t file = environment_file(messages);
    messages.table_loaded = load_table(messages, file.name, file.path, messages.msg_table) == 0;
}

// A file that could not be found is looked for again by the next numbered message.
void look_for_description_file(messages_t& messages) {
    messages.initialised = true;
    if (!messages.table_loaded && messages.host != nullptr) {
        find_description_file(messages);
    }
}

void initialise(messages_t& messages) {
    if (!messages.initialised) {
        look_for_description_file(messages);
    }
}

const msg_t* find_in(const std::vector<msg_t>& table, uint32_t number) {
    return number < table.size() && table[number].described ? &table[number] : nullptr;
}

const msg_t* find_fallback(messages_t& messages, uint32_t number) {
    if (!messages.fallback_tried && messages.host != nullptr) {
        messages.fallback_tried = true;
        const text_t path = installed_file(messages, english_file);
        if (!is_none(path)) {
            load_table(messages, path, host_path(path), messages.msg_fallback);
        }
    }
    return find_in(messages.msg_fallback, number);
}

// ---- severities

bool is_suppressed(const messages_t& messages, uint32_t number, msg_kind_t kind, int level) {
    switch (number < messages.msg_overrides.size() ? messages.msg_overrides[number] : 0) {
    case OVERRIDE_HIDE:
        if (kind == MSG_WARNING || kind == MSG_PLAIN) {
            return true;
        }
        break;
    case OVERRIDE_OFF:
        if (kind != MSG_FATAL) {
            return true;
        }
        break;
    default: break;
    }
    return kind == MSG_WARNING && level < messages.warn_level;
}

void count_shown(messages_t& messages, msg_kind_t kind) {
    switch (kind) {
    case MSG_FATAL: throw end_of_run_t{1};
    case MSG_ERROR:
        if (messages.error_count++ >= messages.error_limit) {
            report(messages, MSG_PLAIN, too_many_errors, messages.error_count);
            throw end_of_run_t{1};
        }
        return;
    case MSG_WARNING: ++messages.warning_count; return;
    default: return;
    }
}

// The number in front of a text; 0 stands for numbers that no message has.
struct leading_number_t {
    bool found = false;
    int64_t value = 0;
    text_t rest;
};

leading_number_t leading_number(text_t text) {
    leading_number_t result;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+') && !text.substr(1).starts_with('-')) {
        text.remove_prefix(1);
    }
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, result.value);
    result.found = error != std::errc::invalid_argument;
    if (error == std::errc::result_out_of_range) {
        result.value = text.starts_with('-') ? INT64_MIN : INT64_MAX;
    }
    result.rest = text_t(stop, static_cast<size_t>(end - stop));
    return result;
}

msg_kind_t kind_of_letter(text_t severity) {
    switch (severity.empty() ? 0 : severity[0]) {
    case 'f':
    case 'F': return MSG_FATAL;
    case 'e':
    case 'E': return MSG_ERROR;
    case 'm':
    case 'M': return MSG_PLAIN;
    default: return MSG_UNKNOWN;
    }
}

int level_of(text_t severity) {
    const size_t digit = severity.starts_with('-') ? 1 : 0;
    if (severity.size() <= digit || severity[digit] < '0' || severity[digit] > '9') {
        return unnumbered_level;
    }
    return static_cast<int>(std::clamp<int64_t>(leading_number(severity).value, INT32_MIN, INT32_MAX));
}

void set_override(messages_t& messages, int64_t number, override_t value) {
    if (number < 0 || number >= msg_number_limit) {
        return;
    }
    messages.msg_overrides.resize(msg_number_limit, 0);
    messages.msg_overrides[static_cast<size_t>(number)] = value;
}

// True for ":off" in any case at the beginning.
bool begins_with_off(text_t text) {
    constexpr text_t off = ":off";
    return text.size() >= off.size() &&
           std::equal(off.begin(), off.end(), text.begin(), [](char a, char b) { return a == (b | 0x20); });
}

// True if a call passes what its row promises to the texts; numbers without a row take anything.
[[maybe_unused]] bool fits_row(uint32_t number, std::span<const print_arg_t> args) {
    const auto* const row = std::ranges::find(message_rows, number, &message_row_t::number);
    if (row == std::end(message_rows)) {
        return true;
    }
    const text_t kinds = row->args;
    return kinds.size() <= args.size() &&
           std::equal(kinds.begin(), kinds.end(), args.begin(),
                      [](char kind, const print_arg_t& arg) { return arg.is_text == (kind == 's'); });
}

} // namespace

void error_print_text(messages_t& messages, text_t text) {
    if (messages.sink) {
        messages.sink(text);
    }
}

void alert_list(messages_t& messages, uint32_t number, std::span<const print_arg_t> args) {
    assert(fits_row(number, args));
    look_for_description_file(messages);
    const msg_t* message = find_in(messages.msg_table, number);
    if (message == nullptr) {
        message = find_fallback(messages, number);
    }
    const msg_kind_t kind = message == nullptr ? MSG_ERROR : message->kind;
    if (is_suppressed(messages, number, kind, message == nullptr ? 0 : message->level)) {
        return;
    }
    const text_t text = message == nullptr ? no_description : text_t(message->text);
    show(messages, {kind, number, message_text(text, args, messages.system_error), messages.system_error});
    count_shown(messages, kind);
}

bool alert_text_list(messages_t& messages, text_t severity, text_t format, std::span<const print_arg_t> args) {
    initialise(messages);
    const msg_kind_t kind = kind_of_letter(severity);
    if (kind == MSG_ERROR && messages.error_count++ >= messages.error_limit) {
        report(messages, MSG_ERROR, too_many_errors, messages.error_count);
        throw end_of_run_t{1};
    }
    if (kind != MSG_FATAL && level_of(severity) < messages.warn_level) {
        return false;
    }
    show(messages, {kind, 0, message_text(format, args, messages.system_error), messages.system_error});
    if (kind == MSG_FATAL) {
        throw end_of_run_t{1};
    }
    return true;
}

int set_warning_level(messages_t& messages, int level) { return std::exchange(messages.warn_level, level); }

uint32_t set_error_limit(messages_t& messages, uint32_t limit) {
    initialise(messages);
    return std::exchange(messages.error_limit, limit);
}

void set_context(messages_t& messages, text_t name, const int* line, const int* column_base, const int* column) {
    messages.context = name;
    messages.has_context = !is_none(name);
    messages.line = line;
    messages.column_base = column_base;
    messages.column = column;
}

bool load_description_file(messages_t& messages, const std::string* path) {
    const named_file_t file = path == nullptr ? environment_file(messages) : named_file_t{*path, *path};
    if (const int error = load_table(messages, file.name, file.path, messages.msg_table); error != 0) {
        messages.system_error = error;
        return false;
    }
    messages.table_loaded = true;
    return true;
}

void disable_messages(messages_t& messages, text_t list) {
    if (list.starts_with('0')) {
        initialise(messages);
        for (size_t number = 0; number < messages.msg_table.size(); ++number) {
            if (messages.msg_table[number].described && messages.msg_table[number].kind == MSG_WARNING) {
                set_override(messages, static_cast<int64_t>(number), OVERRIDE_HIDE);
            }
        }
        return;
    }
    while (!list.empty()) {
        const text_t entry = list.substr(0, list.find(','));
        list.remove_prefix(std::min(entry.size() + 1, list.size()));
        if (const leading_number_t number = leading_number(entry); number.found) {
            set_override(messages, number.value, begins_with_off(number.rest) ? OVERRIDE_OFF : OVERRIDE_HIDE);
        }
    }
}

int exit_status(const messages_t& messages) {
    return messages.error_count != 0 || (messages.warn_as_error && messages.warning_count != 0) ? 1 : 0;
}

} // namespace tavrel
