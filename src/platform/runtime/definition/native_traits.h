// The definitions of API types, each written once: a tuple of fields for a structure, a table of
// texts for an enumeration. The other native_*.h are derived from them.
//
//   template <>
//   struct Quon::Native::StructureOf<Info> {
//       static constexpr std::string_view kName = "com.korvex.oru.observability.reports.info";
//       static constexpr std::string_view kDocumentation = "The newest report of a report name.";
//       static constexpr auto kFields = std::make_tuple(
//           Field{"time", &Info::time, "When the report was created."}, ...);
//   };
//
// Types of fields: bool, std::int64_t, std::string, DateTime, an enumeration with EnumerationOf, a
// structure with StructureOf, std::shared_ptr<const structure> (never null), std::vector (a list),
// std::set of strings (equal elements count once), and std::optional of any of these.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

namespace Quon::Native {

template <typename Owner, typename Member>
struct Field {
    std::string_view name;
    Member Owner::* member;
    std::string_view documentation;
};
template <typename Owner, typename Member>
Field(const char*, Member Owner::*, const char*) -> Field<Owner, Member>;

// Specialise it for each structure: kName, kDocumentation, kFields.
template <typename T>
struct StructureOf;

// Specialise it for each enumeration: kName, kDocumentation, kTexts (an array of string views,
// indexed by ordinal) and, if unknown texts are accepted, kOtherTexts (the value that they stand
// for).
template <typename T>
struct EnumerationOf;

template <typename T>
concept IsStructure = requires { StructureOf<T>::kFields; };
template <typename T>
concept IsEnumeration = std::is_enum_v<T> && requires { EnumerationOf<T>::kTexts; };

template <typename T>
inline constexpr bool kIsOptional = false;
template <typename T>
inline constexpr bool kIsOptional<std::optional<T>> = true;

template <typename T>
inline constexpr bool kIsShared = false;
template <typename T>
inline constexpr bool kIsShared<std::shared_ptr<const T>> = true;

template <typename T>
inline constexpr bool kIsList = false;
template <typename T>
inline constexpr bool kIsList<std::vector<T>> = true;

template <typename T>
inline constexpr bool kIsSet = false;
template <typename T>
inline constexpr bool kIsSet<std::set<T>> = true;

// Calls `visit` with each Field of the structure in declared order.
template <IsStructure T, typename Visitor>
void ForEachField(const Visitor& visit) {
    std::apply([&visit](const auto&... fields) { (visit(fields), ...); }, StructureOf<T>::kFields);
}

template <IsStructure T>
inline constexpr std::size_t kFieldCount =
    std::tuple_size_v<std::remove_const_t<decltype(StructureOf<T>::kFields)>>;

}  // namespace Quon::Native
