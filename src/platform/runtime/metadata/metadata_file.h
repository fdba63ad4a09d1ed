// Reads metadata files within bounds and splits them into sections.
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

// Parses the document in a file: an object, nested at most Json::kMaxDepth deep, without equal
// names. Returns nothing and sets `problem` if the file is anything else or cannot be read.
std::optional<Data::DataValue> ReadDocument(std::istream& file, L10n::LocalizableMessage& problem);

// Reads one member of a document. On a problem, which names the position, `member` is unusable.
template <typename T>
Native::Problem ReadMember(const Data::StructureValue& document, std::string_view name, T& member) {
    const Native::MemberPath root;
    const Native::MemberPath path(&root, name);
    const Data::DataValue* value = document.Find(name);
    return value == nullptr ? Native::MissingMember(path, Native::TypeOf<T>())
                            : Native::ReadValue(*value, path, member);
}

}  // namespace Quon::MetadataModel
