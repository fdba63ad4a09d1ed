#include "ctl/input_file.h"

#include "platform/sys/owned_fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Ctl {

std::string ReadInputFile(const std::string& path, std::size_t maxBytes, const std::string& what) {
    const Sys::OwnedFd file(path == "-" ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto fail = [&](int errorNumber) {
        throw std::runtime_error(
            (path == "-" ? "standard input" : what + " " + path) + " cannot be read: " +
            std::generic_category().message(errorNumber) + "; name a file that this user can read");
    };
    if (path != "-" && !file.IsOpen()) {
        fail(errno);
    }
    std::string text;
    std::array<char, 65536> buffer{};
    while (text.size() <= maxBytes) {
        const std::size_t room = std::min(buffer.size(), maxBytes + 1 - text.size());
        const ssize_t count = ::read(path == "-" ? STDIN_FILENO : file.Get(), buffer.data(), room);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            fail(errno);
        }
        text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return text;
}

}  // namespace Ctl
