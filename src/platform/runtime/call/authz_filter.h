// The link of the call chain that refuses callers without the privileges for an operation.
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
    // Returns null, and logs an error for each operation concerned, if an operation of `next` is
    // neither open nor has authorization metadata: any holder of a token could call it.
    static std::shared_ptr<AsyncAuthzFilter> Create(std::shared_ptr<AsyncApiProvider> next,
                                                    std::shared_ptr<EntitlementChecker> checker,
                                                    AuthzInfo info, std::shared_ptr<Logger> logger);

    // Passes on open operations for everybody. Refuses callers who are anonymous or not
    // authenticated (unauthenticated), and callers without a privilege that the operation requires
    // (unauthorized). Passes on an operation without metadata, so that the provider reports that it
    // does not exist.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override { return next->Operations(); }

  private:
    AsyncAuthzFilter(std::shared_ptr<AsyncApiProvider> next,
                     std::shared_ptr<EntitlementChecker> checker, AuthzInfo info,
                     std::shared_ptr<Logger> logger);

    // Returns an empty error if the call may proceed.
    Data::ErrorValue Judge(const Call& call) const;

    const std::shared_ptr<AsyncApiProvider> next;
    const std::shared_ptr<EntitlementChecker> checker;
    const AuthzInfo info;
    const std::shared_ptr<Logger> logger;
};

}  // namespace Quon::Authz::Filter
