#include "platform/json/json_tokens.h"

#include "platform/sys/utf8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace Json {

namespace {

constexpr std::size_t kHexDigits = 4;
// Messages cut longer words.
constexpr std::size_t kMaxWordShown = 20;
// A number of fewer characters without an exponent always fits a double.
constexpr std::size_t kSurelyFiniteLength = 300;

bool IsLetter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

int HexValue(char byte) {
    if (IsDigit(byte)) {
        return byte - '0';
    }
    if (byte >= 'a' && byte <= 'f') {
        return byte - 'a' + 10;
    }
    return byte >= 'A' && byte <= 'F' ? byte - 'A' + 10 : -1;
}

// `text[offset]` is a backslash.
std::optional<Fault> TakeEscape(std::string_view text, std::size_t& offset) {
    constexpr std::string_view kSimple = "\"\\/bfnrt";
    const std::string_view mark = text.substr(offset + 1, 1);
    if (mark != "u") {
        if (mark.empty() || kSimple.find(mark.front()) == std::string_view::npos) {
            return Fault{offset, "'\\' in a string must be followed by one of \" \\ / b f n r t u"};
        }
        offset += 2;
        return std::nullopt;
    }
    const std::optional<unsigned> unit = CodeUnitAt(text, offset);
    if (!unit) {
        return Fault{offset, "'\\u' must be followed by four hexadecimal digits"};
    }
    constexpr std::size_t kLength = 2 + kHexDigits;
    const bool isHigh = *unit >= 0xD800 && *unit <= 0xDBFF;
    if (isHigh) {
        const std::optional<unsigned> low = CodeUnitAt(text, offset + kLength);
        if (low && *low >= 0xDC00 && *low <= 0xDFFF) {
            offset += 2 * kLength;
            return std::nullopt;
        }
    }
    if (isHigh || (*unit >= 0xDC00 && *unit <= 0xDFFF)) {
        return Fault{offset, "half of a surrogate pair",
                     "'\\uD800' to '\\uDBFF' must be followed by '\\uDC00' to '\\uDFFF'"};
    }
    offset += kLength;
    return std::nullopt;
}

std::string DescribeByte(char byte) {
    std::array<char, sizeof("the byte 0xFF")> words{};
    std::snprintf(words.data(), words.size(), "the byte 0x%02X", static_cast<std::uint8_t>(byte));
    return words.data();
}

std::optional<Fault> ControlFault(std::size_t offset, char byte) {
    if (byte == '\n' || byte == '\r') {
        return Fault{offset, "a line break inside a string",
                     "close the string with '\"', or write '\\n' for a break"};
    }
    return Fault{offset, DescribeByte(byte) + " inside a string",
                 "write control characters as '\\u00' and two hexadecimal digits"};
}

void SkipDigits(std::string_view text, std::size_t& offset) {
    while (offset < text.size() && IsDigit(text[offset])) {
        ++offset;
    }
}

bool SkipOneOf(std::string_view marks, std::string_view text, std::size_t& offset) {
    if (offset == text.size() || marks.find(text[offset]) == std::string_view::npos) {
        return false;
    }
    ++offset;
    return true;
}

// Requires at least one digit; `after` names what precedes it.
std::optional<Fault> TakeDigits(std::string_view text, std::size_t& offset, const char* after) {
    if (offset == text.size() || !IsDigit(text[offset])) {
        return Fault{offset, std::string("a number needs a digit after ") + after};
    }
    SkipDigits(text, offset);
    return std::nullopt;
}

std::string_view WordAt(std::string_view text, std::size_t offset) {
    const auto isNotLetter = [](char byte) { return !IsLetter(byte); };
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(offset);
    const auto end = std::find_if(begin, text.end(), isNotLetter);
    return text.substr(offset, static_cast<std::size_t>(end - begin));
}

}  // namespace

std::optional<unsigned> CodeUnitAt(std::string_view text, std::size_t offset) {
    if (text.substr(offset, 2) != "\\u" || text.size() - offset < 2 + kHexDigits) {
        return std::nullopt;
    }
    unsigned unit = 0;
    for (const char byte : text.substr(offset + 2, kHexDigits)) {
        const int value = HexValue(byte);
        if (value < 0) {
            return std::nullopt;
        }
        unit = unit * 16 + static_cast<unsigned>(value);
    }
    return unit;
}

std::optional<Fault> TakeString(std::string_view text, std::size_t& offset) {
    const std::size_t start = offset++;
    while (offset < text.size()) {
        const char byte = text[offset];
        const auto code = static_cast<std::uint8_t>(byte);
        if (byte == '"') {
            ++offset;
            return std::nullopt;
        }
        if (byte == '\\') {
            if (std::optional<Fault> fault = TakeEscape(text, offset)) {
                return fault;
            }
        } else if (code < 0x20) {
            return ControlFault(offset, byte);
        } else if (code < 0x80) {
            ++offset;
        } else if (const std::size_t length = Sys::Utf8LengthAt(text, offset); length != 0) {
            offset += length;
        } else {
            return Fault{offset, DescribeByte(byte) + " is not UTF-8 here"};
        }
    }
    return Fault{start, "this string is never closed with '\"'"};
}

std::optional<Fault> TakeNumber(std::string_view text, std::size_t& offset) {
    const std::size_t start = offset;
    (void)SkipOneOf("-", text, offset);  // an optional sign
    if (text.substr(offset, 1) == "0") {
        ++offset;
    } else if (std::optional<Fault> fault = TakeDigits(text, offset, "'-'")) {
        return fault;
    }
    if (SkipOneOf(".", text, offset)) {
        if (std::optional<Fault> fault = TakeDigits(text, offset, "'.'")) {
            return fault;
        }
    }
    const bool hasExponent = SkipOneOf("eE", text, offset);
    if (hasExponent) {
        (void)SkipOneOf("+-", text, offset);  // an optional sign
        if (std::optional<Fault> fault = TakeDigits(text, offset, "'e'")) {
            return fault;
        }
    }
    const std::string_view number = text.substr(start, offset - start);
    if ((hasExponent || number.size() >= kSurelyFiniteLength) &&
        !std::isfinite(std::strtod(std::string(number).c_str(), nullptr))) {
        return Fault{start, "the number is too large"};
    }
    return std::nullopt;
}

bool TakeLiteral(std::string_view text, std::size_t& offset) {
    const std::string_view word = WordAt(text, offset);
    if (word != "true" && word != "false" && word != "null") {
        return false;
    }
    offset += word.size();
    return true;
}

std::string DescribeToken(std::string_view text, std::size_t offset) {
    const std::string_view word = WordAt(text, offset);
    if (word.size() > kMaxWordShown) {
        return '\'' + std::string(word.substr(0, kMaxWordShown)) + "...'";
    }
    if (!word.empty()) {
        return '\'' + std::string(word) + '\'';
    }
    const char byte = text[offset];
    if (byte == '\'') {
        return "a single quote";
    }
    const bool isPrintable = byte > 0x20 && byte < 0x7F;
    return isPrintable ? std::string{'\'', byte, '\''} : DescribeByte(byte);
}

}  // namespace Json
