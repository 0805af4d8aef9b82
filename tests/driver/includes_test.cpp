// Includes run downwards only, and no format knows a format of another folder.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tavrel {
namespace {

// "formats/coff" of "formats/coff/mcoff.h", "common" of "common/print.h", empty at the top.
std::string folder_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

size_t floor_of(const std::string& folder) {
    const std::vector<std::string> floors = {"common", "model", "debug", "machines", "formats", "driver"};
    const std::string first = folder.substr(0, folder.find('/'));
    const auto found = std::find(floors.begin(), floors.end(), first);
    return static_cast<size_t>(found - floors.begin());
}

bool may_include(const std::string& from, const std::string& to) { return from == to || floor_of(to) < floor_of(from); }

TEST(includes, run_downwards_only) {
    const std::filesystem::path top = std::filesystem::path(TAVREL_SOURCE_DIR) / "src";
    size_t seen = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
        if (!entry.is_regular_file()) {
            continue;
        }
        const std::string file = std::filesystem::relative(entry.path(), top).generic_string();
        std::ifstream in(entry.path());
        for (std::string line; std::getline(in, line);) {
            if (line.rfind("#include \"", 0) == 0) {
                const std::string target = line.substr(10, line.find('"', 10) - 10);
                EXPECT_TRUE(may_include(folder_of(file), folder_of(target))) << file << " includes " << target;
                ++seen;
            }
        }
    }
    EXPECT_GT(seen, 100u);
}

} // namespace
} // namespace tavrel
