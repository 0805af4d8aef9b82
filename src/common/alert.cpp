#include "common/alert.h"

#include <utility>

namespace tavrel {
namespace {

constexpr const char* no_description = "An error, warning or message was generated, but no description is available";

void show(messages_t& messages, text_t text) {
    std::string line;
    if (messages.has_context) {
        line = messages.context + ": ";
    }
    line.append(text).append("\n");
    error_print_text(messages, line);
}

void count_error(messages_t& messages) {
    if (messages.error_count++ >= messages.error_limit) {
        show(messages, format_text("too many errors (%u)", messages.error_count));
        throw end_of_run_t{1};
    }
}

} // namespace

void error_print_text(messages_t& messages, text_t text) {
    if (messages.sink) {
        messages.sink(text);
    }
}

void alert_list(messages_t& messages, uint32_t number, std::span<const print_arg_t>) {
    show(messages, format_text("(%u) %s", number, no_description));
    count_error(messages);
}

bool alert_text_list(messages_t& messages, text_t severity, text_t format, std::span<const print_arg_t> args) {
    std::string text;
    print_list(text, format, args);
    const char letter = severity.empty() ? 'W' : static_cast<char>(severity[0] | 0x20);
    if (letter == 'e') {
        count_error(messages);
    }
    show(messages,
         (letter == 'm' ? "" : "(0) ") + text + (letter == 'e' || letter == 'f' || letter == 'm' ? "" : " (warning)"));
    if (letter == 'f') {
        throw end_of_run_t{1};
    }
    return true;
}

int set_warning_level(messages_t& messages, int level) { return std::exchange(messages.warn_level, level); }

uint32_t set_error_limit(messages_t& messages, uint32_t limit) { return std::exchange(messages.error_limit, limit); }

void set_context(messages_t& messages, text_t name) {
    messages.context = name;
    messages.has_context = true;
}

bool load_description_file(messages_t&, const std::string*) { return false; }

void disable_messages(messages_t&, text_t) {}

int exit_status(const messages_t& messages) {
    return messages.error_count != 0 || (messages.warn_as_error && messages.warning_count != 0) ? 1 : 0;
}

} // namespace tavrel
