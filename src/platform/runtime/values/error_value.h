// The errors of calls as values: the standard errors, and errors of other names that the transport
// creates.
#pragma once

#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/localizer.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::Data {

// A named structure that says why a call failed. An empty one means success.
class ErrorValue {
  public:
    ErrorValue() = default;
    explicit ErrorValue(StructureValue structure) : structure(std::move(structure)) {}

    // True for an error, false for success.
    explicit operator bool() const { return !structure.Name().empty(); }
    const std::string& Name() const { return structure.Name(); }
    const StructureValue& Structure() const { return structure; }
    // For logs: the name and the default text of each message.
    std::string ToString() const;

  private:
    StructureValue structure;
};

}  // namespace Quon::Data

namespace Quon::Std {

// The kinds of standard errors. The ordinals are part of the contract; the wire uses the texts.
enum class ErrorType : std::int32_t {
    Error = 0,
    AlreadyExists = 1,
    Canceled = 2,
    ConcurrentChange = 3,
    FeatureInUse = 4,
    InternalServerError = 5,
    InvalidArgument = 6,
    InvalidElementType = 7,
    InvalidRequest = 8,
    NotAllowedInCurrentState = 9,
    OperationNotFound = 10,
    ResourceBusy = 11,
    NotFound = 12,
    ResourceInaccessible = 13,
    ServiceUnavailable = 14,
    TimedOut = 15,
    Unauthenticated = 16,
    Unauthorized = 17
};

// Such as "com.korvex.quon.std.errors.not_found" for ErrorType::NotFound.
std::string ErrorName(ErrorType type);
// Such as "NOT_FOUND" for ErrorType::NotFound.
std::string_view ErrorTypeText(ErrorType type);

// Creates the error of that type: "messages", no "data", "errorType".
Data::ErrorValue MakeError(ErrorType type,
                           const std::vector<L10n::LocalizableMessage>& messages = {});
// The error of an operation that ended without a result; without a name when memory is exhausted.
Data::ErrorValue MakeNoResultError() noexcept;

}  // namespace Quon::Std
