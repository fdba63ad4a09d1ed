#include "platform/sys/atomic_file.h"

#include "platform/sys/owned_fd.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Sys {

namespace {

[[noreturn]] void ThrowError(int errorNumber, const std::string& what) {
    throw std::system_error(errorNumber, std::generic_category(), what);
}

std::string DirectoryOf(const std::string& path) {
    const std::string directory = std::filesystem::path(path).parent_path();
    return directory.empty() ? "." : directory;
}

// A file of mode 0600 beside its target. The destructor removes it unless it was renamed to the
// target.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& target)
        : target(target), path(target + ".XXXXXX"), file(mkostemp(path.data(), O_CLOEXEC)) {
        if (!file.IsOpen()) {
            ThrowError(errno, "cannot create a temporary file beside " + target);
        }
    }
    ~TemporaryFile() {
        if (!path.empty()) {
            (void)unlink(path.c_str());  // the caller reports the failure that led here
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void Write(std::string_view bytes, mode_t mode) const {
        while (!bytes.empty()) {
            const ssize_t count = write(file.Get(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR) {
                ThrowError(errno, target);
            }
            bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
        }
        if (fchmod(file.Get(), mode) != 0 || fsync(file.Get()) != 0) {
            ThrowError(errno, target);
        }
    }

    void MoveToTarget() {
        if (std::rename(path.c_str(), target.c_str()) != 0) {
            ThrowError(errno, target);
        }
        path.clear();
    }

    // Unlike a rename, a link replaces nothing.
    void LinkToTarget() const {
        if (link(path.c_str(), target.c_str()) != 0) {
            ThrowError(errno, target);
        }
    }

  private:
    const std::string& target;
    std::string path;
    const OwnedFd file;
};

// A rename would replace the device itself: as root, /dev/null for every process of the machine.
void RefuseSpecialFile(const std::string& path) {
    struct stat status{};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        ThrowError(EINVAL, path + ", which is not a regular file");
    }
}

void SyncDirectory(const std::string& path) {
    const OwnedFd directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.IsOpen() || fsync(directory.Get()) != 0) {
        ThrowError(errno, path);
    }
}

}  // namespace

void ReplaceFile(const std::string& path, std::string_view bytes, mode_t mode) {
    RefuseSpecialFile(path);
    TemporaryFile file(path);
    file.Write(bytes, mode);
    file.MoveToTarget();
    SyncDirectory(DirectoryOf(path));
}

void CreateFile(const std::string& path, std::string_view bytes, mode_t mode) {
    {
        const TemporaryFile file(path);
        file.Write(bytes, mode);
        file.LinkToTarget();
    }
    SyncDirectory(DirectoryOf(path));
}

void MakeDirectory(const std::string& path, mode_t mode) {
    constexpr mode_t kModeAbove = 0755;
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        return;
    }
    const std::string above = DirectoryOf(path);
    if (above != path) {
        MakeDirectory(above, kModeAbove);
    }
    if (mkdir(path.c_str(), mode) != 0) {
        if (errno == EEXIST && std::filesystem::is_directory(path, error)) {
            return;  // another process created it first
        }
        ThrowError(errno, path);
    }
    if (chmod(path.c_str(), mode) != 0) {  // the umask cleared some bits
        ThrowError(errno, path);
    }
    SyncDirectory(above);
}

}  // namespace Sys
