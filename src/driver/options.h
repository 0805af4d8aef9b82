// The command line: options and names, taken from left to right in one pass.
#pragma once

#include <string>
#include <vector>

#include "model/run.h"

namespace tavrel {

struct output_request_t {
    uint32_t format = 0; // format number
    bool has_name = false;
    std::string name;
};

// What the command line asks for beside the options that formats read (run_t).
struct options_t {
    std::vector<std::string> inputs;       // at most 127
    std::vector<output_request_t> outputs; // at most 127
    uint32_t input_format = 0;             // format number, 0 for auto-detection
};

// Parses the arguments (without the program's name) into `run` and the result. -l, -h, --ver and an argument that is no
// option end the run from within. Raises 393, 523, 602 to 604, 608 to 612 and 1300.
options_t parse_options(run_t& run, const std::vector<std::string>& args);

// 32-bit atoi: blanks, a sign, decimal digits; the value is held at the limits.
int32_t parse_int(text_t text);

} // namespace tavrel
