// The byte classes of the HTTP/1.1 grammar, as one table that the parsers of this folder share.
// Independent of the locale.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Http1 {

inline constexpr std::uint8_t kTokenByte = 1;   // tchar, RFC 9110 section 5.6.2
inline constexpr std::uint8_t kTargetByte = 2;  // no blank, no control
inline constexpr std::uint8_t kTextByte = 4;    // field-value: VCHAR, obs-text, SP, HT
inline constexpr std::uint8_t kSchemeByte = 8;  // RFC 3986 section 3.1, after its first letter

constexpr bool IsDigit(unsigned byte) { return byte >= '0' && byte <= '9'; }
constexpr bool IsUpper(unsigned byte) { return byte >= 'A' && byte <= 'Z'; }
constexpr bool IsAlpha(unsigned byte) { return IsUpper(byte) || (byte >= 'a' && byte <= 'z'); }
constexpr bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

constexpr std::array<std::uint8_t, 256> MakeByteClasses() {
    constexpr std::string_view kTokenMarks = "!#$%&'*+-.^_`|~";
    constexpr std::string_view kSchemeMarks = "+-.";
    std::array<std::uint8_t, 256> classes{};
    for (unsigned byte = 0; byte < classes.size(); ++byte) {
        const bool alphanumeric = IsDigit(byte) || IsAlpha(byte);
        const auto isOneOf = [byte](std::string_view marks) {
            return byte < 0x80 && marks.find(static_cast<char>(byte)) != std::string_view::npos;
        };
        unsigned bits = 0;
        if (alphanumeric || isOneOf(kTokenMarks)) bits |= kTokenByte;
        if (alphanumeric || isOneOf(kSchemeMarks)) bits |= kSchemeByte;
        if (byte > ' ' && byte != 0x7F) bits |= kTargetByte | kTextByte;
        if (byte == ' ' || byte == '\t') bits |= kTextByte;
        classes[byte] = static_cast<std::uint8_t>(bits);
    }
    return classes;
}

inline constexpr std::array<std::uint8_t, 256> kByteClasses = MakeByteClasses();

// Whether `byte` belongs to one of the classes in `byteClass`, a sum of the constants above.
constexpr bool IsOf(std::uint8_t byteClass, char byte) {
    return (kByteClasses[static_cast<unsigned char>(byte)] & byteClass) != 0;
}

}  // namespace Http1
