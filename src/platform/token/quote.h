// Quotes a value from outside in the reason for a refusal.
#pragma once

#include <string>
#include <string_view>

namespace Token {

// Returns `value` in double quotes, cut to 64 bytes at a whole UTF-8 character, with "..." after
// the quotes if cut. Keeps control characters, which the logger escapes.
std::string Quote(std::string_view value);

}  // namespace Token
