// The services of this process behind one provider: what a service offers to it, the container that
// holds them, and the local provider, which finds the operation of a call, checks its parameters
// and runs it.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/call/enqueuer.h"
#include "platform/runtime/call/logger.h"
#include "platform/runtime/definition/definition.h"
#include "platform/sys/mutex.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::Provider {

// One operation, ready to be called. `invoke` checks the parameters against the definition
// (native.h makes it do so) and answers an invalid argument itself; it may throw a std::exception,
// which the provider turns into an internal server error.
struct ApiOperation {
    using Invoke = std::function<void(const Data::StructureValue& parameters,
                                      const CallContext& context, CallResult result)>;

    Definition::Operation definition;
    Invoke invoke;
};

// One service, ready to be called. Immutable.
struct ApiInterface {
    std::string service;  // its identifier
    std::string documentation;
    std::vector<ApiOperation> operations;
};
using ApiInterfaces = std::vector<std::shared_ptr<const ApiInterface>>;

// Any thread.
class AsyncApiInterfaceConcurrentContainer {
  public:
    void Add(std::shared_ptr<const ApiInterface> api);
    void Add(const ApiInterfaces& apis);
    // Null when there is none of that identifier.
    std::shared_ptr<const ApiInterface> Find(std::string_view service) const;
    // In the order in which they were added.
    ApiInterfaces All() const;

  private:
    mutable Sys::Mutex lock;
    ApiInterfaces interfaces GUARDED_BY(lock);
};

// Runs every operation as a task of the enqueuer, one at a time. The innermost link of the chain.
class AsyncLocalProvider : public AsyncApiProvider {
  public:
    AsyncLocalProvider(std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container,
                       std::shared_ptr<Enqueuer> enqueuer, std::shared_ptr<Logger> logger);

    // Answers operation_not_found when there is no such service or operation.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override;

  private:
    const std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container;
    const std::shared_ptr<Enqueuer> enqueuer;
    const std::shared_ptr<Logger> logger;
};

}  // namespace Quon::Provider
