#include "platform/runtime/json/value_reader.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace Quon::Protocol::Json {

namespace {

using Data::DataValue;
using nlohmann::json;

// Recurses as deep as the text is nested, which the caller has bounded.
DataValue Convert(json& value);

DataValue ConvertObject(json& object) {
    Data::StructureValue structure;
    structure.Reserve(object.size());
    for (auto& member : object.items()) {
        structure.Add(member.key(), Convert(member.value()));
    }
    return DataValue(std::move(structure));
}

DataValue ConvertList(json& array) {
    Data::ListValue list;
    list.reserve(array.size());
    for (json& element : array) {
        list.push_back(Convert(element));
    }
    return DataValue(std::move(list));
}

DataValue ConvertUnsigned(std::uint64_t number) {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
    return number <= kLargest ? DataValue(static_cast<std::int64_t>(number))
                              : DataValue(static_cast<double>(number));
}

DataValue Convert(json& value) {
    switch (value.type()) {
        case json::value_t::object:
            return ConvertObject(value);
        case json::value_t::array:
            return ConvertList(value);
        case json::value_t::string:
            return DataValue(std::move(value.get_ref<std::string&>()));
        case json::value_t::boolean:
            return DataValue(value.get<bool>());
        case json::value_t::number_integer:
            return DataValue(value.get<std::int64_t>());
        case json::value_t::number_unsigned:
            return ConvertUnsigned(value.get<std::uint64_t>());
        case json::value_t::number_float:
            return DataValue(value.get<double>());
        default:
            return DataValue();
    }
}

}  // namespace

DataValue ReadValue(std::string_view text) {
    constexpr bool kThrows = false;
    json document = json::parse(text, nullptr, kThrows);
    if (document.is_discarded()) {
        throw std::invalid_argument("the text is not JSON");
    }
    return Convert(document);
}

}  // namespace Quon::Protocol::Json
