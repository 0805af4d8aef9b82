// The table of all formats. Its order is the order of auto-detection.
#pragma once

#include <span>

#include "model/format.h"

namespace tavrel {

// A format number is a position in this table plus 1; 0 stands for none. A row that is not built has no operations.
std::span<const format_t* const> format_table();

} // namespace tavrel
