// What the terminal can display: colours, characters outside ASCII, and its width.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

enum class Colour { Plain, Green, Yellow, Red, Magenta, Cyan, Faint };

// Whether standard output is a terminal other than "dumb", and NO_COLOR is not set (no-color.org:
// set and not empty).
bool ShowsColours();

// Whether the user's locale writes UTF-8, so that marks and bars can be shown (locale(7)).
bool ShowsUnicode();

// The width of the terminal on standard output; nothing for a file or a pipe.
std::optional<std::size_t> TerminalWidth();

// `text` between the escape sequences of the colour (ECMA-48, SGR); unchanged for Plain, or if
// colours are off.
std::string Paint(std::string_view text, Colour colour);

struct PaintedPart {
    std::string text;
    Colour colour = Colour::Plain;
};

// The parts of a text that Paint has made, for a screen that has colours of its own.
std::vector<PaintedPart> SplitPainted(std::string_view text);

}  // namespace Ctl
