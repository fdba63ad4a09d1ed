// Files that are created or replaced as a whole: whoever reads one sees the old bytes or the new
// ones, and after a crash of the machine it holds either. Where files are and what is in them is
// the caller's business.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

namespace Sys {

// Puts `bytes` at `path` with exactly `mode`, whatever the umask, replacing what is there (a link
// itself, not its target): temporary file beside it, fsync, rename, fsync of the directory. Throws
// std::system_error that names the path; what was there is still there then, except when only the
// last fsync failed. Any thread.
void ReplaceFile(const std::string& path, std::string_view bytes, mode_t mode);

// Creates the file in the same way, but only where nothing stands, not even a link: with EEXIST
// otherwise. The file system must have hard links.
void CreateFile(const std::string& path, std::string_view bytes, mode_t mode);

// Makes the directory with exactly `mode`, and those above it that are missing with mode 0755. One
// that is there stays as it is. Throws std::system_error that names the path.
void MakeDirectory(const std::string& path, mode_t mode);

}  // namespace Sys
