// Types as DIEs. Each type of a unit is one DIE, found again by a key: the type string from the type's outermost part
// to its innermost one. A DIE refers to the types that it is built on by their places, so these land in front of it.
//
// The one thing that cannot be in front of whatever refers to it is a structure, since a member may lead back to it.
// While the types of its members are sought a structure is "under construction", and whoever refers to it leaves word
// where, to be told the place when the structure has landed.
//
// Types may be thousands of parts deep and structures lead to each other by the thousand, so what waits for an inner
// type stands on a list of its own and not on the program's stack.
#include "debug/machine.h"
#include "formats/elf/dwarf_layout.h"
#include "formats/elf/dwarf_writer.h"
#include "model/encdec.h"

namespace tavrel {
namespace {

constexpr size_t key_limit = 63;
constexpr uint32_t flag_const = 0x80000; // qualifiers that DWARF knows; other values of "const" leave no trace
constexpr uint32_t flag_volatile = 2;

// What comes of one step: either the type that was sought, or a further type that has to be there first.
struct step_t {
    bool done;
    uint32_t entry; // when done: of `types`, or no_type
    type_t wanted;  // else
};

step_t done(uint32_t entry) { return {true, entry, nullptr}; }

step_t wait_for(dwarf_writer_t& writer, type_t part, uint32_t entry, type_t inner) {
    writer.pending.push_back({part, entry});
    return {false, no_type, inner};
}

// ---- entries

std::string type_key(type_t part) {
    std::string key;
    for (; part != nullptr && key.size() < key_limit; part = part->inner) {
        key.append(part->text.substr(0, key_limit - key.size()));
    }
    return key;
}

uint32_t add_type_entry(dwarf_writer_t& writer, type_t part) {
    type_entry_t& entry = writer.types.emplace_back();
    entry.part = part;
    return static_cast<uint32_t>(writer.types.size() - 1);
}

uint32_t find_or_add_entry(dwarf_writer_t& writer, const std::string& key, type_t part) {
    if (const auto found = writer.global_types.find(key); found != writer.global_types.end()) {
        return found->second;
    }
    const auto [slot, is_new] = writer.unit_types.try_emplace(key, 0);
    if (is_new) {
        slot->second = add_type_entry(writer, part);
    }
    return slot->second;
}

void set_offset(dwarf_writer_t& writer, uint32_t type, uint32_t offset) {
    type_entry_t& entry = writer.types[type];
    entry.offset = offset;
    if (entry.failed) {
        entry.failed = false;
        ++writer.revivals;
    }
}

// The DIE lands; it is the entry's from now on.
step_t land(dwarf_writer_t& writer, uint32_t type, const die_t& die) {
    const uint32_t place = die_land(writer, die);
    set_offset(writer, type, place - writer.unit_start);
    return done(type);
}

step_t fail(dwarf_writer_t& writer, type_t part, uint32_t type) {
    writer.types[type].failed = true;
    writer.failures[part] = writer.revivals;
    return done(no_type);
}

bool failed_before(const dwarf_writer_t& writer, type_t part) {
    const auto found = writer.failures.find(part);
    return found != writer.failures.end() && found->second == writer.revivals;
}

// ---- base types

struct base_name_t {
    uint32_t encoding; // encoding_t
    text_t key;        // none stands for any other, which is its own name
    const char* name;
    dwarf_encoding_t dwarf_encoding;
};

constexpr base_name_t base_names[] = {
    {ENC_SIGNED,   "c",      "char",                    DW_ATE_signed_char  },
    {ENC_SIGNED,   "s",      "short int",               DW_ATE_signed       },
    {ENC_SIGNED,   "i",      "int",                     DW_ATE_signed       },
    {ENC_SIGNED,   "m",      "short long int",          DW_ATE_signed       },
    {ENC_SIGNED,   "l",      "long int",                DW_ATE_signed       },
    {ENC_SIGNED,   text_t(), nullptr,                   DW_ATE_signed       },
    {ENC_UNSIGNED, "uc",     "unsigned char",           DW_ATE_unsigned_char},
    {ENC_UNSIGNED, "us",     "short unsigned int",      DW_ATE_unsigned     },
    {ENC_UNSIGNED, "ui",     "unsigned int",            DW_ATE_unsigned     },
    {ENC_UNSIGNED, "um",     "short long unsigned int", DW_ATE_unsigned     },
    {ENC_UNSIGNED, "ul",     "long unsigned int",       DW_ATE_unsigned     },
    {ENC_UNSIGNED, text_t(), nullptr,                   DW_ATE_unsigned     },
    {ENC_FLOAT,    "f",      "float",                   DW_ATE_float        },
    {ENC_FLOAT,    "d",      "double",                  DW_ATE_float        },
    {ENC_FLOAT,    text_t(), nullptr,                   DW_ATE_float        },
    {ENC_BIT,      text_t(), nullptr,                   DW_ATE_boolean      },
};

const base_name_t* find_base_name(uint32_t encoding, text_t key) {
    for (const base_name_t& row : base_names) {
        if (row.encoding == encoding && (is_none(row.key) || row.key == key)) {
            return &row;
        }
    }
    return nullptr;
}

step_t write_base(dwarf_writer_t& writer, type_t part, uint32_t type, text_t key) {
    const base_name_t* const row = find_base_name(part->value, key);
    if (row == nullptr) {
        return fail(writer, part, type);
    }
    die_t die;
    die_begin(writer, die, SHAPE_BASE);
    die_put_text(die, is_none(row->key) ? key : text_t(row->name));
    die_put8(die, part->size);
    die_put8(die, row->dwarf_encoding);
    return land(writer, type, die);
}

// ---- enumerations

step_t write_enum(dwarf_writer_t& writer, type_t part, uint32_t type) {
    const enum_t* const node = part->node == nullptr ? nullptr : part->node->enumeration;
    if (node == nullptr) {
        return fail(writer, part, type);
    }
    die_t die;
    die_begin(writer, die, is_none(node->tag) ? SHAPE_ANONYMOUS_ENUM : SHAPE_ENUM);
    die_put32(writer, die, 0);
    if (!is_none(node->tag)) {
        die_put_text(die, node->tag);
    }
    die_put8(die, node->size);
    for (const enumerator_t& row : node->enumerators) {
        die_begin(writer, die, SHAPE_ENUMERATOR);
        die_put_text(die, row.name);
        die_put32(writer, die, static_cast<uint32_t>(row.value));
    }
    die_close_children(writer, die);
    return land(writer, type, die);
}

// ---- what is built on one other type; `inner` is that type's entry

step_t write_function(dwarf_writer_t& writer, uint32_t type, uint32_t inner) {
    die_t die;
    die_begin(writer, die, inner == no_type ? SHAPE_VOID_SUBROUTINE : SHAPE_SUBROUTINE);
    if (inner != no_type) {
        die_put_type(writer, die, inner);
    }
    return land(writer, type, die);
}

step_t write_pointer(dwarf_writer_t& writer, uint32_t type, uint32_t inner) {
    die_t die;
    die_begin(writer, die, inner == no_type ? SHAPE_VOID_POINTER : SHAPE_POINTER);
    if (inner != no_type) {
        die_put_type(writer, die, inner);
    }
    die_put8(die, type_size(writer.run, writer.types[type].part));
    return land(writer, type, die);
}

step_t write_array(dwarf_writer_t& writer, type_t part, uint32_t type, uint32_t element) {
    if (element == no_type) {
        return fail(writer, part, type);
    }
    die_t die;
    die_begin(writer, die, SHAPE_ARRAY);
    die_put32(writer, die, 0);
    die_put_type(writer, die, element);
    for (type_t at = writer.types[type].part; at != nullptr && at->kind == TP_ARRAY; at = at->inner) {
        die_begin(writer, die, SHAPE_SUBRANGE);
        die_put32(writer, die, at->value - 1);
    }
    die_close_children(writer, die);
    return land(writer, type, die);
}

void write_qualifier(dwarf_writer_t& writer, uint32_t type, shape_t shape, uint32_t inner) {
    die_t die;
    die_begin(writer, die, shape);
    die_put_type(writer, die, inner);
    land(writer, type, die);
}

// A qualifier that leaves no trace shares the DIE of the type inside.
void share_offset(dwarf_writer_t& writer, uint32_t type, uint32_t inner) {
    const type_entry_t from = writer.types[inner];
    set_offset(writer, type, from.offset);
    if (from.offset == under_construction) {
        writer.types[type].owner = from.owner;
        writer.constructions[from.owner].entries.push_back(type);
    }
}

step_t write_qualifiers(dwarf_writer_t& writer, type_t part, uint32_t type, uint32_t inner) {
    if (inner == no_type) {
        return fail(writer, part, type);
    }
    const uint32_t flags = writer.types[type].part->value;
    if ((flags & (flag_const | flag_volatile)) == 0) {
        share_offset(writer, type, inner);
        return done(type);
    }
    if ((flags & flag_const) != 0) {
        write_qualifier(writer, type, SHAPE_CONST, inner);
        inner = type;
    }
    if ((flags & flag_volatile) != 0) {
        write_qualifier(writer, type, SHAPE_VOLATILE, inner);
    }
    return done(type);
}

// ---- structures and unions

shape_t struct_shape(const struct_t& node) {
    if (node.is_union) {
        return is_none(node.tag) ? SHAPE_ANONYMOUS_UNION : SHAPE_UNION;
    }
    return is_none(node.tag) ? SHAPE_ANONYMOUS_STRUCT : SHAPE_STRUCT;
}

shape_t member_shape(const struct_t& node, const field_t& field) {
    if (node.is_union) {
        return field.bit_width != 0 ? SHAPE_UNION_BIT_MEMBER : SHAPE_UNION_MEMBER;
    }
    return field.bit_width != 0 ? SHAPE_BIT_MEMBER : SHAPE_MEMBER;
}

void put_member(dwarf_writer_t& writer, construction_t& construction, const field_t& field, uint32_t type) {
    die_t& die = construction.die;
    die_begin(writer, die, member_shape(*construction.node, field));
    die_put_text(die, field.name);
    die_put_type(writer, die, type);
    if (field.bit_width != 0) {
        die_put8(die, field.size);
        die_put8(die, field.bit_width);
        die_put8(die, 8 * field.size - field.bit_offset - 1);
    }
    if (!construction.node->is_union) {
        std::string place(1, static_cast<char>(DW_OP_plus_uconst));
        uleb128_write(place, field.offset);
        die_put8(die, static_cast<uint32_t>(place.size()));
        die.bytes.append(place);
    }
}

// The structure lands, and all who waited for it are told where.
step_t end_struct(dwarf_writer_t& writer) {
    construction_t& construction = writer.constructions.back();
    const uint32_t type = construction.entry;
    die_close_children(writer, construction.die);
    const uint32_t offset = die_land(writer, construction.die) - writer.unit_start;
    set_offset(writer, type, offset);
    for (const uint32_t place : construction.places) {
        patch32(writer, writer.info, place, offset);
    }
    for (const uint32_t entry : construction.entries) {
        set_offset(writer, entry, offset);
    }
    writer.constructions.pop_back();
    writer.pending.pop_back();
    return done(type);
}

void put_field(dwarf_writer_t& writer, uint32_t type) {
    construction_t& construction = writer.constructions.back();
    const field_t& field = construction.node->fields[construction.field++];
    if (type == no_type) {
        alert_text(writer.run, "W", "DWARF: Couldn't find type for '%s'", field.name);
    } else {
        put_member(writer, construction, field, type);
    }
}

// Goes on to the next field that has a type; ends the structure behind the last one.
step_t next_field(dwarf_writer_t& writer) {
    for (;;) {
        const construction_t& construction = writer.constructions.back();
        if (construction.field == construction.node->fields.size()) {
            return end_struct(writer);
        }
        const field_t& field = construction.node->fields[construction.field];
        want_shape(writer, member_shape(*construction.node, field));
        if (field.type != nullptr) {
            return {false, no_type, field.type};
        }
        put_field(writer, no_type);
    }
}

step_t begin_struct(dwarf_writer_t& writer, type_t part, uint32_t type) {
    const dsym_t* const owner = part->node;
    if (owner == nullptr || owner->structure == nullptr) {
        return fail(writer, part, type);
    }
    const struct_t& node = *owner->structure;
    set_offset(writer, type, under_construction);
    writer.types[type].owner = static_cast<uint32_t>(writer.constructions.size());
    construction_t& construction = writer.constructions.emplace_back();
    construction.entry = type;
    construction.node = &node;
    die_t& die = construction.die;
    die_begin(writer, die, struct_shape(node));
    die_put32(writer, die, 0);
    if (!is_none(node.tag)) {
        die_put_text(die, node.tag);
    }
    die_put8(die, node.size);
    die_put8(die, writer.current_file);
    die_put16(writer, die, owner->line);
    writer.pending.push_back({part, type});
    return next_field(writer);
}

// ---- one type

// The types that have one other type inside; nothing may stand there after all.
step_t begin_wrapper(dwarf_writer_t& writer, type_t part, uint32_t type) {
    if (part->kind == TP_ARRAY || part->kind == TP_QUAL) {
        if (failed_before(writer, part)) {
            return done(no_type);
        }
    }
    type_t inner = part->inner;
    while (part->kind == TP_ARRAY && inner != nullptr && inner->kind == TP_ARRAY) {
        inner = inner->inner;
    }
    if (inner != nullptr) {
        return wait_for(writer, part, type, inner);
    }
    switch (part->kind) {
    case TP_FUNC: return write_function(writer, type, no_type);
    case TP_PTR: return write_pointer(writer, type, no_type);
    default: return fail(writer, part, type);
    }
}

step_t begin_type(dwarf_writer_t& writer, type_t part) {
    const std::string key = type_key(part);
    const uint32_t type = find_or_add_entry(writer, key, part);
    if (writer.types[type].offset != 0) {
        return done(type);
    }
    switch (part->kind) {
    case TP_BASE: return write_base(writer, part, type, key);
    case TP_ENUM: return write_enum(writer, part, type);
    case TP_STRUCT: return begin_struct(writer, part, type);
    case TP_FUNC:
    case TP_PTR:
    case TP_ARRAY:
    case TP_QUAL: return begin_wrapper(writer, part, type);
    default: return fail(writer, part, type);
    }
}

// The type that the innermost pending one waits for has come.
step_t resume_type(dwarf_writer_t& writer, uint32_t inner) {
    const pending_type_t at = writer.pending.back();
    if (at.part->kind == TP_STRUCT) {
        put_field(writer, inner);
        return next_field(writer);
    }
    writer.pending.pop_back();
    switch (at.part->kind) {
    case TP_FUNC: return write_function(writer, at.entry, inner);
    case TP_PTR: return write_pointer(writer, at.entry, inner);
    case TP_ARRAY: return write_array(writer, at.part, at.entry, inner);
    default: return write_qualifiers(writer, at.part, at.entry, inner);
    }
}

} // namespace

void begin_unit_types(dwarf_writer_t& writer) {
    writer.types.resize(writer.global_count);
    for (type_entry_t& entry : writer.types) {
        entry.offset = 0;
        entry.failed = false;
    }
    writer.unit_types = {};
    writer.failures = {};
}

void add_global_type(dwarf_writer_t& writer, text_t key, type_t part) {
    const uint32_t type = add_type_entry(writer, part);
    writer.global_types.try_emplace(std::string(key.substr(0, key_limit)), type);
    writer.global_count = writer.types.size();
}

uint32_t dwarf_type(dwarf_writer_t& writer, type_t part) {
    if (part == nullptr) {
        return no_type;
    }
    step_t step = begin_type(writer, part);
    while (!step.done || !writer.pending.empty()) {
        step = step.done ? resume_type(writer, step.entry) : begin_type(writer, step.wanted);
    }
    return step.entry;
}

} // namespace tavrel
