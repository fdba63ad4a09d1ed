#include "platform/sys/read_file.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Sys {

int OpenRegularFile(const std::string& path, OwnedFd& file, std::size_t* size) {
    file.Reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status{};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0) {
        return errno;
    }
    if (size != nullptr) {
        *size = static_cast<std::size_t>(status.st_size);
    }
    return S_ISREG(status.st_mode) ? 0 : ENXIO;
}

int ReadAll(int file, std::size_t limit, std::string& text, std::size_t expected) {
    constexpr std::size_t kFirstPiece = 4096;
    // one byte more than expected, so that a file which has not grown ends within the first read
    const std::size_t first = expected == 0 ? kFirstPiece : expected + 1;
    std::size_t used = 0;
    int error = 0;
    text.clear();
    while (used < limit) {
        if (used == text.size()) {
            text.resize(std::min(limit, std::max(first, 2 * used)));
        }
        const ssize_t count = ::read(file, text.data() + used, text.size() - used);
        error = count < 0 ? errno : 0;
        if (error == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        used += static_cast<std::size_t>(count);
        if (used == expected && used < text.size()) {
            break;
        }
    }
    text.resize(used);
    return error;
}

int ReadRegularFile(const std::string& path, std::size_t limit, std::string& text) {
    OwnedFd file;
    const int error = OpenRegularFile(path, file);
    return error != 0 ? error : ReadAll(file.Get(), limit, text);
}

}  // namespace Sys
