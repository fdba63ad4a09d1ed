// What a setting accepts, what the daemon makes of a value, and what is to be said of it.
#pragma once

#include "ctl/settings/catalog.h"

#include <optional>
#include <string>
#include <string_view>

namespace Ctl {

// The value as a person types it, without quotes; empty for none.
std::string TextOf(const SettingValue& value);

// "an integer from 41 to 500", "fast, medium or slow".
std::string AcceptedValues(const Setting& setting);

// What the daemon takes when the files say `stored`, a value of the setting's type.
SettingValue InEffect(const Setting& setting, const SettingValue& stored);

// Whether `stored` counts, perhaps as the word that it begins with, or the default holds instead.
bool Counts(const Setting& setting, const SettingValue& stored);

// What a value of the setting's type does that somebody should know.
Judgement Judge(const Setting& setting, const SettingValue& stored);

// The value that `text` is, exactly as written. Nothing, and `problem` goes on after the text in
// quotes, when it is none that the setting accepts.
std::optional<SettingValue> ParseValue(const Setting& setting, std::string_view text,
                                       std::string& problem);

}  // namespace Ctl
