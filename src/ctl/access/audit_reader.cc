#include "ctl/access/audit_reader.h"

#include "ctl/show/failure.h"
#include "platform/audit/kvx_audit.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

// The daemon writes no longer line; the rest of one is dropped.
constexpr std::size_t kMaxLineBytes = 1024 * 1024;

const char* AdviceFor(int errorNumber) {
    switch (errorNumber) {
        case ENOENT:
            return "the daemon creates it at the first call of its API";
        case ENXIO:
            return "it is not a regular file: move it away";
        default:
            return "run this as root, or as a member of its group";
    }
}

bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool IsSameFile(const Sys::OwnedFd& one, const Sys::OwnedFd& other) {
    struct stat oneStatus{};
    struct stat otherStatus{};
    return ::fstat(one.Get(), &oneStatus) == 0 && ::fstat(other.Get(), &otherStatus) == 0 &&
           IsSameFile(oneStatus, otherStatus);
}

}  // namespace

// Opens the files from the newest to the oldest: a file that is renamed meanwhile is met twice, not
// missed.
AuditReader::AuditReader(const std::string& path) : location(Sys::HostPath(path)) {
    bool isFound = Open(location);
    for (int number = 1; number <= Audit::kKeptFiles; ++number) {
        isFound = Open(location + "." + std::to_string(number)) || isFound;
    }
    if (!isFound) {
        throw Failure("cannot read the audit log " + location, ENOENT, AdviceFor(ENOENT));
    }
    file = std::move(laterFiles.back());
    laterFiles.pop_back();
}

// False if it is missing.
bool AuditReader::Open(const std::string& path) {
    Sys::OwnedFd opened;
    const int errorNumber = Sys::OpenRegularFile(path, opened);
    if (errorNumber == ENOENT) {
        return false;
    }
    if (errorNumber != 0) {
        throw Failure("cannot read the audit log " + path, errorNumber, AdviceFor(errorNumber));
    }
    if (laterFiles.empty() || !IsSameFile(laterFiles.back(), opened)) {
        laterFiles.push_back(std::move(opened));
    }
    return true;
}

bool AuditReader::Next(std::string& line) {
    for (std::size_t from = begin;;) {  // no line feed before this position
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
        if (!laterFiles.empty()) {
            file = std::move(laterFiles.back());
            laterFiles.pop_back();
            buffer.clear();
            from = 0;
            continue;
        }
        if (!WasReplaced()) {
            return false;
        }
        // Reads the old file once more: it may have grown before it was renamed.
        if (!ReadMore()) {
            buffer.clear();
            from = 0;
            if (Sys::OpenRegularFile(location, file) != 0) {
                return false;  // wait until the directory changes again
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

// Whether another file has the path; if none has, the daemon has not created it yet.
bool AuditReader::WasReplaced() const {
    struct stat atPath{};
    struct stat open{};
    if (::stat(location.c_str(), &atPath) != 0) {
        return false;
    }
    return !file.IsOpen() || ::fstat(file.Get(), &open) != 0 || !IsSameFile(atPath, open);
}

bool AuditReader::WaitForMore() {
    if (!changes.IsOpen()) {
        changes = Sys::OwnedFd(::inotify_init1(IN_CLOEXEC));
        const std::string directory = std::filesystem::path(location).parent_path();
        // Next, which follows, finds lines that were written before this.
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
