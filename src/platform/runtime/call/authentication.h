// What authenticates a call: the border between the authentication filter and the handlers of one
// scheme each.
#pragma once

#include "platform/runtime/call/call.h"

namespace Quon::Authn {

class AsyncAuthenticationHandler {
  public:
    virtual ~AsyncAuthenticationHandler() = default;
    // Answers who calls, an anonymous caller when nothing came with the call, or an error. Never
    // throws.
    virtual void Authenticate(const CallContext& context,
                              AsyncResult<AuthenticationData> result) = 0;
    // Who calls when Authenticate would answer a caller who is not anonymous. Says nothing of a
    // token that it would refuse.
    virtual std::optional<AuthenticationData> Recognize(const CallContext& context) = 0;
};

}  // namespace Quon::Authn

namespace Quon::Authz {

// Decides whether a caller holds a privilege.
class EntitlementChecker {
  public:
    virtual ~EntitlementChecker() = default;
    virtual bool IsEntitled(const AuthenticationData& caller,
                            const std::string& privilege) const = 0;
};

}  // namespace Quon::Authz
