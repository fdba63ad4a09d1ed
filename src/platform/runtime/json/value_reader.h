// JSON text of clients as values of the API. What the members are called and must be is checked
// against the definition of an operation (native_from_data.h), not here.
#pragma once

#include "platform/runtime/values/data_value.h"

#include <string_view>

namespace Quon::Protocol::Json {

// The value that `text` stands for: objects as structures without a name, lists as such, integers
// of 64 bits with a sign as integers, all other numbers as fractions, texts as texts. The last of
// equal names of an object holds. `text` is known to be well-formed, within the bounds of size and
// of depth (JsonApiRequestDeserializer); std::invalid_argument is thrown when it is not JSON after
// all, and std::bad_alloc.
Data::DataValue ReadValue(std::string_view text);

}  // namespace Quon::Protocol::Json
