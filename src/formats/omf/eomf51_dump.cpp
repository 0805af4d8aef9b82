// The readable print of what Extended OMF-51 adds: type numbers of symbols, source file names, build records and the
// items of typedef records. Where the bytes make no known item, each byte gets a line until one does.
#include "formats/omf/eomf51_records.h"

#include <iterator>

namespace tavrel {
namespace {

constexpr uint8_t command_line_key = 0xFF;

// clang-format off
constexpr const char* standard_types[] = {
    "typeless",
    "bit",
    "signed char",
    "unsigned char",
    "signed int",
    "unsigned int",
    "signed long",
    "unsigned long",
    "float",
    "double",
    "code label",
    "void",
    "float big endian",
};
// clang-format on

constexpr const char* info_kinds[] = {"output", "source", "header", "linker script", "object/library"};

constexpr const char* pointer_spaces[] = {"", "IDATA", "XDATA", "PDATA", "DATA", "CODE"};

std::string item_type_name(uint8_t type) {
    return type < std::size(standard_types) ? standard_types[type] : format_text("type(0x%X)", type);
}

// The characters of a text that can be shown.
std::string printable(text_t text) {
    std::string result;
    for (const char c : text) {
        if (c >= 0x20 && c < 0x7F) {
            result.push_back(c);
        }
    }
    return result;
}

// ---- build records

// Each of the operations below takes one entry off the body, whose first byte is `key`, and adds its text; the text
// does not count if that made a short read.

void add_file_entry(std::string& text, cursor_t& body, uint8_t key) {
    const uint8_t flags = body.u8();
    const uint32_t time = body.u32();
    const text_t name = omf_counted_name(body);
    print(text, "File: %s", info_kinds[key]);
    if (flags != 0) {
        print(text, " (%X)", flags);
    }
    std::string date = date_text(time);
    date.pop_back(); // the line end
    print(text, ", Time = %s; Name = '%s'", date, printable(name));
}

void add_command_line(std::string& text, cursor_t& body) {
    const text_t command = omf_counted_name(body);
    print(text, "Command line: '%s'", printable(command));
}

void add_info_entry(std::string& text, cursor_t& body) {
    const uint8_t key = body.u8();
    if (key < std::size(info_kinds)) {
        add_file_entry(text, body, key);
    } else if (key == command_line_key) {
        add_command_line(text, body);
    } else {
        print(text, "Unknown key 0x%02X", key);
    }
}

// ---- type items

void add_field(std::string& text, cursor_t& body, bool is_last) {
    const uint8_t low = body.u8();
    const uint8_t high = body.u8();
    const uint8_t type = body.u8();
    const text_t name = omf_counted_name(body);
    print(text, "%s ", item_type_name(type));
    text.append(name);
    print(text, " offs %X/%X%s", low, high, is_last ? "" : ", ");
}

void add_members(std::string& text, cursor_t& body) {
    const uint8_t count = body.u8();
    body.skip(1);
    if (count != 0) {
        print(text, "%X ", count);
    }
    text.append("params (");
    for (uint32_t k = 0; k < count && !body.short_read; ++k) {
        add_field(text, body, k + 1 == count);
    }
    text.append(")");
}

void add_array(std::string& text, cursor_t& body) {
    body.skip(1);
    const uint16_t count = body.u16();
    print(text, "Array[%u] of %s", count, item_type_name(body.u8()));
}

void add_function(std::string& text, cursor_t& body) {
    print(text, "Function returning %s ", item_type_name(body.u8()));
    const uint8_t parameters = body.u8();
    text.append(parameters == 0 ? "no parms" : format_text("parms 0x%X", parameters));
}

void add_tag(std::string& text, cursor_t& body) {
    const uint8_t mark = body.u8();
    text.append("tag");
    if (mark != 0) {
        print(text, "(%X)", mark);
    }
    text.append(" ");
    text.append(omf_counted_name(body));
}

void add_struct(std::string& text, cursor_t& body) {
    print(text, "struct size %d", body.u8());
    if (const uint8_t mark = body.u8(); mark != 0) {
        print(text, "(%X)", mark);
    }
    print(text, " membs %s ", item_type_name(body.u8()));
    print(text, "tag 0x%X", body.u8());
}

void add_bit_field(std::string& text, cursor_t& body) {
    body.skip(1);
    const uint8_t offset = body.u8();
    const uint8_t width = body.u8();
    print(text, "bitfield(%u@%u)", width, offset);
}

void add_pointer(std::string& text, cursor_t& body) {
    const auto fields = body.take(7);
    const uint8_t target = body.u8();
    if (body.short_read) {
        return;
    }
    const uint8_t space = fields[2];
    print(text, "Pointer to %s ", item_type_name(target));
    print(text, "size %u %s ", fields[1], space < std::size(pointer_spaces) ? pointer_spaces[space] : "");
    text.append("(");
    for (const uint8_t byte : fields) {
        print(text, "%X ", byte);
    }
    text.append(")");
}

void add_item(std::string& text, cursor_t& body) {
    const uint8_t key = body.u8();
    switch (key) {
    case EOMF_MEMBERS: add_members(text, body); break;
    case EOMF_ARRAY: add_array(text, body); break;
    case EOMF_FUNCTION: add_function(text, body); break;
    case EOMF_TAG: add_tag(text, body); break;
    case EOMF_STRUCT: add_struct(text, body); break;
    case EOMF_BIT_FIELD: add_bit_field(text, body); break;
    case EOMF_POINTER: add_pointer(text, body); break;
    default: print(text, "Unknown key 0x%02X", key); break;
    }
}

// Prints a list of entries, each on a line that begins as `begin` says for the entry's number, up to the body's end.
template <class Begin, class Add>
void dump_list(printer_t& out, cursor_t body, Begin begin, Add add) {
    put_text(out, "\n");
    std::string text;
    for (uint32_t number = 0; !body.at_end(); ++number) {
        text = begin(number);
        add(text, body);
        if (body.short_read) {
            omf_print_bad_length(out);
            return;
        }
        put_text(out, text);
        put_text(out, "\n");
    }
}

} // namespace

void eomf51_print_type(printer_t& out, uint8_t type) {
    if (type < std::size(standard_types)) {
        print(out, "%s ", standard_types[type]);
    } else {
        print(out, type >= eomf_first_item ? "Typedef(%X) " : "Unknown(%X) ", type);
    }
}

void eomf51_dump_source_name(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    cursor_t body = record.body;
    const uint32_t flags = body.u8() + body.u8();
    body.skip(1);
    const text_t name = omf_counted_name(body);
    if (body.short_read) {
        omf_print_bad_length(out);
        return;
    }
    print(out, "Flags: %X Name: '", flags * 256);
    put_text(out, name);
    put_text(out, "'\n");
}

void eomf51_dump_info(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    dump_list(
        out, record.body, [](uint32_t) { return "\t\t"; }, add_info_entry);
}

void eomf51_dump_typedef(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    dump_list(
        out, record.body,
        [](uint32_t number) { return format_text("%27.27s0x%2.2X = ", "", eomf_first_item + number); }, add_item);
}

} // namespace tavrel
