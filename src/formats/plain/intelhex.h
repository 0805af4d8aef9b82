#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t ihex_format;

} // namespace tavrel
