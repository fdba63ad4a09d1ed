// The file that the audit log is kept in: opening it, noticing that it was moved away, whole lines,
// renaming it when it is full.
// What a line says is left to kvx_audit.
#pragma once

#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"

#include <string>
#include <string_view>

#include <sys/types.h>

namespace Audit {

// Bytes at which the file is renamed.
inline constexpr off_t kMaxFileBytes = off_t{64} << 20;

// Any thread. Opened by the first record, and anew when its path names another file or none, so
// that moving the file away is all that a rotation of logs has to do.
class AuditFile {
  public:
    // `path` is a plain host path, looked up below the host root.
    explicit AuditFile(std::string path);

    // Appends `record`, which holds no line feed, and a line feed, in one write. The file is made
    // when it is missing, with mode 0640 as far as the umask allows, and the directories above it
    // with 0750; what stands there already keeps its mode. A line that was cut (by a full disk or
    // the end of a process) is ended first, so no record runs into another. Not synced: a record
    // survives the end of the process, not of the machine.
    //
    // Throws Pellmar::IOException, whose text says what to do. The record is then not in the file,
    // or only the beginning of it.
    void Append(std::string_view record) EXCLUDES(lock);

    // Renames a file of kMaxFileBytes or more to PATH.1, the PATH.1 of before to PATH.2, and so on;
    // PATH.8 goes (kKeptFiles). Nothing happens to a shorter file.
    //
    // Throws Pellmar::IOException when one cannot be renamed: records go on into the same file, and
    // the next attempt comes when that has grown by as much again.
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
    // Of `file`; no other file has both while it is open.
    dev_t device GUARDED_BY(lock) = 0;
    ino_t inode GUARDED_BY(lock) = 0;
    bool lineIsCut GUARDED_BY(lock) = false;
    off_t fullSize GUARDED_BY(lock) = kMaxFileBytes;
};

}  // namespace Audit
