// Makes the system calls of the audit file; each failure states the reason and what to do.
#include "platform/audit/audit_file.h"

#include "platform/audit/kvx_audit.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Audit {
namespace {

constexpr mode_t kFileMode = 0640;
constexpr mode_t kDirectoryMode = 0750;

// Opened for reading too, to check how the last line ends. O_NONBLOCK keeps a FIFO at this path
// from blocking the caller.
constexpr int kOpenFlags =
    O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// The reason for `error`, and what to do about it.
std::string ReasonOf(int error) {
    const std::string text = std::generic_category().message(error);
    switch (error) {
        case ELOOP:
            return "the path is a symbolic link, which is not followed; remove it";
        case EISDIR:
        case ENXIO:  // a socket
            return "not a regular file; move it away";
        case ENOTDIR:
            return text + "; move away the file at the path of one of its directories";
        case ENOENT:  // although the directories were just created
            return text + "; remove the dangling link at the path of one of its directories";
        case EACCES:
        case EPERM:
            return text + "; give the user of this process read and write permission";
        case EROFS:
            return text + "; mount the file system writable";
        case ENOSPC:
        case EDQUOT:
            return text + "; free space on the file system";
        case EFBIG:
            return text + "; move it away, or raise the file size limit";
        case EMFILE:
        case ENFILE:
            return text + "; raise the limit of open files";
        default:
            return text + "; check the file system";
    }
}

// Creates the missing directories above the file at `location`. Returns 0 or the error number.
int MakeDirectories(const std::string& location) {
    for (std::size_t end = location.find('/', 1); end != std::string::npos;
         end = location.find('/', end + 1)) {
        const int error = ::mkdir(location.substr(0, end).c_str(), kDirectoryMode) == 0 ? 0 : errno;
        if (error != 0 && error != EEXIST) {
            return error;
        }
    }
    return 0;
}

}  // namespace

AuditFile::AuditFile(std::string path)
    : path(std::move(path)), location(Sys::HostPath(this->path)) {}

// The lock is held across the system calls, so that the file checked is the file written to and a
// short write is continued before another record starts. The calls are few and wait for no other
// process.
void AuditFile::Append(std::string_view record) {
    Sys::MutexLock guard(lock);
    if (!IsInItsPlace()) {
        Open();
    }
    std::string line;
    line.reserve(record.size() + 2);
    if (lineIsCut) {
        line += '\n';
    }
    line += record;
    line += '\n';
    Write(line);
    lineIsCut = false;
}

void AuditFile::RotateWhenFull() {
    Sys::MutexLock guard(lock);
    struct stat status{};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0 || status.st_size < fullSize) {
        return;
    }
    fullSize = status.st_size + kMaxFileBytes;
    for (int number = kKeptFiles - 1; number > 0; --number) {
        Rename("." + std::to_string(number), "." + std::to_string(number + 1));
    }
    Rename("", ".1");
    file.Reset();
    fullSize = kMaxFileBytes;
}

// `from` and `to` are suffixes of the path. A missing file is skipped.
void AuditFile::Rename(const std::string& from, const std::string& to) const {
    const std::string target = location + to;
    const int error = ::rename((location + from).c_str(), target.c_str()) == 0 ? 0 : errno;
    if (error != 0 && error != ENOENT) {
        throw Pellmar::IOException("Cannot rename " + path + from + " to " + path + to + ": " +
                                   ReasonOf(error));
    }
}

bool AuditFile::IsInItsPlace() const {
    struct stat status{};
    return file.IsOpen() && ::lstat(location.c_str(), &status) == 0 && status.st_dev == device &&
           status.st_ino == inode;
}

void AuditFile::Open() {
    file.Reset(::open(location.c_str(), kOpenFlags, kFileMode));
    int error = file.IsOpen() ? 0 : errno;
    if (error == ENOENT) {
        error = MakeDirectories(location);
        if (error != 0) {
            throw Pellmar::IOException("Cannot create the directory of " + path + ": " +
                                       ReasonOf(error));
        }
        file.Reset(::open(location.c_str(), kOpenFlags, kFileMode));
        error = file.IsOpen() ? 0 : errno;
    }
    struct stat status{};
    if (error == 0 && ::fstat(file.Get(), &status) != 0) {
        error = errno;
    }
    if (error == 0 && !S_ISREG(status.st_mode)) {
        error = ENXIO;
    }
    if (error != 0) {
        file.Reset();
        throw Pellmar::IOException("Cannot open " + path + ": " + ReasonOf(error));
    }
    device = status.st_dev;
    inode = status.st_ino;
    lineIsCut = LastLineIsCut();
}

bool AuditFile::LastLineIsCut() const {
    const off_t size = ::lseek(file.Get(), 0, SEEK_END);
    char last = '\n';
    // If the file can't be read, the record is still written, at worst after an empty line.
    return size > 0 && (::pread(file.Get(), &last, 1, size - 1) != 1 || last != '\n');
}

void AuditFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t taken = ::write(file.Get(), bytes.data(), bytes.size());
        const int error = taken < 0 ? errno : 0;
        if (error == EINTR) {
            continue;
        }
        if (taken <= 0) {
            file.Reset();  // reopening it checks whether part of the line was written
            throw Pellmar::IOException("Cannot write " + path + ": " + ReasonOf(error));
        }
        bytes.remove_prefix(static_cast<std::size_t>(taken));
    }
}

}  // namespace Audit
