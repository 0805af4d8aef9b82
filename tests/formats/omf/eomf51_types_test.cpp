// The type table of Extended OMF-51: what the types of SDB files become.
#include <gtest/gtest.h>

#include "formats/omf/omf_support.h"

namespace tavrel {
namespace {

using testing::bodies_of;
using testing::bytes;
using testing::files_t;
using testing::hex;
using testing::message_texts;
using testing::result_t;
using testing::run_program;

// A run on a module with that SDB text, where the variables `_A` to `_Z` have places.
result_t run_on(const std::string& sdb) {
    std::string symbols = "%locals\nm.obj\n?a_f 30 0 DATA\n";
    for (char c = 'A'; c <= 'Z'; ++c) {
        symbols += "_" + std::string(1, c) + " 0 0 DATA\n";
    }
    files_t files;
    files["m"] = message_texts;
    files["in.sym"] = symbols;
    files["m.sdb"] = "[p SPACEOPT ]\n" + sdb;
    const result_t result = run_program({"--edf=m", "-p8051", "in.sym", "-oeomf51", "o.x"}, files);
    EXPECT_EQ(result.status, 0) << result.err;
    return result;
}

// The items of all typedef records, one record a line.
std::string items_of(const result_t& result) {
    std::string text;
    for (const std::string& body : bodies_of(result.files.at("o.x"), 0x20)) {
        std::string line = hex(body);
        std::replace(line.begin(), line.end(), '\n', ' ');
        line.pop_back();
        text += line + "\n";
    }
    return text;
}

// The type numbers of all entries of typed records, one record a line.
std::string numbers_of(const result_t& result) {
    std::string text;
    for (const std::string& body : bodies_of(result.files.at("o.x"), 0x22)) {
        for (size_t at = 1; at < body.size(); at += 6u + static_cast<unsigned char>(body.at(at + 5))) {
            text += hex(body.substr(at + 4, 1));
        }
        text.back() = '\n';
    }
    return text;
}

struct case_t {
    const char* sdb;
    const char* items;
    const char* numbers;
};

void expect_types(const case_t& test) {
    const result_t result = run_on(test.sdb);
    EXPECT_EQ(items_of(result), test.items) << test.sdb;
    EXPECT_EQ(numbers_of(result), test.numbers) << test.sdb;
}

// clang-format off
constexpr case_t single_types[] = {
    {"[v _A `v 1 e 1 0 ]",     "",                                            "0B\n"},
    {"[v _A `b 1 e 0 0 ]",     "",                                            "00\n"}, // a bit
    {"[v _A `c 1 e 1 0 ]",     "",                                            "02\n"},
    {"[v _A `uc 1 e 1 0 ]",    "",                                            "03\n"},
    {"[v _A `i 1 e 2 0 ]",     "",                                            "04\n"},
    {"[v _A `us 1 e 2 0 ]",    "",                                            "05\n"},
    {"[v _A `l 1 e 4 0 ]",     "",                                            "06\n"},
    {"[v _A `ul 1 e 4 0 ]",    "",                                            "07\n"},
    {"[v _A `f 1 e 4 0 ]",     "",                                            "0C\n"},
    {"[v _A `d 1 e 4 0 ]",     "",                                            "0C\n"},
    {"[v _A `VCi 1 e 2 0 ]",   "",                                            "04\n"},
    {"[e E1 e `uc A 0 ]\n[v _A `E1 1 e 1 0 ]", "",                            "03\n"},
    {"[e E1 e `c A 0 ]\n[v _A `E1 1 e 1 0 ]",  "",                            "03\n"}, // the sign is not known
    {"[e E1 e `i A 0 ]\n[v _A `E1 1 e 2 0 ]",  "",                            "05\n"},
    {"[v _A `E1 1 e 2 0 ]",    "",                                            "05\n"}, // never described
    {"[v _A `*i 1 e 2 0 ]",    "28 01 02 00 01 00 00 00 04\n",                "20\n"},
    {"[v _A `*Ci 1 e 2 0 ]",   "28 01 02 00 01 00 00 00 04\n",                "20\n"},
    {"[v _A `*Ni 1 e 1 0 ]",   "28 02 01 04 01 00 00 00 04\n",                "20\n"}, // near
    {"[v _A `*Fi 1 e 2 0 ]",   "28 02 02 02 01 00 00 00 04\n",                "20\n"}, // far
    {"[v _A `*Di 1 e 2 0 ]",   "28 02 02 02 01 00 00 00 04\n",                "20\n"}, // code
    {"[v _A `*Si 1 e 2 0 ]",   "28 02 02 01 01 00 00 00 04\n",                "20\n"}, // persistent
    {"[v _A `*Yi 1 e 2 0 ]",   "28 02 02 05 01 00 00 00 04\n",                "20\n"}, // bank2
    {"[v _A `*Ai 1 e 1 0 ]",   "28 01 01 00 01 00 00 00 04\n",                "20\n"}, // idata
    {"[v _A `*YNDSi 1 e 1 0 ]","28 02 01 01 01 00 00 00 04\n",                "20\n"}, // the first of the list
    {"[v _A `N*i 1 e 2 0 ]",   "28 01 02 00 01 00 00 00 04\n",                "20\n"}, // not the target's
    {"[v _A `**Nc 1 e 2 0 ]",  "28 02 01 04 01 00 00 00 02 28 01 02 00 01 00 00 00 20\n", "21\n"},
    {"[v _A `c 3a e 3 0 ]",    "22 01 03 00 02\n",                            "20\n"},
    {"[v _A `[70000c 1 e 0 0 ]", "22 01 70 11 02\n",                          "20\n"}, // 0x11170
    {"[v _A `[2[3i 1 e 0 0 ]", "22 01 03 00 04 22 01 02 00 20\n",             "21\n"},
    {"[v _A `(v 1 e 0 0 ]",    "23 0B 00\n",                                  "20\n"},
    {"[v _A `(*(i 1 e 0 0 ]",  "23 04 00 28 01 02 00 01 00 00 00 20 23 21 00\n", "22\n"},
    {"[v _A `* 1 e 2 0 ]",     "28 01 02 00 01 00 00 00 00\n",                "20\n"}, // to nothing
    {"[v _A `! 1 e 2 0 ]",     "",                                            ""    }, // no type
};

constexpr case_t shared_types[] = {
    // equal types are one item, also where only the outer qualifier differs
    {"[v _A `*i 1 e 2 0 ]\n[v _B `*i 1 e 2 0 ]\n[v _C `V*i 1 e 2 0 ]", "28 01 02 00 01 00 00 00 04\n", "20 20 20\n"},
    {"[v _A `*i 1 e 2 0 ]\n[v _B `*Ci 1 e 2 0 ]",
     "28 01 02 00 01 00 00 00 04 28 01 02 00 01 00 00 00 04\n", "20 21\n"},
    // another definition type ends the record, and the table with it
    {"[v _A `*i 1 e 2 0 ]\n[v _B `*i 1 s 2 0 ]",
     "28 01 02 00 01 00 00 00 04\n28 01 02 00 01 00 00 00 04\n", "20\n20\n"},
};

constexpr case_t struct_types[] = {
    {"[s S1 tag 0 ]\n[v _A `S1 1 e 0 0 ]",  "24 00 03 74 61 67 25 00 00 21 20\n", "22\n"}, // names lists, has none
    {"[v _A `S1 1 e 0 0 ]",                 "25 00 00 20 00\n",                   "21\n"}, // never described
    {"[u S1 . 300 `c x 1 0 `i . 2 258 ]\n[v _A `S1 1 e 0 0 ]\n[v _B `S1 1 e 0 0 ]",
     "20 02 00 00 00 02 01 78 02 00 04 00 25 2C 00 20 00\n", "21 21\n"},
    {"[s S1 . 2 `ui p 2 0 :3:5 `i q 2 0 :1:0 `c r 1 1 ]\n[v _A `S1 1 e 2 0 ]",
     "26 01 05 03 26 01 00 01 20 03 00 00 00 20 01 70 00 00 21 01 71 01 00 02 01 72 25 02 00 22 00\n", "23\n"},
    // what fields need stands between the tag and the list
    {"[s S1 t 4 `*c p 2 0 `*c q 2 2 ]\n[v _A `S1 1 e 4 0 ]",
     "24 00 01 74 28 01 02 00 01 00 00 00 02 20 02 00 00 00 21 01 70 02 00 21 01 71 25 04 00 22 20\n", "23\n"},
    {"[s S1 . 1 `c x 1 0 ]\n[s S2 . 2 `S1 2a y 2 0 ]\n[v _A `S2 1 e 2 0 ]\n[v _B `S1 1 e 1 0 ]",
     "20 01 00 00 00 02 01 78 25 01 00 20 00 22 01 02 00 21 20 01 00 00 00 22 01 79 25 02 00 23 00\n", "24 21\n"},
    // a list: inside, the struct is typeless; that pointer's item is what later variables get
    {"[s S1 n 2 `*S1 next 2 0 ]\n[v _A `*S1 1 e 2 0 ]\n[v _B `*S1 1 e 2 0 ]\n[v _C `S1 1 e 2 0 ]",
     "24 00 01 6E 28 01 02 00 01 00 00 00 00 20 01 00 00 00 21 04 6E 65 78 74 25 02 00 22 20 "
     "28 01 02 00 01 00 00 00 23\n", "24 21 23\n"},
    // two that refer to each other
    {"[s S1 . 2 `*S2 p 2 0 ]\n[s S2 . 2 `*S1 q 2 0 ]\n[v _A `S1 1 e 2 0 ]\n[v _B `S2 1 e 2 0 ]",
     "28 01 02 00 01 00 00 00 00 20 01 00 00 00 20 01 71 25 02 00 21 00 28 01 02 00 01 00 00 00 22 "
     "20 01 00 00 00 23 01 70 25 02 00 24 00\n", "25 22\n"},
};
// clang-format on

TEST(eomf51_types, standard_types_pointers_arrays_functions) {
    for (const case_t& test : single_types) {
        expect_types(test);
    }
}

TEST(eomf51_types, equal_types_share_an_item) {
    for (const case_t& test : shared_types) {
        expect_types(test);
    }
}

TEST(eomf51_types, structs) {
    for (const case_t& test : struct_types) {
        expect_types(test);
    }
}

std::string field(const std::string& type, const std::string& name) { return "`" + type + " " + name + " 1 0 "; }

// A list has 255 bytes: 3 in front, and 4 and the name for each field.
TEST(eomf51_types, lists_are_cut_at_255_bytes) {
    const std::string n100(100, 'p');
    const auto list = [](int count, const std::string& fields) {
        return bytes("20") + static_cast<char>(count) + bytes("00") + fields;
    };
    const auto entry = [](const std::string& type, const std::string& name) {
        return bytes("00 00 " + type) + static_cast<char>(name.size()) + name;
    };
    // 3 + 104 + 104 + 44 = 255: fits; the pointer of the next field stands behind the list that it did not fit in
    const result_t result =
        run_on("[s S1 . 9 " + field("c", n100) + field("c", n100) + field("c", std::string(40, 'q')) +
               field("*c", ".") + field("c", std::string(201, 'r')) + "]\n[v _A `S1 1 e 9 0 ]\n[v _B `*c 1 e 2 0 ]");
    const std::string items = list(3, entry("02", n100) + entry("02", n100) + entry("02", std::string(40, 'q'))) +
                              bytes("28 01 02 00 01 00 00 00 02") +
                              list(2, entry("20", "") + entry("02", std::string(200, 'r'))) +
                              bytes("25 09 00 21 00"); // both lists are one number
    EXPECT_EQ(hex(bodies_of(result.files.at("o.x"), 0x20).at(0)), hex(items));
    EXPECT_EQ(numbers_of(result), "22 20\n");
}

TEST(eomf51_types, tags_end_at_255_characters) {
    const result_t result = run_on("[s S1 " + std::string(300, 't') + " 0 ]\n[v _A `S1 1 e 0 0 ]");
    EXPECT_EQ(bodies_of(result.files.at("o.x"), 0x20).at(0),
              bytes("24 00 FF") + std::string(255, 't') + bytes("25 00 00 21 20"));
}

// `count` variables of different array types that take `numbers` numbers each.
std::string many_numbers(int count, int numbers) {
    std::string sdb;
    for (int k = 0; k < count; ++k) {
        sdb += std::string("[v _") + static_cast<char>('A' + k % 26) + " `" + std::string(numbers - 1, '*') + "[" +
               std::to_string(k + 1) + "c 1 e 0 " + std::to_string(k) + " ]\n";
    }
    return sdb;
}

TEST(eomf51_types, a_table_ends_in_front_of_256) {
    const auto records = [](int count, int numbers) {
        std::vector<size_t> entries;
        for (const std::string& body : bodies_of(run_on(many_numbers(count, numbers)).files.at("o.x"), 0x22)) {
            entries.push_back((body.size() - 1) / 7);
        }
        return entries;
    };
    EXPECT_EQ(records(31, 7), (std::vector<size_t>{31}));    // 20 + 31 * 7 = 249
    EXPECT_EQ(records(32, 7), (std::vector<size_t>{31, 1})); // 256 is too far
    EXPECT_EQ(records(64, 7), (std::vector<size_t>{31, 31, 2}));
    EXPECT_EQ(records(1, 300), (std::vector<size_t>{1})); // no table can help
    EXPECT_EQ(records(3, 300), (std::vector<size_t>{1, 1, 1}));
    // The number of a type with more than 255 items is its low byte: 20 + 299 = 14B.
    EXPECT_EQ(numbers_of(run_on(many_numbers(1, 300))), "4B\n");
}

TEST(eomf51_types, a_type_in_an_earlier_table_is_defined_anew) {
    const result_t result = run_on("[v _A `*i 1 e 2 0 ]\n" + many_numbers(32, 7) + "[v _B `*i 1 e 2 0 ]\n");
    const auto bodies = bodies_of(result.files.at("o.x"), 0x20);
    ASSERT_EQ(bodies.size(), 2u);
    const std::string pointer = bytes("28 01 02 00 01 00 00 00 04");
    EXPECT_EQ(bodies[0].substr(0, 9), pointer);
    EXPECT_EQ(bodies[1].substr(bodies[1].size() - 9), pointer);
}

// 3640 pointers of 9 bytes leave 8 bytes free. The first type of a record is encoded twice, and so are the complaints.
TEST(eomf51_types, what_does_not_fit_is_left_out) {
    struct full_t {
        const char* title;
        std::string sdb;
        std::vector<std::string> complaints;
        size_t size; // of the table
        const char* number;
    };
    const std::string stars(3640, '*');
    const std::string variable = "[v _A `";
    const std::string p = "`" + stars + "c p 2 0 ";
    const std::string filled_p = "`[3(" + stars + "c p 2 0 ";
    // clang-format off
    const full_t cases[] = {
        {"all fit",      variable + stars + "c 1 e 2 0 ]",      {},    32760, "57\n"}, // 20 + E37
        {"one too many", variable + "*" + stars + "c 1 e 2 0 ]",   {"*"}, 32760, "00\n"},
        {"to the brim",  variable + "[3(" + stars + "c 1 e 2 0 ]", {},    32768, "59\n"},
        {"beyond it",    variable + "([3(" + stars + "c 1 e 2 0 ]", {"("}, 32768, "00\n"},
        {"array",        variable + "[4([3(" + stars + "c 1 e 2 0 ]", {"(", "[4]"}, 32768, "00\n"},
        {"tag, struct",  "[s S1 longer 2 `c x 1 0 ]\n[s S2 . 2 " + p + "`S1 q 2 2 ]\n[v _A `S2 1 e 2 0 ]",
                         {"longer", "S1", "q", "S2"}, 32768, "00\n"},
        {"list",         "[s S2 . 2 " + p + "`i b 2 2 :1:0 ]\n[v _A `S2 1 e 2 0 ]", {"b", "S2"}, 32764, "00\n"},
        {"bit-field",    "[s S2 . 2 " + filled_p + "`i b 2 2 :1:0 ]\n[v _A `S2 1 e 2 0 ]", {"b", "b", "S2"}, 32768, "00\n"},
    };
    // clang-format on
    for (const full_t& test : cases) {
        SCOPED_TRACE(test.title);
        std::string err;
        for (int twice = 0; twice < 2; ++twice) {
            for (const std::string& complaint : test.complaints) {
                err += "in.sym: (622) full: " + complaint + " (warning)\n";
            }
        }
        const result_t result = run_on(test.sdb);
        EXPECT_EQ(result.err, err);
        EXPECT_EQ(bodies_of(result.files.at("o.x"), 0x20).at(0).size(), test.size);
        EXPECT_EQ(numbers_of(result), test.number);
    }
}

// A struct of 160 lists with one field each, of which 158 fit.
TEST(eomf51_types, lists_that_do_not_fit_are_left_out) {
    std::string sdb = "[s S1 . 9 ";
    for (int k = 100; k < 260; ++k) {
        sdb += field("c", std::string(197, 'n') + std::to_string(k));
    }
    const result_t result = run_on(sdb + "]\n[v _A `S1 1 e 9 0 ]");
    const std::string items = bodies_of(result.files.at("o.x"), 0x20).at(0);
    EXPECT_EQ(items.size(), 158u * 207 + 5);
    EXPECT_EQ(hex(items.substr(items.size() - 5)), hex(bytes("25 09 00 20 00")));
    EXPECT_EQ(numbers_of(result), "21\n");
}

// Depth costs no stack: pointers, and structs that lead to each other.
TEST(eomf51_types, deep_types) {
    std::string sdb;
    for (int k = 0; k < 20000; ++k) {
        sdb += "[s S" + std::to_string(k) + " . 2 `S" + std::to_string(k + 1) + " x 2 0 ]\n";
    }
    const result_t chain = run_program({"-w1", "--edf=m", "-p8051", "in.sym", "-oeomf51", "o.x"}, [&] {
        files_t files;
        files["m"] = message_texts;
        files["in.sym"] = "%locals\nm.obj\n_A 0 0 DATA\n";
        files["m.sdb"] = "[p SPACEOPT ]\n" + sdb + "[v _A `S0 1 e 2 0 ]\n";
        return files;
    }());
    EXPECT_EQ(chain.err, "");
    EXPECT_GT(bodies_of(chain.files.at("o.x"), 0x20).at(0).size(), 32750u);
    const result_t pointers = run_on("[v _A `" + std::string(16000, '*') + "c 1 e 2 0 ]");
    EXPECT_EQ(bodies_of(pointers.files.at("o.x"), 0x20).at(0).size(), 32760u);
}

} // namespace
} // namespace tavrel
