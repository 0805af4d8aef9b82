// Type strings: what parts they give, what is said about bad ones, and what names mean from where they stand.
#include <gtest/gtest.h>

#include "support/tree.h"

namespace tavrel {
namespace {

using testing::tree_session_t;

// The parts from the outermost inwards, each as kind, text and value.
std::string parts_of(type_t type) {
    constexpr const char* kinds[] = {"", "base", "func", "ptr", "enum", "struct", "array", "qual"};
    std::string text;
    for (; type != nullptr; type = type->inner) {
        print(text, "%s %s %lx/", kinds[type->kind], type->text, type->value);
    }
    return text;
}

struct string_case_t {
    const char* text;
    const char* parts;
    const char* said;
};

TEST(TypeString, GivesParts) {
    const string_case_t cases[] = {
        {"`i",         "base i 1/",                                  ""                                          },
        {"*i",         "ptr * 0/base i 1/",                          ""                                          },
        {"`*Vi",       "ptr * 0/qual V 2/base i 1/",                 ""                                          },
        {"`V*i",       "qual V 2/ptr * 0/base i 1/",                 ""                                          },
        {"VDi",        "qual VD 80002/base i 1/",                    ""                                          },
        {"V`Di",       "qual VD 80002/base i 1/",                    ""                                          },
        {"*.x`ul",     "ptr *.x 0/base ul 2/",                       ""                                          },
        {"`*`*.(*uc",  "ptr * 0/ptr *.( 0/ptr * 0/base uc 2/",       ""                                          },
        {"(`*(v",      "func ( 0/ptr * 0/func ( 0/base v 0/",        ""                                          },
        {"[3]i",       "array [3] 3/base i 1/",                      ""                                          },
        {"[3i",        "array [3] 3/base i 1/",                      ""                                          },
        {"[10][2]*c",  "array [10] a/array [2] 2/ptr * 0/base c 1/", ""                                          },
        {"[]i",        "array [0] 0/base i 1/",                      ""                                          },
        {"S12",        "struct S12 0/",                              ""                                          },
        {"*E12",       "ptr * 0/enum E12 0/",                        ""                                          },
        {"alias",      "qual D 80000/base i 1/",                     ""                                          }, // a typedef's parts, under its own names
        {"Valias",     "qual VD 80002/base i 1/",                    ""                                          }, // the letter joins the typedef's qualifier
        {"other",      "struct S7 0/",                               ""                                          },
        {"object",     "base c 1/",                                  ""                                          }, // any node with a type will do
  // What gives no type.
        {"nothing",    "",                                           ""                                          },
        {"_x",         "",                                           ""                                          },
        {"*nothing",   "ptr * 0/",                                   ""                                          },
        {"(nothing",   "func ( 0/",                                  ""                                          },
        {"[4]nothing", "array [4] 4/",                               ""                                          },
        {"Vnothing",   "",                                           ""                                          },
        {"*Vnothing",  "ptr * 0/",                                   ""                                          },
        {"typeless",   "",                                           ""                                          },
        {"",           "",                                           "Encountered type string \n"                },
        {"*",          "ptr * 0/",                                   "Encountered type string \n"                },
        {"(",          "func ( 0/",                                  "Encountered type string \n"                },
        {"*.",         "ptr *. 0/",                                  "Encountered type string \n"                },
        {"*.x",        "ptr *.x 0/",                                 "Encountered type string \n"                },
        {"[5",         "array [5] 5/",                               "Encountered type string \n"                },
        {"[-5",        "array [0] 0/",                               "Encountered type string -5\n"              },
        {"S",          "",                                           "Encountered type string \n"                },
        {"*?i",        "ptr * 0/",                                   "Encountered type string ?i\n"              },
        {"`*``i",      "ptr * 0/",                                   "Encountered type string `i\n"              },
        {"*Q7",        "ptr * 0/struct Q7 0/",                       ""                                          }, // a forward reference by any letter but E
        {"QVRi",       "qual QVR 2/base i 1/",                       "Unknown qualifier R\nUnknown qualifier Q\n"},
        {"QVnothing",  "",                                           ""                                          },
    };
    tree_session_t session("16F877");
    const dsym_t* const module = session.read_body("[v alias `Di 0 t 0 ]\n[s S7 . 2 ]\n[v other S7 0 t 0 ]\n"
                                                   "[v object c 0 e 1 0 ]\n[v typeless ?? 0 e 1 0 ]\n");
    session.run.tree->current_scope = const_cast<dsym_t*>(module);
    session.said();
    for (const string_case_t& one : cases) {
        EXPECT_EQ(parts_of(parse_type(session.run, one.text)), one.parts) << one.text;
        EXPECT_EQ(session.said(), one.said) << one.text;
    }
}

TEST(TypeString, KeepsFifteenLettersOfAQualifierRun) {
    tree_session_t session("16F877");
    session.read_body("[v q `VDFNISVDFNISVDFNIS*i 0 e 0 0 ]\n");
    EXPECT_EQ(session.type("q")->text, "VDFNISVDFNISVDF");
    EXPECT_EQ(session.type("q")->value, 0x8003Eu);
    EXPECT_EQ(session.type("q")->depth, 3u);
}

TEST(TypeString, EndsAtTheDepthLimit) {
    tree_session_t session("16F877");
    session.read_body("[v fits `" + std::string(type_depth_limit - 1, '*') + "i 0 t 0 ]\n[v deep `*fits 0 e 0 0 ]\n" +
                      "[v wide `fits 3a e 0 0 ]\n[v huge `" + std::string(1000000, '(') + "i 0 e 0 0 ]\n" + "[v run `" +
                      std::string(1000000, 'V') + "i 0 e 0 0 ]\n");
    EXPECT_EQ(session.type("fits")->depth, type_depth_limit);
    EXPECT_EQ(session.type("deep"), nullptr);
    EXPECT_EQ(session.type("wide"), nullptr);
    EXPECT_EQ(session.type("huge"), nullptr);
    EXPECT_EQ(session.type("run")->depth, 2u);
}

TEST(TypeString, ReferencesForwardOnce) {
    tree_session_t session("16F877");
    session.read_body("\"7\n[v a S1 0 e 0 0 ]\n[v b *S1 0 e 0 0 ]\n\"9\n[s S1 tag 2 i x 2 0 ]\n");
    EXPECT_EQ(session.dump(), "module: \"m1.obj\" 7-9\n{\n    struct: S1(tag) = { x `i2 }\n"
                              "    extern: a `struct tag 7\n    extern: b `*struct tag 7\n}\n\n");
    EXPECT_EQ(session.node("S1")->line, 7u);
}

// Names as a place in the tree sees them. Each case is a body whose variable `t` shows what its type string found.
TEST(TypeName, DependsOnThePlace) {
    const std::pair<const char*, const char*> cases[] = {
  // With and without an underscore; the first in order of arrival.
        {"[v _n c 0 t 0 ] [v t n 0 e 0 0 ]",                            "i1"},
        {"[v n ul 0 t 0 ] [v _n c 0 t 0 ] [v t n 0 e 0 0 ]",            "u4"},
        {"[v _n c 0 t 0 ] [v n ul 0 t 0 ] [v t n 0 e 0 0 ]",            "i1"},
        {"[v __n c 0 t 0 ] [v t n 0 e 0 0 ]",                           ""  },
        {"[v __ c 0 t 0 ] [v t _ 0 e 0 0 ]",                            "i1"},
 // `_n` seeks `__n` too, but that lies in another chain.
        {"[v __n c 0 t 0 ] [v t _n 0 e 0 0 ]",                          ""  },
 // From inside outwards.
        {"[v n ul 0 t 0 ] { [v n c 0 t 0 ] [v t n 0 e 0 0 ] }",         "i1"},
        {"[v n ul 0 t 0 ] { [v n c 0 t 0 ] } [v t n 0 e 0 0 ]",         "u4"},
 // A variable on the stack counts if it stands before the place, the last one first, by its exact name only.
        {"{ [v n c 0 a 1 1 ] [v n ul 0 a 4 2 ] [v t n 0 e 0 0 ] }",     "u4"},
        {"{ [v n c 0 a 1 1 ] { [v t n 0 e 0 0 ] } [v n ul 0 a 4 2 ] }", "i1"},
        {"[v n ul 0 t 0 ] { [v _n c 0 a 1 1 ] [v t n 0 e 0 0 ] }",      "u4"},
 // What the chain shows first decides: behind a stack variable a typedef is found by its exact name only.
        {"{ [v _n c 0 a 1 1 ] [v n ul 0 t 0 ] [v t n 0 e 0 0 ] }",      "u4"},
        {"{ [v n c 0 a 1 1 ] [v _n ul 0 t 0 ] [v t n 0 e 0 0 ] }",      "i1"},
        {"{ [v n c 0 t 0 ] [v n ul 0 a 4 2 ] [v t n 0 e 0 0 ] }",       "i1"},
 // The walk before the place sees source marks, too; they have no type.
        {"{ [v n c 0 a 1 1 ] \"3 n\n[v t n 0 e 0 0 ] }",                ""  },
        {"\"3 n\n[v n c 0 t 0 ] [v t n 0 e 0 0 ]",                      "i1"},
    };
    for (const auto& [body, printed] : cases) {
        tree_session_t session("16F877");
        session.read_body(body);
        std::string text;
        print_type(session.run, text, session.type("t"));
        EXPECT_EQ(text, printed) << body;
    }
}

TEST(TypeText, PrintsEachKind) {
    tree_session_t session("16F877");
    session.read_body("[v t `[3]*VC(*.xf 0 e 0 0 ] [v u `*S9 0 e 0 0 ] [v e E1 0 e 0 0 ] [v p `*no 0 e 0 0 ] "
                      "[v x `no 0 e 0 0 ] [v bit `b 0 e 0 0 ] [v none `v 0 e 0 0 ]");
    EXPECT_EQ(session.dump(), "module: \"m1.obj\" 0-0\n{\n"
                              "    extern: t `[3]*const volatile const (*f3 0\n" // both rows of the flag
                              "    struct: S9 = { }\n    extern: u `*struct S9 0\n"
                              "    enum: E1 = { }\n    extern: e `Unknown type 0\n    extern: p `* 0\n"
                              "    extern: x ` 0\n    extern: bit `b0 0\n    extern: none `v 0\n}\n\n");
}

} // namespace
} // namespace tavrel
