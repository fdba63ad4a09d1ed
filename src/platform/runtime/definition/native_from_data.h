// Converts clients' values of the API to C++ values by the definitions of their types: refuses
// unknown members, missing members and wrong types. native_to_data.h does the reverse.
#pragma once

#include "platform/runtime/definition/member_problem.h"
#include "platform/runtime/definition/native_definition.h"
#include "platform/runtime/definition/native_traits.h"
#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/date_time.h"
#include "platform/runtime/values/localizer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quon::Native {

// The message to the client about an invalid value; nothing if the value was converted.
using Problem = std::optional<L10n::LocalizableMessage>;

template <typename T>
Problem ReadValue(const Data::DataValue& value, const MemberPath& path, T& native);

template <IsStructure T>
Problem ReadStructure(const Data::StructureValue& value, const MemberPath& path, T& native) {
    std::array<std::string_view, kFieldCount<T>> names{};
    Problem problem;
    std::size_t count = 0;
    ForEachField<T>([&]<typename Member>(const Field<T, Member>& field) {
        names[count++] = field.name;
        if (problem) {
            return;
        }
        const MemberPath memberPath{&path, field.name};
        if (const Data::DataValue* member = value.Find(field.name)) {
            problem = ReadValue(*member, memberPath, native.*field.member);
        } else if constexpr (!kIsOptional<Member>) {
            problem = MissingMember(memberPath, TypeOf<Member>());
        }
    });
    for (const Data::FieldValue& member : value.Fields()) {
        if (!problem && std::find(names.begin(), names.end(), member.name) == names.end()) {
            problem = UnknownMember(MemberPath{&path, member.name},
                                    std::vector<std::string_view>(names.begin(), names.end()));
        }
    }
    return problem;
}

// `T` is a list or set.
template <typename T>
Problem ReadElements(const Data::ListValue& list, const MemberPath& path, T& native) {
    for (std::size_t index = 0; index < list.size(); ++index) {
        typename T::value_type element{};
        if (Problem problem = ReadValue(list[index], MemberPath{&path, index}, element)) {
            return problem;
        }
        native.insert(native.end(), std::move(element));
    }
    return std::nullopt;
}

template <IsEnumeration E>
Problem ReadEnumeration(const std::string& text, const MemberPath& path, E& native) {
    using Traits = EnumerationOf<E>;
    const auto found = std::find(Traits::kTexts.begin(), Traits::kTexts.end(), text);
    if (found != Traits::kTexts.end()) {
        native = static_cast<E>(found - Traits::kTexts.begin());
        return std::nullopt;
    }
    if constexpr (requires { Traits::kOtherTexts; }) {
        native = Traits::kOtherTexts;
        return std::nullopt;
    } else {
        return UnknownText(path, {Traits::kTexts.begin(), Traits::kTexts.end()});
    }
}

template <typename T>
Problem ReadValue(const Data::DataValue& value, const MemberPath& path, T& native) {
    if constexpr (kIsOptional<T>) {
        return ReadValue(value, path, native.emplace());
    } else if constexpr (kIsShared<T>) {
        auto read = std::make_shared<std::remove_const_t<typename T::element_type>>();
        Problem problem = ReadValue(value, path, *read);
        native = std::move(read);
        return problem;
    } else if constexpr (kIsList<T> || kIsSet<T>) {
        if (const Data::ListValue* list = value.AsList()) {
            return ReadElements(*list, path, native);
        }
    } else if constexpr (IsStructure<T>) {
        if (const Data::StructureValue* structure = value.AsStructure()) {
            return ReadStructure(*structure, path, native);
        }
    } else if constexpr (IsEnumeration<T>) {
        if (const auto* text = value.As<std::string>()) {
            return ReadEnumeration(*text, path, native);
        }
    } else if constexpr (std::is_same_v<T, DateTime>) {
        if (const auto* text = value.As<std::string>()) {
            std::error_code error;
            native = DateTime::Create(*text, error);
            return error ? Problem(NoDateTime(path, error)) : std::nullopt;
        }
    } else if (const T* read = value.As<T>()) {
        native = *read;
        return std::nullopt;
    }
    return WrongType(path, TypeOf<T>(), value);
}

// Reads the members of a structure. An optional member that is absent or null stays unset. On a
// problem, which names the member by its path ("filter.names[2]"), `native` contains what was read
// before it.
template <IsStructure T>
Problem FromData(const Data::StructureValue& value, T& native) {
    return ReadStructure(value, MemberPath{}, native);
}

}  // namespace Quon::Native
