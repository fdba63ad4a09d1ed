// Reads whole files up to a size: files that a user names, and files in directories that others can
// write to.
#pragma once

#include <cstddef>
#include <string>

namespace Ctl {

// The bytes of the file, or of standard input for "-": at most `maxBytes`, or one more if it is
// longer. Throws Failure, whose text begins with `what`, such as "the token file", if it cannot be
// read.
std::string ReadInputFile(const std::string& path, std::size_t maxBytes, const std::string& what);

// Like ReadInputFile, for a file that the user has not named. Refuses a file that is not regular,
// so that it neither waits for a FIFO nor reads a device.
std::string ReadRegularFile(const std::string& path, std::size_t maxBytes, const std::string& what);

}  // namespace Ctl
