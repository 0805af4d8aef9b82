// SDB texts and the trees they make, seen through the print of the tree, with what is said on the way.
#include <gtest/gtest.h>

#include "support/tree.h"

namespace tavrel {
namespace {

using testing::tree_session_t;

// What a body (the text behind the header line) makes of the module's members, and what is said.
void expect_tree(const char* body, const char* tree, const char* said = "", bool fake_blocks = false) {
    tree_session_t session("16F877");
    session.run.fake_blocks = fake_blocks;
    ASSERT_NE(session.read_body(body), nullptr);
    EXPECT_EQ(session.said(), said) << body;
    const std::string text = session.dump();
    const size_t first = text.find("\n{\n") + 3;
    EXPECT_EQ(text.substr(first, text.size() - first - 3), tree) << body;
}

TEST(Sdb, MarksLines) {
    expect_tree("\"3 a.c\n{ \"5\n}", "    filename: \"a.c\"\n    block: 3-5\n    {\n    }\n");
    // blanks behind belong to it
    expect_tree("\"3   a b.c \r\n\"4 a b.c \n", "    filename: \"a b.c \"\n");
    expect_tree("\"3 a.c\n\"2 b.c\n\"9\n", "    filename: \"a.c\"\n    filename: \"b.c\"\n");
    // any white space in front
    expect_tree("\"3 \n a.c\n", "    filename: \"a.c\"\n");
    expect_tree("\"3 a.c\n\"4 b.c\n\"5 a.c", "    filename: \"a.c\"\n    filename: \"b.c\"\n    filename: \"a.c\"\n");
}

TEST(Sdb, ReckonsLineRanges) {
    const std::pair<const char*, const char*> cases[] = {
        {"",                                "0-0"  },
        {"\"7\n\"3\n\"5\n",                 "3-7"  },
        {"\"3 a.c\n\"90\n\"20 b.c\n\"25\n", "20-25"}, // a new file starts afresh
        {"\"5\n{ \"9\n }",                  "5-9"  }, // the line behind a block counts
    };
    for (const auto& [body, range] : cases) {
        tree_session_t session("16F877");
        session.read_body(body);
        EXPECT_EQ(session.dump().substr(0, 17 + std::string(range).size()), std::string("module: \"m1.obj\" ") + range);
    }
}

TEST(Sdb, MakesVariables) {
    expect_tree("[v _x `i 0 e 2 0 ]", "    extern: _x `i2 0\n");
    expect_tree("[v _x `i 3a s 6 0 ]", "    static: _x `[3]i2 0\n");
    expect_tree("[v _x no 3a s 6 0 ]", "    static: _x `[3] 0\n");
    expect_tree("[v _t `i 0 t 0 ]", "    typedef: _t `i2 0\n");
    // the stack has no place in a module
    expect_tree("[v _x `i 0 auto 2 3 ]", "");
    expect_tree("{ [v x i 0 a 2 3 ] [v y i 0 p 2 w ] [v z i 0 a 2 nope ] [v r i 0 r 2 prod ] [v s i 0 r 2 none ] }",
                "    block: 0-0\n    {\n        auto: x `i2 0\n        reg: y `i2 w 0\n        auto: z `i2 0\n"
                "        reg: r `i2 prod 0\n        reg: s `i2  0\n    }\n");
    expect_tree("[v F12 `i 0 s 2 cnt ] [v F13 `i 0 s 2 @7 ] [v G1 `i 0 s 2 cnt ]",
                "    static: _cnt `i2 F12 0\n    static: F13 `i2 0\n    static: G1 `i2 0\n");
    expect_tree("[v x i 0 q 2 0 ]", "    null: sclass?? = 0\n", "629 q m1.sdb 2 10\n");
    expect_tree("[v x i 0 e 2 0\n  more [v y i 0 e 2 0 ]", "    extern: x `i2 0\n    extern: y `i2 0\n",
                "627 93 m1.sdb 3 3\n");
}

TEST(Sdb, RecognisesRepeatedRecords) {
    expect_tree("{ [v x i 0 a 2 3 ] [v x c 0 a 2 3 ] }", "    block: 0-0\n    {\n        auto: x `i2 0\n    }\n");
    expect_tree("{ [v x i 0 a 2 3 ] [v x i 0 a 2 5 ] }",
                "    block: 0-0\n    {\n        auto: x `i2 0\n        auto: x `i2 0\n    }\n");
    expect_tree("[v x `[0]i 0 e 0 0 ] [v x `[5]i 0 e 10 0 ]", "    extern: x `[5]i2 0\n");
    expect_tree("[v x `[5]i 0 e 10 0 ] [v x `[0]i 0 e 0 0 ]", "    extern: x `[5]i2 0\n    extern: x `[0]i2 0\n");
    expect_tree("[v x i 0 e 0 0 ] [v x i 0 s 2 0 ]", "    extern: x `i2 0\n    static: x `i2 0\n");
    // A static with a label is sought by the label among the names.
    expect_tree("[v F1 i 0 s 2 cnt ] [v F1 c 0 s 2 cnt ]", "    static: _cnt `i2 F1 0\n    static: _cnt `i1 F1 0\n");
    expect_tree("[v F1 i 0 s 2 0 ] [v F1 c 0 s 2 cnt ]", "    static: F1 `i1 0\n");
    expect_tree("[s S1 . 2 i a 2 0 ] [u S1 t 2 i b 2 0 ]",
                "    struct: S1 = { a `i2 }\n    struct: S1(t) = { b `i2 }\n");
    expect_tree("[s S1 . 2 ] [u S1 t 2 i b 2 0 ]", "    struct: S1(t) = { b `i2 }\n");
    expect_tree("[e E1 . ] [s E1 . 0 ] [e E1 c ]", "    enum: E1 = { }\n    struct: E1 = { }\n    enum: E1(c) = { }\n");
}

TEST(Sdb, FakesBlocksForRedefinitions) {
    expect_tree(
        "{ \"2\n[v x i 0 a 2 3 ] \"4\n[v x i 0 a 2 5 ] [v x i 0 a 2 7 ] [v y i 0 a 2 9 ] \"6\n} [v z i 0 e 2 0 ]",
        "    block: 2-6\n    {\n        auto: x `i2 2\n        block: 4-6 (faked)\n        {\n"
        "            auto: x `i2 4\n            auto: x `i2 4\n            auto: y `i2 4\n        }\n    }\n"
        "    extern: z `i2 6\n",
        "", true);
    // What stood in front of the faked block is still recognised, whatever came in between.
    expect_tree("{ [v w i 0 a 2 1 ] [v x i 0 a 2 3 ] [v x i 0 a 2 5 ] [v w i 0 a 2 1 ] { [v w i 0 a 2 1 ] } }",
                "    block: 0-0\n    {\n        auto: w `i2 0\n        auto: x `i2 0\n        block: 0-0 (faked)\n"
                "        {\n            auto: x `i2 0\n            block: 0-0\n            {\n"
                "                auto: w `i2 0\n            }\n        }\n    }\n",
                "", true);
}

TEST(Sdb, FillsStructsAndEnums) {
    expect_tree("[s S1 tag 9 i x 2 0 uc 3a buf 3 2 ui . 2 5 :3:1 *S1 next 2 7 ]",
                "    struct: S1(tag) = { x `i2 buf `[3]u1  `u2 next `*struct tag }\n");
    expect_tree("[e E1 . `uc red 0 green -1 ] [e E2 tag a 1 ]",
                "    enum: E1 = { red=0 green=-1 }\n    enum: E2(tag) = { a=1 }\n");

    tree_session_t session("16F877");
    session.read_body("[u S1 . 9 i 7 x 2 0 :3:5 i y 2 4 ] [e E1 . `ui ] [e E2 . `*nothing ] [e E3 . ]");
    const struct_t& structure = *session.node("S1")->structure;
    EXPECT_TRUE(structure.is_union);
    EXPECT_EQ(structure.size, 9u);
    ASSERT_EQ(structure.fields.size(), 2u);
    EXPECT_EQ(structure.fields[0].bit_width, 3u);
    EXPECT_EQ(structure.fields[0].bit_offset, 5u);
    EXPECT_EQ(structure.fields[0].type->kind, TP_BASE); // DIM without `a`
    EXPECT_EQ(structure.fields[1].offset, 4u);
    EXPECT_EQ(structure.fields[1].bit_width, 0u);
    EXPECT_EQ(session.node("E1")->enumeration->size, 2u);
    EXPECT_EQ(session.node("E2")->enumeration->size, 0u);
    EXPECT_EQ(session.node("E1")->enumeration->encoding, 0u);
}

TEST(Sdb, TellsFunctionBlocksFromOthers) {
    expect_tree("[v f `(v 0 e 0 0 ] [v p `i 0 e 0 0 ] [s S1 . 0 ] { } { }",
                "    extern: f `(v 0\n    extern: p `i2 0\n    struct: S1 = { }\n    func: f() 0-0\n    {\n    }\n"
                "    block: 0-0\n    {\n    }\n");
    expect_tree("[v f `D(v 0 e 0 0 ] [x { }", "    extern: f `const const (v 0\n    block: 0-0\n    {\n    }\n");
    // The numbers in front of the block take the function.
    expect_tree("[v f `(v 0 e 0 0 ] 5 { }", "    extern: f `(v 0\n    func: () 0-0\n    {\n    }\n");
    expect_tree("[v f no 0 e 0 0 ] { }", "    extern: f ` 0\n    block: 0-0\n    {\n    }\n");
}

TEST(Sdb, TakesFrameNumbers) {
    struct frame_case_t {
        const char* body;
        uint32_t var_size;
        int32_t frame[4];
    };
    const frame_case_t cases[] = {
        {"[v f `(v 0 e 9 0 ] { } 12 -3 4 5 6", 12, {12, -3, 4, 5}},
        {"[v f `(v 0 e 9 0 ] { }",             9,  {0, 0, 0, 0}  },
        {"7 8 [v f `(v 0 e 9 0 ] { } 1 2",     1,  {1, 2, 0, 0}  }, // a function's block starts over
        {"[v f `(v 0 e 9 0 ] 5 { } 1 2",       5,  {1, 2, 0, 0}  },
    };
    for (const frame_case_t& one : cases) {
        tree_session_t session("16F877");
        const dsym_t* const module = session.read_body(one.body);
        EXPECT_EQ(session.node("f")->variable->var_size, one.var_size) << one.body;
        const scope_t& scope = *module->scope->members.back()->scope;
        EXPECT_TRUE(std::equal(one.frame, one.frame + 4, scope.frame)) << one.body;
    }
    tree_session_t session("16F877");
    const dsym_t* const module = session.read_body("{ } 1 2 { } 3 4 5");
    EXPECT_EQ(module->scope->members[1]->scope->frame[2], 3); // a plain block goes on counting
    EXPECT_EQ(module->scope->members[1]->scope->frame[0], 0);
}

TEST(Sdb, StopsAtDamage) {
    expect_tree("[v x i 0 e 2 0 ] oops [v y i 0 e 2 0 ]", "    extern: x `i2 0\n", "631 oops m1.sdb 2 18\n");
    expect_tree("{ oops } [v y i 0 e 2 0 ]", "    block: 0-0\n    {\n    }\n", "631 oops m1.sdb 2 3\n");
    expect_tree("[d key value oops", "", "(0) malformed define in .SDB file m1.sdb\n");
    // The end of the file inside a record.
    expect_tree("[v", "");
    expect_tree("[v x", "    null: sclass?? = 0\n");
    expect_tree("[v x ?", "    null: sclass?? = 0\n", "Encountered type string ?\n");
    expect_tree("[v x i 2a", "    null: sclass?? = 0\n");
    expect_tree("[v x i 2a e", "    extern: x `[2]i2 0\n");
    expect_tree("[v x i 2a e 2 0", "    extern: x `[2]i2 0\n");
    expect_tree("[s", "");
    expect_tree("[s S1 tag", "    struct: S1(tag) = { }\n");
    expect_tree("[s S1 . 2 i a 2 0 i b 2", "    struct: S1 = { a `i2 }\n");
    expect_tree("[s S1 . 2 i a 2 0 i b 2 2", "    struct: S1 = { a `i2 b `i2 }\n");
    expect_tree("[e E1 . a 1 b", "    enum: E1 = { a=1 }\n");
    expect_tree("[d key", "");
    expect_tree("[v f `(v 0 e 0 0 ] { { \"4",
                "    extern: f `(v 0\n    func: f() 4-4\n    {\n        block: 4-4\n        {\n"
                "            filename: \"\"\n        }\n    }\n");
}

TEST(Sdb, RefusesBlocksThatNestTooDeep) {
    tree_session_t session("16F877");
    std::string body;
    for (int k = 0; k < 1002; ++k) {
        body += "{ ";
    }
    const dsym_t* scope = session.read_body(body + "[v x i 0 e 0 0 ]");
    // The 1000th block is refused and ends the one around it; the next two do the same.
    EXPECT_EQ(session.said(), "631 { m1.sdb 2 1999\n631 { m1.sdb 2 2003\n");
    uint32_t depth = 1;
    for (; !scope->scope->members.empty() && scope->scope->members[0]->scope != nullptr; ++depth) {
        scope = scope->scope->members[0];
    }
    EXPECT_EQ(depth, scope_depth_limit);
}

TEST(SdbHeader, ChoosesAndSetsTheMachine) {
    struct header_case_t {
        const char* processor;
        const char* text;
        const machine_t* machine;
        uint32_t options;
        const char* said;
    };
    const header_case_t cases[] = {
        {"",       "[p PIC14 GLOBOPT ] PIC30 what\n", &machine_pic,   0x48,    ""                  },
        {"",       "[p GLOBOPT pic14 ]\n",            &machine_pic,   8,       "637 pic14 m1.sdb\n"}, // chosen in any case, noted as spelled
        {"",       "[p PIC30\tGLOBOPT ]\r\n",         &machine_dspic, 12,      ""                  },
        {"",       "[p GLOBOPT SPEEDOPT ]\n",         nullptr,        0,       "669\n"             },
        {"",       "[p ]\n",                          nullptr,        0,       "669\n"             },
        {"",       "[p PIC14 ARMV5 ]\n",              nullptr,        0,       "668\n"             },
        {"18F452", "[p PIC14 SPEEDOPT ]\n",           &machine_pic18, 1 << 14, "637 PIC14 m1.sdb\n"},
        {"",       "PIC14 PIC17 ]\n",                 &machine_pic,   1 << 7,  "630 m1.sdb\n"      },
        {"",       "\n",                              nullptr,        0,       "630 m1.sdb\n669\n" },
        {"18F452", "[p\v EMI_WORD LFSROK\f ]\n",      &machine_pic18, 1 << 13,
         "630 m1.sdb\n637 LFSROK\f m1.sdb\n"                                                       }, // part of their words
        {"",       "",                                nullptr,        0,       "669\n"             },
    };
    for (const header_case_t& one : cases) {
        tree_session_t session(one.processor);
        EXPECT_EQ(session.read(one.text) != nullptr, one.machine != nullptr) << one.text;
        EXPECT_EQ(session.run.machine, one.machine) << one.text;
        EXPECT_EQ(session.run.tree->machine_options, one.options) << one.text;
        EXPECT_EQ(session.said(), one.said) << one.text;
    }
}

TEST(SdbHeader, EndsAtTheLimitOfItsLine) {
    tree_session_t session;
    session.read("[p PIC14" + std::string(1013, ' ') + "] [v x i 0 e 2 0 ] {\n\"3\n}");
    EXPECT_EQ(session.said(), "631 v m1.sdb 1 1025\n");
}

TEST(SdbFile, IsSoughtBesideTheObject) {
    const std::pair<const char*, const char*> names[] = {
        {"a.obj",   "a.sdb"  },
        {"a",       "a.sdb"  },
        {"a.b/c",   "a.sdb"  },
        {"x.y.obj", "x.y.sdb"}
    };
    for (const auto& [object, file] : names) {
        tree_session_t session("16F877");
        session.files.files[file] = "[p PIC14 ]\n";
        EXPECT_EQ(read_sdb(session.run, object)->sclass, SC_MODULE) << object;
    }
}

TEST(SdbFile, MayBeMissing) {
    tree_session_t session("16F877");
    session.read_body("\"5 a.c\n[d k v1 ] [d k v2 ] [d l v3 ]");
    dsym_t* const bare = read_sdb(session.run, "dir/bare.obj");
    add_filename(session.run, bare, "b.c", 3);
    session.files.files["empty.sdb"] = "";
    read_sdb(session.run, "empty.obj");
    session.read_body("[v x i 0 e 2 0 ]");
    EXPECT_EQ(session.dump(), "module: \"m1.obj\" 5-5\n{\n    filename: \"a.c\"\n}\n\"dir/bare.obj\" 1-0\n{\n"
                              "    filename: \"b.c\"\n}\n\"empty.obj\" 1-0\n{\n}\n"
                              "module: \"m2.obj\" 1-1\n{\n    extern: x `i2 1\n}\n\n");
    EXPECT_EQ(bare->scope->members[0]->line, 3u);
    EXPECT_EQ(*hash_find(session.run.tree->sdb_defines, text_t("k")), "v1");
    EXPECT_EQ(*hash_find(session.run.tree->sdb_defines, text_t("l")), "v3");
}

TEST(Tree, IsSearchedDepthFirst) {
    tree_session_t session("16F877");
    session.read_body("[v main `(v 0 e 0 0 ] { { [v found c 0 e 1 0 ] } } [v found ul 0 e 4 0 ] \"3 ul\n");
    run_t& run = session.run;
    EXPECT_EQ(find_dsym(run, "found")->variable->type->size, 1u);
    EXPECT_EQ(make_dsym_finder(run).at("found"), find_dsym(run, "found"));
    EXPECT_EQ(find_dsym(run, "m1.obj")->sclass, SC_MODULE);
    EXPECT_EQ(find_dsym(run, "ul")->sclass, SC_TYPEDEF); // the root's members come first
    EXPECT_EQ(find_dsym(run, "nothing"), nullptr);
    EXPECT_EQ(find_dsym(run, ""), nullptr);
    tree_session_t bare;
    EXPECT_EQ(find_dsym(bare.run, "found"), nullptr);
    EXPECT_EQ(bare.dump(), "");
}

} // namespace
} // namespace tavrel
