#include "test_key.h"

#include "platform/token/base64url.h"

#include <jansson.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <nlohmann/json.hpp>
extern "C" {
#include <jose/openssl.h>
}

#include <cstdlib>
#include <stdexcept>

namespace {

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* Bytes(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

std::shared_ptr<EVP_PKEY> Own(EVP_PKEY* key) {
    if (key == nullptr) {
        throw std::runtime_error("libcrypto made no key");
    }
    return {key, EVP_PKEY_free};
}

}  // namespace

namespace Test {

TestKey::TestKey(const char* curve) : key(Own(EVP_EC_gen(curve))) {}
TestKey::TestKey(unsigned rsaBits)
    : key(Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t{rsaBits}))) {}

std::string TestKey::Jwk(std::string_view members) const {
    const std::unique_ptr<json_t, decltype(&json_decref)> full(
        jose_openssl_jwk_from_EVP_PKEY(nullptr, key.get()), &json_decref);
    const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(full.get(), 0), &std::free);
    nlohmann::json jwk = nlohmann::json::parse(text.get());
    for (const char* member : {"d", "p", "q", "dp", "dq", "qi"}) {
        jwk.erase(member);
    }
    jwk.merge_patch(nlohmann::json::parse(members));
    return jwk.dump();
}

std::string TestKey::SignAsn1(std::string_view text) const {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> digest(EVP_MD_CTX_new(),
                                                                         &EVP_MD_CTX_free);
    std::string signature(1024, '\0');
    std::size_t length = signature.size();
    if (EVP_DigestSignInit(digest.get(), nullptr, EVP_sha256(), nullptr, key.get()) != 1 ||
        EVP_DigestSign(digest.get(), Bytes(signature), &length, Bytes(text), text.size()) != 1) {
        throw std::runtime_error("libcrypto did not sign");
    }
    signature.resize(length);
    return signature;
}

std::string TestKey::Sign(std::string_view text) const {
    std::string signature = SignAsn1(text);
    if (EVP_PKEY_base_id(key.get()) != EVP_PKEY_EC) {
        return signature;
    }
    const unsigned char* at = Bytes(std::string_view(signature));
    const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> numbers(
        d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(signature.size())), &ECDSA_SIG_free);
    const int width = (EVP_PKEY_bits(key.get()) + 7) / 8;
    std::string sideBySide(2 * static_cast<std::size_t>(width), '\0');
    BN_bn2binpad(ECDSA_SIG_get0_r(numbers.get()), Bytes(sideBySide), width);
    BN_bn2binpad(ECDSA_SIG_get0_s(numbers.get()), Bytes(sideBySide) + width, width);
    return sideBySide;
}

std::string SignedText(std::string_view header, std::string_view payload) {
    return Token::EncodeBase64Url(header) + "." + Token::EncodeBase64Url(payload);
}

std::string WithSignature(std::string_view signedText, std::string_view signature) {
    return std::string(signedText) + "." + Token::EncodeBase64Url(signature);
}

std::string SetOf(std::initializer_list<std::string> jwks) {
    nlohmann::json set = {{"keys", nlohmann::json::array()}};
    for (const std::string& jwk : jwks) {
        set["keys"].push_back(nlohmann::json::parse(jwk));
    }
    return set.dump();
}

}  // namespace Test
