#include "platform/runtime/call/authn_filter.h"

#include <utility>
#include <variant>

namespace Quon::Authn::Filter {

namespace {

void Record(AuthenticationData caller, CallContext& context) {
    if (context.observer && !caller.anonymous) {
        context.observer->RecordUser(caller.userName);
    }
    context.authentication = std::move(caller);
}

}  // namespace

AsyncAuthnFilter::AsyncAuthnFilter(std::shared_ptr<AsyncAuthenticationHandler> handler,
                                   std::shared_ptr<AsyncApiProvider> next)
    : handler(std::move(handler)), next(std::move(next)) {}

void AsyncAuthnFilter::Invoke(std::shared_ptr<Call> call, CallResult result) {
    if (call->context.authentication) {
        next->Invoke(std::move(call), std::move(result));
        return;
    }
    auto caller = std::make_shared<CallResult>(std::move(result));
    AsyncResult<AuthenticationData> answer(
        [call, caller, next = next](Outcome<AuthenticationData> outcome) {
            if (auto* error = std::get_if<Data::ErrorValue>(&outcome)) {
                caller->SetError(std::move(*error));
                return;
            }
            Record(std::get<AuthenticationData>(std::move(outcome)), call->context);
            next->Invoke(call, std::move(*caller));
        });
    handler->Authenticate(call->context, std::move(answer));
}

bool AsyncAuthnFilter::Recognize(CallContext& context) {
    context.authentication = handler->Recognize(context);
    return context.authentication || next->Recognize(context);
}

}  // namespace Quon::Authn::Filter
