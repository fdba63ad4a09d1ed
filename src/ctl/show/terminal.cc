#include "ctl/show/terminal.h"

#include <cstdlib>

#include <unistd.h>

namespace Ctl {

namespace {

std::string_view SequenceOf(Colour colour) {
    switch (colour) {
        case Colour::Green:
            return "\x1b[32m";
        case Colour::Yellow:
            return "\x1b[33m";
        case Colour::Red:
            return "\x1b[31m";
        case Colour::Faint:
            return "\x1b[2m";
        default:
            return "";
    }
}

}  // namespace

bool ShowsColours() {
    static const bool kShows = [] {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing in this process changes the environment
        const char* noColour = std::getenv("NO_COLOR");
        return (noColour == nullptr || *noColour == '\0') && ::isatty(STDOUT_FILENO) == 1;
    }();
    return kShows;
}

std::string Paint(std::string_view text, Colour colour) {
    if (colour == Colour::Plain || !ShowsColours()) {
        return std::string(text);
    }
    return std::string(SequenceOf(colour)) + std::string(text) + "\x1b[0m";
}

}  // namespace Ctl
