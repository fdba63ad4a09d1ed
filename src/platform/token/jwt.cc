#include "platform/token/jwt.h"

#include "platform/json/bounded_json.h"
#include "platform/token/base64url.h"
#include "platform/token/quote.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace Token {

namespace {

using nlohmann::json;

struct Parts {
    std::string_view header;
    std::string_view payload;
    std::string_view signature;
};

bool Split(std::string_view token, Parts& parts, std::string& reason) {
    if (token.size() > kMaxTokenBytes) {
        reason = "it is longer than " + std::to_string(kMaxTokenBytes) + " bytes";
        return false;
    }
    if (std::count(token.begin(), token.end(), '.') != 2) {
        reason = "it does not have three parts separated by dots";
        return false;
    }
    const std::size_t first = token.find('.');
    const std::size_t second = token.rfind('.');
    parts = {token.substr(0, first), token.substr(first + 1, second - first - 1),
             token.substr(second + 1)};
    if (parts.header.empty() || parts.payload.empty() || parts.signature.empty()) {
        reason = "one of its three parts is empty";
        return false;
    }
    return true;
}

bool Decode(std::string_view part, const char* name, std::string& bytes, std::string& reason) {
    std::optional<std::string> decoded = DecodeBase64Url(part);
    if (!decoded) {
        reason = std::string("its ") + name + " is not base64url without padding";
        return false;
    }
    bytes = std::move(*decoded);
    return true;
}

bool DecodeObject(std::string_view part, const char* name, json& object, std::string& reason) {
    std::string text;
    if (!Decode(part, name, text, reason)) {
        return false;
    }
    constexpr Json::ParseOptions kOptions{kMaxTokenBytes, Json::Comments::Refused,
                                          Json::Root::Object, Json::EqualNames::Refused};
    Json::JsonError error;
    if (!Json::Parse(text, kOptions, object, error)) {
        reason = std::string("its ") + name + " is not accepted as JSON: " + error.Text();
        return false;
    }
    return true;
}

// The members that name or contain a key, change what is signed, or declare critical extensions.
std::string ForbiddenMember(const json& header) {
    constexpr std::array kForbidden = {"crit", "jwk", "jku", "x5c", "x5u", "b64"};
    const auto* const found =
        std::find_if(kForbidden.begin(), kForbidden.end(),
                     [&header](const char* name) { return header.contains(name); });
    return found == kForbidden.end() ? "" : *found;
}

bool EqualsCaseBlind(std::string_view text, std::string_view lowerCase) {
    const auto equals = [](char byte, char lower) {
        return (byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte) == lower;
    };
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(), equals);
}

bool TakeAlgorithm(const json& header, Algorithm& algorithm, std::string& reason) {
    const auto member = header.find("alg");
    if (member == header.end() || !member->is_string()) {
        reason = "its alg is missing or not a string";
        return false;
    }
    const auto& name = member->get_ref<const std::string&>();
    for (const Algorithm known : {Algorithm::Es256, Algorithm::Rs256}) {
        if (name == NameOf(known)) {
            algorithm = known;
            return true;
        }
    }
    reason = "its alg " + Quote(name) + " is not ES256 or RS256";
    return false;
}

bool CheckType(const json& header, std::string& reason) {
    const auto member = header.find("typ");
    if (member == header.end()) {
        return true;
    }
    const std::string type = member->is_string() ? member->get<std::string>() : "";
    if (!EqualsCaseBlind(type, "jwt") && !EqualsCaseBlind(type, "at+jwt")) {
        reason = "its typ " + Quote(type) + " is not JWT or at+jwt";
        return false;
    }
    return true;
}

bool TakeKeyId(const json& header, std::optional<std::string>& keyId, std::string& reason) {
    keyId.reset();
    const auto member = header.find("kid");
    if (member == header.end()) {
        return true;
    }
    if (!member->is_string()) {
        reason = "its kid is not a string";
        return false;
    }
    keyId = member->get<std::string>();
    return true;
}

bool ReadHeader(const json& header, Jwt& jwt, std::string& reason) {
    if (const std::string name = ForbiddenMember(header); !name.empty()) {
        reason = "its header has the member " + name + ", which is never accepted";
        return false;
    }
    return TakeAlgorithm(header, jwt.algorithm, reason) && CheckType(header, reason) &&
           TakeKeyId(header, jwt.keyId, reason);
}

}  // namespace

bool ParseJwt(std::string_view token, Jwt& jwt, json& claims, std::string& reason) {
    Parts parts;
    json header;
    if (!Split(token, parts, reason) || !DecodeObject(parts.header, "header", header, reason) ||
        !ReadHeader(header, jwt, reason) ||
        !DecodeObject(parts.payload, "payload", claims, reason) ||
        !Decode(parts.signature, "signature", jwt.signature, reason)) {
        return false;
    }
    jwt.signedText = token.substr(0, parts.header.size() + 1 + parts.payload.size());
    return true;
}

}  // namespace Token
