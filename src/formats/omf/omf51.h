// OMF-51, the object module format of 8051 tools; told for users in docs/formats/omf51.md.
#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t omf51_format;

} // namespace tavrel
