// Numbered messages. A caller names a number and its arguments; severity and text come from a message description
// file, so the same call may be a fatal error, an error, a warning or a plain message. Fatal messages end the run from
// within (end_of_run_t). A number without a description is an error with a fixed text.
//
// Only what every user of messages needs stands here; description files are in alert_file.h, the numbers and arguments
// of all messages in message_numbers.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/host.h"
#include "common/installation.h"
#include "common/print.h"

namespace tavrel {

// Thrown to end a run from within; caught by tavrel_run alone.
struct end_of_run_t {
    int status;
};

enum msg_kind_t : uint8_t {
    MSG_UNKNOWN = 0, // a severity letter that nobody knows: looks like a warning, counts nowhere
    MSG_FATAL = 1,
    MSG_PLAIN = 2,
    MSG_ERROR = 3,
    MSG_WARNING = 4,
};

// One described message; its number is its place in the table.
struct msg_t {
    bool described = false; // false: no line of the file names this number
    msg_kind_t kind = MSG_UNKNOWN;
    int level = 0; // of a warning
    std::string text;
};

// The numbers of messages below this one index tables.
constexpr uint32_t msg_number_limit = 10001;

// The message state of a run.
struct messages_t {
    const host_t* host = nullptr;
    sink_t sink;         // standard error, or the file of `-efile`
    std::string context; // name of the first input, in front of each line
    bool has_context = false;
    // Where in it: a line number, and a column counter with the value that it had at the line's start. Null if unknown.
    const int *line = nullptr, *column_base = nullptr, *column = nullptr;
    int msg_style = 0;  // 0: the built-in look; else the format strings
    int warn_level = 0; // warnings of a lower level are not shown
    bool warn_as_error = false;
    uint32_t error_limit = 20;
    uint32_t error_count = 0;
    uint32_t warning_count = 0;
    int system_error = 0; // of the last failed open, for %m
    // What the first message sets up.
    bool initialised = false;    // a description file has been looked for
    bool formats_read = false;   // the format strings stand
    bool table_loaded = false;   // until then each message looks for a description file again
    bool fallback_tried = false; // the English file has been looked for
    std::string error_format, warning_format, message_format;
    std::vector<msg_t> msg_table;       // by number
    std::vector<msg_t> msg_fallback;    // the English file
    std::vector<uint8_t> msg_overrides; // by number: 1 hides warnings and plain messages, 4 all but fatal ones
    installation_t installation;        // where the description files lie
};

// Raises message `number`: an error with a fixed text if nothing describes it. Ends the run by end_of_run_t if the
// message is fatal or one error too many.
void alert_list(messages_t& messages, uint32_t number, std::span<const print_arg_t> args);

// Raises a message with no number. The severity begins with F, E or M (either case); any other letter looks like a
// warning and counts nowhere; a number at the beginning is its level, 10 without one. Gives whether it was shown.
bool alert_text_list(messages_t& messages, text_t severity, text_t format, std::span<const print_arg_t> args);

// Text on standard error as it stands, at once.
void error_print_text(messages_t& messages, text_t text);

int set_warning_level(messages_t& messages, int level);         // gives the level before
uint32_t set_error_limit(messages_t& messages, uint32_t limit); // gives the limit before

// Where the input stands; no name and null pointers mean unknown. The pointers are read when a message is shown.
void set_context(messages_t& messages, text_t name, const int* line = nullptr, const int* column_base = nullptr,
                 const int* column = nullptr);

// Replaces the table by the file's lines; null is the file of the environment (NVS_ERR_FILE, else the default path).
// False if it cannot be opened: the table stays, and `system_error` tells why.
bool load_description_file(messages_t& messages, const std::string* path);

// The list of --msgdisable=: `0` (and whatever follows) hides all warnings that the table knows; else numbers between
// commas, hidden unless they are errors, with ":off" behind them also then. Nothing hides a fatal message.
void disable_messages(messages_t& messages, text_t list);

// 1 if errors were counted, or warnings while these count as errors; else 0.
int exit_status(const messages_t& messages);

} // namespace tavrel
