// The name tables of DWARF 2, with the four tags that DWARF 1 had and compilers still wrote for a while:
// global_subroutine, global_variable, local_variable, subroutine.
#include "formats/elf/dwarf_names.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr dw_name_row_t tag_rows[] = {
    {0x00, "padding"               },
    {0x01, "array_type"            },
    {0x02, "class_type"            },
    {0x03, "entry_point"           },
    {0x04, "enumeration_type"      },
    {0x05, "formal_parameter"      },
    {0x06, "global_subroutine"     },
    {0x07, "global_variable"       },
    {0x08, "imported_declaration"  },
    {0x0A, "label"                 },
    {0x0B, "lexical_block"         },
    {0x0C, "local_variable"        },
    {0x0D, "member"                },
    {0x0F, "pointer_type"          },
    {0x10, "reference_type"        },
    {0x11, "compile_unit"          },
    {0x12, "string_type"           },
    {0x13, "structure_type"        },
    {0x14, "subroutine"            },
    {0x15, "subroutine_type"       },
    {0x16, "typedef"               },
    {0x17, "union_type"            },
    {0x18, "unspecified_parameters"},
    {0x19, "variant"               },
    {0x1A, "common_block"          },
    {0x1B, "common_inclusion"      },
    {0x1C, "inheritance"           },
    {0x1D, "inlined_subroutine"    },
    {0x1E, "module"                },
    {0x1F, "ptr_to_member_type"    },
    {0x20, "set_type"              },
    {0x21, "subrange_type"         },
    {0x22, "with_stmt"             },
    {0x23, "access_declaration"    },
    {0x24, "base_type"             },
    {0x25, "catch_block"           },
    {0x26, "const_type"            },
    {0x27, "constant"              },
    {0x28, "enumerator"            },
    {0x29, "file_type"             },
    {0x2A, "friend"                },
    {0x2B, "namelist"              },
    {0x2C, "namelist_item"         },
    {0x2D, "packed_type"           },
    {0x2E, "subprogram"            },
    {0x2F, "template_type_param"   },
    {0x30, "template_value_param"  },
    {0x31, "thrown_type"           },
    {0x32, "try_block"             },
    {0x33, "variant_part"          },
    {0x34, "variable"              },
    {0x35, "volatile_type"         },
};

constexpr dw_name_row_t at_rows[] = {
    {0x01, "sibling"             },
    {0x02, "location"            },
    {0x03, "name"                },
    {0x09, "ordering"            },
    {0x0B, "byte_size"           },
    {0x0C, "bit_offset"          },
    {0x0D, "bit_size"            },
    {0x10, "stmt_list"           },
    {0x11, "low_pc"              },
    {0x12, "high_pc"             },
    {0x13, "language"            },
    {0x15, "discr"               },
    {0x16, "discr_value"         },
    {0x17, "visibility"          },
    {0x18, "import"              },
    {0x19, "string_length"       },
    {0x1A, "common_reference"    },
    {0x1B, "comp_dir"            },
    {0x1C, "const_value"         },
    {0x1D, "containing_type"     },
    {0x1E, "default_value"       },
    {0x20, "inline"              },
    {0x21, "is_optional"         },
    {0x22, "lower_bound"         },
    {0x25, "producer"            },
    {0x27, "prototyped"          },
    {0x2A, "return_addr"         },
    {0x2C, "start_scope"         },
    {0x2E, "stride_size"         },
    {0x2F, "upper_bound"         },
    {0x31, "abstract_origin"     },
    {0x32, "accessibility"       },
    {0x33, "address_class"       },
    {0x34, "artificial"          },
    {0x35, "base_types"          },
    {0x36, "calling_convention"  },
    {0x37, "count"               },
    {0x38, "data_member_location"},
    {0x39, "decl_column"         },
    {0x3A, "decl_file"           },
    {0x3B, "decl_line"           },
    {0x3C, "declaration"         },
    {0x3D, "discr_list"          },
    {0x3E, "encoding"            },
    {0x3F, "external"            },
    {0x40, "frame_base"          },
    {0x41, "friend"              },
    {0x42, "identifier_case"     },
    {0x43, "macro_info"          },
    {0x44, "namelist_item"       },
    {0x45, "priority"            },
    {0x46, "segment"             },
    {0x47, "specification"       },
    {0x48, "static_link"         },
    {0x49, "type"                },
    {0x4A, "use_location"        },
    {0x4B, "variable_parameter"  },
    {0x4C, "virtuality"          },
    {0x4D, "vtable_elem_location"},
};

