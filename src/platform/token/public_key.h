// One public key that tokens are verified with: what a JWK (RFC 7517, RFC 7518 section 6) must be
// like to be one, and the check of a signature. Which key a token is held against is the verifier's
// business.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_pkey_st;  // EVP_PKEY of libcrypto

namespace Token {

// RFC 7518, section 3.1. No other is known.
enum class Algorithm { Es256, Rs256 };

std::string_view NameOf(Algorithm algorithm);

// Immutable; any thread.
class PublicKey {
  public:
    // Nothing, and `reason` in words, when `jwk` is not exactly what it takes: an object of kty EC
    // and crv P-256 with a point of that curve, or of kty RSA with 2048 to 8192 bits and a sound
    // exponent; `alg`, `use` and `key_ops`, as far as they are given, allow verifying with the
    // algorithm of that type; no private member.
    static std::optional<PublicKey> FromJwk(const nlohmann::json& jwk, std::string& reason);

    Algorithm GetAlgorithm() const { return algorithm; }
    // The member `kid`.
    const std::optional<std::string>& GetId() const { return id; }

    // Whether `signature`, the bytes as JWS has them (RFC 7518, sections 3.3 and 3.4), is this
    // key's over `signedText`. Any fault of the signature is a no.
    bool HasSigned(std::string_view signedText, std::string_view signature) const;

  private:
    struct ReleaseKey {
        void operator()(evp_pkey_st* key) const;
    };
    using KeyHandle = std::unique_ptr<evp_pkey_st, ReleaseKey>;

    PublicKey(Algorithm algorithm, std::optional<std::string> id, KeyHandle handle);

    Algorithm algorithm;
    std::optional<std::string> id;
    KeyHandle handle;
};

}  // namespace Token
