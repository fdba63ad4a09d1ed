#include "platform/token/quote.h"

#include <cstddef>

namespace Token {

std::string Quote(std::string_view value) {
    constexpr std::size_t kMaxShown = 64;
    std::size_t length = value.size();
    if (length > kMaxShown) {
        length = kMaxShown;
        while (length > 0 && (static_cast<unsigned char>(value[length]) & 0xC0) == 0x80) {
            --length;
        }
    }
    std::string quoted = "\"" + std::string(value.substr(0, length)) + "\"";
    return length < value.size() ? quoted + "..." : quoted;
}

}  // namespace Token
