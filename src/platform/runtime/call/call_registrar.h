// The outermost link of the chain: keeps account of each call from its beginning to its one end and
// hands the account over. Where accounts are kept is for the one who is given them.
#pragma once

#include "platform/runtime/call/call.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Quon::Api {

// What is told of a call: "eventID" ("api.call"), "subject" (the caller's name; empty as long as it
// is unknown) and "object" (service, ":", operation).
using AuditMap = std::map<std::string, std::string>;

// The account of one call.
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
    // `success` tells whether the call ended with a value. Does not throw.
    using AuditCallback = std::function<void(Api::AuditMap audit, bool success)>;

    CallRegistrar(std::shared_ptr<AsyncApiProvider> next, AuditCallback audit);

    // The callback is called exactly once, on the thread that ends the call and before the caller
    // gets the outcome; also for a call whose result is dropped. Becomes the call's observer.
    void Invoke(std::shared_ptr<Call> call, CallResult result) override;
    std::vector<OperationId> Operations() const override { return next->Operations(); }
    bool Recognize(CallContext& context) override { return next->Recognize(context); }

  private:
    const std::shared_ptr<AsyncApiProvider> next;
    const AuditCallback audit;
};

}  // namespace Quon::Observer
