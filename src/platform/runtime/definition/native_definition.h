// Describes C++ types by the values of definition.h.
#pragma once

#include "platform/runtime/definition/definition.h"
#include "platform/runtime/definition/native_traits.h"
#include "platform/runtime/values/date_time.h"

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace Quon::Native {

template <typename T>
Definition::Type TypeOf() {
    using Definition::TypeKind;
    if constexpr (kIsOptional<T>) {
        Definition::Type type = TypeOf<typename T::value_type>();
        type.optional = true;
        return type;
    } else if constexpr (kIsShared<T>) {
        return TypeOf<std::remove_const_t<typename T::element_type>>();
    } else if constexpr (kIsList<T> || kIsSet<T>) {
        return {kIsList<T> ? TypeKind::List : TypeKind::Set,
                false,
                {},
                std::make_shared<const Definition::Type>(TypeOf<typename T::value_type>())};
    } else if constexpr (IsStructure<T>) {
        return {TypeKind::Structure, false, std::string(StructureOf<T>::kName), nullptr};
    } else if constexpr (IsEnumeration<T>) {
        return {TypeKind::Enumeration, false, std::string(EnumerationOf<T>::kName), nullptr};
    } else if constexpr (std::is_same_v<T, bool>) {
        return {TypeKind::Boolean, false, {}, nullptr};
    } else if constexpr (std::is_same_v<T, std::int64_t>) {
        return {TypeKind::Integer, false, {}, nullptr};
    } else if constexpr (std::is_same_v<T, std::string>) {
        return {TypeKind::String, false, {}, nullptr};
    } else {
        static_assert(std::is_same_v<T, DateTime>, "no type of the API");
        return {TypeKind::DateTime, false, {}, nullptr};
    }
}

// The fields in declared order, for structures and for an operation's parameters.
template <IsStructure T>
std::vector<Definition::Field> DescribeFields() {
    std::vector<Definition::Field> fields;
    ForEachField<T>([&fields]<typename Member>(const Field<T, Member>& field) {
        fields.push_back(
            {std::string(field.name), TypeOf<Member>(), std::string(field.documentation)});
    });
    return fields;
}

template <IsStructure T>
Definition::Structure DescribeStructure() {
    return {std::string(StructureOf<T>::kName), std::string(StructureOf<T>::kDocumentation),
            DescribeFields<T>()};
}

template <IsEnumeration E>
Definition::Enumeration DescribeEnumeration() {
    using Traits = EnumerationOf<E>;
    return {std::string(Traits::kName), std::string(Traits::kDocumentation),
            std::vector<std::string>(Traits::kTexts.begin(), Traits::kTexts.end())};
}

}  // namespace Quon::Native
