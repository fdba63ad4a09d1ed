#include "ctl/access/audit_reader.h"

#include "ctl/show/failure.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

// Of a longer line, which no daemon writes, the rest is dropped.
constexpr std::size_t kMaxLineBytes = 1024 * 1024;

const char* AdviceFor(int errorNumber) {
    switch (errorNumber) {
        case ENOENT:
            return "the daemon makes it at the first call of its API";
        case ENXIO:
            return "it is no regular file: move it away";
        default:
            return "run this as root, or as a member of its group";
    }
}

}  // namespace

AuditReader::AuditReader(const std::string& path) : location(Sys::HostPath(path)) {
    if (const int errorNumber = Sys::OpenRegularFile(location, file); errorNumber != 0) {
        throw Failure("the audit log " + location + " cannot be read", errorNumber,
                      AdviceFor(errorNumber));
    }
}

bool AuditReader::Next(std::string& line) {
    for (std::size_t from = begin;;) {  // no line ends before
        const std::size_t end = buffer.find('\n', from);
        if (end != std::string::npos) {
            line.assign(buffer, begin, end - begin);
            begin = end + 1;
            return true;
        }
        buffer.erase(0, begin);
        begin = 0;
        buffer.resize(std::min(buffer.size(), kMaxLineBytes));
        from = buffer.size();
        if (ReadMore()) {
            continue;
        }
        if (!WasReplaced()) {
            return false;
        }
        // A last look at the old file: it may have grown before it was moved away.
        if (!ReadMore()) {
            buffer.clear();
            from = 0;
            if (Sys::OpenRegularFile(location, file) != 0) {
                return false;  // until the directory changes again
            }
        }
    }
}

bool AuditReader::ReadMore() {
    std::array<char, 65536> bytes{};
    const ssize_t count =
        file.IsOpen() ? ::read(file.Get(), bytes.data(), bytes.size()) : ssize_t{0};
    if (count <= 0) {
        return false;
    }
    buffer.append(bytes.data(), static_cast<std::size_t>(count));
    return true;
}

// By a file; when there is none at the path, the daemon has not made it yet.
bool AuditReader::WasReplaced() const {
    struct stat atPath{};
    struct stat open{};
    if (::stat(location.c_str(), &atPath) != 0) {
        return false;
    }
    return !file.IsOpen() || ::fstat(file.Get(), &open) != 0 || atPath.st_dev != open.st_dev ||
           atPath.st_ino != open.st_ino;
}

bool AuditReader::WaitForMore() {
    if (!changes.IsOpen()) {
        changes = Sys::OwnedFd(::inotify_init1(IN_CLOEXEC));
        const std::string directory = std::filesystem::path(location).parent_path();
        // Lines that came before are found by the look that follows.
        return changes.IsOpen() && ::inotify_add_watch(changes.Get(), directory.c_str(),
                                                       IN_MODIFY | IN_CREATE | IN_MOVED_TO) >= 0;
    }
    alignas(inotify_event) std::array<char, 4096> events{};
    ssize_t count = -1;
    do {
        count = ::read(changes.Get(), events.data(), events.size());
    } while (count < 0 && errno == EINTR);
    return count > 0;
}

}  // namespace Ctl
