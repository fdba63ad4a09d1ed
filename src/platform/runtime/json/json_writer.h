// Writes values as JSON in pieces, so that a long response is never in memory as one text.
#pragma once

#include "platform/runtime/values/data_value.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::Protocol::Json {

// Appends `text` as a JSON string. Replaces bytes that are not UTF-8 by U+FFFD; does not escape
// non-ASCII characters.
void AppendString(std::string_view text, std::string& json);

// Writes one value: compact, fields in declared order, without unset ones. Asks a ListSource for
// one element at a time.
class ValueWriter {
  public:
    explicit ValueWriter(Data::DataValue value);

    // Appends the next part, of at least `wantedBytes`, or the rest to `json`; exceeds
    // `wantedBytes` by at most one scalar value. Returns whether anything is left. Passes on what a
    // ListSource throws, after which the writer is unusable.
    bool Next(std::string& json, std::size_t wantedBytes);

  private:
    // An open container.
    struct Level {
        Data::DataValue container;
        std::size_t next;  // the index of its next field or element
        bool isAtStart;    // nothing of its content is written yet
    };

    // Writes a scalar value or opens a container.
    void Begin(const Data::DataValue& value, std::string& json);
    // Writes the next field, element or closing bracket of the innermost container.
    void Step(std::string& json);
    void Separate(std::string& json);
    void End(char closing, std::string& json);

    Data::DataValue root;
    bool isStarted = false;
    std::vector<Level> levels;
};

}  // namespace Quon::Protocol::Json
