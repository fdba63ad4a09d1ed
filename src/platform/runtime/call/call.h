// One API call on its way through the chain of call handlers, and what every link of that chain
// offers.
#pragma once

#include "platform/runtime/values/async_result.h"
#include "platform/runtime/values/data_value.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Quon {

// Who calls, as the authentication found out.
struct AuthenticationData {
    bool anonymous = true;                  // no token came with the call
    std::string userName;                   // empty when anonymous
    std::vector<std::string> entitlements;  // the privileges that the token grants
};

// Told what becomes known of a call while it is under way.
class CallObserver {
  public:
    virtual ~CallObserver() = default;
    virtual void RecordUser(const std::string& userName) = 0;
};

// What the links of the chain know of a call and add to it. One thread.
struct CallContext {
    std::optional<std::string> token;  // as sent; never logged, never in an answer
    std::optional<AuthenticationData> authentication;
    std::shared_ptr<CallObserver> observer;  // may be null
    // Whether nobody waits for the outcome any more, so that a long operation may end early. May be
    // null.
    std::function<bool()> isAbandoned;
};

struct Call {
    std::string service;    // "com.korvex.oru.observability.reports"
    std::string operation;  // "list"
    // The parameters as JSON text: an object, known to be well-formed and within the depth bound.
    // Nothing is built from it before the call has passed every check.
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

// A link of the chain, and the chain as a whole. Never throws; every failure is an error value.
class AsyncApiProvider {
  public:
    virtual ~AsyncApiProvider() = default;
    // Answers through `result`, now or later, on the thread of the enqueuer.
    virtual void Invoke(std::shared_ptr<Call> call, CallResult result) = 0;
    // Every operation that can be invoked, in ascending order.
    virtual std::vector<OperationId> Operations() const = 0;
    // Whether a valid token came with a call that is still to begin; its authentication is then
    // filled in. Says nothing of an invalid one, which Invoke refuses.
    virtual bool Recognize(CallContext& /*context*/) { return false; }
};

}  // namespace Quon
