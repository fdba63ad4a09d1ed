// Encodes base64url without padding (RFC 4648 section 5; RFC 7515 section 2), and decodes it
// strictly.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Token {

// The bytes of `text`; nothing if it is not their canonical encoding: a character outside the
// alphabet (including padding and blanks), an impossible length, non-zero bits after the last byte.
std::optional<std::string> DecodeBase64Url(std::string_view text);

std::string EncodeBase64Url(std::string_view bytes);

}  // namespace Token
