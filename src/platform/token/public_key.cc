#include "platform/token/public_key.h"

#include "platform/token/base64url.h"
#include "platform/token/quote.h"

#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Token {

namespace {

using nlohmann::json;

constexpr std::size_t kCoordinateBytes = 32;  // of P-256; an ES256 signature has two
constexpr std::size_t kMinModulusBits = 2048;
constexpr std::size_t kMaxModulusBits = 8192;  // the time of a check grows with its square
constexpr std::size_t kMaxExponentBytes = 4;

// The value of a string member; null if it is absent or not a string.
const std::string* TextOf(const json& object, const char* name) {
    const auto member = object.find(name);
    return member == object.end() ? nullptr : member->get_ptr<const std::string*>();
}

bool IsPrivate(const json& jwk) {
    constexpr std::array kPrivateMembers = {"d", "p", "q", "dp", "dq", "qi", "oth", "k"};
    return std::any_of(kPrivateMembers.begin(), kPrivateMembers.end(),
                       [&jwk](const char* name) { return jwk.contains(name); });
}

// Returns why the key itself rules out verifying with `algorithm`; empty if it does not.
std::string UseFault(const json& jwk, Algorithm algorithm) {
    if (jwk.contains("alg") && jwk["alg"] != NameOf(algorithm)) {
        return "its alg is not " + std::string(NameOf(algorithm));
    }
    if (jwk.contains("use") && jwk["use"] != "sig") {
        return "its use is not sig";
    }
    if (jwk.contains("key_ops")) {
        const json& operations = jwk["key_ops"];
        if (!operations.is_array() ||
            std::find(operations.begin(), operations.end(), "verify") == operations.end()) {
            return "its key_ops do not contain verify";
        }
    }
    return jwk.contains("kid") && !jwk["kid"].is_string() ? "its kid is not a string" : "";
}

std::optional<std::string> BytesOf(const json& jwk, const char* name) {
    const std::string* text = TextOf(jwk, name);
    return text == nullptr ? std::nullopt : DecodeBase64Url(*text);
}

std::string CoordinateFault(const json& jwk) {
    for (const char* name : {"x", "y"}) {
        const std::optional<std::string> bytes = BytesOf(jwk, name);
        if (!bytes || bytes->size() != kCoordinateBytes) {
            return std::string("its ") + name + " is not the base64url of 32 bytes";
        }
    }
    return "";
}

std::string_view WithoutLeadingZeros(std::string_view bytes) {
    return bytes.substr(std::min(bytes.find_first_not_of('\0'), bytes.size()));
}

// `bytes` is a number without leading zeros.
std::size_t BitLength(std::string_view bytes) {
    if (bytes.empty()) {
        return 0;
    }
    const int firstBits = std::bit_width(static_cast<std::uint8_t>(bytes.front()));
    return 8 * (bytes.size() - 1) + static_cast<std::size_t>(firstBits);
}

std::string ModulusFault(const json& jwk) {
    const std::optional<std::string> modulusBytes = BytesOf(jwk, "n");
    const std::optional<std::string> exponentBytes = BytesOf(jwk, "e");
    if (!modulusBytes || !exponentBytes) {
        return "its n and e are not both base64url";
    }
    const std::string_view modulus = WithoutLeadingZeros(*modulusBytes);
    const std::size_t bits = BitLength(modulus);
    if (bits < kMinModulusBits || bits > kMaxModulusBits) {
        return "its modulus has " + std::to_string(bits) + " bits; " +
               std::to_string(kMinModulusBits) + " to " + std::to_string(kMaxModulusBits) +
               " are accepted";
    }
    // With the exponent 1, anyone could forge a signature.
    const std::string_view exponent = WithoutLeadingZeros(*exponentBytes);
    const bool isOdd = !exponent.empty() && (exponent.back() & 1) != 0;
    return !isOdd || exponent == "\x01" || exponent.size() > kMaxExponentBytes
               ? "its exponent is not an odd number from 3 to 2^32"
               : "";
}

struct ReleaseContext {
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};

// Returns null if libcrypto cannot build a key of `parts`, such as a point that is not on the
// curve.
evp_pkey_st* MakeKey(const char* type, OSSL_PARAM* parts) {
    const std::unique_ptr<EVP_PKEY_CTX, ReleaseContext> context(
        EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
    evp_pkey_st* key = nullptr;
    const bool isMade = context && EVP_PKEY_fromdata_init(context.get()) == 1 &&
                        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parts) == 1;
    return isMade ? key : nullptr;
}

evp_pkey_st* MakeEcKey(const json& jwk) {
    std::string curve = "P-256";
    std::string point = "\x04" + *BytesOf(jwk, "x") + *BytesOf(jwk, "y");  // uncompressed
    std::array parts = {
        OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, curve.data(), 0),
        OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()),
        OSSL_PARAM_construct_end()};
    return MakeKey("EC", parts.data());
}

