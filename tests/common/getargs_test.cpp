#include "common/getargs.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

using words_t = std::vector<std::string>;

struct reading_t {
    words_t words;
    std::string err;
    std::string rest; // what was not read
    bool ended = false;
};

reading_t read_words(const std::string& text, bool terminal = false) {
    memory_files_t files;
    files.input = text;
    const host_t host = memory_host(files);
    messages_t messages;
    messages.host = &host;
    messages.sink = host.err;
    reading_t reading;
    try {
        reading.words = getargs(messages, host.read_input_line, terminal, "tavrel> ");
    } catch (const end_of_run_t&) {
        reading.ended = true;
    }
    for (std::string line; host.read_input_line(line);) {
        reading.rest += line;
    }
    reading.err = files.err;
    return reading;
}

TEST(getargs, cuts_words) {
    struct row_t {
        const char* text;
        words_t words;
    };
    const row_t rows[] = {
        {"",                         {}                          },
        {"\n \t\n",                  {}                          },
        {"a b\tc\nd",                {"a", "b", "c", "d"}        },
        {"a\\\nb",                   {"ab"}                      }, // the word runs on
        {"a \\\nb",                  {"a", "b"}                  },
        {"a\\b \\\\\nc",             {"a\\b", "\\c"}             }, // elsewhere a backslash is a character
        {"last\\",                   {"last"}                    },
        {"a\"b c\"d",                {"ab cd"}                   },
        {"'a \"b' \"c 'd\"",         {"a \"b", "c 'd"}           }, // the other quote is a character
        {"\"\" '' x\"\"y",           {"", "", "xy"}              },
        {"'a\\\nb'",                 {"ab"}                      }, // a quotation over a continuation
        {"'a\nb' c",                 {"a\nb", "c"}               },
        {"open 'to the end\n",       {"open", "to the end\n"}    },
        {"a\r\nb\v",                 {"a\r", "b\v"}              }, // these do not separate
        {"@file -o \"two words\"\n", {"@file", "-o", "two words"}},
    };
    for (const row_t& row : rows) {
        const reading_t reading = read_words(row.text);
        EXPECT_EQ(reading.words, row.words) << row.text;
        EXPECT_EQ(reading.err, "") << row.text;
    }
}

TEST(getargs, reads_one_line_from_a_terminal) {
    reading_t reading = read_words("a b\nc\n", true);
    EXPECT_EQ(reading.words, (words_t{"a", "b"}));
    EXPECT_EQ(reading.err, "tavrel> ");
    EXPECT_EQ(reading.rest, "c\n");

    reading = read_words("a\\\nb \\\nc\nd\n", true);
    EXPECT_EQ(reading.words, (words_t{"ab", "c"}));
    EXPECT_EQ(reading.err, "tavrel> tavrel> tavrel> ");
    EXPECT_EQ(reading.rest, "d\n");

    EXPECT_EQ(read_words("\na\n", true).words, words_t{});
}

TEST(getargs, warns_of_lines_that_fill_the_buffer) {
    const std::string word(200, 'w');
    std::string line;
    while (line.size() + word.size() < 8190) {
        line += word + " ";
    }
    const std::string fits = line + std::string(8190 - line.size(), 'x');
    EXPECT_EQ(read_words(fits + "\n").err, "");
    EXPECT_EQ(read_words(fits).err, "");

    const reading_t reading = read_words(fits + "yz tail\nnext");
    EXPECT_EQ(reading.err, "(337) An error, warning or message was generated, but no description is available\n");
    ASSERT_EQ(reading.words.size(), 40u + 3u);
    EXPECT_EQ(reading.words[40], fits.substr(line.size()) + "yz"); // the line goes on
    EXPECT_EQ(reading.words[42], "next");
}

TEST(getargs, refuses_long_words) {
    EXPECT_EQ(read_words(std::string(255, 'w')).words.size(), 1u);
    const reading_t reading = read_words("a " + std::string(256, 'w'));
    EXPECT_TRUE(reading.ended);
    EXPECT_EQ(reading.err, "(917) An error, warning or message was generated, but no description is available\n");
}

} // namespace
} // namespace tavrel
