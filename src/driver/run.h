// A whole run, from the command line to the exit status.
#pragma once

#include <string>
#include <vector>

#include "common/host.h"

namespace tavrel {

// `args` without the program's name. Gives the exit status, 0 or 1. Many runs may follow each other in one process.
int tavrel_run(const std::vector<std::string>& args, const host_t& host);

} // namespace tavrel
