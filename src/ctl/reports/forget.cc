// The daemon stores a report in two steps: it renames the temporary file into the ring, then renews
// the link. Both may happen between any two steps here, so a file to remove is first renamed,
// atomically, and put back if it is not the file that was found. Files found stay open
// meanwhile, so their inode numbers are not used again.
#include "ctl/reports/forget.h"

#include "platform/sys/owned_fd.h"
#include "store/report_name.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

// The time that the daemon allows for a body to arrive.
constexpr std::chrono::seconds kArrival{120};
// The time within which the daemon points the link at a report that it has just stored.
constexpr std::chrono::milliseconds kLinkPause{50};

struct Found {
    std::string file;
    Sys::OwnedFd handle;
    struct stat status;
};

bool IsLater(const timespec& one, const timespec& other) {
    return std::tuple(one.tv_sec, one.tv_nsec) > std::tuple(other.tv_sec, other.tv_nsec);
}

bool IsYoung(const timespec& time) {
    return std::chrono::system_clock::now() - std::chrono::system_clock::from_time_t(time.tv_sec) <
           kArrival;
}

class Ring {
  public:
    Ring(const std::string& path, const std::string& name)
        : path(path),
          name(name),
          directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (!directory.IsOpen()) {
            Throw(path);
        }
        Look();
        if (std::any_of(files.begin(), files.end(), [this](const Found& found) {
                return IsLinkToCome(found, /*mayBeAsOld=*/true);
            })) {
            std::this_thread::sleep_for(kLinkPause);
            Look();
        }
    }

    Forgotten Remove() const {
        Forgotten forgotten;
        const auto remove = [&](const Found& found) {
            (RemoveOne(found) ? forgotten.removed : forgotten.kept).push_back(found.file);
        };
        if (link) {
            remove(*link);
        }
        for (const Found& found : files) {
            if (IsArriving(found)) {
                forgotten.kept.push_back(found.file);
            } else {
                remove(found);
            }
        }
        return forgotten;
    }

  private:
    [[noreturn]] static void Throw(const std::string& what) {
        throw std::system_error(errno, std::generic_category(), what);
    }

    void Look() {
        link = Open(Sentrel::LinkName(name));
        if (link && !S_ISLNK(link->status.st_mode)) {
            link.reset();
        }
        files.clear();
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            const std::string file = entry.path().filename();
            std::optional<Found> found = IsOurs(file) ? Open(file) : std::nullopt;
            if (found && S_ISREG(found->status.st_mode)) {
                files.push_back(*std::move(found));
            }
        }
        std::sort(files.begin(), files.end(),
                  [](const Found& one, const Found& other) { return one.file < other.file; });
    }

    // Nothing if the file is gone.
    std::optional<Found> Open(const std::string& file) const {
        Found found{
            file,
            Sys::OwnedFd(::openat(directory.Get(), file.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)),
            {}};
        if (!found.handle.IsOpen() && errno == ENOENT) {
            return std::nullopt;
        }
        if (!found.handle.IsOpen() || ::fstat(found.handle.Get(), &found.status) != 0) {
            Throw(path + file);
        }
        return found;
    }

    bool IsLink(std::string_view file) const {
        struct stat status{};
        return ::fstatat(directory.Get(), std::string(file).c_str(), &status,
                         AT_SYMLINK_NOFOLLOW) == 0 &&
               S_ISLNK(status.st_mode);
    }

    bool IsOurs(const std::string& file) const {
        const std::string_view stored = std::string_view(file).substr(IsTemporary(file) ? 1 : 0);
        if (!Sentrel::MatchesStoredFile(name, stored)) {
            return false;
        }
        for (const std::string_view read : {std::string_view(file), stored}) {
            const std::optional<std::string_view> owner = Sentrel::NameOfStoredFile(read);
            if (owner && *owner != name && IsLink(Sentrel::LinkName(*owner))) {
                return false;
            }
        }
        return true;
    }

    bool IsTemporary(std::string_view file) const {
        return file.starts_with('.') && !Sentrel::MatchesStoredFile(name, file);
    }

    // Whether a post may still be writing the file, or be about to point the link at it.
    bool IsArriving(const Found& found) const {
        const auto stored = Sentrel::NameOfStoredFile(found.file);
        const bool isTemporary =
            found.file.starts_with('.') && !(stored && Sentrel::IsSameReportName(*stored, name));
        return isTemporary
                   ? IsYoung(found.status.st_mtim)
                   : IsLinkToCome(found, /*mayBeAsOld=*/false) && IsYoung(found.status.st_ctim);
    }

    // Whether the report was stored after the link was made. `mayBeAsOld`: or at the same time, by
    // the file system's clock, which stands still for some milliseconds.
    bool IsLinkToCome(const Found& found, bool mayBeAsOld) const {
        if (!link) {
            return true;
        }
        const bool isLater = mayBeAsOld ? !IsLater(link->status.st_ctim, found.status.st_ctim)
                                        : IsLater(found.status.st_ctim, link->status.st_ctim);
        return isLater && !IsTarget(found);
    }

    bool IsTarget(const Found& found) const {
        std::string target(PATH_MAX, '\0');
        const ssize_t size = ::readlinkat(link->handle.Get(), "", target.data(), target.size());
        target.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return std::filesystem::path(target).filename() == found.file;
    }

    // False if another file has replaced it, which stays.
    bool RemoveOne(const Found& found) const {
        const std::string aside = ".forget-" + std::to_string(::getpid());
        const int fd = directory.Get();
        if (::renameat(fd, found.file.c_str(), fd, aside.c_str()) != 0) {
            if (errno == ENOENT) {
                return true;  // the daemon is just renewing its link, or has moved or removed the
                              // file
            }
            Throw(path + found.file);
        }
        struct stat moved{};
        const bool isFound = ::fstatat(fd, aside.c_str(), &moved, AT_SYMLINK_NOFOLLOW) == 0 &&
                             moved.st_ino == found.status.st_ino;
        if (!isFound &&
            ::renameat2(fd, aside.c_str(), fd, found.file.c_str(), RENAME_NOREPLACE) == 0) {
            return false;
        }
        // The file that was found, or one that a still newer one has replaced.
        if (::unlinkat(fd, aside.c_str(), 0) != 0) {
            Throw(path + aside);
        }
        return isFound;
    }

    const std::string path;
    const std::string name;
    const Sys::OwnedFd directory;
    std::optional<Found> link;
    std::vector<Found> files;
};

}  // namespace

Forgotten Forget(const std::string& directory, const std::string& name) {
    return Ring(directory, name).Remove();
}

}  // namespace Ctl
