// Composes messages to clients about invalid parameters: the member, by its path, and the reason.
#pragma once

#include "platform/runtime/definition/definition.h"
#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/localizer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Quon::Native {

// The path of a value, as a chain of objects on the reader's stack; composes the text only for an
// invalid value.
class MemberPath {
  public:
    // The parameters as a whole.
    MemberPath() = default;
    // `parent` and the text of `member` outlive the path.
    MemberPath(const MemberPath* parent, std::string_view member)
        : parent(parent), member(member) {}
    MemberPath(const MemberPath* parent, std::size_t index) : parent(parent), index(index) {}

    // Such as "filter.names[2]".
    std::string ToString() const;

  private:
    const MemberPath* parent = nullptr;
    std::string_view member;
    std::optional<std::size_t> index;  // set for a list element
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
