// Reads whole files, up to a bound that the caller sets.
#pragma once

#include "platform/sys/owned_fd.h"

#include <cstddef>
#include <string>

namespace Sys {

// Opens the regular file at `path` for reading, without blocking on a FIFO. Returns 0 or the error
// number: ENXIO for anything that is not a regular file. `size`, unless null, receives the file's
// size in bytes.
int OpenRegularFile(const std::string& path, OwnedFd& file, std::size_t* size = nullptr);

// Replaces `text` with the bytes of `file` from its position to its end, at most `limit`; to detect
// a longer file, ask for one byte more than allowed. Returns 0 or the error number of the failed
// read, after which `text` holds the bytes before it. `expected`: the size that a regular file had
// when it was opened; saves the read that finds its end.
int ReadAll(int file, std::size_t limit, std::string& text, std::size_t expected = 0);

// Opens and reads in one call.
int ReadRegularFile(const std::string& path, std::size_t limit, std::string& text);

}  // namespace Sys
