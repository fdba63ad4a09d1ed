// Checks the claims of a token (RFC 7519 section 4.1) for this host and this moment. The verifier
// checks that they are signed.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Token {

// The tolerated difference between the clocks of issuer and host.
inline constexpr std::chrono::seconds kLeeway{60};
inline constexpr std::size_t kMaxSubjectBytes = 256;
inline constexpr std::size_t kMaxEntitlements = 256;
inline constexpr std::size_t kMaxEntitlementBytes = 256;

// The claims that the daemon uses, all checked.
struct TokenClaims {
    std::string subject;                    // sub: the user's name; UTF-8 without controls
    std::vector<std::string> entitlements;  // privileges, in the token's order; empty when absent
    std::chrono::sys_seconds expires;       // exp in whole seconds, at most the year 9999
};

// Reads `document`, a token's payload, into `claims`. Requires that iss equals `issuer`; aud equals
// `audience` or is a list of strings that contains it; exp (required) and nbf (optional) include
// `now`, within the leeway; iat, if given, is a number; sub is a string of 1 to 256 bytes;
// entitlements, if given, is a list of strings. Otherwise returns false and sets `reason`; `claims`
// is then meaningless.
bool ReadClaims(const nlohmann::json& document, std::string_view issuer, std::string_view audience,
                std::chrono::system_clock::time_point now, TokenClaims& claims,
                std::string& reason);

}  // namespace Token
