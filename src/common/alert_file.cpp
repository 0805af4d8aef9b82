#include "common/alert_file.h"

#include <charconv>

namespace tavrel {
namespace {

constexpr text_t blanks = " \t";

text_t take_line(text_t& rest) {
    text_t line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(line.size() < rest.size() ? line.size() + 1 : line.size());
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

// The field in front, with the blanks behind it taken off, too.
text_t take_field(text_t& rest) {
    const text_t field = rest.substr(0, rest.find_first_of(blanks));
    rest.remove_prefix(field.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
    return field;
}

bool read_number(text_t field, uint32_t& number) {
    const char* const end = field.data() + field.size();
    const auto [stop, error] = std::from_chars(field.data(), end, number);
    return error == std::errc() && stop == end && number < msg_number_limit;
}

int read_level(text_t field) {
    int level = 0;
    if (std::from_chars(field.data(), field.data() + field.size(), level).ec == std::errc::result_out_of_range) {
        level = field[0] == '-' ? INT32_MIN : INT32_MAX;
    }
    return level;
}

// Gives false for a letter that stands for nothing.
bool read_severity(text_t field, msg_t& message) {
    message.level = 0;
    switch (field[0]) {
    case 'f':
    case 'F': message.kind = MSG_FATAL; return true;
    case 'e':
    case 'E': message.kind = MSG_ERROR; return true;
    case 'm':
    case 'M': message.kind = MSG_PLAIN; return true;
    default: break;
    }
    const bool is_level = field[0] == '-' || (field[0] >= '0' && field[0] <= '9');
    message.kind = is_level ? MSG_WARNING : MSG_UNKNOWN;
    message.level = is_level ? read_level(field) : 0;
    return is_level;
}

// Gives false for a line with something missing or strange.
bool read_description(text_t line, std::vector<msg_t>& table) {
    uint32_t number = 0;
    const bool numbered = read_number(take_field(line), number);
    const text_t severity = take_field(line);
    if (!numbered || severity.empty() || line.empty()) {
        return false;
    }
    if (table.size() <= number) {
        table.resize(number + 1);
    }
    msg_t& message = table[number];
    message.described = true;
    message.text = line;
    return read_severity(severity, message);
}

} // namespace

void read_descriptions(text_t bytes, std::vector<msg_t>& table, const std::function<void(uint32_t line)>& malformed) {
    for (uint32_t number = 1; !bytes.empty(); ++number) {
        const text_t line = take_line(bytes);
        if (!line.starts_with('#') && !read_description(line, table)) {
            malformed(number);
        }
    }
}

} // namespace tavrel
