#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t s19_format;

} // namespace tavrel
