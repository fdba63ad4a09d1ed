// From C++ types to the values of the API and back, driven by one definition a type: a tuple of
// fields for a structure, a table of texts for an enumeration. The same definitions give the
// parameter checks, the serialization, the metadata and the introspection, so that a new field is
// one new row.
//
//   template <>
//   struct Quon::Native::StructureOf<Info> {
//       static constexpr std::string_view kName = "com.korvex.oru.observability.reports.info";
//       static constexpr std::string_view kDocumentation = "The newest report of a name.";
//       static constexpr auto kFields = std::make_tuple(
//           Field{"time", &Info::time, "When the report was made."}, ...);
//   };
//
// Types of fields: bool, std::int64_t, std::string, DateTime, an enumeration with EnumerationOf, a
// structure with StructureOf, std::shared_ptr<const structure>, std::vector (a list), std::set of
// strings (equal elements count once), and std::optional of any of these.
#pragma once

#include "platform/runtime/data_value.h"
#include "platform/runtime/definition.h"

#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quon::Native {

template <typename Owner, typename Member>
struct Field {
    std::string_view name;
    Member Owner::*member;
    std::string_view documentation;
};
template <typename Owner, typename Member>
Field(const char*, Member Owner::*, const char*) -> Field<Owner, Member>;

// Specialised for each structure: kName, kDocumentation, kFields.
template <typename T>
struct StructureOf;

// Specialised for each enumeration: kName, kDocumentation, kTexts (an array of string views, the
// text of ordinal i at i) and, when a text that is none of them is not an error, kOtherTexts (the
// value that it counts as).
template <typename T>
struct EnumerationOf;

}  // namespace Quon::Native
