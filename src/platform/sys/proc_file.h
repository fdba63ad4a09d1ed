// Reads the small text files of /proc (proc(5)).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Sys {

// The first `limit` bytes of the file; empty if it cannot be read.
std::string ReadProcFile(const std::string& path, std::size_t limit = 65536);

// The value on the line "NAME:\tVALUE" of `status`, the text of /proc/PID/status; empty if no line
// has that name.
std::string_view StatusField(std::string_view status, std::string_view name);

}  // namespace Sys
