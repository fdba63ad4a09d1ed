// Makes untrusted texts safe to print: nothing in them moves the cursor, reorders the text beside
// them or breaks a line.
#pragma once

#include <string>
#include <string_view>

namespace Ctl {

// Replaces control characters, line separators, marks of the direction of writing, and bytes that
// are not UTF-8, each by U+FFFD.
std::string PrintableText(std::string_view text);

// Like PrintableText, but keeps line feeds.
std::string PrintableLines(std::string_view text);

// Escapes such characters in one line of JSON as "\uXXXX"; they occur only inside its strings.
// `json` is UTF-8.
std::string PrintableJson(std::string_view json);

}  // namespace Ctl
