#include "platform/runtime/values/data_value.h"

#include <algorithm>

namespace Quon::Data {

DataValue::DataValue(ListValue value)
    : content(std::make_shared<const ListValue>(std::move(value))) {}

DataValue::DataValue(StructureValue value)
    : content(std::make_shared<const StructureValue>(std::move(value))) {}

const ListValue* DataValue::AsList() const {
    const auto* list = As<std::shared_ptr<const ListValue>>();
    return list != nullptr ? list->get() : nullptr;
}

const StructureValue* DataValue::AsStructure() const {
    const auto* structure = As<std::shared_ptr<const StructureValue>>();
    return structure != nullptr ? structure->get() : nullptr;
}

void StructureValue::Add(std::string field, DataValue value) {
    fields.push_back({std::move(field), std::move(value)});
}

const DataValue* StructureValue::Find(std::string_view field) const {
    const auto found =
        std::find_if(fields.begin(), fields.end(),
                     [field](const FieldValue& candidate) { return candidate.name == field; });
    return found != fields.end() && !found->value.IsUnset() ? &found->value : nullptr;
}

}  // namespace Quon::Data
