// Type words and structure tags. A type word is the base type with a few bits for each derivation above it; what does
// not fit there (the struct's tag, sizes, dimensions) stands in an auxiliary record behind the symbol.
//
// A struct's tag is emitted in front of the first variable that needs it, then the tags of the structs that its fields
// need, and so on: a field's record is thus written before the tag that it refers to, and is completed later.
#include "formats/coff/coff_family_write.h"

namespace tavrel {
namespace {

// A position of every so many parts is remembered, so that many variables may share one long type.
constexpr uint32_t remembered_depth = 32;

uint32_t code_by_size(const std::array<uint8_t, 5>& codes, uint32_t size) {
    return size < codes.size() ? codes[size] : 0;
}

uint32_t base_code(const coff_rules_t& rules, const tpart_t& part) {
    switch (part.value) {
    case ENC_VOID: return T_VOID;
    case ENC_SIGNED: return code_by_size(rules.signed_codes, part.size);
    case ENC_UNSIGNED: return code_by_size(rules.unsigned_codes, part.size);
    case ENC_FLOAT: return part.size == rules.base_sizes[T_FLOAT] ? T_FLOAT : T_DOUBLE;
    default: return T_NULL;
    }
}

uint32_t enum_code(const coff_rules_t& rules, const enum_t& node) {
    if (node.encoding != 1) {
        return T_CHAR;
    }
    return node.size == 1 ? rules.small_enum_code : uint32_t(T_LONG);
}

// The innermost part; another kind than these has no word.
coff_typed_t innermost_word(const coff_rules_t& rules, type_t part) {
    coff_typed_t typed;
    if (part == nullptr) {
        return typed;
    }
    switch (part->kind) {
    case TP_BASE: typed.word = base_code(rules, *part); break;
    case TP_ENUM: typed.word = enum_code(rules, *part->node->enumeration); break;
    case TP_STRUCT:
        typed.word = T_STRUCT;
        typed.has_aux = true;
        typed.aux.size = part->node->structure->size & 0xFFFF;
        break;
    default: break;
    }
    return typed;
}

void derive(const coff_shape_t& shape, coff_typed_t& typed, uint32_t derivation) {
    const uint32_t base = typed.word & shape.base_mask();
    typed.word = (typed.word ^ base) << shape.derivation_bits | derivation << shape.base_bits | base;
}

// `typed` is an array of `count` of what it was.
void wrap_array(const coff_rules_t& rules, coff_typed_t& typed, uint32_t count, bool of_pointers) {
    auto& dimen = typed.aux.dimen;
    uint32_t inner = 0;
    while (inner < coff_dimensions - 1 && dimen[inner] != 0) {
        ++inner;
    }
    uint32_t product = 1;
    for (uint32_t k = inner; k > 0; --k) {
        dimen[k] = dimen[k - 1];
        product *= dimen[k];
    }
    dimen[0] = static_cast<uint16_t>(count);
    const uint32_t base = typed.word & rules.shape.base_mask();
    if (base >= T_STRUCT && base <= T_ENUM) {
        typed.aux.size = count * typed.aux.size & 0xFFFF;
    } else {
        const uint32_t element = of_pointers                      ? rules.pointer_size
                                 : base < rules.base_sizes.size() ? rules.base_sizes[base]
                                                                  : 0;
        typed.aux.size = count * product * element & 0xFFFF;
    }
    typed.has_aux = true;
    derive(rules.shape, typed, DT_ARY);
}

void wrap(const coff_rules_t& rules, coff_typed_t& typed, const tpart_t& part) {
    switch (part.kind) {
    case TP_PTR: derive(rules.shape, typed, DT_PTR); break;
    case TP_FUNC: derive(rules.shape, typed, DT_FCN); break;
    case TP_ARRAY: {
        const type_t element = skip_qualifiers(part.inner);
        wrap_array(rules, typed, part.value, element != nullptr && element->kind == TP_PTR);
        break;
    }
    default: break;
    }
}

bool is_innermost(const tpart_t& part) {
    return part.kind == TP_BASE || part.kind == TP_ENUM || part.kind == TP_STRUCT;
}

// The word and record of a position, all but the index of its tag.
coff_typed_t plain_word(coff_writer_t& writer, type_t position) {
    std::vector<type_t> wrappers; // outermost first
    coff_typed_t typed;
    for (; position != nullptr && !is_innermost(*position); position = position->inner) {
        if (position->depth % remembered_depth == 0) {
            if (const auto known = writer.type_words.find(position); known != writer.type_words.end()) {
                typed = known->second;
                break;
            }
        }
        wrappers.push_back(position);
    }
    if (position == nullptr || is_innermost(*position)) {
        typed = innermost_word(writer.rules, position);
    }
    for (size_t k = wrappers.size(); k-- > 0;) {
        wrap(writer.rules, typed, *wrappers[k]);
        if (wrappers[k]->depth % remembered_depth == 0) {
            writer.type_words.emplace(wrappers[k], typed);
        }
    }
    return typed;
}

// ---- tags

// The struct part that a type ends in, or null.
type_t struct_part(type_t type) { return type != nullptr && type->base->kind == TP_STRUCT ? type->base : nullptr; }

// Looks a struct position up in coff_tags; equal structs of several modules have one tag.
const coff_tag_t& find_tag(coff_writer_t& writer, type_t position) {
    const auto [entry, fresh] = writer.node_tags.try_emplace(position->node);
    coff_tag_t& tag = entry->second;
    if (!tag.known && (fresh || tag.missing_at != writer.tag_count)) {
        if (const uint32_t* const index = type_map_find(writer.coff_tags, position); index != nullptr) {
            tag.known = true;
            tag.index = *index;
        }
        tag.missing_at = writer.tag_count;
    }
    return tag;
}

void add_tag(coff_writer_t& writer, type_t position, uint32_t index) {
    position->node->writer_entry = index;
    type_map_add(writer.coff_tags, position, index);
    ++writer.tag_count;
    writer.node_tags[position->node] = {true, index, 0};
}

// Completes the record with the index of its tag, or, in `waits_for`, says for whose tag it has to wait.
coff_typed_t type_word(coff_writer_t& writer, type_t type, dsym_t*& waits_for) {
    coff_typed_t typed = plain_word(writer, type);
    if (const type_t position = struct_part(type); position != nullptr) {
        const coff_tag_t& tag = find_tag(writer, position);
        typed.aux.tagndx = tag.index;
        waits_for = tag.known ? nullptr : position->node;
    }
    return typed;
}

void add_bit_field(coff_writer_t& writer, coff_out_symbol_t& symbol, const field_t& field) {
    symbol.value = field.bit_offset + 8 * field.offset;
    symbol.type = T_UCHAR;
    symbol.sclass = C_FIELD;
    symbol.numaux = 1;
    add_coff_symbol(writer, symbol);
    coff_out_aux_t aux;
    aux.size = field.bit_width & 0xFFFF;
    add_coff_aux(writer, aux);
}

void add_member(coff_writer_t& writer, coff_out_symbol_t& symbol, const field_t& field) {
    dsym_t* waits_for = nullptr;
    const coff_typed_t typed = type_word(writer, field.type, waits_for);
    symbol.value = field.offset;
    symbol.type = typed.word;
    symbol.sclass = C_MOS;
    symbol.numaux = typed.has_aux ? 1 : 0;
    add_coff_symbol(writer, symbol);
    if (typed.has_aux) {
        const uint32_t aux = add_coff_aux(writer, typed.aux);
        if (waits_for != nullptr) {
            writer.coff_pending[waits_for].push_back(aux);
        }
    }
}

// The tag of one struct, its members and its end.
void emit_tag(coff_writer_t& writer, type_t position) {
    const struct_t& structure = *position->node->structure;
    coff_out_aux_t aux;
    aux.size = structure.size & 0xFFFF;
    coff_out_symbol_t tag;
    set_coff_name(writer, tag.name.data(), structure.tag);
    tag.scnum = writer.rules.tag_scnum;
    tag.sclass = C_STRTAG;
    tag.numaux = 1;
    const uint32_t index = add_coff_symbol(writer, tag);
    const uint32_t tag_aux = add_coff_aux(writer, aux);
    add_tag(writer, position, index);
    for (const field_t& field : structure.fields) {
        coff_out_symbol_t symbol;
        set_coff_name(writer, symbol.name.data(), field.name);
        symbol.scnum = writer.rules.tag_scnum;
        if (field.bit_width != 0) {
            add_bit_field(writer, symbol, field);
        } else {
            add_member(writer, symbol, field);
        }
    }
    coff_out_symbol_t end = coff_mark(writer, ".eos", C_EOS, 0, writer.rules.eos_scnum);
    end.numaux = 1;
    add_coff_symbol(writer, end);
    aux.tagndx = index;
    set_record32(writer, tag_aux, coff_at::x_endndx, add_coff_aux(writer, aux));
}

// All tags that a type needs and that are not there yet: the struct's own, then in depth those of its fields in turn.
void emit_tags(coff_writer_t& writer, type_t type) {
    struct walk_t {
        const struct_t* structure;
        size_t next;
    };
    std::vector<walk_t> walks;
    const auto visit = [&](type_t visited) {
        const type_t position = struct_part(visited);
        if (position != nullptr && !find_tag(writer, position).known) {
            emit_tag(writer, position);
            walks.push_back({position->node->structure, 0});
        }
    };
    visit(type);
    while (!walks.empty()) {
        walk_t& walk = walks.back();
        if (walk.next == walk.structure->fields.size()) {
            walks.pop_back();
        } else {
            visit(walk.structure->fields[walk.next++].type);
        }
    }
}

// Gives the waiting records their tag index. A struct that equals one emitted meanwhile has none of its own: 0.
void settle_pending(coff_writer_t& writer) {
    for (const auto& [node, records] : writer.coff_pending) {
        for (const uint32_t record : records) {
            set_record32(writer, record, coff_at::x_tagndx, node->writer_entry);
        }
        node->writer_entry = 0;
    }
    writer.coff_pending.clear();
}

} // namespace

coff_typed_t coff_type_of(coff_writer_t& writer, type_t type) {
    emit_tags(writer, type);
    dsym_t* waits_for = nullptr; // nothing: the tag is there
    const coff_typed_t typed = type_word(writer, type, waits_for);
    settle_pending(writer);
    return typed;
}

} // namespace tavrel
