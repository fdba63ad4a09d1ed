// File handles, a writer of new files, directory listings and links. A handle is only a path:
// nothing is opened or cached, and every call asks the file system.
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
    // Use SystemFactory::GetFile. Nothing needs to exist at `path`.
    explicit File(std::string path);

    const std::string& GetPath() const { return path; }
    // The last component of the path, without a trailing "/".
    std::string_view GetName() const;
    // Whether the path exists, even as a dangling link.
    bool Exists() const;
    // Whether the path is a directory or a link to one.
    bool IsDirectory() const;
    // Whether the path itself is a symbolic link; false if it does not exist.
    bool IsSymbolicLink() const;
    // The entries sorted by the bytes of their names, without "." and ".."; not recursive. Returns
    // the first `limit` ones, or all for -1. Throws IOException when the directory cannot be opened
    // or read.
    std::vector<Ref<File>> List(int limit) const;
    // Moves the file, replacing the one at `newPath`. On failure returns an empty reference and, if
    // the file exists, logs the reason at level 3.
    Ref<File> Rename(const std::string& newPath) const;
    // Creates a link at `linkPath` whose target is this path as it is written. Never throws: logs a
    // failure (including EEXIST) at level 3 on the default logger. `flag` is 1.
    void CreateSymbolicLink(const std::string& linkPath, int flag) const;
    // The path, which identifies the handle in log lines.
    std::string ToString() const override { return path; }

  private:
    const std::string path;
};

// Writes one new file and gathers small writes. One thread at a time. A writer destroyed before
// Close leaves the file without the bytes gathered last.
class FileWriter : public ObjectImpl {
  public:
    // Use SystemFactory::CreateFileWriter. Creates a new, empty file of mode 0640 (whatever the
    // umask) exclusively: an existing file, link or FIFO at `path` is first removed, never followed
    // or truncated; a directory is left alone. Throws IOException.
    explicit FileWriter(const std::string& path);

    // Throws IOException if the writer is closed or a write fails, which closes it.
    void Write(const char* bytes, std::size_t count);
    // Writes the gathered bytes and closes. Throws IOException if either fails; the writer is
    // closed in any case. Does nothing if already closed.
    void Close();
    std::string ToString() const override { return path; }

  private:
    void Flush();
    void WriteOut(const char* bytes, std::size_t count);

    const std::string path;
    Sys::OwnedFd descriptor;
    std::unique_ptr<char[]> gathered;  // allocated for the first small write
    std::size_t gatheredCount = 0;
};

}  // namespace Pellmar::System