constexpr dw_name_row_t form_rows[] = {
    {0x01, "addr"     },
    {0x03, "block2"   },
    {0x04, "block4"   },
    {0x05, "data2"    },
    {0x06, "data4"    },
    {0x07, "data8"    },
    {0x08, "string"   },
    {0x09, "block"    },
    {0x0A, "block1"   },
    {0x0B, "data1"    },
    {0x0C, "flag"     },
    {0x0D, "sdata"    },
    {0x0E, "strp"     },
    {0x0F, "udata"    },
    {0x10, "ref_addr" },
    {0x11, "ref1"     },
    {0x12, "ref2"     },
    {0x13, "ref4"     },
    {0x14, "ref8"     },
    {0x15, "ref_udata"},
    {0x16, "indirect" },
};

constexpr dw_name_row_t op_rows[] = {
    {0x03, "addr"       },
    {0x06, "deref"      },
    {0x08, "const1u"    },
    {0x09, "const1s"    },
    {0x0A, "const2u"    },
    {0x0B, "const2s"    },
    {0x0C, "const4u"    },
    {0x0D, "const4s"    },
    {0x0E, "const8u"    },
    {0x0F, "const8s"    },
    {0x10, "constu"     },
    {0x11, "consts"     },
    {0x12, "dup"        },
    {0x13, "drop"       },
    {0x14, "over"       },
    {0x15, "pick"       },
    {0x16, "swap"       },
    {0x17, "rot"        },
    {0x18, "xderef"     },
    {0x19, "abs"        },
    {0x1A, "and"        },
    {0x1B, "div"        },
    {0x1C, "minus"      },
    {0x1D, "mod"        },
    {0x1E, "mul"        },
    {0x1F, "neg"        },
    {0x20, "not"        },
    {0x21, "or"         },
    {0x22, "plus"       },
    {0x23, "plus_uconst"},
    {0x24, "shl"        },
    {0x25, "shr"        },
    {0x26, "shra"       },
    {0x27, "xor"        },
    {0x28, "bra"        },
    {0x29, "eq"         },
    {0x2A, "ge"         },
    {0x2B, "gt"         },
    {0x2C, "le"         },
    {0x2D, "lt"         },
    {0x2E, "ne"         },
    {0x2F, "skip"       },
    {0x30, "lit0"       },
    {0x31, "lit1"       },
    {0x32, "lit2"       },
    {0x33, "lit3"       },
    {0x34, "lit4"       },
    {0x35, "lit5"       },
    {0x36, "lit6"       },
    {0x37, "lit7"       },
    {0x38, "lit8"       },
    {0x39, "lit9"       },
    {0x3A, "lit10"      },
    {0x3B, "lit11"      },
    {0x3C, "lit12"      },
    {0x3D, "lit13"      },
    {0x3E, "lit14"      },
    {0x3F, "lit15"      },
    {0x40, "lit16"      },
    {0x41, "lit17"      },
    {0x42, "lit18"      },
    {0x43, "lit19"      },
    {0x44, "lit20"      },
    {0x45, "lit21"      },
    {0x46, "lit22"      },
    {0x47, "lit23"      },
    {0x48, "lit24"      },
    {0x49, "lit25"      },
    {0x4A, "lit26"      },
    {0x4B, "lit27"      },
    {0x4C, "lit28"      },
    {0x4D, "lit29"      },
    {0x4E, "lit30"      },
    {0x4F, "lit31"      },
    {0x50, "reg0"       },
    {0x51, "reg1"       },
    {0x52, "reg2"       },
    {0x53, "reg3"       },
    {0x54, "reg4"       },
    {0x55, "reg5"       },
    {0x56, "reg6"       },
    {0x57, "reg7"       },
    {0x58, "reg8"       },
    {0x59, "reg9"       },
    {0x5A, "reg10"      },
    {0x5B, "reg11"      },
    {0x5C, "reg12"      },
    {0x5D, "reg13"      },
    {0x5E, "reg14"      },
    {0x5F, "reg15"      },
    {0x60, "reg16"      },
    {0x61, "reg17"      },
    {0x62, "reg18"      },
    {0x63, "reg19"      },
    {0x64, "reg20"      },
    {0x65, "reg21"      },
    {0x66, "reg22"      },
    {0x67, "reg23"      },
    {0x68, "reg24"      },
    {0x69, "reg25"      },
    {0x6A, "reg26"      },
    {0x6B, "reg27"      },
    {0x6C, "reg28"      },
    {0x6D, "reg29"      },
    {0x6E, "reg30"      },
    {0x6F, "reg31"      },
    {0x70, "breg0"      },
    {0x71, "breg1"      },
    {0x72, "breg2"      },
    {0x73, "breg3"      },
    {0x74, "breg4"      },
    {0x75, "breg5"      },
    {0x76, "breg6"      },
    {0x77, "breg7"      },
    {0x78, "breg8"      },
    {0x79, "breg9"      },
    {0x7A, "breg10"     },
    {0x7B, "breg11"     },
    {0x7C, "breg12"     },
    {0x7D, "breg13"     },
    {0x7E, "breg14"     },
    {0x7F, "breg15"     },
    {0x80, "breg16"     },
    {0x81, "breg17"     },
    {0x82, "breg18"     },
    {0x83, "breg19"     },
    {0x84, "breg20"     },
    {0x85, "breg21"     },
    {0x86, "breg22"     },
    {0x87, "breg23"     },
    {0x88, "breg24"     },
    {0x89, "breg25"     },
    {0x8A, "breg26"     },
    {0x8B, "breg27"     },
    {0x8C, "breg28"     },
    {0x8D, "breg29"     },
    {0x8E, "breg30"     },
    {0x8F, "breg31"     },
    {0x90, "regx"       },
    {0x91, "fbreg"      },
    {0x92, "bregx"      },
    {0x93, "piece"      },
    {0x94, "deref_size" },
    {0x95, "xderef_size"},
    {0x96, "nop"        },
};

