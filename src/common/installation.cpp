#include "common/installation.h"

#include "common/osdep.h"
#include "common/registry.h"

namespace tavrel {
namespace {

constexpr text_t directory_names[] = {"", "bin", "lib", "help", "include", "dat", "sources", "resources"};

struct language_t {
    uint32_t code;
    text_t names;
    text_t short_name;
};

// clang-format off
constexpr language_t languages[] = {
    {  7, "German;Deutsch",   "de"},
    {  9, "English",          "en"},
    { 12, "French;Français",  "fr"},
    {255, "English",          "en"},
};
// clang-format on

// True for ".../bin", with either separator, in any case.
bool is_bin_directory(text_t path) {
    if (path.size() < 5) {
        return false;
    }
    const text_t end = path.substr(path.size() - 4);
    return (end[0] == '/' || end[0] == '\\') && (end[1] | 0x20) == 'b' && (end[2] | 0x20) == 'i' &&
           (end[3] | 0x20) == 'n';
}

text_t find_root(stringcache_t& strings, const host_t& host) {
    const text_t directory = cache_dirname(strings, host.program_path);
    if (is_bin_directory(directory)) {
        if (const text_t root = cache_dirname(strings, directory); !is_none(root)) {
            return root;
        }
    }
    std::string setting;
    return settings_read_instdir(host, setting) ? cache_string(strings, setting) : text_t();
}

} // namespace

text_t install_dir(installation_t& installation, const host_t& host, install_dir_t directory) {
    if (!installation.root_sought) {
        installation.root_sought = true;
        installation.root = find_root(installation.strings, host);
    }
    if (is_none(installation.root) || directory == INSTALL_ROOT) {
        return installation.root;
    }
    return cache_path_join(installation.strings, installation.root, directory_names[directory]);
}

text_t install_path(installation_t& installation, const host_t& host, install_dir_t directory, text_t name) {
    if (path_is_absolute(name)) {
        return cache_string(installation.strings, name);
    }
    const text_t path = install_dir(installation, host, directory);
    return is_none(path) ? path : cache_path_join(installation.strings, path, name);
}

text_t language_short_name(uint32_t code) {
    for (const language_t& language : languages) {
        if (language.code == code) {
            return language.short_name;
        }
    }
    return "en";
}

void print_banner(printer_t& out) {
    print(out,
          "\nProduct:\t%s\nEdition:\t%s\nComponent:\t%s\nVersion:\t9.71%c\nBuild date:\tJun 23 2010\n"
          "Release:\t%s\nBuild number:\t%s\n",
          "ORLA", "PRO", "tavrel", ' ', "", "6446");
    print(out, "Copyright (C) %s Norvane Software\n", "2010");
}

} // namespace tavrel
