// What runs between the last input and the first output: line ends, per-file arrays, merged blocks, grown segments.
#pragma once

#include "model/run.h"

namespace tavrel {

// Raises 606, 607 (which end the run) and 1289.
void finalise(run_t& run);

} // namespace tavrel