constexpr dw_name_row_t cfa_rows[] = {
    {0x40, "advance_loc"     },
    {0x80, "offset"          },
    {0xC0, "restore"         },
    {0x00, "nop"             },
    {0x01, "set_loc"         },
    {0x02, "advance_loc1"    },
    {0x03, "advance_loc2"    },
    {0x04, "advance_loc4"    },
    {0x05, "offset_extended" },
    {0x06, "restore_extended"},
    {0x07, "undefined"       },
    {0x08, "same_value"      },
    {0x09, "register"        },
    {0x0A, "remember_state"  },
    {0x0B, "restore_state"   },
    {0x0C, "def_cfa"         },
    {0x0D, "def_cfa_register"},
    {0x0E, "def_cfa_offset"  },
};

constexpr dw_name_row_t lns_rows[] = {
    {0x01, "copy"            },
    {0x02, "advance_pc"      },
    {0x03, "advance_line"    },
    {0x04, "set_file"        },
    {0x05, "set_column"      },
    {0x06, "negate_stmt"     },
    {0x07, "set_basic_block" },
    {0x08, "const_add_pc"    },
    {0x09, "fixed_advance_pc"},
};

constexpr dw_name_row_t lne_rows[] = {
    {0x01, "end_sequence"},
    {0x02, "set_address" },
    {0x03, "define_file" },
};

constexpr dw_name_row_t macinfo_rows[] = {
    {0x01, "define"    },
    {0x02, "undef"     },
    {0x03, "start_file"},
    {0x04, "end_file"  },
    {0xFF, "vendor_ext"},
};

constexpr dw_name_row_t lang_rows[] = {
    {0x01, "C89"        },
    {0x02, "C"          },
    {0x03, "Ada83"      },
    {0x04, "C_plus_plus"},
    {0x05, "Cobol74"    },
    {0x06, "Cobol85"    },
    {0x07, "Fortran77"  },
    {0x08, "Fortran90"  },
    {0x09, "Pascal83"   },
    {0x0A, "Modula2"    },
};

constexpr dw_name_row_t ate_rows[] = {
    {0x01, "address"      },
    {0x02, "boolean"      },
    {0x03, "complex_float"},
    {0x04, "float"        },
    {0x05, "signed"       },
    {0x06, "signed_char"  },
    {0x07, "unsigned"     },
    {0x08, "unsigned_char"},
};

constexpr dw_name_row_t access_rows[] = {
    {0x01, "public"   },
    {0x02, "protected"},
    {0x03, "private"  },
};

constexpr dw_name_row_t vis_rows[] = {
    {0x01, "local"    },
    {0x02, "exported" },
    {0x03, "qualified"},
};

constexpr dw_name_row_t virtuality_rows[] = {
    {0x00, "none"        },
    {0x01, "virtual"     },
    {0x02, "pure_virtual"},
};

constexpr dw_name_row_t id_rows[] = {
    {0x00, "case_sensitive"  },
    {0x01, "up_case"         },
    {0x02, "down_case"       },
    {0x03, "case_insensitive"},
};

constexpr dw_name_row_t cc_rows[] = {
    {0x01, "normal" },
    {0x02, "program"},
    {0x03, "nocall" },
};

constexpr dw_name_row_t inl_rows[] = {
    {0x00, "not_inlined"         },
    {0x01, "inlined"             },
    {0x02, "declared_not_inlined"},
    {0x03, "declared_inlined"    },
};

constexpr dw_name_row_t ord_rows[] = {
    {0x00, "row_major"},
    {0x01, "col_major"},
};

