#include "ctl/settings/rules.h"

#include "ctl/show/printable.h"
#include "ctl/show/words.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>

#include <strings.h>

namespace Ctl {

namespace {

bool BeginsWithWord(const std::string& text, const std::string& word) {
    return ::strncasecmp(text.c_str(), word.c_str(), word.size()) == 0;
}

std::optional<std::int32_t> ParseInteger(std::string_view text) {
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isExact = error == std::errc() && std::to_string(value) == text;
    return isExact ? std::optional(value) : std::nullopt;
}

std::optional<SettingValue> ParseByType(const Setting& setting, std::string_view text) {
    if (setting.type == SettingType::Boolean) {
        const bool isTrue = text == "true";
        return isTrue || text == "false" ? std::optional<SettingValue>(isTrue) : std::nullopt;
    }
    if (setting.type == SettingType::Integer) {
        const std::optional<std::int32_t> value = ParseInteger(text);
        return value && *value >= setting.least && *value <= setting.most
                   ? std::optional<SettingValue>(*value)
                   : std::nullopt;
    }
    const bool isWord =
        setting.words.empty() ||
        std::find(setting.words.begin(), setting.words.end(), text) != setting.words.end();
    const bool isFit = isWord && !text.empty() && PrintableText(text) == text;
    return isFit ? std::optional<SettingValue>(std::string(text)) : std::nullopt;
}

}  // namespace

std::string TextOf(const SettingValue& value) {
    if (const bool* isTrue = std::get_if<bool>(&value)) {
        return *isTrue ? "true" : "false";
    }
    if (const std::int32_t* number = std::get_if<std::int32_t>(&value)) {
        return std::to_string(*number);
    }
    const std::string* text = std::get_if<std::string>(&value);
    return text == nullptr ? "" : *text;
}

std::string AcceptedValues(const Setting& setting) {
    if (setting.type == SettingType::Boolean) {
        return "true or false";
    }
    if (setting.type == SettingType::Integer) {
        return "an integer " + (setting.most == std::numeric_limits<std::int32_t>::max()
                                    ? "of " + std::to_string(setting.least) + " or more"
                                    : "from " + std::to_string(setting.least) + " to " +
                                          std::to_string(setting.most));
    }
    if (setting.words.empty()) {
        return "a string without control characters";
    }
    return Enumerated({setting.words.begin(), setting.words.end()}, "or");
}

SettingValue InEffect(const Setting& setting, const SettingValue& stored) {
    return setting.inEffect == nullptr ? stored : setting.inEffect(stored);
}

bool Counts(const Setting& setting, const SettingValue& stored) {
    const SettingValue taken = InEffect(setting, stored);
    if (setting.words.empty()) {
        return taken == stored;
    }
    const std::string* word = std::get_if<std::string>(&taken);
    return word != nullptr && BeginsWithWord(std::get<std::string>(stored), *word);
}

Judgement Judge(const Setting& setting, const SettingValue& stored) {
    const SettingValue taken = InEffect(setting, stored);
    if (!Counts(setting, stored)) {
        const std::string instead = TextOf(taken);
        return {Severity::Warning,
                "is ignored; " +
                    (instead.empty() ? "the plugin receives none" : instead + " is used instead"),
                ""};
    }
    if (taken != stored) {
        return {Severity::Notice, "counts as " + TextOf(taken), ""};
    }
    const std::int32_t* number = std::get_if<std::int32_t>(&stored);
    if (number != nullptr && (*number < setting.least || *number > setting.most)) {
        return setting.beyond;
    }
    return setting.judge == nullptr ? Judgement{} : setting.judge(stored);
}

std::optional<SettingValue> ParseValue(const Setting& setting, std::string_view text,
                                       std::string& problem) {
    std::optional<SettingValue> value = ParseByType(setting, text);
    if (!value) {
        problem = "is invalid; it must be " + AcceptedValues(setting);
        return std::nullopt;
    }
    if (const Judgement judgement = Judge(setting, *value); judgement.severity == Severity::Error) {
        problem = judgement.text + "; choose another one";
        return std::nullopt;
    }
    return value;
}

}  // namespace Ctl
