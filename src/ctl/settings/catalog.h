// Every setting there is: the daemon's, its framework's, those of its tokens, and three of each
// plugin. What the files of a host say of them is setting_state's business.
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

// std::monostate: none.
using SettingValue = std::variant<std::monostate, bool, std::int32_t, std::string>;

// What is to be said of a value of the right type. Good: nothing.
struct Judgement {
    Severity severity = Severity::Good;
    std::string text;    // goes on after the value: "is the port of the API, ..."
    std::string remedy;  // empty: set another value
};

struct Setting {
    std::string_view key;  // as the daemon asks for it, such as "log/level"
    SettingType type = SettingType::Text;
    SettingValue byDefault;  // what the daemon takes when the files say nothing
    std::string_view meaning;
    std::string_view unit = "";
    // Of an integer: what does what it says.
    std::int32_t least = std::numeric_limits<std::int32_t>::min();
    std::int32_t most = std::numeric_limits<std::int32_t>::max();
    // What happens to an integer beyond them, when it is taken all the same.
    Judgement beyond{};
    // Of a text: what it may be. Empty: any.
    std::span<const char* const> words{};
    // What the daemon makes of a stored value; null: it takes it as it is.
    SettingValue (*inEffect)(const SettingValue& stored) = nullptr;
    // What else can be wrong with a value; null: nothing.
    Judgement (*judge)(const SettingValue& stored) = nullptr;
    // Whether the daemon complains in its log when the files say nothing.
    bool isMissed = false;
};

struct SettingEntry {
    std::string name;  // what stands before the dot of "ENTRY.KEY"
    Tabulon::StoreEntry entry;
    std::span<const Setting> settings;
    bool isPlugin = false;
};

struct Catalogue {
    std::vector<SettingEntry> entries;  // the fixed ones, then the plugins in byte order
    // Plugins that cannot be told from a fixed entry, since they have its name.
    std::vector<std::string> hiddenPlugins;
    // Why the plugin directory cannot be listed; empty when it can.
    std::string pluginProblem;
};

// Of this host: looks which plugins are installed.
Catalogue ReadCatalogue();

}  // namespace Ctl
