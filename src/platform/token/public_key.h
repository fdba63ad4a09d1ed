// A public key that verifies tokens: reads it from a JWK (RFC 7517, RFC 7518 section 6) and checks
// signatures. The verifier chooses the key for a token.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_pkey_st;  // EVP_PKEY of libcrypto

namespace Token {

// RFC 7518 section 3.1. All others are refused.
enum class Algorithm { Es256, Rs256 };

std::string_view NameOf(Algorithm algorithm);

// Immutable; any thread.
class PublicKey {
  public:
    // Returns nothing and sets `reason` unless `jwk` is an object of kty EC and crv P-256 with a
    // point on that curve, or of kty RSA with 2048 to 8192 bits and a sound exponent; `alg`, `use`
    // and `key_ops`, if given, must allow verifying with the algorithm of that type, and no private
    // member may be present.
    static std::optional<PublicKey> FromJwk(const nlohmann::json& jwk, std::string& reason);

    Algorithm GetAlgorithm() const { return algorithm; }
    // The member `kid`.
    const std::optional<std::string>& GetId() const { return id; }

    // Whether `signature`, bytes in the form of JWS (RFC 7518 sections 3.3 and 3.4), is this key's
    // signature of `signedText`. False for any malformed signature.
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
