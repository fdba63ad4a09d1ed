// Converts clients' JSON text to values of the API. native_from_data.h checks names and types of
// members against the definition of an operation.
#pragma once

#include "platform/runtime/values/data_value.h"

#include <string_view>

namespace Quon::Protocol::Json {

// Converts `text`: objects become structures without a name, signed 64-bit integers become
// integers, other numbers doubles. Of equal names in an object the last one counts. `text` must be
// well-formed and within the bounds of size and depth (JsonApiRequestDeserializer). Throws
// std::invalid_argument if it is not JSON after all, and std::bad_alloc.
Data::DataValue ReadValue(std::string_view text);

}  // namespace Quon::Protocol::Json
