// Settings in the local machine's part of the registry.
#ifdef _WIN32

#include <vector>

#include <windows.h>

#include "common/registry.h"

namespace tavrel {
namespace {

constexpr const char* settings_key = "Software\\Norvane Software\\ORLA\\pro\\9.71";
constexpr const char* compiler_key = "Software\\Norvane Software\\ORLA\\pro\\9.71\\PL1";

struct value_t {
    DWORD kind = 0;
    std::vector<char> bytes;
};

int read_value(const char* key, const char* name, value_t& value) {
    HKEY handle{};
    LSTATUS status = RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_QUERY_VALUE, &handle);
    if (status != ERROR_SUCCESS) {
        return static_cast<int>(status);
    }
    DWORD size = 0;
    status = RegQueryValueExA(handle, name, nullptr, &value.kind, nullptr, &size);
    if (status == ERROR_SUCCESS) {
        value.bytes.resize(size);
        status =
            RegQueryValueExA(handle, name, nullptr, &value.kind, reinterpret_cast<BYTE*>(value.bytes.data()), &size);
        value.bytes.resize(size);
    }
    RegCloseKey(handle);
    return static_cast<int>(status);
}

std::string expanded(const std::string& text) {
    const DWORD size = ExpandEnvironmentStringsA(text.c_str(), nullptr, 0);
    if (size == 0) {
        return text;
    }
    std::string result(size, '\0'); // with room for the NUL that `size` counts
    ExpandEnvironmentStringsA(text.c_str(), result.data(), size);
    result.resize(result.find('\0'));
    return result;
}

} // namespace

int settings_read_number(const host_t&, const char* name, uint32_t& number) {
    value_t value;
    if (const int status = read_value(settings_key, name, value); status != 0) {
        return status;
    }
    if (value.kind != REG_DWORD || value.bytes.size() != sizeof number) {
        return settings_wrong_kind;
    }
    number = read32(reinterpret_cast<const uint8_t*>(value.bytes.data()), 0);
    return 0;
}

bool settings_read_instdir(const host_t&, std::string& path) {
    value_t value;
    if (read_value(compiler_key, "instdir", value) != 0 || (value.kind != REG_SZ && value.kind != REG_EXPAND_SZ)) {
        return false;
    }
    value.bytes.push_back('\0');
    const std::string text = value.bytes.data();
    path = value.kind == REG_EXPAND_SZ ? expanded(text) : text;
    return !path.empty();
}

} // namespace tavrel

#endif
