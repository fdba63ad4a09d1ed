#include "ctl/show/terminal.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::string_view kReset = "\x1b[0m";
constexpr Colour kColours[] = {Colour::Green,   Colour::Yellow, Colour::Red,
                               Colour::Magenta, Colour::Cyan,   Colour::Faint};

std::string_view SequenceOf(Colour colour) {
    switch (colour) {
        case Colour::Green:
            return "\x1b[32m";
        case Colour::Yellow:
            return "\x1b[33m";
        case Colour::Red:
            return "\x1b[1;31m";
        case Colour::Magenta:
            return "\x1b[35m";
        case Colour::Cyan:
            return "\x1b[36m";
        case Colour::Faint:
            return "\x1b[2m";
        default:
            return "";
    }
}

}  // namespace

bool ShowsColours() {
    static const bool kShows = [] {
        // NOLINTBEGIN(concurrency-mt-unsafe): nothing in this process changes the environment
        const char* noColour = std::getenv("NO_COLOR");
        const char* terminal = std::getenv("TERM");
        // NOLINTEND(concurrency-mt-unsafe)
        const bool isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
        return (noColour == nullptr || *noColour == '\0') && !isDumb &&
               ::isatty(STDOUT_FILENO) == 1;
    }();
    return kShows;
}

bool ShowsUnicode() {
    static const bool kShows = [] {
        const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> locale(
            ::newlocale(LC_CTYPE_MASK, "", nullptr), ::freelocale);
        return locale && std::string_view(::nl_langinfo_l(CODESET, locale.get())) == "UTF-8";
    }();
    return kShows;
}

std::optional<std::size_t> TerminalWidth() {
    winsize size{};
    const bool isTerminal = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    return isTerminal && size.ws_col > 0 ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

std::string Paint(std::string_view text, Colour colour) {
    if (colour == Colour::Plain || !ShowsColours()) {
        return std::string(text);
    }
    return std::string(SequenceOf(colour)) + std::string(text) + std::string(kReset);
}

std::vector<PaintedPart> SplitPainted(std::string_view text) {
    std::vector<PaintedPart> parts;
    while (!text.empty()) {
        Colour colour = Colour::Plain;
        std::size_t end = text.find('\x1b');
        for (const Colour candidate : kColours) {
            const std::string_view sequence = SequenceOf(candidate);
            if (text.starts_with(sequence)) {
                colour = candidate;
                text.remove_prefix(sequence.size());
                end = text.find(kReset);
            }
        }
        parts.push_back({std::string(text.substr(0, end)), colour});
        const bool isPainted = colour != Colour::Plain;
        text.remove_prefix(std::min(text.size(), end + (isPainted ? kReset.size() : 0)));
    }
    return parts;
}

}  // namespace Ctl
