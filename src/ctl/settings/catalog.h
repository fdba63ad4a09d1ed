// The catalogue of all settings: the daemon's, its framework's, those of tokens, and those of each
// plugin. settings/state.h has their values in this host's files.
#pragma once

#include "ctl/show/finding.h"
#include "platform/tabulon/entry_files.h"

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Ctl {

enum class SettingType { Integer, Boolean, Text };

// std::monostate: no value.
using SettingValue = std::variant<std::monostate, bool, std::int32_t, std::string>;

// A remark about a value of the right type; nothing to say if Good.
struct Judgement {
    Severity severity = Severity::Good;
    std::string text;    // continues after the value: "is the port of the API, ..."
    std::string remedy;  // what to do; empty: set another value
};

struct Setting {
    std::string_view key;  // as the daemon reads it, such as "log/level"
    SettingType type = SettingType::Text;
    SettingValue byDefault;  // the daemon's value if the files have none
    std::string_view meaning;
    std::string_view unit = "";
    // The range in which an integer takes effect as it stands.
    std::int32_t least = std::numeric_limits<std::int32_t>::min();
    std::int32_t most = std::numeric_limits<std::int32_t>::max();
    // A remark about an integer outside the range that is accepted nevertheless.
    Judgement beyond{};
    // The possible values of a text. Empty: any.
    std::span<const char* const> words{};
    // Maps a stored value to the one in effect; null: it takes effect unchanged.
    SettingValue (*inEffect)(const SettingValue& stored) = nullptr;
    // Another integer of the entry. A smaller value of this one, other than 0, counts as that one.
    std::string_view atLeast = "";
    // Finds other faults of a value; null: there are none.
    Judgement (*judge)(const SettingValue& stored) = nullptr;
    // Whether the daemon logs that the setting is missing.
    bool isLoggedIfMissing = false;
};

struct SettingEntry {
    std::string name;  // the part of "ENTRY.KEY" before the dot
    Tabulon::StoreEntry entry;
    std::span<const Setting> settings;
    bool isPlugin = false;
};

struct Catalogue {
    std::vector<SettingEntry> entries;  // the fixed entries, then the plugins in byte order
    // Plugins that have the name of a fixed entry, which hides them.
    std::vector<std::string> hiddenPlugins;
    // Why the plugin directory cannot be listed; empty if it can.
    std::string pluginProblem;
};

// The entry of a plugin, whether it is installed or not.
SettingEntry EntryOfPluginNamed(const std::string& name);

// The catalogue of this host, with its installed plugins.
Catalogue ReadCatalogue();

}  // namespace Ctl
