// Long lines broken between words, for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ctl {

// Columns of a printable UTF-8 text: its characters, each taken as one column wide.
std::size_t WidthOf(std::string_view text);

// `text`, which starts in column `indent`, with lines of at most `width` columns; every further
// line is indented by as much. A longer word has a line of its own. Line feeds of `text` stay, and
// so do the blanks at the start of its lines, which the rest of such a line is indented by too.
std::string Wrapped(std::string_view text, std::size_t indent, std::size_t width);

// The same for standard output: as wide as its terminal; unlimited in a file or a pipe.
std::string Wrapped(std::string_view text, std::size_t indent);

}  // namespace Ctl
