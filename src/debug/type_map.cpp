// The table from types to numbers.
//
// A program of many modules brings each struct of a header once a module, so many types that look alike are sought, and
// most of the table is about not comparing them all: types are gathered in buckets by a hash that tells apart whatever
// a comparison would find different without telling apart what it would find equal, and pairs of structs that were
// found equal are remembered.
#include <algorithm>
#include <utility>

#include "debug/type.h"

namespace tavrel {
namespace {

uint64_t mix(uint64_t hash, uint64_t value) {
    hash = (hash ^ value) * 0x9E3779B97F4A7C15u;
    return hash ^ hash >> 29;
}

// ---- the shape of a type

uint64_t part_shape(const tpart_t& part, uint64_t inner) {
    const uint64_t node = part.kind == TP_ENUM ? reinterpret_cast<uintptr_t>(part.node) : 0;
    const uint64_t shape = mix(mix(mix(inner, node), uint64_t(part.size) << 32 | part.kind), part.value);
    return shape == 0 ? 1 : shape;
}

// The hash of the parts from a position inwards, but for what the nodes of structs say. Kept in the parts, so that
// each part of a deep type is looked at once.
uint64_t shape_of(type_t position) {
    std::vector<type_t> open;
    while (position != nullptr && position->shape == 0) {
        open.push_back(position);
        position = position->inner;
    }
    uint64_t shape = position == nullptr ? 1 : position->shape;
    for (; !open.empty(); open.pop_back()) {
        shape = open.back()->shape = part_shape(*open.back(), shape);
    }
    return shape;
}

// ---- what equal structs agree in

// The struct that a field leads to, or null.
struct_t* struct_of(const field_t& field) {
    return field.type == nullptr || field.type->base->kind != TP_STRUCT ? nullptr : field.type->base->node->structure;
}

// Structs alone, without their fields.
uint64_t outline_hash(const struct_t& structure) {
    return mix(mix(std::hash<text_t>()(structure.tag), structure.size), structure.fields.size());
}

uint64_t field_hash(const field_t& field) {
    const uint64_t name = mix(std::hash<text_t>()(field.name), uint64_t(field.size) << 32 | field.offset);
    return mix(name, uint64_t(field.bit_width) << 32 | field.bit_offset);
}

// `inner_hash` gives that of a struct that a field leads to. What stands around the struct does not count: two such
// fields are equal if only the struct is the same node.
template <class InnerHash>
uint64_t struct_hash(const struct_t& structure, InnerHash inner_hash) {
    uint64_t hash = outline_hash(structure);
    for (const field_t& field : structure.fields) {
        const struct_t* const inner = struct_of(field);
        hash = mix(mix(hash, field_hash(field)), inner == nullptr ? shape_of(field.type) : inner_hash(*inner));
    }
    return hash;
}

// True if the fields lead to one struct twice. Looks through the nearest fields only: false means nothing seen.
bool meets_itself(type_map_t& map, struct_t& structure) {
    size_t budget = 64;
    const uint64_t number = ++tree_of(*map.run).comparisons;
    std::vector<struct_t*> open{&structure};
    structure.visited[0] = number;
    while (!open.empty()) {
        const struct_t& next = *open.back();
        open.pop_back();
        for (const field_t& field : next.fields) {
            if (budget-- == 0) {
                return false;
            }
            struct_t* const inner = struct_of(field);
            if (inner == nullptr) {
                continue;
            }
            if (map.facts[inner].meets_itself || std::exchange(inner->visited[0], number) == number) {
                return true;
            }
            open.push_back(inner);
        }
    }
    return false;
}

// ---- the graph of structs
//
// Structs that lead to a cycle of structs have all their cycles in common with whatever they are equal to (they are
// equal through nodes that both lead to, or not at all), so one node of the cycles goes into their hash. The others are
// hashed through and through. The walk finds the strongly connected components, inner ones first; a stack of its own
// takes the place of recursion.

struct walk_t {
    struct visit_t {
        struct_t* structure;
        size_t field;
    };
    type_map_t& map;
    std::vector<visit_t> visits;
    std::vector<struct_t*> open; // entered, their component not complete
    uint32_t entered = 0;
};

void enter_struct(walk_t& walk, struct_t& structure) {
    type_map_t::struct_facts_t& facts = walk.map.facts[&structure];
    facts.index = facts.low = walk.entered++;
    facts.open = true;
    walk.open.push_back(&structure);
    walk.visits.push_back({&structure, 0});
}

// The lowest node on a cycle that the struct reaches outside its component, or through itself.
const struct_t* nearest_cycle(walk_t& walk, const struct_t& structure) {
    const struct_t* cycle = walk.map.facts[&structure].cycle;
    for (const field_t& field : structure.fields) {
        const struct_t* const inner = struct_of(field);
        const struct_t* const other = inner == nullptr      ? nullptr
                                      : inner == &structure ? inner
                                                            : walk.map.facts[inner].cycle;
        if (other != nullptr && (cycle == nullptr || std::less<>()(other, cycle))) {
            cycle = other;
        }
    }
    return cycle;
}

void complete_struct(walk_t& walk, struct_t& structure, const struct_t* cycle) {
    type_map_t::struct_facts_t& facts = walk.map.facts[&structure];
    facts.open = false;
    facts.cycle = cycle;
    if (cycle == nullptr) {
        facts.hash = struct_hash(structure, [&](const struct_t& inner) { return walk.map.facts[&inner].hash; });
        facts.meets_itself = meets_itself(walk.map, structure);
    } else {
        facts.hash = mix(struct_hash(structure, outline_hash), reinterpret_cast<uintptr_t>(cycle));
        facts.meets_itself = true;
    }
}

void complete_component(walk_t& walk, const struct_t& first) {
    const auto begin = std::find(walk.open.rbegin(), walk.open.rend(), &first).base() - 1;
    const std::vector<struct_t*> members(begin, walk.open.end());
    walk.open.erase(begin, walk.open.end());
    if (members.size() > 1) {
        walk.map.facts[members[0]].cycle = *std::min_element(members.begin(), members.end(), std::less<>());
    }
    const struct_t* cycle = nullptr;
    for (const struct_t* const member : members) {
        const struct_t* const other = nearest_cycle(walk, *member);
        cycle = cycle == nullptr || (other != nullptr && std::less<>()(other, cycle)) ? other : cycle;
    }
    for (struct_t* const member : members) {
        complete_struct(walk, *member, cycle);
    }
}

void step_in(walk_t& walk, const struct_t& structure, struct_t& inner) {
    const auto known = walk.map.facts.find(&inner);
    if (known == walk.map.facts.end()) {
        enter_struct(walk, inner);
    } else if (known->second.open) {
        uint32_t& low = walk.map.facts[&structure].low;
        low = std::min(low, known->second.index);
    }
}

void leave_struct(walk_t& walk) {
    const struct_t& structure = *walk.visits.back().structure;
    walk.visits.pop_back();
    const type_map_t::struct_facts_t& facts = walk.map.facts[&structure];
    if (facts.low == facts.index) {
        complete_component(walk, structure);
    } else {
        uint32_t& low = walk.map.facts[walk.visits.back().structure].low;
        low = std::min(low, facts.low);
    }
}

const type_map_t::struct_facts_t& facts_of(type_map_t& map, struct_t& structure) {
    if (map.facts.count(&structure) == 0) {
        walk_t walk{map, {}, {}};
        enter_struct(walk, structure);
        while (!walk.visits.empty()) {
            walk_t::visit_t& visit = walk.visits.back();
            if (visit.field == visit.structure->fields.size()) {
                leave_struct(walk);
            } else if (struct_t* const inner = struct_of(visit.structure->fields[visit.field++]); inner != nullptr) {
                step_in(walk, *visit.structure, *inner);
            }
        }
    }
    return map.facts[&structure];
}

// ---- buckets

// Equal types meet in one of their buckets. A struct that meets itself can only be equal to one of its own module, so
// the copies that modules have of it do not gather in one bucket: it is entered among its module's only, any other
// struct among its module's and among all.
struct bucket_keys_t {
    uint64_t module = 0;
    bool in_module = false;
    uint64_t all = 0;
    bool in_all = true;
};

bucket_keys_t bucket_keys(type_map_t& map, type_t position) {
    bucket_keys_t keys;
    keys.all = shape_of(position);
    if (position != nullptr && position->base->kind == TP_STRUCT) {
        struct_t& structure = *position->base->node->structure;
        const type_map_t::struct_facts_t& facts = facts_of(map, structure);
        keys.all = mix(keys.all, facts.hash);
        keys.module = mix(keys.all, structure.module + 1);
        keys.in_module = true;
        keys.in_all = !facts.meets_itself;
    }
    return keys;
}

// ---- comparison with a memory

bool known_same(const type_map_t& map, type_t a, type_t b) {
    for (; a != nullptr && b != nullptr && a->kind == b->kind && a->value == b->value; a = a->inner, b = b->inner) {
        if (a == b) {
            return !is_incomplete(a);
        }
        if (a->kind == TP_STRUCT) {
            return a->node == b->node || map.same_pairs.count({a->node->structure, b->node->structure}) != 0;
        }
    }
    return false;
}

// Structs that were met in a comparison that found no difference are equal also when a comparison begins with them.
bool positions_differ(type_map_t& map, type_t a, type_t b) {
    const bool of_struct = a != nullptr && a->base->kind == TP_STRUCT;
    if (a == b || (of_struct && known_same(map, a, b))) {
        return false;
    }
    std::vector<struct_pair_t> met;
    if (type_differs(*map.run, a, b, &met)) {
        return true;
    }
    for (const struct_pair_t& pair : met) {
        if (!map.same_pairs.insert(pair).second) {
            break; // what an earlier comparison met behind this pair it has entered, too
        }
    }
    return false;
}

// ---- look-up

constexpr uint32_t no_entry = UINT32_MAX;

// The first entry of a bucket that is equal.
uint32_t find_in_bucket(type_map_t& map, uint64_t key, type_t position) {
    if (const auto bucket = map.buckets.find(key); bucket != map.buckets.end()) {
        for (const uint32_t entry : bucket->second) {
            if (!positions_differ(map, position, map.entries[entry].position)) {
                return entry;
            }
        }
    }
    return no_entry;
}

uint32_t find_entry(type_map_t& map, const bucket_keys_t& keys, type_t position) {
    const uint32_t in_module = keys.in_module ? find_in_bucket(map, keys.module, position) : no_entry;
    const uint32_t in_all = keys.in_all ? find_in_bucket(map, keys.all, position) : no_entry;
    return std::min(in_module, in_all);
}

} // namespace

type_map_t type_map_new(run_t& run) { return {&run, {}, {}, {}, {}}; }

uint32_t* type_map_find(type_map_t& map, type_t position) {
    const uint32_t entry = find_entry(map, bucket_keys(map, position), position);
    return entry == no_entry ? nullptr : &map.entries[entry].value;
}

bool type_map_add(type_map_t& map, type_t position, uint32_t value) {
    const bucket_keys_t keys = bucket_keys(map, position);
    if (find_entry(map, keys, position) != no_entry) {
        return false;
    }
    const auto entry = static_cast<uint32_t>(map.entries.size());
    map.entries.push_back({position, value});
    if (keys.in_module) {
        map.buckets[keys.module].push_back(entry);
    }
    if (keys.in_all) {
        map.buckets[keys.all].push_back(entry);
    }
    return true;
}

void type_map_clear(type_map_t& map) { map = type_map_new(*map.run); }

} // namespace tavrel
