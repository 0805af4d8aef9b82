// The file that describes messages: a line of number, severity and text for each.
//
//     # a comment
//     141  e   Cannot open the %s file "%s": %m
//
// The number is decimal and below 10001. The severity is `f` fatal, `e` error, `m` plain message (either case), or a
// number: a warning of that level. The text has printf's conversions for the arguments of the message, and `%m`. A
// later line of a number replaces an earlier one.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "common/alert.h"

namespace tavrel {

// Fills `table` by number from the bytes of a description file. Calls `malformed` with the number of each line that
// lacks something (and is skipped) or has an unknown severity letter (and is kept as MSG_UNKNOWN).
void read_descriptions(text_t bytes, std::vector<msg_t>& table, const std::function<void(uint32_t line)>& malformed);

} // namespace tavrel
