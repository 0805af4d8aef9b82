// Where the program is installed and how it is called there: directories, languages and the banner.
//
// The program lies in the directory `bin` below the root of its installation and finds what belongs to it (its message
// files, in `dat`) from there. A program that lies elsewhere takes the root from the settings.
#pragma once

#include "common/host.h"
#include "common/stream.h"
#include "common/stringcache.h"

namespace tavrel {

// The sub-directories of the root.
enum install_dir_t : uint8_t {
    INSTALL_ROOT = 0,
    INSTALL_BIN = 1,
    INSTALL_LIB = 2,
    INSTALL_HELP = 3,
    INSTALL_INCLUDE = 4,
    INSTALL_DAT = 5,
    INSTALL_SOURCES = 6,
    INSTALL_RESOURCES = 7,
};

// What is known about the installation; the root is sought once.
struct installation_t {
    stringcache_t strings; // all paths that are handed out
    bool root_sought = false;
    text_t root; // none if it could not be found
};

constexpr uint32_t language_default = 9;

// The path of the root or of a sub-directory; none if no root is known.
text_t install_dir(installation_t& installation, const host_t& host, install_dir_t directory);

// The path of a file in a sub-directory; an absolute name as it stands; none if no root is known.
text_t install_path(installation_t& installation, const host_t& host, install_dir_t directory, text_t name);

// The two letters of a language code; "en" for an unknown one.
text_t language_short_name(uint32_t code);

// Prints the banner and the notice line.
void print_banner(printer_t& out);

} // namespace tavrel
