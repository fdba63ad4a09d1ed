// Converts C++ values to values of the API by the definitions of their types. native_from_data.h
// does the reverse.
#pragma once

#include "platform/runtime/definition/native_traits.h"
#include "platform/runtime/values/data_value.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quon::Native {

// Keeps a native value alive while its lists are written; may be null.
using Owner = std::shared_ptr<const void>;

// The text of an enumerator. An invalid value never reaches the wire: it is written as kOtherTexts
// if the enumeration has it, else as the last text.
template <IsEnumeration E>
std::string_view TextOf(E value) {
    using Traits = EnumerationOf<E>;
    const auto ordinal = static_cast<std::size_t>(value);  // a negative value becomes a huge one
    if (ordinal < Traits::kTexts.size()) {
        return Traits::kTexts[ordinal];
    }
    if constexpr (requires { Traits::kOtherTexts; }) {
        return Traits::kTexts[static_cast<std::size_t>(Traits::kOtherTexts)];
    } else {
        return Traits::kTexts.back();
    }
}

template <typename T>
Data::DataValue ToOwnedData(const T& native, const Owner& owner);

// A list of native structures. `elements` shares ownership with the object that contains them.
template <typename Element>
class NativeListSource : public Data::ListSource {
  public:
    explicit NativeListSource(std::shared_ptr<const std::vector<Element>> elements)
        : elements(std::move(elements)) {}

    std::size_t Size() const override { return elements->size(); }
    Data::DataValue At(std::size_t index) const override {
        return ToOwnedData((*elements)[index], elements);
    }

  private:
    const std::shared_ptr<const std::vector<Element>> elements;
};

template <typename Element>
Data::DataValue ToListData(const std::vector<Element>& elements, const Owner& owner) {
    constexpr bool kHoldsStructures = IsStructure<Element> || kIsShared<Element>;
    if constexpr (kHoldsStructures) {
        if (owner) {
            std::shared_ptr<const std::vector<Element>> owned(owner, &elements);
            return Data::DataValue(std::shared_ptr<const Data::ListSource>(
                std::make_shared<NativeListSource<Element>>(std::move(owned))));
        }
    }
    Data::ListValue list;
    list.reserve(elements.size());
    for (const auto& element : elements) {
        list.push_back(ToOwnedData<Element>(element, owner));
    }
    return Data::DataValue(std::move(list));
}

template <IsStructure T>
Data::DataValue ToStructureData(const T& native, const Owner& owner) {
    Data::StructureValue structure{std::string(StructureOf<T>::kName)};
    structure.Reserve(kFieldCount<T>);
    ForEachField<T>([&](const auto& field) {
        Data::DataValue value = ToOwnedData(native.*field.member, owner);
        if (!value.IsUnset()) {
            structure.Add(std::string(field.name), std::move(value));
        }
    });
    return Data::DataValue(std::move(structure));
}

template <typename T>
Data::DataValue ToOwnedData(const T& native, const Owner& owner) {
    if constexpr (kIsOptional<T>) {
        return native ? ToOwnedData(*native, owner) : Data::DataValue();
    } else if constexpr (kIsShared<T>) {
        return ToOwnedData(*native, native);
    } else if constexpr (kIsList<T>) {
        return ToListData(native, owner);
    } else if constexpr (kIsSet<T>) {
        Data::ListValue list;
        list.reserve(native.size());
        for (const auto& element : native) {
            list.push_back(ToOwnedData(element, owner));
        }
        return Data::DataValue(std::move(list));
    } else if constexpr (IsStructure<T>) {
        return ToStructureData(native, owner);
    } else if constexpr (IsEnumeration<T>) {
        return Data::DataValue(std::string(TextOf(native)));
    } else if constexpr (std::is_same_v<T, std::string>) {
        return owner ? Data::DataValue(std::shared_ptr<const std::string>(owner, &native))
                     : Data::DataValue(native);
    } else {
        return Data::DataValue(native);
    }
}

// Converts a value of any API type; the result owns everything that it refers to.
template <typename T>
Data::DataValue ToData(const T& native) {
    return ToOwnedData(native, nullptr);
}

// Converts the same way, but texts and lists of structures refer to `native` and keep it alive:
// list elements are converted while they are written, so a long result is not in memory twice.
// `native` must not be null and must not change any more.
template <typename T>
Data::DataValue ToData(const std::shared_ptr<const T>& native) {
    return ToOwnedData(*native, native);
}

}  // namespace Quon::Native
