// Turns a C++ function into an operation of the API: converts the parameters to a structure, and
// the shared native result to a value.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/call/provider.h"
#include "platform/runtime/definition/definition.h"
#include "platform/runtime/definition/native_from_data.h"
#include "platform/runtime/definition/native_to_data.h"
#include "platform/runtime/values/async_result.h"
#include "platform/runtime/values/error_value.h"

#include <memory>
#include <utility>
#include <variant>

namespace Quon::Native {

// Binds `handler` to the operation of that definition. It is called as
//   handler(Parameters parameters, const CallContext& context, CallResult result)
// with valid parameters; for others the operation delivers an invalid argument that names the
// member.
template <IsStructure Parameters, typename Handler>
Provider::ApiOperation BindOperation(Definition::Operation definition, Handler handler) {
    auto invoke = [handler = std::move(handler)](const Data::StructureValue& parameters,
                                                 const CallContext& context, CallResult result) {
        Parameters native{};
        if (Problem problem = FromData(parameters, native)) {
            result.SetError(Std::MakeError(Std::ErrorType::InvalidArgument, {std::move(*problem)}));
            return;
        }
        handler(std::move(native), context, std::move(result));
    };
    return {std::move(definition), std::move(invoke)};
}

// Returns a result that converts a native value by ToData for shared values and delivers it through
// `result`. A null pointer counts as no result.
template <typename T>
AsyncResult<std::shared_ptr<const T>> ToNativeResult(CallResult result) {
    // A receiver must be copyable, but a result is not.
    const auto shared = std::make_shared<CallResult>(std::move(result));
    return AsyncResult<std::shared_ptr<const T>>(
        [shared](Outcome<std::shared_ptr<const T>> outcome) {
            const auto* value = std::get_if<std::shared_ptr<const T>>(&outcome);
            if (value == nullptr) {
                shared->SetError(std::get<Data::ErrorValue>(std::move(outcome)));
            } else if (*value) {
                shared->SetValue(ToData(*value));
            } else {
                shared->SetError(Std::MakeNoResultError());
            }
        });
}

}  // namespace Quon::Native
