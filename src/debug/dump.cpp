// The readable print of types and of the whole tree, on standard error.
#include "debug/machine.h"
#include "debug/type.h"

namespace tavrel {
namespace {

constexpr uint32_t indent_step = 4;
constexpr size_t piece_size = 65536; // text gathered before it goes out

constexpr const char* class_names[] = {
    "null", "extern", "global", "static", "auto",   "param", "typedef",  "module",
    "line", "block",  "func",   "reg",    "struct", "enum",  "filename",
};

struct dumper_t {
    run_t& run;
    std::string text;
    uint32_t indent = 0;
};

void put_indent(dumper_t& out) { out.text.append(out.indent, ' '); }

void flush(dumper_t& out) {
    error_print_text(out.run.messages, out.text);
    out.text.clear();
}

void dump_block(dumper_t& out, const dsym_t& scope);

void dump_body(dumper_t& out, const dsym_t& scope) {
    put_indent(out);
    out.text += "{\n";
    out.indent += indent_step;
    dump_block(out, scope);
    out.indent -= indent_step;
    put_indent(out);
    out.text += "}\n";
}

void dump_variable(dumper_t& out, const dsym_t& node) {
    print(out.text, "%s `", node.name);
    print_type(out.run, out.text, node.variable->type);
    if (node.sclass == SC_REG) {
        print(out.text, " %s", register_name(out.run, static_cast<uint32_t>(node.variable->place)));
    }
    if (node.sclass == SC_STATIC && !is_none(node.variable->asm_name)) {
        print(out.text, " %s", node.variable->asm_name);
    }
    print(out.text, " %d\n", node.line);
}

void dump_module(dumper_t& out, const dsym_t& node) {
    print(out.text, "\"%s\" %d-%d\n", node.name, node.scope->first_line, node.scope->last_line);
    dump_body(out, node);
}

void dump_scope(dumper_t& out, const dsym_t& node) {
    if (node.sclass == SC_FUNC) {
        print(out.text, "%s() ", node.scope->func == nullptr ? text_t("") : node.scope->func->name);
    }
    print(out.text, "%d-%d", node.scope->first_line, node.scope->last_line);
    out.text += (node.flags & DS_FAKED) != 0 ? " (faked)\n" : "\n";
    dump_body(out, node);
}

void dump_tag(dumper_t& out, const dsym_t& node, text_t tag) {
    out.text += node.name;
    if (!is_none(tag)) {
        print(out.text, "(%s)", tag);
    }
    out.text += " = {";
}

void dump_struct(dumper_t& out, const dsym_t& node) {
    dump_tag(out, node, node.structure->tag);
    for (const field_t& field : node.structure->fields) {
        print(out.text, " %s `", field.name);
        print_type(out.run, out.text, field.type);
    }
    out.text += " }\n";
}

void dump_enum(dumper_t& out, const dsym_t& node) {
    dump_tag(out, node, node.enumeration->tag);
    for (const enumerator_t& enumerator : node.enumeration->enumerators) {
        print(out.text, " %s=%ld", enumerator.name, enumerator.value);
    }
    out.text += " }\n";
}

void dump_node(dumper_t& out, const dsym_t& node) {
    put_indent(out);
    if (node.sclass < std::size(class_names)) {
        print(out.text, "%s: ", class_names[node.sclass]);
    }
    switch (node.sclass) {
    case SC_EXTERN:
    case SC_STATIC:
    case SC_AUTO:
    case SC_PARAM:
    case SC_TYPEDEF:
    case SC_REG: dump_variable(out, node); break;
    case SC_MODULE:
    case SC_NOSDB: dump_module(out, node); break;
    case SC_FUNC:
    case SC_BLOCK: dump_scope(out, node); break;
    case SC_STRUCT: dump_struct(out, node); break;
    case SC_ENUM: dump_enum(out, node); break;
    case SC_FILENAME: print(out.text, "\"%s\"\n", node.name); break;
    default: print(out.text, "sclass?? = %d\n", node.sclass); break;
    }
    if (out.text.size() > piece_size) {
        flush(out);
    }
}

void dump_block(dumper_t& out, const dsym_t& scope) {
    for (const dsym_t* const node : scope.scope->members) {
        dump_node(out, *node);
    }
}

void print_base(std::string& out, const tpart_t& part) {
    constexpr char letters[] = {'v', 'i', 'u', 'f', 'b'};
    if (part.value == ENC_VOID) {
        out += 'v';
    } else {
        print(out, "%c%d", letters[part.value % std::size(letters)], part.size);
    }
}

void print_qualifiers(const run_t& run, std::string& out, const tpart_t& part) {
    for (const qualifier_t& row : run.machine->qualifiers) {
        if ((row.flag & part.value) != 0) {
            print(out, "%s ", row.name);
        }
    }
}

void print_struct(std::string& out, const tpart_t& part) {
    const text_t tag = part.node->structure->tag;
    print(out, "struct %s", is_none(tag) ? part.node->name : tag);
}

} // namespace

void print_type(run_t& run, std::string& out, type_t type) {
    for (; type != nullptr; type = type->inner) {
        switch (type->kind) {
        case TP_BASE: print_base(out, *type); return;
        case TP_FUNC: out += '('; break;
        case TP_PTR: out += '*'; break;
        case TP_STRUCT: print_struct(out, *type); break;
        case TP_ARRAY: print(out, "[%lu]", type->value); break;
        case TP_QUAL: print_qualifiers(run, out, *type); break;
        default: out += "Unknown type"; break;
        }
    }
}

void dump_tree(run_t& run) {
    if (run.global_block == nullptr) {
        return;
    }
    dumper_t out{run, "\nGlobal block:\n\n"};
    dump_block(out, *run.global_block);
    out.text += "\n";
    flush(out);
}

} // namespace tavrel
