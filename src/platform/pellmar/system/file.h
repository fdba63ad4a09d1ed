// File handles, the writer of new files, directory listings and links. A handle is a path: nothing
// is opened or remembered, every question is asked of the file system anew.
#pragma once

#include "platform/pellmar/object.h"
#include "platform/sys/owned_fd.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Pellmar::System {

class File : public ObjectImpl {
  public:
    // Taken from SystemFactory::GetFile. Nothing need exist at `path`.
    explicit File(std::string path);

    const std::string& GetPath() const { return path; }
    // The last component of the path, without a "/" at its end.
    std::string_view GetName() const;
    // Something stands at the path, a broken link included.
    bool Exists() const;
    // A directory, or a link to one.
    bool IsDirectory() const;
    // A symbolic link itself; false when nothing is there.
    bool IsSymbolicLink() const;
    // The entries in byte order of their names, without "." and "..", subdirectories not entered.
    // `limit` -1 means all, else the first so many. Throws IOException when the directory cannot be
    // opened or read.
    std::vector<Ref<File>> List(int limit) const;
    // Moves the file, replacing what stands at `newPath`. No handle when that failed; the reason
    // is logged at level 3.
    Ref<File> Rename(const std::string& newPath) const;
    // Makes a link at `linkPath` to this path as it is written. Never throws: a failure (EEXIST
    // too) is logged at level 3 on the default logger. `flag` is 1.
    void CreateSymbolicLink(const std::string& linkPath, int flag) const;
    // The path, as log lines show the handle.
    std::string ToString() const override { return path; }

  private:
    const std::string path;
};

// Writes one new file. Gathers small writes; one thread at a time. A writer that is dropped
// unclosed leaves the file as it is, with what was gathered last missing.
class FileWriter : public ObjectImpl {
  public:
    // Taken from SystemFactory::CreateFileWriter. Makes a new, empty file of mode 0640 (whatever
    // the umask) exclusively: what stands at `path` (a file, any link, a FIFO) is removed first,
    // never followed or emptied; a directory is not. Throws IOException.
    explicit FileWriter(const std::string& path);

    // Throws IOException when bytes could not be written, which closes the writer, or it is closed.
    void Write(const char* bytes, std::size_t count);
    // Writes what is gathered and closes. Throws IOException when either failed; closed either way.
    // Does nothing when closed.
    void Close();
    std::string ToString() const override { return path; }

  private:
    void Flush();
    void WriteOut(const char* bytes, std::size_t count);

    const std::string path;
    Sys::OwnedFd descriptor;
    std::unique_ptr<char[]> gathered;  // made at the first small write
    std::size_t gatheredCount = 0;
};

}  // namespace Pellmar::System
