#include "platform/token/base64url.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Token {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> MakeDigits() {
    std::array<std::uint8_t, 256> digits{};
    digits.fill(kNoDigit);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
        digits[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    }
    return digits;
}

constexpr std::array<std::uint8_t, 256> kDigits = MakeDigits();

}  // namespace

std::optional<std::string> DecodeBase64Url(std::string_view text) {
    if (text.size() % 4 == 1) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t bits = 0;  // those that do not yet fill a byte, lowest last
    unsigned bitCount = 0;
    for (const char character : text) {
        const std::uint8_t digit = kDigits[static_cast<std::uint8_t>(character)];
        if (digit == kNoDigit) {
            return std::nullopt;
        }
        bits = bits << 6 | digit;
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            bytes += static_cast<char>(bits >> bitCount);
            bits &= (1U << bitCount) - 1;
        }
    }
    return bits == 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

std::string EncodeBase64Url(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    std::uint32_t bits = 0;
    unsigned bitCount = 0;
    for (const char byte : bytes) {
        bits = bits << 8 | static_cast<std::uint8_t>(byte);
        for (bitCount += 8; bitCount >= 6; bits &= (1U << bitCount) - 1) {
            bitCount -= 6;
            text += kAlphabet[bits >> bitCount];
        }
    }
    if (bitCount > 0) {
        text += kAlphabet[bits << (6 - bitCount)];
    }
    return text;
}

}  // namespace Token
