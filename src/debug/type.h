// Type strings, the look-up of names from a place in the tree, comparison of types and the table built on it, and the
// readable print of the tree.
#pragma once

#include <unordered_set>

#include "debug/tree.h"

namespace tavrel {

// Parses a type string as the SDB text spells it, in the current scope; null if it gives no type. May add nodes for
// forward references. Needs a machine. Complaints go to standard error as plain lines.
type_t parse_type(run_t& run, text_t text);
// The type with an array part of `count` elements around it; null if it becomes too deep.
type_t array_of(run_t& run, type_t element, uint32_t count);

// The node that a name means at a place: the search goes from the cursor's block outwards.
dsym_t* find_type_name(text_t name, scope_cursor_t cursor);

// A type position's hash; equal types have equal hashes. Raises 623 for a part of unknown kind.
uint32_t type_hash(run_t& run, type_t position);
// False when the types are equal; `met` then holds the pairs of different structs that were found equal on the way,
// each before those that it leads to. Raises 624 for a part of unknown kind.
using struct_pair_t = std::pair<const struct_t*, const struct_t*>;
bool type_differs(run_t& run, type_t a, type_t b, std::vector<struct_pair_t>* met = nullptr);
// Two structs of different modules are the same type if their shapes agree.
bool same_struct(run_t& run, dsym_t* a, dsym_t* b);

struct struct_pair_hash_t {
    size_t operator()(const struct_pair_t& pair) const {
        const std::hash<const struct_t*> hash;
        return hash(pair.first) * 0x9E3779B97F4A7C15u + hash(pair.second);
    }
};

// From a type position to a number; equal types are one key, the first entry of a key stays. The types must not change
// while the map lives.
struct type_map_t {
    struct entry_t {
        type_t position;
        uint32_t value;
    };
    struct struct_facts_t {
        uint64_t hash = 0;               // of what equal structs agree in
        const struct_t* cycle = nullptr; // a struct on a cycle of structs that the fields lead to
        bool meets_itself = false;       // the fields lead to some struct twice: equal to no struct of another module
        bool open = false;               // the walk that fills these in is under way; `index` and `low` are its own
        uint32_t index = 0, low = 0;
    };
    run_t* run;
    std::deque<entry_t> entries;                                      // never move
    std::unordered_map<uint64_t, std::vector<uint32_t>> buckets;      // positions in `entries`, by a hash
    std::unordered_map<const struct_t*, struct_facts_t> facts;        // made when a struct is first met
    std::unordered_set<struct_pair_t, struct_pair_hash_t> same_pairs; // structs found equal
};
type_map_t type_map_new(run_t& run);
bool type_map_add(type_map_t& map, type_t position, uint32_t value); // true if added
uint32_t* type_map_find(type_map_t& map, type_t position);           // the value's place, null if absent
void type_map_clear(type_map_t& map);

// The type's readable text, appended.
void print_type(run_t& run, std::string& out, type_t type);
// Prints the tree on standard error; nothing where there is none.
void dump_tree(run_t& run);

} // namespace tavrel
