// Decides whether a token is valid. Checks, in this order, its form (jwt), finds a matching key of
// the trust set, and checks the signature and the claims; of a token that it has verified with the
// current trust set, only the claims. The callers obtain the token and decide what it permits.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/token/token_claims.h"
#include "platform/token/trust_set.h"
#include "platform/token/verified_tokens.h"

#include <chrono>
#include <string>
#include <string_view>

namespace Token {

struct Jwt;

// Which tokens are trusted; read once, at start.
struct TrustSettings {
    std::string issuer = "sentrel";
    std::string audience = "sentrel";
    std::string jwks = "/etc/korvex/oru/token/jwks.json";  // the trust set, a host path
};

// The settings `issuer`, `audience` and `jwks`, with defaults for missing ones.
TrustSettings ReadTrustSettings(const Pellmar::Service::ConfigReader& reader);

// One thread at a time.
class TokenVerifier {
  public:
    // The trust set logs through `logger`; the verifier itself logs nothing.
    TokenVerifier(TrustSettings settings, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // Whether `token`, in compact serialization, is valid at `now`. If so, sets `claims` to its
    // claims. Otherwise sets `reason` to one sentence about the failed check, without a full stop,
    // that starts with "it" or "no", quotes at most 64 bytes of a value as sent, and contains
    // nothing of the signature; the logger escapes its control characters. Uses the keys in the
    // trust set's file at the time of the call.
    bool Verify(std::string_view token, std::chrono::system_clock::time_point now,
                TokenClaims& claims, std::string& reason) noexcept;

  private:
    bool CheckSignature(const std::vector<PublicKey>& keys, const Jwt& jwt,
                        std::string& reason) const;

    const TrustSettings settings;
    TrustSet trustSet;
    VerifiedTokens verified;
};

}  // namespace Token
