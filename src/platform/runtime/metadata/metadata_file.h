// Reads metadata files, within bounds, and takes their sections apart. What is done with a section
// is for those who keep it.
#pragma once

#include "platform/runtime/call/native.h"
#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/localizer.h"

#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace Quon::MetadataModel {

// Longer files are refused.
inline constexpr std::size_t kMaxFileBytes = 1024 * 1024;

// The document in a file: always an object, nested at most Json::kMaxDepth deep, without equal
// names. Nothing, with `problem` set, when the file is not like that or cannot be read.
std::optional<Data::DataValue> ReadDocument(std::istream& file, L10n::LocalizableMessage& problem);

// Reads one member of a document. After a problem, which names the place, `member` is of no use.
template <typename T>
Native::Problem ReadMember(const Data::StructureValue& document, std::string_view name, T& member) {
    const Native::MemberPath root;
    const Native::MemberPath path(&root, name);
    const Data::DataValue* value = document.Find(name);
    return value == nullptr ? Native::MissingMember(path, Native::TypeOf<T>())
                            : Native::ReadValue(*value, path, member);
}

}  // namespace Quon::MetadataModel
