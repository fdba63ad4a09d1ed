#include "sentrel_check/json_text.h"

#include "platform/sys/utf8.h"

#include <array>
#include <charconv>
#include <cmath>

namespace SentrelCheck {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kHexDigits = "0123456789abcdef";

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
        const std::size_t length = Sys::Utf8LengthAt(text, 0);
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
