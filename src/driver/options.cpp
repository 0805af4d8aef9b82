#include "driver/options.h"

#include <algorithm>

#include "common/installation.h"
#include "driver/formats.h"

namespace tavrel {
namespace {

constexpr size_t name_limit = 128; // of inputs, and of outputs; the last one is not usable
constexpr size_t code_space_limit = 64;
constexpr size_t processor_name_limit = 127;
constexpr size_t processor_arg_limit = 258;

constexpr const char* usage_text =
    "TAVREL: the symbol file reformatter\nUsage: tavrel [options] input_files ... -okey [-okey ... ] output_file\n"
    "Options:\n\t-v:\tverbose\n\t-d:\tdump input file\n\t-c:\tidentify input files only\n"
    "\t-f:\tfake local symbols as globals\n\t-k:\tfake variable redefinitions with inner blocks\n"
    "\t-okey:\tset output format\n\t-ikey:\tset input format\n\t-l:\tlist available formats\n"
    "\t-b:\tspecify big-endian byte ordering\n\t-m:\tstrip underscore character\n\t-e:\tstrip file extensions\n"
    "\t-pname:\tset processor name\n\nThe output file type is required.\n"
    "The input file type(s) will be auto-detected if not specified.\n";

// A message that must end the run, also when its description lets it come back.
template <class... A>
[[noreturn]] void refuse(run_t& run, uint32_t number, const A&... args) {
    alert(run, number, args...);
    end_run(run);
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// The pieces between commas, empty ones too.
std::vector<std::string> split_at_commas(text_t list) {
    std::vector<std::string> pieces;
    for (size_t at = 0;;) {
        const size_t comma = list.find(',', at);
        pieces.emplace_back(list.substr(at, comma - at));
        if (comma == text_t::npos) {
            return pieces;
        }
        at = comma + 1;
    }
}

// The format number that a key means. An exact match beats an abbreviation only if no ambiguity came before it.
uint32_t find_key(run_t& run, text_t key) {
    if (key.empty()) {
        refuse(run, 602);
    }
    uint32_t found = 0;
    uint32_t number = 0;
    for (const format_t* const row : format_table()) {
        ++number;
        const text_t name = row->key;
        if (name == key) {
            return number;
        }
        if (name.substr(0, key.size()) == key) {
            if (found != 0) {
                refuse(run, 603, key);
            }
            found = number;
        }
    }
    if (found == 0) {
        refuse(run, 604, key);
    }
    return found;
}

void take_name(run_t& run, options_t& options, const std::string& name) {
    if (!options.outputs.empty()) {
        options.outputs.back().has_name = true;
        options.outputs.back().name = name;
        return;
    }
    if (options.inputs.size() + 1 >= name_limit) {
        refuse(run, 611);
    }
    options.inputs.push_back(name);
}

void add_output(run_t& run, options_t& options, text_t key) {
    const uint32_t format = find_key(run, key);
    for (const output_request_t& output : options.outputs) {
        if (output.format == format) {
            return;
        }
    }
    if (options.outputs.size() + 1 >= name_limit) {
        refuse(run, 612);
    }
    options.outputs.push_back({format, false, {}});
}

void set_processor(run_t& run, text_t value) {
    if (value.empty()) {
        alert(run, 609);
        return;
    }
    std::vector<std::string> pieces = split_at_commas(value);
    run.processor_name = pieces.front().substr(0, processor_name_limit);
    pieces.erase(pieces.begin());
    if (pieces.size() > processor_arg_limit) {
        pieces.resize(processor_arg_limit);
    }
    run.processor_args = std::move(pieces);
}

void add_code_spaces(run_t& run, text_t value) {
    if (value.empty()) {
        alert(run, 610);
        return;
    }
    for (std::string& piece : split_at_commas(value)) {
        if (run.code_spaces.size() >= code_space_limit) {
            refuse(run, 1300);
        }
        run.code_spaces.push_back(std::move(piece));
    }
}

void set_warnings(run_t& run, const std::string& arg) {
    if (arg.find('!') != std::string::npos) {
        run.messages.warn_as_error = true;
    }
    const text_t value = text_t(arg).substr(2);
    if (value.empty() || (!is_digit(value[0]) && value[0] != '-')) {
        alert(run, 393);
        return;
    }
    const int32_t level = parse_int(value);
    if (level <= -10) {
        alert(run, 523, level);
        return;
    }
    set_warning_level(run.messages, level);
}

// Messages go to a file from here on. One that cannot be opened loses them; the run goes on.
void set_message_file(run_t& run, text_t name) {
    int error = 0;
    run.messages.sink = run.host.append_file(std::string(name), error);
    if (!run.messages.sink) {
        run.messages.system_error = error;
    }
    run.messages.msg_style = 1;
}

void set_extensions(run_t& run, text_t value) {
    if (value.empty()) {
        run.model.strip_extensions = true;
    } else if (value.size() == 1 && is_digit(value[0])) {
        run.messages.msg_style = value[0] - '0';
    } else {
        set_message_file(run, value);
    }
}

void set_pathspec(run_t& run, text_t value) {
    std::vector<std::string> pieces = split_at_commas(value);
    pieces.resize(2);
    run.has_path_from = !pieces[0].empty();
    run.has_path_to = !pieces[1].empty();
    if (!run.has_path_from || !run.has_path_to) {
        run.has_path_from = run.has_path_to = false;
        run.path_from.clear();
        run.path_to.clear();
        alert(run, 608);
        return;
    }
    run.path_from = pieces[0];
    run.path_to = pieces[1];
}

void load_descriptions(run_t& run, const std::string& path) {
    if (!load_description_file(run.messages, &path)) {
        error_print(run, "Could not open error description file %s\n", path);
    }
}

// True, with the value, if the name behind `--` begins so, case ignored.
bool is_long_option(text_t arg, text_t prefix, text_t& value) {
    if (!str_iequal(arg.substr(0, prefix.size()), prefix)) {
        return false;
    }
    value = arg.substr(prefix.size());
    return true;
}

void parse_long_option(run_t& run, text_t arg) {
    text_t value;
    if (is_long_option(arg, "edf=", value)) {
        load_descriptions(run, std::string(value));
    } else if (is_long_option(arg, "emax=", value)) {
        set_error_limit(run.messages, static_cast<uint32_t>(parse_int(value)));
    } else if (is_long_option(arg, "msgdisable=", value)) {
        disable_messages(run.messages, value);
    } else if (str_iequal(arg, "ver")) {
        print_banner(run.out);
        throw end_of_run_t{0};
    } else {
        const size_t equals = arg.find('=');
        if (str_iequal(arg.substr(0, equals), "pathspec")) {
            set_pathspec(run, equals == text_t::npos ? text_t("") : arg.substr(equals + 1));
        }
    }
}

[[noreturn]] void list_formats(run_t& run) {
    std::string text = "Formats available are:\n\nKey        Name\n\n";
    for (const format_t* const row : format_table()) {
        print(text, "%-10s %s\n", row->key, row->name);
    }
    error_print_text(run.messages, text + "\nKeys may be unambiguously abbreviated.\n");
    throw end_of_run_t{0};
}

[[noreturn]] void show_usage(run_t& run) {
    error_print_text(run.messages, usage_text);
    throw end_of_run_t{1};
}

} // namespace

int32_t parse_int(text_t text) {
    size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) {
        ++at;
    }
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        ++at;
    }
    int64_t value = 0;
    for (; at < text.size() && is_digit(text[at]); ++at) {
        value = std::min<int64_t>(value * 10 + (text[at] - '0'), int64_t(1) << 31);
    }
    return static_cast<int32_t>(std::clamp<int64_t>(negative ? -value : value, INT32_MIN, INT32_MAX));
}

