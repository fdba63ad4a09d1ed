// The messages in the runtime's responses: a catalogue of identifiers with default texts, and the
// composition of messages from it.
#pragma once

#include "platform/runtime/values/data_value.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::L10n {

// A translatable message: its identifier, its default text with the arguments filled in, and the
// arguments.
struct LocalizableMessage {
    std::string id;
    std::string defaultMessage;
    std::vector<std::string> args;
};

// Converts to the structure {"id", "defaultMessage", "args"}.
Data::DataValue ToData(const LocalizableMessage& message);

// Limits arguments, which may come from clients. Longer ones are cut at a character boundary, and
// "..." is appended.
inline constexpr std::size_t kMaxArgumentBytes = 256;

// Composes messages for a list of locales in order of preference. The only catalogue is "en_US",
// which stands in for every other locale. Any thread.
class Localizer {
  public:
    explicit Localizer(const std::vector<std::string>& /*locales*/) {}

    // The message with that identifier, "%1" to "%4" of its text replaced by `args`, each cut to
    // kMaxArgumentBytes. An unknown identifier becomes the text itself.
    LocalizableMessage Localize(std::string_view id, std::vector<std::string> args = {}) const;
};

// Localizes in the default locale ("en_US").
LocalizableMessage MakeMessage(std::string_view id, std::vector<std::string> args = {});

}  // namespace Quon::L10n
