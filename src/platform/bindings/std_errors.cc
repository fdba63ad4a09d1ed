#include "platform/bindings/std_errors.h"

#include <string>
#include <utility>

namespace Com::Korvex::Quon::Std::Errors {

namespace {

using ::Quon::Data::DataValue;
using ::Quon::Data::ErrorValue;
using ::Quon::Data::ListValue;
using ::Quon::Data::StructureValue;

template <ErrorType Type>
ErrorValue FromStandardError(const StandardError<Type>& error) {
    ListValue messages;
    messages.reserve(error.messages.size());
    for (const ::Quon::L10n::LocalizableMessage& message : error.messages) {
        messages.push_back(::Quon::L10n::ToData(message));
    }
    StructureValue structure(::Quon::Std::ErrorName(Type));
    structure.Add("messages", DataValue(std::move(messages)));
    if (error.data) {
        structure.Add("data", *error.data);
    }
    if (error.errorType) {
        structure.Add("errorType",
                      DataValue(std::string(::Quon::Std::ErrorTypeText(*error.errorType))));
    }
    return ErrorValue(std::move(structure));
}

}  // namespace

ErrorValue ToErrorValue(const Error& error) { return FromStandardError(error); }

ErrorValue ToErrorValue(const NotFound& error) { return FromStandardError(error); }

}  // namespace Com::Korvex::Quon::Std::Errors
