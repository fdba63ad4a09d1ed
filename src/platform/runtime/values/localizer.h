// The messages that people read in the runtime's answers: identifiers with their default texts in
// one catalogue, and the texts put together from them.
#pragma once

#include "platform/runtime/values/data_value.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::L10n {

// A message that can be translated: its identifier, its text in the default locale with the
// arguments filled in, and the arguments by themselves.
struct LocalizableMessage {
    std::string id;
    std::string defaultMessage;
    std::vector<std::string> args;
};

// The structure {"id", "defaultMessage", "args"}.
Data::DataValue ToData(const LocalizableMessage& message);

// An argument may come from a client. Longer ones are cut at a character's border, and "..." is
// added.
inline constexpr std::size_t kMaxArgumentBytes = 256;

// Texts for one list of locales, the preferred first. The only catalogue is that of "en_US", which
// stands in for every other locale. Any thread.
class Localizer {
  public:
    explicit Localizer(const std::vector<std::string>& /*locales*/) {}

    // The message of that identifier, "%1" to "%4" of its text replaced by `args`, which are cut to
    // kMaxArgumentBytes. Of an unknown identifier the text is the identifier itself.
    LocalizableMessage Localize(std::string_view id, std::vector<std::string> args = {}) const;
};

// Localize under the default context ("en_US").
LocalizableMessage MakeMessage(std::string_view id, std::vector<std::string> args = {});

}  // namespace Quon::L10n
