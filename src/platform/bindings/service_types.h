// Collects the structures and enumerations that the API's C++ types consist of, for the definition
// of a service.
#pragma once

#include "platform/runtime/definition/native_definition.h"

#include <algorithm>
#include <type_traits>

namespace Quon::Bindings {

template <typename T>
void AddTypes(Definition::Service& service);

// Adds the types of a structure's fields, and all types within them.
template <typename T>
void AddFieldTypes(Definition::Service& service) {
    Native::ForEachField<T>([&service]<typename Member>(const Native::Field<T, Member>& /*field*/) {
        AddTypes<Member>(service);
    });
}

// Adds each structure and enumeration within `T` once.
template <typename T>
void AddTypes(Definition::Service& service) {
    const auto isNew = [](const auto& described) {
        return std::none_of(described.begin(), described.end(),
                            [](const auto& each) { return each.name == Native::TypeOf<T>().name; });
    };
    if constexpr (Native::kIsOptional<T> || Native::kIsList<T>) {
        AddTypes<typename T::value_type>(service);
    } else if constexpr (Native::kIsShared<T>) {
        AddTypes<std::remove_const_t<typename T::element_type>>(service);
    } else if constexpr (Native::IsEnumeration<T>) {
        if (isNew(service.enumerations)) {
            service.enumerations.push_back(Native::DescribeEnumeration<T>());
        }
    } else if constexpr (Native::IsStructure<T>) {
        if (isNew(service.structures)) {
            service.structures.push_back(Native::DescribeStructure<T>());
            AddFieldTypes<T>(service);
        }
    }
}

}  // namespace Quon::Bindings
