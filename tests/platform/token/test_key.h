// Keys and tokens made with libcrypto alone, valid and forged, so that what is tested is not tested
// with itself.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

struct evp_pkey_st;

namespace Test {

class TestKey {
  public:
    // On a curve as libcrypto calls it ("P-256"), or with so many bits.
    explicit TestKey(const char* curve);
    explicit TestKey(unsigned rsaBits);

    // The public half as a JWK, with `members` (a JSON object) merged over it.
    std::string Jwk(std::string_view members = "{}") const;
    // SHA-256 with this key: of a curve the two numbers side by side.
    std::string Sign(std::string_view text) const;
    // The same, of a curve as ASN.1.
    std::string SignAsn1(std::string_view text) const;

  private:
    const std::shared_ptr<evp_pkey_st> key;
};

// `header` "." `payload`, each as base64url.
std::string SignedText(std::string_view header, std::string_view payload);
// The token of that signed text.
std::string WithSignature(std::string_view signedText, std::string_view signature);

// A JWK Set of the JWKs given.
std::string SetOf(std::initializer_list<std::string> jwks);

}  // namespace Test
