// The standard errors as C++ sees them, and what makes error values of them. Which texts belong to
// them on the wire is the runtime's.
#pragma once

#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/error_value.h"
#include "platform/runtime/values/localizer.h"

#include <optional>
#include <vector>

namespace Com::Korvex::Quon::Std::Errors {

using ErrorType = ::Quon::Std::ErrorType;

// One standard error. What it is made with can be read again from its error value.
template <ErrorType Type>
struct StandardError {
    std::vector<::Quon::L10n::LocalizableMessage> messages;
    std::optional<::Quon::Data::DataValue> data;  // left out of the error value when unset
    std::optional<ErrorType> errorType = Type;
};

// Something failed, and no other error says it better.
using Error = StandardError<ErrorType::Error>;
// What was asked for is not there.
using NotFound = StandardError<ErrorType::NotFound>;

// The error value of that name with the fields "messages", "data" and "errorType", unset ones left
// out.
::Quon::Data::ErrorValue ToErrorValue(const Error& error);
::Quon::Data::ErrorValue ToErrorValue(const NotFound& error);

}  // namespace Com::Korvex::Quon::Std::Errors
