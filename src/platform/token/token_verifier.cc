#include "platform/token/token_verifier.h"

#include "platform/token/jwt.h"
#include "platform/token/quote.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <exception>
#include <utility>

namespace Token {

TrustSettings ReadTrustSettings(const Pellmar::Service::ConfigReader& reader) {
    TrustSettings settings;
    // A missing setting keeps its default.
    (void)reader.GetString("issuer", settings.issuer);
    (void)reader.GetString("audience", settings.audience);
    (void)reader.GetString("jwks", settings.jwks);
    return settings;
}

TokenVerifier::TokenVerifier(TrustSettings settings,
                             const Pellmar::Ref<Pellmar::Service::Logger>& logger)
    : settings(std::move(settings)), trustSet(this->settings.jwks, logger) {}

bool TokenVerifier::Verify(std::string_view token, std::chrono::system_clock::time_point now,
                           TokenClaims& claims, std::string& reason) noexcept {
    try {
        const std::vector<PublicKey>& keys = trustSet.Keys();
        const std::uint64_t generation = trustSet.Generation();
        const auto areClaimsValid = [&](const nlohmann::json& payload) {
            return ReadClaims(payload, settings.issuer, settings.audience, now, claims, reason);
        };
        if (const nlohmann::json* const payload = verified.Find(token, generation)) {
            return areClaimsValid(*payload);
        }
        Jwt jwt;
        nlohmann::json payload;
        if (!ParseJwt(token, jwt, payload, reason) || !CheckSignature(keys, jwt, reason)) {
            return false;
        }
        const bool isValid = areClaimsValid(payload);
        verified.Add(token, generation, std::move(payload));
        return isValid;
    } catch (const std::exception&) {
        reason = "no memory";  // nothing else throws here; short enough to need no allocation
        return false;
    }
}

bool TokenVerifier::CheckSignature(const std::vector<PublicKey>& keys, const Jwt& jwt,
                                   std::string& reason) const {
    if (keys.empty()) {
        reason =
            "no key is trusted; check the log for messages about the trust set " + settings.jwks;
        return false;
    }
    bool isIdKnown = false;
    bool isTried = false;
    for (const PublicKey& key : keys) {
        if (jwt.keyId && key.GetId() != jwt.keyId) {
            continue;
        }
        isIdKnown = true;
        if (key.GetAlgorithm() != jwt.algorithm) {
            continue;
        }
        if (key.HasSigned(jwt.signedText, jwt.signature)) {
            return true;
        }
        isTried = true;
    }
    if (isTried) {
        reason = jwt.keyId ? "its signature does not match the key " + Quote(*jwt.keyId)
                           : "its signature matches no trusted key";
    } else if (isIdKnown) {
        reason = "no trusted key " + (jwt.keyId ? "with the kid " + Quote(*jwt.keyId) + " " : "") +
                 "is for its alg " + std::string(NameOf(jwt.algorithm));
    } else {
        reason = "no trusted key has its kid " + Quote(*jwt.keyId);
    }
    return false;
}

}  // namespace Token
