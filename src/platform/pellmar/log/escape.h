// Escapes text from outside for log lines.
#pragma once

#include <string>
#include <string_view>

namespace Pellmar::Service {

// Appends `text`, replacing each byte of the following by "\xHH" in lower case: control characters
// (including DEL and U+0080 to U+009F), line and paragraph separators, characters that change the
// direction of writing, and bytes that are not UTF-8. So no text can end a line, execute a terminal
// command or reorder the display.
void AppendEscaped(std::string& line, std::string_view text);

}  // namespace Pellmar::Service
