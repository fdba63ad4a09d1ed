// How a reason shows a value as it was sent.
#pragma once

#include <string>
#include <string_view>

namespace Token {

// In double quotes; cut to 64 bytes, at a whole character of UTF-8, with "..." behind the quotes.
// Control characters stay: the logger writes them harmlessly.
std::string Quote(std::string_view value);

}  // namespace Token
