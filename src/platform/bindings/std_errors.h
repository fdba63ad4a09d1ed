// The standard errors in C++, and their conversion to error values. The runtime defines their texts
// on the wire.
#pragma once

#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/error_value.h"
#include "platform/runtime/values/localizer.h"

#include <optional>
#include <vector>

namespace Com::Korvex::Quon::Std::Errors {

using ErrorType = ::Quon::Std::ErrorType;

// A standard error. Each member can be read back from its error value.
template <ErrorType Type>
struct StandardError {
    std::vector<::Quon::L10n::LocalizableMessage> messages;
    std::optional<::Quon::Data::DataValue> data;  // left out of the error value when unset
    std::optional<ErrorType> errorType = Type;
};

// A failure that no other error describes better.
using Error = StandardError<ErrorType::Error>;
// The requested object does not exist.
using NotFound = StandardError<ErrorType::NotFound>;

// Returns the error value of the same name with the fields "messages", "data" and "errorType",
// leaving out unset ones.
::Quon::Data::ErrorValue ToErrorValue(const Error& error);
::Quon::Data::ErrorValue ToErrorValue(const NotFound& error);

}  // namespace Com::Korvex::Quon::Std::Errors
