// What a client is told of parameters that do not fit: which member, named by its path, and why.
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

// Where a value stands, as a chain of steps that live on the stack of the reader; the text is made
// only when something does not fit.
class MemberPath {
  public:
    // The parameters as a whole.
    MemberPath() = default;
    // `parent` and what `member` is a view of live longer than the path.
    MemberPath(const MemberPath* parent, std::string_view member)
        : parent(parent), member(member) {}
    MemberPath(const MemberPath* parent, std::size_t index) : parent(parent), index(index) {}

    // "filter.names[2]"
    std::string ToString() const;

  private:
    const MemberPath* parent = nullptr;
    std::string_view member;
    std::optional<std::size_t> index;  // set for an element of a list
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
