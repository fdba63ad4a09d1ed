#include "platform/runtime/call/provider.h"

#include "platform/runtime/json/value_reader.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace Quon::Provider {

void AsyncApiInterfaceConcurrentContainer::Add(std::shared_ptr<const ApiInterface> api) {
    const Sys::MutexLock held(lock);
    interfaces.push_back(std::move(api));
}

void AsyncApiInterfaceConcurrentContainer::Add(const ApiInterfaces& apis) {
    const Sys::MutexLock held(lock);
    interfaces.insert(interfaces.end(), apis.begin(), apis.end());
}

std::shared_ptr<const ApiInterface> AsyncApiInterfaceConcurrentContainer::Find(
    std::string_view service) const {
    const Sys::MutexLock held(lock);
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const auto& api) { return api->service == service; });
    return found == interfaces.end() ? nullptr : *found;
}

ApiInterfaces AsyncApiInterfaceConcurrentContainer::All() const {
    const Sys::MutexLock held(lock);
    return interfaces;
}

namespace {

using CallOutcome = Outcome<Data::DataValue>;

const ApiOperation* FindOperation(const ApiInterface& api, const std::string& name) {
    const auto found =
        std::find_if(api.operations.begin(), api.operations.end(),
                     [&](const ApiOperation& each) { return each.definition.name == name; });
    return found == api.operations.end() ? nullptr : &*found;
}

// The method as in the request.
std::string NameOf(const Call& call) {
    return call.service.empty() ? call.operation : call.service + "." + call.operation;
}

// Delivers one outcome to the caller, but not before the operation has returned: an operation that
// throws has failed, whatever outcome it has set, and destroys its result while unwinding.
class Delivery {
  public:
    explicit Delivery(CallResult caller) : caller(std::move(caller)) {}

    void Set(CallOutcome outcome) {
        if (!isHeld) {
            caller.Set(std::move(outcome));
        } else {
            held = std::move(outcome);
        }
    }
    // Call it when the operation has returned.
    void Release() {
        isHeld = false;
        if (held) {
            caller.Set(std::move(*held));
        }
    }
    // Call it when the operation has thrown. Outcomes set later are ignored.
    void Fail(Data::ErrorValue error) { caller.SetError(std::move(error)); }

  private:
    CallResult caller;
    bool isHeld = true;
    std::optional<CallOutcome> held;
};

void Run(const ApiOperation& operation, const Call& call, CallResult result, Logger& logger) {
    const auto delivery = std::make_shared<Delivery>(std::move(result));
    try {
        const Data::DataValue parameters = Protocol::Json::ReadValue(call.parameters);
        operation.invoke(
            *parameters.AsStructure(), call.context,
            CallResult([delivery](CallOutcome outcome) { delivery->Set(std::move(outcome)); }));
        delivery->Release();
    } catch (const std::exception& exception) {
        logger.Log(LogLevel::Error,
                   "The operation " + NameOf(call) + " failed: " + exception.what());
        // Only the log gets the reason, which may reveal files and their content.
        delivery->Fail(
            Std::MakeError(Std::ErrorType::InternalServerError,
                           {L10n::MakeMessage("quon.operation.failed", {NameOf(call)})}));
    }
}

}  // namespace

AsyncLocalProvider::AsyncLocalProvider(
    std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container,
    std::shared_ptr<Enqueuer> enqueuer, std::shared_ptr<Logger> logger)
    : container(std::move(container)), enqueuer(std::move(enqueuer)), logger(std::move(logger)) {}

void AsyncLocalProvider::Invoke(std::shared_ptr<Call> call, CallResult result) {
    // A task must be copyable, but a result is not.
    auto caller = std::make_shared<CallResult>(std::move(result));
    enqueuer->Enqueue([call = std::move(call), caller = std::move(caller), container = container,
                       logger = logger] {
        const std::shared_ptr<const ApiInterface> api = container->Find(call->service);
        const ApiOperation* operation = api ? FindOperation(*api, call->operation) : nullptr;
        if (operation != nullptr) {
            Run(*operation, *call, std::move(*caller), *logger);
        } else {
            caller->SetError(
                Std::MakeError(Std::ErrorType::OperationNotFound,
                               {L10n::MakeMessage("quon.operation.not.found", {NameOf(*call)})}));
        }
    });
}

std::vector<OperationId> AsyncLocalProvider::Operations() const {
    std::vector<OperationId> operations;
    for (const auto& api : container->All()) {
        for (const ApiOperation& operation : api->operations) {
            operations.push_back({api->service, operation.definition.name});
        }
    }
    std::sort(operations.begin(), operations.end());
    return operations;
}

}  // namespace Quon::Provider
