// What differs between operating systems about the names of files.
#pragma once

#include <string>

#include "common/print.h"

namespace tavrel {

// True for a path that begins with a drive letter or with two backslashes.
bool path_is_absolute(text_t path);

// A path that the program made up itself (with `\`) as the host opens it.
std::string host_path(text_t path);

} // namespace tavrel
