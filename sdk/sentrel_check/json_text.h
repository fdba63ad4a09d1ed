// Values as JSON text (RFC 8259), for documents that are written once from front to back.
#pragma once

#include <string>
#include <string_view>

namespace SentrelCheck {

// With its quotes. Control characters are escaped; bytes that are not UTF-8 (RFC 3629: no
// surrogates, no overlong forms) become U+FFFD each, since a path or a unit's name may hold any.
std::string JsonString(std::string_view text);

// The shortest text that gives `value` again. `value` is finite.
std::string JsonNumber(double value);

}  // namespace SentrelCheck
