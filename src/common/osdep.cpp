#include "common/osdep.h"

#include <algorithm>

namespace tavrel {

bool path_is_absolute(text_t path) { return (path.size() >= 2 && path[1] == ':') || path.starts_with("\\\\"); }

std::string host_path(text_t path) {
    std::string result(path);
#ifndef _WIN32
    std::replace(result.begin(), result.end(), '\\', '/');
#endif
    return result;
}

} // namespace tavrel
