// The operating system's side of host_t on Windows. The standard streams are binary: what the program makes up leaves
// it as it stands.
#ifdef _WIN32

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "common/host.h"

namespace tavrel {
namespace {

struct file_closer_t {
    void operator()(FILE* file) const { std::fclose(file); }
};
using file_t = std::unique_ptr<FILE, file_closer_t>;

size_t write_now(FILE* file, std::string_view bytes) {
    const size_t done = std::fwrite(bytes.data(), 1, bytes.size(), file);
    return std::fflush(file) == 0 ? done : 0;
}

sink_t open_sink(const std::string& path, const char* mode, int& error) {
    const std::shared_ptr<FILE> file(std::fopen(path.c_str(), mode), [](FILE* open) {
        if (open != nullptr) {
            std::fclose(open);
        }
    });
    if (!file) {
        error = errno;
        return {};
    }
    return [file](std::string_view bytes) { return write_now(file.get(), bytes); };
}

int read_whole(const std::string& path, std::string& bytes) {
    const file_t file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        return errno;
    }
    bytes.clear();
    for (size_t step = 65536;; step = bytes.size()) {
        const size_t size = bytes.size();
        bytes.resize(size + step);
        bytes.resize(size + std::fread(bytes.data() + size, 1, step, file.get()));
        if (bytes.size() < size + step) {
            return std::ferror(file.get()) != 0 ? EIO : 0;
        }
    }
}

bool read_standard_line(std::string& line) {
    if (!std::getline(std::cin, line)) {
        return false;
    }
    if (!std::cin.eof()) {
        line.push_back('\n');
    }
    return true;
}

std::string program_file() {
    std::string path(32768, '\0'); // no path is longer
    path.resize(GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

} // namespace

host_t system_host() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    host_t host;
    host.read_file = read_whole;
    host.create_file = [](const std::string& path, int& error) { return open_sink(path, "wb", error); };
    host.append_file = [](const std::string& path, int& error) { return open_sink(path, "ab", error); };
    host.read_input_line = read_standard_line;
    host.input_is_terminal = _isatty(_fileno(stdin)) != 0;
    host.out = [](std::string_view bytes) { return write_now(stdout, bytes); };
    host.err = [](std::string_view bytes) { return write_now(stderr, bytes); };
    host.environment = [](const char* name) -> std::optional<std::string> {
        const char* const value = std::getenv(name);
        return value == nullptr ? std::nullopt : std::optional<std::string>(value);
    };
    host.present_time = [] { return static_cast<int64_t>(std::time(nullptr)); };
    host.program_path = program_file();
    return host;
}

std::string error_text(int error) { return std::strerror(error); }

} // namespace tavrel

#endif
