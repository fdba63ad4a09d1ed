// Text from outside as it may stand in a log line.
#pragma once

#include <string>
#include <string_view>

namespace Pellmar::Service {

// Appends `text` with "\xHH", in lower case, for each byte of a control character (DEL and U+0080
// to U+009F too), a line or paragraph separator, a character that changes the direction of writing,
// and whatever is not UTF-8: no text ends a line, reaches a terminal as a command or reorders what
// is shown.
void AppendEscaped(std::string& line, std::string_view text);

}  // namespace Pellmar::Service
