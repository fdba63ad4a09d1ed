// The form of a token: a JWS in compact serialization (RFC 7515, section 7.1) that carries a JWT
//
//   base64url(header) "." base64url(payload) "." base64url(signature)
//
// with what the header may say (RFC 7515, section 4.1; RFC 8725). Who signed it and what its claims
// are worth is checked afterwards, elsewhere.
#pragma once

#include "platform/token/public_key.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Token {

inline constexpr std::size_t kMaxTokenBytes = 8 * 1024;

struct Jwt {
    Algorithm algorithm = Algorithm::Es256;  // as the header says: not yet to be believed
    std::optional<std::string> keyId;        // the header's kid
    std::string_view signedText;             // into the token: header, ".", payload as sent
    std::string signature;                   // bytes
};

// Takes `token` apart. `claims` becomes the payload, an object. False, with `reason` in words that
// hold nothing of the signature, when a part is missing or is not as it must be: canonical
// base64url, JSON objects within their depth and without equal names, the header's alg ES256 or
// RS256, its typ JWT or at+jwt when given, no member that brings a key or must be understood.
bool ParseJwt(std::string_view token, Jwt& jwt, nlohmann::json& claims, std::string& reason);

}  // namespace Token
