// The seven processor families: who is chosen, how wide things are, and where variables lie.
#include <gtest/gtest.h>

#include "support/tree.h"

namespace tavrel {
namespace {

using testing::tree_session_t;

// A processor's name that selects each row.
struct row_t {
    const machine_t* machine;
    const char* processor;
};
constexpr row_t rows[] = {
    {&machine_pic,    "16F877" },
    {&machine_pic18,  "18F452" },
    {&machine_dspic,  "30F6014"},
    {&machine_mips,   "32MX360"},
    {&machine_8051,   "8051"   },
    {&machine_arm,    "ARM7"   },
    {&machine_holtek, "HT48"   },
};

TEST(Machine, IsChosenByName) {
    const row_t cases[] = {
        {&machine_pic,    "PIC18F452" },
        {&machine_pic,    "14000"     },
        {&machine_pic,    "x7c695"    },
        {&machine_pic,    "16f877"    },
        {&machine_pic,    "rf509"     },
        {&machine_pic,    "PIC30F"    }, // first in the table
        {nullptr,         "140000"    },
        {&machine_pic18,  "18f452"    },
        {&machine_pic18,  "x18C"      },
        {&machine_dspic,  "x24FJ"     },
        {nullptr,         "24fj"      },
        {&machine_dspic,  "33FJ128"   },
        {&machine_mips,   "32MX360F"  },
        {nullptr,         "x32MX"     },
        {nullptr,         "32mx"      },
        {&machine_8051,   "at8051x"   },
        {nullptr,         "arm7"      },
        {&machine_arm,    "AT91R40008"},
        {&machine_holtek, "ht48r05"   },
        {&machine_holtek, "HT"        },
        {nullptr,         "xHT48"     },
        {nullptr,         "H"         },
        {nullptr,         ""          },
    };
    for (const row_t& one : cases) {
        tree_session_t session(one.processor);
        EXPECT_EQ(set_machine(session.run, ""), one.machine != nullptr) << one.processor;
        EXPECT_EQ(session.run.machine, one.machine) << one.processor;
    }
    tree_session_t session("foo");
    session.run.processor_args = {"8051"};
    EXPECT_TRUE(set_machine(session.run, ""));
    EXPECT_EQ(session.run.machine, &machine_8051);
}

TEST(Machine, StaysOnceChosen) {
    tree_session_t session;
    EXPECT_FALSE(set_machine(session.run, "NOWORD"));
    EXPECT_EQ(session.run.global_block, nullptr);
    EXPECT_TRUE(set_machine(session.run, "HOLTEK ] PIC30"));
    EXPECT_TRUE(set_machine(session.run, "PIC30 ]"));
    EXPECT_EQ(session.run.machine, &machine_holtek);
    EXPECT_EQ(session.said(), "668\n");
    // The 50th word is not looked at.
    tree_session_t many;
    std::string words;
    for (int k = 0; k < 49; ++k) {
        words += "PIC14 ";
    }
    EXPECT_TRUE(set_machine(many.run, words + "NOWORD"));
}

TEST(Machine, HasWholeTables) {
    struct counts_t {
        size_t registers, keys, base_types, qualifiers;
        uint32_t code_step, code_unit;
    };
    const counts_t counts[] = {
        {23, 24, 16, 13, 1, 1},
        {19, 19, 16, 11, 2, 2},
        {31, 4,  16, 9,  2, 2},
        {33, 3,  14, 12, 2, 4},
        {15, 6,  14, 14, 0, 0},
        {29, 12, 16, 10, 2, 4},
        {3,  5,  14, 14, 1, 1},
    };
    for (size_t k = 0; k < std::size(rows); ++k) {
        const machine_t& machine = *rows[k].machine;
        EXPECT_EQ(machines[k], &machine);
        EXPECT_EQ(machine.registers.size(), counts[k].registers) << machine.name;
        EXPECT_EQ(machine.keys.size(), counts[k].keys) << machine.name;
        EXPECT_EQ(machine.base_types.size(), counts[k].base_types) << machine.name;
        EXPECT_EQ(machine.qualifiers.size(), counts[k].qualifiers) << machine.name;
        EXPECT_EQ(machine.code_step, counts[k].code_step) << machine.name;
        EXPECT_EQ(machine.code_unit, counts[k].code_unit) << machine.name;
        EXPECT_STREQ(machine.registers[0].name, "");
    }
}

TEST(Machine, KnowsRegistersByName) {
    tree_session_t session("30F6014");
    ASSERT_TRUE(set_machine(session.run, ""));
    EXPECT_EQ(find_register(session.run, "w0"), 1u);
    EXPECT_EQ(find_register(session.run, "w37"), 24u);
    EXPECT_EQ(find_register(session.run, "LPARAMREG"), 30u);
    EXPECT_EQ(find_register(session.run, "W0"), 0u);
    EXPECT_EQ(find_register(session.run, ""), 0u);
    EXPECT_EQ(find_register(session.run, text_t()), 0u);
    EXPECT_EQ(register_name(session.run, 16), "w15");
    EXPECT_EQ(register_name(session.run, 0), "");
    EXPECT_EQ(register_name(session.run, 31), "");
}

TEST(Machine, KnowsSizes) {
    struct size_case_t {
        const char* type;
        uint32_t sizes[7]; // by row
    };
    const size_case_t cases[] = {
        {"i",          {2, 2, 2, 4, 2, 4, 2}       },
        {"c",          {1, 1, 1, 1, 1, 1, 1}       },
        {"f",          {3, 3, 4, 4, 4, 4, 3}       },
        {"d",          {4, 4, 4, 4, 4, 4, 4}       },
        {"x",          {2, 2, 2, 2, 2, 4, 2}       },
        {"ux",         {2, 2, 2, 4, 2, 4, 2}       },
        {"b",          {0, 0, 0, 0, 0, 10, 0}      },
        {"v",          {2, 0, 4, 0, 0, 0, 0}       },
        {"um",         {3, 3, 0, 0, 0, 0, 0}       },
        {"unx",        {0, 0, 1, 0, 0, 1, 0}       },
        {"*i",         {1, 2, 2, 4, 2, 4, 1}       },
        {"*Fi",        {2, 2, 2, 4, 2, 4, 2}       },
        {"*Vi",        {1, 2, 2, 4, 2, 4, 1}       },
        {"*Ni",        {1, 2, 2, 4, 1, 4, 1}       },
        {"*Di",        {2, 2, 2, 4, 2, 4, 2}       },
        {"*Ai",        {1, 2, 2, 4, 1, 4, 1}       },
        {"*VPi",       {1, 2, 2, 4, 1, 4, 1}       },
        {"*nothing",   {1, 2, 2, 4, 2, 4, 1}       },
        {"[3]*Ci",     {6, 6, 6, 12, 6, 12, 6}     },
        {"[3][5]c",    {15, 15, 15, 15, 15, 15, 15}},
        {"(i",         {0, 0, 0, 0, 0, 0, 0}       },
        {"Vi",         {0, 0, 0, 0, 0, 0, 0}       },
        {"[2]S1",      {14, 14, 14, 14, 14, 14, 14}},
        {"E1",         {1, 1, 1, 1, 1, 1, 1}       },
        {"[4]nothing", {0, 0, 0, 0, 0, 0, 0}       },
    };
    for (size_t row = 0; row < std::size(rows); ++row) {
        for (const size_case_t& one : cases) {
            tree_session_t session(rows[row].processor);
            session.read_body("[s S1 . 7 ] [e E1 . `uc ] [v tested `" + std::string(one.type) + " 0 e 0 0 ]");
            EXPECT_EQ(type_size(session.run, session.type("tested")), one.sizes[row])
                << rows[row].processor << one.type;
        }
    }
}

// A function with one variable of each class, and the symbols of a linker.
struct place_session_t : tree_session_t {
    dsym_t* function;
    dsym_t* inner;

