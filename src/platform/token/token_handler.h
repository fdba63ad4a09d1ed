// Tokens as a scheme of authentication: between the API's filters and the token verifier.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/runtime/call/authentication.h"
#include "platform/token/token_verifier.h"

#include <optional>
#include <string>

namespace Oru::Authn {

// One thread at a time.
class TokenHandler : public Quon::Authn::AsyncAuthenticationHandler {
  public:
    // Refusals are logged through `logger` at level 3.
    TokenHandler(Token::TrustSettings settings,
                 const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // A call without a token is anonymous; one with a valid token comes from its subject, with its
    // entitlements. Any other token gives the unauthenticated error, which does not say why.
    void Authenticate(const Quon::CallContext& context,
                      Quon::AsyncResult<Quon::AuthenticationData> result) override;
    std::optional<Quon::AuthenticationData> Recognize(const Quon::CallContext& context) override;

  private:
    // Nothing when the token is not valid: `reason` says why.
    std::optional<Quon::AuthenticationData> Verify(const std::string& token, std::string& reason);

    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    Token::TokenVerifier verifier;
};

}  // namespace Oru::Authn

namespace OruToken::Authz {

// A caller holds exactly the privileges that its token names.
class JwtEntitlementCheckerImpl : public Quon::Authz::EntitlementChecker {
  public:
    bool IsEntitled(const Quon::AuthenticationData& caller,
                    const std::string& privilege) const override;
};

}  // namespace OruToken::Authz
