#include "common/print.h"

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

// Texts that a user's file may hold: nothing is touched that is not an argument.
TEST(print, hostile_formats_print_something_sane) {
    EXPECT_EQ(format_text("%s and %s", "one"), "one and ");
    EXPECT_EQ(format_text("%d", "text"), "text");
    EXPECT_EQ(format_text("%s", 12), "12");
    EXPECT_EQ(format_text("a%nb%d", 1, 2), "ab2");
    EXPECT_EQ(format_text("100%", 1), "100");
    EXPECT_EQ(format_text("%99999999d", 1).size(), 8191u);
    EXPECT_EQ(format_text("%.99999999d", 1).size(), 8191u);
    EXPECT_EQ(format_text("%k%", 1), "%k");
}

} // namespace
} // namespace tavrel
