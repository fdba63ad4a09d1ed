// The values that pass between the services and the protocol: a tree of immutable parts that can be
// shared. The definitions of native.h describe their content, json_writer.h their form on the wire.
#pragma once

#include "platform/runtime/values/date_time.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Quon::Data {

class StructureValue;
class ListSource;
class DataValue;

using ListValue = std::vector<DataValue>;

// An unset value (JSON null), a boolean, a number, a text (bytes, meant to be UTF-8; possibly
// shared with a native value), a time, a list, a structure, or a list that creates its elements on
// demand. An enumeration is the text of its value. Doubles only come from clients.
class DataValue {
  public:
    using Variant =
        std::variant<std::monostate, bool, std::int64_t, double, std::string, DateTime,
                     std::shared_ptr<const std::string>, std::shared_ptr<const ListValue>,
                     std::shared_ptr<const StructureValue>, std::shared_ptr<const ListSource>>;

    DataValue() = default;
    explicit DataValue(bool value) : content(value) {}
    explicit DataValue(std::int64_t value) : content(value) {}
    explicit DataValue(double value) : content(value) {}
    explicit DataValue(std::string value) : content(std::move(value)) {}
    explicit DataValue(const char* value) : content(std::string(value)) {}
    explicit DataValue(DateTime value) : content(value) {}
    // None of the pointers may be null.
    explicit DataValue(std::shared_ptr<const std::string> value) : content(std::move(value)) {}
    explicit DataValue(std::shared_ptr<const ListValue> value) : content(std::move(value)) {}
    explicit DataValue(std::shared_ptr<const StructureValue> value) : content(std::move(value)) {}
    explicit DataValue(std::shared_ptr<const ListSource> value) : content(std::move(value)) {}
    explicit DataValue(ListValue value);
    explicit DataValue(StructureValue value);

    bool IsUnset() const { return std::holds_alternative<std::monostate>(content); }
    const Variant& Content() const { return content; }

    // The value if it has this type, else null.
    template <typename T>
    const T* As() const {
        return std::get_if<T>(&content);
    }
    const ListValue* AsList() const;
    const StructureValue* AsStructure() const;

  private:
    Variant content;
};

struct FieldValue {
    std::string name;
    DataValue value;
};

// Named fields in declared order. Unset fields are omitted.
class StructureValue {
  public:
    // `name` identifies the structure's definition, such as
    // "com.korvex.quon.std.errors.not_found"; empty for an object that came from a client.
    explicit StructureValue(std::string name = {}) : name(std::move(name)) {}

    const std::string& Name() const { return name; }
    // Reserves memory for that many fields.
    void Reserve(std::size_t fieldCount) { fields.reserve(fieldCount); }
    // Appends a field; callers never append a name twice.
    void Add(std::string field, DataValue value);
    const std::vector<FieldValue>& Fields() const { return fields; }
    // The field of that name; null if it is absent or unset.
    const DataValue* Find(std::string_view field) const;

  private:
    std::string name;
    std::vector<FieldValue> fields;
};

// A long list in its native form, each element of which becomes a DataValue while it is written.
// Immutable; one thread at a time.
class ListSource {
  public:
    virtual ~ListSource() = default;
    virtual std::size_t Size() const = 0;
    // `index` is below Size(). May throw std::bad_alloc.
    virtual DataValue At(std::size_t index) const = 0;
};

}  // namespace Quon::Data
