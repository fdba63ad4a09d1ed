// Reads files whole, within a bound that the caller names.
#pragma once

#include "platform/sys/owned_fd.h"

#include <cstddef>
#include <string>

namespace Sys {

// Opens the regular file at `path` for reading, without waiting for the writer of a FIFO. Returns 0
// or the error number: ENXIO for anything that is not a regular file.
int OpenRegularFile(const std::string& path, OwnedFd& file);

// Replaces `text` by the bytes of `file` from its position to its end, `limit` of them at most: to
// notice a longer file, ask for one byte more than is allowed. Returns 0 or the error number of the
// read that failed; `text` then holds the bytes before it.
int ReadAll(int file, std::size_t limit, std::string& text);

// Both in one call.
int ReadRegularFile(const std::string& path, std::size_t limit, std::string& text);

}  // namespace Sys
