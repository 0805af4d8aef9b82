#include "common/installation.h"

#include <gtest/gtest.h>

#include "common/osdep.h"
#include "common/registry.h"

namespace tavrel {
namespace {

TEST(stringcache, keeps_one_copy) {
    stringcache_t cache;
    const std::string text = "name", same = "name";
    const text_t first = cache_string(cache, text);
    EXPECT_NE(first.data(), text.data());
    EXPECT_EQ(first.data(), cache_string(cache, same).data());
    EXPECT_EQ(first.data(), cache_format(cache, "%s%c", "nam", 'e').data());
    EXPECT_TRUE(is_none(cache_string(cache, {})));
    EXPECT_FALSE(is_none(cache_string(cache, "")));
    EXPECT_EQ(text_ops_t::hash("a\xFF"), 2 * 'a' + 0xFFu);

    const std::string length(100000, 'x');
    EXPECT_EQ(cache_format(cache, "%s|%s", length, length), length + "|" + length);
}

TEST(stringcache, joins_and_cuts_paths) {
    stringcache_t cache;
    EXPECT_EQ(cache_path_join(cache, "C:\\x\\", "\\y"), "C:\\x\\y");
    EXPECT_EQ(cache_path_join(cache, "C:\\x", "y"), "C:\\x\\y");
    EXPECT_EQ(cache_path_join(cache, "", "\\y"), "\\y");
    EXPECT_EQ(cache_path_join(cache, {}, "y"), "y");
    cache_path_join(cache, "step", "y");
    EXPECT_NE(hash_find(cache.table, text_t("step\\")), nullptr);

    EXPECT_TRUE(is_none(cache_dirname(cache, "a")));
    EXPECT_TRUE(is_none(cache_dirname(cache, {})));
    EXPECT_EQ(cache_dirname(cache, "C:x"), "C");
    EXPECT_EQ(cache_dirname(cache, "C:/x/y"), "C:/x");
    EXPECT_EQ(cache_dirname(cache, "C:\\x/y"), "C:"); // the last `\` comes first
    EXPECT_EQ(cache_dirname(cache, "/a"), "");
}

struct place_t {
    memory_files_t files;
    host_t host = memory_host(files);
    installation_t installation;
};

TEST(installation, has_its_root_above_bin) {
    struct row_t {
        const char* program;
        const char* root; // null: none
    };
    constexpr row_t rows[] = {
        {"/opt/tavrel/bin/tavrel",    "/opt/tavrel"},
        {"/x/BiN/tavrel",             "/x"         },
        {"C:\\orla\\Bin\\tavrel.exe", "C:\\orla"   },
        {"C:\\bin\\tavrel.exe",       "C:"         },
        {"/bin/tavrel",               nullptr      }, // too short to have something above it
        {"/opt/sbin/tavrel",          nullptr      },
        {"/opt/bin2/tavrel",          nullptr      },
        {"tavrel",                    nullptr      },
        {"",                          nullptr      },
    };
    for (const row_t& row : rows) {
        place_t place;
        place.host.program_path = row.program;
        const text_t root = install_dir(place.installation, place.host, INSTALL_ROOT);
        EXPECT_EQ(is_none(root), row.root == nullptr) << row.program;
        EXPECT_EQ(root, row.root == nullptr ? text_t() : text_t(row.root)) << row.program;
    }
}

TEST(installation, names_its_files) {
    place_t place;
    place.host.program_path = "/opt/t/bin/tavrel";
    EXPECT_EQ(install_dir(place.installation, place.host, INSTALL_DAT), "/opt/t\\dat");
    EXPECT_EQ(install_dir(place.installation, place.host, INSTALL_RESOURCES), "/opt/t\\resources");
    EXPECT_EQ(install_path(place.installation, place.host, INSTALL_DAT, "en_msgs.txt"), "/opt/t\\dat\\en_msgs.txt");
    EXPECT_EQ(install_path(place.installation, place.host, INSTALL_DAT, "C:x"), "C:x");
    EXPECT_EQ(install_path(place.installation, place.host, INSTALL_DAT, "\\\\host\\x"), "\\\\host\\x");
    place.host.program_path = "/elsewhere/bin/tavrel"; // the root was found once and for all
    EXPECT_EQ(install_dir(place.installation, place.host, INSTALL_ROOT), "/opt/t");

    place_t nowhere;
    EXPECT_TRUE(is_none(install_path(nowhere.installation, nowhere.host, INSTALL_DAT, "x")));
    EXPECT_EQ(install_path(nowhere.installation, nowhere.host, INSTALL_DAT, "C:x"), "C:x");
}

TEST(installation, names_languages) {
    EXPECT_EQ(language_short_name(7), "de");
    EXPECT_EQ(language_short_name(9), "en");
    EXPECT_EQ(language_short_name(12), "fr");
    EXPECT_EQ(language_short_name(255), "en");
    EXPECT_EQ(language_short_name(8), "en");
}

TEST(installation, prints_its_banner) {
    place_t place;
    printer_t out;
    out.sink = place.host.out;
    print_banner(out);
    flush(out);
    EXPECT_EQ(place.files.out, "\nProduct:\tORLA\nEdition:\tPRO\nComponent:\ttavrel\nVersion:\t9.71 \n"
                               "Build date:\tJun 23 2010\nRelease:\t\nBuild number:\t6446\n"
                               "Copyright (C) 2010 Norvane Software\n");
}

#ifndef _WIN32

TEST(settings, come_from_the_user_then_the_system) {
    place_t place;
    auto& files = place.files.files;
    uint32_t language = 77;
    std::string root;
    EXPECT_EQ(settings_read_number(place.host, "language", language), settings_missing);
    EXPECT_FALSE(settings_read_instdir(place.host, root));

    files["/etc/tavrel/settings"] = "# system\nlanguage=7\ninstdir=/opt/system\n";
    EXPECT_EQ(settings_read_number(place.host, "language", language), 0);
    EXPECT_EQ(language, 7u);

    place.files.variables["HOME"] = "/home/u";
    files["/home/u/.config/tavrel/settings"] = " language = 12 \r\n";
    EXPECT_EQ(settings_read_number(place.host, "language", language), 0);
    EXPECT_EQ(language, 12u);
    ASSERT_TRUE(settings_read_instdir(place.host, root)); // each value by itself
    EXPECT_EQ(root, "/opt/system");

    place.files.variables["XDG_CONFIG_HOME"] = "/cfg";
    files["/cfg/tavrel/settings"] = "language=English\ninstdir=/opt/my tools";
    EXPECT_EQ(settings_read_number(place.host, "language", language), settings_wrong_kind);
    EXPECT_EQ(language, 12u);
    ASSERT_TRUE(settings_read_instdir(place.host, root));
    EXPECT_EQ(root, "/opt/my tools");
    EXPECT_EQ(install_dir(place.installation, place.host, INSTALL_DAT), "/opt/my tools\\dat");

    for (const char* const value : {"", "-1", "4294967296", "7x", "0x7"}) {
        files["/cfg/tavrel/settings"] = std::string("language=") + value + "\n";
        EXPECT_EQ(settings_read_number(place.host, "language", language), settings_wrong_kind) << value;
    }
}

TEST(osdep, opens_made_up_paths_with_the_hosts_separator) {
    EXPECT_EQ(host_path("/opt/t\\dat\\en_msgs.txt"), "/opt/t/dat/en_msgs.txt");
    EXPECT_EQ(host_path("..\\dat\\en_msgs.txt"), "../dat/en_msgs.txt");
}

#endif

} // namespace
} // namespace tavrel
