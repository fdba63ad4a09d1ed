#include "platform/token/quote.h"

#include "platform/sys/utf8.h"

#include <cstddef>

namespace Token {

std::string Quote(std::string_view value) {
    constexpr std::size_t kMaxShown = 64;
    const std::string_view shown = Sys::CutUtf8(value, kMaxShown);
    return "\"" + std::string(shown) + (shown.size() < value.size() ? "\"..." : "\"");
}

}  // namespace Token
