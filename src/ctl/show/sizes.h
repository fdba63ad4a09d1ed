// The text of sizes of memory and files.
#pragma once

#include <cstdint>
#include <string>

namespace Ctl {

// "1 byte", "1000 bytes", "3.4 KiB", "40.0 MiB": in units of 1024, rounded to one decimal.
std::string SizeText(std::uintmax_t bytes);

}  // namespace Ctl
