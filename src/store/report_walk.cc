// Makes system calls relative to the open directory and extends and shortens one path, so that a
// listing of ten thousand names looks up nothing twice.
#include "store/report_walk.h"

#include "platform/sys/owned_fd.h"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Sentrel {

namespace {

std::error_code SystemError(int number) { return {number, std::system_category()}; }

bool IsDots(std::string_view name) { return name == "." || name == ".."; }

unsigned char TypeOf(mode_t mode) {
    if (S_ISLNK(mode)) {
        return DT_LNK;
    }
    return S_ISDIR(mode) ? DT_DIR : DT_REG;  // everything else is treated like a regular file
}

}  // namespace

void ReportWalk::DirectoryCloser::operator()(DIR* directory) const {
    (void)::closedir(directory);  // opened for reading, so no data can be lost
}

ReportWalk::ReportWalk(std::string directory) : path(std::move(directory)) {}

bool ReportWalk::Next() {
    const bool isStart = directories.empty();
    if (type == DT_DIR && !Enter(isStart ? AT_FDCWD : ::dirfd(directories.back().stream.get()),
                                 isStart ? path.c_str() : EntryName(), isStart ? 0 : O_NOFOLLOW)) {
        return false;
    }
    while (!directories.empty()) {
        const OpenDirectory& innermost = directories.back();
        errno = 0;
        const dirent* const entry = ::readdir(innermost.stream.get());
        const int number = errno;
        if (entry != nullptr) {
            if (IsDots(entry->d_name)) {
                continue;
            }
            path.replace(innermost.size, std::string::npos, entry->d_name);
            type = entry->d_type;
            return true;
        }
        if (number != 0) {
            error = SystemError(number);
            return false;
        }
        directories.pop_back();
    }
    return false;
}

bool ReportWalk::Enter(int parent, const char* name, int flags) {
    Sys::OwnedFd opened(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
    DIR* const stream = opened.IsOpen() ? ::fdopendir(opened.Get()) : nullptr;
    if (stream == nullptr) {
        error = SystemError(errno);
        return false;
    }
    (void)opened.Release();  // now owned by the stream
    if (path.back() != '/') {
        path += '/';
    }
    directories.push_back({std::unique_ptr<DIR, DirectoryCloser>(stream), path.size()});
    return true;
}

bool ReportWalk::IsSymbolicLink(std::error_code& failure) {
    FindType(failure);
    return type == DT_LNK;
}

void ReportWalk::FindType(std::error_code& failure) {
    if (type != DT_UNKNOWN) {
        return;
    }
    struct stat status{};
    if (::fstatat(::dirfd(directories.back().stream.get()), EntryName(), &status,
                  AT_SYMLINK_NOFOLLOW) != 0) {
        failure = SystemError(errno);
        return;
    }
    type = TypeOf(status.st_mode);
}

std::string_view ReportWalk::ReadLink(std::error_code& failure) {
    const ssize_t size = ::readlinkat(::dirfd(directories.back().stream.get()), EntryName(),
                                      target.data(), target.size());
    if (size < 0 || static_cast<std::size_t>(size) == target.size()) {
        failure = SystemError(size < 0 ? errno : ENAMETOOLONG);
        return {};
    }
    target[static_cast<std::size_t>(size)] = '\0';
    return {target.data(), static_cast<std::size_t>(size)};
}

}  // namespace Sentrel
