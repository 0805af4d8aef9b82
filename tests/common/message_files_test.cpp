// The message files, the rows that say what each message passes, and the calls in the source agree with each other.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "common/alert_file.h"
#include "common/message_numbers.h"
#include "model/run.h"
#include "support/run.h"

namespace tavrel {
namespace {

using testing::source_file;

constexpr const char* file_names[] = {"dat/en_msgs.txt", "dat/de_msgs.txt", "dat/fr_msgs.txt"};

std::vector<msg_t> read_file(const char* name) {
    std::vector<msg_t> table;
    read_descriptions(source_file(name), table,
                      [&](uint32_t line) { ADD_FAILURE() << name << ", line " << line << " is malformed"; });
    return table;
}

// The kinds of argument that the conversions of a text take, in order: `s` or `u`, `?` for anything odd.
std::string kinds_of(const std::string& text) {
    static const std::regex conversion("%(%|m|[-0]*[0-9]*(\\.[0-9]+)?l?([a-zA-Z]?))");
    std::string kinds;
    for (std::sregex_iterator at(text.begin(), text.end(), conversion), end; at != end; ++at) {
        const std::string rest = (*at)[1], letter = (*at)[3];
        if (rest == "%" || rest == "m") {
            continue;
        }
        kinds.push_back(letter == "s" ? 's' : letter.size() == 1 && std::strchr("duXc", letter[0]) ? 'u' : '?');
    }
    return kinds;
}

TEST(message_files, describe_every_message) {
    const std::vector<msg_t> english = read_file(file_names[0]);
    for (const char* const name : file_names) {
        const std::vector<msg_t> table = read_file(name);
        size_t described = 0;
        for (const msg_t& message : table) {
            described += message.described ? 1 : 0;
        }
        EXPECT_EQ(described, std::size(message_rows)) << name;
        for (const message_row_t& row : message_rows) {
            ASSERT_LT(row.number, table.size()) << name;
            const msg_t& message = table[row.number];
            EXPECT_TRUE(message.described) << name << ": " << row.number;
            EXPECT_EQ(message.kind == MSG_FATAL, row.ends_run) << name << ": " << row.number;
            EXPECT_EQ(message.kind, english[row.number].kind) << name << ": " << row.number;
            EXPECT_EQ(message.level, english[row.number].level) << name << ": " << row.number;
            const std::string kinds = kinds_of(message.text);
            EXPECT_EQ(kinds, std::string(row.args).substr(0, kinds.size())) << name << ": " << row.number;
            EXPECT_EQ(message.text.find("%m") != std::string::npos,
                      english[row.number].text.find("%m") != std::string::npos);
            EXPECT_LT(message.text.size(), 300u) << name << ": " << row.number;
        }
    }
}

TEST(message_files, speak_through_a_run) {
    constexpr const char* names[] = {"en", "de", "fr"};
    constexpr const char* languages[] = {"9", "7", "12"};
    std::set<std::string> texts;
    for (size_t k = 0; k < 3; ++k) {
        memory_files_t files;
        files.files[std::string("/t/dat/") + names[k] + "_msgs.txt"] = source_file(file_names[k]);
        files.files["/etc/tavrel/settings"] = std::string("language=") + languages[k];
        host_t host = memory_host(files);
        host.program_path = "/t/bin/tavrel";
        run_t run(host);
        alert(run, 627, ']', "x.sdb", 12, 34);
        EXPECT_NE(files.err.find("\"]\""), std::string::npos) << files.err;
        EXPECT_NE(files.err.find("12"), std::string::npos) << files.err;
        texts.insert(files.err);
    }
    EXPECT_EQ(texts.size(), 3u);
}

// Every number that stands as such in a call has its row.
TEST(message_files, know_the_numbers_of_the_source) {
    std::set<uint32_t> rows;
    for (const message_row_t& row : message_rows) {
        EXPECT_TRUE(rows.insert(row.number).second) << row.number;
    }
    static const std::regex call("(alert|alert_list|refuse|fail|complain|raise)\\([\\w.*>-]+,\\s*(\\d+)\\b");
    static const std::regex note("(output_note)\\(.*,\\s*(\\d+)\\)");
    constexpr const char* names[] = {"alert", "refuse", "fail(", "complain(", "raise(", "output_note"};
    std::set<uint32_t> raised;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(std::string(TAVREL_SOURCE_DIR) + "/src")) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            std::smatch found;
            const bool worth_a_look = std::ranges::any_of(names, [&](const char* name) {
                return line.find(name) != std::string::npos;
            }); // quicker than the search
            if (worth_a_look && (std::regex_search(line, found, call) || std::regex_search(line, found, note))) {
                const auto number = static_cast<uint32_t>(std::stoul(found[2]));
                EXPECT_TRUE(rows.contains(number)) << entry.path() << ": " << line;
                raised.insert(number);
            }
        }
    }
    EXPECT_GT(raised.size(), 20u); // the search still finds calls
}

} // namespace
} // namespace tavrel
