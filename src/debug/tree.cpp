// Making the nodes of the tree, adding them to scopes, and finding them from the root.
//
// A scope keeps its members in order of reading. Look-ups by name go through an index by exact name that stands in for
// the 47 chains of the tree's definition: see find_type_name for what of these chains can be seen.
#include "debug/tree.h"

#include "debug/machine.h"

namespace tavrel {
namespace {

bool holds_members(const dsym_t& node) { return node.scope != nullptr; }

// Calls `visit` for every node below a scope, each before its own members, until it gives true.
template <class Visit>
bool walk_tree(const dsym_t& scope, const Visit& visit) {
    for (dsym_t* const node : scope.scope->members) {
        if (visit(node) || (holds_members(*node) && walk_tree(*node, visit))) {
            return true;
        }
    }
    return false;
}

} // namespace

bool is_function_type(type_t type) {
    type = skip_qualifiers(type);
    return type != nullptr && type->kind == TP_FUNC;
}

bool is_bit_type(type_t type) {
    type = skip_qualifiers(type);
    return type != nullptr && type->kind == TP_BASE && type->value == ENC_BIT;
}

tree_t& tree_of(run_t& run) {
    if (run.tree == nullptr) {
        run.tree = std::make_shared<tree_t>();
    }
    return *run.tree;
}

dsym_t* new_dsym(tree_t& tree, uint32_t sclass) {
    dsym_t& node = tree.nodes.emplace_back();
    node.sclass = sclass;
    node.line = tree.current_line;
    switch (sclass) {
    case SC_MODULE:
    case SC_BLOCK:
    case SC_FUNC:
    case SC_NOSDB: node.scope = &tree.scopes.emplace_back(); break;
    case SC_STRUCT:
        node.structure = &tree.structs.emplace_back();
        node.structure->module = tree.modules;
        break;
    case SC_ENUM: node.enumeration = &tree.enums.emplace_back(); break;
    case SC_FILENAME: break;
    default: node.variable = &tree.variables.emplace_back(); break;
    }
    return &node;
}

tpart_t* new_part(tree_t& tree, uint32_t kind, type_t inner) {
    tpart_t& part = tree.parts.emplace_back();
    part.kind = kind;
    part.inner = inner;
    part.base = inner == nullptr ? &part : inner->base;
    part.depth = inner == nullptr ? 1 : inner->depth + 1;
    return &part;
}

void build_global_block(run_t& run) {
    tree_t& tree = tree_of(run);
    dsym_t* const root = new_dsym(tree, SC_MODULE);
    for (const base_type_t& row : run.machine->base_types) {
        dsym_t* const node = new_dsym(tree, SC_TYPEDEF);
        node->name = row.name;
        node->line = 0;
        tpart_t* const part = new_part(tree, TP_BASE, nullptr);
        part->text = node->name;
        part->value = row.encoding;
        part->size = static_cast<uint8_t>(row.size);
        node->variable->type = part;
        scope_add(root, node, true);
    }
    run.global_block = root;
    tree.current_scope = root;
}

void scope_add(dsym_t* scope, dsym_t* node, bool hashed) {
    scope_t& into = *scope->scope;
    const auto position = static_cast<uint32_t>(into.members.size());
    into.members.push_back(node);
    if (is_none(node->name)) {
        return;
    }
    scope_t::named_t& named = into.names[node->name];
    named.positions.push_back(position);
    if (hashed) {
        named.last_hashed = position;
        if (named.first_hashed == scope_t::no_position) {
            named.first_hashed = position;
        }
    }
}

dsym_t* scope_find_last(const dsym_t* scope, text_t name) {
    const auto found = scope->scope->names.find(name);
    if (found == scope->scope->names.end() || found->second.last_hashed == scope_t::no_position) {
        return nullptr;
    }
    return scope->scope->members[found->second.last_hashed];
}

dsym_t* find_dsym(run_t& run, text_t name) {
    dsym_t* result = nullptr;
    if (run.global_block != nullptr && !is_none(name)) {
        walk_tree(*run.global_block, [&](dsym_t* node) {
            if (!is_none(node->name) && node->name == name) {
                result = node;
            }
            return result != nullptr;
        });
    }
    return result;
}

dsym_finder_t make_dsym_finder(run_t& run) {
    dsym_finder_t finder;
    if (run.global_block != nullptr) {
        walk_tree(*run.global_block, [&](dsym_t* node) {
            if (!is_none(node->name)) {
                finder.try_emplace(node->name, node);
            }
            return false;
        });
    }
    return finder;
}

} // namespace tavrel
