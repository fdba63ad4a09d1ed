#include "sentrel_check/json_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace SentrelCheck {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kHexDigits = "0123456789abcdef";

// How many bytes the UTF-8 sequence at the front of `text` has; 0 when it is none.
std::size_t SequenceLength(std::string_view text) {
    const auto byteAt = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t first = byteAt(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const std::uint8_t second = byteAt(1);
    const bool isOverlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isSurrogate = first == 0xED && second >= 0xA0;
    const bool isBeyondUnicode = first == 0xF4 && second >= 0x90;
    return isOverlong || isSurrogate || isBeyondUnicode ? 0 : length;
}

void AppendAscii(std::string& json, char character) {
    if (character == '"' || character == '\\') {
        json += '\\';
        json += character;
    } else if (static_cast<unsigned char>(character) < 0x20) {
        json += "\\u00";
        json += kHexDigits[static_cast<unsigned char>(character) >> 4U];
        json += kHexDigits[static_cast<unsigned char>(character) & 0xFU];
    } else {
        json += character;
    }
}

}  // namespace

std::string JsonString(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        const std::size_t length = SequenceLength(text);
        if (length == 1) {
            AppendAscii(json, text.front());
        } else {
            json += length == 0 ? kReplacement : text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return json + "\"";
}

std::string JsonNumber(double value) {
    constexpr double kPlainBelow = 1e15;  // exact as an integer, and short
    std::array<char, 32> text{};          // the shortest form of a double has at most 24 characters
    const bool isPlain = std::fabs(value) < kPlainBelow && value == std::trunc(value);
    const auto [end, problem] =
        isPlain ? std::to_chars(text.data(), text.data() + text.size(), static_cast<long>(value))
                : std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), end};
}

}  // namespace SentrelCheck