options_t parse_options(run_t& run, const std::vector<std::string>& args) {
    options_t options;
    for (size_t k = 0; k < args.size(); ++k) {
        const std::string& arg = args[k];
        if (arg.empty() || arg[0] != '-') {
            take_name(run, options, arg);
            continue;
        }
        const text_t value = arg.size() > 2 ? text_t(arg).substr(2) : text_t("");
        switch (arg.size() > 1 ? lower(arg[1]) : '\0') {
        case '-': parse_long_option(run, value); break;
        case 'v': ++run.verbose; break;
        case 'c':
            run.identify_only = true;
            ++run.verbose;
            break;
        case 'd': run.dump_mode = true; break;
        case 'b': run.big_endian = 1; break;
        case 'f': run.fake_locals = true; break;
        case 'k': run.fake_blocks = true; break;
        case 'm': run.strip_underscore = true; break;
        case 'e': set_extensions(run, value); break;
        case 'i': options.input_format = find_key(run, value); break;
        case 'o':
            if (value.empty() && k + 1 < args.size() && (args[k + 1].empty() || args[k + 1][0] != '-')) {
                add_output(run, options, args[++k]);
            } else {
                add_output(run, options, value);
            }
            break;
        case 'l': list_formats(run);
        case 'h': show_usage(run);
        case 'p': set_processor(run, value); break;
        case 'n': add_code_spaces(run, value); break;
        case 'w': set_warnings(run, arg); break;
        default:
            error_print_text(run.messages, format_text("Unrecognized option '%s'", arg) + usage_text);
            throw end_of_run_t{1};
        }
    }
    return options;
}

} // namespace tavrel
