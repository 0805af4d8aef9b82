// When are two types the same? Hash, comparison, and the table from types to numbers built on both.
//
// Most types are compared part by part. Structs are the hard case: the same header read by two modules gives two nodes
// for one struct, so structs are equal if their shapes agree, through all the structs that their fields lead to. Each
// struct may be met once in a comparison: one that comes up again (a list node that points to its like, two fields of
// one struct type) ends it as different, unless both sides mean the very same node.
#include <utility>

#include "debug/type.h"

namespace tavrel {
namespace {

// Two structs under comparison and how far it came.
struct frame_t {
    const struct_t* a;
    const struct_t* b;
    size_t field;
};

// Chains of structs may be as long as the input allows, so the open pairs stand on a stack of their own.
struct comparison_t {
    run_t& run;
    uint64_t number;
    std::vector<frame_t> open;
    std::vector<std::pair<const struct_t*, const struct_t*>> met; // all pairs that were opened
};

bool same_text(text_t a, text_t b) { return is_none(a) == is_none(b) && a == b; }

bool was_visited(const comparison_t& comparison, int side, type_t type) {
    return type->base->kind == TP_STRUCT && type->base->node->structure->visited[side] == comparison.number;
}

// The operations from here on give false where the two are equal as far as they look; a pair of structs is opened.

bool structs_differ(comparison_t& comparison, dsym_t* a, dsym_t* b) {
    if (a == b) {
        return false;
    }
    struct_t& left = *a->structure;
    struct_t& right = *b->structure;
    if (left.size != right.size || left.fields.size() != right.fields.size() || !same_text(left.tag, right.tag)) {
        return true;
    }
    left.visited[0] = comparison.number;
    right.visited[1] = comparison.number;
    comparison.open.push_back({&left, &right, 0});
    comparison.met.push_back({&left, &right});
    return false;
}

bool parts_differ(comparison_t& comparison, type_t a, type_t b) {
    for (; a != nullptr && b != nullptr; a = a->inner, b = b->inner) {
        if (a->kind != b->kind) {
            return true;
        }
        if (a == b && !is_incomplete(a)) {
            return false; // shared inner parts
        }
        switch (a->kind) {
        case TP_BASE: return a->value != b->value || a->size != b->size;
        case TP_ENUM: return a->node != b->node;
        case TP_STRUCT: return structs_differ(comparison, a->node, b->node);
        case TP_ARRAY:
        case TP_QUAL:
            if (a->value != b->value) {
                return true;
            }
            break;
        case TP_FUNC:
        case TP_PTR: break;
        default: alert(comparison.run, 624); break;
        }
    }
    return true;
}

bool fields_differ(comparison_t& comparison, const field_t& a, const field_t& b) {
    if (!same_text(a.name, b.name) || a.size != b.size || a.offset != b.offset || a.bit_width != b.bit_width ||
        a.bit_offset != b.bit_offset) {
        return true;
    }
    if (a.type == nullptr || b.type == nullptr) {
        return a.type != b.type;
    }
    const tpart_t& left = *a.type->base;
    const tpart_t& right = *b.type->base;
    if (left.kind == TP_STRUCT && right.kind == TP_STRUCT && left.node == right.node) {
        return false;
    }
    return was_visited(comparison, 0, a.type) || was_visited(comparison, 1, b.type) || a.type->depth != b.type->depth ||
           parts_differ(comparison, a.type, b.type);
}

bool open_pairs_differ(comparison_t& comparison) {
    while (!comparison.open.empty()) {
        frame_t& frame = comparison.open.back();
        if (frame.field == frame.a->fields.size()) {
            comparison.open.pop_back();
            continue;
        }
        const size_t field = frame.field++;
        if (fields_differ(comparison, frame.a->fields[field], frame.b->fields[field])) {
            return true;
        }
    }
    return false;
}

comparison_t new_comparison(run_t& run) { return {run, ++tree_of(run).comparisons, {}, {}}; }

// ---- the hash of the table

uint64_t mix(uint64_t hash, uint64_t value) {
    hash = (hash ^ value) * 0x9E3779B97F4A7C15u;
    return hash ^ hash >> 29;
}

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

// What two structs, and two fields, must agree in. A field of a struct type may be equal through the struct's node
// alone, so of its type only what the structs have in common counts.

uint64_t outline_hash(const struct_t& structure) {
    return mix(mix(std::hash<text_t>()(structure.tag), structure.size), structure.fields.size());
}

uint64_t field_hash(const field_t& field) {
    const uint64_t name = mix(std::hash<text_t>()(field.name), uint64_t(field.size) << 32 | field.offset);
    const uint64_t place = mix(name, uint64_t(field.bit_width) << 32 | field.bit_offset);
    const bool is_struct = field.type != nullptr && field.type->base->kind == TP_STRUCT;
    return mix(place, is_struct ? outline_hash(*field.type->base->node->structure) : shape_of(field.type));
}

uint64_t struct_hash(const struct_t& structure) {
    uint64_t hash = outline_hash(structure);
    for (const field_t& field : structure.fields) {
        hash = mix(hash, field_hash(field));
    }
    return hash;
}

// Looks through the nearest fields only: the answer false means that nothing was seen.
bool meets_itself(run_t& run, struct_t& structure) {
    size_t budget = 256;
    const uint64_t number = ++tree_of(run).comparisons;
    std::vector<struct_t*> open{&structure};
    structure.visited[0] = number;
    while (!open.empty()) {
        const struct_t& next = *open.back();
        open.pop_back();
        for (const field_t& field : next.fields) {
            if (budget-- == 0) {
                return false;
            }
            if (field.type == nullptr || field.type->base->kind != TP_STRUCT) {
                continue;
            }
            struct_t& inner = *field.type->base->node->structure;
            if (std::exchange(inner.visited[0], number) == number) {
                return true;
            }
            open.push_back(&inner);
        }
    }
    return false;
}

const type_map_t::struct_facts_t& facts_of(type_map_t& map, struct_t& structure) {
    const auto known = map.facts.find(&structure);
    if (known != map.facts.end()) {
        return known->second;
    }
    return map.facts[&structure] = {struct_hash(structure), meets_itself(*map.run, structure)};
}

// Equal types meet in one of their buckets. A struct that meets itself can only be equal to one of its own module, so
// the many copies that modules have of a header's list node do not gather in one bucket: it is entered among its
// module's only, any other struct among its module's and among all.
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

// type_differs with a memory: structs that were met in a comparison that found no difference are equal also when a
// comparison begins with them.
bool positions_differ(type_map_t& map, type_t a, type_t b) {
    if (a == b || known_same(map, a, b)) {
        return false;
    }
    comparison_t comparison = new_comparison(*map.run);
    if (parts_differ(comparison, a, b) || open_pairs_differ(comparison)) {
        return true;
    }
    map.same_pairs.insert(comparison.met.begin(), comparison.met.end());
    return false;
}

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

uint32_t type_hash(run_t& run, type_t position) {
    uint32_t hash = 0;
    for (; position != nullptr; position = position->inner) {
        switch (position->kind) {
        case TP_BASE: return hash + position->size + position->value;
        case TP_ENUM:
        case TP_STRUCT: return hash + position->kind * 256;
        case TP_FUNC:
        case TP_PTR:
        case TP_ARRAY: hash += position->kind * 256; break;
        case TP_QUAL: hash += position->kind * 256 + position->value; break;
        default: alert(run, 623); break;
        }
    }
    return hash;
}

bool type_differs(run_t& run, type_t a, type_t b) {
    if (a == b) {
        return false;
    }
    comparison_t comparison = new_comparison(run);
    return parts_differ(comparison, a, b) || open_pairs_differ(comparison);
}

bool same_struct(run_t& run, dsym_t* a, dsym_t* b) {
    comparison_t comparison = new_comparison(run);
    return !structs_differ(comparison, a, b) && !open_pairs_differ(comparison);
}

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
