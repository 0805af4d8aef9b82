// Numbers in text, read in the manner of scanf with a 32-bit long.
#pragma once

#include <cstdint>

#include "common/print.h"

namespace tavrel {

// Reads white space, a sign and digits of the base (10 or 16, where "0x" may stand in front); what follows is not
// looked at. A number too large gives 0xFFFFFFFF. False, and `value` as it was, if no number stands there.
bool scan_number(text_t text, uint32_t base, uint32_t& value);

// White space as the C library's isspace has it.
inline bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

} // namespace tavrel
