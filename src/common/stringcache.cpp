#include "common/stringcache.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr size_t scratch_least = 4096;

// Makes room; what the buffer held before is lost.
std::string& open_scratch(stringcache_t& cache, size_t size) {
    cache.scratch.clear();
    if (cache.scratch.capacity() < size) {
        cache.scratch.reserve(std::max(2 * size, scratch_least));
    }
    return cache.scratch;
}

} // namespace

text_t cache_string(stringcache_t& cache, text_t text) {
    if (is_none(text)) {
        return text;
    }
    if (const text_t* const found = hash_find(cache.table, text)) {
        return *found;
    }
    const text_t copy = cache.texts.add(text);
    hash_insert(cache.table, copy, copy);
    return copy;
}

text_t cache_format_list(stringcache_t& cache, text_t format, std::span<const print_arg_t> args) {
    std::string& scratch = open_scratch(cache, 10 * format.size());
    print_list(scratch, format, args);
    return cache_string(cache, scratch);
}

text_t cache_path_join(stringcache_t& cache, text_t directory, text_t name) {
    if (directory.empty()) {
        return cache_string(cache, name);
    }
    if (name.starts_with('\\')) {
        name.remove_prefix(1);
    }
    if (!directory.ends_with('\\')) {
        directory = cache_format(cache, "%s\\", directory);
    }
    return cache_format(cache, "%s%s", directory, name);
}

text_t cache_dirname(stringcache_t& cache, text_t path) {
    for (const char separator : {'\\', '/', ':'}) {
        if (const size_t at = path.rfind(separator); at != text_t::npos) {
            return cache_string(cache, path.substr(0, at));
        }
    }
    return {};
}

} // namespace tavrel
