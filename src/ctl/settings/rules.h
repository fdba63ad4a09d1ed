// The rules of a setting: which values it accepts, which value takes effect, and remarks about it.
#pragma once

#include "ctl/settings/catalog.h"

#include <optional>
#include <string>
#include <string_view>

namespace Ctl {

// The value as a person types it, without quotes; empty if there is none.
std::string TextOf(const SettingValue& value);

// "an integer from 41 to 500", "fast, medium or slow".
std::string AcceptedValues(const Setting& setting);

// The value in effect if the files have `stored`, a value of the setting's type.
SettingValue InEffect(const Setting& setting, const SettingValue& stored);

// Whether `stored` takes effect, perhaps as the word that it begins with; if not, the default
// holds.
bool Counts(const Setting& setting, const SettingValue& stored);

// The remark about a value of the setting's type.
Judgement Judge(const Setting& setting, const SettingValue& stored);

// Parses `text`, exactly as written. Nothing if the setting does not accept it; `problem` then
// continues after the quoted text.
std::optional<SettingValue> ParseValue(const Setting& setting, std::string_view text,
                                       std::string& problem);

}  // namespace Ctl
