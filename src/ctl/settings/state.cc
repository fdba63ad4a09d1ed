#include "ctl/settings/state.h"

#include "ctl/settings/rules.h"
#include "ctl/show/failure.h"
#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "platform/tabulon/json_lookup.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Ctl {

namespace {

using nlohmann::json;

std::optional<SettingValue> FromJson(SettingType type, const json& value) {
    if (type == SettingType::Boolean && value.is_boolean()) {
        return value.get<bool>();
    }
    if (type == SettingType::Integer && Tabulon::IsInt32(value)) {
        return value.get<std::int32_t>();
    }
    if (type == SettingType::Text && value.is_string()) {
        return value.get<std::string>();
    }
    return std::nullopt;
}

std::string_view WantedType(SettingType type) {
    switch (type) {
        case SettingType::Boolean:
            return "a boolean";
        case SettingType::Integer:
            return "an integer of 32 bits";
        default:
            return "a string";
    }
}

// Of members with one name the last one counts.
void FindRepeated(std::string_view text, const std::string& path, EntryState& state) {
    constexpr Json::ParseOptions kOptions{Tabulon::kMaxFileBytes, Json::Comments::Allowed,
                                          Json::Root::Object, Json::EqualNames::Refused};
    json document;
    Json::JsonError error;
    if (!Json::Parse(text, kOptions, document, error)) {
        state.repeated.push_back({path, error.reason});
    }
}

// False if there is no file; true with an empty object if it cannot be used.
bool ReadDocument(const std::string& path, json& document, EntryState& state) {
    document = json::object();
    try {
        const std::optional<std::string> text = Tabulon::ReadEntryFile(path);
        if (text) {
            document = Tabulon::ParseEntryText(path, *text);
            FindRepeated(*text, Sys::HostPath(path), state);
        }
        return text.has_value();
    } catch (const Pellmar::Exception& exception) {
        const std::string advice = exception.Advice();
        const bool isDenied = IsDeniedToThisUser(exception);
        // which begins with the plain path
        state.faults.push_back({Sys::HostPath(exception.WhatHappened()),
                                isDenied         ? "run this as root"
                                : advice.empty() ? "correct that file, or remove it"
                                                 : advice,
                                isDenied});
        return true;
    }
}

std::optional<std::string> TextAt(const json& document, std::string_view key) {
    const Tabulon::Place place = Tabulon::FollowKey(document, key);
    return place.isWhole ? std::optional(place.value->dump()) : std::nullopt;
}

SettingState Unset(const Setting& setting) {
    SettingState state;
    state.setting = &setting;
    state.inEffect = setting.byDefault;
    return state;
}

SettingState StateOf(const Setting& setting, const json& vendor, const json& host,
                     const json& merged) {
    SettingState state = Unset(setting);
    state.vendorText = TextAt(vendor, setting.key);
    state.hostText = TextAt(host, setting.key);
    const Tabulon::Place place = Tabulon::FollowKey(merged, setting.key);
    if (!place.isWhole && place.value->is_object()) {
        return state;
    }
    state.storedIn =
        Tabulon::FollowKey(host, place.path).isWhole ? Origin::HostFile : Origin::VendorFile;
    if (place.isWhole) {
        state.stored = FromJson(setting.type, *place.value);
    }
    if (!state.stored) {
        state.faultyKey = place.path;
        state.fault = "is " + std::string(Tabulon::TypeName(*place.value)) + ", not " +
                      std::string(place.isWhole ? WantedType(setting.type) : "an object");
        return state;
    }
    state.inEffect = InEffect(setting, *state.stored);
    state.origin = Counts(setting, *state.stored) ? state.storedIn : Origin::Default;
    return state;
}

// Adds the members of `value`, an object at the key `prefix`, with which no key of the settings
// begins. Recursion is as deep as the keys.
void FindUnknown(std::span<const Setting> settings, const json& value, const std::string& prefix,
                 const std::string& path, std::vector<UnknownMember>& unknown) {
    for (const auto& [name, member] : value.items()) {
        const std::string key = prefix + name;
        const auto isKey = [&key](const Setting& setting) { return setting.key == key; };
        const auto leadsOn = [&key](const Setting& setting) {
            return setting.key.starts_with(key + "/");
        };
        const bool isOneLevel = name.find('/') == std::string::npos;
        if (isOneLevel && std::any_of(settings.begin(), settings.end(), isKey)) {
            continue;
        }
        if (!isOneLevel || std::none_of(settings.begin(), settings.end(), leadsOn)) {
            unknown.push_back({key, path});
        } else if (member.is_object()) {
            FindUnknown(settings, member, key + "/", path, unknown);
        }
    }
}

void RaiseToOtherSettings(std::vector<SettingState>& settings) {
    for (SettingState& low : settings) {
        const auto high =
            std::find_if(settings.begin(), settings.end(), [&low](const SettingState& other) {
                return other.setting->key == low.setting->atLeast;
            });
        if (high != settings.end() && std::get<std::int32_t>(low.inEffect) != 0 &&
            low.inEffect < high->inEffect) {
            low.inEffect = high->inEffect;
        }
    }
}

}  // namespace

std::string NameOf(Origin origin) {
    switch (origin) {
        case Origin::HostFile:
            return "host file";
        case Origin::VendorFile:
            return "vendor file";
        default:
            return "default";
    }
}

EntryState ReadEntryState(const SettingEntry& entry) {
    EntryState state;
    const Tabulon::EntryPaths paths = Tabulon::PathsOf(entry.entry);
    state.paths = {Sys::HostPath(paths.vendor), Sys::HostPath(paths.host)};
    json vendor;
    json host;
    state.hasVendorFile = ReadDocument(paths.vendor, vendor, state);
    state.hasHostFile = ReadDocument(paths.host, host, state);
    const json merged = Tabulon::Merge(vendor, host);
    for (const Setting& setting : entry.settings) {
        state.settings.push_back(state.faults.empty() ? StateOf(setting, vendor, host, merged)
                                                      : Unset(setting));
    }
    RaiseToOtherSettings(state.settings);
    FindUnknown(entry.settings, vendor, "", state.paths.vendor, state.unknown);
    FindUnknown(entry.settings, host, "", state.paths.host, state.unknown);
    return state;
}

Judgement JudgementOn(const SettingState& state) {
    if (!state.stored) {
        return Judge(*state.setting, state.setting->byDefault);
    }
    Judgement judgement = Judge(*state.setting, *state.stored);
    if (judgement.severity == Severity::Good &&
        state.inEffect != InEffect(*state.setting, *state.stored)) {
        return {Severity::Warning,
                "is less than " + std::string(state.setting->atLeast) + "; " +
                    TextOf(state.inEffect) + " is used instead",
                ""};
    }
    return judgement;
}

nlohmann::ordered_json ToJson(const SettingValue& value) {
    return std::visit(
        [](const auto& held) -> nlohmann::ordered_json {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::monostate>) {
                return nullptr;
            } else {
                return held;
            }
        },
        value);
}

}  // namespace Ctl
