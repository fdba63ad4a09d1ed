#include "platform/pellmar/log/escape.h"

#include "platform/sys/utf8.h"

#include <cstddef>

namespace Pellmar::Service {

namespace {

void AppendByteEscaped(std::string& line, char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    line += "\\x";
    line += kDigits[value >> 4];
    line += kDigits[value & 0xF];
}

}  // namespace

void AppendEscaped(std::string& line, std::string_view text) {
    std::size_t copied = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t length = Sys::Utf8LengthAt(text, position);
        const std::string_view character = text.substr(position, length);
        if (length > 0 && !Sys::IsUnsafeToShow(character)) {
            position += length;
            continue;
        }
        line += text.substr(copied, position - copied);
        for (const char byte : length > 0 ? character : text.substr(position, 1)) {
            AppendByteEscaped(line, byte);
            ++position;
        }
        copied = position;
    }
    line += text.substr(copied);
}

}  // namespace Pellmar::Service
