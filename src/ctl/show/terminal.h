// What a terminal can show that a file should not hold: colours.
#pragma once

#include <string>
#include <string_view>

namespace Ctl {

enum class Colour { Plain, Green, Yellow, Red, Faint };

// Whether standard output is a terminal, and NO_COLOR is not set (no-color.org: set and not empty).
bool ShowsColours();

// `text` between the sequences of that colour (ECMA-48, SGR); as it is for Plain, and when no
// colours are shown.
std::string Paint(std::string_view text, Colour colour);

}  // namespace Ctl
