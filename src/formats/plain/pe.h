#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t pe_format;

} // namespace tavrel
