// The file behind the audit log: opens it, notices when it was moved away, writes whole lines, and
// rotates it when it is full. kvx_audit.h defines what a line contains.
#pragma once

#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"

#include <string>
#include <string_view>

#include <sys/types.h>

namespace Audit {

// The size in bytes from which on the file is rotated.
inline constexpr off_t kMaxFileBytes = off_t{64} << 20;

// Appends records to the file at a path. Any thread. The first record opens the file; it is
// reopened when the path names another file or none, so moving the file away is all that a log
// rotation needs to do.
class AuditFile {
  public:
    // `path` is a plain host path, looked up below the host root.
    explicit AuditFile(std::string path);

    // Appends `record`, which contains no line feed, and a line feed in one write. Creates a
    // missing file with mode 0640 (less the umask) and missing directories above it with 0750;
    // existing ones keep their mode. A line that was cut short (by a full disk or a crash) is ended
    // first, so records never run together. Does not sync: a record survives a crash of the
    // process, but not of the machine.
    //
    // Throws Pellmar::IOException, whose text says what to do. The file then contains the record's
    // beginning at most.
    void Append(std::string_view record) EXCLUDES(lock);

    // Renames a file of kMaxFileBytes or more to PATH.1, PATH.1 to PATH.2, and so on; the oldest,
    // PATH.8 (kKeptFiles), is deleted. Does nothing to a shorter file.
    //
    // Throws Pellmar::IOException when a rename fails: records still go to the same file, and the
    // next attempt follows when it has grown by the same amount again.
    void RotateWhenFull() EXCLUDES(lock);

  private:
    bool IsInItsPlace() const REQUIRES(lock);
    void Open() REQUIRES(lock);
    bool LastLineIsCut() const REQUIRES(lock);
    void Write(std::string_view bytes) REQUIRES(lock);
    void Rename(const std::string& from, const std::string& to) const;

    const std::string path;
    const std::string location;  // `path` below the host root
    Sys::Mutex lock;
    Sys::OwnedFd file GUARDED_BY(lock);
    // Identify `file`: no other file has both numbers while it is open.
    dev_t device GUARDED_BY(lock) = 0;
    ino_t inode GUARDED_BY(lock) = 0;
    bool lineIsCut GUARDED_BY(lock) = false;
    off_t fullSize GUARDED_BY(lock) = kMaxFileBytes;
};

}  // namespace Audit
