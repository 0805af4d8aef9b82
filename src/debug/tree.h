// The language-level model: a tree of scopes that hold variables, typedefs, structs, enums and source-file marks, each
// variable with a full type. Only the SDB reader fills it, one module per object file; every writer that emits debug
// information walks it. It exists once a machine is selected, and lives until the run ends.
//
// A node (dsym_t) has a head that all nodes share and, by its storage class, one of four shapes behind it.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/hash.h"
#include "model/run.h"

namespace tavrel {

struct dsym_t;

// ---- types

enum tpart_kind_t : uint32_t {
    TP_BASE = 1,
    TP_FUNC = 2,
    TP_PTR = 3,
    TP_ENUM = 4,
    TP_STRUCT = 5,
    TP_ARRAY = 6,
    TP_QUAL = 7,
};

enum encoding_t : uint32_t {
    ENC_VOID = 0,
    ENC_SIGNED = 1,
    ENC_UNSIGNED = 2,
    ENC_FLOAT = 3,
    ENC_BIT = 4,
};

// One part of a type. A type is a list of parts from the outermost (pointer, array, function, qualifier) inwards to the
// innermost (base, struct, enum). Each part knows the part just inside it, so a pointer to one part is at the same time
// a type and a position in one: a pointer to int is [pointer] -> [base]. Parts never change once made, and types share
// their inner parts. A null position is "no type" or "nothing inside".
struct tpart_t {
    uint32_t kind = 0;
    uint32_t value = 0;             // base: encoding_t; array: element count; qualifier: OR of the flags; else 0
    uint32_t depth = 1;             // number of parts from here inwards, this one counted
    uint8_t size = 0;               // base only: size in bytes
    const tpart_t* inner = nullptr; // the part just inside, null at the innermost
    const tpart_t* base = nullptr;  // the innermost part, the part itself where there is none inside
    dsym_t* node = nullptr;         // struct, enum: the node
    text_t text;                    // the piece of type string that made the part
    mutable uint64_t shape = 0;     // hash of the parts from here inwards, 0 until a comparison needed it
};

using type_t = const tpart_t*;

inline bool is_incomplete(type_t type) { // ends without a base, struct or enum part
    return type == nullptr ||
           (type->base->kind != TP_BASE && type->base->kind != TP_STRUCT && type->base->kind != TP_ENUM);
}

// The position behind any qualifiers, null if nothing stands there.
inline type_t skip_qualifiers(type_t type) {
    while (type != nullptr && type->kind == TP_QUAL) {
        type = type->inner;
    }
    return type;
}

bool is_function_type(type_t type); // behind qualifiers, a function; false for null
bool is_bit_type(type_t type);      // behind qualifiers, a base of ENC_BIT; false for null

// ---- nodes

enum sclass_t : uint32_t {
    SC_NULL = 0,
    SC_EXTERN = 1,    // variable: resolved through the symbol of the same name
    SC_GLOBAL = 2,    // nothing makes it
    SC_STATIC = 3,    // variable: `asm_name` for a function-local static
    SC_AUTO = 4,      // variable: `place` is the frame offset
    SC_PARAM = 5,     // variable: `place` is the frame offset
    SC_TYPEDEF = 6,   // name and type only
    SC_MODULE = 7,    // scope: one object file with SDB, and the root
    SC_LINE = 8,      // nothing makes it
    SC_BLOCK = 9,     // scope: `{`, or made up for a redefined variable
    SC_FUNC = 10,     // scope: the block of a function
    SC_REG = 11,      // variable: `place` is the register's row
    SC_STRUCT = 12,   // struct or union
    SC_ENUM = 13,     // enum
    SC_FILENAME = 14, // source-file mark: name and line
    SC_NOSDB = 15,    // scope: one object file without SDB, holds filename nodes
};

enum dsym_flags_t : uint32_t {
    DS_RESOLVED = 1, // `location` holds the resolved place
    DS_FAKED = 2,    // a block made up for a redefined variable
};

struct variable_t {
    uint32_t var_size = 0; // bytes; 0 on anything but a function: declared here, no storage here
    int32_t place = 0;     // register row, frame offset or constant
    location_t location;   // the resolved place, valid when DS_RESOLVED is set
    type_t type = nullptr; // null when the type string did not parse
    text_t asm_name;       // label of a function-local static, else none
};

struct scope_t {
    uint32_t first_line = 0;
    uint32_t last_line = 0;
    text_t file; // source file at opening, none if there was none
    int32_t frame[4] = {0, 0, 0,
                        0};       // the numbers behind the block: [0] frame base, [1] base of autos, [3] of parameters
    std::vector<dsym_t*> members; // in order of reading
    dsym_t* func = nullptr;       // SC_FUNC: the variable node of the function, may be null
    dsym_t* parent = nullptr;
    uint32_t parent_index = 0; // members of the parent when this scope was opened
    // Members by exact name. Variable, struct and enum nodes are hashed: look-ups by name see them; modules and
    // filename nodes are not.
    static constexpr uint32_t no_position = UINT32_MAX;
    struct named_t {
        uint32_t first_hashed = no_position;
        uint32_t last_hashed = no_position;
        std::vector<uint32_t> positions; // in `members`, ascending, hashed or not
    };
    std::unordered_map<std::string_view, named_t> names;
    vector_t<line_t*> writer_list; // scratch: lines that the COFF writers attach to a function, left for later writers
};

struct field_t {
    text_t name; // none for "."
    type_t type = nullptr;
    uint32_t size = 0;      // bytes
    uint32_t offset = 0;    // bytes from the start of the struct
    uint32_t bit_width = 0; // 0: no bit-field
    uint32_t bit_offset = 0;
};

struct struct_t {
    bool is_union = false;
    uint32_t size = 0;            // bytes
    text_t tag;                   // none for "."
    uint32_t module = 0;          // running number of the module that it stands in
    std::vector<field_t> fields;  // empty while only referred to
    uint64_t visited[2] = {0, 0}; // scratch: the comparison that last came here, by its side
};

struct enumerator_t {
    text_t name;
    int32_t value = 0;
};

struct enum_t {
    uint32_t size = 0;                     // bytes
    uint32_t encoding = 0;                 // 1 signed, 2 unsigned, 0 not known
    text_t tag;                            // none for "."
    std::vector<enumerator_t> enumerators; // empty while only referred to
};

struct dsym_t {
    text_t name; // none for the root and for blocks
    uint32_t sclass = SC_NULL;
    uint32_t flags = 0;
    uint32_t line = 0;         // source line when the node was made
    uint32_t writer_entry = 0; // scratch: the number that a writer gave the node
    // The shape: exactly one of these is set, none for a filename node.
    variable_t* variable = nullptr;
    scope_t* scope = nullptr;
    struct_t* structure = nullptr;
    enum_t* enumeration = nullptr;
};

// A place inside a scope from which a variable or a name is looked at: the first `index` members are in view.
struct scope_cursor_t {
    const dsym_t* block = nullptr;
    uint32_t index = 0;
};

// Blocks nest at most this deep; deeper ones are refused by the reader, so that walks may recurse.
constexpr uint32_t scope_depth_limit = 1000;
// A type has at most this many parts; a string that needs more gives no type.
constexpr uint32_t type_depth_limit = 16384;

// ---- the tree

// State of the tree and its readers; owns all nodes, types and texts.
struct tree_t {
    dsym_t* current_scope = nullptr; // where new nodes go; the root at first
    text_t current_file;             // source file of the last line mark
    uint32_t current_line = 0;
    bool machine_known = false;
    uint32_t machine_options = 0;                      // bit n: key n of the machine stood in an SDB header
    hash_t<text_t, text_t, text_ops_t> sdb_defines{8}; // the [d records, first wins
    uint32_t modules = 0;                              // read so far
    uint64_t comparisons = 0;                          // type comparisons so far, see struct_t::visited

