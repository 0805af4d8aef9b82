// When two types are one, and the table that rests on it. The second module brings what the first has once more.
#include <gtest/gtest.h>

#include "support/tree.h"

namespace tavrel {
namespace {

using testing::tree_session_t;

struct pair_case_t {
    const char* first; // bodies of two modules, with the types `a` and `b`
    const char* second;
    bool same;
};

TEST(TypeComparison, FollowsShapes) {
    const pair_case_t cases[] = {
        {"[v a `*Vi 0 t 0 ]",                                                               "[v b `*Vi 0 t 0 ]",                        true },
        {"[v a `i 0 t 0 ]",                                                                 "[v b `s 0 t 0 ]",                          true }, // both two bytes, signed
        {"[v a `i 0 t 0 ]",                                                                 "[v b `ui 0 t 0 ]",                         false},
        {"[v a `*Vi 0 t 0 ]",                                                               "[v b `V*i 0 t 0 ]",                        false},
        {"[v a `*i 0 t 0 ]",                                                                "[v b `*Vi 0 t 0 ]",                        false},
        {"[v a `*Ci 0 t 0 ]",                                                               "[v b `*Di 0 t 0 ]",                        true }, // two letters of one flag
        {"[v a `[3]i 0 t 0 ]",                                                              "[v b `[4]i 0 t 0 ]",                       false},
        {"[v a `(i 0 t 0 ]",                                                                "[v b `*i 0 t 0 ]",                         false},
 // Without a base, struct or enum nothing is equal but the same place.
        {"[v a `*no 0 t 0 ]",                                                               "[v b `*no 0 t 0 ]",                        false},
        {"[v a `*no 0 t 0 ] [v b a 0 t 0 ]",                                                "",                                         false},
        {"[v a `**no 0 t 0 ] [v b `*a 0 t 0 ]",                                             "",                                         false},
        {"[v a `*i 0 t 0 ] [v b `a 0 t 0 ]",                                                "",                                         true },
        {"[v a E1 0 t 0 ]",                                                                 "[v b E1 0 t 0 ]",                          false},
        {"[v a E1 0 t 0 ] [v b `E1 0 t 0 ]",                                                "",                                         true },
 // Structs.
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S9 t 2 i x 2 0 ] [v b S9 0 t 0 ]",      true },
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S1 u 2 i x 2 0 ] [v b S1 0 t 0 ]",      false},
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S1 . 2 i x 2 0 ] [v b S1 0 t 0 ]",      false},
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S1 t 4 i x 2 0 ] [v b S1 0 t 0 ]",      false},
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S1 t 2 i y 2 0 ] [v b S1 0 t 0 ]",      false},
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S1 t 2 i x 2 0 :3:0 ] [v b S1 0 t 0 ]", false},
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[s S1 t 2 *i x 2 0 ] [v b S1 0 t 0 ]",     false},
        {"[s S1 t 2 i x 2 0 ] [v a S1 0 t 0 ]",                                             "[u S1 t 2 i x 2 0 ] [v b S1 0 t 0 ]",      true },
        {"[s S1 t 2 no x 2 0 ] [v a S1 0 t 0 ]",                                            "[s S1 t 2 no x 2 0 ] [v b S1 0 t 0 ]",     true },
        {"[s S1 t 2 no x 2 0 ] [v a S1 0 t 0 ]",                                            "[s S1 t 2 i x 2 0 ] [v b S1 0 t 0 ]",      false},
 // Structs inside: through copies that differ in the end.
        {"[s S2 . 2 i x 2 0 ] [s S1 t 2 *S2 p 1 0 ] [v a S1 0 t 0 ]",
         "[s S2 . 2 i x 2 0 ] [s S1 t 2 *S2 p 1 0 ] [v b S1 0 t 0 ]",                                                                   true },
        {"[s S2 . 2 i x 2 0 ] [s S1 t 2 *S2 p 1 0 ] [v a S1 0 t 0 ]",
         "[s S2 . 2 c x 2 0 ] [s S1 t 2 *S2 p 1 0 ] [v b S1 0 t 0 ]",                                                                   false},
        {"[s S2 . 2 i x 2 0 ] [s S1 t 2 *S2 p 1 0 ] [v a S1 0 t 0 ]",
         "[s S2 . 2 i x 2 0 ] [s S1 t 2 S2 p 1 0 ] [v b S1 0 t 0 ]",                                                                    false},
 // A struct that comes up again ends it, be it in itself or in a second field.
        {"[s S1 t 2 *S1 p 1 0 ] [v a S1 0 t 0 ]",                                           "[s S1 t 2 *S1 p 1 0 ] [v b S1 0 t 0 ]",    false},
        {"[s S2 . 1 c x 1 0 ] [s S1 t 2 S2 p 1 0 S2 q 1 1 ] [v a S1 0 t 0 ]",
         "[s S2 . 1 c x 1 0 ] [s S1 t 2 S2 p 1 0 S2 q 1 1 ] [v b S1 0 t 0 ]",                                                           false},
 // Unless both sides mean one node, whatever stands around it.
        {"[s S3 . 2 *S3 p 1 0 ] [s S1 t 2 *S3 p 1 0 S3 q 1 0 ] [v a S1 0 t 0 ]"
         "{ [s S1 t 2 S3 p 1 0 S3 q 1 0 ] [v b S1 0 t 0 ] }",                      "",                                         true },
        {"[s S1 t 2 *S1 p 1 0 ] [v a S1 0 t 0 ] { [s S7 t 2 *S1 p 1 0 ] [v b S7 0 t 0 ] }", "",                                         true },
    };
    for (const pair_case_t& one : cases) {
        tree_session_t session("16F877");
        session.read_body(one.first);
        session.read_body(one.second);
        const type_t a = session.type("a");
        const type_t b = session.type("b");
        EXPECT_EQ(type_differs(session.run, a, b), !one.same) << one.first << one.second;
        EXPECT_EQ(type_differs(session.run, b, a), !one.same) << one.first << one.second;
        EXPECT_FALSE(type_differs(session.run, a, a));
        if (one.same) {
            EXPECT_EQ(type_hash(session.run, a), type_hash(session.run, b));
        }
        type_map_t map = type_map_new(session.run);
        EXPECT_TRUE(type_map_add(map, a, 1));
        EXPECT_EQ(type_map_find(map, b) != nullptr, one.same) << one.first << one.second;
        EXPECT_EQ(type_map_add(map, b, 2), !one.same) << one.first << one.second;
        EXPECT_EQ(*type_map_find(map, a), 1u);
        type_map_clear(map);
        EXPECT_EQ(type_map_find(map, a), nullptr);
    }
}

