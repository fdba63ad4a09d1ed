// The interfaces of authentication and entitlement checks, which the filters call and an
// authentication scheme implements.
#pragma once

#include "platform/runtime/call/call.h"

namespace Quon::Authn {

class AsyncAuthenticationHandler {
  public:
    virtual ~AsyncAuthenticationHandler() = default;
    // Delivers the caller (anonymous if the call carries no credentials) or an error. Never throws.
    virtual void Authenticate(const CallContext& context,
                              AsyncResult<AuthenticationData> result) = 0;
    // Returns the caller if Authenticate would deliver one who is not anonymous. Returns nothing
    // for a token that it would refuse.
    virtual std::optional<AuthenticationData> Recognize(const CallContext& context) = 0;
};

}  // namespace Quon::Authn

namespace Quon::Authz {

// Decides whether a caller has a privilege.
class EntitlementChecker {
  public:
    virtual ~EntitlementChecker() = default;
    virtual bool IsEntitled(const AuthenticationData& caller,
                            const std::string& privilege) const = 0;
};

}  // namespace Quon::Authz
