// The settings that an installer leaves for the program: `language`, the code of the language of its messages, and
// `instdir`, the root of the installation. Windows keeps them in the registry; elsewhere they are lines `name=value` of
// the text files $XDG_CONFIG_HOME/tavrel/settings (by default ~/.config/tavrel/settings) and /etc/tavrel/settings, of
// which the first one that has the value decides.
#pragma once

#include <cstdint>
#include <string>

#include "common/host.h"

namespace tavrel {

// Error codes of the settings, the same on all hosts.
constexpr int settings_missing = 2;
constexpr int settings_wrong_kind = 160; // there, but no 32-bit number

// Gives 0 with the number stored, or an error code.
int settings_read_number(const host_t& host, const char* name, uint32_t& number);

// The installation root as it was set; false if it was not.
bool settings_read_instdir(const host_t& host, std::string& path);

} // namespace tavrel
