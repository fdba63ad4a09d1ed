// The link of the chain that lets through who may call an operation, and nobody else.
#pragma once

#include "platform/runtime/call/authentication.h"
#include "platform/runtime/call/authz_info.h"
#include "platform/runtime/call/call.h"
#include "platform/runtime/call/logger.h"

#include <memory>
#include <vector>

namespace Quon::Authz::Filter {

// Immutable.
class AsyncAuthzFilter : public AsyncApiProvider {
  public:
    // Null when an operation of `next` is neither open nor has authorization metadata: it could be
    // called by every holder of a token. Each one is logged as an error then.
    static std::shared_ptr<AsyncAuthzFilter> Create(std::shared_ptr<AsyncApiProvider> next,
                                                    std::shared_ptr<EntitlementChecker> checker,
                                                    AuthzInfo info, std::shared_ptr<Logger> logger);

    // Open operations go on for everybody. Callers who are anonymous, or of whom nothing is known,
    // get no further than that (unauthenticated); callers without a privilege that the operation
    // needs do not either (unauthorized). An operation without metadata goes on, so that the
    // provider says that there is no such operation.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override { return next->Operations(); }

  private:
    AsyncAuthzFilter(std::shared_ptr<AsyncApiProvider> next,
                     std::shared_ptr<EntitlementChecker> checker, AuthzInfo info,
                     std::shared_ptr<Logger> logger);

    // An empty error when the call may go on.
    Data::ErrorValue Judge(const Call& call) const;

    const std::shared_ptr<AsyncApiProvider> next;
    const std::shared_ptr<EntitlementChecker> checker;
    const AuthzInfo info;
    const std::shared_ptr<Logger> logger;
};

}  // namespace Quon::Authz::Filter
