// Interned texts: one stored copy of each, alive as long as the run, so that paths and file names are built by chains
// of calls without anybody keeping track of the pieces. Equal results have equal addresses. No text (`text_t{}`) stands
// for "no result".
//
// Paths are joined and taken apart with `\`, on all hosts; host_path (osdep.h) turns them into what the host opens.
#pragma once

#include <string>

#include "common/alloc.h"
#include "common/hash.h"
#include "common/print.h"

namespace tavrel {

struct stringcache_t {
    hash_t<text_t, text_t, text_ops_t> table{127}; // key and value are the stored copy
    text_arena_t texts;                            // owns the copies
    std::string scratch;                           // results in the making; only its capacity outlives a call
};

// The interned copy; none for none.
text_t cache_string(stringcache_t& cache, text_t text);

text_t cache_format_list(stringcache_t& cache, text_t format, std::span<const print_arg_t> args);

template <class... A>
text_t cache_format(stringcache_t& cache, text_t format, const A&... args) {
    const print_arg_t list[sizeof...(A) + 1] = {print_arg_t(args)...};
    return cache_format_list(cache, format, {list, sizeof...(A)});
}

// Directory and name with one `\` between them. Without a directory, the name as given.
text_t cache_path_join(stringcache_t& cache, text_t directory, text_t name);

// What stands before the last `\`; if there is none, before the last `/`; if none, before the last `:`; else none.
text_t cache_dirname(stringcache_t& cache, text_t path);

} // namespace tavrel
