// The outermost link of the call chain: keeps an audit record of each call and passes it to a
// callback when the call ends.
#pragma once

#include "platform/runtime/call/call.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Quon::Api {

// The audit record of a call: "eventID" ("api.call"), "subject" (the caller's name; empty while
// unknown) and "object" (service, ":", operation).
using AuditMap = std::map<std::string, std::string>;

// Keeps the audit record of one call.
class AuditContext : public CallObserver {
  public:
    AuditContext(const std::string& service, const std::string& operation);

    void RecordUser(const std::string& userName) override;
    const AuditMap& Map() const { return map; }

  private:
    AuditMap map;
};

}  // namespace Quon::Api

namespace Quon::Observer {

// Immutable.
class CallRegistrar : public AsyncApiProvider {
  public:
    // `success` is whether the call ended with a value. Must not throw.
    using AuditCallback = std::function<void(Api::AuditMap audit, bool success)>;

    CallRegistrar(std::shared_ptr<AsyncApiProvider> next, AuditCallback audit);

    // Calls the callback exactly once, on the thread that ends the call and before the caller gets
    // the outcome, even if the result is dropped. The record becomes the call's observer.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override { return next->Operations(); }
    bool Recognize(CallContext& context) override { return next->Recognize(context); }

  private:
    const std::shared_ptr<AsyncApiProvider> next;
    const AuditCallback audit;
};

}  // namespace Quon::Observer
