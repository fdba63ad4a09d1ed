// Whole files that a user names, within a bound.
#pragma once

#include <cstddef>
#include <string>

namespace Ctl {

// The bytes of the file, or of standard input for "-": at most `maxBytes`, and one more when there
// are more. Throws std::runtime_error when it cannot be read; `what`, such as "the token file",
// begins the text.
std::string ReadInputFile(const std::string& path, std::size_t maxBytes, const std::string& what);

}  // namespace Ctl
