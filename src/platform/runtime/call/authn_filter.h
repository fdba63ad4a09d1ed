// The link of the chain that finds out who calls. How, is the handler's; what the caller may do,
// the authorization filter's.
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

    // A call that already carries authentication data goes on as it is. For every other one the
    // handler is asked: its error ends the call, its answer becomes the call's authentication data,
    // and the name of a caller who is not anonymous is recorded at the call's observer.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override { return next->Operations(); }
    bool Recognize(CallContext& context) override;

  private:
    const std::shared_ptr<AsyncAuthenticationHandler> handler;
    const std::shared_ptr<AsyncApiProvider> next;
};

}  // namespace Quon::Authn::Filter
