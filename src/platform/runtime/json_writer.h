// Values as JSON text, written piece by piece, so that a long answer never stands in memory as one
// text.
#pragma once

#include "platform/runtime/data_value.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::Protocol::Json {

// Appends `text` as a JSON string. Bytes that are not UTF-8 become U+FFFD; non-ASCII characters
// stay as they are.
void AppendString(std::string_view text, std::string& json);

// Writes one value: compact, fields in declared order, unset ones left out. Lists of a ListSource
// are asked for one element at a time.
class ValueWriter {
  public:
    explicit ValueWriter(Data::DataValue value);

    // Appends the next part to `json`, at least `wantedBytes` unless the value ends before, and
    // more by no more than one scalar value or list element. False once everything was appended.
    bool Next(std::string& json, std::size_t wantedBytes);

  private:
    struct Level;

    std::vector<Level> levels;
};

}  // namespace Quon::Protocol::Json
