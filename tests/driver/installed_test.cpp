// The program as its users start it: installed, through a link, through $PATH, from the build tree, on a terminal.
#ifndef _WIN32

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/run.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;

// What a command of the shell prints, both streams.
std::string shell(const std::string& command) {
    std::string text;
    FILE* const pipe = popen(("(" + command + ") 2>&1").c_str(), "r");
    for (int c = pipe == nullptr ? EOF : std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        text.push_back(static_cast<char>(c));
    }
    if (pipe != nullptr) {
        pclose(pipe);
    }
    return text;
}

// The text of message 602 in a message file, as it is shown without a context.
std::string shown_602(const std::string& file) {
    const std::string text = testing::source_file(file);
    const size_t at = text.find("\n602") + 4;
    const size_t from = text.find_first_not_of(" \t", text.find('f', at) + 1);
    return "(602) " + text.substr(from, text.find('\n', from) - from + 1);
}

struct installed : ::testing::Test {
    fs::path directory;
    std::string program;

    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "tavrel-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        directory = name;
        const fs::path build = fs::path(TAVREL_PROGRAM).parent_path().parent_path();
        const std::string log =
            shell("DESTDIR= cmake --install '" + build.string() + "' --prefix '" + (directory / "usr").string() + "'");
        program = (directory / "usr/bin/tavrel").string();
        ASSERT_TRUE(fs::exists(program)) << log;
        setenv("XDG_CONFIG_HOME", directory.c_str(), 1); // not the settings of whoever runs the tests
    }
    void TearDown() override {
        unsetenv("XDG_CONFIG_HOME");
        fs::remove_all(directory);
    }
};

TEST_F(installed, finds_its_messages_from_everywhere) {
    const std::string expected = shown_602("dat/en_msgs.txt");
    const fs::path link = directory / "another link";
    fs::create_symlink(program, link);
    EXPECT_TRUE(fs::is_symlink(program));
    EXPECT_EQ(shell("cd / && '" + program + "' -o"), expected);
    EXPECT_EQ(shell("cd / && '" + link.string() + "' -o"), expected);
    EXPECT_EQ(shell("cd '" + directory.string() + "' && usr/lib/tavrel/bin/tavrel -o"), expected);
    EXPECT_EQ(shell("cd /tmp && PATH='" + (directory / "usr/bin").string() + "':$PATH tavrel -o"), expected);
    EXPECT_EQ(shell("cd / && TZ=Asia/Tokyo LC_ALL=de_DE.UTF-8 LANG=fr_FR '" + program + "' -o"), expected);
    EXPECT_EQ(shell("cd / && '" TAVREL_PROGRAM "' -o"), expected); // the build tree
}

TEST_F(installed, speaks_the_language_of_the_settings) {
    fs::create_directory(directory / "tavrel");
    std::ofstream(directory / "tavrel/settings") << "language=7\n";
    EXPECT_EQ(shell("'" + program + "' -o"), shown_602("dat/de_msgs.txt"));
    std::ofstream(directory / "tavrel/settings") << "language=12\n";
    EXPECT_EQ(shell("'" + program + "' -o"), shown_602("dat/fr_msgs.txt"));
}

TEST_F(installed, takes_its_arguments_from_streams) {
    const std::string expected = shown_602("dat/en_msgs.txt");
    EXPECT_EQ(shell("printf 'a.sym\\n-o' | '" + program + "'"), expected);
    std::ofstream(directory / "list") << "a.sym '-o'\n";
    EXPECT_EQ(shell("'" + program + "' '@" + (directory / "list").string() + "'"), expected);
}

TEST_F(installed, prompts_on_a_terminal) {
    if (shell("command -v script").empty()) {
        GTEST_SKIP() << "needs script";
    }
    // Both lines are there before the program asks; the terminal echoes them and writes \r\n for a newline.
    const std::string text = shell("printf 'a.sym\\\\\\n -o\\nnot read\\n' | script -qec '" + program + "' /dev/null");
    size_t prompts = 0;
    for (size_t at = text.find("tavrel> "); at != std::string::npos; at = text.find("tavrel> ", at + 1)) {
        ++prompts;
    }
    EXPECT_EQ(prompts, 2u) << text;
    EXPECT_NE(text.find("(602) "), std::string::npos) << text;
}

} // namespace
} // namespace tavrel

#endif
