#include "platform/sys/proc_file.h"

#include "platform/sys/owned_fd.h"
#include "platform/sys/read_file.h"

#include <algorithm>

#include <fcntl.h>

namespace Sys {

std::string ReadProcFile(const std::string& path, std::size_t limit) {
    const OwnedFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    (void)ReadAll(file.Get(), limit, text);  // EBADF when the file cannot be opened
    return text;
}

std::string_view StatusField(std::string_view status, std::string_view name) {
    while (!status.empty()) {
        const std::string_view line = status.substr(0, status.find('\n'));
        if (line.starts_with(name) && line.substr(name.size()).starts_with(":\t")) {
            return line.substr(name.size() + 2);
        }
        status.remove_prefix(std::min(status.size(), line.size() + 1));
    }
    return {};
}

}  // namespace Sys
