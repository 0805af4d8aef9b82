// Where the program is installed and how it is called there: directories, settings and the banner.
#pragma once

#include <string>

#include "common/alert.h"
#include "common/stream.h"

namespace tavrel {

// Prints the banner and the notice line.
void print_banner(printer_t& out);

} // namespace tavrel
