// The argument list read from a stream, for command lines that hold none or name a file with `@`.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/alert.h"

namespace tavrel {

// Reads words from lines (each with its newline; false at the end of the stream). `prompt` is shown on standard error
// before each line when the stream is a terminal. Raises 337 for a line that fills the line buffer and 917 for a word
// of more than 255 characters, which ends the run.
std::vector<std::string> getargs(messages_t& messages, const std::function<bool(std::string&)>& read_line,
                                 bool terminal, text_t prompt);

} // namespace tavrel
