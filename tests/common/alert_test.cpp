// Messages as their callers and their descriptions make them.
#include "common/alert.h"

#include <random>

#include <gtest/gtest.h>

#include "model/run.h"

namespace tavrel {
namespace {

constexpr const char* no_description = "An error, warning or message was generated, but no description is available";
constexpr const char* installed = "/opt/t/dat/en_msgs.txt";

// A run whose message file holds `descriptions`, below an installation in /opt/t.
struct messages_test_t {
    memory_files_t files;
    host_t host;
    std::unique_ptr<run_t> run;

    explicit messages_test_t(const std::string& descriptions = "") {
        host = memory_host(files);
        host.program_path = "/opt/t/bin/tavrel";
        if (!descriptions.empty()) {
            files.files[installed] = descriptions;
        }
        restart();
    }

    void restart() {
        files.err.clear();
        run = std::make_unique<run_t>(host);
    }
    messages_t& messages() const { return run->messages; }

    // What was shown since the last call.
    std::string shown() { return std::exchange(files.err, {}); }

    template <class... A>
    std::string raise(uint32_t number, const A&... args) {
        try {
            alert(*run, number, args...);
        } catch (const end_of_run_t& end) {
            files.err += "END " + std::to_string(end.status);
        }
        return shown();
    }
    template <class... A>
    std::string raise_text(text_t severity, text_t format, const A&... args) {
        try {
            if (!alert_text(*run, severity, format, args...)) {
                files.err += "NOT SHOWN";
            }
        } catch (const end_of_run_t& end) {
            files.err += "END " + std::to_string(end.status);
        }
        return shown();
    }
};

TEST(alert, works_without_descriptions) {
    messages_test_t test;
    EXPECT_EQ(test.raise(602), std::string("(602) ") + no_description + "\n");
    set_context(test.messages(), "a.sym");
    EXPECT_EQ(test.raise(602), std::string("a.sym: (602) ") + no_description + "\n");
    EXPECT_EQ(test.messages().error_count, 2u);
    EXPECT_EQ(exit_status(test.messages()), 1);
    // The file is sought again by the next message.
    test.files.files[installed] = "602 m found\n";
    EXPECT_EQ(test.raise(602), "a.sym: found\n");
}

// Each severity, in the built-in look and in the format strings, and what it counts.
TEST(alert, does_as_the_severity_says) {
    struct row_t {
        const char* severity;
        const char* plain;
        const char* formatted;
        uint32_t errors, warnings;
    };
    constexpr row_t rows[] = {
        {"f",            "a.sym: (9000) text x\nEND 1",      "a.sym: : (9000) text x (error)\nEND 1", 0, 0},
        {"Fatal",        "a.sym: (9000) text x\nEND 1",      "a.sym: : (9000) text x (error)\nEND 1", 0, 0},
        {"e",            "a.sym: (9000) text x\n",           "a.sym: : (9000) text x (error)\n",      1, 0},
        {"Error",        "a.sym: (9000) text x\n",           "a.sym: : (9000) text x (error)\n",      1, 0},
        {"m",            "a.sym: text x\n",                  "a.sym: : text x\n",                     0, 0},
        {"M",            "a.sym: text x\n",                  "a.sym: : text x\n",                     0, 0},
        {"0",            "a.sym: (9000) text x (warning)\n", "a.sym: : (9000) text x (warning)\n",    0, 1},
        {"9z",           "a.sym: (9000) text x (warning)\n", "a.sym: : (9000) text x (warning)\n",    0, 1},
        {"99999999999",  "a.sym: (9000) text x (warning)\n", "a.sym: : (9000) text x (warning)\n",    0, 1},
        {"-1",           "",                                 "",                                      0, 0}, // below the level 0
        {"-99999999999", "",                                 "",                                      0, 0},
    };
    for (const row_t& row : rows) {
        messages_test_t test(std::string("9000 ") + row.severity + " text %s\n");
        set_context(test.messages(), "a.sym");
        EXPECT_EQ(test.raise(9000, "x"), row.plain) << row.severity;
        EXPECT_EQ(test.messages().error_count, row.errors) << row.severity;
        EXPECT_EQ(test.messages().warning_count, row.warnings) << row.severity;
        for (int style = 1; style < 10; ++style) {
            test.messages().msg_style = style;
            EXPECT_EQ(test.raise(9000, "x"), row.formatted) << row.severity;
        }
    }
}

TEST(alert, shows_unknown_severities_as_warnings) {
    messages_test_t test("9000 q text\n");
    const char* const report = "Malformed error information on line 1, in file /opt/t\\dat\\en_msgs.txt\n\n";
    set_warning_level(test.messages(), 100); // has no say
    EXPECT_EQ(test.raise(9000), std::string(report) + "(9000) text (warning)\n");
    EXPECT_EQ(test.messages().error_count + test.messages().warning_count, 0u);
    disable_messages(test.messages(), "9000");
    EXPECT_EQ(test.raise(9000), "(9000) text (warning)\n");
    disable_messages(test.messages(), "9000:off");
    EXPECT_EQ(test.raise(9000), "");
}

TEST(alert, shows_warnings_from_their_level_on) {
    messages_test_t test("9000 0 low\n9001 1 high\n9002 -3 below\n");
    EXPECT_EQ(set_warning_level(test.messages(), 1), 0);
    EXPECT_EQ(test.raise(9000), "");
    EXPECT_EQ(test.messages().warning_count, 0u);
    EXPECT_EQ(test.raise(9001), "(9001) high (warning)\n");
    EXPECT_EQ(test.messages().warning_count, 1u);
    EXPECT_EQ(exit_status(test.messages()), 0);
    test.messages().warn_as_error = true;
    EXPECT_EQ(exit_status(test.messages()), 1);
    EXPECT_EQ(set_warning_level(test.messages(), -3), 1);
    EXPECT_EQ(test.raise(9002), "(9002) below (warning)\n");
}

TEST(alert, ends_the_run_at_one_error_too_many) {
    messages_test_t test("9000 e bad\n");
    for (int k = 0; k < 20; ++k) {
        EXPECT_EQ(test.raise(9000), "(9000) bad\n");
    }
    EXPECT_EQ(test.raise(9000), "(9000) bad\ntoo many errors (21)\nEND 1");

    test.restart();
    EXPECT_EQ(set_error_limit(test.messages(), 2), 20u);
    test.raise(9000);
    test.raise(9000);
    test.messages().msg_style = 1;
    EXPECT_EQ(test.raise(9000), ": : (9000) bad (error)\n: : too many errors (3)\nEND 1");
}

TEST(alert, takes_texts_without_numbers) {
    messages_test_t test;
    set_context(test.messages(), "a.sym");
    EXPECT_EQ(test.raise_text("W", "x %d", 1), "a.sym: (0) x 1 (warning)\n");
    EXPECT_EQ(test.raise_text("", "x"), "a.sym: (0) x (warning)\n");
    EXPECT_EQ(test.raise_text("m", "x"), "a.sym: x\n");
    EXPECT_EQ(test.messages().error_count + test.messages().warning_count, 0u);
    EXPECT_EQ(test.raise_text("E", "x"), "a.sym: (0) x\n");
    EXPECT_EQ(test.messages().error_count, 1u);
    EXPECT_EQ(test.raise_text("Fatal", "x"), "a.sym: (0) x\nEND 1");

    // The level is 10 unless the severity begins with one.
    set_warning_level(test.messages(), 11);
    EXPECT_EQ(test.raise_text("W", "x"), "NOT SHOWN");
    EXPECT_EQ(test.raise_text("m", "x"), "NOT SHOWN");
    EXPECT_EQ(test.raise_text("11", "x"), "a.sym: (0) x (warning)\n");
    EXPECT_EQ(test.raise_text("e", "x"), "NOT SHOWN");
    EXPECT_EQ(test.messages().error_count, 2u); // counts all the same
    EXPECT_EQ(test.raise_text("f", "x"), "a.sym: (0) x\nEND 1");
    set_warning_level(test.messages(), -5);
    EXPECT_EQ(test.raise_text("-6", "x"), "NOT SHOWN");

    set_error_limit(test.messages(), 2);
    EXPECT_EQ(test.raise_text("E", "x"), "a.sym: (0) too many errors (3)\nEND 1");
    test.messages().msg_style = 1;
    EXPECT_EQ(test.raise_text("E", "x"), "a.sym: : (0) too many errors (4) (error)\nEND 1");
}

TEST(alert, overrides_severities) {
    struct row_t {
        const char* list;
        bool error, warning, plain; // what of 9001, 9002, 9003 is still shown; the fatal 9000 always is
    };
    constexpr row_t rows[] = {
        {"",                                            true,  true,  true },
        {"9000,9001,9002,9003",                         true,  false, false},
        {"9000:off,9001:OFF,9002:Off,9003:off",         false, false, false},
        {"9001:off,9001",                               true,  true,  true }, // the later entry
        {"9002,,x,-5,99999999999999999999,10001, 9003", true,  false, false},
        {"0",                                           true,  false, true }, // all warnings
        {"0,9001:off",                                  true,  false, true },
        {"9002:of",                                     true,  false, true },
    };
    for (const row_t& row : rows) {
        messages_test_t test("9000 f t\n9001 e t\n9002 5 t\n9003 m t\n");
        disable_messages(test.messages(), row.list);
        EXPECT_EQ(test.raise(9000), "(9000) t\nEND 1") << row.list;
        EXPECT_EQ(!test.raise(9001).empty(), row.error) << row.list;
        EXPECT_EQ(!test.raise(9002).empty(), row.warning) << row.list;
        EXPECT_EQ(!test.raise(9003).empty(), row.plain) << row.list;
        EXPECT_EQ(test.messages().error_count, row.error ? 1u : 0u) << row.list;
        EXPECT_EQ(test.messages().warning_count, row.warning ? 1u : 0u) << row.list;
    }
}

TEST(alert, marks_the_warnings_of_the_file_that_is_loaded) {
    messages_test_t test("9001 1 t\n9002 e t\n");
    test.files.files["mine"] = "9001 1 t\n9002 1 t\n9003 1 t\n";
    const std::string mine = "mine";
    disable_messages(test.messages(), "0");
    ASSERT_TRUE(load_description_file(test.messages(), &mine)); // adds no marks
    EXPECT_EQ(test.raise(9001), "");
    EXPECT_EQ(test.raise(9002), "(9002) t (warning)\n");

    test.restart();
    ASSERT_TRUE(load_description_file(test.messages(), &mine));
    disable_messages(test.messages(), "0");
    EXPECT_EQ(test.raise(9001) + test.raise(9002) + test.raise(9003), "");
}

TEST(alert, knows_where_the_input_stands) {
    messages_test_t test("9000 e t\n");
    const int line = 12, base = 100, column = 104;
    test.files.variables["NVS_ERR_FORMAT"] = "%f|%l|%c|%n|%s|%a|%%|%x|%";
    set_context(test.messages(), "a.sym", &line, &base, &column);
    EXPECT_EQ(test.raise(9000), "a.sym: 12: (9000) t\n");
    test.messages().msg_style = 3;
    EXPECT_EQ(test.raise(9000), "a.sym|12|4|9000|t|tavrel|%|x|\n");
    set_context(test.messages(), {});
    EXPECT_EQ(test.raise(9000), "|||9000|t|tavrel|%|x|\n");
}

TEST(alert, tells_the_systems_words) {
    messages_test_t test("9000 e no %s: %m\n9001 e %%m 100%%\n9002 e %m%m\n");
    test.files.variables["NVS_ERR_FORMAT"] = "%n %m";
    EXPECT_EQ(test.raise(9000, "x"), "(9000) no x: \n");
    const std::string missing = "missing";
    EXPECT_FALSE(load_description_file(test.messages(), &missing));
    const std::string words = error_text(2);
    EXPECT_EQ(test.raise(9000, "%m"), "(9000) no %m: " + words + "\n");
    EXPECT_EQ(test.raise(9001), "(9001) %m 100%\n");
    EXPECT_EQ(test.raise(9002), "(9002) " + words + words + "\n");
    test.messages().msg_style = 1;
    EXPECT_EQ(test.raise(9000, "x"), "9000 " + words + "\n");
}

TEST(alert, takes_formats_from_the_environment) {
    messages_test_t test("9000 e t\n9001 1 t\n9002 m t\n");
    test.files.variables = {
        {"NVS_ERR_FORMAT",  "E %n"   },
        {"NVS_WARN_FORMAT", "W %n"   },
        {"NVS_MSG_FORMAT",  "M %n %s"}
    };
    EXPECT_EQ(test.raise(9000), "(9000) t\n"); // no effect on the built-in look
    test.messages().msg_style = 1;
    EXPECT_EQ(test.raise(9000) + test.raise(9001) + test.raise(9002), "E 9000\nW 9001\nM 9002 t\n");
    EXPECT_EQ(test.raise_text("C", "x"), "W 0\n");
    // Also for reports on a file that is loaded before the first message.
    test.restart();
    test.messages().msg_style = 1;
    test.files.files["bad"] = "bad\n";
    const std::string bad = "bad";
    EXPECT_TRUE(load_description_file(test.messages(), &bad));
    EXPECT_EQ(test.shown(), "M 0 Malformed error information on line 1, in file bad\n\n");
}

TEST(alert, cuts_texts_and_lines) {
    messages_test_t test("9000 e %s\n9001 1 %600d%s\n");
    EXPECT_EQ(test.raise(9000, std::string(600, 'x')), "(9000) " + std::string(511, 'x') + "\n");
    EXPECT_EQ(test.raise(9001, 1, "x").size(), 511 + std::string("(9001)  (warning)\n").size());
    set_context(test.messages(), std::string(10000, 'c'));
    EXPECT_EQ(test.raise(9000, "x"), std::string(8191, 'c') + "\n");
    test.messages().msg_style = 1;
    EXPECT_EQ(test.raise(9000, "x"), std::string(8191, 'c') + "\n");
}

// ---- description files

TEST(alert_file, finds_the_language) {
    struct row_t {
        const char* settings;
        const char* expected;
    };
    constexpr row_t rows[] = {
        {"",            "english"  },
        {"language=7",  "deutsch"  },
        {"language=12", "français"},
        {"language=9",  "english"  },
        {"language=99", "english"  },
        {"language=x",  "english"  }
    };
    for (const row_t& row : rows) {
        messages_test_t test("9000 m english\n");
        test.files.files["/opt/t/dat/de_msgs.txt"] = "9000 m deutsch\n";
        test.files.files["/opt/t/dat/fr_msgs.txt"] = "9000 m français\n";
        test.files.files["/etc/tavrel/settings"] = row.settings;
        EXPECT_EQ(test.raise(9000), std::string(row.expected) + "\n");
    }
}

TEST(alert_file, falls_back) {
    messages_test_t test("9000 m english\n9001 m fallback\nbad\n");
    auto& files = test.files.files;
    files["/etc/tavrel/settings"] = "language=7\n";
    files["/opt/t/dat/de_msgs.txt"] = "9000 m deutsch\n";
    EXPECT_EQ(test.raise(9000), "deutsch\n");
    EXPECT_EQ(test.raise(9001),
              "Malformed error information on line 3, in file /opt/t\\dat\\en_msgs.txt\n\nfallback\n");
    EXPECT_EQ(test.raise(9002), std::string("(9002) ") + no_description + "\n");

    // A language without a file: the file of the environment, then the default path.
    files.erase("/opt/t/dat/de_msgs.txt");
    files["../dat/en_msgs.txt"] = "9000 m default\n";
    test.restart();
    EXPECT_EQ(test.raise(9000), "default\n");
    test.files.variables["NVS_ERR_FILE"] = "a\\b.txt"; // opened as it stands
    files["a\\b.txt"] = "9000 m environment\n";
    test.restart();
    EXPECT_EQ(test.raise(9000), "environment\n");
    test.restart();
    EXPECT_TRUE(load_description_file(test.messages(), nullptr));
    EXPECT_EQ(test.raise(9000), "environment\n");

    // Without an installation there is no English file either.
    test.host.program_path = "/elsewhere/tavrel";
    test.restart();
    EXPECT_EQ(test.raise(9001), std::string("(9001) ") + no_description + "\n");
}

TEST(alert_file, is_replaced_by_the_users_own) {
    messages_test_t test("9000 m standard\n9001 m standard\n");
    test.files.files["mine"] = "9000 m mine\n";
    const std::string mine = "mine", missing = "missing";
    EXPECT_TRUE(load_description_file(test.messages(), &mine));
    EXPECT_FALSE(load_description_file(test.messages(), &missing)); // the table before stays
    EXPECT_EQ(test.raise(9000), "mine\n");
    EXPECT_EQ(test.raise(9001), "standard\n"); // from the English file
}

TEST(alert_file, reports_what_it_cannot_read) {
    struct row_t {
        const char* line;
        bool good;
        const char* text; // of 9000, null: not described
    };
    constexpr row_t rows[] = {
        {"# comment",                true,  nullptr               },
        {"#9000 m t",                true,  nullptr               },
        {"9000 m t",                 true,  "t\n"                 },
        {"9000\tm \t t  u ",         true,  "t  u \n"             },
        {"00009000 m t",             true,  "t\n"                 },
        {"9000 mt \tt\r",            true,  "t\n"                 },
        {"9000 m t",                 true,  "t\n"                 },
        {"",                         false, nullptr               },
        {"\r",                       false, nullptr               },
        {" 9000 m t",                false, nullptr               },
        {"9000",                     false, nullptr               },
        {"9000 ",                    false, nullptr               },
        {"9000 m",                   false, nullptr               },
        {"9000 m \t ",               false, nullptr               },
        {"9000x m t",                false, nullptr               },
        {"+9000 m t",                false, nullptr               },
        {"10001 m t",                false, nullptr               },
        {"4294976296 m t",           false, nullptr               }, // 9000 and 2^32
        {"99999999999999999999 m t", false, nullptr               },
        {"9000 x t",                 false, "(9000) t (warning)\n"},
        {"9000 + t",                 false, "(9000) t (warning)\n"},
    };
    for (const row_t& row : rows) {
        messages_test_t test(std::string("# line 1\n") + row.line + "\n");
        const std::string report = "Malformed error information on line 2, in file mine\n\n";
        test.files.files["mine"] = test.files.files[installed];
        test.files.files.erase(installed);
        const std::string mine = "mine";
        EXPECT_TRUE(load_description_file(test.messages(), &mine));
        EXPECT_EQ(test.shown(), row.good ? "" : report) << row.line;
        EXPECT_EQ(test.raise(9000),
                  row.text == nullptr ? std::string("(9000) ") + no_description + "\n" : std::string(row.text))
            << row.line;
    }
}

TEST(alert_file, takes_the_last_line_of_a_number_and_lines_of_any_length) {
    messages_test_t test("9000 e first\n9000 m second" + std::string(300, '.') + "%d\n");
    EXPECT_EQ(test.raise(9000, 5), "second" + std::string(300, '.') + "5\n");
}

TEST(alert_file, outlives_ten_megabytes) {
    std::string big;
    big.reserve(11 << 20);
    while (big.size() < 10 << 20) {
        big += "9000 e text\n# comment\n9001 m other %s\n";
    }
    messages_test_t test(big + "9000 m last\n");
    EXPECT_EQ(test.raise(9000), "last\n");
    EXPECT_EQ(test.raise(9001, "x"), "other x\n");

    messages_test_t line("9000 m " + std::string(10 << 20, '%') + "\n");
    EXPECT_EQ(line.raise(9000), std::string(511, '%') + "\n");
}

TEST(alert_file, outlives_hostile_texts) {
    std::minstd_rand random(11);
    constexpr text_t letters = "%%%%%%%%dsxXucnplh*.0123456789-+# mfge";
    std::string lines;
    for (uint32_t number = 1; number <= 1000; ++number) {
        lines += std::to_string(number + 8000) + " m .";
        for (auto length = random() % 300; length != 0; --length) {
            lines.push_back(letters[random() % letters.size()]);
        }
        lines += "\n";
    }
    messages_test_t test(lines);
    test.messages().system_error = 2;
    for (uint32_t number = 8001; number <= 9000; ++number) {
        const std::string one = test.raise(number), three = test.raise(number, "text", 5, ~uint64_t(0));
        EXPECT_LE(std::max(one.size(), three.size()), 512u);
        EXPECT_EQ(one[0], '.');
    }
}

} // namespace
} // namespace tavrel
