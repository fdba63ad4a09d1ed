// The API's authentication scheme for tokens: connects the API's filters with the token verifier.
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

    // A call without a token is anonymous; a call with a valid token comes from the token's
    // subject, with its entitlements. Any other token results in the unauthenticated error, which
    // does not say why.
    void Authenticate(const Quon::CallContext& context,
                      Quon::AsyncResult<Quon::AuthenticationData> result) override;
    std::optional<Quon::AuthenticationData> Recognize(const Quon::CallContext& context) override;

  private:
    // Returns nothing and sets `reason` if the token is not valid.
    std::optional<Quon::AuthenticationData> Verify(const std::string& token, std::string& reason);

    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    Token::TokenVerifier verifier;
};

}  // namespace Oru::Authn

namespace OruToken::Authz {

// A caller has exactly the privileges that its token lists.
class JwtEntitlementCheckerImpl : public Quon::Authz::EntitlementChecker {
  public:
    bool IsEntitled(const Quon::AuthenticationData& caller,
                    const std::string& privilege) const override;
};

}  // namespace OruToken::Authz
