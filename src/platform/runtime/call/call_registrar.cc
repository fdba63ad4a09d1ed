#include "platform/runtime/call/call_registrar.h"

#include <utility>
#include <variant>

namespace Quon::Api {

AuditContext::AuditContext(const std::string& service, const std::string& operation)
    : map{{"eventID", "api.call"}, {"subject", ""}, {"object", service + ":" + operation}} {}

void AuditContext::RecordUser(const std::string& userName) { map["subject"] = userName; }

}  // namespace Quon::Api

namespace Quon::Observer {

CallRegistrar::CallRegistrar(std::shared_ptr<AsyncApiProvider> next, AuditCallback audit)
    : next(std::move(next)), audit(std::move(audit)) {}

void CallRegistrar::Invoke(std::shared_ptr<Call> call, CallResult result) {
    auto context = std::make_shared<Api::AuditContext>(call->service, call->operation);
    call->context.observer = context;
    if (const auto& caller = call->context.authentication; caller && !caller->anonymous) {
        context->RecordUser(caller->userName);
    }
    // A receiver must be copyable, but a result is not.
    auto receiver = std::make_shared<CallResult>(std::move(result));
    CallResult audited(
        [context = std::move(context), receiver, audit = audit](Outcome<Data::DataValue> outcome) {
            audit(context->Map(), std::holds_alternative<Data::DataValue>(outcome));
            receiver->Set(std::move(outcome));
        });
    next->Invoke(std::move(call), std::move(audited));
}

}  // namespace Quon::Observer