constexpr dw_name_row_t dsc_rows[] = {
    {0x00, "label"},
    {0x01, "range"},
};

constexpr dw_name_set_t make_set(text_t prefix, uint32_t lo_user, uint32_t hi_user,
                                 std::span<const dw_name_row_t> rows) {
    dw_name_set_t set = {prefix, lo_user, hi_user, rows, {}};
    for (size_t k = 0; k < rows.size(); ++k) {
        set.places[rows[k].number] = static_cast<uint8_t>(k + 1);
    }
    return set;
}

} // namespace

constexpr dw_name_set_t dw_tag_names = make_set("TAG", 0x4080, 0xFFFF, tag_rows);
constexpr dw_name_set_t dw_at_names = make_set("AT", 0x2000, 0x3FFF, at_rows);
constexpr dw_name_set_t dw_form_names = make_set("FORM", 0, 0, form_rows);
constexpr dw_name_set_t dw_op_names = make_set("OP", 0xE0, 0xFF, op_rows);
constexpr dw_name_set_t dw_cfa_names = make_set("CFA", 0x1C, 0x3F, cfa_rows);
constexpr dw_name_set_t dw_lns_names = make_set("LNS", 0, 0, lns_rows);
constexpr dw_name_set_t dw_lne_names = make_set("LNE", 0, 0, lne_rows);
constexpr dw_name_set_t dw_macinfo_names = make_set("MACINFO", 0, 0, macinfo_rows);
constexpr dw_name_set_t dw_lang_names = make_set("LANG", 0x8000, 0xFFFF, lang_rows);
constexpr dw_name_set_t dw_ate_names = make_set("ATE", 0x80, 0xFF, ate_rows);
constexpr dw_name_set_t dw_access_names = make_set("ACCESS", 0, 0, access_rows);
constexpr dw_name_set_t dw_vis_names = make_set("VIS", 0, 0, vis_rows);
constexpr dw_name_set_t dw_virtuality_names = make_set("VIRTUALITY", 0, 0, virtuality_rows);
constexpr dw_name_set_t dw_id_names = make_set("ID", 0, 0, id_rows);
constexpr dw_name_set_t dw_cc_names = make_set("CC", 0x40, 0xFF, cc_rows);
constexpr dw_name_set_t dw_inl_names = make_set("INL", 0, 0, inl_rows);
constexpr dw_name_set_t dw_ord_names = make_set("ORD", 0, 0, ord_rows);
constexpr dw_name_set_t dw_dsc_names = make_set("DSC", 0, 0, dsc_rows);

namespace {

struct value_names_t {
    uint32_t attribute;
    const dw_name_set_t* set;
};

constexpr value_names_t value_names[] = {
    {0x13, &dw_lang_names      }, // language
    {0x3E, &dw_ate_names       }, // encoding
    {0x32, &dw_access_names    }, // accessibility
    {0x17, &dw_vis_names       }, // visibility
    {0x4C, &dw_virtuality_names}, // virtuality
    {0x42, &dw_id_names        }, // identifier_case
    {0x36, &dw_cc_names        }, // calling_convention
    {0x20, &dw_inl_names       }, // inline
    {0x09, &dw_ord_names       }, // ordering
    {0x16, &dw_dsc_names       }, // discr_value
};

void put_miss(std::string& out, const dw_name_set_t& set, uint32_t value) {
    print(out, "?? 0x%08lX", value);
    if (set.hi_user != 0 && value >= set.lo_user && value <= set.hi_user) {
        out += " (user-defined)";
    }
}

} // namespace

std::string dw_name(const dw_name_set_t& set, uint32_t value, bool with_prefix) {
    std::string out;
    const dw_name_row_t* const row = dw_find_name(set, value);
    if (row == nullptr) {
        put_miss(out, set, value);
    } else if (with_prefix) {
        print(out, "DW_%s_%s", set.prefix, row->text);
    } else {
        out = row->text;
    }
    return out;
}

void put_dw_words(std::string& out, const dw_name_set_t& set, uint32_t value) {
    const dw_name_row_t* const row = dw_find_name(set, value);
    if (row == nullptr) {
        put_miss(out, set, value);
        return;
    }
    const size_t start = out.size();
    out += row->text;
    std::replace(out.begin() + static_cast<ptrdiff_t>(start), out.end(), '_', ' ');
}

const dw_name_set_t* dw_value_names(uint32_t attribute) {
    const auto row = std::find_if(std::begin(value_names), std::end(value_names),
                                  [&](const value_names_t& names) { return names.attribute == attribute; });
    return row == std::end(value_names) ? nullptr : row->set;
}

} // namespace tavrel
