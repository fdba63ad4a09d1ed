#include "platform/token/token_claims.h"

#include "platform/token/quote.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace Token {

namespace {

using nlohmann::json;

bool Refuse(std::string& reason, std::string text) {
    reason = std::move(text);
    return false;
}

bool CheckIssuer(const json& document, std::string_view issuer, std::string& reason) {
    const auto member = document.find("iss");
    if (member == document.end() || !member->is_string()) {
        return Refuse(reason, "its iss is missing or not a string");
    }
    const auto& sent = member->get_ref<const std::string&>();
    return sent == issuer ||
           Refuse(reason, "its iss " + Quote(sent) + " is not the issuer " + Quote(issuer));
}

bool CheckAudience(const json& document, std::string_view audience, std::string& reason) {
    const auto member = document.find("aud");
    if (member == document.end()) {
        return Refuse(reason, "it has no aud");
    }
    const json list = member->is_array() ? *member : json::array({*member});
    const auto isString = [](const json& value) { return value.is_string(); };
    if (!std::all_of(list.begin(), list.end(), isString)) {
        return Refuse(reason, "its aud is neither a string nor a list of strings");
    }
    return std::find(list.begin(), list.end(), audience) != list.end() ||
           Refuse(reason, "its aud does not contain the audience " + Quote(audience));
}

// A member in seconds since 1970 (RFC 7519, NumericDate); nothing if it is absent or not a number.
std::optional<double> NumberOf(const json& document, const char* name) {
    const auto member = document.find(name);
    return member != document.end() && member->is_number() ? std::optional(member->get<double>())
                                                           : std::nullopt;
}

bool CheckTimes(const json& document, std::chrono::system_clock::time_point now,
                std::chrono::sys_seconds& expires, std::string& reason) {
    for (const char* name : {"nbf", "iat"}) {
        if (document.contains(name) && !NumberOf(document, name)) {
            return Refuse(reason, std::string("its ") + name + " is not a number");
        }
    }
    const std::optional<double> expiry = NumberOf(document, "exp");
    if (!expiry) {
        return Refuse(reason, "its exp is missing or not a number");
    }
    const double seconds = std::chrono::duration<double>(now.time_since_epoch()).count();
    const double leeway = std::chrono::duration<double>(kLeeway).count();
    if (seconds >= *expiry + leeway) {
        return Refuse(reason, "it has expired (exp)");
    }
    const std::optional<double> begin = NumberOf(document, "nbf");
    if (begin && seconds < *begin - leeway) {
        return Refuse(reason,
                      "it is not valid yet (nbf); the clocks of issuer and host may differ");
    }
    constexpr double kEndOfYear9999 = 253402300799;
    expires = std::chrono::sys_seconds(std::chrono::seconds(
        static_cast<std::int64_t>(std::floor(std::min(*expiry, kEndOfYear9999)))));
    return true;
}

bool IsControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7F;
}

bool TakeSubject(const json& document, std::string& subject, std::string& reason) {
    const auto member = document.find("sub");
    if (member == document.end() || !member->is_string()) {
        return Refuse(reason, "its sub is missing or not a string");
    }
    subject = member->get<std::string>();
    if (subject.empty() || subject.size() > kMaxSubjectBytes) {
        return Refuse(reason, "its sub has " + std::to_string(subject.size()) + " bytes; 1 to " +
                                  std::to_string(kMaxSubjectBytes) + " are accepted");
    }
    return std::none_of(subject.begin(), subject.end(), IsControl) ||
           Refuse(reason, "its sub contains control characters");
}

bool TakeEntitlements(const json& document, std::vector<std::string>& entitlements,
                      std::string& reason) {
    entitlements.clear();
    const auto member = document.find("entitlements");
    if (member == document.end()) {
        return true;
    }
    const auto isName = [](const json& value) {
        const auto* name = value.get_ptr<const std::string*>();
        return name != nullptr && name->size() <= kMaxEntitlementBytes;
    };
    if (!member->is_array() || member->size() > kMaxEntitlements ||
        !std::all_of(member->begin(), member->end(), isName)) {
        return Refuse(reason, "its entitlements are not a list of at most " +
                                  std::to_string(kMaxEntitlements) + " strings of at most " +
                                  std::to_string(kMaxEntitlementBytes) + " bytes");
    }
    entitlements = member->get<std::vector<std::string>>();
    return true;
}

}  // namespace

bool ReadClaims(const json& document, std::string_view issuer, std::string_view audience,
                std::chrono::system_clock::time_point now, TokenClaims& claims,
                std::string& reason) {
    return CheckIssuer(document, issuer, reason) && CheckAudience(document, audience, reason) &&
           CheckTimes(document, now, claims.expires, reason) &&
           TakeSubject(document, claims.subject, reason) &&
           TakeEntitlements(document, claims.entitlements, reason);
}

}  // namespace Token
