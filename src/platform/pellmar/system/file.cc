// Makes the system calls of file handles and file writers; each failure states the reason and what
// to do. The store decides which files exist and how they are named.
#include "platform/pellmar/system/file.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/log/logger.h"
#include "platform/sys/proc_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pellmar::System {

namespace {

constexpr mode_t kFileMode = 0640;
// Smaller writes are gathered up to this size. Most reports take one write.
constexpr std::size_t kGatherSize = 65536;
// Limits how often an existing file is removed; more than once is needed only if another process
// keeps recreating it.
constexpr int kMaxCreateAttempts = 16;

std::string_view AdviceFor(int errorNumber) {
    switch (errorNumber) {
        case EACCES:
        case EPERM:
            return "; give the user of this process write permission";
        case EROFS:
            return "; mount the file system writable";
        case ENOSPC:
        case EDQUOT:
            return "; free space on the file system";
        case ENOENT:
        case ENOTDIR:
            return "; create the missing directory";
        case EEXIST:
        case EISDIR:
            return "; remove the file or directory there";
        case EMFILE:
        case ENFILE:
            return "; raise the limit of open files";
        default:
            return "";
    }
}

// The system's text for the error, and what to do about it.
std::string ReasonOf(int errorNumber) {
    return std::generic_category().message(errorNumber).append(AdviceFor(errorNumber));
}

// The same for a file that is only read.
std::string ReadReasonOf(int errorNumber) {
    return errorNumber == EACCES || errorNumber == EPERM
               ? std::generic_category().message(errorNumber) +
                     "; give the user of this process read permission"
               : ReasonOf(errorNumber);
}

// Whether the umask clears bits of kFileMode. Read once, from /proc, since umask(2) cannot query it
// without changing it for all threads. If it is unknown, the mode of every file is set explicitly.
bool UmaskCutsFileMode() {
    static const bool kCuts = [] {
        const std::string status = Sys::ReadProcFile("/proc/self/status");
        const std::string field(Sys::StatusField(status, "Umask"));
        const unsigned long mask = field.empty() ? 0777 : std::stoul(field, nullptr, 8);
        return (mask & kFileMode) != 0;
    }();
    return kCuts;
}

// Removes the entry at `path`, but not a directory. Succeeds if it no longer exists.
void RemoveObstacle(const std::string& path) {
    const int error = ::unlink(path.c_str()) == 0 ? 0 : errno;
    if (error == EISDIR) {
        throw IOException("Cannot create " + path + ": it is a directory; remove it");
    }
    if (error != 0 && error != ENOENT) {
        throw IOException("Cannot remove the existing " + path + ": " + ReasonOf(error));
    }
}

Sys::OwnedFd CreateExclusively(const std::string& path) {
    for (int attempt = 0; attempt < kMaxCreateAttempts; ++attempt) {
        Sys::OwnedFd created(
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
        if (created.IsOpen()) {
            return created;
        }
        const int error = errno;
        if (error != EEXIST) {
            throw IOException("Cannot create " + path + ": " + ReasonOf(error));
        }
        RemoveObstacle(path);
    }
    throw IOException("Cannot create " + path +
                      ": another process recreates it whenever it is removed; stop that process");
}

struct DirectoryCloser {
    void operator()(DIR* directory) const {
        (void)::closedir(directory);  // opened for reading, so no data can be lost
    }
};
using OpenDirectory = std::unique_ptr<DIR, DirectoryCloser>;

std::vector<std::string> EntryNames(const std::string& path) {
    const OpenDirectory directory(::opendir(path.c_str()));  // close-on-exec in glibc
    if (!directory) {
        const int error = errno;
        throw IOException("Cannot open the directory " + path + ": " + ReadReasonOf(error));
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    const int error = errno;
    if (error != 0) {
        throw IOException("Cannot read the directory " + path + ": " + ReasonOf(error));
    }
    return names;
}

}  // namespace

File::File(std::string path) : path(std::move(path)) {}

std::string_view File::GetName() const {
    std::string_view name = path;
    while (name.size() > 1 && name.back() == '/') {
        name.remove_suffix(1);
    }
    const std::size_t slash = name.rfind('/');
    return slash == std::string_view::npos || name.size() == 1 ? name : name.substr(slash + 1);
}

bool File::Exists() const {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0;
}

bool File::IsDirectory() const {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool File::IsSymbolicLink() const {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::vector<Ref<File>> File::List(int limit) const {
    std::vector<std::string> names = EntryNames(path);
    std::sort(names.begin(), names.end());
    if (limit >= 0) {
        names.resize(std::min(names.size(), static_cast<std::size_t>(limit)));
    }
    const std::string directory = path.back() == '/' ? path : path + '/';
    std::vector<Ref<File>> entries;
    entries.reserve(names.size());
    for (const std::string& name : names) {
        entries.push_back(MakeRef<File>(directory + name));
    }
    return entries;
}

Ref<File> File::Rename(const std::string& newPath) const {
    if (::renameat(AT_FDCWD, path.c_str(), AT_FDCWD, newPath.c_str()) != 0) {
        const int error = errno;
        if (Exists()) {
            Service::LogInternal(Service::Logger::sDefaultLogger, 3, "Cannot rename %1 to %2: %3",
                                 path, newPath, ReasonOf(error));
        }
        return {};
    }
    return MakeRef<File>(newPath);
}

void File::CreateSymbolicLink(const std::string& linkPath, int /*flag*/) const {
    if (::symlinkat(path.c_str(), AT_FDCWD, linkPath.c_str()) != 0) {
        const int error = errno;
        Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                             "Cannot create the symbolic link %1 to %2: %3", linkPath, path,
                             ReasonOf(error));
    }
}

FileWriter::FileWriter(const std::string& path) : path(path), descriptor(CreateExclusively(path)) {
    if (UmaskCutsFileMode() && ::fchmod(descriptor.Get(), kFileMode) != 0) {
        const int error = errno;
        throw IOException("Cannot set the mode of " + path + ": " + ReasonOf(error));
    }
}

void FileWriter::Write(const char* bytes, std::size_t count) {
    if (!descriptor.IsOpen()) {
        throw IOException("Cannot write " + path + ": its writer is closed");
    }
    if (count > kGatherSize - gatheredCount) {
        Flush();
    }
    if (count >= kGatherSize) {
        WriteOut(bytes, count);
        return;
    }
    if (!gathered) {
        gathered = std::make_unique_for_overwrite<char[]>(kGatherSize);
    }
    std::memcpy(gathered.get() + gatheredCount, bytes, count);
    gatheredCount += count;
}

void FileWriter::Close() {
    if (!descriptor.IsOpen()) {
        return;
    }
    Flush();
    // After EINTR the descriptor is closed too, and no data is known to be lost.
    const int error = ::close(descriptor.Release()) == 0 ? 0 : errno;
    if (error != 0 && error != EINTR) {
        throw IOException("Cannot close " + path + ": " + ReasonOf(error));
    }
}

void FileWriter::Flush() { WriteOut(gathered.get(), std::exchange(gatheredCount, 0)); }

void FileWriter::WriteOut(const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(descriptor.Get(), bytes, count);
        if (written < 0) {
            const int error = errno;
            if (error == EINTR) {
                continue;
            }
            descriptor.Reset();
            throw IOException("Cannot write " + path + ": " + ReasonOf(error));
        }
        // A short write is not an error; the next write reports its cause.
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

}  // namespace Pellmar::System
