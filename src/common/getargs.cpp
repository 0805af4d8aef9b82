#include "common/getargs.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr uint32_t line_buffer_size = 8192; // a line that does not fit with its newline draws a warning
constexpr size_t word_limit = 255;

// Cuts text into words; knows where it stands from one line to the next.
struct word_cutter_t {
    messages_t& messages;
    std::vector<std::string> words = {};
    std::string word = {};
    bool in_word = false;
    char quote = 0;         // the open quotation's character
    bool continued = false; // the line just read goes on with the next one
};

void end_word(word_cutter_t& cutter) {
    if (cutter.in_word) {
        cutter.words.push_back(std::move(cutter.word));
        cutter.word.clear();
        cutter.in_word = false;
    }
}

void add_character(word_cutter_t& cutter, char c) {
    cutter.in_word = true;
    if (cutter.word.size() == word_limit) {
        alert_list(cutter.messages, 917, {});
        throw end_of_run_t{1};
    }
    cutter.word.push_back(c);
}

void cut_character(word_cutter_t& cutter, char c) {
    if (cutter.quote != 0) {
        if (c == cutter.quote) {
            cutter.quote = 0;
        } else {
            add_character(cutter, c);
        }
    } else if (c == '\'' || c == '"') {
        cutter.quote = c;
        cutter.in_word = true; // also without a character in it
    } else if (c == ' ' || c == '\t' || c == '\n') {
        end_word(cutter);
    } else {
        add_character(cutter, c);
    }
}

// Takes off a backslash in front of the end of the line, and the end with it.
bool take_continuation(text_t& line) {
    text_t text = line;
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    if (!text.ends_with('\\')) {
        return false;
    }
    line = text.substr(0, text.size() - 1);
    return true;
}

// Cuts a whole line, as it comes through the line buffer: a buffer full without a newline draws its warning before the
// words in it are looked at.
void cut_line(word_cutter_t& cutter, text_t line) {
    text_t words = line;
    cutter.continued = take_continuation(words);
    constexpr size_t piece = line_buffer_size - 1;
    for (size_t at = 0; at < line.size(); at += piece) {
        const text_t buffer = line.substr(at, piece);
        if (buffer.size() == piece && !buffer.ends_with('\n')) {
            const print_arg_t size[] = {line_buffer_size};
            alert_list(cutter.messages, 337, size);
        }
        for (const char c : words.substr(std::min(at, words.size()), piece)) {
            cut_character(cutter, c);
        }
    }
}

} // namespace

std::vector<std::string> getargs(messages_t& messages, const std::function<bool(std::string&)>& read_line,
                                 bool terminal, text_t prompt) {
    word_cutter_t cutter{messages};
    std::string line;
    do {
        if (terminal) {
            error_print_text(messages, prompt);
        }
        if (!read_line(line)) {
            break;
        }
        cut_line(cutter, line);
    } while (cutter.continued || !terminal);
    end_word(cutter);
    return std::move(cutter.words);
}

} // namespace tavrel
