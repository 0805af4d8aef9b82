#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t titxt_format;

} // namespace tavrel
