// Extended OMF-51: OMF-51 with types, source file names and build records; told for users in docs/formats/eomf51.md.
#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t eomf51_format;

} // namespace tavrel
