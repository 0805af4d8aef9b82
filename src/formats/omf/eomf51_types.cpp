// The type table of Extended OMF-51: types of the tree become type numbers of one byte, either standard types or items
// of the typedef record in the making.
//
// What a type is made of is put out before the type, so that an item refers to lower numbers only. The exception is a
// struct that leads back to itself: inside it, a reference to it is typeless. Equal types share one item. A struct
// takes several items: its tag, the items of its fields, one or more lists of fields that count as one number, and
// itself.
//
// Types nest as deep as the input likes, so what is still open stands on a stack of its own and not on the program's.
// For the same reason numbers are counted in 32 bits here, though an item has room for one byte: only a type that alone
// needs more than 255 items gets that far.
#include <memory>
#include <optional>

#include "debug/machine.h"
#include "formats/omf/eomf51_records.h"

namespace tavrel {
namespace {

constexpr size_t list_size = 255;        // bytes of a list of fields
constexpr size_t list_header_size = 3;   // key, count, 0
constexpr size_t field_header_size = 4;  // of a field in a list, in front of its name
constexpr size_t field_name_limit = 200; // characters

// A struct whose item is not out yet.
struct open_struct_t {
    size_t field = 0; // in work
    uint32_t tag = 0; // number of the tag's item
    std::vector<uint8_t> list;
    bool list_stored = false;
    bool list_lost = false;
};

// A type whose item waits for what it is made of.
struct open_type_t {
    type_t position;
    std::unique_ptr<open_struct_t> structure; // of a struct
};

struct encoder_t {
    eomf_types_t& types;
    std::vector<open_type_t> open;
};

struct space_rule_t {
    uint32_t flags; // of a pointer's target
    uint8_t space;
};

constexpr space_rule_t pointer_spaces[] = {
    {0x20,   1}, // the first that holds counts
    {0x1004, 2},
    {0x80,   3},
    {0x8,    4},
    {0x400,  5},
};

uint8_t pointer_space(type_t target) {
    if (target != nullptr && target->kind == TP_QUAL) {
        for (const space_rule_t& rule : pointer_spaces) {
            if ((target->value & rule.flags) != 0) {
                return rule.space;
            }
        }
    }
    return 0;
}

uint8_t base_type(const tpart_t& part) {
    const uint32_t size = part.size;
    switch (part.value) {
    case ENC_VOID: return EOMF_VOID;
    case ENC_FLOAT: return EOMF_FLOAT_BIG_ENDIAN;
    case ENC_SIGNED:
        return size == 1   ? EOMF_SIGNED_CHAR
               : size == 2 ? EOMF_SIGNED_INT
               : size == 4 ? EOMF_SIGNED_LONG
                           : EOMF_TYPELESS;
    case ENC_UNSIGNED:
        return size == 1   ? EOMF_UNSIGNED_CHAR
               : size == 2 ? EOMF_UNSIGNED_INT
               : size == 4 ? EOMF_UNSIGNED_LONG
                           : EOMF_TYPELESS;
    default: return EOMF_TYPELESS;
    }
}

uint8_t enum_type(const enum_t& enumeration) {
    const bool is_signed = enumeration.encoding == 1;
    if (enumeration.size == 1) {
        return is_signed ? EOMF_SIGNED_CHAR : EOMF_UNSIGNED_CHAR;
    }
    return is_signed ? EOMF_SIGNED_INT : EOMF_UNSIGNED_INT;
}

// ---- items

// Appends an item; false, with message 622, if it does not fit.
bool append_item(eomf_types_t& types, const std::vector<uint8_t>& item, text_t what) {
    if (item.size() > eomf_type_buffer_size - types.type_buffer.size()) {
        alert(types.run, 622, what);
        return false;
    }
    types.type_buffer.insert(types.type_buffer.end(), item.begin(), item.end());
    return true;
}

// Appends an item with a number of its own and gives that; 0 if it does not fit.
uint32_t append_numbered(eomf_types_t& types, const std::vector<uint8_t>& item, text_t what) {
    return append_item(types, item, what) ? types.next_type++ : 0;
}

std::vector<uint8_t> pointer_item(const eomf_types_t& types, type_t position, uint8_t target) {
    const uint8_t space = pointer_space(position->inner);
    const auto size = static_cast<uint8_t>(type_size(types.run, position));
    return {EOMF_POINTER, uint8_t(space != 0 ? 2 : 1), size, space, 1, 0, 0, 0, target};
}

std::vector<uint8_t> array_item(type_t position, uint8_t element) {
    const uint32_t count = position->value;
    return {EOMF_ARRAY, 1, static_cast<uint8_t>(count), static_cast<uint8_t>(count >> 8), element};
}

std::vector<uint8_t> wrapper_item(const eomf_types_t& types, type_t position, uint8_t inner) {
    switch (position->kind) {
    case TP_PTR: return pointer_item(types, position, inner);
    case TP_ARRAY: return array_item(position, inner);
    default: return {EOMF_FUNCTION, inner, 0};
    }
}

// Puts out the pointer, array or function that is open last, now that its inner type has a number.
uint32_t close_wrapper(encoder_t& encoder, uint32_t inner) {
    eomf_types_t& types = encoder.types;
    const type_t position = encoder.open.back().position;
    encoder.open.pop_back();
    const auto item = wrapper_item(types, position, static_cast<uint8_t>(inner));
    const uint32_t number = append_numbered(types, item, position->text);
    if (number != 0) {
        type_map_add(types.written_types, position, number);
    }
    return number;
}

// ---- structs

void begin_list(open_struct_t& structure) { structure.list = {EOMF_MEMBERS, 0, 0}; }

void append_list(eomf_types_t& types, open_struct_t& structure, text_t field_name) {
    if (append_item(types, structure.list, field_name)) {
        structure.list_stored = true;
    } else {
        structure.list_lost = true;
    }
    begin_list(structure);
}

text_t listed_name(const field_t& field) { return field.name.substr(0, field_name_limit); }

// Puts the field in work in the list.
void append_field(open_struct_t& structure, const field_t& field, uint32_t type) {
    omf_put8(structure.list, field.offset);
    omf_put8(structure.list, 0);
    omf_put8(structure.list, type);
    omf_put_name(structure.list, listed_name(field));
    ++structure.list[1];
    ++structure.field;
}

void open_structure(encoder_t& encoder, type_t position) {
    auto structure = std::make_unique<open_struct_t>();
    if (const text_t tag = position->node->structure->tag; !is_none(tag)) {
        std::vector<uint8_t> item = {EOMF_TAG, 0};
        omf_put_name(item, tag); // cut at the 255 characters that its length byte can tell
        structure->tag = append_numbered(encoder.types, item, tag);
    }
    type_map_add(encoder.types.written_types, position, 0);
    begin_list(*structure);
    encoder.open.push_back({position, std::move(structure)});
}

// Puts fields in the list up to the first that needs a type encoded, and gives that; null behind the last field.
const field_t* next_field(eomf_types_t& types, const struct_t& node, open_struct_t& structure) {
    while (structure.field < node.fields.size()) {
        const field_t& field = node.fields[structure.field];
        if (structure.list.size() + field_header_size + listed_name(field).size() > list_size) {
            append_list(types, structure, field.name);
        }
        if (field.bit_width == 0) {
            return &field;
        }
        const std::vector<uint8_t> item = {EOMF_BIT_FIELD, 1, static_cast<uint8_t>(field.bit_offset),
                                           static_cast<uint8_t>(field.bit_width)};
        append_field(structure, field, append_numbered(types, item, field.name));
    }
    return nullptr;
}

// The number of the lists, one for all of them; 0 if the buffer took none.
uint32_t close_lists(eomf_types_t& types, const struct_t& node, open_struct_t& structure) {
    if (structure.list.size() > list_header_size) {
        append_list(types, structure, node.fields.back().name);
    }
    const bool all_lost = structure.list_lost && !structure.list_stored;
    return all_lost ? 0 : types.next_type++;
}

// Puts out the struct that is open last.
uint32_t close_struct(encoder_t& encoder) {
    eomf_types_t& types = encoder.types;
    const open_type_t closed = std::move(encoder.open.back());
    encoder.open.pop_back();
    const type_t position = closed.position;
    const struct_t& node = *position->node->structure;
    const uint32_t lists = close_lists(types, node, *closed.structure);
    const std::vector<uint8_t> item = {EOMF_STRUCT, static_cast<uint8_t>(node.size), 0, static_cast<uint8_t>(lists),
                                       static_cast<uint8_t>(closed.structure->tag)};
    const uint32_t number = append_numbered(types, item, position->text);
    if (number != 0) {
        *type_map_find(types.written_types, position) = number;
    }
    return number;
}

// ---- the walk
//
// Its steps give a type's number, or none where a type was opened or goes on.

std::optional<uint32_t> begin_item(encoder_t& encoder, type_t position) {
    if (const uint32_t* const number = type_map_find(encoder.types.written_types, position); number != nullptr) {
        return *number;
    }
    if (position->kind == TP_STRUCT) {
        open_structure(encoder, position);
    } else {
        encoder.open.push_back({position, nullptr});
    }
    return std::nullopt;
}

std::optional<uint32_t> begin_type(encoder_t& encoder, type_t position) {
    position = skip_qualifiers(position);
    if (position == nullptr) {
        return EOMF_TYPELESS;
    }
    switch (position->kind) {
    case TP_BASE: return base_type(*position);
    case TP_ENUM: return enum_type(*position->node->enumeration);
    case TP_FUNC:
    case TP_PTR:
    case TP_ARRAY:
    case TP_STRUCT: return begin_item(encoder, position);
    default: return EOMF_TYPELESS;
    }
}

// Goes for what the type that is open last is made of.
std::optional<uint32_t> begin_inner(encoder_t& encoder) {
    open_type_t& open = encoder.open.back();
    if (open.structure == nullptr) {
        return begin_type(encoder, open.position->inner);
    }
    const field_t* const field = next_field(encoder.types, *open.position->node->structure, *open.structure);
    return field != nullptr ? begin_type(encoder, field->type) : close_struct(encoder);
}

// Hands the number of a type to the one that is open last.
std::optional<uint32_t> take_number(encoder_t& encoder, uint32_t number) {
    open_type_t& open = encoder.open.back();
    if (open.structure == nullptr) {
        return close_wrapper(encoder, number);
    }
    append_field(*open.structure, open.position->node->structure->fields[open.structure->field], number);
    return std::nullopt;
}

} // namespace

uint8_t encode_type(eomf_types_t& types, type_t position) {
    encoder_t encoder{types, {}};
    std::optional<uint32_t> number = begin_type(encoder, position);
    while (!encoder.open.empty()) {
        number = number ? take_number(encoder, *number) : begin_inner(encoder);
    }
    return static_cast<uint8_t>(*number);
}

} // namespace tavrel
