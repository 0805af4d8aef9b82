#include "common/print.h"

#include <cstdio>
#include <random>

#include <gtest/gtest.h>

namespace tavrel {
namespace {

struct case_t {
    const char* format;
    print_arg_t arg;
    const char* text;
};

TEST(print, conversions_have_the_width_of_the_texts) {
    const case_t cases[] = {
        {"%ld",       0xFFFFFFFFu,                       "-1"                       },
        {"%lld",      int64_t(-5),                       "-5"                       },
        {"%lX",       uint64_t(0x123456789ABCDEFu),      "89ABCDEF"                 },
        {"%llX",      uint64_t(0x123456789ABCDEFu),      "123456789ABCDEF"          },
        {"%lu",       -1,                                "4294967295"               },
        {"%llu",      int64_t(-1),                       "18446744073709551615"     },
        {"%hd",       0x18000,                           "-32768"                   },
        {"%hhX",      0x1FF,                             "FF"                       },
        {"%d",        int32_t(-2147483647 - 1),          "-2147483648"              },
        {"%5.5lu:",   42,                                "00042:"                   },
        {"%-6d|",     -42,                               "-42   |"                  },
        {"%06d",      -42,                               "-00042"                   },
        {"%+d",       7,                                 "+7"                       },
        {"%#x",       255,                               "0xff"                     },
        {"%.0d|",     0,                                 "|"                        },
        {"%-10s|",    "abc",                             "abc       |"              },
        {"%-14.12s|", "abcdefghijklmnop",                "abcdefghijkl  |"          },
        {"%24.24s|",  "x",                               "                       x|"},
        {"%s",        static_cast<const char*>(nullptr), ""                         },
        {"%c%%",      'A',                               "A%"                       },
    };
    for (const case_t& c : cases) {
        std::string text;
        print_list(text, c.format, {&c.arg, 1});
        EXPECT_EQ(text, c.text) << c.format;
    }
}

TEST(print, a_width_may_be_an_argument) {
    EXPECT_EQ(format_text("%-*s|%*d|", 5, "ab", 4, 12), "ab   |  12|");
    EXPECT_EQ(format_text("%*d|", -4, 12), "12  |");
}

// The C library judges what both know: conversions of one number that has 32 bits, `l` left out for its sake.
TEST(print, agrees_with_the_c_library_on_numbers) {
    constexpr const char* formats[] = {
        "%d",   "%i",    "%u",      "%x",     "%X",   "%o",    "%5d",   "%-5d|",   "%05d",   "%+d",   "% d",   "%.0d",
        "%.5d", "%8.5d", "%-8.5d|", "%08.5d", "%#x",  "%#X",   "%#o",   "%#.3o",   "%+5u",   "%08X",  "%2.2X", "%hd",
        "%hu",  "%hhd",  "%hhX",    "%%%d",   "a%db", "%+.0i", "%#10x", "%-#10o|", "%#010x", "%.12x", "% 05i"};
    constexpr uint32_t numbers[] = {0,      1,      7,         8,          255,        0x7FFF,
                                    0x8000, 0xFFFF, 123456789, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (const char* const format : formats) {
        for (const uint32_t number : numbers) {
            char expected[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
            std::snprintf(expected, sizeof expected, format, number);
#pragma GCC diagnostic pop
            EXPECT_EQ(format_text(format, number), expected) << format << " of " << number;
        }
    }
}

// Texts that a user's file may hold: whatever they ask for, only its arguments are looked at, and each only once.
TEST(print, makes_sense_of_what_does_not_fit) {
    struct row_t {
        const char* format;
        const char* expected;
    };
    // The arguments are always 7, "text", 8.
    constexpr row_t rows[] = {
        {"%s %d %s",          "7 text 8"   }, // kinds exchanged
        {"%d %s %d|%d|%s|%x", "7 text 8|||"}, // too few arguments
        {"%n%s%n%d",          "text"       }, // nothing is stored
        {"%*d|%d",            "text|8"     }, // a width of 7 in front of a text: see below
        {"%d %*d",            "7 8"        }, // a text is no width
        {"100%",              "100"        }, // the end instead of a conversion
        {"%5",                ""           },
        {"%-0+ #",            ""           },
        {"%ll",               ""           },
        {"%.",                ""           },
        {"%y%k%d",            "%y%k7"      }, // letters that mean nothing
        {"%f %e %g",          "7 text 8"   },
        {"%p %s",             "7 text"     },
    };
    for (const row_t& row : rows) {
        std::string text = format_text(row.format, 7, "text", 8);
        text.erase(0, text.find_first_not_of(' '));
        EXPECT_EQ(text, row.expected) << row.format;
    }
}

TEST(print, ends_widths_at_the_line_limit) {
    EXPECT_EQ(format_text("%99999999999d", 1).size(), 8191u);
    EXPECT_EQ(format_text("%.99999999d", 1).size(), 8191u);
    EXPECT_EQ(format_text("%*d%-*d", INT32_MAX, 1, INT32_MIN, 1).size(), 2 * 8191u);
    std::string text = "ab";
    const print_arg_t args[] = {1, "tail"};
    print_list(text, "%8000d%s", args, 511);
    EXPECT_EQ(text.size(), 2 + 511u);
}

TEST(print, outlives_random_formats) {
    std::minstd_rand random(5);
    constexpr text_t letters = "%%%%%%dsxXucnplh*.0123456789-+# mfge";
    for (int round = 0; round < 1000; ++round) {
        std::string format;
        for (auto length = random() % 40; length != 0; --length) {
            format.push_back(letters[random() % letters.size()]);
        }
        const print_arg_t args[] = {static_cast<int>(random()), "name", "", ~uint64_t(0), text_t()};
        std::string text;
        print_list(text, format, {args, random() % 6}, 511);
        EXPECT_LE(text.size(), 511u);
    }
}

} // namespace
} // namespace tavrel
