// Texts of others made fit to be shown: nothing in them moves the cursor, reorders what stands
// beside it or breaks a line.
#pragma once

#include <string>
#include <string_view>

namespace Ctl {

// Control characters, those that break lines or set the direction of writing, and bytes that are
// not UTF-8, each as U+FFFD.
std::string PrintableText(std::string_view text);

// The same for a text of several lines: line feeds stay.
std::string PrintableLines(std::string_view text);

// JSON in one line as text that shows as it is: such characters, which only stand inside of its
// strings, as "\uXXXX". The text is UTF-8.
std::string PrintableJson(std::string_view json);

}  // namespace Ctl
