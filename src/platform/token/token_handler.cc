#include "platform/token/token_handler.h"

#include "platform/runtime/values/error_value.h"
#include "platform/runtime/values/localizer.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Oru::Authn {

TokenHandler::TokenHandler(Token::TrustSettings settings,
                           const Pellmar::Ref<Pellmar::Service::Logger>& logger)
    : logger(logger), verifier(std::move(settings), logger) {}

void TokenHandler::Authenticate(const Quon::CallContext& context,
                                Quon::AsyncResult<Quon::AuthenticationData> result) {
    if (!context.token) {
        result.SetValue({.anonymous = true, .userName = "", .entitlements = {}});
        return;
    }
    std::string reason;
    std::optional<Quon::AuthenticationData> caller = Verify(*context.token, reason);
    if (!caller) {
        Pellmar::Service::LogInternal(logger, 3, {.event = Pellmar::Service::LogEvent::Refusal},
                                      "A token is refused: %1", reason);
        result.SetError(Quon::Std::MakeError(Quon::Std::ErrorType::Unauthenticated,
                                             {Quon::L10n::MakeMessage("quon.unauthenticated")}));
        return;
    }
    result.SetValue(std::move(*caller));
}

std::optional<Quon::AuthenticationData> TokenHandler::Recognize(const Quon::CallContext& context) {
    std::string reason;
    return context.token ? Verify(*context.token, reason) : std::nullopt;
}

std::optional<Quon::AuthenticationData> TokenHandler::Verify(const std::string& token,
                                                             std::string& reason) {
    Token::TokenClaims claims;
    if (!verifier.Verify(token, std::chrono::system_clock::now(), claims, reason)) {
        return std::nullopt;
    }
    return Quon::AuthenticationData{.anonymous = false,
                                    .userName = std::move(claims.subject),
                                    .entitlements = std::move(claims.entitlements)};
}

}  // namespace Oru::Authn

namespace OruToken::Authz {

bool JwtEntitlementCheckerImpl::IsEntitled(const Quon::AuthenticationData& caller,
                                           const std::string& privilege) const {
    return std::find(caller.entitlements.begin(), caller.entitlements.end(), privilege) !=
           caller.entitlements.end();
}

}  // namespace OruToken::Authz
