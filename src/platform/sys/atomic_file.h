// Creates and replaces files atomically: a reader sees either the old bytes or the new ones, even
// after a crash of the machine. The caller chooses path and content.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

namespace Sys {

// Writes `bytes` to `path` with exactly `mode`, whatever the umask, replacing an existing file (a
// link itself, not its target): temporary file in the same directory, fsync, rename, fsync of the
// directory. Throws std::system_error that names the path; the old file then still exists, unless
// only the last fsync failed. Refuses a path that leads to a device, a pipe or a socket. Any
// thread.
void ReplaceFile(const std::string& path, std::string_view bytes, mode_t mode);

// Creates the file in the same way, but fails with EEXIST if the path exists, even as a link.
// Requires a file system with hard links.
void CreateFile(const std::string& path, std::string_view bytes, mode_t mode);

// Creates the directory with exactly `mode`, and missing ones above it with mode 0755. An existing
// directory is left unchanged. Throws std::system_error that names the path.
void MakeDirectory(const std::string& path, mode_t mode);

}  // namespace Sys
