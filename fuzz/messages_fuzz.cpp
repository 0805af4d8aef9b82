// Description files, format strings and argument lists from hostile hands. The input is cut at bytes of 0: the look, a
// description file, a format string, the list of --msgdisable=, an argument list.
#include <cstdlib>
#include <string>
#include <vector>

#include "common/getargs.h"
#include "common/message_numbers.h"
#include "model/run.h"

namespace {

using namespace tavrel;

std::string take_part(text_t& rest) {
    const text_t part = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    return std::string(part);
}

// Raises a message of each kind of arguments; no line may be longer than lines are.
void raise_all(run_t& run) {
    for (const message_row_t& row : message_rows) {
        std::vector<print_arg_t> args;
        for (const char* kind = row.args; *kind != '\0'; ++kind) {
            args.push_back(*kind == 's' ? print_arg_t("a%name") : print_arg_t(0x80000001u));
        }
        try {
            alert_list(run.messages, row.number, args);
        } catch (const end_of_run_t&) {}
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    text_t rest(reinterpret_cast<const char*>(data), size);
    memory_files_t files;
    const std::string look = take_part(rest);
    files.files["/t/dat/en_msgs.txt"] = take_part(rest);
    files.variables["NVS_ERR_FORMAT"] = files.variables["NVS_WARN_FORMAT"] = take_part(rest);
    const std::string disabled = take_part(rest);
    files.input = rest;
    host_t host = memory_host(files);
    host.program_path = "/t/bin/tavrel";
    host.err = [](std::string_view line) {
        if (line.size() > 8192) {
            std::abort();
        }
        return line.size();
    };
    run_t run(host);
    run.messages.msg_style = look.empty() ? 0 : look[0] & 1;
    run.messages.system_error = look.size() & 7;
    set_error_limit(run.messages, 1000);
    disable_messages(run.messages, disabled);
    raise_all(run);
    try {
        getargs(run.messages, host.read_input_line, (look.size() & 8) != 0, "tavrel> ");
    } catch (const end_of_run_t&) {}
    return 0;
}
