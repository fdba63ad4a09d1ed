#include "ctl/show/printable.h"

#include "platform/sys/utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace Ctl {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";

// Removes the next character from `text` and returns it; a byte that is not UTF-8 counts as one.
// `isFit`: whether it is safe to print.
std::string_view TakeCharacter(std::string_view& text, bool& isFit) {
    const std::size_t length = Sys::Utf8LengthAt(text, 0);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    isFit = length != 0 && !Sys::IsUnsafeToShow(character);
    text.remove_prefix(character.size());
    return character;
}

// "\u202e"; the unsafe characters have at most three bytes of UTF-8.
std::string JsonEscape(std::string_view character) {
    unsigned point = static_cast<unsigned char>(character[0]);
    point &= character.size() == 1 ? 0x7FU : character.size() == 2 ? 0x1FU : 0x0FU;
    for (const char byte : character.substr(1)) {
        point = point << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    std::array<char, 16> escape{};
    (void)std::snprintf(escape.data(), escape.size(), "\\u%04x", point);  // fits
    return escape.data();
}

}  // namespace

std::string PrintableText(std::string_view text) {
    std::string printable;
    printable.reserve(text.size());
    while (!text.empty()) {
        bool isFit = false;
        const std::string_view character = TakeCharacter(text, isFit);
        printable += isFit ? character : kReplacement;
    }
    return printable;
}

std::string PrintableLines(std::string_view text) {
    std::string printable;
    for (;;) {
        const std::size_t end = text.find('\n');
        printable += PrintableText(text.substr(0, end));
        if (end == std::string_view::npos) {
            return printable;
        }
        printable += '\n';
        text.remove_prefix(end + 1);
    }
}

std::string PrintableJson(std::string_view json) {
    std::string printable;
    printable.reserve(json.size());
    while (!json.empty()) {
        bool isFit = false;
        const std::string_view character = TakeCharacter(json, isFit);
        printable += isFit ? std::string(character) : JsonEscape(character);
    }
    return printable;
}

}  // namespace Ctl
