// Whole files within a bound: those that a user names, and those that lie where others may write.
#pragma once

#include <cstddef>
#include <string>

namespace Ctl {

// The bytes of the file, or of standard input for "-": at most `maxBytes`, and one more when there
// are more. Throws Failure when it cannot be read; `what`, such as "the token file",
// begins the text.
std::string ReadInputFile(const std::string& path, std::size_t maxBytes, const std::string& what);

// The same of a file that nobody has named here. What is no regular file is refused, so that no
// FIFO is waited for and no device read.
std::string ReadRegularFile(const std::string& path, std::size_t maxBytes, const std::string& what);

}  // namespace Ctl
