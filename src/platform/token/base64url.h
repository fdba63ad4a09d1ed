// base64url without padding (RFC 4648, section 5; RFC 7515, section 2), read strictly.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Token {

// The bytes of `text`, or nothing when it is not the one way to write them: a character outside the
// alphabet (padding and blanks too), a length that no bytes have, bits behind the last byte that
// are not zero.
std::optional<std::string> DecodeBase64Url(std::string_view text);

std::string EncodeBase64Url(std::string_view bytes);

}  // namespace Token