TEST(TypeHash, AddsUpParts) {
    tree_session_t session("16F877");
    session.read_body("[v a `[9]*V(ul 0 t 0 ] [v b `*S1 0 t 0 ]");
    EXPECT_EQ(type_hash(session.run, session.type("a")), 6 * 256 + 3 * 256 + (7 * 256 + 2) + 2 * 256 + (4 + 2u));
    EXPECT_EQ(type_hash(session.run, session.type("b")), 3 * 256 + 5 * 256u);
    tpart_t* const odd = new_part(*session.run.tree, 9, session.type("b"));
    tpart_t* const other = new_part(*session.run.tree, 9, session.type("b"));
    session.said();
    EXPECT_EQ(type_hash(session.run, odd), 3 * 256 + 5 * 256u);
    EXPECT_FALSE(type_differs(session.run, odd, other));
    EXPECT_EQ(session.said(), "623\n624\n");
}

// What a table must find does not depend on how it looks: it is held against comparing with all entries in turn, on
// structs that point to each other at random and repeat from module to module.
TEST(TypeMap, FindsTheFirstEqualKey) {
    uint32_t seed = 1;
    const auto random = [&](uint32_t limit) { return (seed = seed * 1103515245 + 12345) / 65536 % limit; };
    size_t found = 0;
    for (int round = 0; round < 60; ++round) {
        tree_session_t session("16F877");
        std::string body;
        const uint32_t structs = 2 + random(5);
        for (uint32_t k = 0; k < structs; ++k) {
            print(body, "[s S%u %s 4 ", k, random(2) == 0 ? "t" : ".");
            for (uint32_t field = random(3); field > 0; --field) {
                const uint32_t to = random(3) == 0 ? random(structs) : k + 1 + random(2); // mostly forwards
                print(body, "%sS%u f 2 0 ", random(2) == 0 ? "*" : "", to);
            }
            body += "]\n{ ";
        }
        for (uint32_t k = 0; k < structs; ++k) {
            print(body, "[v s%u S%u 0 t 0 ] [v p%u `*S%u 0 t 0 ] } [v q%u `*S%u 0 t 0 ]\n", k, k, k, k, k, k);
        }
        for (int module = 0; module < 3; ++module) {
            session.read_body(body);
        }
        type_map_t map = type_map_new(session.run);
        std::vector<type_t> keys;
        for (const variable_t& variable : session.run.tree->variables) {
            uint32_t first = 0;
            while (first < keys.size() && type_differs(session.run, variable.type, keys[first])) {
                ++first;
            }
            const uint32_t* const value = type_map_find(map, variable.type);
            ASSERT_EQ(value == nullptr ? keys.size() : *value, first) << body;
            found += value == nullptr ? 0 : 1;
            if (type_map_add(map, variable.type, first)) {
                keys.push_back(variable.type);
            }
            ASSERT_EQ(map.entries.size(), keys.size());
        }
    }
    EXPECT_GT(found, 100u);
}

TEST(TypeComparison, GoesThroughLongChains) {
    constexpr int length = 3000;
    std::string body;
    for (int k = 0; k < length; ++k) {
        print(body, "[s S%d . 1 *S%d a 1 0 ]\n", k, k + 1);
    }
    tree_session_t session("16F877");
    session.read_body(body + "[v a S0 0 t 0 ]");
    session.read_body(body + "[v b S0 0 t 0 ]");
    session.read_body(body + "[s S3000 . 0 i x 2 0 ] [v c S0 0 t 0 ]");
    EXPECT_FALSE(type_differs(session.run, session.type("a"), session.type("b")));
    EXPECT_TRUE(type_differs(session.run, session.type("a"), session.type("c")));
    type_map_t map = type_map_new(session.run);
    type_map_add(map, session.type("a"), 7);
    EXPECT_EQ(*type_map_find(map, session.type("b")), 7u);
    EXPECT_EQ(type_map_find(map, session.type("c")), nullptr);
}

} // namespace
} // namespace tavrel
