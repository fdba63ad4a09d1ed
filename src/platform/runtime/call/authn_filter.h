// The link of the call chain that authenticates the caller through a handler. The authorization
// filter then decides what the caller may do.
#pragma once

#include "platform/runtime/call/authentication.h"
#include "platform/runtime/call/call.h"

#include <memory>
#include <vector>

namespace Quon::Authn::Filter {

// Immutable.
class AsyncAuthnFilter : public AsyncApiProvider {
  public:
    AsyncAuthnFilter(std::shared_ptr<AsyncAuthenticationHandler> handler,
                     std::shared_ptr<AsyncApiProvider> next);

    // Passes on a call that already has authentication data. For any other it asks the handler: an
    // error ends the call, a caller becomes the call's authentication data, and the name of a
    // caller who is not anonymous is recorded with the call's observer.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override { return next->Operations(); }
    bool Recognize(CallContext& context) override;

  private:
    const std::shared_ptr<AsyncAuthenticationHandler> handler;
    const std::shared_ptr<AsyncApiProvider> next;
};

}  // namespace Quon::Authn::Filter
