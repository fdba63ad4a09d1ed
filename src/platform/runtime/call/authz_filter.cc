#include "platform/runtime/call/authz_filter.h"

#include <string>
#include <utility>

namespace Quon::Authz::Filter {

std::shared_ptr<AsyncAuthzFilter> AsyncAuthzFilter::Create(
    std::shared_ptr<AsyncApiProvider> next, std::shared_ptr<EntitlementChecker> checker,
    AuthzInfo info, std::shared_ptr<Logger> logger) {
    bool isComplete = true;
    for (const OperationId& operation : next->Operations()) {
        if (!info.IsOpen(operation) && info.Privileges(operation) == nullptr) {
            logger->Log(LogLevel::Error, "No authorization metadata for " + operation.ToString() +
                                             "; add it to the metadata file");
            isComplete = false;
        }
    }
    if (!isComplete) {
        return nullptr;
    }
    return std::shared_ptr<AsyncAuthzFilter>(new AsyncAuthzFilter(
        std::move(next), std::move(checker), std::move(info), std::move(logger)));
}

AsyncAuthzFilter::AsyncAuthzFilter(std::shared_ptr<AsyncApiProvider> next,
                                   std::shared_ptr<EntitlementChecker> checker, AuthzInfo info,
                                   std::shared_ptr<Logger> logger)
    : next(std::move(next)),
      checker(std::move(checker)),
      info(std::move(info)),
      logger(std::move(logger)) {}

void AsyncAuthzFilter::Invoke(std::shared_ptr<Call> call, CallResult result) {
    if (Data::ErrorValue refusal = Judge(*call)) {
        if (logger->IsOn(LogLevel::Debug)) {
            logger->Log(LogLevel::Debug, "Refused " + call->service + "." + call->operation + ": " +
                                             refusal.ToString());
        }
        result.SetError(std::move(refusal));
        return;
    }
    next->Invoke(std::move(call), std::move(result));
}

Data::ErrorValue AsyncAuthzFilter::Judge(const Call& call) const {
    const OperationId operation{call.service, call.operation};
    if (info.IsOpen(operation)) {
        return {};
    }
    const std::optional<AuthenticationData>& caller = call.context.authentication;
    if (!caller || caller->anonymous) {
        return Std::MakeError(Std::ErrorType::Unauthenticated,
                              {L10n::MakeMessage("quon.unauthenticated")});
    }
    const std::vector<std::string>* privileges = info.Privileges(operation);
    if (privileges == nullptr) {
        return {};
    }
    for (const std::string& privilege : *privileges) {
        if (!checker->IsEntitled(*caller, privilege)) {
            return Std::MakeError(
                Std::ErrorType::Unauthorized,
                {L10n::MakeMessage("quon.unauthorized", {operation.ToString(), privilege})});
        }
    }
    return {};
}

}  // namespace Quon::Authz::Filter
