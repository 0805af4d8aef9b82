// Type strings and the look-up of names.
//
// A type string is read from the left: wrappers (`*` pointer, `(` function, `[n]` array, an upper-case letter a
// qualifier) and then a name, which runs to the end of the string. The leftmost wrapper is the outermost part of the
// type. Where the rest of a string gives no type, pointers, functions and arrays still wrap an empty list, and a
// qualifier gives up. Strings of thousands of wrappers are legal, so they are noted from left to right and applied
// from right to left without recursion.
#include "debug/type.h"

#include <algorithm>

#include "common/scan.h"
#include "debug/machine.h"

namespace tavrel {
namespace {

constexpr uint32_t bucket_count = 47;
// A copied type without an innermost base, struct or enum gets parts of its own down to this depth: two such types are
// only equal where they are the same parts, and a copy is not the original.
constexpr uint32_t copied_depth = 32;
// Characters of a qualifier part's text that survive another letter in front.
constexpr size_t qualifier_text_limit = 14;

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
bool is_lower(char c) { return c >= 'a' && c <= 'z'; }

char char_at(text_t text, size_t at) { return at < text.size() ? text[at] : '\0'; }

// ---- look-up of names

// The first node in the chain of the name's bucket that is called so, with or without an underscore in front.
dsym_t* first_in_chain(const scope_t& scope, text_t name, const std::string& with_underscore) {
    uint32_t first = scope_t::no_position;
    if (const auto found = scope.names.find(name); found != scope.names.end()) {
        first = found->second.first_hashed;
    }
    // The chain holds the name with an underscore only if the two fall into one bucket: `_` and `__x` of `_x` may not.
    if (name_hash(name) % bucket_count == name_hash(with_underscore) % bucket_count) {
        if (const auto found = scope.names.find(with_underscore); found != scope.names.end()) {
            first = std::min(first, found->second.first_hashed);
        }
    }
    return first == scope_t::no_position ? nullptr : scope.members[first];
}

// The last member in front of the cursor with exactly that name, whatever it is but a block or module.
dsym_t* last_before(const scope_cursor_t& cursor, text_t name) {
    const scope_t& scope = *cursor.block->scope;
    const auto found = scope.names.find(name);
    if (found == scope.names.end()) {
        return nullptr;
    }
    const auto& positions = found->second.positions;
    auto at = cursor.block->sclass == SC_MODULE ? positions.end()
                                                : std::lower_bound(positions.begin(), positions.end(), cursor.index);
    while (at != positions.begin()) {
        dsym_t* const node = scope.members[*--at];
        if (node->sclass != SC_BLOCK && node->sclass != SC_MODULE) {
            return node;
        }
    }
    return nullptr;
}

bool needs_cursor(const dsym_t& node) {
    return node.sclass == SC_AUTO || node.sclass == SC_REG || node.sclass == SC_PARAM;
}

// ---- wrappers

// What is left of a string that is read from the left.
struct type_scanner_t {
    text_t text;
    size_t at = 0;
    std::vector<uint32_t> wrappers; // where each begins, from left to right
};

bool is_wrapper(text_t text, size_t at) {
    const char c = char_at(text, at);
    return c == '*' || c == '(' || c == '[' || (is_upper(c) && !is_digit(char_at(text, at + 1)));
}

uint32_t array_count(text_t text, size_t& at) {
    const size_t first = at;
    while (is_digit(char_at(text, at))) {
        ++at;
    }
    uint32_t count = 0;
    scan_number(text.substr(first, at - first), 10, count);
    return count;
}

void skip_wrapper(type_scanner_t& scanner) {
    const char c = scanner.text[scanner.at++];
    if (c == '*' && char_at(scanner.text, scanner.at) == '.') {
        scanner.at = std::min(scanner.at + 2, scanner.text.size());
    } else if (c == '[') {
        array_count(scanner.text, scanner.at);
        if (char_at(scanner.text, scanner.at) == ']') {
            ++scanner.at;
        }
    }
}

void skip_backquote(type_scanner_t& scanner) {
    if (char_at(scanner.text, scanner.at) == '`') {
        ++scanner.at;
    }
}

void scan_wrappers(type_scanner_t& scanner) {
    skip_backquote(scanner);
    while (is_wrapper(scanner.text, scanner.at)) {
        scanner.wrappers.push_back(static_cast<uint32_t>(scanner.at));
        skip_wrapper(scanner);
        skip_backquote(scanner);
    }
}

// ---- the innermost part

type_t copy_type(tree_t& tree, type_t type) {
    if (!is_incomplete(type)) {
        return type;
    }
    std::vector<type_t> copied;
    while (type != nullptr && copied.size() < copied_depth) {
        copied.push_back(type);
        type = type->inner;
    }
    for (; !copied.empty(); copied.pop_back()) {
        tpart_t* const part = new_part(tree, copied.back()->kind, type);
        part->value = copied.back()->value;
        part->text = copied.back()->text;
        type = part;
    }
    return type;
}

dsym_t* forward_reference(tree_t& tree, text_t name) {
    dsym_t* const node = new_dsym(tree, name[0] == 'E' ? SC_ENUM : SC_STRUCT);
    node->name = tree.texts.add(name);
    scope_add(tree.current_scope, node, true);
    return node;
}

type_t node_type(tree_t& tree, dsym_t* node, text_t name) {
    if (node->sclass != SC_STRUCT && node->sclass != SC_ENUM) {
        return node->variable == nullptr || node->variable->type == nullptr ? nullptr
                                                                            : copy_type(tree, node->variable->type);
    }
    tpart_t* const part = new_part(tree, node->sclass == SC_STRUCT ? TP_STRUCT : TP_ENUM, nullptr);
    part->node = node;
    part->text = name == node->name ? node->name : tree.texts.add(name);
    return part;
}

type_t parse_name(run_t& run, text_t name) {
    tree_t& tree = tree_of(run);
    const char first = char_at(name, 0);
    if (first != '_' && !is_lower(first) && !is_upper(first)) {
        error_print(run, "Encountered type string %s\n", name);
        return nullptr;
    }
    const auto count = static_cast<uint32_t>(tree.current_scope->scope->members.size());
    dsym_t* node = find_type_name(name, {tree.current_scope, count});
    if (node == nullptr && is_upper(first)) {
        node = forward_reference(tree, name);
    }
    return node == nullptr ? nullptr : node_type(tree, node, name);
}

// ---- the parts around it

type_t wrap(tree_t& tree, uint32_t kind, text_t text, uint32_t value, type_t inner) {
    tpart_t* const part = new_part(tree, kind, inner);
    part->text = text;
    part->value = value;
    return part;
}

type_t wrap_array(tree_t& tree, uint32_t count, type_t element) {
    return wrap(tree, TP_ARRAY, tree.texts.add(format_text("[%lu]", count)), count, element);
}

uint32_t qualifier_flag(run_t& run, char letter) {
    for (const qualifier_t& row : run.machine->qualifiers) {
        if (row.letter == letter) {
            return row.flag;
        }
    }
    error_print(run, "Unknown qualifier %c\n", letter);
    return 0;
}

// Takes a run of qualifier letters off the wrappers, the innermost first. They share one part, also with a qualifier
// part that is outermost in `type` already.
type_t apply_qualifiers(run_t& run, type_scanner_t& scanner, type_t type) {
    tree_t& tree = tree_of(run);
    std::string text;
    uint32_t flags = 0;
    type_t inner = type;
    if (type != nullptr && type->kind == TP_QUAL) {
        text = type->text;
        flags = type->value;
        inner = type->inner;
    }
    while (!scanner.wrappers.empty() && is_upper(scanner.text[scanner.wrappers.back()])) {
        const char letter = scanner.text[scanner.wrappers.back()];
        scanner.wrappers.pop_back();
        if (type != nullptr) {
            flags |= qualifier_flag(run, letter);
            text.resize(std::min(text.size(), qualifier_text_limit));
            text.insert(text.begin(), letter);
        }
    }
    return type == nullptr ? nullptr : wrap(tree, TP_QUAL, tree.texts.add(text), flags, inner);
}

type_t apply_wrapper(run_t& run, type_scanner_t& scanner, type_t type) {
    tree_t& tree = tree_of(run);
    size_t at = scanner.wrappers.back();
    if (is_upper(scanner.text[at])) {
        return apply_qualifiers(run, scanner, type);
    }
    scanner.wrappers.pop_back();
    switch (scanner.text[at++]) {
    case '*':
        if (char_at(scanner.text, at) == '.') {
            return wrap(tree, TP_PTR, tree.texts.add(scanner.text.substr(at - 1, 3)), 0, type);
        }
        return wrap(tree, TP_PTR, "*", 0, type);
    case '(': return wrap(tree, TP_FUNC, "(", 0, type);
    default: return wrap_array(tree, array_count(scanner.text, at), type);
    }
}

} // namespace

dsym_t* find_type_name(text_t name, scope_cursor_t cursor) {
    const std::string with_underscore = std::string(1, '_').append(name);
    while (cursor.block != nullptr) {
        const scope_t& scope = *cursor.block->scope;
        if (dsym_t* node = first_in_chain(scope, name, with_underscore); node != nullptr) {
            if (needs_cursor(*node)) {
                node = last_before(cursor, name);
            }
            if (node != nullptr) {
                return node;
            }
        }
        cursor = {scope.parent, scope.parent_index};
    }
    return nullptr;
}

type_t array_of(run_t& run, type_t element, uint32_t count) {
    const bool too_deep = element != nullptr && element->depth >= type_depth_limit;
    return too_deep ? nullptr : wrap_array(tree_of(run), count, element);
}

type_t parse_type(run_t& run, text_t text) {
    type_scanner_t scanner{text, 0, {}};
    scan_wrappers(scanner);
    type_t type = parse_name(run, text.substr(scanner.at));
    while (!scanner.wrappers.empty()) {
        type = apply_wrapper(run, scanner, type);
        if (type != nullptr && type->depth > type_depth_limit) {
            return nullptr;
        }
    }
    return type;
}

} // namespace tavrel
