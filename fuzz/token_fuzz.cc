// Parses the bytes in each role in which they can come from outside: as a token, as the parts of a
// token (separated by NUL bytes), as claims, and as a trust set. Aborts when a guarantee is
// violated: accepted input is canonical and within its bounds, and every refusal has a reason.
#include "checking.h"
#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/token/base64url.h"
#include "platform/token/jwt.h"
#include "platform/token/token_claims.h"
#include "platform/token/trust_set.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

constexpr std::chrono::sys_seconds kNow{std::chrono::seconds(1'800'000'000)};

void CheckClaims(const nlohmann::json& document) {
    Token::TokenClaims claims;
    std::string reason;
    if (!Token::ReadClaims(document, "sentrel", "sentrel", kNow, claims, reason)) {
        Check(!reason.empty());
        return;
    }
    Check(!claims.subject.empty() && claims.subject.size() <= Token::kMaxSubjectBytes);
    Check(claims.entitlements.size() <= Token::kMaxEntitlements);
    Check(claims.expires + Token::kLeeway + std::chrono::seconds(1) > kNow);
}

void CheckToken(std::string_view token) {
    Token::Jwt jwt;
    nlohmann::json claims;
    std::string reason;
    if (!Token::ParseJwt(token, jwt, claims, reason)) {
        Check(!reason.empty());
        return;
    }
    Check(std::string(jwt.signedText) + "." + Token::EncodeBase64Url(jwt.signature) == token);
    Check(token.size() <= Token::kMaxTokenBytes && claims.is_object());
    CheckClaims(claims);
}

// The bytes up to the first NUL. Removes them and the NUL from `bytes`.
std::string_view TakePart(std::string_view& bytes) {
    const std::string_view part = bytes.substr(0, bytes.find('\0'));
    bytes.remove_prefix(std::min(part.size() + 1, bytes.size()));
    return part;
}

void CheckParts(std::string_view bytes) {
    const std::string header = Token::EncodeBase64Url(TakePart(bytes));
    const std::string payload = Token::EncodeBase64Url(TakePart(bytes));
    CheckToken(header + "." + payload + "." + Token::EncodeBase64Url(bytes));
}

void CheckTrustSet(std::string_view text) {
    try {
        const Token::TrustedKeys read = Token::ParseTrustSet(text);
        Check(read.keys.size() + read.unused.size() <= Token::kMaxTrustedKeys);
        for (const Token::PublicKey& key : read.keys) {
            Check(!key.HasSigned(text, std::string(64, '\0')));
        }
    } catch (const Pellmar::Exception& error) {
        Check(!std::string_view(error.what()).empty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    CheckToken(bytes);
    CheckParts(bytes);
    CheckTrustSet(bytes);
    nlohmann::json document;
    Json::JsonError error;
    const Json::ParseOptions options{Token::kMaxTokenBytes, Json::Comments::Refused,
                                     Json::Root::Object, Json::EqualNames::Refused};
    if (Json::Parse(bytes, options, document, error)) {
        CheckClaims(document);
    }
    return 0;
}
