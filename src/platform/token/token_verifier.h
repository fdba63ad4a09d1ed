// Decides whether a token is to be believed, in this order: its form (jwt), a key of the trust set
// that fits, the signature, the claims. Where the token comes from and what it then allows is
// others' business.
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

// Whose tokens are believed; read once, at start.
struct TrustSettings {
    std::string issuer = "sentrel";
    std::string audience = "sentrel";
    std::string jwks = "/etc/korvex/oru/token/jwks.json";  // the trust set, a host path
};

// The settings `issuer`, `audience` and `jwks`; the defaults of those that are missing.
TrustSettings ReadTrustSettings(const Pellmar::Service::ConfigReader& reader);

// One thread at a time.
class TokenVerifier {
  public:
    // The trust set speaks through `logger`; the verifier itself logs nothing.
    TokenVerifier(TrustSettings settings, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // Whether `token`, in compact serialization, is valid at `now`. If so, `claims` is what it
    // says. Else `reason` names the check that failed in one sentence without a full stop that
    // starts with "it" or "no", quotes at most 64 bytes of a value as sent, and holds nothing of
    // the signature; control characters in it are the logger's to escape. The keys are those of the
    // trust set's file as it is now.
    bool Verify(std::string_view token, std::chrono::system_clock::time_point now,
                TokenClaims& claims, std::string& reason) noexcept;

  private:
    bool CheckSignature(std::string_view token, const Jwt& jwt, std::string& reason);
    bool CheckSignatureByKey(const std::vector<PublicKey>& keys, const Jwt& jwt,
                             std::string& reason) const;

    const TrustSettings settings;
    TrustSet trustSet;
    VerifiedTokens verified;
};

}  // namespace Token
