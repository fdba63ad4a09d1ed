// What the claims of a token (RFC 7519, section 4.1) must say for this host, here and now. That
// they are as signed is the verifier's business.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Token {

// By which clocks of issuer and host may differ.
inline constexpr std::chrono::seconds kLeeway{60};
inline constexpr std::size_t kMaxSubjectBytes = 256;
inline constexpr std::size_t kMaxEntitlements = 256;
inline constexpr std::size_t kMaxEntitlementBytes = 256;

// What was asked of a token and what it says; all of it checked.
struct TokenClaims {
    std::string subject;                    // sub: the user's name; UTF-8 without controls
    std::vector<std::string> entitlements;  // privileges, in the token's order; empty when absent
    std::chrono::sys_seconds expires;       // exp in whole seconds, at most the year 9999
};

// Reads `document`, the payload of a token, into `claims`: iss equals `issuer`; aud equals
// `audience` or is a list of strings that holds it; exp, required, and nbf, when given, embrace
// `now` within the leeway; iat is a number when given; sub is a string of 1 to 256 bytes;
// entitlements, when given, is a list of strings. False, with `reason` in words, otherwise;
// `claims` has no meaning then.
bool ReadClaims(const nlohmann::json& document, std::string_view issuer, std::string_view audience,
                std::chrono::system_clock::time_point now, TokenClaims& claims,
                std::string& reason);

}  // namespace Token
