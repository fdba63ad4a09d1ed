// An API call and the interface of the links of the call chain that it passes through.
#pragma once

#include "platform/runtime/values/async_result.h"
#include "platform/runtime/values/data_value.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Quon {

// The result of authentication.
struct AuthenticationData {
    bool anonymous = true;                  // the call carried no token
    std::string userName;                   // empty when anonymous
    std::vector<std::string> entitlements;  // the privileges that the token grants
};

// Receives what becomes known about a call while it runs.
class CallObserver {
  public:
    virtual ~CallObserver() = default;
    virtual void RecordUser(const std::string& userName) = 0;
};

// What the links of the chain know about a call and add to it. One thread.
struct CallContext {
    std::optional<std::string> token;  // as sent; never logged or returned
    std::optional<AuthenticationData> authentication;
    std::shared_ptr<CallObserver> observer;  // may be null
    // Returns whether nobody waits for the outcome any more, so that a long operation can stop
    // early. May be null.
    std::function<bool()> isAbandoned;
};

struct Call {
    std::string service;    // "com.korvex.oru.observability.reports"
    std::string operation;  // "list"
    // The parameters as JSON text: a well-formed object within the depth bound. It is parsed only
    // after the call has passed every check.
    std::string parameters;
    CallContext context;
};

using CallResult = AsyncResult<Data::DataValue>;

struct OperationId {
    std::string service;
    std::string operation;

    std::string ToString() const { return service + "." + operation; }
    friend auto operator<=>(const OperationId&, const OperationId&) = default;
};

// A link of the chain, and the chain as a whole. Never throws; failures are error values.
class AsyncApiProvider {
  public:
    virtual ~AsyncApiProvider() = default;
    // Delivers the outcome through `result`, now or later, on the thread of the enqueuer.
    virtual void Invoke(std::shared_ptr<Call> call, CallResult result) = 0;
    // All operations that can be invoked, in ascending order.
    virtual std::vector<OperationId> Operations() const = 0;
    // Checks the token of a call before the call starts. If it is valid, fills in the call's
    // authentication and returns true; Invoke refuses an invalid one.
    virtual bool Recognize(CallContext& /*context*/) { return false; }
};

}  // namespace Quon
