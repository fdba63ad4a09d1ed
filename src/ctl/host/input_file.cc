#include "ctl/host/input_file.h"

#include "platform/sys/owned_fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

// `name`: of the file, for a person.
[[noreturn]] void Fail(const std::string& name, int errorNumber) {
    throw std::runtime_error(name +
                             " cannot be read: " + std::generic_category().message(errorNumber) +
                             "; name a file that this user can read");
}

std::string ReadWithin(int file, std::size_t maxBytes, const std::string& name) {
    std::string text;
    std::array<char, 65536> buffer{};
    while (text.size() <= maxBytes) {
        const std::size_t room = std::min(buffer.size(), maxBytes + 1 - text.size());
        const ssize_t count = ::read(file, buffer.data(), room);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            Fail(name, errno);
        }
        text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return text;
}

Sys::OwnedFd Open(const std::string& path, int flags, const std::string& name) {
    Sys::OwnedFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags));
    if (!file.IsOpen()) {
        Fail(name, errno);
    }
    return file;
}

}  // namespace

std::string ReadInputFile(const std::string& path, std::size_t maxBytes, const std::string& what) {
    if (path == "-") {
        return ReadWithin(STDIN_FILENO, maxBytes, "standard input");
    }
    const std::string name = what + " " + path;
    return ReadWithin(Open(path, 0, name).Get(), maxBytes, name);
}

std::string ReadRegularFile(const std::string& path, std::size_t maxBytes,
                            const std::string& what) {
    const std::string name = what + " " + path;
    const Sys::OwnedFd file = Open(path, O_NONBLOCK | O_NOCTTY, name);
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) {
        Fail(name, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error(name + " is no regular file; remove what stands there");
    }
    return ReadWithin(file.Get(), maxBytes, name);
}

}  // namespace Ctl
