// Parses a token: a JWS in compact serialization (RFC 7515 section 7.1) that carries a JWT
//
//   base64url(header) "." base64url(payload) "." base64url(signature)
//
// and checks its header (RFC 7515 section 4.1; RFC 8725). Others then check the signature and the
// claims.
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
    Algorithm algorithm = Algorithm::Es256;  // as the header says, so not trusted yet
    std::optional<std::string> keyId;        // the header's kid
    std::string_view signedText;             // points into the token: header, ".", payload as sent
    std::string signature;                   // bytes
};

// Splits `token` into its parts and sets `claims` to the payload, an object. Returns false and sets
// `reason`, which contains nothing of the signature, if a part is missing or violates a rule:
// canonical base64url; JSON objects within the depth bound and without equal names; the header's
// alg ES256 or RS256; its typ, if given, JWT or at+jwt; no member that contains a key or declares a
// critical extension.
bool ParseJwt(std::string_view token, Jwt& jwt, nlohmann::json& claims, std::string& reason);

}  // namespace Token
