// What makes an operation of the API of a C++ function: its parameters are read into a structure,
// and its result, a shared native value, becomes the answer.
#pragma once

#include "platform/runtime/async_result.h"
#include "platform/runtime/call.h"
#include "platform/runtime/definition.h"
#include "platform/runtime/error_value.h"
#include "platform/runtime/localizer.h"
#include "platform/runtime/native_from_data.h"
#include "platform/runtime/native_to_data.h"
#include "platform/runtime/provider.h"

#include <memory>
#include <utility>
#include <variant>

namespace Quon::Native {

// The operation of that definition. `handler` is called as
//   handler(Parameters parameters, const CallContext& context, CallResult result)
// with parameters that fit; others are answered with an invalid argument that names the member.
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

// Takes the native result of a call and answers it through `result`, converted as ToData does for a
// shared value.
template <typename T>
AsyncResult<std::shared_ptr<const T>> ToNativeResult(CallResult result) {
    const auto shared = std::make_shared<CallResult>(std::move(result));
    return AsyncResult<std::shared_ptr<const T>>(
        [shared](Outcome<std::shared_ptr<const T>> outcome) {
            if (auto* error = std::get_if<Data::ErrorValue>(&outcome)) {
                shared->SetError(std::move(*error));
            } else {
                shared->SetValue(ToData(std::get<std::shared_ptr<const T>>(outcome)));
            }
        });
}

}  // namespace Quon::Native
