// Long lines broken between words, for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ctl {

// Columns of a printable UTF-8 text: its characters, each taken as one column wide.
std::size_t WidthOf(std::string_view text);

// Breaks `text`, which starts in column `indent`, into lines of at most `width` columns; further
// lines are indented by `indent`. A longer word gets a line of its own. Keeps the line feeds of
// `text` and the blanks at the start of its lines, which also indent the rest of a broken line.
std::string Wrapped(std::string_view text, std::size_t indent, std::size_t width);

// The same for standard output: as wide as its terminal; unlimited in a file or a pipe.
std::string Wrapped(std::string_view text, std::size_t indent);

}  // namespace Ctl