    std::deque<dsym_t> nodes;
    std::deque<variable_t> variables;
    std::deque<scope_t> scopes;
    std::deque<struct_t> structs;
    std::deque<enum_t> enums;
    std::deque<tpart_t> parts;
    text_arena_t texts;
};

// The tree of the run, made at the first call.
tree_t& tree_of(run_t& run);

// A new node of that class with its shape, zero-filled, `line` from current_line, in no scope yet.
dsym_t* new_dsym(tree_t& tree, uint32_t sclass);
// Makes a part around `inner`, or an innermost part for null. The caller fills in the rest before anyone else sees it.
tpart_t* new_part(tree_t& tree, uint32_t kind, type_t inner);

// Builds the root from the machine's base types and makes it the current scope; called once by set_machine.
void build_global_block(run_t& run);
// Appends to the members; `hashed` enters the node among those that name look-ups see.
void scope_add(dsym_t* scope, dsym_t* node, bool hashed);
// The last hashed member of exactly that name, or null.
dsym_t* scope_find_last(const dsym_t* scope, text_t name);

// Depth-first search of the whole tree for the first node of that name in the order of members; null if there is none
// or no tree. For many look-ups see dsym_finder_t.
dsym_t* find_dsym(run_t& run, text_t name);
// The same through an index over all names, made once.
using dsym_finder_t = std::unordered_map<std::string_view, dsym_t*>;
dsym_finder_t make_dsym_finder(run_t& run);

} // namespace tavrel