    explicit place_session_t(const std::string& processor, const std::string& in_front = "")
        : tree_session_t(processor) {
        read_body(in_front + " [v _main `(v 0 e 0 0 ] { [v _arg i 0 p 2 4 ] [v F9 i 0 s 2 kept ]"
                             " { [v _auto i 0 a 2 6 ] } } 1 16 3 32 [v _far i 0 e 2 0 ] [v _own i 0 s 2 0 ]");
        function = node("m1.obj")->scope->members[1];
        inner = function->scope->members.back();
        const std::pair<const char*, uint32_t> symbols[] = {
            {"_far",    100},
            {"_own",    200},
            {"F9",      300},
            {"?a_main", 400},
            {"??_main", 500},
            {"?_main",  600},
        };
        for (const auto& [name, value] : symbols) {
            add_symbol(run.model, name, value, 3, 0, 0);
        }
    }

    // The place as "value/segment", or "none".
    std::string place(dsym_t* variable, const dsym_t* block) {
        location_t location{7, 7};
        if (!resolve_location(run, variable, {block, 0}, location)) {
            return "none";
        }
        return std::to_string(location.value) + "/" + std::to_string(location.segment);
    }
};

TEST(Location, FollowsTheRow) {
    struct place_case_t {
        const char* processor;
        const char* automatic;
        const char* parameter;
    };
    const place_case_t cases[] = {
        {"16F877",  "none",  "none" },
        {"18F452",  "406/3", "604/3"},
        {"30F6014", "22/0",  "36/0" },
        {"32MX360", "22/0",  "36/0" },
        {"8051",    "406/3", "604/3"},
        {"ARM7",    "406/3", "604/3"},
        {"HT48",    "506/3", "604/3"},
    };
    for (const place_case_t& one : cases) {
        place_session_t session(one.processor);
        dsym_t* const automatic = session.inner->scope->members[0];
        dsym_t* const parameter = session.function->scope->members[0];
        dsym_t* const kept = session.function->scope->members[1];
        for (int request = 0; request < 2; ++request) { // the second gives the same
            EXPECT_EQ(session.place(session.node("_far"), nullptr), "100/3") << one.processor;
            EXPECT_EQ(session.place(session.node("_own"), nullptr), "200/3") << one.processor;
            EXPECT_EQ(session.place(kept, session.function), "300/3") << one.processor;
            EXPECT_EQ(session.place(automatic, session.inner), one.automatic) << one.processor;
            EXPECT_EQ(session.place(parameter, session.function), one.parameter) << one.processor;
        }
        EXPECT_EQ(session.place(nullptr, session.function), "none");
        EXPECT_EQ(session.place(session.node("i"), session.function), "none"); // a typedef
        EXPECT_EQ(kept->name, "_kept");
        const bool has_symbol = one.automatic != std::string("none");
        EXPECT_EQ(automatic->flags & DS_RESOLVED, has_symbol ? 1u : 0u);
    }
}

TEST(Location, NeedsAFunctionAroundLocals) {
    for (const row_t& row : rows) {
        place_session_t session(row.processor);
        dsym_t* const automatic = session.inner->scope->members[0];
        EXPECT_EQ(session.place(automatic, session.node("m1.obj")), "none") << row.processor;
        EXPECT_EQ(session.place(automatic, nullptr), "none") << row.processor;
    }
}

TEST(Location, RenamesPicLocals) {
    place_session_t session("16F877");
    add_symbol(session.run.model, "main@auto", 50, 2, 0, 0);
    add_symbol(session.run.model, "main@kept", 60, 2, 0, 0);
    dsym_t* const automatic = session.inner->scope->members[0];
    dsym_t* const parameter = session.function->scope->members[0];
    dsym_t* const kept = session.function->scope->members[1];
    for (int request = 0; request < 2; ++request) {
        EXPECT_EQ(session.place(automatic, session.inner), "50/2");
        EXPECT_EQ(session.place(parameter, session.function), "none");
        EXPECT_EQ(session.place(kept, session.function), "60/2");
    }
    EXPECT_EQ(automatic->name, "main@auto");
    EXPECT_EQ(parameter->name, "main@arg"); // also without a symbol of that name
    EXPECT_EQ(kept->name, "main@kept");

    place_session_t outside("16F877");
    add_symbol(outside.run.model, "main@kept", 60, 2, 0, 0);
    dsym_t* const label = outside.function->scope->members[1];
    EXPECT_EQ(outside.place(label, outside.node("m1.obj")), "300/3");
    EXPECT_EQ(label->name, "_kept");
}

TEST(Location, AsksTheEditionOnPic18) {
    const std::pair<const char*, const char*> cases[] = {
        {"[d edition pro ]",                   "506/3"},
        {"[d edition lite ] [d edition pro ]", "406/3"},
        {"[d Edition pro ]",                   "406/3"}
    };
    for (const auto& [define, place] : cases) {
        place_session_t session("18F452", define);
        EXPECT_EQ(session.place(session.inner->scope->members[0], session.inner), place) << define;
        EXPECT_EQ(session.place(session.function->scope->members[0], session.function), "604/3");
    }
}

TEST(Location, NumbersRegisters) {
    struct register_case_t {
        const char* processor;
        const char* name;
        const char* place;
    };
    const register_case_t cases[] = {
        {"16F877",  "w",        "none"},
        {"18F452",  "prod",     "none"},
        {"30F6014", "w0",       "0/7" },
        {"30F6014", "w15",      "15/7"},
        {"30F6014", "w01",      "0/7" },
        {"30F6014", "w1213",    "12/7"},
        {"30F6014", "w37",      "none"},
        {"30F6014", "PARAMREG", "none"},
        {"32MX360", "zero",     "0/7" },
        {"32MX360", "ra",       "31/7"},
        {"8051",    "r7",       "7/5" },
        {"8051",    "WR1",      "2/5" },
        {"8051",    "WR3",      "6/5" },
        {"8051",    "LR1",      "4/5" },
        {"8051",    "unknown",  "none"},
        {"ARM7",    "r15",      "15/7"},
        {"ARM7",    "r0_1",     "0/7" },
        {"ARM7",    "r6_7",     "6/7" },
        {"ARM7",    "r8_9",     "9/7" },
        {"ARM7",    "r10_11",   "11/7"},
        {"ARM7",    "DATAREG",  "none"},
        {"HT48",    "a",        "5/6" },
        {"HT48",    "iar0",     "0/6" },
        {"HT48",    "b",        "none"},
    };
    for (const register_case_t& one : cases) {
        tree_session_t session(one.processor);
        add_segment(session.run.model, "DATA", 0, 0, 0, 5);
        add_segment(session.run.model, "RAM", 0, 0, 0, 6);
        session.read_body("{ [v tested i 0 r 2 " + std::string(one.name) + " ] }");
        location_t location{7, 7};
        const bool found = resolve_location(session.run, session.node("tested"), {}, location);
        EXPECT_EQ(found ? format_text("%u/%u", location.value, location.segment) : "none", one.place)
            << one.processor << one.name;
    }
    tree_session_t session("8051");
    session.read_body("{ [v tested i 0 r 2 r3 ] }");
    location_t location{7, 7};
    EXPECT_TRUE(resolve_location(session.run, session.node("tested"), {}, location));
    EXPECT_EQ(location.segment, 0u); // no such segment
}

} // namespace
} // namespace tavrel
