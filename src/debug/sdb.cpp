// The SDB reader.
//
// An SDB file is text: a header line `[p KEY ... ]` with settings of the compiler, which also tell the processor
// family, and then items made of tokens between white space: `[v` a variable, `[s` and `[u` a struct or union, `[e` an
// enum, `[d` a define, `{` and `}` a block, `"12 main.c` a mark of the source line, and bare numbers behind a block,
// which tell of the frame of its function. Line ends mean nothing but in the header and behind a mark's file name. The
// reader trusts nothing: whatever a file holds, what was read before the damage stays.
#include "debug/sdb.h"

#include <algorithm>

#include "common/scan.h"
#include "debug/machine.h"
#include "debug/type.h"

namespace tavrel {
namespace {

constexpr size_t header_limit = 1024;    // characters of the first line
constexpr size_t file_name_limit = 2047; // characters of a file name that are kept

struct sdb_reader_t {
    run_t& run;
    tree_t& tree;
    std::string name; // of the SDB file, for messages
    text_t text;      // the file
    size_t at = 0;
    uint32_t line = 1, column = 1;           // of the next character
    uint32_t prev_line = 1, prev_column = 1; // of the first character of the latest token
    bool token_at_eol = false;
    uint32_t depth = 0; // blocks open, the module counted
};

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_line_end(char c) { return c == '\n' || c == '\r'; }

bool begins_with(text_t token, char c) { return !token.empty() && token[0] == c; }
char char_at(text_t token, size_t at) { return at < token.size() ? token[at] : '\0'; }

uint32_t number_of(text_t token) {
    uint32_t value = 0;
    scan_number(token, 10, value);
    return value;
}

// ---- tokens

bool at_end(const sdb_reader_t& reader) { return reader.at >= reader.text.size(); }

char next_char(sdb_reader_t& reader) {
    const char c = reader.text[reader.at++];
    if (c == '\n') {
        ++reader.line;
        reader.column = 1;
    } else {
        ++reader.column;
    }
    return c;
}

void skip_space(sdb_reader_t& reader) {
    while (!at_end(reader) && is_space(reader.text[reader.at])) {
        next_char(reader);
    }
}

// None at the end of the file.
text_t next_token(sdb_reader_t& reader) {
    skip_space(reader);
    reader.prev_line = reader.line;
    reader.prev_column = reader.column;
    const size_t first = reader.at;
    while (!at_end(reader) && !is_space(reader.text[reader.at])) {
        next_char(reader);
    }
    const text_t token = reader.text.substr(first, reader.at - first);
    reader.token_at_eol = !at_end(reader) && is_line_end(next_char(reader));
    return token.empty() ? text_t() : token;
}

// False at the end of the file, where the record in work ends, too.
bool take_token(sdb_reader_t& reader, text_t& token) {
    token = next_token(reader);
    return !is_none(token);
}

bool take_number(sdb_reader_t& reader, uint32_t& value) {
    text_t token;
    if (!take_token(reader, token)) {
        return false;
    }
    value = number_of(token);
    return true;
}

void complain_of_token(sdb_reader_t& reader, uint32_t message, text_t token) {
    alert(reader.run, message, token, reader.name, reader.prev_line, reader.prev_column);
}

// ---- nodes

// "." stands for no name.
text_t stored_name(sdb_reader_t& reader, text_t token) {
    return token == "." ? text_t() : reader.tree.texts.add(token);
}

dsym_t* append_filename(tree_t& tree, dsym_t* scope, text_t stored, uint32_t line) {
    dsym_t* const node = new_dsym(tree, SC_FILENAME);
    node->name = stored;
    node->line = line;
    scope_add(scope, node, false);
    return node;
}

// The node that a record of that name meets: the last of the current scope; a faked block lets its parent be seen.
dsym_t* find_namesake(const tree_t& tree, text_t name) {
    const dsym_t* scope = tree.current_scope;
    dsym_t* node = scope_find_last(scope, name);
    while (node == nullptr && (scope->flags & DS_FAKED) != 0) {
        scope = scope->scope->parent;
        node = scope_find_last(scope, name);
    }
    return node;
}

dsym_t* open_scope(tree_t& tree, uint32_t sclass) {
    dsym_t* const node = new_dsym(tree, sclass);
    scope_t& scope = *node->scope;
    scope.first_line = tree.current_line;
    scope.file = tree.current_file;
    scope.parent = tree.current_scope;
    scope.parent_index = static_cast<uint32_t>(tree.current_scope->scope->members.size());
    return node;
}

// ---- variables

struct variable_record_t {
    text_t name;
    text_t asm_name;
    type_t type = nullptr;
    uint32_t sclass = SC_NULL;
    uint32_t size = 0;
    int32_t place = 0;
};

bool is_stack_class(uint32_t sclass) { return sclass == SC_AUTO || sclass == SC_PARAM || sclass == SC_REG; }

// DIM: "3a" makes an array of three, a number without `a` says nothing.
type_t apply_dimension(sdb_reader_t& reader, type_t type, text_t dimension) {
    return dimension.back() == 'a' ? array_of(reader.run, type, number_of(dimension)) : type;
}

uint32_t class_of(sdb_reader_t& reader, text_t token) {
    switch (token[0]) {
    case 'a': return SC_AUTO;
    case 'e': return SC_EXTERN;
    case 'p': return SC_PARAM;
    case 'r': return SC_REG;
    case 's': return SC_STATIC;
    case 't': return SC_TYPEDEF;
    default: complain_of_token(reader, 629, token); return SC_NULL;
    }
}

void apply_location(sdb_reader_t& reader, variable_record_t& record, text_t token) {
    const uint32_t row = find_register(reader.run, token);
    if (record.sclass == SC_REG || (row != 0 && is_stack_class(record.sclass))) {
        record.sclass = SC_REG;
        record.place = static_cast<int32_t>(row);
    } else if (record.sclass == SC_STATIC && begins_with(record.name, 'F') && is_letter(token[0])) {
        record.asm_name = record.name;
        record.name = reader.tree.texts.add(std::string(1, '_').append(token));
    } else {
        record.place = static_cast<int32_t>(number_of(token.substr(token[0] == '@' ? 1 : 0)));
    }
}

// The fields behind NAME, as far as the file goes.
void read_variable_fields(sdb_reader_t& reader, variable_record_t& record) {
    text_t token;
    if (!take_token(reader, token)) {
        return;
    }
    record.type = parse_type(reader.run, token);
    if (!take_token(reader, token)) {
        return;
    }
    record.type = apply_dimension(reader, record.type, token);
    if (!take_token(reader, token)) {
        return;
    }
    record.sclass = class_of(reader, token);
    if (!take_number(reader, record.size)) {
        return;
    }
    if (record.sclass != SC_TYPEDEF) {
        if (!take_token(reader, token)) {
            return;
        }
        apply_location(reader, record, token);
    }
    if (take_token(reader, token) && token[0] != ']') {
        alert(reader.run, 627, 93, reader.name, reader.prev_line, reader.prev_column);
    }
}

// A block for what follows the redefinition of a variable; it becomes the current scope.
dsym_t* open_faked_block(tree_t& tree) {
    dsym_t* const block = open_scope(tree, SC_BLOCK);
    block->flags |= DS_FAKED;
    scope_add(tree.current_scope, block, false);
    tree.current_scope = block;
    return block;
}

// The node that a record on the stack repeats, or null. A redefinition opens a faked block if there is a free slot.
dsym_t* repeated_on_stack(tree_t& tree, const variable_record_t& record, dsym_t** faked) {
    dsym_t* const node = find_namesake(tree, record.name);
    if (node == nullptr) {
        return nullptr;
    }
    if (node->sclass == record.sclass && node->variable->place == record.place &&
        node->variable->var_size == record.size) {
        return node;
    }
    if (faked != nullptr && *faked == nullptr) {
        *faked = open_faked_block(tree);
    }
    return nullptr;
}

// The node of an earlier declaration that the record completes, or null.
dsym_t* completed_static(tree_t& tree, const variable_record_t& record) {
    dsym_t* const node = find_namesake(tree, is_none(record.asm_name) ? record.name : record.asm_name);
    if (node == nullptr || node->sclass != record.sclass || node->variable->place != record.place ||
        node->variable->var_size > record.size) {
        return nullptr;
    }
    node->variable->type = record.type;
    node->variable->var_size = record.size;
    return node;
}

dsym_t* add_variable(tree_t& tree, const variable_record_t& record) {
    dsym_t* const node = new_dsym(tree, record.sclass);
    node->name = record.name;
    node->variable->asm_name = record.asm_name;
    node->variable->type = record.type;
    node->variable->var_size = record.size;
    node->variable->place = record.place;
    scope_add(tree.current_scope, node, true);
    return node;
}

// The node that the record made, repeated or completed; null if it made none.
dsym_t* read_variable(sdb_reader_t& reader, dsym_t** faked) {
    tree_t& tree = reader.tree;
    text_t token;
    if (!take_token(reader, token)) {
        return nullptr;
    }
    variable_record_t record;
    record.name = tree.texts.add(token);
    read_variable_fields(reader, record);
    dsym_t* node = nullptr;
    if (is_stack_class(record.sclass)) {
        if (tree.current_scope->sclass == SC_MODULE) {
            return nullptr;
        }
        node = repeated_on_stack(tree, record, faked);
    } else if (record.sclass == SC_EXTERN || record.sclass == SC_STATIC) {
        node = completed_static(tree, record);
    }
    return node != nullptr ? node : add_variable(tree, record);
}

// ---- structs, enums, defines

// The node that a struct or enum record fills: one that was only referred to so far, else a new one.
template <class IsOpen>
dsym_t* record_node(tree_t& tree, text_t name, uint32_t sclass, IsOpen is_open) {
    dsym_t* node = find_namesake(tree, name);
    if (node == nullptr || node->sclass != sclass || !is_open(*node)) {
        node = new_dsym(tree, sclass);
        node->name = tree.texts.add(name);
        scope_add(tree.current_scope, node, true);
    }
    return node;
}

// :width:offset
void apply_bits(field_t& field, text_t token) {
    const size_t colon = std::min(token.find(':', 1), token.size());
    field.bit_width = number_of(token.substr(1, colon - 1));
    field.bit_offset = colon < token.size() ? number_of(token.substr(colon + 1)) : 0;
}

// Reads one field, whose type string is in hand; false if the file ends inside it. `token` becomes the token behind.
bool read_field(sdb_reader_t& reader, field_t& field, text_t& token) {
    field.type = parse_type(reader.run, token);
    if (!take_token(reader, token)) {
        return false;
    }
    if (is_digit(token[0])) {
        field.type = apply_dimension(reader, field.type, token);
        if (!take_token(reader, token)) {
            return false;
        }
    }
    field.name = stored_name(reader, token);
    if (!take_number(reader, field.size) || !take_number(reader, field.offset)) {
        return false;
    }
    if (take_token(reader, token) && token[0] == ':') {
        apply_bits(field, token);
        token = next_token(reader);
    }
    return true;
}

void read_struct(sdb_reader_t& reader, bool is_union) {
    text_t token;
    if (!take_token(reader, token)) {
        return;
    }
    struct_t& structure = *record_node(reader.tree, token, SC_STRUCT, [](const dsym_t& node) {
                               return node.structure->fields.empty();
                           })->structure;
    structure.is_union = is_union;
    if (!take_token(reader, token)) {
        return;
    }
    structure.tag = stored_name(reader, token);
    if (!take_number(reader, structure.size)) {
        return;
    }
    std::vector<field_t> fields;
    token = next_token(reader);
    while (!is_none(token) && token[0] != ']') {
        field_t field;
        if (!read_field(reader, field, token)) {
            break;
        }
        fields.push_back(field);
    }
    structure.fields = std::move(fields);
    structure.fields.shrink_to_fit();
}

void read_enum(sdb_reader_t& reader) {
    text_t token;
    if (!take_token(reader, token)) {
        return;
    }
    enum_t& enumeration = *record_node(reader.tree, token, SC_ENUM, [](const dsym_t& node) {
                               return node.enumeration->enumerators.empty();
                           })->enumeration;
    if (!take_token(reader, token)) {
        return;
    }
    enumeration.tag = stored_name(reader, token);
    token = next_token(reader);
    if (begins_with(token, '`')) {
        if (const type_t base = parse_type(reader.run, token); base != nullptr) {
            enumeration.size = base->base->size;
        }
        token = next_token(reader);
    }
    std::vector<enumerator_t> enumerators;
    for (uint32_t value = 0; !is_none(token) && token[0] != ']'; token = next_token(reader)) {
        if (!take_number(reader, value)) {
            break;
        }
        enumerators.push_back({reader.tree.texts.add(token), static_cast<int32_t>(value)});
    }
    enumeration.enumerators = std::move(enumerators);
    enumeration.enumerators.shrink_to_fit();
}

void read_define(sdb_reader_t& reader) {
    text_t key, value, end;
    if (!take_token(reader, key) || !take_token(reader, value)) {
        return;
    }
    if (take_token(reader, end) && end[0] != ']') {
        alert_text(reader.run, "E", "malformed define in .SDB file %s", reader.name);
    }
    auto& defines = reader.tree.sdb_defines;
    if (hash_find(defines, key) == nullptr) {
        hash_insert(defines, reader.tree.texts.add(key), reader.tree.texts.add(value));
    }
}

// ---- blocks

// One block as it is read.
struct open_block_t {
    dsym_t* node;
    uint32_t low, high;            // smallest and largest line so far
    uint32_t next_kind = SC_BLOCK; // of the next block inside
    dsym_t* pending = nullptr;     // the function whose block or first number is awaited
    dsym_t* child = nullptr;       // the latest block inside
    uint32_t number_index = 0;     // of the next number behind it
    dsym_t* faked = nullptr;
};

dsym_t* read_block(sdb_reader_t& reader, uint32_t sclass);

void take_in_line(open_block_t& block, uint32_t line) {
    if (block.low == 0 || block.low > line) {
        block.low = line;
    }
    block.high = std::max(block.high, line);
}

// The rest of the line behind a mark; white space in front of it may be any.
text_t read_file_name(sdb_reader_t& reader) {
    skip_space(reader);
    const size_t first = reader.at;
    while (!at_end(reader) && !is_line_end(reader.text[reader.at])) {
        next_char(reader);
    }
    const text_t name = reader.text.substr(first, std::min(reader.at - first, file_name_limit));
    if (!at_end(reader)) {
        next_char(reader);
    }
    return name;
}

void read_line_mark(sdb_reader_t& reader, open_block_t& block, text_t token) {
    tree_t& tree = reader.tree;
    tree.current_line = number_of(token.substr(1));
    if (!reader.token_at_eol) {
        const text_t name = read_file_name(reader);
        if (is_none(tree.current_file) || tree.current_file != name) {
            tree.current_file = tree.texts.add(name);
            block.low = block.high = tree.current_line;
            append_filename(tree, tree.current_scope, tree.current_file, tree.current_line);
        }
    }
    take_in_line(block, tree.current_line);
}

void read_variable_item(sdb_reader_t& reader, open_block_t& block) {
    dsym_t* const node = read_variable(reader, reader.run.fake_blocks ? &block.faked : nullptr);
    if (node != nullptr && is_function_type(node->variable->type)) {
        block.next_kind = SC_FUNC;
        block.pending = node;
    }
}

void read_record(sdb_reader_t& reader, open_block_t& block, char kind) {
    switch (kind) {
    case 'v': read_variable_item(reader, block); break;
    case 's': read_struct(reader, false); break;
    case 'u': read_struct(reader, true); break;
    case 'e': read_enum(reader); break;
    case 'd': read_define(reader); break;
    default: block.next_kind = SC_BLOCK; break;
    }
}

void read_inner_block(sdb_reader_t& reader, open_block_t& block) {
    block.child = read_block(reader, block.next_kind);
    scope_add(reader.tree.current_scope, block.child, false);
    if (block.next_kind == SC_FUNC) {
        block.child->scope->func = block.pending;
        block.number_index = 0;
    }
    block.next_kind = SC_BLOCK;
    take_in_line(block, reader.tree.current_line);
}

void take_frame_number(open_block_t& block, uint32_t number) {
    if (block.pending != nullptr) {
        block.pending->variable->var_size = number;
        block.pending = nullptr;
    }
    if (block.child != nullptr && block.number_index < std::size(block.child->scope->frame)) {
        block.child->scope->frame[block.number_index] = static_cast<int32_t>(number);
    }
    ++block.number_index;
}

// False if the token ends the block.
bool read_item(sdb_reader_t& reader, open_block_t& block, text_t token) {
    const char first = token[0];
    if (first == '"') {
        read_line_mark(reader, block, token);
    } else if (first == '[') {
        read_record(reader, block, char_at(token, 1));
    } else if (first == '{' && reader.depth < scope_depth_limit) {
        read_inner_block(reader, block);
    } else if (first == '-' || is_digit(first)) {
        take_frame_number(block, number_of(token));
    } else {
        if (first != '}') {
            complain_of_token(reader, 631, token);
        }
        return false;
    }
    return true;
}

// Reads up to the matching `}`. The node is in no scope yet.
dsym_t* read_block(sdb_reader_t& reader, uint32_t sclass) {
    tree_t& tree = reader.tree;
    open_block_t block{open_scope(tree, sclass), tree.current_line, tree.current_line};
    text_t token = next_token(reader);
    if (is_none(token)) {
        return block.node;
    }
    ++reader.depth;
    tree.current_scope = block.node;
    while (!is_none(token) && read_item(reader, block, token)) {
        token = next_token(reader);
    }
    block.node->scope->first_line = block.low;
    block.node->scope->last_line = block.high;
    if (block.faked != nullptr) {
        block.faked->scope->last_line = tree.current_line;
    }
    tree.current_scope = block.node->scope->parent;
    --reader.depth;
    return block.node;
}

// ---- the file

// The next word from `at` on, which moves behind it; empty at the end. Words of the first line may hold any character
// that does not separate them, form feeds too.
text_t header_word(text_t header, size_t& at) {
    constexpr text_t separators = " \t\r\n";
    const size_t first = std::min(header.find_first_not_of(separators, at), header.size());
    at = std::min(header.find_first_of(separators, first), header.size());
    return header.substr(first, at - first);
}

// The first line and what it says of the machine; false if no machine can be chosen.
bool read_header(sdb_reader_t& reader) {
    const size_t newline = reader.text.substr(0, header_limit).find('\n');
    const size_t length = std::min({newline == text_t::npos ? header_limit : newline + 1, reader.text.size()});
    while (reader.at < length) {
        next_char(reader);
    }
    const text_t header = reader.text.substr(0, length);
    size_t at = 0;
    if (header_word(header, at) != "[p") {
        alert(reader.run, 630, reader.name);
    }
    set_machine(reader.run, header.substr(at));
    if (reader.run.machine == nullptr) {
        return false;
    }
    reader.tree.current_file = text_t();
    for (text_t word = header_word(header, at); !word.empty() && word != "]"; word = header_word(header, at)) {
        if (!set_machine_option(reader.run, word)) {
            alert(reader.run, 637, word, reader.name);
        }
    }
    return true;
}

// The name with its extension replaced. The last dot counts, also one in a directory part.
std::string sdb_name_of(text_t object_name) {
    return std::string(object_name.substr(0, object_name.rfind('.'))) + ".sdb";
}

} // namespace

dsym_t* read_sdb(run_t& run, text_t object_name) {
    tree_t& tree = tree_of(run);
    ++tree.modules;
    std::string bytes;
    sdb_reader_t reader{run, tree, sdb_name_of(object_name), {}};
    dsym_t* module = nullptr;
    if (run.host.read_file(reader.name, bytes) == 0 && !bytes.empty()) {
        reader.text = bytes;
        if (!read_header(reader)) {
            return nullptr;
        }
        module = read_block(reader, SC_MODULE);
    } else {
        set_machine(run, "");
        if (run.machine == nullptr) {
            return nullptr;
        }
        module = open_scope(tree, SC_NOSDB);
    }
    module->name = tree.texts.add(object_name);
    tree.current_line = 1;
    scope_add(tree.current_scope, module, false);
    return module;
}

dsym_t* add_filename(run_t& run, dsym_t* scope, text_t name, uint32_t line) {
    tree_t& tree = tree_of(run);
    return append_filename(tree, scope, tree.texts.add(name), line);
}

} // namespace tavrel