// The bytes of a number in the processor's order, in which libcrypto takes its parts.
std::string NumberOf(const json& jwk, const char* name) {
    std::string bytes = *BytesOf(jwk, name);
    if constexpr (std::endian::native == std::endian::little) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return bytes;
}

evp_pkey_st* MakeRsaKey(const json& jwk) {
    std::string modulus = NumberOf(jwk, "n");
    std::string exponent = NumberOf(jwk, "e");
    const auto number = [](const char* name, std::string& bytes) {
        return OSSL_PARAM_construct_BN(name, reinterpret_cast<unsigned char*>(bytes.data()),
                                       bytes.size());
    };
    std::array parts = {number(OSSL_PKEY_PARAM_RSA_N, modulus),
                        number(OSSL_PKEY_PARAM_RSA_E, exponent), OSSL_PARAM_construct_end()};
    return MakeKey("RSA", parts.data());
}

struct ReleaseSignature {
    void operator()(ECDSA_SIG* signature) const { ECDSA_SIG_free(signature); }
};

const unsigned char* BytesIn(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// libcrypto takes ASN.1, whereas JWS concatenates the two numbers. Empty for a wrong length.
std::string ToAsn1(std::string_view signature) {
    if (signature.size() != 2 * kCoordinateBytes) {
        return "";
    }
    const std::unique_ptr<ECDSA_SIG, ReleaseSignature> numbers(ECDSA_SIG_new());
    const auto numberAt = [signature](std::size_t offset) {
        return BN_bin2bn(BytesIn(signature) + offset, kCoordinateBytes, nullptr);
    };
    if (!numbers || ECDSA_SIG_set0(numbers.get(), numberAt(0), numberAt(kCoordinateBytes)) != 1) {
        return "";
    }
    unsigned char* encoded = nullptr;
    const int length = i2d_ECDSA_SIG(numbers.get(), &encoded);
    std::string asn1;
    if (length > 0) {
        asn1.assign(reinterpret_cast<const char*>(encoded), static_cast<std::size_t>(length));
    }
    OPENSSL_free(encoded);
    return asn1;
}

struct ReleaseDigest {
    void operator()(EVP_MD_CTX* digest) const { EVP_MD_CTX_free(digest); }
};

}  // namespace

std::string_view NameOf(Algorithm algorithm) {
    return algorithm == Algorithm::Es256 ? "ES256" : "RS256";
}

void PublicKey::ReleaseKey::operator()(evp_pkey_st* key) const { EVP_PKEY_free(key); }

PublicKey::PublicKey(Algorithm algorithm, std::optional<std::string> id, KeyHandle handle)
    : algorithm(algorithm), id(std::move(id)), handle(std::move(handle)) {}

std::optional<PublicKey> PublicKey::FromJwk(const json& jwk, std::string& reason) {
    const std::string* type = jwk.is_object() ? TextOf(jwk, "kty") : nullptr;
    if (type == nullptr || (*type != "EC" && *type != "RSA")) {
        reason =
            type == nullptr ? "it has no kty" : "its kty " + Quote(*type) + " is not EC or RSA";
        return std::nullopt;
    }
    const Algorithm algorithm = *type == "EC" ? Algorithm::Es256 : Algorithm::Rs256;
    if (IsPrivate(jwk)) {
        reason = "it has private members; use only the public half";
    } else if (algorithm == Algorithm::Es256 && (!jwk.contains("crv") || jwk["crv"] != "P-256")) {
        reason = "its crv is not P-256";
    } else if (reason = UseFault(jwk, algorithm); reason.empty()) {
        reason = algorithm == Algorithm::Es256 ? CoordinateFault(jwk) : ModulusFault(jwk);
    }
    if (!reason.empty()) {
        return std::nullopt;
    }
    KeyHandle handle(algorithm == Algorithm::Es256 ? MakeEcKey(jwk) : MakeRsaKey(jwk));
    if (!handle) {
        reason = "it is not a valid key; its point may not be on the curve";
        return std::nullopt;
    }
    const std::string* id = TextOf(jwk, "kid");
    return PublicKey(algorithm, id == nullptr ? std::nullopt : std::optional(*id),
                     std::move(handle));
}

bool PublicKey::HasSigned(std::string_view signedText, std::string_view signature) const {
    const std::string asn1 = algorithm == Algorithm::Es256 ? ToAsn1(signature) : "";
    const std::string_view encoded = algorithm == Algorithm::Es256 ? asn1 : signature;
    const std::unique_ptr<EVP_MD_CTX, ReleaseDigest> digest(EVP_MD_CTX_new());
    return digest && !encoded.empty() &&
           EVP_DigestVerifyInit(digest.get(), nullptr, EVP_sha256(), nullptr, handle.get()) == 1 &&
           EVP_DigestVerify(digest.get(), BytesIn(encoded), encoded.size(), BytesIn(signedText),
                            signedText.size()) == 1;
}

}  // namespace Token
