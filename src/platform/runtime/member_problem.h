// What a client is told of parameters that do not fit: which member, named by its path, and why.
#pragma once

#include "platform/runtime/data_value.h"
#include "platform/runtime/definition.h"
#include "platform/runtime/localizer.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Quon::Native {

// Where a value stands, as a chain of steps that live on the stack of the reader; the text is made
// only when something does not fit.
struct MemberPath {
    const MemberPath* parent = nullptr;  // null for the parameters as a whole
    std::string_view member;             // empty for an element of a list
    std::size_t index = 0;               // of that element

    // "filter.names[2]"
    std::string ToString() const;
};

L10n::LocalizableMessage MissingMember(const MemberPath& path, const Definition::Type& type);
L10n::LocalizableMessage UnknownMember(const MemberPath& path,
                                       const std::vector<std::string_view>& knownNames);
L10n::LocalizableMessage UnknownText(const MemberPath& path,
                                     const std::vector<std::string_view>& knownTexts);
L10n::LocalizableMessage NoDateTime(const MemberPath& path, const std::error_code& reason);
L10n::LocalizableMessage WrongType(const MemberPath& path, const Definition::Type& wanted,
                                   const Data::DataValue& found);

}  // namespace Quon::Native
