#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t norvane_format;

} // namespace tavrel
