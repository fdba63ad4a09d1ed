// Writes values as JSON text (RFC 8259), for documents written in one pass.
#pragma once

#include <string>
#include <string_view>

namespace SentrelCheck {

// A JSON string with its quotes. Escapes control characters and replaces each byte that is not
// UTF-8 (RFC 3629: no surrogates, no overlong forms) by U+FFFD, since paths and unit names may
// contain any bytes.
std::string JsonString(std::string_view text);

// The shortest text that parses to `value` again. `value` is finite.
std::string JsonNumber(double value);

}  // namespace SentrelCheck
