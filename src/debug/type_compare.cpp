// When are two types the same? The comparison, and the hash that goes with it.
//
// Most types are compared part by part. Structs are the hard case: the same header read by two modules gives two nodes
// for one struct, so structs are equal if their shapes agree, through all the structs that their fields lead to. Each
// struct may be met once in a comparison: one that comes up again (a list node that points to its like, two fields of
// one struct type) ends it as different, unless both sides mean the very same node.
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
    std::vector<struct_pair_t>* met; // all pairs that were opened, if anyone asks
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
    if (comparison.met != nullptr) {
        comparison.met->push_back({&left, &right});
    }
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

comparison_t new_comparison(run_t& run, std::vector<struct_pair_t>* met) {
    return {run, ++tree_of(run).comparisons, {}, met};
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

bool type_differs(run_t& run, type_t a, type_t b, std::vector<struct_pair_t>* met) {
    if (a == b) {
        return false;
    }
    comparison_t comparison = new_comparison(run, met);
    return parts_differ(comparison, a, b) || open_pairs_differ(comparison);
}

bool same_struct(run_t& run, dsym_t* a, dsym_t* b) {
    comparison_t comparison = new_comparison(run, nullptr);
    return !structs_differ(comparison, a, b) && !open_pairs_differ(comparison);
}

} // namespace tavrel
