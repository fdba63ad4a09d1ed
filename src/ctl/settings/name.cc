#include "ctl/settings/name.h"

#include "ctl/show/failure.h"
#include "ctl/show/near_names.h"
#include "ctl/show/words.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace Ctl {

namespace {

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

const SettingEntry* FindEntry(const Catalogue& catalogue, std::string_view name) {
    const auto found =
        std::find_if(catalogue.entries.begin(), catalogue.entries.end(),
                     [name](const SettingEntry& entry) { return entry.name == name; });
    return found == catalogue.entries.end() ? nullptr : &*found;
}

std::string KeysOf(const SettingEntry& entry) {
    std::vector<std::string> keys;
    for (const Setting& setting : entry.settings) {
        keys.emplace_back(setting.key);
    }
    return Enumerated(keys);
}

// The advice about an unknown name.
std::string Advice(const Catalogue& catalogue, const std::string& name) {
    std::vector<std::string> names;
    for (const SettingEntry& entry : catalogue.entries) {
        for (const Setting& setting : entry.settings) {
            names.push_back(FullName(entry, setting));
        }
    }
    const std::vector<std::string> near = FindNearNames(name, names);
    return (near.empty() ? "" : "the closest is " + near.front() + "; ") +
           "\"sentrelctl config list\" shows all";
}

}  // namespace

std::string FullName(const SettingEntry& entry, const Setting& setting) {
    return entry.name + "." + std::string(setting.key);
}

NamedSetting FindSetting(const Catalogue& catalogue, const std::string& name) {
    const std::size_t dot = name.rfind('.');
    const bool hasDot = dot != std::string::npos;
    const SettingEntry* entry = FindEntry(catalogue, name.substr(0, dot));
    if (!hasDot) {
        throw Failure(
            Quoted(name) + " has no key: write ENTRY.KEY",
            (entry == nullptr ? Advice(catalogue, name) : name + " has " + KeysOf(*entry)));
    }
    if (entry == nullptr) {
        const std::string problem =
            catalogue.pluginProblem.empty() ? "" : ", and " + catalogue.pluginProblem;
        throw Failure("unknown setting " + Quoted(name) + problem, Advice(catalogue, name));
    }
    const std::string_view key = std::string_view(name).substr(dot + 1);
    const auto setting = std::find_if(entry->settings.begin(), entry->settings.end(),
                                      [key](const Setting& other) { return other.key == key; });
    if (setting == entry->settings.end()) {
        throw Failure("unknown setting " + Quoted(name), entry->name + " has " + KeysOf(*entry));
    }
    return {*entry, *setting};
}

}  // namespace Ctl
