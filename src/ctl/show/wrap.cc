#include "ctl/show/wrap.h"

#include "ctl/show/terminal.h"
#include "platform/sys/utf8.h"

#include <algorithm>
#include <limits>

namespace Ctl {

namespace {

// One line, without its line feed.
std::string WrappedLine(std::string_view line, std::size_t indent, std::size_t width) {
    const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
    std::string wrapped(line.substr(0, blanks));
    std::size_t column = indent + blanks;
    bool startsLine = true;
    line.remove_prefix(blanks);
    while (!line.empty()) {
        const std::size_t gap = std::min(line.find_first_not_of(' '), line.size());
        const std::string_view rest = line.substr(gap);
        const std::string_view word = rest.substr(0, rest.find(' '));
        if (!startsLine && column + gap + WidthOf(word) > width) {
            wrapped += "\n" + std::string(indent + blanks, ' ');
            column = indent + blanks;
        } else {
            wrapped.append(gap, ' ');
            column += gap;
        }
        wrapped += word;
        column += WidthOf(word);
        startsLine = false;
        line = rest.substr(word.size());
    }
    return wrapped;
}

}  // namespace

std::size_t WidthOf(std::string_view text) {
    return text.size() - static_cast<std::size_t>(
                             std::count_if(text.begin(), text.end(), Sys::IsUtf8Continuation));
}

std::string Wrapped(std::string_view text, std::size_t indent, std::size_t width) {
    std::string wrapped;
    for (;;) {
        const std::size_t end = text.find('\n');
        wrapped += WrappedLine(text.substr(0, end), indent, width);
        if (end == std::string_view::npos) {
            return wrapped;
        }
        text.remove_prefix(end + 1);
        wrapped += "\n" + std::string(text.empty() ? 0 : indent, ' ');
    }
}

std::string Wrapped(std::string_view text, std::size_t indent) {
    return Wrapped(text, indent, TerminalWidth().value_or(std::numeric_limits<std::size_t>::max()));
}

}  // namespace Ctl
