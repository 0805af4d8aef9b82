// The operating system's side of host_t on POSIX hosts.
#ifndef _WIN32

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "common/host.h"

namespace tavrel {
namespace {

// A descriptor that is closed when the last sink on it goes.
struct descriptor_t {
    int fd;
    explicit descriptor_t(int number) : fd(number) {}
    descriptor_t(const descriptor_t&) = delete;
    descriptor_t& operator=(const descriptor_t&) = delete;
    ~descriptor_t() { ::close(fd); }
};

size_t write_all(int fd, std::string_view bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;
        }
        done += static_cast<size_t>(n);
    }
    return done;
}

sink_t open_sink(const std::string& path, int flags, int& error) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
    if (fd < 0) {
        error = errno;
        return {};
    }
    return [file = std::make_shared<descriptor_t>(fd)](std::string_view bytes) { return write_all(file->fd, bytes); };
}

int read_whole(const std::string& path, std::string& bytes) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return errno;
    }
    const descriptor_t file(fd);
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        return errno;
    }
    if (S_ISDIR(info.st_mode)) {
        return EISDIR;
    }
    bytes.clear();
    size_t size = 0;
    size_t step = S_ISREG(info.st_mode) ? static_cast<size_t>(info.st_size) + 1 : 65536;
    for (;;) {
        bytes.resize(size + step);
        const ssize_t n = ::read(fd, bytes.data() + size, step);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            const int error = errno;
            bytes.clear();
            return error;
        }
        size += static_cast<size_t>(n);
        if (n == 0) {
            bytes.resize(size);
            return 0;
        }
        step = std::max<size_t>(65536, size / 2);
        if (S_ISREG(info.st_mode) && size == static_cast<size_t>(info.st_size)) {
            step = 1; // most likely the end
        }
    }
}

std::string program_file() {
    char path[PATH_MAX + 1];
    const ssize_t n = ::readlink("/proc/self/exe", path, PATH_MAX);
    return n > 0 ? std::string(path, static_cast<size_t>(n)) : std::string();
}

} // namespace

host_t system_host() {
    host_t host;
    host.read_file = read_whole;
    host.create_file = [](const std::string& path, int& error) { return open_sink(path, O_TRUNC, error); };
    host.append_file = [](const std::string& path, int& error) { return open_sink(path, O_APPEND, error); };
    host.read_input_line = [](std::string& line) {
        line.clear();
        if (!std::getline(std::cin, line)) {
            return false;
        }
        if (!std::cin.eof()) {
            line.push_back('\n');
        }
        return true;
    };
    host.input_is_terminal = ::isatty(STDIN_FILENO) != 0;
    host.out = [](std::string_view bytes) { return write_all(STDOUT_FILENO, bytes); };
    host.err = [](std::string_view bytes) { return write_all(STDERR_FILENO, bytes); };
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
