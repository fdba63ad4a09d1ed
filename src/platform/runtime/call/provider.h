// The services of this process: what a service provides, the container of all services, and the
// local provider, which finds the operation of a call and runs it.
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

// A callable operation. `invoke` checks the parameters against the definition (BindOperation
// implements that) and itself delivers an invalid argument; it may throw a std::exception, which
// the provider turns into an internal server error.
struct ApiOperation {
    using Invoke = std::function<void(const Data::StructureValue& parameters,
                                      const CallContext& context, CallResult result)>;

    Definition::Operation definition;
    Invoke invoke;
};

// A callable service. Immutable.
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
    // Null if the identifier is unknown.
    std::shared_ptr<const ApiInterface> Find(std::string_view service) const;
    // In the order in which they were added.
    ApiInterfaces All() const;

  private:
    mutable Sys::Mutex lock;
    ApiInterfaces interfaces GUARDED_BY(lock);
};

// The innermost link of the chain. Runs operations as tasks of the enqueuer, one at a time.
class AsyncLocalProvider : public AsyncApiProvider {
  public:
    AsyncLocalProvider(std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container,
                       std::shared_ptr<Enqueuer> enqueuer, std::shared_ptr<Logger> logger);

    // Delivers operation_not_found for an unknown service or operation.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override;

  private:
    const std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container;
    const std::shared_ptr<Enqueuer> enqueuer;
    const std::shared_ptr<Logger> logger;
};

}  // namespace Quon::Provider
