// Damaged files of the COFF family: every byte of the samples changed in several ways, every length. The run must end,
// with messages that the format knows and with output that the file explains. (The sanitizers watch over the rest.)
#include <gtest/gtest.h>

#include "formats/coff/coff_samples.h"

namespace tavrel::testing {
namespace {

// Every damaged copy of a file.
template <class F>
void for_each_damage(const std::string& file, F check) {
    for (size_t at = 0; at < file.size(); ++at) {
        check(file.substr(0, at), "cut at " + std::to_string(at));
        const auto old = static_cast<unsigned char>(file[at]);
        for (const int value : {0x00, 0x80, 0xFF, old + 1}) {
            std::string copy = file;
            copy[at] = static_cast<char>(value);
            check(copy, "byte " + std::to_string(at) + " set to " + std::to_string(value & 0xFF));
        }
    }
}

bool is_known_message(const std::string& message) {
    for (const char* const number : {"625", "633", "634", "638", "639", "1036", "1037", "1038", "1039", "1043"}) {
        if (message.compare(0, std::string(number).size(), number) == 0) {
            return true;
        }
    }
    return false;
}

void expect_sane(const result_t& result, const std::string& what) {
    ASSERT_LT(result.out.size(), 100000U) << what;
    const std::string messages = messages_of(result);
    for (size_t at = 0; at < messages.size();) {
        const size_t end = std::min(messages.find("; ", at), messages.size());
        ASSERT_TRUE(is_known_message(messages.substr(at, end - at))) << what << ": " << messages;
        at = end + 2;
    }
}

void expect_sane_when_damaged(const std::string& key, const std::string& file) {
    for_each_damage(file, [&key](const std::string& damaged, const std::string& what) {
        expect_sane(run_coff({"-d", "-v", "-v", "-i" + key}, damaged), "dump, " + what);
        expect_sane(run_coff({"-i" + key, "-onorvane", "-oihex"}, damaged), "read, " + what);
    });
}

TEST(CoffDamage, Mcoff) { expect_sane_when_damaged("mcoff", mcoff_sample().file); }
TEST(CoffDamage, Coff) { expect_sane_when_damaged("coff", coff_sample().file); }
TEST(CoffDamage, Icoff) { expect_sane_when_damaged("icoff", icoff_sample().file); }

} // namespace
} // namespace tavrel::testing
