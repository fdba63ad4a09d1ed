// Values as JSON text, written piece by piece, so that a long answer never stands in memory as one
// text.
#pragma once

#include "platform/runtime/values/data_value.h"

#include <cstddef>
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

    // Appends the next part to `json`: at least `wantedBytes`, or what is left, and more by no more
    // than one scalar value. Returns whether anything is left. What a ListSource throws passes
    // through; the writer is of no use then.
    bool Next(std::string& json, std::size_t wantedBytes);

  private:
    // A container that is open.
    struct Level {
        Data::DataValue container;
        std::size_t next;  // the index of its next field or element
        bool isAtStart;    // nothing of it is written yet
    };

    // Writes a scalar value, or the opening of a container.
    void Begin(const Data::DataValue& value, std::string& json);
    // Goes on by one field, element or closing of the innermost container.
    void Step(std::string& json);
    void Separate(std::string& json);
    void End(char closing, std::string& json);

    Data::DataValue root;
    bool isStarted = false;
    std::vector<Level> levels;
};

}  // namespace Quon::Protocol::Json
